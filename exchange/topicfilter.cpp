#include "topicfilter.h"

#include "fileio.h"
#include "mcommon.h"

#include <libxml/tree.h>

namespace {

// Text as a parser reads it back from what the filter writes: line ends
// made line feeds, and in an attribute every blank made a space.
std::string readBack(std::string_view text, bool attribute)
{
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '\r') {
            if (i + 1 < text.size() && text[i + 1] == '\n')
                ++i;
            c = '\n';
        }
        if (attribute && (c == '\n' || c == '\t'))
            c = ' ';
        out += c;
    }
    return out;
}

} // namespace

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
            if (onTopicTree) {
                m_tree.reset(xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0")));
                m_cursor = nullptr;
                m_treeOk = true;
            }
        }
        ++m_depth;
    }
    appendStartTag(m_topic, name, attrs);
    if (m_treeOk) {
        xmlNode* node = xmlNewDocNode(m_tree.get(), nullptr, reinterpret_cast<const xmlChar*>(std::string(name).c_str()),
                                      nullptr);
        for (const auto& a : attrs)
            xmlNewProp(node, reinterpret_cast<const xmlChar*>(std::string(a.name).c_str()),
                       reinterpret_cast<const xmlChar*>(readBack(a.value, true).c_str()));
        if (m_cursor)
            xmlAddChild(m_cursor, node);
        else
            xmlDocSetRootElement(m_tree.get(), node);
        m_cursor = node;
    }
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
    if (m_treeOk && m_cursor)
        m_cursor = m_cursor->parent && m_cursor->parent->type == XML_ELEMENT_NODE ? m_cursor->parent : nullptr;
    if (name != "topic" || --m_depth > 0)
        return;
    QString replacement;
    bool replaced = false;
    if (onTopicTree) {
        xmlsafe::DocPtr tree = m_treeOk ? std::move(m_tree) : xmlsafe::DocPtr();
        m_tree.reset();
        m_treeOk = false;
        replaced = onTopicTree(m_id, std::move(tree), m_topic, replacement);
    } else if (onTopic) {
        replaced = onTopic(m_id, QString::fromUtf8(m_topic.data(), qsizetype(m_topic.size())), replacement);
    }
    if (replaced) {
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
    if (m_depth == 0) {
        outsideText(text);
        return;
    }
    const std::string_view kept = sax::trimText(text);
    mCommon::escapeXMLTo(m_topic, kept);
    if (m_treeOk && m_cursor && !kept.empty()) {
        const std::string back = readBack(kept, false);
        xmlAddChild(m_cursor, xmlNewDocTextLen(m_tree.get(), reinterpret_cast<const xmlChar*>(back.data()), int(back.size())));
    }
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
    m_treeOk = false; // only the parser can tell what the reference is
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
