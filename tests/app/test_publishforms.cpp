// The publishing dialogs over their models: Create Output publishing the
// sample with its log, the preflight questions and a red log; Output
// Properties both ways and its .qop files; Settings; Verification Results;
// and the main window's menus that open them.
#include "apptestsupport.h"
#include "frmmain.h"
#include "frmoptions.h"
#include "frmoutput.h"
#include "frmoutputproperties.h"
#include "frmverify.h"
#include "websurface.h"

#include "cconfigfile.h"
#include "cproject.h"
#include "fileio.h"
#include "msgbox.h"
#include "outputproperties.h"
#include "paths.h"
#include "testsupport.h"
#include "verification.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTest>
#include <QProgressBar>
#include <QTimer>
#include <QWebEnginePage>
#include <QWebEngineView>

#include <gtest/gtest.h>

#include <algorithm>

#include <functional>
#include <optional>

using testing_support::copySample;
using testing_support::TempDir;
using testing_support::writeBytes;
using app_testing::onNextModal;
using app_testing::waitFor;

namespace {

QString makeExecutable(const QString& path)
{
    writeBytes(path, "#!/bin/sh\n");
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return path;
}

// The user's conf.xml, put back as it was when the test ends.
class ConfGuard {
public:
    ConfGuard() : m_path(paths::settingsFile(QStringLiteral("conf.xml"))) { m_bytes = testing_support::readBytes(m_path); }
    ~ConfGuard() { writeBytes(m_path, m_bytes); }
    QString path() const { return m_path; }

private:
    QString m_path;
    QByteArray m_bytes;
};

void removeLastQop()
{
    QFile::remove(cOutputProperties::lastQopPath());
}

// A click on the box of a check box or option button (a stretched one has
// empty space at its centre).
void tick(QAbstractButton* b)
{
    QTest::mouseClick(b, Qt::LeftButton, Qt::NoModifier, QPoint(6, b->height() / 2));
}

QColor textColor(QPlainTextEdit* box)
{
    return box->palette().color(QPalette::Text);
}

template <typename T>
T* widget(frmOutputProperties& form, const char* name, int index)
{
    return qobject_cast<T*>(form.control(QString::fromLatin1(name), index));
}

QString pageText(QWebEngineView* view)
{
    QString text;
    bool done = false;
    view->page()->toPlainText([&](const QString& t) {
        text = t;
        done = true;
    });
    waitFor([&] { return done; }, 5000);
    return text;
}

} // namespace

// --- Create Output ---------------------------------------------------------------

