#include "desktopsettings.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {

QString touch(const QString& path)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    f.open(QIODevice::WriteOnly);
    return DesktopSettings::canonical(path);
}

QStringList paths(const QList<DesktopSettings::Recent>& list)
{
    QStringList out;
    for (const auto& r : list)
        out << r.path;
    return out;
}

} // namespace

TEST(DesktopSettings, RecentProjectsKeepOrderLimitAndOneEntryPerFile)
{
    TempDir dir;
    DesktopSettings s(dir.file("a.conf"));
    QStringList made;
    for (int i = 0; i < 10; ++i) {
        made << touch(dir.file(QStringLiteral("p%1/book.qly").arg(i)));
        s.addRecent(made.last());
    }
    // The last eight, the latest first.
    QStringList expected;
    for (int i = 9; i >= 2; --i)
        expected << made[i];
    EXPECT_EQ(paths(s.recentProjects()), expected);

    // Opening one again moves it up; another spelling of its path is the same file.
    s.addRecent(dir.path() + QStringLiteral("/p9/../p5/./book.qly"));
    EXPECT_EQ(s.recentProjects().first().path, made[5]);
    EXPECT_EQ(s.recentProjects().size(), DesktopSettings::kMaxRecent);
    EXPECT_EQ(paths(s.recentProjects()).count(made[5]), 1);

    // It survives a new run.
    s.sync();
    DesktopSettings again(dir.file("a.conf"));
    EXPECT_EQ(paths(again.recentProjects()), paths(s.recentProjects()));
}

TEST(DesktopSettings, MissingProjectsAreListedUntilRemovedAndNeverReopened)
{
    TempDir dir;
    DesktopSettings s(dir.file("a.conf"));
    const QString kept = touch(dir.file("kept/book.qly"));
    const QString gone = touch(dir.file("gone/book.qly"));
    s.addRecent(kept);
    s.addRecent(gone);
    QFile::remove(gone);

    auto list = s.recentProjects();
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list[0].path, gone);
    EXPECT_FALSE(list[0].exists);
    EXPECT_TRUE(list[1].exists);

    // The latest is gone: nothing opens at start, even when asked to.
    s.setReopenLast(true);
    EXPECT_EQ(s.projectToReopen(), QString());
    s.removeRecent(gone);
    EXPECT_EQ(s.projectToReopen(), kept);
    s.setReopenLast(false);
    EXPECT_EQ(s.projectToReopen(), QString());

    s.addRecent(gone); // its file is gone: listed as typed
    EXPECT_EQ(s.removeMissing(), 1);
    EXPECT_EQ(paths(s.recentProjects()), QStringList{kept});
}

TEST(DesktopSettings, EachProjectKeepsItsOwnTreeAndTopic)
{
    TempDir dir;
    const QString a = touch(dir.file("a/book.qly"));
    const QString b = touch(dir.file("b/book.qly"));
    {
        DesktopSettings s(dir.file("a.conf"));
        s.setProjectState(a, {{QStringLiteral("path:Manual"), QStringLiteral("id:sub1")}, QStringLiteral("id:t7")});
        s.setProjectState(b, {{QStringLiteral("path:Other")}, QString()});
        s.setWindowGeometry(QByteArray("geo\0metry", 9));
        s.setSplitterState("split");
        s.setLastFolder(QStringLiteral("open"), a);
        s.setDialogSize(QStringLiteral("frmOutput"), QSize(640, 480));
    }
    DesktopSettings s(dir.file("a.conf"));
    const auto sa = s.projectState(a);
    EXPECT_EQ(sa.expanded, (QStringList{QStringLiteral("path:Manual"), QStringLiteral("id:sub1")}));
    EXPECT_EQ(sa.openTopic, QStringLiteral("id:t7"));
    EXPECT_EQ(s.projectState(b).expanded, QStringList{QStringLiteral("path:Other")});
    EXPECT_EQ(s.projectState(dir.file("c/book.qly")), DesktopSettings::ProjectState{});
    EXPECT_EQ(s.windowGeometry(), QByteArray("geo\0metry", 9));
    EXPECT_EQ(s.splitterState(), QByteArray("split"));
    EXPECT_EQ(s.lastFolder(QStringLiteral("open")), QFileInfo(a).absolutePath());
    EXPECT_EQ(s.dialogSize(QStringLiteral("frmOutput")), QSize(640, 480));
    EXPECT_FALSE(s.dialogSize(QStringLiteral("frmVerify")).isValid());

    // A folder that is gone is not offered.
    QDir(dir.file("a")).removeRecursively();
    EXPECT_EQ(s.lastFolder(QStringLiteral("open")), QString());
}

TEST(DesktopSettings, OnlyTheLatestProjectsKeepTheirState)
{
    TempDir dir;
    DesktopSettings s(dir.file("a.conf"));
    const int n = DesktopSettings::kMaxProjectStates + 3;
    for (int i = 0; i < n; ++i)
        s.setProjectState(dir.file(QStringLiteral("p%1.qly").arg(i)), {{}, QStringLiteral("id:t%1").arg(i)});
    EXPECT_EQ(s.projectState(dir.file("p0.qly")).openTopic, QString());
    EXPECT_EQ(s.projectState(dir.file("p2.qly")).openTopic, QString());
    EXPECT_EQ(s.projectState(dir.file("p3.qly")).openTopic, QStringLiteral("id:t3"));
    EXPECT_EQ(s.projectState(dir.file(QStringLiteral("p%1.qly").arg(n - 1))).openTopic,
              QStringLiteral("id:t%1").arg(n - 1));
}

TEST(DesktopSettings, NodesAreFoundAgainByIdOrByPath)
{
    BookTree tree;
    NodePtr book = tree.Add(nullptr, Relation::Last, QString(), QStringLiteral("Manual"));
    NodePtr chapter = tree.Add(book, Relation::Child, QString(), QStringLiteral("Start"));
    NodePtr topic = tree.Add(chapter, Relation::Child, QStringLiteral("t1"), QStringLiteral("Welcome"));
    EXPECT_EQ(nodeIdentity(chapter), QStringLiteral("path:Manual\\Start"));
    EXPECT_EQ(nodeIdentity(topic), QStringLiteral("id:t1"));
    EXPECT_EQ(nodeByIdentity(tree, nodeIdentity(chapter)), chapter);
    EXPECT_EQ(nodeByIdentity(tree, nodeIdentity(topic)), topic);
    EXPECT_EQ(nodeByIdentity(tree, QStringLiteral("id:gone")), nullptr);
    EXPECT_EQ(nodeByIdentity(tree, QStringLiteral("garbage")), nullptr);
}
