#include "langlist.h"

#include "paths.h"

QString cLangList::defaultPath()
{
    return paths::programFolder() + QStringLiteral("/langs.xml");
}

bool cLangList::load(const QString& path, MsgBox& box)
{
    return loadLanguageList(m_entries, box, path);
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