TEST(OutputDialog, PublishesTheSampleToHTMLWithALiveLog)
{
    removeLastQop();
    TempDir dir;
    const QString qly = copySample(dir.path(), QStringLiteral("work"));
    ScriptedMsgBox box;
    cProject project(box);
    ASSERT_TRUE(project.Load(qly));

    frmOutput dlg(&box);
    dlg.SetProject(&project);
    QList<QUrl> opened;
    dlg.openResult = [&](const QUrl& url) {
        opened << url;
        return true;
    };
    dlg.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dlg));

    EXPECT_EQ(dlg.windowTitle(), QStringLiteral("Create Output"));
    EXPECT_EQ(dlg.Label1->text(), QStringLiteral("Language"));
    EXPECT_EQ(dlg.Frame1->title(), QStringLiteral("Output"));
    EXPECT_EQ(dlg.optHTMLHelp->text(), QStringLiteral("HTML Help"));
    EXPECT_EQ(dlg.optPDF->text(), QStringLiteral("PDF"));
    EXPECT_EQ(dlg.optHTML->text(), QStringLiteral("HTML"));
    EXPECT_EQ(dlg.optHTMLChunk->text(), QStringLiteral("HTML (frames)"));
    EXPECT_EQ(dlg.optWebHelp->text(), QStringLiteral("Web help (with search)"));
    EXPECT_EQ(dlg.optEPUB->text(), QStringLiteral("EPUB 3 e-book"));
    EXPECT_EQ(dlg.chkDocBook->text(), QStringLiteral("Keep DocBook XML file"));
    EXPECT_EQ(dlg.cmdProperties->text(), QStringLiteral("Properties"));
    for (const char* n : {"Label1", "cmbLanguages", "Frame1", "optHTMLHelp", "optPDF", "optHTML", "optHTMLChunk",
                          "optWebHelp", "optEPUB", "chkDocBook", "cmdOK", "cmdCancel", "cmdProperties", "txtOut", "cmdClose", "cmdShowResult"})
        EXPECT_TRUE(dlg.findChild<QWidget*>(QString::fromLatin1(n))) << n;
    ASSERT_EQ(dlg.cmbLanguages->count(), 2);
    EXPECT_EQ(dlg.cmbLanguages->itemText(0), QStringLiteral("English"));
    EXPECT_EQ(dlg.cmbLanguages->itemText(1), QStringLiteral("German"));
    EXPECT_FALSE(dlg.txtOut->isVisible());
    EXPECT_EQ(dlg.txtOut->toPlainText(), QStringLiteral("Creating output. It may take several minutes, please wait."));

    // No language chosen.
    QTest::mouseClick(dlg.cmdOK, Qt::LeftButton);
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("No language is selected!")}));
    EXPECT_EQ(box.lastIcon(), MsgIcon::Exclamation);
    EXPECT_TRUE(dlg.cmdOK->isVisible());
    box.clear();

    dlg.cmbLanguages->setCurrentIndex(0);
    dlg.optHTML->setChecked(true);
    box.answer(MsgAnswer::Yes); // the sample has unfinished topics

    // While the run is in progress the window keeps handling events, the log
    // grows on screen and there is no way out.
    bool sawRun = false, closable = false, logGrew = false;
    QTimer watch;
    watch.setInterval(1);
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (!dlg.running())
            return;
        sawRun = true;
        if (dlg.cmdClose->isEnabled() || dlg.cmdShowResult->isEnabled() || dlg.cmdOK->isVisible())
            closable = true;
        if (dlg.txtOut->isVisible() && dlg.txtOut->toPlainText().contains(QStringLiteral("XSLT: ")))
            logGrew = true;
    });
    watch.start();
    QTest::mouseClick(dlg.cmdOK, Qt::LeftButton);
    watch.stop();
    EXPECT_TRUE(sawRun);
    EXPECT_TRUE(logGrew);
    EXPECT_FALSE(closable);

    ASSERT_EQ(box.all().size(), 1u) << box.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(box.last().startsWith(QStringLiteral("English language includes ")));
    EXPECT_TRUE(box.last().endsWith(QStringLiteral(" uncompleted topics! Create output anyway?")));

    const QString result = QFileInfo(qly).absolutePath() + QStringLiteral("/sample/output/html/book_en.html");
    const QString log = dlg.txtOut->toPlainText();
    EXPECT_TRUE(log.startsWith(QStringLiteral("Creating output. It may take several minutes, please wait.\n\n"
                                              "XSLT: Transforming Quillary XML to DocBook XML...")))
        << log.toStdString();
    EXPECT_TRUE(log.contains(QStringLiteral("XSLT: HTML file was created."))) << log.toStdString();
    EXPECT_TRUE(log.contains(QStringLiteral("OUTPUT: ") + result)) << log.toStdString();
    EXPECT_TRUE(log.endsWith(QStringLiteral("\nDone."))) << log.toStdString();
    EXPECT_EQ(log, QString(dlg.log().text()).replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
    EXPECT_NE(textColor(dlg.txtOut), QColor(255, 0, 0));
    EXPECT_TRUE(QFileInfo::exists(result));
    EXPECT_EQ(dlg.resultFile(), result);

    // The log view: the choice is gone, the result buttons are on.
    EXPECT_TRUE(dlg.txtOut->isVisible());
    for (QWidget* w : std::initializer_list<QWidget*>{dlg.Label1, dlg.cmbLanguages, dlg.Frame1, dlg.cmdOK,
                                                       dlg.cmdCancel, dlg.chkDocBook, dlg.cmdProperties})
        EXPECT_FALSE(w->isVisible()) << w->objectName().toStdString();
    EXPECT_TRUE(dlg.cmdClose->isEnabled());
    EXPECT_TRUE(dlg.cmdShowResult->isEnabled());
    QTest::mouseClick(dlg.cmdShowResult, Qt::LeftButton);
    EXPECT_EQ(opened, QList<QUrl>({QUrl::fromLocalFile(result)}));

    QTest::mouseClick(dlg.cmdClose, Qt::LeftButton);
    EXPECT_FALSE(dlg.isVisible());
    EXPECT_EQ(dlg.result(), QDialog::Rejected);
}

TEST(OutputDialog, NoAtAQuestionKeepsTheChoiceAndAFailureTurnsTheLogRed)
{
    removeLastQop();
    ConfGuard conf;
    TempDir dir;
    const QString qly = copySample(dir.path(), QStringLiteral("work"));
    const QString folder = QFileInfo(qly).absolutePath();
    ASSERT_TRUE(QFile::remove(folder + QStringLiteral("/sample/img/en/window.png")));
    ScriptedMsgBox box;
    cProject project(box);
    ASSERT_TRUE(project.Load(qly));

    frmOutput dlg(&box);
    dlg.SetProject(&project);
    bool opened = false;
    dlg.openResult = [&](const QUrl&) { return opened = true; };
    dlg.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dlg));
    dlg.cmbLanguages->setCurrentIndex(0);
    dlg.optHTMLHelp->setChecked(true);

    // Yes to the unfinished topics, No to the missing image: the choice stays.
    box.answer(MsgAnswer::Yes);
    box.answer(MsgAnswer::No);
    QTest::mouseClick(dlg.cmdOK, Qt::LeftButton);
    ASSERT_EQ(box.all().size(), 2u);
    const QString missing = box.last();
    EXPECT_TRUE(missing.startsWith(QStringLiteral("Images\r\n\r\n"))) << missing.toStdString();
    EXPECT_TRUE(missing.contains(QStringLiteral("window.png"))) << missing.toStdString();
    EXPECT_TRUE(missing.endsWith(QStringLiteral("\r\nare missing in English language! Create output anyway?")));
    EXPECT_EQ(box.lastIcon(), MsgIcon::Exclamation);
    EXPECT_TRUE(dlg.cmdOK->isVisible());
    EXPECT_TRUE(dlg.cmdOK->isEnabled());
    EXPECT_FALSE(dlg.txtOut->isVisible());
    EXPECT_FALSE(QFileInfo::exists(folder + QStringLiteral("/sample/temp")));

    // The same dialog goes on: with a compiler that is not there the run
    // fails at once, and the whole log turns red.
    {
        cConfigFile c(box);
        ASSERT_TRUE(c.Load(conf.path()));
        c.setHHWFile(dir.file(QStringLiteral("no-such-chmcmd")));
    }
    box.clear();
    box.answer(MsgAnswer::Yes);
    box.answer(MsgAnswer::Yes);
    QTest::mouseClick(dlg.cmdOK, Qt::LeftButton);
    EXPECT_EQ(box.all().size(), 2u);
    EXPECT_TRUE(dlg.txtOut->isVisible());
    EXPECT_EQ(dlg.txtOut->toPlainText(),
              QStringLiteral("Creating output. It may take several minutes, please wait.\n\nFile \"") +
                  dir.file(QStringLiteral("no-such-chmcmd")) +
                  QStringLiteral("\" doesn't exist! Specify HTML Help compiler placement correctly! "
                                 "Output may not be created!"));
    EXPECT_EQ(textColor(dlg.txtOut), QColor(255, 0, 0));
    EXPECT_TRUE(dlg.cmdClose->isEnabled());
    EXPECT_TRUE(dlg.cmdShowResult->isEnabled());
    EXPECT_TRUE(dlg.resultFile().isEmpty());
    QTest::mouseClick(dlg.cmdShowResult, Qt::LeftButton);
    EXPECT_FALSE(opened);
}

