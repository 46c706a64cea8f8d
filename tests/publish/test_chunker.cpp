// The chunker: the outline it reads, the shares it deals, and the pages it
// writes, against DocBook's own chunker on the same DocBook and stylesheet.
#include "chunker.h"
#include "outputproperties.h"
#include "paths.h"
#include "publishpaths.h"
#include "testsupport.h"
#include "xmlsafety.h"
#include "xsltrunner.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>

#include <libxml/parser.h>

#include <gtest/gtest.h>

#include <map>

using namespace testing_support;

namespace {

// A book with what the outline must follow: chapters without ids (their
// anchors are generated), nested sections, a figure and a table without
// ids listed in the book's contents, links across chapters, index terms
// and the index with its file name.
const char kBook[] = R"(<?xml version="1.0" encoding="utf-8"?>
<book lang="en"><bookinfo><title>Test Book</title></bookinfo>
<chapter><title>First</title>
 <section id="s1"><title>One</title><para>See <link linkend="s5">five</link>.<indexterm><primary>alpha</primary></indexterm></para>
  <figure><title>A picture</title><mediaobject><imageobject><imagedata fileref="none.png"/></imageobject></mediaobject></figure></section>
 <section id="s2"><title>Two</title><para>Two.</para>
  <section id="s3"><title>Three</title><para>Deep <anchor id="a1"/>text.<indexterm><primary>beta</primary><secondary>gamma</secondary></indexterm></para>
   <section id="s4"><title>Four</title><para>Deeper.</para></section></section></section>
</chapter>
<chapter><title>Second</title>
 <section id="s5"><title>Five</title><para>Back to <link linkend="a1">the anchor</link> and <link linkend="s4">four</link>.</para>
  <table><title>Numbers</title><tgroup cols="2"><tbody><row><entry>1</entry><entry>2</entry></row></tbody></tgroup></table></section>
 <section id="s6"><title>Six</title><para>Six.<indexterm><primary>alpha</primary></indexterm></para></section>
</chapter>
<chapter><title>Third</title><para>Only text.</para></chapter>
<index><?dbhtml filename="chindex.html"?></index>
</book>
)";

xmlsafe::DocPtr parse(const QByteArray& xml)
{
    return xmlsafe::DocPtr(xmlReadMemory(xml.constData(), int(xml.size()), "book.xml", nullptr, XML_PARSE_NONET));
}

// DocBook numbers its own anchors in the order it is asked about them; the
// chunker by their place in the book.
QByteArray withoutGeneratedIds(const QByteArray& bytes)
{
    static const QRegularExpression generatedId(QStringLiteral("\\bid[0-9]+\\b"));
    return QString::fromLatin1(bytes).replace(generatedId, QStringLiteral("ID")).toLatin1();
}

class ChunkerRun : public ::testing::Test {
protected:
    TempDir dir;
    QString docbook;

    void SetUp() override
    {
        docbook = dir.file("book.xml");
        writeBytes(docbook, kBook);
    }

    QString stylesheet(int tab, const QString& depth = "20")
    {
        cOutputProperties props;
        props.setText("txtToCDepth", tab, depth);
        const QString text = tab == cOutputProperties::kHH ? props.GetHHStylesheet()
                             : tab == cOutputProperties::kHTML ? props.GetHTMLStylesheet()
                                                               : props.GetHTMLFramesStylesheet();
        const QString file = dir.file(QString("format%1.xsl").arg(tab));
        writeBytes(file, text.toUtf8());
        return file;
    }

    chunker::Job job(chunker::Layout layout, const QString& style, const QString& out, int workers)
    {
        chunker::Job j;
        j.layout = layout;
        j.stylesheet = style;
        j.driver = dir.file("parts.xsl");
        j.docbook = docbook;
        QDir().mkpath(out);
        j.folder = out;
        j.output = out + "/book.html";
        j.readFolders = {dir.path(), paths::programFolder(), stylesheet::docbookFolder()};
        j.writeFolders = {out};
        j.imageFolder = dir.path();
        j.params = {{"use.extensions", "0"}};
        j.workers = workers;
        return j;
    }

    // DocBook alone, as the pipelines ran it before the chunker.
    XsltResult docbookAlone(const QString& style, const QString& out, const QString& output = {})
    {
        QDir().mkpath(out);
        XsltJob x;
        x.stylesheet = style;
        x.input = docbook;
        x.output = output;
        x.outputBase = out;
        x.readFolders = {dir.path(), paths::programFolder(), stylesheet::docbookFolder()};
        x.writeFolders = {out};
        x.imageFolder = dir.path();
        x.params = {{"use.extensions", "0"}};
        return runXsltHere(x);
    }
};

} // namespace

