// The published outputs as readers no one here wrote see them: html5lib and
// tidy for the pages, chmlib for the compiled help, poppler and qpdf for
// the PDF, xmllint with DocBook's DTD for the intermediate. On the sample in
// both its languages and on a generated book in Czech and Russian.
#include "cconfigfile.h"
#include "cproject.h"
#include "generator.h"
#include "output.h"
#include "outputlog.h"
#include "outputproperties.h"
#include "paths.h"
#include "processrunner.h"
#include "publishpaths.h"
#include "testsupport.h"
#include "xmlsafety.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <libxml/tree.h>

#include <memory>
#include <set>

using namespace testing_support;

namespace {

struct Book {
    QString qly;
    QString folder; // the project folder, with a slash
    QString lang;
    QString log;    // of all its runs
    bool published = false;
};

// What the project itself says a language's book holds: the titles of its
// book, chapters, subchapters and topics, and its keywords, each with the
// output the element is limited to ("" for both).
struct Expected {
    QStringList printTitles;
    QStringList onlineTitles;
    std::set<QString> onlineKeywords;
};

QString outputOf(xmlNode* n)
{
    for (; n; n = n->parent)
        if (n->type == XML_ELEMENT_NODE && xmlHasProp(n, BAD_CAST "output"))
            return xmlsafe::attr(n, "output");
    return {};
}

// Whether a chapter or subchapter holds a topic of the output that is not
// `other` (chapters without one are left out of that output).
bool holdsTopicFor(xmlNode* n, const char* other)
{
    for (xmlNode* c = n->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE)
            continue;
        if (xmlStrEqual(c->name, BAD_CAST "topic") && outputOf(c) != QLatin1String(other))
            return true;
        if (xmlStrEqual(c->name, BAD_CAST "subchapter") && holdsTopicFor(c, other))
            return true;
    }
    return false;
}

void collect(xmlNode* n, const QString& lang, Expected& e)
{
    for (xmlNode* c = n; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE)
            continue;
        const QByteArray name(reinterpret_cast<const char*>(c->name));
        const QString only = outputOf(c);
        if (name == "title" && xmlsafe::attr(c, "lang") == lang && c->parent &&
            (xmlStrEqual(c->parent->name, BAD_CAST "chapter") || xmlStrEqual(c->parent->name, BAD_CAST "subchapter") ||
             xmlStrEqual(c->parent->name, BAD_CAST "topic"))) {
            const QString t = xmlsafe::nodeText(c).simplified();
            const bool topic = xmlStrEqual(c->parent->name, BAD_CAST "topic");
            if (only != QLatin1String("online") && (topic || holdsTopicFor(c->parent, "online")))
                e.printTitles << t;
            if (only != QLatin1String("print") && (topic || holdsTopicFor(c->parent, "print")))
                e.onlineTitles << t;
        }
        if (name == "primary" && c->parent && xmlStrEqual(c->parent->name, BAD_CAST "index") &&
            c->parent->parent && xmlsafe::attr(c->parent->parent, "lang") == lang && only != QLatin1String("print"))
            e.onlineKeywords.insert(xmlsafe::nodeText(c).simplified());
        collect(c->children, lang, e);
    }
}

Expected expectedOf(const Book& b)
{
    Expected e;
    const QStringList files = QDir(b.folder).entryList({"chapter*.xml"}, QDir::Files, QDir::Name);
    for (const QString& f : files) {
        xmlsafe::XmlError error;
        xmlsafe::DocPtr doc = xmlsafe::readFile(b.folder + f, xmlsafe::kBaseOptions, false, &error);
        if (doc)
            collect(xmlDocGetRootElement(doc.get()), b.lang, e);
    }
    return e;
}

QString text(const QByteArray& utf8)
{
    return QString::fromUtf8(utf8).simplified();
}

// Character references of the help file's index decoded.
QString decodeReferences(QString s)
{
    static const QRegularExpression ref(QStringLiteral("&#(x?)([0-9A-Fa-f]+);"));
    QRegularExpressionMatch m;
    while ((m = ref.match(s)).hasMatch()) {
        const uint code = m.captured(2).toUInt(nullptr, m.captured(1).isEmpty() ? 10 : 16);
        s.replace(m.capturedStart(), m.capturedLength(), QString::fromUcs4(reinterpret_cast<const char32_t*>(&code), 1));
    }
    return s.replace(QStringLiteral("&quot;"), QStringLiteral("\""))
        .replace(QStringLiteral("&lt;"), QStringLiteral("<"))
        .replace(QStringLiteral("&gt;"), QStringLiteral(">"))
        .replace(QStringLiteral("&amp;"), QStringLiteral("&"));
}

class Readers : public ::testing::Test {
protected:
    static inline std::unique_ptr<TempDir> root;
    static inline std::vector<Book> books;

