// The forms of the language exchange over their library: Add New Language,
// Backup, Export and Import Language, with every file dialog, input box and
// folder browser scripted.
#include "apptestsupport.h"
#include "frmbackup.h"
#include "frmexport.h"
#include "frmimport.h"
#include "frmnewlanguage.h"
#include "barprogress.h"

#include "backup.h"
#include "booktree.h"
#include "cproject.h"
#include "exportproject.h"
#include "fileio.h"
#include "importlanguage.h"
#include "language.h"
#include "msgbox.h"
#include "progress.h"
#include "testsupport.h"
#include "treeview.h"
#include "ziparchive.h"

#include <QComboBox>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMap>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <gtest/gtest.h>

#include <optional>

using testing_support::copySample;
using testing_support::copyTree;
using app_testing::waitFor;
using testing_support::readText;
using testing_support::TempDir;
using testing_support::writeUtf16;

namespace {

const QString kEnglishGerman[] = {QStringLiteral("English (en)"), QStringLiteral("German (de)")};

// Every file below a folder with its bytes, by relative path.
QMap<QString, QByteArray> snapshot(const QString& folder)
{
    const std::map<QString, QByteArray> files = testing_support::filesOf(folder);
    return QMap<QString, QByteArray>(files);
}

QStringList items(QListWidget* list)
{
    QStringList out;
    for (int i = 0; i < list->count(); ++i)
        out << list->item(i)->text();
    return out;
}

QStringList comboItems(QComboBox* combo)
{
    QStringList out;
    for (int i = 0; i < combo->count(); ++i)
        out << combo->itemText(i);
    return out;
}

void pick(QComboBox* combo, const QString& text)
{
    const int i = combo->findText(text);
    ASSERT_GE(i, 0) << text.toStdString();
    combo->setCurrentIndex(i);
    emit combo->activated(i);
}

// The item of a tree by the texts from the root down, joined by backslashes.
QTreeWidgetItem* itemAt(QTreeWidget* tree, const QString& path)
{
    const QStringList parts = path.split(QLatin1Char('\\'));
    QTreeWidgetItem* item = nullptr;
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        if (tree->topLevelItem(i)->text(0) == parts.value(0))
            item = tree->topLevelItem(i);
    for (int p = 1; item && p < parts.size(); ++p) {
        QTreeWidgetItem* next = nullptr;
        for (int i = 0; i < item->childCount(); ++i)
            if (item->child(i)->text(0) == parts[p])
                next = item->child(i);
        item = next;
    }
    return item;
}

// Every item of a tree with its check state, in order.
QStringList checks(QTreeWidget* tree)
{
    QStringList out;
    std::function<void(QTreeWidgetItem*, const QString&)> walk = [&](QTreeWidgetItem* item, const QString& up) {
        const QString path = up.isEmpty() ? item->text(0) : up + QLatin1Char('\\') + item->text(0);
        out << (item->checkState(0) == Qt::Checked ? QStringLiteral("+") : QStringLiteral("-")) + path;
        for (int i = 0; i < item->childCount(); ++i)
            walk(item->child(i), path);
    };
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        walk(tree->topLevelItem(i), QString());
    return out;
}

bool allExpanded(QTreeWidget* tree)
{
    bool all = tree->topLevelItemCount() > 0;
    std::function<void(QTreeWidgetItem*)> walk = [&](QTreeWidgetItem* item) {
        if (item->childCount() > 0 && !item->isExpanded())
            all = false;
        for (int i = 0; i < item->childCount(); ++i)
            walk(item->child(i));
    };
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        walk(tree->topLevelItem(i));
    return all;
}

// Changes a text in a UTF-16 project file; the text must be there.
void replaceIn(const QString& file, const QString& from, const QString& to)
{
    QString text = readText(file);
    ASSERT_TRUE(text.contains(from)) << from.toStdString() << " in " << file.toStdString();
    text.replace(from, to);
    writeUtf16(file, text);
}

// With QUILLARY_SCREENSHOTS set, a picture of a form into that folder.
void shot(QWidget* form, const QString& name)
{
    const QString folder = qEnvironmentVariable("QUILLARY_SCREENSHOTS");
    if (folder.isEmpty() || !form)
        return;
    QDir().mkpath(folder);
    form->grab().save(folder + QLatin1Char('/') + name + QStringLiteral(".png"));
}

// A modal form that closes itself; a safety net if it does not.
void execWithin(QDialog& dlg, int ms = 60000)
{
    QTimer::singleShot(ms, &dlg, [&dlg] {
        ADD_FAILURE() << dlg.objectName().toStdString() << " did not close by itself";
        dlg.done(QDialog::Rejected);
    });
    dlg.exec();
}

} // namespace

// --- Add New Language --------------------------------------------------------------

class NewLanguageFormTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        qly = copySample(dir.path(), QStringLiteral("work"));
        ASSERT_TRUE(project.Load(qly));
        form = std::make_unique<frmNewLanguage>(&box);
        form->SetProject(&project);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(form.get()));
        before = snapshot(dir.path());
    }

    void add(const QString& name, const QString& abbrev)
    {
        form->cmbLangs->setEditText(name);
        form->txtAbrev->setText(abbrev);
        QTest::mouseClick(form->cmdAdd, Qt::LeftButton);
    }

    TempDir dir;
    QString qly;
    ScriptedMsgBox box;
    cProject project{box};
    std::unique_ptr<frmNewLanguage> form;
    QMap<QString, QByteArray> before;
};

TEST_F(NewLanguageFormTest, ShowsTheProjectsLanguagesAndTheInstalledList)
{
    EXPECT_EQ(form->objectName(), QStringLiteral("frmNewLanguage"));
    EXPECT_EQ(form->windowTitle(), QStringLiteral("Add New Language"));
    for (const char* name : {"lstExisting", "cmbLangs", "txtAbrev", "cmdAdd", "cmdCancel"})
        EXPECT_NE(form->findChild<QWidget*>(QString::fromLatin1(name)), nullptr) << name;
    EXPECT_EQ(items(form->lstExisting), QStringList({kEnglishGerman[0], kEnglishGerman[1]}));
    EXPECT_TRUE(form->cmbLangs->isEditable());
    EXPECT_GE(form->cmbLangs->findText(QStringLiteral("French")), 0);
    EXPECT_TRUE(form->cmbLangs->currentText().isEmpty());
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();

    pick(form->cmbLangs, QStringLiteral("German"));
    EXPECT_EQ(form->txtAbrev->text(), QStringLiteral("de"));
    shot(form.get(), QStringLiteral("frmNewLanguage"));
    pick(form->cmbLangs, QStringLiteral("French"));
    EXPECT_EQ(form->txtAbrev->text(), QStringLiteral("fr"));
    // The user may change the abbreviation afterwards.
    form->txtAbrev->setText(QStringLiteral("fr-CA"));
    EXPECT_EQ(form->cmbLangs->currentText(), QStringLiteral("French"));
}

TEST_F(NewLanguageFormTest, RefusalsKeepTheDialogOpenAndChangeNothing)
{
    add(QString(), QStringLiteral("xx"));
    EXPECT_EQ(box.last(), QStringLiteral("Language is not specified!"));
    EXPECT_EQ(box.lastIcon(), MsgIcon::Exclamation);
    add(QStringLiteral("Klingon"), QString());
    EXPECT_EQ(box.last(), QStringLiteral("Language is not specified!"));

    pick(form->cmbLangs, QStringLiteral("German"));
    QTest::mouseClick(form->cmdAdd, Qt::LeftButton);
    EXPECT_EQ(box.last(), QStringLiteral("Language name already exists!"));
    add(QStringLiteral("Deutsch"), QStringLiteral("de"));
    EXPECT_EQ(box.last(), QStringLiteral("Language abbreviation already exists!"));
    EXPECT_EQ(box.all().size(), 4u);
    EXPECT_TRUE(form->isVisible());

    // No at the question: still open, nothing written.
    box.clear();
    box.answer(MsgAnswer::No);
    pick(form->cmbLangs, QStringLiteral("French"));
    QTest::mouseClick(form->cmdAdd, Qt::LeftButton);
    ASSERT_EQ(box.all().size(), 1u);
    EXPECT_EQ(box.last(), QStringLiteral("You are going to add French language to the book. Are you sure?"));
    EXPECT_EQ(box.all().back().buttons, MsgButtons::YesNo);
    EXPECT_EQ(box.lastIcon(), MsgIcon::Exclamation);
    EXPECT_TRUE(form->isVisible());
    EXPECT_FALSE(form->added());
    EXPECT_EQ(snapshot(dir.path()), before);

    QTest::mouseClick(form->cmdCancel, Qt::LeftButton);
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(form->result(), QDialog::Rejected);
    EXPECT_EQ(snapshot(dir.path()), before);
}

TEST_F(NewLanguageFormTest, YesAddsTheLanguageAndCloses)
{
    box.answer(MsgAnswer::Yes);
    pick(form->cmbLangs, QStringLiteral("French"));
    QTest::mouseClick(form->cmdAdd, Qt::LeftButton);
    EXPECT_EQ(box.texts(),
              QStringList({QStringLiteral("You are going to add French language to the book. Are you sure?")}));
    EXPECT_TRUE(form->added());
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(form->result(), QDialog::Accepted);

    cProject reread(box);
    ASSERT_TRUE(reread.Load(qly));
    EXPECT_EQ(reread.getLanguageName(QStringLiteral("fr")), QStringLiteral("French"));
    EXPECT_TRUE(QFileInfo(reread.GetProjectFolder() + QStringLiteral("img/fr")).isDir());
    for (const QString& file : reread.chapterFileList())
        EXPECT_TRUE(readText(file).contains(QStringLiteral("lang=\"fr\""))) << file.toStdString();
    EXPECT_TRUE(readText(reread.getBookFile()).contains(QStringLiteral("lang=\"fr\"")));
}

