#include "cproject.h"
#include "fileio.h"
#include "sessionfixture.h"

#include <QFileInfo>

using namespace testing_support;

TEST_F(SessionFixture, TopLevelChaptersInsertDeleteRename)
{
    newProject({"en", "de"});
    addChapter(QStringLiteral("B"));
    click(QStringLiteral("B"));
    titles.push_back(QStringLiteral("A"));
    ASSERT_TRUE(session.changeChapter(ChapterAction::InsertBefore));
    click(QStringLiteral("B"));
    titles.push_back(QStringLiteral("C"));
    ASSERT_TRUE(session.changeChapter(ChapterAction::InsertAfter));
    EXPECT_EQ(dumpTree(session.tree()),
              (QStringList{"0 book  Manual", "1 chapter  A", "1 chapter  B", "1 chapter  C"}));
    expectTreeInStep();
    EXPECT_EQ(readText(session.project().GetProjectFolder() + QStringLiteral("chapter2.xml")),
              QStringLiteral("<chapter><title lang=\"en\">A</title><title lang=\"de\">A</title></chapter>\r\n"));
    EXPECT_TRUE(readText(session.project().getBookFile())
                    .endsWith(QStringLiteral("&chapter2;&chapter1;&chapter3;</book>\r\n")));

    // A title taken (whatever the case) is refused.
    click(QStringLiteral("B"));
    titles.push_back(QStringLiteral("a"));
    EXPECT_FALSE(session.changeChapter(ChapterAction::InsertAfter));
    EXPECT_EQ(box.last(), QStringLiteral("Chapter with same title already exists! Chapter can not be inserted!"));

    // Rename: the entry moves to the end of the project file, the order stays.
    click(QStringLiteral("A"));
    titles.push_back(QStringLiteral("Alpha"));
    session.mnuChapterProperties();
    EXPECT_EQ(session.project().chapters().back().title, QStringLiteral("Alpha"));
    EXPECT_EQ(session.project().chapters().back().id, QStringLiteral("chapter2"));
    EXPECT_EQ(session.project().getChapterFile(QStringLiteral("Alpha")),
              session.project().GetProjectFolder() + QStringLiteral("chapter2.xml"));
    EXPECT_EQ(readText(session.project().getChapterFile(QStringLiteral("Alpha"))),
              QStringLiteral("<chapter><title lang=\"en\">Alpha</title><title lang=\"de\">A</title></chapter>\r\n"));
    expectTreeInStep();
    click(QStringLiteral("Alpha"));
    titles.push_back(QStringLiteral("c"));
    session.mnuChapterProperties();
    EXPECT_EQ(box.last(), QStringLiteral("Chapter with same title already exists! Properties can not be changed!"));

    // Delete: a chapter with children is refused, an empty one goes with its file.
    addTopic(QStringLiteral("C"), QStringLiteral("T"));
    click(QStringLiteral("C"));
    session.mnuDeleteChapter();
    EXPECT_EQ(box.last(), QStringLiteral("Chapter \"C\" is not empty and may be not deleted!"));
    click(QStringLiteral("B"));
    box.answer(MsgAnswer::Yes);
    session.mnuDeleteChapter();
    EXPECT_EQ(box.all()[box.all().size() - 1].text, QStringLiteral("Delete chapter \"B\"?"));
    EXPECT_FALSE(QFileInfo::exists(session.project().GetProjectFolder() + QStringLiteral("chapter1.xml")));
    EXPECT_EQ(session.project().getChapterID(QStringLiteral("B")), QString());
    EXPECT_EQ(session.tree().SelectedItem(), node(QStringLiteral("Alpha")));
    expectTreeInStep();
}

