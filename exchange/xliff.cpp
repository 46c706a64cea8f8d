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
#include "projectlock.h"
#include "sax.h"
#include "topicconvert.h"
#include "topicfilter.h"
#include "xmlsafety.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSet>

#include <libxml/parser.h>
#include <libxml/xmlreader.h>
#include <libxml/xmlwriter.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <cstring>
#include <functional>
#include <mutex>
#include <string_view>
#include <thread>
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

// The same for text as the parser gives it: plain ASCII is decided on the
// bytes, anything else as above.
bool hasWords(const xmlChar* text, int length)
{
    for (int i = 0; i < length; ++i) {
        const xmlChar c = text[i];
        if (c >= 0x80)
            return hasWords(QString::fromUtf8(reinterpret_cast<const char*>(text), length));
        if (c != ' ' && c != '\t' && c != '\n' && c != '\r' && c != '\v' && c != '\f')
            return true;
    }
    return false;
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
        if (m_memory)
            xmlBufferFree(m_memory);
    }
    // Writes into memory: one chapter's part of the file, put in by raw().
    bool openMemory()
    {
        m_memory = xmlBufferCreate();
        m_w = m_memory ? xmlNewTextWriterMemory(m_memory, 0) : nullptr;
        return m_w != nullptr;
    }
    // What openMemory's writer wrote; false after a failure.
    bool takeMemory(QByteArray& out)
    {
        if (m_w)
            check(xmlTextWriterFlush(m_w));
        xmlFreeTextWriter(m_w);
        m_w = nullptr;
        out = QByteArray(reinterpret_cast<const char*>(xmlBufferContent(m_memory)), xmlBufferLength(m_memory));
        xmlBufferFree(m_memory);
        m_memory = nullptr;
        return !m_failed;
    }
    void raw(const QByteArray& bytes) { check(xmlTextWriterWriteRawLen(m_w, X(bytes.constData()), bytes.size())); }
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
    xmlBufferPtr m_memory = nullptr;
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

    // The titles from the book down to the group being written: every
    // unit's note (joined once for each group, not for each unit).
    void enter(const QString& title)
    {
        m_path << title;
        m_note = m_path.join(QStringLiteral(" > "));
    }
    void leave()
    {
        m_path.removeLast();
        m_note = m_path.join(QStringLiteral(" > "));
    }

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
        w.text(m_note);
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
        enter(titleText);
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
        leave();
        ++s.topics;
    }

    // A chapter or subchapter with what it holds.
    void section(xmlNode* e, const QString& id, const char* restype)
    {
        xmlNode* mainTitle = childInLanguage(e, "title", main);
        xmlNode* langTitle = childInLanguage(e, "title", lang);
        const QString titleText = mainTitle ? xmlsafe::nodeText(mainTitle) : QString();
        enter(titleText);
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
        leave();
    }

private:
    QStringList m_path;
    QString m_note;
};

QString refusedIntro(const QString& file)
{
    return QStringLiteral("The file \"%1\" was refused; nothing was imported.\r\n\r\n").arg(QFileInfo(file).fileName());
}

// ---- reading ---------------------------------------------------------------

// A target as the file gives it: a flat run of text and codes in document
// order (a g element as its opening and closing), for the rebuild to read.
struct TargetToken {
    enum Kind : unsigned char { Text, Open, Close, Empty, Nbsp, Foreign };
    Kind kind = Text;
    int id = 0;
    QString text;    // the element's name; empty for Text
    QByteArray utf8 = {}; // Text: the text as the file has it, converted only where it is used
};
using Target = std::vector<TargetToken>;

struct FileUnit {
    QString id;
    Target target;
    bool hasTarget = false; // false when there is none, or it is empty
    int order = 0;
    int local = 0;          // its place in its part
    // Whether the project has the unit's text; set by the chapters' workers.
    std::atomic<bool>* known = nullptr;
};

// Tests: how long the reader waits before it hands over a file element's part,
// so that workers are sure to be ahead of it.
std::atomic<int> g_readPause{0};

// The reader hashes each id once for both of its tables, and a worker the id
// it looks for in the same way; a QHash would hash it again for each.
quint64 idHash(const QString& id)
{
    quint64 h = 0xcbf29ce484222325ull;
    for (const QChar c : id)
        h = (h ^ c.unicode()) * 0x100000001b3ull;
    return h ^ (h >> 29);
}

// Positions in a list by the hashes of their ids, in open addressing: an
// entry costs no allocation of its own, which counts for the reader with a
// large file's units.
class IdIndex {
public:
    // The position whose hash is h and for which same(position) holds; -1 if none.
    template <typename Same>
    int find(quint64 h, Same same) const
    {
        if (m_slots.empty())
            return -1;
        for (size_t i = size_t(h) & m_mask;; i = (i + 1) & m_mask) {
            const Slot& s = m_slots[i];
            if (s.pos < 0)
                return -1;
            if (s.hash == h && same(s.pos))
                return s.pos;
        }
    }
    // Room for n entries without growing.
    void reserve(size_t n)
    {
        size_t size = 64;
        while (size < n * 2)
            size *= 2;
        if (size > m_slots.size())
            rehash(size);
    }
    void insert(quint64 h, int pos)
    {
        if ((m_count + 1) * 2 > m_slots.size())
            grow();
        place(h, pos);
        ++m_count;
    }

private:
    struct Slot {
        quint64 hash = 0;
        int pos = -1;
    };
    void place(quint64 h, int pos)
    {
        size_t i = size_t(h) & m_mask;
        while (m_slots[i].pos >= 0)
            i = (i + 1) & m_mask;
        m_slots[i] = {h, pos};
    }
    void grow() { rehash(std::max<size_t>(64, m_slots.size() * 2)); }
    void rehash(size_t size)
    {
        std::vector<Slot> old = std::move(m_slots);
        m_slots.assign(size, Slot{});
        m_mask = m_slots.size() - 1;
        for (const Slot& s : old)
            if (s.pos >= 0)
                place(s.hash, s.pos);
    }
    std::vector<Slot> m_slots;
    size_t m_mask = 0, m_count = 0;
};

