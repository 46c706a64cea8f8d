#include "fileio.h"
#include "language.h"
#include "sessionfixture.h"

#include <QDir>

using namespace testing_support;

TEST_F(SessionFixture, TreeOfTheSampleWithNestingAndEntities)
{
    projectFile = copySample(dir.path());
    session.openProject(projectFile);
    ASSERT_TRUE(session.isOpen());
    EXPECT_EQ(dumpTree(session.tree()),
              (QStringList{"0 book  Sample Manual", "1 chapter  Getting Started", "2 topic topic1 Welcome",
                           "2 topic topic2 Starting the Program", "1 chapter  Reference", "2 topic topic3 Tables",
                           "2 chapter sub1 Details", "3 topic topic4 Links and Anchors", "3 chapter sub2 Deeper",
                           "4 topic topic5 Finished Topic", "1 chapter  Appendix", "2 topic topic6 Print Notes"}));
    NodePtr done = node(QStringLiteral("Reference\\Details\\Deeper\\Finished Topic"));
    ASSERT_TRUE(done);
    EXPECT_EQ(done->Image, treeimg::Complete);
    EXPECT_EQ(done->SelectedImage, treeimg::CompleteSel);
    EXPECT_EQ(node(QStringLiteral("Reference\\Tables"))->Image, treeimg::Topic);
    EXPECT_EQ(node(QStringLiteral("Reference"))->ExpandedImage, treeimg::Open);
    EXPECT_EQ(done->FullPath(), QStringLiteral("Sample Manual\\Reference\\Details\\Deeper\\Finished Topic"));
    EXPECT_TRUE(box.empty());
}

TEST_F(SessionFixture, TopicWithoutTitleInTheLanguageIsNotShown)
{
    newProject({"en", "de"});
    addChapter(QStringLiteral("Intro"));
    QString file = session.project().getChapterFile(QStringLiteral("Intro"));
    session.closeProject();
    // A topic with a German title only, then a subchapter with its topic.
    writeUtf16(file, QStringLiteral("<chapter><title lang=\"en\">Intro</title><title lang=\"de\">Intro</title>"
                                    "<topic id=\"t9\"><title lang=\"de\" state=\"\" stamp=\"\">Nur deutsch</title>"
                                    "<onelang lang=\"de\"><notice><title>not a node</title><p>x</p></notice></onelang></topic>"
                                    "<subchapter id=\"s1\"><title lang=\"en\">Sub</title><topic id=\"t10\">"
                                    "<title lang=\"en\" state=\"complete\" stamp=\"\">Inner</title></topic></subchapter>"
                                    "<topic id=\"t11\"><title lang=\"en\" state=\"\" stamp=\"\">After</title></topic></chapter>"));
    session.openProject(projectFile);
    EXPECT_EQ(dumpTree(session.tree()),
              (QStringList{"0 book  Manual", "1 chapter  Intro", "2 chapter s1 Sub", "3 topic t10 Inner",
                           "2 topic t11 After"}));
    // The topic stays in the file.
    EXPECT_TRUE(readText(file).contains(QStringLiteral("Nur deutsch")));
}

TEST_F(SessionFixture, ClickingTheShownTopicAgainDoesNothing)
{
    newProject();
    addChapter(QStringLiteral("Intro"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("First"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("Second"));
    click(QStringLiteral("Intro\\First"));
    EXPECT_EQ(session.topic().ID, QStringLiteral("topic1"));
    EXPECT_FALSE(surface.browseMode());
    EXPECT_EQ(session.panel(1), QStringLiteral("Manual\\Intro\\First"));
    EXPECT_TRUE(session.enabled(CommandId::Save));

    surface.userEdit(QStringLiteral("<h1>First</h1><p>typed</p>"));
    box.clear();
    click(QStringLiteral("Intro\\First"));
    EXPECT_TRUE(box.empty());                                             // no prompt
    EXPECT_TRUE(surface.bodyHTML().contains(QStringLiteral("typed")));  // not reloaded

    // Selecting a chapter does not leave the topic.
    click(QStringLiteral("Intro"));
    EXPECT_TRUE(box.empty());
    EXPECT_EQ(session.shownTopic(), node(QStringLiteral("Intro\\First")));
    EXPECT_EQ(session.selectedChapter(), node(QStringLiteral("Intro")));

    // Leaving it prompts: No drops the change.
    box.answer(MsgAnswer::No);
    click(QStringLiteral("Intro\\Second"));
    EXPECT_EQ(box.last(), QStringLiteral("Topic \"First\" has been changed. Save?"));
    EXPECT_EQ(session.topic().ID, QStringLiteral("topic2"));
    EXPECT_FALSE(chapterText(QStringLiteral("Intro")).contains(QStringLiteral("typed")));

    // Cancel keeps the old topic selected.
    surface.userEdit(QStringLiteral("<h1>Second</h1><p>more</p>"));
    box.answer(MsgAnswer::Cancel);
    click(QStringLiteral("Intro\\First"));
    EXPECT_EQ(session.topic().ID, QStringLiteral("topic2"));
    EXPECT_EQ(session.tree().SelectedItem(), node(QStringLiteral("Intro\\Second")));
}

TEST_F(SessionFixture, RemovedNodePassesSilently)
{
    newProject();
    addChapter(QStringLiteral("Intro"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("First"));
    NodePtr first = node(QStringLiteral("Intro\\First"));
    session.tree().Remove(first); // the tree changed behind the shown topic
    NodePtr shown = session.shownTopic();
    EXPECT_TRUE(!shown || shown->Removed());
    box.clear();
    addTopic(QStringLiteral("Intro"), QStringLiteral("Other"));
    EXPECT_TRUE(box.empty());
    EXPECT_EQ(session.topic().ID, QStringLiteral("topic2"));
}
