#pragma once
// Helpers shared by the tests: temporary folders, projects made on the fly,
// UTF-16 file access.
#include "cbook.h"
#include "msgbox.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
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
// Writes text as UTF-16 LE with byte order mark, no line end added.
void writeUtf16(const QString& path, const QString& text);
void writeBytes(const QString& path, const QByteArray& bytes);

// Path of the folder with the bundled sample project (source tree).
QString sampleFolder();

} // namespace testing_support
