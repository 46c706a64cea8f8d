#include "xmlsafety.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>
#include <QUrl>

#include <libxml/SAX2.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlsave.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <mutex>
#include <unordered_map>
#include <unordered_set>

namespace xmlsafe {

namespace {

thread_local QStringList tl_allowed;
thread_local ErrorCapture* tl_capture = nullptr;
xmlExternalEntityLoader g_defaultLoader = nullptr;

QString canonical(const QString& path)
{
    QFileInfo fi(path);
    QString c = fi.canonicalFilePath();
    // A dangling link is judged by where it points: a file made there later
    // would be what gets opened.
    for (int hops = 0; c.isEmpty() && fi.isSymLink() && hops < 16; ++hops) {
        fi = QFileInfo(fi.symLinkTarget());
        c = fi.canonicalFilePath();
    }
    if (c.isEmpty()) {
        // Not existing: resolve its folder.
        QString dir = QFileInfo(fi.absolutePath()).canonicalFilePath();
        if (dir.isEmpty())
            return QDir::cleanPath(fi.absoluteFilePath());
        return dir + QLatin1Char('/') + fi.fileName();
    }
    return c;
}

// Turns the URL libxml2 asks for into a local path; empty for anything that
// is not a local file.
QString localPath(const char* url)
{
    if (!url)
        return {};
    QString u = QString::fromUtf8(url);
    if (u.startsWith(QStringLiteral("file:"), Qt::CaseInsensitive)) {
        QUrl q(u);
        if (!q.isLocalFile())
            return {};
        return q.toLocalFile();
    }
    if (u.contains(QStringLiteral("://")))
        return {};
    return u;
}

xmlParserInputPtr guardedLoader(const char* url, const char* id, xmlParserCtxtPtr ctxt)
{
    QString path = localPath(url);
    if (!path.isEmpty() && isAllowed(path)) {
        // A FIFO would block the loader for ever.
        QString reason;
        int fd = openRegularFile(path, &reason);
        if (fd >= 0) {
            ::close(fd);
            return g_defaultLoader(url, id, ctxt);
        }
        if (tl_capture)
            tl_capture->recordMessage(reason);
        return nullptr;
    }
    QString msg = refusedEntityMessage(QString::fromUtf8(url ? url : id ? id : ""));
    if (tl_capture)
        tl_capture->recordMessage(msg);
    return nullptr;
}

void structuredError(void*, xmlErrorPtr e)
{
    if (tl_capture)
        tl_capture->record(e);
}

} // namespace

void init()
{
    static std::once_flag once;
    std::call_once(once, [] {
        xmlInitParser();
        g_defaultLoader = xmlGetExternalEntityLoader();
        xmlSetExternalEntityLoader(guardedLoader);
    });
}

EntityScope::EntityScope(const QStringList& allowedFolders)
{
    init();
    m_previous = tl_allowed;
    QStringList list;
    for (const QString& f : allowedFolders) {
        if (f.isEmpty())
            continue;
        QString c = canonical(f);
        if (!c.endsWith(QLatin1Char('/')))
            c += QLatin1Char('/');
        list << c;
    }
    tl_allowed = list;
}

EntityScope::~EntityScope()
{
    tl_allowed = m_previous;
}

bool isAllowed(const QString& path)
{
    QString c = canonical(path);
    for (const QString& root : tl_allowed)
        if (c.startsWith(root))
            return true;
    return false;
}

QString refusedEntityMessage(const QString& url)
{
    return QStringLiteral("External entity \"%1\" lies outside the project folder and is not read.")
        .arg(url);
}

bool amplificationExceeded(size_t expanded, size_t consumed)
{
    return expanded > kExpansionAllowance && expanded / kMaxAmplification > consumed;
}

QString amplificationMessage(const QString& file)
{
    return QStringLiteral("The entities of \"%1\" expand to more than %2 times the size of the file "
                          "(entity amplification); the file is not read.")
        .arg(file)
        .arg(kMaxAmplification);
}

namespace {
// Names of the general entities referred to in a replacement text.
std::vector<std::string> referencedNames(std::string_view text)
{
    std::vector<std::string> out;
    size_t p = 0;
    while ((p = text.find('&', p)) != std::string_view::npos) {
        size_t end = text.find(';', p + 1);
        if (end == std::string_view::npos)
            break;
        if (end > p + 1 && text[p + 1] != '#')
            out.emplace_back(text.substr(p + 1, end - p - 1));
        p = end + 1;
    }
    return out;
}

size_t saturatedAdd(size_t a, size_t b)
{
    return a > SIZE_MAX - b ? SIZE_MAX : a + b;
}
}

bool entityCycle(const std::vector<std::pair<std::string, std::string>>& internalEntities)
{
    std::unordered_map<std::string, std::vector<std::string>> refs;
    for (const auto& [name, content] : internalEntities)
        refs.emplace(name, referencedNames(content));
    // 1: on the current path, 2: done.
    std::unordered_map<std::string, int> state;
    std::function<bool(const std::string&)> visit = [&](const std::string& n) {
        auto it = refs.find(n);
        if (it == refs.end())
            return false;
        int& st = state[n];
        if (st == 1)
            return true;
        if (st == 2)
            return false;
        st = 1;
        for (const std::string& r : it->second)
            if (visit(r))
                return true;
        state[n] = 2;
        return false;
    };
    for (const auto& e : refs)
        if (visit(e.first))
            return true;
    return false;
}

namespace {
struct ExpansionSizer {
    xmlDoc* doc;
    std::unordered_map<xmlEntity*, size_t> memo;
    std::unordered_set<xmlEntity*> active;

