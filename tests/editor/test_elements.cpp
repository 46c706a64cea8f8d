// What the element commands paste, the value rules of the element dialogs,
// the tree of link targets and the keyword tree.
#include "cproject.h"
#include "elementhtml.h"
#include "indexkeywords.h"
#include "language.h"
#include "linktree.h"
#include "msgbox.h"
#include "testsupport.h"
#include "topicconvert.h"
#include "ctopic.h"

#include <QDir>

#include <gtest/gtest.h>

#include <cmath>

using namespace elementhtml;
using namespace indexkeywords;
using testing_support::TempDir;

// --- pasted HTML ------------------------------------------------------------------

TEST(ElementHtml, AnchorAndLinks)
{
    EXPECT_EQ(anchorHTML(QStringLiteral("anchor3")),
              QStringLiteral("<a name=\"anchor3\" class=\"anchor\">anchor description</a>"));
    cLink local;
    local.Reference = QStringLiteral("topic7");
    EXPECT_EQ(linkHTML(local), QStringLiteral("<a href=\"topic7\" target=\"local\">link to topic7</a>"));
    cLink web;
    web.IsLocal = false;
    web.Reference = QStringLiteral("http://example.com/");
    web.WebLabel = QStringLiteral("Example");
    EXPECT_EQ(linkHTML(web), QStringLiteral("<a href=\"http://example.com/\" target=\"web\">Example</a>"));
}

TEST(ElementHtml, Images)
{
    cImage i;
    i.FileName = QStringLiteral("img\\en\\a.png");
    i.ImageFormat = QStringLiteral("PNG");
    i.ImageScale = QStringLiteral("50");
    i.Description = QStringLiteral("A picture");
    EXPECT_EQ(imageHTML(i), QStringLiteral("<p title=\"image\" class=\"\"><img src=\"img\\en\\a.png\" alt=\"PNG\" "
                                           "scale=\"50\"/><br><em title=\"image\">A picture</em></p>"));
    i.OutputForm = QStringLiteral("print");
    i.pxWidth = 40;
    i.pxHeight = 30;
    EXPECT_EQ(imageHTML(i),
              QStringLiteral("<p title=\"image\" class=\"print\"><img src=\"img\\en\\a.png\" alt=\"PNG\" scale=\"50\" "
                             "width=\"40\" height=\"30\"/><br><em title=\"image\">A picture</em></p>"));
    i.OutputForm = QStringLiteral("online");
    i.pxHeight = 0; // one size unknown: none is written
    EXPECT_TRUE(imageHTML(i).startsWith(QStringLiteral("<p title=\"image\" class=\"online\"><img")));
    EXPECT_FALSE(imageHTML(i).contains(QStringLiteral("width")));
}

TEST(ElementHtml, Tables)
{
    cDesignTable t;
    t.RowNum = 3;
    t.ColumnNum = 2;
    t.Description = QStringLiteral("Prices");
    EXPECT_EQ(tableHTML(t), QStringLiteral("<p title=\"table\"><table cellspacing=\"0\" cellpadding=\"5\" border=\"1\">"
                                           "<tr class=\"header\"><td></td><td></td></tr><tr><td></td><td></td></tr>"
                                           "<tr><td></td><td></td></tr></table><em title=\"table\">Prices</em></p>"
                                           "<p></p>"));
    t.Border = false;
    t.Header = false;
    t.RowNum = 1;
    t.ColumnNum = 1;
    EXPECT_EQ(tableText(t), QStringLiteral("<table cellspacing=\"0\" cellpadding=\"5\" border=\"0\"><tr>"
                                           "<td class=\"dottedBorder\"></td></tr></table>"));
    t.RowNum = 0;
    EXPECT_EQ(tableHTML(t), QString());
}