// Cancel while the chapters are rewritten: the work stops, nothing changes.
TEST_F(NewLanguageFormTest, CancelWhileAddingChangesNothing)
{
    box.answer(MsgAnswer::Yes);
    pick(form->cmbLangs, QStringLiteral("French"));
    // Comes at the first repaint of the running work, as a user's click would.
    bool shown = false;
    QTimer::singleShot(0, form.get(), [&] {
        shown = form->working() && form->pbWork->isVisible();
        QTest::mouseClick(form->cmdCancel, Qt::LeftButton);
    });
    QTest::mouseClick(form->cmdAdd, Qt::LeftButton);
    EXPECT_TRUE(shown);
    EXPECT_EQ(box.texts().last(), Progress::kCancelled);
    EXPECT_FALSE(form->added());
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(snapshot(dir.path()), before);
}

TEST(NewLanguageForm, AMissingLanguageListIsReportedAndTheDialogStays)
{
    TempDir dir;
    const QString qly = copySample(dir.path(), QStringLiteral("work"));
    ScriptedMsgBox box;
    cProject project(box);
    ASSERT_TRUE(project.Load(qly));
    frmNewLanguage form(&box);
    form.SetProject(&project);
    form.setLanguageFile(dir.file(QStringLiteral("nowhere/langs.xml")));
    form.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&form));
    EXPECT_EQ(box.texts(),
              QStringList({QStringLiteral("File with available languages is missing! Please reinstall application.")}));
    EXPECT_EQ(form.cmbLangs->count(), 0);
    EXPECT_EQ(items(form.lstExisting).size(), 2);
    EXPECT_TRUE(form.isVisible());
}

// --- Backup ---------------------------------------------------------------------------

TEST(BackupForm, WritesTheProjectIntoTheChosenZip)
{
    TempDir dir;
    const QString qly = copySample(dir.path(), QStringLiteral("work"));
    ScriptedMsgBox box;
    cProject project(box);
    ASSERT_TRUE(project.Load(qly));
    const QString files = backup::projectFileList(project);
    const QString zip = dir.file(QStringLiteral("out/backup.zip"));
    QDir().mkpath(dir.file(QStringLiteral("out")));
    testing_support::writeBytes(zip, "old archive");

    frmBackup form(&box);
    form.Files = files;
    form.BaseFolder = QFileInfo(qly).absolutePath();
    QString filter, folder, caption, label;
    int asked = 0;
    form.cdlSave = [&](QWidget* parent, const QString& f, const QString& flt) -> std::optional<QString> {
        ++asked;
        folder = f;
        filter = flt;
        caption = parent->windowTitle();
        label = form.Label4->text();
        shot(&form, QStringLiteral("frmBackup"));
        return zip;
    };
    execWithin(form);

    EXPECT_EQ(asked, 1);
    EXPECT_EQ(filter, QStringLiteral("ZIP file (*.zip);;All files (*.*)"));
    EXPECT_EQ(folder, QFileInfo(qly).absolutePath());
    EXPECT_EQ(caption, QStringLiteral("Backup"));
    EXPECT_EQ(label, QStringLiteral("Creating backup. Please wait."));
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("Backup was successfully created!")}));
    EXPECT_TRUE(form.written());
    EXPECT_FALSE(form.isVisible());
    const QStringList names = ziparchive::entryNames(zip);
    EXPECT_TRUE(names.contains(QStringLiteral("sample.qly"))) << names.join(QLatin1Char(' ')).toStdString();
    EXPECT_TRUE(names.contains(QStringLiteral("sample/book.xml")));
    EXPECT_TRUE(names.contains(QStringLiteral("sample/chapter1.xml")));
    EXPECT_TRUE(names.contains(QStringLiteral("sample/img/en/window.png")));
    // One step per file, up to the count of the list.
    EXPECT_EQ(form.pbWork->maximum(), backup::countFiles(files));
    EXPECT_EQ(form.pbWork->value(), form.pbWork->maximum());
}

TEST(BackupForm, CancelClosesWithNoArchiveAndNoMessage)
{
    TempDir dir;
    const QString qly = copySample(dir.path(), QStringLiteral("work"));
    ScriptedMsgBox box;
    cProject project(box);
    ASSERT_TRUE(project.Load(qly));
    frmBackup form(&box);
    form.Files = backup::projectFileList(project);
    form.BaseFolder = QFileInfo(qly).absolutePath();
    form.cdlSave = [](QWidget*, const QString&, const QString&) -> std::optional<QString> { return std::nullopt; };
    execWithin(form);
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_FALSE(form.written());
    EXPECT_EQ(form.result(), QDialog::Rejected);
    QDirIterator zips(dir.path(), {QStringLiteral("*.zip")}, QDir::Files, QDirIterator::Subdirectories);
    EXPECT_FALSE(zips.hasNext());
}