    size_t entity(xmlEntity* e)
    {
        if (!e || e->etype != XML_INTERNAL_GENERAL_ENTITY)
            return e && e->etype == XML_INTERNAL_PREDEFINED_ENTITY ? 1 : 0;
        auto it = memo.find(e);
        if (it != memo.end())
            return it->second;
        if (!active.insert(e).second)
            return 0; // a loop: libxml2 refuses it on its own
        std::string_view text = e->content ? reinterpret_cast<const char*>(e->content) : "";
        size_t size = text.size();
        for (const std::string& name : referencedNames(text)) {
            xmlEntity* inner = xmlGetDocEntity(doc, reinterpret_cast<const xmlChar*>(name.c_str()));
            size = saturatedAdd(size, saturatedAdd(kEntityFixedCost, entity(inner)));
        }
        active.erase(e);
        memo[e] = size;
        return size;
    }

    size_t nodes(xmlNode* n)
    {
        size_t total = 0;
        for (; n; n = n->next) {
            if (n->type == XML_ENTITY_REF_NODE) {
                total = saturatedAdd(total, saturatedAdd(kEntityFixedCost, entity(xmlGetDocEntity(doc, n->name))));
                continue;
            }
            if (n->type == XML_ELEMENT_NODE) {
                for (xmlAttr* a = n->properties; a; a = a->next)
                    total = saturatedAdd(total, nodes(a->children));
                total = saturatedAdd(total, nodes(n->children));
            }
        }
        return total;
    }
};
}

size_t expandedEntityText(xmlDoc* doc)
{
    if (!doc)
        return 0;
    ExpansionSizer sizer{doc, {}, {}};
    size_t total = 0;
    for (xmlNode* n = doc->children; n; n = n->next)
        if (n->type == XML_ELEMENT_NODE)
            total = saturatedAdd(total, sizer.nodes(n));
    return total;
}

int openRegularFile(const QString& path, QString* reason)
{
    QByteArray p = QFile::encodeName(path);
    // Non-blocking, so that opening a FIFO without a writer returns at once.
    int fd = ::open(p.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        if (reason)
            *reason = QStringLiteral("Cannot read file \"%1\": %2.")
                          .arg(path, QString::fromLocal8Bit(std::strerror(errno)));
        return -1;
    }
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        QString kind = S_ISDIR(st.st_mode)    ? QStringLiteral("a folder")
                       : S_ISFIFO(st.st_mode) ? QStringLiteral("a FIFO")
                       : S_ISSOCK(st.st_mode) ? QStringLiteral("a socket")
                       : (S_ISCHR(st.st_mode) || S_ISBLK(st.st_mode)) ? QStringLiteral("a device")
                                                                       : QStringLiteral("not a file");
        if (reason)
            *reason = QStringLiteral("\"%1\" is %2, not a regular file, and is not read.").arg(path, kind);
        ::close(fd);
        return -1;
    }
    int flags = ::fcntl(fd, F_GETFL);
    if (flags >= 0)
        ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
    return fd;
}

