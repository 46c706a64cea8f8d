#pragma once
// The filters that cut one element out of a chapter file and that rewrite a
// chapter file around one element. All of them count the nesting depth of
// the element they work on, so that a subchapter holding subchapters is
// handled whole and every file stays balanced.
#include "rewrite.h"
#include "sax.h"

#include <QString>

// Copies one element (by name and id) out of a chapter file.
class cSAXTopicExtractor : public sax::Handler {
public:
    QString CutElement;
    QString TopicID;
    QString xmlOutput() const { return QString::fromUtf8(m_out.data(), qsizetype(m_out.size())); }
    bool found() const { return m_done || m_cutting; }

    void startElement(std::string_view name, const sax::Attrs& attrs) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;
    void skippedEntity(std::string_view name) override;

private:
    std::string m_out;
    std::string m_cut, m_id; // UTF-8 forms, for cheap comparisons
    bool m_ready = false;
    bool m_cutting = false;
    bool m_done = false;
    int m_depth = 0;
};

// Replaces, drops or inserts next to one element of a chapter file.
// Actions: 1 replace, 2 drop, 3 insert before, 4 insert after, 5 insert as
// last child (before the closing tag).
class FileChangeFilter : public RewriteFilter {
public:
    QString xmlIn;
    QString CutElement;

    void startElement(std::string_view name, const sax::Attrs& attrs) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;
    void skippedEntity(std::string_view name) override;

    bool found() const override { return m_done; }

protected:
    // The id looked for and the action in the terms of the filter above.
    virtual QString targetID() const = 0;
    virtual int baseAction() const = 0;

private:
    void writeIn();
    const std::string& cut();
    std::string m_cut;
    bool m_writing = true;
    bool m_found = false;
    bool m_done = false;
    int m_depth = 0;
    std::string m_in;
};

class cSAXFileChangeTopic : public FileChangeFilter {
public:
    QString TopicID;
    int Action = 0;

protected:
    QString targetID() const override { return TopicID; }
    int baseAction() const override { return Action; }
};

// Chapter actions: 6 drop, 11 replace, 7 before, 9 inside, 8 after.
class cSAXFileChangeChapter : public FileChangeFilter {
public:
    QString SubID;
    int Action = 0;

protected:
    QString targetID() const override { return SubID; }
    int baseAction() const override;
};

// Copies everything and changes the title of one chapter or subchapter in
// the current language (actions 10 and 11).
class cSAXFileChangeChapterUpdate : public RewriteFilter {
public:
    QString SubID;
    QString xmlIn;
    QString CutElement;
    int Action = 0;

    void startElement(std::string_view name, const sax::Attrs& attrs) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;

    bool found() const override { return m_found; }

private:
    bool m_inTarget = false;
    bool m_found = false;
    bool m_replace = false;
    int m_depth = 0;
    int m_targetDepth = 0;
};
