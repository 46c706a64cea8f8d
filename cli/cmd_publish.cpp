// Verbs of publishing: publish, verify. Both read the project without
// setting its mark.
#include "cli.h"

#include "cconfigfile.h"
#include "cproject.h"
#include "options.h"
#include "output.h"
#include "outputlog.h"
#include "outputproperties.h"
#include "paths.h"
#include "verification.h"

#include <QFileInfo>

#include <cstdio>

namespace {

// Reads the project named on the command line; false after a message.
bool loadProject(CliContext& c, const QString& file, cProject& project)
{
    if (!QFileInfo::exists(file)) {
        c.box.exclamation(QStringLiteral("File does not exist!"));
        return false;
    }
    return project.Load(QFileInfo(file).absoluteFilePath());
}

int cmdPublish(CliContext& c)
{
    const QStringList valueOptions{"--format", "--lang", "--properties"};
    QStringList pos = c.positional(valueOptions);
    const QString format = c.option("--format");
    if (pos.size() != 1 || cOutput::keyOfWord(format).isEmpty() || !c.flag("--lang")) {
        err(QStringLiteral("Usage: quillary publish PROJECT.qly --format htmlhelp|pdf|html|htmlchunk|webhelp|epub "
                           "--lang ABBR [--properties FILE.qop] [--keep-docbook] [--yes]"));
        return 1;
    }
    cProject project(c.box);
    if (!loadProject(c, pos.first(), project))
        return 1;

    // The start of the program: the compiler is looked up when none is set.
    {
        cConfigFile conf(c.box);
        if (conf.Load(paths::settingsFile(QStringLiteral("conf.xml"))))
            lookUpHHCompiler(conf);
    }

    cOutputProperties props;
    props.formLoad(c.box);
    if (c.flag("--properties")) {
        QString qop = c.option("--properties");
        if (!QFileInfo::exists(qop)) {
            c.box.exclamation(QStringLiteral("File does not exist!"));
            return 1;
        }
        if (!props.LoadProperties(qop, c.box))
            return 1;
    }

    OutputLog log;
    // The log goes out as it grows.
    bool started = false;
    log.setListener([&started](const QString& piece, bool) {
        QString p = piece;
        if (!started)
            p.prepend(OutputLog::kStartText);
        started = true;
        p.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
        std::fputs(p.toUtf8().constData(), stdout);
        std::fflush(stdout);
    });
    cOutput output(project, props, log, c.box);
    QString languageName = project.getLanguageName(c.option("--lang"));
    bool ran = output.cmdOK(languageName, format, c.flag("--keep-docbook"));
    if (started)
        std::fputs("\n", stdout);
    if (!ran)
        return 1;
    if (output.resultFile.isEmpty() || !QFileInfo::exists(output.resultFile))
        return 1;
    return 0;
}

int cmdVerify(CliContext& c)
{
    QStringList pos = c.positional({"--out"});
    if (pos.size() != 1 || c.option("--out").isEmpty()) {
        err(QStringLiteral("Usage: quillary verify PROJECT.qly --out DIR"));
        return 1;
    }
    cProject project(c.box);
    if (!loadProject(c, pos.first(), project))
        return 1;
    cVerification v(project, c.box);
    v.build();
    QString error;
    QStringList files = v.writePages(c.option("--out"), &error);
    for (const QString& f : files)
        out(f);
    if (files.size() == 4)
        return 0;
    c.box.stop(error);
    return 1;
}

VerbRegistrar regPublish("publish",
                         "publish PROJECT.qly --format htmlhelp|pdf|html|htmlchunk|webhelp|epub --lang ABBR "
                         "[--properties FILE.qop] [--keep-docbook] [--yes]",
                         cmdPublish);
VerbRegistrar regVerify("verify", "verify PROJECT.qly --out DIR", cmdVerify);

} // namespace
