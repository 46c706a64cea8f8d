#include "cproject.h"
#include "fileio.h"
#include "sessionfixture.h"

#include <QRegularExpression>

using namespace testing_support;

namespace {
// Blanks out the time stamps so texts can be compared.
QString noStamps(QString s)
{
    s.replace(QRegularExpression(QStringLiteral("stamp=\"[^\"]*\"")), QStringLiteral("stamp=\"S\""));
    return s;
}
}

TEST_F(SessionFixture, InsertTopicsEveryWayWithTreeAndFileInStep)
{
    newProject({"en", "de"});
    addChapter(QStringLiteral("Intro"));
    EXPECT_EQ(readText(session.project().getChapterFile(QStringLiteral("Intro"))),
              QStringLiteral("<chapter><title lang=\"en\">Intro</title><title lang=\"de\">Intro</title></chapter>\r\n"));
    // Into an empty top-level chapter: the text goes before </chapter>.
    addTopic(QStringLiteral("Intro"), QStringLiteral("Middle"));
    EXPECT_EQ(noStamps(chapterText(QStringLiteral("Intro"))),
              QStringLiteral("<chapter><title lang=\"en\">Intro</title><title lang=\"de\">Intro</title>"
                             "<topic id=\"topic1\"><title lang=\"en\" state=\"uncomplete\" stamp=\"S\">Middle</title>"
                             "<title lang=\"de\" state=\"uncomplete\" stamp=\"S\">Middle</title>"
                             "<onelang lang=\"en\"></onelang><onelang lang=\"de\"></onelang></topic></chapter>\r\n"));
    EXPECT_EQ(session.topic().ID, QStringLiteral("topic1")); // the new topic is shown
    EXPECT_TRUE(surface.bodyHTML().contains(QStringLiteral("Middle")));

    titles.push_back(QStringLiteral("Before"));
    ASSERT_TRUE(session.changeTopic(TopicAction::InsertBefore));
    click(QStringLiteral("Intro\\Middle"));
    titles.push_back(QStringLiteral("After"));
    ASSERT_TRUE(session.changeTopic(TopicAction::InsertAfter));
    addSubchapter(QStringLiteral("Intro"), QStringLiteral("Sub"));
    addTopic(QStringLiteral("Intro\\Sub"), QStringLiteral("Inside"));
    EXPECT_EQ(dumpTree(session.tree()),
              (QStringList{"0 book  Manual", "1 chapter  Intro", "2 topic topic2 Before", "2 topic topic1 Middle",
                           "2 topic topic3 After", "2 chapter sub1 Sub", "3 topic topic4 Inside"}));
    expectTreeInStep();

    // Refused titles: duplicates whatever the case, and "&", "<", ">".
    click(QStringLiteral("Intro"));
    titles.push_back(QStringLiteral("middle"));
    EXPECT_FALSE(session.changeTopic(TopicAction::Insert));
    EXPECT_EQ(box.last(), QStringLiteral("Topic with same name already exists! Topic can not be inserted!"));
    click(QStringLiteral("Intro\\Middle"));
    titles.push_back(QStringLiteral("AFTER"));
    EXPECT_FALSE(session.changeTopic(TopicAction::InsertBefore));
    EXPECT_EQ(box.last(), QStringLiteral("Topic with same name already exists! Topic can not be inserted!"));
    titles.push_back(QStringLiteral("A & B"));
    EXPECT_FALSE(session.changeTopic(TopicAction::InsertAfter));
    EXPECT_EQ(box.last(), QStringLiteral("Chapter title may not include \"&\", \"<\", \">\" characters!"));
    titles.push_back(QString()); // Cancel
    EXPECT_FALSE(session.changeTopic(TopicAction::InsertAfter));
    expectTreeInStep();
    EXPECT_EQ(session.project().counter("topicid"), QStringLiteral("4")); // refusals took no ID
}

