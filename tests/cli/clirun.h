#pragma once
// Runs the command line program as a user runs it.
#include <QCoreApplication>
#include <QProcess>
#include <QString>
#include <QStringList>

struct CliRun {
    int code;
    QString out;
    QString err;
};

inline CliRun quillary(const QStringList& args)
{
    QProcess p;
    p.start(QCoreApplication::applicationDirPath() + QStringLiteral("/quillary"), args);
    p.waitForFinished(120000);
    return {p.exitCode(), QString::fromUtf8(p.readAllStandardOutput()), QString::fromUtf8(p.readAllStandardError())};
}
