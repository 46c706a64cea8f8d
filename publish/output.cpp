#include "output.h"

#include "cconfigfile.h"
#include "chmcompile.h"
#include "chunker.h"
#include "contextmap.h"
#include "cproject.h"
#include "fileio.h"
#include "fontconfiguration.h"
#include "mcommon.h"
#include "msgbox.h"
#include "outputlog.h"
#include "outputproperties.h"
#include "outputverifier.h"
#include "epub.h"
#include "webhelp.h"
#include "paths.h"
#include "processrunner.h"
#include "publishpaths.h"
#include "sax.h"
#include "csaxerrorhandler.h"
#include "xsltrunner.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <exception>
#include <stdexcept>

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

bool fileExists(const QString& path)
{
    QFileInfo fi(path);
    return fi.exists() && fi.isFile();
}

void deleteFile(const QString& path)
{
    if (QFileInfo::exists(path) || QFileInfo(path).isSymLink()) {
        QFile::setPermissions(path, QFile::permissions(path) | QFile::WriteOwner);
        QFile::remove(path);
    }
}

QString fileNameOf(const QString& path)
{
    int cut = std::max(path.lastIndexOf(QLatin1Char('/')), path.lastIndexOf(QLatin1Char('\\')));
    return path.mid(cut + 1);
}

// Parameters for the DocBook passes: the image size extension of this
// program in place of the Java ones, and no other extension.
std::vector<std::pair<QString, QString>> docbookParams()
{
    return {{"use.extensions", "1"},          {"graphicsize.extension", "1"},
            {"tablecolumns.extension", "0"},  {"callouts.extension", "0"},
            {"linenumbering.extension", "0"}, {"textinsert.extension", "0"}};
}

} // namespace

bool inlineHhpIncludes(const QString& hhpFile)
{
    QByteArray data;
    if (!fileio::readFile(hhpFile, data))
        return false;
    const QString folder = QFileInfo(hhpFile).absolutePath();
    QStringList lines = QString::fromUtf8(data).split(QLatin1Char('\n'));
    QStringList out;
    QString section;
    bool changed = false;
    for (QString line : lines) {
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        QString t = line.trimmed();
        if (t.startsWith(QLatin1Char('[')) && t.endsWith(QLatin1Char(']')))
            section = t.toUpper();
        if ((section == QLatin1String("[ALIAS]") || section == QLatin1String("[MAP]")) &&
            t.startsWith(QLatin1String("#include"), Qt::CaseInsensitive)) {
            QString name = t.mid(8).trimmed();
            QString path = QDir(folder).filePath(name);
            QByteArray inc;
            // Only files beside the project file are taken in.
            if (QFileInfo(path).absolutePath() == folder && fileio::readFile(path, inc)) {
                for (QString l : QString::fromUtf8(inc).split(QLatin1Char('\n'))) {
                    l = l.trimmed();
                    if (l.isEmpty())
                        continue;
                    if (section == QLatin1String("[MAP]"))
                        l = l.simplified();
                    else if (int hash = l.indexOf(QLatin1Char('#')); hash > 0)
                        l = l.left(hash);
                    out << l;
                }
                changed = true;
                continue;
            }
        }
        out << line;
    }
    if (!changed)
        return true;
    return fileio::atomicReplace(hhpFile, out.join(QStringLiteral("\r\n")).toUtf8());
}

int fopHeapMb(qint64 foBytes, qint64 physicalMb)
{
    // About 40 bytes of heap per byte of Formatting Objects, measured on
    // generated books; a quarter of the machine stays for everything else.
    const qint64 wanted = 256 + foBytes * 40 / (1024 * 1024);
    qint64 mb = std::max<qint64>(1024, wanted);
    if (physicalMb > 0)
        mb = std::min(mb, std::max<qint64>(1024, physicalMb * 3 / 4));
    return int(mb);
}

qint64 physicalMemoryMb()
{
    QFile info(QStringLiteral("/proc/meminfo"));
    if (!info.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : info.readAll().split('\n'))
        if (line.startsWith("MemTotal:"))
            return line.mid(9).trimmed().split(' ').value(0).toLongLong() / 1024;
    return 0;
}

void keepOnly(const QString& folder, const QSet<QString>& keep)
{
    const QDir dir(folder);
    for (const QFileInfo& fi :
         dir.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)) {
        const QString path = QDir::cleanPath(fi.absoluteFilePath());
        if (keep.contains(path))
            continue;
        if (fi.isDir() && !fi.isSymLink()) {
            keepOnly(path, keep);
            QDir().rmdir(path); // only when nothing of this run is in it
        } else {
            QFile::remove(path);
        }
    }
}

