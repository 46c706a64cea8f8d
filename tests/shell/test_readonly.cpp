// A project that cannot be written: every writing command of the session is
// refused with one message naming the file and the system's reason; nothing
// escapes, no file changes and the session stays as it was.
#include "sessionfixture.h"

#include "addlanguage.h"
#include "backup.h"
#include "exportproject.h"
#include "importlanguage.h"
#include "progress.h"
#include "cproject.h"
#include "projectlock.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <functional>
#include <map>

using namespace testing_support;

namespace {

struct SessionState {
    QStringList tree;
    QString shownKey, shownText, body, panel1;
    bool changed = false, browse = false, open = false;
    bool operator==(const SessionState&) const = default;
};

std::ostream& operator<<(std::ostream& os, const SessionState& s)
{
    return os << "shown " << s.shownKey.toStdString() << " \"" << s.shownText.toStdString() << "\" changed "
              << s.changed << " browse " << s.browse << " open " << s.open << " body " << s.body.toStdString()
              << "\n" << s.tree.join(QLatin1Char('\n')).toStdString();
}

class ReadOnlyProject : public SessionFixture {
protected:
    QString folder;

    void SetUp() override
    {
        SessionFixture::SetUp();
        session.dialogs.bookProperties = [](cBook& book) {
            book.Title = QStringLiteral("Renamed Manual");
            return true;
        };
        newProject();
        folder = session.project().GetProjectFolder();
        addChapter(QStringLiteral("One"));
        addChapter(QStringLiteral("Two"));
        addSubchapter(QStringLiteral("One"), QStringLiteral("Sub"));
        addTopic(QStringLiteral("One"), QStringLiteral("Alpha"));
        addTopic(QStringLiteral("One"), QStringLiteral("Beta"));
        addTopic(QStringLiteral("Two"), QStringLiteral("Gamma"));
        click(QStringLiteral("One\\Alpha"));
        typeAndSave(QStringLiteral("<h1>Alpha</h1><p>Saved text.</p>"));
        ASSERT_FALSE(session.topicChanged());
        box.clear();
    }

    SessionState state()
    {
        SessionState s;
        s.tree = dumpTree(session.tree());
        if (NodePtr n = session.shownTopic()) {
            s.shownKey = n->Key;
            s.shownText = n->Text;
        }
        s.body = surface.bodyHTML();
        s.changed = session.topicChanged();
        s.browse = surface.browseMode();
        s.open = session.isOpen();
        s.panel1 = session.panel(1);
        return s;
    }

    // Messages that are not questions.
    QStringList refusals() const
    {
        QStringList out;
        for (const auto& m : box.all())
            if (m.buttons == MsgButtons::OK)
                out << m.text;
        return out;
    }

    // Runs a command with writes failing; checks what the command left.
    void refused(const char* name, const std::function<void()>& command, const QString& reason)
    {
        SCOPED_TRACE(name);
        const auto files = filesBelow(dir.path());
        const SessionState before = state();
        box.clear();
        box.setDefault(MsgAnswer::Yes);
        bool escaped = false;
        {
            NoFileWrites block;
            try {
                command();
            } catch (...) {
                escaped = true;
            }
        }
        box.setDefault(MsgAnswer::No);
        EXPECT_FALSE(escaped) << "an exception left the command";
        EXPECT_EQ(filesBelow(dir.path()), files) << "a file changed";
        EXPECT_EQ(state(), before);
        const QStringList shown = refusals();
        ASSERT_EQ(shown.size(), 1) << shown.join(QStringLiteral("\n---\n")).toStdString();
        EXPECT_TRUE(shown[0].contains(QDir::toNativeSeparators(dir.path())))
            << "no file named: " << shown[0].toStdString();
        EXPECT_TRUE(shown[0].contains(reason)) << "no reason: " << shown[0].toStdString();
    }

    QString tooLarge() const { return QString::fromLocal8Bit(std::strerror(EFBIG)); }

    void permissionsTakenAway();
    void opensReadOnly();
};

} // namespace