TEST_F(SessionFixture, SubchaptersInsertDeleteRenameNested)
{
    newProject();
    addChapter(QStringLiteral("Top"));
    addSubchapter(QStringLiteral("Top"), QStringLiteral("S1"));
    addSubchapter(QStringLiteral("Top\\S1"), QStringLiteral("Nested"));
    addTopic(QStringLiteral("Top\\S1\\Nested"), QStringLiteral("Deep"));
    // Into S1 after its nested subchapter: depth is counted.
    addTopic(QStringLiteral("Top\\S1"), QStringLiteral("Late"));
    click(QStringLiteral("Top\\S1"));
    titles.push_back(QStringLiteral("S0"));
    ASSERT_TRUE(session.changeChapter(ChapterAction::InsertBefore));
    click(QStringLiteral("Top\\S1"));
    titles.push_back(QStringLiteral("S2"));
    ASSERT_TRUE(session.changeChapter(ChapterAction::InsertAfter));
    EXPECT_EQ(dumpTree(session.tree()),
              (QStringList{"0 book  Manual", "1 chapter  Top", "2 chapter sub3 S0", "2 chapter sub1 S1",
                           "3 chapter sub2 Nested", "4 topic topic1 Deep", "3 topic topic2 Late", "2 chapter sub4 S2"}));
    expectTreeInStep();

    click(QStringLiteral("Top\\S1"));
    titles.push_back(QStringLiteral("s2"));
    EXPECT_FALSE(session.changeChapter(ChapterAction::InsertAfter));
    EXPECT_EQ(box.last(), QStringLiteral("Chapter with same name already exists! Chapter can not be inserted!"));

    // Renaming S1 leaves the nested subchapter's title alone.
    click(QStringLiteral("Top\\S1"));
    titles.push_back(QStringLiteral("First Part"));
    session.mnuChapterProperties();
    expectTreeInStep();
    EXPECT_TRUE(node(QStringLiteral("Top\\First Part\\Nested\\Deep")));
    click(QStringLiteral("Top\\First Part"));
    titles.push_back(QStringLiteral("S0"));
    session.mnuChapterProperties();
    EXPECT_EQ(box.last(), QStringLiteral("Chapter with same name already exists! Chapter can not be renamed!"));

    // Deleting an empty subchapter, while the shown topic is elsewhere.
    click(QStringLiteral("Top\\First Part\\Late"));
    click(QStringLiteral("Top\\S0"));
    box.answer(MsgAnswer::Yes);
    session.mnuDeleteChapter();
    EXPECT_FALSE(node(QStringLiteral("Top\\S0")));
    EXPECT_EQ(session.topic().ID, QStringLiteral("topic2"));
    expectTreeInStep();
}

TEST_F(SessionFixture, BookPropertiesAndDeleteBook)
{
    newProject();
    session.dialogs.bookProperties = [](cBook& b) {
        b.Title = QStringLiteral("Handbook");
        b.Author = QStringLiteral("Someone");
        return true;
    };
    session.clickOnTopic(session.tree().Root());
    session.editBookProperties();
    EXPECT_EQ(session.tree().Root()->Text, QStringLiteral("Handbook"));
    expectTreeInStep();

    addChapter(QStringLiteral("Only"));
    session.clickOnTopic(session.tree().Root());
    session.mnuDeleteBook();
    EXPECT_EQ(box.last(), QStringLiteral("Book is not empty and may be not deleted!"));
    click(QStringLiteral("Only"));
    box.answer(MsgAnswer::Yes);
    session.mnuDeleteChapter();

    QString book = session.project().getBookFile();
    session.clickOnTopic(session.tree().Root());
    box.answer(MsgAnswer::No);
    session.mnuDeleteBook();
    EXPECT_EQ(box.last(), QStringLiteral("Delete book?"));
    EXPECT_TRUE(session.isOpen());
    box.answer(MsgAnswer::Yes);
    session.mnuDeleteBook();
    EXPECT_FALSE(session.isOpen());
    EXPECT_FALSE(QFileInfo::exists(projectFile));
    EXPECT_FALSE(QFileInfo::exists(book));
    EXPECT_TRUE(QFileInfo(dir.file(QStringLiteral("manual/img"))).isDir()); // folder and images stay
}

TEST_F(SessionFixture, CreateProjectThroughTheForm)
{
    session.dialogs.newBook = [this](cBook& b) {
        b.Title = QStringLiteral("Fresh");
        b.Author = QStringLiteral("A");
        b.Version = QStringLiteral("1");
        b.BookDate = QStringLiteral("d");
        b.BookTime = QStringLiteral("t");
        b.BookFile = QStringLiteral("book.xml");
        b.MainLangName = QStringLiteral("English");
        b.MainLangAbbrev = QStringLiteral("en");
        b.ProjectFile = dir.file(QStringLiteral("fresh.qly"));
        return true;
    };
    session.createProject();
    ASSERT_TRUE(session.isOpen());
    EXPECT_EQ(session.caption(), QStringLiteral("Quillary Author - ") + dir.file(QStringLiteral("fresh.qly")) +
                                     QStringLiteral(" (en)"));
    EXPECT_EQ(dumpTree(session.tree()), QStringList{QStringLiteral("0 book  Fresh")});
    EXPECT_EQ(session.selectedChapter(), session.tree().Root());
    EXPECT_FALSE(fileio::isMarked(dir.file(QStringLiteral("fresh.qly"))));
    projectFile = dir.file(QStringLiteral("fresh.qly"));
    addChapter(QStringLiteral("One"));
    EXPECT_TRUE(fileio::isMarked(projectFile)); // the first counter marks it
    expectTreeInStep();
}