bool removeFolder(const QString& path)
{
    QFileInfo fi(path);
    if (!fi.exists() && !fi.isSymLink())
        return true;
    if (fi.isSymLink() || !fi.isDir())
        return QFile::remove(path);
    // Files left without write bits are removed too ("with force").
    QDirIterator it(path, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QString p = it.next();
        if (!QFileInfo(p).isSymLink())
            QFile::setPermissions(p, QFile::permissions(p) | QFile::WriteOwner | QFile::ExeOwner);
    }
    QFile::setPermissions(path, QFile::permissions(path) | QFile::WriteOwner | QFile::ExeOwner);
    return QDir(path).removeRecursively();
}

cOutput::cOutput(cProject& project, cOutputProperties& properties, OutputLog& log, MsgBox& box)
    : m_project(project), m_props(properties), m_log(log), m_box(box)
{
    m_props.ImageFolder = projectFolder() + QStringLiteral("img/") + m_project.GetMainLangAbbrev() +
                          QLatin1Char('/');
}

QString cOutput::projectFolder() const
{
    return paths::toDisk(m_project.GetProjectFolder());
}

QString cOutput::tempFolder() const
{
    return projectFolder() + QStringLiteral("temp");
}

QStringList cOutput::languageNames() const
{
    QStringList names;
    for (const QString& a : m_project.languageList())
        names << m_project.getLanguageName(a);
    return names;
}

void cOutput::logLine(const QString& text, bool error, bool newLine)
{
    m_log.logLine(text, error, newLine);
}

void cOutput::blank()
{
    m_log.blank();
}

void cOutput::logTail(const QString& output)
{
    QString tail = lastLines(output);
    if (tail.isEmpty())
        return;
    for (const QString& l : tail.split(QStringLiteral("\r\n")))
        logLine(l, true);
}

void cOutput::showLogView()
{
    m_logView = true;
    m_log.showLogView();
}

const std::vector<cOutput::Format>& cOutput::formats()
{
    static const std::vector<Format> table = {
        {kHTMLHelp, QStringLiteral("HH"), QStringLiteral("HTML Help"), "optHTMLHelp"},
        {kPDF, QStringLiteral("PDF"), QStringLiteral("PDF"), "optPDF"},
        {kHTML, QStringLiteral("HTML"), QStringLiteral("HTML"), "optHTML"},
        {kHTMLChunk, QStringLiteral("HTMLFrames"), QStringLiteral("HTML (frames)"), "optHTMLChunk"},
        {kWebHelp, QStringLiteral("WebHelp"), QStringLiteral("Web help (with search)"), "optWebHelp"},
        {kEPUB, QStringLiteral("EPUB"), QStringLiteral("EPUB 3 e-book"), "optEPUB"},
    };
    return table;
}

QString cOutput::keyOfWord(const QString& word)
{
    for (const Format& f : formats())
        if (f.word == word)
            return f.key;
    return QString();
}

bool cOutput::cmdOK(const QString& languageName, const QString& formatWord, bool keepDocBook)
{
    QString abbrev = m_project.getLanguageAbrev(languageName);
    if (abbrev.isEmpty()) {
        m_box.exclamation(QStringLiteral("No language is selected!"));
        return false;
    }
    return runOutput(abbrev, formatWord, keepDocBook);
}

bool cOutput::runOutput(const QString& language, const QString& formatWord, bool keepDocBook)
{
    try {
        if (!mCommon::checkFreeSpace(m_project.GetProjectFile(), m_box))
            return false;
        cSAXOutputVerifier verifier;
        verifier.setLanguage(language);
        verifyLanguage(verifier, m_project.getBookFile(), projectFolder(), m_box);
        QString name = m_project.getLanguageName(language);
        if (verifier.UncompletedTopics() > 0) {
            if (!m_box.yesNo(name + QStringLiteral(" language includes ") +
                                 QString::number(verifier.UncompletedTopics()) +
                                 QStringLiteral(" uncompleted topics! Create output anyway?"),
                             MsgIcon::Exclamation))
                return false;
        }
        if (!verifier.MissingImages().isEmpty()) {
            if (!m_box.yesNo(QStringLiteral("Images\r\n\r\n") + verifier.MissingImages() +
                                 QStringLiteral("\r\nare missing in ") + name +
                                 QStringLiteral(" language! Create output anyway?"),
                             MsgIcon::Exclamation))
                return false;
        }
        showLogView();
        if (formatWord == kHTMLHelp)
            makeHTMLHelp(language, keepDocBook);
        else if (formatWord == kPDF)
            makePDF(language, keepDocBook);
        else if (formatWord == kHTML)
            makeHTML(language, keepDocBook);
        else if (formatWord == kHTMLChunk)
            makeHTMLFrames(language, keepDocBook);
        else if (formatWord == kWebHelp)
            makeWebHelp(language, keepDocBook);
        else if (formatWord == kEPUB)
            makeEPUB(language, keepDocBook);
        // A cancel that came after the last step leaves the output made.
        if (cancelled() && resultFile.isEmpty()) {
            removeFolder(tempFolder());
            blank();
            logLine(kCancelledLine, true);
            enableResultButtons();
        }
        return true;
    } catch (const std::exception&) {
        blank();
        logLine(QStringLiteral("Unexpected error occured! Output may not be created!"), true);
        enableResultButtons();
        return true;
    }
}

