#pragma once
// Export for translation: the project is checked, locked, its translatable
// units numbered, and the whole project written into a transfer package.
#include <QString>

#include <functional>
#include <libxml/tree.h>

class BookTree;
class cProject;
class MsgBox;
class Progress;

namespace exchange {

inline const QString kExportCaption = QStringLiteral("Export");
inline const QString kExportMessage = QStringLiteral("Finishing export. Please wait.");
inline const QString kExportPreparing = QStringLiteral("Preparing export. Please wait.");
inline const QString kExportFinished = QStringLiteral("Export finished.");
inline const QString kLockCommentTitle = QStringLiteral("Lock Comment");
inline const QString kLockCommentPrompt = QStringLiteral(
    "Project will be locked now. As long as project stays locked, it is possible to import languages to it. "
    "You may add comment to lock now.");

// Gives every translatable unit of one onelang element that has none a
// transid: "trans" and a number above the highest one the element already
// uses. True when anything was added.
bool numberTransIds(xmlNode* onelang);

// The numbering of one topic's text in the main language; false when
// nothing changed. A topic that cannot be read is reported in *error.
bool numberTopic(const QString& topicXml, const QString& mainLanguage, QString& out, QString* error = nullptr);

// A fresh lock id: letters and digits from the system's random source.
QString newLockID();

class ProjectExport {
public:
    ProjectExport(cProject& project, MsgBox& box) : m_project(project), m_box(box) {}

    // The lock comment; the input box's Cancel gives "".
    std::function<QString()> askComment;
    // Writes the package of a file list (entries separated by ";", names
    // in the archive relative to baseFolder): the window's backup form asks
    // for the zip's name, the command line has it. Returns whether a package
    // was written; a cancelled or failed package leaves the project locked
    // and the export still ends with its success message.
    std::function<bool(const QString& files, const QString& baseFolder)> writePackage;

    // The whole export; the progress moves per topic of the tree while the
    // units are numbered, and its message says what is being done. False
    // when it ended early (after its message). A cancel asked through the
    // progress while the units are numbered leaves every chapter file as it
    // was and removes the lock again.
    bool run(const BookTree& tree, Progress& progress);

    // Whether the last run set the lock, and whether it wrote a package.
    bool locked() const { return m_locked; }
    bool packageWritten() const { return m_packageWritten; }
    // Whether the last run stopped at the user's request (the lock taken back).
    bool cancelled() const { return m_cancelled; }

private:
    bool preflight();
    bool numberChapters(int topicCount, Progress& progress);
    cProject& m_project;
    MsgBox& m_box;
    bool m_locked = false;
    bool m_packageWritten = false;
    bool m_cancelled = false;
};

} // namespace exchange
