// Several command line processes on one project, planted links, read-only
// and marked project files, a creation that was cut off.
#include "clirun.h"
#include "fileio.h"
#include "projectlock.h"
#include "testsupport.h"
#include "xmlsafety.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>

#include <cstdio>
#include <memory>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {

const char kHoldVariable[] = "QUILLARY_TEST_HOLD_LOCK";

mode_t modeOf(const QString& path)
{
    struct stat st;
    if (::lstat(QFile::encodeName(path).constData(), &st) != 0)
        return 0;
    return st.st_mode;
}

QStringList hiddenFiles(const QString& folder)
{
    return QDir(folder).entryList({QStringLiteral(".*")}, QDir::Files | QDir::Hidden | QDir::System);
}

QProcess* startSave(const QString& project, const QString& topic, const QString& html)
{
    auto* p = new QProcess;
    p->start(QCoreApplication::applicationDirPath() + QStringLiteral("/quillary"),
             {QStringLiteral("--yes"), QStringLiteral("topic"), QStringLiteral("save"), project, topic,
              QStringLiteral("--html"), html});
    return p;
}

} // namespace

// The other side of the lock case; skipped in a normal run.
TEST(LockHolder, Holds)
{
    const QByteArray folder = qgetenv(kHoldVariable);
    if (folder.isEmpty())
        GTEST_SKIP() << "runs only as the second process of another case";
    ProjectLock lock(QString::fromLocal8Bit(folder));
    ASSERT_TRUE(lock.ok()) << lock.error().toStdString();
    std::fputs("held\n", stdout);
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
}

// Two saves of different topics of one chapter, started together, round
// after round: both report success and both texts are in the file.
TEST(CliConcurrency, TwoSaversOnOneChapterLoseNothing)
{
    TempDir dir;
    const QString project = copySample(dir.path());
    const QString chapter = dir.file(QStringLiteral("sample/chapter1.xml"));
    const QString a = dir.file(QStringLiteral("a.html")), b = dir.file(QStringLiteral("b.html"));
    const int rounds = 200;
    for (int round = 0; round < rounds; ++round) {
        const QString tagA = QStringLiteral("Round %1 of the first").arg(round);
        const QString tagB = QStringLiteral("Round %1 of the second").arg(round);
        writeBytes(a, (QStringLiteral("<h1>Welcome</h1><p>") + tagA + QStringLiteral("</p>")).toUtf8());
        writeBytes(b, (QStringLiteral("<h1>Starting the Program</h1><p>") + tagB + QStringLiteral("</p>")).toUtf8());
        std::unique_ptr<QProcess> first(startSave(project, QStringLiteral("topic1"), a));
        std::unique_ptr<QProcess> second(startSave(project, QStringLiteral("topic2"), b));
        ASSERT_TRUE(first->waitForFinished(60000));
        ASSERT_TRUE(second->waitForFinished(60000));
        const QString out1 = QString::fromUtf8(first->readAllStandardOutput());
        const QString out2 = QString::fromUtf8(second->readAllStandardOutput());
        const QString err1 = QString::fromUtf8(first->readAllStandardError());
        const QString err2 = QString::fromUtf8(second->readAllStandardError());
        ASSERT_EQ(first->exitCode(), 0) << "round " << round << ": " << err1.toStdString();
        ASSERT_EQ(second->exitCode(), 0) << "round " << round << ": " << err2.toStdString();
        ASSERT_TRUE(out1.contains(QStringLiteral("Saved topic topic1"))) << round;
        ASSERT_TRUE(out2.contains(QStringLiteral("Saved topic topic2"))) << round;

        const QByteArray bytes = readBytes(chapter);
        const QString text = fileio::decodeText(bytes);
        ASSERT_TRUE(bytes.startsWith("\xFF\xFE")) << "round " << round << ": " << bytes.size() << " bytes";
        ASSERT_TRUE(text.contains(tagA)) << "round " << round;
        ASSERT_TRUE(text.contains(tagB)) << "round " << round;
        // The other language of both topics is untouched.
        ASSERT_TRUE(text.contains(QStringLiteral("Willkommen"))) << "round " << round;
        ASSERT_EQ(text.count(QStringLiteral("<topic id=")), 2) << "round " << round;
        ASSERT_TRUE(xmlsafe::readMemory(bytes, chapter, 0, false, nullptr)) << "round " << round;
        ASSERT_TRUE(S_ISREG(modeOf(chapter)));
    }
    // Every process left the project as it found it: unmarked, no lock file,
    // no temporary file.
    EXPECT_FALSE(fileio::isMarked(project));
    EXPECT_EQ(modeOf(project) & 0200, 0200u);
    EXPECT_EQ(hiddenFiles(dir.file(QStringLiteral("sample"))), QStringList());
    CliRun r = quillary({"tree", project});
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
}

