#include "fileio.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

namespace fileio {

namespace {

QString sysError(const char* what, const QString& path)
{
    return QStringLiteral("%1 \"%2\": %3").arg(QString::fromLatin1(what), path,
                                              QString::fromLocal8Bit(std::strerror(errno)));
}

bool writeAll(int fd, const char* data, size_t len)
{
    while (len > 0) {
        ssize_t n = ::write(fd, data, len);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += n;
        len -= size_t(n);
    }
    return true;
}

void syncDirOf(const QString& path)
{
    QByteArray dir = QFile::encodeName(QFileInfo(path).absolutePath());
    int fd = ::open(dir.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

mode_t newFileMode()
{
    mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

// Gives the new file what the target it replaces had: mode, owner and the
// project mark. A new target gets the mode of any new file.
void takeOverTarget(int fd, const QString& target)
{
    struct stat st;
    QByteArray t = QFile::encodeName(target);
    if (::stat(t.constData(), &st) != 0 || !S_ISREG(st.st_mode)) {
        ::fchmod(fd, newFileMode());
        return;
    }
    if (::geteuid() == 0 && (st.st_uid != 0 || st.st_gid != 0))
        (void)::fchown(fd, st.st_uid, st.st_gid);
    char value[32];
    ssize_t n = ::getxattr(t.constData(), kMarkAttribute, value, sizeof value);
    if (n >= 0)
        ::fsetxattr(fd, kMarkAttribute, value, size_t(n), 0);
    ::fchmod(fd, st.st_mode & 07777);
}

bool renameInto(const QString& temp, const QString& target, QString* error)
{
    QByteArray t = QFile::encodeName(temp);
    QByteArray g = QFile::encodeName(target);
    if (::rename(t.constData(), g.constData()) != 0) {
        if (error)
            *error = sysError("Cannot replace", target);
        ::unlink(t.constData());
        return false;
    }
    syncDirOf(target);
    return true;
}

// Finished temporary files by the hint they were made for. A hint may be
// used again before the first file is committed; the latest comes first.
struct Pending {
    QString actual;
    std::shared_ptr<void> hold;
};
std::mutex g_pendingMutex;
std::map<QString, std::vector<Pending>>& pendingFiles()
{
    // Never destroyed: a file still pending at exit must not release its
    // hold after the lock registry is gone.
    static auto* files = new std::map<QString, std::vector<Pending>>;
    return *files;
}

QString hintKey(const QString& hint)
{
    return QDir::cleanPath(QFileInfo(hint).absoluteFilePath());
}

void keepPending(const QString& hint, const QString& actual, std::shared_ptr<void> hold)
{
    std::lock_guard<std::mutex> guard(g_pendingMutex);
    pendingFiles()[hintKey(hint)].push_back({actual, std::move(hold)});
}

bool takePending(const QString& hint, Pending& out)
{
    std::lock_guard<std::mutex> guard(g_pendingMutex);
    auto it = pendingFiles().find(hintKey(hint));
    if (it == pendingFiles().end() || it->second.empty())
        return false;
    out = std::move(it->second.back());
    it->second.pop_back();
    if (it->second.empty())
        pendingFiles().erase(it);
    return true;
}

} // namespace

int createTemp(const QString& hint, QString* path, QString* error)
{
    const QFileInfo fi(hint);
    const QString prefix = fi.absolutePath() + QStringLiteral("/.") + fi.fileName() + QLatin1Char('.');
    static const char kChars[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    for (int attempt = 0; attempt < 100; ++attempt) {
        QString name = prefix;
        for (int i = 0; i < 6; ++i)
            name += QLatin1Char(kChars[QRandomGenerator::system()->bounded(int(sizeof kChars - 1))]);
        name += QStringLiteral(".tmp");
        QByteArray n = QFile::encodeName(name);
        // Exclusive creation never opens what is there already, a link included.
        int fd = ::open(n.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (fd >= 0) {
            if (path)
                *path = name;
            return fd;
        }
        if (errno != EEXIST) {
            if (error)
                *error = sysError("Cannot create", name);
            return -1;
        }
    }
    if (error)
        *error = QStringLiteral("Cannot create a temporary file beside \"%1\".").arg(hint);
    return -1;
}

int removeStaleTemps(const QString& folder)
{
    static const QRegularExpression kName(QStringLiteral("^\\..+\\.[A-Za-z0-9]{6}\\.tmp$"));
    int removed = 0;
    const QFileInfoList entries =
        QDir(folder).entryInfoList({QStringLiteral(".*.tmp")}, QDir::Files | QDir::Hidden | QDir::System);
    for (const QFileInfo& fi : entries) {
        if (fi.isSymLink() || !kName.match(fi.fileName()).hasMatch())
            continue;
        const QByteArray n = QFile::encodeName(fi.absoluteFilePath());
        if (::unlink(n.constData()) == 0)
            ++removed;
    }
    return removed;
}

QByteArray utf16WithBom(const QString& text)
{
    QByteArray out;
    out.reserve(2 + text.size() * 2);
    out.append('\xFF');
    out.append('\xFE');
    for (QChar c : text) {
        ushort u = c.unicode();
        out.append(char(u & 0xFF));
        out.append(char(u >> 8));
    }
    return out;
}

bool atomicReplace(const QString& target, const QByteArray& data, const QString& tempPath,
                   QString* error)
{
    QString temp;
    int fd = createTemp(tempPath.isEmpty() ? target : tempPath, &temp, error);
    if (fd < 0)
        return false;
    QByteArray t = QFile::encodeName(temp);
    bool ok = writeAll(fd, data.constData(), size_t(data.size())) && ::fsync(fd) == 0;
    if (!ok && error)
        *error = sysError("Cannot write", temp);
    if (ok)
        takeOverTarget(fd, target);
    ::close(fd);
    if (!ok) {
        ::unlink(t.constData());
        return false;
    }
    return renameInto(temp, target, error);
}

AtomicFileWriter::~AtomicFileWriter()
{
    abort();
}

bool AtomicFileWriter::open(const QString& target, QString* error)
{
    abort();
    m_target = target;
    m_failed = false;
    m_fd = createTemp(target, &m_temp, error);
    return m_fd >= 0;
}

bool AtomicFileWriter::write(const char* data, size_t len)
{
    if (m_fd < 0 || m_failed)
        return false;
    if (!writeAll(m_fd, data, len))
        m_failed = true;
    return !m_failed;
}

bool AtomicFileWriter::commit(QString* error)
{
    if (m_fd < 0)
        return false;
    if (m_failed || ::fsync(m_fd) != 0) {
        if (error)
            *error = sysError("Cannot write", m_temp);
        abort();
        return false;
    }
    takeOverTarget(m_fd, m_target);
    ::close(m_fd);
    m_fd = -1;
    return renameInto(m_temp, m_target, error);
}

void AtomicFileWriter::abort()
{
    if (m_fd < 0)
        return;
    ::close(m_fd);
    m_fd = -1;
    ::unlink(QFile::encodeName(m_temp).constData());
}

bool writeUtf16Line(const QString& target, const QString& text, const QString& tempPath,
                    QString* error)
{
    return atomicReplace(target, utf16WithBom(text + QStringLiteral("\r\n")), tempPath, error);
}

bool readFile(const QString& path, QByteArray& out)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return false;
    out = f.readAll();
    return true;
}

QString decodeText(const QByteArray& b)
{
    if (b.size() >= 2 && uchar(b[0]) == 0xFF && uchar(b[1]) == 0xFE) {
        QStringDecoder d(QStringDecoder::Utf16LE);
        return d(b.mid(2));
    }
    if (b.size() >= 2 && uchar(b[0]) == 0xFE && uchar(b[1]) == 0xFF) {
        QStringDecoder d(QStringDecoder::Utf16BE);
        return d(b.mid(2));
    }
    if (b.size() >= 3 && uchar(b[0]) == 0xEF && uchar(b[1]) == 0xBB && uchar(b[2]) == 0xBF)
        return QString::fromUtf8(b.mid(3));
    return QString::fromUtf8(b);
}

AtomicUtf16Writer::~AtomicUtf16Writer()
{
    abort();
}

bool AtomicUtf16Writer::open(const QString& tempPath, QString* error)
{
    abort();
    m_hint = tempPath;
    m_temp.clear();
    m_failed = false;
    m_decoder.resetState();
    m_fd = createTemp(tempPath, &m_temp, error);
    if (m_fd < 0)
        return false;
    if (!writeAll(m_fd, "\xFF\xFE", 2))
        m_failed = true;
    m_utf8.reserve(1 << 16);
    return true;
}

void AtomicUtf16Writer::write(const char* utf8, size_t len)
{
    if (m_fd < 0)
        return;
    m_utf8.append(utf8, len);
    if (m_utf8.size() >= (1 << 16))
        flushBuffer();
}

void AtomicUtf16Writer::write(const QString& text)
{
    QByteArray u = text.toUtf8();
    write(u.constData(), size_t(u.size()));
}

bool AtomicUtf16Writer::flushBuffer()
{
    if (m_utf8.empty())
        return !m_failed;
    // The decoder keeps an incomplete UTF-8 sequence for the next call.
    QString chunk = m_decoder(QByteArrayView(m_utf8.data(), qsizetype(m_utf8.size())));
    m_utf8.clear();
    if (QSysInfo::ByteOrder == QSysInfo::LittleEndian) {
        if (!writeAll(m_fd, reinterpret_cast<const char*>(chunk.utf16()), size_t(chunk.size()) * 2))
            m_failed = true;
    } else {
        QByteArray b = utf16WithBom(chunk).mid(2);
        if (!writeAll(m_fd, b.constData(), size_t(b.size())))
            m_failed = true;
    }
    return !m_failed;
}

bool AtomicUtf16Writer::commit(const QString& target, QString* error)
{
    if (m_fd < 0) {
        if (error)
            *error = QStringLiteral("No file open");
        return false;
    }
    flushBuffer();
    bool ok = !m_failed && ::fsync(m_fd) == 0;
    if (!ok && error)
        *error = sysError("Cannot write", m_temp);
    if (ok)
        takeOverTarget(m_fd, target);
    ::close(m_fd);
    m_fd = -1;
    if (!ok) {
        QByteArray t = QFile::encodeName(m_temp);
        ::unlink(t.constData());
        return false;
    }
    return renameInto(m_temp, target, error);
}

bool AtomicUtf16Writer::finish(QString* error, std::shared_ptr<void> hold)
{
    if (m_fd < 0)
        return false;
    flushBuffer();
    bool ok = !m_failed && ::fsync(m_fd) == 0;
    if (!ok && error)
        *error = sysError("Cannot write", m_temp);
    ::close(m_fd);
    m_fd = -1;
    if (!ok) {
        QByteArray t = QFile::encodeName(m_temp);
        ::unlink(t.constData());
        return false;
    }
    keepPending(m_hint, m_temp, std::move(hold));
    return true;
}

bool commitTemp(const QString& tempPath, const QString& target, QString* error)
{
    Pending pending;
    const bool known = takePending(tempPath, pending);
    const QString temp = known ? pending.actual : tempPath;
    QByteArray t = QFile::encodeName(temp);
    if (target.isEmpty()) {
        // Only what was made here is removed; any other file of that name
        // is not ours.
        if (known)
            ::unlink(t.constData());
        return true;
    }
    // Renaming a link over the target would make the target a link.
    int fd = ::open(t.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat st;
    if (fd < 0 || ::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        if (error)
            *error = fd < 0 ? sysError("Cannot open", temp)
                            : QStringLiteral("\"%1\" is not a regular file.").arg(temp);
        if (fd >= 0)
            ::close(fd);
        if (known)
            ::unlink(t.constData());
        return false;
    }
    takeOverTarget(fd, target);
    ::close(fd);
    return renameInto(temp, target, error);
}

QString pendingTemp(const QString& tempPath)
{
    std::lock_guard<std::mutex> guard(g_pendingMutex);
    auto it = pendingFiles().find(hintKey(tempPath));
    return it == pendingFiles().end() || it->second.empty() ? QString() : it->second.back().actual;
}

void AtomicUtf16Writer::abort()
{
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
        QByteArray t = QFile::encodeName(m_temp);
        ::unlink(t.constData());
    }
    m_utf8.clear();
}

namespace {
// 1: the file carries the mark attribute, 0: it does not, -1: the file
// system keeps no extended attributes.
int markAttribute(const QByteArray& path, mode_t* savedMode = nullptr)
{
    char value[32];
    ssize_t n = ::getxattr(path.constData(), kMarkAttribute, value, sizeof value - 1);
    if (n < 0)
        return errno == ENOTSUP ? -1 : 0;
    if (savedMode) {
        value[n] = 0;
        *savedMode = mode_t(std::strtoul(value, nullptr, 8));
    }
    return 1;
}
}

bool isMarked(const QString& path)
{
    struct stat st;
    QByteArray p = QFile::encodeName(path);
    if (::stat(p.constData(), &st) != 0 || (st.st_mode & 0222) != 0)
        return false;
    return markAttribute(p) != 0;
}

bool isReadOnly(const QString& path)
{
    struct stat st;
    QByteArray p = QFile::encodeName(path);
    return ::stat(p.constData(), &st) == 0 && (st.st_mode & 0222) == 0 && markAttribute(p) == 0;
}

bool setMarked(const QString& path, bool marked)
{
    struct stat st;
    QByteArray p = QFile::encodeName(path);
    if (::stat(p.constData(), &st) != 0)
        return false;
    const mode_t mode = st.st_mode & 07777;
    if (marked) {
        if ((mode & 0222) == 0)
            return markAttribute(p) != 0; // marked already, or the owner's read-only file
        // The attribute first: without write permission it could not be set.
        const QByteArray value = QByteArray::number(uint(mode), 8);
        if (::setxattr(p.constData(), kMarkAttribute, value.constData(), size_t(value.size()), 0) != 0 &&
            errno != ENOTSUP)
            return false;
        return ::chmod(p.constData(), mode & ~mode_t(0222)) == 0;
    }
    if ((mode & 0222) != 0) {
        ::removexattr(p.constData(), kMarkAttribute);
        return true;
    }
    mode_t saved = 0;
    const int attribute = markAttribute(p, &saved);
    if (attribute == 0)
        return true; // the owner's read-only file stays as it is
    const mode_t writeBits = attribute > 0 && (saved & 0222) ? (saved & 0222) : mode_t(S_IWUSR);
    if (::chmod(p.constData(), mode | writeBits) != 0)
        return false;
    ::removexattr(p.constData(), kMarkAttribute);
    return true;
}

bool exists(const QString& path)
{
    return QFileInfo::exists(path);
}

void makeTreeWritable(const QString& folder)
{
    if (!QFileInfo(folder).isDir())
        return;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString p = it.next();
        if (!QFileInfo(p).isSymLink())
            QFile::setPermissions(p, QFile::permissions(p) | QFile::WriteOwner | QFile::ExeOwner);
    }
}

} // namespace fileio