TEST_F(ReadOnlyProject, EveryWritingCommandIsRefusedAndChangesNothing)
{
    const QString why = tooLarge();
    auto onTopic = [&](const char* path) { click(QString::fromLatin1(path)); };

    // The author's edit comes first; the save is the command.
    surface.userEdit(QStringLiteral("<h1>Alpha</h1><p>New text.</p>"));
    refused("save", [&] { session.mnuSave(); }, why);
    // The unsaved text stays and counts as changed; leave it for the others.
    ASSERT_TRUE(session.topicChanged());
    session.clearDirty();
    box.answer(MsgAnswer::No);
    click("One\\Beta");
    click("One\\Alpha");
    ASSERT_FALSE(session.topicChanged());

    onTopic("One\\Alpha");
    refused("insert topic before", [&] { titles.push_back(QStringLiteral("New")); session.changeTopic(TopicAction::InsertBefore); }, why);
    refused("insert topic after", [&] { titles.push_back(QStringLiteral("New")); session.changeTopic(TopicAction::InsertAfter); }, why);
    refused("delete topic", [&] { session.mnuDeleteTopic(); }, why);
    // The finished mark is the author's change; saving it is the command.
    session.mnuComplete();
    refused("save the finished mark", [&] { session.mnuSave(); }, why);
    EXPECT_TRUE(session.topicChanged());
    session.mnuComplete();
    session.clearDirty();

    click("One");
    refused("insert topic into chapter", [&] { titles.push_back(QStringLiteral("New")); session.changeTopic(TopicAction::Insert); }, why);
    refused("insert subchapter", [&] { titles.push_back(QStringLiteral("New")); session.changeChapter(ChapterAction::Insert); }, why);
    refused("insert chapter before", [&] { titles.push_back(QStringLiteral("New")); session.changeChapter(ChapterAction::InsertBefore); }, why);
    refused("insert chapter after", [&] { titles.push_back(QStringLiteral("New")); session.changeChapter(ChapterAction::InsertAfter); }, why);
    refused("chapter properties", [&] { titles.push_back(QStringLiteral("Renamed")); session.mnuChapterProperties(); },
            why);
    click("Two");
    click("One\\Sub");
    refused("subchapter properties", [&] { titles.push_back(QStringLiteral("Renamed")); session.mnuChapterProperties(); },
            why);
    refused("insert topic into subchapter", [&] { titles.push_back(QStringLiteral("New")); session.changeTopic(TopicAction::Insert); },
            why);
    refused("delete subchapter", [&] { session.mnuDeleteChapter(); }, why);

    click("");
    refused("insert chapter into book", [&] { titles.push_back(QStringLiteral("New")); session.changeChapter(ChapterAction::Insert); }, why);
    refused("book properties", [&] { session.mnuChapterProperties(); session.editBookProperties(); }, why);

    // An empty chapter to delete: made before writes fail.
    addChapter(QStringLiteral("Three"));
    click("Three");
    refused("delete chapter", [&] { session.mnuDeleteChapter(); }, why);

    onTopic("One\\Alpha");
    refused("move topic onto topic", [&] { session.dropNode(node("One\\Alpha"), node("Two\\Gamma")); }, why);
    refused("move topic into chapter", [&] { session.dropNode(node("One\\Beta"), node("Two")); }, why);
    refused("move topic within chapter", [&] { session.dropNode(node("One\\Beta"), node("One\\Alpha")); }, why);
    refused("move chapter", [&] { session.dropNode(node("Two"), node("One")); }, why);
    refused("move subchapter", [&] { session.dropNode(node("One\\Sub"), node("Two")); }, why);

    refused("add language", [&] {
        exchange::addLanguage(session.project(), QStringLiteral("French"), QStringLiteral("fr"), box);
    }, why);
    EXPECT_EQ(session.project().languageList(), (QStringList{"en", "de"}));

    Progress progress;
    const QString zip = dir.file(QStringLiteral("backup.zip"));
    refused("backup", [&] {
        backup::writeBackup(backup::projectFileList(session.project()), zip, dir.path(), progress, box);
    }, why);
    refused("export", [&] {
        exchange::ProjectExport ex(session.project(), box);
        ex.askComment = [] { return QStringLiteral("out"); };
        ex.writePackage = [&](const QString& files, const QString& base) {
            return backup::writeBackup(files, zip, base, progress, box, QStringLiteral("Export"));
        };
        ex.run(session.tree(), progress);
    }, why);
    EXPECT_TRUE(session.project().GetLockID().isEmpty());
}

