// Import of a language from a translated copy: what is ticked arrives, and
// nothing else changes; every refusal; the tick model.
#include "backup.h"
#include "booktree.h"
#include "cproject.h"
#include "exportproject.h"
#include "fileio.h"
#include "importlanguage.h"
#include "language.h"
#include "msgbox.h"
#include "cancelprogress.h"
#include "progress.h"
#include "testsupport.h"
#include "tickmodel.h"
#include "treeview.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {

QStringList keysOf(const BookTree& tree)
{
    QStringList out;
    tree.forEach([&out](const NodePtr& n, int depth) { out << QString::number(depth) + n->Key + n->Text; });
    return out;
}

// Replacements made in the copy's chapter2.xml: the translator's work.
struct Edit {
    const char* key; // the tree key it belongs to ("" the chapter)
    const char* from;
    const char* to;
};
const Edit kEdits[] = {
    {"", "<title lang=\"de\">Referenz</title>", "<title lang=\"de\">Nachschlagen</title>"},
    {"topic3", ">Tabellen</title>", ">Tabellen &amp; mehr</title>"},
    {"topic3", "<p>Die Tasten des Programms.", "<p>Alle Tasten des Programms."},
    {"sub1", "<title lang=\"de\">Details</title>", "<title lang=\"de\">Einzelheiten</title>"},
    {"topic4", ">Verweise und Anker</title>", ">Sprungmarken</title>"},
    {"topic5", "<p>Dieses Thema ist fertig.</p>", "<p>Fertig &lt;3</p>"},
};

class ImportTest : public ::testing::Test {
protected:
    TempDir dir;
    ScriptedMsgBox box;
    QString master;
    std::unique_ptr<cProject> project;
    QString zip;
    QString copy;

    void SetUp() override
    {
        master = copySample(dir.path(), QStringLiteral("master"));
        project = std::make_unique<cProject>(box);
        ASSERT_TRUE(project->Load(master));
        setCurrentLanguage(QStringLiteral("en"));
        BookTree tree;
        buildBookTree(*project, tree, box);
        box.setDefault(MsgAnswer::Yes);
        exchange::ProjectExport job(*project, box);
        zip = dir.file(QStringLiteral("package.zip"));
        job.writePackage = [this](const QString& files, const QString& base) {
            Progress p;
            return backup::writeBackup(files, zip, base, p, box, exchange::kExportCaption);
        };
        Progress progress;
        ASSERT_TRUE(job.run(tree, progress));
        ASSERT_TRUE(project->Load(master));
        box.clear();
        box.setDefault(MsgAnswer::No);

        exchange::LanguageImport unpack(*project, box);
        ASSERT_TRUE(unpack.extract(zip, dir.file(QStringLiteral("copy")), progress));
        EXPECT_EQ(progress.maximum(), 10); // 3 chapters, book, 5 images, project file
        EXPECT_EQ(progress.value(), 10);
        copy = exchange::LanguageImport::projectInPackage(zip, dir.file(QStringLiteral("copy")));
        ASSERT_EQ(copy, dir.file(QStringLiteral("copy/sample.qly")));
    }

    QString masterChapter(int i) const { return project->chapterFileList().at(i); }
    QString copyChapter(int i) const { return dir.file(QStringLiteral("copy/sample/chapter%1.xml").arg(i + 1)); }

    // Applies the edits (those whose key passes) to a text.
    static QString edited(QString text, const std::function<bool(const QString&)>& take)
    {
        for (const Edit& e : kEdits) {
            if (!take(QString::fromLatin1(e.key)))
                continue;
            EXPECT_TRUE(text.contains(QString::fromUtf8(e.from))) << e.from;
            text.replace(QString::fromUtf8(e.from), QString::fromUtf8(e.to));
        }
        return text;
    }
    void translateCopy()
    {
        writeUtf16(copyChapter(1), edited(readText(copyChapter(1)), [](const QString&) { return true; }));
    }
};

} // namespace

