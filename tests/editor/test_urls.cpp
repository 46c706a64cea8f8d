// Saved HTML from a hostile or careless source: script and data addresses in
// links and images are refused, pasted formatting keeps its text, and nested
// tables give one clear refusal instead of a message per level.
#include "chtmldoc.h"
#include "convtest.h"
#include "ctopic.h"
#include "topicconvert.h"

#include <gtest/gtest.h>

using namespace convtest;
using namespace testing_support;

namespace {
const QString kRefusal = QStringLiteral("Links and images may only use http, https, mailto or ftp addresses, "
                                        "relative paths and topic ids.");

class ConvAddresses : public ::testing::Test {
protected:
    LanguageScope lang{QStringLiteral("en")};
    ScriptedMsgBox box;
    cTopic record{box};
    void SetUp() override
    {
        record.ID = QStringLiteral("topic1");
        record.Stamp = QStringLiteral("1/2/26 10:00");
    }
    QString save(const QString& body) { return bodyHTMLToTopic("<h1>T</h1>" + body, QStringLiteral("/base/"), record, box); }
};
} // namespace

TEST(AllowedAddress, SchemesAsABrowserReadsThem)
{
    for (const char* ok : {"http://example.org", "HTTPS://example.org/a?b", "mailto:a@b.c", "ftp://f.example.org/x",
                           "FtP://x", "topic12", "anchor3", "img/en/a.png", "img\\en\\a.png", "../img/a.png",
                           "a.png?x=1:2", "dir/file:name.png", "#top", "?q=a:b", "", "www.example.org"})
        EXPECT_TRUE(isAllowedAddress(QString::fromUtf8(ok))) << ok;
    for (const char* bad : {"javascript:alert(1)", "JavaScript:alert(1)", " javascript:alert(1)", "\tjavascript:x",
                            "java\tscript:x", "java\nscript:x", "java\rscript:x", "\x01\x02javascript:x",
                            "\x1f javascript:x", "vbscript:msgbox", "VBScript:x", "data:text/html,<script>",
                            "DATA:image/png;base64,AAAA", "file:///etc/passwd", "FILE:///c/x", "livescript:x",
                            "jar:file:x!/", "view-source:http://x", "c:\\images\\a.png", "x:"})
        EXPECT_FALSE(isAllowedAddress(QString::fromUtf8(bad))) << bad;
}

TEST_F(ConvAddresses, AScriptLinkOrImageRefusesTheSave)
{
    const QStringList bad = {
        "<p><a href=\"javascript:alert(1)\" target=\"web\">x</a></p>",
        "<p><a href=\"  JAVASCRIPT:alert(1)\" target=\"web\">x</a></p>",
        "<p><a href=\"java&#9;script:alert(1)\" target=\"web\">x</a></p>",
        "<p><a href=\"java&#10;script:alert(1)\" target=\"local\">x</a></p>",
        "<p><a href=\"\x01\x02javascript:alert(1)\" target=\"web\">x</a></p>",
        "<p><a href=\"vbscript:msgbox(1)\" target=\"web\">x</a></p>",
        "<p><a href=\"data:text/html;base64,PHNjcmlwdD4=\" target=\"web\">x</a></p>",
        "<p><a href=\"file:///etc/passwd\" target=\"local\">x</a></p>",
        "<p title=\"image\"><img src=\"javascript:alert(1)\" alt=\"png\" scale=\"100\"></p>",
        "<p title=\"image\"><img src=\"data:image/png;base64,AAAA\" alt=\"png\" scale=\"100\"></p>",
        "<p title=\"image\"><img src=\"file:///elsewhere/a.png\" alt=\"png\" scale=\"100\"></p>",
    };
    for (const QString& body : bad) {
        box.clear();
        const QString xml = save(body);
        EXPECT_EQ(xml, QString()) << body.toStdString();
        EXPECT_FALSE(xml.contains("script:"));
        QString message;
        EXPECT_FALSE(validateTopic(xml, message));
        EXPECT_TRUE(message.startsWith("Topic is not valid! Please rewrite or delete problem part.\r\n\r\n" + kRefusal))
            << message.toStdString();
        EXPECT_TRUE(message.endsWith("The topic was not saved."));
        EXPECT_TRUE(box.empty()); // one message, from the save
    }
    // The message names the address.
    save("<p><a href=\"vbscript:msgbox(1)\" target=\"web\">x</a></p>");
    QString message;
    validateTopic(QString(), message);
    EXPECT_TRUE(message.contains("\"vbscript:msgbox(1)\"")) << message.toStdString();
}

