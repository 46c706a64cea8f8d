#include "backup.h"

#include "cproject.h"
#include "msgbox.h"
#include "progress.h"
#include "ziparchive.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

namespace backup {

namespace {

const QString kSuccess = QStringLiteral("Backup was successfully created!");
const QString kFailure = QStringLiteral("Error! Backup was not created!");

// Counts what the archive's folder walk stores: files, also through links
// to files, and real subfolders (links to folders are not followed).
int filesBelow(const QString& folder)
{
    int count = 0;
    const QFileInfoList entries = QDir(folder).entryInfoList(
        QDir::Files | QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& fi : entries) {
        if (fi.isDir() && !fi.isSymLink())
            count += filesBelow(fi.filePath());
        else if (fi.isFile())
            ++count;
    }
    return count;
}

// The name in the archive: the path below the base folder, so the project
// file lies at the top and its folder beside it; anything elsewhere keeps
// only its own name.
QString nameFor(const QString& entry, const QString& baseFolder)
{
    const QString path = QDir::cleanPath(QFileInfo(entry).absoluteFilePath());
    if (!baseFolder.isEmpty()) {
        const QString base = QDir::cleanPath(QFileInfo(baseFolder).absoluteFilePath());
        if (path == base)
            return {}; // the base folder itself: its contents at the top
        const QString prefix = base.endsWith(QLatin1Char('/')) ? base : base + QLatin1Char('/');
        if (path.startsWith(prefix))
            return path.mid(prefix.size());
    }
    return QFileInfo(path).fileName();
}

} // namespace

QString projectFileList(const cProject& project)
{
    if (!project.isLoaded())
        return {};
    const QString folder = project.GetProjectFolder();
    // A file element left empty would name the whole project folder.
    QStringList list;
    for (const QString& chapter : project.chapterFileList())
        if (chapter != folder)
            list << chapter;
    const QString contextHelp = folder + QStringLiteral("helpcontextid.xml");
    if (QFileInfo::exists(contextHelp))
        list << contextHelp;
    const QString book = project.getBookFile();
    if (!book.isEmpty() && book != folder)
        list << book;
    list << folder + QStringLiteral("img/");
    list << project.GetProjectFile();
    return list.join(QLatin1Char(';'));
}

int countFiles(const QString& files)
{
    int count = 0;
    for (const QString& entry : files.split(QLatin1Char(';'))) {
        if (entry.isEmpty())
            continue;
        QFileInfo fi(entry);
        if (fi.isFile())
            ++count;
        else if (fi.isDir())
            count += filesBelow(entry);
    }
    return count;
}

bool writeBackup(const QString& files, const QString& zipPath, const QString& baseFolder, Progress& progress,
                 MsgBox& box, const QString& caption)
{
    // The known first line; which file and the system's reason follow.
    QString error;
    auto fail = [&box, &error, &zipPath] {
        box.stop(kFailure + QStringLiteral("\r\n") +
                 (error.isEmpty() ? QStringLiteral("Cannot write \"%1\".").arg(zipPath) : error));
        return false;
    };
    auto succeed = [&box, &caption] {
        // Export reports its own success.
        if (caption == kDefaultCaption)
            box.info(kSuccess);
        return true;
    };

    // The old archive goes before anything else, so a failure leaves none.
    QFileInfo old(zipPath);
    if ((old.exists() || old.isSymLink()) && !QFile::remove(zipPath)) {
        error = QStringLiteral("Cannot remove the old \"%1\".").arg(zipPath);
        return fail();
    }
    if (files.isEmpty())
        return succeed();

    progress.start(countFiles(files));
    ziparchive::Writer writer;
    if (!writer.create(zipPath, &error))
        return fail();
    for (const QString& entry : files.split(QLatin1Char(';'))) {
        if (entry.isEmpty())
            continue;
        QFileInfo fi(entry);
        const QString name = nameFor(entry, baseFolder);
        // Whatever is neither file nor folder goes to the archive as a file,
        // and the archive refuses it.
        const bool ok = !fi.isFile() && fi.isDir() ? writer.addFolder(entry, name, &error)
                                                    : writer.addFile(entry, name, &error);
        if (!ok)
            return fail();
    }
    if (!writer.close([&progress] { progress.step(); }, &error,
                      [&progress] { return progress.cancelRequested(); })) {
        if (progress.cancelRequested()) {
            box.info(Progress::kCancelled);
            return false;
        }
        return fail();
    }
    return succeed();
}

} // namespace backup