bool readRegularFile(const QString& path, QByteArray& out, QString* reason)
{
    out.clear();
    int fd = openRegularFile(path, reason);
    if (fd < 0)
        return false;
    struct stat st;
    if (::fstat(fd, &st) == 0 && st.st_size > 0)
        out.reserve(qsizetype(st.st_size));
    char buf[65536];
    for (;;) {
        ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            if (reason)
                *reason = QStringLiteral("Cannot read file \"%1\": %2.")
                              .arg(path, QString::fromLocal8Bit(std::strerror(errno)));
            ::close(fd);
            out.clear();
            return false;
        }
        if (n == 0)
            break;
        out.append(buf, qsizetype(n));
    }
    ::close(fd);
    return true;
}

bool liesInside(const QString& path, const QString& folder)
{
    if (path.isEmpty() || folder.isEmpty())
        return false;
    QString root = canonical(folder);
    if (!root.endsWith(QLatin1Char('/')))
        root += QLatin1Char('/');
    return canonical(path).startsWith(root);
}

QString outsideFolderMessage(const QString& path)
{
    return QStringLiteral("\"%1\" lies outside the project folder and is not read.").arg(path);
}

ErrorCapture::ErrorCapture()
{
    init();
    m_previous = tl_capture;
    tl_capture = this;
    xmlSetStructuredErrorFunc(nullptr, structuredError);
}

ErrorCapture::~ErrorCapture()
{
    tl_capture = m_previous;
    if (!m_previous)
        xmlSetStructuredErrorFunc(nullptr, nullptr);
}

void ErrorCapture::record(const xmlError* e)
{
    if (!e || m_first.present)
        return;
    if (e->level == XML_ERR_WARNING)
        return;
    m_first.present = true;
    m_first.code = e->code;
    m_first.line = e->line;
    m_first.column = e->int2;
    m_first.file = e->file ? QString::fromUtf8(e->file) : QString();
    m_first.message = QString::fromUtf8(e->message ? e->message : "").trimmed();
}

void ErrorCapture::recordMessage(const QString& message)
{
    if (m_first.present)
        return;
    m_first.present = true;
    m_first.code = XML_IO_LOAD_ERROR;
    m_first.message = message;
}

namespace {
// Internal entity declarations as the parser meets them, for telling a loop
// from an amplification after a failed parse (the document is gone then).
thread_local std::vector<std::pair<std::string, std::string>>* tl_declared = nullptr;

void recordingEntityDecl(void* ctx, const xmlChar* name, int type, const xmlChar* publicId,
                         const xmlChar* systemId, xmlChar* content)
{
    if (tl_declared && type == XML_INTERNAL_GENERAL_ENTITY && name)
        tl_declared->emplace_back(reinterpret_cast<const char*>(name),
                                  content ? reinterpret_cast<const char*>(content) : "");
    xmlSAX2EntityDecl(ctx, name, type, publicId, systemId, content);
}

DocPtr finishRead(xmlParserCtxtPtr ctxt, xmlDocPtr doc, ErrorCapture& cap, XmlError* error,
                  const QString& file, size_t inputSize,
                  const std::vector<std::pair<std::string, std::string>>& declared)
{
    bool bad = !doc || !ctxt->wellFormed || cap.any() ||
               ((ctxt->options & XML_PARSE_DTDVALID) && !ctxt->valid);
    // References left in the tree expand when its text is read: bound them
    // as libxml2 bounds the entities it substitutes.
    bool amplified = !bad && amplificationExceeded(expandedEntityText(doc), inputSize);
    if (bad || amplified) {
        if (error) {
            *error = cap.first();
            if (amplified || (error->code == XML_ERR_ENTITY_LOOP && !entityCycle(declared))) {
                *error = XmlError();
                error->present = true;
                error->code = XML_ERR_ENTITY_LOOP;
                error->message = amplificationMessage(file);
            }
            if (!error->present) {
                error->present = true;
                error->message = QStringLiteral("The document is not valid.");
            }
            if (error->file.isEmpty())
                error->file = file;
        }
        if (doc)
            xmlFreeDoc(doc);
        return nullptr;
    }
    return DocPtr(doc);
}

bool hasDoctype(const QByteArray& data)
{
    // Cheap test on both encodings.
    if (data.contains("<!DOCTYPE"))
        return true;
    static const QByteArray u16 = QByteArray("<\0!\0D\0O\0C\0T\0Y\0P\0E\0", 18);
    return data.contains(u16);
}
}

