#include "xliff.h"

#include "cbook.h"
#include "cbookfile.h"
#include "cproject.h"
#include "cxmldoc.h"
#include "fileio.h"
#include "mcommon.h"
#include "msgbox.h"
#include "paths.h"
#include "progress.h"
#include "sax.h"
#include "topicconvert.h"
#include "topicfilter.h"
#include "xmlsafety.h"

#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSet>

#include <libxml/xmlreader.h>
#include <libxml/xmlwriter.h>

#include <algorithm>
#include <functional>
#include <vector>

namespace exchange {

namespace {

const xmlChar* X(const char* s)
{
    return reinterpret_cast<const xmlChar*>(s);
}

bool named(xmlNode* n, const char* name)
{
    return n && n->type == XML_ELEMENT_NODE && xmlStrEqual(n->name, X(name));
}

template <typename Fn>
void forElements(xmlNode* parent, Fn fn)
{
    for (xmlNode* c = parent ? parent->children : nullptr; c; c = c->next)
        if (c->type == XML_ELEMENT_NODE)
            fn(c);
}

// The first child element of that name whose lang is language.
xmlNode* childInLanguage(xmlNode* parent, const char* name, const QString& language)
{
    for (xmlNode* c = parent ? parent->children : nullptr; c; c = c->next)
        if (named(c, name) && xmlsafe::attr(c, "lang") == language)
            return c;
    return nullptr;
}

void setText(xmlNode* node, const QString& text)
{
    while (node->children) {
        xmlNode* c = node->children;
        xmlUnlinkNode(c);
        xmlFreeNode(c);
    }
    const QByteArray t = text.toUtf8();
    if (!t.isEmpty())
        xmlAddChild(node, xmlNewDocText(node->doc, X(t.constData())));
}

// ---- units of a topic ------------------------------------------------------

// Elements that sit inside a unit's text: paired ones hold text of their
// own, the others are kept whole.
bool isPaired(xmlNode* e)
{
    return named(e, "sign") || named(e, "title") || named(e, "p");
}

// The text a code carries inside the file: a tag with the element's name
// and the code's number, so that it survives tools that turn codes into
// plain text (PO) and comes back by name and number.
QString codeText(xmlNode* e, int id, int kind) // kind: 0 opening, 1 closing, 2 standalone
{
    const QString name = xmlsafe::qs(e->name) + QLatin1Char('#') + QString::number(id);
    return kind == 1 ? QStringLiteral("</") + name + QLatin1Char('>')
         : kind == 2 ? QLatin1Char('<') + name + QStringLiteral("/>")
                     : QLatin1Char('<') + name + QLatin1Char('>');
}

QByteArray ctypeOf(xmlNode* e)
{
    if (named(e, "sign"))
        return "bold";
    if (named(e, "image"))
        return "image";
    return "x-" + QByteArray(reinterpret_cast<const char*>(e->name));
}

// The inline elements of a unit in document order; their positions (from 1)
// are the code ids.
void collectCodes(xmlNode* parent, std::vector<xmlNode*>& out)
{
    forElements(parent, [&out](xmlNode* c) {
        out.push_back(c);
        if (isPaired(c))
            collectCodes(c, out);
    });
}

struct Unit {
    QString id;
    xmlNode* node = nullptr; // the element whose content is the text
    int linkCode = 0;        // > 0: the web label of this code's link
};

struct Units {
    std::vector<Unit> list;
    int withoutTransId = 0;
};

void addUnit(Units& u, const QString& id, xmlNode* node)
{
    u.list.push_back({id, node, 0});
    std::vector<xmlNode*> codes;
    collectCodes(node, codes);
    for (size_t i = 0; i < codes.size(); ++i)
        if (named(codes[i], "link") && xmlsafe::hasAttr(codes[i], "weblabel"))
            u.list.push_back({id + QStringLiteral(".link") + QString::number(i + 1), node, int(i + 1)});
}

bool isBlock(xmlNode* n)
{
    for (const char* name : {"index", "notice", "list", "table", "image", "p"})
        if (named(n, name))
            return true;
    return false;
}

// The translatable units of a main-language onelang, in document order.
Units enumerateUnits(xmlNode* onelang, const QString& topicId)
{
    Units u;
    QSet<QString> seen;
    auto key = [&](xmlNode* n) -> QString {
        const QString tid = xmlsafe::attr(n, "transid");
        if (tid.isEmpty() || seen.contains(tid)) {
            ++u.withoutTransId;
            return {};
        }
        seen.insert(tid);
        return topicId + QLatin1Char('.') + tid;
    };
    forElements(onelang, [&](xmlNode* c) {
        if (!isBlock(c))
            return;
        const QString base = key(c);
        if (named(c, "table")) {
            int header = 0, row = 0, title = 0;
            if (!base.isEmpty()) {
                forElements(c, [&](xmlNode* part) {
                    if (named(part, "header")) {
                        forElements(part, [&](xmlNode* cell) {
                            if (named(cell, "cell"))
                                addUnit(u, base + QStringLiteral(".h") + QString::number(++header), cell);
                        });
                    } else if (named(part, "row")) {
                        ++row;
                        int col = 0;
                        forElements(part, [&](xmlNode* cell) {
                            if (named(cell, "cell"))
                                addUnit(u, base + QStringLiteral(".r%1c%2").arg(row).arg(++col), cell);
                        });
                    } else if (named(part, "title")) {
                        ++title;
                        addUnit(u, base + QStringLiteral(".title") + (title > 1 ? QString::number(title) : QString()),
                                part);
                    }
                });
            }
            // Images in cells are numbered whether the table is or not.
            forElements(c, [&](xmlNode* r) {
                if (!named(r, "row"))
                    return;
                forElements(r, [&](xmlNode* cell) {
                    if (!named(cell, "cell"))
                        return;
                    forElements(cell, [&](xmlNode* img) {
                        if (!named(img, "image"))
                            return;
                        const QString id = key(img);
                        if (!id.isEmpty())
                            addUnit(u, id, img);
                    });
                });
            });
            return;
        }
        if (base.isEmpty())
            return;
        if (named(c, "p") || named(c, "image")) {
            addUnit(u, base, c);
        } else if (named(c, "index")) {
            forElements(c, [&](xmlNode* k) {
                if (named(k, "primary") || named(k, "secondary"))
                    addUnit(u, base + QLatin1Char('.') + xmlsafe::qs(k->name), k);
            });
        } else if (named(c, "notice")) {
            int para = 0, title = 0;
            forElements(c, [&](xmlNode* k) {
                if (named(k, "p"))
                    addUnit(u, base + QStringLiteral(".p") + QString::number(++para), k);
                else if (named(k, "title"))
                    addUnit(u, base + QStringLiteral(".title") + (++title > 1 ? QString::number(title) : QString()),
                            k);
            });
        } else if (named(c, "list")) {
            int item = 0;
            forElements(c, [&](xmlNode* k) {
                if (named(k, "item"))
                    addUnit(u, base + QStringLiteral(".i") + QString::number(++item), k);
            });
        }
    });
    return u;
}

xmlNode* linkOf(const Unit& u)
{
    std::vector<xmlNode*> codes;
    collectCodes(u.node, codes);
    return u.linkCode <= int(codes.size()) ? codes[size_t(u.linkCode - 1)] : nullptr;
}

bool hasWords(const QString& s)
{
    return !s.trimmed().isEmpty();
}

// Whether a unit has anything to translate: codes alone do not count.
bool hasText(xmlNode* parent)
{
    for (xmlNode* c = parent->children; c; c = c->next) {
        if ((c->type == XML_TEXT_NODE || c->type == XML_CDATA_SECTION_NODE) && hasWords(xmlsafe::qs(c->content)))
            return true;
        if (c->type == XML_ELEMENT_NODE && isPaired(c) && hasText(c))
            return true;
    }
    return false;
}

bool hasText(const Unit& u)
{
    if (u.linkCode > 0) {
        xmlNode* link = linkOf(u);
        return link && hasWords(xmlsafe::attr(link, "weblabel"));
    }
    return hasText(u.node);
}

// Element positions from the onelang down to a node.
std::vector<int> pathFrom(xmlNode* onelang, xmlNode* n)
{
    std::vector<int> path;
    for (; n && n != onelang; n = n->parent) {
        int i = 0;
        for (xmlNode* s = n->prev; s; s = s->prev)
            if (s->type == XML_ELEMENT_NODE)
                ++i;
        path.push_back(i);
    }
    std::reverse(path.begin(), path.end());
    return path;
}

xmlNode* follow(xmlNode* n, const std::vector<int>& path)
{
    for (int i : path) {
        xmlNode* found = nullptr;
        int k = 0;
        for (xmlNode* c = n ? n->children : nullptr; c && !found; c = c->next)
            if (c->type == XML_ELEMENT_NODE && k++ == i)
                found = c;
        n = found;
    }
    return n;
}

QStringList blockNames(xmlNode* onelang)
{
    QStringList names;
    forElements(onelang, [&names](xmlNode* c) { names << xmlsafe::qs(c->name); });
    return names;
}

// Code ids for the inline elements of a language's counterpart: the n-th
// element of a name is the main language's n-th of that name. Empty when
// one has no partner.
QHash<xmlNode*, int> matchCodes(xmlNode* mainNode, xmlNode* langNode, bool* ok)
{
    std::vector<xmlNode*> mainCodes, langCodes;
    collectCodes(mainNode, mainCodes);
    collectCodes(langNode, langCodes);
    QHash<QByteArray, std::vector<int>> byName;
    for (size_t i = 0; i < mainCodes.size(); ++i)
        byName[QByteArray(reinterpret_cast<const char*>(mainCodes[i]->name))].push_back(int(i + 1));
    QHash<QByteArray, int> seen;
    QHash<xmlNode*, int> out;
    *ok = true;
    for (xmlNode* c : langCodes) {
        const QByteArray name(reinterpret_cast<const char*>(c->name));
        const int k = seen[name]++;
        const auto& ids = byName[name];
        if (k >= int(ids.size())) {
            *ok = false;
            return {};
        }
        out.insert(c, ids[size_t(k)]);
    }
    return out;
}

// ---- writing ---------------------------------------------------------------

// Streams the file into its temporary file: a large book's XLIFF is never
// held in memory whole.
class Writer {
public:
    ~Writer()
    {
        if (m_w)
            xmlFreeTextWriter(m_w);
    }
    bool open(const QString& target, QString* error)
    {
        if (!m_file.open(target, error))
            return false;
        xmlOutputBufferPtr out = xmlOutputBufferCreateIO(
            [](void* file, const char* data, int len) {
                return static_cast<fileio::AtomicFileWriter*>(file)->write(data, size_t(len)) ? len : -1;
            },
            [](void*) { return 0; }, &m_file, nullptr);
        m_w = out ? xmlNewTextWriter(out) : nullptr;
        if (!m_w && error)
            *error = QStringLiteral("No memory for the writer.");
        return m_w != nullptr;
    }
    void startDocument() { check(xmlTextWriterStartDocument(m_w, "1.0", "UTF-8", nullptr)); }
    void start(const char* name) { check(xmlTextWriterStartElement(m_w, X(name))); }
    void attr(const char* name, const QString& value)
    {
        check(xmlTextWriterWriteAttribute(m_w, X(name), X(value.toUtf8().constData())));
    }
    void end() { check(xmlTextWriterEndElement(m_w)); }
    void text(const QString& s)
    {
        if (!s.isEmpty())
            check(xmlTextWriterWriteString(m_w, X(s.toUtf8().constData())));
    }
    void newline() { text(QStringLiteral("\n")); }
    // Ends the document and puts the file in place; false after a failure,
    // with the target untouched.
    bool finish(QString* error)
    {
        check(xmlTextWriterEndDocument(m_w));
        xmlFreeTextWriter(m_w); // flushes into the file
        m_w = nullptr;
        if (m_failed) {
            if (error)
                *error = QStringLiteral("The XML writer failed.");
            return false;
        }
        return m_file.commit(error);
    }

