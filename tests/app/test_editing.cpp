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
#include <QElapsedTimer>
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
    QElapsedTimer t;
    t.start();
    while (!done()) {
        if (t.elapsed() > ms)
            return false;
        QTest::qWait(15);
    }
    return true;
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

    // The caret into the text of the n-th element matching selector.
    void caret(const QString& selector, int offset, int n = 0)
    {
        surface->runScript(QStringLiteral("(function(){var e=document.querySelectorAll(%1)[%3];"
                                          "var t=e.firstChild&&e.firstChild.nodeType===3?e.firstChild:e;"
                                          "var r=document.createRange();r.setStart(t,%2);r.collapse(true);"
                                          "var s=getSelection();s.removeAllRanges();s.addRange(r);})()")
                               .arg(WebSurface::jsString(selector))
                               .arg(offset)
                               .arg(n));
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
    EXPECT_EQ(onelang(), QStringLiteral("<image file=\"img\\en\\pic.png\" format=\"PNG\" scale=\"100\">Caption"
                                        "</image><p>after</p>"));
}

TEST_F(Editing, KeysBesideAWrappedObjectAreSwallowed)
{
    const QString original = QStringLiteral("<h1>Title</h1>") + kImage;
    start(original);
    surface->runScript(QStringLiteral("(function(){var r=document.createRange();"
                                      "r.setStart(document.querySelectorAll('p')[0],1);r.collapse(true);"
                                      "getSelection().removeAllRanges();getSelection().addRange(r);})()"));
    QTest::keyClicks(input(), QStringLiteral("xy"));
    QTest::qWait(200);
    EXPECT_EQ(body(), original);
    // Delete beside the image removes it with its wrapper.
    press(Qt::Key_Delete);
    EXPECT_EQ(body(), QStringLiteral("<h1>Title</h1>"));
    EXPECT_EQ(onelang(), QString());
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
    for (const QString& container : {QStringLiteral("li"), QStringLiteral("dd"), QStringLiteral("td")}) {
        start(QStringLiteral("<h1>T</h1>") + kImage +
              QStringLiteral("<ul><li>item</li></ul><dl><dd>note</dd></dl>"
                             "<p title=\"table\"><table cellspacing=\"0\" cellpadding=\"5\" border=\"1\"><tbody>"
                             "<tr><td>cell</td></tr></tbody></table><em title=\"table\"></em></p>"));
        const QString before = body();
        selectElement(QStringLiteral("img"), true);
        ctl->copy();
        EXPECT_TRUE(ctl->lastCopiedHTML().startsWith(QStringLiteral("<img"))) << ctl->lastCopiedHTML().toStdString();
        caret(container, 2);
        ctl->paste();
        EXPECT_EQ(body(), before) << container.toStdString();
        EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('img').length")).toInt(), 1);
        const QString xml = onelang();
        EXPECT_TRUE(xml.contains(QStringLiteral("<item>item</item>"))) << xml.toStdString();
        EXPECT_TRUE(xml.contains(QStringLiteral("<notice><p>note</p></notice>"))) << xml.toStdString();
        EXPECT_TRUE(xml.contains(QStringLiteral("<cell>cell</cell>"))) << xml.toStdString();
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
    start(QStringLiteral("<h1>T</h1><p transid=\"trans1\">Text <a name=\"anchor1\" class=\"anchor\">Mark</a></p>"
                         "<p>end</p>"));
    selectElement(QStringLiteral("p"));
    ctl->copy();
    caret(QStringLiteral("p"), 0, 1);
    ctl->paste();
    caret(QStringLiteral("p"), 0, 2);
    ctl->paste();
    const QString html = body();
    EXPECT_EQ(html.count(QStringLiteral("transid")), 1) << html.toStdString();
    EXPECT_EQ(html.count(QStringLiteral("name=\"anchor1\"")), 1) << html.toStdString();
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('a.anchor').length")).toInt(), 3);
    const QString xml = onelang();
    EXPECT_TRUE(xml.startsWith(QStringLiteral("<p transid=\"trans1\">Text <anchor id=\"anchor1\" name=\"Mark\"/></p>")))
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
    EXPECT_EQ(onelang(), QStringLiteral("<p>see <link ref=\"http://example.com/\" weblabel=\"this\"/> word</p>"));
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
                                        "<cell></cell></row><col width=\"2*\"/><col width=\"2*\"/>"
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