// The units of one file element of the XLIFF file (one chapter's, or the
// book's), in the file's order and by id.
struct FilePart {
    QString original;
    std::vector<FileUnit> units;
    IdIndex index;
    std::unique_ptr<std::atomic<bool>[]> known;

    const FileUnit* find(const QString& id, quint64 h) const
    {
        const int i = index.find(h, [&](int pos) { return units[size_t(pos)].id == id; });
        return i < 0 ? nullptr : &units[size_t(i)];
    }
};

// What is read of the file. The reader fills a file element's part
// privately and hands it over whole once the element ends; the chapters'
// workers look units up in the parts handed over, which no longer change.
// A unit not found while the reading goes on is waited for, so that what a
// worker finds never depends on timing.
struct XliffFile {
    QString source, target, lock;
    QStringList order; // every unit, in the file's order (the reader's)
    int topics = 0;

    // The first file element's languages and lock: false refuses the file.
    std::function<bool(XliffFile&)> checkFirst;

    // The reader's side.
    FilePart& current() { return m_current; }
    bool seen(const QString& id, quint64 h) const
    {
        return m_ids.find(h, [&](int pos) { return order.at(pos) == id; }) >= 0;
    }
    void add(const QString& id, quint64 h, Target&& target, bool has)
    {
        m_ids.insert(h, int(order.size()));
        FileUnit u;
        u.id = id;
        u.target = std::move(target);
        u.hasTarget = has;
        u.order = int(order.size());
        u.local = int(m_current.units.size());
        m_current.index.insert(h, u.local);
        m_current.units.push_back(std::move(u));
        order << id;
    }
    // Room for the units of a file of that many bytes, at a guess.
    void expect(qint64 bytes) { m_ids.reserve(size_t(std::max<qint64>(bytes, 0) / 384)); }
    void fileDone(const QString& original)
    {
        if (const int pause = g_readPause)
            std::this_thread::sleep_for(std::chrono::milliseconds(pause));
        // The next chapter is likely of the same size.
        const size_t last = m_current.units.size();
        m_current.original = original;
        m_current.known = std::make_unique<std::atomic<bool>[]>(size_t(m_current.units.size()) + 1);
        for (FileUnit& u : m_current.units)
            u.known = &m_current.known[size_t(u.local)];
        {
            std::lock_guard<std::mutex> lock(m_stateMutex);
            m_parts.push_back(std::move(m_current));
            m_state.notify_all();
        }
        m_current = FilePart{};
        m_current.units.reserve(last);
        m_current.index.reserve(last);
    }
    void readDone(bool failed)
    {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        m_readDone = true;
        m_failed = failed;
        m_state.notify_all();
    }

    // The workers' side. Waits until the part of a chapter is read; null
    // when the reading failed (or the file has no such part).
    const FilePart* waitFor(const QString& original) const
    {
        std::unique_lock<std::mutex> lock(m_stateMutex);
        const FilePart* found = nullptr;
        m_state.wait(lock, [&] {
            for (const FilePart& p : m_parts)
                if (p.original == original)
                    found = &p;
            return found || m_readDone;
        });
        return m_failed ? nullptr : found;
    }
    // A unit, in its own part first. Other parts are searched under the
    // lock: the reader may be adding one.
    const FileUnit* find(const QString& id, const FilePart* own = nullptr) const
    {
        const quint64 h = idHash(id);
        if (own) {
            if (const FileUnit* u = own->find(id, h))
                return u;
        }
        std::unique_lock<std::mutex> lock(m_stateMutex);
        for (size_t searched = 0;;) {
            for (; searched < m_parts.size(); ++searched) {
                if (const FileUnit* u = m_parts[searched].find(id, h))
                    return u;
            }
            if (m_readDone)
                return nullptr;
            m_state.wait(lock);
        }
    }
    void markKnown(const FileUnit* u) const { *u->known = true; }
    // The first unit, in the file's order, for which the project has no
    // text; empty when there is none. After the reading.
    QString firstUnknown() const
    {
        int first = -1;
        for (const FilePart& p : m_parts)
            for (const FileUnit& u : p.units)
                if (!*u.known && (first < 0 || u.order < first))
                    first = u.order;
        return first < 0 ? QString() : order.value(first);
    }
    bool failed() const
    {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        return m_failed;
    }

private:
    FilePart m_current;
    IdIndex m_ids; // every unit read, by its place in order
    std::deque<FilePart> m_parts; // parts keep their place as more come
    mutable std::mutex m_stateMutex;
    mutable std::condition_variable m_state;
    bool m_readDone = false;
    bool m_failed = false;
};

