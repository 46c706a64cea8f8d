#include "indexkeywords.h"

#include "mcommon.h"
#include "xmlsafety.h"


#include <algorithm>

namespace indexkeywords {

namespace {

std::vector<xmlNode*> elementChildren(xmlNode* n)
{
    std::vector<xmlNode*> out;
    for (xmlNode* c = n ? n->children : nullptr; c; c = c->next)
        if (c->type == XML_ELEMENT_NODE)
            out.push_back(c);
    return out;
}

bool named(xmlNode* n, const char* name)
{
    return n && xmlStrEqual(n->name, reinterpret_cast<const xmlChar*>(name));
}

} // namespace

KeywordTree parseIndexText(const QString& text)
{
    KeywordTree tree;
    if (text.isEmpty())
        return tree;
    xmlsafe::EntityScope none(QStringList{});
    xmlsafe::DocPtr doc = xmlsafe::readMemory(
        (QStringLiteral("<indexes>") + text + QStringLiteral("</indexes>")).toUtf8(), {}, 0, false, nullptr);
    if (!doc)
        return tree;
    // A transid that repeats (a keyword copied with its topic, say) is kept
    // on both keywords: dropping one would lose the author's keyword.
    for (xmlNode* index : elementChildren(xmlDocGetRootElement(doc.get()))) {
        if (!named(index, "index"))
            continue;
        const QString transid = xmlsafe::attr(index, "transid");
        std::vector<xmlNode*> parts = elementChildren(index);
        xmlNode* primary = nullptr;
        xmlNode* secondary = nullptr;
        for (xmlNode* p : parts) {
            if (named(p, "primary") && !primary)
                primary = p;
            else if (named(p, "secondary") && !secondary)
                secondary = p;
        }
        if (!primary)
            continue;
        const QString ptext = xmlsafe::nodeText(primary);
        Keyword* found = nullptr;
        for (Keyword& k : tree)
            if (k.text == ptext) {
                found = &k;
                break;
            }
        if (parts.size() >= 2 && secondary) {
            if (!found) {
                tree.push_back({ptext, QString(), {}});
                found = &tree.back();
            }
            found->children.push_back({xmlsafe::nodeText(secondary), transid, {}});
        } else if (!found) {
            tree.push_back({ptext, transid, {}});
        }
    }
    return tree;
}

QString buildIndexText(const KeywordTree& tree)
{
    using mCommon::escapeXML;
    // Escaped as the topic's index text is, so that a keyword with "&" or "<"
    // reads back as typed and the other keywords are not lost with it.
    QString out;
    auto open = [](const QString& key) {
        return key.isEmpty() ? QStringLiteral("<index>")
                             : QStringLiteral("<index transid=\"") + mCommon::escapeXMLAttribute(key) +
                                   QStringLiteral("\">");
    };
    for (const Keyword& p : tree) {
        if (p.children.empty()) {
            out += open(p.key) + QStringLiteral("<primary>") + escapeXML(p.text) +
                   QStringLiteral("</primary></index>");
            continue;
        }
        for (const Keyword& s : p.children)
            out += open(s.key) + QStringLiteral("<primary>") + escapeXML(p.text) +
                   QStringLiteral("</primary><secondary>") + escapeXML(s.text) +
                   QStringLiteral("</secondary></index>");
    }
    return out;
}

bool lessByText(const QString& a, const QString& b)
{
    const int c = a.compare(b, Qt::CaseInsensitive);
    return c != 0 ? c < 0 : a < b;
}

void sortLevel(std::vector<Keyword>& level)
{
    std::stable_sort(level.begin(), level.end(),
                     [](const Keyword& a, const Keyword& b) { return lessByText(a.text, b.text); });
}

} // namespace indexkeywords