DocPtr readMemory(const QByteArray& data, const QString& baseName, int options, bool validate,
                  XmlError* error)
{
    init();
    ErrorCapture cap;
    int opts = options | kBaseOptions;
    opts &= ~XML_PARSE_HUGE;
    if (validate && hasDoctype(data))
        opts |= XML_PARSE_DTDVALID;
    xmlParserCtxtPtr ctxt = xmlNewParserCtxt();
    if (!ctxt)
        return nullptr;
    QByteArray base = QFile::encodeName(baseName);
    std::vector<std::pair<std::string, std::string>> declared;
    auto* previousDeclared = tl_declared;
    tl_declared = &declared;
    ctxt->sax->entityDecl = recordingEntityDecl;
    xmlDocPtr doc = xmlCtxtReadMemory(ctxt, data.constData(), int(data.size()),
                                      base.isEmpty() ? nullptr : base.constData(), nullptr, opts);
    tl_declared = previousDeclared;
    DocPtr result = finishRead(ctxt, doc, cap, error,
                               baseName.isEmpty() ? QString() : QFileInfo(baseName).fileName(),
                               size_t(data.size()), declared);
    xmlFreeParserCtxt(ctxt);
    return result;
}

DocPtr readFile(const QString& path, int options, bool validate, XmlError* error)
{
    QByteArray data;
    QString reason;
    if (!readRegularFile(path, data, &reason)) {
        if (error) {
            *error = XmlError();
            error->present = true;
            error->code = XML_IO_LOAD_ERROR;
            error->file = path;
            error->message = reason;
        }
        return nullptr;
    }
    return readMemory(data, QFileInfo(path).absoluteFilePath(), options, validate, error);
}

QString sourceLine(const QByteArray& bytes, int line)
{
    QString text;
    if (bytes.size() >= 2 && ((uchar(bytes[0]) == 0xFF && uchar(bytes[1]) == 0xFE) ||
                              (uchar(bytes[0]) == 0xFE && uchar(bytes[1]) == 0xFF))) {
        QStringDecoder d(uchar(bytes[0]) == 0xFF ? QStringDecoder::Utf16LE : QStringDecoder::Utf16BE);
        text = d(bytes.mid(2));
    } else {
        text = QString::fromUtf8(bytes);
    }
    QStringList lines = text.split(QLatin1Char('\n'));
    if (line < 1 || line > lines.size())
        return {};
    QString l = lines[line - 1];
    if (l.endsWith(QLatin1Char('\r')))
        l.chop(1);
    return l;
}

QString qs(const xmlChar* s)
{
    return s ? QString::fromUtf8(reinterpret_cast<const char*>(s)) : QString();
}

QString nodeXml(xmlNode* node)
{
    xmlBufferPtr buf = xmlBufferCreate();
    xmlNodeDump(buf, node->doc, node, 0, 0);
    QString s = QString::fromUtf8(reinterpret_cast<const char*>(xmlBufferContent(buf)),
                                  xmlBufferLength(buf));
    xmlBufferFree(buf);
    return s;
}