TEST_F(ImportTest, OnlyTheTickedTextsOfTheLanguageArrive)
{
    translateCopy();
    const QByteArray ch1 = readBytes(masterChapter(0)), ch3 = readBytes(masterChapter(2));
    const QString before = readText(masterChapter(1));
    const QByteArray projectBefore = readBytes(master), bookBefore = readBytes(project->getBookFile());

    exchange::LanguageImport job(*project, box);
    ASSERT_TRUE(job.selectProject(copy)) << box.last().toStdString();
    EXPECT_EQ(job.languageEntries(), QStringList({"English (en)", "German (de)"}));
    EXPECT_EQ(keysOf(job.oldTree()), keysOf(job.newTree()));
    // Everything ticked; the book unticked, and one topic.
    EXPECT_EQ(job.ticks().countTicked(job.newTree()), job.newTree().Count());
    job.ticks().setTicked(job.newTree().Root(), false);
    job.ticks().setTicked(job.newTree().Root()->Children()[1], true);
    job.ticks().setTicked(job.newTree().FindKey(QStringLiteral("topic4")), false);
    const int ticked = job.ticks().countTicked(job.newTree());

    Progress progress;
    EXPECT_EQ(job.import(QStringLiteral("German (de)"), progress), exchange::LanguageImport::Result::Done);
    EXPECT_EQ(box.texts(), QStringList({"Import was successfull!"}));
    EXPECT_EQ(progress.maximum(), ticked);
    EXPECT_LE(progress.value(), ticked);

    // Exactly the ticked German texts changed; the topic unticked kept its
    // text although its subchapter came.
    const QString expected = edited(before, [](const QString& key) { return key != QLatin1String("topic4"); });
    EXPECT_EQ(readText(masterChapter(1)), expected);
    EXPECT_EQ(readBytes(masterChapter(0)), ch1);
    EXPECT_EQ(readBytes(masterChapter(2)), ch3);
    // The lock stays, the book's title was unticked, the chapter list of the
    // project changes only for the main language.
    EXPECT_EQ(readBytes(master), projectBefore);
    EXPECT_EQ(readBytes(project->getBookFile()), bookBefore);
    EXPECT_FALSE(QFileInfo::exists(masterChapter(1) + QStringLiteral(".quillary-new")));
}

TEST_F(ImportTest, TheBookTitleAndTheMainLanguageWithItsChapterList)
{
    // The copy's main language: a new chapter title and book title.
    writeUtf16(copyChapter(1), readText(copyChapter(1)).replace(QStringLiteral("<title lang=\"en\">Reference</title>"),
                                                                QStringLiteral("<title lang=\"en\">Lookup</title>")));
    const QString copyBook = dir.file(QStringLiteral("copy/sample/book.xml"));
    writeUtf16(copyBook, readText(copyBook).replace(QStringLiteral(">Sample Manual<"), QStringLiteral(">Handbook<")));

    exchange::LanguageImport job(*project, box);
    ASSERT_TRUE(job.selectProject(copy));
    Progress progress;
    ASSERT_EQ(job.import(QStringLiteral("English (en)"), progress), exchange::LanguageImport::Result::Done)
        << box.last().toStdString();
    // The project's list of chapters changed under the file.
    const QString ch2 = project->GetProjectFolder() + QStringLiteral("chapter2.xml");
    EXPECT_TRUE(readText(ch2).startsWith(QStringLiteral("<chapter><title lang=\"en\">Lookup</title>")));
    EXPECT_TRUE(readText(project->getBookFile()).contains(QStringLiteral("<title lang=\"en\">Handbook</title>")));
    EXPECT_TRUE(readText(project->getBookFile()).contains(QStringLiteral("<title lang=\"de\">Beispielhandbuch</title>")));
    cProject reread(box);
    ASSERT_TRUE(reread.Load(master));
    EXPECT_EQ(reread.getChapterID(QStringLiteral("Lookup")), QStringLiteral("chapter2"));
    EXPECT_EQ(reread.getChapterID(QStringLiteral("Reference")), QString());
    EXPECT_FALSE(reread.GetLockID().isEmpty());
}

