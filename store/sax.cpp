#include "sax.h"

#include "csaxerrorhandler.h"

#include <QFile>
#include <QFileInfo>

#include <libxml/SAX2.h>
#include <libxml/parserInternals.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <unistd.h>

namespace sax {

bool Attrs::has(std::string_view name) const
{
    for (const auto& a : m_list)
        if (a.name == name)
            return true;
    return false;
}

std::string_view Attrs::value(std::string_view name) const
{
    for (const auto& a : m_list)
        if (a.name == name)
            return a.value;
    return {};
}

QString Attrs::qvalue(std::string_view name) const
{
    return qs(value(name));
}

void Attrs::clear()
{
    m_list.clear();
    m_owned.clear();
}

std::string_view Attrs::keep(std::string s)
{
    m_owned.push_back(std::move(s));
    return m_owned.back();
}

void Handler::startDocument() {}
void Handler::endDocument() {}
void Handler::startElement(std::string_view, const Attrs&) {}
void Handler::endElement(std::string_view) {}
void Handler::characters(std::string_view) {}
void Handler::skippedEntity(std::string_view) {}
void Handler::startDTD(std::string_view, std::string_view, std::string_view) {}
void Handler::endDTD() {}
void Handler::elementDecl(std::string_view, std::string_view) {}
void Handler::attributeDecl(std::string_view, std::string_view, std::string_view, std::string_view,
                            std::string_view)
{
}
void Handler::externalEntityDecl(std::string_view, std::string_view, std::string_view) {}
void Handler::internalEntityDecl(std::string_view, std::string_view) {}

std::string_view trimText(std::string_view t)
{
    if (t == "\t" || t == "\n")
        return {};
    size_t i = 0;
    while (i < t.size() && static_cast<unsigned char>(t[i]) < 32)
        ++i;
    return t.substr(i);
}

namespace {
std::string_view sv(const xmlChar* s)
{
    return s ? std::string_view(reinterpret_cast<const char*>(s)) : std::string_view();
}
}

struct Reader::Impl {
    static Reader* self(void* ctx)
    {
        return static_cast<Reader*>(static_cast<xmlParserCtxtPtr>(ctx)->_private);
    }

    static void flush(Reader* r)
    {
        if (r->m_text.empty())
            return;
        std::string text;
        text.swap(r->m_text);
        r->m_handler.characters(text);
        // Keep the buffer's capacity for the next text.
        text.clear();
        r->m_text.swap(text);
    }

    static void startElementNs(void* ctx, const xmlChar* localname, const xmlChar* prefix,
                               const xmlChar*, int, const xmlChar**, int nbAttributes, int,
                               const xmlChar** attributes)
    {
        Reader* r = self(ctx);
        if (r->echo(ctx) || r->m_stopRequested)
            return;
        flush(r);
        auto* ctxt = static_cast<xmlParserCtxtPtr>(ctx);
        r->m_attrs.clear();
        for (int i = 0; i < nbAttributes; ++i) {
            const xmlChar** a = attributes + i * 5;
            std::string_view name = sv(a[0]);
            if (a[1]) {
                name = r->m_attrs.keep(std::string(sv(a[1])) + ":" + std::string(name));
            }
            std::string_view value(reinterpret_cast<const char*>(a[3]), size_t(a[4] - a[3]));
            // With substitution, libxml2 expands entities in attribute values.
            if (r->m_expand && !r->expanded(value.size()))
                return;
            // Without substitution libxml2 hands "&" over as "&#38;".
            if (!ctxt->replaceEntities && value.find("&#38;") != std::string_view::npos) {
                std::string v(value);
                size_t p;
                while ((p = v.find("&#38;")) != std::string::npos)
                    v.replace(p, 5, "&");
                value = r->m_attrs.keep(std::move(v));
            }
            r->m_attrs.add(name, value);
        }
        if (prefix) {
            r->m_nameBuf = std::string(sv(prefix)) + ":" + std::string(sv(localname));
            r->m_handler.startElement(r->m_nameBuf, r->m_attrs);
        } else {
            r->m_handler.startElement(sv(localname), r->m_attrs);
        }
    }

    static void endElementNs(void* ctx, const xmlChar* localname, const xmlChar* prefix,
                             const xmlChar*)
    {
        Reader* r = self(ctx);
        if (r->echo(ctx) || r->m_stopRequested)
            return;
        flush(r);
        if (prefix) {
            r->m_nameBuf = std::string(sv(prefix)) + ":" + std::string(sv(localname));
            r->m_handler.endElement(r->m_nameBuf);
        } else {
            r->m_handler.endElement(sv(localname));
        }
    }