// The same with the folder's permissions taken away, as a user would.
TEST_F(ReadOnlyProject, PermissionsTakenAwayRefuseEveryWrite)
{
    // As root, in a child process that has given up root's rights.
    ASSERT_TRUE(runUnprivileged([&] { permissionsTakenAway(); }, {dir.path()}));
}

void ReadOnlyProject::permissionsTakenAway()
{
    const QString why = QString::fromLocal8Bit(std::strerror(EACCES));
    const auto chmodAll = [&](bool writable) {
        QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
        QStringList all{folder};
        while (it.hasNext())
            all << it.next();
        for (const QString& p : all) {
            struct stat st {};
            if (::stat(QFile::encodeName(p).constData(), &st) == 0)
                ::chmod(QFile::encodeName(p).constData(),
                        writable ? (st.st_mode | S_IWUSR) : (st.st_mode & ~(S_IWUSR | S_IWGRP | S_IWOTH)));
        }
    };
    chmodAll(false);
    const auto files = filesBelow(folder);
    const SessionState before = state();
    bool escaped = false;
    try {
        surface.userEdit(QStringLiteral("<h1>Alpha</h1><p>New text.</p>"));
        session.mnuSave();
        titles.push_back(QStringLiteral("New"));
        session.changeTopic(TopicAction::InsertBefore);
        click("One");
        titles.push_back(QStringLiteral("New"));
        session.changeTopic(TopicAction::Insert);
    } catch (...) {
        escaped = true;
    }
    chmodAll(true);
    EXPECT_FALSE(escaped);
    EXPECT_EQ(filesBelow(folder), files);
    EXPECT_EQ(dumpTree(session.tree()), before.tree);
    EXPECT_TRUE(session.topicChanged());
    EXPECT_FALSE(refusals().isEmpty());
}

// A project whose files cannot be written opens read-only, with the reason,
// instead of failing at the first write.
TEST_F(ReadOnlyProject, AProjectThatCannotBeWrittenOpensReadOnly)
{
    ASSERT_TRUE(runUnprivileged([&] { opensReadOnly(); }, {dir.path()}));
}

void ReadOnlyProject::opensReadOnly()
{
    const QString chapter = session.project().getChapterFile(QStringLiteral("One"));
    const QString path = session.project().GetProjectFile();
    session.resetWorkspace();
    ::chmod(QFile::encodeName(folder).constData(), 0555);
    box.clear();
    session.openProject(path);
    ASSERT_TRUE(session.isOpen());
    EXPECT_TRUE(session.isReadOnly());
    EXPECT_FALSE(session.isLocked());
    ASSERT_EQ(box.texts().size(), 1) << box.texts().join(QStringLiteral(" | ")).toStdString();
    EXPECT_TRUE(box.last().contains(QDir::toNativeSeparators(QDir::cleanPath(folder))) ||
                box.last().contains(QDir::toNativeSeparators(folder)))
        << box.last().toStdString();
    EXPECT_TRUE(box.last().contains(QString::fromLocal8Bit(std::strerror(EACCES)))) << box.last().toStdString();
    EXPECT_FALSE(session.dropEnabled());
    for (const char* m : {"mnuNewLanguage", "mnuExport", "mnuImport", "mnuUnlock"})
        EXPECT_FALSE(session.enabled(*commandByName(QString::fromLatin1(m)))) << m;

    // A topic shows read-only; nothing that writes runs.
    click(QStringLiteral("One\\Alpha"));
    EXPECT_TRUE(surface.browseMode());
    EXPECT_FALSE(session.enabled(CommandId::Save));
    const QString before = readText(chapter);
    box.clear();
    titles.push_back(QStringLiteral("New"));
    EXPECT_FALSE(session.changeTopic(TopicAction::InsertBefore));
    click(QStringLiteral("One"));
    titles.push_back(QStringLiteral("New"));
    EXPECT_FALSE(session.changeTopic(TopicAction::Insert));
    EXPECT_FALSE(session.changeChapter(ChapterAction::Insert));
    EXPECT_EQ(readText(chapter), before);
    ::chmod(QFile::encodeName(folder).constData(), 0755);
}

