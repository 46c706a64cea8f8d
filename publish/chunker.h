#pragma once
// The HTML formats rendered by several workers at once. The program reads
// the DocBook book once for its outline (the chapters, sections and index
// in document order) and gives each worker a share of it; each worker runs
// the format's own stylesheet over the whole book (one transformation
// context, so keys are built once per worker) and renders its share as
// parts (docbook-parts.xsl): every chunk's head, titles and body, or, for
// single HTML, every chapter's body and the book around them. The program
// then writes each chunk's page with its links and navigation, or puts the
// single page together. A book with anything the outline does not know is
// left to DocBook's own chunker.
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <utility>
#include <vector>

typedef struct _xmlDoc xmlDoc;
typedef struct _xmlNode xmlNode;

namespace chunker {

enum class Layout {
    Pages,  // a page per chunk, beside what the format writes with them
    Single, // one HTML file
};

// One chapter, section or index of the book, in document order.
struct OutlineNode {
    xmlNode* node = nullptr;
    int parent = -1;  // index of the enclosing node; -1: the book
    int chapter = -1; // the chapter it belongs to; -1: none
    long weight = 0;  // elements it holds itself, not those of nodes below it
};

struct Outline {
    bool supported = false;
    QString why; // when not supported
    std::vector<OutlineNode> nodes;
    int chapters = 0;
    long bookWeight = 0; // the book's own elements
    int entries = 0;     // chapters, sections and indexes: the contents' lines
};

// Pages: every chapter, section and the index; Single: the chapters and
// the index.
Outline outline(xmlDoc* doc, Layout layout);

// Contiguous shares of similar weight: worker k takes the nodes
// [bounds[k], bounds[k + 1]); the first also renders the book itself.
std::vector<int> shares(const Outline& o, int workers, Layout layout);

struct Job {
    Layout layout = Layout::Pages;
    QString stylesheet; // the format's generated stylesheet
    QString driver;     // file for the stylesheet of the parts, written here
    QString docbook;    // the DocBook document
    QString folder;     // Pages: where pages and the format's own files go
    QString output;     // Single: the HTML file
    QStringList readFolders;
    QStringList writeFolders;
    QString imageFolder;
    std::vector<std::pair<QString, QString>> params;
    int workers = 0; // 0: one for each processor
    // Chapters rendered of all, told from the workers' threads.
    std::function<void(int done, int total)> progress;
    // Set from another thread to stop the run (null: none).
    const std::atomic<bool>* cancel = nullptr;
};

enum class Outcome {
    Done,
    Unsupported, // no page was written: DocBook's own chunker is needed
    Failed,      // the stylesheet or a write failed
};

struct Result {
    Outcome outcome = Outcome::Failed;
    QString messages;    // why, for the log
    QStringList written; // files written: pages and what the format wrote beside them
};

// Runs on the calling thread, with workers of its own beside it.
Result run(const Job& job);

// Whether the pipelines use the chunker (on unless a test compares it
// with DocBook's own).
bool enabled();
void setEnabled(bool on);

} // namespace chunker
