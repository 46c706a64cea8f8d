#pragma once
// The installed list of languages an author can add (langs.xml in the
// program folder): name, abbreviation and spelling code of each.
#include "newproject.h"

#include <QString>
#include <QStringList>

#include <vector>

class MsgBox;

class cLangList {
public:
    using Entry = LanguageEntry;

    // Reads the file, validating it against its own DTD. A missing file
    // shows "File with available languages is missing! Please reinstall
    // application.", a damaged one "File with available languages is
    // damaged!"; the list is then empty.
    bool load(const QString& path, MsgBox& box);
    // langs.xml of the program folder.
    static QString defaultPath();

    // Names of the rows that have one, in file order.
    QStringList names() const;
    // The abbreviation of the first row with that name and an abbreviation;
    // "" when there is none.
    QString abbrevFor(const QString& name) const;
    QString wordcodeFor(const QString& name) const;
    const std::vector<Entry>& entries() const { return m_entries; }

private:
    std::vector<Entry> m_entries;
};
