#pragma once
// The writers' lock of a project: an advisory lock (flock) on a lock file in
// the project folder, held while a process writes the project, so that two
// processes (window or command line) never write one project at once. The
// in-use mark on the project file only tells the user; this protects the data.
//
// Scopes nest: within one process only the outermost scope for a folder takes
// the lock and only it gives it back, so a routine that holds the lock may call
// others that take it too.
#include <QString>

class ProjectLock {
public:
    // The name of the lock file in the project folder.
    static const QString kFileName;

    // Takes the lock of the project folder, waiting up to waitMs (waitLimit()
    // when negative) for another holder. A folder that does not exist needs
    // no lock.
    explicit ProjectLock(const QString& projectFolder, int waitMs = -1);
    ~ProjectLock();
    ProjectLock(const ProjectLock&) = delete;
    ProjectLock& operator=(const ProjectLock&) = delete;

    bool ok() const { return m_ok; }
    // Why the lock was not taken: who holds it, or what is wrong with the lock file.
    QString error() const { return m_error; }
    // Gives the lock back before the end of the scope.
    void release();

    // Whether this process holds the lock of the folder.
    static bool heldHere(const QString& projectFolder);
    // How long a second writer waits, in milliseconds (5000 unless changed).
    static int waitLimit();
    static void setWaitLimit(int ms);

private:
    QString m_key;
    bool m_ok = false;
    bool m_counted = false;
    QString m_error;
};
