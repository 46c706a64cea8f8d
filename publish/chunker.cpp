#include "chunker.h"

#include "mcommon.h"
#include "publishpaths.h"
#include "xmlsafety.h"
#include "xsltrunner.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QUrl>

#include <libxml/HTMLtree.h>
#include <libxml/tree.h>
#include <libxml/xpathInternals.h>
#include <libxslt/functions.h>
#include <libxslt/imports.h>
#include <libxslt/transform.h>
#include <libxslt/variables.h>
#include <libxslt/extensions.h>
#include <libxslt/xsltInternals.h>
#include <libxslt/xsltutils.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <unordered_map>

namespace chunker {

namespace {

const char* const kPartsNs = "urn:x-quillary:parts";
const char* const kFunctionsNs = "urn:x-quillary:functions";
const char* const kNbsp = "\xC2\xA0";

bool isElement(const xmlNode* n, const char* name)
{
    return n && n->type == XML_ELEMENT_NODE && !n->ns && xmlStrEqual(n->name, BAD_CAST name);
}

bool isPart(const xmlNode* n, const char* name)
{
    return n && n->type == XML_ELEMENT_NODE && n->ns && xmlStrEqual(n->ns->href, BAD_CAST kPartsNs) &&
           xmlStrEqual(n->name, BAD_CAST name);
}

xmlNode* partChild(const xmlNode* n, const char* name)
{
    for (xmlNode* c = n ? n->children : nullptr; c; c = c->next)
        if (isPart(c, name))
            return c;
    return nullptr;
}

QByteArray attribute(const xmlNode* n, const char* name)
{
    xmlChar* v = n ? xmlGetProp(n, BAD_CAST name) : nullptr;
    QByteArray out = v ? QByteArray(reinterpret_cast<const char*>(v)) : QByteArray();
    xmlFree(v);
    return out;
}

QByteArray textOf(const xmlNode* n)
{
    xmlChar* v = n ? xmlNodeGetContent(n) : nullptr;
    QByteArray out = v ? QByteArray(reinterpret_cast<const char*>(v)) : QByteArray();
    xmlFree(v);
    return out;
}

// Elements that make chunks or numbering of their own in DocBook, which the
// outline does not follow.
const std::set<std::string> kForeign = {"set",        "part",     "preface",      "appendix", "article",
                                        "topic",      "reference", "refentry",    "glossary", "bibliography",
                                        "colophon",   "setindex", "sect1",        "sect2",    "sect3",
                                        "sect4",      "sect5",    "legalnotice",  "book"};

struct Walker {
    Layout layout;
    Outline& o;

    void fail(const QString& why)
    {
        if (o.supported) {
            o.supported = false;
            o.why = why;
        }
    }

    void walk(xmlNode* parent, int owner, int chapter)
    {
        const bool inBook = parent->parent && parent->parent->type == XML_DOCUMENT_NODE;
        for (xmlNode* c = parent->children; c && o.supported; c = c->next) {
            if (c->type == XML_PI_NODE) {
                // A page's own file name is followed; other instructions change the chunks.
                const QByteArray content = QByteArray(reinterpret_cast<const char*>(c->content)).trimmed();
                if (xmlStrEqual(c->name, BAD_CAST "dbhtml") && !content.startsWith("filename="))
                    fail(QStringLiteral("a processing instruction dbhtml ") + QString::fromUtf8(content));
                continue;
            }
            if (c->type != XML_ELEMENT_NODE)
                continue;
            if (xmlHasProp(c, BAD_CAST "lang") || xmlHasNsProp(c, BAD_CAST "lang", XML_XML_NAMESPACE))
                fail(QStringLiteral("a language of its own on ") + QString::fromUtf8(reinterpret_cast<const char*>(c->name)));
            const std::string name = reinterpret_cast<const char*>(c->name);
            int self = owner;
            int ownChapter = chapter;
            if (c->ns) {
                // Foreign markup is rendered inside whatever holds it.
            } else if (name == "chapter" || name == "index") {
                if (!inBook) {
                    fail(QString::fromStdString(name) + QStringLiteral(" outside the book"));
                    return;
                }
                if (name == "chapter")
                    ownChapter = o.chapters++;
                else
                    ownChapter = -1;
                o.nodes.push_back({c, -1, ownChapter, 0});
                self = int(o.nodes.size()) - 1;
                ++o.entries;
            } else if (name == "section") {
                if (!isElement(parent, "chapter") && !isElement(parent, "section")) {
                    fail(QStringLiteral("a section outside a chapter"));
                    return;
                }
                ++o.entries;
                if (layout == Layout::Pages) {
                    o.nodes.push_back({c, owner, chapter, 0});
                    self = int(o.nodes.size()) - 1;
                }
            } else if (kForeign.count(name)) {
                fail(QStringLiteral("an element ") + QString::fromStdString(name));
                return;
            }
            if (self >= 0)
                ++o.nodes[size_t(self)].weight;
            else
                ++o.bookWeight;
            walk(c, self, ownChapter);
        }
    }
};

} // namespace

Outline outline(xmlDoc* doc, Layout layout)
{
    Outline o;
    xmlNode* root = doc ? xmlDocGetRootElement(doc) : nullptr;
    if (!isElement(root, "book")) {
        o.why = QStringLiteral("a document that is not a book");
        return o;
    }
    o.supported = true;
    Walker w{layout, o};
    w.walk(root, -1, -1);
    return o;
}

std::vector<int> shares(const Outline& o, int workers, Layout layout)
{
    const int n = int(o.nodes.size());
    workers = std::max(1, std::min(workers, n + 1));
    // The book's own page carries the contents (and the frames' contents or
    // the help project): a line of it weighs about as much as a few elements.
    const long book = o.bookWeight + (layout == Layout::Pages ? 2L : 3L) * o.entries;
    long total = book;
    for (const OutlineNode& node : o.nodes)
        total += node.weight;
    std::vector<int> bounds(size_t(workers) + 1, n);
    bounds[0] = 0;
    int k = 0;
    long before = book;
    for (int i = 0; i < n; ++i) {
        const long middle = before + o.nodes[size_t(i)].weight / 2;
        const int w = int(std::min<long>(workers - 1, total > 0 ? middle * workers / total : 0));
        while (k < w)
            bounds[size_t(++k)] = i;
        before += o.nodes[size_t(i)].weight;
    }
    return bounds;
}

namespace {

struct Shared;

// One worker: its transformation and what it rendered.
struct Worker {
    Shared* shared = nullptr;
    int index = 0;
    int first = 0;
    int last = 0;
    XsltJob job;
    std::unique_ptr<XsltTransform> transform;
    XsltResult result;
    // This worker's own document: its outline and the positions in it.
    std::vector<xmlNode*> nodes;
    std::unordered_map<const xmlNode*, int> position;
    bool outlineRead = false;
    QString outlineError;
    xmlNode* current = nullptr;
    int entered = -1;
    // Generated ids of nodes outside the document order (result trees).
    std::unordered_map<const xmlNode*, long> otherIds;
    // The table of chunks by element (Pages): made at the first question.
    struct Names {
        bool made = false;
        QString error;
        std::vector<char> chunk;         // by the element's place in the document
        std::vector<int> owner;          // the nearest chunk at or above it
        std::vector<std::string> file;   // a chunk's file name
        std::vector<std::string> stem;   // a chunk's name as its sections' names begin
        std::vector<std::string> id;     // what a link puts after '#'
    } names;
    // What it rendered.
    xmlNode* root = nullptr;
    xmlNode* common = nullptr;
    std::vector<xmlNode*> parts;
};

struct Shared {
    const Job* job = nullptr;
    const Outline* outline = nullptr;
    std::unique_ptr<std::atomic<int>[]> chapterLeft;
    std::atomic<int> chaptersDone{0};
    std::mutex progressMutex;

