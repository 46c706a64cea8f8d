#include "ctopic.h"
#include "language.h"
#include "msgbox.h"
#include "topicdtd.h"
#include "xmlsafety.h"

#include <gtest/gtest.h>

namespace {
const QString kTopic = QStringLiteral(
    "<topic id=\"topic1\"><title lang=\"en\" state=\"complete\" stamp=\"1/1/26 10:00\">T</title>"
    "<title lang=\"de\" state=\"\" stamp=\"2/2/26 11:00\">T</title>"
    "<onelang lang=\"en\"><index transid=\"trans3\"><primary>A &amp; B</primary><secondary>c</secondary></index>"
    "<index><primary>solo</primary></index><p>x</p></onelang><onelang lang=\"de\"></onelang></topic>");

bool valid(const QString& topic)
{
    xmlsafe::XmlError err;
    xmlsafe::EntityScope none(QStringList{});
    return xmlsafe::readMemory(topicValidationText(topic).toUtf8(), {}, 0, true, &err) != nullptr;
}
}

TEST(Topic, ExtractStateStampAndIndexes)
{
    setCurrentLanguage(QStringLiteral("en"));
    ScriptedMsgBox box;
    cTopic t(box);
    EXPECT_EQ(t.State, QStringLiteral("uncomplete"));
    EXPECT_EQ(t.ExtractState(kTopic), QStringLiteral("complete"));
    EXPECT_EQ(t.ExtractStamp(kTopic), QStringLiteral("1/1/26 10:00"));
    EXPECT_EQ(t.ExtractIndexes(kTopic),
              QStringLiteral("<index transid=\"trans3\"><primary>A &amp; B</primary><secondary>c</secondary></index>"
                             "<index><primary>solo</primary></index>"));
    setCurrentLanguage(QStringLiteral("de"));
    EXPECT_EQ(t.ExtractState(kTopic), QString());
    EXPECT_EQ(t.ExtractStamp(kTopic), QStringLiteral("2/2/26 11:00"));
    EXPECT_EQ(t.ExtractIndexes(kTopic), QString());
    EXPECT_TRUE(box.empty());

    // A missing attribute gives "" silently; a missing onelang a stop box.
    setCurrentLanguage(QStringLiteral("fr"));
    EXPECT_EQ(t.ExtractState(kTopic), QString());
    EXPECT_TRUE(box.empty());
    EXPECT_EQ(t.ExtractIndexes(kTopic), QString());
    EXPECT_EQ(box.last(), QStringLiteral("Error (class \"cTopic\"): Child <onelang> element not found!"));
    EXPECT_EQ(box.lastIcon(), MsgIcon::Critical);
    setCurrentLanguage(QStringLiteral("en"));
}

TEST(Topic, SingleLanguageFormAgainstTheDtd)
{
    const QString head = QStringLiteral("<topic id=\"topic1\"><title lang=\"en\" state=\"uncomplete\" stamp=\"s\">T</title>");
    EXPECT_TRUE(valid(head + QStringLiteral("<onelang lang=\"en\"></onelang></topic>")));
    EXPECT_TRUE(valid(head + QStringLiteral("<context><id>1</id><name>f</name></context><onelang lang=\"en\"><index><primary>k</primary></index>"
                                            "<p output=\"online\" transid=\"trans1\"><title>h</title>a<sign>b<link ref=\"topic2\"></link></sign>"
                                            "<anchor id=\"anchor1\" name=\"n\"></anchor></p><image file=\"img\\en\\a.png\" format=\"png\" scale=\"100\">cap</image>"
                                            "<notice><title>N</title><p>x</p></notice><list format=\"bullet\"><item>i</item></list>"
                                            "<table border=\"all\" colnumber=\"1\"><header><cell>h</cell></header><row><cell align=\"left\">c</cell></row>"
                                            "<col width=\"1*\"></col><title>t</title></table></onelang></topic>")));
    // A notice without a paragraph, two anchors with one id, an anchor with the topic's id.
    EXPECT_FALSE(valid(head + QStringLiteral("<onelang lang=\"en\"><notice><title>N</title></notice></onelang></topic>")));
    EXPECT_FALSE(valid(head + QStringLiteral("<onelang lang=\"en\"><p><anchor id=\"a1\" name=\"x\"></anchor>"
                                             "<anchor id=\"a1\" name=\"y\"></anchor></p></onelang></topic>")));
    EXPECT_FALSE(valid(head + QStringLiteral("<onelang lang=\"en\"><p><anchor id=\"topic1\" name=\"x\"></anchor></p></onelang></topic>")));
    // Two languages do not fit the single-language form.
    EXPECT_FALSE(valid(kTopic));
}
