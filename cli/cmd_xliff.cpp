// Verbs of translation through CAT tools: xliff export, xliff import.
#include "cli.h"

#include "cproject.h"
#include "session.h"
#include "surface.h"
#include "xliff.h"

#include <QFileInfo>

namespace {

const char kExportUsage[] = "xliff export PROJECT.qly --lang AB --out FILE.xlf";
const char kImportUsage[] = "xliff import PROJECT.qly FILE.xlf [--complete]";

int usage(const char* text)
{
    err(QStringLiteral("Usage: quillary ") + QString::fromLatin1(text));
    return 1;
}

int cmdXliffExport(CliContext& c)
{
    const QStringList pos = c.positional({QStringLiteral("--lang"), QStringLiteral("--out")});
    const QString lang = c.option(QStringLiteral("--lang"));
    const QString file = c.option(QStringLiteral("--out"));
    if (pos.size() != 1 || lang.isEmpty() || file.isEmpty())
        return usage(kExportUsage);
    cProject project(c.box);
    if (!loadForReading(c, project, pos.first()))
        return 1;
    CliProgress progress;
    exchange::XliffExportSummary s;
    if (!exchange::exportXliff(project, lang, QFileInfo(file).absoluteFilePath(), c.box, progress, &s))
        return 1;
    for (const QString& line : exchange::exportReport(file, s, !project.GetLockID().isEmpty()))
        out(line);
    return 0;
}

int cmdXliffImport(CliContext& c)
{
    const QStringList pos = c.positional({});
    if (pos.size() != 2)
        return usage(kImportUsage);
    // Opened as the window opens it, so that the project is marked while written.
    FakeSurface surface;
    Session session(c.box, surface);
    session.startUp(QString());
    session.openProject(QFileInfo(pos[0]).absoluteFilePath());
    if (!session.isOpen())
        return 1;
    CliProgress progress;
    exchange::XliffImportSummary s;
    const bool ok = exchange::importXliff(session.project(), QFileInfo(pos[1]).absoluteFilePath(),
                                          c.flag(QStringLiteral("--complete")), c.box, progress, &s);
    session.closeProject();
    if (!ok)
        return 1;
    for (const QString& line : exchange::importReport(s))
        out(line);
    return 0;
}

VerbRegistrar regXliffExport("xliff export", kExportUsage, cmdXliffExport);
VerbRegistrar regXliffImport("xliff import", kImportUsage, cmdXliffImport);

} // namespace