    void finished(int node)
    {
        if (node < 0)
            return;
        const int chapter = outline->nodes[size_t(node)].chapter;
        if (chapter < 0 || --chapterLeft[size_t(chapter)] != 0)
            return;
        const int done = ++chaptersDone;
        if (job->progress) {
            std::lock_guard<std::mutex> lock(progressMutex);
            job->progress(done, outline->chapters);
        }
    }
};

Worker* workerOf(xmlXPathParserContextPtr ctxt)
{
    return static_cast<Worker*>(xsltJobUserData(ctxt));
}

// The first node of the node-set argument; null for an empty set.
bool popNode(xmlXPathParserContextPtr ctxt, int nargs, xmlNode** node)
{
    if (nargs != 1) {
        xmlXPathSetArityError(ctxt);
        return false;
    }
    if (!ctxt->value || ctxt->value->type != XPATH_NODESET) {
        xmlXPathSetTypeError(ctxt);
        return false;
    }
    xmlXPathObjectPtr obj = valuePop(ctxt);
    *node = obj->nodesetval && obj->nodesetval->nodeNr > 0 ? obj->nodesetval->nodeTab[0] : nullptr;
    xmlXPathFreeObject(obj);
    return true;
}

void readOutline(Worker* w, xmlDoc* doc)
{
    if (w->outlineRead)
        return;
    w->outlineRead = true;
    Outline own = outline(doc, w->shared->job->layout);
    if (own.nodes.size() != w->shared->outline->nodes.size()) {
        w->outlineError = QStringLiteral("The book's outline differs between readings.");
        return;
    }
    for (size_t i = 0; i < own.nodes.size(); ++i) {
        w->nodes.push_back(own.nodes[i].node);
        w->position[own.nodes[i].node] = int(i);
    }
}

// qx:root(): whether this worker renders the book itself.
void fnRoot(xmlXPathParserContextPtr ctxt, int nargs)
{
    if (nargs != 0) {
        xmlXPathSetArityError(ctxt);
        return;
    }
    xmlXPathReturnBoolean(ctxt, workerOf(ctxt)->index == 0);
}

// qx:parts(): the nodes of this worker's share, in document order.
void fnParts(xmlXPathParserContextPtr ctxt, int nargs)
{
    if (nargs != 0) {
        xmlXPathSetArityError(ctxt);
        return;
    }
    Worker* w = workerOf(ctxt);
    readOutline(w, ctxt->context->doc);
    xmlNodeSetPtr set = xmlXPathNodeSetCreate(nullptr);
    if (w->outlineError.isEmpty())
        for (int i = w->first; i < w->last; ++i)
            xmlXPathNodeSetAdd(set, w->nodes[size_t(i)]);
    xmlXPathReturnNodeSet(ctxt, set);
}

// qx:enter(node): the node whose part is rendered now.
void fnEnter(xmlXPathParserContextPtr ctxt, int nargs)
{
    xmlNode* node = nullptr;
    if (!popNode(ctxt, nargs, &node))
        return;
    Worker* w = workerOf(ctxt);
    readOutline(w, ctxt->context->doc);
    w->current = node;
    auto it = w->position.find(node);
    w->shared->finished(w->entered);
    w->entered = it == w->position.end() ? -1 : it->second;
    xmlXPathReturnEmptyString(ctxt);
}

// qx:is-current(node)
void fnIsCurrent(xmlXPathParserContextPtr ctxt, int nargs)
{
    xmlNode* node = nullptr;
    if (!popNode(ctxt, nargs, &node))
        return;
    xmlXPathReturnBoolean(ctxt, node && node == workerOf(ctxt)->current);
}

// qx:slot(node): the node's place in the outline.
void fnSlot(xmlXPathParserContextPtr ctxt, int nargs)
{
    xmlNode* node = nullptr;
    if (!popNode(ctxt, nargs, &node))
        return;
    Worker* w = workerOf(ctxt);
    auto it = w->position.find(node);
    xmlXPathReturnNumber(ctxt, it == w->position.end() ? -1 : it->second);
}

// A parameter of the format's stylesheet, as a string.
std::string parameter(xsltTransformContext* tctxt, const char* name)
{
    xmlXPathObjectPtr v = xsltVariableLookup(tctxt, BAD_CAST name, nullptr);
    if (!v)
        return {};
    xmlChar* s = xmlXPathCastToString(v);
    std::string out = s ? reinterpret_cast<const char*>(s) : "";
    xmlFree(s);
    xmlXPathFreeObject(v);
    return out;
}

double number(const std::string& s)
{
    return xmlXPathCastStringToNumber(BAD_CAST s.c_str());
}

long orderOf(const xmlNode* n)
{
    return n && n->type == XML_ELEMENT_NODE ? -reinterpret_cast<ptrdiff_t>(n->content) : 0;
}

std::string twoDigits(int n)
{
    std::string s = std::to_string(n);
    return s.size() < 2 ? "0" + s : s;
}

std::string piFilename(const xmlNode* n)
{
    // <?dbhtml filename="name"?> among the node's children.
    for (const xmlNode* c = n->children; c; c = c->next) {
        if (c->type != XML_PI_NODE || !xmlStrEqual(c->name, BAD_CAST "dbhtml") || !c->content)
            continue;
        const std::string text = reinterpret_cast<const char*>(c->content);
        const size_t at = text.find("filename=");
        if (at == std::string::npos || at + 9 >= text.size())
            continue;
        const char quote = text[at + 9];
        const size_t end = text.find(quote, at + 10);
        if ((quote == '"' || quote == '\'') && end != std::string::npos)
            return text.substr(at + 10, end - at - 10);
    }
    return {};
}

// The table of chunks of the worker's document, as DocBook's chunker
// decides them for the book's outline (checked supported before).
void makeNames(Worker* w, xsltTransformContext* tctxt, xmlDoc* doc)
{
    Worker::Names& t = w->names;
    t.made = true;
    if (!tctxt || !doc) {
        t.error = QStringLiteral("no transformation");
        return;
    }
    const double depth = number(parameter(tctxt, "chunk.section.depth"));
    const bool firstSections = number(parameter(tctxt, "chunk.first.sections")) != 0;
    const std::string rootName = parameter(tctxt, "root.filename");
    const std::string ext = parameter(tctxt, "html.ext");
    const bool index = number(parameter(tctxt, "generate.index")) != 0;
    if (number(parameter(tctxt, "use.id.as.filename")) != 0)
        t.error = QStringLiteral("ids as file names");
    else if (!parameter(tctxt, "chunked.filename.prefix").empty())
        t.error = QStringLiteral("a file name prefix");
    else if (number(parameter(tctxt, "generate.consistent.ids")) != 0)
        t.error = QStringLiteral("consistent ids");
    if (!t.error.isEmpty())
        return;
    // Every element, in document order: its place is its number.
    std::vector<xmlNode*> all{nullptr};
    for (xmlNode* n = xmlDocGetRootElement(doc); n;) {
        if (orderOf(n) != long(all.size())) {
            t.error = QStringLiteral("a document out of order");
            return;
        }
        all.push_back(n);
        if (n->children && n->children->type != XML_ENTITY_DECL) {
            xmlNode* c = n->children;
            while (c && c->type != XML_ELEMENT_NODE)
                c = c->next;
            if (c) {
                n = c;
                continue;
            }
        }
        for (;;) {
            xmlNode* s = n->next;
            while (s && s->type != XML_ELEMENT_NODE)
                s = s->next;
            if (s) {
                n = s;
                break;
            }
            n = n->parent;
            if (!n || n->type != XML_ELEMENT_NODE) {
                n = nullptr;
                break;
            }
        }
    }
    const size_t count = all.size();
    t.chunk.assign(count, 0);
    t.owner.assign(count, 0);
    t.file.assign(count, {});
    t.stem.assign(count, {});
    t.id.assign(count, {});
    int chapters = 0;
    int indexes = 0;
    for (size_t i = 1; i < count; ++i) {
        xmlNode* n = all[i];
        const std::string name = reinterpret_cast<const char*>(n->name);
        const size_t parent = size_t(orderOf(n->parent));
        bool chunk = false;
        std::string stem;
        if (i == 1) {
            chunk = true;
            stem = "bk01";
        } else if (!n->ns && parent == 1 && name == "chapter") {
            chunk = true;
            stem = "ch" + twoDigits(++chapters);
        } else if (!n->ns && parent == 1 && name == "index") {
            ++indexes;
            bool elements = false;
            for (const xmlNode* c = n->children; c && !elements; c = c->next)
                elements = c->type == XML_ELEMENT_NODE;
            chunk = index || elements;
            stem = "ix" + twoDigits(indexes);
        } else if (!n->ns && name == "section" && t.chunk[parent]) {
            int level = 1;
            for (const xmlNode* a = n->parent; a && a->type == XML_ELEMENT_NODE; a = a->parent)
                level += isElement(a, "section");
            int place = 1;
            bool before = false;
            for (const xmlNode* s = n->prev; s; s = s->prev)
                if (isElement(s, "section")) {
                    ++place;
                    before = true;
                }
            chunk = depth >= level && (firstSections || before);
            stem = t.stem[parent] + "s" + twoDigits(place);
        }
        xmlChar* id = xmlGetProp(n, BAD_CAST "id");
        if (!id)
            id = xmlGetNsProp(n, BAD_CAST "id", XML_XML_NAMESPACE);
        t.id[i] = id ? reinterpret_cast<const char*>(id) : "id" + std::to_string(i);
        xmlFree(id);
        if (!chunk) {
            t.owner[i] = t.owner[parent];
            continue;
        }
        t.chunk[i] = 1;
        t.owner[i] = int(i);
        t.stem[i] = stem;
        const std::string own = piFilename(n);
        if (!own.empty())
            t.file[i] = own;
        else if (i == 1 && !rootName.empty())
            t.file[i] = rootName + ext;
        else
            t.file[i] = stem + ext;
    }
}

Worker::Names* namesOf(xmlXPathParserContextPtr ctxt)
{
    Worker* w = workerOf(ctxt);
    if (!w->names.made)
        makeNames(w, xsltXPathGetTransformContext(ctxt), ctxt->context->doc);
    return w->names.error.isEmpty() ? &w->names : nullptr;
}

// The element a question is about, by its place in the table; 0: none.
size_t askedAbout(xmlXPathParserContextPtr ctxt, int nargs, bool* ok)
{
    xmlNode* node = nullptr;
    *ok = popNode(ctxt, nargs, &node);
    Worker::Names* t = *ok ? namesOf(ctxt) : nullptr;
    const long at = orderOf(node);
    if (!t || node == nullptr || node->doc != ctxt->context->doc || at <= 0 || size_t(at) >= t->chunk.size())
        return 0;
    return size_t(at);
}

// qx:chunk(node): "1" for a chunk, as DocBook's template answers.
void fnChunk(xmlXPathParserContextPtr ctxt, int nargs)
{
    const bool empty = ctxt->value && ctxt->value->type == XPATH_NODESET &&
                       (!ctxt->value->nodesetval || ctxt->value->nodesetval->nodeNr == 0);
    bool ok = false;
    const size_t at = askedAbout(ctxt, nargs, &ok);
    if (!ok)
        return;
    // DocBook counts a node without a parent, and so no node, as a chunk.
    const bool chunk = at ? workerOf(ctxt)->names.chunk[at] != 0 : empty;
    xmlXPathReturnString(ctxt, xmlStrdup(BAD_CAST(chunk ? "1" : "0")));
}

// qx:filename(node): the file of the chunk that holds the node.
void fnFilename(xmlXPathParserContextPtr ctxt, int nargs)
{
    bool ok = false;
    const size_t at = askedAbout(ctxt, nargs, &ok);
    if (!ok)
        return;
    const Worker::Names& t = workerOf(ctxt)->names;
    const std::string file = at ? t.file[size_t(t.owner[at])] : std::string();
    xmlXPathReturnString(ctxt, xmlStrdup(BAD_CAST file.c_str()));
}

// qx:href(node): how a link reaches the node.
void fnHref(xmlXPathParserContextPtr ctxt, int nargs)
{
    bool ok = false;
    const size_t at = askedAbout(ctxt, nargs, &ok);
    if (!ok)
        return;
    const Worker::Names& t = workerOf(ctxt)->names;
    std::string href;
    if (at) {
        href = t.file[size_t(t.owner[at])];
        if (!t.chunk[at])
            href += "#" + t.id[at];
    }
    xmlXPathReturnString(ctxt, xmlStrdup(BAD_CAST href.c_str()));
}

// generate-id() by the node's place in the document: every worker gives a
// node the same id, so a link made by one finds the anchor made by another.
// (The library numbers nodes in the order it is asked about them.)
void stableId(xmlXPathParserContextPtr ctxt, int nargs)
{
    xmlNode* cur = nullptr;
    if (nargs == 0) {
        cur = ctxt->context->node;
    } else if (nargs == 1) {
        if (!ctxt->value || ctxt->value->type != XPATH_NODESET) {
            xmlXPathSetTypeError(ctxt);
            return;
        }
        xmlXPathObjectPtr obj = valuePop(ctxt);
        xmlNodeSetPtr set = obj->nodesetval;
        if (set && set->nodeNr > 0) {
            cur = set->nodeTab[0];
            for (int i = 1; i < set->nodeNr; ++i)
                if (xmlXPathCmpNodes(cur, set->nodeTab[i]) == -1)
                    cur = set->nodeTab[i];
        }
        xmlXPathFreeObject(obj);
        if (!cur) {
            xmlXPathReturnEmptyString(ctxt);
            return;
        }
    } else {
        xmlXPathSetArityError(ctxt);
        return;
    }
    Worker* w = workerOf(ctxt);
    auto order = [w](const xmlNode* n) -> long {
        if (n->type == XML_ELEMENT_NODE) {
            const long index = -reinterpret_cast<ptrdiff_t>(n->content);
            if (index > 0 && n->doc == w->transform->source())
                return index;
        }
        auto it = w->otherIds.find(n);
        if (it != w->otherIds.end())
            return it->second;
        const long id = -1 - long(w->otherIds.size());
        w->otherIds[n] = id;
        return id;
    };
    char buf[80];
    switch (cur->type) {
    case XML_DOCUMENT_NODE:
    case XML_HTML_DOCUMENT_NODE:
        std::snprintf(buf, sizeof buf, "id0");
        break;
    case XML_ELEMENT_NODE: {
        const long o = order(cur);
        std::snprintf(buf, sizeof buf, o > 0 ? "id%ld" : "idr%ld", o > 0 ? o : -o);
        break;
    }
    case XML_NAMESPACE_DECL: {
        const xmlNode* owner = reinterpret_cast<const xmlNode*>(reinterpret_cast<const xmlNs*>(cur)->next);
        std::snprintf(buf, sizeof buf, "idn%ld", owner ? std::abs(order(owner)) : 0L);
        break;
    }
    default: {
        // Attributes, texts and instructions: by their parent and place.
        int place = 0;
        const xmlNode* parent = cur->parent;
        if (cur->type == XML_ATTRIBUTE_NODE) {
            for (const xmlAttr* a = parent ? parent->properties : nullptr; a && a != reinterpret_cast<xmlAttr*>(cur);
                 a = a->next)
                ++place;
        } else {
            for (const xmlNode* s = cur->prev; s; s = s->prev)
                ++place;
        }
        const long o = parent && parent->type == XML_ELEMENT_NODE ? order(parent) : 0;
        std::snprintf(buf, sizeof buf, "id%s%ld%c%d", o < 0 ? "r" : "", std::abs(o),
                      cur->type == XML_ATTRIBUTE_NODE ? 'a' : 't', place);
        break;
    }
    }
    xmlXPathReturnString(ctxt, xmlStrdup(BAD_CAST buf));
}

void replaceGenerateId(xsltTransformContext* ctxt)
{
    xmlXPathRegisterFunc(ctxt->xpathCtxt, BAD_CAST "generate-id", nullptr);
    xmlXPathRegisterFunc(ctxt->xpathCtxt, BAD_CAST "generate-id", stableId);
}

QString fileUrl(const QString& path)
{
    return mCommon::escapeXMLAttribute(QString::fromUtf8(QUrl::fromLocalFile(path).toEncoded()));
}

// The bytes of nodes as the HTML output method writes them.
QByteArray dump(xmlDoc* doc, xmlNode* first, const xmlChar* encoding)
{
    xmlCharEncodingHandlerPtr encoder = nullptr;
    if (encoding) {
        encoder = xmlFindCharEncodingHandler(reinterpret_cast<const char*>(encoding));
        if (encoder && xmlStrEqual(BAD_CAST encoder->name, BAD_CAST "UTF-8"))
            encoder = nullptr;
    }
    xmlOutputBufferPtr buf = xmlAllocOutputBuffer(encoder);
    if (!buf)
        return {};
    for (xmlNode* n = first; n; n = n->next)
        htmlNodeDumpFormatOutput(buf, doc, n, reinterpret_cast<const char*>(encoding), 0);
    xmlOutputBufferFlush(buf);
    xmlBufPtr b = buf->conv ? buf->conv : buf->buffer;
    QByteArray out(reinterpret_cast<const char*>(xmlBufContent(b)), int(xmlBufUse(b)));
    xmlOutputBufferClose(buf);
    return out;
}

QByteArray save(xmlDoc* doc, xsltStylesheet* style)
{
    xmlChar* text = nullptr;
    int length = 0;
    if (xsltSaveResultToString(&text, &length, doc, style) < 0)
        return {};
    QByteArray out(reinterpret_cast<const char*>(text), length);
    xmlFree(text);
    return out;
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size() && f.flush();
}

// A relative file name DocBook gave a chunk, which stays in its folder.
bool plainName(const QByteArray& href)
{
    return !href.isEmpty() && !href.contains('/') && !href.contains('\\') && !href.contains('#') &&
           !href.contains(':') && href != "." && href != "..";
}

struct Common {
    const xmlNode* node = nullptr;
    QByteArray divElement, alignStart, alignEnd;
    QByteArray prev, next, up, home;
    bool showTitles = true, headerRule = true, footerRule = true;
    bool headerNavigation = true, footerNavigation = true;