TEST_F(ImportTest, RefusalsOfTheChosenCopy)
{
    exchange::LanguageImport job(*project, box);
    auto refusal = [&](const QString& path) {
        box.clear();
        EXPECT_FALSE(job.selectProject(path));
        return box.last();
    };
    EXPECT_EQ(refusal(dir.file(QStringLiteral("none.qly"))), QStringLiteral("File does not exist!"));
    // An open project carries the mark, which is tested first.
    EXPECT_EQ(refusal(master), QStringLiteral("File is already opened by another application!"));
    fileio::setMarked(master, false);
    EXPECT_EQ(refusal(master), QStringLiteral("Current project was selected!"));
    fileio::setMarked(copy, true);
    EXPECT_EQ(refusal(copy), QStringLiteral("File is already opened by another application!"));
    fileio::setMarked(copy, false);

    const QString notExported = QStringLiteral("Selected project was not exported from current project! It is not "
                                               "possible to import language from selected project!");
    // Another project, and the copy once unlocked.
    EXPECT_EQ(refusal(copySample(dir.path(), QStringLiteral("stranger"))), notExported);
    {
        cProject c(box);
        ASSERT_TRUE(c.Load(copy));
        c.RemoveLock();
        fileio::setMarked(copy, false);
    }
    EXPECT_EQ(refusal(copy), notExported);

    // Chapters that do not match: nothing is offered.
    QDir().rename(dir.file(QStringLiteral("copy")), dir.file(QStringLiteral("old")));
    TempDir again;
    exchange::LanguageImport second(*project, box);
    Progress progress;
    ASSERT_TRUE(second.extract(zip, again.path(), progress));
    const QString copyBook = again.file(QStringLiteral("sample/book.xml"));
    writeUtf16(copyBook, readText(copyBook).replace(QStringLiteral("&chapter1;&chapter2;"),
                                                    QStringLiteral("&chapter2;&chapter1;")));
    box.clear();
    EXPECT_FALSE(second.selectProject(again.file(QStringLiteral("sample.qly"))));
    EXPECT_TRUE(box.last().startsWith(QStringLiteral("The chapters of the selected project do not match")));

    // Archives: a missing one and no folder.
    box.clear();
    EXPECT_FALSE(job.extract(dir.file(QStringLiteral("none.zip")), again.path(), progress));
    EXPECT_EQ(box.last(), QStringLiteral("File does not exist!"));
    EXPECT_FALSE(job.extract(zip, QString(), progress));
    EXPECT_EQ(box.last(), QStringLiteral("No folder for extracting was selected!"));
    EXPECT_TRUE(exchange::LanguageImport::isArchive(QStringLiteral("/x/COPY.ZIP")));
    EXPECT_FALSE(exchange::LanguageImport::isArchive(QStringLiteral("/x/copy.qly")));
}

TEST_F(ImportTest, RefusalsOfTheImportButtonAndAFailureChangesNothing)
{
    // The copy knows a language the master does not.
    {
        cProject c(box);
        ASSERT_TRUE(c.Load(copy));
        c.InsertLanguage(QStringLiteral("Italian"), QStringLiteral("it"));
        fileio::setMarked(copy, false);
    }
    exchange::LanguageImport job(*project, box);
    ASSERT_TRUE(job.selectProject(copy));
    EXPECT_EQ(job.languageEntries(), QStringList({"English (en)", "German (de)", " (it)"}));
    EXPECT_EQ(exchange::LanguageImport::abbreviationOf(QStringLiteral("Old (x) German (de)")), QStringLiteral("de"));
    Progress progress;
    using R = exchange::LanguageImport::Result;
    EXPECT_EQ(job.import(QString(), progress), R::Stay);
    EXPECT_EQ(box.last(), QStringLiteral("No language was selected!"));
    EXPECT_EQ(job.import(QStringLiteral(" (it)"), progress), R::Stay);
    EXPECT_EQ(box.last(), QStringLiteral("Selected language does not exist in current project!"));
    job.ticks().setTicked(job.newTree().Root(), false);
    EXPECT_EQ(job.import(QStringLiteral("German (de)"), progress), R::Stay);
    EXPECT_EQ(box.last(), QStringLiteral("Nothing to import was selected!"));

    // A ticked topic whose copy has no German body: an error, and no file
    // of the master changes, not even the chapters done before.
    job.ticks().setTicked(job.newTree().Root(), true);
    writeUtf16(copyChapter(2), readText(copyChapter(2)).replace(QStringLiteral("<onelang lang=\"de\">"),
                                                                QStringLiteral("<onelang lang=\"fr\">")));
    writeUtf16(copyChapter(0), readText(copyChapter(0)).replace(QStringLiteral("Willkommen"), QStringLiteral("Hallo")));
    QList<QByteArray> before;
    for (const QString& f : project->chapterFileList())
        before << readBytes(f);
    const QByteArray bookBefore = readBytes(project->getBookFile());
    box.clear();
    EXPECT_EQ(job.import(QStringLiteral("German (de)"), progress), R::Failed);
    EXPECT_TRUE(box.last().startsWith(QStringLiteral("Error! Import was not successful!"))) << box.last().toStdString();
    EXPECT_EQ(box.all().back().icon, MsgIcon::Critical);
    for (int i = 0; i < before.size(); ++i)
        EXPECT_EQ(readBytes(project->chapterFileList().at(i)), before[i]);
    EXPECT_EQ(readBytes(project->getBookFile()), bookBefore);
    QDir folder(project->GetProjectFolder());
    EXPECT_TRUE(folder.entryList({QStringLiteral("*.quillary-new")}, QDir::Files).isEmpty());
}

