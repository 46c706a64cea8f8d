#include "cli.h"

#include "xmlsafety.h"

#include <QCoreApplication>

#include <cstdio>
#include <exception>
#include <map>

namespace {
struct Verb {
    QString usage;
    VerbFunction fn;
};

std::map<QString, Verb>& registry()
{
    static std::map<QString, Verb> r;
    return r;
}

void printHelp()
{
    out(QStringLiteral("Usage: quillary [--yes|--no] VERB ARGUMENTS"));
    out(QStringLiteral(""));
    out(QStringLiteral("Verbs:"));
    for (const auto& [name, v] : registry())
        out(QStringLiteral("  ") + v.usage);
    out(QStringLiteral(""));
    out(QStringLiteral("Questions are answered No unless --yes is given."));
    out(QStringLiteral("  --help     this text"));
    out(QStringLiteral("  --version  the program's version"));
}
}

QString CliContext::option(const QString& name) const
{
    QString value;
    for (int i = 0; i + 1 < args.size(); ++i)
        if (args[i] == name)
            value = args[i + 1];
    return value;
}

QStringList CliContext::options(const QString& name) const
{
    QStringList values;
    for (int i = 0; i + 1 < args.size(); ++i)
        if (args[i] == name)
            values << args[++i];
    return values;
}

bool CliContext::flag(const QString& name) const
{
    return args.contains(name);
}

QStringList CliContext::positional(const QStringList& valueOptions) const
{
    QStringList pos;
    for (int i = 0; i < args.size(); ++i) {
        if (valueOptions.contains(args[i])) {
            ++i;
            continue;
        }
        if (args[i].startsWith(QStringLiteral("--")))
            continue;
        pos << args[i];
    }
    return pos;
}

void out(const QString& line)
{
    std::fputs((line + QLatin1Char('\n')).toUtf8().constData(), stdout);
}

void err(const QString& line)
{
    std::fputs((line + QLatin1Char('\n')).toUtf8().constData(), stderr);
}

VerbRegistrar::VerbRegistrar(const char* verb, const char* usage, VerbFunction fn)
{
    registry()[QString::fromUtf8(verb)] = {QString::fromUtf8(usage), std::move(fn)};
}

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    xmlsafe::init();
    QStringList args = app.arguments().mid(1);
    bool yes = false;
    QStringList rest;
    for (const QString& a : args) {
        if (a == QLatin1String("--yes"))
            yes = true;
        else if (a == QLatin1String("--no"))
            yes = false;
        else
            rest << a;
    }
    if (rest.isEmpty() || rest.first() == QLatin1String("--help") || rest.first() == QLatin1String("-h") ||
        rest.first() == QLatin1String("help")) {
        printHelp();
        return rest.isEmpty() ? 1 : 0;
    }
    if (rest.first() == QLatin1String("--version")) {
        out(QStringLiteral("quillary " QUILLARY_VERSION));
        return 0;
    }
    // The longest registered verb that the arguments start with.
    QString chosen;
    int words = 0;
    for (const auto& [name, v] : registry()) {
        QStringList parts = name.split(QLatin1Char(' '));
        if (parts.size() <= rest.size() && rest.mid(0, parts.size()) == parts && parts.size() > words) {
            chosen = name;
            words = int(parts.size());
        }
    }
    if (chosen.isEmpty()) {
        err(QStringLiteral("Unknown verb \"%1\". Try quillary --help.").arg(rest.first()));
        return 2;
    }
    ConsoleMsgBox box(yes);
    CliContext ctx{rest.mid(words), box, yes};
    if (ctx.flag(QStringLiteral("--help"))) {
        out(QStringLiteral("Usage: quillary ") + registry()[chosen].usage);
        return 0;
    }
    try {
        return registry()[chosen].fn(ctx);
    } catch (const std::exception& e) {
        err(QStringLiteral("Internal error: ") + QString::fromUtf8(e.what()));
        return 3;
    }
}