    // An empty reason: the program writes the pages as DocBook would.
    QString read(const xmlNode* n)
    {
        node = n;
        if (!n)
            return QStringLiteral("the shared parts of the pages are missing");
        auto number = [&](const char* name) { return attribute(n, name).toDouble() != 0; };
        if (number("extra-head-links"))
            return QStringLiteral("extra links in the head");
        if (number("legalnotice"))
            return QStringLiteral("a legal notice");
        if (number("navig-graphics"))
            return QStringLiteral("pictures in the navigation");
        if (number("chunk-tocs-and-lots"))
            return QStringLiteral("contents on pages of their own");
        divElement = attribute(n, "div-element");
        alignStart = attribute(n, "align-start");
        alignEnd = attribute(n, "align-end");
        prev = attribute(n, "prev");
        next = attribute(n, "next");
        up = attribute(n, "up");
        home = attribute(n, "home");
        showTitles = number("navig-showtitles");
        headerRule = number("header-rule");
        footerRule = number("footer-rule");
        const bool navigation = attribute(n, "suppress-navigation") == "0";
        headerNavigation = navigation && attribute(n, "suppress-header-navigation") == "0";
        footerNavigation = navigation && attribute(n, "suppress-footer-navigation") == "0";
        return {};
    }
    xmlNode* part(const char* name) const { return partChild(node, name); }
};

// A chunk of the book: the book itself first, then the chunks of the
// outline in document order.
struct Chunk {
    const xmlNode* title = nullptr;
    QByteArray text;
    const xmlNode* head = nullptr;
    const xmlNode* body = nullptr;
    QByteArray href;
    int up = -1;
    int prev = -1;
    int next = -1;
};

class PageWriter {
public:
    PageWriter(const Common& common, const std::vector<Chunk>& chunks, xsltStylesheet* style)
        : c(common), chunks(chunks), style(style)
    {
    }