    // Text with its non-breaking spaces as placeholders.
    void inlineText(const QString& s, int& ph)
    {
        const QStringList parts = s.split(QChar(0x00A0));
        for (int i = 0; i < parts.size(); ++i) {
            if (i > 0) {
                start("ph");
                attr("id", QStringLiteral("n") + QString::number(++ph));
                attr("ctype", QStringLiteral("x-nbsp"));
                text(QString(QChar(0x00A0)));
                end();
            }
            text(parts[i]);
        }
    }
    // The content of a unit with its inline elements as codes.
    void content(xmlNode* parent, const std::function<int(xmlNode*)>& idOf, int& ph)
    {
        for (xmlNode* c = parent->children; c; c = c->next) {
            if (c->type == XML_TEXT_NODE || c->type == XML_CDATA_SECTION_NODE) {
                const std::string raw = reinterpret_cast<const char*>(c->content ? c->content : X(""));
                inlineText(sax::qs(sax::trimText(raw)), ph);
            } else if (c->type == XML_ELEMENT_NODE) {
                const int id = idOf(c);
                if (isPaired(c)) {
                    start("bpt");
                    attr("id", QString::number(id));
                    attr("ctype", QString::fromLatin1(ctypeOf(c)));
                    text(codeText(c, id, 0));
                    end();
                    content(c, idOf, ph);
                    start("ept");
                    attr("id", QString::number(id));
                    text(codeText(c, id, 1));
                    end();
                } else {
                    start("ph");
                    attr("id", QString::number(id));
                    attr("ctype", QString::fromLatin1(ctypeOf(c)));
                    text(codeText(c, id, 2));
                    end();
                }
            }
        }
    }

private:
    void check(int rc)
    {
        if (rc < 0)
            m_failed = true;
    }
    fileio::AtomicFileWriter m_file;
    xmlTextWriterPtr m_w = nullptr;
    bool m_failed = false;
};

const char kTranslated[] = "translated";
const char kNeedsReview[] = "needs-review-translation";

QString chapterLabel(const QString& file)
{
    return QFileInfo(paths::toDisk(file)).fileName();
}

// The chapters of a project in the order of its book.
bool bookChapters(const cProject& project, MsgBox& box, std::vector<cProject::ChapterEntry>& out)
{
    out.clear();
    cBookFile book(box);
    if (!book.Load(project.getBookFile()))
        return false;
    const auto listed = project.chapters();
    for (const QString& entity : book.chapterOrder()) {
        auto it = std::find_if(listed.begin(), listed.end(),
                               [&entity](const cProject::ChapterEntry& c) { return c.id == entity; });
        if (it == listed.end())
            return false;
        out.push_back(*it);
    }
    return true;
}

class Exporter {
public:
    Writer w;
    QString main, lang, lockId, projectName;
    XliffExportSummary s;
    QStringList path;