TEST(OutputDialog, PropertiesOpenOnTheTabOfTheChosenFormat)
{
    removeLastQop();
    TempDir dir;
    const QString qly = copySample(dir.path(), QStringLiteral("work"));
    ScriptedMsgBox box;
    cProject project(box);
    ASSERT_TRUE(project.Load(qly));
    frmOutput dlg(&box);
    dlg.SetProject(&project);
    dlg.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dlg));
    ASSERT_TRUE(dlg.propertiesForm());
    EXPECT_FALSE(dlg.propertiesForm()->isVisible());
    EXPECT_EQ(dlg.properties().ImageFolder, QFileInfo(qly).absolutePath() + QStringLiteral("/sample/img/en/"));

    dlg.optPDF->setChecked(true);
    int tab = -1;
    QString title;
    onNextModal<frmOutputProperties>([&](frmOutputProperties* form) {
        tab = form->tabOptions->currentIndex();
        title = form->windowTitle();
        QTest::mouseClick(form->cmdCancel, Qt::LeftButton);
    });
    QTest::mouseClick(dlg.cmdProperties, Qt::LeftButton);
    EXPECT_EQ(tab, 1);
    EXPECT_EQ(title, QStringLiteral("Output Properties"));
    EXPECT_FALSE(dlg.propertiesForm()->isVisible());
    EXPECT_TRUE(box.empty());

    // The newer formats have their tabs too.
    for (auto [option, expected] : {std::pair{dlg.optWebHelp, 4}, std::pair{dlg.optEPUB, 5}}) {
        option->setChecked(true);
        tab = -1;
        onNextModal<frmOutputProperties>([&](frmOutputProperties* form) {
            tab = form->tabOptions->currentIndex();
            QTest::mouseClick(form->cmdCancel, Qt::LeftButton);
        });
        QTest::mouseClick(dlg.cmdProperties, Qt::LeftButton);
        EXPECT_EQ(tab, expected);
    }
}

// --- Output Properties -------------------------------------------------------------

