#include "projectlock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

const QString ProjectLock::kFileName = QStringLiteral(".quillary.lock");

namespace {

struct Held {
    int fd = -1;
    int depth = 0;
    QByteArray path;
};

std::mutex g_mutex;
std::atomic<int> g_waitMs{5000};

std::map<QString, Held>& heldLocks()
{
    static auto* locks = new std::map<QString, Held>; // outlives every holder
    return *locks;
}

// One key per folder however it is written, so that a process never waits
// for itself.
QString keyOf(const QString& folder)
{
    QFileInfo fi(folder);
    QString canonical = fi.canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(fi.absoluteFilePath()) : canonical;
}

QString reason()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

// "1234 quillary": the holder as the lock file names it.
QString holderOf(int fd)
{
    char buf[256];
    ssize_t n = ::pread(fd, buf, sizeof buf - 1, 0);
    if (n <= 0)
        return {};
    const QString text = QString::fromUtf8(buf, int(n)).trimmed();
    const int blank = int(text.indexOf(QLatin1Char(' ')));
    bool ok = false;
    const qint64 pid = text.left(blank).toLongLong(&ok);
    if (!ok || blank < 0)
        return {};
    return QStringLiteral("%1, process %2").arg(text.mid(blank + 1), QString::number(pid));
}

enum class Attempt { Taken, Busy, Again, Failed };

Attempt attempt(const QByteArray& path, int& fd, QString& holder, QString& why)
{
    bool canWrite = true;
    fd = ::open(path.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666);
    if (fd < 0 && (errno == EACCES || errno == EROFS)) {
        // Somebody else's lock file still locks; the holder is just not written.
        canWrite = false;
        fd = ::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    }
    if (fd < 0) {
        why = errno == ELOOP ? QStringLiteral("it is a symbolic link") : reason();
        return Attempt::Failed;
    }
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        why = QStringLiteral("it is not a regular file");
        ::close(fd);
        return Attempt::Failed;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int e = errno;
        holder = holderOf(fd);
        ::close(fd);
        if (e == EWOULDBLOCK || e == EINTR)
            return Attempt::Busy;
        errno = e;
        why = reason();
        return Attempt::Failed;
    }
    // A holder removes the file as it lets go: a lock on a file that is no
    // longer there protects nothing.
    struct stat now;
    if (::lstat(path.constData(), &now) != 0 || now.st_dev != st.st_dev || now.st_ino != st.st_ino) {
        ::close(fd);
        return Attempt::Again;
    }
    if (canWrite) {
        const QByteArray me = QByteArray::number(qint64(::getpid())) + ' ' +
                              QByteArray(program_invocation_short_name) + '\n';
        if (::ftruncate(fd, 0) == 0)
            (void)::pwrite(fd, me.constData(), size_t(me.size()), 0);
    }
    return Attempt::Taken;
}

} // namespace

ProjectLock::ProjectLock(const QString& projectFolder, int waitMs)
{
    const int wait = waitMs < 0 ? waitLimit() : waitMs;
    if (projectFolder.isEmpty() || !QFileInfo(projectFolder).isDir()) {
        m_ok = true; // nothing there to write, nothing to protect
        return;
    }
    m_key = keyOf(projectFolder);
    {
        std::lock_guard<std::mutex> guard(g_mutex);
        auto it = heldLocks().find(m_key);
        if (it != heldLocks().end()) {
            ++it->second.depth;
            m_ok = m_counted = true;
            return;
        }
    }
    const QString file = m_key + QLatin1Char('/') + kFileName;
    const QByteArray path = QFile::encodeName(file);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(wait);
    QString holder, why;
    for (;;) {
        int fd = -1;
        switch (attempt(path, fd, holder, why)) {
        case Attempt::Taken: {
            std::lock_guard<std::mutex> guard(g_mutex);
            heldLocks()[m_key] = Held{fd, 1, path};
            m_ok = m_counted = true;
            return;
        }
        case Attempt::Failed:
            m_error = QStringLiteral("The project folder \"%1\" cannot be locked for writing: its lock file \"%2\" "
                                     "cannot be used (%3). Nothing was written.")
                          .arg(QDir::toNativeSeparators(m_key), kFileName, why);
            return;
        case Attempt::Again:
            if (std::chrono::steady_clock::now() < deadline)
                continue;
            break;
        case Attempt::Busy:
            if (std::chrono::steady_clock::now() < deadline) {
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                continue;
            }
            break;
        }
        const double seconds = wait / 1000.0;
        m_error = QStringLiteral("The project in \"%1\" is being written by another program (%2); waited %3 "
                                 "seconds. Nothing was written: try again when it has finished.")
                      .arg(QDir::toNativeSeparators(m_key),
                           holder.isEmpty() ? QStringLiteral("its lock file is \"%1\"").arg(file) : holder,
                           QString::number(seconds));
        return;
    }
}

ProjectLock::~ProjectLock()
{
    release();
}

void ProjectLock::release()
{
    if (!m_counted)
        return;
    m_counted = false;
    std::lock_guard<std::mutex> guard(g_mutex);
    auto it = heldLocks().find(m_key);
    if (it == heldLocks().end() || --it->second.depth > 0)
        return;
    Held h = it->second;
    heldLocks().erase(it);
    // Removed while still held, so that no lock file stays behind; the next
    // writer sees that and takes a fresh one.
    struct stat mine, there;
    if (::fstat(h.fd, &mine) == 0 && ::lstat(h.path.constData(), &there) == 0 && mine.st_dev == there.st_dev &&
        mine.st_ino == there.st_ino)
        ::unlink(h.path.constData());
    ::close(h.fd);
}

bool ProjectLock::heldHere(const QString& projectFolder)
{
    std::lock_guard<std::mutex> guard(g_mutex);
    return heldLocks().count(keyOf(projectFolder)) > 0;
}

int ProjectLock::waitLimit()
{
    return g_waitMs.load();
}

void ProjectLock::setWaitLimit(int ms)
{
    g_waitMs.store(ms < 0 ? 0 : ms);
}
