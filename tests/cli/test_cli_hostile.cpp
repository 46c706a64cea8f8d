// The command line program on hostile projects: entity amplification, files
// outside the project folder, a FIFO for a chapter, one very large chapter
// and script addresses in saved HTML. Every run has a time limit, and a
// memory limit where the build allows one.
#include "clirun.h"
#include "fileio.h"
#include "testsupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <sys/resource.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kMemoryLimit = false; // the sanitizer reserves far more address space
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kMemoryLimit = false;
#else
constexpr bool kMemoryLimit = true;
#endif
#else
constexpr bool kMemoryLimit = true;
#endif

struct LimitedRun {
    bool finished = false;
    qint64 ms = 0;
    int code = -1;
    QString out, err;
};

// Runs quillary with at most 1 GB of address space, killed after timeoutMs.
LimitedRun quillaryLimited(const QStringList& args, int timeoutMs = 20000)
{
    QProcess p;
    if (kMemoryLimit)
        p.setChildProcessModifier([] {
            struct rlimit r{rlim_t(1) << 30, rlim_t(1) << 30};
            ::setrlimit(RLIMIT_AS, &r);
        });
    QElapsedTimer t;
    t.start();
    p.start(QCoreApplication::applicationDirPath() + QStringLiteral("/quillary"), args);
    LimitedRun r;
    r.finished = p.waitForFinished(timeoutMs);
    r.ms = t.elapsed();
    if (!r.finished) {
        p.kill();
        p.waitForFinished(5000);
    }
    r.code = r.finished && p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    r.out = QString::fromUtf8(p.readAllStandardOutput());
    r.err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

QString bigEntity()
{
    return QStringLiteral("<!ENTITY big \"") + QString(20000, QLatin1Char('x')) + QStringLiteral("\">");
}

QString manyRefs()
{
    return QStringLiteral("&big;").repeated(50000);
}

} // namespace

TEST(CliHostile, AmplifiedEntitiesAreRefusedQuicklyInBookAndProjectFile)
{
    TempDir dir;
    const QString project = copySample(dir.path());
    const QString bookFile = dir.file(QStringLiteral("sample/book.xml"));
    const QString book = readText(bookFile);

    // Used 50,000 times in the book body (between the chapters).
    QString body = book;
    body.replace(QStringLiteral("<!ENTITY chapter1"), bigEntity() + QStringLiteral("<!ENTITY chapter1"));
    body.replace(QStringLiteral("&chapter1;"), manyRefs() + QStringLiteral("&chapter1;"));
    writeBytes(bookFile, body.toUtf8());
    LimitedRun r = quillaryLimited({"tree", project});
    ASSERT_TRUE(r.finished);
    EXPECT_EQ(r.code, 1) << r.err.toStdString();
    EXPECT_LT(r.ms, 5000);
    EXPECT_TRUE(r.err.contains(QStringLiteral("entity amplification"))) << r.err.left(2000).toStdString();
    EXPECT_FALSE(r.err.contains(QStringLiteral("Detected an entity reference loop")));

    // In the book title.
    QString title = book;
    title.replace(QStringLiteral("<!ENTITY chapter1"), bigEntity() + QStringLiteral("<!ENTITY chapter1"));
    title.replace(QStringLiteral("<title lang=\"en\">Sample Manual</title>"),
                  QStringLiteral("<title lang=\"en\">") + manyRefs() + QStringLiteral("</title>"));
    writeBytes(bookFile, title.toUtf8());
    r = quillaryLimited({"tree", project});
    ASSERT_TRUE(r.finished);
    EXPECT_EQ(r.code, 1) << r.err.left(2000).toStdString();
    EXPECT_LT(r.ms, 5000);
    EXPECT_TRUE(r.err.contains(QStringLiteral("entity amplification"))) << r.err.left(2000).toStdString();
    EXPECT_FALSE(r.err.contains(QStringLiteral("Detected an entity reference loop")));
    writeUtf16(bookFile, book);

    // In the project file.
    QString qly = readText(project);
    qly.replace(QStringLiteral("]><project>"), bigEntity() + QStringLiteral("]><project>"));
    qly.replace(QStringLiteral("<title>Reference</title>"), QStringLiteral("<title>") + manyRefs() + QStringLiteral("</title>"));
    writeBytes(project, qly.toUtf8());
    for (const char* verb : {"tree", "info"}) {
        r = quillaryLimited({verb, project});
        ASSERT_TRUE(r.finished) << verb;
        EXPECT_EQ(r.code, 1) << verb;
        EXPECT_LT(r.ms, 5000) << verb;
        EXPECT_TRUE(r.err.contains(QStringLiteral("File is not valid!\n") + project + QStringLiteral("\nThe entities of \"sample.qly\"")) ||
                    r.err.contains(QStringLiteral("File is not valid!\r\n") + project + QStringLiteral("\r\nThe entities of \"sample.qly\"")))
            << r.err.left(2000).toStdString();
        EXPECT_FALSE(r.err.contains(QStringLiteral("Detected an entity reference loop")));
    }
}