namespace {
std::string sv8(const xmlChar* s)
{
    return s ? std::string(reinterpret_cast<const char*>(s)) : std::string();
}

std::string ocur(xmlElementContent* c)
{
    switch (c->ocur) {
    case XML_ELEMENT_CONTENT_OPT: return "?";
    case XML_ELEMENT_CONTENT_MULT: return "*";
    case XML_ELEMENT_CONTENT_PLUS: return "+";
    default: return "";
    }
}

std::string particle(xmlElementContent* c);

void flatten(xmlElementContent* c, int type, std::vector<std::string>& items, bool top)
{
    if (c->type == type && (top || c->ocur == XML_ELEMENT_CONTENT_ONCE)) {
        flatten(c->c1, type, items, false);
        flatten(c->c2, type, items, false);
    } else {
        items.push_back(particle(c));
    }
}

std::string particle(xmlElementContent* c)
{
    if (!c)
        return "";
    switch (c->type) {
    case XML_ELEMENT_CONTENT_PCDATA: return "#PCDATA" + ocur(c);
    case XML_ELEMENT_CONTENT_ELEMENT:
        return (c->prefix ? sv8(c->prefix) + ":" : std::string()) + sv8(c->name) + ocur(c);
    case XML_ELEMENT_CONTENT_SEQ:
    case XML_ELEMENT_CONTENT_OR: {
        std::vector<std::string> items;
        flatten(c, c->type, items, true);
        std::string out = "(";
        for (size_t i = 0; i < items.size(); ++i) {
            if (i)
                out += c->type == XML_ELEMENT_CONTENT_SEQ ? "," : "|";
            out += items[i];
        }
        return out + ")" + ocur(c);
    }
    }
    return "";
}

std::string quoted(const std::string& v)
{
    std::string out = "\"";
    for (char ch : v) {
        switch (ch) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '"': out += "&quot;"; break;
        case '%': out += "&#37;"; break;
        default: out += ch;
        }
    }
    return out + "\"";
}
}

std::string contentModel(int elementType, xmlElementContent* content)
{
    switch (elementType) {
    case XML_ELEMENT_TYPE_EMPTY: return "EMPTY";
    case XML_ELEMENT_TYPE_ANY: return "ANY";
    default: break;
    }
    if (!content)
        return "";
    if (content->type == XML_ELEMENT_CONTENT_SEQ || content->type == XML_ELEMENT_CONTENT_OR)
        return particle(content);
    // A single particle: its parentheses, with its occurrence outside.
    std::string inner = content->type == XML_ELEMENT_CONTENT_PCDATA
                            ? "#PCDATA"
                            : (content->prefix ? sv8(content->prefix) + ":" : std::string()) +
                                  sv8(content->name);
    return "(" + inner + ")" + ocur(content);
}

std::string attributeType(int type, xmlEnumeration* tree)
{
    switch (type) {
    case XML_ATTRIBUTE_CDATA: return "CDATA";
    case XML_ATTRIBUTE_ID: return "ID";
    case XML_ATTRIBUTE_IDREF: return "IDREF";
    case XML_ATTRIBUTE_IDREFS: return "IDREFS";
    case XML_ATTRIBUTE_ENTITY: return "ENTITY";
    case XML_ATTRIBUTE_ENTITIES: return "ENTITIES";
    case XML_ATTRIBUTE_NMTOKEN: return "NMTOKEN";
    case XML_ATTRIBUTE_NMTOKENS: return "NMTOKENS";
    case XML_ATTRIBUTE_ENUMERATION:
    case XML_ATTRIBUTE_NOTATION: {
        std::string t = type == XML_ATTRIBUTE_NOTATION ? "NOTATION (" : "(";
        bool first = true;
        for (xmlEnumeration* e = tree; e; e = e->next) {
            if (!first)
                t += "|";
            t += sv8(e->name);
            first = false;
        }
        return t + ")";
    }
    default: return "CDATA";
    }
}

std::string attributeDefault(int def)
{
    switch (def) {
    case XML_ATTRIBUTE_REQUIRED: return "#REQUIRED";
    case XML_ATTRIBUTE_IMPLIED: return "#IMPLIED";
    case XML_ATTRIBUTE_FIXED: return "#FIXED";
    default: return "";
    }
}

