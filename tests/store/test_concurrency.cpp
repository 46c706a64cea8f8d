// Writers of one project: the writers' lock, temporary files that nothing
// planted can redirect, modes and marks kept, changes of another process kept,
// a new project that a killed creation does not block.
#include "cbook.h"
#include "cbookfile.h"
#include "cproject.h"
#include "csaxerrorhandler.h"
#include "fileio.h"
#include "msgbox.h"
#include "newproject.h"
#include "projectlock.h"
#include "rewrite.h"
#include "testsupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>

#include <cstdio>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
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

void setMode(const QString& path, mode_t mode)
{
    ::chmod(QFile::encodeName(path).constData(), mode);
}

bool isLink(const QString& path)
{
    return S_ISLNK(modeOf(path));
}

void plantLink(const QString& at, const QString& to)
{
    QFile::remove(at);
    ASSERT_EQ(::symlink(QFile::encodeName(to).constData(), QFile::encodeName(at).constData()), 0);
}

// Files in a folder apart from the ones named: temporary files or a lock
// file left behind show up here.
QStringList strayFiles(const QString& folder, const QStringList& known)
{
    QStringList out;
    for (const QString& n : QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System))
        if (!known.contains(n))
            out << n;
    return out;
}

// A second process that holds the lock of a folder until its input ends:
// this test program itself, running only the case below.
struct LockHolder {
    QProcess process;
    bool start(const QString& folder)
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QString::fromLatin1(kHoldVariable), folder);
        process.setProcessEnvironment(env);
        process.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--gtest_filter=LockHolder.Holds")});
        while (process.waitForReadyRead(10000))
            if (process.readAllStandardOutput().contains("held"))
                return true;
        return false;
    }
    ~LockHolder()
    {
        process.closeWriteChannel();
        if (!process.waitForFinished(10000))
            process.kill();
        process.waitForFinished();
    }
};

struct WaitLimit {
    int before = ProjectLock::waitLimit();
    explicit WaitLimit(int ms) { ProjectLock::setWaitLimit(ms); }
    ~WaitLimit() { ProjectLock::setWaitLimit(before); }
};

struct CopyAll : RewriteFilter {};

bool keepsAttributes(const QString& folder)
{
    const QString probe = folder + QStringLiteral("/probe");
    writeBytes(probe, "x");
    const QByteArray p = QFile::encodeName(probe);
    const bool ok = ::setxattr(p.constData(), "user.quillary.probe", "1", 1, 0) == 0;
    QFile::remove(probe);
    return ok;
}

// The id of a process that has ended.
qint64 endedProcess()
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(0);
    ::waitpid(child, nullptr, 0);
    return child;
}

QString chapterText(const QString& topic)
{
    return QStringLiteral("<chapter><title lang=\"en\">One</title><topic id=\"t1\"><title lang=\"en\">T</title>"
                          "<onelang lang=\"en\"><p>") +
           topic + QStringLiteral("</p></onelang></topic></chapter>");
}

} // namespace

// The other side of the cross-process cases; skipped in a normal run.
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

TEST(ProjectLock, NestedScopesTakeTheLockOnceAndLeaveNoFile)
{
    TempDir dir;
    const QString lockFile = dir.file(ProjectLock::kFileName);
    EXPECT_FALSE(ProjectLock::heldHere(dir.path()));
    {
        ProjectLock outer(dir.path());
        ASSERT_TRUE(outer.ok());
        EXPECT_TRUE(ProjectLock::heldHere(dir.path()));
        EXPECT_TRUE(QFileInfo(lockFile).isFile());
        {
            // Another spelling of the same folder is the same lock.
            ProjectLock inner(dir.path() + QStringLiteral("/./"));
            ASSERT_TRUE(inner.ok());
            // Re-entered while held: a routine that holds the lock calls
            // another that takes it.
            QString chapter = dir.file(QStringLiteral("chapter1.xml"));
            writeUtf16(chapter, chapterText(QStringLiteral("x")));
            CopyAll copy;
            QString error;
            EXPECT_TRUE(rewriteFile(chapter, copy, dir.file(fileio::kRewriteFile), nullptr, &error))
                << error.toStdString();
        }
        // The inner scope does not give back what the outer holds.
        EXPECT_TRUE(ProjectLock::heldHere(dir.path()));
        EXPECT_TRUE(QFileInfo(lockFile).isFile());
        const QString holder = QString::fromUtf8(readBytes(lockFile));
        EXPECT_TRUE(holder.startsWith(QString::number(::getpid()) + QStringLiteral(" store_tests")))
            << holder.toStdString();
    }
    EXPECT_FALSE(ProjectLock::heldHere(dir.path()));
    EXPECT_FALSE(QFileInfo::exists(lockFile));

    // A folder that is not there needs no lock.
    ProjectLock none(dir.file(QStringLiteral("missing")));
    EXPECT_TRUE(none.ok());
}

