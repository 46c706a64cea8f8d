#include "contextmap.h"

#include "fileio.h"
#include "xmlsafety.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <libxml/tree.h>

#include <vector>

QList<ContextTarget> contextTargets(const QString& docBookFile)
{
    QList<ContextTarget> targets;
    QByteArray bytes;
    // Most books have no context IDs: the file is not parsed for nothing.
    if (!fileio::readFile(docBookFile, bytes) || !bytes.contains("<?dbhh"))
        return targets;
    xmlsafe::XmlError error;
    xmlsafe::DocPtr doc = xmlsafe::readMemory(bytes, docBookFile, XML_PARSE_NONET, false, &error);
    if (!doc)
        return targets;
    static const QRegularExpression value(QStringLiteral(R"((topicname|topicid)\s*=\s*"([^"]*)\")"));
    std::vector<xmlNode*> stack{xmlDocGetRootElement(doc.get())};
    while (!stack.empty()) {
        xmlNode* n = stack.back();
        stack.pop_back();
        if (!n)
            continue;
        if (n->type == XML_PI_NODE && xmlStrEqual(n->name, BAD_CAST "dbhh")) {
            ContextTarget t;
            for (auto it = value.globalMatch(xmlsafe::qs(n->content)); it.hasNext();) {
                auto m = it.next();
                (m.captured(1) == QLatin1String("topicid") ? t.id : t.name) = m.captured(2);
            }
            if (n->parent && n->parent->type == XML_ELEMENT_NODE)
                t.section = xmlsafe::attr(n->parent, "id");
            if (!t.id.isEmpty() && !t.section.isEmpty())
                targets << t;
            continue;
        }
        if (n->type != XML_ELEMENT_NODE)
            continue;
        // Children pushed last first, so that they come off in document order.
        std::vector<xmlNode*> children;
        for (xmlNode* c = n->children; c; c = c->next)
            children.push_back(c);
        stack.insert(stack.end(), children.rbegin(), children.rend());
    }
    return targets;
}

QByteArray contextMapJson(const QList<ContextTarget>& targets, const QString& folder, const QStringList& pages)
{
    QJsonObject map;
    QList<ContextTarget> open;
    QStringList seen;
    for (const ContextTarget& t : targets) {
        if (!seen.contains(t.id))
            open << t;
        seen << t.id;
    }
    const QDir base(folder);
    for (const QString& page : pages) {
        if (open.isEmpty())
            break;
        QByteArray html;
        if (!fileio::readFile(page, html))
            continue;
        for (auto it = open.begin(); it != open.end();) {
            const QByteArray a = it->section.toUtf8();
            if ((html.contains(" name=\"" + a + '"') || html.contains(" id=\"" + a + '"'))) {
                map.insert(it->id, base.relativeFilePath(page) + QLatin1Char('#') + it->section);
                it = open.erase(it);
            } else {
                ++it;
            }
        }
    }
    return QJsonDocument(map).toJson(QJsonDocument::Indented);
}
