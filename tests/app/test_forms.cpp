// The new-project forms, the title dialog, the message box, about and debug.
#include "frmabout.h"
#include "frmbook.h"
#include "frmbookproperties.h"
#include "frmdebug.h"
#include "frmtopictitle.h"
#include "qtmsgbox.h"

#include "cbook.h"
#include "holders.h"
#include "msgbox.h"
#include "newproject.h"
#include "testsupport.h"

#include "apptestsupport.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include <functional>

using app_testing::onNextModal;
using testing_support::TempDir;

namespace {

const QString kAllFields = QStringLiteral("All fields have to be filled!");

int indexOf(QComboBox* combo, const QString& text)
{
    return combo->findText(text);
}

void pick(QComboBox* combo, const QString& name)
{
    const int i = indexOf(combo, name);
    ASSERT_GE(i, 0) << name.toStdString();
    combo->setCurrentIndex(i);
    emit combo->activated(i);
}

class BookFormTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        form = std::make_unique<frmBook>(&box);
        form->setBookProperties(&book);
        form->setOKorCancel(&ok);
        form->setSavePath([this](QWidget*, const QString& filter) {
            ++asked;
            lastFilter = filter;
            return nextPath;
        });
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(form.get()));
    }

    void fillFields()
    {
        form->txtTitle->setText(QStringLiteral("My Manual"));
        form->txtAuthor->setText(QStringLiteral("Jane"));
        form->txtVersion->setText(QStringLiteral("1.0"));
        pick(form->cmbMainLang, QStringLiteral("English"));
    }

    void addOther(const QString& name, const QString& abbrev = {})
    {
        if (!form->frmLangs->isVisible())
            QTest::mouseClick(form->cmdShowAll, Qt::LeftButton);
        const int i = indexOf(form->cmbOtherLang, name);
        if (i >= 0) {
            form->cmbOtherLang->setCurrentIndex(i);
            emit form->cmbOtherLang->activated(i);
        } else {
            form->cmbOtherLang->setEditText(name);
        }
        if (!abbrev.isNull())
            form->txtAbrev->setText(abbrev);
        QTest::mouseClick(form->cmdAdd, Qt::LeftButton);
    }

    QStringList names() const
    {
        QStringList out;
        for (int i = 0; i < form->lstName->count(); ++i)
            out << form->lstName->item(i)->text();
        return out;
    }
    QStringList abbrevs() const
    {
        QStringList out;
        for (int i = 0; i < form->lstAbrev->count(); ++i)
            out << form->lstAbrev->item(i)->text();
        return out;
    }

    ScriptedMsgBox box;
    cBook book;
    cOKorCancel ok;
    std::unique_ptr<frmBook> form;
    QString nextPath;
    QString lastFilter;
    int asked = 0;
    TempDir tmp;
};

} // namespace

TEST_F(BookFormTest, ControlsCarryTheirNames)
{
    for (const char* name : {"txtTitle", "txtAuthor", "txtVersion", "txtDate", "txtTime", "cmbMainLang",
                             "txtMainAbbrev", "frmLangs", "cmbOtherLang", "txtAbrev", "lstName", "lstAbrev",
                             "cmdAdd", "cmdRemove", "cmdShowAll", "cmdInsert", "cmdCancel"})
        EXPECT_NE(form->findChild<QWidget*>(QString::fromLatin1(name)), nullptr) << name;
    EXPECT_EQ(form->objectName(), QStringLiteral("frmBook"));
}

