#pragma once
// The XML side of the conversion pair. As a walker it reads a stored topic
// and sends the events of the current language's title and body; as a sink it
// builds a single-language topic from the events of the surface.
#include "conversionsink.h"
#include "xmlsafety.h"

#include <QString>

class MsgBox;
class cTopic;

class cXMLDoc : public ConversionSink {
public:
    // Starts with the document "<topic></topic>".
    explicit cXMLDoc(MsgBox& box);
    ~cXMLDoc() override;
    cXMLDoc(const cXMLDoc&) = delete;
    cXMLDoc& operator=(const cXMLDoc&) = delete;

    // The record of the topic being saved; read by events 1 and 3.
    const cTopic* TopicInfo = nullptr;

    // Takes the document; its child element "topic" becomes root and current
    // node. Without one, a stop box names the missing child.
    void SetDOM(xmlsafe::DocPtr document);

    // Walks the children of the root, sending to target.
    void StartParsing(ConversionSink& target);

    void SendElem(int32_t code) override;
    void SendAttrib(int32_t code, const QString& value) override;
    void SendText(const QString& text) override;

    // The topic element as text, compact, empty elements with two tags.
    QString xmlOutput() const;

    // The XML attribute name of an attribute event.
    static const char* attributeName(int32_t code);

private:
    void walkXML(xmlNode* node, ConversionSink& target);
    void walkElement(xmlNode* child, ConversionSink& target);
    xmlNode* findChildByName(xmlNode* parent, const char* name);
    void append(const char* name);
    void toParent();

    MsgBox& m_box;
    xmlsafe::DocPtr m_doc;
    xmlNode* m_root = nullptr;
    xmlNode* m_current = nullptr;
    xmlNode* m_titlePlace = nullptr;
    xmlNode* m_afterTitle = nullptr;
};

// Serializes one element with its subtree: UTF-8 text, no declaration, no
// whitespace added, empty elements as start and end tag.
QString serializeElement(xmlNode* element);
