// Searching the whole book: titles and bodies of every topic in one
// language, read from the chapter files.
#include "booksearch.h"
#include "cbookfile.h"
#include "generator.h"
#include "language.h"
#include "sessionfixture.h"

#include <QSignalSpy>
#include <QTest>

#include <sys/stat.h>

#include <atomic>

using namespace testing_support;

namespace {

const QString kEn = QStringLiteral("en");
const QString kDe = QStringLiteral("de");

// A topic in English and German.
QString topic(const QString& id, const QString& enTitle, const QString& enBody, const QString& deTitle = {},
              const QString& deBody = {})
{
    return QStringLiteral("<topic id=\"%1\"><title lang=\"en\" state=\"uncomplete\" stamp=\"S\">%2</title>"
                          "<title lang=\"de\" state=\"uncomplete\" stamp=\"S\">%3</title>"
                          "<onelang lang=\"en\">%4</onelang><onelang lang=\"de\">%5</onelang></topic>")
        .arg(id, enTitle, deTitle.isEmpty() ? enTitle : deTitle, enBody, deBody);
}

QString subchapter(const QString& id, const QString& en, const QString& de, const QString& content)
{
    return QStringLiteral("<subchapter id=\"%1\"><title lang=\"en\">%2</title><title lang=\"de\">%3</title>%4</subchapter>")
        .arg(id, en, de, content);
}

QStringList idsOf(const BookSearchResult& r)
{
    QStringList out;
    for (const SearchHit& h : r.hits)
        out << h.topicId + (h.inTitle() ? QStringLiteral(":title") : QStringLiteral(":%1").arg(h.occurrence));
    return out;
}

QString hitText(const SearchHit& h)
{
    return h.snippet.mid(h.snippetStart, h.length);
}

class BookSearch : public SessionFixture {
protected:
    // Chapters are made through the session (project and book file know
    // them); their files are then written with the given content.
    void chapter(const QString& en, const QString& de, const QString& content)
    {
        if (!session.isOpen())
            newProject({"en", "de"});
        addChapter(en);
        const QString file = session.project().getChapterFile(en);
        ASSERT_FALSE(file.isEmpty());
        files[en] = file;
        writeUtf16(file, QStringLiteral("<chapter><title lang=\"en\">%1</title><title lang=\"de\">%2</title>%3</chapter>")
                             .arg(en, de, content));
    }
    // The tree again from the files, as the window would show them.
    void reopen()
    {
        session.closeProject();
        session.openProject(projectFile);
        ASSERT_TRUE(session.isOpen());
    }
    BookSearchResult find(const QString& text, BookSearchOptions o = {}, const QString& lang = QStringLiteral("en"))
    {
        return booksearch::search({projectFile, lang}, text, o);
    }
    std::map<QString, QString> files;
};

BookSearchOptions matchCase()
{
    BookSearchOptions o;
    o.matchCase = true;
    return o;
}

BookSearchOptions wholeWord()
{
    BookSearchOptions o;
    o.wholeWord = true;
    return o;
}

} // namespace

TEST_F(BookSearch, TitleAndBodyHitsCarryTheTopicAndTheTreePath)
{
    chapter(QStringLiteral("Intro"), QStringLiteral("Einleitung"),
            topic(QStringLiteral("topic1"), QStringLiteral("The main window"),
                  QStringLiteral("<p>Open the window from the menu.</p>")) +
                subchapter(QStringLiteral("sub1"), QStringLiteral("Details"), QStringLiteral("Einzelheiten"),
                           topic(QStringLiteral("topic2"), QStringLiteral("Menus"),
                                 QStringLiteral("<p>Nothing here.</p><p>A second window opens.</p>"))));
    reopen();
    const BookSearchResult r = find(QStringLiteral("window"));
    EXPECT_TRUE(r.errors.isEmpty()) << r.errors.join(QLatin1Char('\n')).toStdString();
    EXPECT_FALSE(r.capped);
    EXPECT_EQ(idsOf(r), (QStringList{"topic1:title", "topic1:0", "topic2:0"}));
    EXPECT_EQ(r.topicCount(), 2);
    ASSERT_EQ(r.hits.size(), 3);
    EXPECT_EQ(r.hits[0].path, QStringLiteral("Manual > Intro > The main window"));
    EXPECT_EQ(r.hits[2].path, QStringLiteral("Manual > Intro > Details > Menus"));
    EXPECT_EQ(r.hits[0].snippet, QStringLiteral("The main window"));
    EXPECT_EQ(r.hits[2].snippet, QStringLiteral("A second window opens.")); // its own paragraph only
    for (const SearchHit& h : r.hits) {
        EXPECT_EQ(hitText(h), QStringLiteral("window"));
        EXPECT_EQ(h.chapterFile, files[QStringLiteral("Intro")]);
        // The window finds the topic by its key and shows the same path.
        NodePtr n = session.tree().FindKey(h.topicId);
        ASSERT_TRUE(n);
        EXPECT_EQ(n->FullPath().replace(QLatin1Char('\\'), QStringLiteral(" > ")), h.path);
    }
}