TEST_F(BookFormTest, LoadFillsDateTimeAndLanguages)
{
    EXPECT_FALSE(form->txtDate->text().isEmpty());
    EXPECT_FALSE(form->txtTime->text().isEmpty());
    EXPECT_GE(indexOf(form->cmbMainLang, QStringLiteral("English")), 0);
    EXPECT_GE(indexOf(form->cmbOtherLang, QStringLiteral("German")), 0);
    EXPECT_EQ(form->cmbMainLang->count(), form->cmbOtherLang->count());
    EXPECT_TRUE(form->cmbMainLang->currentText().isEmpty());
    EXPECT_EQ(form->focusWidget(), form->txtTitle);
    EXPECT_TRUE(box.empty());

    pick(form->cmbMainLang, QStringLiteral("German"));
    EXPECT_EQ(form->txtMainAbbrev->text(), QStringLiteral("de"));
    pick(form->cmbOtherLang, QStringLiteral("French"));
    EXPECT_EQ(form->txtAbrev->text(), QStringLiteral("fr"));
}

TEST_F(BookFormTest, ShowAllShowsAndHidesTheLanguagePanel)
{
    EXPECT_FALSE(form->frmLangs->isVisible());
    EXPECT_EQ(form->cmdShowAll->text(), QStringLiteral(">>"));
    QTest::mouseClick(form->cmdShowAll, Qt::LeftButton);
    EXPECT_TRUE(form->frmLangs->isVisible());
    EXPECT_EQ(form->cmdShowAll->text(), QStringLiteral("<<"));
    QTest::mouseClick(form->cmdShowAll, Qt::LeftButton);
    EXPECT_FALSE(form->frmLangs->isVisible());
    EXPECT_EQ(form->cmdShowAll->text(), QStringLiteral(">>"));
}

TEST_F(BookFormTest, AddRefusesDuplicatesSilently)
{
    QTest::mouseClick(form->cmdShowAll, Qt::LeftButton);
    pick(form->cmbMainLang, QStringLiteral("English"));
    addOther(QStringLiteral("German"));
    addOther(QStringLiteral("French"));
    EXPECT_EQ(names(), QStringList({QStringLiteral("German"), QStringLiteral("French")}));
    EXPECT_EQ(abbrevs(), QStringList({QStringLiteral("de"), QStringLiteral("fr")}));

    addOther(QStringLiteral("german"), QStringLiteral("xx"));     // name again
    addOther(QStringLiteral("Swiss"), QStringLiteral("DE"));      // abbreviation again
    addOther(QStringLiteral("English"));                          // the main language
    addOther(QStringLiteral("Klingon"), QStringLiteral("EN"));    // its abbreviation
    addOther(QStringLiteral("Klingon"), QStringLiteral(""));      // empty abbreviation
    addOther(QString(), QStringLiteral("kl"));                    // empty name
    EXPECT_EQ(names().size(), 2);
    EXPECT_EQ(abbrevs().size(), 2);
    EXPECT_TRUE(box.empty());

    // A language missing from the list can be typed.
    addOther(QStringLiteral("Klingon"), QStringLiteral("tlh"));
    EXPECT_EQ(names().last(), QStringLiteral("Klingon"));
    EXPECT_EQ(abbrevs().last(), QStringLiteral("tlh"));
}

TEST_F(BookFormTest, TheTwoListsMoveTogetherAndRemoveTakesThePair)
{
    QTest::mouseClick(form->cmdShowAll, Qt::LeftButton);
    pick(form->cmbMainLang, QStringLiteral("English"));
    addOther(QStringLiteral("German"));
    addOther(QStringLiteral("French"));
    addOther(QStringLiteral("Italian"));
    form->lstName->setCurrentRow(1);
    EXPECT_EQ(form->lstAbrev->currentRow(), 1);
    form->lstAbrev->setCurrentRow(2);
    EXPECT_EQ(form->lstName->currentRow(), 2);
    form->lstName->setCurrentRow(1);
    QTest::mouseClick(form->cmdRemove, Qt::LeftButton);
    EXPECT_EQ(names(), QStringList({QStringLiteral("German"), QStringLiteral("Italian")}));
    EXPECT_EQ(abbrevs(), QStringList({QStringLiteral("de"), QStringLiteral("it")}));
}

