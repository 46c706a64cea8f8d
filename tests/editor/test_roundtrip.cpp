// Topic XML -> surface -> topic XML: what returns, what changes, the fixed
// point, the sample project and random topics.
#include "convtest.h"
#include "surface.h"
#include "topicconvert.h"

#include <QDir>
#include <QRegularExpression>

#include <random>

using namespace convtest;

namespace {

// Two languages, every element and attribute.
const char* const kEveryElement =
    "<topic id=\"topic12\" output=\"online\"><title lang=\"en\" state=\"complete\" stamp=\"1/2/26\">All &amp; more</title>"
    "<title lang=\"de\" state=\"\" stamp=\"1/3/26\">Alles</title><context><id>7</id><name>frmMain</name></context>"
    "<onelang lang=\"en\"><index transid=\"trans1\"><primary>keys</primary><secondary>all</secondary></index>"
    "<p output=\"print\" transid=\"trans2\"><title>Head</title>Text <sign>bold <link ref=\"topic3\"/></sign>, "
    "<link ref=\"https://x.org/?b=1&amp;c=2\" weblabel=\"label &lt;x&gt;\"/> and <anchor id=\"anchor4\" name=\"here\"/>."
    "\xc2\xa0</p><image file=\"img\\en\\w.png\" format=\"png\" scale=\"50\" output=\"online\" transid=\"trans3\">"
    "Caption <sign>b</sign> <link ref=\"anchor4\"/></image><notice output=\"print\" transid=\"trans4\"><title>Note</title>"
    "<p output=\"online\" transid=\"trans5\">First</p><p><sign>All bold</sign></p></notice>"
    "<list format=\"bullet\" transid=\"trans6\"><item>One <sign>b</sign><link ref=\"topic1\"/></item><item/></list>"
    "<table border=\"none\" colnumber=\"9\" output=\"print\" transid=\"trans7\"><col width=\"7*\"/><title>Tab</title>"
    "<header><cell>H1</cell><cell>H2</cell></header><row><cell align=\"left\">a</cell><cell align=\"right\"><sign>b"
    "</sign></cell></row><row><cell align=\"center\"><p output=\"online\">para</p></cell><cell/></row></table>"
    "<table border=\"all\" colnumber=\"1\"><row><cell><image file=\"s.png\" format=\"gif\" scale=\"10\"/>tail</cell>"
    "</row></table><p/><p>Comment <!--inside--> here</p></onelang><onelang lang=\"de\"><p>Deutsch</p></onelang></topic>";

class ConvRoundTrip : public ::testing::Test {
protected:
    LanguageScope en{"en"};
    ScriptedMsgBox box;
};

TEST_F(ConvRoundTrip, WhatReturnsAndWhatChangesAndTheFixedPoint)
{
    const QString once = roundTrip(QString::fromUtf8(kEveryElement), box);
    EXPECT_EQ(once, QStringLiteral(
        // title first with the record's attributes; no context, no output on topic
        "<topic id=\"topic12\"><title lang=\"en\" stamp=\"1/2/26\" state=\"complete\">All &amp; more</title>"
        "<onelang lang=\"en\"><index transid=\"trans1\"><primary>keys</primary><secondary>all</secondary></index>"
        "<p output=\"print\" transid=\"trans2\"><title>Head</title>Text <sign>bold <link ref=\"topic3\"></link></sign>, "
        "<link ref=\"https://x.org/?b=1&amp;c=2\" weblabel=\"label &lt;x&gt;\"></link> and "
        "<anchor id=\"anchor4\" name=\"here\"></anchor>.\u00a0</p>"
        "<image file=\"img\\en\\w.png\" format=\"png\" scale=\"50\" transid=\"trans3\" output=\"online\">"
        "Caption <sign>b</sign> <link ref=\"anchor4\"></link></image>"
        // notice loses output, its p output and transid
        "<notice transid=\"trans4\"><title>Note</title><p>First</p><p><sign>All bold</sign></p></notice>"
        "<list format=\"bullet\" transid=\"trans6\"><item>One <sign>b</sign><link ref=\"topic1\"></link></item>"
        "<item></item></list>"
        // colnumber and col recomputed, col after the rows, title last
        "<table border=\"none\" transid=\"trans7\" output=\"print\" colnumber=\"2\"><header><cell>H1</cell>"
        "<cell>H2</cell></header><row><cell align=\"left\">a</cell><cell align=\"right\"><sign>b</sign></cell></row>"
        "<row><cell align=\"center\"><p output=\"online\">para</p></cell><cell></cell></row><col width=\"5*\"></col>"
        "<col width=\"2*\"></col><title>Tab</title></table>"
        "<table border=\"all\" colnumber=\"1\"><row><cell><image file=\"s.png\" format=\"gif\" scale=\"10\"></image>tail"
        "</cell></row><col width=\"2*\"></col></table>"
        // the empty p is gone, the comment is text
        "<p>Comment inside here</p></onelang></topic>"));
    QString message;
    EXPECT_TRUE(validateTopic(once, message)) << message.toStdString();
    EXPECT_EQ(roundTrip(once, box), once);
    LanguageScope de("de");
    EXPECT_EQ(roundTrip(QString::fromUtf8(kEveryElement), box),
              "<topic id=\"topic12\"><title lang=\"de\" stamp=\"1/3/26\" state=\"\">Alles</title>"
              "<onelang lang=\"de\"><p>Deutsch</p></onelang></topic>");
    EXPECT_TRUE(box.empty());
}

TEST_F(ConvRoundTrip, DriversWorkThroughTheSurface)
{
    FakeSurface surface;
    surface.setBaseURL("/home/author/manual/");
    TopicToEditor(topic("<p>x</p>"), surface, box);
    EXPECT_EQ(surface.bodyHTML(), "<h1>Title</h1><p>x</p>");
    // What a page gives back: file URLs of the project folder, soft line
    // breaks, typed non-breaking spaces.
    surface.userEdit("<h1>Title</h1><p title=\"image\"><img src=\"file:///home/author/manual/img/a.png\" alt=\"png\" "
                     "scale=\"5\"></p><p>one<br>two&nbsp;</p><p><a href=\"file:///home/author/manual/topic4\" "
                     "target=\"local\">edited</a></p>");
    cTopic record(box);
    record.ID = "topic1";
    EXPECT_EQ(EditorToTopic(surface, record, box),
              QStringLiteral("<topic id=\"topic1\"><title lang=\"en\" stamp=\"\" state=\"uncomplete\">Title</title>"
                             "<onelang lang=\"en\"><image file=\"img/a.png\" format=\"png\" scale=\"5\"></image>"
                             "<p>onetwo\u00a0</p><p><link ref=\"topic4\"></link></p></onelang></topic>"));
}

TEST_F(ConvRoundTrip, WhatTheConversionDoesNotMendValidationRefuses)
{
    cTopic record(box);
    record.ID = "topic1";
    QString message;
    // A notice whose bold second paragraph reads as its title.
    QString xml = bodyHTMLToTopic("<h1>T</h1><dl><dd>first</dd><dd><strong>bold</strong></dd></dl>", {}, record, box);
    EXPECT_TRUE(xml.contains("<notice><p>first</p><title>bold</title></notice>")) << xml.toStdString();
    EXPECT_FALSE(validateTopic(xml, message));
    // Bold inside a link makes the link non-empty.
    xml = bodyHTMLToTopic("<h1>T</h1><p><a href=\"t\" target=\"local\"><strong>x</strong></a></p>", {}, record, box);
    EXPECT_TRUE(xml.contains("<link ref=\"t\"><sign>x</sign></link>")) << xml.toStdString();
    EXPECT_FALSE(validateTopic(xml, message));
}

TEST_F(ConvRoundTrip, EveryTopicOfTheSampleProject)
{
    QDir folder(testing_support::sampleFolder() + "/sample");
    int topics = 0;
    for (const QString& name : folder.entryList({"chapter*.xml"})) {
        const QString chapter = testing_support::readText(folder.filePath(name));
        static const QRegularExpression topicRe("<topic .*?</topic>", QRegularExpression::DotMatchesEverythingOption);
        for (const QRegularExpressionMatch& m : topicRe.globalMatch(chapter)) {
            ++topics;
            for (const char* lang : {"en", "de"}) {
                LanguageScope scope(lang);
                const QString xml = roundTrip(m.captured(), box);
                QString message;
                EXPECT_TRUE(validateTopic(xml, message)) << message.toStdString();
                EXPECT_EQ(roundTrip(xml, box), xml);
                EXPECT_TRUE(xml.contains("<onelang lang=\"" + QString(lang) + "\"><index") ||
                            !m.captured().contains("<onelang lang=\"" + QString(lang) + "\"><index"));
            }
        }
    }
    EXPECT_GE(topics, 6);
    EXPECT_TRUE(box.empty()) << box.texts().join('\n').toStdString();
}

// Random topics within what the round trip guarantees; each comes with the
// form the round trip gives it (col and colnumber left out).
class TopicGenerator {
public:
    explicit TopicGenerator(unsigned seed) : m_rng(seed) {}

