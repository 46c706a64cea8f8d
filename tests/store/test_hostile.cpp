// Hostile projects: entity amplification, paths that lead out of the project
// folder, files that are no regular files, and a book tree that stays linear
// in the number of its nodes.
#include "booktree.h"
#include "cbookfile.h"
#include "cproject.h"
#include "fileio.h"
#include "msgbox.h"
#include "sax.h"
#include "testsupport.h"
#include "xmlsafety.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <condition_variable>
#include <cstdio>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {

const QString kLoop = QStringLiteral("Detected an entity reference loop");
const QString kAmplification = QStringLiteral("entity amplification");

// Peak resident memory of this process in kB.
long peakKb()
{
    QFile f(QStringLiteral("/proc/self/status"));
    if (!f.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : f.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    return 0;
}

// One internal entity of 20,000 characters, and 50,000 references to it.
QString bigEntity()
{
    return QStringLiteral("<!ENTITY big \"") + QString(20000, QLatin1Char('x')) + QStringLiteral("\">");
}
QString manyRefs()
{
    return QStringLiteral("&big;").repeated(50000);
}

// The sample's book file with the big entity declared and used in its title.
void writeAmplifiedBook(const QString& folder)
{
    const QString book = folder + QStringLiteral("/book.xml");
    QString text = readText(book);
    text.replace(QStringLiteral("<!ENTITY chapter1"), bigEntity() + QStringLiteral("<!ENTITY chapter1"));
    text.replace(QStringLiteral("<title lang=\"en\">Sample Manual</title>"),
                 QStringLiteral("<title lang=\"en\">") + manyRefs() + QStringLiteral("</title>"));
    // As the attacker's file: UTF-8, about 270 KB.
    writeBytes(book, text.toUtf8());
}

struct Texts : sax::Handler {
    qint64 chars = 0;
    void characters(std::string_view t) override { chars += qint64(t.size()); }
};

// Ends a read that blocks on a FIFO (as one without the check does) after a
// while, by opening the FIFO's other end, so that the test fails instead of
// hanging.
class FifoWatchdog {
public:
    explicit FifoWatchdog(const QString& fifo) : m_fifo(QFile::encodeName(fifo))
    {
        m_thread = std::thread([this] {
            // Every few seconds, for a reader that opens the FIFO more than once.
            std::unique_lock<std::mutex> lock(m_mutex);
            while (!m_cv.wait_for(lock, std::chrono::seconds(3), [this] { return m_done; })) {
                int fd = ::open(m_fifo.constData(), O_WRONLY | O_NONBLOCK);
                if (fd >= 0)
                    ::close(fd);
            }
        });
    }
    ~FifoWatchdog()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_done = true;
        }
        m_cv.notify_all();
        m_thread.join();
    }

private:
    QByteArray m_fifo;
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_cv;
    bool m_done = false;
};

QString lineOf(const QString& message, int n)
{
    return message.section(QStringLiteral("\r\n"), n, n);
}

} // namespace

TEST(EntityAmplification, BookTitleRefusedQuicklyBySaxAndDom)
{
    TempDir dir;
    const QString qly = copySample(dir.path());
    const QString folder = dir.file(QStringLiteral("sample"));
    writeAmplifiedBook(folder);
    const long before = peakKb();

    QElapsedTimer t;
    t.start();
    Texts texts;
    sax::Reader reader(texts);
    reader.setExpandExternalEntities(true);
    reader.setAllowedFolders({folder});
    EXPECT_FALSE(reader.parseFile(folder + QStringLiteral("/book.xml")));
    EXPECT_TRUE(reader.error().message.contains(kAmplification)) << reader.error().message.toStdString();
    EXPECT_TRUE(reader.error().message.contains(QStringLiteral("book.xml")));
    EXPECT_FALSE(reader.error().message.contains(kLoop));
    EXPECT_LT(texts.chars, 10 * 1000 * 1000);

    ScriptedMsgBox box;
    cBookFile bf(box);
    EXPECT_FALSE(bf.Load(folder + QStringLiteral("/book.xml")));
    EXPECT_TRUE(box.last().contains(kAmplification)) << box.last().toStdString();
    EXPECT_FALSE(box.last().contains(kLoop));

    EXPECT_LT(t.elapsed(), 3000);
    EXPECT_LT(peakKb() - before, 200 * 1024) << "kB";
    (void)qly;
}