TEST(OutputPropertiesDialog, EveryControlIsBoundToTheModelBothWays)
{
    removeLastQop();
    ScriptedMsgBox box;
    cOutputProperties model;
    frmOutputProperties form(model, &box);
    form.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&form));

    // Every control of the model stands in the form under its name and index.
    for (const auto& c : model.controls()) {
        QWidget* w = form.control(c.name, c.index);
        ASSERT_TRUE(w) << c.name.toStdString() << " " << c.index;
        EXPECT_EQ(w->objectName(), c.name);
        EXPECT_EQ(w->property("index").toInt(), c.index) << c.name.toStdString();
    }
    ASSERT_EQ(form.tabOptions->count(), 6);
    EXPECT_EQ(form.tabOptions->tabText(0), QStringLiteral("HTML Help"));
    EXPECT_EQ(form.tabOptions->tabText(1), QStringLiteral("PDF"));
    EXPECT_EQ(form.tabOptions->tabText(2), QStringLiteral("HTML"));
    EXPECT_EQ(form.tabOptions->tabText(3), QStringLiteral("HTML (frames)"));
    EXPECT_EQ(form.tabOptions->tabText(4), QStringLiteral("Web Help"));
    EXPECT_EQ(form.tabOptions->tabText(5), QStringLiteral("EPUB"));
    EXPECT_EQ(widget<QGroupBox>(form, "Frame3", 2)->title(), QStringLiteral("Chapter && Topic Title"));
    EXPECT_EQ(widget<QGroupBox>(form, "Frame12", 3)->title(), QStringLiteral("Left Pane ToC"));
    EXPECT_FALSE(form.control(QStringLiteral("Frame2"), 1)); // no book title on PDF
    EXPECT_FALSE(form.control(QStringLiteral("chkAutoNumber"), 0));
    EXPECT_EQ(widget<QLabel>(form, "labToCDepth", 0)->text(), QStringLiteral("Chapter Split Level"));
    EXPECT_EQ(widget<QLabel>(form, "labToCDepth", 1)->text(), QStringLiteral("ToC Depth"));
    EXPECT_EQ(widget<QCheckBox>(form, "chkRule", 1)->text(), QStringLiteral("Header && Footer Rule"));
    EXPECT_EQ(widget<QRadioButton>(form, "optPrinted", 2)->toolTip(),
              QStringLiteral("include parts marked as Printed Output"));
    EXPECT_EQ(widget<QPushButton>(form, "cmdHTMLReset", 2)->toolTip(), QStringLiteral("reset settings to default values"));
    EXPECT_EQ(widget<QComboBox>(form, "cmbBodyFont", 1)->count(), 3); // no Comic Sans on PDF
    EXPECT_EQ(widget<QComboBox>(form, "cmbPaperType", 1)->currentText(), QStringLiteral("A4"));

    // The defaults show.
    EXPECT_TRUE(widget<QCheckBox>(form, "chkBodyBold", 2)->isChecked() == false);
    EXPECT_EQ(widget<QComboBox>(form, "cmbBodySize", 1)->currentText(), QStringLiteral("10"));
    EXPECT_TRUE(widget<QRadioButton>(form, "optOnline", 2)->isChecked());
    EXPECT_FALSE(widget<QComboBox>(form, "cmbChapterTitleSize", 0)->isEnabled());

    // View to model.
    form.tabOptions->setCurrentIndex(2);
    tick(widget<QCheckBox>(form, "chkBodyBold", 2));
    EXPECT_TRUE(model.check(QStringLiteral("chkBodyBold"), 2));
    EXPECT_FALSE(model.check(QStringLiteral("chkBodyBold"), 3));
    widget<QComboBox>(form, "cmbBodyFont", 2)->setCurrentIndex(1);
    EXPECT_EQ(model.text(QStringLiteral("cmbBodyFont"), 2), QStringLiteral("Arial"));
    tick(widget<QRadioButton>(form, "optPrinted", 2));
    EXPECT_TRUE(model.option(QStringLiteral("optPrinted"), 2));
    EXPECT_FALSE(model.option(QStringLiteral("optOnline"), 2));
    EXPECT_FALSE(widget<QRadioButton>(form, "optOnline", 2)->isChecked());
    EXPECT_EQ(model.GetHTMLOutput(), QStringLiteral("print"));
    tick(widget<QRadioButton>(form, "optPrinted", 2));
    EXPECT_TRUE(widget<QRadioButton>(form, "optPrinted", 2)->isChecked());
    form.cdlColor = [](QWidget*, QColor& c) {
        c = QColor(0x12, 0x34, 0x56);
        return true;
    };
    QTest::mouseClick(widget<QPushButton>(form, "picBodyBGColor", 2), Qt::LeftButton);
    EXPECT_EQ(cOutputProperties::colorToHex(model.color(QStringLiteral("picBodyBGColor"), 2)), QStringLiteral("123456"));
    EXPECT_EQ(model.color(QStringLiteral("picBodyBGColor"), 2), 0x563412);
    form.cdlColor = [](QWidget*, QColor&) { return false; };
    QTest::mouseClick(widget<QPushButton>(form, "picBodyBGColor", 2), Qt::LeftButton);
    EXPECT_EQ(model.color(QStringLiteral("picBodyBGColor"), 2), 0x563412);
    auto* sizeCombo = widget<QComboBox>(form, "cmbBodySize", 2);
    sizeCombo->setEditText(QStringLiteral("13"));
    EXPECT_EQ(model.text(QStringLiteral("cmbBodySize"), 2), QStringLiteral("13"));
    form.tabOptions->setCurrentIndex(0);
    tick(widget<QCheckBox>(form, "chkSameSize", 0));
    EXPECT_TRUE(widget<QCheckBox>(form, "chkSameSize", 0)->isChecked());
    EXPECT_TRUE(model.check(QStringLiteral("chkSameSize"), 0));
    EXPECT_TRUE(model.isEnabled(QStringLiteral("cmbChapterTitleSize"), 0));
    EXPECT_TRUE(widget<QComboBox>(form, "cmbChapterTitleSize", 0)->isEnabled());
    EXPECT_FALSE(widget<QComboBox>(form, "cmbChapterTitleSize", 2)->isEnabled());
    form.tabOptions->setCurrentIndex(1);
    QTest::keyClicks(widget<QLineEdit>(form, "txtCoverImage", 1), QStringLiteral("cover.png"));
    EXPECT_EQ(model.GetCoverImage(QStringLiteral("PDF")), QStringLiteral("cover.png"));

    // Model to view.
    model.setCheck(QStringLiteral("chkRule"), 1, false);
    model.setText(QStringLiteral("cmbToCFont"), 3, QStringLiteral("Courier"));
    form.refresh();
    EXPECT_FALSE(widget<QCheckBox>(form, "chkRule", 1)->isChecked());
    EXPECT_EQ(widget<QComboBox>(form, "cmbToCFont", 3)->currentText(), QStringLiteral("Courier"));

    // SwitchTab by format key; an unknown key changes nothing.
    form.SwitchTab(QStringLiteral("HTMLFrames"));
    EXPECT_EQ(form.tabOptions->currentIndex(), 3);
    form.SwitchTab(QStringLiteral("XYZ"));
    EXPECT_EQ(form.tabOptions->currentIndex(), 3);

    // The cover image browser starts in the image folder.
    model.ImageFolder = QStringLiteral("/images/en/");
    QString folder, filter;
    form.cdlImage = [&](QWidget*, const QString& f, const QString& fl) -> std::optional<QString> {
        folder = f;
        filter = fl;
        return QStringLiteral("/pictures/front.png");
    };
    QTest::mouseClick(widget<QPushButton>(form, "cmdImageBrowse", 3), Qt::LeftButton);
    EXPECT_EQ(folder, QStringLiteral("/images/en/"));
    EXPECT_EQ(filter, frmOutputProperties::kImageFilter);
    EXPECT_EQ(widget<QLineEdit>(form, "txtCoverImage", 3)->text(), QStringLiteral("/pictures/front.png"));
    EXPECT_EQ(model.text(QStringLiteral("txtCoverImage"), 3), QStringLiteral("/pictures/front.png"));
    QTest::mouseClick(widget<QPushButton>(form, "cmdImageBrowse", 3), Qt::LeftButton);
    EXPECT_EQ(folder, QStringLiteral("/pictures/"));

    // Reset on the HTML tab resets that tab only.
    QTest::mouseClick(widget<QPushButton>(form, "cmdHTMLReset", 2), Qt::LeftButton);
    EXPECT_FALSE(widget<QCheckBox>(form, "chkBodyBold", 2)->isChecked());
    EXPECT_EQ(widget<QComboBox>(form, "cmbBodyFont", 2)->currentText(), QStringLiteral("Times New Roman"));
    EXPECT_TRUE(widget<QRadioButton>(form, "optOnline", 2)->isChecked());
    EXPECT_TRUE(widget<QComboBox>(form, "cmbChapterTitleSize", 0)->isEnabled());
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();
}