QString cOutput::timeSpent(const QDateTime& start, const QDateTime& end)
{
    qint64 seconds = start.secsTo(end);
    if (seconds < 0)
        seconds = 0;
    // The minutes are rounded, not truncated (halves to even): 59 s read 01:59.
    long long minutes = stylesheet::roundEven(double(seconds) / 60.0);
    long long rest = seconds % 60;
    auto two = [](long long v) { return v < 10 ? QStringLiteral("0") + QString::number(v) : QString::number(v); };
    return two(minutes) + QStringLiteral(":") + two(rest);
}

QString cOutput::bookBase() const
{
    return QFileInfo(paths::toDisk(m_project.getBookFile())).completeBaseName();
}

QStringList cOutput::readFolders() const
{
    return {projectFolder(), paths::programFolder(), stylesheet::docbookFolder()};
}

bool cOutput::writeStylesheet(const QString& text, QString* error)
{
    return fileio::writeUtf16Line(tempFolder() + QStringLiteral("/quillary_temp.xsl"), text, {}, error);
}

XsltJob cOutput::secondPass(const QString& writeFolder, const QString& output) const
{
    XsltJob job;
    job.cancel = m_cancel;
    job.stylesheet = tempFolder() + QStringLiteral("/quillary_temp.xsl");
    job.input = tempFolder() + QStringLiteral("/quillary.xml");
    job.inputDtd = false;
    job.output = output;
    job.outputBase = writeFolder;
    job.readFolders = readFolders();
    job.writeFolders = {writeFolder};
    job.imageFolder = projectFolder();
    job.params = docbookParams();
    // The chunked formats name each chapter's pages chNN...: the pages
    // written tell how far the run has come.
    const int chapters = int(m_project.chapterFileList().size());
    OutputLog* log = &m_log;
    log->progress(0, chapters);
    job.onMessage = [log, chapters](const QString& message) {
        static const QRegularExpression page(QStringLiteral("^Writing .*\\bch(\\d+)"));
        const QRegularExpressionMatch m = page.match(message);
        if (m.hasMatch())
            log->progress(std::min(m.captured(1).toInt(), chapters), chapters);
    };
    return job;
}

XsltResult cOutput::htmlPass(bool pages, const QString& writeFolder, const QString& output)
{
    const XsltJob job = secondPass(writeFolder, output);
    if (chunker::enabled()) {
        chunker::Job c;
        c.layout = pages ? chunker::Layout::Pages : chunker::Layout::Single;
        c.stylesheet = job.stylesheet;
        c.driver = tempFolder() + QStringLiteral("/quillary_parts.xsl");
        c.docbook = job.input;
        c.folder = writeFolder;
        c.output = output;
        c.readFolders = job.readFolders;
        c.writeFolders = job.writeFolders;
        c.imageFolder = job.imageFolder;
        c.params = job.params;
        OutputLog* log = &m_log;
        c.progress = [log](int done, int total) { log->progress(done, total); };
        c.cancel = m_cancel;
        chunker::Result r;
        runOffThread([&] { r = chunker::run(c); });
        // Anything the chunker could not do, DocBook alone is asked to do:
        // it may know the book better; a broken stylesheet fails again.
        if (r.outcome == chunker::Outcome::Done)
            return {true, r.messages, r.written};
    }
    return runXslt(job);
}

