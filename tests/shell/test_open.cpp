#include "cproject.h"
#include "fileio.h"
#include "language.h"
#include "sessionfixture.h"

using namespace testing_support;

TEST_F(SessionFixture, OpenGoodMissingAndInvalid)
{
    EXPECT_EQ(session.caption(), QStringLiteral("Quillary Author"));
    EXPECT_EQ(session.panel(1), QStringLiteral("Ready"));
    EXPECT_FALSE(session.enabled(CommandId::Output));
    EXPECT_TRUE(surface.browseMode());
    EXPECT_TRUE(surface.bodyHTML().contains(QStringLiteral("Open or create project")));

    newProject();
    EXPECT_EQ(session.caption(), QStringLiteral("Quillary Author - ") + projectFile + QStringLiteral(" (en)"));
    EXPECT_EQ(currentLanguage(), QStringLiteral("en"));
    EXPECT_TRUE(fileio::isMarked(projectFile));
    EXPECT_EQ(dumpTree(session.tree()), QStringList{QStringLiteral("0 book  Manual")});
    for (const char* m : {"mnuNew", "mnuOutput", "mnuVerify", "mnuBackup", "mnuExportImport", "mnuContextHelp",
                          "mnuNewLanguage", "mnuExport"})
        EXPECT_TRUE(session.enabled(*commandByName(QString::fromLatin1(m)))) << m;
    EXPECT_FALSE(session.enabled(CommandId::Import));
    EXPECT_FALSE(session.enabled(CommandId::Unlock));
    EXPECT_EQ(surface.baseURL(), dir.path() + QStringLiteral("/manual/"));

    session.openProject(dir.file(QStringLiteral("nothing.qly")));
    EXPECT_EQ(box.last(), QStringLiteral("File does not exist!"));
    EXPECT_TRUE(session.isOpen()); // nothing else changes

    writeUtf16(dir.file(QStringLiteral("bad.qly")), QStringLiteral("<project>"));
    session.openProject(dir.file(QStringLiteral("bad.qly")));
    EXPECT_EQ(box.last().section(QStringLiteral("\r\n"), 0, 0), QStringLiteral("File is not valid!"));
    EXPECT_TRUE(box.last().contains(dir.file(QStringLiteral("bad.qly"))));
    // Checked before closing: the open project stays open and marked.
    EXPECT_TRUE(session.isOpen());
    EXPECT_TRUE(fileio::isMarked(projectFile));
    EXPECT_EQ(currentLanguage(), QStringLiteral("en"));
    EXPECT_EQ(session.caption(), QStringLiteral("Quillary Author - ") + projectFile + QStringLiteral(" (en)"));
}

TEST_F(SessionFixture, MarkedProjectAsksAndNoKeepsTheSession)
{
    newProject();
    QString other = makeProject(dir.path(), QStringLiteral("other"), {"fr"}, QStringLiteral("Other"));
    fileio::setMarked(other, true); // left open by a crash

    box.answer(MsgAnswer::No);
    session.openProject(other);
    ASSERT_EQ(box.all().size(), 1u);
    EXPECT_EQ(box.last(), QStringLiteral("Project is used by other application or has not been closed correctly. "
                                         "Are you sure, that project is not used by any application?\r\n\r\n"
                                         "Yes opens it anyway (on the command line: --yes)."));
    EXPECT_EQ(box.all()[0].buttons, MsgButtons::YesNo);
    EXPECT_EQ(session.project().GetProjectFile(), projectFile);
    EXPECT_TRUE(fileio::isMarked(projectFile));

    box.answer(MsgAnswer::Yes);
    session.openProject(other);
    EXPECT_EQ(session.project().GetProjectFile(), other);
    EXPECT_EQ(currentLanguage(), QStringLiteral("fr"));
    EXPECT_FALSE(fileio::isMarked(projectFile));
    session.closeProject();
    EXPECT_FALSE(fileio::isMarked(other));
}

