#include "paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace paths {

namespace {
QString& overrideFolder()
{
    static QString f;
    return f;
}

QString exeDir()
{
    QFileInfo fi(QStringLiteral("/proc/self/exe"));
    return QFileInfo(fi.symLinkTarget()).absolutePath();
}
}

QString programFolder()
{
    if (!overrideFolder().isEmpty())
        return overrideFolder();
    return QDir::cleanPath(exeDir() + QStringLiteral("/../share/quillary"));
}

void setProgramFolder(const QString& folder)
{
    overrideFolder() = folder;
}

QString configFolder()
{
    QString base = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (base.isEmpty())
        base = QDir::homePath() + QStringLiteral("/.config");
    QString dir = base + QStringLiteral("/quillary");
    QDir().mkpath(dir);
    return dir;
}

QString dataFolder()
{
    QString base = qEnvironmentVariable("XDG_DATA_HOME");
    if (base.isEmpty())
        base = QDir::homePath() + QStringLiteral("/.local/share");
    QString dir = base + QStringLiteral("/quillary");
    QDir().mkpath(dir);
    return dir;
}

QString settingsFile(const QString& name)
{
    QString path = configFolder() + QLatin1Char('/') + name;
    if (!QFileInfo::exists(path)) {
        QString def = programFolder() + QLatin1Char('/') + name;
        if (QFileInfo::exists(def)) {
            QFile::copy(def, path);
            QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner |
                                            QFile::ReadGroup | QFile::ReadOther);
        }
    }
    return path;
}

QString toDisk(const QString& projectPath)
{
    QString p = projectPath;
    p.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return p;
}

QString toProject(const QString& diskPath)
{
    QString p = diskPath;
    p.replace(QLatin1Char('/'), QLatin1Char('\\'));
    return p;
}

} // namespace paths