TEST_F(BookSearch, SearchesOnlyTheLanguageAskedForWithPathsInIt)
{
    chapter(QStringLiteral("Intro"), QStringLiteral("Einleitung"),
            topic(QStringLiteral("topic1"), QStringLiteral("Opening"), QStringLiteral("<p>Click the button.</p>"),
                  QStringLiteral("Öffnen"), QStringLiteral("<p>Klicken Sie auf das Fenster.</p>")));
    EXPECT_TRUE(find(QStringLiteral("Fenster")).hits.isEmpty());
    EXPECT_TRUE(find(QStringLiteral("button"), {}, kDe).hits.isEmpty());
    const BookSearchResult r = find(QStringLiteral("Fenster"), {}, kDe);
    ASSERT_EQ(r.hits.size(), 1);
    EXPECT_EQ(r.hits[0].path, QStringLiteral("Manual > Einleitung > Öffnen"));
    EXPECT_EQ(r.hits[0].topicId, QStringLiteral("topic1"));
    // A topic's title is searched in that language too.
    EXPECT_EQ(idsOf(find(QStringLiteral("öffnen"), {}, kDe)), QStringList{"topic1:title"});
    EXPECT_TRUE(find(QStringLiteral("Opening"), {}, kDe).hits.isEmpty());
}

TEST_F(BookSearch, MatchCaseAndCaseFoldingBeyondAscii)
{
    chapter(QStringLiteral("A"), QStringLiteral("A"),
            topic(QStringLiteral("topic1"), QStringLiteral("Saves"),
                  QStringLiteral("<p>Save often. To save, press the key. ÄNDERN und ändern. ОКНО и окно.</p>")));
    EXPECT_EQ(find(QStringLiteral("save")).hits.size(), 3); // the title too
    EXPECT_EQ(find(QStringLiteral("save"), matchCase()).hits.size(), 1);
    EXPECT_EQ(find(QStringLiteral("Save"), matchCase()).hits.size(), 2);
    EXPECT_EQ(find(QStringLiteral("ändern")).hits.size(), 2);
    EXPECT_EQ(find(QStringLiteral("ändern"), matchCase()).hits.size(), 1);
    EXPECT_EQ(find(QStringLiteral("окно")).hits.size(), 2);
    const BookSearchResult r = find(QStringLiteral("Окно"), matchCase());
    EXPECT_TRUE(r.hits.isEmpty());
}

