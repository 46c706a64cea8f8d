// The web editing surface: what crosses between the page and C++, the dirty
// flag, browse mode, images under the base folder, paste, find.
#include "apptestsupport.h"
#include "testsupport.h"
#include "websurface.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <functional>

using testing_support::TempDir;

namespace {

// The page shell the main window loads, with its three colours.
const QString kShell = QStringLiteral(
    "<html><head><style type=\"text/css\">h1 {background-color: #ADD0FC}"
    "h4 {background-color: #ADD0FC} dd {background-color: #ADD0FC} "
    "u {display: block; font-weight: bold} "
    ".header {background-color: #ADD0FC; font-weight: bold} "
    ".anchor {background-color: #FFFF00} .dottedBorder {border-style: dotted; border-width: 1px} "
    ".online {background-color: #CCFFCC} .print {background-color: #FFCCCC} </style>"
    "</head><body></body></html>");

// Every attribute of the private encoding, and text with non-breaking spaces.
const QString kEncoded = QStringLiteral(
    "<h1>Title&nbsp;one</h1>"
    "<p class=\"print\" transid=\"trans1\"><u>Heading</u>Text&nbsp;with <strong>bold</strong> "
    "<a href=\"topic3\" target=\"local\">link to topic3</a> "
    "<a class=\"anchor\" name=\"anchor1\">Here</a> "
    "<a href=\"http://example.com/a?b=1&amp;c=2\" target=\"web\">Example</a></p>"
    "<p title=\"image\" class=\"online\"><img src=\"img\\en\\a.png\" alt=\"png\" scale=\"50\" "
    "transid=\"trans2\"><br><em title=\"image\">Caption</em></p>"
    "<p title=\"table\" class=\"print\"><table cellspacing=\"0\" cellpadding=\"5\" border=\"0\" "
    "transid=\"trans3\"><tbody><tr class=\"header\"><td align=\"left\" class=\"dottedBorder\">H</td>"
    "</tr><tr><td align=\"center\" class=\"dottedBorder\">C&nbsp;</td></tr></tbody></table>"
    "<em title=\"table\">Table title</em></p>"
    "<dl class=\"online\" transid=\"trans4\"><dd><strong>Note</strong></dd><dd>Body</dd></dl>"
    "<ul transid=\"trans5\"><li>one</li></ul><ol><li>two</li></ol>"
    "<p>&nbsp;</p>");

bool waitFor(const std::function<bool()>& done, int ms = 5000)
{
    return QTest::qWaitFor(done, ms);
}

class WebSurfaceTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        surface = std::make_unique<WebSurface>();
        surface->resize(640, 480);
        surface->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(surface.get()));
        surface->setDocumentHTML(kShell);
        ASSERT_TRUE(surface->lastCallOk());
    }

    // Puts the caret into the text node of the first element matching
    // selector, at offset.
    void caretAt(const QString& selector, int offset)
    {
        surface->runScript(QStringLiteral("(function(){var t=document.querySelector(%1).firstChild;"
                                          "var r=document.createRange();r.setStart(t,%2);r.collapse(true);"
                                          "var s=getSelection();s.removeAllRanges();s.addRange(r);})()")
                               .arg(WebSurface::jsString(selector))
                               .arg(offset));
    }

    // Gives the page keyboard focus, as a click of the user would.
    void focusPage()
    {
        surface->activateWindow();
        surface->setFocus();
        QWidget* proxy = surface->focusProxy();
        ASSERT_NE(proxy, nullptr);
        proxy->setFocus();
        surface->runScript(QStringLiteral("document.body.focus(); true"));
    }

    QWidget* input() { return surface->focusProxy() ? surface->focusProxy() : surface.get(); }

    std::unique_ptr<WebSurface> surface;
    TempDir tmp;
};

} // namespace

