#pragma once
// The HTML Help compiler run so that the map inside the archive works.
// chmcmd stores each alias target as the absolute path it read the page
// from, which is not a path inside the archive; a help call by ID then
// finds nothing. Run under a root of its own that holds the sources at
// "/", the stored paths are the archive's own ("/ch01s01.html").
#include "processrunner.h"

#include <QString>

struct HelpCompileResult {
    ProcessResult process;
    bool rooted = false; // compiled under its own root, the map resolves
    QString note;        // why the plain run was used, for the log
};

// Compiles `folder`/htmlhelp.hhp into `folder`/htmlhelp.chm. `workFolder`
// holds the root while it runs (removed afterwards). A compiler that is not a
// native program, or a system that cannot give it a root, gets the plain run.
HelpCompileResult compileHelpProject(const QString& compiler, const QString& folder, const QString& workFolder,
                                     const std::atomic<bool>* cancel = nullptr);

