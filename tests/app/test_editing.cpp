// The editing surface as an authoring tool, on the real page: every element
// command, the repair and content rules, the clipboard, the keys, undo and
// redo. Each test ends by converting the surface to topic XML, validating it
// and checking that the XML says what the author did.
#include "editingcontroller.h"
#include "elementvalues.h"
#include "holders.h"
#include "language.h"
#include "session.h"
#include "testsupport.h"
#include "topicconvert.h"
#include "websurface.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QImage>
#include <QLabel>
#include <QMenu>
#include <QTest>
#include <QToolBar>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

using testing_support::TempDir;

namespace {

const QString kImage = QStringLiteral(
    "<p title=\"image\" class=\"\"><img src=\"img\\en\\pic.png\" alt=\"PNG\" scale=\"100\"><br>"
    "<em title=\"image\">Caption</em></p>");
const QString kTable = QStringLiteral(
    "<p title=\"table\"><table cellspacing=\"0\" cellpadding=\"5\" border=\"1\"><tbody>"
    "<tr class=\"header\"><td>H1</td><td>H2</td></tr><tr><td>a</td><td>b</td></tr></tbody></table>"
    "<em title=\"table\">Prices</em></p>");

bool waitFor(const std::function<bool()>& done, int ms = 4000)
{
    return QTest::qWaitFor(done, ms);
}

// One page, one session and one project for all tests of the suite.
class Editing : public ::testing::Test {
protected:
    static inline TempDir* tmp = nullptr;
    static inline ScriptedMsgBox* box = nullptr;
    static inline WebSurface* surface = nullptr;
    static inline Session* session = nullptr;
    static inline EditingController* ctl = nullptr;

    static void SetUpTestSuite()
    {
        tmp = new TempDir;
        const QString project = testing_support::makeProject(tmp->path());
        box = new ScriptedMsgBox;
        surface = new WebSurface;
        surface->resize(800, 600);
        surface->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(surface));
        session = new Session(*box, *surface);
        session->openProject(project);
        ASSERT_TRUE(session->isOpen());
        QImage image(8, 6, QImage::Format_RGB32);
        image.fill(Qt::blue);
        QDir().mkpath(session->project().GetProjectFolder() + QStringLiteral("img/en"));
        image.save(session->project().GetProjectFolder() + QStringLiteral("img/en/pic.png"), "PNG");
        session->topic().ID = QStringLiteral("topic1");
        ctl = new EditingController(surface, *session);
        ctl->attachSurface(true, false);
    }

    static void TearDownTestSuite()
    {
        delete ctl;
        delete session;
        delete surface;
        delete box;
        delete tmp;
        ctl = nullptr;
    }

    void SetUp() override
    {
        box->clear();
        ctl->linkDialog = nullptr;
        ctl->imageDialog = nullptr;
        ctl->tableDialog = nullptr;
        ctl->indexDialog = nullptr;
        session->topic().State = QStringLiteral("uncomplete");
        session->topic().index.clear();
        session->topicPropertiesChanged = false;
        // No dialog of the real kind may open unnoticed.
        ctl->linkDialog = [](cLink&, cOKorCancel&) {
            ADD_FAILURE() << "link dialog";
            return false;
        };
        ctl->imageDialog = [](cImage&, cOKorCancel&, const QString&) {
            ADD_FAILURE() << "image dialog";
            return false;
        };
        ctl->tableDialog = [](cDesignTable&, cOKorCancel&) {
            ADD_FAILURE() << "table dialog";
            return false;
        };
        QApplication::clipboard()->clear();
    }

    // A new topic body on the page, with a new history.
    void start(const QString& html)
    {
        surface->setBrowseMode(false);
        surface->setBodyHTML(html);
        surface->activateWindow();
        surface->setFocus();
        if (QWidget* p = surface->focusProxy())
            p->setFocus();
        surface->runScript(QStringLiteral("document.body.focus(); true"));
        settle();
    }

    QString body() { return surface->bodyHTML(); }

    // Lets the page's own notes arrive and the rules run to the end.
    void settle()
    {
        QTest::qWait(30);
        ctl->updateDisplay();
    }

    // The caret at a character offset in the text of the n-th element
    // matching selector (at its start when it has no text).
    void caret(const QString& selector, int offset, int n = 0)
    {
        surface->runScript(QStringLiteral("(function(){var e=document.querySelectorAll(%1)[%3];"
                                          "var w=document.createTreeWalker(e,NodeFilter.SHOW_TEXT),t,o=%2,r=document.createRange();"
                                          "r.setStart(e,0);while((t=w.nextNode())){if(o<=t.data.length){r.setStart(t,o);break;}"
                                          "o-=t.data.length;}r.collapse(true);"
                                          "var s=getSelection();s.removeAllRanges();s.addRange(r);})()")
                               .arg(WebSurface::jsString(selector))
                               .arg(offset)
                               .arg(n));
    }
    // The caret (or a selection of length chars) in the text node that holds
    // text, offset characters into that text.
    void caretIn(const QString& text, int offset, int length = 0)
    {
        surface->runScript(QStringLiteral("(function(){var w=document.createTreeWalker(document.body,NodeFilter.SHOW_TEXT),t;"
                                          "while((t=w.nextNode())){var i=t.data.indexOf(%1);if(i>=0){var r=document.createRange();"
                                          "r.setStart(t,i+%2);r.setEnd(t,i+%2+%3);getSelection().removeAllRanges();"
                                          "getSelection().addRange(r);return;}}})()")
                               .arg(WebSurface::jsString(text))
                               .arg(offset)
                               .arg(length));
    }
    // Selects from one text offset to another in the text of the n-th match.
    void selectText(const QString& selector, int from, int to, int n = 0)
    {
        surface->runScript(QStringLiteral("(function(){var e=document.querySelectorAll(%1)[%4];"
                                          "var t=e.firstChild;var r=document.createRange();r.setStart(t,%2);"
                                          "r.setEnd(t,%3);var s=getSelection();s.removeAllRanges();s.addRange(r);})()")
                               .arg(WebSurface::jsString(selector))
                               .arg(from)
                               .arg(to)
                               .arg(n));
    }
    // Selects a whole element (its contents, or the node itself).
    void selectElement(const QString& selector, bool node = false, int n = 0)
    {
        surface->runScript(QStringLiteral("(function(){var e=document.querySelectorAll(%1)[%3];"
                                          "var r=document.createRange();r.%2(e);"
                                          "var s=getSelection();s.removeAllRanges();s.addRange(r);})()")
                               .arg(WebSurface::jsString(selector))
                               .arg(node ? QStringLiteral("selectNode") : QStringLiteral("selectNodeContents"))
                               .arg(n));
    }

    QWidget* input() { return surface->focusProxy() ? surface->focusProxy() : surface; }

    // The caret beside the object of the first wrapper (after its image).
    void caretBesideFirstWrapper()
    {
        surface->runScript(QStringLiteral("(function(){var r=document.createRange();"
                                          "r.setStart(document.querySelectorAll('p')[0],1);r.collapse(true);"
                                          "getSelection().removeAllRanges();getSelection().addRange(r);})()"));
    }