bool cOutput::makeDocBook(const QString& language, const QString& out, const QString& cover)
{
    QString xsl = publishpaths::quillaryXsl();
    if (!fileExists(xsl)) {
        logLine(QStringLiteral("File \"") + xsl +
                    QStringLiteral("\" is missing! Incorrect installation. Output can not be created!"),
                true);
        enableResultButtons();
        return false;
    }
    QByteArray tail;
    fileio::readFile(xsl, tail);
    QString text = QStringLiteral("<?xml version=\"1.0\"?><xsl:stylesheet xmlns:xsl="
                                  "\"http://www.w3.org/1999/XSL/Transform\" version=\"1.0\">"
                                  "<xsl:output method=\"xml\" encoding=\"utf-8\" "
                                  "doctype-public=\"-//OASIS//DTD DocBook XML V4.5//EN\" "
                                  "doctype-system=\"http://www.oasis-open.org/docbook/xml/4.5/docbookx.dtd\"/>");
    text += QStringLiteral("<xsl:variable name=\"language\" select=\"'") + language + QStringLiteral("'\"/>");
    text += QStringLiteral("<xsl:variable name=\"out\" select=\"'") + out + QStringLiteral("'\"/>");
    text += QStringLiteral("<xsl:variable name=\"cover.image\" select=\"'") + cover + QStringLiteral("'\"/>");
    text += QString::fromUtf8(tail);

    QString temp = tempFolder();
    removeFolder(temp);
    QString error;
    if (!QDir().mkpath(temp)) {
        const QString parent = QFileInfo(temp).absolutePath();
        const bool denied = ::access(QFile::encodeName(parent).constData(), W_OK) != 0;
        error = QStringLiteral("Cannot create folder \"") + temp + QStringLiteral("\": ") +
                (denied ? QString::fromLocal8Bit(std::strerror(errno)) : QStringLiteral("unknown reason")) +
                QLatin1Char('.');
    }
    if (!error.isEmpty() || !writeStylesheet(text, &error)) {
        // A project folder that cannot be written holds no output either.
        logLine(error + QStringLiteral(" Output can not be created!"), true);
        enableResultButtons();
        return false;
    }

    logLine(QStringLiteral("XSLT: Transforming Quillary XML to DocBook XML..."));
    XsltJob job;
    job.cancel = m_cancel;
    job.stylesheet = temp + QStringLiteral("/quillary_temp.xsl");
    job.input = paths::toDisk(m_project.getBookFile());
    job.output = temp + QStringLiteral("/quillary.xml");
    job.outputBase = temp;
    job.readFolders = readFolders();
    job.writeFolders = {temp};
    job.imageFolder = projectFolder();
    XsltResult r = runXslt(job);

    if (fileExists(temp + QStringLiteral("/quillary.xml"))) {
        logLine(QStringLiteral("XSLT: DocBook XML document was created."));
        deleteFile(temp + QStringLiteral("/quillary_temp.xsl"));
        return true;
    }
    logLine(QStringLiteral("XSLT: DocBook XML document was not created !!!"), true);
    logTail(r.messages);
    removeFolder(temp);
    enableResultButtons();
    return false;
}

void cOutput::keepCopy(const QString& language)
{
    QString output = projectFolder() + QStringLiteral("output");
    QDir().mkpath(output);
    QString target = output + QLatin1Char('/') + bookBase() + QLatin1Char('_') + language + QStringLiteral(".xml");
    deleteFile(target);
    QFile::copy(tempFolder() + QStringLiteral("/quillary.xml"), target);
}

void cOutput::finish(const QDateTime& start)
{
    QDateTime end = QDateTime::currentDateTime();
    blank();
    logLine(QStringLiteral("Time: ") + timeSpent(start, end));
    blank();
    logLine(QStringLiteral("Done."));
    enableResultButtons();
}

QString cOutput::coverValue(const QString& language, const QString& cover) const
{
    if (cover.isEmpty())
        return QString();
    return QStringLiteral("img\\") + language + QLatin1Char('\\') + fileNameOf(cover);
}

void cOutput::removeHelpSources(const QString& folder)
{
    QString f = folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
    for (const char* n : {"alias.h", "context.h", "toc.hhc", "htmlhelp.hhp", "index.hhk", "index.html",
                          "index-toc.html"})
        deleteFile(f + QString::fromLatin1(n));
    const QStringList files = QDir(f).entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString& name : files) {
        int dot = name.lastIndexOf(QLatin1Char('.'));
        if (name.startsWith(QLatin1String("ch")) && dot >= 0 && name.mid(dot + 1) == QLatin1String("html"))
            deleteFile(f + name);
    }
}