TEST(ProjectLock, AnotherProcessHoldingItIsNamedAndNothingIsWritten)
{
    TempDir dir;
    const QString chapter = dir.file(QStringLiteral("chapter1.xml"));
    writeUtf16(chapter, chapterText(QStringLiteral("before")));
    const QByteArray before = readBytes(chapter);

    LockHolder other;
    ASSERT_TRUE(other.start(dir.path()));
    const qint64 pid = other.process.processId();

    WaitLimit shortWait(300);
    {
        ProjectLock lock(dir.path());
        EXPECT_FALSE(lock.ok());
        EXPECT_TRUE(lock.error().contains(QStringLiteral("is being written by another program (store_tests, process ") +
                                          QString::number(pid) + QStringLiteral(")")))
            << lock.error().toStdString();
        EXPECT_TRUE(lock.error().contains(QFileInfo(dir.path()).canonicalFilePath())) << lock.error().toStdString();
    }
    struct ReplaceAll : RewriteFilter {
        void characters(std::string_view) override { writeRaw(std::string_view("after")); }
    } change;
    QString error;
    EXPECT_FALSE(rewriteFile(chapter, change, dir.file(fileio::kRewriteFile), nullptr, &error));
    EXPECT_TRUE(error.contains(QStringLiteral("is being written by another program"))) << error.toStdString();
    EXPECT_FALSE(rewriteToTemp(chapter, change, dir.file(fileio::kRewriteFile), nullptr, &error));
    EXPECT_EQ(readBytes(chapter), before);

    // A killed holder leaves its file; the lock itself went with the process.
    other.process.kill();
    other.process.waitForFinished();
    EXPECT_TRUE(QFileInfo(dir.file(ProjectLock::kFileName)).isFile());
    EXPECT_TRUE(rewriteFile(chapter, change, dir.file(fileio::kRewriteFile), nullptr, &error)) << error.toStdString();
    EXPECT_TRUE(readText(chapter).contains(QStringLiteral("after")));
    EXPECT_FALSE(QFileInfo::exists(dir.file(ProjectLock::kFileName)));
}

TEST(ProjectLock, ALinkAsLockFileIsRefused)
{
    TempDir dir;
    const QString victim = dir.file(QStringLiteral("victim.txt"));
    writeBytes(victim, "keep");
    QDir().mkpath(dir.file(QStringLiteral("proj")));
    plantLink(dir.file(QStringLiteral("proj/") + ProjectLock::kFileName), victim);
    ProjectLock lock(dir.file(QStringLiteral("proj")));
    EXPECT_FALSE(lock.ok());
    EXPECT_TRUE(lock.error().contains(QStringLiteral("symbolic link"))) << lock.error().toStdString();
    EXPECT_EQ(readBytes(victim), QByteArray("keep"));
}

