#pragma once
#include <QString>

namespace paths {

// The program folder: installed data files (stylesheets, langs.xml, the
// default conf.xml). Found relative to the running executable as
// <exe dir>/../share/quillary, which holds for the build tree and an install.
QString programFolder();
// Overrides the program folder (tests that run from elsewhere).
void setProgramFolder(const QString& folder);

// The user's configuration folder: $XDG_CONFIG_HOME/quillary or
// ~/.config/quillary. Created on demand.
QString configFolder();

// The user's data folder: $XDG_DATA_HOME/quillary or
// ~/.local/share/quillary (dictionaries, the personal word list). Created on
// demand.
QString dataFolder();

// Path of a settings file in the configuration folder; on first use it is
// seeded with the installed default of the same name, if there is one.
QString settingsFile(const QString& name);

// Project files keep backslashes; the disk wants slashes.
QString toDisk(const QString& projectPath);
QString toProject(const QString& diskPath);

} // namespace paths