void cOutput::makeHTMLHelp(const QString& language, bool keepDocBook)
{
    cConfigFile conf(m_box);
    conf.Load(paths::settingsFile(QStringLiteral("conf.xml")));
    QString hhc = conf.getHHWFile();
    if (hhc.isEmpty() || !fileExists(hhc)) {
        logLine(QStringLiteral("File \"") + hhc +
                    QStringLiteral("\" doesn't exist! Specify HTML Help compiler placement correctly! "
                                   "Output may not be created!"),
                true);
        enableResultButtons();
        return;
    }
    const QString P = projectFolder();
    QString result = P + QStringLiteral("output/") + bookBase() + QLatin1Char('_') + language + QStringLiteral(".chm");
    QDateTime start = QDateTime::currentDateTime();
    QString out = m_props.GetHHOutput();
    QString cover = m_props.GetCoverImage(QStringLiteral("HH"));
    if (!makeDocBook(language, out, cover))
        return;
    if (keepDocBook)
        keepCopy(language);
    writeStylesheet(m_props.GetHHStylesheet());
    logLine(QStringLiteral("XSLT: Transforming DocBook XML to HTML Help source files..."));
    XsltResult r = htmlPass(true, P);
    if (!fileExists(P + QStringLiteral("htmlhelp.hhp"))) {
        logLine(QStringLiteral("XSLT: HTML Help source files were not created!!!"), true);
        logTail(r.messages);
        removeHelpSources(P);
        removeFolder(tempFolder());
        enableResultButtons();
        return;
    }
    logLine(QStringLiteral("XSLT: HTML Help source files were created."));
    blank();
    logLine(QStringLiteral("HH COMPILER: Compiling HTML Help from source files..."));
    // chmcmd reads the alias and map lines only from the project file itself.
    inlineHhpIncludes(P + QStringLiteral("htmlhelp.hhp"));
    HelpCompileResult compiled = compileHelpProject(hhc, P, tempFolder(), m_cancel);
    // A compiler stopped halfway may have left half an archive.
    if (compiled.process.cancelled)
        deleteFile(P + QStringLiteral("htmlhelp.chm"));
    if (!fileExists(P + QStringLiteral("htmlhelp.chm"))) {
        logLine(QStringLiteral("HH COMPILER: HTML Help was not created!!!"), true);
        logTail(compiled.process.errorOutput);
        removeHelpSources(P);
        removeFolder(tempFolder());
        enableResultButtons();
        return;
    }
    logLine(QStringLiteral("HH COMPILER: HTML Help was created."));
    if (!compiled.rooted)
        logLine(QStringLiteral("HH COMPILER: Context IDs may not open their topics: ") + compiled.note +
                QLatin1Char('.'));
    blank();
    QDir().mkpath(P + QStringLiteral("output"));
    deleteFile(result);
    QFile::rename(P + QStringLiteral("htmlhelp.chm"), result);
    logLine(QStringLiteral("OUTPUT: ") + result);
    resultFile = result;
    removeHelpSources(P);
    removeFolder(tempFolder());
    finish(start);
}

