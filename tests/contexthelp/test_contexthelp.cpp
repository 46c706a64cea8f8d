// Context help: the record rules, helpcontextid.xml byte for byte, the
// workbench's commands on the sample with their groups and messages, and
// the context elements in the chapter files.
#include "ccontexthelp.h"
#include "cconfigfile.h"
#include "cproject.h"
#include "output.h"
#include "paths.h"
#include "processrunner.h"
#include "outputlog.h"
#include "outputproperties.h"
#include "testsupport.h"
#include "workbench.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QtEndian>

#include <gtest/gtest.h>

#include <map>

using namespace testing_support;

namespace {

// The forms file of a small application: two forms share an ID.
const char kForms[] =
    "<?xml version=\"1.0\"?><!DOCTYPE forms [<!ELEMENT forms (form*)><!ELEMENT form (name,caption,helpid)>"
    "<!ELEMENT name (#PCDATA)><!ELEMENT caption (#PCDATA)><!ELEMENT helpid (#PCDATA)>]><forms>"
    "<form><name>frmMain</name><caption>Main Window</caption><helpid>1000</helpid></form>"
    "<form><name>frmOpen</name><caption>Open File</caption><helpid>2000</helpid></form>"
    "<form><name>frmOpenRecent</name><caption>Recent Files</caption><helpid>2000</helpid></form>"
    "<form><name>frmAbout</name><caption>About</caption><helpid>3000</helpid></form>"
    "</forms>";

// The record dialog, scripted: fills the record unless it fails the rules.
ContextHelpWorkbench::RecordDialog dialog(const QString& name, const QString& id, const QString& caption = {})
{
    return [=](cContextHelp& r) {
        r = {caption, name, id};
        return recordProblem(r).isEmpty();
    };
}

class Workbench : public ::testing::Test {
protected:
    TempDir dir;
    ScriptedMsgBox box;
    QString qly;
    QString folder;
    std::unique_ptr<cProject> project;

    void SetUp() override
    {
        qly = copySample(dir.path());
        folder = QFileInfo(qly).absolutePath() + QStringLiteral("/sample/");
        project = std::make_unique<cProject>(box);
        ASSERT_TRUE(project->Load(qly));
        writeBytes(dir.file("forms.xml"), kForms);
    }

    std::unique_ptr<ContextHelpWorkbench> open()
    {
        auto w = std::make_unique<ContextHelpWorkbench>(*project, box);
        w->load();
        return w;
    }
    NodePtr topic(ContextHelpWorkbench& w, const QString& id) { return w.topics().FindKey(id); }
    NodePtr form(ContextHelpWorkbench& w, const QString& name) { return w.forms().FindKey(name); }
    // The form first: a click on an assigned form makes its topic the current one.
    bool assign(ContextHelpWorkbench& w, const QString& topicId, const QString& formName)
    {
        w.clickForm(form(w, formName));
        w.clickTopic(topic(w, topicId));
        return w.cmdAdd();
    }
    QString chapter(int i) const { return readText(folder + QStringLiteral("chapter%1.xml").arg(i)); }
    // Publishes the project in English, unfinished topics and all; the result file.
    QString publish(const QString& format, QString* logText = nullptr)
    {
        box.setDefault(MsgAnswer::Yes);
        cProject published(box);
        if (!published.Load(qly))
            return {};
        cOutputProperties props;
        OutputLog log;
        cOutput out(published, props, log, box);
        out.runOutput("en", format, false);
        if (logText)
            *logText = log.text();
        return out.resultFile;
    }
    // Three IDs of four forms (two share one) on three topics.
    void assignThree()
    {
        auto w = open();
        ASSERT_TRUE(w->cmdLoad(dir.file("forms.xml")));
        ASSERT_TRUE(assign(*w, "topic5", "frmOpen"));
        ASSERT_TRUE(assign(*w, "topic3", "frmAbout"));
        ASSERT_TRUE(w->cmdOK());
    }
    const std::map<quint32, QString> kTitles{{1000, "Welcome"}, {2000, "Finished Topic"}, {3000, "Tables"}};
};

} // namespace

