#include "filters.h"

#include "language.h"
#include "mcommon.h"

// --- extractor ---------------------------------------------------------

void cSAXTopicExtractor::startElement(std::string_view name, const sax::Attrs& attrs)
{
    if (m_done)
        return;
    if (!m_ready) {
        m_cut = CutElement.toStdString();
        m_id = TopicID.toStdString();
        m_ready = true;
    }
    if (!m_cutting) {
        if (name != m_cut || attrs.value("id") != m_id)
            return;
        m_cutting = true;
        m_depth = 0;
    }
    if (name == m_cut)
        ++m_depth;
    appendStartTag(m_out, name, attrs);
}

void cSAXTopicExtractor::endElement(std::string_view name)
{
    if (!m_cutting)
        return;
    m_out += "</";
    m_out += name;
    m_out += '>';
    if (name == m_cut && --m_depth == 0) {
        m_cutting = false;
        m_done = true;
        // The rest of the file is of no interest.
        if (reader)
            reader->stop();
    }
}

void cSAXTopicExtractor::characters(std::string_view text)
{
    if (!m_cutting)
        return;
    mCommon::escapeXMLTo(m_out, sax::trimText(text));
}

void cSAXTopicExtractor::skippedEntity(std::string_view name)
{
    if (!m_cutting)
        return;
    m_out += '&';
    m_out += name;
    m_out += ';';
}

// --- change filters ----------------------------------------------------

void FileChangeFilter::writeIn()
{
    if (m_in.empty() && !xmlIn.isEmpty())
        m_in = xmlIn.toStdString();
    writeRaw(m_in);
}

const std::string& FileChangeFilter::cut()
{
    if (m_cut.empty())
        m_cut = CutElement.toStdString();
    return m_cut;
}

void FileChangeFilter::startElement(std::string_view name, const sax::Attrs& attrs)
{
    if (name == cut()) {
        if (m_found) {
            ++m_depth; // an element of the same name inside the target
        } else if (!m_done) {
            const QString target = targetID();
            QString id = target.isEmpty() ? QString() : attrs.qvalue("id");
            if (id == target) {
                m_found = true;
                m_depth = 1;
                switch (baseAction()) {
                case 2:
                    m_writing = false;
                    break;
                case 1:
                    m_writing = false;
                    writeIn();
                    break;
                case 3:
                    writeIn();
                    break;
                default:
                    break;
                }
            }
        }
    }
    if (m_writing)
        writeStart(name, attrs);
}

void FileChangeFilter::endElement(std::string_view name)
{
    bool closesTarget = false;
    if (m_found && name == cut())
        closesTarget = --m_depth == 0;
    if (closesTarget && baseAction() == 5)
        writeIn();
    if (m_writing)
        writeEnd(name);
    if (closesTarget) {
        m_found = false;
        m_done = true;
        if (baseAction() == 4)
            writeIn();
        m_writing = true;
    }
}

void FileChangeFilter::characters(std::string_view text)
{
    if (m_writing)
        writeText(text);
}

void FileChangeFilter::skippedEntity(std::string_view name)
{
    if (m_writing)
        writeEntity(name);
}

int cSAXFileChangeChapter::baseAction() const
{
    switch (Action) {
    case 6: return 2;
    case 11: return 1;
    case 7: return 3;
    case 9: return 5;
    case 8: return 4;
    default: return 0;
    }
}

// --- title update ------------------------------------------------------

void cSAXFileChangeChapterUpdate::startElement(std::string_view name, const sax::Attrs& attrs)
{
    ++m_depth;
    if (!m_inTarget && !m_found && sax::qs(name) == CutElement &&
        (SubID.isEmpty() || attrs.qvalue("id") == SubID)) {
        m_inTarget = true;
        m_found = true;
        m_targetDepth = m_depth;
    }
    // Only the target's own titles, not those of what it holds.
    if (m_inTarget && name == "title" && m_depth == m_targetDepth + 1 &&
        attrs.qvalue("lang") == currentLanguage())
        m_replace = true;
    writeStart(name, attrs);
}

void cSAXFileChangeChapterUpdate::endElement(std::string_view name)
{
    if (m_replace && name == "title") {
        // An empty title has no text to replace: the new one goes in here.
        if (Action == 10 || Action == 11)
            writeRaw(mCommon::escapeXML(xmlIn));
        m_replace = false;
    }
    if (m_inTarget && m_depth == m_targetDepth && sax::qs(name) == CutElement)
        m_inTarget = false;
    --m_depth;
    writeEnd(name);
}

void cSAXFileChangeChapterUpdate::characters(std::string_view text)
{
    std::string_view t = sax::trimText(text);
    if (t.empty())
        return;
    if (m_replace && (Action == 10 || Action == 11)) {
        writeRaw(mCommon::escapeXML(xmlIn));
        m_replace = false;
        return;
    }
    writeText(text);
}
