#pragma once
// The backup archive: a list of files and folders written into one zip. The
// backup command and the export both use it.
#include <QString>

class cProject;
class MsgBox;
class Progress;

namespace backup {

inline const QString kDefaultCaption = QStringLiteral("Backup");
inline const QString kDefaultMessage = QStringLiteral("Creating backup. Please wait.");

// The list of a project, entries separated by ";": the chapter files, the
// context help file if there is one, the book file, the img folder (with a
// closing slash), the project file.
QString projectFileList(const cProject& project);

// Files a list stands for: a file counts one, a folder every file below it,
// anything else nothing.
int countFiles(const QString& files);

// Writes the list into zipPath (an existing file is deleted first). Names
// in the archive are relative to baseFolder (the folder that holds the
// project file), so the project file lies at the top and the project folder
// beside it. The progress takes the count, then a step per file. When the
// caption is "Backup" success is reported with "Backup was successfully
// created!"; any failure with "Error! Backup was not created!".
bool writeBackup(const QString& files, const QString& zipPath, const QString& baseFolder,
                 Progress& progress, MsgBox& box, const QString& caption = kDefaultCaption);

} // namespace backup