TEST(OutputPropertiesDialog, SavesAndLoadsQopFilesThroughTheFileDialogs)
{
    removeLastQop();
    TempDir dir;
    ScriptedMsgBox box;
    cOutputProperties model;
    frmOutputProperties form(model, &box);
    form.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&form));

    std::optional<QString> answer;
    QString askedFilter;
    auto chooser = [&](QWidget*, const QString&, const QString& f) {
        askedFilter = f;
        return answer;
    };
    form.cdlSave = chooser;
    form.cdlLoad = chooser;

    form.tabOptions->setCurrentIndex(2);
    tick(widget<QCheckBox>(form, "chkBodyBold", 2));
    widget<QComboBox>(form, "cmbNoteTitleFont", 2)->setCurrentIndex(3); // Comic Sans
    form.tabOptions->setCurrentIndex(1);
    tick(widget<QRadioButton>(form, "optOnline", 1));
    const QString qop = dir.file(QStringLiteral("mine.qop"));
    writeBytes(qop, "old");
    answer = qop;
    QTest::mouseClick(form.cmdSave, Qt::LeftButton);
    EXPECT_EQ(askedFilter, QStringLiteral("Quillary output properties (*.qop);;All files (*.*)"));
    const QByteArray saved = testing_support::readBytes(qop);
    EXPECT_TRUE(saved.startsWith("\"Quillary output properties file 1.0\"\r\n"));
    EXPECT_EQ(saved, model.propertiesText());

    // Cancel and an empty name.
    answer = std::nullopt;
    QTest::mouseClick(form.cmdSave, Qt::LeftButton);
    QTest::mouseClick(form.cmdLoad, Qt::LeftButton);
    EXPECT_TRUE(box.empty());
    answer = QString();
    QTest::mouseClick(form.cmdSave, Qt::LeftButton);
    EXPECT_EQ(box.last(), QStringLiteral("File has not been specified!"));
    // A file that cannot be written is reported.
    answer = dir.file(QStringLiteral("no/such/folder/mine.qop"));
    QTest::mouseClick(form.cmdSave, Qt::LeftButton);
    EXPECT_EQ(box.lastIcon(), MsgIcon::Critical);
    EXPECT_FALSE(QFileInfo::exists(*answer));
    answer = QString();
    QTest::mouseClick(form.cmdLoad, Qt::LeftButton);
    EXPECT_EQ(box.last(), QStringLiteral("File does not exist!"));
    box.clear();

    // Back to the defaults, then the file brings the state back.
    for (int t = 0; t < cOutputProperties::kTabCount; ++t)
        QTest::mouseClick(widget<QPushButton>(form, "cmdHTMLReset", t), Qt::LeftButton);
    EXPECT_FALSE(widget<QCheckBox>(form, "chkBodyBold", 2)->isChecked());
    answer = qop;
    QTest::mouseClick(form.cmdLoad, Qt::LeftButton);
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(widget<QCheckBox>(form, "chkBodyBold", 2)->isChecked());
    EXPECT_EQ(widget<QComboBox>(form, "cmbNoteTitleFont", 2)->currentText(), QStringLiteral("Comic Sans"));
    EXPECT_TRUE(widget<QRadioButton>(form, "optOnline", 1)->isChecked());
    EXPECT_FALSE(widget<QRadioButton>(form, "optPrinted", 1)->isChecked());
    EXPECT_EQ(model.propertiesText(), saved);

    // A file of another kind changes nothing.
    const QString bad = dir.file(QStringLiteral("bad.qop"));
    writeBytes(bad, "\"Something else\"\r\nchkBodyBold\r\n0\r\n2\r\n");
    answer = bad;
    QTest::mouseClick(form.cmdLoad, Qt::LeftButton);
    ASSERT_EQ(box.all().size(), 1u);
    EXPECT_EQ(box.last(), QStringLiteral("File is not a Quillary Author Data File"));
    EXPECT_EQ(box.all().back().title, QStringLiteral("Error reading file"));
    EXPECT_TRUE(widget<QCheckBox>(form, "chkBodyBold", 2)->isChecked());

    // OK keeps the state in last.qop; Cancel goes back to it.
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
    EXPECT_EQ(testing_support::readBytes(cOutputProperties::lastQopPath()), saved);
    form.show();
    form.tabOptions->setCurrentIndex(2);
    tick(widget<QCheckBox>(form, "chkBodyBold", 2));
    EXPECT_FALSE(model.check(QStringLiteral("chkBodyBold"), 2));
    QTest::mouseClick(form.cmdCancel, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
    EXPECT_TRUE(model.check(QStringLiteral("chkBodyBold"), 2));
    EXPECT_TRUE(widget<QCheckBox>(form, "chkBodyBold", 2)->isChecked());
    removeLastQop();
}