// Reads the file as a stream of SAX events: of a large file only the
// targets are kept, each as its run of text and codes.
class XliffReader {
public:
    XliffReader(XliffFile& f, QString& why) : f(f), why(why) {}

    bool read(const QString& path)
    {
        QString reason;
        const int fd = xmlsafe::openRegularFile(path, &reason);
        if (fd < 0) {
            why = QStringLiteral("It cannot be read: Cannot read file \"%1\".").arg(path);
            return false;
        }
        QFile in;
        in.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
        f.expect(in.size());
        xmlSAXHandler sax;
        std::memset(&sax, 0, sizeof sax);
        sax.initialized = XML_SAX2_MAGIC;
        sax.startElementNs = onStart;
        sax.endElementNs = onEnd;
        sax.characters = onText;
        sax.cdataBlock = onText;
        sax.serror = onError;
        xmlsafe::EntityScope none(QStringList{});
        // The parser pulls the file through this device.
        std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxtPtr)> ctxt(
            xmlCreateIOParserCtxt(
                &sax, this,
                [](void* device, char* buffer, int length) {
                    return int(static_cast<QFile*>(device)->read(buffer, length));
                },
                nullptr, &in, XML_CHAR_ENCODING_NONE),
            xmlFreeParserCtxt);
        if (!ctxt) {
            why = QStringLiteral("It cannot be read: Cannot read file \"%1\".").arg(path);
            return false;
        }
        xmlCtxtUseOptions(ctxt.get(), xmlsafe::kBaseOptions);
        m_ctxt = ctxt.get();
        xmlParseDocument(ctxt.get());
        if (!why.isEmpty())
            return false;
        if (m_error.present || !ctxt->wellFormed || !m_root) {
            why = QStringLiteral("It cannot be read: ") +
                  (m_error.message.isEmpty() ? QStringLiteral("Cannot read file \"%1\".").arg(path) : m_error.message) +
                  (m_error.line > 0 ? QStringLiteral(" (line %1)").arg(m_error.line) : QString());
            return false;
        }
        if (m_first) {
            why = QStringLiteral("It holds no file element.");
            return false;
        }
        return true;
    }

