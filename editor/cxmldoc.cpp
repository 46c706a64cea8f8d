#include "cxmldoc.h"

#include "ctopic.h"
#include "language.h"
#include "msgbox.h"

#include <libxml/xmlsave.h>

namespace {

const xmlChar* X(const char* s)
{
    return reinterpret_cast<const xmlChar*>(s);
}

bool is(const xmlChar* name, const char* wanted)
{
    return name && xmlStrEqual(name, X(wanted));
}

QString text(xmlNode* node)
{
    switch (node->type) {
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE: return xmlsafe::qs(node->content);
    default: return {};
    }
}

// An attribute that the format requires: a topic without it cannot be shown
// beyond this point.
QString required(xmlNode* node, const char* name)
{
    if (!xmlsafe::hasAttr(node, name))
        throw ConversionFailure(std::string("Attribute ") + name + " is missing.");
    return xmlsafe::attr(node, name);
}

void optional(xmlNode* node, const char* name, int32_t code, ConversionSink& target)
{
    if (xmlsafe::hasAttr(node, name))
        target.SendAttrib(code, xmlsafe::attr(node, name));
}

} // namespace

QString serializeElement(xmlNode* element)
{
    if (!element)
        return {};
    // Without a document encoding libxml2 writes characters beyond ASCII in
    // attribute values as character references; the files keep them as text.
    xmlDoc* doc = element->doc;
    const xmlChar* encoding = doc ? doc->encoding : nullptr;
    if (doc && !encoding)
        doc->encoding = xmlStrdup(X("UTF-8"));
    xmlBufferPtr buf = xmlBufferCreate();
    xmlSaveCtxtPtr ctxt = xmlSaveToBuffer(buf, "UTF-8", XML_SAVE_NO_EMPTY | XML_SAVE_NO_DECL);
    xmlSaveTree(ctxt, element);
    xmlSaveClose(ctxt);
    if (doc && !encoding) {
        xmlFree(const_cast<xmlChar*>(doc->encoding));
        doc->encoding = nullptr;
    }
    QString s = QString::fromUtf8(reinterpret_cast<const char*>(xmlBufferContent(buf)),
                                  xmlBufferLength(buf));
    xmlBufferFree(buf);
    return s;
}

cXMLDoc::cXMLDoc(MsgBox& box) : m_box(box)
{
    m_doc.reset(xmlNewDoc(X("1.0")));
    m_root = xmlNewDocNode(m_doc.get(), nullptr, X("topic"), nullptr);
    xmlDocSetRootElement(m_doc.get(), m_root);
    m_current = m_root;
    m_titlePlace = m_root;
}

cXMLDoc::~cXMLDoc() = default;

void cXMLDoc::SetDOM(xmlsafe::DocPtr document)
{
    m_doc = std::move(document);
    m_root = findChildByName(reinterpret_cast<xmlNode*>(m_doc.get()), "topic");
    m_current = m_root;
    m_titlePlace = nullptr;
    m_afterTitle = nullptr;
}

xmlNode* cXMLDoc::findChildByName(xmlNode* parent, const char* name)
{
    if (parent)
        for (xmlNode* c = parent->children; c; c = c->next)
            if (c->type == XML_ELEMENT_NODE && is(c->name, name))
                return c;
    m_box.stop(QStringLiteral("Child <") + QString::fromLatin1(name) +
               QStringLiteral("> element not found!"));
    return nullptr;
}

void cXMLDoc::StartParsing(ConversionSink& target)
{
    if (m_root)
        walkXML(m_root, target);
}

void cXMLDoc::walkXML(xmlNode* node, ConversionSink& target)
{
    if (!node->children)
        return;
    try {
        for (xmlNode* child = node->children; child; child = child->next) {
            if (child->type != XML_ELEMENT_NODE)
                target.SendText(text(child));
            else
                walkElement(child, target);
        }
    } catch (const std::exception&) {
        // Silently: the topic shows partly, the level above goes on.
    }
}

