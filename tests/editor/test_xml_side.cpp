// cXMLDoc: the walker over stored topic XML and the sink that builds the
// single-language topic.
#include "convtest.h"
#include "cxmldoc.h"

using namespace convtest;

namespace {

TEST(ConvXmlWalker, EventsOfEveryElement)
{
    LanguageScope en("en");
    ScriptedMsgBox box;
    const std::pair<const char*, const char*> cases[] = {
        {"<p transid=\"t1\" output=\"online\"><title>H</title>a<sign>b<link ref=\"topic3\"/></sign></p>",
         "5 @3=online @17=t1 41 'H' 42 'a' 17 'b' 9 @8=topic3 10 18 6"},
        {"<p><link weblabel=\"Site\" ref=\"https://x.org\">no</link><anchor name=\"keys\" id=\"anchor1\">no</anchor></p>",
         "5 9 @8=https://x.org @9=Site 10 11 @1=anchor1 @10=keys 12 6"},
        {"<image transid=\"t2\" output=\"print\" scale=\"50\" format=\"png\" file=\"img\\a.png\">C<title>no</title></image>",
         "7 @5=img\\a.png @6=png @7=50 @3=print @17=t2 37 'C' 38 8"},
        {"<notice output=\"print\" transid=\"t4\"><title>N</title><p output=\"online\" transid=\"t5\">x</p></notice>",
         "13 @3=print @17=t4 15 'N' 16 31 'x' 32 14"},
        {"<list transid=\"t6\" format=\"number\"><item>a</item><item/></list>", "19 @11=number @17=t6 21 'a' 22 21 22 20"},
        {"<table output=\"online\" border=\"none\" colnumber=\"2\" transid=\"t3\"><col width=\"1*\"/><title>T</title>"
         "<header><cell>h</cell></header><row><cell align=\"right\">a</cell></row></table>",
         "23 @17=t3 @12=none @3=online 39 'T' 40 25 29 'h' 30 26 27 29 @13=right 'a' 30 28 24"},
        // Skipped with their subtree; comments and instructions become text.
        {"<index><primary>k</primary></index><p>a<x>b</x><!--c--><?pi d?></p><col/>", "5 'a' 'c' 'd' 6"},
    };
    for (const auto& [xml, events] : cases)
        EXPECT_EQ(xmlEvents(topic(xml), box), QString("3 'Title' 4 ") + events) << xml;
    EXPECT_TRUE(box.empty());
}

TEST(ConvXmlWalker, OnlyTheCurrentLanguage)
{
    const QString xml = "<topic id=\"t\"><title lang=\"en\">Hello</title><title lang=\"de\">Hallo</title>"
                        "<context><id>1</id><name>f</name></context>"
                        "<onelang lang=\"en\"><p>en</p></onelang><onelang lang=\"de\"><p>de</p></onelang></topic>";
    ScriptedMsgBox box;
    LanguageScope de("de");
    EXPECT_EQ(xmlEvents(xml, box), "3 'Hallo' 4 5 'de' 6");
    LanguageScope fr("fr");
    EXPECT_EQ(xmlEvents(xml, box), "");
}

TEST(ConvXmlWalker, MissingRequiredAttributeLeavesThatLevelSilently)
{
    LanguageScope en("en");
    ScriptedMsgBox box;
    const std::pair<const char*, const char*> cases[] = {
        {"<p>a</p><image format=\"png\" scale=\"1\"/><p>lost</p>", "5 'a' 6 7"},
        {"<table border=\"all\"><row><cell>x<image format=\"png\" scale=\"1\"/>lost</cell><cell>c</cell></row></table>",
         "23 @12=all 27 29 'x' 7 30 29 'c' 30 28 24"},
        {"<table><row/></table><p>lost</p>", "23"},
        {"<list><item/></list>", "19"},
        {"<p><link/>lost</p><p><anchor id=\"a\"/>lost</p>", "5 9 6 5 11 @1=a 6"},
    };
    for (const auto& [xml, events] : cases)
        EXPECT_EQ(xmlEvents(topic(xml), box), QString("3 'Title' 4 ") + events) << xml;
    EXPECT_EQ(xmlEvents("<topic id=\"t\"><title>x</title><onelang lang=\"en\"><p/></onelang></topic>", box), "");
    EXPECT_TRUE(box.empty());
    // A document without topic is the one message of this direction.
    EXPECT_EQ(xmlEvents("<chapter><topic id=\"t\"/></chapter>", box), "");
    EXPECT_EQ(box.texts(), QStringList{"Child <topic> element not found!"});
    EXPECT_EQ(box.lastIcon(), MsgIcon::Critical);
}

TEST(ConvXmlSink, BuildsTheSingleLanguageTopic)
{
    LanguageScope en("en");
    ScriptedMsgBox box;
    cTopic record(box);
    record.ID = "topic7";
    record.Stamp = "3/4/26 11:12";
    record.State = "complete";
    record.index = "<index transid=\"t9\"><primary>a &amp; b</primary></index><index><primary>d</primary></index>";
    // The title goes first, whenever it comes; texts stay as they came.
    EXPECT_EQ(xmlFrom(QStringLiteral("1 5 'a < b & c >\u00a0' 6 3 'Head' 4 6 6 5 6 2"), record, box),
              QStringLiteral("<topic id=\"topic7\"><title lang=\"en\" stamp=\"3/4/26 11:12\" state=\"complete\">Head"
                             "</title><onelang lang=\"en\"><index transid=\"t9\"><primary>a &amp; b</primary></index>"
                             "<index><primary>d</primary></index><p>a &lt; b &amp; c &gt;\u00a0</p></onelang>"
                             "<p></p></topic>"));

    const std::pair<int, const char*> elements[] = {{5, "p"},      {31, "p"},    {7, "image"},  {9, "link"},
                                                    {11, "anchor"}, {13, "notice"}, {15, "title"}, {33, "title"},
                                                    {41, "title"}, {17, "sign"}, {19, "list"},  {21, "item"},
                                                    {23, "table"}, {25, "header"}, {27, "row"}, {29, "cell"},
                                                    {35, "col"}};
    for (const auto& [code, name] : elements)
        EXPECT_EQ(xmlFrom(QString("1 %1 'x' %2 37 38 39 40 0 43 'y' 2").arg(code).arg(code + 1), record, box),
                  QString("<topic id=\"topic7\"><onelang lang=\"en\"><index transid=\"t9\"><primary>a &amp; b</primary>"
                          "</index><index><primary>d</primary></index><%1>x</%1>y</onelang></topic>").arg(name));

    record.index.clear();
    const std::pair<int, const char*> attributes[] = {
        {1, "id"},      {3, "output"}, {5, "file"},        {6, "format"},  {7, "scale"},          {8, "ref"},
        {9, "weblabel"}, {10, "name"}, {11, "format"},     {12, "border"}, {13, "align"},         {14, "lang"},
        {15, "colnumber"}, {16, "width"}, {17, "transid"}, {2, "unknown_attrib"}, {18, "unknown_attrib"}};
    for (const auto& [code, name] : attributes)
        EXPECT_EQ(xmlFrom(QString("1 5 @%1=\u00e4&\"< 6 2").arg(code), record, box),
                  QString("<topic id=\"topic7\"><onelang lang=\"en\"><p %1=\"\u00e4&amp;&quot;&lt;\"></p></onelang>"
                          "</topic>").arg(name));
}

} // namespace