TEST(ElementHtml, AnInsertedTableIsAValidTopicTable)
{
    cDesignTable t;
    t.RowNum = 1;
    t.ColumnNum = 3;
    t.Description = QStringLiteral("Only a header");
    ScriptedMsgBox box;
    cTopic topic(box);
    topic.ID = QStringLiteral("topic1");
    setCurrentLanguage(QStringLiteral("en"));
    const QString xml =
        bodyHTMLToTopic(QStringLiteral("<h1>T</h1>") + tableHTML(t), QStringLiteral("/p/"), topic, box);
    QString message;
    EXPECT_TRUE(validateTopic(xml, message)) << message.toStdString();
    // A header row alone: neither col nor row.
    EXPECT_TRUE(xml.contains(QStringLiteral("<header><cell></cell><cell></cell><cell></cell></header>"))) << xml.toStdString();
    EXPECT_FALSE(xml.contains(QStringLiteral("<row")));
    EXPECT_FALSE(xml.contains(QStringLiteral("<col")));
    EXPECT_TRUE(xml.contains(QStringLiteral("<title>Only a header</title>")));
}

// --- value rules -----------------------------------------------------------------------

TEST(ElementRules, FormatsFromExtensions)
{
    EXPECT_EQ(formatForExtension(QStringLiteral("jpeg")), QStringLiteral("JPG"));
    EXPECT_EQ(formatForExtension(QStringLiteral("JPG")), QStringLiteral("JPG"));
    EXPECT_EQ(formatForExtension(QStringLiteral("bmp")), QStringLiteral("BMP"));
    EXPECT_EQ(formatForExtension(QStringLiteral("gif")), QStringLiteral("GIF"));
    EXPECT_EQ(formatForExtension(QStringLiteral("tif")), QStringLiteral("TIFF"));
    EXPECT_EQ(formatForExtension(QStringLiteral("TIFF")), QStringLiteral("TIFF"));
    EXPECT_EQ(formatForExtension(QStringLiteral("png")), QStringLiteral("PNG"));
    EXPECT_EQ(formatForExtension(QStringLiteral("svg")), QString());
    EXPECT_EQ(imageFormats().last(), QStringLiteral("TIFF"));
}

TEST(ElementRules, TheScaleRule)
{
    EXPECT_EQ(imageScale(QStringLiteral("50")), QStringLiteral("50"));
    EXPECT_EQ(imageScale(QStringLiteral("0")), QStringLiteral("0"));
    EXPECT_EQ(imageScale(QStringLiteral("-5")), QStringLiteral("100"));
    // Not a number: value 0, kept as typed.
    EXPECT_EQ(imageScale(QStringLiteral("big")), QStringLiteral("big"));
    EXPECT_EQ(imageFileName(QStringLiteral("de"), QStringLiteral("x.png")), QStringLiteral("img\\de\\x.png"));
}

TEST(ElementRules, NumericValues)
{
    EXPECT_EQ(numericValue(QStringLiteral("3")), 3);
    EXPECT_EQ(numericValue(QStringLiteral("  12abc")), 12);
    EXPECT_EQ(numericValue(QStringLiteral("1 2 3")), 123);
    EXPECT_EQ(numericValue(QStringLiteral("-4.5")), -4.5);
    EXPECT_EQ(numericValue(QStringLiteral("abc")), 0);
    EXPECT_EQ(numericValue(QString()), 0);
    EXPECT_EQ(numericValue(QStringLiteral("2e2")), 200);
    EXPECT_EQ(*toInt16(2.5), 2); // half to even
    EXPECT_EQ(*toInt16(3.5), 4);
    EXPECT_EQ(*toInt16(32767), 32767);
    EXPECT_FALSE(toInt16(40000).has_value());
}

// --- link targets -----------------------------------------------------------------------