TEST(TickModel, TickingSetsTheBranchAndNothingAbove)
{
    BookTree tree;
    NodePtr book = tree.Add(nullptr, Relation::Last, QString(), QStringLiteral("Book"));
    NodePtr ch = tree.Add(book, Relation::Child, QString(), QStringLiteral("Ch"));
    NodePtr sub = tree.Add(ch, Relation::Child, QStringLiteral("sub1"), QStringLiteral("Sub"));
    NodePtr t1 = tree.Add(sub, Relation::Child, QStringLiteral("topic1"), QStringLiteral("T1"));
    NodePtr t2 = tree.Add(ch, Relation::Child, QStringLiteral("topic2"), QStringLiteral("T2"));
    TickModel ticks;
    EXPECT_EQ(ticks.countTicked(tree), 0);
    ticks.tickAll(tree);
    EXPECT_EQ(ticks.countTicked(tree), 5);
    ticks.setTicked(sub, false);
    EXPECT_FALSE(ticks.isTicked(t1));
    EXPECT_TRUE(ticks.isTicked(ch));
    EXPECT_TRUE(ticks.isTicked(t2));
    ticks.setTicked(ch, false);
    ticks.setTicked(t1, true);
    // A topic ticked alone leaves its chapter unticked.
    EXPECT_FALSE(ticks.isTicked(sub));
    EXPECT_FALSE(ticks.isTicked(ch));
    EXPECT_TRUE(ticks.isTicked(book));
    EXPECT_EQ(ticks.countTicked(tree), 2);
}

TEST_F(ImportTest, TheDirectMergeGivesTheBytesOfTheDomMerge)
{
    int topics = 0;
    for (const QString& file : project->chapterFileList()) {
        const QString text = readText(file);
        static const QRegularExpression ids(QStringLiteral("<topic id=\"([^\"]+)\""));
        for (auto m = ids.globalMatch(text); m.hasNext();) {
            const QString id = m.next().captured(1);
            const QString xml = extractElement(*project, file, QStringLiteral("topic"), id, box);
            // The English parts, as if they were the German of the copy.
            static const QRegularExpression title(QStringLiteral("<title lang=\"en\"[^>]*>.*?</title>"));
            static const QRegularExpression body(QStringLiteral("<onelang lang=\"en\">.*?</onelang>"));
            QString t = title.match(xml).captured(0), b = body.match(xml).captured(0);
            t.replace(QStringLiteral("lang=\"en\""), QStringLiteral("lang=\"de\""));
            b.replace(QStringLiteral("lang=\"en\""), QStringLiteral("lang=\"de\""));
            ASSERT_FALSE(t.isEmpty() || b.isEmpty()) << id.toStdString();
            QString direct, dom;
            ASSERT_TRUE(exchange::mergeTopicLanguage(xml, t, b, QStringLiteral("de"), direct));
            ASSERT_TRUE(exchange::mergeTopicLanguage(xml, t, b, QStringLiteral("de"), dom, nullptr, false));
            EXPECT_EQ(direct, dom) << id.toStdString();
            EXPECT_NE(direct, xml);
            ++topics;
        }
    }
    EXPECT_EQ(topics, 6);
}

// Cancel during the import: no file of the master changes, the dialog stays
// (Stay) with a note, and the import can be run again to its end.
TEST_F(ImportTest, ACancelledImportChangesNothing)
{
    translateCopy();
    const QString folder = QFileInfo(master).absolutePath();
    const auto before = filesOf(folder);
    exchange::LanguageImport job(*project, box);
    ASSERT_TRUE(job.selectProject(copy)) << box.last().toStdString();
    box.clear();
    CancelAtStep progress(1);
    EXPECT_EQ(job.import(QStringLiteral("German (de)"), progress), exchange::LanguageImport::Result::Stay);
    EXPECT_EQ(box.texts(), QStringList{Progress::kCancelled});
    EXPECT_TRUE(filesOf(folder) == before);

    box.clear();
    Progress whole;
    EXPECT_EQ(job.import(QStringLiteral("German (de)"), whole), exchange::LanguageImport::Result::Done);
    EXPECT_FALSE(filesOf(folder) == before);
}