// Every name a rewrite used to write through, planted as a link to a file
// outside: none is followed, the link stays as it was, the chapter stays a
// regular file.
TEST(TempFiles, PlantedLinksAreNeverFollowed)
{
    TempDir dir;
    QDir().mkpath(dir.file(QStringLiteral("proj")));
    const QString victim = dir.file(QStringLiteral("victim.txt"));
    writeBytes(victim, "secret");
    setMode(victim, 0600);
    const QString chapter = dir.file(QStringLiteral("proj/chapter1.xml"));
    writeUtf16(chapter, chapterText(QStringLiteral("one")));
    const QStringList planted{QStringLiteral("quillary.xml"), QStringLiteral("quillary_move.xml"),
                              QStringLiteral(".chapter1.xml.tmp"), QStringLiteral("chapter1.xml.quillary-new"),
                              QStringLiteral(".a.xml.tmp")};
    for (const QString& n : planted)
        plantLink(dir.file(QStringLiteral("proj/") + n), victim);

    CopyAll copy;
    QString error;
    ASSERT_TRUE(rewriteFile(chapter, copy, dir.file(QStringLiteral("proj/quillary.xml")), nullptr, &error))
        << error.toStdString();
    ASSERT_TRUE(rewriteToTemp(chapter, copy, dir.file(QStringLiteral("proj/chapter1.xml.quillary-new")), nullptr, &error));
    const QString pending = fileio::pendingTemp(dir.file(QStringLiteral("proj/chapter1.xml.quillary-new")));
    EXPECT_TRUE(QFileInfo(pending).fileName().startsWith(QStringLiteral(".chapter1.xml.quillary-new.")));
    EXPECT_TRUE(pending.endsWith(QStringLiteral(".tmp")));
    EXPECT_FALSE(isLink(pending));
    ASSERT_TRUE(fileio::commitTemp(dir.file(QStringLiteral("proj/chapter1.xml.quillary-new")), chapter, &error));
    const QString a = dir.file(QStringLiteral("proj/a.xml"));
    ASSERT_TRUE(fileio::atomicReplace(a, "data", {}, &error)) << error.toStdString();
    ASSERT_TRUE(fileio::writeUtf16Line(a, QStringLiteral("x"), dir.file(QStringLiteral("proj/quillary.xml")), &error));

    EXPECT_EQ(readBytes(victim), QByteArray("secret"));
    EXPECT_EQ(modeOf(victim) & 07777, 0600u);
    EXPECT_TRUE(S_ISREG(modeOf(chapter)));
    EXPECT_TRUE(S_ISREG(modeOf(a)));
    EXPECT_EQ(readText(chapter), chapterText(QStringLiteral("one")) + QStringLiteral("\r\n"));
    for (const QString& n : planted)
        EXPECT_TRUE(isLink(dir.file(QStringLiteral("proj/") + n))) << n.toStdString();
    // Nothing else is left: no temporary file, no lock file.
    EXPECT_EQ(strayFiles(dir.file(QStringLiteral("proj")), planted + QStringList{"chapter1.xml", "a.xml"}),
              QStringList());

    // A link given as the finished file itself is not renamed over a target.
    EXPECT_FALSE(fileio::commitTemp(dir.file(QStringLiteral("proj/quillary.xml")), chapter, &error));
    EXPECT_TRUE(S_ISREG(modeOf(chapter)));
    EXPECT_EQ(readBytes(victim), QByteArray("secret"));
}

TEST(TempFiles, NamesAreUniqueNewAndPrivate)
{
    TempDir dir;
    QString first, second, error;
    int a = fileio::createTemp(dir.file(QStringLiteral("quillary.xml")), &first, &error);
    int b = fileio::createTemp(dir.file(QStringLiteral("quillary.xml")), &second, &error);
    ASSERT_GE(a, 0);
    ASSERT_GE(b, 0);
    ::close(a);
    ::close(b);
    EXPECT_NE(first, second);
    EXPECT_EQ(QFileInfo(first).absolutePath(), dir.path());
    EXPECT_TRUE(QFileInfo(first).fileName().startsWith(QStringLiteral(".quillary.xml.")));
    EXPECT_EQ(modeOf(first) & 07777, 0600u);
    EXPECT_LT(fileio::createTemp(dir.file(QStringLiteral("no/such/folder/x")), &first, &error), 0);
    EXPECT_TRUE(error.startsWith(QStringLiteral("Cannot create")));
}

TEST(TempFiles, TheTargetKeepsItsModeAndOwner)
{
    TempDir dir;
    const QString chapter = dir.file(QStringLiteral("chapter1.xml"));
    writeUtf16(chapter, chapterText(QStringLiteral("one")));
    CopyAll copy;
    for (mode_t mode : {mode_t(0640), mode_t(0444), mode_t(0604)}) {
        setMode(chapter, mode);
        QString error;
        ASSERT_TRUE(rewriteFile(chapter, copy, dir.file(fileio::kRewriteFile), nullptr, &error)) << error.toStdString();
        EXPECT_EQ(modeOf(chapter) & 07777, mode);
        ASSERT_TRUE(fileio::atomicReplace(chapter, fileio::utf16WithBom(chapterText(QStringLiteral("two"))), {}, &error));
        EXPECT_EQ(modeOf(chapter) & 07777, mode);
    }
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(QFile::encodeName(chapter).constData(), 4321, 4321), 0);
        QString error;
        ASSERT_TRUE(rewriteFile(chapter, copy, dir.file(fileio::kRewriteFile), nullptr, &error));
        struct stat st;
        ::stat(QFile::encodeName(chapter).constData(), &st);
        EXPECT_EQ(st.st_uid, 4321u);
        EXPECT_EQ(st.st_gid, 4321u);
    }
}

