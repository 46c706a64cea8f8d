#pragma once
// Searching the whole book in one language: every topic's title and the
// text of its body, read from the chapter files on disk (the open topic must
// have been saved first). Nothing is ever written.
#include <QList>
#include <QMetaType>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <QThreadPool>

#include <atomic>
#include <memory>

// What to search: the project file and the language's abbreviation.
struct BookSearchSource {
    QString projectFile;
    QString language;
};

struct BookSearchOptions {
    bool matchCase = false;
    // Only where neither end of the hit touches another letter or digit.
    bool wholeWord = false;
    // More hits than this are not collected; the result says it was capped.
    int maxResults = 1000;
};

struct SearchHit {
    enum class Where { Title, Body };
    QString topicId;
    // As the user sees it: "Book > Chapter > Subchapter > Topic", in the
    // language searched.
    QString path;
    QString chapterFile;
    Where where = Where::Body;
    // The text around the hit, whitespace collapsed, "…" where it was cut;
    // the hit is snippet.mid(snippetStart, length).
    QString snippet;
    int snippetStart = 0;
    int length = 0;
    // Which hit this is in the topic's body text (0: the first; see
    // topicBodyText), so that the window can select it on the page; for a
    // title hit, which in the title.
    int occurrence = 0;

    bool inTitle() const { return where == Where::Title; }
};
Q_DECLARE_METATYPE(SearchHit)

struct BookSearchResult {
    QList<SearchHit> hits; // book order: chapters as the book has them, then document order
    bool capped = false;   // there were more than maxResults hits
    bool cancelled = false;
    // One line for each file that could not be searched, naming it and why.
    QStringList errors;

    // The number of different topics among the hits.
    int topicCount() const;
};

namespace booksearch {

// The query as it is searched: trimmed, inner whitespace as one space
// (the text searched has its whitespace collapsed the same way).
QString normaliseQuery(const QString& text);

struct Match {
    int start = 0;
    int length = 0;
};
// Every hit of needle in text, left to right, not overlapping.
QList<Match> findAll(QStringView text, QStringView needle, bool matchCase, bool wholeWord);

// Whether a character counts as part of a word for whole-word matching.
bool isWordChar(char32_t c);

struct Snippet {
    QString text;
    int start = 0;
    int length = 0;
};
// The text around text[start, start + length) within its block (blocks are
// separated by '\n'): about context characters on each side, cut at word
// boundaries, "…" where something was left out.
Snippet snippetAround(QStringView text, int start, int length, int context = 40);

// The body text of a topic in one language from a topic's XML (a <topic>
// element), as the search sees it: the text of the language's onelang with
// each block (paragraph, title, item, cell, caption, ...) on a line of its
// own and whitespace collapsed; a web link counts as its label; keywords,
// anchor names and the targets of links are left out. Occurrences count in
// this text.
QString topicBodyText(const QByteArray& topicXml, const QString& language);

// Searches the project's book. Chapter files are read by several threads;
// cancel (when given) is looked at between topics.
BookSearchResult search(const BookSearchSource& source, const QString& text, const BookSearchOptions& options,
                        const std::atomic<bool>* cancel = nullptr);

} // namespace booksearch

// Runs searches on a worker thread for a window: the thread that calls
// start() never waits. A new start() cancels the running search, whose
// results are then never reported.
class BookSearchJob : public QObject {
    Q_OBJECT
public:
    explicit BookSearchJob(QObject* parent = nullptr);
    // Cancels a running search and waits for its thread.
    ~BookSearchJob() override;

    void start(const BookSearchSource& source, const QString& text, const BookSearchOptions& options = {});
    // The running search stops soon; finished is not emitted for it.
    void cancel();
    bool isRunning() const { return m_running; }

signals:
    // In the thread of this object, once for each search that ran to its end.
    void finished(const QList<SearchHit>& hits, bool capped, const QStringList& errors);

private:
    QThreadPool m_pool;
    std::shared_ptr<std::atomic<bool>> m_cancel;
    quint64 m_generation = 0;
    bool m_running = false;
};
