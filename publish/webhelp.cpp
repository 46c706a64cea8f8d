#include "webhelp.h"

#include "fileio.h"
#include "lunrindex.h"
#include "publishpaths.h"
#include "xmlsafety.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <libxml/HTMLparser.h>

#include <functional>

namespace webhelp {

namespace {

// Characters of a page's text kept for the result's snippet.
constexpr int kSnippetText = 600;

QString attr(const xmlNode* n, const char* name)
{
    return xmlsafe::attr(const_cast<xmlNode*>(n), name);
}

bool named(const xmlNode* n, const char* name)
{
    return n && n->type == XML_ELEMENT_NODE && xmlStrcasecmp(n->name, BAD_CAST name) == 0;
}

// Navigation, the shell around the page and scripts are not the page's text.
bool skipped(const xmlNode* n)
{
    if (named(n, "script") || named(n, "style") || named(n, "head"))
        return true;
    // A chapter's list of its sections is navigation too: its words are
    // the sections' own.
    const QString cls = attr(n, "class");
    return cls == QLatin1String("navheader") || cls == QLatin1String("navfooter") || cls == QLatin1String("toc") ||
           cls.startsWith(QLatin1String("qh-"));
}

void collectText(const xmlNode* n, QString& out)
{
    for (const xmlNode* c = n ? n->children : nullptr; c; c = c->next) {
        if (c->type == XML_TEXT_NODE || c->type == XML_CDATA_SECTION_NODE) {
            out += QString::fromUtf8(reinterpret_cast<const char*>(c->content));
        } else if (c->type == XML_ELEMENT_NODE && !skipped(c)) {
            // Blocks end words.
            out += QLatin1Char(' ');
            collectText(c, out);
        }
    }
}

const xmlNode* child(const xmlNode* n, const char* name)
{
    for (const xmlNode* c = n ? n->children : nullptr; c; c = c->next)
        if (named(c, name))
            return c;
    return nullptr;
}

QString fileOf(const QString& href)
{
    QString h = href.section(QLatin1Char('#'), 0, 0);
    return h.mid(h.lastIndexOf(QLatin1Char('/')) + 1);
}

// A script file that sets one variable to JSON; a script, so that pages
// opened from file:// can load it.
QByteArray scriptOf(const char* variable, const QByteArray& json)
{
    return QByteArray("var ") + variable + " = " + json + ";\n";
}

QString readAll(const QString& path)
{
    QByteArray bytes;
    if (!fileio::readFile(path, bytes))
        return QString();
    return QString::fromUtf8(bytes);
}

} // namespace

QStringList ownFiles()
{
    return {QStringLiteral("toc.js"),     QStringLiteral("search-index.js"),   QStringLiteral("context.js"),
            QStringLiteral("webhelp.js"), QStringLiteral("webhelp-search.js"), QStringLiteral("webhelp.css"),
            QStringLiteral("lunr.min.js")};
}

QString lunrFile()
{
    return QStringLiteral("/usr/share/javascript/lunr/lunr.js");
}

Page readPage(const QString& path)
{
    Page p;
    p.file = QFileInfo(path).fileName();
    // Read by us: the parsers' own file access is kept to the allowed folders.
    QByteArray bytes;
    xmlsafe::readRegularFile(path, bytes);
    xmlsafe::DocPtr doc(htmlReadMemory(bytes.constData(), int(bytes.size()), nullptr, "UTF-8",
                                       HTML_PARSE_NONET | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING |
                                           HTML_PARSE_RECOVER));
    const xmlNode* html = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
    const xmlNode* head = child(html, "head");
    for (const xmlNode* c = head ? head->children : nullptr; c; c = c->next) {
        if (named(c, "title")) {
            QString t;
            collectText(c, t);
            p.title = t.simplified();
        } else if (named(c, "link")) {
            const QString rel = attr(c, "rel");
            if (rel == QLatin1String("up"))
                p.up = fileOf(attr(c, "href"));
            else if (rel == QLatin1String("next"))
                p.next = fileOf(attr(c, "href"));
        }
    }
    const xmlNode* body = child(html, "body");
    QString text;
    collectText(body, text);
    p.text = text.simplified();
    for (const xmlNode* c = body ? body->children : nullptr; c; c = c->next)
        if (named(c, "div") && attr(c, "class") == QLatin1String("index"))
            p.index = true;
    return p;
}

std::vector<Entry> contents(const std::vector<Page>& pages)
{
    QHash<QString, int> byFile;
    for (int i = 0; i < int(pages.size()); ++i)
        byFile.insert(pages[size_t(i)].file, i);
    std::vector<Entry> out;
    const int book = byFile.value(QStringLiteral("index.html"), -1);
    if (book < 0)
        return out;
    QHash<int, int> entryOf; // page to entry
    out.push_back({book, {}});
    entryOf.insert(book, 0);
    auto place = [&](int page) {
        const int parentPage = byFile.value(pages[size_t(page)].up, book);
        const int parent = entryOf.value(parentPage, 0);
        entryOf.insert(page, int(out.size()));
        out[size_t(parent)].children.push_back(int(out.size()));
        out.push_back({page, {}});
    };
    // DocBook's next links give the reading order.
    for (int page = byFile.value(pages[size_t(book)].next, -1); page >= 0 && !entryOf.contains(page);
         page = byFile.value(pages[size_t(page)].next, -1))
        place(page);
    for (int page = 0; page < int(pages.size()); ++page)
        if (!entryOf.contains(page))
            place(page);
    return out;
}

QString lunrVersion()
{
    static const QRegularExpression version(QStringLiteral("lunr\\.version = \"([^\"]+)\""));
    const QRegularExpressionMatch m = version.match(readAll(lunrFile()));
    return m.hasMatch() ? m.captured(1) : QString();
}

Result finish(const QString& folder, const QStringList& pageFiles, const QString& language,
              const QByteArray& contextJson)
{
    Result r;
    std::vector<Page> pages;
    pages.reserve(size_t(pageFiles.size()));
    QSet<QString> once;
    for (const QString& f : pageFiles) {
        const QString clean = QDir::cleanPath(f);
        if (!once.contains(clean)) {
            once.insert(clean);
            pages.push_back(readPage(clean));
        }
    }
    const std::vector<Entry> tree = contents(pages);
    if (tree.empty()) {
        r.error = QStringLiteral("The book's page \"index.html\" was not written.");
        return r;
    }

    // The contents, as the page script walks them.
    std::function<QJsonObject(int)> node = [&](int e) {
        const Page& p = pages[size_t(tree[size_t(e)].page)];
        QJsonObject o{{QStringLiteral("t"), p.title}, {QStringLiteral("h"), p.file}};
        if (!tree[size_t(e)].children.empty()) {
            QJsonArray c;
            for (int k : tree[size_t(e)].children)
                c.append(node(k));
            o.insert(QStringLiteral("c"), c);
        }
        return o;
    };
    const QByteArray toc = QJsonDocument(node(0)).toJson(QJsonDocument::Compact);

    // The search: lunr's documents, and what a result shows (title, page,
    // where it is, the start of its text for the snippet).
    std::vector<lunrindex::Doc> docs;
    QJsonArray shown;
    std::function<void(int, const QString&)> visit = [&](int e, const QString& path) {
        const Page& p = pages[size_t(tree[size_t(e)].page)];
        const QString id = QString::number(shown.size());
        docs.push_back({id, {p.title, p.text}});
        shown.append(QJsonObject{{QStringLiteral("t"), p.title},
                                 {QStringLiteral("h"), p.file},
                                 {QStringLiteral("p"), path},
                                 {QStringLiteral("s"), p.text.left(kSnippetText)}});
        const QString below = e == 0 ? QString() : path.isEmpty() ? p.title : path + QStringLiteral(" › ") + p.title;
        for (int k : tree[size_t(e)].children)
            visit(k, below);
    };
    visit(0, QString());
    const QString version = lunrVersion();
    if (version.isEmpty()) {
        r.error = QStringLiteral("File \"%1\" is missing! Incorrect installation.").arg(lunrFile());
        return r;
    }
    // As the pages' search script builds it: the titles weigh more.
    const QByteArray index = lunrindex::build({{QStringLiteral("t"), 8}, {QStringLiteral("b"), 1}}, docs,
                                              language == QLatin1String("en") ? lunrindex::Pipeline::English
                                                                              : lunrindex::Pipeline::Letters,
                                              version);
    QString error;
    QJsonObject search{{QStringLiteral("lang"), language}, {QStringLiteral("docs"), shown}};
    QByteArray searchScript = QJsonDocument(search).toJson(QJsonDocument::Compact);
    // The index goes in as lunr wrote it.
    searchScript.chop(1);
    searchScript += ",\"index\":" + index + "}";

    const QDir out(folder);
    const std::vector<std::pair<QString, QByteArray>> written = {
        {QStringLiteral("toc.js"), scriptOf("QH_TOC", toc)},
        {QStringLiteral("search-index.js"), scriptOf("QH_SEARCH", searchScript)},
        {QStringLiteral("context.js"), scriptOf("QH_CONTEXT", contextJson.isEmpty() ? QByteArray("{}") : contextJson)},
    };
    for (const auto& [name, bytes] : written) {
        if (!fileio::atomicReplace(out.filePath(name), bytes, {}, &error)) {
            r.error = QStringLiteral("File \"%1\" could not be written: %2").arg(out.filePath(name), error);
            return r;
        }
    }
    r.indexBytes = written[1].second.size();

    const std::vector<std::pair<QString, QString>> copies = {
        {publishpaths::dataFile(QStringLiteral("webhelp.js")), QStringLiteral("webhelp.js")},
        {publishpaths::dataFile(QStringLiteral("webhelp-search.js")), QStringLiteral("webhelp-search.js")},
        {publishpaths::dataFile(QStringLiteral("webhelp.css")), QStringLiteral("webhelp.css")},
        {QFileInfo(lunrFile()).absolutePath() + QStringLiteral("/lunr.min.js"), QStringLiteral("lunr.min.js")},
    };
    for (const auto& [from, name] : copies) {
        QByteArray bytes;
        if (!fileio::readFile(from, bytes) || !fileio::atomicReplace(out.filePath(name), bytes, {}, &error)) {
            r.error = QStringLiteral("File \"%1\" could not be copied to the web help.").arg(from);
            return r;
        }
    }
    r.ok = true;
    return r;
}

} // namespace webhelp
