#pragma once
// File writing that never leaves a half file: data goes to a temporary file,
// is flushed and fsynced, then renamed over its target.
#include <QByteArray>
#include <QString>
#include <QStringDecoder>

namespace fileio {

// The name of the short-lived rewrite file in a project folder.
inline const QString kRewriteFile = QStringLiteral("quillary.xml");

// UTF-16 little-endian bytes with byte order mark.
QByteArray utf16WithBom(const QString& text);

// Writes data to tempPath, fsyncs it and renames it over target. When
// tempPath is empty a hidden file beside the target is used. Returns false
// with a reason in *error; the target is then untouched.
bool atomicReplace(const QString& target, const QByteArray& data, const QString& tempPath = {},
                   QString* error = nullptr);

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

    bool open(const QString& tempPath, QString* error = nullptr);
    void write(const char* utf8, size_t len);
    void write(std::string_view utf8) { write(utf8.data(), utf8.size()); }
    void write(const QString& text);
    bool commit(const QString& target, QString* error = nullptr);
    // Flushes, fsyncs and closes the temporary file and keeps it, for a
    // later commitTemp.
    bool finish(QString* error = nullptr);
    void abort();
    bool isOpen() const { return m_fd >= 0; }

private:
    bool flushBuffer();
    int m_fd = -1;
    bool m_failed = false;
    QString m_temp;
    std::string m_utf8;
    QStringDecoder m_decoder{QStringDecoder::Utf8};
};

// Renames a finished temporary file over its target (taking the target's
// mode), or removes it when target is empty.
bool commitTemp(const QString& tempPath, const QString& target, QString* error = nullptr);

// The project mark: a marked file has no write bit set.
bool isMarked(const QString& path);
bool setMarked(const QString& path, bool marked);
bool exists(const QString& path);

} // namespace fileio