TEST_F(WebSurfaceTest, BodyRoundTripKeepsEveryAttributeAndNbsp)
{
    surface->setBodyHTML(kEncoded);
    EXPECT_EQ(surface->bodyHTML(), kEncoded);
    EXPECT_TRUE(surface->lastCallOk());
    // Non-breaking spaces reach C++ as "&nbsp;", not as U+00A0 or blanks.
    EXPECT_TRUE(surface->bodyHTML().contains(QStringLiteral("Text&nbsp;with")));
    // The page has no doctype, so a TABLE stays inside its wrapper P.
    EXPECT_EQ(surface->runScript(QStringLiteral("document.compatMode")).toString(),
              QStringLiteral("BackCompat"));
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelector('table').parentNode.title")).toString(),
              QStringLiteral("table"));
}

TEST_F(WebSurfaceTest, TextOfAnyKindCrossesUnchanged)
{
    const QString text = QStringLiteral("quote \" backslash \\ apostrophe ' line\nnext \u2028 tab\t"
                                        "\u00e4\u00f6\u00fc \u20ac \U0001F600 </script>");
    surface->setBodyHTML(QStringLiteral("<p></p>"));
    surface->runScript(QStringLiteral("document.querySelector('p').textContent = %1; true")
                           .arg(WebSurface::jsString(text)));
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelector('p').textContent")).toString(), text);
}

TEST_F(WebSurfaceTest, ThePageShellGivesTheMarkersTheirLook)
{
    surface->setBodyHTML(QStringLiteral("<h1>T</h1><p class=\"print\">x</p>"));
    EXPECT_EQ(surface->runScript(QStringLiteral("getComputedStyle(document.querySelector('h1')).backgroundColor"))
                  .toString(),
              QStringLiteral("rgb(173, 208, 252)"));
    EXPECT_EQ(surface->runScript(QStringLiteral("getComputedStyle(document.querySelector('p')).backgroundColor"))
                  .toString(),
              QStringLiteral("rgb(255, 204, 204)"));
}

TEST_F(WebSurfaceTest, ANewDocumentIsDirtyUntilSaved)
{
    EXPECT_TRUE(surface->isDirty());
    const QString file = tmp.file(QStringLiteral("quillary_temp.html"));
    surface->setBodyHTML(QStringLiteral("<p>saved text</p>"));
    surface->saveDocument(file);
    EXPECT_FALSE(surface->isDirty());
    const QString saved = testing_support::readText(file);
    EXPECT_TRUE(saved.contains(QStringLiteral("<p>saved text</p>")));
    EXPECT_TRUE(saved.contains(QStringLiteral("<style")));
}

TEST_F(WebSurfaceTest, ProgramChangesSetTheDirtyFlag)
{
    surface->saveDocument(QString());
    EXPECT_FALSE(surface->isDirty());
    surface->setBodyHTML(QStringLiteral("<p>x</p>"));
    EXPECT_TRUE(surface->isDirty());
    surface->saveDocument(tmp.file(QStringLiteral("a.html")));
    EXPECT_FALSE(surface->isDirty());
    surface->runScript(QStringLiteral("document.querySelector('p').setAttribute('class','print'); true"));
    EXPECT_TRUE(surface->isDirty());
}

TEST_F(WebSurfaceTest, TypingSetsTheDirtyFlagAndSavingClearsIt)
{
    surface->setBodyHTML(QStringLiteral("<p>ab</p>"));
    surface->saveDocument(tmp.file(QStringLiteral("quillary_temp.html")));
    ASSERT_FALSE(surface->isDirty());

    QSignalSpy display(surface.get(), &WebSurface::displayChanged);
    focusPage();
    caretAt(QStringLiteral("p"), 1);
    QTest::keyClicks(input(), QStringLiteral("XY"));
    ASSERT_TRUE(waitFor([&] { return surface->bodyHTML() == QStringLiteral("<p>aXYb</p>"); }))
        << surface->bodyHTML().toStdString();
    EXPECT_TRUE(surface->isDirty());
    EXPECT_TRUE(waitFor([&] { return display.count() > 0; }));

    surface->saveDocument(tmp.file(QStringLiteral("quillary_temp.html")));
    EXPECT_FALSE(surface->isDirty());
    EXPECT_TRUE(testing_support::readText(tmp.file(QStringLiteral("quillary_temp.html")))
                    .contains(QStringLiteral("aXYb")));
}