void cOutput::makePDF(const QString& language, bool keepDocBook)
{
    QString fop = findOnPath(QStringLiteral("fop"));
    if (fop.isEmpty()) {
        // Named where Debian's fop package puts it.
        logLine(QStringLiteral("File \"/usr/bin/fop\" is missing! Incorrect installation. Output may not be created!"),
                true);
        enableResultButtons();
        return;
    }
    QString fontConf = publishpaths::fontConfigurationFile();
    if (!QFileInfo::exists(fontConf)) {
        m_box.exclamation(QStringLiteral("When you are creating a PDF output for the first time, font metrics files "
                                         "have to be created in order to use correct character encoding."));
        logLine(QStringLiteral("Creating font metrics files. It may take a while, please be patient."));
        makeFontConfiguration(fontConf, m_log);
        blank();
    } else if (!fontConfigurationIsCurrent(fontConf)) {
        // Made by an older version, without the fallback faces.
        makeFontConfiguration(fontConf, m_log, true);
    }
    const QString P = projectFolder();
    QString result = P + QStringLiteral("output/") + bookBase() + QLatin1Char('_') + language + QStringLiteral(".pdf");
    QDateTime start = QDateTime::currentDateTime();
    QString out = m_props.GetPDFOutput();
    QString cover = m_props.GetCoverImage(QStringLiteral("PDF"));
    if (!makeDocBook(language, out, cover))
        return;
    if (keepDocBook)
        keepCopy(language);
    writeStylesheet(m_props.GetPDFStylesheet());
    logLine(QStringLiteral("XSLT: Transforming DocBook XML to Formatting Objects..."));
    const QString fo = P + QStringLiteral("quillary.fo");
    const QString pdf = P + QStringLiteral("quillary.pdf");
    XsltJob job = secondPass(P, fo);
    // FOP 2 takes the extensions of its own generation; the bookmarks box
    // decides them as it decides the older ones.
    job.params = {{"fop.extensions", "0"},
                  {"fop1.extensions", m_props.check(QStringLiteral("chkBookmarks"), cOutputProperties::kPDF)
                                          ? QStringLiteral("1")
                                          : QStringLiteral("0")}};
    XsltResult r = runXslt(job);
    removeFolder(tempFolder());
    if (!fileExists(fo)) {
        logLine(QStringLiteral("XSLT: Formatting Objects file was not created!!!"), true);
        logTail(r.messages);
        enableResultButtons();
        return;
    }
    logLine(QStringLiteral("XSLT: Formatting Objects file was created."));
    blank();
    logLine(QStringLiteral("FOP: Rendering Formatting Objects to PDF..."));
    deleteFile(pdf);
    const int heap = fopHeapMb(QFileInfo(fo).size(), physicalMemoryMb());
    // -a: a tagged PDF, its structure and language for assistive technology.
    ProcessResult pr = waitForProcess(fop, {"-c", fontConf, "-a", "-fo", fo, "-pdf", pdf}, P,
                                      {QStringLiteral("JAVA_ARGS=-Xmx%1m").arg(heap)}, m_cancel);
    deleteFile(fo);
    // FOP stopped halfway may have left half a document.
    if (pr.cancelled)
        deleteFile(pdf);
    if (!fileExists(pdf)) {
        logLine(QStringLiteral("FOP: PDF document was not created!!!"), true);
        if (pr.errorOutput.contains(QLatin1String("OutOfMemoryError")))
            logLine(QStringLiteral("FOP: Java ran out of memory with a heap of %1 MB. Close other programs or "
                                   "publish on a machine with more memory.")
                        .arg(heap),
                    true);
        logTail(pr.errorOutput);
        enableResultButtons();
        return;
    }
    logLine(QStringLiteral("FOP: PDF document was created."));
    blank();
    QDir().mkpath(P + QStringLiteral("output"));
    deleteFile(result);
    QFile::rename(pdf, result);
    logLine(QStringLiteral("OUTPUT: ") + result);
    resultFile = result;
    removeFolder(tempFolder());
    finish(start);
}

void cOutput::makeHTML(const QString& language, bool keepDocBook)
{
    const QString P = projectFolder();
    QString result = P + QStringLiteral("output/html/") + bookBase() + QLatin1Char('_') + language +
                     QStringLiteral(".html");
    QDir().mkpath(P + QStringLiteral("output/html"));
    deleteFile(result);
    QDateTime start = QDateTime::currentDateTime();
    QString coverPath = m_props.GetCoverImage(QStringLiteral("HTML"));
    QString cover = coverValue(language, coverPath);
    QString out = m_props.GetHTMLOutput();
    if (!makeDocBook(language, out, cover))
        return;
    if (keepDocBook)
        keepCopy(language);
    writeStylesheet(m_props.GetHTMLStylesheet());
    logLine(QStringLiteral("XSLT: Transforming DocBook XML to HTML file..."));
    const QString target = tempFolder() + QStringLiteral("/quillary.fo");
    XsltResult r = htmlPass(false, tempFolder(), target);
    if (fileExists(target))
        QFile::rename(target, result);
    if (fileExists(result)) {
        logLine(QStringLiteral("XSLT: HTML file was created."));
        blank();
        logLine(QStringLiteral("Copying all neccessary images..."));
        blank();
        copyImages(tempFolder() + QStringLiteral("/quillary.xml"), QStringLiteral("output/html"), language, coverPath);
        writeContextMap({result}, P + QStringLiteral("output/html"),
                        P + QStringLiteral("output/html/") + bookBase() + QLatin1Char('_') + language +
                            QStringLiteral(".context.json"));
        logLine(QStringLiteral("OUTPUT: ") + result);
        resultFile = result;
        removeFolder(tempFolder());
        finish(start);
        return;
    }
    logLine(QStringLiteral("XSLT: HTML file was not created!!!"), true);
    logTail(r.messages);
    removeFolder(tempFolder());
    enableResultButtons();
}