TEST_F(BookSearch, WholeWordsByUnicodeLettersAndDigits)
{
    chapter(QStringLiteral("A"), QStringLiteral("A"),
            topic(QStringLiteral("topic1"), QStringLiteral("Ports"),
                  QStringLiteral("<p>export port portable port2 (port) port.</p>"
                                 "<p>Größe Größenangabe Gr Größe-Tabelle</p>"
                                 "<p>окно окном подокно окно.</p>")));
    EXPECT_EQ(find(QStringLiteral("port")).hits.size(), 7); // "Ports" and six in the body
    const BookSearchResult words = find(QStringLiteral("port"), wholeWord());
    ASSERT_EQ(words.hits.size(), 3); // "port", "(port)" and "port."
    EXPECT_EQ(words.hits[1].snippet.mid(words.hits[1].snippetStart - 1, 6), QStringLiteral("(port)"));
    EXPECT_EQ(words.hits[2].occurrence, 2);
    // An umlaut is a letter: "Gr" is not a word of "Größe".
    EXPECT_EQ(find(QStringLiteral("gr"), wholeWord()).hits.size(), 1);
    EXPECT_EQ(find(QStringLiteral("größe"), wholeWord()).hits.size(), 2); // a hyphen ends a word
    EXPECT_EQ(find(QStringLiteral("gr")).hits.size(), 4);
    EXPECT_EQ(find(QStringLiteral("окно"), wholeWord()).hits.size(), 2);
    EXPECT_EQ(find(QStringLiteral("окно")).hits.size(), 4);
    // A boundary counts where the searched text starts or ends a word only.
    EXPECT_EQ(find(QStringLiteral("(port"), wholeWord()).hits.size(), 1);
    EXPECT_EQ(find(QStringLiteral("port."), wholeWord()).hits.size(), 1);
}

TEST_F(BookSearch, MarkupCharactersAreSearchedAsText)
{
    chapter(QStringLiteral("A"), QStringLiteral("A"),
            topic(QStringLiteral("topic1"), QStringLiteral("Tips &amp; Tricks"),
                  QStringLiteral("<p>Drag &amp; drop a file onto &lt;the list&gt; here.</p>"
                                 "<p><![CDATA[Use a < b & c]]></p>")));
    EXPECT_EQ(idsOf(find(QStringLiteral("&"))), (QStringList{"topic1:title", "topic1:0", "topic1:1"}));
    const BookSearchResult lt = find(QStringLiteral("<the list>"));
    ASSERT_EQ(lt.hits.size(), 1);
    EXPECT_EQ(hitText(lt.hits[0]), QStringLiteral("<the list>"));
    EXPECT_EQ(lt.hits[0].snippet, QStringLiteral("Drag & drop a file onto <the list> here."));
    EXPECT_EQ(find(QStringLiteral("a < b")).hits.size(), 1);
    // The file's spelling of them is not text.
    EXPECT_TRUE(find(QStringLiteral("amp")).hits.isEmpty());
    EXPECT_TRUE(find(QStringLiteral("&lt;")).hits.isEmpty());
    EXPECT_TRUE(find(QStringLiteral("<p>")).hits.isEmpty());
    EXPECT_TRUE(find(QStringLiteral("onelang")).hits.isEmpty());
}

TEST_F(BookSearch, BlocksDoNotRunTogetherAndKeywordsAreNotBodyText)
{
    chapter(QStringLiteral("A"), QStringLiteral("A"),
            topic(QStringLiteral("topic1"), QStringLiteral("Blocks"),
                  QStringLiteral("<index><primary>secretkeyword</primary></index>"
                                 "<p>first end</p><p>start second</p>"
                                 "<p><title>Heading</title>Body</p>"
                                 "<list format=\"bullet\"><item>one</item><item>two</item></list>"
                                 "<p>the <sign>big</sign>\r\n\t  window, see <link ref=\"https://x.org\" "
                                 "weblabel=\"the web site\"></link></p>"
                                 "<p>Local <link ref=\"topic7\"></link> and anchor<anchor id=\"anchor1\" "
                                 "name=\"markname\"></anchor>.</p>")));
    EXPECT_TRUE(find(QStringLiteral("end start")).hits.isEmpty());
    EXPECT_TRUE(find(QStringLiteral("endstart")).hits.isEmpty());
    EXPECT_TRUE(find(QStringLiteral("HeadingBody")).hits.isEmpty());
    EXPECT_TRUE(find(QStringLiteral("onetwo")).hits.isEmpty());
    EXPECT_TRUE(find(QStringLiteral("secretkeyword")).hits.isEmpty());
    EXPECT_TRUE(find(QStringLiteral("x.org")).hits.isEmpty());
    EXPECT_TRUE(find(QStringLiteral("topic7")).hits.isEmpty());
    EXPECT_TRUE(find(QStringLiteral("markname")).hits.isEmpty());
    EXPECT_EQ(find(QStringLiteral("anchor.")).hits.size(), 1);
    // Inline markup and collapsed whitespace as on the page.
    const BookSearchResult r = find(QStringLiteral("the big  window"));
    ASSERT_EQ(r.hits.size(), 1);
    EXPECT_EQ(r.hits[0].snippet, QStringLiteral("the big window, see the web site"));
    EXPECT_EQ(find(QStringLiteral("web site")).hits.size(), 1);

    EXPECT_EQ(booksearch::topicBodyText(QStringLiteral("<topic><onelang lang=\"en\"><p>a <sign>b</sign>c</p><p>d</p>"
                                                       "<notice><title>N</title><p>e</p></notice></onelang></topic>")
                                            .toUtf8(),
                                        kEn),
              QStringLiteral("a bc\nd\nN\ne"));
}

