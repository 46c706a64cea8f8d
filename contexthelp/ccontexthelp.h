#pragma once
// The forms of the documented application and their context help IDs:
// the record, the collection read from helpcontextid.xml, the rules a
// record must keep, and the file itself, written byte for byte.
#include "sax.h"

#include <QByteArray>
#include <QString>

#include <vector>

class MsgBox;

// A form record (Caption: the form's caption) or, on its way to the chapter
// files, an assignment (Caption: the topic's path below the book).
struct cContextHelp {
    QString Caption;
    QString Tag; // the form's name
    QString ID;  // the context help ID
};

// Form records by name, in the order they were added; a name once only.
class FormCollection {
public:
    // False when a record of that name is there already.
    bool add(const cContextHelp& record);
    bool contains(const QString& name) const { return indexOf(name) >= 0; }
    const cContextHelp* find(const QString& name) const;
    // Replaces the record of a name, keeping its place.
    bool replace(const QString& name, const cContextHelp& record);
    void remove(const QString& name);
    void clear() { m_records.clear(); }
    const std::vector<cContextHelp>& records() const { return m_records; }
    bool empty() const { return m_records.empty(); }

private:
    int indexOf(const QString& name) const;
    std::vector<cContextHelp> m_records;
};

inline const QString kHelpContextFile = QStringLiteral("helpcontextid.xml");

// The bytes of helpcontextid.xml: UTF-16 with its byte order mark, the fixed
// start, the forms in collection order, no line break.
QByteArray helpContextBytes(const FormCollection& forms);

// Reads helpcontextid.xml into forms (cleared first). False with the reason
// when the file cannot be read or names a form twice.
bool readHelpContext(const QString& path, FormCollection& forms, QString* why);

// The record dialog's checks in their order: the first message that a
// record fails, or "" when it passes.
QString recordProblem(const cContextHelp& record);

// The content handler of helpcontextid.xml.
class cSAXHelpContext : public sax::Handler {
public:
    void SetForms(FormCollection* forms) { m_forms = forms; }
    // The name met twice, if any.
    QString duplicate() const { return m_duplicate; }

    void startElement(std::string_view name, const sax::Attrs& attrs) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;

private:
    FormCollection* m_forms = nullptr;
    cContextHelp m_record;
    std::string m_lastTag;
    QString m_duplicate;
};
