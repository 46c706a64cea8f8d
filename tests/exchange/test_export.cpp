// Export: the numbering of translatable units, one pass over a chapter
// giving what a replacement per topic gives, the questions, the lock and the
// package.
#include "backup.h"
#include "booktree.h"
#include "cproject.h"
#include "exportproject.h"
#include "fileio.h"
#include "filters.h"
#include "language.h"
#include "msgbox.h"
#include "cancelprogress.h"
#include "progress.h"
#include "testsupport.h"
#include "treeview.h"
#include "xmlsafety.h"
#include "ziparchive.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {

QString numbered(const QString& topic, bool* changed = nullptr)
{
    QString out;
    QString error;
    const bool c = exchange::numberTopic(topic, QStringLiteral("en"), out, &error);
    EXPECT_TRUE(error.isEmpty()) << error.toStdString();
    if (changed)
        *changed = c;
    return c ? out : topic;
}

struct Exported {
    TempDir dir;
    QString qly;
    ScriptedMsgBox box;
    std::unique_ptr<cProject> project;
    BookTree tree;
    QString zip;
};

void loadSample(Exported& e)
{
    setCurrentLanguage(QStringLiteral("en"));
    e.qly = copySample(e.dir.path());
    e.project = std::make_unique<cProject>(e.box);
    ASSERT_TRUE(e.project->Load(e.qly));
    buildBookTree(*e.project, e.tree, e.box);
    e.zip = e.dir.file(QStringLiteral("package.zip"));
}

} // namespace

TEST(TransIds, NumberUnitsInOrderTablesImagesAndASecondExport)
{
    const QString topic = QStringLiteral(
        "<topic id=\"t\"><title lang=\"en\">T</title><onelang lang=\"en\">"
        "<index><primary>k</primary></index><p>a<image src=\"x.png\"></image></p>"
        "<table colnumber=\"1\"><row><cell><image src=\"a.png\"></image><image src=\"b.png\"></image></cell></row>"
        "<col width=\"1*\"></col></table><list><item>i</item></list><notice>n</notice><image src=\"c.png\"></image>"
        "<anchor id=\"anchor1\" name=\"z\"></anchor></onelang>"
        "<onelang lang=\"de\"><p>b</p></onelang></topic>");
    bool changed = false;
    const QString once = numbered(topic, &changed);
    EXPECT_TRUE(changed);
    EXPECT_EQ(once, QStringLiteral(
        "<topic id=\"t\"><title lang=\"en\">T</title><onelang lang=\"en\">"
        "<index transid=\"trans1\"><primary>k</primary></index>"
        "<p transid=\"trans2\">a<image src=\"x.png\"></image></p>"
        "<table colnumber=\"1\" transid=\"trans3\"><row><cell><image src=\"a.png\" transid=\"trans4\"></image>"
        "<image src=\"b.png\" transid=\"trans5\"></image></cell></row><col width=\"1*\"></col></table>"
        "<list transid=\"trans6\"><item>i</item></list><notice transid=\"trans7\">n</notice>"
        "<image src=\"c.png\" transid=\"trans8\"></image><anchor id=\"anchor1\" name=\"z\"></anchor></onelang>"
        "<onelang lang=\"de\"><p>b</p></onelang></topic>"));
    // Numbered already: nothing to do.
    numbered(once, &changed);
    EXPECT_FALSE(changed);

    // After an unlock a new paragraph goes above the highest number, so
    // numbers stay unique in the topic.
    QString later = once;
    later.replace(QStringLiteral("<notice transid=\"trans7\">"), QStringLiteral("<p>new</p><notice transid=\"trans7\">"));
    const QString again = numbered(later, &changed);
    EXPECT_TRUE(changed);
    EXPECT_TRUE(again.contains(QStringLiteral("<p transid=\"trans9\">new</p>"))) << again.toStdString();
    EXPECT_EQ(again.count(QStringLiteral("transid=")), 9);

    // A body without children, or none in the main language, is left alone.
    numbered(QStringLiteral("<topic id=\"t\"><title lang=\"en\">T</title><onelang lang=\"en\"></onelang></topic>"),
             &changed);
    EXPECT_FALSE(changed);
    numbered(QStringLiteral("<topic id=\"t\"><title lang=\"de\">T</title><onelang lang=\"de\"><p>x</p></onelang></topic>"),
             &changed);
    EXPECT_FALSE(changed);
}

