#include "backup.h"
#include "cproject.h"
#include "fileio.h"
#include "msgbox.h"
#include "cancelprogress.h"
#include "progress.h"
#include "testsupport.h"
#include "ziparchive.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <vector>

using namespace testing_support;

namespace {

const QString kSuccess = QStringLiteral("Backup was successfully created!");
const QString kFailure = QStringLiteral("Error! Backup was not created!");

// Records every value the bar shows.
class RecordingProgress : public Progress {
public:
    std::vector<int> values;

protected:
    void changed() override { values.push_back(value()); }
};

struct BackupFixture : ::testing::Test {
    TempDir dir;
    ScriptedMsgBox box;
    cProject project{box};
    QString qly, folder;
    const QString chapterText = QStringLiteral("<chapter><title lang=\"en\">Intro – Einführung</title></chapter>\r\n");

    void SetUp() override
    {
        qly = makeProject(dir.path(), QStringLiteral("manual"), {"en", "de"});
        ASSERT_TRUE(project.Load(qly));
        folder = project.GetProjectFolder();
        project.InsertChapter(QStringLiteral("Intro"), QStringLiteral("chapter1"), QStringLiteral("chapter1.xml"));
        project.InsertChapter(QStringLiteral("Usage"), QStringLiteral("chapter2"), QStringLiteral("chapter2.xml"));
        writeUtf16(folder + QStringLiteral("chapter1.xml"), chapterText);
        writeUtf16(folder + QStringLiteral("chapter2.xml"), chapterText);
        writeBytes(folder + QStringLiteral("img/en/pic.png"), QByteArray("\x89PNG\r\n\x1a\n", 8));
        box.clear();
    }
    QString zip() const { return dir.file(QStringLiteral("backup.zip")); }
};

} // namespace

// ---------------------------------------------------------------- the list

TEST_F(BackupFixture, ProjectFileListWithoutContextHelp)
{
    EXPECT_EQ(folder, dir.path() + QStringLiteral("/manual/"));
    EXPECT_EQ(backup::projectFileList(project),
              folder + QStringLiteral("chapter1.xml;") + folder + QStringLiteral("chapter2.xml;") + folder +
                  QStringLiteral("book.xml;") + folder + QStringLiteral("img/;") + qly);
}

TEST_F(BackupFixture, ProjectFileListWithContextHelp)
{
    writeUtf16(folder + QStringLiteral("helpcontextid.xml"), QStringLiteral("<helpcontextid/>"));
    EXPECT_EQ(backup::projectFileList(project),
              folder + QStringLiteral("chapter1.xml;") + folder + QStringLiteral("chapter2.xml;") + folder +
                  QStringLiteral("helpcontextid.xml;") + folder + QStringLiteral("book.xml;") + folder +
                  QStringLiteral("img/;") + qly);
}

TEST(BackupList, ProjectWithoutChapters)
{
    TempDir dir;
    ScriptedMsgBox box;
    cProject project(box);
    const QString qly = makeProject(dir.path(), QStringLiteral("guide"));
    ASSERT_TRUE(project.Load(qly));
    const QString folder = dir.path() + QStringLiteral("/guide/");
    EXPECT_EQ(backup::projectFileList(project),
              folder + QStringLiteral("book.xml;") + folder + QStringLiteral("img/;") + qly);
    cProject none(box);
    EXPECT_EQ(backup::projectFileList(none), QString());
}

// ---------------------------------------------------------------- counting

TEST_F(BackupFixture, CountsFilesFoldersAndNothingForMissing)
{
    // img holds img/en/pic.png and the empty img/de.
    EXPECT_EQ(backup::countFiles(folder + QStringLiteral("img/")), 1);
    EXPECT_EQ(backup::countFiles(folder + QStringLiteral("book.xml")), 1);
    EXPECT_EQ(backup::countFiles(folder + QStringLiteral("missing.xml")), 0);
    EXPECT_EQ(backup::countFiles(QString()), 0);
    // Folder with or without closing slash: every file below, recursively.
    EXPECT_EQ(backup::countFiles(folder), 4);
    EXPECT_EQ(backup::countFiles(dir.path()), 5);
    EXPECT_EQ(backup::countFiles(backup::projectFileList(project)), 5);
    EXPECT_EQ(backup::countFiles(folder + QStringLiteral("book.xml;;") + folder + QStringLiteral("nothing;") + qly +
                                 QStringLiteral(";")),
              2);
}