// --- Settings -------------------------------------------------------------------------

TEST(OptionsDialog, ChecksTheCompilerFindsItOnThePathAndSavesTheSettings)
{
    TempDir dir;
    const QString conf = dir.file(QStringLiteral("conf.xml"));
    ASSERT_TRUE(QFile::copy(paths::programFolder() + QStringLiteral("/conf.xml"), conf));
    QFile::setPermissions(conf, QFile::ReadOwner | QFile::WriteOwner);
    ScriptedMsgBox box;
    frmOptions dlg(&box);
    dlg.setConfigFile(conf);
    QList<QUrl> urls;
    dlg.openUrl = [&](const QUrl& u) {
        urls << u;
        return true;
    };
    dlg.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dlg));
    EXPECT_EQ(dlg.windowTitle(), QStringLiteral("Settings"));
    EXPECT_EQ(dlg.cmdAutoFind->text(), QStringLiteral("Auto Find"));
    EXPECT_EQ(dlg.lblDownload->text(),
              QStringLiteral("If you cannot find \"chmcmd\", you need to install the Debian package fp-utils."));
    for (const char* label : {"Online selection color", "Print selection color", "Anchor color"}) {
        bool found = false;
        for (QLabel* l : dlg.findChildren<QLabel*>())
            found = found || l->text() == QLatin1String(label);
        EXPECT_TRUE(found) << label;
    }
    EXPECT_EQ(dlg.picOnline->property("colorNumber").toInt(), cOptions::textToColor(QStringLiteral("CCF2CC")));

    QTest::mouseClick(dlg.lblDownload, Qt::LeftButton);
    EXPECT_EQ(urls, QList<QUrl>({QUrl(frmOptions::kDownloadUrl)}));

    // A file that cannot run is refused; one that can is taken.
    const QString plain = dir.file(QStringLiteral("plain"));
    writeBytes(plain, "x");
    std::optional<QString> chosen = plain;
    dlg.cdlOpen = [&](QWidget*, const QString&, const QString&) { return chosen; };
    QTest::mouseClick(dlg.cmdOpen, Qt::LeftButton);
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("File is not executable!")}));
    EXPECT_TRUE(dlg.txtFile->text().isEmpty());
    const QString tool = makeExecutable(dir.file(QStringLiteral("tool")));
    chosen = tool;
    box.clear();
    QTest::mouseClick(dlg.cmdOpen, Qt::LeftButton);
    EXPECT_TRUE(box.empty());
    EXPECT_EQ(dlg.txtFile->text(), tool);
    chosen = std::nullopt;
    QTest::mouseClick(dlg.cmdOpen, Qt::LeftButton);
    EXPECT_EQ(dlg.txtFile->text(), tool);

    // Auto Find looks on PATH.
    const QString bin = dir.file(QStringLiteral("bin"));
    QDir().mkpath(bin);
    const QByteArray oldPath = qgetenv("PATH");
    qputenv("PATH", dir.file(QStringLiteral("empty")).toUtf8());
    QTest::mouseClick(dlg.cmdAutoFind, Qt::LeftButton);
    EXPECT_EQ(box.last(), QStringLiteral("Unable to locate HTML Help compiler! Most likely you will need to install it."));
    EXPECT_EQ(dlg.txtFile->text(), tool);
    const QString chmcmd = makeExecutable(bin + QStringLiteral("/chmcmd"));
    qputenv("PATH", bin.toUtf8());
    QTest::mouseClick(dlg.cmdAutoFind, Qt::LeftButton);
    qputenv("PATH", oldPath);
    EXPECT_EQ(box.last(), QStringLiteral("HTML Help compiler has been found successfully."));
    EXPECT_EQ(box.lastIcon(), MsgIcon::Information);
    EXPECT_EQ(dlg.txtFile->text(), chmcmd);

    // Colours through the colour dialog; OK writes all four settings.
    dlg.cdlColor = [](QWidget*, QColor& c) {
        c = QColor(0x01, 0x02, 0x03);
        return true;
    };
    QTest::mouseClick(dlg.picAnchor, Qt::LeftButton);
    EXPECT_EQ(dlg.picAnchor->property("colorNumber").toInt(), 0x030201);
    box.clear();
    QTest::mouseClick(dlg.cmdOK, Qt::LeftButton);
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_FALSE(dlg.isVisible());
    EXPECT_EQ(dlg.result(), QDialog::Accepted);
    cConfigFile c(box);
    ASSERT_TRUE(c.Load(conf));
    EXPECT_EQ(c.getHHWFile(), chmcmd);
    EXPECT_EQ(c.getAnchorColor(), QStringLiteral("010203"));
    EXPECT_EQ(c.getOnlineColor(), QStringLiteral("CCF2CC"));
}