void cXMLDoc::walkElement(xmlNode* e, ConversionSink& target)
{
    const xmlChar* name = e->name;
    const xmlChar* parent = e->parent ? e->parent->name : nullptr;

    if (is(name, "chapter") || is(name, "topic")) {
        walkXML(e, target);
    } else if (is(name, "onelang")) {
        if (required(e, "lang") == currentLanguage())
            walkXML(e, target);
    } else if (is(name, "title")) {
        if (is(parent, "topic")) {
            if (required(e, "lang") == currentLanguage()) {
                target.SendElem(ev::Title);
                walkXML(e, target);
                target.SendElem(ev::TitleEnd);
            }
        } else if (is(parent, "p")) {
            target.SendElem(ev::ParaTitle);
            walkXML(e, target);
            target.SendElem(ev::ParaTitleEnd);
        } else if (is(parent, "table")) {
            target.SendElem(ev::TableCaption);
            walkXML(e, target);
            target.SendElem(ev::TableCaptionEnd);
        } else if (is(parent, "notice")) {
            target.SendElem(ev::NoticeTitle);
            walkXML(e, target);
            target.SendElem(ev::NoticeTitleEnd);
        }
    } else if (is(name, "p")) {
        if (!is(parent, "notice")) {
            target.SendElem(ev::Para);
            optional(e, "output", at::Output, target);
            optional(e, "transid", at::TransId, target);
            walkXML(e, target);
            target.SendElem(ev::ParaEnd);
        } else {
            target.SendElem(ev::NoticePara);
            walkXML(e, target);
            target.SendElem(ev::NoticeParaEnd);
        }
    } else if (is(name, "image")) {
        target.SendElem(ev::Image);
        target.SendAttrib(at::File, required(e, "file"));
        target.SendAttrib(at::Format, required(e, "format"));
        target.SendAttrib(at::Scale, required(e, "scale"));
        optional(e, "output", at::Output, target);
        optional(e, "transid", at::TransId, target);
        target.SendElem(ev::Caption);
        walkXML(e, target);
        target.SendElem(ev::CaptionEnd);
        target.SendElem(ev::ImageEnd);
    } else if (is(name, "table")) {
        target.SendElem(ev::Table);
        optional(e, "transid", at::TransId, target);
        target.SendAttrib(at::Border, required(e, "border"));
        optional(e, "output", at::Output, target);
        walkXML(e, target);
        target.SendElem(ev::TableEnd);
    } else if (is(name, "header")) {
        target.SendElem(ev::Header);
        walkXML(e, target);
        target.SendElem(ev::HeaderEnd);
    } else if (is(name, "row")) {
        target.SendElem(ev::Row);
        walkXML(e, target);
        target.SendElem(ev::RowEnd);
    } else if (is(name, "cell")) {
        target.SendElem(ev::Cell);
        optional(e, "align", at::Align, target);
        walkXML(e, target);
        target.SendElem(ev::CellEnd);
    } else if (is(name, "sign")) {
        target.SendElem(ev::Sign);
        walkXML(e, target);
        target.SendElem(ev::SignEnd);
    } else if (is(name, "link")) {
        target.SendElem(ev::Link);
        target.SendAttrib(at::Ref, required(e, "ref"));
        optional(e, "weblabel", at::WebLabel, target);
        target.SendElem(ev::LinkEnd);
    } else if (is(name, "anchor")) {
        target.SendElem(ev::Anchor);
        target.SendAttrib(at::Id, required(e, "id"));
        target.SendAttrib(at::Name, required(e, "name"));
        target.SendElem(ev::AnchorEnd);
    } else if (is(name, "notice")) {
        target.SendElem(ev::Notice);
        optional(e, "output", at::Output, target);
        optional(e, "transid", at::TransId, target);
        walkXML(e, target);
        target.SendElem(ev::NoticeEnd);
    } else if (is(name, "list")) {
        target.SendElem(ev::List);
        target.SendAttrib(at::ListFormat, required(e, "format"));
        optional(e, "transid", at::TransId, target);
        walkXML(e, target);
        target.SendElem(ev::ListEnd);
    } else if (is(name, "item")) {
        target.SendElem(ev::Item);
        walkXML(e, target);
        target.SendElem(ev::ItemEnd);
    }
    // Anything else (index, context, col, stray elements) is skipped whole.
}

const char* cXMLDoc::attributeName(int32_t code)
{
    switch (code) {
    case at::Id: return "id";
    case at::Output: return "output";
    case at::File: return "file";
    case at::Format: return "format";
    case at::Scale: return "scale";
    case at::Ref: return "ref";
    case at::WebLabel: return "weblabel";
    case at::Name: return "name";
    case at::ListFormat: return "format";
    case at::Border: return "border";
    case at::Align: return "align";
    case at::Lang: return "lang";
    case at::ColNumber: return "colnumber";
    case at::Width: return "width";
    case at::TransId: return "transid";
    default: return "unknown_attrib";
    }
}