TEST(TransIds, OnePassGivesTheBytesOfAReplacementPerTopic)
{
    Exported e;
    loadSample(e);
    // The same project twice: one numbered topic by topic, one by export.
    const QString other = copySample(e.dir.path(), QStringLiteral("other"));
    cProject second(e.box);
    ASSERT_TRUE(second.Load(other));
    for (const QString& file : second.chapterFileList()) {
        const QString text = readText(file);
        static const QRegularExpression ids(QStringLiteral("<topic id=\"([^\"]+)\""));
        for (auto m = ids.globalMatch(text); m.hasNext();) {
            const QString id = m.next().captured(1);
            const QString xml = extractElement(second, file, QStringLiteral("topic"), id, e.box);
            QString out;
            if (!exchange::numberTopic(xml, QStringLiteral("en"), out))
                continue;
            cSAXFileChangeTopic change;
            change.xmlIn = out;
            change.TopicID = id;
            change.CutElement = QStringLiteral("topic");
            change.Action = 1;
            ASSERT_TRUE(rewriteFile(file, change, second.rewriteTempPath(), nullptr));
        }
    }

    e.box.setDefault(MsgAnswer::Yes);
    exchange::ProjectExport job(*e.project, e.box);
    Progress progress;
    ASSERT_TRUE(job.run(e.tree, progress));
    EXPECT_EQ(progress.maximum(), 6);
    EXPECT_EQ(progress.value(), 6);
    const QStringList mine = e.project->chapterFileList(), theirs = second.chapterFileList();
    for (int i = 0; i < mine.size(); ++i)
        EXPECT_EQ(readBytes(mine[i]), readBytes(theirs[i])) << mine[i].toStdString();
    EXPECT_TRUE(readText(mine[1]).contains(QStringLiteral("<p transid=\"trans2\">The keys")));
    // The other language gets no numbers.
    EXPECT_TRUE(readText(mine[1]).contains(QStringLiteral("<onelang lang=\"de\"><index><primary>")));
}

TEST(Export, QuestionsLockAndPackage)
{
    Exported e;
    loadSample(e);
    const QStringList files = e.project->chapterFileList();
    QList<QByteArray> before;
    for (const QString& f : files)
        before << readBytes(f);
    const QByteArray projectBefore = readBytes(e.qly);

    // No to the question about unfinished topics: nothing changes.
    exchange::ProjectExport job(*e.project, e.box);
    bool asked = false;
    job.askComment = [&asked] {
        asked = true;
        return QStringLiteral("for the translators");
    };
    QString packagedFiles;
    job.writePackage = [&](const QString& list, const QString& base) {
        packagedFiles = list;
        Progress p;
        return backup::writeBackup(list, e.zip, base, p, e.box, exchange::kExportCaption);
    };
    Progress progress;
    EXPECT_FALSE(job.run(e.tree, progress));
    EXPECT_EQ(e.box.last(), QStringLiteral("English language includes 5 uncompleted topics! Export project anyway?"));
    EXPECT_EQ(e.box.all().back().buttons, MsgButtons::YesNo);
    EXPECT_FALSE(asked);
    EXPECT_EQ(readBytes(e.qly), projectBefore);
    for (int i = 0; i < files.size(); ++i)
        EXPECT_EQ(readBytes(files[i]), before[i]);

    // A missing image: the second question, with the list.
    const QString img = e.project->GetProjectFolder() + QStringLiteral("img/en/toolbar.png");
    QFile::rename(img, img + QStringLiteral(".away"));
    e.box.clear();
    e.box.answer(MsgAnswer::Yes);
    EXPECT_FALSE(job.run(e.tree, progress));
    ASSERT_EQ(e.box.all().size(), 2u);
    EXPECT_TRUE(e.box.last().startsWith(QStringLiteral("Images\r\n\r\n"))) << e.box.last().toStdString();
    EXPECT_TRUE(e.box.last().endsWith(QStringLiteral("\r\nare missing in English language! Export project anyway?")));
    EXPECT_TRUE(e.box.last().contains(QStringLiteral("toolbar.png")));
    EXPECT_EQ(readBytes(e.qly), projectBefore);
    QFile::rename(img + QStringLiteral(".away"), img);

    // Yes: locked, numbered, packed.
    e.box.clear();
    e.box.setDefault(MsgAnswer::Yes);
    ASSERT_TRUE(job.run(e.tree, progress));
    EXPECT_TRUE(asked);
    EXPECT_TRUE(job.locked());
    EXPECT_TRUE(job.packageWritten());
    EXPECT_EQ(e.box.last(), QStringLiteral("Export was successfull!"));
    cProject reread(e.box);
    ASSERT_TRUE(reread.Load(e.qly));
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^[a-z0-9]{16}$")).match(reread.GetLockID()).hasMatch())
        << reread.GetLockID().toStdString();
    EXPECT_EQ(reread.GetLockDescription(), QStringLiteral("for the translators"));
    EXPECT_FALSE(reread.GetLockStamp().isEmpty());
    EXPECT_NE(exchange::newLockID(), exchange::newLockID());

    // The package: chapters, book, images, project file, in that order, with
    // the project file at the top and the folder beside it.
    const QString folder = e.project->GetProjectFolder();
    EXPECT_EQ(packagedFiles, files.join(QLatin1Char(';')) + QLatin1Char(';') + e.project->getBookFile() +
                                 QLatin1Char(';') + folder + QStringLiteral("img/;") + e.qly);
    const QStringList entries = ziparchive::entryNames(e.zip);
    EXPECT_EQ(entries.first(), QStringLiteral("sample/chapter1.xml"));
    EXPECT_EQ(entries.last(), QStringLiteral("sample.qly"));
    EXPECT_TRUE(entries.contains(QStringLiteral("sample/img/de/window.png")));
    // The package's project file carries the lock.
    TempDir out;
    ASSERT_TRUE(ziparchive::extractAll(e.zip, out.path()));
    cProject copy(e.box);
    ASSERT_TRUE(copy.Load(out.file(QStringLiteral("sample.qly"))));
    EXPECT_EQ(copy.GetLockID(), reread.GetLockID());
    EXPECT_EQ(readBytes(out.file(QStringLiteral("sample/chapter2.xml"))), readBytes(files[1]));

    // Locked now: a second export is refused at once.
    e.box.clear();
    cProject locked(e.box);
    ASSERT_TRUE(locked.Load(e.qly));
    exchange::ProjectExport again(locked, e.box);
    EXPECT_FALSE(again.run(e.tree, progress));
    EXPECT_EQ(e.box.texts(), QStringList({"Project has been already exported and it is locked!"}));
}

