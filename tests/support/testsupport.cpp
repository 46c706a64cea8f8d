#include "testsupport.h"

#include <QProcess>
#include <QtEndian>

#include "fileio.h"
#include "newproject.h"
#include "projectlock.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <grp.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace testing_support {

TempDir::TempDir()
{
    m_dir.setAutoRemove(true);
}

TempDir::~TempDir()
{
    // Marked files have no write bits; give them back so removal works as a user too.
    QDirIterator it(m_dir.path(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QString p = it.next();
        QFile::setPermissions(p, QFile::permissions(p) | QFile::WriteOwner);
    }
}

QString makeProject(const QString& dir, const QString& name, const QStringList& langs, const QString& title)
{
    cBook book;
    book.Title = title;
    book.Author = QStringLiteral("Author");
    book.Version = QStringLiteral("1.0");
    book.BookDate = QStringLiteral("1/2/26");
    book.BookTime = QStringLiteral("10:00");
    book.BookFile = QStringLiteral("book.xml");
    book.MainLangAbbrev = langs.value(0);
    book.MainLangName = QStringLiteral("Lang-") + langs.value(0);
    for (int i = 1; i < langs.size(); ++i) {
        book.LangAbrevs.Push(langs[i]);
        book.LangNames.Push(QStringLiteral("Lang-") + langs[i]);
    }
    book.ProjectFile = dir + QLatin1Char('/') + name + QStringLiteral(".qly");
    ScriptedMsgBox box;
    if (!createProjectFiles(book, box))
        throw std::runtime_error("makeProject failed");
    return book.ProjectFile;
}

std::map<QString, QByteArray> filesOf(const QString& folder)
{
    std::map<QString, QByteArray> out;
    QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        out[QDir(folder).relativeFilePath(path)] = readBytes(path);
    }
    return out;
}

QByteArray readBytes(const QString& path)
{
    QByteArray b;
    fileio::readFile(path, b);
    return b;
}

QString readText(const QString& path)
{
    return fileio::decodeText(readBytes(path));
}

void writeUtf16(const QString& path, const QString& text)
{
    writeBytes(path, fileio::utf16WithBom(text));
}

void writeBytes(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    if (QFileInfo::exists(path))
        QFile::setPermissions(path, QFile::permissions(path) | QFile::WriteOwner);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        throw std::runtime_error("cannot write test file");
    f.write(bytes);
}

QString sampleFolder()
{
    // A copy made for a program that gave up root's rights.
    const QString copy = qEnvironmentVariable("QUILLARY_TEST_SAMPLE");
    return copy.isEmpty() ? QStringLiteral(QUILLARY_SOURCE_DIR "/examples/sample") : copy;
}

void copyTree(const QString& from, const QString& to)
{
    QDir().mkpath(to);
    QDirIterator it(from, QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString target = to + QLatin1Char('/') + QDir(from).relativeFilePath(path);
        if (it.fileInfo().isDir()) {
            QDir().mkpath(target);
        } else {
            QFile::copy(path, target);
            QFile(target).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        }
    }
}

QString copySample(const QString& dir, const QString& sub)
{
    const QString to = sub.isEmpty() ? dir : dir + QLatin1Char('/') + sub;
    copyTree(sampleFolder(), to);
    return to + QStringLiteral("/sample.qly");
}

namespace {

void chownTree(const QString& folder, uid_t uid, gid_t gid)
{
    ::chown(QFile::encodeName(folder).constData(), uid, gid);
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        ::lchown(QFile::encodeName(it.next()).constData(), uid, gid);
}

} // namespace