TEST_F(WebSurfaceTest, BrowseModeStopsEditing)
{
    surface->setBodyHTML(QStringLiteral("<p>ab</p>"));
    surface->setBrowseMode(true);
    EXPECT_TRUE(surface->browseMode());
    surface->saveDocument(QString());
    // Switching the mode is no change of content.
    EXPECT_FALSE(surface->isDirty());
    EXPECT_FALSE(surface->runScript(QStringLiteral("document.body.isContentEditable")).toBool());

    focusPage();
    caretAt(QStringLiteral("p"), 1);
    QTest::keyClicks(input(), QStringLiteral("XY"));
    QTest::qWait(300);
    EXPECT_EQ(surface->bodyHTML(), QStringLiteral("<p>ab</p>"));
    EXPECT_FALSE(surface->isDirty());

    // The mode outlives a new document.
    surface->setDocumentHTML(kShell);
    EXPECT_FALSE(surface->runScript(QStringLiteral("document.body.isContentEditable")).toBool());

    surface->setBrowseMode(false);
    EXPECT_TRUE(surface->runScript(QStringLiteral("document.body.isContentEditable")).toBool());
    surface->setBodyHTML(QStringLiteral("<p>ab</p>"));
    focusPage();
    caretAt(QStringLiteral("p"), 2);
    QTest::keyClicks(input(), QStringLiteral("c"));
    EXPECT_TRUE(waitFor([&] { return surface->bodyHTML() == QStringLiteral("<p>abc</p>"); }));
}

TEST_F(WebSurfaceTest, ImagesWithBackslashPathsResolveInTheBaseFolder)
{
    QDir(tmp.path()).mkpath(QStringLiteral("manual/img/en"));
    QImage image(7, 5, QImage::Format_RGB32);
    image.fill(Qt::red);
    ASSERT_TRUE(image.save(tmp.file(QStringLiteral("manual/img/en/a.png")), "PNG"));
    const QString folder = tmp.file(QStringLiteral("manual/"));

    // The order of the topic driver: page shell first, then the base.
    surface->saveDocument(QString());
    surface->setBaseURL(folder);
    EXPECT_EQ(surface->baseURL(), folder);
    // Moving the base keeps the page clean.
    EXPECT_FALSE(surface->isDirty());
    EXPECT_EQ(surface->runScript(QStringLiteral("location.href")).toString(),
              QUrl::fromLocalFile(folder).toString());

    surface->setBodyHTML(QStringLiteral("<p title=\"image\"><img src=\"img\\en\\a.png\" alt=\"png\" "
                                        "scale=\"100\"><br><em title=\"image\">c</em></p>"));
    ASSERT_TRUE(waitFor([&] {
        return surface->runScript(QStringLiteral("document.querySelector('img').complete")).toBool();
    }));
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelector('img').naturalWidth")).toInt(), 7);
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelector('img').naturalHeight")).toInt(), 5);
    // The attribute keeps the stored backslashes; the resolved URL has slashes.
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelector('img').getAttribute('src')")).toString(),
              QStringLiteral("img\\en\\a.png"));
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelector('img').src")).toString(),
              QUrl::fromLocalFile(folder + QStringLiteral("img/en/a.png")).toString());
    EXPECT_TRUE(surface->bodyHTML().contains(QStringLiteral("src=\"img\\en\\a.png\"")));

    // A page loaded after the base is set resolves the same way.
    surface->setDocumentHTML(QStringLiteral("<html><head></head><body><img src=\"img\\en\\a.png\"></body></html>"));
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelector('img').naturalWidth")).toInt(), 7);
}

