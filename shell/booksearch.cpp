#include "booksearch.h"

#include "cbook.h"
#include "cbookfile.h"
#include "cproject.h"
#include "msgbox.h"
#include "xmlsafety.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QThread>

#include <algorithm>
#include <mutex>
#include <thread>
#include <vector>

namespace {

const xmlChar* X(const char* s)
{
    return reinterpret_cast<const xmlChar*>(s);
}

bool isElement(const xmlNode* n, const char* name)
{
    return n->type == XML_ELEMENT_NODE && xmlStrEqual(n->name, X(name));
}

bool hasLang(xmlNode* n, const QByteArray& lang)
{
    xmlChar* v = xmlGetProp(n, X("lang"));
    const bool same = v && xmlStrEqual(v, X(lang.constData()));
    xmlFree(v);
    return same;
}

// XML's own whitespace: what a page collapses.
bool isXmlSpace(QChar c)
{
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r';
}

// Builds the searched text as the page shows it: runs of whitespace as one
// space, a '\n' between blocks, nothing at either end.
class TextBuilder {
public:
    void text(QStringView t)
    {
        for (QChar c : t) {
            if (isXmlSpace(c)) {
                if (m_pending == Pending::None)
                    m_pending = Pending::Space;
            } else {
                if (!m_out.isEmpty() && m_pending != Pending::None)
                    m_out += m_pending == Pending::Break ? u'\n' : u' ';
                m_pending = Pending::None;
                m_out += c;
            }
        }
    }
    void text(const xmlChar* utf8)
    {
        if (utf8)
            text(QString::fromUtf8(reinterpret_cast<const char*>(utf8)));
    }
    void block() { m_pending = Pending::Break; }
    QString take() { return std::move(m_out); }

private:
    enum class Pending { None, Space, Break };
    QString m_out;
    Pending m_pending = Pending::None;
};

// The body's text as a reader sees it: no keywords, no anchor names; a web
// link reads as its label. Every other element is a block of its own.
void collectBody(xmlNode* parent, TextBuilder& b)
{
    for (xmlNode* c = parent->children; c; c = c->next) {
        switch (c->type) {
        case XML_TEXT_NODE:
        case XML_CDATA_SECTION_NODE: b.text(c->content); break;
        case XML_ENTITY_REF_NODE: {
            xmlChar* t = xmlNodeGetContent(c);
            b.text(t);
            xmlFree(t);
            break;
        }
        case XML_ELEMENT_NODE:
            if (isElement(c, "index")) {
                break;
            } else if (isElement(c, "sign")) {
                collectBody(c, b);
            } else if (isElement(c, "link")) {
                b.text(xmlsafe::attr(c, "weblabel"));
            } else if (isElement(c, "anchor")) {
                break;
            } else {
                b.block();
                collectBody(c, b);
                b.block();
            }
            break;
        default: break;
        }
    }
}

QString bodyOf(xmlNode* onelang)
{
    TextBuilder b;
    collectBody(onelang, b);
    return b.take();
}

QString plainText(xmlNode* n)
{
    TextBuilder b;
    b.text(xmlsafe::nodeText(n));
    return b.take();
}

// The title of a book part in the language; another language's when it
// has none, so that the path is never empty.
QString titleIn(xmlNode* parent, const QByteArray& lang)
{
    xmlNode* first = nullptr;
    for (xmlNode* c = parent->children; c; c = c->next) {
        if (!isElement(c, "title"))
            continue;
        if (hasLang(c, lang))
            return plainText(c);
        if (!first)
            first = c;
    }
    return first ? plainText(first) : QString();
}

xmlNode* onelangIn(xmlNode* topic, const QByteArray& lang)
{
    for (xmlNode* c = topic->children; c; c = c->next)
        if (isElement(c, "onelang") && hasLang(c, lang))
            return c;
    return nullptr;
}

const QString kSeparator = QStringLiteral(" > ");
const QChar kEllipsis = QChar(0x2026);

bool isHighSurrogate(QStringView t, int i)
{
    return i >= 0 && i < t.size() && t[i].isHighSurrogate();
}

bool isLowSurrogate(QStringView t, int i)
{
    return i >= 0 && i < t.size() && t[i].isLowSurrogate();
}

// The code point that ends just before position i, or 0.
char32_t codePointBefore(QStringView t, int i)
{
    if (i <= 0)
        return 0;
    if (t[i - 1].isLowSurrogate() && i >= 2 && t[i - 2].isHighSurrogate())
        return QChar::surrogateToUcs4(t[i - 2], t[i - 1]);
    return t[i - 1].unicode();
}

// The code point that starts at position i, or 0.
char32_t codePointAt(QStringView t, int i)
{
    if (i >= t.size())
        return 0;
    if (t[i].isHighSurrogate() && i + 1 < t.size() && t[i + 1].isLowSurrogate())
        return QChar::surrogateToUcs4(t[i], t[i + 1]);
    return t[i].unicode();
}

// One chapter's share of the work.
struct ChapterJob {
    QString title; // from the project file, for messages
    QString file;
};

struct ChapterOutcome {
    QList<SearchHit> hits;
    QString error;
    bool done = false;
};

class ChapterSearch {
public:
    ChapterSearch(const QString& needle, const BookSearchOptions& options, const QByteArray& lang,
                  const QString& bookTitle, int limit, const std::atomic<bool>& stop, const std::atomic<bool>* cancel)
        : m_needle(needle), m_options(options), m_lang(lang), m_bookTitle(bookTitle), m_limit(limit), m_stop(stop),
          m_cancel(cancel)
    {
    }