TEST_F(SessionFixture, SaveKeepsOtherLanguagesAndEmptiesTheirState)
{
    newProject({"en", "de"});
    addChapter(QStringLiteral("Intro"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("First"));
    QString file = session.project().getChapterFile(QStringLiteral("Intro"));
    session.closeProject();
    // The German side is finished and has text; there is a context record.
    writeUtf16(file, QStringLiteral("<chapter><title lang=\"en\">Intro</title><title lang=\"de\">Intro</title>"
                                    "<topic id=\"topic1\"><title lang=\"en\" state=\"uncomplete\" stamp=\"1\">First</title>"
                                    "<title lang=\"de\" state=\"complete\" stamp=\"2\">Erstes</title>"
                                    "<context><id>7</id><name>frmMain</name></context>"
                                    "<onelang lang=\"en\"><index><primary>k &amp; v</primary></index><p>old</p></onelang>"
                                    "<onelang lang=\"de\"><p>Deutscher Text</p></onelang></topic></chapter>"));
    session.openProject(projectFile);
    click(QStringLiteral("Intro\\First"));
    EXPECT_EQ(session.topic().index, QStringLiteral("<index><primary>k &amp; v</primary></index>"));
    typeAndSave(QStringLiteral("<h1>First renamed</h1><p>new text</p>"));
    EXPECT_EQ(box.texts(), QStringList());
    QString t = chapterText(QStringLiteral("Intro"));
    EXPECT_TRUE(t.contains(QStringLiteral("<title lang=\"de\" state=\"\" stamp=\"2\">Erstes</title>"))) << t.toStdString();
    EXPECT_TRUE(t.contains(QStringLiteral("<context><id>7</id><name>frmMain</name></context>")));
    EXPECT_TRUE(t.contains(QStringLiteral("<onelang lang=\"de\"><p>Deutscher Text</p></onelang>")));
    EXPECT_TRUE(t.contains(QStringLiteral("<index><primary>k &amp; v</primary></index><p>new text</p>")));
    EXPECT_TRUE(t.contains(QStringLiteral(">First renamed</title>")));
    EXPECT_FALSE(t.contains(QStringLiteral("old")));
    EXPECT_EQ(node(QStringLiteral("Intro\\First renamed"))->Key, QStringLiteral("topic1"));
    EXPECT_EQ(session.panel(3), session.topic().Stamp);
    EXPECT_FALSE(surface.isDirty());
    expectTreeInStep();

    // A second save keeps the keywords (the record was not reset to the old text).
    typeAndSave(QStringLiteral("<h1>First renamed</h1><p>newer</p>"));
    EXPECT_TRUE(chapterText(QStringLiteral("Intro")).contains(QStringLiteral("<index><primary>k &amp; v</primary></index><p>newer</p>")));
}

TEST_F(SessionFixture, SaveRefusalsWriteNothing)
{
    newProject();
    addChapter(QStringLiteral("Intro"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("First"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("Second"));
    QString file = session.project().getChapterFile(QStringLiteral("Intro"));
    QByteArray before = readBytes(file);

    typeAndSave(QStringLiteral("<p>no title</p>"));
    EXPECT_EQ(box.last(), QStringLiteral("Topic without title can not be saved!"));
    typeAndSave(QStringLiteral("<h1></h1><p>empty title</p>"));
    EXPECT_EQ(box.last(), QStringLiteral("Topic without title can not be saved!"));
    typeAndSave(QStringLiteral("<h1>FIRST</h1><p>x</p>"));
    EXPECT_EQ(box.last(), QStringLiteral("Topic with same name already exists! Topic may not be saved!"));
    typeAndSave(QStringLiteral("<h1>A &lt; B</h1><p>x</p>"));
    EXPECT_EQ(box.last(), QStringLiteral("Topic title may not include \"&\", \"<\", \">\" characters!"));
    // Invalid: a notice whose only paragraph is its title.
    typeAndSave(QStringLiteral("<h1>Second</h1><dl><dd><strong>Only a title</strong></dd></dl>"));
    EXPECT_TRUE(box.last().startsWith(QStringLiteral("Topic is not valid! Please rewrite or delete problem part.\r\n\r\nError on line 1, column ")));
    EXPECT_EQ(readBytes(file), before);
    EXPECT_TRUE(surface.isDirty()); // the author keeps the content
    EXPECT_EQ(node(QStringLiteral("Intro\\Second"))->Text, QStringLiteral("Second"));
}

TEST_F(SessionFixture, DeleteTopicsDownToTheLast)
{
    newProject();
    addChapter(QStringLiteral("Intro"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("A"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("B"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("C"));
    click(QStringLiteral("Intro\\B"));
    box.answer(MsgAnswer::No);
    session.mnuDeleteTopic();
    EXPECT_EQ(box.last(), QStringLiteral("Delete topic \"B\"?"));
    EXPECT_TRUE(node(QStringLiteral("Intro\\B")));
    box.answer(MsgAnswer::Yes);
    session.mnuDeleteTopic();
    EXPECT_FALSE(node(QStringLiteral("Intro\\B")));
    EXPECT_EQ(session.topic().ID, QStringLiteral("topic1")); // the previous sibling is shown
    expectTreeInStep();
    box.answer(MsgAnswer::Yes);
    session.mnuDeleteTopic(); // A: the next one, C, follows
    EXPECT_EQ(session.topic().ID, QStringLiteral("topic3"));
    box.answer(MsgAnswer::Yes);
    session.mnuDeleteTopic(); // the last: the chapter is selected, the page empty
    EXPECT_EQ(session.tree().SelectedItem(), node(QStringLiteral("Intro")));
    EXPECT_FALSE(session.shownTopic());
    EXPECT_TRUE(surface.browseMode());
    EXPECT_EQ(surface.bodyHTML(), QString());
    EXPECT_EQ(chapterText(QStringLiteral("Intro")),
              QStringLiteral("<chapter><title lang=\"en\">Intro</title><title lang=\"de\">Intro</title></chapter>\r\n"));
    expectTreeInStep();
}

TEST_F(SessionFixture, FinishedMarkToggleSavedWithTheTopic)
{
    newProject();
    addChapter(QStringLiteral("Intro"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("A"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("B"));
    click(QStringLiteral("Intro\\A"));
    session.mnuComplete();
    NodePtr a = node(QStringLiteral("Intro\\A"));
    EXPECT_EQ(a->Image, treeimg::Complete);
    EXPECT_EQ(session.panel(2), QStringLiteral("locked"));
    EXPECT_EQ(session.panelImage(), treeimg::Anchor);
    EXPECT_TRUE(surface.browseMode());
    EXPECT_TRUE(session.enabled(CommandId::Save));
    EXPECT_FALSE(session.enabled(CommandId::Paste));
    // Leaving asks; Yes saves the state in this language.
    box.answer(MsgAnswer::Yes);
    click(QStringLiteral("Intro\\B"));
    EXPECT_EQ(box.all().front().text, QStringLiteral("Topic \"A\" has been changed. Save?"));
    EXPECT_EQ(box.texts().size(), 1) << box.texts().join("|").toStdString() << chapterText("Intro").toStdString();
    EXPECT_TRUE(chapterText(QStringLiteral("Intro")).contains(QRegularExpression(QStringLiteral("<title lang=\"en\" stamp=\"[^\"]*\" state=\"complete\">A</title>")))) << chapterText("Intro").toStdString();
    expectTreeInStep();
    // Toggled on B and answered No: the icon goes back.
    session.mnuComplete();
    box.answer(MsgAnswer::No);
    click(QStringLiteral("Intro\\A"));
    EXPECT_EQ(node(QStringLiteral("Intro\\B"))->Image, treeimg::Topic);
    EXPECT_TRUE(surface.browseMode()); // A is finished: read-only
}

// A stored topic that cannot be read back (a namespaced element, an entity
// the file does not declare) must not be replaced by nothing.
TEST_F(SessionFixture, ASaveThatCannotMergeWritesNothingAndKeepsTheText)
{
    newProject({"en", "de"});
    addChapter(QStringLiteral("Intro"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("Odd"));
    const QString file = session.project().getChapterFile(QStringLiteral("Intro"));
    for (const QString& odd : {QStringLiteral("<xi:include href=\"x.xml\"></xi:include>"), QStringLiteral("&nbsp;")}) {
        session.closeProject();
        QString text = readText(file);
        text.replace(QStringLiteral("<onelang lang=\"de\"></onelang>"),
                     QStringLiteral("<onelang lang=\"de\"><p>") + odd + QStringLiteral("</p></onelang>"));
        if (odd.startsWith(QLatin1Char('<')))
            text.replace(QStringLiteral("<chapter>"), QStringLiteral("<chapter xmlns:xi=\"http://www.w3.org/2001/XInclude\">"));
        writeUtf16(file, text);
        const QByteArray before = readBytes(file);
        box.setDefault(MsgAnswer::Yes);
        session.openProject(projectFile);
        click(QStringLiteral("Intro\\Odd"));
        box.clear();
        surface.userEdit(QStringLiteral("<h1>Odd</h1><p>New text</p>"));
        EXPECT_FALSE(session.changeTopic(TopicAction::Save));
        EXPECT_TRUE(box.last().startsWith(QStringLiteral("The topic \"topic1\" cannot be saved"))) << box.last().toStdString();
        EXPECT_EQ(readBytes(file), before);
        // The typed text is still there to be saved elsewhere.
        EXPECT_TRUE(surface.bodyHTML().contains(QStringLiteral("New text")));
    }
}

// A chapter whose entities come from a DTD that cannot be read keeps its
// document type through a rewrite, so the references still resolve.
TEST_F(SessionFixture, ARewriteKeepsTheDocumentTypeOfItsReferences)
{
    newProject({"en", "de"});
    addChapter(QStringLiteral("Intro"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("Spaced"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("Plain"));
    session.closeProject();
    const QString file = session.project().getChapterFile(QStringLiteral("Intro"));
    QString text = readText(file);
    text.replace(QStringLiteral("<onelang lang=\"de\"></onelang></topic><topic"),
                 QStringLiteral("<onelang lang=\"de\"><p>a&nbsp;b</p></onelang></topic><topic"));
    writeUtf16(file, QStringLiteral("<!DOCTYPE chapter SYSTEM \"chapter.dtd\">") + text);
    box.setDefault(MsgAnswer::Yes);
    session.openProject(projectFile);
    ASSERT_TRUE(session.isOpen());
    click(QStringLiteral("Intro\\Plain"));
    box.clear();
    typeAndSave(QStringLiteral("<h1>Plain</h1><p>Saved beside a reference</p>"));
    EXPECT_TRUE(box.empty()) << box.last().toStdString();
    const QString after = readText(file);
    EXPECT_TRUE(after.startsWith(QStringLiteral("<!DOCTYPE chapter SYSTEM \"chapter.dtd\"><chapter>")));
    EXPECT_TRUE(after.contains(QStringLiteral("<p>a&nbsp;b</p>")));
    EXPECT_TRUE(after.contains(QStringLiteral("Saved beside a reference")));
    session.closeProject();
    for (const QString& line : treeFromFiles(projectFile))
        EXPECT_FALSE(line.startsWith(QStringLiteral("BOX:"))) << line.toStdString();
}

// The sample keeps the program's own rules: every topic saves unchanged.
TEST_F(SessionFixture, EveryTopicOfTheSampleSavesAsItIs)
{
    const QString qly = copySample(dir.path(), QStringLiteral("sample"));
    session.openProject(qly);
    ASSERT_TRUE(session.isOpen()) << box.texts().join(QLatin1Char('|')).toStdString();
    QList<NodePtr> topics;
    session.tree().forEach([&](const NodePtr& n, int) {
        if (n->Tag == QLatin1String("topic"))
            topics << n;
    });
    ASSERT_EQ(topics.size(), 6);
    for (const NodePtr& t : topics) {
        box.clear();
        session.clickOnTopic(t);
        ASSERT_EQ(session.shownTopic(), t) << t->Text.toStdString();
        EXPECT_TRUE(session.changeTopic(TopicAction::Save)) << t->Text.toStdString();
        EXPECT_TRUE(box.empty()) << t->Text.toStdString() << ": " << box.texts().join(QLatin1Char('|')).toStdString();
    }
}

// A refused title comes back in the dialog as typed, until it is taken or
// the dialog is cancelled.
TEST_F(SessionFixture, ARefusedTitleIsAskedForAgainAsTyped)
{
    newProject({"en"});
    addChapter(QStringLiteral("Intro"));
    addTopic(QStringLiteral("Intro"), QStringLiteral("Middle"));
    click(QStringLiteral("Intro"));
    QStringList offered;
    QStringList answers{QStringLiteral("middle"), QStringLiteral("A & B"), QStringLiteral("Second")};
    session.dialogs.topicTitle = [&](const QString&, const QString&, const QString&, QString& text) {
        offered << text;
        if (answers.isEmpty())
            return false;
        text = answers.takeFirst();
        return true;
    };
    box.clear();
    ASSERT_TRUE(session.changeTopic(TopicAction::Insert));
    EXPECT_EQ(offered, (QStringList{QString(), QStringLiteral("middle"), QStringLiteral("A & B")}));
    EXPECT_EQ(box.texts(), (QStringList{QStringLiteral("Topic with same name already exists! Topic can not be inserted!"),
                                        QStringLiteral("Chapter title may not include \"&\", \"<\", \">\" characters!")}));
    EXPECT_TRUE(node(QStringLiteral("Intro\\Second")));

    // The same for chapters; Cancel ends it with nothing inserted.
    offered.clear();
    box.clear();
    answers = QStringList{QStringLiteral("intro")};
    click(QStringLiteral("Intro"));
    EXPECT_FALSE(session.changeChapter(ChapterAction::InsertAfter));
    EXPECT_EQ(offered, (QStringList{QString(), QStringLiteral("intro")}));
    EXPECT_EQ(box.texts().size(), 1);
    expectTreeInStep();
}
