// The settings dialog's logic.
#include "cconfigfile.h"
#include "options.h"
#include "paths.h"
#include "testsupport.h"

#include <QFile>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {

QString copyConf(const TempDir& dir)
{
    QString conf = dir.file("conf.xml");
    QFile::copy(paths::programFolder() + "/conf.xml", conf);
    QFile::setPermissions(conf, QFile::ReadOwner | QFile::WriteOwner);
    return conf;
}

TEST(Options, OpenChecksExistenceAndExecutable)
{
    TempDir dir;
    ScriptedMsgBox box;
    cOptions o(box);
    ASSERT_TRUE(o.formLoad(copyConf(dir)));
    o.cmdOpen(dir.file("missing"));
    EXPECT_EQ(box.last(), "File does not exist!");
    writeBytes(dir.file("plain.exe"), "x");
    o.cmdOpen(dir.file("plain.exe"));
    EXPECT_EQ(box.last(), "File is not executable!");
    EXPECT_TRUE(o.txtFile.isEmpty());
    writeBytes(dir.file("tool"), "#!/bin/sh\n");
    QFile::setPermissions(dir.file("tool"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    box.clear();
    o.cmdOpen(dir.file("tool"));
    EXPECT_TRUE(box.empty());
    EXPECT_EQ(o.txtFile, dir.file("tool"));
    o.cmdOpen(QString()); // Cancel
    EXPECT_EQ(o.txtFile, dir.file("tool"));
}

TEST(Options, OKIgnoresEmptyAndSavesAll)
{
    TempDir dir;
    QString conf = copyConf(dir);
    ScriptedMsgBox box;
    cOptions o(box);
    ASSERT_TRUE(o.formLoad(conf));
    EXPECT_EQ(cOptions::colorToText(o.picOnline), "CCF2CC");
    o.txtFile.clear();
    o.picOnline = cOptions::textToColor("010203");
    EXPECT_FALSE(o.cmdOK());
    EXPECT_TRUE(box.empty());
    writeBytes(dir.file("tool"), "#!/bin/sh\n");
    QFile::setPermissions(dir.file("tool"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    o.txtFile = dir.file("tool");
    EXPECT_TRUE(o.cmdOK());
    cConfigFile c(box);
    ASSERT_TRUE(c.Load(conf));
    EXPECT_EQ(c.getHHWFile(), dir.file("tool"));
    EXPECT_EQ(c.getOnlineColor(), "010203");
    EXPECT_EQ(c.getPrintColor(), "FFE0B3");
}

TEST(Options, AutoFindLooksOnPath)
{
    TempDir dir;
    ScriptedMsgBox box;
    cOptions o(box);
    ASSERT_TRUE(o.formLoad(copyConf(dir)));
    QByteArray oldPath = qgetenv("PATH");
    qputenv("PATH", dir.path().toUtf8());
    EXPECT_FALSE(o.cmdAutoFind());
    EXPECT_EQ(box.last(), "Unable to locate HTML Help compiler! Most likely you will need to install it.");
    writeBytes(dir.file("chmcmd"), "#!/bin/sh\n");
    QFile::setPermissions(dir.file("chmcmd"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    EXPECT_TRUE(o.cmdAutoFind());
    EXPECT_EQ(box.last(), "HTML Help compiler has been found successfully.");
    EXPECT_EQ(o.txtFile, dir.file("chmcmd"));
    qputenv("PATH", oldPath);
    EXPECT_TRUE(cOptions::downloadText().contains("fp-utils"));
}

} // namespace