// ---------------------------------------------------------------- writing

TEST_F(BackupFixture, BackupOfAProject)
{
    RecordingProgress progress;
    const QString list = backup::projectFileList(project);
    ASSERT_TRUE(backup::writeBackup(list, zip(), dir.path(), progress, box));

    ASSERT_EQ(box.all().size(), 1u);
    EXPECT_EQ(box.last(), kSuccess);
    EXPECT_EQ(box.lastIcon(), MsgIcon::Information);

    EXPECT_EQ(progress.maximum(), 5);
    EXPECT_EQ(progress.value(), 5);
    EXPECT_EQ(progress.values, (std::vector<int>{0, 1, 2, 3, 4, 5}));

    const QStringList names = ziparchive::entryNames(zip());
    EXPECT_EQ(names, (QStringList{"manual/chapter1.xml", "manual/chapter2.xml", "manual/book.xml", "manual/img/",
                                  "manual/img/de/", "manual/img/en/", "manual/img/en/pic.png", "manual.qly"}));
    EXPECT_EQ(ziparchive::countFiles(zip()), 5);
}

TEST_F(BackupFixture, ExtractedBackupOpensAsAProject)
{
    // While a project is open its file is marked; the copy must not be.
    ASSERT_TRUE(fileio::setMarked(qly, true));
    RecordingProgress progress;
    ASSERT_TRUE(backup::writeBackup(backup::projectFileList(project), zip(), dir.path(), progress, box));

    const QString out = dir.file(QStringLiteral("restored"));
    QString error;
    ASSERT_TRUE(ziparchive::extractAll(zip(), out, {}, &error)) << error.toStdString();
    const QString copy = out + QStringLiteral("/manual.qly");
    EXPECT_FALSE(fileio::isMarked(copy));
    EXPECT_EQ(readBytes(copy), readBytes(qly));

    ScriptedMsgBox quiet;
    cProject restored(quiet);
    ASSERT_TRUE(restored.Load(copy)) << quiet.last().toStdString();
    EXPECT_EQ(restored.GetProjectFolder(), out + QStringLiteral("/manual/"));
    EXPECT_EQ(restored.chapterFileList(), (QStringList{out + QStringLiteral("/manual/chapter1.xml"),
                                                       out + QStringLiteral("/manual/chapter2.xml")}));
    for (const QString& chapter : restored.chapterFileList())
        EXPECT_EQ(readBytes(chapter), fileio::utf16WithBom(chapterText));
    EXPECT_EQ(readBytes(restored.getBookFile()), readBytes(project.getBookFile()));
    EXPECT_TRUE(QFileInfo(out + QStringLiteral("/manual/img/de")).isDir());
    EXPECT_EQ(readBytes(out + QStringLiteral("/manual/img/en/pic.png")), QByteArray("\x89PNG\r\n\x1a\n", 8));
    EXPECT_TRUE(quiet.empty());
}

TEST_F(BackupFixture, ExportCaptionShowsNoMessage)
{
    RecordingProgress progress;
    ASSERT_TRUE(backup::writeBackup(backup::projectFileList(project), zip(), dir.path(), progress, box,
                                    QStringLiteral("Export")));
    EXPECT_TRUE(box.empty());
    EXPECT_EQ(ziparchive::countFiles(zip()), 5);
}

TEST_F(BackupFixture, ExistingArchiveIsReplaced)
{
    ziparchive::Writer old;
    ASSERT_TRUE(old.create(zip()));
    ASSERT_TRUE(old.addFile(qly, QStringLiteral("old/stale.qly")));
    ASSERT_TRUE(old.close());

    RecordingProgress progress;
    ASSERT_TRUE(backup::writeBackup(folder + QStringLiteral("book.xml"), zip(), dir.path(), progress, box));
    EXPECT_EQ(ziparchive::entryNames(zip()), QStringList{QStringLiteral("manual/book.xml")});
}

