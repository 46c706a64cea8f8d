#include "topicconvert.h"

#include "chtmldoc.h"
#include "ctopic.h"
#include "cxmldoc.h"
#include "htmldom.h"
#include "surface.h"
#include "topicdtd.h"
#include "xmlsafety.h"

#include <libxml/parser.h>
#include <libxml/valid.h>

#include <cstring>
#include <memory>

namespace {

const xmlChar* X(const char* s)
{
    return reinterpret_cast<const xmlChar*>(s);
}

// Topic text is plain XML without a document type: nothing external to load.
xmlsafe::DocPtr loadTopic(const QString& xml)
{
    xmlsafe::EntityScope none(QStringList{});
    return xmlsafe::readMemory(xml.toUtf8(), {}, 0, false, nullptr);
}

xmlNode* topicElement(xmlDoc* doc)
{
    xmlNode* r = doc ? xmlDocGetRootElement(doc) : nullptr;
    return r && xmlStrEqual(r->name, X("topic")) ? r : nullptr;
}

// The 80 characters of the line that begin 40 before the (1-based) column.
QString errorWindow(const QString& text, int line, int column)
{
    const QStringList lines = text.split(QLatin1Char('\n'));
    QString source = lines.value(qMax(line, 1) - 1);
    if (source.endsWith(QLatin1Char('\r')))
        source.chop(1);
    // The parser counts characters, not UTF-16 units.
    const QList<uint> chars = source.toUcs4();
    const qsizetype start = qMax<qsizetype>(0, column - 41);
    const QList<uint> window = chars.mid(start, 80);
    return QString::fromUcs4(reinterpret_cast<const char32_t*>(window.constData()), window.size());
}

// Why the last conversion was refused; the validation that follows a
// conversion reports it.
thread_local QString t_refusal;

} // namespace

QString topicToBodyHTML(const QString& topicXml, MsgBox& box)
{
    cXMLDoc xml(box);
    xml.SetDOM(loadTopic(topicXml));
    htmldom::DocPtr page = htmldom::newPage();
    cHTMLDoc html(box);
    html.SetDoc(page.get());
    xml.StartParsing(html);
    return htmldom::innerHTML(htmldom::body(page.get()));
}

void TopicToEditor(const QString& topicXml, EditSurface& surface, MsgBox& box)
{
    surface.setBodyHTML(topicToBodyHTML(topicXml, box));
}

QString bodyHTMLToTopic(const QString& bodyHtml, const QString& baseURL, const cTopic& topic,
                        MsgBox& box)
{
    cXMLDoc xml(box);
    xml.TopicInfo = &topic;
    htmldom::DocPtr page = htmldom::parseBody(bodyHtml);
    cHTMLDoc html(box);
    html.SetDoc(page.get());
    html.baseDocURL = baseURL;
    t_refusal.clear();
    html.StartParsing(xml);
    if (!html.refusedAddresses().isEmpty()) {
        // A script address never reaches a file: the topic is not converted.
        QStringList quoted;
        for (const QString& a : html.refusedAddresses())
            quoted << QLatin1Char('"') + a + QLatin1Char('"');
        t_refusal = QStringLiteral("Topic is not valid! Please rewrite or delete problem part.\r\n\r\n") +
                    QStringLiteral("Links and images may only use http, https, mailto or ftp addresses, "
                                   "relative paths and topic ids. Not allowed: ") +
                    quoted.join(QStringLiteral(", ")) + QStringLiteral("\r\n\r\nThe topic was not saved.");
        return {};
    }
    return xml.xmlOutput();
}

QString EditorToTopic(EditSurface& surface, const cTopic& topic, MsgBox& box)
{
    return bodyHTMLToTopic(surface.bodyHTML(), surface.baseURL(), topic, box);
}

bool topicTitleFromBody(const QString& bodyHtml, QString& title)
{
    title.clear();
    htmldom::DocPtr page = htmldom::parseBody(bodyHtml);
    xmlNode* b = htmldom::body(page.get());
    xmlNode* h1 = b ? b->children : nullptr;
    if (!h1 || htmldom::tagName(h1) != QLatin1String("H1") || !h1->children)
        return false;
    xmlNode* text = h1->children;
    while (text && text->type != XML_TEXT_NODE)
        text = text->next;
    if (!text)
        return false;
    // Adjacent text nodes (as an editor leaves them) form one title.
    while (text->next && text->next->type == XML_TEXT_NODE) {
        xmlNode* next = text->next;
        xmlNodeAddContent(text, next->content);
        xmlUnlinkNode(next);
        xmlFreeNode(next);
    }
    title = htmldom::nodeValue(text);
    return !title.isEmpty();
}

