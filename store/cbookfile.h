#pragma once
#include "xmlsafety.h"

#include <QString>

class MsgBox;
class cBook;

// The DOM view of book.xml for its properties; chapter entities stay references.
class cBookFile {
public:
    explicit cBookFile(MsgBox& box) : m_box(box) {}

    bool Load(const QString& path);
    bool isLoaded() const { return m_loaded; }
    void getProperties(cBook& book, const QString& language) const;
    // These three save at once; false when nothing was loaded or the file
    // could not be written (the box has been shown). A file that another
    // process replaced after Load is not overwritten.
    bool setProperties(const cBook& book, const QString& language);
    bool addLangTitle(const QString& abbreviation);
    // Whether the book has a title in that language.
    bool hasLangTitle(const QString& abbreviation) const;
    bool moveChapter(const QString& entity, const QString& before);
    // The entity references of the book body, in order.
    QStringList chapterOrder() const;

private:
    bool save();
    MsgBox& m_box;
    xmlsafe::DocPtr m_doc;
    bool m_loaded = false;
    QString m_path;
    QString m_doctype; // as read, written back unchanged
    QByteArray m_fileId; // the file as read: device, inode, size, time
};

// The text of a new book file (one line, without the line end).
QString newBookFileText(const cBook& book);