    void fileStart(const QString& original)
    {
        w.start("file");
        w.attr("original", original);
        w.attr("source-language", main);
        w.attr("target-language", lang);
        w.attr("datatype", QStringLiteral("xml"));
        w.attr("tool-id", QStringLiteral("quillary"));
        w.newline();
        w.start("header");
        w.start("tool");
        w.attr("tool-id", QStringLiteral("quillary"));
        w.attr("tool-name", QStringLiteral("Quillary Author"));
        w.end();
        // What ties the file to this export of this project.
        w.start("prop-group");
        w.attr("name", QStringLiteral("quillary"));
        w.start("prop");
        w.attr("prop-type", QStringLiteral("lock"));
        w.text(lockId);
        w.end();
        w.start("prop");
        w.attr("prop-type", QStringLiteral("project"));
        w.text(projectName);
        w.end();
        w.end();
        w.end();
        w.newline();
        w.start("body");
        w.newline();
    }
    void fileEnd()
    {
        w.end();
        w.end();
        w.newline();
    }
    void groupStart(const QString& id, const char* restype)
    {
        w.start("group");
        w.attr("resname", id);
        w.attr("restype", QString::fromLatin1(restype));
        w.newline();
    }
    void groupEnd()
    {
        w.end();
        w.newline();
    }
    void unitStart(const QString& id)
    {
        w.start("trans-unit");
        w.attr("id", id);
        w.attr("xml:space", QStringLiteral("preserve"));
        ++s.units;
    }
    void unitEnd()
    {
        w.start("note");
        w.text(path.join(QStringLiteral(" > ")));
        w.end();
        w.end();
        w.newline();
    }
    void titleUnit(const QString& id, const QString& source, const QString& target, const char* state)
    {
        unitStart(id);
        int ph = 0;
        w.start("source");
        w.inlineText(source, ph);
        w.end();
        if (!target.isEmpty()) {
            ph = 0;
            w.start("target");
            w.attr("state", QString::fromLatin1(state));
            w.inlineText(target, ph);
            w.end();
            ++s.targets;
        }
        unitEnd();
    }

    void bodyUnit(const Unit& u, xmlNode* mainOne, xmlNode* langOne, const char* state)
    {
        xmlNode* counterpart = langOne ? follow(langOne, pathFrom(mainOne, u.node)) : nullptr;
        if (counterpart && !xmlStrEqual(counterpart->name, u.node->name))
            counterpart = nullptr;
        unitStart(u.id);
        int ph = 0;
        if (u.linkCode > 0) {
            w.start("source");
            w.inlineText(xmlsafe::attr(linkOf(u), "weblabel"), ph);
            w.end();
            bool ok = false;
            const QHash<xmlNode*, int> ids = counterpart ? matchCodes(u.node, counterpart, &ok) : QHash<xmlNode*, int>{};
            QString label;
            for (auto it = ids.begin(); ok && it != ids.end(); ++it)
                if (it.value() == u.linkCode)
                    label = xmlsafe::attr(it.key(), "weblabel");
            if (hasWords(label)) {
                ph = 0;
                w.start("target");
                w.attr("state", QString::fromLatin1(state));
                w.inlineText(label, ph);
                w.end();
                ++s.targets;
            }
            unitEnd();
            return;
        }
        std::vector<xmlNode*> codes;
        collectCodes(u.node, codes);
        QHash<xmlNode*, int> mainIds;
        for (size_t i = 0; i < codes.size(); ++i)
            mainIds.insert(codes[i], int(i + 1));
        w.start("source");
        w.content(u.node, [&mainIds](xmlNode* n) { return mainIds.value(n); }, ph);
        w.end();
        bool ok = false;
        const QHash<xmlNode*, int> langIds = counterpart ? matchCodes(u.node, counterpart, &ok) : QHash<xmlNode*, int>{};
        if (counterpart && ok && hasText(counterpart)) {
            ph = 0;
            w.start("target");
            w.attr("state", QString::fromLatin1(state));
            w.content(counterpart, [&langIds](xmlNode* n) { return langIds.value(n); }, ph);
            w.end();
            ++s.targets;
        }
        unitEnd();
    }

