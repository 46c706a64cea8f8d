// Web help: the pages with their shell, the contents and search index the
// program writes beside them, and the search as the pages run it (lunr in a
// JavaScript engine, from the files of the output).
#include "cproject.h"
#include "lunrindex.h"
#include "output.h"
#include "outputlog.h"
#include "outputproperties.h"
#include "testsupport.h"
#include "webhelp.h"

#include <QDir>
#include <QFileInfo>
#include <QJSEngine>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {

class WebHelp : public ::testing::Test {
protected:
    TempDir dir;
    QString qly;
    QString P;
    ScriptedMsgBox box;

    void SetUp() override
    {
        qly = copySample(dir.path());
        P = QFileInfo(qly).absolutePath() + "/sample/";
        box.setDefault(MsgAnswer::Yes);
    }

    QString publish(const QString& lang, QString* log = nullptr)
    {
        cProject project(box);
        EXPECT_TRUE(project.Load(qly));
        cOutputProperties props;
        OutputLog out;
        cOutput output(project, props, out, box);
        output.runOutput(lang, cOutput::kWebHelp, false);
        if (log)
            *log = out.text();
        EXPECT_FALSE(out.isRed()) << out.text().toStdString();
        return output.resultFile;
    }

    // The JSON a script file of the output sets its variable to.
    static QJsonDocument scriptJson(const QString& path)
    {
        QByteArray bytes = readBytes(path);
        const qsizetype eq = bytes.indexOf('=');
        bytes = bytes.mid(eq + 1).trimmed();
        if (bytes.endsWith(';'))
            bytes.chop(1);
        return QJsonDocument::fromJson(bytes);
    }
};

// The pages' search, run as a page runs it: lunr, the output's search
// script and its index.
class PageSearch {
public:
    explicit PageSearch(const QString& folder)
    {
        for (const char* f : {"lunr.min.js", "webhelp-search.js", "search-index.js"}) {
            const QJSValue r = js.evaluate(QString::fromUtf8(readBytes(folder + "/" + f)), QString::fromLatin1(f));
            EXPECT_FALSE(r.isError()) << f << ": " << r.toString().toStdString();
        }
        const QJSValue r = js.evaluate("var idx = QuillarySearch.load(lunr, QH_SEARCH.index); true");
        EXPECT_FALSE(r.isError()) << r.toString().toStdString();
    }
    // The pages of the results, best first.
    QStringList pages(const QString& query)
    {
        js.globalObject().setProperty("q", query);
        const QJSValue r = js.evaluate(
            "QuillarySearch.search(lunr, idx, q).map(function (r) { return QH_SEARCH.docs[r.ref].h; }).join('|')");
        EXPECT_FALSE(r.isError()) << r.toString().toStdString();
        const QString s = r.toString();
        return s.isEmpty() ? QStringList() : s.split('|');
    }

private:
    QJSEngine js;
};

} // namespace

TEST_F(WebHelp, PagesContentsAndContextIdsOfTheSample)
{
    QString log;
    const QString index = publish("de", &log);
    const QString folder = P + "output/webhelp_de";
    ASSERT_EQ(index, folder + "/index.html") << log.toStdString();
    EXPECT_TRUE(log.contains("Search index: ")) << log.toStdString();
    for (const char* f : {"toc.js", "search-index.js", "context.js", "context.json", "webhelp.js", "webhelp-search.js",
                          "webhelp.css", "lunr.min.js", "img/de/window.png"})
        EXPECT_TRUE(QFileInfo::exists(folder + "/" + f)) << f;

    // Every page: HTML5, the viewport, the shell the script fills.
    const QStringList pages = QDir(folder).entryList({"*.html"}, QDir::Files);
    ASSERT_GT(pages.size(), 5);
    for (const QString& p : pages) {
        const QString html = QString::fromUtf8(readBytes(folder + "/" + p));
        EXPECT_TRUE(html.startsWith("<!DOCTYPE html>")) << p.toStdString();
        for (const char* part : {"name=\"viewport\"", "src=\"toc.js\"", "src=\"webhelp.js\"", "id=\"qh-sidebar\"",
                                 "id=\"qh-menu\"", "id=\"qh-q\"", "id=\"qh-crumbs\"", "id=\"qh-pager\"",
                                 "<html lang=\"de\""})
            EXPECT_TRUE(html.contains(part)) << p.toStdString() << " lacks " << part;
    }

    // The contents: the book's page first, the chapters below it in order,
    // a section below its chapter, each page once.
    const QJsonObject toc = scriptJson(folder + "/toc.js").object();
    EXPECT_EQ(toc["h"].toString(), "index.html");
    EXPECT_EQ(toc["t"].toString(), "Beispielhandbuch");
    const QJsonArray chapters = toc["c"].toArray();
    ASSERT_GE(chapters.size(), 2);
    EXPECT_EQ(chapters[0]["t"].toString(), "Erste Schritte");
    EXPECT_EQ(chapters[0]["h"].toString(), "ch01.html");
    EXPECT_EQ(chapters[0]["c"][0]["t"].toString(), "Willkommen");
    QStringList seen;
    std::function<void(const QJsonObject&)> walk = [&](const QJsonObject& o) {
        seen << o["h"].toString();
        for (const QJsonValue& c : o["c"].toArray())
            walk(c.toObject());
    };
    walk(toc);
    seen.sort();
    EXPECT_EQ(seen, pages);

    // The context ID of the sample reaches its topic's page.
    const QJsonObject context = scriptJson(folder + "/context.js").object();
    EXPECT_EQ(context["1001"].toString(), "ch01s01.html#topic1");
    EXPECT_EQ(QJsonDocument::fromJson(readBytes(folder + "/context.json")).object(), context);
}