bool runUnprivileged(const std::function<void()>& body, const QStringList& folders)
{
    if (::geteuid() != 0) {
        body();
        return !::testing::Test::HasFailure();
    }
    constexpr uid_t kNobody = 65534;
    constexpr gid_t kNogroup = 65534;
    for (const QString& f : folders)
        chownTree(f, kNobody, kNogroup);
    std::fflush(stdout);
    std::fflush(stderr);
    const pid_t pid = ::fork();
    if (pid == 0) {
        if (::setgroups(0, nullptr) != 0 || ::setgid(kNogroup) != 0 || ::setuid(kNobody) != 0)
            ::_exit(3);
        body();
        std::fflush(stdout);
        std::fflush(stderr);
        ::_exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    const bool started = pid > 0 && ::waitpid(pid, &status, 0) == pid;
    for (const QString& f : folders)
        chownTree(f, 0, 0);
    return started && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool giveUpRootForGood()
{
    if (::geteuid() != 0)
        return true;
    constexpr uid_t kNobody = 65534;
    constexpr gid_t kNogroup = 65534;
    char base[] = "/tmp/quillary-nobody-XXXXXX";
    if (!::mkdtemp(base))
        return false;
    const QString home = QString::fromLocal8Bit(base);
    copyTree(sampleFolder(), home + QStringLiteral("/sample"));
    chownTree(home, kNobody, kNogroup);
    if (::setgroups(0, nullptr) != 0 || ::setgid(kNogroup) != 0 || ::setuid(kNobody) != 0)
        return false;
    qputenv("HOME", base);
    qputenv("QUILLARY_TEST_SAMPLE", (home + QStringLiteral("/sample")).toLocal8Bit());
    // The folder is this user's now; it goes when the program ends.
    static QString folder;
    folder = home;
    std::atexit([] { QDir(folder).removeRecursively(); });
    return true;
}

NoFileWrites::NoFileWrites()
{
    m_oldSignal = std::signal(SIGXFSZ, SIG_IGN);
    rlimit old{};
    ::getrlimit(RLIMIT_FSIZE, &old);
    m_oldLimit = static_cast<long long>(old.rlim_cur);
    rlimit none = old;
    none.rlim_cur = 0;
    ::setrlimit(RLIMIT_FSIZE, &none);
}

NoFileWrites::~NoFileWrites()
{
    rlimit old{};
    ::getrlimit(RLIMIT_FSIZE, &old);
    old.rlim_cur = static_cast<rlim_t>(m_oldLimit);
    ::setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, m_oldSignal);
}

std::map<QString, QByteArray> filesBelow(const QString& folder)
{
    std::map<QString, QByteArray> out;
    QDirIterator it(folder, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (path.endsWith(ProjectLock::kFileName))
            continue;
        QFile f(path);
        out[path] = f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>");
    }
    return out;
}

} // namespace testing_support

namespace testing_support {

ToolRun runTool(const QString& program, const QStringList& arguments, const QString& workingFolder)
{
    ToolRun r;
    QProcess p;
    if (!workingFolder.isEmpty())
        p.setWorkingDirectory(workingFolder);
    p.start(program, arguments);
    r.started = p.waitForStarted(30000);
    if (!r.started)
        return r;
    p.waitForFinished(600000);
    r.out = p.readAllStandardOutput();
    r.err = p.readAllStandardError();
    r.exitCode = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    return r;
}

bool extractChm(const QString& chm, const QString& folder)
{
    const ToolRun r = runTool(QStringLiteral("extract_chmLib"), {chm, folder});
    return r.started && r.exitCode == 0;
}

std::map<quint32, QString> chmContextMap(const QString& folder)
{
    // #IVB: its length, then pairs of ID and offset into #STRINGS, where the
    // page's path ends in a 0.
    const QByteArray ivb = readBytes(folder + QStringLiteral("/#IVB"));
    const QByteArray strings = readBytes(folder + QStringLiteral("/#STRINGS"));
    auto u32 = [&](int at) { return qFromLittleEndian<quint32>(ivb.constData() + at); };
    std::map<quint32, QString> map;
    if (ivb.size() < 4)
        return map;
    const int end = std::min<int>(ivb.size(), 4 + int(u32(0)));
    for (int at = 4; at + 8 <= end; at += 8) {
        const int offset = int(u32(at + 4));
        const int zero = strings.indexOf('\0', offset);
        map[u32(at)] = QString::fromUtf8(strings.mid(offset, zero < 0 ? -1 : zero - offset));
    }
    return map;
}

} // namespace testing_support