TEST(BookSearchSnippet, CutsAtWordsWithTheHitInside)
{
    const QString text =
        QStringLiteral("Alpha bravo charlie delta echo foxtrot golf hotel india juliett kilo lima mike november oscar "
                       "papa quebec romeo sierra tango uniform victor whiskey xray yankee zulu");
    const int at = int(text.indexOf(QStringLiteral("mike")));
    const booksearch::Snippet s = booksearch::snippetAround(text, at, 4);
    EXPECT_EQ(s.text.mid(s.start, s.length), QStringLiteral("mike"));
    EXPECT_TRUE(s.text.startsWith(QChar(0x2026)));
    EXPECT_TRUE(s.text.endsWith(QChar(0x2026)));
    // Whole words on either side, about 40 characters of them.
    const QString inner = s.text.mid(1, s.text.size() - 2);
    EXPECT_TRUE(text.contains(inner));
    for (const QString& w : inner.split(QLatin1Char(' ')))
        EXPECT_TRUE(text.split(QLatin1Char(' ')).contains(w)) << w.toStdString();
    EXPECT_LE(s.start - 1, 40);
    EXPECT_GE(s.start - 1, 30);
    EXPECT_LE(inner.size() - (s.start - 1) - 4, 40);
    EXPECT_GE(inner.size() - (s.start - 1) - 4, 30);

    // At the start of the text nothing is cut there.
    const booksearch::Snippet first = booksearch::snippetAround(text, 0, 5);
    EXPECT_EQ(first.start, 0);
    EXPECT_TRUE(first.text.startsWith(QStringLiteral("Alpha bravo")));
    EXPECT_TRUE(first.text.endsWith(QChar(0x2026)));
    // A short block is shown whole, without the blocks beside it.
    const booksearch::Snippet mid = booksearch::snippetAround(QStringLiteral("before\nthe hit here\nafter"), 11, 3);
    EXPECT_EQ(mid.text, QStringLiteral("the hit here"));
    EXPECT_EQ(mid.start, 4);
    // One long word is cut inside it rather than lost.
    const QString longWord = QString(100, QLatin1Char('x')) + QStringLiteral("HIT") + QString(100, QLatin1Char('y'));
    const booksearch::Snippet lw = booksearch::snippetAround(longWord, 100, 3);
    EXPECT_EQ(lw.text.mid(lw.start, lw.length), QStringLiteral("HIT"));
    EXPECT_EQ(lw.text.size(), 2 + 40 + 3 + 40);
}

TEST_F(BookSearch, SnippetsCollapseWhitespaceAndLocateTheHit)
{
    const QString body = QStringLiteral(
        "<p>Lorem   ipsum dolor sit amet,\r\n consectetur adipiscing elit, sed do eiusmod tempor incididunt ut "
        "labore et dolore magna aliqua. Ut enim ad minim veniam, quis nostrud exercitation ullamco laboris nisi "
        "ut aliquip ex ea commodo consequat.</p>");
    chapter(QStringLiteral("A"), QStringLiteral("A"), topic(QStringLiteral("topic1"), QStringLiteral("Latin"), body));
    const BookSearchResult r = find(QStringLiteral("MAGNA"));
    ASSERT_EQ(r.hits.size(), 1);
    const SearchHit& h = r.hits[0];
    EXPECT_EQ(hitText(h), QStringLiteral("magna")); // as written, not as searched
    // 38 characters on either side: one more word would pass 40.
    EXPECT_EQ(h.snippet, QStringLiteral("…tempor incididunt ut labore et dolore magna aliqua. Ut enim ad minim veniam, quis…"));
    EXPECT_EQ(h.snippetStart, 1 + 38);
    const BookSearchResult start = find(QStringLiteral("lorem ipsum"));
    ASSERT_EQ(start.hits.size(), 1);
    EXPECT_EQ(start.hits[0].snippetStart, 0);
    EXPECT_EQ(start.hits[0].snippet, QStringLiteral("Lorem ipsum dolor sit amet, consectetur adipiscing…"));
}

