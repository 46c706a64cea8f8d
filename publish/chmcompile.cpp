#include "chmcompile.h"

#include "xmlsafety.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>

#include <unistd.h>

namespace {

bool isNativeProgram(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) && f.read(4) == QByteArray("\x7f" "ELF", 4);
}

// The libraries the program needs inside its root: those the loader names,
// and libpthread, which Free Pascal's thread unit opens at run time.
QStringList neededLibraries(const QString& program)
{
    QProcess ldd;
    ldd.start(QStringLiteral("ldd"), {program});
    if (!ldd.waitForFinished(30000))
        return {};
    const QString out = QString::fromLocal8Bit(ldd.readAllStandardOutput());
    QStringList libs;
    static const QRegularExpression path(QStringLiteral(R"((/\S+) \(0x)"));
    for (auto it = path.globalMatch(out); it.hasNext();)
        libs << it.next().captured(1);
    for (const QString& lib : QStringList(libs)) {
        if (QFileInfo(lib).fileName().startsWith(QLatin1String("libc.so"))) {
            QString pthread = QFileInfo(lib).absolutePath() + QStringLiteral("/libpthread.so.0");
            if (QFileInfo::exists(pthread))
                libs << pthread;
        }
    }
    return libs;
}

// A hard link where the file system allows it, a copy elsewhere; of the file
// itself, as a link inside the root could not be followed.
bool place(const QString& from, const QString& to)
{
    const QString file = QFileInfo(from).canonicalFilePath();
    if (file.isEmpty())
        return false;
    QDir().mkpath(QFileInfo(to).absolutePath());
    if (::link(QFile::encodeName(file).constData(), QFile::encodeName(to).constData()) == 0)
        return true;
    return QFile::copy(file, to);
}

// The help sources: every file of the folder and its sub-folders, but not
// the results of earlier runs nor the working folder.
bool placeSources(const QString& folder, const QString& root, const QStringList& skip)
{
    const QDir base(folder);
    QDirIterator it(folder, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString file = it.next();
        const QString rel = base.relativeFilePath(file);
        const QString top = rel.section(QLatin1Char('/'), 0, 0);
        if (rel.contains(QLatin1Char('/')) && skip.contains(top))
            continue;
        // A link to a file elsewhere is no help source.
        if (!xmlsafe::liesInside(QFileInfo(file).canonicalFilePath(), folder))
            continue;
        if (!place(file, root + QLatin1Char('/') + rel))
            return false;
    }
    return true;
}

QString findChroot()
{
    QString found = findOnPath(QStringLiteral("chroot"));
    if (found.isEmpty())
        found = QStandardPaths::findExecutable(QStringLiteral("chroot"), {QStringLiteral("/usr/sbin"),
                                                                          QStringLiteral("/sbin")});
    return found;
}

// A failure of the root itself, not of the compiler: chroot and unshare name
// themselves in their messages.
bool rootRefused(const QString& errors, const QString& chroot, const QString& unshare)
{
    const QString e = errors.trimmed();
    for (const QString& tool : {chroot, unshare}) {
        if (!tool.isEmpty() && (e.startsWith(tool + QLatin1Char(':')) ||
                                e.startsWith(QFileInfo(tool).fileName() + QLatin1Char(':'))))
            return true;
    }
    return false;
}

} // namespace

HelpCompileResult compileHelpProject(const QString& compiler, const QString& folder, const QString& workFolder,
                                     const std::atomic<bool>* cancel)
{
    HelpCompileResult r;
    const QString F = QDir(folder).absolutePath();
    const QString root = QDir(workFolder).absolutePath() + QStringLiteral("/chmroot");
    const QString program = QFileInfo(compiler).canonicalFilePath();
    const QString chroot = findChroot();
    const QString unshare = findOnPath(QStringLiteral("unshare"));

    auto plainRun = [&](const QString& note) {
        QDir(root).removeRecursively();
        r.note = note;
        r.rooted = false;
        r.process = waitForProcess(compiler, {F + QStringLiteral("/htmlhelp.hhp")}, F, {}, cancel);
        return r;
    };
    if (!isNativeProgram(program) || chroot.isEmpty())
        return plainRun(QStringLiteral("the compiler could not be given a folder of its own"));

    QDir(root).removeRecursively();
    const QString rootRel = QDir(F).relativeFilePath(root).section(QLatin1Char('/'), 0, 0);
    QStringList skip{QStringLiteral("output"), rootRel};
    bool placed = placeSources(F, root, skip) && place(program, root + program);
    for (const QString& lib : neededLibraries(program))
        placed = placed && place(lib, root + lib);
    if (!placed)
        return plainRun(QStringLiteral("its sources could not be copied"));

    // As root chroot works directly; otherwise inside a user namespace.
    QList<QPair<QString, QStringList>> attempts;
    const QStringList inRoot{root, program, QStringLiteral("htmlhelp.hhp")};
    if (::geteuid() == 0)
        attempts.append({chroot, inRoot});
    if (!unshare.isEmpty())
        attempts.append({unshare, QStringList{QStringLiteral("-r"), chroot} + inRoot});
    const QString made = root + QStringLiteral("/htmlhelp.chm");
    for (const auto& [prog, args] : attempts) {
        r.process = waitForProcess(prog, args, root, {}, cancel);
        if (QFileInfo::exists(made)) {
            QFile::remove(F + QStringLiteral("/htmlhelp.chm"));
            if (!QFile::rename(made, F + QStringLiteral("/htmlhelp.chm")) &&
                !QFile::copy(made, F + QStringLiteral("/htmlhelp.chm")))
                return plainRun(QStringLiteral("its result could not be moved"));
            r.rooted = true;
            QDir(root).removeRecursively();
            return r;
        }
        if (r.process.started && !rootRefused(r.process.errorOutput, chroot, unshare))
            break; // the compiler itself failed there; the plain run gives its own messages
    }
    return plainRun(QStringLiteral("it could not be run in a folder of its own"));
}
