#include "epub.h"

#include "fileio.h"
#include "outputproperties.h"
#include "publishpaths.h"
#include "xmlsafety.h"
#include "xsltrunner.h"
#include "ziparchive.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QUrl>
#include <QUuid>
#include <QXmlStreamReader>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace epub {

namespace {

// The namespace of our name-based identifiers; never to change, or every
// book gets a new identity and readers take it for another book.
const QUuid kIdentifierNamespace(QStringLiteral("{59bb9fa7-c391-4601-acdd-028b647b365f}"));

const QString kCancelled = QStringLiteral("Creating the EPUB was cancelled.");
const QString kCss = QStringLiteral("quillary.css");

QString q(const QString& text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

QString sysError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

bool isFile(const QString& path)
{
    QFileInfo fi(path);
    return fi.exists() && fi.isFile();
}

// A stylesheet parameter is an XPath expression: text goes in as a literal.
QString literal(const QString& text)
{
    if (!text.contains(QLatin1Char('\'')))
        return QLatin1Char('\'') + text + QLatin1Char('\'');
    if (!text.contains(QLatin1Char('"')))
        return QLatin1Char('"') + text + QLatin1Char('"');
    QStringList parts;
    for (const QString& piece : text.split(QLatin1Char('\'')))
        parts << QLatin1Char('\'') + piece + QLatin1Char('\'');
    return QStringLiteral("concat(") + parts.join(QStringLiteral(", \"'\", ")) + QLatin1Char(')');
}

QString fileUrl(const QString& path)
{
    return QString::fromUtf8(QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath()).toEncoded());
}

// The media types an EPUB reader must show without a fallback.
QString coverType(const QString& path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("png"))
        return QStringLiteral("image/png");
    if (suffix == QLatin1String("jpg") || suffix == QLatin1String("jpeg"))
        return QStringLiteral("image/jpeg");
    if (suffix == QLatin1String("gif"))
        return QStringLiteral("image/gif");
    if (suffix == QLatin1String("svg"))
        return QStringLiteral("image/svg+xml");
    return {};
}

// The book's title from its info; the chapters are never read.
QString bookTitle(const QString& docbook)
{
    QFile file(docbook);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QXmlStreamReader xml(&file);
    QStringList open;
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::EndElement) {
            if (!open.isEmpty())
                open.removeLast();
            continue;
        }
        if (token != QXmlStreamReader::StartElement)
            continue;
        const QString name = xml.name().toString();
        const QString parent = open.isEmpty() ? QString() : open.last();
        if (name == QLatin1String("title") &&
            (open.size() == 1 || parent == QLatin1String("bookinfo") || parent == QLatin1String("info")))
            return xml.readElementText(QXmlStreamReader::IncludeChildElements).simplified();
        if (open.size() == 1 && name != QLatin1String("bookinfo") && name != QLatin1String("info"))
            return {}; // the book's body begins: it has no title
        open << name;
    }
    return {};
}

// The hrefs of the package file's manifest.
QStringList manifestHrefs(const QString& opf)
{
    QStringList hrefs;
    QFile file(opf);
    if (!file.open(QIODevice::ReadOnly))
        return hrefs;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == QLatin1String("item"))
            hrefs << xml.attributes().value(QStringLiteral("href")).toString();
    }
    return hrefs;
}

// A manifest entry that names a file of the project: relative, without a
// scheme, a query or a way out of the package.
bool isPlainRelative(const QString& href)
{
    if (href.isEmpty() || href.startsWith(QLatin1Char('/')) || href.contains(QLatin1Char('\\')) ||
        href.contains(QLatin1Char(':')) || href.contains(QLatin1Char('?')) || href.contains(QLatin1Char('#')))
        return false;
    for (const QString& segment : href.split(QLatin1Char('/')))
        if (segment == QLatin1String(".."))
            return false;
    return true;
}

// Folders a run makes: gone again (when empty) unless kept; what was there
// before stays.
class MadeFolders {
public:
    MadeFolders() = default;
    MadeFolders(const MadeFolders&) = delete;
    MadeFolders& operator=(const MadeFolders&) = delete;
    ~MadeFolders()
    {
        if (!m_keep)
            for (auto it = m_made.rbegin(); it != m_made.rend(); ++it)
                QDir().rmdir(*it);
    }