TEST_F(BookSearch, OccurrencesCountTheHitsOfEachTopicsBody)
{
    chapter(QStringLiteral("A"), QStringLiteral("A"),
            topic(QStringLiteral("topic1"), QStringLiteral("Note about notes"),
                  QStringLiteral("<p>one note</p><notice><title>Note</title><p>two notes</p></notice>"
                                 "<table border=\"all\" colnumber=\"1\"><row><cell>three note</cell></row></table>")) +
                topic(QStringLiteral("topic2"), QStringLiteral("Other"), QStringLiteral("<p>four note</p>")));
    const BookSearchResult r = find(QStringLiteral("note"));
    EXPECT_EQ(idsOf(r), (QStringList{"topic1:title", "topic1:title", "topic1:0", "topic1:1", "topic1:2",
                                     "topic1:3", "topic2:0"}));
    ASSERT_EQ(r.hits.size(), 7);
    EXPECT_EQ(r.hits[1].occurrence, 1); // the second in the title
    EXPECT_EQ(r.hits[2].snippet, QStringLiteral("one note"));
    EXPECT_EQ(r.hits[3].snippet, QStringLiteral("Note"));
    EXPECT_EQ(r.hits[4].snippet, QStringLiteral("two notes"));
    EXPECT_EQ(r.hits[5].snippet, QStringLiteral("three note"));
    EXPECT_EQ(r.hits[6].snippet, QStringLiteral("four note"));
    // Whole words count only the whole words.
    EXPECT_EQ(idsOf(find(QStringLiteral("note"), wholeWord())),
              (QStringList{"topic1:title", "topic1:0", "topic1:1", "topic1:2", "topic2:0"}));
}

TEST_F(BookSearch, ResultsComeInBookOrderEvenAfterAChapterMoved)
{
    const QString w = QStringLiteral("<p>word</p>");
    chapter(QStringLiteral("A"), QStringLiteral("A"),
            topic(QStringLiteral("a1"), QStringLiteral("a1"), w) +
                subchapter(QStringLiteral("sub1"), QStringLiteral("S"), QStringLiteral("S"),
                           topic(QStringLiteral("s1"), QStringLiteral("s1"), w) +
                               subchapter(QStringLiteral("sub2"), QStringLiteral("T"), QStringLiteral("T"),
                                          topic(QStringLiteral("t1"), QStringLiteral("t1"), w)) +
                               topic(QStringLiteral("s2"), QStringLiteral("s2"), w)) +
                topic(QStringLiteral("a2"), QStringLiteral("a2"), w));
    chapter(QStringLiteral("B"), QStringLiteral("B"), topic(QStringLiteral("b1"), QStringLiteral("b1"), w));
    chapter(QStringLiteral("C"), QStringLiteral("C"), topic(QStringLiteral("c1"), QStringLiteral("c1"), w));
    reopen();
    EXPECT_EQ(idsOf(find(QStringLiteral("word"))),
              (QStringList{"a1:0", "s1:0", "t1:0", "s2:0", "a2:0", "b1:0", "c1:0"}));
    const BookSearchResult r = find(QStringLiteral("word"));
    EXPECT_EQ(r.hits[2].path, QStringLiteral("Manual > A > S > T > t1"));
    // C before A in the book; the project file keeps its order.
    ASSERT_TRUE(session.dropNode(node(QStringLiteral("C")), node(QStringLiteral("A"))));
    EXPECT_EQ(idsOf(find(QStringLiteral("word"))),
              (QStringList{"c1:0", "a1:0", "s1:0", "t1:0", "s2:0", "a2:0", "b1:0"}));
}