    void run(const ChapterJob& job, ChapterOutcome& out)
    {
        m_out = &out;
        m_file = job.file;
        const QString shown = QDir::toNativeSeparators(job.file);
        if (job.file.isEmpty()) {
            out.error = QStringLiteral("The chapter \"%1\" names a file outside the project folder; it was not searched.")
                            .arg(job.title);
            return;
        }
        QByteArray data;
        QString why;
        if (!xmlsafe::readRegularFile(job.file, data, &why)) {
            out.error = QStringLiteral("The chapter file \"%1\" cannot be read: %2").arg(shown, why.trimmed());
            return;
        }
        xmlsafe::XmlError err;
        xmlsafe::DocPtr doc;
        {
            xmlsafe::EntityScope scope(QFileInfo(job.file).absolutePath());
            doc = xmlsafe::readMemory(data, job.file, XML_PARSE_NOENT, false, &err);
        }
        xmlNode* root = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
        if (!doc) {
            out.error = err.line > 0 ? QStringLiteral("The chapter file \"%1\" is not valid XML (line %2: %3).")
                                           .arg(shown)
                                           .arg(err.line)
                                           .arg(err.message)
                                     : QStringLiteral("The chapter file \"%1\" is not valid XML: %2").arg(shown, err.message);
            return;
        }
        if (!root || !isElement(root, "chapter")) {
            out.error = QStringLiteral("The file \"%1\" is not a chapter file.").arg(shown);
            return;
        }
        QStringList path;
        if (!m_bookTitle.isEmpty())
            path << m_bookTitle;
        path << titleIn(root, m_lang);
        walk(root, path);
    }

private:
    // Looked at between topics.
    bool enough() const
    {
        return m_stop.load(std::memory_order_relaxed) || (m_cancel && m_cancel->load(std::memory_order_relaxed)) ||
               m_out->hits.size() > m_limit;
    }

    void walk(xmlNode* part, QStringList& path)
    {
        for (xmlNode* c = part->children; c && !enough(); c = c->next) {
            if (isElement(c, "topic")) {
                topic(c, path);
            } else if (isElement(c, "subchapter")) {
                path << titleIn(c, m_lang);
                walk(c, path);
                path.removeLast();
            }
        }
    }

    void topic(xmlNode* t, const QStringList& parents)
    {
        const QString id = xmlsafe::attr(t, "id");
        const QString title = titleIn(t, m_lang);
        const QString path = (parents + QStringList{title}).join(kSeparator);
        add(id, path, title, SearchHit::Where::Title);
        if (xmlNode* body = onelangIn(t, m_lang))
            add(id, path, bodyOf(body), SearchHit::Where::Body);
    }

    void add(const QString& id, const QString& path, const QString& text, SearchHit::Where where)
    {
        const QList<booksearch::Match> found =
            booksearch::findAll(text, m_needle, m_options.matchCase, m_options.wholeWord);
        for (int i = 0; i < found.size() && m_out->hits.size() <= m_limit; ++i) {
            const booksearch::Snippet s = booksearch::snippetAround(text, found[i].start, found[i].length);
            SearchHit h;
            h.topicId = id;
            h.path = path;
            h.chapterFile = m_file;
            h.where = where;
            h.snippet = s.text;
            h.snippetStart = s.start;
            h.length = s.length;
            h.occurrence = i;
            m_out->hits.push_back(std::move(h));
        }
    }