TEST(OptionsDialog, OKWithAnEmptyOrBadPathStays)
{
    TempDir dir;
    const QString conf = dir.file(QStringLiteral("conf.xml"));
    ASSERT_TRUE(QFile::copy(paths::programFolder() + QStringLiteral("/conf.xml"), conf));
    QFile::setPermissions(conf, QFile::ReadOwner | QFile::WriteOwner);
    const QByteArray before = testing_support::readBytes(conf);
    ScriptedMsgBox box;
    frmOptions dlg(&box);
    dlg.setConfigFile(conf);
    dlg.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dlg));
    dlg.txtFile->clear();
    QTest::mouseClick(dlg.cmdOK, Qt::LeftButton);
    EXPECT_TRUE(dlg.isVisible());
    EXPECT_TRUE(box.empty());
    const QString plain = dir.file(QStringLiteral("plain"));
    writeBytes(plain, "x");
    QTest::keyClicks(dlg.txtFile, plain);
    QTest::mouseClick(dlg.cmdOK, Qt::LeftButton);
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("File is not executable!")}));
    EXPECT_TRUE(dlg.isVisible());
    QTest::mouseClick(dlg.cmdCancel, Qt::LeftButton);
    EXPECT_FALSE(dlg.isVisible());
    EXPECT_EQ(testing_support::readBytes(conf), before);
}

// --- Verification Results -------------------------------------------------------------------

TEST(VerifyDialog, ShowsTheReportPagesAndPrintsThem)
{
    TempDir dir;
    const QString qly = copySample(dir.path(), QStringLiteral("work"));
    ScriptedMsgBox box;
    cProject project(box);
    ASSERT_TRUE(project.Load(qly));
    frmVerify dlg(&box);
    dlg.SetProject(&project);
    QList<bool> prints;
    dlg.printer = [&](QWebEngineView* view, bool preview) {
        EXPECT_EQ(view, dlg.brwResults);
        prints << preview;
    };
    dlg.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dlg));
    EXPECT_EQ(dlg.windowTitle(), QStringLiteral("Verification Results"));
    EXPECT_EQ(dlg.optTopics->text(), QStringLiteral("Unfinished topics"));
    EXPECT_EQ(dlg.optMissing->text(), QStringLiteral("Missing images"));
    EXPECT_EQ(dlg.optAll->text(), QStringLiteral("Used images"));
    EXPECT_EQ(dlg.optRedundant->text(), QStringLiteral("Redundant images"));
    EXPECT_EQ(dlg.cmdPreview->text(), QStringLiteral("Print preview"));
    EXPECT_EQ(dlg.cmdPrint->text(), QStringLiteral("Print"));
    EXPECT_EQ(dlg.cmdClose->text(), QStringLiteral("Close"));
    ASSERT_TRUE(dlg.model());
    EXPECT_TRUE(dlg.optTopics->isChecked());
    EXPECT_EQ(dlg.page(), 0);

    // The first page: unfinished topics of both languages.
    const QString topicsFile = dlg.model()->temporaryFile(cVerification::Topics);
    EXPECT_TRUE(QFileInfo::exists(topicsFile));
    QString text;
    EXPECT_TRUE(waitFor([&] {
        text = pageText(dlg.brwResults);
        return text.contains(QStringLiteral("German"));
    }, 15000)) << text.toStdString();
    EXPECT_EQ(dlg.brwResults->url(), QUrl::fromLocalFile(topicsFile));
    EXPECT_TRUE(text.startsWith(QStringLiteral("Unfinished topics"))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("English"))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral(" are not locked."))) << text.toStdString();

    QTest::mouseClick(dlg.optMissing, Qt::LeftButton);
    EXPECT_EQ(dlg.page(), 1);
    EXPECT_TRUE(waitFor([&] {
        text = pageText(dlg.brwResults);
        return text.startsWith(QStringLiteral("Missing images"));
    }, 15000)) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("Images are OK."))) << text.toStdString();

    QTest::mouseClick(dlg.cmdPreview, Qt::LeftButton);
    QTest::mouseClick(dlg.cmdPrint, Qt::LeftButton);
    EXPECT_EQ(prints, QList<bool>({true, false}));

    // Closing removes the temporary pages.
    QTest::mouseClick(dlg.cmdClose, Qt::LeftButton);
    EXPECT_FALSE(dlg.isVisible());
    EXPECT_FALSE(QFileInfo::exists(topicsFile));
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();
}