    void topic(xmlNode* t)
    {
        const QString id = xmlsafe::attr(t, "id");
        xmlNode* mainTitle = childInLanguage(t, "title", main);
        xmlNode* langTitle = childInLanguage(t, "title", lang);
        xmlNode* mainOne = childInLanguage(t, "onelang", main);
        xmlNode* langOne = childInLanguage(t, "onelang", lang);
        const QString titleText = mainTitle ? xmlsafe::nodeText(mainTitle) : QString();
        path << titleText;
        const char* state =
            langTitle && xmlsafe::attr(langTitle, "state") == QLatin1String("complete") ? kTranslated : kNeedsReview;
        groupStart(id, "x-topic");
        if (mainTitle && hasWords(titleText))
            titleUnit(id + QStringLiteral(".title"), titleText, langTitle ? xmlsafe::nodeText(langTitle) : QString(),
                      state);
        if (mainOne) {
            const Units units = enumerateUnits(mainOne, id);
            s.withoutTransId += units.withoutTransId;
            const bool same = langOne && blockNames(langOne) == blockNames(mainOne);
            for (const Unit& u : units.list)
                if (hasText(u))
                    bodyUnit(u, mainOne, same ? langOne : nullptr, state);
        }
        groupEnd();
        path.removeLast();
        ++s.topics;
    }

    // A chapter or subchapter with what it holds.
    void section(xmlNode* e, const QString& id, const char* restype)
    {
        xmlNode* mainTitle = childInLanguage(e, "title", main);
        xmlNode* langTitle = childInLanguage(e, "title", lang);
        const QString titleText = mainTitle ? xmlsafe::nodeText(mainTitle) : QString();
        path << titleText;
        groupStart(id, restype);
        if (hasWords(titleText))
            titleUnit(id + QStringLiteral(".title"), titleText, langTitle ? xmlsafe::nodeText(langTitle) : QString(),
                      kNeedsReview);
        forElements(e, [this](xmlNode* c) {
            if (named(c, "topic"))
                topic(c);
            else if (named(c, "subchapter"))
                section(c, xmlsafe::attr(c, "id"), "x-subchapter");
        });
        groupEnd();
        path.removeLast();
    }
};

QString refusedIntro(const QString& file)
{
    return QStringLiteral("The file \"%1\" was refused; nothing was imported.\r\n\r\n").arg(QFileInfo(file).fileName());
}

// ---- reading ---------------------------------------------------------------

bool isXliff(xmlNode* n, const char* name)
{
    return named(n, name) && n->ns && xmlStrEqual(n->ns->href, X("urn:oasis:names:tc:xliff:document:1.2"));
}

struct FileUnit {
    xmlNode* target = nullptr; // null when there is none, or it is empty
    int order = 0;
    bool known = false;
};

struct XliffFile {
    xmlsafe::DocPtr doc;
    QString source, target, lock;
    QHash<QString, FileUnit> units;
    QStringList order;
    int topics = 0;
};

bool emptyTarget(xmlNode* t)
{
    for (xmlNode* c = t->children; c; c = c->next) {
        if (c->type == XML_ELEMENT_NODE)
            return false;
        if ((c->type == XML_TEXT_NODE || c->type == XML_CDATA_SECTION_NODE) && hasWords(xmlsafe::qs(c->content)))
            return false;
    }
    return true;
}

// The lock a file's header carries; false when it has none.
bool headerLock(xmlNode* header, QString& lock)
{
    bool found = false;
    for (xmlNode* g = header->children; g; g = g->next)
        if (isXliff(g, "prop-group") && xmlsafe::attr(g, "name") == QLatin1String("quillary"))
            for (xmlNode* p = g->children; p; p = p->next)
                if (isXliff(p, "prop") && xmlsafe::attr(p, "prop-type") == QLatin1String("lock")) {
                    lock = xmlsafe::nodeText(p).trimmed();
                    found = true;
                }
    return found;
}

void firstReaderError(void* ctx, const xmlError* error)
{
    auto* e = static_cast<xmlsafe::XmlError*>(ctx);
    if (e->present || !error || error->level < XML_ERR_ERROR)
        return;
    e->present = true;
    e->line = error->line;
    e->message = QString::fromUtf8(error->message ? error->message : "").trimmed();
}

// Reads the file as a stream: of a large file only the targets are kept,
// copied into a document of their own.
bool readXliff(const QString& path, XliffFile& f, QString& why)
{
    xmlsafe::EntityScope none(QStringList{});
    f.doc.reset(xmlNewDoc(X("1.0")));
    xmlNode* holder = xmlNewDocNode(f.doc.get(), nullptr, X("targets"), nullptr);
    xmlDocSetRootElement(f.doc.get(), holder);
    std::unique_ptr<xmlTextReader, void (*)(xmlTextReaderPtr)> reader(
        xmlReaderForFile(QFile::encodeName(path).constData(), nullptr, xmlsafe::kBaseOptions), xmlFreeTextReader);
    xmlsafe::XmlError error;
    if (!reader) {
        why = QStringLiteral("It cannot be read: Cannot read file \"%1\".").arg(path);
        return false;
    }
    xmlTextReaderSetStructuredErrorHandler(
        reader.get(), [](void* ctx, xmlErrorPtr e) { firstReaderError(ctx, e); }, &error);
    xmlTextReaderPtr r = reader.get();
    auto here = [r](const char* name) {
        const xmlChar* uri = xmlTextReaderConstNamespaceUri(r);
        return xmlStrEqual(xmlTextReaderConstLocalName(r), X(name)) && uri &&
               xmlStrEqual(uri, X("urn:oasis:names:tc:xliff:document:1.2"));
    };
    auto attribute = [r](const char* name) {
        xmlChar* v = xmlTextReaderGetAttribute(r, X(name));
        const QString out = v ? xmlsafe::qs(v) : QString();
        xmlFree(v);
        return out;
    };

    bool root = false, first = true, inFile = false, fileChecked = false, hasLock = false;
    QString source, target, original, lock;
    // A file's languages and lock, before its units are taken.
    auto checkFile = [&]() {
        fileChecked = true;
        if (!hasLock) {
            why = QStringLiteral("Its file \"%1\" was not written by Quillary Author for this project.").arg(original);
            return false;
        }
        if (first) {
            f.source = source;
            f.target = target;
            f.lock = lock;
            first = false;
        } else if (source != f.source || target != f.target || lock != f.lock) {
            why = QStringLiteral("Its parts are for different languages or exports.");
            return false;
        }
        return true;
    };

    int ret = xmlTextReaderRead(r);
    while (ret == 1 && why.isEmpty()) {
        const int type = xmlTextReaderNodeType(r);
        bool skip = false;
        if (type == XML_READER_TYPE_ELEMENT && !root) {
            root = true;
            if (!here("xliff") || attribute("version") != QLatin1String("1.2")) {
                why = QStringLiteral("It is not an XLIFF 1.2 file.");
                return false;
            }
        } else if (type == XML_READER_TYPE_ELEMENT && here("file")) {
            inFile = true;
            fileChecked = hasLock = false;
            source = attribute("source-language");
            target = attribute("target-language");
            original = attribute("original");
            lock.clear();
            if (xmlTextReaderIsEmptyElement(r) && !checkFile())
                return false;
        } else if (type == XML_READER_TYPE_ELEMENT && inFile && here("header")) {
            if (xmlNode* h = xmlTextReaderExpand(r))
                hasLock = headerLock(h, lock) || hasLock;
            skip = true;
        } else if (type == XML_READER_TYPE_ELEMENT && inFile && here("body")) {
            if (!fileChecked && !checkFile())
                return false;
        } else if (type == XML_READER_TYPE_ELEMENT && inFile && here("group")) {
            if (attribute("restype") == QLatin1String("x-topic"))
                ++f.topics;
        } else if (type == XML_READER_TYPE_ELEMENT && inFile && here("trans-unit")) {
            if (!fileChecked && !checkFile())
                return false;
            const QString id = attribute("id");
            if (id.isEmpty() || f.units.contains(id)) {
                why = id.isEmpty() ? QStringLiteral("A unit has no id.")
                                   : QStringLiteral("The unit \"%1\" appears twice.").arg(id);
                return false;
            }
            FileUnit u;
            u.order = int(f.order.size());
            if (xmlNode* unit = xmlTextReaderExpand(r)) {
                for (xmlNode* k = unit->children; k; k = k->next) {
                    if (isXliff(k, "target") && !emptyTarget(k)) {
                        xmlNode* copy = xmlDocCopyNode(k, f.doc.get(), 1);
                        xmlAddChild(holder, copy);
                        u.target = copy;
                    }
                }
            }
            f.units.insert(id, u);
            f.order << id;
            skip = true;
        } else if (type == XML_READER_TYPE_END_ELEMENT && here("file")) {
            inFile = false;
            if (!fileChecked && !checkFile())
                return false;
        }
        ret = skip ? xmlTextReaderNext(r) : xmlTextReaderRead(r);
    }
    if (!why.isEmpty())
        return false;
    if (ret < 0 || error.present || !root) {
        why = QStringLiteral("It cannot be read: ") +
              (error.message.isEmpty() ? QStringLiteral("Cannot read file \"%1\".").arg(path) : error.message) +
              (error.line > 0 ? QStringLiteral(" (line %1)").arg(error.line) : QString());
        return false;
    }
    if (first) {
        why = QStringLiteral("It holds no file element.");
        return false;
    }
    return true;
}

// A title's target as text: only non-breaking spaces may be codes.
bool plainText(xmlNode* parent, QString& out, QString& why)
{
    for (xmlNode* c = parent->children; c; c = c->next) {
        if (c->type == XML_TEXT_NODE || c->type == XML_CDATA_SECTION_NODE) {
            out += xmlsafe::qs(c->content);
        } else if (isXliff(c, "mrk")) {
            if (!plainText(c, out, why))
                return false;
        } else if (isXliff(c, "ph") && xmlsafe::attr(c, "ctype") == QLatin1String("x-nbsp")) {
            out += QChar(0x00A0);
        } else if (c->type == XML_ELEMENT_NODE) {
            why = QStringLiteral("its target holds <%1>, which this text cannot take.").arg(xmlsafe::qs(c->name));
            return false;
        }
    }
    return true;
}

// Rebuilds the content of a unit's element from a target: texts from the
// target, each code's element from the element it stands for.
class Rebuild {
public:
    Rebuild(xmlNode* node) : m_node(node)
    {
        m_holder = xmlNewDocNode(node->doc, nullptr, X("holder"), nullptr);
        while (node->children) {
            xmlNode* c = node->children;
            xmlUnlinkNode(c);
            xmlAddChild(m_holder, c);
        }
        collectCodes(m_holder, m_codes);
        m_used.assign(m_codes.size(), false);
    }
    ~Rebuild() { xmlFreeNode(m_holder); }