TEST_F(WebHelp, TheSearchFindsAWordOfOneTopicFirstInEachLanguage)
{
    publish("de");
    publish("en");
    PageSearch de(P + "output/webhelp_de");
    // "Projektdatei" is in the text of one German topic only; its title
    // "Programmstart" is named by links and the index too, but weighs more
    // where it is the title.
    EXPECT_EQ(de.pages("Projektdatei"), QStringList{"ch01s02.html"});
    EXPECT_EQ(de.pages("programmstart").value(0), "ch01s02.html");
    // An umlaut stays part of its word; the start of a word finds it too.
    EXPECT_EQ(de.pages("wählen"), QStringList{"ch01s02.html"});
    EXPECT_EQ(de.pages("Projektd"), QStringList{"ch01s02.html"});
    EXPECT_TRUE(de.pages("xyzzy").isEmpty());
    // Query syntax typed by a reader is text, not an error.
    EXPECT_NO_FATAL_FAILURE(de.pages("title:+foo~2 ^3"));

    PageSearch en(P + "output/webhelp_en");
    // English goes through lunr's stemmer: "minding" finds "mind".
    EXPECT_EQ(en.pages("minding"), QStringList{"ch01s02.html"});
    EXPECT_EQ(en.pages("finishing").value(0), "ch02s02s02s01.html");
    // A chapter's list of sections is not its text.
    EXPECT_FALSE(en.pages("program").contains("ch01.html"));
}

// The program's index is the one lunr.js itself builds from the same
// documents: same terms, same postings, same scores, in both pipelines.
TEST(LunrIndex, EqualsWhatLunrBuilds)
{
    const QStringList texts = {
        "Starting the Program: open the File menu, choose Open and pick a project file.",
        "Running, runs, ran; happily HAPPINESS relational conditional rational valency hesitancy digitizer "
        "conformabli radicalli differentli vileli analogousli vietnamization predication operator feudalism "
        "decisiveness hopefulness callousness formaliti sensitiviti sensibiliti triplicate formative formalize "
        "electriciti electrical hopeful goodness revival allowance inference airliner gyroscopic adjustable "
        "defensible irritant replacement adjustment dependent adoption homologou communism activate angulariti "
        "homologous effective bowdlerize probate rate cease controll roll yes yesterday syzygy by cry",
        "Größe über Überblick Straße ÄÖÜ äöü — «Zitat» (Klammer) 'x' \"y\" e-mail state-of-the-art 3.5 v2 _x_ __",
        "a the and of to (( )) ... - -- ; 12345 2026 x1 ab",
        "Ελληνικά κείμενα και Кириллица текст 中文 日本語",
        "",
    };
    QJSEngine js;
    ASSERT_FALSE(js.evaluate(QString::fromUtf8(readBytes(webhelp::lunrFile())), "lunr.js").isError());
    ASSERT_FALSE(js.evaluate(QString::fromUtf8(readBytes(QString(QUILLARY_SOURCE_DIR) + "/xsl/webhelp-search.js")),
                             "webhelp-search.js")
                     .isError());
    std::vector<lunrindex::Doc> docs;
    QJsonArray jsDocs;
    for (int i = 0; i < texts.size(); ++i) {
        const QString title = texts[i].section(' ', 0, 2);
        docs.push_back({QString::number(i), {title, texts[i]}});
        jsDocs.append(QJsonObject{{"id", QString::number(i)}, {"t", title}, {"b", texts[i]}});
    }
    for (const QString& lang : {QStringLiteral("en"), QStringLiteral("de")}) {
        js.globalObject().setProperty("docs", QString::fromUtf8(QJsonDocument(jsDocs).toJson()));
        js.globalObject().setProperty("lang", lang);
        const QJSValue theirs =
            js.evaluate("JSON.stringify(QuillarySearch.build(lunr, JSON.parse(docs), lang))");
        ASSERT_FALSE(theirs.isError()) << theirs.toString().toStdString();
        const QByteArray ours = lunrindex::build({{"t", 8}, {"b", 1}}, docs,
                                                 lang == "en" ? lunrindex::Pipeline::English
                                                              : lunrindex::Pipeline::Letters,
                                                 webhelp::lunrVersion());
        const QJsonObject a = QJsonDocument::fromJson(ours).object();
        const QJsonObject b = QJsonDocument::fromJson(theirs.toString().toUtf8()).object();
        ASSERT_FALSE(a.isEmpty()) << ours.left(300).toStdString();
        for (const char* key : {"version", "fields", "pipeline", "invertedIndex", "fieldVectors"})
            EXPECT_EQ(a[key], b[key]) << lang.toStdString() << " " << key << "\nours:   "
                                      << QJsonDocument(a[key].toArray()).toJson(QJsonDocument::Compact).left(600).toStdString()
                                      << "\ntheirs: "
                                      << QJsonDocument(b[key].toArray()).toJson(QJsonDocument::Compact).left(600).toStdString();
    }
}