namespace {

// A project with a chapter of two topics, one of them with an anchor, a
// subchapter, and a topic with a title only in another language.
QString linkProject(const QString& dir)
{
    const QString project = testing_support::makeProject(dir, QStringLiteral("manual"),
                                                         {QStringLiteral("en"), QStringLiteral("de")});
    ScriptedMsgBox box;
    cProject p(box);
    EXPECT_TRUE(p.Load(project));
    const QString folder = p.GetProjectFolder();
    const QString chapter = QStringLiteral(
        "<chapter><title lang=\"en\">Basics</title><title lang=\"de\">Grundlagen</title>"
        "<topic id=\"topic1\"><title lang=\"en\" state=\"complete\" stamp=\"\">Start</title>"
        "<title lang=\"de\" state=\"\" stamp=\"\">Anfang</title>"
        "<onelang lang=\"en\"><p>a<anchor id=\"anchor1\" name=\"Here\"/></p></onelang>"
        "<onelang lang=\"de\"><p>b<anchor id=\"anchor2\" name=\"Hier\"/></p></onelang></topic>"
        "<subchapter id=\"sub1\"><title lang=\"en\">More</title><title lang=\"de\">Mehr</title>"
        "<topic id=\"topic2\"><title lang=\"en\" state=\"uncomplete\" stamp=\"\">Deep</title>"
        "<title lang=\"de\" state=\"\" stamp=\"\">Tief</title><onelang lang=\"en\"/><onelang lang=\"de\"/></topic>"
        "</subchapter>"
        "<topic id=\"topic3\"><title lang=\"de\" state=\"\" stamp=\"\">Nur deutsch</title>"
        "<onelang lang=\"de\"><p><anchor id=\"anchor3\" name=\"Nein\"/></p></onelang></topic>"
        "<topic id=\"topic4\"><title lang=\"en\" state=\"uncomplete\" stamp=\"\">Last</title>"
        "<title lang=\"de\" state=\"\" stamp=\"\">Letzt</title><onelang lang=\"en\"/></topic>"
        "</chapter>");
    testing_support::writeUtf16(folder + QStringLiteral("chapter1.xml"), chapter);
    QString book = testing_support::readText(p.getBookFile());
    book.replace(QStringLiteral("]>"), QStringLiteral("<!ENTITY chapter1 SYSTEM \"chapter1.xml\">]>"));
    book.replace(QStringLiteral("</book>"), QStringLiteral("&chapter1;</book>"));
    testing_support::writeUtf16(p.getBookFile(), book);
    p.InsertChapter(QStringLiteral("Basics"), QStringLiteral("chapter1"), QStringLiteral("chapter1.xml"));
    return project;
}

QStringList describe(const BookTree& tree)
{
    QStringList out;
    tree.forEach([&out](const NodePtr& n, int depth) {
        out << QString(depth * 2, QLatin1Char(' ')) + n->Tag + QLatin1Char(':') + n->Key + QLatin1Char(':') +
                   n->Text;
    });
    return out;
}

} // namespace

TEST(LinkTree, BookChaptersTopicsAndAnchorsOfTheCurrentLanguage)
{
    TempDir tmp;
    const QString path = linkProject(tmp.path());
    ScriptedMsgBox box;
    cProject p(box);
    ASSERT_TRUE(p.Load(path));
    setCurrentLanguage(QStringLiteral("en"));
    BookTree tree;
    buildLinkTree(p, tree, box);
    EXPECT_TRUE(box.empty()) << box.last().toStdString();
    EXPECT_EQ(describe(tree), (QStringList{QStringLiteral("book::Manual"), QStringLiteral("  chapter::Basics"),
                                           QStringLiteral("    topic:topic1:Start"),
                                           QStringLiteral("      anchor:anchor1:Here"),
                                           QStringLiteral("    chapter:sub1:More"),
                                           QStringLiteral("      topic:topic2:Deep"),
                                           QStringLiteral("    topic:topic4:Last")}));
    // A finished topic shows its own picture.
    EXPECT_EQ(tree.FindKey(QStringLiteral("topic1"))->Image, 3);
    EXPECT_EQ(tree.FindKey(QStringLiteral("topic2"))->Image, 5);
    EXPECT_EQ(tree.FindKey(QStringLiteral("anchor1"))->Image, 7);

    setCurrentLanguage(QStringLiteral("de"));
    buildLinkTree(p, tree, box);
    EXPECT_NE(tree.FindKey(QStringLiteral("anchor2")), nullptr);
    EXPECT_NE(tree.FindKey(QStringLiteral("topic3")), nullptr);
    EXPECT_EQ(tree.FindKey(QStringLiteral("anchor1")), nullptr);
    setCurrentLanguage(QStringLiteral("en"));
}

// --- keywords ------------------------------------------------------------------------------