TEST(EntityAmplification, SubstitutingReaderRefusesChapterText)
{
    TempDir dir;
    const QString chapter = dir.file(QStringLiteral("chapter1.xml"));
    writeBytes(chapter, (QStringLiteral("<?xml version=\"1.0\"?><!DOCTYPE chapter [") + bigEntity() +
                         QStringLiteral("]><chapter><title lang=\"en\">C</title><topic id=\"topic1\"><onelang lang=\"en\"><p>") +
                         manyRefs() + QStringLiteral("</p></onelang></topic></chapter>"))
                            .toUtf8());
    const long before = peakKb();
    QElapsedTimer t;
    t.start();
    for (bool substitute : {true, false}) {
        Texts texts;
        sax::Reader reader(texts);
        reader.setExpandEntities(substitute);
        EXPECT_FALSE(reader.parseFile(chapter)) << substitute;
        EXPECT_TRUE(reader.error().message.contains(kAmplification)) << reader.error().message.toStdString();
        EXPECT_LT(texts.chars, 10 * 1000 * 1000);
    }
    EXPECT_LT(t.elapsed(), 3000);
    EXPECT_LT(peakKb() - before, 200 * 1024) << "kB";
}

TEST(EntityAmplification, LargeChapterFilesAreNoAmplification)
{
    TempDir dir;
    const QString text = QStringLiteral("<p>") + QString(1000, QLatin1Char('t')) + QStringLiteral("</p>");
    for (const char* name : {"c1.xml", "c2.xml"})
        writeUtf16(dir.file(QString::fromLatin1(name)),
                   QStringLiteral("<chapter>") + text.repeated(2000) + QStringLiteral("</chapter>"));
    const QString book = dir.file(QStringLiteral("book.xml"));
    writeUtf16(book, QStringLiteral("<?xml version=\"1.0\"?><!DOCTYPE book [<!ENTITY c1 SYSTEM \"c1.xml\">"
                                    "<!ENTITY c2 SYSTEM \"c2.xml\"><!ENTITY small \"ab\">]><book>&c1;&c2;&small;</book>"));
    for (int mode = 0; mode < 3; ++mode) {
        Texts texts;
        sax::Reader reader(texts);
        reader.setExpandEntities(mode == 1);
        reader.setExpandExternalEntities(mode == 2);
        EXPECT_TRUE(reader.parseFile(book)) << mode << reader.error().message.toStdString();
        if (mode > 0) {
            EXPECT_EQ(texts.chars, 2 * 2000 * 1000 + 2) << mode;
        }
    }
}

TEST(EntityAmplification, ProjectFileSaysWhichFileAndWhy)
{
    TempDir dir;
    const QString qly = copySample(dir.path());
    QString text = readText(qly);
    text.replace(QStringLiteral("]><project>"), bigEntity() + QStringLiteral("]><project>"));
    text.replace(QStringLiteral("<title>Reference</title>"), QStringLiteral("<title>") + manyRefs() + QStringLiteral("</title>"));
    writeBytes(qly, text.toUtf8());
    const QByteArray before = readBytes(qly);
    const long peak = peakKb();
    QElapsedTimer t;
    t.start();
    ScriptedMsgBox box;
    cProject p(box);
    EXPECT_FALSE(p.Load(qly));
    EXPECT_LT(t.elapsed(), 3000);
    EXPECT_LT(peakKb() - peak, 200 * 1024) << "kB";
    EXPECT_EQ(lineOf(box.last(), 0), QStringLiteral("File is not valid!"));
    EXPECT_EQ(lineOf(box.last(), 1), QDir::toNativeSeparators(qly));
    EXPECT_TRUE(lineOf(box.last(), 2).contains(kAmplification)) << box.last().toStdString();
    EXPECT_FALSE(box.last().contains(kLoop));
    EXPECT_EQ(box.lastIcon(), MsgIcon::Exclamation);
    EXPECT_EQ(readBytes(qly), before);
}

