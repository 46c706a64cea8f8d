#include "ziparchive.h"

#include "fileio.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#include <zip.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <set>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace ziparchive {

namespace {

// An archive may unpack to at most this many times its own size.
constexpr quint64 kMaxRatio = 100;
// The smallest zip: an end of central directory record and nothing else.
constexpr qint64 kEmptyZipSize = 22;

// Regular file rw-r--r--, folder rwxr-xr-x (with the DOS folder bit for
// Windows tools). Never a read-only bit: the project file is stored while it
// is marked, and an extracted copy has to be writable.
constexpr zip_uint32_t kFileAttributes = zip_uint32_t(S_IFREG | 0644) << 16;
constexpr zip_uint32_t kFolderAttributes = (zip_uint32_t(S_IFDIR | 0755) << 16) | 0x10;

void setError(QString* error, const QString& text)
{
    if (error)
        *error = text;
}

QString q(const QString& text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

QByteArray disk(const QString& path)
{
    return QFile::encodeName(path);
}

QString sysError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

QString zipError(int code)
{
    zip_error_t e;
    zip_error_init_with_code(&e, code);
    QString text = QString::fromLocal8Bit(zip_error_strerror(&e));
    zip_error_fini(&e);
    return text;
}

QString zipError(zip_t* za)
{
    return QString::fromLocal8Bit(zip_error_strerror(zip_get_error(za)));
}

mode_t defaultFileMode()
{
    mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

bool fsyncPath(const QString& path)
{
    int fd = ::open(disk(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    bool ok = ::fsync(fd) == 0;
    ::close(fd);
    return ok;
}

void syncFolder(const QString& folder)
{
    int fd = ::open(disk(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

bool isAsciiLetter(QChar c)
{
    return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) ||
           (c >= QLatin1Char('A') && c <= QLatin1Char('Z'));
}

enum class NameFault { None, Backslash, Outside, NoName };

// Checks an archive name and gives its clean relative form: "." and empty
// segments dropped, nothing else changed.
NameFault cleanName(const QString& name, QString& clean)
{
    clean.clear();
    if (name.contains(QLatin1Char('\\')))
        return NameFault::Backslash;
    if (name.startsWith(QLatin1Char('/')) || (name.size() >= 2 && isAsciiLetter(name[0]) && name[1] == QLatin1Char(':')))
        return NameFault::Outside;
    QStringList kept;
    for (const QString& segment : name.split(QLatin1Char('/'))) {
        if (segment == QLatin1String(".."))
            return NameFault::Outside;
        if (!segment.isEmpty() && segment != QLatin1String("."))
            kept << segment;
    }
    clean = kept.join(QLatin1Char('/'));
    return clean.isEmpty() ? NameFault::NoName : NameFault::None;
}

// The name a caller gives for storing: the project's backslashes become
// slashes, then the same rules as for extraction.
bool storedName(const QString& given, QString& clean, QString* error)
{
    QString name = given;
    name.replace(QLatin1Char('\\'), QLatin1Char('/'));
    NameFault fault = cleanName(name, clean);
    if (fault == NameFault::Outside) {
        setError(error, QStringLiteral("The name %1 would lead outside the archive's folder.").arg(q(given)));
        return false;
    }
    if (fault == NameFault::NoName) {
        setError(error, QStringLiteral("A file cannot be stored without a name in the archive."));
        return false;
    }
    return true;
}

// What a folder walk sees: files (also through links to files), and
// real subfolders; links to folders are left alone so a loop cannot
// run forever, and sockets, pipes and dangling links are no files.
QFileInfoList folderEntries(const QString& folder)
{
    return QDir(folder).entryInfoList(QDir::Files | QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot,
                                      QDir::Name);
}

bool isWalkedFolder(const QFileInfo& fi)
{
    return fi.isDir() && !fi.isSymLink();
}

zip_t* openForReading(const QString& archive, QString* error)
{
    const QString name = QFileInfo(archive).fileName();
    QFileInfo fi(archive);
    if (!fi.isFile()) {
        setError(error, QStringLiteral("The archive %1 does not exist.").arg(q(archive)));
        return nullptr;
    }
    // libzip takes an empty file for an empty archive; it is not one.
    if (fi.size() < kEmptyZipSize) {
        setError(error, QStringLiteral("The file %1 is not a zip archive or is damaged.").arg(q(name)));
        return nullptr;
    }
    int code = 0;
    zip_t* za = zip_open(disk(archive).constData(), ZIP_RDONLY, &code);
    if (!za) {
        if (code == ZIP_ER_NOZIP || code == ZIP_ER_INCONS || code == ZIP_ER_CRC || code == ZIP_ER_EOF ||
            code == ZIP_ER_MULTIDISK || code == ZIP_ER_SEEK || code == ZIP_ER_READ)
            setError(error, QStringLiteral("The file %1 is not a zip archive or is damaged (%2).")
                                .arg(q(name), zipError(code)));
        else
            setError(error, QStringLiteral("The archive %1 cannot be opened: %2.").arg(q(name), zipError(code)));
    }
    return za;
}

struct ReadGuard {
    zip_t* za;
    ~ReadGuard()
    {
        if (za)
            zip_discard(za);
    }
};

QString entryName(zip_t* za, zip_uint64_t index)
{
    // Names without the UTF-8 flag are guessed (CP437) and handed over as UTF-8.
    const char* raw = zip_get_name(za, index, ZIP_FL_ENC_GUESS);
    return raw ? QString::fromUtf8(raw) : QString();
}

bool isFolderEntry(zip_t* za, zip_uint64_t index, const QString& name)
{
    if (name.endsWith(QLatin1Char('/')))
        return true;
    zip_uint8_t opsys = 0;
    zip_uint32_t attributes = 0;
    if (zip_file_get_external_attributes(za, index, 0, &opsys, &attributes) == 0 && opsys == ZIP_OPSYS_UNIX)
        return S_ISDIR(attributes >> 16);
    return false;
}

bool isLinkEntry(zip_t* za, zip_uint64_t index)
{
    zip_uint8_t opsys = 0;
    zip_uint32_t attributes = 0;
    if (zip_file_get_external_attributes(za, index, 0, &opsys, &attributes) != 0)
        return false;
    return opsys == ZIP_OPSYS_UNIX && S_ISLNK(attributes >> 16);
}

QString nothingExtracted()
{
    return QStringLiteral(" Nothing was extracted.");
}

} // namespace

// ---------------------------------------------------------------- Writer

struct Writer::Impl {
    zip_t* za = nullptr;
    QString target;
    QString temp;
    std::vector<bool> isFile; // by entry index
    int files = 0;

    ~Impl() { discard(); }

    void discard()
    {
        if (za) {
            zip_discard(za);
            za = nullptr;
        }
        if (!temp.isEmpty())
            ::unlink(disk(temp).constData());
        isFile.clear();
        files = 0;
    }

    bool ready(QString* error) const
    {
        if (!za)
            setError(error, QStringLiteral("No archive has been started."));
        return za != nullptr;
    }

    void record(zip_int64_t index, bool file)
    {
        if (isFile.size() <= size_t(index))
            isFile.resize(size_t(index) + 1, false);
        isFile[size_t(index)] = file;
        if (file)
            ++files;
    }

    bool addFolderEntry(const QString& name, QString* error)
    {
        QByteArray n = (name + QLatin1Char('/')).toUtf8();
        if (zip_name_locate(za, n.constData(), ZIP_FL_ENC_UTF_8) >= 0)
            return true;
        zip_int64_t index = zip_dir_add(za, n.constData(), ZIP_FL_ENC_UTF_8);
        if (index < 0) {
            setError(error, QStringLiteral("Cannot add the folder %1 to the archive: %2.").arg(q(name), zipError(za)));
            return false;
        }
        zip_file_set_external_attributes(za, zip_uint64_t(index), 0, ZIP_OPSYS_UNIX, kFolderAttributes);
        record(index, false);
        return true;
    }

    bool addFileEntry(const QString& file, const QString& name, QString* error,
                      Writer::Method method = Writer::Method::Deflate)
    {
        zip_source_t* source = zip_source_file(za, disk(file).constData(), 0, -1);
        if (!source) {
            setError(error, QStringLiteral("Cannot read %1 for the archive: %2.").arg(q(file), zipError(za)));
            return false;
        }
        QByteArray n = name.toUtf8();
        zip_int64_t index = zip_file_add(za, n.constData(), source, ZIP_FL_ENC_UTF_8);
        if (index < 0) {
            zip_source_free(source);
            setError(error, QStringLiteral("Cannot add %1 to the archive as %2: %3.")
                                .arg(q(file), q(name), zipError(za)));
            return false;
        }
        zip_file_set_external_attributes(za, zip_uint64_t(index), 0, ZIP_OPSYS_UNIX, kFileAttributes);
        // zlib's usual level: the highest costs several times the time for
        // a few per cent on XML.
        const zip_int32_t how = method == Writer::Method::Store ? ZIP_CM_STORE : ZIP_CM_DEFLATE;
        zip_set_file_compression(za, zip_uint64_t(index), how, how == ZIP_CM_STORE ? 0 : 6);
        record(index, true);
        return true;
    }

    bool walk(const QString& folder, const QString& prefix, QString* error)
    {
        if (!QFileInfo(folder).isReadable()) {
            setError(error, QStringLiteral("The folder %1 cannot be read.").arg(q(folder)));
            return false;
        }
        for (const QFileInfo& fi : folderEntries(folder)) {
            QString name = prefix.isEmpty() ? fi.fileName() : prefix + QLatin1Char('/') + fi.fileName();
            name.replace(QLatin1Char('\\'), QLatin1Char('/'));
            if (isWalkedFolder(fi)) {
                if (!addFolderEntry(name, error) || !walk(fi.filePath(), name, error))
                    return false;
            } else if (fi.isFile()) {
                if (!addFileEntry(fi.filePath(), name, error))
                    return false;
            }
        }
        return true;
    }
};

Writer::Writer() : d(std::make_unique<Impl>()) {}

Writer::~Writer() = default;

bool Writer::create(const QString& path, QString* error)
{
    d->discard();
    d->temp.clear();
    QFileInfo fi(path);
    d->target = fi.absoluteFilePath();
    // The old archive goes first, so a failure leaves none behind.
    if (fi.exists() || fi.isSymLink()) {
        if (fi.isDir() && !fi.isSymLink()) {
            setError(error, QStringLiteral("%1 is a folder, not an archive.").arg(q(path)));
            return false;
        }
        if (::unlink(disk(d->target).constData()) != 0) {
            setError(error, QStringLiteral("Cannot delete the old archive %1: %2.").arg(q(path), sysError()));
            return false;
        }
    }
    d->temp = fi.absolutePath() + QStringLiteral("/.") + fi.fileName() + QStringLiteral(".tmp");
    ::unlink(disk(d->temp).constData());
    int code = 0;
    d->za = zip_open(disk(d->temp).constData(), ZIP_CREATE | ZIP_TRUNCATE, &code);
    if (!d->za) {
        setError(error, QStringLiteral("Cannot create the archive %1: %2.").arg(q(path), zipError(code)));
        d->temp.clear();
        return false;
    }
    return true;
}

bool Writer::addFile(const QString& file, const QString& nameInArchive, QString* error, Method method)
{
    if (!d->ready(error))
        return false;
    if (!QFileInfo(file).isFile()) {
        setError(error, QStringLiteral("Cannot add %1 to the archive: there is no such file.").arg(q(file)));
        return false;
    }
    QString name;
    if (!storedName(nameInArchive, name, error))
        return false;
    return d->addFileEntry(file, name, error, method);
}

bool Writer::addFolder(const QString& folder, const QString& nameInArchive, QString* error)
{
    if (!d->ready(error))
        return false;
    if (!QFileInfo(folder).isDir()) {
        setError(error, QStringLiteral("Cannot add %1 to the archive: there is no such folder.").arg(q(folder)));
        return false;
    }
    // An empty name puts the folder's contents at the top of the archive.
    QString name;
    if (!nameInArchive.isEmpty() && !storedName(nameInArchive, name, error))
        return false;
    if (!name.isEmpty() && !d->addFolderEntry(name, error))
        return false;
    return d->walk(folder, name, error);
}

int Writer::fileCount() const
{
    return d->files;
}

namespace {
// Turns libzip's overall fraction into files done. libzip writes the
// entries in index order and gives each an equal share of the fraction.
struct CloseProgress {
    const FileDone* fileDone = nullptr;
    std::vector<int> filesBefore; // files among the first k entries
    int reported = 0;

    void reach(int files)
    {
        while (reported < files) {
            ++reported;
            if (fileDone && *fileDone)
                (*fileDone)();
        }
    }
    static void callback(zip_t*, double fraction, void* state)
    {
        auto* self = static_cast<CloseProgress*>(state);
        const int entries = int(self->filesBefore.size()) - 1;
        double done = std::floor(fraction * entries + 1e-6);
        int k = done < 0 ? 0 : done > entries ? entries : int(done);
        self->reach(self->filesBefore[size_t(k)]);
    }
};
}

bool Writer::close(const FileDone& fileDone, QString* error, const std::function<bool()>& cancelled)
{
    if (!d->ready(error))
        return false;
    const QString target = d->target;
    const QString temp = d->temp;
    const int files = d->files;

    if (zip_get_num_entries(d->za, 0) == 0) {
        // libzip writes no file for an empty archive; an empty list still
        // makes a valid (empty) zip.
        zip_discard(d->za);
        d->za = nullptr;
        QByteArray empty("PK\x05\x06", 4);
        empty.append(18, '\0');
        QString why;
        bool ok = fileio::atomicReplace(target, empty, temp, &why);
        d->discard();
        if (!ok)
            setError(error, QStringLiteral("Cannot write the archive %1: %2").arg(q(target), why));
        return ok;
    }

    CloseProgress progress;
    progress.fileDone = &fileDone;
    progress.filesBefore.push_back(0);
    for (bool isFile : d->isFile)
        progress.filesBefore.push_back(progress.filesBefore.back() + (isFile ? 1 : 0));
    zip_register_progress_callback_with_state(d->za, 0.0, &CloseProgress::callback, nullptr, &progress);
    if (cancelled)
        zip_register_cancel_callback_with_state(
            d->za, [](zip_t*, void* state) { return (*static_cast<const std::function<bool()>*>(state))() ? 1 : 0; },
            nullptr, const_cast<std::function<bool()>*>(&cancelled));

    if (zip_close(d->za) != 0) {
        setError(error, QStringLiteral("Cannot write the archive %1: %2.").arg(q(target), zipError(d->za)));
        d->discard(); // a failed zip_close leaves the archive open
        return false;
    }
    d->za = nullptr;

    if (!fsyncPath(temp)) {
        setError(error, QStringLiteral("Cannot write the archive %1: %2.").arg(q(target), sysError()));
        d->discard();
        return false;
    }
    QString why;
    if (!fileio::commitTemp(temp, target, &why)) {
        setError(error, why);
        d->discard();
        return false;
    }
    d->temp.clear();
    d->discard();
    progress.reach(files);
    return true;
}

// ---------------------------------------------------------------- reading

int countFiles(const QString& archive, QString* error)
{
    ReadGuard guard{openForReading(archive, error)};
    if (!guard.za)
        return -1;
    zip_int64_t n = zip_get_num_entries(guard.za, 0);
    int count = 0;
    for (zip_int64_t i = 0; i < n; ++i)
        if (!isFolderEntry(guard.za, zip_uint64_t(i), entryName(guard.za, zip_uint64_t(i))))
            ++count;
    return count;
}

QStringList entryNames(const QString& archive, QString* error)
{
    QStringList names;
    ReadGuard guard{openForReading(archive, error)};
    if (!guard.za)
        return names;
    zip_int64_t n = zip_get_num_entries(guard.za, 0);
    for (zip_int64_t i = 0; i < n; ++i)
        names << entryName(guard.za, zip_uint64_t(i));
    return names;
}

// ---------------------------------------------------------------- extraction

namespace {

struct Planned {
    zip_uint64_t index;
    QString name; // as stored, for messages
    QString rel;  // clean relative path
    bool folder;
    zip_uint64_t size;
};

// The nearest folder that exists, for asking about free space.
QString existingAncestor(const QString& path)
{
    QString p = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    while (!QFileInfo(p).exists()) {
        QString up = QFileInfo(p).absolutePath();
        if (up == p)
            break;
        p = up;
    }
    return p;
}

bool isInside(const QString& path, const QString& root)
{
    return path == root || path.startsWith(root.endsWith(QLatin1Char('/')) ? root : root + QLatin1Char('/'));
}

// Everything that would make writing an entry go wrong, looked at before
// a single byte is written.
bool checkDestination(const std::vector<Planned>& plan, const QString& root, const QString& archiveName,
                      QString* error)
{
    const QString canonicalRoot = QFileInfo(root).exists() ? QFileInfo(root).canonicalFilePath() : QString();
    std::set<QString> folders, files;
    for (const Planned& p : plan) {
        const QStringList segments = p.rel.split(QLatin1Char('/'));
        QString sub;
        for (int i = 0; i < segments.size(); ++i) {
            sub = sub.isEmpty() ? segments[i] : sub + QLatin1Char('/') + segments[i];
            const bool last = i == segments.size() - 1;
            if (!last || p.folder)
                folders.insert(sub);
            if (canonicalRoot.isEmpty())
                continue; // the folder is yet to be made: nothing in it to trip over
            QFileInfo fi(root + QLatin1Char('/') + sub);
            if (fi.isSymLink()) {
                QString to = fi.canonicalFilePath();
                if (to.isEmpty() || !isInside(to, canonicalRoot)) {
                    setError(error, QStringLiteral("The archive %1 holds %2, but %3 in the folder is a symbolic "
                                                   "link that leads outside it.")
                                            .arg(q(archiveName), q(p.name), q(sub)) +
                                        nothingExtracted());
                    return false;
                }
            }
            if (!fi.exists())
                continue;
            if ((!last || p.folder) && !fi.isDir()) {
                setError(error, QStringLiteral("The archive %1 holds %2, but %3 in the folder is a file, "
                                               "not a folder.")
                                        .arg(q(archiveName), q(p.name), q(sub)) +
                                    nothingExtracted());
                return false;
            }
            if (last && !p.folder && fi.isDir()) {
                setError(error, QStringLiteral("The archive %1 holds the file %2, but the folder has a folder "
                                               "of that name.")
                                        .arg(q(archiveName), q(p.name)) +
                                    nothingExtracted());
                return false;
            }
        }
        if (!p.folder)
            files.insert(p.rel);
    }
    for (const QString& f : files)
        if (folders.count(f)) {
            setError(error, QStringLiteral("The archive %1 holds %2 both as a file and as a folder.")
                                    .arg(q(archiveName), q(f)) +
                                nothingExtracted());
            return false;
        }
    return true;
}

struct Pending {
    QString temp;
    QString target;
};

// Folders made and temporary files written so far; on failure they go
// again, so a broken entry leaves the folder as it was.
struct Extraction {
    std::vector<QString> madeFolders;
    std::vector<Pending> pending;
    bool committed = false;

    ~Extraction()
    {
        if (committed)
            return;
        for (const Pending& p : pending)
            ::unlink(disk(p.temp).constData());
        for (auto it = madeFolders.rbegin(); it != madeFolders.rend(); ++it)
            ::rmdir(disk(*it).constData());
    }

    bool makeFolder(const QString& path)
    {
        QFileInfo fi(path);
        if (fi.isDir())
            return true;
        if (fi.exists() || fi.isSymLink()) {
            errno = ENOTDIR;
            return false;
        }
        QString parent = fi.absolutePath();
        if (parent != path && !makeFolder(parent))
            return false;
        if (::mkdir(disk(path).constData(), 0777) != 0)
            return errno == EEXIST && QFileInfo(path).isDir();
        madeFolders.push_back(path);
        return true;
    }
};

bool writeEntry(zip_t* za, const Planned& p, const QString& target, Extraction& ex, QString& why)
{
    const QString folder = QFileInfo(target).absolutePath();
    QByteArray pattern = disk(folder + QStringLiteral("/.quillary-XXXXXX"));
    int fd = ::mkstemp(pattern.data());
    if (fd < 0) {
        why = sysError();
        return false;
    }
    ex.pending.push_back({QFile::decodeName(pattern), target});

    zip_file_t* zf = zip_fopen_index(za, p.index, 0);
    if (!zf) {
        why = zipError(za);
        ::close(fd);
        return false;
    }
    std::vector<char> buffer(1 << 16);
    zip_uint64_t written = 0;
    bool ok = true;
    for (;;) {
        zip_int64_t n = zip_fread(zf, buffer.data(), buffer.size());
        if (n < 0) {
            why = QString::fromLocal8Bit(zip_file_strerror(zf));
            ok = false;
            break;
        }
        if (n == 0)
            break;
        written += zip_uint64_t(n);
        // The check of sizes trusted the directory; data that runs longer lies.
        if (written > p.size) {
            why = QStringLiteral("the entry holds more data than the archive declares");
            ok = false;
            break;
        }
        const char* data = buffer.data();
        size_t left = size_t(n);
        while (left > 0) {
            ssize_t w = ::write(fd, data, left);
            if (w < 0) {
                if (errno == EINTR)
                    continue;
                why = sysError();
                ok = false;
                break;
            }
            data += w;
            left -= size_t(w);
        }
        if (!ok)
            break;
    }
    zip_fclose(zf);
    if (ok && written != p.size) {
        why = QStringLiteral("the entry holds less data than the archive declares");
        ok = false;
    }
    if (ok && (::fchmod(fd, defaultFileMode()) != 0 || ::fsync(fd) != 0)) {
        why = sysError();
        ok = false;
    }
    if (::close(fd) != 0 && ok) {
        why = sysError();
        ok = false;
    }
    return ok;
}

} // namespace

bool extractAll(const QString& archive, const QString& folder, const FileDone& fileDone, QString* error,
                const std::function<bool()>& cancelled)
{
    const QString archiveName = QFileInfo(archive).fileName();
    ReadGuard guard{openForReading(archive, error)};
    zip_t* za = guard.za;
    if (!za)
        return false;

    // Look at every entry first; a refusal writes nothing.
    std::vector<Planned> plan;
    quint64 total = 0;
    QString largest;
    zip_uint64_t largestSize = 0;
    const zip_int64_t n = zip_get_num_entries(za, 0);
    for (zip_int64_t i = 0; i < n; ++i) {
        const zip_uint64_t index = zip_uint64_t(i);
        const QString name = entryName(za, index);
        zip_stat_t st;
        zip_stat_init(&st);
        if (zip_stat_index(za, index, 0, &st) != 0 || !(st.valid & ZIP_STAT_SIZE)) {
            setError(error, QStringLiteral("The archive %1 is damaged: entry %2 cannot be read (%3).")
                                    .arg(q(archiveName), QString::number(i), zipError(za)) +
                                nothingExtracted());
            return false;
        }
        QString rel;
        switch (cleanName(name, rel)) {
        case NameFault::Backslash:
            setError(error, QStringLiteral("The archive %1 holds %2, a name with a backslash.")
                                    .arg(q(archiveName), q(name)) +
                                nothingExtracted());
            return false;
        case NameFault::Outside:
            setError(error, QStringLiteral("The archive %1 holds %2 which would be written outside the folder.")
                                    .arg(q(archiveName), q(name)) +
                                nothingExtracted());
            return false;
        case NameFault::NoName:
        case NameFault::None:
            break;
        }
        if (isLinkEntry(za, index)) {
            setError(error, QStringLiteral("The archive %1 holds %2, a symbolic link.").arg(q(archiveName), q(name)) +
                                nothingExtracted());
            return false;
        }
        const bool isFolder = isFolderEntry(za, index, name);
        if (rel.isEmpty()) {
            if (isFolder)
                continue; // "./": the folder itself
            setError(error, QStringLiteral("The archive %1 holds a file without a name (%2).")
                                    .arg(q(archiveName), q(name)) +
                                nothingExtracted());
            return false;
        }
        if (!isFolder) {
            if ((st.valid & ZIP_STAT_ENCRYPTION_METHOD) && st.encryption_method != ZIP_EM_NONE) {
                setError(error, QStringLiteral("The archive %1 holds %2, which is encrypted.")
                                        .arg(q(archiveName), q(name)) +
                                    nothingExtracted());
                return false;
            }
            if ((st.valid & ZIP_STAT_COMP_METHOD) && !zip_compression_method_supported(st.comp_method, 0)) {
                setError(error, QStringLiteral("The archive %1 holds %2, packed with a method that cannot be read.")
                                        .arg(q(archiveName), q(name)) +
                                    nothingExtracted());
                return false;
            }
            total = st.size > std::numeric_limits<quint64>::max() - total ? std::numeric_limits<quint64>::max()
                                                                          : total + st.size;
            if (st.size >= largestSize) {
                largestSize = st.size;
                largest = name;
            }
        }
        plan.push_back({index, name, rel, isFolder, isFolder ? 0 : st.size});
    }

    const quint64 archiveSize = quint64(QFileInfo(archive).size());
    if (total > kMaxRatio * archiveSize) {
        setError(error, QStringLiteral("The archive %1 would unpack to %2 bytes, more than %3 times its own size "
                                       "of %4 bytes (%5 alone holds %6 bytes).")
                                .arg(q(archiveName), QString::number(total), QString::number(kMaxRatio),
                                     QString::number(archiveSize), q(largest), QString::number(largestSize)) +
                            nothingExtracted());
        return false;
    }
    const QString root = QDir::cleanPath(QFileInfo(folder).absoluteFilePath());
    QStorageInfo storage(existingAncestor(root));
    if (storage.isValid() && storage.isReady() && total > quint64(storage.bytesAvailable())) {
        setError(error, QStringLiteral("The archive %1 would unpack to %2 bytes (%3 alone holds %4 bytes), but "
                                       "only %5 bytes are free for %6.")
                                .arg(q(archiveName), QString::number(total), q(largest),
                                     QString::number(largestSize), QString::number(storage.bytesAvailable()),
                                     q(root)) +
                            nothingExtracted());
        return false;
    }
    if (!checkDestination(plan, root, archiveName, error))
        return false;

    // Every file goes to a temporary file beside its target first; only
    // when all are written are they renamed into place.
    Extraction ex;
    if (!ex.makeFolder(root)) {
        setError(error, QStringLiteral("Cannot create the folder %1: %2.").arg(q(root), sysError()) +
                            nothingExtracted());
        return false;
    }
    for (const Planned& p : plan) {
        const QString target = root + QLatin1Char('/') + p.rel;
        if (p.folder) {
            if (!ex.makeFolder(target)) {
                setError(error, QStringLiteral("Cannot create the folder %1 from %2: %3.")
                                        .arg(q(p.name), q(archiveName), sysError()) +
                                    nothingExtracted());
                return false;
            }
            continue;
        }
        if (!ex.makeFolder(QFileInfo(target).absolutePath())) {
            setError(error, QStringLiteral("Cannot create the folder for %1 from %2: %3.")
                                    .arg(q(p.name), q(archiveName), sysError()) +
                                nothingExtracted());
            return false;
        }
        QString why;
        if (!writeEntry(za, p, target, ex, why)) {
            setError(error, QStringLiteral("Cannot extract %1 from %2: %3.").arg(q(p.name), q(archiveName), why) +
                                nothingExtracted());
            return false;
        }
        if (fileDone)
            fileDone();
        if (cancelled && cancelled()) {
            setError(error, QStringLiteral("The extraction of %1 was cancelled.").arg(q(archiveName)) +
                                nothingExtracted());
            return false;
        }
    }

    std::set<QString> touched;
    for (size_t i = 0; i < ex.pending.size(); ++i) {
        const Pending& p = ex.pending[i];
        if (::rename(disk(p.temp).constData(), disk(p.target).constData()) != 0) {
            const QString why = sysError();
            for (size_t j = i; j < ex.pending.size(); ++j)
                ::unlink(disk(ex.pending[j].temp).constData());
            ex.committed = true; // some files are in place already; the rest is gone
            setError(error, QStringLiteral("Cannot write %1 from %2: %3. The extraction stopped there.")
                                    .arg(q(p.target), q(archiveName), why));
            return false;
        }
        touched.insert(QFileInfo(p.target).absolutePath());
    }
    ex.committed = true;
    for (const QString& f : touched)
        syncFolder(f);
    return true;
}

} // namespace ziparchive
