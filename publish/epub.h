#pragma once
// EPUB 3 from the DocBook of the first pass: DocBook XSL's EPUB stylesheets
// (with xsl/epub.xsl) write the pages, the package file and the navigation
// document into a scratch folder; the pictures of the book and the cover are
// copied beside them, and all is zipped into one .epub file.
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>

namespace epub {

struct Job {
    QString docbook;       // the DocBook 4.5 file of the first pass (temp/quillary.xml)
    QString projectFolder; // disk path with closing slash; the DocBook's pictures are relative to it
    QString language;      // "en", "de": dc:language and the pages' xml:lang
    QString cover;         // "" or the disk path of the cover (PNG, JPEG, GIF or SVG)
    QString css;           // style sheet text for the pages; may be empty
    int tocDepth = 3;      // levels of the navigation document (1: chapters only)
    QString workFolder;    // scratch folder; made if missing, left as it was found
    QString target;        // the .epub file; replaced only by a complete package
    QStringList readFolders; // as XsltJob.readFolders
    const std::atomic<bool>* cancel = nullptr; // set from another thread to stop
    // Told of each step on the calling thread (null: none).
    std::function<void(const QString&)> onMessage;
};

struct Result {
    bool ok = false;
    QString error;    // why there is no package (empty when ok)
    QString messages; // the processor's messages and notes (a missing picture)
};

// Makes the package. On failure, and when cancelled, no target is written
// (an earlier one stays) and the scratch files are gone.
Result package(const Job& job);

// The stable identifier of a book: a name-based UUID of its title and
// language, as "urn:uuid:...".
QString identifier(const QString& title, const QString& language);

} // namespace epub
