#include "langlist.h"

#include "msgbox.h"
#include "paths.h"
#include "xmlsafety.h"

#include <QFileInfo>

QString cLangList::defaultPath()
{
    return paths::programFolder() + QStringLiteral("/langs.xml");
}

bool cLangList::load(const QString& path, MsgBox& box)
{
    m_entries.clear();
    if (!QFileInfo(path).isFile()) {
        box.exclamation(QStringLiteral("File with available languages is missing! Please reinstall application."));
        return false;
    }
    xmlsafe::DocPtr doc;
    {
        xmlsafe::EntityScope none(QStringList{});
        doc = xmlsafe::readFile(path, xmlsafe::kBaseOptions, true, nullptr);
    }
    xmlNode* root = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
    if (!root || !xmlStrEqual(root->name, reinterpret_cast<const xmlChar*>("langs"))) {
        box.stop(QStringLiteral("File with available languages is damaged!"));
        return false;
    }
    // The row elements' own name is free; only their children count.
    for (xmlNode* row = root->children; row; row = row->next) {
        if (row->type != XML_ELEMENT_NODE)
            continue;
        Entry e;
        for (xmlNode* c = row->children; c; c = c->next) {
            if (c->type != XML_ELEMENT_NODE)
                continue;
            const QString text = xmlsafe::nodeText(c);
            if (xmlStrEqual(c->name, reinterpret_cast<const xmlChar*>("name")) && e.name.isEmpty())
                e.name = text;
            else if (xmlStrEqual(c->name, reinterpret_cast<const xmlChar*>("abbrev")) && e.abbrev.isEmpty())
                e.abbrev = text;
            else if (xmlStrEqual(c->name, reinterpret_cast<const xmlChar*>("wordcode")) && e.wordcode.isEmpty())
                e.wordcode = text;
        }
        m_entries.push_back(e);
    }
    return true;
}

QStringList cLangList::names() const
{
    QStringList out;
    for (const Entry& e : m_entries)
        if (!e.name.isEmpty())
            out << e.name;
    return out;
}

QString cLangList::abbrevFor(const QString& name) const
{
    for (const Entry& e : m_entries)
        if (e.name == name && !e.abbrev.isEmpty())
            return e.abbrev;
    return {};
}

QString cLangList::wordcodeFor(const QString& name) const
{
    for (const Entry& e : m_entries)
        if (e.name == name)
            return e.wordcode;
    return {};
}
