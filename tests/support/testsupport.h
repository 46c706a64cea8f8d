#pragma once
// Helpers shared by the tests: temporary folders, projects made on the fly,
// UTF-16 file access.
#include "cbook.h"
#include "msgbox.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <QTemporaryDir>

namespace testing_support {

// A temporary folder that is removed afterwards (write bits restored first).
class TempDir {
public:
    TempDir();
    ~TempDir();
    QString path() const { return m_dir.path(); }
    QString file(const QString& name) const { return m_dir.path() + QLatin1Char('/') + name; }

private:
    QTemporaryDir m_dir;
};

// Creates a project "name.qly" in dir with the main language first in
// langs (abbreviations; names are made from them). Returns the project path.
QString makeProject(const QString& dir, const QString& name = QStringLiteral("manual"),
                    const QStringList& langs = {QStringLiteral("en")},
                    const QString& title = QStringLiteral("Manual"));

// Reads a UTF-16 file with byte order mark (or UTF-8) as text.
QString readText(const QString& path);
QByteArray readBytes(const QString& path);
// Every file below folder (hidden ones too), by path relative to it, as bytes.
std::map<QString, QByteArray> filesOf(const QString& folder);
// Writes text as UTF-16 LE with byte order mark, no line end added.
void writeUtf16(const QString& path, const QString& text);
void writeBytes(const QString& path, const QByteArray& bytes);

// Path of the folder with the bundled sample project (source tree).
QString sampleFolder();

// Copies a folder with everything in it; files writable.
void copyTree(const QString& from, const QString& to);
// A writable copy of the sample project in dir (or dir/sub); returns its
// .qly path.
QString copySample(const QString& dir, const QString& sub = {});

// Runs body in a child process as the unprivileged user "nobody" when this
// process is root (as in CI), so that permissions are real; else runs it
// here. The folders are handed to that user first and given back after.
// Returns false when the child could not be started or failed.
bool runUnprivileged(const std::function<void()>& body, const QStringList& folders);

// For a test program that must run unprivileged as a whole (a web page's
// processes cannot be forked): as root, copies the sample where the user
// "nobody" can read it, then becomes that user for good, with a home of its
// own. Does nothing for other users. False when it could not.
bool giveUpRootForGood();

// No file of this process may grow while it lives: every write fails with
// EFBIG, for root too, where permissions stop nothing.
class NoFileWrites {
public:
    NoFileWrites();
    ~NoFileWrites();
    NoFileWrites(const NoFileWrites&) = delete;
    NoFileWrites& operator=(const NoFileWrites&) = delete;

private:
    long long m_oldLimit = 0;
    void (*m_oldSignal)(int) = nullptr;
};

// An outside program run to its end, with what it wrote.
struct ToolRun {
    bool started = false;
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};
ToolRun runTool(const QString& program, const QStringList& arguments, const QString& workingFolder = {});

// A compiled help file unpacked by chmlib's extract_chmLib into folder;
// false when that reader is missing or fails.
bool extractChm(const QString& chm, const QString& folder);
// The map of an unpacked help file as a help viewer reads it: each context
// ID to the archive's path of its page ("/ch01s02.html").
std::map<quint32, QString> chmContextMap(const QString& folder);

// Every file below folder with its bytes, the writers' lock file left out
// (every writer takes it, empty).
std::map<QString, QByteArray> filesBelow(const QString& folder);

} // namespace testing_support

#include <ostream>

// Readable values in test failures.
inline void PrintTo(const QString& s, std::ostream* os)
{
    *os << '"' << s.toStdString() << '"';
}
inline void PrintTo(const QByteArray& b, std::ostream* os)
{
    *os << "bytes(" << b.size() << ") \"";
    QByteArray text = b;
    if (b.startsWith("\xFF\xFE"))
        text = QString::fromUtf16(reinterpret_cast<const char16_t*>(b.constData() + 2), (b.size() - 2) / 2).toUtf8();
    *os << text.toStdString() << '"';
}
inline void PrintTo(const QStringList& l, std::ostream* os)
{
    *os << '[';
    for (const QString& s : l)
        *os << '"' << s.toStdString() << "\" ";
    *os << ']';
}
