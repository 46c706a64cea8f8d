// The four pages of the verification report.
#include "cproject.h"
#include "testsupport.h"
#include "verification.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {

const QString kBegin = "<html><head><style type=\"text/css\"> .cell {PADDING-LEFT:15}</style></head><body><h3><u>";
const QString kEnd = "</table></body></html>";
const QString kClose = "</td><tr><td><br></td></tr></tr>";

TEST(Verification, SamplePages)
{
    TempDir dir;
    QProcess::execute("cp", {"-r", sampleFolder() + "/.", dir.path()});
    QProcess::execute("chmod", {"-R", "u+w", dir.path()});
    const QString f = dir.path() + "/sample/";
    QFile::remove(f + "img/de/toolbar.png");
    writeBytes(f + "img/en/unused.png", "x");
    writeBytes(f + "img/en/dow.png", "x"); // part of a used name: counts as used
    ScriptedMsgBox box;
    cProject project(box);
    ASSERT_TRUE(project.Load(dir.file("sample.qly")));
    cVerification v(project, box);
    // Told before each language and at the end; a no stops it there.
    QList<std::pair<int, int>> told;
    EXPECT_FALSE(v.build([&](int done, int total) {
        told.append({done, total});
        return done < 1;
    }));
    EXPECT_EQ(told, (QList<std::pair<int, int>>{{0, 2}, {1, 2}}));
    told.clear();
    EXPECT_TRUE(v.build([&](int done, int total) {
        told.append({done, total});
        return true;
    }));
    EXPECT_EQ(told, (QList<std::pair<int, int>>{{0, 2}, {1, 2}, {2, 2}}));
    EXPECT_TRUE(box.empty());

    EXPECT_EQ(v.page(cVerification::Topics),
              kBegin + "Unfinished topics</u></h3><br><table>" + "<tr><td><b>English<b></td></tr>" +
                  "<tr><td class=cell>5 topics are not locked." + kClose + "<tr><td><b>German<b></td></tr>" +
                  "<tr><td class=cell>5 topics are not locked." + kClose + kEnd);
    EXPECT_EQ(v.page(cVerification::Missing),
              kBegin + "Missing images</u></h3><br><table>" + "<tr><td><b>English<b></td></tr>" +
                  "<tr><td class=cell>Images are OK." + kClose + "<tr><td><b>German<b></td></tr>" +
                  "<tr><td class=cell>" + f + "img/de/toolbar.png</td></tr><tr><td class=cell>" + kClose + kEnd);
    EXPECT_EQ(v.page(cVerification::All),
              kBegin + "Used images</u></h3><br><table>" + "<tr><td class=cell>" + f +
                  "img/en/window.png</td></tr><tr><td class=cell>" + f +
                  "img/en/toolbar.png</td></tr><tr><td class=cell>" + kClose + kEnd);
    EXPECT_EQ(v.page(cVerification::Redundant), kBegin + "Redundant images</u></h3><br><table>" +
                                                    "<tr><td class=cell>" + f + "img/en/unused.png</td></tr>" + kEnd);

    ASSERT_TRUE(v.writeTemporaryFiles());
    QString first = v.temporaryFile(cVerification::Topics);
    EXPECT_TRUE(QFileInfo::exists(first));
    v.unload();
    EXPECT_FALSE(QFileInfo::exists(first));

    QStringList written = v.writePages(dir.file("report"));
    ASSERT_EQ(written.size(), 4);
    QString page = readText(written[0]);
    EXPECT_EQ(page, v.page(cVerification::Topics));
    // A folder that cannot be made gives the reason.
    QString error;
    EXPECT_TRUE(v.writePages(written[0] + "/sub", &error).isEmpty());
    EXPECT_FALSE(error.isEmpty());
}

TEST(Verification, OneTopicAndNoImages)
{
    TempDir dir;
    QString qly = makeProject(dir.path(), "m", {"en"});
    ScriptedMsgBox box;
    cProject project(box);
    ASSERT_TRUE(project.Load(qly));
    cVerification v(project, box);
    v.build();
    EXPECT_TRUE(v.page(cVerification::Topics).contains("<tr><td class=cell>Topics are OK." + kClose));
    // With no images the used page holds a row with no text.
    EXPECT_EQ(v.page(cVerification::All),
              kBegin + "Used images</u></h3><br><table><tr><td class=cell>" + kClose + kEnd);
}

} // namespace