TEST(ContextRecord, RulesInTheirOrder)
{
    const std::pair<cContextHelp, const char*> cases[] = {
        {{"", "", "10"}, "Name and ID values must be typed down!"},
        {{"", "a", ""}, "Name and ID values must be typed down!"},
        {{"", "a b", "x"}, "Form name can include only letters and digits!"},
        {{"", QString::fromUtf8("fr\xC3\xB6m"), "10"}, "Form name can include only letters and digits!"},
        {{"", "_a", "10"}, "Form name must start with letter!"},
        {{"", "1a", "10"}, "Form name must start with letter!"},
        {{"a & b", "a", "x"}, "Form caption may not include \"&\", \"<\", \">\" characters!"},
        {{"", "a", "1x"}, "Context help ID can include only digits!"},
        {{"", "a", "0"}, "Context help ID must start with non-zero!"},
        {{"", "a", "007"}, "Context help ID must start with non-zero!"},
        {{"", "a_b-c", "10"}, ""},
        {{"", "A", "12345678901234567890"}, ""},
    };
    for (const auto& [record, message] : cases)
        EXPECT_EQ(recordProblem(record), QString::fromUtf8(message)) << record.Tag.toStdString() << " " << record.ID.toStdString();
}

TEST(ContextFile, WrittenByteForByteAndReadBack)
{
    FormCollection forms;
    EXPECT_TRUE(forms.add({"Main Window", "frmMain", "1000"}));
    EXPECT_TRUE(forms.add({"", "frmOpen", "2000"}));
    EXPECT_FALSE(forms.add({"Other", "frmMain", "5"}));
    const QByteArray bytes = helpContextBytes(forms);
    const QString expected = QStringLiteral(
        "<?xml version=\"1.0\"?><!DOCTYPE forms [<!ELEMENT forms (form*)><!ELEMENT form (name,caption,helpid)>"
        "<!ELEMENT name (#PCDATA)><!ELEMENT caption (#PCDATA)><!ELEMENT helpid (#PCDATA)>]><forms>"
        "<form><name>frmMain</name><caption>Main Window</caption><helpid>1000</helpid></form>"
        "<form><name>frmOpen</name><caption></caption><helpid>2000</helpid></form></forms>");
    QByteArray utf16("\xFF\xFE", 2);
    for (QChar c : expected) {
        utf16 += char(c.unicode() & 0xFF);
        utf16 += char(c.unicode() >> 8);
    }
    EXPECT_EQ(bytes, utf16);

    TempDir dir;
    writeBytes(dir.file("f.xml"), bytes);
    FormCollection back;
    ASSERT_TRUE(readHelpContext(dir.file("f.xml"), back, nullptr));
    ASSERT_EQ(back.records().size(), 2u);
    EXPECT_EQ(back.records()[0].Caption, "Main Window");
    EXPECT_EQ(back.records()[1].Tag, "frmOpen");
    EXPECT_EQ(back.records()[1].Caption, "");

    // Line breaks and tabs between elements are no values; a name twice is refused.
    writeBytes(dir.file("g.xml"), "<forms>\n\t<form>\n<name>a</name>\n<caption>\tCap</caption><helpid>1</helpid></form>"
                                  "<form><name>a</name><caption/><helpid>2</helpid></form></forms>");
    QString why;
    EXPECT_FALSE(readHelpContext(dir.file("g.xml"), back, &why));
    EXPECT_TRUE(why.contains("\"a\"")) << why.toStdString();
    writeBytes(dir.file("h.xml"), "<forms>\n\t<form>\n<name>a</name>\n<caption>\tCap</caption><helpid>1</helpid></form></forms>");
    ASSERT_TRUE(readHelpContext(dir.file("h.xml"), back, nullptr));
    EXPECT_EQ(back.records()[0].Caption, "Cap");
}