TEST(BackupForm, AnotherCaptionLeavesTheSuccessMessageToTheCaller)
{
    TempDir dir;
    const QString qly = copySample(dir.path(), QStringLiteral("work"));
    ScriptedMsgBox box;
    cProject project(box);
    ASSERT_TRUE(project.Load(qly));
    const QString zip = dir.file(QStringLiteral("package.zip"));
    frmBackup form(&box);
    form.Files = backup::projectFileList(project);
    form.BaseFolder = QFileInfo(qly).absolutePath();
    form.FormCaption = QStringLiteral("Export");
    form.Message = QStringLiteral("Finishing export. Please wait.");
    form.cdlSave = [&](QWidget*, const QString&, const QString&) -> std::optional<QString> { return zip; };
    form.show();
    EXPECT_EQ(form.windowTitle(), QStringLiteral("Export"));
    EXPECT_EQ(form.Label4->text(), QStringLiteral("Finishing export. Please wait."));
    ASSERT_TRUE(waitFor([&] { return !form.isVisible(); }, 30000));
    EXPECT_TRUE(QFileInfo::exists(zip));
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();
}

// --- Export ---------------------------------------------------------------------------

class ExportFormTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        qly = copySample(dir.path(), QStringLiteral("work"));
        ASSERT_TRUE(project.Load(qly));
        setCurrentLanguage(project.GetMainLangAbbrev());
        buildBookTree(project, tree, box);
        ASSERT_TRUE(tree.Root());
    }
    void TearDown() override { setCurrentLanguage(QString()); }

    TempDir dir;
    QString qly;
    ScriptedMsgBox box;
    cProject project{box};
    BookTree tree;
};

TEST_F(ExportFormTest, LocksTheProjectAndWritesThePackage)
{
    const QString zip = dir.file(QStringLiteral("translation.zip"));
    // The sample has unfinished topics: export anyway.
    box.setDefault(MsgAnswer::Yes);
    frmExport form(&box);
    form.SetProject(&project);
    form.SetTree(&tree);
    QString title, prompt, labelAtPackage, backupCaption, backupLabel;
    int barMaximum = -1, barValue = -1;
    form.inputBox = [&](QWidget*, const QString& t, const QString& p) {
        title = t;
        prompt = p;
        return QStringLiteral("For the translators");
    };
    form.cdlSave = [&](QWidget* parent, const QString&, const QString&) -> std::optional<QString> {
        labelAtPackage = form.Label4->text();
        barMaximum = form.pbUpdate->maximum();
        barValue = form.pbUpdate->value();
        backupCaption = parent->windowTitle();
        if (auto* b = qobject_cast<frmBackup*>(parent))
            backupLabel = b->Label4->text();
        shot(&form, QStringLiteral("frmExport"));
        shot(parent, QStringLiteral("frmExport-backup"));
        return zip;
    };
    EXPECT_EQ(form.Label4->text(), QStringLiteral("Preparing export. Please wait."));
    execWithin(form);

    EXPECT_EQ(title, QStringLiteral("Lock Comment"));
    EXPECT_EQ(prompt, QStringLiteral("Project will be locked now. As long as project stays locked, it is possible to "
                                     "import languages to it. You may add comment to lock now."));
    EXPECT_EQ(backupCaption, QStringLiteral("Export"));
    EXPECT_EQ(backupLabel, QStringLiteral("Finishing export. Please wait."));
    EXPECT_EQ(labelAtPackage, QStringLiteral("Export finished."));
    EXPECT_GT(barMaximum, 1);
    EXPECT_EQ(barValue, barMaximum);
    ASSERT_FALSE(box.empty());
    EXPECT_EQ(box.last(), QStringLiteral("Export was successfull!"));
    EXPECT_FALSE(box.texts().contains(QStringLiteral("Backup was successfully created!")));
    EXPECT_TRUE(form.locked());
    EXPECT_TRUE(form.packageWritten());
    EXPECT_FALSE(form.isVisible());

    cProject reread(box);
    ASSERT_TRUE(reread.Load(qly));
    EXPECT_FALSE(reread.GetLockID().isEmpty());
    EXPECT_EQ(reread.GetLockDescription(), QStringLiteral("For the translators"));
    EXPECT_TRUE(QFileInfo::exists(zip));
    EXPECT_TRUE(ziparchive::entryNames(zip).contains(QStringLiteral("sample.qly")));
    EXPECT_TRUE(readText(reread.getChapterFile(QStringLiteral("Getting Started"))).contains(QStringLiteral("transid=\"trans1\"")));
}

TEST_F(ExportFormTest, CancelOfTheCommentAndOfThePackageStillLocks)
{
    box.setDefault(MsgAnswer::Yes);
    frmExport form(&box);
    form.SetProject(&project);
    form.SetTree(&tree);
    form.inputBox = [](QWidget*, const QString&, const QString&) { return QString(); };
    form.cdlSave = [](QWidget*, const QString&, const QString&) -> std::optional<QString> { return std::nullopt; };
    execWithin(form);
    EXPECT_EQ(box.last(), QStringLiteral("Export was successfull!"));
    EXPECT_TRUE(form.locked());
    EXPECT_FALSE(form.packageWritten());
    EXPECT_FALSE(project.GetLockID().isEmpty());
    EXPECT_TRUE(project.GetLockDescription().isEmpty());
}

