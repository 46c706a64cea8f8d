#include "ccontexthelp.h"

#include "fileio.h"
#include "mcommon.h"

#include <QFileInfo>

int FormCollection::indexOf(const QString& name) const
{
    for (size_t i = 0; i < m_records.size(); ++i)
        if (m_records[i].Tag == name)
            return int(i);
    return -1;
}

bool FormCollection::add(const cContextHelp& record)
{
    if (contains(record.Tag))
        return false;
    m_records.push_back(record);
    return true;
}

const cContextHelp* FormCollection::find(const QString& name) const
{
    const int i = indexOf(name);
    return i < 0 ? nullptr : &m_records[size_t(i)];
}

bool FormCollection::replace(const QString& name, const cContextHelp& record)
{
    const int i = indexOf(name);
    if (i < 0 || (record.Tag != name && contains(record.Tag)))
        return false;
    m_records[size_t(i)] = record;
    return true;
}

void FormCollection::remove(const QString& name)
{
    const int i = indexOf(name);
    if (i >= 0)
        m_records.erase(m_records.begin() + i);
}

QByteArray helpContextBytes(const FormCollection& forms)
{
    QString text = QStringLiteral(
        "<?xml version=\"1.0\"?><!DOCTYPE forms [<!ELEMENT forms (form*)><!ELEMENT form (name,caption,helpid)>"
        "<!ELEMENT name (#PCDATA)><!ELEMENT caption (#PCDATA)><!ELEMENT helpid (#PCDATA)>]><forms>");
    // Records that pass the dialog's rules hold nothing to escape; a loaded
    // file's might, and must not break the file.
    for (const cContextHelp& f : forms.records())
        text += QStringLiteral("<form><name>") + mCommon::escapeXML(f.Tag) + QStringLiteral("</name><caption>") +
                mCommon::escapeXML(f.Caption) + QStringLiteral("</caption><helpid>") + mCommon::escapeXML(f.ID) +
                QStringLiteral("</helpid></form>");
    text += QStringLiteral("</forms>");
    return fileio::utf16WithBom(text);
}

void cSAXHelpContext::startElement(std::string_view name, const sax::Attrs&)
{
    m_lastTag = std::string(name);
    if (name == "form")
        m_record = cContextHelp{};
}

void cSAXHelpContext::characters(std::string_view text)
{
    const std::string_view kept = sax::trimText(text);
    if (kept.empty())
        return;
    const QString value = sax::qs(kept);
    if (m_lastTag == "name")
        m_record.Tag = value;
    else if (m_lastTag == "caption")
        m_record.Caption = value;
    else if (m_lastTag == "helpid")
        m_record.ID = value;
}

void cSAXHelpContext::endElement(std::string_view name)
{
    if (name != "form")
        return;
    m_lastTag.clear();
    if (m_forms && !m_forms->add(m_record) && m_duplicate.isEmpty()) {
        m_duplicate = m_record.Tag;
        if (reader)
            reader->stop();
    }
}

bool readHelpContext(const QString& path, FormCollection& forms, QString* why)
{
    forms.clear();
    cSAXHelpContext handler;
    handler.SetForms(&forms);
    sax::Reader reader(handler);
    const bool parsed = reader.parseFile(path);
    if (!handler.duplicate().isEmpty()) {
        if (why)
            *why = QStringLiteral("The form \"%1\" is named twice in \"%2\"!")
                       .arg(handler.duplicate(), QFileInfo(path).fileName());
        forms.clear();
        return false;
    }
    if (!parsed) {
        if (why)
            *why = reader.error().message;
        forms.clear();
        return false;
    }
    return true;
}

QString recordProblem(const cContextHelp& record)
{
    const QString& name = record.Tag;
    const QString& id = record.ID;
    if (name.isEmpty() || id.isEmpty())
        return QStringLiteral("Name and ID values must be typed down!");
    auto asciiLetter = [](QChar c) {
        return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) || (c >= QLatin1Char('A') && c <= QLatin1Char('Z'));
    };
    auto asciiDigit = [](QChar c) { return c >= QLatin1Char('0') && c <= QLatin1Char('9'); };
    for (QChar c : name)
        if (!asciiLetter(c) && !asciiDigit(c) && c != QLatin1Char('_') && c != QLatin1Char('-'))
            return QStringLiteral("Form name can include only letters and digits!");
    if (!asciiLetter(name.front()))
        return QStringLiteral("Form name must start with letter!");
    const QString caption = mCommon::xmlCharsProblem(record.Caption, QStringLiteral("Form caption"));
    if (!caption.isEmpty())
        return caption;
    for (QChar c : id)
        if (!asciiDigit(c))
            return QStringLiteral("Context help ID can include only digits!");
    if (id.front() == QLatin1Char('0'))
        return QStringLiteral("Context help ID must start with non-zero!");
    return {};
}