private:
    XliffFile& f;
    QString& why;
    xmlParserCtxtPtr m_ctxt = nullptr;
    const xmlChar* m_xliffUri = nullptr;
    xmlsafe::XmlError m_error;
    bool m_stopped = false;
    bool m_root = false, m_first = true, m_inFile = false, m_fileChecked = false, m_hasLock = false;
    QString m_source, m_target, m_original, m_lock;
    // Depth below the root: 1 file, 2 header/body, ...
    int m_depth = 0;
    int m_headerDepth = -1, m_groupDepth = -1, m_lockDepth = -1;
    QString m_lockText;
    // The unit being read.
    int m_unitDepth = -1;
    QString m_unitId;
    quint64 m_unitHash = 0;
    Target m_unitTarget;
    bool m_unitHasTarget = false;
    // Inside a target: its depth, the depth of an element whose content does
    // not count (a code's own text), text not yet taken, and what makes a
    // target more than empty.
    int m_targetDepth = -1, m_opaqueDepth = -1;
    Target m_tokens;
    QByteArray m_text;
    bool m_anyElement = false, m_words = false;

    static XliffReader* self(void* ctx) { return static_cast<XliffReader*>(ctx); }

    void stop()
    {
        m_stopped = true;
        xmlStopParser(m_ctxt);
    }
    static bool xliff(const xmlChar* uri)
    {
        return uri && xmlStrEqual(uri, X("urn:oasis:names:tc:xliff:document:1.2"));
    }
    // An attribute without namespace as the parser gives it, unconverted:
    // most are only compared.
    static std::string_view rawAttribute(const xmlChar** attrs, int count, const char* name)
    {
        for (int i = 0; i < count; ++i) {
            const xmlChar** a = attrs + 5 * i; // localname, prefix, URI, value, end
            if (!a[2] && std::strcmp(reinterpret_cast<const char*>(a[0]), name) == 0)
                return {reinterpret_cast<const char*>(a[3]), size_t(a[4] - a[3])};
        }
        return {};
    }
    // What QString::toInt gives for an attribute's value.
    static int number(std::string_view v)
    {
        const bool plain = !v.empty() && v.size() < 10 &&
                           std::all_of(v.begin(), v.end(), [](char c) { return c >= '0' && c <= '9'; });
        if (!plain)
            return QString::fromUtf8(v.data(), qsizetype(v.size())).toInt();
        int n = 0;
        for (const char c : v)
            n = n * 10 + (c - '0');
        return n;
    }
    static QString attribute(const xmlChar** attrs, int count, const char* name)
    {
        const std::string_view v = rawAttribute(attrs, count, name);
        return QString::fromUtf8(v.data(), qsizetype(v.size()));
    }
    // The parser hands the namespace of each element from its dictionary:
    // the same pointer again and again, so one comparison is remembered.
    bool inXliff(const xmlChar* uri)
    {
        if (!uri)
            return false;
        if (uri == m_xliffUri)
            return true;
        if (!xliff(uri))
            return false;
        m_xliffUri = uri;
        return true;
    }
    static bool is(const xmlChar* local, const char* name)
    {
        return std::strcmp(reinterpret_cast<const char*>(local), name) == 0;
    }

    // A file's languages and lock, before its units are taken.
    bool checkFile()
    {
        m_fileChecked = true;
        if (!m_hasLock) {
            why = QStringLiteral("Its file \"%1\" was not written by Quillary Author for this project.").arg(m_original);
            return false;
        }
        if (m_first) {
            f.source = m_source;
            f.target = m_target;
            f.lock = m_lock;
            m_first = false;
            if (f.checkFirst && !f.checkFirst(f)) {
                why = QStringLiteral("-");
                return false;
            }
        } else if (m_source != f.source || m_target != f.target || m_lock != f.lock) {
            why = QStringLiteral("Its parts are for different languages or exports.");
            return false;
        }
        return true;
    }

    void flushText()
    {
        if (m_text.isEmpty())
            return;
        m_tokens.push_back({TargetToken::Text, 0, QString(), std::move(m_text)});
        m_text = QByteArray();
    }

    void targetStart(const xmlChar* local, const xmlChar* uri, const xmlChar** attrs, int count)
    {
        if (m_depth == m_targetDepth + 1)
            m_anyElement = true;
        if (m_opaqueDepth >= 0)
            return;
        flushText();
        const int id = number(rawAttribute(attrs, count, "id"));
        const bool x = inXliff(uri);
        // The names of codes are literals: no string is made for each.
        if (x && is(local, "g")) {
            m_tokens.push_back({TargetToken::Open, id, QStringLiteral("g")});
            return;
        }
        if (x && is(local, "mrk"))
            return; // its text counts as the target's, apart from the text around it
        if (x && is(local, "bpt"))
            m_tokens.push_back({TargetToken::Open, id, QStringLiteral("bpt")});
        else if (x && is(local, "ept"))
            m_tokens.push_back({TargetToken::Close, id, QStringLiteral("ept")});
        else if (x && is(local, "ph") && rawAttribute(attrs, count, "ctype") == "x-nbsp")
            m_tokens.push_back({TargetToken::Nbsp, 0, QStringLiteral("ph")});
        else if (x && is(local, "x"))
            m_tokens.push_back({TargetToken::Empty, id, QStringLiteral("x")});
        else if (x && is(local, "ph"))
            m_tokens.push_back({TargetToken::Empty, id, QStringLiteral("ph")});
        else
            m_tokens.push_back({TargetToken::Foreign, 0, xmlsafe::qs(local)});
        m_opaqueDepth = m_depth;
    }

    void targetEnd(const xmlChar* local, const xmlChar* uri)
    {
        if (m_opaqueDepth >= 0) {
            if (m_depth == m_opaqueDepth)
                m_opaqueDepth = -1;
            return;
        }
        flushText();
        if (inXliff(uri) && is(local, "g"))
            m_tokens.push_back({TargetToken::Close, m_tokens.empty() ? 0 : openId(), QStringLiteral("g")});
    }

    // The id of the innermost g still open.
    int openId() const
    {
        int depth = 0;
        for (auto it = m_tokens.rbegin(); it != m_tokens.rend(); ++it) {
            if (it->text != QLatin1String("g"))
                continue;
            if (it->kind == TargetToken::Close)
                ++depth;
            else if (it->kind == TargetToken::Open && depth-- == 0)
                return it->id;
        }
        return 0;
    }

    static void onStart(void* ctx, const xmlChar* local, const xmlChar*, const xmlChar* uri, int, const xmlChar**,
                        int count, int, const xmlChar** attrs)
    {
        XliffReader* r = self(ctx);
        if (r->m_stopped)
            return;
        ++r->m_depth;
        if (r->m_targetDepth >= 0) {
            r->targetStart(local, uri, attrs, count);
            return;
        }
        const bool x = r->inXliff(uri);
        auto here = [&](const char* name) { return x && is(local, name); };
        if (!r->m_root) {
            r->m_root = true;
            if (!here("xliff") || rawAttribute(attrs, count, "version") != "1.2") {
                r->why = QStringLiteral("It is not an XLIFF 1.2 file.");
                r->stop();
            }
            return;
        }
        if (here("file")) {
            r->m_inFile = true;
            r->m_fileChecked = r->m_hasLock = false;
            r->m_source = attribute(attrs, count, "source-language");
            r->m_target = attribute(attrs, count, "target-language");
            r->m_original = attribute(attrs, count, "original");
            r->m_lock.clear();
        } else if (r->m_inFile && here("header") && r->m_headerDepth < 0) {
            r->m_headerDepth = r->m_depth;
        } else if (r->m_headerDepth >= 0 && here("prop-group") && r->m_depth == r->m_headerDepth + 1 &&
                   rawAttribute(attrs, count, "name") == "quillary") {
            r->m_groupDepth = r->m_depth;
        } else if (r->m_groupDepth >= 0 && here("prop") && r->m_depth == r->m_groupDepth + 1 &&
                   rawAttribute(attrs, count, "prop-type") == "lock") {
            r->m_lockDepth = r->m_depth;
            r->m_lockText.clear();
        } else if (r->m_headerDepth >= 0) {
            // the rest of the header is not ours
        } else if (r->m_inFile && here("body")) {
            if (!r->m_fileChecked && !r->checkFile())
                r->stop();
        } else if (r->m_inFile && here("group")) {
            if (rawAttribute(attrs, count, "restype") == "x-topic")
                ++r->f.topics;
        } else if (r->m_inFile && here("trans-unit") && r->m_unitDepth < 0) {
            if (!r->m_fileChecked && !r->checkFile()) {
                r->stop();
                return;
            }
            r->m_unitId = attribute(attrs, count, "id");
            r->m_unitHash = idHash(r->m_unitId);
            if (r->m_unitId.isEmpty() || r->f.seen(r->m_unitId, r->m_unitHash)) {
                r->why = r->m_unitId.isEmpty() ? QStringLiteral("A unit has no id.")
                                               : QStringLiteral("The unit \"%1\" appears twice.").arg(r->m_unitId);
                r->stop();
                return;
            }
            r->m_unitDepth = r->m_depth;
            r->m_unitTarget.clear();
            r->m_unitHasTarget = false;
        } else if (r->m_unitDepth >= 0 && r->m_depth == r->m_unitDepth + 1 && here("target")) {
            r->m_targetDepth = r->m_depth;
            r->m_tokens.clear();
            r->m_text.clear();
            r->m_anyElement = r->m_words = false;
        }
    }

    static void onEnd(void* ctx, const xmlChar* local, const xmlChar*, const xmlChar* uri)
    {
        XliffReader* r = self(ctx);
        if (r->m_stopped)
            return;
        const int depth = r->m_depth--;
        if (r->m_targetDepth >= 0) {
            if (depth > r->m_targetDepth) {
                ++r->m_depth;
                r->targetEnd(local, uri);
                --r->m_depth;
                return;
            }
            r->flushText();
            r->m_targetDepth = -1;
            // An empty target (no element, no words) is none.
            if (r->m_anyElement || r->m_words) {
                r->m_unitTarget = std::move(r->m_tokens);
                r->m_unitHasTarget = true;
            }
            r->m_tokens.clear();
            return;
        }
        if (depth == r->m_unitDepth) {
            r->m_unitDepth = -1;
            r->f.add(r->m_unitId, r->m_unitHash, std::move(r->m_unitTarget), r->m_unitHasTarget);
        } else if (depth == r->m_lockDepth) {
            r->m_lockDepth = -1;
            r->m_lock = r->m_lockText.trimmed();
            r->m_hasLock = true;
        } else if (depth == r->m_groupDepth) {
            r->m_groupDepth = -1;
        } else if (depth == r->m_headerDepth) {
            r->m_headerDepth = -1;
        } else if (depth == 2 && r->inXliff(uri) && is(local, "file")) {
            r->m_inFile = false;
            if (!r->m_fileChecked && !r->checkFile())
                r->stop();
            else
                r->f.fileDone(r->m_original);
        }
    }

    static void onText(void* ctx, const xmlChar* text, int length)
    {
        XliffReader* r = self(ctx);
        if (r->m_stopped)
            return;
        if (r->m_lockDepth >= 0 && r->m_depth == r->m_lockDepth) {
            r->m_lockText += QString::fromUtf8(reinterpret_cast<const char*>(text), length);
            return;
        }
        if (r->m_targetDepth < 0 || r->m_opaqueDepth >= 0)
            return;
        if (r->m_depth == r->m_targetDepth && !r->m_words && hasWords(text, length))
            r->m_words = true;
        r->m_text.append(reinterpret_cast<const char*>(text), length);
    }

    static void onError(void* ctx, xmlErrorPtr error)
    {
        XliffReader* r = self(ctx);
        if (r->m_error.present || !error || error->level < XML_ERR_ERROR)
            return;
        r->m_error.present = true;
        r->m_error.line = error->line;
        r->m_error.message = QString::fromUtf8(error->message ? error->message : "").trimmed();
    }
};