bool cOutput::chunkedPages(const QString& relative, const QString& language, const QString& coverPath,
                           ChunkedPages& out)
{
    const QString P = projectFolder();
    QDir().mkpath(P + QStringLiteral("output"));
    out.folder = P + relative;
    const QString& folder = out.folder;
    // The pages of an earlier run are written over rather than deleted and
    // made anew (a file system may search its freshly freed entries for
    // every new file); what this run does not write goes at its end.
    if (!QFileInfo(folder).isDir() || QFileInfo(folder).isSymLink())
        removeFolder(folder);
    fileio::makeTreeWritable(folder);
    QDir().mkpath(folder);
    logLine(QStringLiteral("XSLT: Transforming DocBook XML to HTML files..."));
    XsltResult r = htmlPass(true, folder);
    if (!fileExists(folder + QStringLiteral("/index.html")) || cancelled()) {
        logLine(QStringLiteral("XSLT: HTML files were not created!!!"), true);
        logTail(r.messages);
        failChunked(folder);
        return false;
    }
    logLine(QStringLiteral("XSLT: HTML files were created."));
    blank();
    logLine(QStringLiteral("Copying all neccessary images..."));
    blank();
    copyImages(tempFolder() + QStringLiteral("/quillary.xml"), relative, language, coverPath);
    for (const QString& f : r.written) {
        out.keep.insert(QDir::cleanPath(f));
        if (f.endsWith(QLatin1String(".html")))
            out.pages << f;
    }
    writeContextMap(out.pages, folder, folder + QStringLiteral("/context.json"));
    out.keep.insert(QDir::cleanPath(folder + QStringLiteral("/context.json")));
    out.keep.insert(QDir::cleanPath(folder + QStringLiteral("/img/") + language));
    return true;
}

void cOutput::failChunked(const QString& folder)
{
    removeFolder(folder);
    removeFolder(tempFolder());
    enableResultButtons();
}

void cOutput::finishChunked(const ChunkedPages& pages, const QDateTime& start)
{
    keepOnly(pages.folder, pages.keep);
    QString index = pages.folder + QStringLiteral("/index.html");
    logLine(QStringLiteral("OUTPUT: ") + index);
    resultFile = index;
    removeFolder(tempFolder());
    finish(start);
}

void cOutput::makeHTMLFrames(const QString& language, bool keepDocBook)
{
    QDateTime start = QDateTime::currentDateTime();
    QString coverPath = m_props.GetCoverImage(QStringLiteral("HTMLFrames"));
    if (!makeDocBook(language, m_props.GetHTMLFramesOutput(), coverValue(language, coverPath)))
        return;
    if (keepDocBook)
        keepCopy(language);
    writeStylesheet(m_props.GetHTMLFramesStylesheet());
    ChunkedPages pages;
    if (!chunkedPages(QStringLiteral("output/html_frames_") + language, language, coverPath, pages))
        return;
    const QString& folder = pages.folder;
    QDir().mkpath(folder + QStringLiteral("/img"));
    for (const char* gif : {"chapter_c.gif", "chapter_e.gif", "topic.gif"}) {
        QString source = publishpaths::webhelpImage(QString::fromLatin1(gif));
        QString target = folder + QStringLiteral("/img/") + QString::fromLatin1(gif);
        if (fileExists(source)) {
            deleteFile(target);
            QFile::copy(source, target);
        } else {
            logLine(QStringLiteral("Image \"") + source + QStringLiteral("\" is missing! Incorrect installation."), true);
        }
        pages.keep.insert(QDir::cleanPath(target));
    }
    finishChunked(pages, start);
}

void cOutput::makeWebHelp(const QString& language, bool keepDocBook)
{
    QDateTime start = QDateTime::currentDateTime();
    QString coverPath = m_props.GetCoverImage(QStringLiteral("WebHelp"));
    if (!makeDocBook(language, m_props.GetWebHelpOutput(), coverValue(language, coverPath)))
        return;
    if (keepDocBook)
        keepCopy(language);
    writeStylesheet(m_props.GetWebHelpStylesheet());
    ChunkedPages pages;
    if (!chunkedPages(QStringLiteral("output/webhelp_") + language, language, coverPath, pages))
        return;
    const QString& folder = pages.folder;
    QByteArray contextJson;
    fileio::readFile(folder + QStringLiteral("/context.json"), contextJson);
    logLine(QStringLiteral("Building the search index..."));
    webhelp::Result w;
    runOffThread([&] { w = webhelp::finish(folder, pages.pages, language, contextJson); });
    if (!w.ok) {
        logLine(w.error, true);
        failChunked(folder);
        return;
    }
    logLine(QStringLiteral("Search index: %1 KB.").arg((w.indexBytes + 1023) / 1024));
    for (const QString& own : webhelp::ownFiles())
        pages.keep.insert(QDir::cleanPath(folder + QLatin1Char('/') + own));
    finishChunked(pages, start);
}

void cOutput::writeContextMap(const QStringList& pages, const QString& folder, const QString& target)
{
    const QByteArray json =
        contextMapJson(contextTargets(tempFolder() + QStringLiteral("/quillary.xml")), folder, pages);
    QString error;
    if (!fileio::atomicReplace(target, json, {}, &error))
        logLine(QStringLiteral("File \"") + target + QStringLiteral("\" could not be written: ") + error, true);
}