// A save that did not reach the disk keeps the topic changed: the question
// comes again on leaving the topic and on closing, and Yes that fails again
// keeps the topic and the program.
TEST_F(ReadOnlyProject, AFailedSaveKeepsTheTopicChanged)
{
    surface.userEdit(QStringLiteral("<h1>Alpha</h1><p>Typed text.</p>"));
    {
        NoFileWrites block;
        session.mnuSave();
    }
    EXPECT_TRUE(session.topicChanged());

    // Leaving asks; Yes fails again: the topic stays shown and changed.
    box.clear();
    box.answer(MsgAnswer::Yes);
    {
        NoFileWrites block;
        click("One\\Beta");
    }
    ASSERT_FALSE(box.empty());
    EXPECT_TRUE(box.all().front().text.contains(QStringLiteral("has been changed. Save?")));
    ASSERT_TRUE(session.shownTopic());
    EXPECT_EQ(session.shownTopic()->Text, QStringLiteral("Alpha"));
    EXPECT_TRUE(session.topicChanged());
    EXPECT_TRUE(surface.bodyHTML().contains(QStringLiteral("Typed text.")));

    // Closing asks too; a failing Yes keeps the program open.
    box.clear();
    box.answer(MsgAnswer::Yes);
    bool closed = true;
    {
        NoFileWrites block;
        closed = session.queryUnload();
    }
    EXPECT_FALSE(closed);
    EXPECT_TRUE(session.isOpen());
    EXPECT_TRUE(session.topicChanged());

    // With the disk back, Yes on leaving saves it.
    box.clear();
    box.answer(MsgAnswer::Yes);
    click("One\\Beta");
    EXPECT_EQ(session.shownTopic()->Text, QStringLiteral("Beta"));
    EXPECT_TRUE(chapterText(QStringLiteral("One")).contains(QStringLiteral("Typed text.")));
}

// Free space and the writers' lock are failures to write too.
TEST_F(ReadOnlyProject, ASaveStoppedByTheLockKeepsTheTopicChanged)
{
    surface.userEdit(QStringLiteral("<h1>Alpha</h1><p>Typed text.</p>"));
    const int wait = ProjectLock::waitLimit();
    ProjectLock::setWaitLimit(0);
    // Another process holds the lock: a child that sleeps with it.
    const pid_t child = fork();
    if (child == 0) {
        ProjectLock held(folder);
        ::sleep(3);
        _exit(0);
    }
    ::usleep(300 * 1000);
    // Leaving asks; Yes meets the lock: the topic stays shown and changed.
    box.answer(MsgAnswer::Yes);
    click("One\\Beta");
    ProjectLock::setWaitLimit(wait);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(session.shownTopic());
    EXPECT_EQ(session.shownTopic()->Text, QStringLiteral("Alpha"));
    EXPECT_TRUE(session.topicChanged());
    box.clear();
    click("One\\Beta"); // answered No by default
    ASSERT_FALSE(box.empty());
    EXPECT_TRUE(box.all().front().text.contains(QStringLiteral("has been changed. Save?")));
}

