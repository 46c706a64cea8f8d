// Preflight counts, timeSpent and the questions of runOutput.
#include "cproject.h"
#include "output.h"
#include "outputlog.h"
#include "outputproperties.h"
#include "outputverifier.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {

TEST(Preflight, SampleCounts)
{
    TempDir dir;
    QString qly = copySample(dir.path());
    ScriptedMsgBox box;
    QString folder = dir.path() + "/sample/";
    cSAXOutputVerifier en;
    en.setLanguage("en");
    verifyLanguage(en, folder + "book.xml", folder, box);
    EXPECT_TRUE(box.empty());
    // Five topics are uncomplete in English, one is complete.
    EXPECT_EQ(en.UncompletedTopics(), 5);
    EXPECT_EQ(en.MissingImages(), "");
    EXPECT_EQ(en.AllImages(), folder + "img/en/window.png\r\n" + folder + "img/en/toolbar.png\r\n");

    // German images gone: English is not affected, German lists them.
    QFile::remove(folder + "img/de/window.png");
    cSAXOutputVerifier en2;
    en2.setLanguage("en");
    verifyLanguage(en2, folder + "book.xml", folder, box);
    EXPECT_EQ(en2.MissingImages(), "");
    cSAXOutputVerifier de;
    de.setLanguage("de");
    verifyLanguage(de, folder + "book.xml", folder, box);
    EXPECT_EQ(de.MissingImages(), folder + "img/de/window.png\r\n");
    Q_UNUSED(qly);
}

TEST(Preflight, StatesAndNestedImages)
{
    TempDir dir;
    QString qly = makeProject(dir.path(), "m", {"en", "de"});
    QString folder = dir.path() + "/m/";
    // One chapter with: a topic without state (counts), one complete, one
    // without an English title (not counted), images in a notice and a table,
    // an image used twice, and an image in the German body only.
    writeUtf16(folder + "chapter1.xml",
               "<chapter><title lang=\"en\">C</title>"
               "<topic id=\"topic1\"><title lang=\"en\">A</title><onelang lang=\"en\">"
               "<notice><p>x</p></notice><image file=\"img\\en\\a.png\" format=\"png\" scale=\"100\"></image>"
               "<image file=\"img\\en\\a.png\" format=\"png\" scale=\"100\"></image></onelang>"
               "<onelang lang=\"de\"><image file=\"img\\de\\b.png\" format=\"png\" scale=\"100\"></image></onelang></topic>"
               "<topic id=\"topic2\"><title lang=\"en\" state=\"complete\">B</title><onelang lang=\"en\">"
               "<table border=\"all\" colnumber=\"1\"><row><cell><image file=\"img\\en\\t.png\" format=\"png\" "
               "scale=\"100\"></image></cell></row></table></onelang></topic>"
               "<topic id=\"topic3\"><title lang=\"de\" state=\"uncomplete\">C</title><onelang lang=\"en\"></onelang></topic>"
               "<topic id=\"topic4\"><title lang=\"en\" state=\"\">D</title><onelang lang=\"en\"></onelang></topic>"
               "</chapter>");
    QString book = folder + "book.xml";
    QString text = readText(book);
    text.replace("]><book>", "<!ENTITY chapter1 SYSTEM \"chapter1.xml\">]><book>");
    text.replace("</book>", "&chapter1;</book>");
    writeUtf16(book, text);
    ScriptedMsgBox box;
    cSAXOutputVerifier v;
    v.setLanguage("en");
    verifyLanguage(v, book, folder, box);
    EXPECT_TRUE(box.empty()) << box.last().toStdString();
    EXPECT_EQ(v.UncompletedTopics(), 2);
    QString a = folder + "img/en/a.png\r\n";
    QString t = folder + "img/en/t.png\r\n";
    EXPECT_EQ(v.MissingImages(), a + a + t);
    EXPECT_EQ(v.AllImages(), a + a + t);
    Q_UNUSED(qly);
}

TEST(Preflight, TimeSpentRoundsMinutes)
{
    QDateTime s = QDateTime::fromSecsSinceEpoch(1000000);
    EXPECT_EQ(cOutput::timeSpent(s, s.addSecs(59)), "01:59");
    EXPECT_EQ(cOutput::timeSpent(s, s.addSecs(90)), "02:30");
    EXPECT_EQ(cOutput::timeSpent(s, s.addSecs(30)), "00:30");
    EXPECT_EQ(cOutput::timeSpent(s, s.addSecs(150)), "02:30");
    EXPECT_EQ(cOutput::timeSpent(s, s.addSecs(0)), "00:00");
    EXPECT_EQ(cOutput::timeSpent(s, s.addSecs(725)), "12:05");
}

TEST(Preflight, QuestionsEndTheRunOnNo)
{
    TempDir dir;
    QString qly = copySample(dir.path());
    QFile::remove(dir.path() + "/sample/img/en/window.png");
    ScriptedMsgBox box;
    cProject project(box);
    ASSERT_TRUE(project.Load(qly));
    cOutputProperties props;
    OutputLog log;
    cOutput out(project, props, log, box);
    EXPECT_EQ(out.languageNames(), QStringList({"English", "German"}));
    // No to the first question: no second, no log view.
    EXPECT_FALSE(out.cmdOK("English", cOutput::kHTML, false));
    ASSERT_EQ(box.all().size(), 1u);
    EXPECT_EQ(box.last(), "English language includes 5 uncompleted topics! Create output anyway?");
    EXPECT_EQ(box.lastIcon(), MsgIcon::Exclamation);
    EXPECT_FALSE(out.logView());
    // Yes, then No to the images.
    box.clear();
    box.answer(MsgAnswer::Yes);
    EXPECT_FALSE(out.cmdOK("English", cOutput::kHTML, false));
    ASSERT_EQ(box.all().size(), 2u);
    EXPECT_EQ(box.last(), "Images\r\n\r\n" + dir.path() + "/sample/img/en/window.png\r\n\r\nare missing in English "
                          "language! Create output anyway?");
    EXPECT_FALSE(QDir(dir.path() + "/sample/temp").exists());
    // No language.
    box.clear();
    EXPECT_FALSE(out.cmdOK("", cOutput::kHTML, false));
    EXPECT_EQ(box.last(), "No language is selected!");
}

} // namespace
