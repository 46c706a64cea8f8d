#include "convtest.h"

#include "chtmldoc.h"
#include "cxmldoc.h"
#include "htmldom.h"
#include "surface.h"
#include "topicconvert.h"

#include <QRegularExpression>

namespace convtest {

QString topic(const QString& onelang)
{
    return "<topic id=\"topic1\"><title lang=\"en\" state=\"uncomplete\" stamp=\"1/2/26 10:00\">Title</title>"
           "<onelang lang=\"en\">" + onelang + "</onelang></topic>";
}

void play(ConversionSink& sink, const QString& script)
{
    static const QRegularExpression token(QStringLiteral("'([^']*)'|@(-?\\d+)=(\\S*)|(-?\\d+)"));
    for (const QRegularExpressionMatch& m : token.globalMatch(script)) {
        if (m.capturedStart(1) >= 0)
            sink.SendText(m.captured(1));
        else if (m.capturedStart(2) >= 0)
            sink.SendAttrib(m.captured(2).toInt(), m.captured(3));
        else
            sink.SendElem(m.captured(4).toInt());
    }
}

QString xmlEvents(const QString& topicXml, MsgBox& box)
{
    cXMLDoc xml(box);
    xml.SetDOM(xmlsafe::readMemory(topicXml.toUtf8(), {}, 0, false, nullptr));
    Recorder r;
    xml.StartParsing(r);
    return r.events.join(' ');
}

QString htmlEvents(const QString& bodyHtml, MsgBox& box, const QString& base)
{
    htmldom::DocPtr page = htmldom::parseBody(bodyHtml);
    cHTMLDoc html(box);
    html.SetDoc(page.get());
    html.baseDocURL = base;
    Recorder r;
    html.StartParsing(r);
    return r.events.join(' ');
}

QString htmlFrom(const QString& script, MsgBox& box)
{
    htmldom::DocPtr page = htmldom::newPage();
    cHTMLDoc html(box);
    html.SetDoc(page.get());
    play(html, script);
    return htmldom::innerHTML(htmldom::body(page.get()));
}

QString xmlFrom(const QString& script, const cTopic& record, MsgBox& box)
{
    cXMLDoc xml(box);
    xml.TopicInfo = &record;
    play(xml, script);
    return xml.xmlOutput();
}

QString roundTrip(const QString& storedXml, MsgBox& box, QString* bodyHtml)
{
    cTopic record(box);
    record.ID = QRegularExpression("<topic id=\"([^\"]*)\"").match(storedXml).captured(1);
    record.Stamp = record.ExtractStamp(storedXml);
    record.State = record.ExtractState(storedXml);
    record.index = record.ExtractIndexes(storedXml);
    FakeSurface surface;
    surface.setBaseURL("/home/author/manual/");
    TopicToEditor(storedXml, surface, box);
    if (bodyHtml)
        *bodyHtml = surface.bodyHTML();
    return EditorToTopic(surface, record, box);
}

QString withoutCols(QString xml)
{
    return xml.remove(QRegularExpression("<col width=\"[^\"]*\"></col>| colnumber=\"\\d*\""));
}

} // namespace convtest