    bool run(xmlNode* target, QString& why)
    {
        if (!fill(m_node, target, why))
            return false;
        for (size_t i = 0; i < m_codes.size(); ++i) {
            if (!m_used[i] && !isPaired(m_codes[i])) {
                why = QStringLiteral("its target lacks the code %1 (%2).").arg(i + 1).arg(xmlsafe::qs(m_codes[i]->name));
                return false;
            }
        }
        return true;
    }

private:
    xmlNode* code(int id, bool paired, QString& why)
    {
        if (id < 1 || id > int(m_codes.size()) || isPaired(m_codes[size_t(id - 1)]) != paired) {
            why = QStringLiteral("its target holds the code %1, which the source does not have.").arg(id);
            return nullptr;
        }
        if (m_used[size_t(id - 1)]) {
            why = QStringLiteral("its target holds the code %1 twice.").arg(id);
            return nullptr;
        }
        m_used[size_t(id - 1)] = true;
        return m_codes[size_t(id - 1)];
    }

    // A target as a flat run of text and codes, whatever form its codes
    // take: g and x, bpt/ept and ph, or their texts in plain text.
    struct Token {
        enum Kind { Text, Open, Close, Empty, Nbsp } kind;
        QString text;
        int id = 0;
    };

    // The code texts of this unit's source, for targets that carry them as text.
    void textCodes(const QString& s, std::vector<Token>& out) const
    {
        static const QRegularExpression tag(QStringLiteral("<(/?)([a-z]+)#(\\d+)(/?)>"));
        int from = 0;
        QRegularExpressionMatchIterator it = tag.globalMatch(s);
        while (it.hasNext()) {
            const QRegularExpressionMatch m = it.next();
            const int id = m.captured(3).toInt();
            // Only a code the source has counts; any other text stays text.
            if (id < 1 || id > int(m_codes.size()) || xmlsafe::qs(m_codes[size_t(id - 1)]->name) != m.captured(2))
                continue;
            const bool paired = isPaired(m_codes[size_t(id - 1)]);
            const bool closing = !m.captured(1).isEmpty(), empty = !m.captured(4).isEmpty();
            if (paired ? empty : (closing || !empty))
                continue;
            if (m.capturedStart() > from)
                out.push_back({Token::Text, s.mid(from, m.capturedStart() - from)});
            out.push_back({empty ? Token::Empty : closing ? Token::Close : Token::Open, QString(), id});
            from = m.capturedEnd();
        }
        if (from < s.size())
            out.push_back({Token::Text, s.mid(from)});
    }

