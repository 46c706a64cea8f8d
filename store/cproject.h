#pragma once
#include "cstack.h"
#include "xmlsafety.h"

#include <QString>
#include <QStringList>

class MsgBox;
class ProjectLock;

// Live view of the project file (.qly): answers every question from the DOM
// and writes the file after every change.
class cProject {
public:
    explicit cProject(MsgBox& box) : m_box(box) {}

    bool Load(const QString& path);
    bool isLoaded() const { return m_loaded; }

    QString GetProjectFile() const { return m_path; }
    // Project folder (the file's path without its extension) with a closing slash.
    QString GetProjectFolder() const;
    QString getBookFile() const;
    void setBookFile(const QString& fileName);
    QString getChapterFile(const QString& chapterTitle) const;
    cStack getChapterFiles() const;
    QStringList chapterFileList() const;
    QString getChapterID(const QString& chapterTitle) const;
    cStack getChapterIDs() const;
    cStack getLanguages() const;
    QStringList languageList() const; // main first, then the others in file order
    QString getLanguageName(const QString& abbreviation) const;
    QString getLanguageAbrev(const QString& name) const;
    QString GetMainLangAbbrev() const;
    cStack getAllLanguageNames() const;
    // The changes of the project file: false when it was not written (the
    // message has been shown and the view is as on disk again).
    bool RemoveChapter(const QString& chapterTitle);
    bool InsertChapter(const QString& title, const QString& id, const QString& file);
    bool InsertLanguage(const QString& name, const QString& abbreviation);
    bool isFileNameRestricted(const QString& path) const;
    QString getNewTopicID() { return newID("topicid", "topic"); }
    QString getNewSubchapterID() { return newID("subchapterid", "sub"); }
    QString getNewChapterID() { return newID("chapterid", "chapter"); }
    QString getNewAnchorID() { return newID("anchorid", "anchor"); }
    bool SetLock(const QString& id, const QString& stamp, const QString& description);
    bool RemoveLock();
    QString GetLockID() const { return lockChild("id"); }
    QString GetLockStamp() const { return lockChild("stamp"); }
    QString GetLockDescription() const { return lockChild("description"); }

    // Chapters in file order: title, id and file, for listings.
    struct ChapterEntry {
        QString title, id, file;
    };
    std::vector<ChapterEntry> chapters() const;
    // The counters as they stand (topicid, subchapterid, chapterid, anchorid).
    QString counter(const char* element) const;

    // The hint for the temporary files of rewrites in the project folder.
    QString rewriteTempPath() const;

    // Saves the DOM to the project file and leaves the file marked, under
    // the writers' lock. False with a box when the write fails or the file is
    // read-only (its owner made it so; it is left as it is).
    bool saveProject();
    // After a write that failed: the view goes back to the file on disk.
    void revertToDisk();

    // Lists files whose names a new file may not take.
    QStringList getRestrictedFiles() const;

private:
    xmlNode* root() const;
    QString childText(xmlNode* parent, const char* name) const;
    QString newID(const char* counter, const char* prefix);
    QString lockChild(const char* name) const;
    // Takes the writers' lock and, when another process has replaced the
    // file since it was read, reads it again: a change starts from what is
    // on disk. False after a box.
    bool beginChange(ProjectLock& lock);
    void noteFile();
    MsgBox& m_box;
    xmlsafe::DocPtr m_doc;
    bool m_loaded = false;
    QString m_path;
    QString m_doctype; // as read, written back unchanged
    QByteArray m_fileId; // the file as last read or written: device, inode, size, time
};

// The first child element with that name.
xmlNode* getChild(xmlNode* parent, const char* name);