TEST(ChunkerOutline, FollowsChaptersSectionsAndTheIndex)
{
    xmlsafe::DocPtr doc = parse(kBook);
    chunker::Outline pages = chunker::outline(doc.get(), chunker::Layout::Pages);
    ASSERT_TRUE(pages.supported) << pages.why.toStdString();
    EXPECT_EQ(pages.chapters, 3);
    // chapter, s1, s2, s3, s4, chapter, s5, s6, chapter, index
    ASSERT_EQ(pages.nodes.size(), 10u);
    EXPECT_EQ(pages.nodes[0].parent, -1);
    EXPECT_EQ(pages.nodes[3].parent, 2); // s3 in s2
    EXPECT_EQ(pages.nodes[4].parent, 3); // s4 in s3
    EXPECT_EQ(pages.nodes[4].chapter, 0);
    EXPECT_EQ(pages.nodes[7].chapter, 1);
    EXPECT_EQ(pages.nodes[9].chapter, -1); // the index
    EXPECT_EQ(pages.entries, 10);

    chunker::Outline single = chunker::outline(doc.get(), chunker::Layout::Single);
    ASSERT_TRUE(single.supported);
    ASSERT_EQ(single.nodes.size(), 4u); // three chapters and the index
    EXPECT_GT(single.nodes[0].weight, pages.nodes[0].weight);

    // What DocBook would chunk or number differently is left to it.
    const std::pair<const char*, const char*> foreign[] = {
        {"<book><appendix><title>A</title></appendix></book>", "appendix"},
        {"<book><chapter><title>C</title><sect1><title>S</title></sect1></chapter></book>", "sect1"},
        {"<book><legalnotice><para>L</para></legalnotice></book>", "legalnotice"},
        {"<book><chapter><title>C</title><chapter><title>D</title></chapter></chapter></book>", "chapter outside"},
        {"<book><chapter><title>C</title><?dbhtml dir=\"x\"?></chapter></book>", "dbhtml dir"},
        {"<book><chapter><title>C</title><section lang=\"de\"><title>S</title></section></chapter></book>", "language"},
        {"<book><chapter><title>C</title><para><section><title>S</title></section></para></chapter></book>",
         "section outside"},
        {"<article><title>A</title></article>", "not a book"},
    };
    for (const auto& [xml, why] : foreign) {
        xmlsafe::DocPtr d = parse(xml);
        chunker::Outline o = chunker::outline(d.get(), chunker::Layout::Pages);
        EXPECT_FALSE(o.supported) << xml;
        EXPECT_TRUE(o.why.contains(why)) << o.why.toStdString();
    }
}

TEST(ChunkerOutline, SharesAreContiguousAndBalanced)
{
    chunker::Outline o;
    o.supported = true;
    for (int i = 0; i < 100; ++i)
        o.nodes.push_back({nullptr, -1, i / 10, i < 50 ? 10 : 30});
    o.entries = 100;
    const std::vector<int> two = chunker::shares(o, 2, chunker::Layout::Pages);
    ASSERT_EQ(two.size(), 3u);
    EXPECT_EQ(two.front(), 0);
    EXPECT_EQ(two.back(), 100);
    // 500 + 1500 of weight, and the book's own 200 with the first share.
    EXPECT_GT(two[1], 55);
    EXPECT_LT(two[1], 70);

    const std::vector<int> four = chunker::shares(o, 4, chunker::Layout::Pages);
    for (size_t k = 1; k < four.size(); ++k)
        EXPECT_LE(four[k - 1], four[k]);

    // More workers than nodes, and a book of no chapters.
    chunker::Outline tiny;
    tiny.supported = true;
    tiny.nodes.push_back({nullptr, -1, 0, 5});
    EXPECT_EQ(chunker::shares(tiny, 8, chunker::Layout::Pages).size(), 3u);
    EXPECT_EQ(chunker::shares(chunker::Outline{}, 4, chunker::Layout::Single), (std::vector<int>{0, 0}));
}

