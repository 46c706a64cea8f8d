// Verbs of context help: context list, form add|edit|delete, assign,
// unassign, load, header. Each runs the workbench's model with its rules and
// messages, and writes through its OK.
#include "cli.h"

#include "cproject.h"
#include "workbench.h"

namespace {

const char kListUsage[] = "context list PROJECT.qly";
const char kFormUsage[] = "context form add|edit|delete PROJECT.qly --name N [--id ID] [--caption C]";
const char kAssignUsage[] = "context assign PROJECT.qly --form N --topic TOPICID";
const char kUnassignUsage[] = "context unassign PROJECT.qly --topic TOPICID";
const char kLoadUsage[] = "context load PROJECT.qly FILE.xml";
const char kHeaderUsage[] = "context header PROJECT.qly [--format c|json]";

int usage(const char* text)
{
    err(QStringLiteral("Usage: quillary ") + QString::fromLatin1(text));
    return 1;
}

// The topic's path below the book.
QString pathOf(const NodePtr& topic)
{
    return topic ? topic->FullPath().section(QLatin1Char('\\'), 1) : QString();
}

// The project opened for writing with its workbench loaded; refused while
// the project is locked, as the window's menu command is.
struct Bench {
    Bench(CliContext& c, const QString& path) : project(c, path)
    {
        if (!project.isOpen())
            return;
        if (!project.enabled("mnuContextHelp")) {
            err(QStringLiteral("The project is locked or read-only: context help IDs can be changed once it is "
                               "unlocked."));
            return;
        }
        workbench = std::make_unique<ContextHelpWorkbench>(project.session.project(), c.box);
        workbench->load();
    }
    explicit operator bool() const { return workbench != nullptr; }
    // OK of the dialog: 0 when written.
    int ok() { return workbench->cmdOK() ? 0 : 1; }