TEST(EntityAmplification, NestedExpansionIsNoLoopButARealLoopIs)
{
    TempDir dir;
    const QString qly = copySample(dir.path());
    const QString text = readText(qly);
    ScriptedMsgBox box;
    cProject p(box);

    // Billion laughs: amplification, not a loop.
    QString laughs = QStringLiteral("<!ENTITY a0 \"lollollollollollollollollollol\">");
    for (int i = 1; i <= 12; ++i)
        laughs += QStringLiteral("<!ENTITY a%1 \"&a%2;&a%2;&a%2;&a%2;&a%2;&a%2;&a%2;&a%2;&a%2;&a%2;\">").arg(i).arg(i - 1);
    QString bomb = text;
    bomb.replace(QStringLiteral("]><project>"), laughs + QStringLiteral("]><project>"));
    bomb.replace(QStringLiteral("<title>Reference</title>"), QStringLiteral("<title>&a12;</title>"));
    writeUtf16(qly, bomb);
    EXPECT_FALSE(p.Load(qly));
    EXPECT_TRUE(box.last().contains(kAmplification)) << box.last().toStdString();
    EXPECT_FALSE(box.last().contains(kLoop));

    // Two entities that refer to each other: a loop, and said so.
    QString loop = text;
    loop.replace(QStringLiteral("]><project>"), QStringLiteral("<!ENTITY a \"x&b;\"><!ENTITY b \"y&a;\">]><project>"));
    loop.replace(QStringLiteral("<title>Reference</title>"), QStringLiteral("<title>&a;</title>"));
    writeUtf16(qly, loop);
    EXPECT_FALSE(p.Load(qly));
    EXPECT_EQ(lineOf(box.last(), 0), QStringLiteral("File is not valid!"));
    EXPECT_FALSE(box.last().contains(kAmplification)) << box.last().toStdString();

    // A modest use of entities stays readable.
    QString fine = text;
    fine.replace(QStringLiteral("]><project>"), QStringLiteral("<!ENTITY r \"Reference\">]><project>"));
    fine.replace(QStringLiteral("<title>Reference</title>"), QStringLiteral("<title>&r;</title>"));
    writeUtf16(qly, fine);
    EXPECT_TRUE(p.Load(qly)) << box.last().toStdString();
    EXPECT_EQ(p.getChapterID(QStringLiteral("Reference")), QStringLiteral("chapter2"));
}

TEST(ProjectPaths, FilesOutsideTheProjectFolderAreRefusedByName)
{
    TempDir dir;
    const QString qly = copySample(dir.path());
    const QString folder = dir.file(QStringLiteral("sample"));
    QDir().mkpath(dir.file(QStringLiteral("outside")));
    writeUtf16(dir.file(QStringLiteral("outside/c.xml")), QStringLiteral("<chapter><title lang=\"en\">Stolen</title></chapter>"));
    writeUtf16(dir.file(QStringLiteral("outside/book.xml")), readText(folder + QStringLiteral("/book.xml")));
    const QString text = readText(qly);
    ScriptedMsgBox box;

    struct Case {
        QString from, to, named;
    };
    const std::vector<Case> cases = {
        {"<file>chapter2.xml</file>", "<file>../outside/c.xml</file>", "../outside/c.xml"},
        {"<file>chapter2.xml</file>", "<file>..\\outside\\c.xml</file>", "..\\outside\\c.xml"},
        {"<file>chapter2.xml</file>", "<file>../../../../../../../../etc/passwd</file>", "../../../../../../../../etc/passwd"},
        {"<book>book.xml</book>", "<book>../outside/book.xml</book>", "../outside/book.xml"},
    };
    for (const Case& c : cases) {
        QString t = text;
        t.replace(c.from, c.to);
        writeUtf16(qly, t);
        cProject p(box);
        EXPECT_FALSE(p.Load(qly)) << c.to.toStdString();
        EXPECT_EQ(lineOf(box.last(), 0), QStringLiteral("File is not valid!"));
        EXPECT_EQ(lineOf(box.last(), 1), QDir::toNativeSeparators(qly));
        EXPECT_EQ(lineOf(box.last(), 2),
                  QStringLiteral("The file \"%1\" that it names lies outside the project folder.").arg(c.named));
        EXPECT_FALSE(p.isLoaded());
    }

    // A book file that is a link to a file outside.
    writeUtf16(qly, text);
    QFile::remove(folder + QStringLiteral("/book.xml"));
    ASSERT_TRUE(QFile::link(dir.file(QStringLiteral("outside/book.xml")), folder + QStringLiteral("/book.xml")));
    cProject p(box);
    EXPECT_FALSE(p.Load(qly));
    EXPECT_EQ(lineOf(box.last(), 2), QStringLiteral("The file \"book.xml\" that it names lies outside the project folder."));

    // A link that stays inside is fine.
    QFile::remove(folder + QStringLiteral("/book.xml"));
    QFile::copy(dir.file(QStringLiteral("outside/book.xml")), folder + QStringLiteral("/realbook.xml"));
    ASSERT_TRUE(QFile::link(folder + QStringLiteral("/realbook.xml"), folder + QStringLiteral("/book.xml")));
    EXPECT_TRUE(p.Load(qly)) << box.last().toStdString();
}