// Pages and single HTML from the chunker are DocBook's own, generated ids
// aside; and the same whatever the number of workers, ids included.
TEST_F(ChunkerRun, GivesDocBooksOwnPagesWithAnyNumberOfWorkers)
{
    struct Case {
        chunker::Layout layout;
        int tab;
        QString depth;
    };
    const Case cases[] = {
        {chunker::Layout::Pages, cOutputProperties::kHTMLFrames, "20"},
        {chunker::Layout::Pages, cOutputProperties::kHTMLFrames, "1"}, // deeper sections inside their chapter's pages
        {chunker::Layout::Pages, cOutputProperties::kHH, "20"},
        {chunker::Layout::Single, cOutputProperties::kHTML, "20"},
    };
    int n = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(n);
        const QString style = stylesheet(c.tab, c.depth);
        const QString base = dir.file(QString("case%1").arg(n++));
        const bool single = c.layout == chunker::Layout::Single;

        XsltResult own = docbookAlone(style, base + "/docbook", single ? base + "/docbook/book.html" : QString());
        ASSERT_TRUE(own.transformed) << own.messages.toStdString();
        std::map<QString, QByteArray> reference = filesOf(base + "/docbook");

        std::map<QString, QByteArray> byWorkers[3];
        const int counts[] = {1, 2, 5};
        for (int k = 0; k < 3; ++k) {
            std::vector<std::pair<int, int>> progress;
            chunker::Job j = job(c.layout, style, base + QString("/w%1").arg(counts[k]), counts[k]);
            j.progress = [&](int done, int total) { progress.push_back({done, total}); };
            chunker::Result r = chunker::run(j);
            ASSERT_EQ(r.outcome, chunker::Outcome::Done) << r.messages.toStdString();
            byWorkers[k] = filesOf(j.folder);
            ASSERT_FALSE(progress.empty());
            EXPECT_EQ(progress.front(), std::make_pair(0, 3));
            EXPECT_EQ(progress.back(), std::make_pair(3, 3));
            for (size_t i = 1; i < progress.size(); ++i)
                EXPECT_EQ(progress[i].first, progress[i - 1].first + 1);
        }
        ASSERT_EQ(byWorkers[0].size(), reference.size());
        for (const auto& [name, bytes] : reference) {
            ASSERT_TRUE(byWorkers[0].count(name)) << name.toStdString();
            EXPECT_EQ(withoutGeneratedIds(byWorkers[0].at(name)).toStdString(),
                      withoutGeneratedIds(bytes).toStdString())
                << name.toStdString();
        }
        EXPECT_EQ(byWorkers[0], byWorkers[1]);
        EXPECT_EQ(byWorkers[0], byWorkers[2]);
    }
    // The contents of the book link to the figure's generated anchor in a
    // page another worker wrote.
    const std::map<QString, QByteArray> frames = filesOf(dir.file("case0/w5"));
    const QRegularExpression lof(QStringLiteral("1\\.1\\. <a href=\"(ch01s01\\.html#id[0-9]+)\">A picture"));
    const QRegularExpressionMatch m = lof.match(QString::fromLatin1(frames.at("main.html")));
    ASSERT_TRUE(m.hasMatch());
    const QString anchor = m.captured(1).section('#', 1);
    EXPECT_TRUE(frames.at("ch01s01.html").contains(("id=\"" + anchor + "\"").toLatin1()));
}

TEST_F(ChunkerRun, LeavesWhatItDoesNotKnowToDocBookAndWritesNothing)
{
    writeBytes(docbook, "<?xml version=\"1.0\"?><book><title>B</title><appendix><title>A</title><para/></appendix></book>");
    const QString out = dir.file("out");
    chunker::Result r = chunker::run(job(chunker::Layout::Pages, stylesheet(cOutputProperties::kHTMLFrames), out, 2));
    EXPECT_EQ(r.outcome, chunker::Outcome::Unsupported);
    EXPECT_TRUE(r.messages.contains("appendix"));
    EXPECT_TRUE(QDir(out).isEmpty());

    // A stylesheet that fails is a failure, not a reason to try DocBook alone.
    writeBytes(docbook, kBook);
    const QString broken = dir.file("broken.xsl");
    writeBytes(broken, "<?xml version=\"1.0\"?><xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" "
                       "version=\"1.0\"><xsl:template match=\"/\"><xsl:message terminate=\"yes\">broken</xsl:message>"
                       "</xsl:template></xsl:stylesheet>");
    r = chunker::run(job(chunker::Layout::Pages, broken, out, 2));
    EXPECT_EQ(r.outcome, chunker::Outcome::Failed);
    EXPECT_TRUE(r.messages.contains("broken")) << r.messages.toStdString();
}