TEST_F(ConvAddresses, AllowedAddressesAreStoredAsBefore)
{
    const QString xml = save("<p><a href=\"https://example.org/\" target=\"web\">site</a>"
                             "<a href=\"topic3\" target=\"local\">link to topic3</a>"
                             "<a href=\"mailto:a@b.c\" target=\"web\">mail</a></p>"
                             "<p title=\"image\"><img src=\"file:///base/img/en/a.png\" alt=\"png\" scale=\"100\"></p>");
    EXPECT_TRUE(xml.contains("<link ref=\"https://example.org/\" weblabel=\"site\"")) << xml.toStdString();
    EXPECT_TRUE(xml.contains("<link ref=\"topic3\"")) << xml.toStdString();
    EXPECT_TRUE(xml.contains("<link ref=\"mailto:a@b.c\" weblabel=\"mail\"")) << xml.toStdString();
    EXPECT_TRUE(xml.contains("<image file=\"img/en/a.png\"")) << xml.toStdString();
    QString message;
    EXPECT_TRUE(validateTopic(xml, message)) << message.toStdString();
    // A later refusal does not stick to the next valid save.
    save("<p><a href=\"javascript:x\" target=\"web\">x</a></p>");
    const QString again = save("<p>plain</p>");
    EXPECT_TRUE(validateTopic(again, message)) << message.toStdString();
    EXPECT_TRUE(box.empty());
}

TEST_F(ConvAddresses, PastedFormattingKeepsItsText)
{
    const QString xml = save("<div><p>Plain <b>bold</b>, <i>italic</i>, <span style=\"x\">spanned</span> and "
                             "<b><i>both</i></b>.</p></div><div><div><p>deep <span><b>inside</b></span></p></div></div>");
    EXPECT_TRUE(xml.contains("<p>Plain bold, italic, spanned and both.</p><p>deep inside</p>")) << xml.toStdString();
    QString message;
    EXPECT_TRUE(validateTopic(xml, message)) << message.toStdString();
    EXPECT_TRUE(box.empty());
}

TEST_F(ConvAddresses, NestedTablesGiveOneClearRefusal)
{
    auto table = [](const QString& cellContent) {
        return "<p title=\"table\"><table border=\"1\"><tbody><tr class=\"header\"><td>H1</td><td>H2</td></tr>"
               "<tr><td>" + cellContent + "</td><td>b</td></tr><tr><td>c</td><td>d</td></tr></tbody></table></p>";
    };
    // Tables three deep, several per cell.
    const QString inner = table("x") + table("y");
    const QString middle = table(inner + table(inner));
    const QString xml = save(table(middle) + "<p>after</p>");
    for (const QString& t : box.texts())
        EXPECT_FALSE(t.contains("Division by zero")) << t.toStdString();
    EXPECT_TRUE(box.empty()) << box.texts().join(" | ").toStdString();
    // What follows the tables is kept in place.
    EXPECT_TRUE(xml.endsWith("<p>after</p></onelang></topic>")) << xml.toStdString();
    // The outer table's widths are its own: two columns.
    EXPECT_TRUE(xml.contains("<table border=\"all\" colnumber=\"2\">")) << xml.toStdString();
    // A table inside a cell is not part of the vocabulary: the save stops
    // with the validation's one message.
    QString message;
    EXPECT_FALSE(validateTopic(xml, message));
    EXPECT_TRUE(message.startsWith("Topic is not valid! Please rewrite or delete problem part.")) << message.toStdString();

    // Header-only tables, and tables in header cells and in the last row.
    auto headerOnly = [](const QString& cellContent) {
        return "<p title=\"table\"><table border=\"0\"><tbody><tr class=\"header\"><td>" + cellContent +
               "</td><td>h</td></tr></tbody></table></p>";
    };
    auto lastRow = [](const QString& cellContent) {
        return "<p title=\"table\"><table border=\"1\"><tbody><tr><td>a</td><td>b</td></tr><tr><td>c</td><td>" +
               cellContent + "</td></tr></tbody></table></p>";
    };
    for (const QString& body : {table(headerOnly("x")), headerOnly(table("x")), lastRow(headerOnly(lastRow("y"))),
                                lastRow(table(headerOnly("z")) + headerOnly("w")),
                                table(lastRow(table(headerOnly(lastRow("v"))))) + "<p>after</p>"}) {
        box.clear();
        save(body);
        EXPECT_TRUE(box.empty()) << body.toStdString() << "\n" << box.texts().join(" | ").toStdString();
    }
}