TEST_F(BackupFixture, MissingEntryFailsAndLeavesNoArchive)
{
    writeBytes(zip(), QByteArray("an old archive"));
    RecordingProgress progress;
    const QString list = folder + QStringLiteral("book.xml;") + folder + QStringLiteral("gone.xml;") + qly;
    EXPECT_FALSE(backup::writeBackup(list, zip(), dir.path(), progress, box));
    ASSERT_EQ(box.all().size(), 1u);
    EXPECT_EQ(box.last().section(QStringLiteral("\r\n"), 0, 0), kFailure);
    EXPECT_EQ(box.lastIcon(), MsgIcon::Critical);
    EXPECT_FALSE(QFileInfo::exists(zip()));
    // The missing entry was left out of the count.
    EXPECT_EQ(progress.maximum(), 2);
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("manual.qly")});

    // The same with the caption of export: the failure still shows.
    box.clear();
    EXPECT_FALSE(backup::writeBackup(list, zip(), dir.path(), progress, box, QStringLiteral("Export")));
    ASSERT_EQ(box.texts().size(), 1);
    EXPECT_EQ(box.last().section(QStringLiteral("\r\n"), 0, 0), kFailure);
    EXPECT_FALSE(QFileInfo::exists(zip()));
}

TEST_F(BackupFixture, EmptyListWritesNothing)
{
    writeBytes(zip(), QByteArray("an old archive"));
    RecordingProgress progress;
    EXPECT_TRUE(backup::writeBackup(QString(), zip(), dir.path(), progress, box));
    EXPECT_EQ(box.texts(), QStringList{kSuccess});
    EXPECT_EQ(box.lastIcon(), MsgIcon::Information);
    EXPECT_FALSE(QFileInfo::exists(zip()));
    EXPECT_TRUE(progress.values.empty());
}

TEST_F(BackupFixture, NamesOutsideTheBaseFolderKeepOnlyTheirName)
{
    const QString other = dir.file(QStringLiteral("other"));
    ASSERT_TRUE(QDir().mkpath(other + QStringLiteral("/pictures/sub")));
    writeBytes(other + QStringLiteral("/notes.txt"), QByteArray("notes"));
    writeBytes(other + QStringLiteral("/pictures/sub/a.png"), QByteArray("a"));
    RecordingProgress progress;
    const QString list = other + QStringLiteral("/notes.txt;") + other + QStringLiteral("/pictures/;") + folder +
                         QStringLiteral("book.xml");
    ASSERT_TRUE(backup::writeBackup(list, zip(), folder, progress, box));
    EXPECT_EQ(ziparchive::entryNames(zip()), (QStringList{"notes.txt", "pictures/", "pictures/sub/",
                                                          "pictures/sub/a.png", "book.xml"}));
    EXPECT_EQ(progress.value(), 3);
    EXPECT_EQ(progress.maximum(), 3);
}

TEST_F(BackupFixture, SameFolderTwiceIsRefused)
{
    // Listed twice, its files would take one name twice; the archive
    // refuses that rather than keep one of them silently.
    RecordingProgress progress;
    const QString list = folder + QStringLiteral("img/;") + folder + QStringLiteral("img");
    EXPECT_FALSE(backup::writeBackup(list, zip(), dir.path(), progress, box));
    ASSERT_EQ(box.texts().size(), 1);
    EXPECT_EQ(box.last().section(QStringLiteral("\r\n"), 0, 0), kFailure);
    EXPECT_FALSE(QFileInfo::exists(zip()));
    EXPECT_EQ(progress.maximum(), 2);
    for (int v : progress.values)
        EXPECT_LE(v, progress.maximum());
}

// Cancel while the archive is written: no archive, no temporary file, and a
// plain note instead of the failure message.
TEST_F(BackupFixture, CancelledBackupLeavesNoArchive)
{
    CancelAtStep progress;
    // Enough files that the writing goes on after the first.
    for (int i = 0; i < 20; ++i)
        writeBytes(folder + QStringLiteral("extra%1.xml").arg(i), QByteArray(20000, 'x'));
    QString list = backup::projectFileList(project);
    for (int i = 0; i < 20; ++i)
        list += QLatin1Char(';') + folder + QStringLiteral("extra%1.xml").arg(i);
    EXPECT_FALSE(backup::writeBackup(list, zip(), dir.path(), progress, box));
    EXPECT_EQ(box.all().size(), 1u);
    EXPECT_EQ(box.last(), Progress::kCancelled);
    EXPECT_FALSE(QFileInfo::exists(zip()));
    const QStringList left = QDir(QFileInfo(zip()).absolutePath()).entryList(QDir::Files | QDir::Hidden);
    for (const QString& f : left)
        EXPECT_FALSE(f.contains(QFileInfo(zip()).completeBaseName())) << f.toStdString();
}