    static void characters(void* ctx, const xmlChar* ch, int len)
    {
        Reader* r = self(ctx);
        if (r->echo(ctx) || r->m_stopRequested)
            return;
        // Text from an internal entity's own context is a copy of its
        // replacement; an external entity's context has a file name and
        // brings input of its own.
        auto* c = static_cast<xmlParserCtxtPtr>(ctx);
        bool internalCopy = ctx != r->m_ctxt && !(c->input && c->input->filename);
        if (internalCopy && !r->expanded(size_t(len)))
            return;
        r->m_text.append(reinterpret_cast<const char*>(ch), size_t(len));
    }

    static void ignorable(void*, const xmlChar*, int) {}

    static void reference(void* ctx, const xmlChar* name)
    {
        Reader* r = self(ctx);
        if (r->echo(ctx))
            return;
        if (r->m_stopRequested)
            return;
        std::string_view n = sv(name);
        if (r->m_inlineInternal) {
            for (const auto& [iname, content] : r->m_internalEntities) {
                if (iname == n) {
                    if (!r->expanded(content.size() + xmlsafe::kEntityFixedCost))
                        return;
                    r->m_text.append(content);
                    return;
                }
            }
        }
        flush(r);
        if (r->m_expandExternal) {
            for (const auto& [ename, system] : r->m_externalEntities) {
                if (ename == n) {
                    r->parseEntityFile(QString::fromUtf8(system.data(), qsizetype(system.size())));
                    return;
                }
            }
        }
        r->m_handler.skippedEntity(n);
    }

    static void internalSubset(void* ctx, const xmlChar* name, const xmlChar* externalID,
                               const xmlChar* systemID)
    {
        xmlSAX2InternalSubset(ctx, name, externalID, systemID);
        self(ctx)->m_handler.startDTD(sv(name), sv(externalID), sv(systemID));
    }

    static void externalSubset(void* ctx, const xmlChar* name, const xmlChar* externalID,
                               const xmlChar* systemID)
    {
        xmlSAX2ExternalSubset(ctx, name, externalID, systemID);
        self(ctx)->m_handler.endDTD();
    }

    static void entityDecl(void* ctx, const xmlChar* name, int type, const xmlChar* publicId,
                           const xmlChar* systemId, xmlChar* content)
    {
        Reader* r = self(ctx);
        if (type == XML_EXTERNAL_GENERAL_PARSED_ENTITY) {
            r->m_externalEntities.emplace_back(std::string(sv(name)), std::string(sv(systemId)));
            r->m_handler.externalEntityDecl(sv(name), sv(publicId), sv(systemId));
        } else if (type == XML_INTERNAL_GENERAL_ENTITY) {
            r->m_internalEntities.emplace_back(std::string(sv(name)), std::string(sv(content)));
            r->m_handler.internalEntityDecl(sv(name), sv(content));
        }
        xmlSAX2EntityDecl(ctx, name, type, publicId, systemId, content);
    }

    static void elementDecl(void* ctx, const xmlChar* name, int type, xmlElementContentPtr content)
    {
        std::string model = xmlsafe::contentModel(type, content);
        self(ctx)->m_handler.elementDecl(sv(name), model);
        xmlSAX2ElementDecl(ctx, name, type, content);
    }

    static void attributeDecl(void* ctx, const xmlChar* elem, const xmlChar* fullname, int type,
                              int def, const xmlChar* defaultValue, xmlEnumerationPtr tree)
    {
        std::string t = xmlsafe::attributeType(type, tree);
        std::string d = xmlsafe::attributeDefault(def);
        self(ctx)->m_handler.attributeDecl(sv(elem), sv(fullname), t, d, sv(defaultValue));
        xmlSAX2AttributeDecl(ctx, elem, fullname, type, def, defaultValue, tree);
    }

    static void startDocument(void* ctx)
    {
        xmlSAX2StartDocument(ctx);
        Reader* r = self(ctx);
        if (r->m_depth == 0)
            r->m_handler.startDocument();
    }

