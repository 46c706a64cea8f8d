// The published web help in a browser (Chromium, through Qt WebEngine) at a
// phone's and a desktop's width: the sidebar, the menu, the breadcrumbs and
// the search. Pictures of both go to the test artefacts.
#include "apptestsupport.h"
#include "cproject.h"
#include "output.h"
#include "outputlog.h"
#include "outputproperties.h"
#include "testsupport.h"

#include <QFileInfo>
#include <QWebEnginePage>
#include <QWebEngineSettings>
#include <QWebEngineView>

#include <gtest/gtest.h>

using namespace testing_support;
using app_testing::waitFor;

namespace {

class WebHelpView : public ::testing::Test {
protected:
    TempDir dir;
    QString folder;
    std::unique_ptr<QWebEngineView> view;

    void SetUp() override
    {
        const QString qly = copySample(dir.path());
        ScriptedMsgBox box;
        box.setDefault(MsgAnswer::Yes);
        cProject project(box);
        ASSERT_TRUE(project.Load(qly));
        cOutputProperties props;
        OutputLog log;
        cOutput out(project, props, log, box);
        out.runOutput("de", cOutput::kWebHelp, false);
        folder = QFileInfo(qly).absolutePath() + "/sample/output/webhelp_de";
        ASSERT_EQ(out.resultFile, folder + "/index.html") << log.text().toStdString();
        view = std::make_unique<QWebEngineView>();
        view->settings()->setAttribute(QWebEngineSettings::LocalContentCanAccessFileUrls, true);
    }

    void open(const QString& page, int width, int height, const QString& query = {})
    {
        view->resize(width, height);
        view->show();
        bool loaded = false;
        QObject::connect(view->page(), &QWebEnginePage::loadFinished, [&loaded](bool) { loaded = true; });
        QUrl url = QUrl::fromLocalFile(folder + "/" + page);
        url.setQuery(query);
        view->load(url);
        ASSERT_TRUE(waitFor([&] { return loaded; }, 20000));
        // The page script has run when the sidebar has its entries.
        ASSERT_TRUE(waitFor([&] { return js("document.querySelectorAll('#qh-sidebar a').length").toInt() > 5; }, 10000));
    }

    QVariant js(const QString& script)
    {
        QVariant out;
        bool done = false;
        view->page()->runJavaScript(script, [&](const QVariant& v) {
            out = v;
            done = true;
        });
        EXPECT_TRUE(waitFor([&] { return done; }, 10000)) << script.toStdString();
        return out;
    }

    // Where an element is on the screen: its left and right edges.
    std::pair<double, double> edges(const char* selector)
    {
        const QVariantList r = js(QString("(function(){var r=document.querySelector('%1').getBoundingClientRect();"
                                          "return [r.left, r.right];})()").arg(selector))
                                   .toList();
        return r.size() == 2 ? std::pair{r[0].toDouble(), r[1].toDouble()} : std::pair{0.0, 0.0};
    }

    bool visible(const char* selector)
    {
        return js(QString("getComputedStyle(document.querySelector('%1')).display != 'none'").arg(selector)).toBool();
    }

    void picture(const QString& name)
    {
        // Lets the page paint what the script built.
        QTest::qWait(300);
        const QString artefacts = qEnvironmentVariable("QUILLARY_ARTEFACTS", QStringLiteral(QUILLARY_ARTEFACTS));
        QDir().mkpath(artefacts);
        view->grab().save(artefacts + "/" + name + ".png");
    }
};

} // namespace

TEST_F(WebHelpView, DesktopShowsTheSidebarBesideThePage)
{
    open("ch01s02.html", 1280, 800);
    picture("webhelp-desktop");
    // The sidebar stands at the left, the menu button is not needed.
    const auto side = edges("#qh-sidebar");
    EXPECT_EQ(side.first, 0);
    EXPECT_GT(side.second, 200);
    EXPECT_FALSE(visible("#qh-menu"));
    // The page's entry is marked, its chapter opened; the breadcrumbs lead
    // from the book down; previous and next are there.
    EXPECT_EQ(js("document.querySelector('#qh-sidebar a[aria-current]').getAttribute('href')").toString(),
              "ch01s02.html");
    EXPECT_EQ(js("Array.from(document.querySelectorAll('#qh-crumbs a')).map(a => a.textContent).join('|')").toString(),
              "Beispielhandbuch|Erste Schritte");
    EXPECT_EQ(js("document.querySelector('#qh-pager a.qh-prev').getAttribute('href')").toString(), "ch01s01.html");
    EXPECT_EQ(js("document.querySelector('#qh-pager a.qh-next').getAttribute('href')").toString(), "ch02.html");
    // DocBook's own navigation gives way to the script's.
    EXPECT_FALSE(visible("div.navheader"));

    // A word of one German topic: that topic first, with its snippet.
    js("document.getElementById('qh-q').value = 'Projektdatei';"
       "document.getElementById('qh-search').requestSubmit(); true");
    ASSERT_TRUE(waitFor([&] { return js("!document.getElementById('qh-results').hidden").toBool(); }, 10000));
    EXPECT_EQ(js("document.querySelector('#qh-results li a').getAttribute('href')").toString(), "ch01s02.html");
    EXPECT_TRUE(js("document.querySelector('#qh-results li mark').textContent").toString().contains("Projektdatei"));
    picture("webhelp-desktop-search");
}

TEST_F(WebHelpView, APhoneGetsTheContentsAsAMenu)
{
    open("ch01s01.html", 375, 740);
    // The sidebar waits off the screen, the menu button is shown.
    EXPECT_LE(edges("#qh-sidebar").second, 0);
    EXPECT_TRUE(visible("#qh-menu"));
    // The page uses the whole width.
    EXPECT_LT(js("parseFloat(getComputedStyle(document.body).paddingLeft)").toDouble(), 40);
    picture("webhelp-phone");
    js("document.getElementById('qh-menu').click(); true");
    ASSERT_TRUE(waitFor([&] { return edges("#qh-sidebar").first >= 0; }, 5000));
    EXPECT_EQ(js("document.getElementById('qh-menu').getAttribute('aria-expanded')").toString(), "true");
    picture("webhelp-phone-menu");
    // A page chosen in the menu closes it.
    js("document.querySelector('#qh-sidebar a[href=\"ch01s02.html\"]').click(); true");
    ASSERT_TRUE(waitFor([&] { return js("location.pathname.endsWith('ch01s02.html')").toBool(); }, 10000));
}

TEST_F(WebHelpView, AContextIdOpensItsPage)
{
    open("index.html", 1024, 700, "context=1001");
    ASSERT_TRUE(waitFor([&] { return js("location.pathname.endsWith('ch01s01.html')").toBool(); }, 10000));
    EXPECT_EQ(js("location.hash").toString(), "#topic1");
}
