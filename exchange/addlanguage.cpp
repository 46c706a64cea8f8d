#include "addlanguage.h"

#include "cbookfile.h"
#include "cproject.h"
#include "csaxerrorhandler.h"
#include "fileio.h"
#include "language.h"
#include "mcommon.h"
#include "msgbox.h"
#include "progress.h"

#include <QDir>
#include <QFileInfo>

// --- filter ------------------------------------------------------------

void cSAXAddLanguage::ready()
{
    if (m_ready)
        return;
    m_lang = Lang.toStdString();
    m_main = MainLang.toStdString();
    m_stamp = Stamp.toStdString();
    m_ready = true;
}

void cSAXAddLanguage::startElement(std::string_view name, const sax::Attrs& attrs)
{
    ready();
    const bool item = name == "topic" || name == "subchapter";
    if (item || name == "chapter")
        m_titleMayFollow = true;
    if (name == "title") {
        const std::string_view lang = attrs.value("lang");
        if (m_titleMayFollow && lang == m_main) {
            m_titleMayFollow = false;
            m_sourceTitle = true;
            m_pending = true;
            m_captured.clear();
        } else if (lang == m_lang) {
            // The element has the language already (a run that was cut off
            // after some files were replaced): nothing more for it.
            m_pending = false;
            m_captured.clear();
        }
    }
    if (name == "onelang" && attrs.value("lang") == m_lang)
        m_hasBody = true;
    if (name == "topic")
        m_hasBody = false;
    if ((item || name == "context" || name == "onelang") && m_pending) {
        // Before a topic or subchapter the title was a chapter's or a
        // subchapter's; before the body it is a topic's.
        sax::Attrs a;
        a.add("lang", m_lang);
        if (!item) {
            a.add("state", "uncomplete");
            a.add("stamp", m_stamp);
        }
        writeStart("title", a);
        m_buf.clear();
        mCommon::escapeXMLTo(m_buf, m_captured);
        writeRaw(m_buf);
        writeEnd("title");
        m_pending = false;
        m_captured.clear();
    }
    writeStart(name, attrs);
}

void cSAXAddLanguage::endElement(std::string_view name)
{
    if (name == "title")
        m_sourceTitle = false;
    if (name == "topic" && !m_hasBody) {
        sax::Attrs a;
        a.add("lang", m_lang);
        writeStart("onelang", a);
        writeEnd("onelang");
    }
    writeEnd(name);
}

void cSAXAddLanguage::characters(std::string_view text)
{
    std::string_view t = sax::trimText(text);
    if (t.empty())
        return;
    if (m_sourceTitle) {
        m_captured.assign(t);
        m_sourceTitle = false;
    }
    writeText(text);
}

// --- command -----------------------------------------------------------

namespace exchange {

QString newLanguageRefusal(const cProject& project, const QString& name, const QString& abbrev)
{
    if (name.isEmpty() || abbrev.isEmpty())
        return QStringLiteral("Language is not specified!");
    const QStringList abbrevs = project.languageList();
    for (const QString& a : abbrevs) {
        if (project.getLanguageName(a) == name)
            return QStringLiteral("Language name already exists!");
        if (a == abbrev)
            return QStringLiteral("Language abbreviation already exists!");
    }
    // The abbreviation names the language's image folder.
    if (abbrev.contains(QLatin1Char('/')) || abbrev.contains(QLatin1Char('\\')) || abbrev == QLatin1String(".") ||
        abbrev == QLatin1String(".."))
        return QStringLiteral("Language abbreviation \"%1\" cannot name a folder!").arg(abbrev);
    return {};
}

QString addLanguageQuestion(const QString& name)
{
    return QStringLiteral("You are going to add ") + name + QStringLiteral(" language to the book. Are you sure?");
}

bool addLanguage(cProject& project, const QString& name, const QString& abbrev, MsgBox& box, Progress* progress)
{
    if (!mCommon::checkFreeSpace(project.GetProjectFile(), box))
        return false;

    const QStringList files = project.chapterFileList();
    if (progress)
        progress->start(int(files.size()));
    const QString stamp = mCommon::nowStamp();
    const QString main = project.GetMainLangAbbrev();

    // Every chapter first into a file of its own beside it; none is
    // replaced until all are complete.
    QStringList temps;
    auto dropTemps = [&temps] {
        for (const QString& t : temps)
            fileio::commitTemp(t, QString());
    };
    for (const QString& file : files) {
        if (progress && progress->cancelRequested()) {
            dropTemps();
            box.info(Progress::kCancelled);
            return false;
        }
        cSAXAddLanguage filter;
        filter.Lang = abbrev;
        filter.MainLang = main;
        filter.Stamp = stamp;
        cSAXErrorHandler handler(box);
        const QString temp = file + QStringLiteral(".quillary-new");
        QString error;
        if (!rewriteToTemp(file, filter, temp, &handler, &error)) {
            if (!handler.failed())
                box.stop(QStringLiteral("The chapter file \"%1\" could not be rewritten: %2\r\n\r\nNothing was changed.")
                             .arg(QDir::toNativeSeparators(file), error));
            dropTemps();
            return false;
        }
        temps << temp;
        if (progress)
            progress->step();
    }
    if (progress && progress->cancelRequested()) {
        dropTemps();
        box.info(Progress::kCancelled);
        return false;
    }
    for (int i = 0; i < files.size(); ++i) {
        QString error;
        if (!fileio::commitTemp(temps[i], files[i], &error)) {
            temps = temps.mid(i);
            dropTemps();
            box.stop(QStringLiteral("The chapter file \"%1\" could not be replaced: %2")
                         .arg(QDir::toNativeSeparators(files[i]), error));
            return false;
        }
    }

    // The project file last: until it lists the language, a run that was
    // cut off can simply be repeated.
    QDir().mkpath(project.GetProjectFolder() + QStringLiteral("img/") + abbrev);
    cBookFile book(box);
    if (!book.Load(project.getBookFile()))
        return false;
    if (!book.hasLangTitle(abbrev)) {
        // The book's title is copied from the main language's.
        const QString previous = currentLanguage();
        setCurrentLanguage(main);
        const bool ok = book.addLangTitle(abbrev);
        setCurrentLanguage(previous);
        if (!ok)
            return false;
    }
    project.InsertLanguage(name, abbrev);
    return true;
}

} // namespace exchange