    std::pair<QString, QString> topic()
    {
        m_transid = m_anchor = 0;
        QString body, expected;
        for (int i = pick(0, 2); i > 0; --i)
            body += "<index" + transid() + "><primary>" + text() + "</primary>" +
                    (chance(50) ? "<secondary>" + text() + "</secondary>" : "") + "</index>";
        expected = body;
        for (int i = pick(1, 6); i > 0; --i) {
            auto [s, e] = block();
            body += s;
            expected += e;
        }
        const QString id = "topic" + QString::number(pick(1, 99)), state = oneOf({"", "uncomplete", "complete"});
        const QString stamp = text(true), title = chance(90) ? text() : "";
        return {"<topic id=\"" + id + "\"><title lang=\"en\" state=\"" + state + "\" stamp=\"" + stamp + "\">" + title +
                    "</title>" + (chance(30) ? "<context><id>3</id><name>f</name></context>" : "") +
                    "<onelang lang=\"en\">" + body + "</onelang></topic>",
                "<topic id=\"" + id + "\"><title lang=\"en\" stamp=\"" + stamp + "\" state=\"" + state + "\">" + title +
                    "</title><onelang lang=\"en\">" + expected + "</onelang></topic>"};
    }

private:
    using Pair = std::pair<QString, QString>;
    int pick(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(m_rng); }
    bool chance(int percent) { return pick(1, 100) <= percent; }
    QString oneOf(const QStringList& l) { return l[pick(0, int(l.size()) - 1)]; }

