#include "cproject.h"
#include "sessionfixture.h"

#include <QRegularExpression>

using namespace testing_support;

namespace {
struct Moves : SessionFixture {
    // Two chapter files: A with a subchapter holding a subchapter, B plain.
    void build()
    {
        newProject({"en", "de"});
        addChapter(QStringLiteral("A"));
        addChapter(QStringLiteral("B"));
        addTopic(QStringLiteral("A"), QStringLiteral("a1"));
        addTopic(QStringLiteral("A"), QStringLiteral("a2"));
        addSubchapter(QStringLiteral("A"), QStringLiteral("S"));
        addTopic(QStringLiteral("A\\S"), QStringLiteral("s1"));
        addSubchapter(QStringLiteral("A\\S"), QStringLiteral("N"));
        addTopic(QStringLiteral("A\\S\\N"), QStringLiteral("n1"));
        addTopic(QStringLiteral("A\\S"), QStringLiteral("s2"));
        addTopic(QStringLiteral("B"), QStringLiteral("b1"));
        addTopic(QStringLiteral("B"), QStringLiteral("b2"));
        addSubchapter(QStringLiteral("B"), QStringLiteral("T"));
        box.clear();
    }
    // Every id of the book once, over all chapter files.
    QStringList ids()
    {
        QStringList out;
        for (const QString& f : session.project().chapterFileList()) {
            auto it = QRegularExpression(QStringLiteral("<(topic|subchapter) id=\"([^\"]+)\"")).globalMatch(readText(f));
            while (it.hasNext())
                out << it.next().captured(2);
        }
        out.sort();
        return out;
    }
    bool drop(const QString& from, const QString& to)
    {
        NodePtr s = node(from), t = node(to);
        EXPECT_TRUE(s) << from.toStdString();
        EXPECT_TRUE(t) << to.toStdString();
        session.clickOnTopic(s);
        return session.dropNode(s, t);
    }
    void checkWhole(const QStringList& before)
    {
        EXPECT_EQ(ids(), before);
        QString why;
        EXPECT_TRUE(projectParses(projectFile, &why)) << why.toStdString();
        expectTreeInStep();
    }
};
}

TEST_F(Moves, EveryRowOfTheTable)
{
    build();
    const QStringList all = ids();
    ASSERT_EQ(all.size(), 10);

    // topic on topic: before it, within one file.
    ASSERT_TRUE(drop(QStringLiteral("A\\a2"), QStringLiteral("A\\a1")));
    EXPECT_EQ(node(QStringLiteral("A"))->Child()->Text, QStringLiteral("a2"));
    checkWhole(all);
    // topic on topic in another file: two files rewritten.
    ASSERT_TRUE(drop(QStringLiteral("B\\b2"), QStringLiteral("A\\S\\s2")));
    EXPECT_TRUE(node(QStringLiteral("A\\S\\b2")));
    EXPECT_EQ(node(QStringLiteral("A\\S\\s2"))->Previous()->Text, QStringLiteral("b2"));
    checkWhole(all);
    // topic on a top-level chapter and on a subchapter: last in it.
    ASSERT_TRUE(drop(QStringLiteral("A\\a1"), QStringLiteral("B")));
    EXPECT_EQ(node(QStringLiteral("B"))->LastChild()->Text, QStringLiteral("a1"));
    ASSERT_TRUE(drop(QStringLiteral("B\\b1"), QStringLiteral("A\\S\\N")));
    EXPECT_EQ(node(QStringLiteral("A\\S\\N"))->LastChild()->Text, QStringLiteral("b1"));
    checkWhole(all);
    // subchapter holding a subchapter on a topic of the other file: before it, whole.
    ASSERT_TRUE(drop(QStringLiteral("A\\S"), QStringLiteral("B\\a1")));
    EXPECT_TRUE(node(QStringLiteral("B\\S\\N\\n1")));
    EXPECT_TRUE(node(QStringLiteral("B\\S\\N\\b1")));
    EXPECT_EQ(node(QStringLiteral("B\\a1"))->Previous()->Text, QStringLiteral("S"));
    checkWhole(all);
    // subchapter on subchapter: before it.
    ASSERT_TRUE(drop(QStringLiteral("B\\S"), QStringLiteral("B\\T")));
    EXPECT_EQ(node(QStringLiteral("B\\T"))->Previous()->Text, QStringLiteral("S"));
    // nested subchapter out to a top-level chapter: last in it.
    ASSERT_TRUE(drop(QStringLiteral("B\\S\\N"), QStringLiteral("A")));
    EXPECT_EQ(node(QStringLiteral("A"))->LastChild()->Text, QStringLiteral("N"));
    checkWhole(all);
    // top-level chapter on top-level chapter: before it, no chapter file changes.
    QByteArray a = readBytes(session.project().getChapterFile(QStringLiteral("A")));
    ASSERT_TRUE(drop(QStringLiteral("B"), QStringLiteral("A")));
    EXPECT_EQ(session.tree().Root()->Child()->Text, QStringLiteral("B"));
    EXPECT_EQ(readBytes(session.project().getChapterFile(QStringLiteral("A"))), a);
    EXPECT_TRUE(readText(session.project().getBookFile()).endsWith(QStringLiteral("&chapter2;&chapter1;</book>\r\n")));
    checkWhole(all);
}

