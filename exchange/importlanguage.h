#pragma once
// Import of one language from a translated copy into the locked master: the
// book's, chapters' and subchapters' titles and each topic's title and body
// in that language, as far as they are ticked in the copy's tree.
#include "booktree.h"
#include "cproject.h"
#include "tickmodel.h"

#include <QString>
#include <QStringList>

#include <memory>

class MsgBox;
class Progress;

namespace exchange {

inline const QString kImportOpenTitle = QStringLiteral("Open project to import from");
inline const QString kImportFilter = QStringLiteral("Quillary and ZIP files (*.qly *.zip);;All files (*.*)");
inline const QString kImportFolderTitle = QStringLiteral("Select destination folder for extracted project");
inline const QString kExtracting = QStringLiteral("Extracting files. Please wait.");
inline const QString kImporting = QStringLiteral("Importing. Please wait.");

// The master's topic with the language's title and body replaced by those
// of the copy (each given as XML text): the text of the merged topic. direct
// splices the texts where they are in the rewrite filters' own form (the
// same bytes a parse and a new serialisation give); otherwise, and for
// anything else, the topic goes through a DOM.
bool mergeTopicLanguage(const QString& masterXml, const QString& title, const QString& onelang,
                        const QString& language, QString& out, QString* error = nullptr, bool direct = true);

class LanguageImport {
public:
    LanguageImport(cProject& current, MsgBox& box);
    ~LanguageImport();

    // Whether a chosen file is a zip (by its extension, in lower case).
    static bool isArchive(const QString& path);
    // Extracts a transfer package into folder; false after a message
    // ("File does not exist!", "No folder for extracting was selected!", or
    // the archive's refusal). The progress takes the file count, then a step
    // per file.
    bool extract(const QString& archive, const QString& folder, Progress& progress);
    // The project file at the top of an extracted package ("" when there is
    // not exactly one).
    static QString projectInPackage(const QString& archive, const QString& folder);

    // Checks and loads the chosen copy, then fills both trees and ticks every
    // node of the copy's. False after a message: the dialog then closes.
    bool selectProject(const QString& path);

    cProject& selected() { return *m_selected; }
    BookTree& oldTree() { return m_oldTree; }
    BookTree& newTree() { return m_newTree; }
    TickModel& ticks() { return m_ticks; }
    // Entries of the language list: name, " (", abbreviation, ")"; the name
    // from the current project (empty for a language it does not know).
    QStringList languageEntries() const;
    static QString abbreviationOf(const QString& entry);

    enum class Result { Stay, Done, Failed };
    // The import button: checks (the dialog stays after a refusal), then
    // the import, then "Import was successfull!" (Done). A failure shows
    // "Error! Import was not successful!" (Failed) and the dialog stays. A
    // cancel asked through the progress before any file is replaced shows
    // that nothing was changed (Stay).
    Result import(const QString& languageEntry, Progress& progress);

private:
    struct Plan;
    bool checkStructure();
    bool runImport(const QString& language, Progress& progress);
    cProject& m_current;
    MsgBox& m_box;
    std::unique_ptr<cProject> m_selected;
    BookTree m_oldTree, m_newTree;
    TickModel m_ticks;
    bool m_cancelled = false;
};

} // namespace exchange