TEST_F(WebSurfaceTest, RelativeLinksGiveTheRawAttributeButAResolvedProperty)
{
    const QString folder = tmp.path() + QLatin1Char('/');
    surface->setBaseURL(folder);
    surface->setBodyHTML(QStringLiteral("<p><a href=\"topic3\" target=\"local\">x</a>"
                                        "<a href=\"img\\en\\b.png\" target=\"local\">y</a></p>"));
    // Chromium gives the attribute as written: getAttribute('href') and
    // innerHTML carry "topic3" (and backslashes stay), so no "file://" prefix
    // has to be stripped from them. Only the href property is resolved
    // against the page URL: "file://" + folder + "topic3", with backslashes
    // turned into slashes.
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelector('a').getAttribute('href')")).toString(),
              QStringLiteral("topic3"));
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelector('a').href")).toString(),
              QStringLiteral("file://") + folder + QStringLiteral("topic3"));
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('a')[1].getAttribute('href')"))
                  .toString(),
              QStringLiteral("img\\en\\b.png"));
    EXPECT_EQ(surface->runScript(QStringLiteral("document.querySelectorAll('a')[1].href")).toString(),
              QStringLiteral("file://") + folder + QStringLiteral("img/en/b.png"));
    EXPECT_TRUE(surface->bodyHTML().contains(QStringLiteral("<a href=\"topic3\" target=\"local\">x</a>")));
}

TEST_F(WebSurfaceTest, PasteGoesToTheCaret)
{
    surface->setBodyHTML(QStringLiteral("<p>ab</p>"));
    caretAt(QStringLiteral("p"), 1);
    surface->pasteHTML(QStringLiteral("<strong class=\"x\">X&nbsp;</strong>"));
    EXPECT_EQ(surface->bodyHTML(), QStringLiteral("<p>a<strong class=\"x\">X&nbsp;</strong>b</p>"));
    // The caret stands behind what was pasted.
    surface->pasteHTML(QStringLiteral("Y"));
    EXPECT_EQ(surface->bodyHTML(), QStringLiteral("<p>a<strong class=\"x\">X&nbsp;</strong>Yb</p>"));
}

TEST_F(WebSurfaceTest, PasteReplacesASelection)
{
    surface->setBodyHTML(QStringLiteral("<p>abcd</p>"));
    surface->runScript(QStringLiteral("(function(){var t=document.querySelector('p').firstChild;"
                                      "var r=document.createRange();r.setStart(t,1);r.setEnd(t,3);"
                                      "getSelection().removeAllRanges();getSelection().addRange(r);})()"));
    EXPECT_EQ(surface->runScript(QStringLiteral("getSelection().toString()")).toString(), QStringLiteral("bc"));
    surface->pasteHTML(QStringLiteral("<em>Z</em>"));
    EXPECT_EQ(surface->bodyHTML(), QStringLiteral("<p>a<em>Z</em>d</p>"));
}

TEST_F(WebSurfaceTest, PasteWithoutSelectionGoesToTheEnd)
{
    // What the empty workspace shows.
    surface->pasteHTML(QStringLiteral("<center>Open or create project<br>Open or create topic</center>"));
    EXPECT_EQ(surface->bodyHTML(),
              QStringLiteral("<center>Open or create project<br>Open or create topic</center>"));
    surface->runScript(QStringLiteral("getSelection().removeAllRanges(); true"));
    surface->pasteHTML(QStringLiteral("<p>end</p>"));
    EXPECT_TRUE(surface->bodyHTML().endsWith(QStringLiteral("<p>end</p>")));
}

TEST_F(WebSurfaceTest, FindCountsMatches)
{
    surface->setBodyHTML(QStringLiteral("<p>alpha beta Alpha</p>"));
    EXPECT_EQ(surface->find(QStringLiteral("alpha")), 2);
    EXPECT_EQ(surface->find(QStringLiteral("alpha"), QWebEnginePage::FindCaseSensitively), 1);
    EXPECT_EQ(surface->find(QStringLiteral("gamma")), 0);
    surface->find(QString());
}