TEST(ProjectMark, TellsTheMarkFromAFileItsOwnerMadeReadOnly)
{
    TempDir dir;
    if (!keepsAttributes(dir.path()))
        GTEST_SKIP() << "the file system keeps no extended attributes";
    const QString file = dir.file(QStringLiteral("a.qly"));
    writeBytes(file, "x");

    // Marked and unmarked: the write bits it had come back.
    setMode(file, 0664);
    ASSERT_TRUE(fileio::setMarked(file, true));
    EXPECT_EQ(modeOf(file) & 07777, 0444u);
    EXPECT_TRUE(fileio::isMarked(file));
    EXPECT_FALSE(fileio::isReadOnly(file));
    ASSERT_TRUE(fileio::setMarked(file, false));
    EXPECT_EQ(modeOf(file) & 07777, 0664u);
    EXPECT_FALSE(fileio::isMarked(file));

    // The owner's read-only file is not in use, and marking or unmarking
    // leaves it as it is.
    setMode(file, 0444);
    EXPECT_FALSE(fileio::isMarked(file));
    EXPECT_TRUE(fileio::isReadOnly(file));
    EXPECT_FALSE(fileio::setMarked(file, true));
    EXPECT_TRUE(fileio::setMarked(file, false));
    EXPECT_EQ(modeOf(file) & 07777, 0444u);
}

TEST(ProjectMark, SavingKeepsTheMarkAndRefusesAReadOnlyFile)
{
    TempDir dir;
    if (!keepsAttributes(dir.path()))
        GTEST_SKIP() << "the file system keeps no extended attributes";
    ScriptedMsgBox box;
    const QString path = makeProject(dir.path());
    cProject project(box);
    ASSERT_TRUE(project.Load(path));
    ASSERT_TRUE(fileio::setMarked(path, true));
    EXPECT_EQ(project.getNewTopicID(), QStringLiteral("topic1"));
    EXPECT_TRUE(fileio::isMarked(path));
    EXPECT_TRUE(box.empty());

    ASSERT_TRUE(fileio::setMarked(path, false));
    const mode_t mode = modeOf(path) & 07777;
    setMode(path, 0444);
    const QByteArray before = readBytes(path);
    EXPECT_EQ(project.getNewTopicID(), QString());
    EXPECT_EQ(readBytes(path), before);
    EXPECT_EQ(modeOf(path) & 07777, 0444u);
    ASSERT_FALSE(box.empty());
    EXPECT_TRUE(box.last().contains(QStringLiteral("is read-only (it has no write permission)"))) << box.last().toStdString();
    EXPECT_TRUE(box.last().contains(path));
    setMode(path, mode);
}

// Two views of one project, as two processes have them: what one wrote is
// not overwritten by the other.
TEST(ConcurrentChanges, CountersAndChaptersOfAnotherWriterAreKept)
{
    TempDir dir;
    ScriptedMsgBox box;
    const QString path = makeProject(dir.path());
    cProject first(box), second(box);
    ASSERT_TRUE(first.Load(path));
    ASSERT_TRUE(second.Load(path));
    EXPECT_EQ(first.getNewTopicID(), QStringLiteral("topic1"));
    EXPECT_EQ(second.getNewTopicID(), QStringLiteral("topic2"));
    first.InsertChapter(QStringLiteral("A"), QStringLiteral("chapter1"), QStringLiteral("chapter1.xml"));
    second.InsertChapter(QStringLiteral("B"), QStringLiteral("chapter2"), QStringLiteral("chapter2.xml"));
    cProject fresh(box);
    ASSERT_TRUE(fresh.Load(path));
    EXPECT_EQ(fresh.counter("topicid"), QStringLiteral("2"));
    EXPECT_EQ(fresh.chapterFileList().size(), 2);
    EXPECT_TRUE(box.empty()) << box.last().toStdString();

    // The book file: a second writer from an old copy is refused.
    cBookFile one(box), two(box);
    ASSERT_TRUE(one.Load(first.getBookFile()));
    ASSERT_TRUE(two.Load(first.getBookFile()));
    cBook book;
    one.getProperties(book, QStringLiteral("en"));
    book.Title = QStringLiteral("First");
    ASSERT_TRUE(one.setProperties(book, QStringLiteral("en")));
    book.Title = QStringLiteral("Second");
    EXPECT_FALSE(two.setProperties(book, QStringLiteral("en")));
    EXPECT_TRUE(box.last().contains(QStringLiteral("was changed by another program"))) << box.last().toStdString();
    EXPECT_TRUE(readText(first.getBookFile()).contains(QStringLiteral(">First<")));
}