TEST(Keywords, TheTreeOfTwoLevels)
{
    const QString text = QStringLiteral(
        "<index transid=\"trans1\"><primary>Printing</primary><secondary>Paper</secondary></index>"
        "<index><primary>Printing</primary><secondary>Ink</secondary></index>"
        "<index transid=\"trans3\"><primary>Alpha</primary></index>"
        "<index><primary>Printing</primary></index>");
    const KeywordTree tree = parseIndexText(text);
    ASSERT_EQ(tree.size(), 2u);
    EXPECT_EQ(tree[0].text, QStringLiteral("Printing"));
    EXPECT_EQ(tree[0].key, QString());
    ASSERT_EQ(tree[0].children.size(), 2u);
    EXPECT_EQ(tree[0].children[0].key, QStringLiteral("trans1"));
    EXPECT_EQ(tree[0].children[1].text, QStringLiteral("Ink"));
    EXPECT_EQ(tree[1].key, QStringLiteral("trans3"));
    // The primary's own entry is lost: a node with children gives one index per child.
    EXPECT_EQ(buildIndexText(tree),
              QStringLiteral("<index transid=\"trans1\"><primary>Printing</primary><secondary>Paper</secondary>"
                             "</index><index><primary>Printing</primary><secondary>Ink</secondary></index>"
                             "<index transid=\"trans3\"><primary>Alpha</primary></index>"));
}

TEST(Keywords, MarkupCharactersReadBackAsTyped)
{
    const QString text = QStringLiteral(
        "<index transid=\"t&amp;1\"><primary>R&amp;D</primary><secondary>a &lt; b</secondary></index>"
        "<index><primary>Q&amp;A</primary></index>");
    const KeywordTree tree = parseIndexText(text);
    ASSERT_EQ(tree.size(), 2u);
    EXPECT_EQ(tree[0].text, QStringLiteral("R&D"));
    ASSERT_EQ(tree[0].children.size(), 1u);
    EXPECT_EQ(tree[0].children[0].text, QStringLiteral("a < b"));
    EXPECT_EQ(tree[0].children[0].key, QStringLiteral("t&1"));
    EXPECT_EQ(buildIndexText(tree), text);
    // A keyword typed with markup characters keeps the others.
    KeywordTree typed{{QStringLiteral("<b> & \"x\""), {}, {}}, {QStringLiteral("Other"), {}, {}}};
    const KeywordTree back = parseIndexText(buildIndexText(typed));
    ASSERT_EQ(back.size(), 2u);
    EXPECT_EQ(back[0].text, QStringLiteral("<b> & \"x\""));
    EXPECT_EQ(back[1].text, QStringLiteral("Other"));
}

TEST(Keywords, AKeywordWhoseTransidRepeatsIsKept)
{
    const QString text = QStringLiteral(
        "<index transid=\"t1\"><primary>A</primary></index><index transid=\"t1\"><primary>B</primary></index>"
        "<index transid=\"t2\"><primary>C</primary><secondary>x</secondary></index>"
        "<index transid=\"t2\"><primary>C</primary><secondary>y</secondary></index>");
    const KeywordTree tree = parseIndexText(text);
    ASSERT_EQ(tree.size(), 3u);
    EXPECT_EQ(tree[1].text, QStringLiteral("B"));
    EXPECT_EQ(tree[1].key, QStringLiteral("t1"));
    ASSERT_EQ(tree[2].children.size(), 2u);
    EXPECT_EQ(buildIndexText(tree), text);
}

TEST(Keywords, EmptyAndSorted)
{
    EXPECT_TRUE(parseIndexText(QString()).empty());
    EXPECT_EQ(buildIndexText({}), QString());
    std::vector<Keyword> level{{QStringLiteral("beta"), {}, {}}, {QStringLiteral("Alpha"), {}, {}},
                               {QStringLiteral("alpha"), {}, {}}};
    sortLevel(level);
    EXPECT_EQ(level[0].text, QStringLiteral("Alpha"));
    EXPECT_EQ(level[1].text, QStringLiteral("alpha"));
    EXPECT_EQ(level[2].text, QStringLiteral("beta"));
}