    static void endDocument(void* ctx)
    {
        Reader* r = self(ctx);
        flush(r);
        xmlSAX2EndDocument(ctx);
        if (r->m_depth == 0)
            r->m_handler.endDocument();
    }
};

Reader::Reader(Handler& handler) : m_handler(handler)
{
    xmlsafe::init();
}

Reader::~Reader() = default;

void Reader::stop()
{
    m_stopRequested = true;
    if (m_ctxt)
        xmlStopParser(static_cast<xmlParserCtxtPtr>(m_ctxt));
}

int Reader::currentLine() const
{
    if (!m_ctxt)
        return 0;
    auto* c = static_cast<xmlParserCtxtPtr>(m_ctxt);
    return c->input ? c->input->line : 0;
}

namespace {
int readFd(void* context, char* buffer, int len)
{
    int fd = int(reinterpret_cast<intptr_t>(context));
    for (;;) {
        ssize_t n = ::read(fd, buffer, size_t(len));
        if (n < 0 && errno == EINTR)
            continue;
        return int(n);
    }
}

int closeFd(void* context)
{
    return ::close(int(reinterpret_cast<intptr_t>(context)));
}
}

bool Reader::fail(const QString& file, const QString& message, int code)
{
    m_error = xmlsafe::XmlError();
    m_error.present = true;
    m_error.code = code;
    m_error.file = file;
    m_error.message = message;
    if (m_errorHandler)
        m_errorHandler->fatalError(m_error);
    return false;
}

void* Reader::openParser(const QString& path, QString* reason)
{
    int fd = xmlsafe::openRegularFile(path, reason);
    if (fd < 0)
        return nullptr;
    // Streams from the descriptor that was checked, not from a second open.
    xmlParserCtxtPtr ctxt = xmlCreateIOParserCtxt(nullptr, nullptr, readFd, closeFd,
                                                  reinterpret_cast<void*>(intptr_t(fd)),
                                                  XML_CHAR_ENCODING_NONE);
    if (!ctxt) {
        if (reason)
            *reason = QStringLiteral("Cannot read file \"%1\".").arg(path);
        return nullptr;
    }
    QString abs = QFileInfo(path).absoluteFilePath();
    QByteArray b = QFile::encodeName(abs);
    if (ctxt->input && !ctxt->input->filename)
        ctxt->input->filename =
            reinterpret_cast<const char*>(xmlStrdup(reinterpret_cast<const xmlChar*>(b.constData())));
    if (!ctxt->directory)
        ctxt->directory = xmlParserGetDirectory(b.constData());
    return ctxt;
}

bool Reader::parseFile(const QString& path)
{
    // Folders set by the caller bound the file itself too, links followed.
    if (m_allowedGiven) {
        bool inside = false;
        for (const QString& folder : m_allowed)
            inside = inside || xmlsafe::liesInside(path, folder);
        if (!inside)
            return fail(QFileInfo(path).fileName(), xmlsafe::outsideFolderMessage(path), XML_IO_LOAD_ERROR);
    } else {
        m_allowed = QStringList{QFileInfo(path).absolutePath()};
    }
    QString reason;
    auto* ctxt = static_cast<xmlParserCtxtPtr>(openParser(path, &reason));
    if (!ctxt)
        return fail(path, reason, XML_IO_LOAD_ERROR);
    return run(ctxt, QFileInfo(path).fileName());
}

bool Reader::parseMemory(const QByteArray& data, const QString& baseName)
{
    xmlParserCtxtPtr ctxt = xmlCreateMemoryParserCtxt(data.constData(), int(data.size()));
    if (!ctxt)
        return false;
    if (!m_allowedGiven)
        m_allowed.clear();
    if (!baseName.isEmpty()) {
        QByteArray b = QFile::encodeName(baseName);
        if (ctxt->input && !ctxt->input->filename)
            ctxt->input->filename = reinterpret_cast<const char*>(xmlStrdup(
                reinterpret_cast<const xmlChar*>(b.constData())));
        if (!ctxt->directory)
            ctxt->directory = xmlParserGetDirectory(b.constData());
        if (!m_allowedGiven)
            m_allowed = QStringList{QFileInfo(baseName).absolutePath()};
    }
    return run(ctxt, baseName);
}

bool Reader::run(void* c, const QString& label)
{
    auto* ctxt = static_cast<xmlParserCtxtPtr>(c);
    xmlSAXHandler h;
    xmlSAXVersion(&h, 2);
    h.startElementNs = Impl::startElementNs;
    h.endElementNs = Impl::endElementNs;
    h.characters = Impl::characters;
    h.cdataBlock = Impl::characters;
    h.ignorableWhitespace = Impl::ignorable;
    h.reference = Impl::reference;
    h.comment = nullptr;
    h.processingInstruction = nullptr;
    h.startDocument = Impl::startDocument;
    h.endDocument = Impl::endDocument;
    h.internalSubset = Impl::internalSubset;
    h.externalSubset = Impl::externalSubset;
    h.entityDecl = Impl::entityDecl;
    h.elementDecl = Impl::elementDecl;
    h.attributeDecl = Impl::attributeDecl;
    h.serror = nullptr;
    h.warning = nullptr;
    h.error = nullptr;
    h.fatalError = nullptr;
    std::memcpy(ctxt->sax, &h, sizeof(h));
    ctxt->userData = ctxt;
    ctxt->_private = this;

    int opts = xmlsafe::kBaseOptions;
    if (m_expand)
        opts |= XML_PARSE_NOENT;
    xmlCtxtUseOptions(ctxt, opts);

    void* previous = m_ctxt;
    QString previousFile = m_currentFile;
    size_t previousExpanded = m_expanded;
    m_ctxt = ctxt;
    m_currentFile = label;
    m_expanded = 0;
    if (!previous) {
        m_error = xmlsafe::XmlError();
        m_nestedFailed = false;
        m_stopRequested = false;
    }
    Handler* hold = &m_handler;
    Reader* holdReader = m_handler.reader;
    hold->reader = this;

    bool ok;
    {
        xmlsafe::EntityScope scope(m_allowed);
        xmlsafe::ErrorCapture cap;
        xmlParseDocument(ctxt);
        Impl::flush(this);
        if (m_stopRequested)
            ok = !m_nestedFailed;
        else
            ok = ctxt->wellFormed && !(cap.any() && cap.first().code == XML_IO_LOAD_ERROR);
        if (!ok && !m_error.present) {
            m_error = cap.first();
            // libxml2 names every refused expansion a loop.
            if (m_error.code == XML_ERR_ENTITY_LOOP && !xmlsafe::entityCycle(m_internalEntities))
                m_error.message = xmlsafe::amplificationMessage(label);
            if (!m_error.present) {
                m_error.present = true;
                m_error.message = QStringLiteral("The document is not well-formed.");
            }
            if (m_error.file.isEmpty())
                m_error.file = label;
        }
    }
    hold->reader = holdReader;
    m_ctxt = previous;
    m_currentFile = previousFile;
    m_expanded = previousExpanded;

    if (ctxt->myDoc) {
        xmlFreeDoc(ctxt->myDoc);
        ctxt->myDoc = nullptr;
    }
    xmlFreeParserCtxt(ctxt);

    if (!ok && !previous && m_errorHandler)
        m_errorHandler->fatalError(m_error);
    return ok;
}

// Parses the file of an external entity in place of its reference.
bool Reader::parseEntityFile(const QString& systemId)
{
    auto* ctxt = static_cast<xmlParserCtxtPtr>(m_ctxt);
    QString base = ctxt && ctxt->directory ? QString::fromUtf8(ctxt->directory) : QString();
    QString disk = systemId;
    disk.replace(QLatin1Char('\\'), QLatin1Char('/'));
    QString path = QFileInfo(disk).isAbsolute() ? disk : base + QLatin1Char('/') + disk;
    bool allowed;
    {
        xmlsafe::EntityScope scope(m_allowed);
        allowed = xmlsafe::isAllowed(path) && !disk.contains(QStringLiteral("://"));
    }
    if (!allowed) {
        m_error = xmlsafe::XmlError();
        m_error.present = true;
        m_error.code = XML_IO_LOAD_ERROR;
        m_error.message = xmlsafe::refusedEntityMessage(systemId);
        m_nestedFailed = true;
        stop();
        return false;
    }
    if (++m_depth > 8) {
        --m_depth;
        m_error = xmlsafe::XmlError();
        m_error.present = true;
        m_error.message = QStringLiteral("Entities nest too deeply.");
        m_nestedFailed = true;
        stop();
        return false;
    }
    bool ok = false;
    QString reason;
    auto* nested = static_cast<xmlParserCtxtPtr>(openParser(path, &reason));
    if (!nested) {
        m_error = xmlsafe::XmlError();
        m_error.present = true;
        m_error.code = XML_IO_LOAD_ERROR;
        m_error.file = QFileInfo(path).fileName();
        m_error.message = reason;
    } else {
        {
            // The entity's file is a document of its own: its entities are not
            // those of the book.
            auto saved = std::move(m_externalEntities);
            auto savedInternal = std::move(m_internalEntities);
            m_externalEntities.clear();
            m_internalEntities.clear();
            ok = run(nested, QFileInfo(path).fileName());
            m_externalEntities = std::move(saved);
            m_internalEntities = std::move(savedInternal);
        }
    }
    --m_depth;
    if (!ok) {
        m_nestedFailed = true;
        stop();
    }
    return ok;
}

bool Reader::expanded(size_t bytes)
{
    m_expanded += bytes;
    auto* ctxt = static_cast<xmlParserCtxtPtr>(m_ctxt);
    if (!ctxt || !ctxt->input)
        return true;
    size_t consumed = size_t(ctxt->input->consumed) + size_t(ctxt->input->cur - ctxt->input->base);
    if (!xmlsafe::amplificationExceeded(m_expanded, consumed))
        return true;
    m_text.clear();
    m_text.shrink_to_fit();
    m_error = xmlsafe::XmlError();
    m_error.present = true;
    m_error.code = XML_ERR_ENTITY_LOOP;
    m_error.line = ctxt->input->line;
    m_error.file = m_currentFile;
    m_error.message = xmlsafe::amplificationMessage(m_currentFile);
    m_nestedFailed = true;
    stop();
    return false;
}

} // namespace sax