    OpenProject project;
    std::unique_ptr<ContextHelpWorkbench> workbench;
};

int cmdList(CliContext& c)
{
    const QStringList pos = c.positional({});
    if (pos.size() != 1)
        return usage(kListUsage);
    cProject project(c.box);
    if (!loadForReading(c, project, pos.first()))
        return 1;
    ContextHelpWorkbench w(project, c.box);
    w.load();
    for (const cContextHelp& r : w.records().records()) {
        const NodePtr form = w.forms().FindKey(r.Tag);
        out(r.Tag + QLatin1Char('\t') + r.ID + QLatin1Char('\t') + r.Caption + QLatin1Char('\t') +
            pathOf(w.topicOf(form)));
    }
    return 0;
}

int cmdForm(CliContext& c)
{
    const QStringList pos = c.positional({QStringLiteral("--name"), QStringLiteral("--id"), QStringLiteral("--caption")});
    const QString name = c.option(QStringLiteral("--name"));
    if (pos.size() != 2 || name.isEmpty() ||
        !QStringList{QStringLiteral("add"), QStringLiteral("edit"), QStringLiteral("delete")}.contains(pos[0]))
        return usage(kFormUsage);
    Bench b(c, pos[1]);
    if (!b)
        return 1;
    ContextHelpWorkbench& w = *b.workbench;
    // The record dialog: the options over the record's values, its rules.
    auto dialog = [&](cContextHelp& record) {
        if (pos[0] == QLatin1String("add"))
            record.Tag = name;
        if (!c.option(QStringLiteral("--id")).isEmpty())
            record.ID = c.option(QStringLiteral("--id"));
        if (c.args.contains(QStringLiteral("--caption")))
            record.Caption = c.option(QStringLiteral("--caption"));
        const QString problem = recordProblem(record);
        if (!problem.isEmpty()) {
            c.box.exclamation(problem);
            return false;
        }
        return true;
    };
    if (pos[0] != QLatin1String("add")) {
        const NodePtr form = w.forms().FindKey(name);
        if (!form) {
            err(QStringLiteral("There is no form \"%1\" in the list.").arg(name));
            return 1;
        }
        w.clickForm(form);
    }
    const bool done = pos[0] == QLatin1String("add")    ? w.cmdNew(dialog)
                      : pos[0] == QLatin1String("edit") ? w.cmdEdit(dialog)
                                                         : w.cmdDelete();
    return done ? b.ok() : 1;
}

int cmdAssign(CliContext& c)
{
    const QStringList pos = c.positional({QStringLiteral("--form"), QStringLiteral("--topic")});
    const QString name = c.option(QStringLiteral("--form"));
    const QString topicId = c.option(QStringLiteral("--topic"));
    if (pos.size() != 1 || name.isEmpty() || topicId.isEmpty())
        return usage(kAssignUsage);
    Bench b(c, pos[0]);
    if (!b)
        return 1;
    ContextHelpWorkbench& w = *b.workbench;
    // The form first: a click on an assigned form would choose its topic.
    w.clickForm(w.forms().FindKey(name));
    w.clickTopic(w.topics().FindKey(topicId));
    return w.cmdAdd() ? b.ok() : 1;
}

int cmdUnassign(CliContext& c)
{
    const QStringList pos = c.positional({QStringLiteral("--topic")});
    const QString topicId = c.option(QStringLiteral("--topic"));
    if (pos.size() != 1 || topicId.isEmpty())
        return usage(kUnassignUsage);
    Bench b(c, pos[0]);
    if (!b)
        return 1;
    ContextHelpWorkbench& w = *b.workbench;
    const NodePtr topic = w.topics().FindKey(topicId);
    if (topic && !isAssigned(topic)) {
        c.box.exclamation(QStringLiteral("Topic has not assigned form(s)!"));
        return 1;
    }
    // A click on an assigned topic chooses its form.
    w.clickTopic(topic);
    return w.cmdRemove() ? b.ok() : 1;
}

int cmdLoad(CliContext& c)
{
    const QStringList pos = c.positional({});
    if (pos.size() != 2)
        return usage(kLoadUsage);
    Bench b(c, pos[0]);
    if (!b)
        return 1;
    return b.workbench->cmdLoad(QFileInfo(pos[1]).absoluteFilePath()) ? b.ok() : 1;
}

int cmdHeader(CliContext& c)
{
    const QStringList pos = c.positional({QStringLiteral("--format")});
    const QString format = c.option(QStringLiteral("--format"));
    if (pos.size() != 1 || !(format.isEmpty() || format == QLatin1String("c") || format == QLatin1String("json")))
        return usage(kHeaderUsage);
    cProject project(c.box);
    if (!loadForReading(c, project, pos.first()))
        return 1;
    FormCollection forms;
    const QString file = project.GetProjectFolder() + kHelpContextFile;
    QString why;
    if (QFileInfo::exists(file) && !readHelpContext(file, forms, &why)) {
        err(QStringLiteral("File \"%1\" cannot be read: %2").arg(file, why));
        return 1;
    }
    if (format == QLatin1String("json")) {
        QStringList lines;
        for (const cContextHelp& r : forms.records())
            lines << QStringLiteral("  \"%1\": %2").arg(r.Tag, r.ID);
        out(lines.isEmpty() ? QStringLiteral("{}") : QStringLiteral("{\n") + lines.join(QStringLiteral(",\n")) +
                                                          QStringLiteral("\n}"));
        return 0;
    }
    const QString name = QFileInfo(pos.first()).completeBaseName();
    out(QStringLiteral("/* Context help IDs of %1: made by quillary context header. */").arg(name));
    for (const cContextHelp& r : forms.records())
        out(QStringLiteral("#define IDH_%1 %2").arg(r.Tag, r.ID));
    return 0;
}

VerbRegistrar regList("context list", kListUsage, cmdList);
VerbRegistrar regForm("context form", kFormUsage, cmdForm);
VerbRegistrar regAssign("context assign", kAssignUsage, cmdAssign);
VerbRegistrar regUnassign("context unassign", kUnassignUsage, cmdUnassign);
VerbRegistrar regLoad("context load", kLoadUsage, cmdLoad);
VerbRegistrar regHeader("context header", kHeaderUsage, cmdHeader);

} // namespace