    // Every book is published once in the four formats, the DocBook kept.
    static void SetUpTestSuite()
    {
        root = std::make_unique<TempDir>();
        const QString sample = copySample(root->path(), "sample");
        GeneratorOptions options;
        options.chapters = 3;
        options.topicsPerChapter = 7;
        options.topicsPerSub = 3;
        options.languageCodes = {"cs", "ru"};
        options.writeImages = true;
        const QString generated = generateProject(root->file("gen"), "gen", options);
        const QString sampleFolder = QFileInfo(sample).absolutePath() + "/sample/";
        const QString genFolder = root->file("gen") + "/gen/";
        books = {{sample, sampleFolder, "en", {}, false},
                 {sample, sampleFolder, "de", {}, false},
                 {generated, genFolder, "cs", {}, false},
                 {generated, genFolder, "ru", {}, false}};
        publishpaths::setFontConfigurationFile(root->file("fop/fonts/conf.xml"));
        ScriptedMsgBox box;
        box.setDefault(MsgAnswer::Yes); // unfinished topics: publish anyway
        cConfigFile conf(box);
        conf.Load(paths::settingsFile("conf.xml"));
        conf.setHHWFile(findOnPath("chmcmd"));
        for (Book& b : books) {
            bool ok = true;
            for (const QString& format :
                 {cOutput::kHTML, cOutput::kHTMLChunk, cOutput::kWebHelp, cOutput::kHTMLHelp, cOutput::kPDF}) {
                cProject project(box);
                if (!project.Load(b.qly))
                    ok = false;
                cOutputProperties props;
                OutputLog log;
                cOutput out(project, props, log, box);
                out.runOutput(b.lang, format, true);
                b.log += log.text();
                ok = ok && !out.resultFile.isEmpty() && !log.isRed();
                // Both intermediates are checked: the online one and the print one.
                const QString kept = b.folder + "output/book_" + b.lang + ".xml";
                if (format == cOutput::kHTML)
                    QFile::rename(kept, b.folder + "output/book_" + b.lang + "_online.xml");
            }
            b.published = ok;
        }
    }
    static void TearDownTestSuite()
    {
        publishpaths::setFontConfigurationFile(QString());
        books.clear();
        root.reset();
    }

    void SetUp() override
    {
        for (const Book& b : books)
            ASSERT_TRUE(b.published) << b.lang.toStdString() << "\n" << b.log.toStdString();
    }

    static QString out(const Book& b, const QString& name) { return b.folder + "output/" + name; }
    static QString file(const Book& b, const char* pattern)
    {
        return out(b, QString::fromLatin1(pattern).arg(b.lang));
    }
};

TEST_F(Readers, ThePdfEmbedsEveryFontAndPrintsEveryTitle)
{
    for (const Book& b : books) {
        SCOPED_TRACE(b.lang.toStdString());
        const QString pdf = file(b, "book_%1.pdf");
        const ToolRun fonts = runTool("pdffonts", {pdf});
        ASSERT_EQ(fonts.exitCode, 0) << "pdffonts (poppler-utils) is needed";
        const QStringList lines = QString::fromUtf8(fonts.out).split('\n', Qt::SkipEmptyParts);
        ASSERT_GT(lines.size(), 2);
        const int emb = int(lines[0].indexOf("emb"));
        for (const QString& row : lines.mid(2))
            EXPECT_EQ(row.mid(emb, 3), "yes") << row.toStdString();

        const ToolRun info = runTool("pdfinfo", {pdf});
        EXPECT_TRUE(info.out.contains("Tagged:          yes")) << info.out.toStdString();
        EXPECT_EQ(runTool("qpdf", {"--check", pdf}).exitCode, 0) << "qpdf finds the file broken";

        const QString printed = text(runTool("pdftotext", {"-enc", "UTF-8", pdf, "-"}).out);
        const Expected e = expectedOf(b);
        ASSERT_FALSE(e.printTitles.isEmpty());
        for (const QString& t : e.printTitles)
            EXPECT_TRUE(printed.contains(t)) << t.toStdString();
        // A glyph no font has prints as "#".
        EXPECT_FALSE(printed.contains('#'));
    }
}