void cXMLDoc::append(const char* name)
{
    if (!m_current)
        return;
    xmlNode* n = xmlNewDocNode(m_doc.get(), nullptr, X(name), nullptr);
    xmlAddChild(m_current, n);
    m_current = n;
}

void cXMLDoc::toParent()
{
    // Never above the root: unbalanced events cannot make a second root.
    if (m_current && m_current != m_root && m_current->parent &&
        m_current->parent->type == XML_ELEMENT_NODE)
        m_current = m_current->parent;
}

void cXMLDoc::SendElem(int32_t code)
{
    if (!m_root)
        return;
    switch (code) {
    case ev::Topic: {
        m_current = m_root;
        xmlSetProp(m_root, X("id"), X(TopicInfo ? TopicInfo->ID.toUtf8().constData() : ""));
        xmlNode* onelang = xmlNewDocNode(m_doc.get(), nullptr, X("onelang"), nullptr);
        xmlAddChild(m_root, onelang);
        m_current = onelang;
        xmlSetProp(onelang, X("lang"), X(currentLanguage().toUtf8().constData()));
        QString indexes = QStringLiteral("<indexes>") + (TopicInfo ? TopicInfo->index : QString()) +
                          QStringLiteral("</indexes>");
        xmlsafe::DocPtr idx = xmlsafe::readMemory(indexes.toUtf8(), {}, 0, false, nullptr);
        if (xmlNode* r = idx ? xmlDocGetRootElement(idx.get()) : nullptr)
            for (xmlNode* c = r->children; c; c = c->next)
                xmlAddChild(onelang, xmlDocCopyNode(c, m_doc.get(), 1));
        break;
    }
    case ev::Title: {
        xmlNode* title = xmlNewDocNode(m_doc.get(), nullptr, X("title"), nullptr);
        m_afterTitle = m_current;
        m_current = m_titlePlace ? m_titlePlace : m_root;
        if (m_current->children)
            xmlAddPrevSibling(m_current->children, title);
        else
            xmlAddChild(m_current, title);
        m_current = title;
        const QString stamp = TopicInfo ? TopicInfo->Stamp : QString();
        const QString state = TopicInfo ? TopicInfo->State : QString();
        xmlSetProp(title, X("lang"), X(currentLanguage().toUtf8().constData()));
        xmlSetProp(title, X("stamp"), X(stamp.toUtf8().constData()));
        xmlSetProp(title, X("state"), X(state.toUtf8().constData()));
        break;
    }
    case ev::TitleEnd:
        if (m_afterTitle)
            m_current = m_afterTitle;
        break;
    case ev::Para:
    case ev::NoticePara: append("p"); break;
    case ev::Image: append("image"); break;
    case ev::Link: append("link"); break;
    case ev::Anchor: append("anchor"); break;
    case ev::Notice: append("notice"); break;
    case ev::NoticeTitle:
    case ev::TableTitle:
    case ev::ParaTitle: append("title"); break;
    case ev::Sign: append("sign"); break;
    case ev::List: append("list"); break;
    case ev::Item: append("item"); break;
    case ev::Table: append("table"); break;
    case ev::Header: append("header"); break;
    case ev::Row: append("row"); break;
    case ev::Cell: append("cell"); break;
    case ev::Col: append("col"); break;
    case ev::ParaTitleEnd: toParent(); break;
    default:
        if (code >= 6 && code <= 36 && code % 2 == 0)
            toParent();
        // 2 and 37 to 40 do nothing here, nor does any other code.
        break;
    }
}

void cXMLDoc::SendAttrib(int32_t code, const QString& value)
{
    if (m_current)
        xmlSetProp(m_current, X(attributeName(code)), X(value.toUtf8().constData()));
}

void cXMLDoc::SendText(const QString& text)
{
    if (m_current)
        xmlAddChild(m_current, xmlNewDocText(m_doc.get(), X(text.toUtf8().constData())));
}

QString cXMLDoc::xmlOutput() const
{
    return serializeElement(m_root);
}
