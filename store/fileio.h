#pragma once
// File writing that never leaves a half file: data goes to a temporary file,
// is flushed and fsynced, then renamed over its target.
//
// A temporary path given to these routines is only a hint: the file itself
// gets a unique name in the hint's folder (".<hint name>.XXXXXX.tmp"), made
// exclusively and never through a link, so nothing planted at a name anybody
// can predict is ever written or renamed. A finished temporary file is found
// again by the hint it was made for (commitTemp, pendingTemp).
#include <QByteArray>
#include <QString>
#include <QStringDecoder>

#include <memory>

namespace fileio {

// The hint the rewrites of a project folder pass for their temporary files.
inline const QString kRewriteFile = QStringLiteral("quillary.xml");

// Creates a new, empty temporary file for the hint (see above), mode 0600,
// open for writing. Returns the descriptor and its path in *path, or -1 with
// a reason in *error.
int createTemp(const QString& hint, QString* path, QString* error = nullptr);

// UTF-16 little-endian bytes with byte order mark.
QByteArray utf16WithBom(const QString& text);

// Writes data to a temporary file for tempPath (for the target when empty),
// fsyncs it and renames it over target, which keeps its mode and owner.
// Returns false with a reason in *error; the target is then untouched.
bool atomicReplace(const QString& target, const QByteArray& data, const QString& tempPath = {},
                   QString* error = nullptr);

// A file written in pieces into a temporary file beside the target, which
// commit() fsyncs and renames over it; nothing of it is seen before. A
// writer dropped without commit() leaves the target as it was.
class AtomicFileWriter {
public:
    AtomicFileWriter() = default;
    ~AtomicFileWriter();
    AtomicFileWriter(const AtomicFileWriter&) = delete;
    AtomicFileWriter& operator=(const AtomicFileWriter&) = delete;

    bool open(const QString& target, QString* error = nullptr);
    // False once a write has failed; later writes do nothing.
    bool write(const char* data, size_t len);
    bool commit(QString* error = nullptr);

private:
    void abort();
    int m_fd = -1;
    bool m_failed = false;
    QString m_target, m_temp;
};

// One line of UTF-16 text with byte order mark and CRLF, written atomically.
bool writeUtf16Line(const QString& target, const QString& text, const QString& tempPath = {},
                    QString* error = nullptr);

// Reads a whole file; false when it cannot be read.
bool readFile(const QString& path, QByteArray& out);

// Decodes file bytes by their byte order mark (UTF-16 LE/BE, UTF-8), else UTF-8.
QString decodeText(const QByteArray& bytes);

// Streaming writer behind the rewrite filters: UTF-8 in, UTF-16 LE with BOM out,
// into a temporary file that commit() renames over the target.
class AtomicUtf16Writer {
public:
    AtomicUtf16Writer() = default;
    ~AtomicUtf16Writer();
    AtomicUtf16Writer(const AtomicUtf16Writer&) = delete;
    AtomicUtf16Writer& operator=(const AtomicUtf16Writer&) = delete;

    // Creates the temporary file for the hint tempPath.
    bool open(const QString& tempPath, QString* error = nullptr);
    void write(const char* utf8, size_t len);
    void write(std::string_view utf8) { write(utf8.data(), utf8.size()); }
    void write(const QString& text);
    bool commit(const QString& target, QString* error = nullptr);
    // Flushes, fsyncs and closes the temporary file and keeps it, for a
    // later commitTemp under the hint given to open. hold (the writers' lock,
    // say) lives until then.
    bool finish(QString* error = nullptr, std::shared_ptr<void> hold = {});
    void abort();
    bool isOpen() const { return m_fd >= 0; }
    // The file actually written.
    QString tempPath() const { return m_temp; }

private:
    bool flushBuffer();
    int m_fd = -1;
    bool m_failed = false;
    QString m_hint;
    QString m_temp;
    std::string m_utf8;
    QStringDecoder m_decoder{QStringDecoder::Utf8};
};

// Renames the finished temporary file made for the hint tempPath over its
// target (which keeps its mode, owner and mark), or removes it when target
// is empty. A path no finished file was made for is taken as the temporary
// file itself, if it is a regular file.
bool commitTemp(const QString& tempPath, const QString& target, QString* error = nullptr);
// The finished temporary file waiting for commitTemp under the hint; "" if none.
QString pendingTemp(const QString& tempPath);

// Removes the temporary files that writers killed midway left in a folder
// (regular files named as createTemp names them). Call it only while no
// other process can be writing there (under the project's writers' lock).
// Returns how many were removed.
int removeStaleTemps(const QString& folder);

// The project mark: a marked file has no write bit set, and carries the
// extended attribute kMarkAttribute with the mode it had, which tells it from
// a file that its owner made read-only (on a file system without extended
// attributes no write bit alone is the mark).
inline constexpr const char* kMarkAttribute = "user.quillary.mark";
bool isMarked(const QString& path);
// Marking leaves a read-only file that is not marked as it is (false);
// unmarking gives back the write bits the file had.
bool setMarked(const QString& path, bool marked);
// A file without write permission that is not marked: its owner made it so.
bool isReadOnly(const QString& path);
bool exists(const QString& path);
// Gives the owner write (and, for folders, search) permission on everything
// below folder, so that an output written over or removed never stops at a
// file copied read-only; symbolic links are left alone.
void makeTreeWritable(const QString& folder);

} // namespace fileio