// Deleting the open topic shows the one the selection rule picks; the
// deleted topic never stays on the surface.
TEST_F(ReadOnlyProject, DeletingTheOpenTopicNeverLeavesItEditable)
{
    // Beta's previous sibling is Alpha: Alpha is shown.
    click("One\\Beta");
    box.answer(MsgAnswer::Yes);
    session.mnuDeleteTopic();
    ASSERT_TRUE(session.shownTopic());
    EXPECT_EQ(session.shownTopic()->Text, QStringLiteral("Alpha"));
    EXPECT_TRUE(surface.bodyHTML().contains(QStringLiteral("Saved text.")));

    // Alpha's previous sibling is the subchapter: the empty page, read-only.
    box.answer(MsgAnswer::Yes);
    session.mnuDeleteTopic();
    EXPECT_FALSE(session.shownTopic());
    EXPECT_FALSE(surface.bodyHTML().contains(QStringLiteral("Alpha")));
    EXPECT_TRUE(surface.browseMode());
    EXPECT_FALSE(session.enabled(CommandId::Save));
    expectTreeInStep();

    // A delete that cannot be written leaves the topic shown and in the tree.
    click("Two\\Gamma");
    box.answer(MsgAnswer::Yes);
    {
        NoFileWrites block;
        session.mnuDeleteTopic();
    }
    ASSERT_TRUE(session.shownTopic());
    EXPECT_EQ(session.shownTopic()->Text, QStringLiteral("Gamma"));
    EXPECT_FALSE(surface.browseMode());
    expectTreeInStep();
}

// Opening a file that is not a project leaves the open project open, and
// the message names the file.
TEST_F(ReadOnlyProject, OpeningAFileThatIsNoProjectKeepsTheOpenOne)
{
    const QString bad = dir.file("notes.qly");
    {
        QFile f(bad);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("this is not a project\n");
    }
    const SessionState before = state();
    const QString caption = session.caption();
    session.openProject(bad);
    EXPECT_EQ(state(), before);
    EXPECT_EQ(session.caption(), caption);
    EXPECT_TRUE(session.isOpen());
    ASSERT_FALSE(box.empty());
    EXPECT_TRUE(box.last().contains(QDir::toNativeSeparators(bad))) << box.last().toStdString();

    // Another XML file, not a project: the same.
    {
        QFile f(bad);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write("<book><version>1.0</version></book>");
    }
    box.clear();
    session.openProject(bad);
    EXPECT_EQ(state(), before);
    ASSERT_FALSE(box.empty());
    EXPECT_TRUE(box.last().contains(QDir::toNativeSeparators(bad))) << box.last().toStdString();
}

// The import into an exported project: refused like every other write.
TEST_F(ReadOnlyProject, ImportIsRefusedAndChangesNothing)
{
    Progress progress;
    const QString zip = dir.file(QStringLiteral("out.zip"));
    {
        exchange::ProjectExport ex(session.project(), box);
        box.setDefault(MsgAnswer::Yes);
        ex.askComment = [] { return QStringLiteral("out"); };
        ex.writePackage = [&](const QString& files, const QString& base) {
            return backup::writeBackup(files, zip, base, progress, box, QStringLiteral("Export"));
        };
        ASSERT_TRUE(ex.run(session.tree(), progress)) << box.texts().join(QStringLiteral(" | ")).toStdString();
        box.setDefault(MsgAnswer::No);
    }
    const QString path = session.project().GetProjectFile();
    session.resetWorkspace();
    session.openProject(path);
    ASSERT_TRUE(session.isLocked());
    const QString copyFolder = dir.file(QStringLiteral("copy"));
    QString copy;
    {
        exchange::LanguageImport unpack(session.project(), box);
        ASSERT_TRUE(unpack.extract(zip, copyFolder, progress));
        copy = exchange::LanguageImport::projectInPackage(zip, copyFolder);
    }
    ASSERT_FALSE(copy.isEmpty());
    box.clear();
    refused("import", [&] {
        exchange::LanguageImport job(session.project(), box);
        if (!job.selectProject(copy))
            return;
        QString entry;
        for (const QString& e : job.languageEntries())
            if (exchange::LanguageImport::abbreviationOf(e) == QLatin1String("de"))
                entry = e;
        job.import(entry, progress);
    }, tooLarge());
}