TEST(NewProject, ACreationCutOffDoesNotBlockTheNext)
{
    TempDir dir;
    ScriptedMsgBox box;
    const QString path = dir.file(QStringLiteral("guide.qly"));
    const QString folder = dir.file(QStringLiteral("guide"));

    // What a killed creation leaves: the folder with the builder's id, no project file.
    const qint64 deadPid = endedProcess();
    QDir().mkpath(folder + QStringLiteral("/img/en"));
    writeUtf16(folder + QStringLiteral("/book.xml"), QStringLiteral("<book>"));
    writeBytes(folder + QStringLiteral("/.quillary-new"), QByteArray::number(deadPid));
    EXPECT_TRUE(checkProjectPath(path, box)) << box.last().toStdString();

    cBook book;
    book.Title = QStringLiteral("Guide");
    book.Author = QStringLiteral("A");
    book.Version = QStringLiteral("1");
    book.BookDate = QStringLiteral("d");
    book.BookTime = QStringLiteral("t");
    book.BookFile = QStringLiteral("book.xml");
    book.MainLangName = QStringLiteral("English");
    book.MainLangAbbrev = QStringLiteral("en");
    book.ProjectFile = path;
    ASSERT_TRUE(createProjectFiles(book, box)) << box.last().toStdString();
    cProject p(box);
    ASSERT_TRUE(p.Load(path));
    EXPECT_TRUE(readText(p.getBookFile()).contains(QStringLiteral("<title lang=\"en\">Guide</title>")));
    // Nothing of the building is left beside or inside.
    EXPECT_EQ(strayFiles(folder, {QStringLiteral("book.xml")}), QStringList());
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              (QStringList{"guide", "guide.qly"}));

    // A folder whose builder still runs, or that holds anything else, stays
    // in the way.
    const QString other = dir.file(QStringLiteral("other"));
    QDir().mkpath(other + QStringLiteral("/img/en"));
    writeBytes(other + QStringLiteral("/.quillary-new"), "1");
    EXPECT_FALSE(checkProjectPath(dir.file(QStringLiteral("other.qly")), box));
    writeBytes(other + QStringLiteral("/.quillary-new"), QByteArray::number(deadPid));
    writeBytes(other + QStringLiteral("/img/en/picture.png"), "png");
    EXPECT_FALSE(checkProjectPath(dir.file(QStringLiteral("other.qly")), box));
    EXPECT_EQ(box.last(), QStringLiteral("Folder \"") + other + QStringLiteral("\" already exists! Project may not be created!"));
}

TEST(StaleTemps, OnlyOurOwnLeftoversAreRemoved)
{
    testing_support::TempDir dir;
    const QString left = dir.file(QStringLiteral(".chapter1.xml.quillary-new.AbC123.tmp"));
    testing_support::writeBytes(left, "half");
    testing_support::writeBytes(dir.file(QStringLiteral(".notes.tmp")), "mine");
    testing_support::writeBytes(dir.file(QStringLiteral("chapter1.xml")), "<chapter/>");
    testing_support::writeBytes(dir.file(QStringLiteral("outside")), "keep");
    QFile::link(dir.file(QStringLiteral("outside")), dir.file(QStringLiteral(".book.xml.XyZ789.tmp")));
    EXPECT_EQ(fileio::removeStaleTemps(dir.path()), 1);
    EXPECT_FALSE(QFileInfo::exists(left));
    EXPECT_TRUE(QFileInfo::exists(dir.file(QStringLiteral(".notes.tmp"))));
    EXPECT_TRUE(QFileInfo::exists(dir.file(QStringLiteral("chapter1.xml"))));
    EXPECT_TRUE(QFileInfo(dir.file(QStringLiteral(".book.xml.XyZ789.tmp"))).isSymLink());
    EXPECT_EQ(testing_support::readBytes(dir.file(QStringLiteral("outside"))), QByteArray("keep"));
}
