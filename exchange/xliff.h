#pragma once
// Translation through CAT tools: one language of the project written as an
// XLIFF 1.2 file, and a filled file brought back into that language.
//
// Unit ids are built from what never changes while a project is locked:
// "book.title", "<chapter id>.title", "<sub id>.title", "<topic id>.title",
// and for a numbered block "<topic id>.<transid>" with a part inside it:
// ".i<n>" list item, ".h<n>" header cell, ".r<row>c<col>" cell, ".title",
// ".p<n>" paragraph of a notice, ".primary"/".secondary" keyword, and
// ".link<code>" for the label of a web link. Inline elements become codes
// numbered in document order inside the unit: sign, a paragraph's title and
// a paragraph in a cell as <bpt>/<ept>, link, anchor and a cell's image as
// <ph>, each holding a tag of its own ("<sign#2>", "</sign#2>", "<link#1/>")
// so that tools which flatten codes to text (PO) keep them; a non-breaking
// space is a <ph> of its own. The importer takes g/x and bpt/ept/ph, and in
// plain text exactly the tags of the unit's source; it rebuilds the elements
// from the master by their numbers, so a code never carries markup back in.
#include <QString>
#include <QStringList>

class cProject;
class MsgBox;
class Progress;

namespace exchange {

inline const QString kXliffNamespace = QStringLiteral("urn:oasis:names:tc:xliff:document:1.2");

struct XliffExportSummary {
    int units = 0;          // trans-units written
    int targets = 0;        // of them with a target
    int topics = 0;
    int withoutTransId = 0; // main-language blocks left out: no (or a repeated) transid
};

// Writes the language's XLIFF file (atomically). False after a message.
bool exportXliff(const cProject& project, const QString& language, const QString& outFile, MsgBox& box,
                 Progress& progress, XliffExportSummary* summary = nullptr);
// What an export did, in lines for the author; locked: the project's state.
QStringList exportReport(const QString& file, const XliffExportSummary& s, bool locked);

struct XliffImportSummary {
    QString language;
    int topics = 0;           // topics rebuilt
    int titles = 0;           // book, chapter and subchapter titles set
    QStringList incomplete;   // "id: title" of topics with units missing, left as they were
};

// Brings a filled file into the locked project: refused whole, with nothing
// written, when the file is not for this project's lock and languages or a
// unit does not fit (the message names the first bad unit). complete marks
// every rebuilt topic complete with a new stamp. False after a message.
bool importXliff(cProject& project, const QString& xliffFile, bool complete, MsgBox& box, Progress& progress,
                 XliffImportSummary* summary = nullptr);
QStringList importReport(const XliffImportSummary& s);

// Tests: the import's reader waits so long after each chapter's part of the
// file, so that the chapters' workers run ahead of it.
void setXliffReadPause(int ms);

} // namespace exchange
