// Verbs of languages and translation exchange: language add, export,
// unlock, backup, import.
#include "cli.h"

#include "addlanguage.h"
#include "backup.h"
#include "exportproject.h"
#include "importlanguage.h"
#include "langlist.h"
#include "progress.h"
#include "session.h"
#include "surface.h"

#include <QFileInfo>
#include <QTemporaryDir>

namespace {

int usage(const char* text)
{
    err(QStringLiteral("Usage: quillary ") + QString::fromLatin1(text));
    return 1;
}

const char kLanguageUsage[] = "language add PROJECT.qly --name NAME [--abbrev AB]";
const char kExportUsage[] = "export PROJECT.qly --out FILE.zip [--comment TEXT] [--yes]";
const char kUnlockUsage[] = "unlock PROJECT.qly [--yes]";
const char kBackupUsage[] = "backup PROJECT.qly --out FILE.zip";
const char kImportUsage[] =
    "import PROJECT.qly --from COPY.qly|COPY.zip [--extract-to DIR] --lang AB [--only KEY,KEY...] "
    "[--except KEY,KEY...]";

int cmdLanguageAdd(CliContext& c)
{
    const QStringList pos = c.positional({QStringLiteral("--name"), QStringLiteral("--abbrev")});
    const QString name = c.option(QStringLiteral("--name"));
    if (pos.size() != 1 || name.isEmpty())
        return usage(kLanguageUsage);
    QString abbrev = c.option(QStringLiteral("--abbrev"));
    if (abbrev.isEmpty()) {
        cLangList list;
        if (!list.load(cLangList::defaultPath(), c.box))
            return 1;
        abbrev = list.abbrevFor(name);
    }
    OpenProject p(c, pos.first());
    if (!p.isOpen())
        return 1;
    if (!p.enabled("mnuNewLanguage")) {
        err(QStringLiteral("The project is locked: a language can be added once it is unlocked."));
        return 1;
    }
    const QString refusal = exchange::newLanguageRefusal(p.session.project(), name, abbrev);
    if (!refusal.isEmpty()) {
        c.box.exclamation(refusal);
        return 1;
    }
    CliProgress progress;
    if (!exchange::addLanguage(p.session.project(), name, abbrev, c.box, &progress))
        return 1;
    out(QStringLiteral("Added ") + name + QStringLiteral(" (") + abbrev + QLatin1Char(')'));
    return 0;
}

int cmdExport(CliContext& c)
{
    const QStringList pos = c.positional({QStringLiteral("--out"), QStringLiteral("--comment")});
    const QString zip = c.option(QStringLiteral("--out"));
    if (pos.size() != 1 || zip.isEmpty())
        return usage(kExportUsage);
    const QString zipPath = QFileInfo(zip).absoluteFilePath();
    OpenProject p(c, pos.first());
    if (!p.isOpen())
        return 1;
    CliProgress progress;
    exchange::ProjectExport job(p.session.project(), c.box);
    const QString comment = c.option(QStringLiteral("--comment"));
    job.askComment = [comment] { return comment; };
    job.writePackage = [&](const QString& files, const QString& base) {
        return backup::writeBackup(files, zipPath, base, progress, c.box, exchange::kExportCaption);
    };
    if (!job.run(p.session.tree(), progress) || !job.packageWritten())
        return 1;
    return 0;
}

int cmdUnlock(CliContext& c)
{
    const QStringList pos = c.positional({});
    if (pos.size() != 1)
        return usage(kUnlockUsage);
    OpenProject p(c, pos.first());
    if (!p.isOpen())
        return 1;
    if (!p.session.isLocked()) {
        out(QStringLiteral("The project is not locked."));
        return 0;
    }
    p.session.mnuUnlock();
    if (p.session.isOpen() && p.session.isLocked())
        return 1;
    out(QStringLiteral("Unlocked."));
    return 0;
}

int cmdBackup(CliContext& c)
{
    const QStringList pos = c.positional({QStringLiteral("--out")});
    const QString zip = c.option(QStringLiteral("--out"));
    if (pos.size() != 1 || zip.isEmpty())
        return usage(kBackupUsage);
    cProject project(c.box);
    if (!loadForReading(c, project, pos.first()))
        return 1;
    CliProgress progress;
    return backup::writeBackup(backup::projectFileList(project), QFileInfo(zip).absoluteFilePath(),
                               QFileInfo(project.GetProjectFile()).absolutePath(), progress, c.box)
               ? 0
               : 1;
}

// Ticks (or unticks) the nodes named on the command line, each with all
// it holds: "book", a chapter by its position (1 is the first), or the id of
// a subchapter or topic.
bool tickKeys(exchange::LanguageImport& job, const QStringList& keys, bool ticked)
{
    BookTree& tree = job.newTree();
    const NodePtr root = tree.Root();
    for (const QString& key : keys) {
        NodePtr node;
        bool number = false;
        const int position = key.toInt(&number);
        if (key == QLatin1String("book"))
            node = root;
        else if (number && root && position >= 1 && position <= root->ChildCount())
            node = root->Children()[size_t(position - 1)];
        else if (!number)
            node = tree.FindKey(key);
        if (!node) {
            err(QStringLiteral("The selected project has nothing with the key \"%1\".").arg(key));
            return false;
        }
        job.ticks().setTicked(node, ticked);
    }
    return true;
}

int cmdImport(CliContext& c)
{
    const QStringList pos = c.positional({QStringLiteral("--from"), QStringLiteral("--extract-to"),
                                          QStringLiteral("--lang"), QStringLiteral("--only"),
                                          QStringLiteral("--except")});
    const QString from = c.option(QStringLiteral("--from"));
    const QString lang = c.option(QStringLiteral("--lang"));
    if (pos.size() != 1 || from.isEmpty() || lang.isEmpty())
        return usage(kImportUsage);
    OpenProject p(c, pos.first());
    if (!p.isOpen())
        return 1;
    if (!p.enabled("mnuImport")) {
        err(QStringLiteral("The project is not locked: languages are imported only into an exported project."));
        return 1;
    }
    exchange::LanguageImport job(p.session.project(), c.box);
    CliProgress progress;
    QString copy = QFileInfo(from).absoluteFilePath();
    QTemporaryDir scratch;
    if (exchange::LanguageImport::isArchive(copy)) {
        QString folder = c.option(QStringLiteral("--extract-to"));
        folder = folder.isEmpty() ? scratch.path() : QFileInfo(folder).absoluteFilePath();
        if (!job.extract(copy, folder, progress))
            return 1;
        const QString project = exchange::LanguageImport::projectInPackage(copy, folder);
        if (project.isEmpty()) {
            err(QStringLiteral("The archive \"%1\" holds no single project file at its top.").arg(from));
            return 1;
        }
        copy = project;
    }
    if (!job.selectProject(copy))
        return 1;
    QString entry;
    for (const QString& e : job.languageEntries())
        if (exchange::LanguageImport::abbreviationOf(e) == lang)
            entry = e;
    if (entry.isEmpty()) {
        err(QStringLiteral("The selected project has no language \"%1\".").arg(lang));
        return 1;
    }
    const QString only = c.option(QStringLiteral("--only"));
    if (!only.isEmpty()) {
        job.ticks().clear();
        if (!tickKeys(job, only.split(QLatin1Char(','), Qt::SkipEmptyParts), true))
            return 1;
    }
    const QString except = c.option(QStringLiteral("--except"));
    if (!except.isEmpty() && !tickKeys(job, except.split(QLatin1Char(','), Qt::SkipEmptyParts), false))
        return 1;
    return job.import(entry, progress) == exchange::LanguageImport::Result::Done ? 0 : 1;
}

VerbRegistrar regLanguageAdd("language add", kLanguageUsage, cmdLanguageAdd);
VerbRegistrar regExport("export", kExportUsage, cmdExport);
VerbRegistrar regUnlock("unlock", kUnlockUsage, cmdUnlock);
VerbRegistrar regBackup("backup", kBackupUsage, cmdBackup);
VerbRegistrar regImport("import", kImportUsage, cmdImport);

} // namespace