    bool tokens(xmlNode* from, std::vector<Token>& out, QString& why) const
    {
        auto idOf = [](xmlNode* c) { return xmlsafe::attr(c, "id").toInt(); };
        for (xmlNode* c = from->children; c; c = c->next) {
            if (c->type == XML_TEXT_NODE || c->type == XML_CDATA_SECTION_NODE) {
                if (c->content && *c->content)
                    textCodes(xmlsafe::qs(c->content), out);
            } else if (c->type != XML_ELEMENT_NODE) {
                continue;
            } else if (isXliff(c, "g")) {
                out.push_back({Token::Open, QString(), idOf(c)});
                if (!tokens(c, out, why))
                    return false;
                out.push_back({Token::Close, QString(), idOf(c)});
            } else if (isXliff(c, "bpt")) {
                out.push_back({Token::Open, QString(), idOf(c)});
            } else if (isXliff(c, "ept")) {
                out.push_back({Token::Close, QString(), idOf(c)});
            } else if (isXliff(c, "ph") && xmlsafe::attr(c, "ctype") == QLatin1String("x-nbsp")) {
                out.push_back({Token::Nbsp, QString(), 0});
            } else if (isXliff(c, "x") || isXliff(c, "ph")) {
                out.push_back({Token::Empty, QString(), idOf(c)});
            } else if (isXliff(c, "mrk")) {
                if (!tokens(c, out, why))
                    return false;
            } else {
                why = QStringLiteral("its target holds <%1>, which is not a code of this file.")
                          .arg(xmlsafe::qs(c->name));
                return false;
            }
        }
        return true;
    }

    bool fill(xmlNode* into, xmlNode* from, QString& why)
    {
        std::vector<Token> run;
        if (!tokens(from, run, why))
            return false;
        // The open paired codes, innermost last, with their ids.
        std::vector<std::pair<xmlNode*, int>> open{{into, 0}};
        for (const Token& t : run) {
            xmlNode* at = open.back().first;
            switch (t.kind) {
            case Token::Text:
                xmlAddChild(at, xmlNewDocText(at->doc, X(t.text.toUtf8().constData())));
                break;
            case Token::Nbsp:
                xmlAddChild(at, xmlNewDocText(at->doc, X("\xC2\xA0")));
                break;
            case Token::Open: {
                xmlNode* original = code(t.id, true, why);
                if (!original)
                    return false;
                xmlNode* copy = xmlDocCopyNode(original, at->doc, 2);
                xmlAddChild(at, copy);
                open.push_back({copy, t.id});
                break;
            }
            case Token::Close:
                if (open.size() < 2 || open.back().second != t.id) {
                    why = QStringLiteral("its target closes the code %1 where it is not open.").arg(t.id);
                    return false;
                }
                open.pop_back();
                break;
            case Token::Empty: {
                xmlNode* original = code(t.id, false, why);
                if (!original)
                    return false;
                xmlUnlinkNode(original);
                xmlAddChild(at, original);
                break;
            }
            }
        }
        if (open.size() > 1) {
            why = QStringLiteral("its target leaves the code %1 open.").arg(open.back().second);
            return false;
        }
        return true;
    }

    xmlNode* m_node;
    xmlNode* m_holder;
    std::vector<xmlNode*> m_codes;
    std::vector<bool> m_used;
};

void dropTransIds(xmlNode* n)
{
    for (xmlNode* c = n->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE)
            continue;
        xmlUnsetProp(c, X("transid"));
        dropTransIds(c);
    }
}

// An image of the main language's folder points to the language's own
// picture when the project has one.
void languageImages(xmlNode* n, const QString& main, const QString& lang, const QString& folder)
{
    for (xmlNode* c = n->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE)
            continue;
        if (named(c, "image")) {
            const QString file = xmlsafe::attr(c, "file");
            const QString prefix = QStringLiteral("img\\") + main + QLatin1Char('\\');
            if (file.startsWith(prefix, Qt::CaseInsensitive)) {
                const QString own = QStringLiteral("img\\") + lang + QLatin1Char('\\') + file.mid(prefix.size());
                if (QFileInfo(folder + paths::toDisk(own)).isFile())
                    xmlSetProp(c, X("file"), X(own.toUtf8().constData()));
            }
        }
        languageImages(c, main, lang, folder);
    }
}

class XliffImportFilter : public SectionTitleFilter {
public:
    XliffImportFilter(XliffFile& file, const QString& main, const QString& chapterId, const QString& folder,
                      bool complete, XliffImportSummary& summary, Progress& progress)
        : SectionTitleFilter(file.target), m_file(file), m_main(main), m_lang(file.target), m_folder(folder),
          m_complete(complete), m_summary(summary), m_progress(progress)
    {
        this->chapterId = chapterId;
        onTopic = [this](const QString& id, const QString& xml, QString& out) { return topic(id, xml, out); };
    }

    // The first bad unit met, as its file position and the reason.
    int badOrder = -1;
    QString badReason;

protected:
    bool newSectionTitle(bool, const QString& id, QString& out) override
    {
        const QString unitId = id + QStringLiteral(".title");
        auto it = m_file.units.find(unitId);
        if (it == m_file.units.end())
            return false;
        it->known = true;
        if (!it->target)
            return false;
        QString text, why;
        if (!plainText(it->target, text, why)) {
            bad(unitId, why);
            return false;
        }
        out = text;
        ++m_summary.titles;
        return true;
    }

private:

    void bad(const QString& unitId, const QString& why)
    {
        const int order = m_file.units.value(unitId).order;
        if (badOrder < 0 || order < badOrder) {
            badOrder = order;
            badReason = QStringLiteral("Unit \"%1\": %2").arg(unitId, why);
        }
    }