TEST_F(WebSurfaceTest, ScriptsAnswerWithTheirValue)
{
    bool ok = false;
    EXPECT_EQ(surface->runScript(QStringLiteral("6 * 7"), &ok).toInt(), 42);
    EXPECT_TRUE(ok);
    EXPECT_EQ(surface->runScript(QStringLiteral("'a' + 'b'")).toString(), QStringLiteral("ab"));
    // An exception gives no value.
    EXPECT_FALSE(surface->runScript(QStringLiteral("null.x")).isValid());
    // Scripts run in the agent's world: the agent is there.
    EXPECT_EQ(surface->runScript(QStringLiteral("typeof window.__q")).toString(), QStringLiteral("object"));
}

TEST_F(WebSurfaceTest, ContentCannotRunScripts)
{
    surface->setBodyHTML(QStringLiteral("<img src=\"nothing.png\" onerror=\"document.title='ran'\">"
                                        "<script>document.title='ran'</script>"));
    QTest::qWait(200);
    EXPECT_NE(surface->runScript(QStringLiteral("document.title")).toString(), QStringLiteral("ran"));
}

TEST_F(WebSurfaceTest, ClickedLinksDoNotLeaveThePage)
{
    surface->setBodyHTML(QStringLiteral("<p><a href=\"http://example.com/\" target=\"web\" "
                                        "style=\"display:inline-block;width:200px;height:40px\">link</a></p>"));
    surface->setBrowseMode(true);
    QSignalSpy clicked(surface.get(), &WebSurface::linkClicked);
    QVariantMap r = surface->runScript(QStringLiteral(
        "(function(){var b=document.querySelector('a').getBoundingClientRect();"
        "return {x:b.left+b.width/2,y:b.top+b.height/2};})()")).toMap();
    const QPoint at(int(r.value(QStringLiteral("x")).toDouble()), int(r.value(QStringLiteral("y")).toDouble()));
    QTest::mouseClick(input(), Qt::LeftButton, {}, at);
    ASSERT_TRUE(waitFor([&] { return clicked.count() > 0; }));
    EXPECT_EQ(clicked.first().first().toString(), QStringLiteral("http://example.com/"));
    QTest::qWait(200);
    EXPECT_TRUE(surface->bodyHTML().contains(QStringLiteral("link</a>")));
}

TEST_F(WebSurfaceTest, DocumentsBeyondTheDataUrlLimitLoadWhole)
{
    QString body;
    const QString para = QStringLiteral("<p>") + QString(1000, QLatin1Char('x')) + QStringLiteral("</p>");
    for (int i = 0; i < 2500; ++i)
        body += para;
    surface->setDocumentHTML(QStringLiteral("<html><head></head><body>") + body +
                             QStringLiteral("</body></html>"));
    EXPECT_TRUE(surface->lastCallOk());
    EXPECT_EQ(surface->bodyHTML().size(), body.size());
    EXPECT_TRUE(surface->isDirty());
}

TEST_F(WebSurfaceTest, APageThatDoesNotAnswerInTimeCountsAsChanged)
{
    surface->saveDocument(QString());
    ASSERT_FALSE(surface->isDirty());
    app_testing::ExpectPageTimeouts provoked;
    surface->setTimeouts(20000, 50);
    bool ok = true;
    // The page is held up longer than the call waits.
    surface->runScript(QStringLiteral("var t = Date.now(); while (Date.now() - t < 400) {} true"), &ok);
    EXPECT_FALSE(ok);
    EXPECT_FALSE(surface->lastCallOk());
    EXPECT_EQ(surface->unansweredCalls(), 1);
    surface->runScript(QStringLiteral("var t = Date.now(); while (Date.now() - t < 400) {} true"));
    EXPECT_TRUE(surface->isDirty());
    EXPECT_FALSE(surface->lastCallOk());
    // Late answers do no harm; the page answers again.
    surface->setTimeouts(20000, 10000);
    QTest::qWait(600);
    EXPECT_FALSE(surface->isDirty());
    EXPECT_TRUE(surface->lastCallOk());
}

TEST_F(WebSurfaceTest, ReadyOnceTheSynchronousCallsReturn)
{
    EXPECT_TRUE(surface->waitReady());
    surface->setDocumentHTML(kShell);
    EXPECT_TRUE(surface->waitReady());
    EXPECT_EQ(surface->unansweredCalls(), 0);
}