TEST(ProjectPaths, ALinkPlantedAfterTheOpenIsNotFollowed)
{
    TempDir dir;
    const QString qly = copySample(dir.path());
    const QString folder = dir.file(QStringLiteral("sample"));
    writeUtf16(dir.file(QStringLiteral("c.xml")), QStringLiteral("<chapter><title lang=\"en\">Stolen</title></chapter>"));
    ScriptedMsgBox box;
    cProject p(box);
    ASSERT_TRUE(p.Load(qly));
    const QString chapter = folder + QStringLiteral("/chapter2.xml");
    EXPECT_EQ(p.getChapterFile(QStringLiteral("Reference")), chapter);

    QFile::remove(chapter);
    ASSERT_TRUE(QFile::link(dir.file(QStringLiteral("c.xml")), chapter));
    EXPECT_EQ(p.getChapterFile(QStringLiteral("Reference")), QString());
    EXPECT_FALSE(p.chapterFileList().contains(chapter));

    // A reader bound to the project folder refuses the file by name.
    Texts texts;
    sax::Reader reader(texts);
    reader.setAllowedFolders({p.GetProjectFolder()});
    EXPECT_FALSE(reader.parseFile(chapter));
    EXPECT_EQ(reader.error().message, xmlsafe::outsideFolderMessage(chapter));
    EXPECT_EQ(texts.chars, 0);

    // The same for the book's chapter entity.
    Texts all;
    sax::Reader book(all);
    book.setExpandExternalEntities(true);
    book.setAllowedFolders({p.GetProjectFolder()});
    EXPECT_FALSE(book.parseFile(p.getBookFile()));
    EXPECT_TRUE(book.error().message.contains(QStringLiteral("chapter2.xml"))) << book.error().message.toStdString();
}

TEST(OnlyRegularFiles, FifoDeviceAndFolderRefusedAtOnce)
{
    TempDir dir;
    const QString qly = copySample(dir.path());
    const QString folder = dir.file(QStringLiteral("sample"));
    const QString fifo = folder + QStringLiteral("/chapter2.xml");
    QFile::remove(fifo);
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    QElapsedTimer t;
    t.start();
    {
        FifoWatchdog watchdog(fifo);
        Texts texts;
        sax::Reader reader(texts);
        EXPECT_FALSE(reader.parseFile(fifo));
        EXPECT_EQ(reader.error().message,
                  QStringLiteral("\"%1\" is a FIFO, not a regular file, and is not read.").arg(fifo));
    }
    EXPECT_LT(t.elapsed(), 2000);

    // As a chapter of the book.
    t.restart();
    {
        FifoWatchdog watchdog(fifo);
        Texts texts;
        sax::Reader reader(texts);
        reader.setExpandExternalEntities(true);
        reader.setAllowedFolders({folder});
        EXPECT_FALSE(reader.parseFile(folder + QStringLiteral("/book.xml")));
        EXPECT_TRUE(reader.error().message.contains(QStringLiteral("is a FIFO"))) << reader.error().message.toStdString();
    }
    EXPECT_LT(t.elapsed(), 2000);

    // The DOM reader.
    t.restart();
    {
        FifoWatchdog watchdog(fifo);
        xmlsafe::XmlError error;
        EXPECT_FALSE(xmlsafe::readFile(fifo, 0, false, &error));
        EXPECT_TRUE(error.message.contains(QStringLiteral("is a FIFO")));
    }
    EXPECT_LT(t.elapsed(), 2000);

    // A project file that is a FIFO.
    const QString fifoProject = dir.file(QStringLiteral("pipe.qly"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifoProject).constData(), 0600), 0);
    t.restart();
    {
        FifoWatchdog watchdog(fifoProject);
        ScriptedMsgBox box;
        cProject p(box);
        EXPECT_FALSE(p.Load(fifoProject));
        EXPECT_EQ(lineOf(box.last(), 0), QStringLiteral("File is not valid!"));
        EXPECT_TRUE(lineOf(box.last(), 2).contains(QStringLiteral("is a FIFO")));
    }
    EXPECT_LT(t.elapsed(), 2000);

    // A device and a folder.
    QString why;
    EXPECT_LT(xmlsafe::openRegularFile(QStringLiteral("/dev/zero"), &why), 0);
    EXPECT_EQ(why, QStringLiteral("\"/dev/zero\" is a device, not a regular file, and is not read."));
    Texts texts;
    sax::Reader reader(texts);
    EXPECT_FALSE(reader.parseFile(folder));
    EXPECT_TRUE(reader.error().message.contains(QStringLiteral("is a folder")));

    // A regular file still reads.
    QByteArray bytes;
    EXPECT_TRUE(xmlsafe::readRegularFile(qly, bytes));
    EXPECT_EQ(bytes, readBytes(qly));
}