// The done-when walk: a forms file is loaded, three forms (two sharing an ID)
// go to two topics, OK writes the chapter files and the list, and a new
// workbench shows the same.
TEST_F(Workbench, LoadAssignOkAndOpenAgain)
{
    auto w = open();
    EXPECT_TRUE(w->forms().Roots().empty());
    ASSERT_TRUE(w->cmdLoad(dir.file("forms.xml")));
    // Loading copies the file into the project at once.
    EXPECT_EQ(readBytes(folder + kHelpContextFile), QByteArray(kForms));
    // Sorted by text, tagged with the ID, keyed by name.
    QStringList texts;
    for (const NodePtr& n : w->forms().Roots())
        texts << n->Text;
    EXPECT_EQ(texts, (QStringList{"About (frmAbout, 3000)", "Main Window (frmMain, 1000)", "Open File (frmOpen, 2000)",
                                  "Recent Files (frmOpenRecent, 2000)"}));
    EXPECT_EQ(form(*w, "frmOpen")->Tag, "2000");

    // The topics are sorted at every level too.
    QStringList chapters;
    for (const NodePtr& n : w->topics().Root()->Children())
        chapters << n->Text;
    EXPECT_EQ(chapters, (QStringList{"Appendix", "Getting Started", "Reference"}));
    const NodePtr reference = w->topics().FindPath("Sample Manual\\Reference");
    ASSERT_TRUE(reference);
    ASSERT_EQ(reference->ChildCount(), 2);
    EXPECT_EQ(reference->Children()[0]->Text, "Details"); // after "Tables" in the book
    EXPECT_EQ(reference->Children()[1]->Text, "Tables");

    // The sample's chapter file ties topic1 to frmMain already.
    EXPECT_TRUE(isAssigned(topic(*w, "topic1")));
    EXPECT_TRUE(isAssigned(form(*w, "frmMain")));
    EXPECT_EQ(w->pairs().size(), 1u);

    // A click on a form highlights its group.
    w->clickForm(form(*w, "frmOpen"));
    EXPECT_EQ(w->numFormsSelected(), 2);

    ASSERT_TRUE(assign(*w, "topic4", "frmOpenRecent"));
    // The group is one unit: its other form is assigned too and takes no
    // second topic.
    EXPECT_TRUE(isAssigned(form(*w, "frmOpen")));
    EXPECT_FALSE(assign(*w, "topic2", "frmOpen"));
    EXPECT_EQ(box.last(), "Form(s) has already assigned topic!");
    EXPECT_FALSE(assign(*w, "topic1", "frmAbout"));
    EXPECT_EQ(box.last(), "Topic has already assigned form(s)!");
    // Assigned forms are neither edited nor deleted.
    w->clickForm(form(*w, "frmOpen"));
    EXPECT_FALSE(w->cmdEdit(dialog("frmOpen", "2001")));
    EXPECT_EQ(box.last(), "Form has already assigned topic! It is not possible to edit it!");
    EXPECT_FALSE(w->cmdDelete());
    EXPECT_EQ(box.last(), "Form has already assigned topic! It is not possible to delete it!");
    // A topic selects its form, a form its topic.
    w->clickTopic(topic(*w, "topic4"));
    EXPECT_EQ(w->currentForm(), form(*w, "frmOpenRecent"));
    w->clickForm(form(*w, "frmMain"));
    EXPECT_EQ(w->currentTopic(), topic(*w, "topic1"));

    ASSERT_TRUE(w->cmdOK()) << box.last().toStdString();
    // The ID comes from the record (the chapter file had 1001).
    EXPECT_TRUE(chapter(1).contains("</title><context><id>1000</id><name>frmMain</name></context><onelang lang=\"en\">"))
        << chapter(1).toStdString();
    EXPECT_TRUE(chapter(2).contains("<context><id>2000</id><name>frmOpenRecent</name></context><onelang lang=\"en\">"));
    EXPECT_EQ(chapter(1).count("<context>"), 1);
    // The list is written anew in its own form.
    FormCollection forms;
    ASSERT_TRUE(readHelpContext(folder + kHelpContextFile, forms, nullptr));
    EXPECT_EQ(readBytes(folder + kHelpContextFile), helpContextBytes(forms));

    auto again = open();
    EXPECT_EQ(again->pairs().size(), 2u);
    EXPECT_TRUE(isAssigned(topic(*again, "topic1")));
    EXPECT_TRUE(isAssigned(form(*again, "frmOpen")));
    EXPECT_FALSE(isAssigned(form(*again, "frmAbout")));
    EXPECT_FALSE(isAssigned(topic(*again, "topic2")));

    // Removed again: the chapter file loses the element.
    again->clickTopic(topic(*again, "topic1"));
    again->clickForm(form(*again, "frmMain"));
    ASSERT_TRUE(again->cmdRemove());
    EXPECT_FALSE(isAssigned(topic(*again, "topic1")));
    ASSERT_TRUE(again->cmdOK());
    EXPECT_FALSE(chapter(1).contains("<context>"));
    EXPECT_TRUE(chapter(2).contains("<context>"));
}

