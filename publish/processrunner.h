#pragma once
// waitForProcess: an outside program started without a window, with an
// argument list (no quoting), waited for in an event loop. The exit code
// decides nothing; the caller tests for the file the program should make.
#include <QString>
#include <QStringList>

#include <atomic>

struct ProcessResult {
    bool started = false;
    bool cancelled = false; // stopped by the cancel flag, with its children
    QString errorOutput; // the tail of what the program wrote to its error output
};

// A cancel flag (set from any thread) kills the program and whatever it
// started (a script's java, a chroot's compiler).
ProcessResult waitForProcess(const QString& program, const QStringList& arguments,
                             const QString& workingFolder = {},
                             const QStringList& extraEnvironment = {},
                             const std::atomic<bool>* cancel = nullptr);

// The last lines of a program's output, for the log under a failure line.
QString lastLines(const QString& text, int count = 8);

// A program found on PATH, or "".
QString findOnPath(const QString& name);