QString doctypeText(xmlDtd* dtd)
{
    std::string out = "<!DOCTYPE " + sv8(dtd->name);
    if (dtd->ExternalID)
        out += " PUBLIC " + quoted(sv8(dtd->ExternalID)) + " " + quoted(sv8(dtd->SystemID));
    else if (dtd->SystemID)
        out += " SYSTEM " + quoted(sv8(dtd->SystemID));
    out += " [";
    for (xmlNode* n = dtd->children; n; n = n->next) {
        switch (n->type) {
        case XML_ELEMENT_DECL: {
            auto* e = reinterpret_cast<xmlElement*>(n);
            out += "<!ELEMENT " + (e->prefix ? sv8(e->prefix) + ":" : std::string()) + sv8(e->name) +
                   " " + contentModel(e->etype, e->content) + ">";
            break;
        }
        case XML_ATTRIBUTE_DECL: {
            auto* a = reinterpret_cast<xmlAttribute*>(n);
            out += "<!ATTLIST " + sv8(a->elem) + " " +
                   (a->prefix ? sv8(a->prefix) + ":" : std::string()) + sv8(a->name) + " " +
                   attributeType(a->atype, a->tree);
            std::string d = attributeDefault(a->def);
            if (!d.empty())
                out += " " + d;
            if (a->defaultValue)
                out += " " + quoted(sv8(a->defaultValue));
            out += ">";
            break;
        }
        case XML_ENTITY_DECL: {
            auto* e = reinterpret_cast<xmlEntity*>(n);
            bool param = e->etype == XML_INTERNAL_PARAMETER_ENTITY ||
                         e->etype == XML_EXTERNAL_PARAMETER_ENTITY;
            out += std::string("<!ENTITY ") + (param ? "% " : "") + sv8(e->name) + " ";
            if (e->ExternalID)
                out += "PUBLIC " + quoted(sv8(e->ExternalID)) + " " + quoted(sv8(e->SystemID));
            else if (e->SystemID)
                out += "SYSTEM " + quoted(sv8(e->SystemID));
            else
                out += quoted(sv8(e->content));
            out += ">";
            break;
        }
        default: break;
        }
    }
    out += "]>";
    return QString::fromUtf8(out);
}

QString doctypeFromSource(const QString& text)
{
    int start = text.indexOf(QStringLiteral("<!DOCTYPE"));
    if (start < 0)
        return {};
    QChar quote;
    bool inSubset = false;
    for (int i = start + 9; i < text.size(); ++i) {
        QChar c = text[i];
        if (!quote.isNull()) {
            if (c == quote)
                quote = QChar();
            continue;
        }
        if (inSubset && text.mid(i, 4) == QLatin1String("<!--")) {
            int end = text.indexOf(QStringLiteral("-->"), i + 4);
            if (end < 0)
                return {};
            i = end + 2;
            continue;
        }
        if (c == QLatin1Char('"') || c == QLatin1Char('\''))
            quote = c;
        else if (c == QLatin1Char('['))
            inSubset = true;
        else if (c == QLatin1Char(']'))
            inSubset = false;
        else if (c == QLatin1Char('>') && !inSubset)
            return text.mid(start, i - start + 1);
    }
    return {};
}

QString serializeText(xmlDoc* doc, const QString& doctype)
{
    // One line, as the system writes its files: declaration, document type
    // with its internal subset, root; then CRLF.
    QString out = QStringLiteral("<?xml version=\"1.0\"?>");
    for (xmlNode* n = doc->children; n; n = n->next) {
        if (n->type == XML_DTD_NODE)
            out += doctype.isEmpty() ? doctypeText(reinterpret_cast<xmlDtd*>(n)) : doctype;
        else if (n->type == XML_ELEMENT_NODE)
            out += nodeXml(n);
    }
    out += QStringLiteral("\r\n");
    return out;
}

QByteArray serializeUtf16(xmlDoc* doc, const QString& doctype)
{
    QString s = serializeText(doc, doctype);
    QByteArray out;
    out.reserve(2 + s.size() * 2);
    out.append('\xFF');
    out.append('\xFE');
    for (QChar c : s) {
        ushort u = c.unicode();
        out.append(char(u & 0xFF));
        out.append(char(u >> 8));
    }
    return out;
}

QString nodeText(xmlNode* node)
{
    xmlChar* c = xmlNodeGetContent(node);
    QString s = qs(c);
    xmlFree(c);
    return s;
}

QString attr(xmlNode* node, const char* name)
{
    xmlChar* v = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
    QString s = qs(v);
    xmlFree(v);
    return s;
}

bool hasAttr(xmlNode* node, const char* name)
{
    return xmlHasProp(node, reinterpret_cast<const xmlChar*>(name)) != nullptr;
}

xmlNode* firstChildElement(xmlNode* parent, const char* name)
{
    if (!parent)
        return nullptr;
    for (xmlNode* c = parent->children; c; c = c->next)
        if (c->type == XML_ELEMENT_NODE && xmlStrEqual(c->name, reinterpret_cast<const xmlChar*>(name)))
            return c;
    return nullptr;
}

} // namespace xmlsafe
