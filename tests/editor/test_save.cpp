// The save steps on the surface's content: title test, validation message,
// merge into the stored topic.
#include "convtest.h"
#include "topicconvert.h"
#include "topicdtd.h"

using namespace convtest;

namespace {

TEST(ConvSave, TitleIsTheTextOfAFirstH1)
{
    QString title;
    EXPECT_TRUE(topicTitleFromBody("<h1>Links &amp; Anchors</h1><p>x</p>", title));
    EXPECT_EQ(title, "Links & Anchors");
    EXPECT_TRUE(topicTitleFromBody("<h1>A&nbsp;B<br>C</h1>", title));
    EXPECT_EQ(title, QStringLiteral("A\u00a0B"));
    for (const char* body : {"<h1></h1><p>x</p>", "<h1><br></h1>", "<p>x</p><h1>Late</h1>", " <h1>Blank first</h1>", ""})
        EXPECT_FALSE(topicTitleFromBody(body, title)) << body;
}

// The message and its column; the window is checked against the column.
QString invalid(const QString& xml, int& column)
{
    QString message;
    EXPECT_FALSE(validateTopic(xml, message));
    const int at = int(message.indexOf(", column ")) + 9;
    column = message.mid(at, message.indexOf('\r', at) - at).toInt();
    return message;
}

TEST(ConvSave, ValidationMessages)
{
    QString valid;
    EXPECT_TRUE(validateTopic("<topic id=\"t\" output=\"print\"><title>T</title><context><id>1</id><name>f</name>"
                              "</context><onelang lang=\"en\"><index><primary>k</primary></index></onelang></topic>",
                              valid))
        << valid.toStdString();
    int col = 0;
    QString xml = topic("<p>First text.<anchor id=\"anchor1\" name=\"a\"/></p><p>More.<anchor id=\"anchor1\" name=\"b\"/></p>");
    QString text = topicValidationText(xml);
    QString message = invalid(xml, col);
    EXPECT_EQ(message, "Topic is not valid! Please rewrite or delete problem part.\r\n\r\nError on line 1, "
                                 "column " + QString::number(col) + "\r\n\r\n..." + text.mid(col - 41, 80) +
                                     "...\r\nID anchor1 already defined");
    // The parser stands at the "/" closing the second anchor.
    EXPECT_EQ(col, text.indexOf("name=\"b\"/>") + 9);

    xml = topic("<notice><title>Only a title</title></notice>");
    text = topicValidationText(xml);
    message = invalid(xml, col);
    EXPECT_EQ(message, "Topic is not valid! Please rewrite or delete problem part.\r\n\r\nError on line 1, "
                                 "column " + QString::number(col) + "\r\n\r\n..." + text.mid(col - 41, 80) +
                                     "...\r\nElement notice content does not follow the DTD, expecting (title? , p+), "
                                     "got (title)");
    EXPECT_TRUE(invalid(topic("<p><anchor id=\"topic1\" name=\"a\"/></p>"), col).endsWith("ID topic1 already defined"));
}

TEST(ConvSave, ValidationWindowCountsCharactersOnTheLineOfTheError)
{
    const QString line2 = QStringLiteral("two \u00e4\u20ac\U0001F600 <anchor id=\"x\" name=\"a\"/><anchor id=\"x\" "
                                         "name=\"b\"/></p></onelang></topic>");
    int col = 0;
    const QString message = invalid(topic("<p>one\n" + line2.left(line2.indexOf("</p>")) + "</p>"), col);
    const QList<uint> chars = line2.toUcs4();
    EXPECT_EQ(col, line2.left(line2.indexOf("name=\"b\"/>") + 9).toUcs4().size());
    const QList<uint> window = chars.mid(col - 41, 80);
    EXPECT_EQ(window.value(40), uint('/'));
    EXPECT_TRUE(message.contains("Error on line 2, column " + QString::number(col) + "\r\n\r\n..." +
                                 QString::fromUcs4(reinterpret_cast<const char32_t*>(window.constData()), window.size()) +
                                 "...\r\n"))
        << message.toStdString();
}

TEST(ConvSave, MergeReplacesThisLanguageAndClearsTheOthersState)
{
    const QString stored =
        "<topic id=\"topic1\" output=\"online\"><title lang=\"en\" state=\"uncomplete\" stamp=\"1\">Old</title>"
        "<title lang=\"de\" state=\"complete\" stamp=\"2\">Alt</title><title lang=\"fr\">Vieux</title>"
        "<context><id>5</id><name>frmMain</name></context><onelang lang=\"en\"><p>old</p></onelang>"
        "<onelang lang=\"de\"><p>alt &amp; mehr \u00e4</p></onelang></topic>";
    const QString fresh = "<topic id=\"topic1\"><title lang=\"en\" stamp=\"9\" state=\"complete\">New</title>"
                          "<onelang lang=\"en\"><p>new <link ref=\"x\"/></p></onelang></topic>";
    EXPECT_EQ(mergeTopic(stored, fresh, "en"),
              "<topic id=\"topic1\" output=\"online\"><title lang=\"en\" stamp=\"9\" state=\"complete\">New</title>"
              "<title lang=\"de\" state=\"\" stamp=\"2\">Alt</title><title lang=\"fr\" state=\"\">Vieux</title>"
              "<context><id>5</id><name>frmMain</name></context><onelang lang=\"en\"><p>new <link ref=\"x\"></link></p>"
              "</onelang><onelang lang=\"de\"><p>alt &amp; mehr \u00e4</p></onelang></topic>");
    EXPECT_EQ(mergeTopic("<topic", fresh, "en"), "");
}

} // namespace