    const QString& m_needle;
    const BookSearchOptions& m_options;
    const QByteArray m_lang;
    const QString m_bookTitle;
    const int m_limit;
    const std::atomic<bool>& m_stop;
    const std::atomic<bool>* m_cancel;
    ChapterOutcome* m_out = nullptr;
    QString m_file;
};

// The chapters in the order of the book (its entity references), as the
// tree shows them; the project file's order when the book cannot be read.
std::vector<ChapterJob> chaptersInBookOrder(const cProject& project, const QString& language, QString& bookTitle,
                                            QStringList& errors)
{
    const auto listed = project.chapters();
    const QStringList files = project.chapterFileList();
    auto jobOf = [&](size_t i) { return ChapterJob{listed[i].title, files.value(qsizetype(i))}; };
    std::vector<ChapterJob> out;
    ScriptedMsgBox quiet;
    cBookFile book(quiet);
    const QString bookFile = project.getBookFile();
    if (bookFile.isEmpty() || !book.Load(bookFile)) {
        QString why = quiet.last().trimmed();
        why.replace(QStringLiteral("\r\n"), QStringLiteral(" "));
        errors << QStringLiteral("The book file \"%1\" cannot be read; chapters are searched in the order of the "
                                 "project file. %2")
                      .arg(QDir::toNativeSeparators(bookFile), why)
                      .trimmed();
        for (size_t i = 0; i < listed.size(); ++i)
            out.push_back(jobOf(i));
        return out;
    }
    cBook properties;
    book.getProperties(properties, language);
    bookTitle = properties.Title.simplified();
    for (const QString& entity : book.chapterOrder()) {
        for (size_t i = 0; i < listed.size(); ++i) {
            if (listed[i].id == entity) {
                out.push_back(jobOf(i));
                break;
            }
        }
    }
    return out;
}

} // namespace

int BookSearchResult::topicCount() const
{
    QSet<QString> topics;
    for (const SearchHit& h : hits)
        topics.insert(h.chapterFile + QLatin1Char('\n') + h.topicId);
    return int(topics.size());
}