    QByteArray page(int self) const
    {
        const Chunk& me = chunks[size_t(self)];
        xmlDocPtr doc = htmlNewDocNoDtD(nullptr, nullptr);
        xmlsafe::DocPtr owner(doc);
        const xmlChar* system = nullptr;
        const xmlChar* publicId = nullptr;
        XSLT_GET_IMPORT_PTR(system, style, doctypeSystem)
        XSLT_GET_IMPORT_PTR(publicId, style, doctypePublic)
        if (system || publicId)
            xmlCreateIntSubset(doc, BAD_CAST "html", publicId, system);

        xmlNode* html = xmlNewDocNode(doc, nullptr, BAD_CAST "html", nullptr);
        xmlDocSetRootElement(doc, html);
        copyAttributes(html, c.part("html"));
        if (const xmlNode* pre = c.part("preroot"))
            for (xmlNode* n = pre->children; n; n = n->next)
                xmlAddPrevSibling(html, xmlDocCopyNode(n, doc, 1));

        xmlNode* head = element(html, "head");
        copyChildren(head, me.head);
        // Home and up links are left out of pages whose division is a section.
        if (c.divElement != "section")
            link(head, "home", 0);
        if (me.up >= 0 && c.divElement != "section")
            link(head, "up", me.up);
        if (me.prev >= 0)
            link(head, "prev", me.prev);
        if (me.next >= 0)
            link(head, "next", me.next);
        copyChildren(head, c.part("user-head"));

        xmlNode* body = element(html, "body");
        copyAttributes(body, c.part("body"));
        copyChildren(body, c.part("user-header-navigation"));
        if (c.headerNavigation)
            header(body, self);
        copyChildren(body, c.part("user-header"));
        copyChildren(body, me.body);
        copyChildren(body, c.part("user-footer"));
        if (c.footerNavigation)
            footer(body, self);
        copyChildren(body, c.part("user-footer-navigation"));
        const QByteArray append = textOf(c.part("append"));
        if (!append.isEmpty())
            xmlAddNextSibling(html, xmlNewDocText(doc, BAD_CAST append.constData()));
        return save(doc, style);
    }

private:
    const Common& c;
    const std::vector<Chunk>& chunks;
    xsltStylesheet* style;