TEST(CliHostile, FilesOutsideTheProjectFolderAreNeitherReadNorWritten)
{
    TempDir dir;
    const QString project = copySample(dir.path());
    QDir().mkpath(dir.file(QStringLiteral("outside")));
    const QString outside = dir.file(QStringLiteral("outside/c.xml"));
    QFile::copy(dir.file(QStringLiteral("sample/chapter2.xml")), outside);
    const QByteArray outsideBefore = readBytes(outside);
    const QString qly = readText(project);
    writeBytes(dir.file(QStringLiteral("t.html")), "<h1>Tables</h1><p>Overwritten.</p>");

    struct Case {
        QString file, named;
    };
    for (const Case& c : {Case{"../outside/c.xml", "../outside/c.xml"}, Case{"..\\outside\\c.xml", "..\\outside\\c.xml"},
                          Case{"../../../../../../../../../etc/passwd", "../../../../../../../../../etc/passwd"}}) {
        QString t = qly;
        t.replace(QStringLiteral("<file>chapter2.xml</file>"), QStringLiteral("<file>") + c.file + QStringLiteral("</file>"));
        writeUtf16(project, t);
        const QString why = QStringLiteral("The file \"%1\" that it names lies outside the project folder.").arg(c.named);
        for (const QStringList& args : {QStringList{"tree", project}, QStringList{"topic", "show", project, "topic3"},
                                        QStringList{"topic", "save", project, "topic3", "--html", dir.file("t.html")}}) {
            LimitedRun r = quillaryLimited(args);
            ASSERT_TRUE(r.finished);
            EXPECT_EQ(r.code, 1) << args.join(' ').toStdString();
            EXPECT_TRUE(r.err.contains(why)) << r.err.toStdString();
            EXPECT_TRUE(r.err.contains(QStringLiteral("File is not valid!")));
            EXPECT_FALSE(r.out.contains(QStringLiteral("root:"))) << r.out.toStdString();
        }
        EXPECT_EQ(readBytes(outside), outsideBefore);
    }

    // An outside book file, and a book file that is a link to outside.
    QString t = qly;
    QFile::copy(dir.file(QStringLiteral("sample/book.xml")), dir.file(QStringLiteral("outside/book.xml")));
    t.replace(QStringLiteral("<book>book.xml</book>"), QStringLiteral("<book>../outside/book.xml</book>"));
    writeUtf16(project, t);
    LimitedRun r = quillaryLimited({"tree", project});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("The file \"../outside/book.xml\" that it names lies outside the project folder.")))
        << r.err.toStdString();
    writeUtf16(project, qly);
    QFile::remove(dir.file(QStringLiteral("sample/book.xml")));
    ASSERT_TRUE(QFile::link(dir.file(QStringLiteral("outside/book.xml")), dir.file(QStringLiteral("sample/book.xml"))));
    r = quillaryLimited({"tree", project});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("The file \"book.xml\" that it names lies outside the project folder.")))
        << r.err.toStdString();
    EXPECT_FALSE(r.out.contains(QStringLiteral("Sample Manual")));
}

TEST(CliHostile, AChapterThatIsAFifoEndsTheTreeAtOnce)
{
    TempDir dir;
    const QString project = copySample(dir.path());
    const QString chapter = dir.file(QStringLiteral("sample/chapter2.xml"));
    QFile::remove(chapter);
    ASSERT_EQ(::mkfifo(QFile::encodeName(chapter).constData(), 0600), 0);
    LimitedRun r = quillaryLimited({"tree", project}, 15000);
    ASSERT_TRUE(r.finished) << "quillary tree hangs on a FIFO";
    EXPECT_LT(r.ms, 5000);
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("\"") + chapter + QStringLiteral("\" is a FIFO, not a regular file, and is not read.")))
        << r.err.toStdString();
    // What came before the FIFO is shown.
    EXPECT_TRUE(r.out.contains(QStringLiteral("Getting Started")));

    r = quillaryLimited({"topic", "show", project, "topic3"}, 15000);
    ASSERT_TRUE(r.finished);
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("is a FIFO"))) << r.err.toStdString();
}