namespace booksearch {

QString normaliseQuery(const QString& text)
{
    TextBuilder b;
    b.text(text.normalized(QString::NormalizationForm_C));
    return b.take();
}

bool isWordChar(char32_t c)
{
    return QChar::isLetterOrNumber(c) || QChar::isMark(c);
}

QList<Match> findAll(QStringView text, QStringView needle, bool matchCase, bool wholeWord)
{
    QList<Match> out;
    const int n = int(needle.size());
    if (n == 0)
        return out;
    const Qt::CaseSensitivity cs = matchCase ? Qt::CaseSensitive : Qt::CaseInsensitive;
    // A boundary matters only where the needle itself starts or ends a word.
    const bool wordAtStart = isWordChar(codePointAt(needle, 0));
    const bool wordAtEnd = isWordChar(codePointBefore(needle, n));
    qsizetype from = 0;
    while (true) {
        const qsizetype at = text.indexOf(needle, from, cs);
        if (at < 0)
            break;
        const int s = int(at);
        // Never half a character: a hit that starts on a low surrogate or
        // ends on a high one is not a hit.
        bool ok = !isLowSurrogate(text, s) && !isHighSurrogate(text, s + n - 1);
        if (ok && wholeWord) {
            if (wordAtStart && isWordChar(codePointBefore(text, s)))
                ok = false;
            if (wordAtEnd && isWordChar(codePointAt(text, s + n)))
                ok = false;
        }
        if (ok) {
            out.push_back({s, n});
            from = at + n;
        } else {
            from = at + 1;
        }
    }
    return out;
}

Snippet snippetAround(QStringView text, int start, int length, int context)
{
    const int end = start + length;
    const qsizetype before = start > 0 ? text.lastIndexOf(u'\n', start - 1) : -1;
    const int blockStart = int(before + 1);
    const qsizetype after = text.indexOf(u'\n', end);
    const int blockEnd = after < 0 ? int(text.size()) : int(after);

    int from = start - context;
    bool cutLeft = from > blockStart;
    if (!cutLeft) {
        from = blockStart;
    } else if (text[from - 1] != u' ') {
        // Start at the next word; within one long word, cut it.
        const qsizetype space = text.indexOf(u' ', from);
        if (space >= 0 && space < start)
            from = int(space + 1);
        else if (isLowSurrogate(text, from))
            ++from;
    }
    int to = end + context;
    bool cutRight = to < blockEnd;
    if (!cutRight) {
        to = blockEnd;
    } else if (text[to] != u' ') {
        const qsizetype space = text.lastIndexOf(u' ', to);
        if (space >= end)
            to = int(space);
        else if (isHighSurrogate(text, to - 1))
            --to;
    }
    // No space next to the ellipsis.
    while (cutLeft && from < start && text[from] == u' ')
        ++from;
    while (cutRight && to > end && text[to - 1] == u' ')
        --to;

    Snippet s;
    if (cutLeft)
        s.text += kEllipsis;
    s.start = int(s.text.size()) + (start - from);
    s.length = length;
    s.text += text.mid(from, to - from);
    if (cutRight)
        s.text += kEllipsis;
    return s;
}

QString topicBodyText(const QByteArray& topicXml, const QString& language)
{
    xmlsafe::EntityScope nothingExternal{QStringList{}};
    xmlsafe::DocPtr doc = xmlsafe::readMemory(topicXml, {}, 0, false, nullptr);
    xmlNode* root = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
    xmlNode* body = root ? onelangIn(root, language.toUtf8()) : nullptr;
    return body ? bodyOf(body) : QString();
}

BookSearchResult search(const BookSearchSource& source, const QString& text, const BookSearchOptions& options,
                        const std::atomic<bool>* cancel)
{
    BookSearchResult result;
    const QString needle = normaliseQuery(text);
    if (needle.isEmpty() || source.projectFile.isEmpty())
        return result;
    ScriptedMsgBox quiet;
    cProject project(quiet);
    if (!project.Load(source.projectFile)) {
        QString why = quiet.last().trimmed();
        why.replace(QStringLiteral("\r\n"), QStringLiteral(" "));
        result.errors << QStringLiteral("The project file \"%1\" cannot be read: %2")
                             .arg(QDir::toNativeSeparators(source.projectFile), why);
        return result;
    }
    const QString language = source.language.isEmpty() ? project.GetMainLangAbbrev() : source.language;
    if (language.isEmpty()) {
        result.errors << QStringLiteral("The project file \"%1\" names no main language.")
                             .arg(QDir::toNativeSeparators(source.projectFile));
        return result;
    }
    QString bookTitle;
    const std::vector<ChapterJob> jobs = chaptersInBookOrder(project, language, bookTitle, result.errors);
    const int limit = std::max(0, options.maxResults);

    std::vector<ChapterOutcome> outcomes(jobs.size());
    std::atomic<size_t> next{0};
    // Set when searching further cannot change the result: cancelled, or
    // the finished chapters from the first on hold more than the limit.
    std::atomic<bool> stop{false};
    std::mutex progress;
    size_t donePrefix = 0;
    int prefixHits = 0;

    auto worker = [&] {
        const QByteArray lang = language.toUtf8();
        ChapterSearch chapter(needle, options, lang, bookTitle, limit, stop, cancel);
        while (true) {
            if (cancel && cancel->load())
                stop = true;
            const size_t i = next.fetch_add(1);
            if (i >= jobs.size() || stop)
                return;
            chapter.run(jobs[i], outcomes[i]);
            if (cancel && cancel->load())
                stop = true;
            std::lock_guard<std::mutex> lock(progress);
            outcomes[i].done = true;
            while (donePrefix < outcomes.size() && outcomes[donePrefix].done)
                prefixHits += int(outcomes[donePrefix++].hits.size());
            if (prefixHits > limit)
                stop = true;
        }
    };
    const int threads = std::clamp(std::min(QThread::idealThreadCount(), 4), 1, std::max(1, int(jobs.size())));
    {
        std::vector<std::jthread> pool;
        for (int t = 1; t < threads; ++t)
            pool.emplace_back(worker);
        worker();
    }

    result.cancelled = cancel && cancel->load();
    for (size_t i = 0; i < outcomes.size(); ++i) {
        ChapterOutcome& o = outcomes[i];
        if (!o.error.isEmpty())
            result.errors << o.error;
        for (SearchHit& h : o.hits) {
            if (result.hits.size() >= limit) {
                result.capped = true;
                break;
            }
            result.hits.push_back(std::move(h));
        }
        if (result.capped)
            break;
    }
    return result;
}

} // namespace booksearch

BookSearchJob::BookSearchJob(QObject* parent) : QObject(parent)
{
    // A cancelled search may still be finishing while the next one runs.
    m_pool.setMaxThreadCount(2);
}

BookSearchJob::~BookSearchJob()
{
    cancel();
    m_pool.waitForDone();
}

void BookSearchJob::start(const BookSearchSource& source, const QString& text, const BookSearchOptions& options)
{
    cancel();
    auto flag = std::make_shared<std::atomic<bool>>(false);
    m_cancel = flag;
    const quint64 generation = ++m_generation;
    m_running = true;
    m_pool.start([this, flag, generation, source, text, options] {
        BookSearchResult r = booksearch::search(source, text, options, flag.get());
        if (flag->load())
            return;
        // Delivered in this object's thread; dropped when it is gone, or
        // when another search started meanwhile.
        QMetaObject::invokeMethod(
            this,
            [this, generation, r = std::move(r)] {
                if (generation != m_generation)
                    return;
                m_running = false;
                emit finished(r.hits, r.capped, r.errors);
            },
            Qt::QueuedConnection);
    });
}

void BookSearchJob::cancel()
{
    if (m_cancel)
        m_cancel->store(true);
    m_cancel.reset();
    m_running = false;
    ++m_generation;
}