TEST_F(Moves, PairsThatDoNothing)
{
    build();
    const QStringList before = dumpTree(session.tree());
    NodePtr book = session.tree().Root();
    EXPECT_FALSE(session.dropNode(book, node(QStringLiteral("A"))));           // the book
    EXPECT_FALSE(session.dropNode(node(QStringLiteral("A")), node(QStringLiteral("B\\b1")))); // chapter on topic
    EXPECT_FALSE(session.dropNode(node(QStringLiteral("A")), node(QStringLiteral("B\\T"))));  // chapter on subchapter
    EXPECT_FALSE(session.dropNode(node(QStringLiteral("A\\a1")), book));       // anything on the book
    EXPECT_FALSE(session.dropNode(node(QStringLiteral("A\\S")), node(QStringLiteral("A\\S\\N")))); // into itself
    EXPECT_FALSE(session.dropNode(node(QStringLiteral("A\\S")), node(QStringLiteral("A\\S\\s1"))));
    EXPECT_FALSE(session.dropNode(node(QStringLiteral("A\\a1")), node(QStringLiteral("A\\a1"))));
    EXPECT_EQ(dumpTree(session.tree()), before);
    EXPECT_TRUE(box.empty());
}

TEST_F(Moves, DuplicateTitleRefusedExceptWithinTheParent)
{
    build();
    addTopic(QStringLiteral("B"), QStringLiteral("A1")); // same title as A\a1, other case
    const QStringList before = dumpTree(session.tree());
    QByteArray a = readBytes(session.project().getChapterFile(QStringLiteral("A")));
    EXPECT_FALSE(drop(QStringLiteral("A\\a1"), QStringLiteral("B\\b1")));
    EXPECT_EQ(box.last(), QStringLiteral("Topic or chapter with same name already exists in destination! Drag'n'drop canceled!"));
    EXPECT_FALSE(drop(QStringLiteral("A\\a1"), QStringLiteral("B")));
    EXPECT_EQ(dumpTree(session.tree()), before);
    EXPECT_EQ(readBytes(session.project().getChapterFile(QStringLiteral("A"))), a);
    // Within one parent there is no test, and dropping on its own chapter moves it last.
    EXPECT_TRUE(drop(QStringLiteral("A\\a1"), QStringLiteral("A\\S")));
    EXPECT_TRUE(drop(QStringLiteral("A\\a2"), QStringLiteral("A")));
    EXPECT_EQ(node(QStringLiteral("A"))->LastChild()->Text, QStringLiteral("a2"));
    expectTreeInStep();
}

TEST_F(Moves, ShownTopicFollowsItsBranch)
{
    build();
    click(QStringLiteral("A\\S\\N\\n1"));
    surface.userEdit(QStringLiteral("<h1>n1</h1><p>edited before the move</p>"));
    box.answer(MsgAnswer::Yes); // the save prompt of the drop
    NodePtr s = node(QStringLiteral("A\\S"));
    ASSERT_TRUE(session.dropNode(s, node(QStringLiteral("B"))));
    EXPECT_EQ(session.topic().ID, QStringLiteral("topic4"));
    EXPECT_EQ(session.shownTopic()->FullPath(), QStringLiteral("Manual\\B\\S\\N\\n1"));
    EXPECT_TRUE(readText(session.project().getChapterFile(QStringLiteral("B"))).contains(QStringLiteral("edited before the move")));
    expectTreeInStep();
}

TEST_F(Moves, ChapterMoveRefusedWhenTheBookLacksTheTarget)
{
    build();
    // The book lost B's reference behind the session's back.
    const QString bookFile = session.project().getBookFile();
    QString text = readText(bookFile);
    ASSERT_TRUE(text.contains(QStringLiteral("&chapter2;")));
    writeUtf16(bookFile, text.replace(QStringLiteral("&chapter2;"), QString()));
    const QByteArray book = readBytes(bookFile);
    const QStringList before = dumpTree(session.tree());

    EXPECT_FALSE(drop(QStringLiteral("A"), QStringLiteral("B")));
    EXPECT_EQ(box.last(), QStringLiteral("The element to change was not found in \"book.xml\". Nothing has been changed."));
    EXPECT_EQ(readBytes(bookFile), book); // chapter A stays in the book
    EXPECT_EQ(dumpTree(session.tree()), before);
}