bool readXliff(const QString& path, XliffFile& f, QString& why)
{
    XliffReader reader(f, why);
    return reader.read(path);
}

// A title's target as text: only non-breaking spaces may be codes.
bool plainText(const Target& target, QString& out, QString& why)
{
    for (const TargetToken& t : target) {
        if (t.kind == TargetToken::Text) {
            out += QString::fromUtf8(t.utf8);
        } else if (t.kind == TargetToken::Nbsp) {
            out += QChar(0x00A0);
        } else {
            why = QStringLiteral("its target holds <%1>, which this text cannot take.").arg(t.text);
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

    bool run(const Target& target, QString& why)
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
        QByteArray utf8 = {}; // a Text as the file has it, when text is empty
    };

    // The code texts of this unit's source, for targets that carry them as text.
    void textCodes(const QString& s, std::vector<Token>& out) const
    {
        // One for each thread: the chapters are rebuilt side by side.
        thread_local const QRegularExpression tag(QStringLiteral("<(/?)([a-z]+)#(\\d+)(/?)>"));
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

    bool tokens(const Target& from, std::vector<Token>& out, QString& why) const
    {
        for (const TargetToken& t : from) {
            switch (t.kind) {
            case TargetToken::Text:
                // Without a '<' the text holds no code text: it goes in as it came.
                if (t.utf8.isEmpty())
                    break;
                if (!t.utf8.contains('<'))
                    out.push_back({Token::Text, QString(), 0, t.utf8});
                else
                    textCodes(QString::fromUtf8(t.utf8), out);
                break;
            case TargetToken::Open:
                out.push_back({Token::Open, QString(), t.id});
                break;
            case TargetToken::Close:
                out.push_back({Token::Close, QString(), t.id});
                break;
            case TargetToken::Empty:
                out.push_back({Token::Empty, QString(), t.id});
                break;
            case TargetToken::Nbsp:
                out.push_back({Token::Nbsp, QString(), 0});
                break;
            case TargetToken::Foreign:
                why = QStringLiteral("its target holds <%1>, which is not a code of this file.").arg(t.text);
                return false;
            }
        }
        return true;
    }

    bool fill(xmlNode* into, const Target& from, QString& why)
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
                if (t.text.isEmpty())
                    xmlAddChild(at, xmlNewDocText(at->doc, X(t.utf8.constData())));
                else
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
    XliffImportFilter(const XliffFile& file, const FilePart* own, const QString& main, const QString& chapterId,
                      const QString& folder, bool complete, XliffImportSummary& summary, std::atomic<int>& steps)
        : SectionTitleFilter(file.target), m_file(file), m_own(own), m_main(main), m_lang(file.target), m_folder(folder),
          m_complete(complete), m_summary(summary), m_steps(steps)
    {
        this->chapterId = chapterId;
        onTopicTree = [this](const QString& id, xmlsafe::DocPtr tree, const std::string& xml, QString& out) {
            return topic(id, std::move(tree), xml, out);
        };
    }

    // The first bad unit met, as its file position and the reason.
    int badOrder = -1;
    QString badReason;

protected:
    bool newSectionTitle(bool, const QString& id, QString& out) override
    {
        const QString unitId = id + QStringLiteral(".title");
        const FileUnit* it = m_file.find(unitId, m_own);
        if (!it)
            return false;
        m_file.markKnown(it);
        if (!it->hasTarget)
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
        const FileUnit* u = m_file.find(unitId, m_own);
        const int order = u ? u->order : 0;
        if (badOrder < 0 || order < badOrder) {
            badOrder = order;
            badReason = QStringLiteral("Unit \"%1\": %2").arg(unitId, why);
        }
    }

    bool topic(const QString& id, xmlsafe::DocPtr doc, const std::string& xml, QString& out)
    {
        ++m_steps;
        xmlsafe::XmlError error;
        if (!doc) {
            xmlsafe::EntityScope none(QStringList{});
            doc = xmlsafe::readMemory(QByteArray::fromRawData(xml.data(), qsizetype(xml.size())), {},
                                      xmlsafe::kBaseOptions, false, &error);
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
        auto need = [&](const QString& unitId) -> const Target* {
            const FileUnit* it = m_file.find(unitId, m_own);
            if (!it) {
                completeTopic = false;
                return nullptr;
            }
            m_file.markKnown(it);
            if (!it->hasTarget)
                completeTopic = false;
            return it->hasTarget ? &it->target : nullptr;
        };
        const Target* titleTarget = hasWords(titleText) ? need(id + QStringLiteral(".title")) : nullptr;
        Units units = mainOne ? enumerateUnits(mainOne, id) : Units{};
        std::vector<const Target*> targets;
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
            if (!plainText(*titleTarget, titleNew, why)) {
                bad(id + QStringLiteral(".title"), why);
                return false;
            }
        }
        xmlNode* newOne = xmlDocCopyNode(mainOne, doc.get(), 1);
        xmlSetProp(newOne, X("lang"), X(m_lang.toUtf8().constData()));
        // The copy's units are the master's at the same places, all found
        // before the rebuilding moves codes about; numbering the copy again
        // would build every id a second time.
        std::vector<Unit> copies(units.list.size());
        bool ok = true;
        for (size_t i = 0; i < copies.size(); ++i) {
            if (!wanted[i])
                continue;
            const Unit& m = units.list[i];
            copies[i] = {m.id, follow(newOne, pathFrom(mainOne, m.node)), m.linkCode};
            ok = ok && copies[i].node;
        }
        // From the back, so that an image is given its caption before its
        // cell is rebuilt around it, and a link its label before its text.
        for (size_t i = copies.size(); ok && i-- > 0;) {
            if (!wanted[i])
                continue;
            const Unit& u = copies[i];
            QString why;
            if (u.linkCode > 0) {
                QString label;
                xmlNode* link = linkOf(u);
                if (!link || !plainText(*targets[i], label, why)) {
                    bad(u.id, why);
                    ok = false;
                } else {
                    xmlSetProp(link, X("weblabel"), X(label.toUtf8().constData()));
                }
                continue;
            }
            Rebuild rebuild(u.node);
            if (!rebuild.run(*targets[i], why)) {
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
        // It borrows the new title and text, and is the document's root for
        // the moment of the check.
        xmlNode* single = xmlNewDocNode(doc.get(), nullptr, X("topic"), nullptr);
        xmlSetProp(single, X("id"), X(id.toUtf8().constData()));
        xmlAddChild(single, newTitle);
        xmlAddChild(single, newOne);
        QString message;
        xmlNode* stored = xmlDocSetRootElement(doc.get(), single);
        bool valid = topicDocumentIsValid(doc.get());
        xmlDocSetRootElement(doc.get(), stored);
        if (!valid)
            valid = validateTopic(serializeElement(single), message);
        xmlUnlinkNode(newTitle);
        xmlUnlinkNode(newOne);
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

    const XliffFile& m_file;
    const FilePart* m_own;
    QString m_main, m_lang, m_folder;
    bool m_complete;
    XliffImportSummary& m_summary;
    std::atomic<int>& m_steps;
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
    e.enter(mainBook.Title);
    e.fileStart(QFileInfo(paths::toDisk(project.getBookFile())).fileName());
    if (hasWords(mainBook.Title))
        e.titleUnit(QStringLiteral("book.title"), mainBook.Title, langBook.Title, kNeedsReview);
    e.fileEnd();
    progress.step();

    // Workers write the chapters' parts into memory side by side; this
    // thread puts them into the file in the book's order and tells the
    // progress. Workers stay at most a few chapters ahead of the file.
    struct Part {
        bool done = false;
        bool ok = false;
        QByteArray bytes;
        QString error;
        XliffExportSummary summary;
    };
    std::vector<Part> parts(chapters.size());
    const QString folder = project.GetProjectFolder();
    const int workers = std::clamp(int(std::thread::hardware_concurrency()), 1, 4);
    const size_t ahead = size_t(workers) + 1;
    std::mutex mutex;
    std::condition_variable changed;
    size_t next = 0, written = 0;
    bool stopped = false;
    auto work = [&] {
        for (;;) {
            size_t i;
            {
                std::unique_lock<std::mutex> lock(mutex);
                changed.wait(lock, [&] { return stopped || next >= parts.size() || next < written + ahead; });
                if (stopped || next >= parts.size())
                    return;
                i = next++;
            }
            Part part;
            const QString file = folder + paths::toDisk(chapters[i].file);
            xmlsafe::XmlError error;
            xmlsafe::DocPtr doc;
            {
                xmlsafe::EntityScope scope(folder);
                doc = xmlsafe::readFile(file, xmlsafe::kBaseOptions, false, &error);
            }
            xmlNode* root = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
            if (!named(root, "chapter")) {
                part.error = QStringLiteral("The chapter file \"%1\" cannot be read: %2")
                                 .arg(chapterLabel(chapters[i].file), error.message);
            } else {
                Exporter c;
                c.main = main;
                c.lang = language;
                c.lockId = e.lockId;
                c.projectName = e.projectName;
                c.enter(mainBook.Title);
                if (c.w.openMemory()) {
                    c.fileStart(chapterLabel(chapters[i].file));
                    c.section(root, chapters[i].id, "x-chapter");
                    c.fileEnd();
                    part.ok = c.w.takeMemory(part.bytes);
                }
                if (!part.ok)
                    part.error = QStringLiteral("The XML writer failed.");
                part.summary = c.s;
            }
            doc.reset();
            std::lock_guard<std::mutex> lock(mutex);
            part.done = true;
            parts[i] = std::move(part);
            changed.notify_all();
        }
    };
    std::vector<std::thread> pool;
    for (int k = 0; k < workers; ++k)
        pool.emplace_back(work);
    QString failure;
    for (size_t i = 0; i < parts.size() && failure.isEmpty(); ++i) {
        Part part;
        {
            std::unique_lock<std::mutex> lock(mutex);
            changed.wait(lock, [&] { return parts[i].done; });
            part = std::move(parts[i]);
            parts[i] = Part{};
            parts[i].done = true;
            written = i + 1;
            changed.notify_all();
        }
        if (!part.ok) {
            failure = part.error;
            break;
        }
        if (progress.cancelRequested()) {
            failure = Progress::kCancelled;
            break;
        }
        e.w.raw(part.bytes);
        e.s.units += part.summary.units;
        e.s.targets += part.summary.targets;
        e.s.topics += part.summary.topics;
        e.s.withoutTransId += part.summary.withoutTransId;
        progress.step();
    }
    {
        std::lock_guard<std::mutex> lock(mutex);
        stopped = true;
        changed.notify_all();
    }
    for (std::thread& t : pool)
        t.join();
    if (failure == Progress::kCancelled) {
        box.info(failure);
        return false;
    }
    if (!failure.isEmpty()) {
        box.stop(failure);
        return false;
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
    QString why;
    auto refuse = [&](const QString& reason) {
        box.exclamation(refusedIntro(xliffFile) + reason);
        return false;
    };
    const QString main = project.GetMainLangAbbrev();
    if (!mCommon::checkFreeSpace(project.GetProjectFile(), box))
        return false;
    std::vector<cProject::ChapterEntry> chapters;
    if (!bookChapters(project, box, chapters))
        return false;
    // One writer's lock for the whole import; the chapters' rewrites nest in it.
    ProjectLock lock(project.GetProjectFolder());
    if (!lock.ok()) {
        box.stop(QStringLiteral("Error! Import was not successful!\r\n\r\n") + lock.error());
        return false;
    }
    XliffFile file;
    QString firstRefusal;
    file.checkFirst = [&](XliffFile& f) {
        if (f.source != main)
            firstRefusal = QStringLiteral("Its source language \"%1\" is not the main language \"%2\" of the project.")
                               .arg(f.source, main);
        else if (f.target == main || project.getLanguageName(f.target).isEmpty())
            firstRefusal = QStringLiteral("Its target language \"%1\" is not a further language of the project.")
                               .arg(f.target);
        else if (f.lock != project.GetLockID())
            firstRefusal = QStringLiteral("It was not exported from this project while it has its present lock.");
        return firstRefusal.isEmpty();
    };

    // While this thread reads the file, workers rewrite each chapter into a
    // temporary file as soon as its part of the file is read; then this
    // thread tells the progress (which may be a window's) how far they are.
    struct ChapterRun {
        QString temp, target;
        bool ok = false, changed = false, done = false;
        QString error;
        int badOrder = -1;
        QString badReason;
        XliffImportSummary summary;
    };
    std::vector<ChapterRun> runs(chapters.size());
    const QString folder = project.GetProjectFolder();
    std::atomic<size_t> next{0};
    std::atomic<int> steps{0};
    std::atomic<int> running{0};
    std::mutex doneMutex;
    std::condition_variable done;
    auto work = [&] {
        for (size_t i = next++; i < chapters.size(); i = next++) {
            const FilePart* own = file.waitFor(chapterLabel(chapters[i].file));
            if (file.failed())
                break;
            ChapterRun& run = runs[i];
            run.target = folder + paths::toDisk(chapters[i].file);
            run.temp = run.target + QStringLiteral(".quillary-new");
            XliffImportFilter filter(file, own, main, chapters[i].id, folder, complete, run.summary, steps);
            run.ok = rewriteChapterToTemp(run.target, filter, run.temp, &run.changed, &run.error);
            run.badOrder = filter.badOrder;
            run.badReason = filter.badReason;
            run.done = true;
        }
        std::lock_guard<std::mutex> guard(doneMutex);
        --running;
        done.notify_all();
    };
    const int workers = std::clamp(int(std::thread::hardware_concurrency()), 1, 4);
    std::vector<std::thread> pool;
    running = workers;
    for (int k = 0; k < workers; ++k)
        pool.emplace_back(work);
    const bool read = readXliff(xliffFile, file, why);
    file.readDone(!read);
    auto join = [&] {
        for (std::thread& t : pool)
            if (t.joinable())
                t.join();
    };
    auto dropRuns = [&runs] {
        for (const ChapterRun& r : runs)
            if (r.done && r.ok && r.changed)
                fileio::commitTemp(r.temp, QString());
    };
    if (!read) {
        join();
        dropRuns();
        return refuse(firstRefusal.isEmpty() ? why : firstRefusal);
    }

    XliffImportSummary s;
    s.language = file.target;
    progress.start(file.topics + 1);
    int shown = 0;
    for (;;) {
        std::unique_lock<std::mutex> guard(doneMutex);
        done.wait_for(guard, std::chrono::milliseconds(50));
        const bool finished = running == 0;
        guard.unlock();
        for (const int now = steps; shown < now; ++shown)
            progress.step();
        if (finished)
            break;
    }
    join();
    // Nothing has been put in place yet: the chapters' new files go.
    if (progress.cancelRequested()) {
        dropRuns();
        box.info(Progress::kCancelled);
        return false;
    }

    struct Prepared {
        QString temp, target;
    };
    std::vector<Prepared> prepared;
    auto drop = [&prepared, &runs] {
        for (const ChapterRun& r : runs)
            if (r.ok && r.changed)
                fileio::commitTemp(r.temp, QString());
        prepared.clear();
    };
    // A chapter that cannot be read fails the import as the first of them
    // would; otherwise the first bad unit in the file's order is named.
    int firstBad = -1;
    for (size_t i = 0; i < runs.size(); ++i) {
        if (!runs[i].ok) {
            drop();
            return refuse(chapterLabel(chapters[i].file) + QStringLiteral(": ") + runs[i].error);
        }
        if (runs[i].badOrder >= 0 && (firstBad < 0 || runs[i].badOrder < runs[size_t(firstBad)].badOrder))
            firstBad = int(i);
    }
    if (firstBad >= 0) {
        drop();
        return refuse(runs[size_t(firstBad)].badReason);
    }
    for (const ChapterRun& r : runs) {
        if (r.changed)
            prepared.push_back({r.temp, r.target});
        s.topics += r.summary.topics;
        s.titles += r.summary.titles;
        s.incomplete += r.summary.incomplete;
    }
    // Book title.
    QString bookTitle;
    bool setBook = false;
    const FileUnit* bookUnit = file.find(QStringLiteral("book.title"));
    if (bookUnit) {
        file.markKnown(bookUnit);
        if (bookUnit->hasTarget) {
            if (!plainText(bookUnit->target, bookTitle, why)) {
                drop();
                return refuse(QStringLiteral("Unit \"book.title\": ") + why);
            }
            setBook = true;
        }
    }
    const QString unknown = file.firstUnknown();
    if (!unknown.isEmpty()) {
        drop();
        return refuse(QStringLiteral("Unit \"%1\": there is no such text in the project.").arg(unknown));
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

void setXliffReadPause(int ms)
{
    g_readPause = ms;
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