// --- The main window's menus ----------------------------------------------------------------------

TEST(PublishMenus, OpenTheDialogsAfterTheSavePromptAndReloadTheSettings)
{
    removeLastQop();
    ConfGuard conf;
    TempDir dir;
    ScriptedMsgBox box;
    frmMain window(box);
    window.resize(1000, 700);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    window.startUp(QString());
    window.dEdit->setTimeouts(20000, 20000);
    auto on = [&](const char* n) { return window.action(QString::fromLatin1(n))->isEnabled(); };
    ASSERT_TRUE(window.action(QStringLiteral("mnuSettings")));
    EXPECT_TRUE(window.menu(QStringLiteral("mnuTools"))->actions().contains(window.action(QStringLiteral("mnuSettings"))));
    EXPECT_FALSE(on("mnuOutput"));
    EXPECT_FALSE(on("mnuVerify"));
    EXPECT_TRUE(on("mnuSettings"));

    const QString qly = copySample(dir.path(), QStringLiteral("work"));
    window.startUp(qly);
    ASSERT_TRUE(window.session().isOpen());
    EXPECT_TRUE(on("mnuOutput"));
    EXPECT_TRUE(on("mnuVerify"));

    // A changed topic asks first; Cancel opens nothing.
    ASSERT_TRUE(window.openTopic(QStringLiteral("Getting Started\\Welcome")));
    window.session().topicPropertiesChanged = true;
    box.answer(MsgAnswer::Cancel);
    bool outputOpened = false;
    QStringList languages;
    onNextModal<frmOutput>([&](frmOutput* dlg) {
        outputOpened = true;
        for (int i = 0; i < dlg->cmbLanguages->count(); ++i)
            languages << dlg->cmbLanguages->itemText(i);
        QTest::mouseClick(dlg->cmdCancel, Qt::LeftButton);
    });
    window.action(QStringLiteral("mnuOutput"))->trigger();
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("Topic \"Welcome\" has been changed. Save?")}));
    EXPECT_FALSE(outputOpened);

    // No: the dialog opens over the project.
    box.clear();
    box.answer(MsgAnswer::No);
    window.action(QStringLiteral("mnuOutput"))->trigger();
    EXPECT_EQ(box.all().size(), 1u);
    EXPECT_TRUE(outputOpened);
    // No leaves the topic shown and changed; saved, it asks no more.
    window.session().topicPropertiesChanged = false;
    EXPECT_EQ(languages, QStringList({QStringLiteral("English"), QStringLiteral("German")}));

    // Verify.
    box.clear();
    bool verifyOpened = false;
    onNextModal<frmVerify>([&](frmVerify* dlg) {
        verifyOpened = dlg->model() && dlg->optTopics->isChecked();
        QTest::mouseClick(dlg->cmdClose, Qt::LeftButton);
    });
    window.action(QStringLiteral("mnuVerify"))->trigger();
    EXPECT_TRUE(verifyOpened);
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();

    // Settings: the colours are read again afterwards.
    const QString tool = makeExecutable(dir.file(QStringLiteral("tool")));
    onNextModal<frmOptions>([&](frmOptions* dlg) {
        dlg->txtFile->setText(tool);
        dlg->cdlColor = [](QWidget*, QColor& c) {
            c = QColor(0x0A, 0x0B, 0x0C);
            return true;
        };
        QTest::mouseClick(dlg->picOnline, Qt::LeftButton);
        QTest::mouseClick(dlg->cmdOK, Qt::LeftButton);
    });
    window.action(QStringLiteral("mnuSettings"))->trigger();
    EXPECT_EQ(window.session().onlineColor, QStringLiteral("#0A0B0C"));
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();
}

// A chunked run moves a bar chapter by chapter while the dialog stays live.
TEST(OutputDialog, AFramedRunMovesTheChapterBar)
{
    removeLastQop();
    TempDir dir;
    const QString qly = copySample(dir.path(), QStringLiteral("work"));
    ScriptedMsgBox box;
    box.setDefault(MsgAnswer::Yes);
    cProject project(box);
    ASSERT_TRUE(project.Load(qly));
    frmOutput dlg(&box);
    dlg.SetProject(&project);
    dlg.openResult = [](const QUrl&) { return true; };
    dlg.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dlg));
    EXPECT_FALSE(dlg.pbChapters->isVisible());
    dlg.cmbLanguages->setCurrentIndex(0);
    dlg.optHTMLChunk->setChecked(true);

    QList<int> seen;
    QObject::connect(dlg.pbChapters, &QProgressBar::valueChanged, [&](int v) {
        if (dlg.running() && (seen.isEmpty() || seen.last() != v))
            seen << v;
    });
    QTest::mouseClick(dlg.cmdOK, Qt::LeftButton);
    EXPECT_TRUE(dlg.log().text().endsWith(QStringLiteral("Done."))) << dlg.log().text().toStdString();
    // The sample's print-only Appendix is not a chapter of the online output.
    EXPECT_EQ(dlg.pbChapters->maximum(), 2);
    EXPECT_EQ(dlg.pbChapters->value(), 2);
    EXPECT_TRUE(dlg.pbChapters->isVisible());
    // Every chapter on its way, in order.
    EXPECT_TRUE(seen.contains(1) && seen.contains(2)) << seen.size();
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
}
