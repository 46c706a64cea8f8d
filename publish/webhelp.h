#pragma once
// Web help, after DocBook has written the pages: the book's contents for the
// page script (toc.js), the search index built with lunr (search-index.js),
// the context IDs for the pages (context.js beside context.json) and the
// scripts and style the pages load.
#include <QString>
#include <QStringList>

#include <vector>

namespace webhelp {

// What the program reads of a written page.
struct Page {
    QString file;  // name in the folder
    QString title; // of the head
    QString text;  // the body's text without navigation and the page's shell
    QString up, next; // file names from the head's links ("" for none)
    bool index = false; // the keyword index
};

Page readPage(const QString& path);

// An entry of the contents: a page and the pages below it.
struct Entry {
    int page = -1;
    std::vector<int> children;
};

// The pages as a tree in reading order: the book's page (index.html) first,
// each page below the page its up link names. Entry 0 is the book.
std::vector<Entry> contents(const std::vector<Page>& pages);

// The version of the lunr the pages load ("" when it is missing).
QString lunrVersion();

struct Result {
    bool ok = false;
    QString error;
    qint64 indexBytes = 0; // size of search-index.js
};

// Writes toc.js, search-index.js and context.js into folder (the context
// map's JSON given) and copies the page scripts, the style and lunr.
Result finish(const QString& folder, const QStringList& pageFiles, const QString& language,
              const QByteArray& contextJson);

// The files finish writes beside the pages.
QStringList ownFiles();

// Where lunr.js is (Debian's libjs-lunr).
QString lunrFile();

} // namespace webhelp