// Links planted where saves used to write their temporary files, pointing
// at a file outside: it is never written, the chapter stays a regular file.
TEST(CliConcurrency, PlantedLinksAreNotFollowed)
{
    TempDir dir;
    const QString project = copySample(dir.path());
    const QString folder = dir.file(QStringLiteral("sample/"));
    const QString victim = dir.file(QStringLiteral("victim"));
    writeBytes(victim, "private key");
    ::chmod(QFile::encodeName(victim).constData(), 0600);
    const QStringList names{QStringLiteral("quillary.xml"), QStringLiteral("quillary_move.xml"),
                            QStringLiteral(".chapter1.xml.tmp"), QStringLiteral(".sample.qly.tmp")};
    for (const QString& n : names)
        ASSERT_EQ(::symlink(QFile::encodeName(victim).constData(), QFile::encodeName(folder + n).constData()), 0);
    ASSERT_EQ(::symlink(QFile::encodeName(victim).constData(),
                        QFile::encodeName(dir.file(QStringLiteral(".sample.qly.tmp"))).constData()),
              0);

    writeBytes(dir.file(QStringLiteral("t.html")), "<h1>Welcome</h1><p>Changed.</p>");
    CliRun r = quillary({"topic", "save", project, "topic1", "--html", dir.file(QStringLiteral("t.html"))});
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_TRUE(readText(folder + QStringLiteral("chapter1.xml")).contains(QStringLiteral("<p>Changed.</p>")));
    EXPECT_EQ(readBytes(victim), QByteArray("private key"));
    EXPECT_EQ(modeOf(victim) & 07777, 0600u);
    EXPECT_TRUE(S_ISREG(modeOf(folder + QStringLiteral("chapter1.xml"))));
    EXPECT_TRUE(S_ISREG(modeOf(project)));
    for (const QString& n : names)
        EXPECT_TRUE(S_ISLNK(modeOf(folder + n))) << n.toStdString();
}

TEST(CliConcurrency, ALockHeldByAnotherProcessIsNamed)
{
    TempDir dir;
    const QString project = copySample(dir.path());
    const QString folder = dir.file(QStringLiteral("sample"));
    const QString chapter = folder + QStringLiteral("/chapter1.xml");
    const QByteArray before = readBytes(chapter);

    QProcess holder;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QString::fromLatin1(kHoldVariable), folder);
    holder.setProcessEnvironment(env);
    holder.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--gtest_filter=LockHolder.Holds")});
    bool held = false;
    while (!held && holder.waitForReadyRead(10000))
        held = holder.readAllStandardOutput().contains("held");
    ASSERT_TRUE(held);

    writeBytes(dir.file(QStringLiteral("t.html")), "<h1>Welcome</h1><p>Changed.</p>");
    CliRun r = quillary({"topic", "save", project, "topic1", "--html", dir.file(QStringLiteral("t.html"))});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("is being written by another program (cli_tests, process ") +
                               QString::number(holder.processId()) + QStringLiteral(")")))
        << r.err.toStdString();
    EXPECT_FALSE(r.out.contains(QStringLiteral("Saved")));
    EXPECT_EQ(readBytes(chapter), before);

    holder.closeWriteChannel();
    ASSERT_TRUE(holder.waitForFinished(10000));
    r = quillary({"topic", "save", project, "topic1", "--html", dir.file(QStringLiteral("t.html"))});
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_EQ(hiddenFiles(folder), QStringList());
}

TEST(CliConcurrency, AReadOnlyProjectFileIsNotInUseAndKeepsItsMode)
{
    TempDir dir;
    const QString project = copySample(dir.path());
    ::chmod(QFile::encodeName(project).constData(), 0444);
    if (fileio::isMarked(project))
        GTEST_SKIP() << "the file system keeps no extended attributes";
    writeBytes(dir.file(QStringLiteral("t.html")), "<h1>Welcome</h1><p>Changed.</p>");
    for (const char* yes : {"--no", "--yes"}) {
        CliRun r = quillary({yes, "topic", "save", project, "topic1", "--html", dir.file(QStringLiteral("t.html"))});
        EXPECT_EQ(r.code, 0) << r.err.toStdString();
        EXPECT_FALSE(r.err.contains(QStringLiteral("has not been closed correctly"))) << r.err.toStdString();
        EXPECT_TRUE(r.err.contains(QStringLiteral("is read-only (it has no write permission)"))) << r.err.toStdString();
        EXPECT_TRUE(r.err.contains(QStringLiteral("its permissions are left as they are"))) << r.err.toStdString();
        EXPECT_EQ(modeOf(project) & 07777, 0444u) << yes;
    }
    EXPECT_TRUE(readText(dir.file(QStringLiteral("sample/chapter1.xml"))).contains(QStringLiteral("<p>Changed.</p>")));
}

TEST(CliConcurrency, TheInUseQuestionSaysHowToOverrideIt)
{
    TempDir dir;
    const QString project = copySample(dir.path());
    ASSERT_TRUE(fileio::setMarked(project, true));
    writeBytes(dir.file(QStringLiteral("t.html")), "<h1>Welcome</h1><p>Changed.</p>");
    CliRun r = quillary({"topic", "save", project, "topic1", "--html", dir.file(QStringLiteral("t.html"))});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("Yes opens it anyway (on the command line: --yes)."))) << r.err.toStdString();
    r = quillary({"--yes", "topic", "save", project, "topic1", "--html", dir.file(QStringLiteral("t.html"))});
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_FALSE(fileio::isMarked(project));
}

TEST(CliConcurrency, ANewProjectCutOffDoesNotBlockTheNext)
{
    TempDir dir;
    const QString path = dir.file(QStringLiteral("guide.qly"));
    const QString folder = dir.file(QStringLiteral("guide"));
    // What a killed "new" leaves: the folder with its builder's id, no project file.
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(0);
    ::waitpid(child, nullptr, 0);
    QDir().mkpath(folder + QStringLiteral("/img/en"));
    writeBytes(folder + QStringLiteral("/.quillary-new"), QByteArray::number(qint64(child)));
    CliRun r = quillary({"new", path, "--title", "Guide", "--author", "Me", "--version", "1", "--main", "English:en"});
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    r = quillary({"info", path});
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_EQ(hiddenFiles(folder), QStringList());
}