    static xmlNode* element(xmlNode* parent, const char* name)
    {
        return xmlNewChild(parent, nullptr, BAD_CAST name, nullptr);
    }
    static void set(xmlNode* n, const char* name, const QByteArray& value)
    {
        xmlNewProp(n, BAD_CAST name, BAD_CAST value.constData());
    }
    static void text(xmlNode* parent, const QByteArray& t)
    {
        xmlAddChild(parent, xmlNewDocText(parent->doc, BAD_CAST t.constData()));
    }
    static void copyChildren(xmlNode* to, const xmlNode* from)
    {
        if (from && from->children)
            xmlAddChildList(to, xmlDocCopyNodeList(to->doc, from->children));
    }
    static void copyAttributes(xmlNode* to, const xmlNode* from)
    {
        for (const xmlAttr* a = from ? from->properties : nullptr; a; a = a->next) {
            xmlChar* v = xmlNodeGetContent(reinterpret_cast<const xmlNode*>(a));
            xmlNewProp(to, a->name, v);
            xmlFree(v);
        }
    }

    void link(xmlNode* head, const char* rel, int target) const
    {
        xmlNode* l = element(head, "link");
        set(l, "rel", rel);
        set(l, "href", chunks[size_t(target)].href);
        set(l, "title", chunks[size_t(target)].text);
    }