TEST(BookTreeIndex, PositionsCountAndKeysStayRight)
{
    BookTree tree;
    NodePtr book = tree.Add(nullptr, Relation::Last, QString(), QStringLiteral("Book"));
    NodePtr a = tree.Add(book, Relation::Child, QStringLiteral("a"), QStringLiteral("A"));
    NodePtr c = tree.Add(book, Relation::Child, QStringLiteral("c"), QStringLiteral("C"));
    NodePtr b = tree.Add(c, Relation::Previous, QStringLiteral("b"), QStringLiteral("B"));
    NodePtr first = tree.Add(b, Relation::First, QStringLiteral("0"), QStringLiteral("Zero"));
    NodePtr d = tree.Add(c, Relation::Next, QStringLiteral("d"), QStringLiteral("D"));
    auto order = [&] {
        QStringList l;
        for (const NodePtr& n : book->Children()) {
            EXPECT_EQ(n->Index(), int(l.size())) << n->Text.toStdString();
            l << n->Text;
        }
        return l.join(QLatin1Char(' '));
    };
    EXPECT_EQ(order(), QStringLiteral("Zero A B C D"));
    EXPECT_EQ(tree.Count(), 6);
    EXPECT_EQ(b->Next(), c);
    EXPECT_EQ(b->Previous(), a);
    EXPECT_FALSE(tree.Add(book, Relation::Child, QStringLiteral("b"), QStringLiteral("again")));

    NodePtr sub = tree.Add(c, Relation::Child, QStringLiteral("s"), QStringLiteral("S"));
    EXPECT_TRUE(tree.Move(a, d, Relation::Next));
    EXPECT_EQ(order(), QStringLiteral("Zero B C D A"));
    EXPECT_TRUE(tree.Move(first, sub, Relation::Previous));
    EXPECT_EQ(order(), QStringLiteral("B C D A"));
    EXPECT_EQ(first->Parent(), c);
    EXPECT_EQ(first->Index(), 0);
    EXPECT_EQ(sub->Index(), 1);
    EXPECT_EQ(tree.Count(), 7);

    tree.Remove(c);
    EXPECT_EQ(order(), QStringLiteral("B D A"));
    EXPECT_EQ(tree.Count(), 4);
    EXPECT_FALSE(tree.FindKey(QStringLiteral("s")));
    EXPECT_FALSE(tree.FindKey(QStringLiteral("0")));
    EXPECT_EQ(tree.FindKey(QStringLiteral("a")), a);
    EXPECT_TRUE(tree.SetKey(a, QStringLiteral("z")));
    EXPECT_FALSE(tree.FindKey(QStringLiteral("a")));
    EXPECT_EQ(tree.FindKey(QStringLiteral("z")), a);
    // A key that was removed can be used again.
    EXPECT_TRUE(tree.Add(book, Relation::Child, QStringLiteral("s"), QStringLiteral("S2")));
    tree.Clear();
    EXPECT_EQ(tree.Count(), 0);
    EXPECT_FALSE(tree.FindKey(QStringLiteral("z")));
}

TEST(BookTreeIndex, OneChapterOfFiftyThousandTopicsIsLinear)
{
    auto build = [](int topics) {
        QElapsedTimer t;
        t.start();
        BookTree tree;
        NodePtr book = tree.Add(nullptr, Relation::Last, QString(), QStringLiteral("Book"));
        NodePtr chapter = tree.Add(book, Relation::Child, QString(), QStringLiteral("Chapter"));
        for (int i = 1; i <= topics; ++i) {
            NodePtr n = tree.Add(chapter, Relation::Child, QStringLiteral("topic%1").arg(i), QStringLiteral("T"));
            // What the session asks of each node as it goes.
            if (!n || n->Index() != i - 1 || tree.Count() != i + 2 || n->FullPath().isEmpty())
                return -1.0;
        }
        return double(t.nsecsElapsed()) / 1e6;
    };
    const double small = build(12500);
    const double large = build(50000);
    ASSERT_GE(small, 0);
    ASSERT_GE(large, 0);
    std::printf("12,500 topics: %.1f ms; 50,000 topics: %.1f ms; ratio %.2f\n", small, large, large / small);
    EXPECT_LT(large, 2000.0);
}
