#pragma once
// Adding a language to a project: every topic, subchapter, chapter and the
// book get a title in the new language (a copy of the main language's), every
// topic an empty body for it, and the language gets its image folder.
#include "rewrite.h"

#include <QString>

class cProject;
class MsgBox;
class Progress;

// Copies a chapter file and inserts the new language.
class cSAXAddLanguage : public RewriteFilter {
public:
    QString Lang;     // the new abbreviation
    QString MainLang; // the main language's abbreviation
    QString Stamp;    // date and time given to the new topic titles

    void startElement(std::string_view name, const sax::Attrs& attrs) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;

private:
    void ready();
    std::string m_lang, m_main, m_stamp;
    bool m_ready = false;
    bool m_titleMayFollow = false; // a topic, subchapter or chapter began
    bool m_sourceTitle = false;    // the next text is the main language's title
    bool m_pending = false;        // a title waits to be written
    std::string m_captured;        // its text
    bool m_hasBody = false;        // the topic has a body in the new language
};

namespace exchange {

// The refusal of a new language, or "" when it may be added: an empty name
// or abbreviation, a name or abbreviation the project has (exact, with
// case), an abbreviation that cannot name a folder.
QString newLanguageRefusal(const cProject& project, const QString& name, const QString& abbrev);

// The question before adding.
QString addLanguageQuestion(const QString& name);

// Adds the language. All or nothing for the chapter files: every one is
// rewritten to a temporary file first, and only when all are complete are
// they renamed over their targets; then the project file, the image folder
// and the book file follow. A failure shows its box and changes nothing
// (before the renames). The progress steps once per chapter file; a cancel
// asked through it before the renames changes nothing either.
bool addLanguage(cProject& project, const QString& name, const QString& abbrev, MsgBox& box,
                 Progress* progress = nullptr);

} // namespace exchange