TEST(CliHostile, OneChapterOfFiftyThousandTopicsOpensQuickly)
{
    TempDir dir;
    const QString project = copySample(dir.path());
    QString chapter = QStringLiteral("<chapter><title lang=\"en\">Reference</title><title lang=\"de\">Referenz</title>");
    const int topics = 50000;
    for (int i = 1; i <= topics; ++i) {
        const QString id = QString::number(1000 + i);
        chapter += QStringLiteral("<topic id=\"topic") + id + QStringLiteral("\"><title lang=\"en\" state=\"\" stamp=\"\">T") + id +
                   QStringLiteral("</title><title lang=\"de\" state=\"\" stamp=\"\">D") + id +
                   QStringLiteral("</title><onelang lang=\"en\"><p>Text.</p></onelang><onelang lang=\"de\"><p>Text.</p></onelang></topic>");
    }
    chapter += QStringLiteral("</chapter>");
    writeUtf16(dir.file(QStringLiteral("sample/chapter2.xml")), chapter);
    LimitedRun r = quillaryLimited({"tree", project}, 60000);
    ASSERT_TRUE(r.finished);
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_GT(r.out.count(QStringLiteral("\ttopic")), topics); // with the other chapters' topics
    EXPECT_TRUE(r.out.contains(QStringLiteral("topic\ttopic51000\tT51000\n")));
    EXPECT_LT(r.ms, 10000) << "ms for " << topics << " topics";
    std::printf("quillary tree, one chapter of %d topics: %lld ms\n", topics, r.ms);
}

TEST(CliHostile, ScriptAddressesAreRefusedAtSave)
{
    TempDir dir;
    const QString project = copySample(dir.path());
    const QString chapterFile = dir.file(QStringLiteral("sample/chapter1.xml"));
    const QByteArray before = readBytes(chapterFile);
    const QString page = QStringLiteral("<h1>Welcome</h1><p>Intro ");
    const QStringList bad = {
        "<a href=\"javascript:alert(1)\" target=\"web\">x</a></p>",
        "<a href=\" JaVaScRiPt:alert(1)\" target=\"web\">x</a></p>",
        "<a href=\"java&#9;script:alert(1)\" target=\"web\">x</a></p>",
        "<a href=\"\x01javascript:alert(1)\" target=\"web\">x</a></p>",
        "<a href=\"vbscript:msgbox(1)\" target=\"web\">x</a></p>",
        "<a href=\"data:text/html,&lt;script&gt;alert(1)&lt;/script&gt;\" target=\"web\">x</a></p>",
        "<a href=\"file:///etc/passwd\" target=\"local\">x</a></p>",
        "</p><p title=\"image\"><img src=\"javascript:alert(1)\" alt=\"png\" scale=\"100\"></p>",
        "</p><p title=\"image\"><img src=\"data:image/png;base64,AAAA\" alt=\"png\" scale=\"100\"></p>",
    };
    for (const QString& tail : bad) {
        writeBytes(dir.file(QStringLiteral("t.html")), (page + tail).toUtf8());
        LimitedRun r = quillaryLimited({"topic", "save", project, "topic1", "--html", dir.file(QStringLiteral("t.html"))});
        ASSERT_TRUE(r.finished);
        EXPECT_EQ(r.code, 1) << tail.toStdString();
        EXPECT_TRUE(r.err.contains(QStringLiteral("Links and images may only use http, https, mailto or ftp addresses, "
                                                  "relative paths and topic ids.")))
            << tail.toStdString() << "\n"
            << r.err.toStdString();
        EXPECT_FALSE(r.out.contains(QStringLiteral("Saved topic")));
        EXPECT_EQ(readBytes(chapterFile), before) << tail.toStdString();
    }

    // Allowed addresses are saved.
    writeBytes(dir.file(QStringLiteral("t.html")),
               (page + "<a href=\"https://example.org/a?b=c\" target=\"web\">site</a> "
                       "<a href=\"topic3\" target=\"local\">link to topic3</a> "
                       "<a href=\"mailto:help@example.org\" target=\"web\">mail</a></p>")
                   .toUtf8());
    LimitedRun r = quillaryLimited({"topic", "save", project, "topic1", "--html", dir.file(QStringLiteral("t.html"))});
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    const QString shown = quillary({"topic", "show", project, "topic1"}).out;
    EXPECT_TRUE(shown.contains(QStringLiteral("<link ref=\"https://example.org/a?b=c\" weblabel=\"site\"/>")) ||
                shown.contains(QStringLiteral("<link ref=\"https://example.org/a?b=c\" weblabel=\"site\"></link>")))
        << shown.toStdString();
    EXPECT_TRUE(shown.contains(QStringLiteral("ref=\"topic3\"")));
    EXPECT_TRUE(shown.contains(QStringLiteral("ref=\"mailto:help@example.org\"")));
}

TEST(CliHostile, TextInsidePastedFormattingIsKept)
{
    TempDir dir;
    const QString project = copySample(dir.path());
    writeBytes(dir.file(QStringLiteral("t.html")),
               "<h1>Welcome</h1><div><p>Plain <b>bold</b> <i>italic</i> <span>spanned</span></p></div>");
    CliRun r = quillary({"topic", "save", project, "topic1", "--html", dir.file(QStringLiteral("t.html"))});
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    const QString shown = quillary({"topic", "show", project, "topic1"}).out;
    EXPECT_TRUE(shown.contains(QStringLiteral("<p>Plain bold italic spanned</p>"))) << shown.toStdString();
}