TEST_F(BookFormTest, InsertChecksInOrder)
{
    form->txtDate->clear();
    QTest::mouseClick(form->cmdInsert, Qt::LeftButton);
    EXPECT_EQ(box.last(), kAllFields + QStringLiteral("\r\nEmpty: Title, Author, Version, Date."));
    EXPECT_EQ(box.lastIcon(), MsgIcon::Exclamation);

    form->txtTitle->setText(QStringLiteral("T"));
    form->txtAuthor->setText(QStringLiteral("A"));
    form->txtVersion->setText(QStringLiteral("1"));
    form->txtDate->setText(QStringLiteral("1/1/26"));
    QTest::mouseClick(form->cmdInsert, Qt::LeftButton);
    EXPECT_EQ(box.last(), QStringLiteral("Main language must be specified!"));

    // Another language first, then the same one as main language.
    addOther(QStringLiteral("German"));
    pick(form->cmbMainLang, QStringLiteral("German"));
    QTest::mouseClick(form->cmdInsert, Qt::LeftButton);
    EXPECT_EQ(box.last(), QStringLiteral("Main language is not unique!"));

    pick(form->cmbMainLang, QStringLiteral("English"));
    form->txtTitle->setText(QStringLiteral("A <b> title"));
    box.clear();
    QTest::mouseClick(form->cmdInsert, Qt::LeftButton);
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("Book title may not include \"&\", \"<\", \">\" characters!"),
                                        QStringLiteral("Book title include improper characters!")}));
    EXPECT_EQ(asked, 0);
    EXPECT_TRUE(form->isVisible());
    EXPECT_FALSE(ok.Change);
}

TEST_F(BookFormTest, CancelInTheFileDialogStaysInTheForm)
{
    fillFields();
    nextPath.clear();
    QTest::mouseClick(form->cmdInsert, Qt::LeftButton);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(lastFilter, QStringLiteral("Quillary project file (*.qly);;All files (*.*)"));
    EXPECT_TRUE(form->isVisible());
    EXPECT_FALSE(ok.Change);
    EXPECT_TRUE(box.empty());
    EXPECT_EQ(form->txtTitle->text(), QStringLiteral("My Manual"));
}

TEST_F(BookFormTest, ExistingFileOrFolderIsRefused)
{
    fillFields();
    testing_support::writeBytes(tmp.file(QStringLiteral("old.qly")), "x");
    nextPath = tmp.file(QStringLiteral("old.qly"));
    QTest::mouseClick(form->cmdInsert, Qt::LeftButton);
    EXPECT_EQ(box.last(), QStringLiteral("File \"") + nextPath +
                              QStringLiteral("\" already exists! Project may not be created!"));
    EXPECT_TRUE(form->isVisible());

    QDir(tmp.path()).mkdir(QStringLiteral("taken"));
    nextPath = tmp.file(QStringLiteral("taken.qly"));
    QTest::mouseClick(form->cmdInsert, Qt::LeftButton);
    EXPECT_TRUE(box.last().startsWith(QStringLiteral("Folder \"")));
    EXPECT_TRUE(box.last().endsWith(QStringLiteral("\" already exists! Project may not be created!")));
    EXPECT_TRUE(form->isVisible());
    EXPECT_FALSE(ok.Change);
}