TEST_F(Workbench, CommandsRefuseWhatTheyCannotDo)
{
    auto w = open();
    ASSERT_TRUE(w->cmdLoad(dir.file("forms.xml")));
    box.clear();
    EXPECT_FALSE(w->cmdAdd());
    EXPECT_EQ(box.last(), "Topic must be selected on the left side!");
    w->clickTopic(w->topics().Root()); // the book is no topic
    EXPECT_FALSE(w->cmdAdd());
    EXPECT_EQ(box.last(), "Topic must be selected on the left side!");
    w->clickTopic(topic(*w, "topic2"));
    EXPECT_FALSE(w->cmdAdd());
    EXPECT_EQ(box.last(), "Form(s) must be selected on the right side!");
    w->clickForm(form(*w, "frmAbout"));
    EXPECT_FALSE(w->cmdRemove());
    EXPECT_EQ(box.last(), "Topic has not assigned form(s)!");
    ASSERT_TRUE(assign(*w, "topic3", "frmOpen"));
    w->clickTopic(topic(*w, "topic3"));
    w->clickForm(form(*w, "frmAbout"));
    EXPECT_FALSE(w->cmdRemove());
    EXPECT_EQ(box.last(), "Form(s) has not assigned topic!");

    EXPECT_FALSE(w->cmdNew(dialog("frmMain", "77")));
    EXPECT_EQ(box.last(), "Form with same name already exists!");
    EXPECT_FALSE(w->cmdNew(dialog("0bad", "77"))); // the dialog refuses it itself
    // A new form with an assigned form's ID counts as assigned.
    ASSERT_TRUE(w->cmdNew(dialog("frmMainToo", "1000", "Also Main")));
    EXPECT_TRUE(isAssigned(form(*w, "frmMainToo")));
    ASSERT_TRUE(w->cmdNew(dialog("frmFree", "4000", "Free")));
    EXPECT_FALSE(isAssigned(form(*w, "frmFree")));
    // Edited into an assigned group, it is assigned too; renamed onto another
    // form, it is refused.
    w->clickForm(form(*w, "frmFree"));
    EXPECT_FALSE(w->cmdEdit(dialog("frmAbout", "4000")));
    EXPECT_EQ(box.last(), "Form with same name already exists!");
    ASSERT_TRUE(w->cmdEdit(dialog("frmFree", "1000", "Free")));
    EXPECT_TRUE(isAssigned(form(*w, "frmFree")));
    EXPECT_EQ(form(*w, "frmFree")->Text, "Free (frmFree, 1000)");

    w->clickForm(nullptr);
    EXPECT_FALSE(w->cmdEdit(dialog("x", "1")));
    EXPECT_EQ(box.last(), "No form is selected!");
    EXPECT_FALSE(w->cmdDelete());
    EXPECT_EQ(box.last(), "No form is selected!");
    w->clickForm(form(*w, "frmAbout"));
    ASSERT_TRUE(w->cmdDelete());
    EXPECT_FALSE(form(*w, "frmAbout"));

    EXPECT_FALSE(w->cmdLoad(dir.file("missing.xml")));
    EXPECT_EQ(box.last(), "File does not exist!");
    // Not well-formed, against its own DTD, or a name twice: refused, nothing changes.
    const QByteArray dtd = QByteArray(kForms).left(QByteArray(kForms).indexOf("<forms>"));
    const QByteArray bad[] = {
        "<forms><form><name>a</name>",
        dtd + "<forms><form><name>a</name><caption/></form></forms>",
        dtd + "<forms><form><name>a</name><caption/><helpid>1</helpid></form>"
              "<form><name>a</name><caption/><helpid>2</helpid></form></forms>",
    };
    for (const QByteArray& b : bad) {
        writeBytes(dir.file("bad.xml"), b);
        box.clear();
        EXPECT_FALSE(w->cmdLoad(dir.file("bad.xml"))) << b.toStdString();
        EXPECT_EQ(box.last(), "File is not valid!");
    }
    EXPECT_EQ(readBytes(folder + kHelpContextFile), QByteArray(kForms));
    // Any other valid file gives an empty list.
    writeBytes(dir.file("other.xml"), "<list><item/></list>");
    ASSERT_TRUE(w->cmdLoad(dir.file("other.xml")));
    EXPECT_TRUE(w->forms().Roots().empty());
}

// After Clear All the assignments have no forms: OK drops them with a
// message, and the list is empty.
TEST_F(Workbench, ClearAllThenOk)
{
    auto w = open();
    ASSERT_TRUE(w->cmdLoad(dir.file("forms.xml")));
    ASSERT_TRUE(isAssigned(topic(*w, "topic1"))); // the sample's own
    ASSERT_TRUE(w->cmdOK());
    ASSERT_TRUE(chapter(1).contains("<context>"));

    auto again = open();
    box.answer(MsgAnswer::No);
    EXPECT_FALSE(again->cmdClear());
    EXPECT_EQ(box.last(), "Are you sure you want to remove all forms?");
    EXPECT_EQ(again->forms().Roots().size(), 4u);
    box.answer(MsgAnswer::Yes);
    ASSERT_TRUE(again->cmdClear());
    EXPECT_TRUE(again->forms().Roots().empty());
    ASSERT_TRUE(again->cmdOK());
    EXPECT_TRUE(box.texts().join("\n").contains("\"Getting Started\\Welcome\" (form \"frmMain\")"))
        << box.texts().join("\n").toStdString();
    EXPECT_FALSE(chapter(1).contains("<context>"));
    FormCollection forms;
    ASSERT_TRUE(readHelpContext(folder + kHelpContextFile, forms, nullptr));
    EXPECT_TRUE(forms.empty());
}

