#pragma once
// A chapter rewrite that hands every topic, whole, to a function that may
// give it back changed. Everything else is copied as the rewrite filters
// copy it; a topic left alone comes out byte for byte as they would write it.
// So one pass over a chapter file does what a replacement per topic would.
#include "rewrite.h"

#include <QSet>
#include <QString>

#include <functional>
#include <vector>

class TopicRewriteFilter : public RewriteFilter {
public:
    // Receives the id and the topic's text as the topic extractor cuts it;
    // returns true with the replacement in out, or false to keep it.
    // Setting failed stops the rewrite (the caller discards the result).
    using TopicFunction = std::function<bool(const QString& id, const QString& topicXml, QString& out)>;
    TopicFunction onTopic;
    // Instead of onTopic: receives the topic as a document built from the
    // same events (what parsing its text would give), or null when it holds
    // an entity reference and only its text can tell; the text as well.
    using TopicTreeFunction =
        std::function<bool(const QString& id, xmlsafe::DocPtr tree, const std::string& topicXml, QString& out)>;
    TopicTreeFunction onTopicTree;

    bool changed() const { return m_changed; }
    bool failed() const { return m_failed; }
    QString failure() const { return m_failure; }
    void fail(const QString& why);

    void startElement(std::string_view name, const sax::Attrs& attrs) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;
    void skippedEntity(std::string_view name) override;

protected:
    // Hooks for what lies outside topics (titles of chapters and subchapters).
    virtual void outsideStart(std::string_view name, const sax::Attrs& attrs) { writeStart(name, attrs); }
    virtual void outsideEnd(std::string_view name) { writeEnd(name); }
    virtual void outsideText(std::string_view text) { writeText(text); }
    void markChanged() { m_changed = true; }

private:
    std::string m_topic;
    QString m_id;
    xmlsafe::DocPtr m_tree;
    xmlNode* m_cursor = nullptr;
    bool m_treeOk = false;
    int m_depth = 0; // nesting of topic elements while one is captured
    bool m_changed = false;
    bool m_failed = false;
    QString m_failure;
};

// Besides topics, replaces the title of chapters and subchapters in one
// language: the first title in that language that is a direct child of the
// chapter or subchapter.
class SectionTitleFilter : public TopicRewriteFilter {
public:
    explicit SectionTitleFilter(const QString& language) : m_language(language.toStdString()) {}

protected:
    // The new text of the title of a chapter or subchapter (by id; a
    // chapter's id is its chapter id, as the subclass was told, or "");
    // false keeps the old one.
    virtual bool newSectionTitle(bool chapter, const QString& id, QString& text) = 0;
    // The id given to the chapter element of the file.
    QString chapterId;

    void outsideStart(std::string_view name, const sax::Attrs& attrs) override;
    void outsideEnd(std::string_view name) override;
    void outsideText(std::string_view text) override;

private:
    struct Frame {
        bool section = false;
        bool chapter = false;
        QString id;
    };
    std::string m_language;
    std::vector<Frame> m_stack;
    QSet<QString> m_asked;
    bool m_replacing = false;
    QString m_newText;
};

namespace exchange {

// Rewrites a chapter file through the filter into tempPath, complete and
// fsynced but not renamed. False after a failure, with the reason in
// *error. When the filter changed nothing the temporary file is removed
// and *changed is false.
bool rewriteChapterToTemp(const QString& chapterFile, TopicRewriteFilter& filter, const QString& tempPath,
                          bool* changed, QString* error);

} // namespace exchange
