#include "ctopic.h"

#include "language.h"
#include "mcommon.h"
#include "msgbox.h"
#include "xmlsafety.h"

namespace {
const xmlChar* X(const char* s)
{
    return reinterpret_cast<const xmlChar*>(s);
}

xmlsafe::DocPtr load(const QString& xml)
{
    xmlsafe::EntityScope none(QStringList{});
    return xmlsafe::readMemory(xml.toUtf8(), {}, 0, false, nullptr);
}

// First child named element, with attribute equal to value when given.
xmlNode* findChild(xmlNode* parent, const char* element, const char* attribute,
                   const QString& value, MsgBox* box)
{
    if (parent) {
        for (xmlNode* c = parent->children; c; c = c->next) {
            if (c->type != XML_ELEMENT_NODE || !xmlStrEqual(c->name, X(element)))
                continue;
            if (!attribute || xmlsafe::attr(c, attribute) == value)
                return c;
        }
    }
    if (box)
        box->stop(QStringLiteral("Error (class \"cTopic\"): Child <") + QString::fromLatin1(element) +
                  QStringLiteral("> element not found!"));
    return nullptr;
}

xmlNode* topicRoot(xmlDoc* doc, MsgBox* box)
{
    xmlNode* r = doc ? xmlDocGetRootElement(doc) : nullptr;
    if (r && xmlStrEqual(r->name, X("topic")))
        return r;
    if (box)
        box->stop(QStringLiteral("Error (class \"cTopic\"): Child <topic> element not found!"));
    return nullptr;
}
}

QString cTopic::titleAttribute(const QString& topicXml, const char* name) const
{
    // A missing attribute or title gives "" without a message.
    auto doc = load(topicXml);
    xmlNode* t = topicRoot(doc.get(), nullptr);
    xmlNode* title = findChild(t, "title", "lang", currentLanguage(), nullptr);
    return title ? xmlsafe::attr(title, name) : QString();
}

QString cTopic::ExtractState(const QString& topicXml) const
{
    return titleAttribute(topicXml, "state");
}

QString cTopic::ExtractStamp(const QString& topicXml) const
{
    return titleAttribute(topicXml, "stamp");
}

QString cTopic::ExtractIndexes(const QString& topicXml) const
{
    auto doc = load(topicXml);
    xmlNode* t = topicRoot(doc.get(), m_box);
    if (!t)
        return {};
    xmlNode* onelang = findChild(t, "onelang", "lang", currentLanguage(), m_box);
    if (!onelang)
        return {};
    QString out;
    for (xmlNode* c = onelang->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE || !xmlStrEqual(c->name, X("index")))
            continue;
        out += QStringLiteral("<index");
        if (xmlsafe::hasAttr(c, "transid"))
            out += QStringLiteral(" transid=\"") + mCommon::escapeXMLAttribute(xmlsafe::attr(c, "transid")) +
                   QLatin1Char('"');
        out += QLatin1Char('>');
        for (xmlNode* k = c->children; k; k = k->next) {
            if (k->type != XML_ELEMENT_NODE)
                continue;
            if (xmlStrEqual(k->name, X("primary")) || xmlStrEqual(k->name, X("secondary"))) {
                QString n = xmlsafe::qs(k->name);
                QString text = k->children ? xmlsafe::nodeText(k->children) : QString();
                // Escaped, so that a keyword holding "&" or "<" survives the reload.
                out += QLatin1Char('<') + n + QLatin1Char('>') + mCommon::escapeXML(text) +
                       QStringLiteral("</") + n + QLatin1Char('>');
            }
        }
        out += QStringLiteral("</index>");
    }
    return out;
}
