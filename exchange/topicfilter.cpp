#include "topicfilter.h"

#include "fileio.h"
#include "mcommon.h"

void TopicRewriteFilter::fail(const QString& why)
{
    if (m_failed)
        return;
    m_failed = true;
    m_failure = why;
    if (reader)
        reader->stop();
}

void TopicRewriteFilter::startElement(std::string_view name, const sax::Attrs& attrs)
{
    if (m_failed)
        return;
    if (m_depth == 0 && name != "topic") {
        outsideStart(name, attrs);
        return;
    }
    if (name == "topic") {
        if (m_depth == 0) {
            m_topic.clear();
            m_id = attrs.qvalue("id");
        }
        ++m_depth;
    }
    appendStartTag(m_topic, name, attrs);
}

void TopicRewriteFilter::endElement(std::string_view name)
{
    if (m_failed)
        return;
    if (m_depth == 0) {
        outsideEnd(name);
        return;
    }
    m_topic += "</";
    m_topic += name;
    m_topic += '>';
    if (name != "topic" || --m_depth > 0)
        return;
    QString replacement;
    if (onTopic && onTopic(m_id, QString::fromUtf8(m_topic.data(), qsizetype(m_topic.size())), replacement)) {
        if (m_failed)
            return;
        writeRaw(replacement);
        m_changed = true;
    } else if (!m_failed) {
        writeRaw(m_topic);
    }
    m_topic.clear();
}

void TopicRewriteFilter::characters(std::string_view text)
{
    if (m_failed)
        return;
    if (m_depth == 0)
        outsideText(text);
    else
        mCommon::escapeXMLTo(m_topic, sax::trimText(text));
}

void TopicRewriteFilter::skippedEntity(std::string_view name)
{
    if (m_failed)
        return;
    if (m_depth == 0) {
        writeEntity(name);
        return;
    }
    m_topic += '&';
    m_topic += name;
    m_topic += ';';
}

void SectionTitleFilter::outsideStart(std::string_view name, const sax::Attrs& attrs)
{
    const bool ownChild = !m_stack.empty() && m_stack.back().section;
    const Frame owner = ownChild ? m_stack.back() : Frame{};
    if (name == "chapter")
        m_stack.push_back({true, true, chapterId});
    else if (name == "subchapter")
        m_stack.push_back({true, false, attrs.qvalue("id")});
    else
        m_stack.push_back({});
    writeStart(name, attrs);
    if (!ownChild || name != "title" || attrs.value("lang") != m_language)
        return;
    // Only the first title of the language: the key of a chapter is marked
    // apart from a subchapter that could carry the same id.
    const QString key = (owner.chapter ? QStringLiteral("c:") : QStringLiteral("s:")) + owner.id;
    if (m_asked.contains(key))
        return;
    m_asked.insert(key);
    QString text;
    if (newSectionTitle(owner.chapter, owner.id, text)) {
        m_newText = text;
        m_replacing = true;
        markChanged();
    }
}

void SectionTitleFilter::outsideEnd(std::string_view name)
{
    if (m_replacing && name == "title") {
        // The old text is dropped; the new one is written here.
        m_buf.clear();
        mCommon::escapeXMLTo(m_buf, m_newText.toStdString());
        writeRaw(m_buf);
        m_replacing = false;
    }
    if (!m_stack.empty())
        m_stack.pop_back();
    writeEnd(name);
}

void SectionTitleFilter::outsideText(std::string_view text)
{
    if (!m_replacing)
        writeText(text);
}

namespace exchange {

bool rewriteChapterToTemp(const QString& chapterFile, TopicRewriteFilter& filter, const QString& tempPath,
                          bool* changed, QString* error)
{
    QString why;
    const bool ok = rewriteToTemp(chapterFile, filter, tempPath, nullptr, &why);
    if (changed)
        *changed = false;
    if (!ok || filter.failed()) {
        if (ok)
            fileio::commitTemp(tempPath, QString());
        if (error)
            *error = filter.failed() ? filter.failure() : why;
        return false;
    }
    if (!filter.changed()) {
        fileio::commitTemp(tempPath, QString());
        return true;
    }
    if (changed)
        *changed = true;
    return true;
}

} // namespace exchange