    bool topic(const QString& id, const QString& xml, QString& out)
    {
        m_progress.step();
        xmlsafe::XmlError error;
        xmlsafe::DocPtr doc;
        {
            xmlsafe::EntityScope none(QStringList{});
            doc = xmlsafe::readMemory(xml.toUtf8(), {}, xmlsafe::kBaseOptions, false, &error);
        }
        xmlNode* root = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
        if (!root) {
            fail(QStringLiteral("Topic \"%1\" cannot be read: %2").arg(id, error.message));
            return false;
        }
        xmlNode* mainTitle = childInLanguage(root, "title", m_main);
        xmlNode* mainOne = childInLanguage(root, "onelang", m_main);
        xmlNode* langTitle = childInLanguage(root, "title", m_lang);
        xmlNode* langOne = childInLanguage(root, "onelang", m_lang);
        const QString titleText = mainTitle ? xmlsafe::nodeText(mainTitle) : QString();

        // Every unit the export would write must have come back filled.
        bool completeTopic = mainTitle && mainOne;
        auto need = [&](const QString& unitId) -> xmlNode* {
            auto it = m_file.units.find(unitId);
            if (it == m_file.units.end()) {
                completeTopic = false;
                return nullptr;
            }
            it->known = true;
            if (!it->target)
                completeTopic = false;
            return it->target;
        };
        xmlNode* titleTarget = hasWords(titleText) ? need(id + QStringLiteral(".title")) : nullptr;
        Units units = mainOne ? enumerateUnits(mainOne, id) : Units{};
        std::vector<xmlNode*> targets;
        std::vector<bool> wanted;
        for (const Unit& u : units.list) {
            wanted.push_back(hasText(u));
            targets.push_back(wanted.back() ? need(u.id) : nullptr);
        }
        if (!completeTopic) {
            m_summary.incomplete << id + QStringLiteral(": ") + titleText;
            return false;
        }

        QString titleNew = titleText;
        if (titleTarget) {
            QString why;
            titleNew.clear();
            if (!plainText(titleTarget, titleNew, why)) {
                bad(id + QStringLiteral(".title"), why);
                return false;
            }
        }
        xmlNode* newOne = xmlDocCopyNode(mainOne, doc.get(), 1);
        xmlSetProp(newOne, X("lang"), X(m_lang.toUtf8().constData()));
        const Units copies = enumerateUnits(newOne, id);
        bool ok = copies.list.size() == units.list.size();
        // From the back, so that an image is given its caption before its
        // cell is rebuilt around it, and a link its label before its text.
        for (size_t i = copies.list.size(); ok && i-- > 0;) {
            if (!wanted[i])
                continue;
            const Unit& u = copies.list[i];
            QString why;
            if (u.linkCode > 0) {
                QString label;
                xmlNode* link = linkOf(u);
                if (!link || !plainText(targets[i], label, why)) {
                    bad(u.id, why);
                    ok = false;
                } else {
                    xmlSetProp(link, X("weblabel"), X(label.toUtf8().constData()));
                }
                continue;
            }
            Rebuild rebuild(u.node);
            if (!rebuild.run(targets[i], why)) {
                bad(u.id, why);
                ok = false;
            }
        }
        if (!ok) {
            xmlFreeNode(newOne);
            return false;
        }
        dropTransIds(newOne);
        languageImages(newOne, m_main, m_lang, m_folder);

        xmlNode* newTitle = langTitle ? xmlDocCopyNode(langTitle, doc.get(), 2)
                                      : xmlNewDocNode(doc.get(), nullptr, X("title"), nullptr);
        if (!langTitle) {
            xmlSetProp(newTitle, X("lang"), X(m_lang.toUtf8().constData()));
            xmlSetProp(newTitle, X("state"), X("uncomplete"));
        }
        setText(newTitle, titleNew);
        if (m_complete) {
            xmlSetProp(newTitle, X("state"), X("complete"));
            xmlSetProp(newTitle, X("stamp"), X(mCommon::nowStamp().toUtf8().constData()));
        }

        // The language's text alone must be a valid topic.
        xmlNode* single = xmlNewDocNode(doc.get(), nullptr, X("topic"), nullptr);
        xmlSetProp(single, X("id"), X(id.toUtf8().constData()));
        xmlAddChild(single, xmlDocCopyNode(newTitle, doc.get(), 1));
        xmlAddChild(single, xmlDocCopyNode(newOne, doc.get(), 1));
        QString message;
        const bool valid = validateTopic(serializeElement(single), message);
        xmlFreeNode(single);
        if (!valid) {
            fail(QStringLiteral("Topic \"%1\" would not be valid in this language:\r\n%2").arg(id, message));
            xmlFreeNode(newOne);
            xmlFreeNode(newTitle);
            return false;
        }

        auto place = [root](xmlNode* fresh, xmlNode* old, const char* name) {
            if (old) {
                xmlReplaceNode(old, fresh);
                xmlFreeNode(old);
                return;
            }
            xmlNode* last = nullptr;
            forElements(root, [&](xmlNode* c) {
                if (named(c, name))
                    last = c;
            });
            if (last)
                xmlAddNextSibling(last, fresh);
            else
                xmlAddChild(root, fresh);
        };
        place(newTitle, langTitle, "title");
        place(newOne, langOne, "onelang");
        out = serializeElement(root);
        ++m_summary.topics;
        return true;
    }

    XliffFile& m_file;
    QString m_main, m_lang, m_folder;
    bool m_complete;
    XliffImportSummary& m_summary;
    Progress& m_progress;
};

} // namespace

