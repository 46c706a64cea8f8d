// Verbs of the project store: new, info.
#include "cli.h"

#include "cbook.h"
#include "cproject.h"
#include "fileio.h"
#include "mcommon.h"
#include "newproject.h"

#include <QFileInfo>

namespace {

bool splitLanguage(const QString& text, QString& name, QString& abbrev)
{
    int colon = text.lastIndexOf(QLatin1Char(':'));
    if (colon <= 0)
        return false;
    name = text.left(colon);
    abbrev = text.mid(colon + 1);
    return true;
}

int cmdNew(CliContext& c)
{
    const QStringList valueOptions{"--title", "--author", "--version", "--date", "--time", "--main", "--lang"};
    QStringList pos = c.positional(valueOptions);
    if (pos.size() != 1) {
        err(QStringLiteral("Usage: quillary new PROJECT.qly --title T --author A --version V "
                           "[--date D] [--time T] --main NAME:ABBR [--lang NAME:ABBR]..."));
        return 1;
    }
    BookForm form;
    form.title = c.option("--title");
    form.author = c.option("--author");
    form.version = c.option("--version");
    form.date = c.flag("--date") ? c.option("--date") : mCommon::nowDate();
    form.time = c.flag("--time") ? c.option("--time") : mCommon::nowTime();
    QString main = c.option("--main");
    if (!main.isEmpty() && !splitLanguage(main, form.mainLang, form.mainAbbrev)) {
        err(QStringLiteral("--main takes NAME:ABBR, as English:en."));
        return 1;
    }
    for (const QString& l : c.options("--lang")) {
        QString name, abbrev;
        if (!splitLanguage(l, name, abbrev)) {
            err(QStringLiteral("--lang takes NAME:ABBR, as German:de."));
            return 1;
        }
        if (!addOtherLanguage(form, name, abbrev))
            err(QStringLiteral("Language %1 is not added: it is empty, listed already or the main language.")
                    .arg(l));
    }
    cBook book;
    if (!checkBookForm(form, book, c.box))
        return 1;
    QString path = QFileInfo(pos.first()).absoluteFilePath();
    if (!path.endsWith(QStringLiteral(".qly"), Qt::CaseInsensitive) && QFileInfo(path).suffix().isEmpty())
        path += QStringLiteral(".qly");
    if (!checkProjectPath(path, c.box))
        return 1;
    book.ProjectFile = path;
    if (!createProjectFiles(book, c.box))
        return 1;
    out(QStringLiteral("Created project ") + path);
    return 0;
}

int cmdInfo(CliContext& c)
{
    QStringList pos = c.positional({});
    if (pos.size() != 1) {
        err(QStringLiteral("Usage: quillary info PROJECT.qly"));
        return 1;
    }
    if (!QFileInfo::exists(pos.first())) {
        c.box.exclamation(QStringLiteral("File does not exist!"));
        return 1;
    }
    cProject p(c.box);
    if (!p.Load(pos.first()))
        return 1;
    out(QStringLiteral("Project: ") + p.GetProjectFile());
    out(QStringLiteral("Version: ") + p.counter("version"));
    out(QStringLiteral("Book file: ") + QFileInfo(p.getBookFile()).fileName());
    QStringList langs = p.languageList();
    QString mainAbbrev = p.GetMainLangAbbrev();
    out(QStringLiteral("Main language: %1 (%2)").arg(p.getLanguageName(mainAbbrev), mainAbbrev));
    QStringList others;
    for (int i = 1; i < langs.size(); ++i)
        others << QStringLiteral("%1 (%2)").arg(p.getLanguageName(langs[i]), langs[i]);
    out(QStringLiteral("Further languages: ") + (others.isEmpty() ? QStringLiteral("none") : others.join(", ")));
    auto chapters = p.chapters();
    out(QStringLiteral("Chapters: %1").arg(chapters.size()));
    for (const auto& ch : chapters)
        out(QStringLiteral("  %1\t%2\t%3").arg(ch.id, ch.file, ch.title));
    out(QStringLiteral("Counters: topicid %1, subchapterid %2, chapterid %3, anchorid %4")
            .arg(p.counter("topicid"), p.counter("subchapterid"), p.counter("chapterid"),
                 p.counter("anchorid")));
    if (p.GetLockID().isEmpty())
        out(QStringLiteral("Lock: none"));
    else
        out(QStringLiteral("Lock: %1\tSTAMP: %2\tCOMMENT: %3")
                .arg(p.GetLockID(), p.GetLockStamp(), p.GetLockDescription()));
    out(QStringLiteral("Marked as open: ") +
        (fileio::isMarked(p.GetProjectFile()) ? QStringLiteral("yes") : QStringLiteral("no")));
    return 0;
}

VerbRegistrar regNew("new",
                     "new PROJECT.qly --title T --author A --version V [--date D] [--time T] "
                     "--main NAME:ABBR [--lang NAME:ABBR]...",
                     cmdNew);
VerbRegistrar regInfo("info", "info PROJECT.qly", cmdInfo);

} // namespace
