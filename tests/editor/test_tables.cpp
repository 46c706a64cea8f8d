// Tables on the way back: colnumber, column widths, malformed tables.
#include "chtmldoc.h"
#include "convtest.h"
#include "topicconvert.h"

using namespace convtest;

namespace {

// A table in its wrapper; rows separated by "|", cells by ",", "h:" marks the header row.
QString table(const QString& rows, const QString& border = "1")
{
    QString html = "<p title=\"table\"><table border=\"" + border + "\"><tbody>";
    for (QString row : rows.split('|')) {
        const bool header = row.startsWith("h:");
        html += header ? "<tr class=\"header\">" : "<tr>";
        if (header)
            row.remove(0, 2);
        for (const QString& cell : row.split(',', Qt::KeepEmptyParts))
            html += "<td>" + cell + "</td>";
        html += "</tr>";
    }
    return html + "</tbody></table></p>";
}

class ConvTables : public ::testing::Test {
protected:
    LanguageScope en{"en"};
    ScriptedMsgBox box;
    cTopic record{box};
    QString xml(const QString& body)
    {
        const QString x = bodyHTMLToTopic(body, {}, record, box);
        return x.mid(x.indexOf("<table"), x.indexOf("</table>") + 8 - x.indexOf("<table"));
    }
};

TEST(ConvColumnWidth, RoundingHalfToEvenAndBands)
{
    EXPECT_EQ(divideHalfEven(37, 2), 18);
    EXPECT_EQ(divideHalfEven(39, 2), 20);
    EXPECT_EQ(divideHalfEven(1, 2), 0);
    EXPECT_EQ(divideHalfEven(7, 3), 2);
    EXPECT_EQ(divideHalfEven(-5, 2), -2);
    EXPECT_THROW(divideHalfEven(0, 0), ConversionFailure);
    const QString bands[] = {"1*", "2*", "2*", "5*", "5*", "10*"};
    int i = 0;
    for (int value : {4, 5, 10, 11, 20, 21})
        EXPECT_EQ(columnWidth(value, 10, 5), bands[i++]) << value;
}

TEST_F(ConvTables, WidthsOfTheExamples)
{
    EXPECT_EQ(xml(table("")), "<table border=\"all\" colnumber=\"1\"><row><cell></cell></row><col width=\"2*\"></col></table>");
    const QString b10(10, 'b'), c100(100, 'c');
    EXPECT_EQ(xml(table("a," + b10 + "," + c100)),
              "<table border=\"all\" colnumber=\"3\"><row><cell>a</cell><cell>" + b10 + "</cell><cell>" + c100 +
                  "</cell></row><col width=\"1*\"></col><col width=\"1*\"></col><col width=\"10*\"></col></table>");
    // Header-only: colnumber from the header cells, no col.
    EXPECT_EQ(xml(table("h:a,b,c")), "<table border=\"all\" colnumber=\"3\"><header><cell>a</cell><cell>b</cell>"
                                     "<cell>c</cell></header></table>");
    // Means over rows (5 and 20, mean 12.5 -> 12, half 6); header text and
    // link text count for nothing, sign text does.
    EXPECT_TRUE(xml(table("h:" + QString(99, 'h') + ",h|aaaa," + QString(30, 'x') + "|bbbbbb," + QString(10, 'y')))
                    .endsWith("<col width=\"1*\"></col><col width=\"5*\"></col></table>"));
    EXPECT_TRUE(xml(table("<strong>abcdefghij</strong>,<a href=\"t\" target=\"local\">link to something long</a>"))
                    .endsWith("<col width=\"5*\"></col><col width=\"1*\"></col></table>"));
    // colnumber is the cell count of the last row walked.
    EXPECT_TRUE(xml(table("a,b,c|d,e")).startsWith("<table border=\"all\" colnumber=\"2\">"));
    EXPECT_TRUE(box.empty());
}

TEST_F(ConvTables, BorderAttributeAndChildOrder)
{
    EXPECT_EQ(xml("<p title=\"table\" class=\"print\"><table border=\"0\" transid=\"t3\"><tbody><tr class=\"header\"><td>h</td></tr>"
                  "<tr><td align=\"left\">a</td></tr></tbody></table><em title=\"table\">T</em></p>"),
              "<table border=\"none\" transid=\"t3\" output=\"print\" colnumber=\"1\"><header><cell>h</cell></header>"
              "<row><cell align=\"left\">a</cell></row><col width=\"2*\"></col><title>T</title></table>");
    EXPECT_TRUE(xml(table("a", "")).startsWith("<table border=\"none\""));
    EXPECT_TRUE(xml(table("a", "2")).startsWith("<table colnumber"));
}

TEST_F(ConvTables, MalformedTablesFailAtTheirLevel)
{
    // A row longer than the first: its level is left after the failing cell.
    const QString longRow = bodyHTMLToTopic(table("a|b,c,d") + "<p>after</p>", {}, record, box);
    EXPECT_EQ(box.texts(), QStringList{"Subscript out of range"});
    EXPECT_EQ(box.lastIcon(), MsgIcon::Critical);
    EXPECT_TRUE(withoutCols(longRow).contains("<row><cell>b</cell><cell>c</cell></row></table><p>after</p>"));
    box.clear();
    // No cells at all: the mean divides by 0 and the body level is left
    // inside the table, which is never closed.
    const QString noCells = bodyHTMLToTopic(table("").replace("<td></td>", "") + "<p>lost</p>", {}, record, box);
    EXPECT_EQ(box.texts(), QStringList{"Division by zero"});
    EXPECT_TRUE(noCells.endsWith("<table border=\"all\" colnumber=\"0\"><row></row></table></onelang></topic>"));
}

} // namespace