bool exportXliff(const cProject& project, const QString& language, const QString& outFile, MsgBox& box,
                 Progress& progress, XliffExportSummary* summary)
{
    const QString main = project.GetMainLangAbbrev();
    if (project.getLanguageName(language).isEmpty() || language == main) {
        box.exclamation(QStringLiteral("\"%1\" is not a further language of the project!").arg(language));
        return false;
    }
    std::vector<cProject::ChapterEntry> chapters;
    cBookFile book(box);
    if (!bookChapters(project, box, chapters) || !book.Load(project.getBookFile()))
        return false;
    Exporter e;
    e.main = main;
    e.lang = language;
    e.lockId = project.GetLockID();
    e.projectName = QFileInfo(project.GetProjectFile()).fileName();
    cBook mainBook, langBook;
    book.getProperties(mainBook, main);
    book.getProperties(langBook, language);
    progress.start(int(chapters.size()) + 1);

    QString why;
    if (!e.w.open(outFile, &why)) {
        box.stop(QStringLiteral("The file \"%1\" cannot be written: %2").arg(outFile, why));
        return false;
    }
    e.w.startDocument();
    e.w.newline();
    e.w.start("xliff");
    e.w.attr("version", QStringLiteral("1.2"));
    e.w.attr("xmlns", kXliffNamespace);
    e.w.newline();
    e.path << mainBook.Title;
    e.fileStart(QFileInfo(paths::toDisk(project.getBookFile())).fileName());
    if (hasWords(mainBook.Title))
        e.titleUnit(QStringLiteral("book.title"), mainBook.Title, langBook.Title, kNeedsReview);
    e.fileEnd();
    progress.step();

    const QString folder = project.GetProjectFolder();
    for (const auto& chapter : chapters) {
        const QString file = folder + paths::toDisk(chapter.file);
        xmlsafe::XmlError error;
        xmlsafe::DocPtr doc;
        {
            xmlsafe::EntityScope scope(folder);
            doc = xmlsafe::readFile(file, xmlsafe::kBaseOptions, false, &error);
        }
        xmlNode* root = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
        if (!named(root, "chapter")) {
            box.stop(QStringLiteral("The chapter file \"%1\" cannot be read: %2")
                         .arg(chapterLabel(chapter.file), error.message));
            return false;
        }
        e.fileStart(chapterLabel(chapter.file));
        e.section(root, chapter.id, "x-chapter");
        e.fileEnd();
        progress.step();
    }
    e.w.end();
    e.w.newline();
    if (!e.w.finish(&why)) {
        box.stop(QStringLiteral("The file \"%1\" cannot be written: %2").arg(outFile, why));
        return false;
    }
    if (summary)
        *summary = e.s;
    return true;
}

bool importXliff(cProject& project, const QString& xliffFile, bool complete, MsgBox& box, Progress& progress,
                 XliffImportSummary* summary)
{
    if (project.GetLockID().isEmpty()) {
        box.exclamation(QStringLiteral("The project is not locked: a translation can only be imported into an "
                                       "exported project!"));
        return false;
    }
    XliffFile file;
    QString why;
    auto refuse = [&](const QString& reason) {
        box.exclamation(refusedIntro(xliffFile) + reason);
        return false;
    };
    if (!readXliff(xliffFile, file, why))
        return refuse(why);
    const QString main = project.GetMainLangAbbrev();
    if (file.source != main)
        return refuse(QStringLiteral("Its source language \"%1\" is not the main language \"%2\" of the project.")
                          .arg(file.source, main));
    if (file.target == main || project.getLanguageName(file.target).isEmpty())
        return refuse(QStringLiteral("Its target language \"%1\" is not a further language of the project.")
                          .arg(file.target));
    if (file.lock != project.GetLockID())
        return refuse(QStringLiteral("It was not exported from this project while it has its present lock."));
    if (!mCommon::checkFreeSpace(project.GetProjectFile(), box))
        return false;
    std::vector<cProject::ChapterEntry> chapters;
    if (!bookChapters(project, box, chapters))
        return false;

    XliffImportSummary s;
    s.language = file.target;
    progress.start(file.topics + 1);
    struct Prepared {
        QString temp, target;
    };
    std::vector<Prepared> prepared;
    auto drop = [&prepared] {
        for (const Prepared& p : prepared)
            fileio::commitTemp(p.temp, QString());
    };
    const QString folder = project.GetProjectFolder();
    for (const auto& chapter : chapters) {
        const QString target = folder + paths::toDisk(chapter.file);
        XliffImportFilter filter(file, main, chapter.id, folder, complete, s, progress);
        const QString temp = target + QStringLiteral(".quillary-new");
        bool changed = false;
        QString error;
        const bool ok = rewriteChapterToTemp(target, filter, temp, &changed, &error);
        if (ok && changed)
            prepared.push_back({temp, target});
        if (!ok || filter.badOrder >= 0) {
            drop();
            return refuse(!ok ? chapterLabel(chapter.file) + QStringLiteral(": ") + error : filter.badReason);
        }
    }
    // Book title.
    QString bookTitle;
    bool setBook = false;
    auto bookUnit = file.units.find(QStringLiteral("book.title"));
    if (bookUnit != file.units.end()) {
        bookUnit->known = true;
        if (bookUnit->target) {
            if (!plainText(bookUnit->target, bookTitle, why)) {
                drop();
                return refuse(QStringLiteral("Unit \"book.title\": ") + why);
            }
            setBook = true;
        }
    }
    for (const QString& id : file.order) {
        if (!file.units.value(id).known) {
            drop();
            return refuse(QStringLiteral("Unit \"%1\": there is no such text in the project.").arg(id));
        }
    }
    for (size_t i = 0; i < prepared.size(); ++i) {
        QString error;
        if (!fileio::commitTemp(prepared[i].temp, prepared[i].target, &error)) {
            for (size_t j = i; j < prepared.size(); ++j)
                fileio::commitTemp(prepared[j].temp, QString());
            box.stop(QStringLiteral("Error! Import was not successful!\r\n\r\n") +
                     QFileInfo(prepared[i].target).fileName() + QStringLiteral(": ") + error);
            return false;
        }
    }
    if (setBook) {
        cBookFile book(box);
        cBook props;
        if (!book.Load(project.getBookFile()))
            return false;
        book.getProperties(props, file.target);
        if (props.Title != bookTitle) {
            props.Title = bookTitle;
            if (!book.setProperties(props, file.target))
                return false;
        }
        ++s.titles;
    }
    progress.step();
    if (summary)
        *summary = s;
    return true;
}

QStringList exportReport(const QString& file, const XliffExportSummary& s, bool locked)
{
    QStringList out{QStringLiteral("Wrote %1: %2 units (%3 with a translation) in %4 topics.")
                        .arg(file)
                        .arg(s.units)
                        .arg(s.targets)
                        .arg(s.topics)};
    if (s.withoutTransId > 0)
        out << QStringLiteral("%1 blocks of the main language have no transid and are not in the file; export the "
                              "project for translation to number them.")
                   .arg(s.withoutTransId);
    if (!locked)
        out << QStringLiteral("The project is not locked: this file cannot be imported into it. Export the project "
                              "for translation first.");
    return out;
}

QStringList importReport(const XliffImportSummary& s)
{
    QStringList out{QStringLiteral("Imported %1: %2 topics, %3 titles.").arg(s.language).arg(s.topics).arg(s.titles)};
    if (!s.incomplete.isEmpty()) {
        out << QStringLiteral("%1 topics with untranslated units were left as they were:").arg(s.incomplete.size());
        for (const QString& t : s.incomplete)
            out << QStringLiteral("  ") + t;
    }
    return out;
}

} // namespace exchange