TEST_F(SessionFixture, LockedProjectIsReadOnly)
{
    newProject();
    addChapter(QStringLiteral("Intro"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("First"));
    session.project().SetLock(QStringLiteral("L7"), QStringLiteral("1/1/26 9:00"), QStringLiteral("to the translator"));
    session.closeProject();
    box.clear();

    session.openProject(projectFile);
    EXPECT_EQ(box.last(), QStringLiteral("Project has been exported and still is locked.\r\n\r\nSTAMP: 1/1/26 9:00\r\n"
                                         "COMMENT: to the translator\r\n\r\nTherefore, project is read-only."));
    EXPECT_EQ(box.lastIcon(), MsgIcon::Exclamation);
    EXPECT_TRUE(session.isLocked());
    EXPECT_FALSE(session.dropEnabled());
    EXPECT_FALSE(session.enabled(CommandId::Export));
    EXPECT_FALSE(session.enabled(CommandId::NewLanguage));
    EXPECT_TRUE(session.enabled(CommandId::Import));
    EXPECT_TRUE(session.enabled(CommandId::Unlock));

    click(QStringLiteral("Intro\\First"));
    EXPECT_TRUE(surface.browseMode());
    EXPECT_FALSE(session.enabled(CommandId::Save));
    EXPECT_TRUE(session.enabled(CommandId::Copy));
    EXPECT_TRUE(session.enabled(CommandId::Find));

    // No tree edits.
    QByteArray chapter = readBytes(session.project().getChapterFile(QStringLiteral("Intro")));
    titles.push_back(QStringLiteral("New"));
    EXPECT_FALSE(session.changeTopic(TopicAction::InsertBefore));
    click(QStringLiteral("Intro"));
    EXPECT_FALSE(session.changeChapter(ChapterAction::Insert));
    EXPECT_FALSE(session.changeChapter(ChapterAction::Delete));
    EXPECT_FALSE(session.canDrop(node(QStringLiteral("Intro\\First")), node(QStringLiteral("Intro"))));
    EXPECT_EQ(readBytes(session.project().getChapterFile(QStringLiteral("Intro"))), chapter);

    // Unlock: the question, then the project opens unlocked.
    box.answer(MsgAnswer::Yes);
    session.mnuUnlock();
    EXPECT_TRUE(box.all()[box.all().size() - 1].text.startsWith(QStringLiteral("Project lock properties:\r\n\r\nSTAMP: 1/1/26 9:00\r\nCOMMENT: to the translator\r\n\r\nIf you unlock project,")));
    EXPECT_FALSE(session.isLocked());
    EXPECT_TRUE(session.isOpen());
    EXPECT_TRUE(session.dropEnabled());
}

TEST_F(SessionFixture, CommandLineAndLeaving)
{
    EXPECT_EQ(Session::projectFromCommandLine(QStringLiteral("/a/b c.qly")), QStringLiteral("/a/b c.qly"));
    EXPECT_EQ(Session::projectFromCommandLine(QStringLiteral("\"/a/b c.qly\"")), QStringLiteral("/a/b c.qly"));
    EXPECT_EQ(Session::projectFromCommandLine(QStringLiteral("\"/a.qly\" \"/b.qly\"")), QString());

    newProject();
    addChapter(QStringLiteral("Intro"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("First"));
    surface.userEdit(QStringLiteral("<h1>First</h1><p>changed</p>"));
    box.answer(MsgAnswer::Cancel);
    EXPECT_FALSE(session.queryUnload());
    EXPECT_TRUE(session.isOpen());
    EXPECT_EQ(box.last(), QStringLiteral("Topic \"First\" has been changed. Save?"));

    // mnuNew answered with Cancel keeps everything.
    box.answer(MsgAnswer::Cancel);
    session.resetWorkspace();
    EXPECT_TRUE(session.isOpen());
    EXPECT_TRUE(surface.isDirty());

    box.answer(MsgAnswer::Yes);
    EXPECT_TRUE(session.queryUnload());
    EXPECT_FALSE(fileio::isMarked(projectFile));
    EXPECT_TRUE(readText(QFileInfo(projectFile).absolutePath() + QStringLiteral("/manual/chapter1.xml"))
                    .contains(QStringLiteral("<p>changed</p>")));
}