    // One to four pieces, escaped as the serializer escapes them; tabs and
    // line feeds only in element text (attribute values normalise them).
    QString text(bool attribute = false)
    {
        static const QStringList pieces = {"a", "Word", "x y", " ", "&", "<", ">", "\"", "'", "link to ",
                                           "\xc3\xa4\xc3\x9f", "\xe2\x82\xac", "\xc2\xa0", "\t", "\n"};
        QString s;
        for (int i = pick(1, 4); i > 0; --i) {
            const QString p = pieces[pick(0, int(pieces.size()) - (attribute ? 3 : 1))];
            s += p == "&" ? "&amp;" : p == "<" ? "&lt;" : p == ">" ? "&gt;" : p == "\"" && attribute ? "&quot;" : p;
        }
        return s;
    }
    QString transid() { return chance(40) ? " transid=\"trans" + QString::number(++m_transid) + "\"" : ""; }
    QString output() { return chance(30) ? " output=\"" + oneOf({"online", "print"}) + "\"" : ""; }
    QString link()
    {
        return chance(50) ? "<link ref=\"" + oneOf({"topic3", "anchor2"}) + "\"></link>"
                          : "<link ref=\"https://x.org/?a=1&amp;b=2\" weblabel=\"" + text(true) + "\"></link>";
    }
    QString sign()
    {
        QString s;
        for (int i = pick(0, 3); i > 0; --i)
            s += chance(70) ? text() : link();
        return "<sign>" + s + "</sign>";
    }
    QString inlines(bool paragraph)
    {
        QString s;
        for (int i = pick(0, 4); i > 0; --i) {
            const int k = pick(0, paragraph ? 9 : 7);
            s += k < 4 ? text() : k < 6 ? sign() : k < 8 ? link() : k == 8 ? "<title>" + (chance(80) ? text() : "") + "</title>"
                : "<anchor id=\"anchor" + QString::number(++m_anchor) + "\" name=\"" + text(true) + "\"></anchor>";
        }
        return s;
    }
    Pair paragraph()
    {
        const QString open = "<p" + output() + transid() + ">", content = inlines(true);
        const QString p = open + content + "</p>";
        return {p, content.isEmpty() ? QString() : p}; // an empty p goes away
    }
    Pair image()
    {
        const QString i = "<image file=\"img\\en\\p" + QString::number(pick(1, 9)) + ".png\" format=\"" +
                          oneOf({"png", "gif"}) + "\" scale=\"" + QString::number(pick(1, 100)) + "\"" + transid() +
                          output() + ">" + inlines(false) + "</image>";
        return {i, i};
    }
    Pair notice()
    {
        const QString out = output(), id = transid();
        const bool titled = chance(60);
        QString body = titled ? "<title>" + text() + "</title>" : "", stored = body;
        for (int i = pick(1, 3); i > 0; --i) {
            QString content = inlines(true);
            // Untitled, a paragraph of one sign would read as the title.
            if (!titled && content.startsWith("<sign>") && content.indexOf("</sign>") == content.size() - 7)
                content += "z";
            stored += "<p" + output() + transid() + ">" + content + "</p>";
            body += "<p>" + content + "</p>"; // a p in a notice loses its attributes
        }
        return {"<notice" + out + id + ">" + stored + "</notice>", "<notice" + id + ">" + body + "</notice>"};
    }
    Pair list()
    {
        QString l = "<list format=\"" + oneOf({"bullet", "number"}) + "\"" + transid() + ">";
        for (int i = pick(1, 3); i > 0; --i)
            l += "<item>" + inlines(false) + "</item>";
        return {l + "</list>", l + "</list>"};
    }
    Pair table()
    {
        const int columns = pick(1, 3), rows = pick(0, 3);
        const bool titled = chance(50); // an image in a cell would take the title's wrapper
        QStringList stored, expected;
        for (int r = rows == 0 || chance(40) ? -1 : 0; r < rows; ++r) {
            Pair row(r < 0 ? "<header>" : "<row>", r < 0 ? "<header>" : "<row>");
            for (int c = 0; c < columns; ++c) {
                const QString open = "<cell" + (chance(30) ? " align=\"" + oneOf({"left", "right", "center"}) + "\"" : QString()) + ">";
                row.first += open;
                row.second += open;
                for (int i = pick(0, 3); i > 0; --i) {
                    const int k = pick(0, titled ? 2 : 3);
                    const QString same = k == 0 ? text() : k == 1 ? (chance(50) ? sign() : link()) : QString();
                    const Pair piece = k < 2 ? Pair(same, same) : k == 2 ? paragraph() : image();
                    row.first += piece.first;
                    row.second += piece.second;
                }
                row.first += "</cell>";
                row.second += "</cell>";
            }
            stored << row.first + (r < 0 ? "</header>" : "</row>");
            expected << row.second + (r < 0 ? "</header>" : "</row>");
        }
        const QString title = "<title>" + text() + "</title>";
        if (titled)
            stored.insert(pick(0, int(stored.size())), title);
        if (chance(30))
            stored.insert(pick(0, int(stored.size())), "<col width=\"3*\"></col>");
        const QString open = "<table border=\"" + oneOf({"none", "all"}) + "\"" + transid() + output();
        return {open + " colnumber=\"" + QString::number(columns) + "\">" + stored.join("") + "</table>",
                open + ">" + expected.join("") + (titled ? title : "") + "</table>"};
    }
    Pair block()
    {
        switch (pick(0, 5)) {
        case 0:
        case 1: return paragraph();
        case 2: return image();
        case 3: return notice();
        case 4: return list();
        default: return table();
        }
    }

    std::mt19937 m_rng;
    int m_transid = 0, m_anchor = 0;
};

TEST_F(ConvRoundTrip, RandomTopicsFollowTheRoundTripRules)
{
    TopicGenerator gen(20260402);
    for (int i = 0; i < 400; ++i) {
        const auto [stored, expected] = gen.topic();
        SCOPED_TRACE(stored.toStdString());
        QString message;
        ASSERT_TRUE(validateTopic(stored, message)) << message.toStdString();
        const QString xml = roundTrip(stored, box);
        ASSERT_EQ(withoutCols(xml), expected);
        ASSERT_TRUE(validateTopic(xml, message)) << message.toStdString();
        ASSERT_EQ(roundTrip(xml, box), xml);
    }
    EXPECT_TRUE(box.empty()) << box.texts().join('\n').toStdString();
}

} // namespace