TEST_F(ExportFormTest, NoAtTheFirstQuestionChangesNothing)
{
    const auto before = snapshot(dir.path());
    int asked = 0;
    frmExport form(&box);
    form.SetProject(&project);
    form.SetTree(&tree);
    form.inputBox = [&](QWidget*, const QString&, const QString&) {
        ++asked;
        return QString();
    };
    execWithin(form);
    ASSERT_EQ(box.all().size(), 1u);
    EXPECT_TRUE(box.last().startsWith(QStringLiteral("English language includes "))) << box.last().toStdString();
    EXPECT_TRUE(box.last().endsWith(QStringLiteral(" uncompleted topics! Export project anyway?")));
    EXPECT_EQ(asked, 0);
    EXPECT_FALSE(form.locked());
    EXPECT_EQ(snapshot(dir.path()), before);
}

TEST_F(ExportFormTest, ALockedProjectIsRefusedAtOnce)
{
    project.SetLock(QStringLiteral("qlk1"), QStringLiteral("11/21/26 10:00"), QString());
    int asked = 0;
    frmExport form(&box);
    form.SetProject(&project);
    form.SetTree(&tree);
    form.inputBox = [&](QWidget*, const QString&, const QString&) {
        ++asked;
        return QString();
    };
    execWithin(form);
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("Project has been already exported and it is locked!")}));
    EXPECT_EQ(asked, 0);
    EXPECT_FALSE(form.isVisible());
}

// The form's Cancel while the units are numbered: the project is as it was,
// not locked, and no package is asked for.
TEST_F(ExportFormTest, CancelWhileNumberingLeavesTheProjectUnlocked)
{
    const auto before = snapshot(dir.path());
    box.setDefault(MsgAnswer::Yes);
    frmExport form(&box);
    form.SetProject(&project);
    form.SetTree(&tree);
    form.inputBox = [&form](QWidget*, const QString&, const QString&) {
        QTimer::singleShot(0, &form, [&form] { QTest::mouseClick(form.cmdStop, Qt::LeftButton); });
        return QStringLiteral("stopped");
    };
    bool packageAsked = false;
    form.cdlSave = [&](QWidget*, const QString&, const QString&) -> std::optional<QString> {
        packageAsked = true;
        return std::nullopt;
    };
    execWithin(form);
    EXPECT_EQ(box.last(), Progress::kCancelled);
    EXPECT_FALSE(packageAsked);
    EXPECT_FALSE(form.locked());
    EXPECT_FALSE(form.isVisible());
    EXPECT_TRUE(project.GetLockID().isEmpty());
    EXPECT_EQ(snapshot(dir.path()), before);
}

// While a job runs only its Cancel button takes the mouse in its window; a
// box the job opens in a window of its own takes clicks as usual.
TEST(BarProgress, OnlyTheCancelButtonAndTheJobsOwnBoxesTakeClicks)
{
    QDialog form;
    auto* stop = new QPushButton(QStringLiteral("Cancel"), &form);
    auto* other = new QPushButton(QStringLiteral("Other"), &form);
    auto* bar = new QProgressBar(&form);
    auto* layout = new QVBoxLayout(&form);
    for (QWidget* w : std::initializer_list<QWidget*>{bar, other, stop})
        layout->addWidget(w);
    form.show();
    QDialog question;
    auto* ok = new QPushButton(QStringLiteral("OK"), &question);
    question.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&form));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&question));
    int otherClicks = 0, okClicks = 0;
    QObject::connect(other, &QPushButton::clicked, [&] { ++otherClicks; });
    QObject::connect(ok, &QPushButton::clicked, [&] { ++okClicks; });

    BarProgress progress(bar);
    progress.setCancelButton(stop);
    QTest::mouseClick(other, Qt::LeftButton);
    QTest::keyClick(other, Qt::Key_Space);
    QTest::mouseClick(ok, Qt::LeftButton);
    EXPECT_EQ(otherClicks, 0);
    EXPECT_EQ(okClicks, 1);
    EXPECT_FALSE(progress.cancelRequested());
    QTest::mouseClick(stop, Qt::LeftButton);
    EXPECT_TRUE(progress.cancelRequested());
}

// --- Import ---------------------------------------------------------------------------

class ImportFormTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        master = copySample(dir.path(), QStringLiteral("master"));
        {
            cProject p(box);
            ASSERT_TRUE(p.Load(master));
            p.SetLock(QStringLiteral("qlk42"), QStringLiteral("11/21/26 10:00"), QStringLiteral("out"));
        }
        copyTree(dir.file(QStringLiteral("master")), dir.file(QStringLiteral("copy")));
        copy = dir.file(QStringLiteral("copy/sample.qly"));
        const QString ch1 = dir.file(QStringLiteral("copy/sample/chapter1.xml"));
        replaceIn(ch1, QStringLiteral(">Erste Schritte<"), QStringLiteral(">Erste Schritte NEU<"));
        replaceIn(ch1, QStringLiteral(">Willkommen</title>"), QStringLiteral(">Willkommen NEU</title>"));
        replaceIn(ch1, QStringLiteral("<p>So starten Sie das Programm:</p>"),
                  QStringLiteral("<p>So starten Sie das Programm NEU:</p>"));
        replaceIn(ch1, QStringLiteral("Dieses Thema zeigt"), QStringLiteral("NEU Dieses Thema zeigt"));
        ASSERT_TRUE(project.Load(master));
        setCurrentLanguage(project.GetMainLangAbbrev());
        masterBefore = snapshot(dir.file(QStringLiteral("master")));
    }
    void TearDown() override { setCurrentLanguage(QString()); }

    // Shows the form with the open dialog answering from paths, in turn.
    void start(QStringList paths)
    {
        form = std::make_unique<frmImport>(&box);
        form->SetProject(&project);
        form->cdlOpen = [this, paths](QWidget*, const QString& title, const QString& folder,
                                      const QString& filter) mutable {
            opened << title + QLatin1Char('|') + folder + QLatin1Char('|') + filter;
            return paths.isEmpty() ? QString() : paths.takeFirst();
        };
        form->folderBrowser = [this](const QString& title, QWidget*) {
            browsed << title;
            return extractTo;
        };
        // A bad choice closes the form before it is ever exposed.
        form->show();
        ASSERT_TRUE(waitFor([this] { return form->trvNew->topLevelItemCount() > 0 || !form->isVisible(); }, 30000));
    }

    QString masterChapter1() const { return readText(dir.file(QStringLiteral("master/sample/chapter1.xml"))); }

    TempDir dir;
    QString master, copy, extractTo;
    ScriptedMsgBox box;
    cProject project{box};
    std::unique_ptr<frmImport> form;
    QStringList opened, browsed;
    QMap<QString, QByteArray> masterBefore;
};

TEST_F(ImportFormTest, ShowsBothTreesExpandedAndTheCopyAllTicked)
{
    start({copy});
    ASSERT_TRUE(form->isVisible());
    EXPECT_EQ(opened, QStringList({QStringLiteral("Open project to import from||") + exchange::kImportFilter}));
    EXPECT_TRUE(browsed.isEmpty());
    for (const char* name : {"trvOld", "trvNew", "cmbLangs", "cmdImport", "cmdCancel", "picWait", "Label4", "pbWork"})
        EXPECT_NE(form->findChild<QWidget*>(QString::fromLatin1(name)), nullptr) << name;
    EXPECT_EQ(form->lblOld->text(), QStringLiteral("Current project"));
    EXPECT_EQ(form->lblNew->text(), QStringLiteral("Selected project"));
    EXPECT_EQ(form->lblLangs->text(), QStringLiteral("Language to import"));
    EXPECT_FALSE(form->picWait->isVisible());

    EXPECT_TRUE(allExpanded(form->trvOld));
    EXPECT_TRUE(allExpanded(form->trvNew));
    ASSERT_NE(itemAt(form->trvOld, QStringLiteral("Sample Manual\\Getting Started\\Welcome")), nullptr);
    const QStringList ticks = checks(form->trvNew);
    EXPECT_GT(ticks.size(), 5);
    for (const QString& t : ticks)
        EXPECT_TRUE(t.startsWith(QLatin1Char('+'))) << t.toStdString();
    EXPECT_EQ(comboItems(form->cmbLangs), QStringList({kEnglishGerman[0], kEnglishGerman[1]}));
    EXPECT_TRUE(form->cmbLangs->currentText().isEmpty());
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();

    itemAt(form->trvNew, QStringLiteral("Sample Manual\\Reference\\Details"))->setCheckState(0, Qt::Unchecked);
    pick(form->cmbLangs, kEnglishGerman[1]);
    shot(form.get(), QStringLiteral("frmImport"));
    form->Label4->setText(exchange::kImporting);
    form->pbWork->setRange(0, 10);
    form->pbWork->setValue(4);
    form->picWait->show();
    shot(form.get(), QStringLiteral("frmImport-wait"));
    form->picWait->hide();
}