    // Keys as the author presses them; waits until the page changed.
    void press(int key, Qt::KeyboardModifiers mods = Qt::NoModifier)
    {
        const QString before = body();
        QTest::keyClick(input(), Qt::Key(key), mods);
        waitFor([&] { return body() != before; }, 600);
        settle();
    }
    void type(const QString& text)
    {
        const QString before = body();
        QTest::keyClicks(input(), text);
        waitFor([&] { return body() != before; }, 2000);
        QTest::qWait(60);
        settle();
    }

    // The surface as topic XML, validated.
    QString save()
    {
        const QString xml = EditorToTopic(*surface, session->topic(), *box);
        QString message;
        EXPECT_TRUE(validateTopic(xml, message)) << message.toStdString() << "\n" << xml.toStdString();
        return xml;
    }
    // The XML's onelang content, for short comparisons.
    QString onelang()
    {
        const QString xml = save();
        const int a = xml.indexOf(QStringLiteral("<onelang lang=\"en\">"));
        const int b = xml.lastIndexOf(QStringLiteral("</onelang>"));
        if (a < 0 || b < 0)
            return xml;
        return xml.mid(a + 19, b - a - 19);
    }

    void command(const QString& key) { ctl->elementCommand(key); }
};

} // namespace

// --- rules --------------------------------------------------------------------------------

TEST_F(Editing, EnterAtTheEndOfAnImageCaptionGivesAPlainParagraph)
{
    start(QStringLiteral("<h1>Title</h1>") + kImage);
    caret(QStringLiteral("em"), 7);
    press(Qt::Key_Return);
    EXPECT_EQ(body(), QStringLiteral("<h1>Title</h1>") + kImage + QStringLiteral("<p>&nbsp;</p>"));
    type(QStringLiteral("Next"));
    EXPECT_EQ(body(), QStringLiteral("<h1>Title</h1>") + kImage + QStringLiteral("<p>Next</p>"));
    EXPECT_EQ(onelang(), QStringLiteral("<image file=\"img\\en\\pic.png\" format=\"PNG\" scale=\"100\">Caption"
                                        "</image><p>Next</p>"));
}

TEST_F(Editing, EnterAtTheEndOfATableTitleGivesAPlainParagraph)
{
    start(QStringLiteral("<h1>Title</h1>") + kTable);
    caret(QStringLiteral("em"), 6);
    press(Qt::Key_Return);
    EXPECT_EQ(body(), QStringLiteral("<h1>Title</h1>") + kTable + QStringLiteral("<p>&nbsp;</p>"));
    type(QStringLiteral("x"));
    const QString xml = onelang();
    EXPECT_TRUE(xml.endsWith(QStringLiteral("<title>Prices</title></table><p>x</p>"))) << xml.toStdString();
}

TEST_F(Editing, TextBehindACaptionIsTakenBack)
{
    const QString original = QStringLiteral("<h1>Title</h1>") + kImage + QStringLiteral("<p>after</p>");
    start(original);
    // Backspace at the start of the next paragraph joins it to the caption.
    caret(QStringLiteral("p"), 0, 1);
    press(Qt::Key_Backspace);
    EXPECT_EQ(body(), original);
    // It was there, and was undone: the join waits to be redone.
    EXPECT_TRUE(ctl->facts().canRedo);
    EXPECT_EQ(onelang(), QStringLiteral("<image file=\"img\\en\\pic.png\" format=\"PNG\" scale=\"100\">Caption"
                                        "</image><p>after</p>"));
}

TEST_F(Editing, KeysBesideAWrappedObjectAreSwallowed)
{
    const QString original = QStringLiteral("<h1>Title</h1>") + kImage + QStringLiteral("<p>after</p>");
    start(original);
    caretBesideFirstWrapper();
    QTest::keyClicks(input(), QStringLiteral("xy"));
    QTest::qWait(200);
    EXPECT_EQ(body(), original);
    // Delete beside the image removes it with its wrapper.
    press(Qt::Key_Delete);
    EXPECT_EQ(body(), QStringLiteral("<h1>Title</h1><p>after</p>"));
    EXPECT_EQ(onelang(), QStringLiteral("<p>after</p>"));
}

// Beside an image that ends the body, typing opens a paragraph after it.
TEST_F(Editing, TypingAfterAnImageAtTheEndGoesIntoANewParagraph)
{
    start(QStringLiteral("<h1>Title</h1>") + kImage);
    caretBesideFirstWrapper();
    type(QStringLiteral("More"));
    EXPECT_EQ(body(), QStringLiteral("<h1>Title</h1>") + kImage + QStringLiteral("<p>More</p>"));
    EXPECT_EQ(onelang(), QStringLiteral("<image file=\"img\\en\\pic.png\" format=\"PNG\" scale=\"100\">Caption"
                                        "</image><p>More</p>"));
    // One undo takes the paragraph back with its text.
    ctl->undo();
    ctl->undo();
    EXPECT_EQ(body(), QStringLiteral("<h1>Title</h1>") + kImage);
}

// Tab and Shift+Tab go from cell to cell and never leave the page.
TEST_F(Editing, TabMovesBetweenTheCellsOfATable)
{
    start(QStringLiteral("<h1>Title</h1>") + kTable);
    caretIn(QStringLiteral("H1"), 2);
    press(Qt::Key_Tab);
    type(QStringLiteral("x"));
    EXPECT_TRUE(body().contains(QStringLiteral("<td>H2x</td>"))) << body().toStdString();
    QTest::keyClick(input(), Qt::Key_Tab);
    QTest::keyClick(input(), Qt::Key_Tab);
    type(QStringLiteral("y"));
    EXPECT_TRUE(body().contains(QStringLiteral("<td>by</td>"))) << body().toStdString();
    QTest::keyClick(input(), Qt::Key_Backtab, Qt::ShiftModifier);
    type(QStringLiteral("z"));
    EXPECT_TRUE(body().contains(QStringLiteral("<td>az</td>"))) << body().toStdString();
    // In the last cell Tab stays; outside a table it does nothing.
    caretIn(QStringLiteral("by"), 2);
    QTest::keyClick(input(), Qt::Key_Tab);
    caretIn(QStringLiteral("Title"), 5);
    QTest::keyClick(input(), Qt::Key_Tab);
    QTest::qWait(100);
    EXPECT_EQ(QApplication::focusWidget(), input());
    EXPECT_FALSE(body().contains(QLatin1Char('\t')));
}

// Enter at the end of a paragraph header goes on into its text, or opens a
// plain paragraph when there is none; on an empty last line of a note it
// ends the note.
TEST_F(Editing, EnterLeavesAParagraphHeaderAndTheEndOfANote)
{
    start(QStringLiteral("<h1>Title</h1><p><u>Head</u></p>"));
    caretIn(QStringLiteral("Head"), 4);
    press(Qt::Key_Return);
    type(QStringLiteral("Body"));
    EXPECT_EQ(body(), QStringLiteral("<h1>Title</h1><p><u>Head</u></p><p>Body</p>"));

    start(QStringLiteral("<h1>Title</h1><p><u>Head</u>Text</p>"));
    caretIn(QStringLiteral("Head"), 4);
    QTest::keyClick(input(), Qt::Key_Return);
    type(QStringLiteral("X"));
    EXPECT_EQ(body(), QStringLiteral("<h1>Title</h1><p><u>Head</u>XText</p>"));

    start(QStringLiteral("<h1>Title</h1><dl><dd>Note text</dd><dd></dd></dl>"));
    caret(QStringLiteral("dd"), 0, 1);
    press(Qt::Key_Return);
    type(QStringLiteral("After"));
    EXPECT_EQ(body(), QStringLiteral("<h1>Title</h1><dl><dd>Note text</dd></dl><p>After</p>"));
    EXPECT_EQ(onelang(), QStringLiteral("<notice><p>Note text</p></notice><p>After</p>"));
}

