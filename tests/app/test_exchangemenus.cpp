// The main window's commands of the language exchange: the menus follow the
// lock, each command opens its form after the save prompt, export reopens
// the project locked, import shows the open topic again in the new tree.
#include "apptestsupport.h"
#include "booktreewidget.h"
#include "frmbackup.h"
#include "frmcontexthelp.h"
#include "frmexport.h"
#include "frmimport.h"
#include "frmmain.h"
#include "frmnewlanguage.h"
#include "frmxliff.h"
#include "websurface.h"

#include "cproject.h"
#include "msgbox.h"
#include "testsupport.h"
#include "ziparchive.h"

#include <QAction>
#include <QComboBox>
#include <QFileInfo>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include <optional>

using app_testing::copyTree;
using app_testing::onNextModal;
using app_testing::waitFor;
using testing_support::readText;
using testing_support::TempDir;

namespace {

void replaceIn(const QString& file, const QString& from, const QString& to)
{
    QString text = readText(file);
    ASSERT_TRUE(text.contains(from)) << from.toStdString();
    text.replace(from, to);
    testing_support::writeUtf16(file, text);
}

} // namespace

TEST(ExchangeMenus, AddExportBackupAndImportThroughTheWindow)
{
    TempDir dir;
    copyTree(testing_support::sampleFolder(), dir.file(QStringLiteral("work")));
    const QString qly = dir.file(QStringLiteral("work/sample.qly"));
    ScriptedMsgBox box;
    frmMain window(box);
    window.resize(1100, 700);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    window.startUp(QString());
    window.dEdit->setTimeouts(20000, 20000);
    auto on = [&](const char* n) { return window.action(QString::fromLatin1(n))->isEnabled(); };

    // The scripted dialogs of every form.
    const QString backupZip = dir.file(QStringLiteral("backup.zip"));
    const QString exportZip = dir.file(QStringLiteral("export.zip"));
    const QString unpacked = dir.file(QStringLiteral("unpacked"));
    QStringList openAnswers;
    QStringList prepared;
    window.setPrepareForm([&](QDialog* form) {
        prepared << form->objectName();
        if (auto* b = qobject_cast<frmBackup*>(form))
            b->cdlSave = [&](QWidget*, const QString&, const QString&) -> std::optional<QString> { return backupZip; };
        if (auto* e = qobject_cast<frmExport*>(form)) {
            e->inputBox = [](QWidget*, const QString&, const QString&) { return QStringLiteral("menu test"); };
            e->cdlSave = [&](QWidget*, const QString&, const QString&) -> std::optional<QString> { return exportZip; };
        }
        if (auto* i = qobject_cast<frmImport*>(form)) {
            i->cdlOpen = [&](QWidget*, const QString&, const QString&, const QString&) {
                return openAnswers.isEmpty() ? QString() : openAnswers.takeFirst();
            };
            i->folderBrowser = [&](const QString&, QWidget*) { return unpacked; };
        }
    });

    window.startUp(qly);
    ASSERT_TRUE(window.session().isOpen()) << box.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(on("mnuNewLanguage"));
    EXPECT_TRUE(on("mnuContextHelp"));
    EXPECT_TRUE(on("mnuExport"));
    EXPECT_TRUE(on("mnuBackup"));
    EXPECT_FALSE(on("mnuImport"));
    EXPECT_FALSE(on("mnuUnlock"));

    // A changed topic asks first; Cancel opens nothing.
    ASSERT_TRUE(window.openTopic(QStringLiteral("Getting Started\\Welcome")));
    window.session().topicPropertiesChanged = true;
    for (const char* command : {"mnuNewLanguage", "mnuContextHelp", "mnuExport", "mnuBackup"}) {
        box.answer(MsgAnswer::Cancel);
        window.action(QString::fromLatin1(command))->trigger();
    }
    EXPECT_EQ(box.texts().size(), 4);
    EXPECT_EQ(box.last(), QStringLiteral("Topic \"Welcome\" has been changed. Save?"));
    EXPECT_TRUE(prepared.isEmpty()) << prepared.join(QLatin1Char(' ')).toStdString();
    window.session().topicPropertiesChanged = false;
    box.clear();

    // Add New Language: French, Yes.
    QStringList existing;
    onNextModal<frmNewLanguage>([&](frmNewLanguage* f) {
        for (int i = 0; i < f->lstExisting->count(); ++i)
            existing << f->lstExisting->item(i)->text();
        const int i = f->cmbLangs->findText(QStringLiteral("French"));
        f->cmbLangs->setCurrentIndex(i);
        emit f->cmbLangs->activated(i);
        QTest::mouseClick(f->cmdAdd, Qt::LeftButton);
    });
    box.answer(MsgAnswer::Yes);
    window.action(QStringLiteral("mnuNewLanguage"))->trigger();
    EXPECT_EQ(existing, QStringList({QStringLiteral("English (en)"), QStringLiteral("German (de)")}));
    EXPECT_EQ(window.session().project().getLanguageName(QStringLiteral("fr")), QStringLiteral("French"));
    box.clear();

    // The context help workbench opens on the project's topics.
    QString topicsRoot;
    onNextModal<frmContextHelp>([&](frmContextHelp* f) {
        if (f->trvTopics->topLevelItemCount() > 0)
            topicsRoot = f->trvTopics->topLevelItem(0)->text(0);
        QTest::mouseClick(f->cmdCancel, Qt::LeftButton);
    });
    window.action(QStringLiteral("mnuContextHelp"))->trigger();
    EXPECT_EQ(topicsRoot, QStringLiteral("Sample Manual"));
    EXPECT_TRUE(prepared.contains(QStringLiteral("frmContextHelp")));

    // Backup.
    window.action(QStringLiteral("mnuBackup"))->trigger();
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("Backup was successfully created!")}));
    EXPECT_TRUE(ziparchive::entryNames(backupZip).contains(QStringLiteral("sample.qly")));
    box.clear();

    // Export: the project comes back locked.
    box.setDefault(MsgAnswer::Yes);
    window.action(QStringLiteral("mnuExport"))->trigger();
    ASSERT_FALSE(box.empty());
    EXPECT_TRUE(box.texts().contains(QStringLiteral("Export was successfull!")))
        << box.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(box.last().startsWith(QStringLiteral("Project has been exported and still is locked.")));
    EXPECT_TRUE(QFileInfo::exists(exportZip));
    ASSERT_TRUE(window.session().isOpen());
    EXPECT_TRUE(window.session().isLocked());
    EXPECT_FALSE(on("mnuNewLanguage"));
    EXPECT_FALSE(on("mnuContextHelp"));
    EXPECT_FALSE(on("mnuExport"));
    EXPECT_TRUE(on("mnuBackup"));
    EXPECT_TRUE(on("mnuImport"));
    EXPECT_TRUE(on("mnuUnlock"));
    box.clear();

    // The translator's copy: a new English title for the first topic.
    QString error;
    ASSERT_TRUE(ziparchive::extractAll(exportZip, unpacked, {}, &error)) << error.toStdString();
    replaceIn(unpacked + QStringLiteral("/sample/chapter1.xml"), QStringLiteral(">Welcome</title>"),
              QStringLiteral(">Welcome Back</title>"));

    // Import English from the translated copy into the window's project.
    ASSERT_TRUE(window.openTopic(QStringLiteral("topic1")));
    const NodePtr oldNode = window.session().shownTopic();
    openAnswers = {unpacked + QStringLiteral("/sample.qly")};
    bool filled = false;
    onNextModal<frmImport>([&](frmImport* f) {
        filled = waitFor([f] { return f->cmbLangs->count() > 0; }, 20000);
        f->cmbLangs->setCurrentIndex(f->cmbLangs->findText(QStringLiteral("English (en)")));
        QTest::mouseClick(f->cmdImport, Qt::LeftButton);
        if (f->isVisible())
            f->reject();
    });
    window.action(QStringLiteral("mnuImport"))->trigger();
    EXPECT_TRUE(filled);
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("Import was successfull!")}));
    NodePtr shown = window.session().shownTopic();
    ASSERT_TRUE(shown);
    EXPECT_NE(shown, oldNode);
    EXPECT_EQ(shown->Key, QStringLiteral("topic1"));
    EXPECT_EQ(shown->Text, QStringLiteral("Welcome Back"));
    EXPECT_TRUE(window.session().isLocked());
    box.clear();

    // XLIFF for a CAT tool: German out, a changed title back in.
    EXPECT_TRUE(on("mnuXliffExport"));
    EXPECT_TRUE(on("mnuXliffImport"));
    const QString xlf = dir.file(QStringLiteral("work/sample_de.xlf"));
    QString offered;
    onNextModal<frmXliff>([&](frmXliff* f) {
        offered = f->txtFile->text();
        QTest::mouseClick(f->cmdInsert, Qt::LeftButton);
    });
    window.action(QStringLiteral("mnuXliffExport"))->trigger();
    EXPECT_EQ(offered, xlf);
    ASSERT_TRUE(QFileInfo::exists(xlf)) << box.texts().join(QLatin1Char('|')).toStdString();
    ASSERT_FALSE(box.empty());
    EXPECT_TRUE(box.last().startsWith(QStringLiteral("Wrote ") + xlf + QStringLiteral(": "))) << box.last().toStdString();
    QByteArray bytes = testing_support::readBytes(xlf);
    ASSERT_TRUE(bytes.contains(">Programmstart</target>")) << bytes.left(600).constData();
    bytes.replace(">Programmstart</target>", ">Start des Programms</target>");
    testing_support::writeBytes(xlf, bytes);

    box.clear();
    ASSERT_TRUE(window.openTopic(QStringLiteral("topic1")));
    onNextModal<frmXliff>([&](frmXliff* f) {
        f->txtFile->setText(xlf);
        QTest::mouseClick(f->cmdInsert, Qt::LeftButton);
    });
    window.action(QStringLiteral("mnuXliffImport"))->trigger();
    // The English title changed above, so its German topic waits for review.
    ASSERT_EQ(box.texts().size(), 1);
    EXPECT_TRUE(box.last().startsWith(QStringLiteral("Imported de: 5 topics, 6 titles.\r\n"))) << box.last().toStdString();
    EXPECT_TRUE(readText(dir.file(QStringLiteral("work/sample/chapter1.xml")))
                    .contains(QStringLiteral("\">Start des Programms</title>")));
    ASSERT_TRUE(window.session().shownTopic());
    EXPECT_EQ(window.session().shownTopic()->Key, QStringLiteral("topic1"));
}