    bool make(const QString& folder)
    {
        const QString clean = QDir::cleanPath(QFileInfo(folder).absoluteFilePath());
        QStringList missing;
        for (QString p = clean; !QFileInfo::exists(p) && !QFileInfo(p).isSymLink();) {
            missing.prepend(p);
            const QString up = QFileInfo(p).absolutePath();
            if (up == p)
                break;
            p = up;
        }
        const bool made = QDir().mkpath(clean);
        // mkpath may have made some before it failed.
        for (const QString& m : missing)
            if (QFileInfo(m).isDir())
                m_made << m;
        return made;
    }
    void keep() { m_keep = true; }

private:
    QStringList m_made;
    bool m_keep = false;
};

// The scratch tree of one run: a folder of its own inside the work folder,
// gone again with this object, and with it the folders made for the work
// folder.
class Scratch {
public:
    Scratch() = default;
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    ~Scratch()
    {
        if (!m_path.isEmpty()) {
            fileio::makeTreeWritable(m_path);
            QDir(m_path).removeRecursively();
        }
    }

    bool make(const QString& workFolder, QString* error)
    {
        const QString work = QDir::cleanPath(QFileInfo(workFolder).absoluteFilePath());
        if (!m_made.make(work)) {
            *error = QStringLiteral("Cannot create the work folder %1.").arg(q(work));
            return false;
        }
        QByteArray pattern = QFile::encodeName(work + QStringLiteral("/epub-XXXXXX"));
        if (!::mkdtemp(pattern.data())) {
            *error = QStringLiteral("Cannot create a folder in %1: %2.").arg(q(work), sysError());
            return false;
        }
        m_path = QFile::decodeName(pattern);
        return true;
    }

    QString path() const { return m_path; }

private:
    MadeFolders m_made; // goes after the tree
    QString m_path;
};

// Imports DocBook's EPUB stylesheets, then ours over them.
QByteArray driverStylesheet(const QString& docbookChunk, const QString& ours)
{
    return QStringLiteral("<?xml version=\"1.0\"?>\n"
                          "<xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" version=\"1.0\">\n"
                          "<xsl:import href=\"%1\"/>\n"
                          "<xsl:import href=\"%2\"/>\n"
                          "</xsl:stylesheet>\n")
        .arg(fileUrl(docbookChunk).toHtmlEscaped(), fileUrl(ours).toHtmlEscaped())
        .toUtf8();
}

bool writeFile(const QString& path, const QByteArray& data, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(data) != data.size() ||
        !file.flush()) {
        *error = QStringLiteral("Cannot write %1: %2.").arg(q(path), file.errorString());
        return false;
    }
    return true;
}

// The package's files in the order readers expect: the mimetype first (the
// archive's signature), the container next, then everything else.
QStringList packageOrder(const QString& book)
{
    QStringList rest;
    QDirIterator it(book, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        rest << QDir(book).relativeFilePath(it.next());
    rest.removeAll(QStringLiteral("mimetype"));
    rest.removeAll(QStringLiteral("META-INF/container.xml"));
    std::sort(rest.begin(), rest.end());
    return QStringList{QStringLiteral("mimetype"), QStringLiteral("META-INF/container.xml")} + rest;
}

QString lastLine(const QString& messages)
{
    const QStringList lines = messages.trimmed().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    return lines.isEmpty() ? QString() : lines.last().trimmed();
}

} // namespace

QString identifier(const QString& title, const QString& language)
{
    const QUuid id = QUuid::createUuidV5(kIdentifierNamespace, (title + QLatin1Char('\n') + language).toUtf8());
    return QStringLiteral("urn:uuid:") + id.toString(QUuid::WithoutBraces);
}

