// The command line program, run as a user runs it.
#include "clirun.h"
#include "fileio.h"
#include "testsupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>

#include <QFileInfo>

#include <gtest/gtest.h>

using namespace testing_support;

TEST(Cli, HelpVersionAndUnknownVerbs)
{
    CliRun r = quillary({QStringLiteral("--help")});
    EXPECT_EQ(r.code, 0);
    for (const char* verb : {"new PROJECT.qly", "info PROJECT.qly", "tree PROJECT.qly", "topic show", "topic html", "topic save"})
        EXPECT_TRUE(r.out.contains(QString::fromLatin1(verb))) << verb;
    r = quillary({QStringLiteral("--version")});
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(r.out.startsWith(QStringLiteral("quillary ")));
    r = quillary({QStringLiteral("frobnicate")});
    EXPECT_NE(r.code, 0);
}

TEST(Cli, NewProjectChecksAndInfo)
{
    TempDir dir;
    QString path = dir.file(QStringLiteral("guide.qly"));
    CliRun r = quillary({"new", path, "--title", "Guide", "--author", "Me", "--version", "1", "--main", "English:en"});
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    r = quillary({"new", path, "--title", "Guide", "--author", "Me", "--version", "1", "--main", "English:en"});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("File \"") + path + QStringLiteral("\" already exists! Project may not be created!")));
    r = quillary({"new", dir.file("x.qly"), "--title", "A <b>", "--author", "Me", "--version", "1", "--main", "English:en"});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("Book title include improper characters!")));
    r = quillary({"new", dir.file("x.qly"), "--title", "T", "--version", "1", "--main", "English:en"});
    EXPECT_TRUE(r.err.contains(QStringLiteral("All fields have to be filled!")));
    r = quillary({"new", dir.file("x.qly"), "--title", "T", "--author", "A", "--version", "1"});
    EXPECT_TRUE(r.err.contains(QStringLiteral("Main language must be specified!")));

    r = quillary({"info", path});
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(r.out.contains(QStringLiteral("Main language: English (en)")));
    EXPECT_TRUE(r.out.contains(QStringLiteral("Counters: topicid 0, subchapterid 0, chapterid 0, anchorid 0")));
    EXPECT_TRUE(r.out.contains(QStringLiteral("Lock: none")));
    EXPECT_FALSE(fileio::isMarked(path)); // reading never marks
    r = quillary({"info", dir.file("missing.qly")});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("File does not exist!")));
}

TEST(Cli, TreeAndTopicRoundTrip)
{
    TempDir dir;
    QString project = copySample(dir.path());
    CliRun r = quillary({"tree", project});
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(r.out.startsWith(QStringLiteral("book\t\tSample Manual\n  chapter\t\tGetting Started\n    topic\ttopic1\tWelcome\n")));
    EXPECT_TRUE(r.out.contains(QStringLiteral("\n      chapter\tsub2\tDeeper\n        topic\ttopic5\tFinished Topic\n")));

    r = quillary({"topic", "show", project, "topic4"});
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(r.out.startsWith(QStringLiteral("<topic id=\"topic4\"><title lang=\"en\"")));
    EXPECT_TRUE(r.out.contains(QStringLiteral("5 &lt; 6 &amp; 7 &gt; 3")));

    r = quillary({"topic", "html", project, "topic1"});
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(r.out.startsWith(QStringLiteral("<h1>Welcome</h1>")));
    QString html = r.out;
    html.replace(QStringLiteral("Welcome to the"), QStringLiteral("Hello and welcome to the"));
    writeBytes(dir.file(QStringLiteral("t.html")), html.toUtf8());
    r = quillary({"topic", "save", project, "topic1", "--html", dir.file(QStringLiteral("t.html"))});
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_TRUE(quillary({"topic", "show", project, "topic1"}).out.contains(QStringLiteral("<p>Hello and welcome to the")));
    EXPECT_FALSE(fileio::isMarked(project));

    // A refused save writes nothing.
    QByteArray before = readBytes(dir.file(QStringLiteral("sample/chapter1.xml")));
    writeBytes(dir.file(QStringLiteral("bad.html")), "<p>no title here</p>");
    r = quillary({"topic", "save", project, "topic1", "--html", dir.file(QStringLiteral("bad.html"))});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("Topic without title can not be saved!")));
    writeBytes(dir.file(QStringLiteral("bad.html")), "<h1>Welcome</h1><dl><dd><strong>x</strong></dd></dl>");
    r = quillary({"topic", "save", project, "topic1", "--html", dir.file(QStringLiteral("bad.html"))});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("Topic is not valid! Please rewrite or delete problem part.")));
    EXPECT_EQ(readBytes(dir.file(QStringLiteral("sample/chapter1.xml"))), before);

    // A project left marked is not opened for writing without --yes.
    fileio::setMarked(project, true);
    r = quillary({"topic", "save", project, "topic1", "--html", dir.file(QStringLiteral("t.html"))});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("has not been closed correctly")));
    r = quillary({"--yes", "topic", "save", project, "topic1", "--html", dir.file(QStringLiteral("t.html"))});
    EXPECT_EQ(r.code, 0);
}

// The two newer formats by their words; an unknown word names them all.
TEST(Cli, PublishesWebHelpByItsWord)
{
    TempDir dir;
    const QString project = copySample(dir.path());
    CliRun r = quillary({"--yes", "publish", project, "--format", "webhelp", "--lang", "en"});
    ASSERT_EQ(r.code, 0) << r.err.toStdString() << r.out.toStdString();
    const QString folder = QFileInfo(project).absolutePath() + "/sample/output/webhelp_en/";
    EXPECT_TRUE(r.out.contains("OUTPUT: " + folder + "index.html")) << r.out.toStdString();
    EXPECT_TRUE(QFileInfo::exists(folder + "search-index.js"));
    r = quillary({"--yes", "publish", project, "--format", "mobi", "--lang", "en"});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains("--format htmlhelp|pdf|html|htmlchunk|webhelp|epub")) << r.err.toStdString();
}