TEST_F(ImportFormTest, TickingAChapterSetsItsBranchAndNothingAbove)
{
    start({copy});
    ASSERT_TRUE(form->isVisible());
    QTreeWidgetItem* chapter = itemAt(form->trvNew, QStringLiteral("Sample Manual\\Reference"));
    ASSERT_NE(chapter, nullptr);
    chapter->setCheckState(0, Qt::Unchecked);
    for (const QString& t : checks(form->trvNew)) {
        const bool inChapter = t.mid(1).startsWith(QStringLiteral("Sample Manual\\Reference"));
        EXPECT_EQ(t.startsWith(QLatin1Char('-')), inChapter) << t.toStdString();
    }
    // The model agrees with the boxes.
    NodePtr sub = form->nodeOf(itemAt(form->trvNew, QStringLiteral("Sample Manual\\Reference\\Details\\Deeper")));
    ASSERT_TRUE(sub);
    EXPECT_FALSE(form->job()->ticks().isTicked(sub));

    // A topic alone can be ticked again; its chapter stays as it was.
    QTreeWidgetItem* topic = itemAt(form->trvNew, QStringLiteral("Sample Manual\\Reference\\Tables"));
    ASSERT_NE(topic, nullptr);
    topic->setCheckState(0, Qt::Checked);
    EXPECT_EQ(chapter->checkState(0), Qt::Unchecked);
    EXPECT_EQ(topic->checkState(0), Qt::Checked);

    // Closing and opening a branch keeps every box.
    const QStringList before = checks(form->trvNew);
    chapter->setExpanded(false);
    chapter->setExpanded(true);
    EXPECT_EQ(checks(form->trvNew), before);

    chapter->setCheckState(0, Qt::Checked);
    for (const QString& t : checks(form->trvNew))
        EXPECT_TRUE(t.startsWith(QLatin1Char('+'))) << t.toStdString();
}

TEST_F(ImportFormTest, RefusalsAtImportKeepTheDialogOpen)
{
    start({copy});
    ASSERT_TRUE(form->isVisible());
    QTest::mouseClick(form->cmdImport, Qt::LeftButton);
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("No language was selected!")}));
    EXPECT_TRUE(form->isVisible());

    box.clear();
    pick(form->cmbLangs, kEnglishGerman[1]);
    form->trvNew->topLevelItem(0)->setCheckState(0, Qt::Unchecked);
    QTest::mouseClick(form->cmdImport, Qt::LeftButton);
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("Nothing to import was selected!")}));
    EXPECT_TRUE(form->isVisible());
    EXPECT_FALSE(form->picWait->isVisible());
    EXPECT_TRUE(form->cmdImport->isEnabled());
    EXPECT_EQ(snapshot(dir.file(QStringLiteral("master"))), masterBefore);

    QTest::mouseClick(form->cmdCancel, Qt::LeftButton);
    EXPECT_FALSE(form->isVisible());
    EXPECT_FALSE(form->imported());
}

TEST_F(ImportFormTest, ImportsOnlyTheTickedGermanTexts)
{
    start({copy});
    ASSERT_TRUE(form->isVisible());
    QTreeWidgetItem* started =
        itemAt(form->trvNew, QStringLiteral("Sample Manual\\Getting Started\\Starting the Program"));
    ASSERT_NE(started, nullptr);
    ASSERT_EQ(form->nodeOf(started)->Key, QStringLiteral("topic2"));
    started->setCheckState(0, Qt::Unchecked);
    pick(form->cmbLangs, kEnglishGerman[1]);
    QTest::mouseClick(form->cmdImport, Qt::LeftButton);

    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("Import was successfull!")}));
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->imported());
    EXPECT_EQ(form->result(), QDialog::Accepted);
    EXPECT_EQ(form->Label4->text(), QStringLiteral("Importing. Please wait."));
    EXPECT_EQ(form->pbWork->value(), form->pbWork->maximum());

    const QString ch1 = masterChapter1();
    EXPECT_TRUE(ch1.contains(QStringLiteral(">Erste Schritte NEU<")));
    EXPECT_TRUE(ch1.contains(QStringLiteral(">Willkommen NEU</title>")));
    EXPECT_TRUE(ch1.contains(QStringLiteral("NEU Dieses Thema zeigt")));
    EXPECT_FALSE(ch1.contains(QStringLiteral("Programm NEU")));
    EXPECT_TRUE(ch1.contains(QStringLiteral("<p>So starten Sie das Programm:</p>")));
    // The other chapters and the English texts stay as they were.
    const auto after = snapshot(dir.file(QStringLiteral("master")));
    for (auto it = masterBefore.cbegin(); it != masterBefore.cend(); ++it) {
        if (!it.key().endsWith(QStringLiteral("chapter1.xml")) && !it.key().endsWith(QStringLiteral("book.xml"))) {
            EXPECT_EQ(after.value(it.key()), it.value()) << it.key().toStdString();
        }
    }
    cProject reread(box);
    ASSERT_TRUE(reread.Load(master));
    EXPECT_EQ(reread.GetLockID(), QStringLiteral("qlk42"));
}