// A context that names no form of the list is passed over on loading and
// gone after OK; two topics with the same path both get the context; a
// context in another language's place goes too.
TEST_F(Workbench, ContextsFollowPathsAndTheList)
{
    QString c1 = chapter(1);
    c1.remove(QRegularExpression("<context>.*?</context>"));
    c1.replace("<onelang lang=\"de\">", "<context><id>9</id><name>frmGone</name></context><onelang lang=\"de\">");
    // topic2 takes topic1's title: the same path.
    c1.replace(QRegularExpression("(<topic id=\"topic2\"[^>]*><title lang=\"en\"[^>]*>)Starting the Program"), "\\1Welcome");
    writeUtf16(folder + "chapter1.xml", c1);
    auto w = open();
    EXPECT_TRUE(w->pairs().empty());
    ASSERT_TRUE(w->cmdLoad(dir.file("forms.xml")));
    ASSERT_TRUE(assign(*w, "topic1", "frmAbout"));
    ASSERT_TRUE(w->cmdOK());
    const QString after = chapter(1);
    EXPECT_FALSE(after.contains("frmGone"));
    EXPECT_EQ(after.count("<context><id>3000</id><name>frmAbout</name></context><onelang lang=\"en\">"), 2)
        << after.toStdString();
}


// Published as HTML Help, each ID opens, read by chmlib, a page of the archive with its topic's
// title.
TEST_F(Workbench, TheCompiledHelpOpensEachIdAtItsTopic)
{
    assignThree();
    cConfigFile conf(box);
    ASSERT_TRUE(conf.Load(paths::settingsFile("conf.xml")));
    conf.setHHWFile(findOnPath("chmcmd"));
    QString log;
    const QString chm = publish(cOutput::kHTMLHelp, &log);
    ASSERT_FALSE(chm.isEmpty()) << log.toStdString();
    EXPECT_FALSE(log.contains("Context IDs may not")) << log.toStdString();

    const QString x = dir.file("extracted");
    ASSERT_TRUE(extractChm(chm, x)) << "extract_chmLib (libchm-bin) is needed";
    const auto map = chmContextMap(x);
    ASSERT_EQ(map.size(), kTitles.size());
    for (const auto& [id, title] : kTitles) {
        ASSERT_TRUE(map.count(id)) << id;
        const QString page = map.at(id);
        EXPECT_TRUE(page.startsWith('/') && !page.contains(dir.path())) << page.toStdString();
        const QString html = readText(x + page);
        ASSERT_FALSE(html.isEmpty()) << id << " " << page.toStdString();
        const auto m = QRegularExpression("<title>(.*?)</title>", QRegularExpression::DotMatchesEverythingOption).match(html);
        EXPECT_TRUE(m.captured(1).contains(title)) << id << " " << m.captured(1).toStdString();
    }
}

// The web outputs carry context.json: each ID to its topic's page and anchor.
TEST_F(Workbench, WebHelpMapsEachIdToItsPage)
{
    assignThree();
    const QString index = publish(cOutput::kHTMLChunk);
    ASSERT_TRUE(index.endsWith("/output/html_frames_en/index.html")) << index.toStdString();
    const QString single = publish(cOutput::kHTML);
    ASSERT_TRUE(single.endsWith("/output/html/book_en.html")) << single.toStdString();
    const std::pair<QString, QString> maps[] = {
        {QFileInfo(index).absolutePath() + "/context.json", QFileInfo(index).absolutePath()},
        {QFileInfo(single).absolutePath() + "/book_en.context.json", QFileInfo(single).absolutePath()},
    };
    for (const auto& [file, base] : maps) {
        const QJsonObject map = QJsonDocument::fromJson(readBytes(file)).object();
        ASSERT_EQ(map.size(), int(kTitles.size())) << file.toStdString();
        for (const auto& [id, title] : kTitles) {
            const QStringList target = map.value(QString::number(id)).toString().split('#');
            ASSERT_EQ(target.size(), 2) << id;
            const QString html = readText(base + "/" + target[0]);
            // The anchor opens the section whose heading is the topic's title.
            const auto m = QRegularExpression(" (name|id)=\"" + target[1] + "\".*?</h\\d>",
                                              QRegularExpression::DotMatchesEverythingOption)
                               .match(html);
            ASSERT_TRUE(m.hasMatch()) << file.toStdString() << " " << id;
            EXPECT_TRUE(m.captured(0).contains(title)) << m.captured(0).toStdString();
        }
    }
}