TEST_F(Editing, AParagraphPastedIntoAListItemLosesItsP)
{
    start(QStringLiteral("<h1>T</h1><p>Para</p><ul><li>one</li></ul>"));
    selectElement(QStringLiteral("p"));
    ctl->copy();
    EXPECT_EQ(ctl->lastCopiedHTML(), QStringLiteral("<p>Para</p>"));
    caret(QStringLiteral("li"), 3);
    ctl->paste();
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>Para</p><ul><li>onePara</li></ul>"));
    EXPECT_EQ(onelang(), QStringLiteral("<p>Para</p><list format=\"bullet\"><item>onePara</item></list>"));
}

TEST_F(Editing, UndoIntoAParagraphInAListItemKeepsUndoing)
{
    const QString original = QStringLiteral("<h1>T</h1><p>Para</p><ul><li>one</li></ul>");
    start(original);
    selectElement(QStringLiteral("p"));
    ctl->copy();
    caret(QStringLiteral("li"), 3);
    ctl->paste();
    ASSERT_EQ(body(), QStringLiteral("<h1>T</h1><p>Para</p><ul><li>onePara</li></ul>"));
    // One undo lands on the paragraph in the item, which is undone as well.
    ctl->undo();
    EXPECT_EQ(body(), original);
    EXPECT_FALSE(ctl->undoFlag());
    EXPECT_EQ(onelang(), QStringLiteral("<p>Para</p><list format=\"bullet\"><item>one</item></list>"));
}

TEST_F(Editing, ABareImageInAnItemANoteOrACellGoes)
{
    const QString rest = QStringLiteral("<ul><li>item</li></ul><dl><dd>note</dd></dl>"
                                        "<p title=\"table\"><table cellspacing=\"0\" cellpadding=\"5\" border=\"1\">"
                                        "<tbody><tr><td>cell</td></tr></tbody></table><em title=\"table\"></em></p>");
    for (const QString& container : {QStringLiteral("li"), QStringLiteral("dd"), QStringLiteral("td")}) {
        start(QStringLiteral("<h1>T</h1>") + kImage + rest);
        // The image with the start of its caption: IMG, BR and EM come along.
        surface->runScript(QStringLiteral("(function(){var r=document.createRange();"
                                          "r.setStart(document.querySelector('p'),0);"
                                          "r.setEnd(document.querySelector('em').firstChild,3);"
                                          "getSelection().removeAllRanges();getSelection().addRange(r);})()"));
        ctl->copy();
        EXPECT_TRUE(ctl->lastCopiedHTML().startsWith(QStringLiteral("<img"))) << ctl->lastCopiedHTML().toStdString();
        caret(container, 2);
        ctl->paste();
        // The image, the break and the caption mark go; the text stays.
        EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('img').length")).toInt(), 1)
            << body().toStdString();
        EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('em').length")).toInt(), 2)
            << body().toStdString();
        EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('br').length")).toInt(), 1)
            << body().toStdString();
        const QString xml = onelang();
        EXPECT_TRUE(xml.contains(container == QLatin1String("li") ? QStringLiteral("<item>itCapem</item>")
                                                                   : QStringLiteral("<item>item</item>")))
            << xml.toStdString();
        EXPECT_TRUE(xml.contains(container == QLatin1String("dd") ? QStringLiteral("<notice><p>noCapte</p></notice>")
                                                                   : QStringLiteral("<notice><p>note</p></notice>")))
            << xml.toStdString();
        EXPECT_TRUE(xml.contains(container == QLatin1String("td") ? QStringLiteral("<cell>ceCapll</cell>")
                                                                   : QStringLiteral("<cell>cell</cell>")))
            << xml.toStdString();
    }
}

TEST_F(Editing, ForeignTextIntoTheTitleDoesNothing)
{
    start(QStringLiteral("<h1>Title</h1><p>xy</p>"));
    QApplication::clipboard()->setText(QStringLiteral("foreign\r\ntext"));
    caret(QStringLiteral("h1"), 2);
    ctl->paste();
    EXPECT_EQ(body(), QStringLiteral("<h1>Title</h1><p>xy</p>"));
    EXPECT_TRUE(save().contains(QStringLiteral(">Title</title>")));
}

TEST_F(Editing, TwoLinesOfForeignTextIntoAParagraphGiveTwoParagraphs)
{
    start(QStringLiteral("<h1>Title</h1><p>xy</p>"));
    QApplication::clipboard()->setText(QStringLiteral("one\r\ntwo"));
    caret(QStringLiteral("p"), 2);
    ctl->paste();
    EXPECT_EQ(body(), QStringLiteral("<h1>Title</h1><p>xyone</p><p>two</p>"));
    EXPECT_EQ(onelang(), QStringLiteral("<p>xyone</p><p>two</p>"));
    // In a list item the lines become one.
    start(QStringLiteral("<h1>Title</h1><ul><li>a</li></ul>"));
    QApplication::clipboard()->setText(QStringLiteral("one\ntwo"));
    caret(QStringLiteral("li"), 1);
    ctl->paste();
    EXPECT_EQ(onelang(), QStringLiteral("<list format=\"bullet\"><item>aone two</item></list>"));
}

TEST_F(Editing, TheSecondPasteOfACopiedParagraphGetsNewAnchorIdsAndNoTransid)
{
    start(QStringLiteral("<h1>T</h1><p transid=\"trans1\">Text <a name=\"anchor900\" class=\"anchor\">Mark</a></p>"
                         "<p>end</p>"));
    selectElement(QStringLiteral("p"));
    ctl->copy();
    caret(QStringLiteral("p"), 0, 1);
    ctl->paste();
    caret(QStringLiteral("p"), 0, 2);
    ctl->paste();
    const QString html = body();
    EXPECT_EQ(html.count(QStringLiteral("transid")), 1) << html.toStdString();
    EXPECT_EQ(html.count(QStringLiteral("name=\"anchor900\"")), 1) << html.toStdString();
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('a.anchor').length")).toInt(), 3);
    const QString xml = onelang();
    EXPECT_TRUE(xml.startsWith(QStringLiteral("<p transid=\"trans1\">Text <anchor id=\"anchor900\" name=\"Mark\"></anchor></p>")))
        << xml.toStdString();
    EXPECT_EQ(xml.count(QStringLiteral("<anchor ")), 3);
    EXPECT_EQ(xml.count(QStringLiteral("transid")), 1);
    EXPECT_TRUE(xml.endsWith(QStringLiteral("<p>end</p>")));
}