void cOutput::copyImages(const QString& docBookFile, const QString& outputFolder, const QString& language,
                         const QString& cover)
{
    try {
        const QString P = projectFolder();
        cSAXImageLister lister;
        lister.setProjectFolder(P);
        if (!docBookFile.isEmpty()) {
            cSAXErrorHandler errors(m_box);
            sax::Reader reader(lister);
            reader.setErrorHandler(&errors);
            reader.setExpandExternalEntities(true);
            reader.setAllowedFolders({P});
            reader.parseFile(docBookFile);
        }
        const QStringList images = lister.AllImages().split(QStringLiteral("\r\n"));
        const QString imgFolder = P + outputFolder + QStringLiteral("/img");
        QDir().mkpath(imgFolder);
        const QString L = imgFolder + QLatin1Char('/') + language;
        if (QFileInfo::exists(L))
            if (!removeFolder(L))
                throw std::runtime_error("language image folder");
        if (!QDir().mkpath(L))
            throw std::runtime_error("language image folder");
        const QString inside = QDir::cleanPath(imgFolder) + QLatin1Char('/');
        const QString A = QStringLiteral("/img/") + language;
        const QString B = QLatin1Char('/') + outputFolder + QStringLiteral("/img/") + language;
        QSet<QString> copied; // a picture on many pages is copied once
        for (const QString& source : images) {
            if (copied.contains(source))
                continue;
            copied.insert(source);
            // A link in the project may not publish a file from elsewhere, and
            // only regular files are copied (a FIFO would stall the copy).
            if (!fileExists(source) || !source.startsWith(P) || !xmlsafe::liesInside(source, P) ||
                !QFileInfo(source).isFile())
                continue;
            // Only the part below the project folder is mapped, and the copy
            // must land in the output's image folder: a folder name or a
            // "../" in the reference never leads the copy elsewhere.
            QString target = P.left(P.size() - 1) + QString(source.mid(P.size() - 1)).replace(A, B);
            if (!QDir::cleanPath(target).startsWith(inside))
                continue;
            QDir().mkpath(QFileInfo(target).absolutePath());
            deleteFile(target);
            if (!QFile::copy(source, target))
                throw std::runtime_error("copy");
        }
        if (!cover.isEmpty()) {
            QString coverDisk = paths::toDisk(cover);
            if (fileExists(coverDisk) && QFileInfo(coverDisk).isFile()) {
                QString target = L + QLatin1Char('/') + fileNameOf(cover);
                deleteFile(target);
                if (!QFile::copy(coverDisk, target))
                    throw std::runtime_error("copy");
            }
        }
    } catch (const std::exception&) {
        logLine(QStringLiteral("Error while copying images!"), true);
    }
}

void cOutput::makeEPUB(const QString& language, bool keepDocBook)
{
    const QString P = projectFolder();
    QDateTime start = QDateTime::currentDateTime();
    QString coverPath = m_props.GetCoverImage(QStringLiteral("EPUB"));
    if (!makeDocBook(language, m_props.GetEPUBOutput(), coverValue(language, coverPath)))
        return;
    if (keepDocBook)
        keepCopy(language);
    QDir().mkpath(P + QStringLiteral("output"));
    const QString result = P + QStringLiteral("output/") + bookBase() + QLatin1Char('_') + language +
                           QStringLiteral(".epub");
    epub::Job job;
    job.docbook = tempFolder() + QStringLiteral("/quillary.xml");
    job.projectFolder = P;
    job.language = language;
    job.cover = coverPath.isEmpty() ? QString() : paths::toDisk(coverPath);
    job.css = m_props.GetEPUBStyle();
    job.tocDepth = m_props.GetEPUBToCDepth();
    job.workFolder = tempFolder() + QStringLiteral("/epub");
    job.target = result;
    job.readFolders = readFolders();
    job.cancel = m_cancel;
    logLine(QStringLiteral("XSLT: Transforming DocBook XML to EPUB..."));
    epub::Result r;
    runOffThread([&] { r = epub::package(job); });
    if (!r.ok) {
        if (!cancelled()) {
            logLine(QStringLiteral("EPUB file was not created!!! ") + r.error, true);
            logTail(r.messages);
        }
        removeFolder(tempFolder());
        enableResultButtons();
        return;
    }
    logLine(QStringLiteral("EPUB file was created."));
    logLine(QStringLiteral("OUTPUT: ") + result);
    resultFile = result;
    removeFolder(tempFolder());
    finish(start);
}