TEST(Export, ACancelledPackageStillLocksAndSucceeds)
{
    Exported e;
    loadSample(e);
    e.box.setDefault(MsgAnswer::Yes);
    exchange::ProjectExport job(*e.project, e.box);
    job.writePackage = [](const QString&, const QString&) { return false; };
    Progress progress;
    EXPECT_TRUE(job.run(e.tree, progress));
    EXPECT_FALSE(job.packageWritten());
    EXPECT_EQ(e.box.last(), QStringLiteral("Export was successfull!"));
    cProject reread(e.box);
    ASSERT_TRUE(reread.Load(e.qly));
    EXPECT_FALSE(reread.GetLockID().isEmpty());
    // No comment: an empty description.
    EXPECT_EQ(reread.GetLockDescription(), QString());
}

// Cancel while the units are numbered: every file as it was, the lock taken
// back, and a plain note instead of the failure message.
TEST(Export, ACancelWhileNumberingLeavesTheProjectAsItWas)
{
    Exported e;
    loadSample(e);
    const QString folder = QFileInfo(e.qly).absolutePath();
    const auto before = filesOf(folder);
    e.box.setDefault(MsgAnswer::Yes);
    exchange::ProjectExport job(*e.project, e.box);
    job.askComment = [] { return QStringLiteral("stopped"); };
    bool packaged = false;
    job.writePackage = [&packaged](const QString&, const QString&) { return packaged = true; };
    // Two topics in: the first chapter is numbered in its new file already.
    CancelAtStep progress(2);
    EXPECT_FALSE(job.run(e.tree, progress));
    EXPECT_TRUE(job.cancelled());
    EXPECT_FALSE(job.locked());
    EXPECT_FALSE(packaged);
    EXPECT_EQ(e.box.last(), Progress::kCancelled);
    EXPECT_EQ(e.box.all().back().icon, MsgIcon::Information);
    EXPECT_TRUE(e.project->GetLockID().isEmpty());
    EXPECT_TRUE(filesOf(folder) == before);

    // The next export runs as if nothing had happened.
    e.box.clear();
    Progress whole;
    ASSERT_TRUE(job.run(e.tree, whole)) << e.box.last().toStdString();
    EXPECT_TRUE(job.locked());
    EXPECT_TRUE(readText(e.project->chapterFileList().first()).contains(QStringLiteral("transid=\"trans1\"")));
}
