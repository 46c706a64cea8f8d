#include "processrunner.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <QTimer>

#include <csignal>
#include <unistd.h>

ProcessResult waitForProcess(const QString& program, const QStringList& arguments,
                             const QString& workingFolder, const QStringList& extraEnvironment,
                             const std::atomic<bool>* cancel)
{
    ProcessResult r;
    QProcess p;
    p.setProgram(program);
    p.setArguments(arguments);
    if (!workingFolder.isEmpty())
        p.setWorkingDirectory(workingFolder);
    if (!extraEnvironment.isEmpty()) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (const QString& kv : extraEnvironment) {
            int eq = kv.indexOf(QLatin1Char('='));
            if (eq > 0)
                env.insert(kv.left(eq), kv.mid(eq + 1));
        }
        p.setProcessEnvironment(env);
    }
    p.setStandardInputFile(QProcess::nullDevice());
    // A group of its own, so that a cancel reaches the programs it starts.
    // Without a cancel it stays in ours: Ctrl+C at a terminal stops it too.
    if (cancel)
        p.setChildProcessModifier([] { ::setpgid(0, 0); });
    p.setProcessChannelMode(QProcess::SeparateChannels);
    QString errors;
    QObject::connect(&p, &QProcess::readyReadStandardError, [&] {
        errors += QString::fromLocal8Bit(p.readAllStandardError());
        if (errors.size() > 40000)
            errors = errors.right(20000);
    });
    QObject::connect(&p, &QProcess::readyReadStandardOutput, [&] { p.readAllStandardOutput(); });
    QEventLoop loop;
    QObject::connect(&p, &QProcess::finished, &loop, &QEventLoop::quit);
    QObject::connect(&p, &QProcess::errorOccurred, &loop, [&](QProcess::ProcessError e) {
        if (e == QProcess::FailedToStart)
            loop.quit();
    });
    p.start();
    if (!p.waitForStarted(-1)) {
        r.errorOutput = p.errorString();
        return r;
    }
    r.started = true;
    QTimer watch;
    if (cancel) {
        const qint64 group = p.processId();
        QObject::connect(&watch, &QTimer::timeout, &loop, [&, group] {
            if (!*cancel || r.cancelled)
                return;
            r.cancelled = true;
            ::kill(-pid_t(group), SIGKILL);
        });
        watch.start(50);
    }
    if (p.state() != QProcess::NotRunning && !(cancel && *cancel))
        loop.exec();
    if (cancel && *cancel && !r.cancelled && p.state() != QProcess::NotRunning) {
        r.cancelled = true;
        ::kill(-pid_t(p.processId()), SIGKILL);
    }
    if (r.cancelled)
        p.waitForFinished(5000);
    errors += QString::fromLocal8Bit(p.readAllStandardError());
    r.errorOutput = errors;
    return r;
}

QString lastLines(const QString& text, int count)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    QStringList kept;
    for (QString l : lines) {
        l = l.trimmed();
        if (!l.isEmpty())
            kept << l;
    }
    if (kept.size() > count)
        kept = kept.mid(kept.size() - count);
    return kept.join(QStringLiteral("\r\n"));
}

QString findOnPath(const QString& name)
{
    return QStandardPaths::findExecutable(name);
}
