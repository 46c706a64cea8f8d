#include "htmldom.h"

#include <libxml/HTMLparser.h>
#include <libxml/HTMLtree.h>

namespace htmldom {

using xmlsafe::qs;

namespace {

const xmlChar* X(const char* s)
{
    return reinterpret_cast<const xmlChar*>(s);
}

bool isVoid(const xmlChar* name)
{
    static const char* const names[] = {"area", "base", "br", "col", "embed", "hr", "img",
                                        "input", "link", "meta", "param", "source", "track", "wbr"};
    for (const char* n : names)
        if (xmlStrcasecmp(name, X(n)) == 0)
            return true;
    return false;
}

void escapeTo(QString& out, const QString& text, bool attribute)
{
    for (QChar c : text) {
        switch (c.unicode()) {
        case '&': out += QStringLiteral("&amp;"); break;
        case '<': out += QStringLiteral("&lt;"); break;
        case '>': out += QStringLiteral("&gt;"); break;
        case 0xA0: out += QStringLiteral("&nbsp;"); break;
        // A raw CR would be folded into the line end by the next parser.
        case '\r': out += QStringLiteral("&#13;"); break;
        case '"':
            if (attribute) {
                out += QStringLiteral("&quot;");
                break;
            }
            out += c;
            break;
        default: out += c;
        }
    }
}

void serialize(xmlNode* n, QString& out)
{
    switch (n->type) {
    case XML_ELEMENT_NODE: {
        QString name = qs(n->name);
        out += QLatin1Char('<') + name;
        for (xmlAttr* a = n->properties; a; a = a->next) {
            out += QLatin1Char(' ') + qs(a->name) + QStringLiteral("=\"");
            xmlChar* v = xmlNodeListGetString(n->doc, a->children, 1);
            escapeTo(out, qs(v), true);
            xmlFree(v);
            out += QLatin1Char('"');
        }
        out += QLatin1Char('>');
        if (isVoid(n->name))
            return;
        for (xmlNode* c = n->children; c; c = c->next)
            serialize(c, out);
        out += QStringLiteral("</") + name + QLatin1Char('>');
        break;
    }
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE: escapeTo(out, qs(n->content), false); break;
    case XML_COMMENT_NODE: out += QStringLiteral("<!--") + qs(n->content) + QStringLiteral("-->"); break;
    default: break;
    }
}

bool isElement(xmlNode* n, const char* upperName)
{
    return n && n->type == XML_ELEMENT_NODE && tagName(n) == QLatin1String(upperName);
}

xmlNode* childElement(xmlNode* parent, const char* upperName)
{
    for (xmlNode* c = parent->children; c; c = c->next)
        if (isElement(c, upperName))
            return c;
    return nullptr;
}

// The HTML parser ends an open P when a TABLE starts; the surface keeps the
// TABLE (and the EM of the table title after it) inside the wrapper P.
void rejoinTableWrappers(xmlNode* parent)
{
    for (xmlNode* n = parent->children; n; n = n->next) {
        if (n->type != XML_ELEMENT_NODE)
            continue;
        if (isElement(n, "P") && getAttribute(n, "title") == QLatin1String("table") &&
            !childElement(n, "TABLE") && isElement(n->next, "TABLE")) {
            xmlNode* table = n->next;
            xmlUnlinkNode(table);
            xmlAddChild(n, table);
            if (isElement(n->next, "EM")) {
                xmlNode* em = n->next;
                xmlUnlinkNode(em);
                xmlAddChild(n, em);
            }
        }
        rejoinTableWrappers(n);
    }
}

} // namespace

DocPtr newPage()
{
    xmlDoc* doc = htmlNewDocNoDtD(nullptr, nullptr);
    xmlNode* html = xmlNewDocNode(doc, nullptr, X("html"), nullptr);
    xmlDocSetRootElement(doc, html);
    xmlAddChild(html, xmlNewDocNode(doc, nullptr, X("head"), nullptr));
    xmlAddChild(html, xmlNewDocNode(doc, nullptr, X("body"), nullptr));
    return DocPtr(doc);
}

DocPtr parseBody(const QString& bodyHtml)
{
    QByteArray text = QByteArrayLiteral("<html><head></head><body>") + bodyHtml.toUtf8() +
                      QByteArrayLiteral("</body></html>");
    const int options = HTML_PARSE_NONET | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING |
                        HTML_PARSE_NODEFDTD;
    DocPtr doc(htmlReadMemory(text.constData(), int(text.size()), nullptr, "UTF-8", options));
    if (!doc)
        return newPage();
    xmlNode* root = xmlDocGetRootElement(doc.get());
    if (!root) {
        root = xmlNewDocNode(doc.get(), nullptr, X("html"), nullptr);
        xmlDocSetRootElement(doc.get(), root);
    }
    xmlNode* b = body(doc.get());
    if (!b)
        b = xmlAddChild(root, xmlNewDocNode(doc.get(), nullptr, X("body"), nullptr));
    rejoinTableWrappers(b);
    return doc;
}

xmlNode* body(xmlDoc* doc)
{
    xmlNode* root = doc ? xmlDocGetRootElement(doc) : nullptr;
    return root ? childElement(root, "BODY") : nullptr;
}

QString innerHTML(xmlNode* node)
{
    QString out;
    if (node)
        for (xmlNode* c = node->children; c; c = c->next)
            serialize(c, out);
    return out;
}

QString tagName(xmlNode* node)
{
    if (!node || node->type != XML_ELEMENT_NODE)
        return {};
    return qs(node->name).toUpper();
}

QString getAttribute(xmlNode* node, const char* name)
{
    if (!node || node->type != XML_ELEMENT_NODE)
        return {};
    xmlChar* v = xmlGetProp(node, X(name));
    QString s = qs(v);
    xmlFree(v);
    return s;
}

void setAttribute(xmlNode* node, const char* name, const QString& value)
{
    xmlSetProp(node, X(name), X(value.toUtf8().constData()));
}

QString nodeValue(xmlNode* node)
{
    switch (node->type) {
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE: return qs(node->content);
    default: return {};
    }
}

} // namespace htmldom