TEST_F(BookSearch, ManyChaptersKeepBookOrderWhileSearchedSideBySide)
{
    GeneratorOptions o;
    o.chapters = 12;
    o.topicsPerChapter = 30;
    o.topicsPerSub = 7;
    const QString qly = generateProject(dir.path(), QStringLiteral("gen"), o);
    BookSearchOptions all;
    all.maxResults = 1000000;
    const BookSearchResult r = booksearch::search({qly, kEn}, QStringLiteral("the"), all);
    EXPECT_TRUE(r.errors.isEmpty());
    ASSERT_GT(r.hits.size(), 360);
    // The generator numbers topics in book order.
    int last = 0;
    for (const SearchHit& h : r.hits) {
        const int no = h.topicId.mid(5).toInt();
        ASSERT_GE(no, last) << h.topicId.toStdString();
        last = no;
        EXPECT_EQ(hitText(h).toLower(), QStringLiteral("the"));
    }
    EXPECT_GT(last, 330);
    // The same book capped: the first hits of the full list, in its order.
    BookSearchOptions some;
    some.maxResults = 300;
    const BookSearchResult capped = booksearch::search({qly, kEn}, QStringLiteral("the"), some);
    EXPECT_TRUE(capped.capped);
    ASSERT_EQ(capped.hits.size(), 300);
    for (int i = 0; i < 300; ++i) {
        EXPECT_EQ(capped.hits[i].topicId, r.hits[i].topicId);
        EXPECT_EQ(capped.hits[i].occurrence, r.hits[i].occurrence);
    }
    // A title number found once.
    const BookSearchResult one = booksearch::search({qly, kEn}, QStringLiteral("217"), wholeWord());
    EXPECT_EQ(idsOf(one), QStringList{"topic217:title"});
}

TEST_F(BookSearch, TheCapIsReportedOnlyWhenPassed)
{
    chapter(QStringLiteral("A"), QStringLiteral("A"),
            topic(QStringLiteral("a1"), QStringLiteral("a1"), QStringLiteral("<p>x x x</p>")));
    chapter(QStringLiteral("B"), QStringLiteral("B"),
            topic(QStringLiteral("b1"), QStringLiteral("b1"), QStringLiteral("<p>x x</p>")));
    BookSearchOptions o;
    o.maxResults = 5;
    const BookSearchResult exact = find(QStringLiteral("x"), o);
    EXPECT_EQ(exact.hits.size(), 5);
    EXPECT_FALSE(exact.capped);
    o.maxResults = 4;
    const BookSearchResult over = find(QStringLiteral("x"), o);
    EXPECT_TRUE(over.capped);
    EXPECT_EQ(idsOf(over), (QStringList{"a1:0", "a1:1", "a1:2", "b1:0"}));
}

