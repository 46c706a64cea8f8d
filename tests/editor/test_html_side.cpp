// cHTMLDoc: the sink that builds the surface's HTML and the walker that
// filters the surface's HTML into events; the HTML text at the boundary.
#include "chtmldoc.h"
#include "convtest.h"
#include "htmldom.h"

using namespace convtest;

namespace {

TEST(ConvHtmlSink, HtmlOfEveryEvent)
{
    ScriptedMsgBox box;
    const std::pair<const char*, const char*> cases[] = {
        {"3 'T' 4 5 @3=online @17=t1 41 'H' 42 'a' 17 'b' 18 6",
         "<h1>T</h1><p class=\"online\" transid=\"t1\"><u>H</u>a<strong>b</strong></p>"},
        {"7 @5=img\\a.png @6=png @7=50 @3=print @17=t2 37 'C' 38 8 5 6",
         "<p title=\"image\" class=\"print\"><img src=\"img\\a.png\" alt=\"png\" scale=\"50\" transid=\"t2\"><br>"
         "<em title=\"image\">C</em></p><p></p>"},
        {"5 9 @8=topic3 10 9 @8=https://x.org/?a&b @9=Site 10 11 @1=anchor1 @10=keys 12 6",
         "<p><a href=\"topic3\" target=\"local\">link to topic3</a><a href=\"https://x.org/?a&amp;b\" target=\"web\">"
         "Site</a><a class=\"anchor\" name=\"anchor1\">keys</a></p>"},
        {"13 @3=print @17=t4 15 'N' 16 31 'p' 32 14 5 6",
         "<dl class=\"print\" transid=\"t4\"><dd><strong>N</strong></dd><dd>p</dd></dl><p></p>"},
        {"19 @11=bullet @17=t6 21 'a' 22 20 19 @11=number 21 22 20", "<ul transid=\"t6\"><li>a</li></ul><ol><li></li></ol>"},
        // An unknown list format makes no list; its close goes a level too far.
        {"5 19 @11=square 21 22 20 'out' 6", "<p><li></li></p>out"},
        {"23 @17=t3 @12=none @3=online 39 'T' 40 25 29 'h' 30 26 27 29 @13=right 'a' 30 28 24 5 6",
         "<p title=\"table\" class=\"online\"><table cellspacing=\"0\" cellpadding=\"5\" transid=\"t3\" border=\"0\"><tbody>"
         "<tr class=\"header\"><td class=\"dottedBorder\">h</td></tr><tr><td class=\"dottedBorder\" align=\"right\">a</td>"
         "</tr></tbody></table><em title=\"table\">T</em></p><p></p>"},
        {"23 @12=all 27 29 30 28 24 23 @12=dotted 24",
         "<p title=\"table\"><table cellspacing=\"0\" cellpadding=\"5\" border=\"1\"><tbody><tr><td></td></tr></tbody>"
         "</table></p><p title=\"table\"><table cellspacing=\"0\" cellpadding=\"5\" border=\"\"><tbody></tbody></table></p>"},
        // XML-only events do nothing; unknown attributes are kept as one.
        {"1 33 35 'a' 36 34 5 @14=de @15=3 @16=2* @2=x 6 2", "a<p lang=\"de\" unknown_attrib=\"x\"></p>"},
    };
    for (const auto& [script, html] : cases)
        EXPECT_EQ(htmlFrom(script, box), html) << script;
    // Text is carried as text; the non-breaking space survives as "&nbsp;".
    EXPECT_EQ(htmlFrom(QStringLiteral("5 ' a < b & \"c\" >\u00a0\u00e4 ' 6"), box),
              "<p> a &lt; b &amp; \"c\" &gt;&nbsp;\u00e4 </p>");
}

TEST(ConvHtmlWalker, EventsOfEveryTag)
{
    ScriptedMsgBox box;
    const std::pair<const char*, const char*> cases[] = {
        {"<h1>T</h1><div><p class=\"print\" transid=\"t1\"><u>H</u>a<strong>b</strong><em>c</em></p></div>",
         "3 'T' 4 5 @3=print @17=t1 41 'H' 42 'a' 17 'b' 18 'c' 6"},
        // Empty paragraphs and paragraphs of another kind are dropped.
        {"<p></p><p class=\"online\"></p><p title=\"x\">y</p><p> </p>", "5 ' ' 6"},
        {"<ul transid=\"t\"><li>a</li></ul><ol><li>b</li></ol>", "19 @11=bullet @17=t 21 'a' 22 20 19 @11=number 21 'b' 22 20"},
        {"<dl class=\"online\" transid=\"t\"><dd>a</dd></dl>", "13 @17=t 31 'a' 32 14"},
        // Links with target local (text dropped), web (text is the label), none (text stays).
        {"<p><a href=\"topic3\" target=\"local\">link to x</a><a href=\"w\" target=\"web\">a<!--b-->c</a>"
         "<a href=\"https://x.org\">x.org</a><a target=\"web\">no href</a></p>",
         "5 9 @8=topic3 10 9 @8=w @9=a @9=b @9=c 10 'x.org' 6"},
        {"<p><a class=\"anchor\" name=\"anchor1\">keys</a></p>", "5 11 @1=anchor1 @10=keys 12 6"},
        {"<p title=\"image\" class=\"online\"><img src=\"a.png\" alt=\"png\" scale=\"5\" transid=\"t1\"><br>"
         "<em title=\"image\">C <strong>b</strong></em></p>",
         "7 @5=a.png @6=png @7=5 @17=t1 @3=online 'C ' 17 'b' 18 8"},
        // An image wrapper without IMG goes with its caption.
        {"<p title=\"image\"><br><em title=\"image\">C</em></p>", ""},
        // B, I and SPAN dissolve into their text; FONT and every other tag
        // go with their content.
        {"<p>a<b>b</b><i>i</i><font>f</font><span>s</span><br>z</p><h2>h</h2><hr><table><tr><td>t</td></tr></table>"
         "<img src=\"x\">",
         "5 'a' 'b' 'i' 's' 'z' 6"},
        // Notice: the first title-like DD is the title, later ones paragraphs.
        {"<dl><dd><strong>N</strong></dd><dd>a</dd><dd><strong>b</strong></dd><dd><strong>c</strong> d</dd><dd></dd></dl>",
         "13 15 'N' 16 31 'a' 32 31 17 'b' 18 32 31 17 'c' 18 ' d' 32 31 32 14"},
        {"<dl><dd>a</dd><dd><strong>b</strong></dd></dl>", "13 31 'a' 32 15 'b' 16 14"},
        // A copied transid stays on the first copy only (case-sensitive).
        {"<p transid=\"t1\">a</p><p transid=\"t1\">b</p><ul transid=\"T1\"><li>c</li></ul><dl transid=\"t1\"></dl>",
         "5 @17=t1 'a' 6 5 'b' 6 19 @11=bullet @17=T1 21 'c' 22 20 13 14"},
    };
    for (const auto& [html, events] : cases)
        EXPECT_EQ(htmlEvents(html, box), QString("1 ") + (*events ? QString(events) + " " : QString()) + "2") << html;
    EXPECT_TRUE(box.empty());
}

TEST(ConvHtmlWalker, FileUrlsUnderTheBaseComeBackRelative)
{
    ScriptedMsgBox box;
    const QString base = "/home/author/manual/";
    EXPECT_EQ(htmlEvents("<p title=\"image\"><img src=\"file:///home/author/manual/img/a.png\" alt=\"png\" scale=\"9\"></p>"
                         "<p><a href=\"file:///home/author/manual/topic3\" target=\"local\">x</a>"
                         "<a href=\"file:///other/topic3\" target=\"local\">x</a>"
                         "<a href=\"FILE:///home/author/manual/topic3\" target=\"local\">x</a></p>",
                         box, base),
              // Other file URLs stay absolute, and file: addresses are refused.
              "1 7 @5=img/a.png @6=png @7=9 8 5 9 @8=topic3 10 9 @8= 10 "
              "9 @8= 10 6 2");
    cHTMLDoc none(box); // no document: nothing is sent
    Recorder r;
    none.StartParsing(r);
    EXPECT_TRUE(r.events.isEmpty());
}

TEST(ConvHtmlText, TheBoundaryKeepsWhatTheEncodingUses)
{
    const QString body =
        "<h1>T&nbsp;x</h1><p class=\"online\" transid=\"t\">a&nbsp;b &amp; &lt;c&gt;</p>"
        "<p title=\"image\" class=\"print\"><img src=\"img\\a b.png\" alt=\"png\" scale=\"50\" transid=\"t2\"><br>"
        "<em title=\"image\">C</em></p><p><a href=\"topic3\" target=\"local\">link</a><a class=\"anchor\" name=\"n\">k</a>"
        "<a href=\"w\" target=\"web\">w</a></p><p title=\"table\">x<table cellspacing=\"0\" cellpadding=\"5\" border=\"1\">"
        "<tbody><tr class=\"header\"><td align=\"center\">h</td></tr></tbody></table><em title=\"table\">T</em></p>";
    // The HTML parser ends the wrapper P at its TABLE; the wrapper is rejoined.
    EXPECT_EQ(htmldom::innerHTML(htmldom::body(htmldom::parseBody(body).get())), body);
}

} // namespace