    void anchor(xmlNode* parent, const char* key, int target, const QByteArray& label) const
    {
        xmlNode* a = element(parent, "a");
        set(a, "accesskey", key);
        set(a, "href", chunks[size_t(target)].href);
        text(a, label);
    }

    void title(xmlNode* parent, int which) const { copyChildren(parent, chunks[size_t(which)].title); }

    void header(xmlNode* body, int self) const
    {
        const Chunk& me = chunks[size_t(self)];
        const bool upShown = me.up >= 0 && me.up != 0;
        const bool row1 = c.showTitles;
        const bool row2 = me.prev >= 0 || (upShown && c.showTitles) || me.next >= 0;
        xmlNode* div = element(body, "div");
        set(div, "class", "navheader");
        if (row1 || row2) {
            xmlNode* table = element(div, "table");
            set(table, "width", "100%");
            set(table, "summary", "Navigation header");
            if (row1) {
                xmlNode* th = element(element(table, "tr"), "th");
                set(th, "colspan", "3");
                set(th, "align", "center");
                title(th, self);
            }
            if (row2) {
                xmlNode* tr = element(table, "tr");
                xmlNode* left = element(tr, "td");
                set(left, "width", "20%");
                set(left, "align", c.alignStart);
                if (me.prev >= 0)
                    anchor(left, "p", me.prev, c.prev);
                text(left, kNbsp);
                xmlNode* th = element(tr, "th");
                set(th, "width", "60%");
                set(th, "align", "center");
                if (upShown && c.showTitles)
                    title(th, me.up);
                else
                    text(th, kNbsp);
                xmlNode* right = element(tr, "td");
                set(right, "width", "20%");
                set(right, "align", c.alignEnd);
                text(right, kNbsp);
                if (me.next >= 0)
                    anchor(right, "n", me.next, c.next);
            }
        }
        if (c.headerRule)
            element(div, "hr");
    }