// --- element commands --------------------------------------------------------------------------

TEST_F(Editing, NoteOnAParagraphBeforeATableLeavesTheTableWhole)
{
    start(QStringLiteral("<h1>T</h1><p>para</p>") + kTable);
    caret(QStringLiteral("p"), 2);
    command(QStringLiteral("Note"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><dl><dd>para</dd></dl>") + kTable);
    EXPECT_EQ(ctl->toolState().label, QStringLiteral("NOTE"));
    const QString xml = onelang();
    EXPECT_TRUE(xml.startsWith(QStringLiteral("<notice><p>para</p></notice><table border=\"all\" colnumber=\"2\">")))
        << xml.toStdString();
    // The second click takes the note back.
    command(QStringLiteral("Note"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>para</p>") + kTable);
    EXPECT_TRUE(onelang().startsWith(QStringLiteral("<p>para</p><table")));
}

TEST_F(Editing, ALinkFromASelectionEndingInABlankLeavesTheBlankOutside)
{
    start(QStringLiteral("<h1>T</h1><p>see this word</p>"));
    selectText(QStringLiteral("p"), 4, 9); // "this "
    ctl->linkDialog = [](cLink& link, cOKorCancel& ok) {
        EXPECT_TRUE(ok.Change);
        EXPECT_FALSE(link.IsLocal);
        EXPECT_EQ(link.WebLabel, QStringLiteral("this"));
        link.Reference = QStringLiteral("http://example.com/");
        ok.Change = true;
        return true;
    };
    command(QStringLiteral("Link"));
    EXPECT_EQ(body(),
              QStringLiteral("<h1>T</h1><p>see <a href=\"http://example.com/\" target=\"web\">this</a> word</p>"));
    EXPECT_EQ(onelang(), QStringLiteral("<p>see <link ref=\"http://example.com/\" weblabel=\"this\"></link> word</p>"));
}

TEST_F(Editing, ATableOfThreeByTwoWithBorderAndHeader)
{
    start(QStringLiteral("<h1>T</h1><p>before</p>"));
    caret(QStringLiteral("p"), 6);
    ctl->tableDialog = [](cDesignTable& t, cOKorCancel& ok) {
        t.RowNum = 3;
        t.ColumnNum = 2;
        t.Border = true;
        t.Header = true;
        t.Description = QStringLiteral("Sizes");
        ok.Change = true;
        return true;
    };
    command(QStringLiteral("Table"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>before</p><p title=\"table\"><table cellspacing=\"0\" "
                                     "cellpadding=\"5\" border=\"1\"><tbody><tr class=\"header\"><td></td><td></td></tr>"
                                     "<tr><td></td><td></td></tr><tr><td></td><td></td></tr></tbody></table>"
                                     "<em title=\"table\">Sizes</em></p><p></p>"));
    // The caret waits in the paragraph behind the table.
    type(QStringLiteral("after"));
    EXPECT_TRUE(body().endsWith(QStringLiteral("<p>after</p>"))) << body().toStdString();
    EXPECT_EQ(onelang(), QStringLiteral("<p>before</p><table border=\"all\" colnumber=\"2\"><header><cell></cell>"
                                        "<cell></cell></header><row><cell></cell><cell></cell></row><row><cell></cell>"
                                        "<cell></cell></row><col width=\"2*\"></col><col width=\"2*\"></col>"
                                        "<title>Sizes</title></table><p>after</p>"));
}

TEST_F(Editing, ATableWithoutBorderHasDottedCells)
{
    start(QStringLiteral("<h1>T</h1><p>before</p>"));
    caret(QStringLiteral("p"), 6);
    ctl->tableDialog = [](cDesignTable& t, cOKorCancel& ok) {
        t.RowNum = 2;
        t.ColumnNum = 2;
        t.Border = false;
        t.Header = false;
        t.Description = QStringLiteral("Plain");
        ok.Change = true;
        return true;
    };
    command(QStringLiteral("Table"));
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('td.dottedBorder').length")).toInt(), 4);
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('td').length")).toInt(), 4);
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelector('table').getAttribute('border')")).toString(),
              QStringLiteral("0"));
    const QString xml = onelang();
    EXPECT_TRUE(xml.contains(QStringLiteral("<table border=\"none\" colnumber=\"2\"><row>"))) << xml.toStdString();
}


TEST_F(Editing, TopicTitleAndParagraph)
{
    start(QStringLiteral("<p>Heading</p><p>text</p>"));
    caret(QStringLiteral("p"), 3);
    command(QStringLiteral("Topic Title"));
    EXPECT_EQ(body(), QStringLiteral("<h1>Heading</h1><p>text</p>"));
    EXPECT_EQ(ctl->toolState().label, QStringLiteral("TITLE"));
    EXPECT_TRUE(ctl->toolState().pressed[editrules::TopicTitle]);
    EXPECT_TRUE(save().contains(QStringLiteral("state=\"uncomplete\">Heading</title><onelang lang=\"en\"><p>text</p>")));
    // Again: back to a paragraph.
    command(QStringLiteral("Topic Title"));
    EXPECT_EQ(body(), QStringLiteral("<p>Heading</p><p>text</p>"));
    command(QStringLiteral("Topic Title"));
    // A list item becomes a paragraph with the Paragraph button.
    start(QStringLiteral("<h1>T</h1><ul><li>one</li><li>two</li><li>three</li></ul>"));
    caret(QStringLiteral("li"), 1, 1);
    command(QStringLiteral("Paragraph"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><ul><li>one</li></ul><p>two</p><ul><li>three</li></ul>"));
    EXPECT_EQ(onelang(), QStringLiteral("<list format=\"bullet\"><item>one</item></list><p>two</p>"
                                        "<list format=\"bullet\"><item>three</item></list>"));
}

TEST_F(Editing, SignPutsAndTakesStrong)
{
    start(QStringLiteral("<h1>T</h1><p>make bold here</p>"));
    selectText(QStringLiteral("p"), 5, 9);
    command(QStringLiteral("Sign"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>make <strong>bold</strong> here</p>"));
    EXPECT_EQ(onelang(), QStringLiteral("<p>make <sign>bold</sign> here</p>"));
    caret(QStringLiteral("strong"), 2);
    settle();
    EXPECT_EQ(ctl->toolState().label, QStringLiteral("BOLD"));
    EXPECT_TRUE(ctl->toolState().pressed[editrules::Sign]);
    selectText(QStringLiteral("strong"), 0, 4);
    command(QStringLiteral("Sign"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>make bold here</p>"));
    // Ctrl+B at the caret: what is typed next is bold.
    caret(QStringLiteral("p"), 14);
    press(Qt::Key_B, Qt::ControlModifier);
    type(QStringLiteral("XY"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>make bold here<strong>XY</strong></p>"));
    EXPECT_EQ(onelang(), QStringLiteral("<p>make bold here<sign>XY</sign></p>"));
}

TEST_F(Editing, ParaHeaderOnAndOff)
{
    start(QStringLiteral("<h1>T</h1><p>Body text</p>"));
    caret(QStringLiteral("p"), 0);
    command(QStringLiteral("ParaHeader"));
    type(QStringLiteral("Head"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p><u>Head</u>Body text</p>"));
    EXPECT_EQ(ctl->toolState().label, QStringLiteral("HEADER"));
    EXPECT_EQ(onelang(), QStringLiteral("<p><title>Head</title>Body text</p>"));
    caret(QStringLiteral("u"), 2);
    command(QStringLiteral("ParaHeader"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>HeadBody text</p>"));
    EXPECT_EQ(onelang(), QStringLiteral("<p>HeadBody text</p>"));
}

TEST_F(Editing, AHeaderThatIsNoLongerFirstBecomesText)
{
    start(QStringLiteral("<h1>T</h1><p><u>Head</u>rest</p>"));
    caret(QStringLiteral("p"), 0);
    surface->runScript(QStringLiteral("(function(){var p=document.querySelector('p');"
                                      "p.insertBefore(document.createTextNode('x'),p.firstChild);"
                                      "var r=document.createRange();r.setStart(document.querySelector('u').firstChild,1);"
                                      "getSelection().removeAllRanges();getSelection().addRange(r);})()"));
    settle();
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>xHeadrest</p>"));
    EXPECT_EQ(onelang(), QStringLiteral("<p>xHeadrest</p>"));
}

TEST_F(Editing, ListsOnParagraphsAndNotes)
{
    start(QStringLiteral("<h1>T</h1><p>one</p><p>two</p><dl><dd>three</dd></dl>"));
    surface->runScript(QStringLiteral("(function(){var p=document.querySelectorAll('p');var r=document.createRange();"
                                      "r.setStart(p[0].firstChild,1);r.setEnd(p[1].firstChild,1);"
                                      "getSelection().removeAllRanges();getSelection().addRange(r);})()"));
    command(QStringLiteral("Bulleted List"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><ul><li>one</li><li>two</li></ul><dl><dd>three</dd></dl>"));
    // Its own button does not switch a list off.
    command(QStringLiteral("Bulleted List"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><ul><li>one</li><li>two</li></ul><dl><dd>three</dd></dl>"));
    // A note taken into a list joins the list before it.
    caret(QStringLiteral("dd"), 1);
    command(QStringLiteral("Bulleted List"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><ul><li>one</li><li>two</li><li>three</li></ul>"));
    // The other kind of list.
    caret(QStringLiteral("li"), 1, 1);
    command(QStringLiteral("Ordered List"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><ul><li>one</li></ul><ol><li>two</li></ol><ul><li>three</li></ul>"));
    EXPECT_EQ(ctl->toolState().label, QStringLiteral("LIST"));
    EXPECT_TRUE(ctl->toolState().pressed[editrules::Ordered]);
    EXPECT_EQ(onelang(), QStringLiteral("<list format=\"bullet\"><item>one</item></list><list format=\"number\">"
                                        "<item>two</item></list><list format=\"bullet\"><item>three</item></list>"));
}

TEST_F(Editing, OutputMarksOnParagraphsAndImages)
{
    start(QStringLiteral("<h1>T</h1><p>text</p>") + kImage);
    caret(QStringLiteral("p"), 1);
    command(QStringLiteral("Printed Output"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p class=\"print\">text</p>") + kImage);
    EXPECT_TRUE(ctl->toolState().pressed[editrules::Printed]);
    command(QStringLiteral("Online Output"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p class=\"online\">text</p>") + kImage);
    caret(QStringLiteral("em"), 2);
    command(QStringLiteral("Printed Output"));
    EXPECT_EQ(onelang(), QStringLiteral("<p output=\"online\">text</p><image file=\"img\\en\\pic.png\" format=\"PNG\" "
                                        "scale=\"100\" output=\"print\">Caption</image>"));
    // The second click clears the mark.
    caret(QStringLiteral("p"), 1);
    command(QStringLiteral("Online Output"));
    EXPECT_TRUE(onelang().startsWith(QStringLiteral("<p>text</p>")));
}

TEST_F(Editing, AnchorsGetNewIds)
{
    start(QStringLiteral("<h1>T</h1><p>target</p>"));
    caret(QStringLiteral("p"), 6);
    const QString before = session->project().counter("anchorid");
    command(QStringLiteral("Anchor"));
    const QString id = QStringLiteral("anchor") + QString::number(before.toInt() + 1);
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>target<a name=\"") + id +
                          QStringLiteral("\" class=\"anchor\">anchor description</a></p>"));
    // Inside an anchor no anchor is made, and nothing else either.
    caret(QStringLiteral("a"), 3);
    settle();
    EXPECT_EQ(ctl->toolState().label, QStringLiteral("ANCHOR"));
    EXPECT_FALSE(ctl->toolState().enabled[editrules::Anchor]);
    command(QStringLiteral("Anchor"));
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('a').length")).toInt(), 1);
    EXPECT_EQ(onelang(), QStringLiteral("<p>target<anchor id=\"") + id +
                             QStringLiteral("\" name=\"anchor description\"></anchor></p>"));
}

TEST_F(Editing, LocalLinksAndTheirEdit)
{
    start(QStringLiteral("<h1>T</h1><p>go </p>"));
    caret(QStringLiteral("p"), 3);
    ctl->linkDialog = [](cLink& link, cOKorCancel& ok) {
        EXPECT_FALSE(ok.Change); // a collapsed selection: the defaults
        EXPECT_TRUE(link.IsLocal);
        link.Reference = QStringLiteral("topic5");
        ok.Change = true;
        return true;
    };
    command(QStringLiteral("Link"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>go <a href=\"topic5\" target=\"local\">link to topic5</a></p>"));
    EXPECT_EQ(onelang(), QStringLiteral("<p>go <link ref=\"topic5\"></link></p>"));
    // The edit opens on the link and replaces it.
    caret(QStringLiteral("a"), 4);
    ctl->linkDialog = [](cLink& link, cOKorCancel& ok) {
        EXPECT_TRUE(ok.Change);
        EXPECT_TRUE(link.IsLocal);
        EXPECT_EQ(link.Reference, QStringLiteral("topic5"));
        link.IsLocal = false;
        link.Reference = QStringLiteral("http://x.org/");
        link.WebLabel = QStringLiteral("X");
        return true;
    };
    command(QStringLiteral("Link"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>go <a href=\"http://x.org/\" target=\"web\">X</a></p>"));
    // Cancel leaves the link as it was.
    caret(QStringLiteral("a"), 0);
    ctl->linkDialog = [](cLink& link, cOKorCancel& ok) {
        EXPECT_FALSE(link.IsLocal);
        EXPECT_EQ(link.WebLabel, QStringLiteral("X"));
        ok.Change = false;
        return false;
    };
    command(QStringLiteral("Link"));
    EXPECT_EQ(onelang(), QStringLiteral("<p>go <link ref=\"http://x.org/\" weblabel=\"X\"></link></p>"));
}

TEST_F(Editing, ImagesInsertedAndEdited)
{
    start(QStringLiteral("<h1>T</h1><p>before</p><p>after</p>"));
    caret(QStringLiteral("p"), 0, 1);
    QString folderSeen;
    ctl->imageDialog = [&folderSeen](cImage& image, cOKorCancel& ok, const QString& folder) {
        folderSeen = folder;
        EXPECT_FALSE(ok.Change);
        image.FileName = QStringLiteral("img\\en\\pic.png");
        image.ImageFormat = QStringLiteral("PNG");
        image.ImageScale = QStringLiteral("80");
        image.Description = QStringLiteral("A picture");
        image.pxWidth = 8;
        image.pxHeight = 6;
        ok.Change = true;
        return true;
    };
    command(QStringLiteral("Image"));
    EXPECT_EQ(folderSeen, session->project().GetProjectFolder() + QStringLiteral("img/en/"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>before</p><p title=\"image\" class=\"\"><img src=\"img\\en\\pic.png\" "
                                     "alt=\"PNG\" scale=\"80\" width=\"8\" height=\"6\"><br><em title=\"image\">"
                                     "A picture</em></p><p>after</p>"));
    EXPECT_EQ(onelang(), QStringLiteral("<p>before</p><image file=\"img\\en\\pic.png\" format=\"PNG\" scale=\"80\">"
                                        "A picture</image><p>after</p>"));
    // The edit starts from the image's values and replaces it in place.
    caret(QStringLiteral("em"), 3);
    ctl->imageDialog = [](cImage& image, cOKorCancel& ok, const QString&) {
        EXPECT_TRUE(ok.Change);
        EXPECT_EQ(image.FileName, QStringLiteral("img\\en\\pic.png"));
        EXPECT_EQ(image.ImageFormat, QStringLiteral("PNG"));
        EXPECT_EQ(image.ImageScale, QStringLiteral("80"));
        EXPECT_EQ(image.Description, QStringLiteral("A picture"));
        EXPECT_EQ(image.OutputForm, QString());
        image.Description = QStringLiteral("Changed");
        image.OutputForm = QStringLiteral("online");
        image.pxWidth = 0;
        return true;
    };
    command(QStringLiteral("Image"));
    EXPECT_EQ(onelang(), QStringLiteral("<p>before</p><image file=\"img\\en\\pic.png\" format=\"PNG\" scale=\"80\" "
                                        "output=\"online\">Changed</image><p>after</p>"));
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('img').length")).toInt(), 1);
}

TEST_F(Editing, AlignAndTheRowAndColumnCommands)
{
    start(QStringLiteral("<h1>T</h1>") + kTable);
    caret(QStringLiteral("td"), 1, 2); // "a"
    settle();
    EXPECT_EQ(ctl->toolState().label, QStringLiteral("TABLE"));
    EXPECT_TRUE(ctl->toolState().alignEnabled[editrules::InsertRow]);
    command(QStringLiteral("Align Right"));
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('td')[2].getAttribute('align')")).toString(),
              QStringLiteral("right"));
    EXPECT_TRUE(ctl->toolState().alignPressed[editrules::AlignRight]);
    command(QStringLiteral("Insert Row"));
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('tr').length")).toInt(), 3);
    // The new row stands above, the new column left of the caret's cell.
    command(QStringLiteral("Insert Column"));
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('td').length")).toInt(), 9);
    QString xml = onelang();
    EXPECT_TRUE(xml.contains(QStringLiteral("<header><cell></cell><cell>H1</cell><cell>H2</cell></header>"
                                            "<row><cell></cell><cell></cell><cell></cell></row>"
                                            "<row><cell></cell><cell align=\"right\">a</cell><cell>b</cell></row>")))
        << xml.toStdString();
    // The caret is still in "a": its column goes, then its row.
    command(QStringLiteral("Delete Column"));
    command(QStringLiteral("Delete Row"));
    xml = onelang();
    EXPECT_TRUE(xml.contains(QStringLiteral("colnumber=\"2\"><header><cell></cell><cell>H2</cell></header>"
                                            "<row><cell></cell><cell></cell></row><col")))
        << xml.toStdString();
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('tr').length")).toInt(), 2);
    // In a header row no row goes in before it.
    caret(QStringLiteral("td"), 1, 1);
    settle();
    EXPECT_FALSE(ctl->toolState().alignEnabled[editrules::InsertRow]);
    command(QStringLiteral("Insert Row"));
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('tr').length")).toInt(), 2);
    // Outside a table all seven are off.
    start(QStringLiteral("<h1>T</h1><p>x</p>"));
    caret(QStringLiteral("p"), 1);
    settle();
    for (bool on : ctl->toolState().alignEnabled)
        EXPECT_FALSE(on);
}

TEST_F(Editing, NewCellsOfATableWithoutBorderAreDotted)
{
    start(QStringLiteral("<h1>T</h1><p title=\"table\"><table cellspacing=\"0\" cellpadding=\"5\" border=\"0\"><tbody>"
                         "<tr><td class=\"dottedBorder\">a</td></tr></tbody></table><em title=\"table\"></em></p>"));
    caret(QStringLiteral("td"), 1);
    command(QStringLiteral("Insert Row"));
    command(QStringLiteral("Insert Column"));
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('td:not(.dottedBorder)').length")).toInt(), 0);
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('td').length")).toInt(), 4);
    EXPECT_TRUE(onelang().startsWith(QStringLiteral("<table border=\"none\" colnumber=\"2\"><row>")));
    // Deleting the last row takes the table.
    start(QStringLiteral("<h1>T</h1><p title=\"table\"><table cellspacing=\"0\" cellpadding=\"5\" border=\"0\"><tbody>"
                         "<tr><td class=\"dottedBorder\">a</td></tr></tbody></table><em title=\"table\">x</em></p>"
                         "<p>after</p>"));
    caret(QStringLiteral("td"), 1);
    command(QStringLiteral("Delete Row"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>after</p>"));
    EXPECT_EQ(onelang(), QStringLiteral("<p>after</p>"));
}

TEST_F(Editing, MergeSplitTableJoinsASplitWrapper)
{
    // A table wrapper split in two behind a note, as a block command may leave it.
    start(QStringLiteral("<h1>T</h1><dl><dd>n</dd></dl><p title=\"table\"><table cellspacing=\"0\" cellpadding=\"5\" "
                         "border=\"1\"><tbody><tr><td>a</td></tr></tbody></table></p><p title=\"table\">"
                         "<em title=\"table\">Title</em></p>"));
    caret(QStringLiteral("dd"), 1);
    ctl->mergeSplitTable();
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><dl><dd>n</dd></dl><p title=\"table\"><table cellspacing=\"0\" "
                                     "cellpadding=\"5\" border=\"1\"><tbody><tr><td>a</td></tr></tbody></table>"
                                     "<em title=\"table\">Title</em></p>"));
    EXPECT_TRUE(onelang().endsWith(QStringLiteral("<title>Title</title></table>")));
}

TEST_F(Editing, UndoAndRedoCoverTheCommands)
{
    const QString original = QStringLiteral("<h1>T</h1><p>para</p>");
    start(original);
    caret(QStringLiteral("p"), 2);
    command(QStringLiteral("Note"));
    command(QStringLiteral("Printed Output"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><dl class=\"print\"><dd>para</dd></dl>"));
    ctl->undo();
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><dl><dd>para</dd></dl>"));
    ctl->undo();
    EXPECT_EQ(body(), original);
    ctl->redo();
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><dl><dd>para</dd></dl>"));
    // Typing is a step of its own, undone with the keys.
    caret(QStringLiteral("dd"), 4);
    type(QStringLiteral("!!"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><dl><dd>para!!</dd></dl>"));
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><dl><dd>para</dd></dl>"));
    press(Qt::Key_Y, Qt::ControlModifier);
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><dl><dd>para!!</dd></dl>"));
    EXPECT_EQ(onelang(), QStringLiteral("<notice><p>para!!</p></notice>"));
}

TEST_F(Editing, TheTitleTakesNoElements)
{
    start(QStringLiteral("<h1>T</h1><p>x</p>"));
    surface->runScript(QStringLiteral("(function(){var h=document.querySelector('h1');var s=document.createElement('strong');"
                                      "s.textContent='B';h.appendChild(s);var r=document.createRange();"
                                      "r.setStart(s.firstChild,1);getSelection().removeAllRanges();"
                                      "getSelection().addRange(r);})()"));
    settle();
    EXPECT_EQ(body(), QStringLiteral("<h1>TB</h1><p>x</p>"));
    EXPECT_TRUE(save().contains(QStringLiteral(">TB</title>")));
}

TEST_F(Editing, ListsAndNotesInACellDissolve)
{
    start(QStringLiteral("<h1>T</h1>") + kTable);
    surface->runScript(QStringLiteral("(function(){var td=document.querySelectorAll('td')[2];"
                                      "td.innerHTML='a<ul><li>one</li><li>two</li></ul>';var r=document.createRange();"
                                      "r.setStart(td.querySelector('li').firstChild,1);getSelection().removeAllRanges();"
                                      "getSelection().addRange(r);})()"));
    settle();
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('td')[2].innerHTML")).toString(),
              QStringLiteral("aonetwo"));
    EXPECT_TRUE(onelang().contains(QStringLiteral("<row><cell>aonetwo</cell><cell>b</cell></row>")));
}

TEST_F(Editing, StyledSpansAndFontsDissolve)
{
    start(QStringLiteral("<h1>T</h1><p>a<font color=\"red\">b</font>c</p>"));
    caret(QStringLiteral("font"), 1);
    settle();
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>abc</p>"));
    EXPECT_EQ(onelang(), QStringLiteral("<p>abc</p>"));
}

TEST_F(Editing, AnImageWhoseImageIsGoneLeavesItsCaption)
{
    start(QStringLiteral("<h1>T</h1>") + kImage);
    surface->runScript(QStringLiteral("(function(){var p=document.querySelectorAll('p')[0];"
                                      "p.removeChild(p.querySelector('img'));p.removeChild(p.querySelector('br'));"
                                      "var r=document.createRange();r.setStart(p.querySelector('em').firstChild,2);"
                                      "getSelection().removeAllRanges();getSelection().addRange(r);})()"));
    settle();
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>Caption</p>"));
    EXPECT_EQ(onelang(), QStringLiteral("<p>Caption</p>"));
}

TEST_F(Editing, TheToolbarsShowTheState)
{
    QToolBar elements, align;
    for (const QString& key : editrules::elementKeys()) {
        QAction* a = elements.addAction(key);
        a->setObjectName(key);
    }
    for (const QString& key : editrules::alignKeys()) {
        QAction* a = align.addAction(QStringLiteral("&") + key);
        a->setData(key);
    }
    QLabel label;
    ctl->attachToolbars(&elements, &align, &label, true);
    start(QStringLiteral("<h1>T</h1><ul><li>item</li></ul>") + kTable);
    caret(QStringLiteral("li"), 2);
    ctl->updateDisplay();
    auto action = [&](const QString& key) -> QAction* {
        for (QToolBar* bar : {&elements, &align})
            for (QAction* a : bar->actions())
                if (a->objectName() == key || a->data().toString() == key)
                    return a;
        return nullptr;
    };
    EXPECT_EQ(label.text(), QStringLiteral("LIST"));
    EXPECT_TRUE(action(QStringLiteral("Bulleted List"))->isChecked());
    EXPECT_FALSE(action(QStringLiteral("Table"))->isEnabled());
    EXPECT_FALSE(action(QStringLiteral("Insert Row"))->isEnabled());
    caret(QStringLiteral("td"), 1, 3);
    ctl->updateDisplay();
    EXPECT_EQ(label.text(), QStringLiteral("TABLE"));
    EXPECT_TRUE(action(QStringLiteral("Delete Column"))->isEnabled());
    EXPECT_TRUE(action(QStringLiteral("Align Left"))->isChecked());
    // A click on a button runs its command.
    action(QStringLiteral("Align Center"))->trigger();
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('td')[3].getAttribute('align')")).toString(),
              QStringLiteral("center"));
    EXPECT_TRUE(onelang().contains(QStringLiteral("<cell align=\"center\">b</cell>")));
}

TEST_F(Editing, AFinishedTopicIsLeftAlone)
{
    start(QStringLiteral("<h1>T</h1><p>a<font>b</font></p>"));
    session->topic().State = QStringLiteral("complete");
    caret(QStringLiteral("font"), 1);
    settle();
    command(QStringLiteral("Note"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>a<font>b</font></p>"));
    EXPECT_TRUE(ctl->contextMenuItems().isEmpty());
    session->topic().State = QStringLiteral("uncomplete");
    // What the walker makes of it: FONT is dropped with its text.
    EXPECT_EQ(onelang(), QStringLiteral("<p>a</p>"));
}

TEST_F(Editing, TheContextMenuOfLinksAndImages)
{
    start(QStringLiteral("<h1>T</h1><p>go <a href=\"topic5\" target=\"local\">link to topic5</a> now</p>") + kImage);
    caret(QStringLiteral("a"), 2);
    EXPECT_EQ(ctl->contextMenuItems(), (QStringList{QStringLiteral("&Edit"), QStringLiteral("&Delete")}));
    ctl->contextMenuAction(1);
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>go  now</p>") + kImage);
    caret(QStringLiteral("em"), 2);
    EXPECT_EQ(ctl->contextMenuItems(), (QStringList{QStringLiteral("&Edit"), QStringLiteral("&Delete")}));
    ctl->contextMenuAction(1);
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>go  now</p>"));
    selectText(QStringLiteral("p"), 0, 2);
    EXPECT_EQ(ctl->contextMenuItems(),
              (QStringList{QStringLiteral("&Spelling"), QStringLiteral("&Synonyms"), QStringLiteral("&Antonyms")}));
    caret(QStringLiteral("p"), 1);
    EXPECT_TRUE(ctl->contextMenuItems().isEmpty());
    EXPECT_EQ(onelang(), QStringLiteral("<p>go  now</p>"));
}

TEST_F(Editing, CtrlKeysOfTheSurface)
{
    start(QStringLiteral("<h1>T</h1><p>abc</p>"));
    caret(QStringLiteral("p"), 1);
    // The surface's own Ctrl+I and Ctrl+U never fire.
    QTest::keyClick(input(), Qt::Key_I, Qt::ControlModifier);
    QTest::keyClick(input(), Qt::Key_U, Qt::ControlModifier);
    type(QStringLiteral("x"));
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>axbc</p>"));
    // Cut and paste through the keys.
    selectText(QStringLiteral("p"), 0, 2);
    press(Qt::Key_X, Qt::ControlModifier);
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>bc</p>"));
    EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("ax"));
    caret(QStringLiteral("p"), 2);
    press(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(body(), QStringLiteral("<h1>T</h1><p>bcax</p>"));
    EXPECT_EQ(onelang(), QStringLiteral("<p>bcax</p>"));
}

TEST_F(Editing, TheKeywordDialogChangesTheTopicsIndex)
{
    start(QStringLiteral("<h1>T</h1><p>x</p>"));
    session->topic().index = QStringLiteral("<index transid=\"trans2\"><primary>Old</primary></index>");
    ctl->indexDialog = [](cString& text, cOKorCancel& ok) {
        EXPECT_EQ(text.TextString, QStringLiteral("<index transid=\"trans2\"><primary>Old</primary></index>"));
        text.TextString = QStringLiteral("<index transid=\"trans2\"><primary>New</primary></index>");
        ok.Change = true;
        return true;
    };
    ctl->editKeywords();
    EXPECT_TRUE(session->topicPropertiesChanged);
    EXPECT_EQ(onelang(), QStringLiteral("<index transid=\"trans2\"><primary>New</primary></index><p>x</p>"));
    session->topic().index.clear();
}

TEST_F(Editing, ThePagesOwnPasteGoesThroughTheWindowsCommand)
{
    start(QStringLiteral("<h1>T</h1><p>ab</p>"));
    QApplication::clipboard()->setText(QStringLiteral("one\ntwo"));
    caret(QStringLiteral("p"), 1);
    // Shift+Insert is the page's own paste; what comes in is decided here.
    QTest::keyClick(input(), Qt::Key_Insert, Qt::ShiftModifier);
    EXPECT_TRUE(waitFor([&] { return body() == QStringLiteral("<h1>T</h1><p>aone</p><p>twob</p>"); }))
        << body().toStdString();
    EXPECT_EQ(onelang(), QStringLiteral("<p>aone</p><p>twob</p>"));
}

TEST_F(Editing, EveryElementOfTheVocabularyFromTheToolbarAndTheDialogs)
{
    start(QStringLiteral("<h1>My topic</h1><p>Body with bold and a link.</p><p>Careful</p><p>Mind the gap</p>"
                         "<p>one</p><p>two</p><p>three</p><p>Figure</p><p>Sizes</p>"));
    // A paragraph header, bold, a web link and an anchor.
    caretIn(QStringLiteral("Body"), 0);
    command(QStringLiteral("ParaHeader"));
    type(QStringLiteral("Head"));
    caretIn(QStringLiteral("bold"), 0, 4);
    command(QStringLiteral("Sign"));
    caretIn(QStringLiteral("link."), 0, 4);
    ctl->linkDialog = [](cLink& link, cOKorCancel& ok) {
        EXPECT_EQ(link.WebLabel, QStringLiteral("link"));
        link.Reference = QStringLiteral("http://example.com/");
        ok.Change = true;
        return true;
    };
    command(QStringLiteral("Link"));
    caretIn(QStringLiteral("."), 1);
    command(QStringLiteral("Anchor"));
    // A note with a title: its only bold line.
    caretIn(QStringLiteral("Careful"), 2);
    command(QStringLiteral("Note"));
    caretIn(QStringLiteral("Careful"), 0, 7);
    command(QStringLiteral("Sign"));
    caretIn(QStringLiteral("Mind"), 2);
    command(QStringLiteral("Note"));
    // Lists.
    surface->runScript(QStringLiteral("(function(){var w=document.createTreeWalker(document.body,NodeFilter.SHOW_TEXT),t,a,b;"
                                      "while((t=w.nextNode())){if(t.data==='one')a=t;if(t.data==='two')b=t;}"
                                      "var r=document.createRange();r.setStart(a,0);r.setEnd(b,2);"
                                      "getSelection().removeAllRanges();getSelection().addRange(r);})()"));
    command(QStringLiteral("Bulleted List"));
    caretIn(QStringLiteral("three"), 1);
    command(QStringLiteral("Ordered List"));
    // An image behind "Figure", shown online only; "Figure" in print only.
    caretIn(QStringLiteral("Figure"), 6);
    ctl->imageDialog = [](cImage& image, cOKorCancel& ok, const QString&) {
        image.FileName = QStringLiteral("img\\en\\pic.png");
        image.ImageFormat = QStringLiteral("PNG");
        image.ImageScale = QStringLiteral("100");
        image.Description = QStringLiteral("A picture");
        image.OutputForm = QStringLiteral("online");
        ok.Change = true;
        return true;
    };
    command(QStringLiteral("Image"));
    caretIn(QStringLiteral("Figure"), 1);
    command(QStringLiteral("Printed Output"));
    // A table behind "Sizes", with a local link in a cell.
    caretIn(QStringLiteral("Sizes"), 5);
    ctl->tableDialog = [](cDesignTable& t, cOKorCancel& ok) {
        t.RowNum = 2;
        t.ColumnNum = 2;
        t.Description = QStringLiteral("Sizes table");
        ok.Change = true;
        return true;
    };
    command(QStringLiteral("Table"));
    caret(QStringLiteral("td"), 0, 0);
    type(QStringLiteral("Size"));
    caret(QStringLiteral("td"), 0, 2);
    ctl->linkDialog = [](cLink& link, cOKorCancel& ok) {
        link.IsLocal = true;
        link.Reference = QStringLiteral("topic1");
        ok.Change = true;
        return true;
    };
    command(QStringLiteral("Link"));
    caret(QStringLiteral("td"), 0, 3);
    command(QStringLiteral("Align Center"));

    const QString xml = save();
    const QString expected = QStringLiteral(
        "<onelang lang=\"en\"><p><title>Head</title>Body with <sign>bold</sign> and a "
        "<link ref=\"http://example.com/\" weblabel=\"link\"></link>.<anchor id=\"%1\" name=\"anchor description\">"
        "</anchor></p><notice><title>Careful</title><p>Mind the gap</p></notice><list format=\"bullet\"><item>one"
        "</item><item>two</item></list><list format=\"number\"><item>three</item></list><p output=\"print\">Figure"
        "</p><image file=\"img\\en\\pic.png\" format=\"PNG\" scale=\"100\" output=\"online\">A picture</image>"
        "<p>Sizes</p><table border=\"all\" colnumber=\"2\"><header><cell>Size</cell><cell></cell></header><row><cell>"
        "<link ref=\"topic1\"></link></cell><cell align=\"center\"></cell></row>");
    const QString anchor = surface->runScript(QStringLiteral("document.querySelector('a.anchor').name")).toString();
    EXPECT_TRUE(xml.contains(expected.arg(anchor))) << xml.toStdString() << "\n" << body().toStdString();
    EXPECT_TRUE(xml.endsWith(QStringLiteral("<title>Sizes table</title></table></onelang></topic>")))
        << xml.toStdString();
    EXPECT_TRUE(xml.contains(QStringLiteral(">My topic</title>")));
}