TEST_F(BookFormTest, InsertFillsTheBookAndTheProjectCanBeCreated)
{
    fillFields();
    QTest::mouseClick(form->cmdShowAll, Qt::LeftButton);
    addOther(QStringLiteral("German"));
    addOther(QStringLiteral("French"));
    nextPath = tmp.file(QStringLiteral("my.manual.qly"));
    QTest::mouseClick(form->cmdInsert, Qt::LeftButton);
    EXPECT_TRUE(box.empty()) << box.last().toStdString();
    EXPECT_TRUE(ok.Change);
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(form->result(), int(QDialog::Accepted));
    EXPECT_EQ(book.ProjectFile, nextPath);
    EXPECT_EQ(book.Title, QStringLiteral("My Manual"));
    EXPECT_EQ(book.Author, QStringLiteral("Jane"));
    EXPECT_EQ(book.MainLangName, QStringLiteral("English"));
    EXPECT_EQ(book.MainLangAbbrev, QStringLiteral("en"));
    EXPECT_EQ(book.BookFile, QStringLiteral("book.xml"));
    EXPECT_EQ(book.LangAbrevs.Count(), 2);

    // What the main window does next.
    ASSERT_TRUE(createProjectFiles(book, box)) << box.last().toStdString();
    const QString folder = tmp.file(QStringLiteral("my.manual/"));
    EXPECT_TRUE(QFileInfo::exists(nextPath));
    EXPECT_TRUE(QFileInfo::exists(folder + QStringLiteral("book.xml")));
    for (const char* l : {"en", "de", "fr"})
        EXPECT_TRUE(QFileInfo(folder + QStringLiteral("img/") + QLatin1String(l)).isDir()) << l;
    EXPECT_TRUE(testing_support::readText(nextPath).contains(QStringLiteral("<abrev>fr</abrev>")));
}

TEST_F(BookFormTest, CancelAndEscapeLeaveChangeFalse)
{
    fillFields();
    QTest::keyClick(form.get(), Qt::Key_Escape);
    EXPECT_FALSE(form->isVisible());
    EXPECT_FALSE(ok.Change);
    form->show();
    QTest::mouseClick(form->cmdCancel, Qt::LeftButton);
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(form->result(), int(QDialog::Rejected));
    EXPECT_FALSE(ok.Change);
    EXPECT_EQ(asked, 0);
}

TEST(BookForm, MissingOrDamagedLanguageFile)
{
    TempDir tmp;
    ScriptedMsgBox box;
    frmBook missing(&box);
    missing.setLanguageFile(tmp.file(QStringLiteral("langs.xml")));
    missing.load();
    EXPECT_EQ(box.last(), QStringLiteral("File with available languages is missing! Please reinstall application."));
    EXPECT_EQ(missing.cmbMainLang->count(), 0);

    testing_support::writeBytes(tmp.file(QStringLiteral("langs.xml")), "<languages/>");
    frmBook damaged(&box);
    damaged.setLanguageFile(tmp.file(QStringLiteral("langs.xml")));
    damaged.load();
    EXPECT_EQ(box.last(), QStringLiteral("File with available languages is damaged!"));
}

TEST(BookForm, TheFileDialogOffersTheProjectFilter)
{
    QStringList filters;
    QString name;
    onNextModal<QFileDialog>([&](QFileDialog* d) {
        filters = d->nameFilters();
        name = d->objectName();
        d->reject();
    });
    EXPECT_TRUE(frmBook::askSavePath(nullptr, frmBook::kSaveFilter).isEmpty());
    EXPECT_EQ(filters, QStringList({QStringLiteral("Quillary project file (*.qly)"),
                                    QStringLiteral("All files (*.*)")}));
    EXPECT_EQ(name, QStringLiteral("cdSave"));
}

namespace {
class BookProperties : public ::testing::Test {
protected:
    void SetUp() override
    {
        book.Title = QStringLiteral("T");
        book.Author = QStringLiteral("A");
        book.Version = QStringLiteral("1");
        book.BookDate = QStringLiteral("d");
        book.BookTime = QStringLiteral("t");
        form.setBookProperties(&book);
        form.setOKorCancel(&ok);
        form.show();
    }

    ScriptedMsgBox box;
    cBook book;
    cOKorCancel ok;
    frmBookProperties form{&box};
};
} // namespace