    void footer(xmlNode* body, int self) const
    {
        const Chunk& me = chunks[size_t(self)];
        const bool upShown = me.up >= 0 && me.up != 0;
        const bool row1 = me.prev >= 0 || me.up >= 0 || me.next >= 0;
        const bool row2 = (me.prev >= 0 && c.showTitles) || self != 0 || (me.next >= 0 && c.showTitles);
        xmlNode* div = element(body, "div");
        set(div, "class", "navfooter");
        if (c.footerRule)
            element(div, "hr");
        if (!row1 && !row2)
            return;
        xmlNode* table = element(div, "table");
        set(table, "width", "100%");
        set(table, "summary", "Navigation footer");
        if (row1) {
            xmlNode* tr = element(table, "tr");
            xmlNode* left = element(tr, "td");
            set(left, "width", "40%");
            set(left, "align", c.alignStart);
            if (me.prev >= 0)
                anchor(left, "p", me.prev, c.prev);
            text(left, kNbsp);
            xmlNode* middle = element(tr, "td");
            set(middle, "width", "20%");
            set(middle, "align", "center");
            if (upShown)
                anchor(middle, "u", me.up, c.up);
            else
                text(middle, kNbsp);
            xmlNode* right = element(tr, "td");
            set(right, "width", "40%");
            set(right, "align", c.alignEnd);
            text(right, kNbsp);
            if (me.next >= 0)
                anchor(right, "n", me.next, c.next);
        }
        if (row2) {
            xmlNode* tr = element(table, "tr");
            xmlNode* left = element(tr, "td");
            set(left, "width", "40%");
            set(left, "align", c.alignStart);
            set(left, "valign", "top");
            if (c.showTitles && me.prev >= 0)
                title(left, me.prev);
            text(left, kNbsp);
            xmlNode* middle = element(tr, "td");
            set(middle, "width", "20%");
            set(middle, "align", "center");
            if (self != 0)
                anchor(middle, "h", 0, c.home);
            else
                text(middle, kNbsp);
            xmlNode* right = element(tr, "td");
            set(right, "width", "40%");
            set(right, "align", c.alignEnd);
            set(right, "valign", "top");
            text(right, kNbsp);
            if (c.showTitles && me.next >= 0)
                title(right, me.next);
        }
    }
};

// The output settings of DocBook's pages, as its chunker gives them to
// each page it writes.
xsltStylesheet* pageStyle(const xmlNode* common, QString* why)
{
    const QByteArray method = attribute(common, "method");
    if (method != "html") {
        *why = QStringLiteral("pages written with the output method ") + QString::fromUtf8(method);
        return nullptr;
    }
    QString text = QStringLiteral("<xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" version=\"1.0\">"
                                  "<xsl:output method=\"html\"");
    auto add = [&](const char* name, const char* key) {
        const QByteArray v = attribute(common, key);
        if (!v.isEmpty())
            text += QStringLiteral(" %1=\"%2\"").arg(QString::fromLatin1(name),
                                                     mCommon::escapeXMLAttribute(QString::fromUtf8(v)));
    };
    add("encoding", "encoding");
    add("indent", "indent");
    add("media-type", "media-type");
    add("doctype-public", "doctype-public");
    add("doctype-system", "doctype-system");
    text += QStringLiteral("/></xsl:stylesheet>");
    const QByteArray bytes = text.toUtf8();
    xmlDocPtr doc = xmlReadMemory(bytes.constData(), bytes.size(), "page.xsl", nullptr, XML_PARSE_NONET);
    xsltStylesheet* style = doc ? xsltParseStylesheetDoc(doc) : nullptr;
    if (!style) {
        if (doc)
            xmlFreeDoc(doc);
        *why = QStringLiteral("the output settings of the pages cannot be read");
    }
    return style;
}

struct StyleDeleter {
    void operator()(xsltStylesheet* s) const { xsltFreeStylesheet(s); }
};

void runAll(int count, const std::function<void(int)>& work)
{
    std::vector<std::thread> threads;
    for (int k = 1; k < count; ++k)
        threads.emplace_back(work, k);
    work(0);
    for (std::thread& t : threads)
        t.join();
}

} // namespace

namespace {
std::atomic<bool> g_enabled{true};
}

bool enabled()
{
    return g_enabled;
}

void setEnabled(bool on)
{
    g_enabled = on;
}

Result run(const Job& job)
{
    Result result;
    // The outline, from one reading of the book.
    Outline o;
    {
        xmlsafe::EntityScope scope(job.readFolders);
        xmlsafe::DocPtr doc(xmlReadFile(QFile::encodeName(job.docbook).constData(), nullptr,
                                        XML_PARSE_NONET | XML_PARSE_NOENT));
        o = outline(doc.get(), job.layout);
        // The nodes belong to this reading: only the structure is kept.
        for (OutlineNode& n : o.nodes)
            n.node = nullptr;
    }
    if (!o.supported) {
        result.outcome = Outcome::Unsupported;
        result.messages = QStringLiteral("The book holds ") + o.why + QStringLiteral(".");
        return result;
    }

    QString driver = QStringLiteral("<?xml version=\"1.0\"?><xsl:stylesheet xmlns:xsl="
                                    "\"http://www.w3.org/1999/XSL/Transform\" version=\"1.0\">");
    driver += QStringLiteral("<xsl:import href=\"") + fileUrl(job.stylesheet) + QStringLiteral("\"/>");
    driver += QStringLiteral("<xsl:include href=\"") +
              fileUrl(publishpaths::partsXsl(job.layout == Layout::Pages)) + QStringLiteral("\"/>");
    driver += QStringLiteral("</xsl:stylesheet>");
    if (!writeFile(job.driver, driver.toUtf8())) {
        result.messages = QStringLiteral("The stylesheet of the parts cannot be written.");
        return result;
    }

    // Each worker holds the book and its parts: beyond four the memory grows
    // faster than the time falls.
    int count = job.workers > 0 ? job.workers : std::min(4, int(std::thread::hardware_concurrency()));
    const std::vector<int> bounds = shares(o, std::clamp(count, 1, 16), job.layout);
    count = int(bounds.size()) - 1;

    Shared shared;
    shared.job = &job;
    shared.outline = &o;
    shared.chapterLeft = std::make_unique<std::atomic<int>[]>(size_t(std::max(o.chapters, 1)));
    for (const OutlineNode& n : o.nodes)
        if (n.chapter >= 0)
            ++shared.chapterLeft[size_t(n.chapter)];
    if (job.progress)
        job.progress(0, o.chapters);

    static const XsltFunction kFunctions[] = {
        {kFunctionsNs, "root", fnRoot},          {kFunctionsNs, "parts", fnParts},
        {kFunctionsNs, "enter", fnEnter},        {kFunctionsNs, "is-current", fnIsCurrent},
        {kFunctionsNs, "slot", fnSlot},          {kFunctionsNs, "chunk", fnChunk},
        {kFunctionsNs, "filename", fnFilename},  {kFunctionsNs, "href", fnHref},
    };
    std::vector<Worker> workers(static_cast<size_t>(count));
    for (int k = 0; k < count; ++k) {
        Worker& w = workers[size_t(k)];
        w.shared = &shared;
        w.index = k;
        w.first = bounds[size_t(k)];
        w.last = bounds[size_t(k) + 1];
        XsltJob& x = w.job;
        x.stylesheet = job.driver;
        x.input = job.docbook;
        x.inputDtd = false;
        x.outputBase = job.layout == Layout::Pages ? job.folder : QFileInfo(job.output).absolutePath();
        x.readFolders = job.readFolders;
        x.writeFolders = job.writeFolders;
        x.imageFolder = job.imageFolder;
        x.params = job.params;
        x.params.emplace_back(QStringLiteral("quillary.slots"),
                              job.layout == Layout::Single ? QStringLiteral("1") : QStringLiteral("0"));
        x.functions.assign(std::begin(kFunctions), std::end(kFunctions));
        x.userData = &w;
        x.cancel = job.cancel;
        Worker* self = &w;
        x.onContext = [self](xsltTransformContext* ctxt) {
            xmlXPathOrderDocElems(self->transform->source());
            replaceGenerateId(ctxt);
        };
        w.transform = std::make_unique<XsltTransform>(x);
    }

    // Each worker renders its share.
    runAll(count, [&](int k) {
        Worker& w = workers[size_t(k)];
        w.result = w.transform->run();
        shared.finished(w.entered);
        w.entered = -1;
    });

    for (Worker& w : workers) {
        result.messages += w.result.messages;
        result.written += w.result.written;
        if (!w.outlineError.isEmpty())
            result.messages += w.outlineError + QLatin1Char('\n');
    }
    for (Worker& w : workers)
        if (!w.result.transformed)
            return result;
    for (Worker& w : workers)
        if (!w.names.error.isEmpty()) {
            result.outcome = Outcome::Unsupported;
            result.messages = QStringLiteral("The book's pages need ") + w.names.error + QStringLiteral(".");
            return result;
        }
    for (Worker& w : workers) {
        xmlNode* parts = w.transform->result() ? xmlDocGetRootElement(w.transform->result()) : nullptr;
        if (!w.result.transformed || !w.outlineError.isEmpty() || !isPart(parts, "parts"))
            return result;
        for (xmlNode* c = parts->children; c; c = c->next) {
            if (isPart(c, "root"))
                w.root = c;
            else if (isPart(c, "common"))
                w.common = c;
            else if (isPart(c, "part"))
                w.parts.push_back(c);
        }
        if (int(w.parts.size()) != w.last - w.first || (w.index == 0) != (w.root != nullptr)) {
            result.messages += QStringLiteral("The parts of the book are incomplete.\n");
            return result;
        }
    }
    std::vector<xmlNode*> parts;
    std::vector<int> ownerOf;
    for (Worker& w : workers)
        for (xmlNode* p : w.parts) {
            parts.push_back(p);
            ownerOf.push_back(w.index);
        }

    if (job.layout == Layout::Single) {
        // The book with an instruction where each chapter goes, filled in.
        Worker& first = workers[0];
        xsltStylesheet* style = first.transform->style();
        const xmlChar* method = nullptr;
        const xmlChar* encoding = nullptr;
        const xmlChar* system = nullptr;
        const xmlChar* publicId = nullptr;
        int indent = -1;
        XSLT_GET_IMPORT_PTR(method, style, method)
        XSLT_GET_IMPORT_PTR(encoding, style, encoding)
        XSLT_GET_IMPORT_PTR(system, style, doctypeSystem)
        XSLT_GET_IMPORT_PTR(publicId, style, doctypePublic)
        XSLT_GET_IMPORT_INT(indent, style, indent)
        if (!xmlStrEqual(method, BAD_CAST "html") || indent > 0) {
            result.outcome = Outcome::Unsupported;
            result.messages = QStringLiteral("The page is written indented or not as HTML.");
            return result;
        }
        std::vector<QByteArray> bodies(parts.size());
        runAll(count, [&](int k) {
            for (size_t i = 0; i < parts.size(); ++i)
                if (ownerOf[i] == k)
                    if (const xmlNode* body = partChild(parts[i], "body"))
                        bodies[i] = dump(workers[size_t(k)].transform->result(), body->children, encoding);
        });
        xmlDocPtr page = htmlNewDocNoDtD(system, publicId);
        xmlsafe::DocPtr owner(page);
        if (const xmlNode* body = partChild(first.root, "body"))
            for (xmlNode* n = body->children; n; n = n->next) {
                xmlNode* copy = xmlDocCopyNode(n, page, 1);
                if (!xmlDocGetRootElement(page) && copy->type == XML_ELEMENT_NODE)
                    xmlDocSetRootElement(page, copy);
                else
                    xmlAddChild(reinterpret_cast<xmlNode*>(page), copy);
            }
        const QByteArray whole = save(page, style);
        QByteArray out;
        out.reserve(whole.size() + 16 * 1024 * 1024);
        static const QByteArray kSlot = "<?quillary-slot ";
        int at = 0;
        std::vector<bool> placed(parts.size(), false);
        for (;;) {
            const int slot = whole.indexOf(kSlot, at);
            if (slot < 0)
                break;
            const int end = whole.indexOf('>', slot);
            bool ok = false;
            const int n = whole.mid(slot + kSlot.size(), end - slot - kSlot.size()).toInt(&ok);
            if (end < 0 || !ok || n < 0 || size_t(n) >= parts.size() || placed[size_t(n)]) {
                result.messages += QStringLiteral("The page of the book cannot be put together.\n");
                return result;
            }
            placed[size_t(n)] = true;
            out += whole.mid(at, slot - at);
            out += bodies[size_t(n)];
            at = end + 1;
        }
        out += whole.mid(at);
        result.written << job.output;
        if (!writeFile(job.output, out)) {
            result.messages += QStringLiteral("The page cannot be written.\n");
            return result;
        }
        result.outcome = Outcome::Done;
        return result;
    }

    // Pages: the table of chunks, and every page written from it.
    Common common;
    QString why = common.read(workers[0].common);
    std::unique_ptr<xsltStylesheet, StyleDeleter> style;
    if (why.isEmpty())
        style.reset(pageStyle(workers[0].common, &why));
    std::vector<Chunk> chunks;
    std::vector<int> chunkOf(parts.size(), -1);
    if (why.isEmpty()) {
        Chunk book;
        book.title = partChild(workers[0].root, "title");
        book.text = textOf(partChild(workers[0].root, "text"));
        book.head = partChild(workers[0].root, "head");
        book.body = partChild(workers[0].root, "body");
        book.href = attribute(workers[0].root, "href");
        chunks.push_back(book);
        for (size_t i = 0; i < parts.size(); ++i) {
            if (attribute(parts[i], "chunk") != "1")
                continue;
            Chunk ch;
            ch.title = partChild(parts[i], "title");
            ch.text = textOf(partChild(parts[i], "text"));
            ch.head = partChild(parts[i], "head");
            ch.body = partChild(parts[i], "body");
            ch.href = attribute(parts[i], "href");
            const int parent = o.nodes[i].parent;
            ch.up = parent < 0 ? 0 : chunkOf[size_t(parent)];
            if (ch.up < 0) {
                why = QStringLiteral("a chunk inside a part that is no chunk");
                break;
            }
            chunkOf[i] = int(chunks.size());
            chunks.push_back(ch);
        }
    }
    std::set<QByteArray> names;
    for (size_t i = 0; why.isEmpty() && i < chunks.size(); ++i) {
        if (!plainName(chunks[i].href) || !names.insert(chunks[i].href).second)
            why = QStringLiteral("a page named ") + QString::fromUtf8(chunks[i].href);
        chunks[i].prev = int(i) - 1;
        chunks[i].next = i + 1 < chunks.size() ? int(i) + 1 : -1;
    }
    if (!why.isEmpty()) {
        result.outcome = Outcome::Unsupported;
        result.messages = QStringLiteral("The book's pages need ") + why + QStringLiteral(".");
        return result;
    }
    const PageWriter writer(common, chunks, style.get());
    std::atomic<size_t> next{0};
    std::atomic<bool> failed{false};
    std::mutex errorMutex;
    runAll(count, [&](int) {
        for (size_t i = next++; i < chunks.size() && !failed; i = next++) {
            const QString path = job.folder + QLatin1Char('/') + QString::fromUtf8(chunks[i].href);
            {
                std::lock_guard<std::mutex> lock(errorMutex);
                result.written << path;
            }
            if (!writeFile(path, writer.page(int(i)))) {
                failed = true;
                std::lock_guard<std::mutex> lock(errorMutex);
                result.messages += QStringLiteral("The page \"") + path + QStringLiteral("\" cannot be written.\n");
            }
        }
    });
    if (!failed)
        result.outcome = Outcome::Done;
    return result;
}

} // namespace chunker