TEST_F(BookSearch, BadChapterFilesGiveErrorsAndTheRestIsSearched)
{
    const QString w = QStringLiteral("<p>word</p>");
    chapter(QStringLiteral("A"), QStringLiteral("A"), topic(QStringLiteral("a1"), QStringLiteral("a1"), w));
    chapter(QStringLiteral("B"), QStringLiteral("B"), topic(QStringLiteral("b1"), QStringLiteral("b1"), w));
    chapter(QStringLiteral("C"), QStringLiteral("C"), topic(QStringLiteral("c1"), QStringLiteral("c1"), w));
    chapter(QStringLiteral("D"), QStringLiteral("D"), topic(QStringLiteral("d1"), QStringLiteral("d1"), w));
    session.closeProject();
    writeUtf16(files[QStringLiteral("B")], QStringLiteral("<chapter><topic id=\"b1\"><title>word"));
    ASSERT_TRUE(QFile::remove(files[QStringLiteral("C")]));
    ASSERT_EQ(::mkfifo(QFile::encodeName(files[QStringLiteral("C")]).constData(), 0600), 0); // never blocks the search
    writeUtf16(files[QStringLiteral("D")], QStringLiteral("<book><topic id=\"d1\"><title lang=\"en\">word</title></topic></book>"));
    const BookSearchResult r = find(QStringLiteral("word"));
    EXPECT_EQ(idsOf(r), QStringList{"a1:0"});
    ASSERT_EQ(r.errors.size(), 3) << r.errors.join(QLatin1Char('\n')).toStdString();
    EXPECT_TRUE(r.errors[0].contains(files[QStringLiteral("B")]));
    EXPECT_TRUE(r.errors[0].contains(QStringLiteral("not valid XML")));
    EXPECT_TRUE(r.errors[1].contains(files[QStringLiteral("C")]));
    EXPECT_TRUE(r.errors[1].contains(QStringLiteral("cannot be read")));
    EXPECT_TRUE(r.errors[2].contains(QStringLiteral("not a chapter file")));

    ASSERT_TRUE(QFile::remove(files[QStringLiteral("C")]));
    const BookSearchResult missing = find(QStringLiteral("word"));
    ASSERT_EQ(missing.errors.size(), 3);
    EXPECT_TRUE(missing.errors[1].contains(QStringLiteral("cannot be read")));

    const BookSearchResult noProject = booksearch::search({dir.file(QStringLiteral("none.qly")), kEn}, QStringLiteral("word"), {});
    EXPECT_TRUE(noProject.hits.isEmpty());
    ASSERT_EQ(noProject.errors.size(), 1);
    EXPECT_TRUE(noProject.errors[0].contains(QStringLiteral("none.qly")));
}

TEST_F(BookSearch, NeverWritesAFile)
{
    chapter(QStringLiteral("A"), QStringLiteral("A"),
            topic(QStringLiteral("a1"), QStringLiteral("a1"), QStringLiteral("<p>word</p>")));
    session.closeProject();
    const auto before = filesBelow(dir.path());
    EXPECT_EQ(find(QStringLiteral("word")).hits.size(), 1);
    EXPECT_EQ(filesBelow(dir.path()), before);
}

TEST_F(BookSearch, ACancelledSearchStopsAndSaysSo)
{
    GeneratorOptions o;
    o.chapters = 4;
    o.topicsPerChapter = 20;
    const QString qly = generateProject(dir.path(), QStringLiteral("gen"), o);
    std::atomic<bool> cancel{true};
    BookSearchOptions all;
    all.maxResults = 1000000;
    const BookSearchResult r = booksearch::search({qly, kEn}, QStringLiteral("the"), all, &cancel);
    EXPECT_TRUE(r.cancelled);
    EXPECT_TRUE(r.hits.isEmpty());
    cancel = false;
    const BookSearchResult full = booksearch::search({qly, kEn}, QStringLiteral("the"), all, &cancel);
    EXPECT_FALSE(full.cancelled);
    EXPECT_GT(full.hits.size(), 80);
}

TEST_F(BookSearch, TheJobReportsOnlyTheLatestSearch)
{
    chapter(QStringLiteral("A"), QStringLiteral("A"),
            topic(QStringLiteral("a1"), QStringLiteral("a1"), QStringLiteral("<p>alpha beta</p>")));
    BookSearchJob job;
    QSignalSpy spy(&job, &BookSearchJob::finished);
    job.start({projectFile, kEn}, QStringLiteral("alpha"));
    job.start({projectFile, kEn}, QStringLiteral("beta"));
    EXPECT_TRUE(job.isRunning());
    ASSERT_TRUE(QTest::qWaitFor([&] { return spy.count() > 0; }, 10000));
    // A search that was replaced never reports.
    QTest::qWait(100);
    ASSERT_EQ(spy.count(), 1);
    const auto hits = spy.at(0).at(0).value<QList<SearchHit>>();
    ASSERT_EQ(hits.size(), 1);
    EXPECT_EQ(hitText(hits[0]), QStringLiteral("beta"));
    EXPECT_FALSE(spy.at(0).at(1).toBool());
    EXPECT_FALSE(job.isRunning());

    job.start({projectFile, kEn}, QStringLiteral("alpha"));
    job.cancel();
    QTest::qWait(200);
    EXPECT_EQ(spy.count(), 1);
    EXPECT_FALSE(job.isRunning());
}