TEST_F(BookProperties, UnchangedTextLeavesChangeFalse)
{
    EXPECT_EQ(form.txtTitle->text(), QStringLiteral("T"));
    EXPECT_EQ(form.txtTime->text(), QStringLiteral("t"));
    QTest::mouseClick(form.cmdInsert, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
    EXPECT_FALSE(ok.Change);
    EXPECT_TRUE(box.empty());
}

TEST_F(BookProperties, ChecksAndChanges)
{
    for (const char* name : {"txtTitle", "txtAuthor", "txtVersion", "txtDate", "txtTime", "cmdInsert", "cmdCancel"})
        EXPECT_NE(form.findChild<QWidget*>(QString::fromLatin1(name)), nullptr) << name;

    const QString author = form.txtAuthor->text();
    form.txtVersion->clear();
    form.txtAuthor->clear();
    QTest::mouseClick(form.cmdInsert, Qt::LeftButton);
    EXPECT_EQ(box.last(), kAllFields + QStringLiteral("\r\nEmpty: Author, Version."));
    EXPECT_TRUE(form.isVisible());
    form.txtAuthor->setText(author);

    form.txtVersion->setText(QStringLiteral("2"));
    form.txtTitle->setText(QStringLiteral("Q & A"));
    QTest::mouseClick(form.cmdInsert, Qt::LeftButton);
    EXPECT_EQ(box.last(), QStringLiteral("Book title may not include \"&\", \"<\", \">\" characters!"));
    EXPECT_TRUE(form.isVisible());
    EXPECT_FALSE(ok.Change);

    form.txtTitle->setText(QStringLiteral("Q and A"));
    QTest::mouseClick(form.cmdInsert, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
    EXPECT_TRUE(ok.Change);
    EXPECT_EQ(book.Title, QStringLiteral("Q and A"));
    EXPECT_EQ(book.Version, QStringLiteral("2"));
}

TEST(TopicTitle, EmptyTextActsAsCancel)
{
    ScriptedMsgBox box;
    cString title;
    cOKorCancel ok;
    frmTopicTitle form(&box);
    form.setTopicTitle(&title);
    form.setOKorCancel(&ok);
    form.show();
    QTest::mouseClick(form.cmdInsert, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
    EXPECT_FALSE(ok.Change);
    EXPECT_TRUE(box.empty());
}

TEST(TopicTitle, RefusesMarkupCharactersAndStays)
{
    ScriptedMsgBox box;
    cString title;
    title.TextString = QStringLiteral("Old");
    cOKorCancel ok;
    frmTopicTitle form(&box);
    form.setTopicTitle(&title);
    form.setOKorCancel(&ok);
    form.setWindowTitle(QStringLiteral("Insert Chapter"));
    form.lblDesc->setText(QStringLiteral("Chapter title:"));
    form.cmdInsert->setText(QStringLiteral("Insert"));
    form.show();
    EXPECT_EQ(form.txtTitle->text(), QStringLiteral("Old"));
    for (const char* name : {"lblDesc", "txtTitle", "cmdInsert", "cmdCancel"})
        EXPECT_NE(form.findChild<QWidget*>(QString::fromLatin1(name)), nullptr) << name;

    form.txtTitle->setText(QStringLiteral("Fish & Chips"));
    QTest::mouseClick(form.cmdInsert, Qt::LeftButton);
    EXPECT_EQ(box.last(), QStringLiteral("Chapter title may not include \"&\", \"<\", \">\" characters!"));
    EXPECT_EQ(box.lastIcon(), MsgIcon::Exclamation);
    EXPECT_TRUE(form.isVisible());
    EXPECT_FALSE(ok.Change);
    EXPECT_EQ(title.TextString, QStringLiteral("Old"));

    // Enter works as the Insert button.
    form.txtTitle->setText(QStringLiteral("Fish and Chips"));
    form.txtTitle->setFocus();
    QTest::keyClick(form.txtTitle, Qt::Key_Return);
    EXPECT_FALSE(form.isVisible());
    EXPECT_TRUE(ok.Change);
    EXPECT_EQ(title.TextString, QStringLiteral("Fish and Chips"));
}

TEST(TopicTitle, EscapeWorksAsCancel)
{
    ScriptedMsgBox box;
    cString title;
    cOKorCancel ok;
    frmTopicTitle form(&box);
    form.setTopicTitle(&title);
    form.setOKorCancel(&ok);
    form.show();
    form.txtTitle->setText(QStringLiteral("New"));
    QTest::keyClick(form.txtTitle, Qt::Key_Escape);
    EXPECT_FALSE(form.isVisible());
    EXPECT_FALSE(ok.Change);
    EXPECT_TRUE(title.TextString.isEmpty());
}

TEST(QtMsgBoxTest, ShowsTextIconTitleAndButtons)
{
    QtMsgBox msg;
    QString title, text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    onNextModal<QMessageBox>([&](QMessageBox* m) {
        title = m->windowTitle();
        text = m->text();
        icon = m->icon();
        m->button(QMessageBox::Ok)->click();
    });
    msg.exclamation(QStringLiteral("line one\r\nline two"));
    EXPECT_EQ(title, QStringLiteral("Quillary Author"));
    EXPECT_EQ(text, QStringLiteral("line one\nline two"));
    EXPECT_EQ(icon, QMessageBox::Warning);

    onNextModal<QMessageBox>([&](QMessageBox* m) {
        title = m->windowTitle();
        icon = m->icon();
        EXPECT_NE(m->button(QMessageBox::Yes), nullptr);
        EXPECT_NE(m->button(QMessageBox::No), nullptr);
        EXPECT_NE(m->button(QMessageBox::Cancel), nullptr);
        m->button(QMessageBox::No)->click();
    });
    EXPECT_EQ(msg.show(QStringLiteral("Save?"), MsgButtons::YesNoCancel, MsgIcon::Exclamation,
                       QStringLiteral("Other title")),
              MsgAnswer::No);
    EXPECT_EQ(title, QStringLiteral("Other title"));

    onNextModal<QMessageBox>([&](QMessageBox* m) { QTest::keyClick(m, Qt::Key_Escape); });
    EXPECT_EQ(msg.show(QStringLiteral("Save?"), MsgButtons::YesNoCancel, MsgIcon::Question, QString()),
              MsgAnswer::Cancel);

    onNextModal<QMessageBox>([&](QMessageBox* m) {
        icon = m->icon();
        m->button(QMessageBox::Yes)->click();
    });
    EXPECT_TRUE(msg.yesNo(QStringLiteral("Sure?")));
    EXPECT_EQ(icon, QMessageBox::Question);

    onNextModal<QMessageBox>([&](QMessageBox* m) {
        icon = m->icon();
        m->button(QMessageBox::Ok)->click();
    });
    msg.stop(QStringLiteral("Broken"));
    EXPECT_EQ(icon, QMessageBox::Critical);
}

TEST(About, ShowsProductAndVersion)
{
    frmAbout about;
    EXPECT_EQ(about.objectName(), QStringLiteral("frmAbout"));
    EXPECT_EQ(about.lblProduct->text(), QStringLiteral("Quillary Author"));
    EXPECT_TRUE(about.lblVersion->text().contains(QStringLiteral(QUILLARY_VERSION)));
    about.show();
    QTest::mouseClick(about.cmdOK, Qt::LeftButton);
    EXPECT_FALSE(about.isVisible());
}

TEST(Debug, IsABareListTitledDebugListing)
{
    frmDebug debug;
    EXPECT_EQ(debug.objectName(), QStringLiteral("frmDebug"));
    EXPECT_EQ(debug.windowTitle(), QStringLiteral("Debug Listing"));
    EXPECT_EQ(debug.findChild<QListWidget*>(QStringLiteral("lstDebug")), debug.lstDebug);
    debug.add(QStringLiteral("first"));
    debug.add(QStringLiteral("second"));
    ASSERT_EQ(debug.lstDebug->count(), 2);
    EXPECT_EQ(debug.lstDebug->item(1)->text(), QStringLiteral("second"));
}