// Cancel while the import runs: nothing of the master changes and the form
// stays for another try.
TEST_F(ImportFormTest, CancelWhileImportingChangesNothingAndTheFormStays)
{
    start({copy});
    ASSERT_TRUE(form->isVisible());
    pick(form->cmbLangs, kEnglishGerman[1]);
    bool enabled = false;
    QTimer::singleShot(0, form.get(), [&] {
        enabled = form->cmdCancel->isEnabled() && !form->cmdImport->isEnabled();
        QTest::mouseClick(form->cmdCancel, Qt::LeftButton);
    });
    QTest::mouseClick(form->cmdImport, Qt::LeftButton);
    EXPECT_TRUE(enabled);
    EXPECT_EQ(box.texts(), QStringList{Progress::kCancelled});
    EXPECT_TRUE(form->isVisible());
    EXPECT_FALSE(form->imported());
    EXPECT_TRUE(form->cmdImport->isEnabled());
    EXPECT_EQ(snapshot(dir.file(QStringLiteral("master"))), masterBefore);
}

TEST_F(ImportFormTest, AZipIsExtractedIntoTheChosenFolderFirst)
{
    // The copy as a package, as export writes it.
    const QString zip = dir.file(QStringLiteral("package.zip"));
    {
        cProject c(box);
        ASSERT_TRUE(c.Load(copy));
        ScriptedMsgBox quiet;
        struct Count : Progress {} progress;
        ASSERT_TRUE(backup::writeBackup(backup::projectFileList(c), zip, QFileInfo(copy).absolutePath(), progress,
                                        quiet, QStringLiteral("Export")));
    }
    extractTo = dir.file(QStringLiteral("unpacked"));
    QDir().mkpath(extractTo);
    const QString extracted = extractTo + QStringLiteral("/sample.qly");
    start({zip, extracted});
    ASSERT_TRUE(form->isVisible()) << box.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_EQ(browsed, QStringList({QStringLiteral("Select destination folder for extracted project")}));
    ASSERT_EQ(opened.size(), 2);
    EXPECT_EQ(opened[1], QStringLiteral("Open project to import from|") + extractTo + QLatin1Char('|') +
                             exchange::kImportFilter);
    EXPECT_TRUE(QFileInfo::exists(extracted));
    EXPECT_FALSE(form->picWait->isVisible());
    EXPECT_EQ(form->pbWork->value(), form->pbWork->maximum());
    EXPECT_EQ(form->pbWork->maximum(), ziparchive::countFiles(zip));
    EXPECT_EQ(comboItems(form->cmbLangs), QStringList({kEnglishGerman[0], kEnglishGerman[1]}));
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();
}

// Cancel while the package is extracted: the form closes, the folder holds
// nothing of the package.
TEST_F(ImportFormTest, CancelWhileExtractingLeavesTheFolderEmpty)
{
    const QString zip = dir.file(QStringLiteral("package.zip"));
    {
        cProject c(box);
        ASSERT_TRUE(c.Load(copy));
        ScriptedMsgBox quiet;
        Progress progress;
        ASSERT_TRUE(backup::writeBackup(backup::projectFileList(c), zip, QFileInfo(copy).absolutePath(), progress,
                                        quiet, QStringLiteral("Export")));
    }
    extractTo = dir.file(QStringLiteral("unpacked"));
    QDir().mkpath(extractTo);
    form = std::make_unique<frmImport>(&box);
    form->SetProject(&project);
    form->cdlOpen = [&](QWidget*, const QString&, const QString&, const QString&) { return zip; };
    form->folderBrowser = [this](const QString&, QWidget*) {
        // The user's click, at the first repaint of the extraction.
        QTimer::singleShot(0, form.get(), [this] { QTest::mouseClick(form->cmdCancel, Qt::LeftButton); });
        return extractTo;
    };
    form->show();
    ASSERT_TRUE(waitFor([this] { return !form->isVisible(); }, 30000));
    EXPECT_EQ(box.texts(), QStringList{Progress::kCancelled});
    EXPECT_FALSE(form->imported());
    EXPECT_TRUE(QDir(extractTo).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden).isEmpty());
}

TEST_F(ImportFormTest, CancelAndBadChoicesCloseTheForm)
{
    start({});
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(box.empty());

    start({dir.file(QStringLiteral("missing.qly"))});
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("File does not exist!")}));

    // The open master carries the mark of a project in use.
    box.clear();
    fileio::setMarked(master, true);
    start({master});
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("File is already opened by another application!")}));
    box.clear();
    fileio::setMarked(master, false);
    start({master});
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("Current project was selected!")}));

    // A package that is not there: no folder is asked for.
    box.clear();
    start({dir.file(QStringLiteral("missing.zip"))});
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(browsed.isEmpty());
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("File does not exist!")}));

    // No folder chosen for a package.
    box.clear();
    const QString zip = dir.file(QStringLiteral("some.zip"));
    {
        ziparchive::Writer w;
        ASSERT_TRUE(w.create(zip));
        ASSERT_TRUE(w.addFile(copy, QStringLiteral("sample.qly")));
        ASSERT_TRUE(w.close());
    }
    extractTo.clear();
    start({zip});
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("No folder for extracting was selected!")}));
    EXPECT_EQ(snapshot(dir.file(QStringLiteral("master"))), masterBefore);
}