Result package(const Job& job)
{
    Result r;
    auto fail = [&r](const QString& error) {
        r.ok = false;
        r.error = error;
        return r;
    };
    auto say = [&job](const QString& text) {
        if (job.onMessage)
            job.onMessage(text);
    };
    auto note = [&r, &say](const QString& text) {
        r.messages += text + QLatin1Char('\n');
        say(text);
    };
    auto cancelled = [&job] { return job.cancel && job.cancel->load(); };

    if (cancelled())
        return fail(kCancelled);
    if (job.target.isEmpty())
        return fail(QStringLiteral("No file is named for the EPUB."));
    if (!isFile(job.docbook))
        return fail(QStringLiteral("The DocBook file %1 does not exist.").arg(q(job.docbook)));
    const QString ours = publishpaths::epubXsl();
    if (!isFile(ours))
        return fail(QStringLiteral("File %1 is missing! Incorrect installation.").arg(q(ours)));
    const QString docbookChunk = stylesheet::docbookFolder() + QStringLiteral("/epub3/chunk.xsl");
    if (!isFile(docbookChunk))
        return fail(QStringLiteral("DocBook XSL's EPUB stylesheets (%1) are missing: install docbook-xsl.")
                        .arg(q(docbookChunk)));
    if (job.workFolder.isEmpty())
        return fail(QStringLiteral("No work folder is named for the EPUB."));

    const QFileInfo target(job.target);
    const QString targetFolder = target.absolutePath();
    if (target.isDir())
        return fail(QStringLiteral("%1 is a folder, not a file for the EPUB.").arg(q(job.target)));
    // Found out before the long part of the run, not after it.
    MadeFolders targetFolders;
    if (!targetFolders.make(targetFolder))
        return fail(QStringLiteral("Cannot create the folder %1 for the EPUB.").arg(q(targetFolder)));
    if (::access(QFile::encodeName(targetFolder).constData(), W_OK) != 0)
        return fail(QStringLiteral("Cannot write the EPUB into %1: %2.").arg(q(targetFolder), sysError()));

    QString coverName, coverMedia;
    if (!job.cover.isEmpty()) {
        coverMedia = coverType(job.cover);
        if (!isFile(job.cover))
            note(QStringLiteral("The cover %1 does not exist; the book has no cover.").arg(q(job.cover)));
        else if (coverMedia.isEmpty())
            note(QStringLiteral("The cover %1 is not a PNG, JPEG, GIF or SVG picture; the book has no cover.")
                     .arg(q(job.cover)));
        else
            coverName = QStringLiteral("cover.") + QFileInfo(job.cover).suffix().toLower();
    }

    Scratch scratch;
    QString error;
    if (!scratch.make(job.workFolder, &error))
        return fail(error);
    const QString book = scratch.path() + QStringLiteral("/book");
    const QString oebps = book + QStringLiteral("/OEBPS");
    const QString driver = scratch.path() + QStringLiteral("/epub-driver.xsl");
    if (!QDir().mkpath(book))
        return fail(QStringLiteral("Cannot create the folder %1.").arg(q(book)));
    if (!writeFile(driver, driverStylesheet(docbookChunk, ours), &error))
        return fail(error);

    XsltJob x;
    x.stylesheet = driver;
    x.input = job.docbook;
    x.inputDtd = false;
    x.outputBase = book;
    x.writeFolders = {book};
    x.readFolders = job.readFolders;
    x.readFolders << stylesheet::docbookFolder() << QFileInfo(ours).absolutePath() << scratch.path()
                  << QFileInfo(job.docbook).absolutePath();
    x.imageFolder = job.projectFolder;
    x.cancel = job.cancel;
    x.params = {{QStringLiteral("quillary.language"), literal(job.language)},
                {QStringLiteral("quillary.identifier"), literal(identifier(bookTitle(job.docbook), job.language))},
                {QStringLiteral("quillary.cover"), literal(coverName)},
                {QStringLiteral("quillary.cover.type"), literal(coverName.isEmpty() ? QString() : coverMedia)},
                {QStringLiteral("toc.max.depth"), QString::number(std::clamp(job.tocDepth, 1, 10))},
                {QStringLiteral("chunk.quietly"), QStringLiteral("1")}};
    if (!job.css.trimmed().isEmpty())
        x.params.emplace_back(QStringLiteral("html.stylesheet"), literal(kCss));

    say(QStringLiteral("Transforming DocBook XML to EPUB pages..."));
    const XsltResult xr = runXslt(x);
    r.messages += xr.messages;
    if (cancelled())
        return fail(kCancelled);
    const QString opf = oebps + QStringLiteral("/package.opf");
    if (!xr.transformed || !isFile(opf) || !isFile(book + QStringLiteral("/META-INF/container.xml")) ||
        !isFile(book + QStringLiteral("/mimetype"))) {
        const QString why = lastLine(xr.messages);
        return fail(QStringLiteral("The EPUB pages were not created") +
                    (why.isEmpty() ? QStringLiteral(".") : QStringLiteral(": ") + why));
    }

    if (!job.css.trimmed().isEmpty() && !writeFile(oebps + QLatin1Char('/') + kCss, job.css.toUtf8(), &error))
        return fail(error);
    if (!coverName.isEmpty() && !QFile::copy(job.cover, oebps + QLatin1Char('/') + coverName))
        return fail(QStringLiteral("Cannot copy the cover %1.").arg(q(job.cover)));

    // Every file the manifest names that the stylesheets did not write is a
    // picture of the book, relative to the project folder.
    say(QStringLiteral("Copying the pictures of the book..."));
    const QString project = QDir::cleanPath(job.projectFolder) + QLatin1Char('/');
    for (const QString& href : manifestHrefs(opf)) {
        const QString name = QUrl::fromPercentEncoding(href.toUtf8());
        const QString inPackage = oebps + QLatin1Char('/') + name;
        if (QFileInfo::exists(inPackage))
            continue;
        if (!isPlainRelative(name)) {
            note(QStringLiteral("The picture %1 is not in the project folder; the EPUB lacks it.").arg(q(href)));
            continue;
        }
        QString source = QDir::cleanPath(project + name);
        // The first pass names the cover in the language's picture folder,
        // where the other outputs copy it.
        if (!isFile(source) && !coverName.isEmpty() &&
            QFileInfo(name).fileName() == QFileInfo(job.cover).fileName())
            source = job.cover;
        else if (isFile(source) && !xmlsafe::liesInside(source, project)) {
            // A link in the project may not publish a file from elsewhere.
            note(QStringLiteral("The picture %1 leads outside the project folder; the EPUB lacks it.")
                     .arg(q(source)));
            continue;
        }
        if (!isFile(source)) {
            note(QStringLiteral("The picture %1 is missing; the EPUB lacks it.").arg(q(source)));
            continue;
        }
        if (!QDir().mkpath(QFileInfo(inPackage).absolutePath()) || !QFile::copy(source, inPackage))
            return fail(QStringLiteral("Cannot copy the picture %1 into the EPUB.").arg(q(source)));
        if (cancelled())
            return fail(kCancelled);
    }

    say(QStringLiteral("Packing the EPUB file..."));
    // Written beside the target and renamed over it: a reader never sees
    // half a book, and a failure keeps the earlier one.
    const QString part = targetFolder + QStringLiteral("/.") + target.fileName() + QStringLiteral(".part");
    bool packed = false;
    runOffThread([&] {
        ziparchive::Writer zip;
        if (!zip.create(part, &error))
            return;
        for (const QString& entry : packageOrder(book)) {
            const auto method = entry == QLatin1String("mimetype") ? ziparchive::Writer::Method::Store
                                                                   : ziparchive::Writer::Method::Deflate;
            if (!zip.addFile(book + QLatin1Char('/') + entry, entry, &error, method))
                return;
        }
        packed = zip.close({}, &error, cancelled);
    });
    if (!packed || cancelled()) {
        QFile::remove(part);
        return fail(cancelled() ? kCancelled : QStringLiteral("Cannot write the EPUB file %1: %2").arg(q(job.target), error));
    }
    if (::rename(QFile::encodeName(part).constData(), QFile::encodeName(target.absoluteFilePath()).constData()) != 0) {
        const QString why = sysError();
        QFile::remove(part);
        return fail(QStringLiteral("Cannot write the EPUB file %1: %2.").arg(q(job.target), why));
    }
    targetFolders.keep();
    r.ok = true;
    return r;
}

} // namespace epub