TEST_F(Readers, EveryHtmlPageParsesAndLeadsSomewhere)
{
    const QString checker = QStringLiteral(QUILLARY_SOURCE_DIR "/tests/publish/htmlcheck.py");
    for (const Book& b : books) {
        SCOPED_TRACE(b.lang.toStdString());
        QStringList pages{file(b, "html/book_%1.html")};
        for (const char* folder : {"html_frames_%1", "webhelp_%1"}) {
            QDirIterator frames(file(b, folder), {"*.html"}, QDir::Files);
            while (frames.hasNext())
                pages << frames.next();
        }
        // The compiled help's pages too, as chmlib unpacks them.
        const QString unpacked = root->file("chm_" + b.lang);
        ASSERT_TRUE(extractChm(file(b, "book_%1.chm"), unpacked)) << "extract_chmLib (libchm-bin) is needed";
        QDirIterator help(unpacked, {"*.html"}, QDir::Files);
        while (help.hasNext())
            pages << help.next();
        ASSERT_GT(pages.size(), 10);
        const ToolRun r = runTool("/usr/bin/python3", QStringList{checker, b.lang} + pages);
        EXPECT_EQ(r.exitCode, 0) << r.out.toStdString() << r.err.toStdString()
                                 << "(python3-html5lib is needed)";
        // tidy reports what it cannot take as errors (warnings are allowed).
        for (const QString& page : pages) {
            const ToolRun t = runTool("tidy", {"-q", "-e", page});
            ASSERT_TRUE(t.started) << "tidy is needed";
            EXPECT_LT(t.exitCode, 2) << page.toStdString() << "\n" << t.err.toStdString();
        }
        // Every title of the online book is on a page, letter for letter.
        const QString single = QString::fromUtf8(readBytes(file(b, "html/book_%1.html")));
        for (const QString& t : expectedOf(b).onlineTitles)
            EXPECT_TRUE(single.contains(t.toHtmlEscaped())) << t.toStdString();
    }
}

// A chapter without a topic of the output is left out, in its contents too.
TEST_F(Readers, PrintOnlyChaptersStayOutOfTheOnlineOutputs)
{
    const Book& en = books[0];
    const QString single = QString::fromUtf8(readBytes(file(en, "html/book_%1.html")));
    EXPECT_FALSE(single.contains("Appendix"));
    EXPECT_FALSE(single.contains("Print Notes"));
    EXPECT_FALSE(QString::fromUtf8(readBytes(file(en, "html_frames_%1/toc.html"))).contains("Appendix"));
    EXPECT_FALSE(QFileInfo::exists(file(en, "html_frames_%1/ch03.html")));
    EXPECT_TRUE(text(runTool("pdftotext", {"-enc", "UTF-8", file(en, "book_%1.pdf"), "-"}).out).contains("Appendix"));
}

TEST_F(Readers, TheHelpIndexListsEveryKeywordAtAnExistingPage)
{
    for (const Book& b : books) {
        SCOPED_TRACE(b.lang.toStdString());
        const QString unpacked = root->file("hhk_" + b.lang);
        ASSERT_TRUE(extractChm(file(b, "book_%1.chm"), unpacked)) << "extract_chmLib (libchm-bin) is needed";
        const QString hhk = decodeReferences(QString::fromLatin1(readBytes(unpacked + "/index.hhk")));
        static const QRegularExpression entry(
            "<OBJECT type=\"text/sitemap\">\\s*<param name=\"Name\" value=\"([^\"]*)\">(.*?)</OBJECT>",
            QRegularExpression::DotMatchesEverythingOption);
        static const QRegularExpression local("<param name=\"Local\" value=\"([^\"]*)\">");
        std::set<QString> names;
        int locals = 0;
        for (auto it = entry.globalMatch(hhk); it.hasNext();) {
            const QRegularExpressionMatch m = it.next();
            names.insert(m.captured(1));
            const QRegularExpressionMatch l = local.match(m.captured(2));
            if (!l.hasMatch())
                continue;
            ++locals;
            const QString page = l.captured(1).section('#', 0, 0);
            const QString id = l.captured(1).section('#', 1);
            ASSERT_TRUE(QFileInfo::exists(unpacked + "/" + page)) << page.toStdString();
            if (!id.isEmpty()) {
                EXPECT_TRUE(readBytes(unpacked + "/" + page).contains(("id=\"" + id + "\"").toUtf8()))
                    << l.captured(1).toStdString();
            }
        }
        const Expected e = expectedOf(b);
        ASSERT_FALSE(e.onlineKeywords.empty());
        for (const QString& k : e.onlineKeywords)
            EXPECT_TRUE(names.count(k)) << k.toStdString();
        EXPECT_GE(locals, int(e.onlineKeywords.size()));
        // The compiler made its binary index of them.
        EXPECT_GT(QFileInfo(unpacked + "/$WWKeywordLinks/BTree").size(), 0);
    }
}

TEST_F(Readers, TheDocBookIntermediatesAreValidDocBook45)
{
    for (const Book& b : books) {
        SCOPED_TRACE(b.lang.toStdString());
        for (const char* kept : {"book_%1.xml", "book_%1_online.xml"}) {
            const QString path = file(b, kept);
            ASSERT_TRUE(QFileInfo::exists(path)) << path.toStdString();
            EXPECT_TRUE(readBytes(path).contains(
                "<!DOCTYPE book PUBLIC \"-//OASIS//DTD DocBook XML V4.5//EN\" "
                "\"http://www.oasis-open.org/docbook/xml/4.5/docbookx.dtd\">"));
            // The DTD comes from Debian's docbook-xml through the XML catalog.
            const ToolRun r = runTool("xmllint", {"--nonet", "--noout", "--valid", path});
            EXPECT_EQ(r.exitCode, 0) << path.toStdString() << "\n" << r.err.toStdString();
        }
    }
}

} // namespace
