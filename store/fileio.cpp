#include "fileio.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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
    int fd = ::open(dir.constData(), O_RDONLY | O_DIRECTORY);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

QString defaultTemp(const QString& target)
{
    QFileInfo fi(target);
    return fi.absolutePath() + QStringLiteral("/.") + fi.fileName() + QStringLiteral(".tmp");
}

// Mode for the new file: the old file's mode when there is one.
mode_t modeFor(const QString& target)
{
    struct stat st;
    QByteArray t = QFile::encodeName(target);
    if (::stat(t.constData(), &st) == 0)
        return st.st_mode & 07777;
    mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
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

} // namespace

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
    QString temp = tempPath.isEmpty() ? defaultTemp(target) : tempPath;
    QByteArray t = QFile::encodeName(temp);
    mode_t mode = modeFor(target) | S_IWUSR;
    int fd = ::open(t.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) {
        if (error)
            *error = sysError("Cannot create", temp);
        return false;
    }
    bool ok = writeAll(fd, data.constData(), size_t(data.size())) && ::fsync(fd) == 0;
    if (!ok && error)
        *error = sysError("Cannot write", temp);
    ::fchmod(fd, mode);
    ::close(fd);
    if (!ok) {
        ::unlink(t.constData());
        return false;
    }
    return renameInto(temp, target, error);
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
    m_temp = tempPath;
    m_failed = false;
    m_decoder.resetState();
    QByteArray t = QFile::encodeName(tempPath);
    m_fd = ::open(t.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (m_fd < 0) {
        if (error)
            *error = sysError("Cannot create", tempPath);
        return false;
    }
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
    mode_t mode = modeFor(target) | S_IWUSR;
    ::fchmod(m_fd, mode);
    ::close(m_fd);
    m_fd = -1;
    if (!ok) {
        QByteArray t = QFile::encodeName(m_temp);
        ::unlink(t.constData());
        return false;
    }
    return renameInto(m_temp, target, error);
}

bool AtomicUtf16Writer::finish(QString* error)
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
    }
    return ok;
}

bool commitTemp(const QString& tempPath, const QString& target, QString* error)
{
    QByteArray t = QFile::encodeName(tempPath);
    if (target.isEmpty())
        return ::unlink(t.constData()) == 0;
    ::chmod(t.constData(), modeFor(target) | S_IWUSR);
    return renameInto(tempPath, target, error);
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

bool isMarked(const QString& path)
{
    struct stat st;
    QByteArray p = QFile::encodeName(path);
    if (::stat(p.constData(), &st) != 0)
        return false;
    return (st.st_mode & 0222) == 0;
}

bool setMarked(const QString& path, bool marked)
{
    struct stat st;
    QByteArray p = QFile::encodeName(path);
    if (::stat(p.constData(), &st) != 0)
        return false;
    mode_t mode = st.st_mode & 07777;
    mode = marked ? (mode & ~mode_t(0222)) : (mode | S_IWUSR);
    return ::chmod(p.constData(), mode) == 0;
}

bool exists(const QString& path)
{
    return QFileInfo::exists(path);
}

} // namespace fileio