bool validateTopic(const QString& topicXml, QString& message)
{
    message.clear();
    if (topicXml.isEmpty() && !t_refusal.isEmpty()) {
        message = t_refusal;
        return false;
    }
    const QString text = topicValidationText(topicXml);
    xmlsafe::XmlError error;
    xmlsafe::EntityScope none(QStringList{});
    xmlsafe::DocPtr doc = xmlsafe::readMemory(text.toUtf8(), {}, 0, true, &error);
    if (doc)
        return true;
    const QString crlf = QStringLiteral("\r\n");
    message = QStringLiteral("Topic is not valid! Please rewrite or delete problem part.") + crlf + crlf +
              QStringLiteral("Error on line ") + QString::number(error.line) +
              QStringLiteral(", column ") + QString::number(error.column) + crlf + crlf +
              QStringLiteral("...") + errorWindow(text, error.line, error.column) +
              QStringLiteral("...") + crlf + error.message;
    return false;
}

namespace {
struct DtdDeleter {
    void operator()(xmlDtd* d) const { xmlFreeDtd(d); }
};
void ignoreValidity(void*, const char*, ...) {}
void ignoreStructured(void*, xmlErrorPtr) {}
} // namespace

bool topicDocumentIsValid(xmlDoc* doc)
{
    if (!doc || !xmlDocGetRootElement(doc))
        return false;
    // One DTD for each thread: validation builds its content models lazily.
    thread_local std::unique_ptr<xmlDtd, DtdDeleter> dtd([] {
        xmlParserInputBufferPtr in =
            xmlParserInputBufferCreateMem(kTopicDTD, int(std::strlen(kTopicDTD)), XML_CHAR_ENCODING_UTF8);
        return in ? xmlIOParseDTD(nullptr, in, XML_CHAR_ENCODING_UTF8) : nullptr;
    }());
    if (!dtd)
        return false;
    std::unique_ptr<xmlValidCtxt, void (*)(xmlValidCtxtPtr)> v(xmlNewValidCtxt(), xmlFreeValidCtxt);
    if (!v)
        return false;
    v->error = ignoreValidity;
    v->warning = ignoreValidity;
    // Nobody else's error capture hears of this trial.
    xmlStructuredErrorFunc previous = xmlStructuredError;
    void* previousContext = xmlStructuredErrorContext;
    xmlSetStructuredErrorFunc(nullptr, ignoreStructured);
    const bool valid = xmlValidateDtd(v.get(), doc, dtd.get()) == 1;
    xmlSetStructuredErrorFunc(previousContext, previous);
    return valid;
}

bool topicElementIsValid(const xmlNode* topic)
{
    if (!topic)
        return false;
    xmlsafe::DocPtr doc(xmlNewDoc(X("1.0")));
    xmlDocSetRootElement(doc.get(), xmlDocCopyNode(const_cast<xmlNode*>(topic), doc.get(), 1));
    return topicDocumentIsValid(doc.get());
}

QString mergeTopic(const QString& storedXml, const QString& newXml, const QString& language)
{
    xmlsafe::DocPtr stored = loadTopic(storedXml);
    xmlsafe::DocPtr fresh = loadTopic(newXml);
    xmlNode* root = topicElement(stored.get());
    xmlNode* newRoot = topicElement(fresh.get());
    if (!root || !newRoot)
        return {};
    xmlNode* newTitle = xmlsafe::firstChildElement(newRoot, "title");
    xmlNode* newOnelang = xmlsafe::firstChildElement(newRoot, "onelang");

    xmlNode* next = nullptr;
    for (xmlNode* c = root->children; c; c = next) {
        next = c->next;
        if (c->type != XML_ELEMENT_NODE)
            continue;
        const bool isTitle = xmlStrEqual(c->name, X("title"));
        const bool isOnelang = xmlStrEqual(c->name, X("onelang"));
        if (!isTitle && !isOnelang)
            continue;
        if (xmlsafe::attr(c, "lang") == language) {
            xmlNode* replacement = isTitle ? newTitle : newOnelang;
            if (!replacement)
                continue;
            xmlReplaceNode(c, xmlDocCopyNode(replacement, stored.get(), 1));
            xmlFreeNode(c);
        } else if (isTitle) {
            // A change in one language takes the finished mark off the others.
            xmlSetProp(c, X("state"), X(""));
        }
    }
    return serializeElement(root);
}
