#include "cproject.h"
#include "fileio.h"
#include "msgbox.h"
#include "testsupport.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {
const char* kProjectDtd =
    "<?xml version=\"1.0\"?><!DOCTYPE project [<!ELEMENT project (version, files, "
    "languages,topicid,subchapterid,chapterid,anchorid,lock?)><!ELEMENT version (#PCDATA)>"
    "<!ELEMENT files (book, chapter*)><!ELEMENT book (#PCDATA)><!ELEMENT chapter (title, id, file)>"
    "<!ELEMENT title (#PCDATA)><!ELEMENT id (#PCDATA)><!ELEMENT file (#PCDATA)>"
    "<!ELEMENT languages (main, language*)><!ELEMENT main (name, abrev)><!ELEMENT name (#PCDATA)>"
    "<!ELEMENT abrev (#PCDATA)><!ELEMENT language (name, abrev)><!ELEMENT topicid (#PCDATA)>"
    "<!ELEMENT subchapterid (#PCDATA)><!ELEMENT chapterid (#PCDATA)><!ELEMENT anchorid (#PCDATA)>"
    "<!ELEMENT lock (id, stamp, description)><!ELEMENT stamp (#PCDATA)>"
    "<!ELEMENT description (#PCDATA)>]>";
}

TEST(Project, NewProjectFileIsByteExact)
{
    TempDir dir;
    QString path = makeProject(dir.path(), QStringLiteral("manual"), {"en", "de"});
    QString expected = QString::fromLatin1(kProjectDtd) +
                       QStringLiteral("<project><version>1.0</version><files><book>book.xml</book></files>"
                                      "<languages><main><name>Lang-en</name><abrev>en</abrev></main>"
                                      "<language><name>Lang-de</name><abrev>de</abrev></language></languages>"
                                      "<topicid>0</topicid><subchapterid>0</subchapterid><chapterid>0</chapterid>"
                                      "<anchorid>0</anchorid></project>\r\n");
    EXPECT_EQ(readBytes(path), fileio::utf16WithBom(expected));
    // Creation does not mark the project.
    EXPECT_FALSE(fileio::isMarked(path));

    // Loading and saving without a change keeps the same text, now marked.
    ScriptedMsgBox box;
    cProject p(box);
    ASSERT_TRUE(p.Load(path));
    ASSERT_TRUE(p.saveProject());
    EXPECT_EQ(readBytes(path), fileio::utf16WithBom(expected));
    EXPECT_TRUE(fileio::isMarked(path));
    EXPECT_TRUE(box.empty());
}

TEST(Project, LoadRefusesInvalidAndForeignFiles)
{
    TempDir dir;
    ScriptedMsgBox box;
    cProject p(box);

    writeUtf16(dir.file("broken.qly"), QStringLiteral("<project><version>1.0</version>"));
    EXPECT_FALSE(p.Load(dir.file("broken.qly")));
    EXPECT_EQ(box.last().section(QStringLiteral("\r\n"), 0, 0), QStringLiteral("File is not valid!"));
    EXPECT_EQ(box.lastIcon(), MsgIcon::Exclamation);

    // Valid against its DTD, but a version the DTD allows and the program does not.
    QString v2 = QString::fromLatin1(kProjectDtd) +
                 QStringLiteral("<project><version>2.0</version><files><book>book.xml</book></files><languages>"
                                "<main><name>E</name><abrev>en</abrev></main></languages><topicid>0</topicid>"
                                "<subchapterid>0</subchapterid><chapterid>0</chapterid><anchorid>0</anchorid></project>");
    writeUtf16(dir.file("v2.qly"), v2);
    EXPECT_FALSE(p.Load(dir.file("v2.qly")));
    EXPECT_TRUE(box.last().startsWith(QStringLiteral("File is not a Quillary 1.0 project file!\r\n"))) << box.last().toStdString();

    // Breaking its own DTD: invalid.
    QString invalid = v2;
    invalid.replace(QStringLiteral("<version>2.0</version>"), QString());
    writeUtf16(dir.file("nover.qly"), invalid);
    EXPECT_FALSE(p.Load(dir.file("nover.qly")));
    EXPECT_EQ(box.last().section(QStringLiteral("\r\n"), 0, 0), QStringLiteral("File is not valid!"));

    // Another XML document without a DTD.
    writeUtf16(dir.file("other.qly"), QStringLiteral("<book><version>1.0</version></book>"));
    EXPECT_FALSE(p.Load(dir.file("other.qly")));
    EXPECT_TRUE(box.last().startsWith(QStringLiteral("File is not a Quillary 1.0 project file!\r\n"))) << box.last().toStdString();
    writeUtf16(dir.file("nov.qly"), QStringLiteral("<project><files/></project>"));
    EXPECT_FALSE(p.Load(dir.file("nov.qly")));
    EXPECT_TRUE(box.last().startsWith(QStringLiteral("File is not a Quillary 1.0 project file!\r\n"))) << box.last().toStdString();

    EXPECT_FALSE(p.Load(dir.file("missing.qly")));
    EXPECT_EQ(box.last().section(QStringLiteral("\r\n"), 0, 0), QStringLiteral("File is not valid!"));
    // Nothing loaded: readers give empty values.
    EXPECT_EQ(p.getBookFile(), QString());
    EXPECT_EQ(p.GetMainLangAbbrev(), QString());
    EXPECT_EQ(p.getChapterFiles().Count(), 0);
}

TEST(Project, CountersReachTheDiskBeforeUse)
{
    TempDir dir;
    QString path = makeProject(dir.path());
    ScriptedMsgBox box;
    cProject p(box);
    ASSERT_TRUE(p.Load(path));
    EXPECT_EQ(p.getNewTopicID(), QStringLiteral("topic1"));
    // Another reader sees the increment at once, as a restart after a crash would.
    cProject other(box);
    ASSERT_TRUE(other.Load(path));
    EXPECT_EQ(other.counter("topicid"), QStringLiteral("1"));
    EXPECT_EQ(other.getNewTopicID(), QStringLiteral("topic2"));
    EXPECT_EQ(other.getNewSubchapterID(), QStringLiteral("sub1"));
    EXPECT_EQ(other.getNewChapterID(), QStringLiteral("chapter1"));
    EXPECT_EQ(other.getNewAnchorID(), QStringLiteral("anchor1"));
    EXPECT_TRUE(fileio::isMarked(path));
    cProject third(box);
    ASSERT_TRUE(third.Load(path));
    EXPECT_EQ(third.getNewTopicID(), QStringLiteral("topic3"));
    EXPECT_TRUE(box.empty());
}

TEST(Project, ChaptersLanguagesAndLock)
{
    TempDir dir;
    QString path = makeProject(dir.path(), QStringLiteral("my.book.v2"), {"en", "de", "fr"});
    ScriptedMsgBox box;
    cProject p(box);
    ASSERT_TRUE(p.Load(path));
    // Only the last extension is cut.
    EXPECT_EQ(p.GetProjectFolder(), dir.path() + QStringLiteral("/my.book.v2/"));
    EXPECT_EQ(p.getBookFile(), dir.path() + QStringLiteral("/my.book.v2/book.xml"));
    EXPECT_EQ(p.getChapterFiles().Count(), 0);

    p.InsertChapter(QStringLiteral("Intro"), QStringLiteral("chapter1"), QStringLiteral("chapter1.xml"));
    p.InsertChapter(QStringLiteral("Usage"), QStringLiteral("chapter2"), QStringLiteral("chapter2.xml"));
    EXPECT_EQ(p.getChapterFile(QStringLiteral("Usage")), p.GetProjectFolder() + QStringLiteral("chapter2.xml"));
    EXPECT_EQ(p.getChapterFile(QStringLiteral("usage")), QString()); // exact match
    EXPECT_EQ(p.getChapterID(QStringLiteral("Intro")), QStringLiteral("chapter1"));
    EXPECT_EQ(p.getChapterIDs().GetString(QStringLiteral(",")), QStringLiteral("chapter1,chapter2"));
    cStack files = p.getChapterFiles();
    EXPECT_EQ(files.Pop(), p.GetProjectFolder() + QStringLiteral("chapter2.xml"));
    p.RemoveChapter(QStringLiteral("Intro"));
    EXPECT_EQ(p.getChapterIDs().GetString(QStringLiteral(",")), QStringLiteral("chapter2"));

    cStack langs = p.getLanguages();
    EXPECT_EQ(langs.Pop(), QStringLiteral("en"));
    EXPECT_EQ(langs.Pop(), QStringLiteral("de"));
    EXPECT_EQ(langs.Pop(), QStringLiteral("fr"));
    EXPECT_EQ(p.getLanguageName(QStringLiteral("de")), QStringLiteral("Lang-de"));
    EXPECT_EQ(p.getLanguageAbrev(QStringLiteral("Lang-fr")), QStringLiteral("fr"));
    EXPECT_EQ(p.getAllLanguageNames().GetString(QStringLiteral(",")), QStringLiteral("Lang-en,Lang-de,Lang-fr"));
    p.InsertLanguage(QStringLiteral("Italian"), QStringLiteral("it"));
    EXPECT_EQ(p.languageList(), (QStringList{"en", "de", "fr", "it"}));

    EXPECT_EQ(p.GetLockID(), QString());
    p.SetLock(QStringLiteral("L1"), QStringLiteral("stamp"), QStringLiteral("to translator"));
    cProject again(box);
    ASSERT_TRUE(again.Load(path)); // still valid against its DTD
    EXPECT_EQ(again.GetLockID(), QStringLiteral("L1"));
    EXPECT_EQ(again.GetLockStamp(), QStringLiteral("stamp"));
    EXPECT_EQ(again.GetLockDescription(), QStringLiteral("to translator"));
    again.RemoveLock();
    again.SetLock(QString(), QStringLiteral("s"), QStringLiteral("d"));
    EXPECT_EQ(again.GetLockID(), QString()); // an empty id counts as unlocked
    EXPECT_TRUE(box.empty());
}

TEST(Project, RestrictedFileNames)
{
    TempDir dir;
    QString path = makeProject(dir.path());
    ScriptedMsgBox box;
    cProject p(box);
    ASSERT_TRUE(p.Load(path));
    p.InsertChapter(QStringLiteral("Intro"), QStringLiteral("chapter1"), QStringLiteral("chapter1.xml"));
    QString folder = p.GetProjectFolder();
    EXPECT_TRUE(p.isFileNameRestricted(folder + QStringLiteral("CHAPTER1.XML"))); // case-insensitive
    EXPECT_TRUE(p.isFileNameRestricted(QStringLiteral("Book.xml")));             // bare name entry
    EXPECT_TRUE(p.isFileNameRestricted(QStringLiteral("manual.qly")));
    EXPECT_TRUE(p.isFileNameRestricted(folder + QStringLiteral("helpcontextid.xml")));
    EXPECT_TRUE(p.isFileNameRestricted(folder + QStringLiteral("quillary.xml")));
    EXPECT_TRUE(p.isFileNameRestricted(folder + QStringLiteral("quillary_temp.html")));
    EXPECT_TRUE(p.isFileNameRestricted(folder + QStringLiteral("book.xml"))); // exists
    for (const char* c : {"\"", "*", "?", "<", ">", "|"})
        EXPECT_TRUE(p.isFileNameRestricted(folder + QStringLiteral("a") + QString::fromLatin1(c) + QStringLiteral("b.png")));
    EXPECT_FALSE(p.isFileNameRestricted(folder + QStringLiteral("chapter2.xml")));
    EXPECT_FALSE(p.isFileNameRestricted(folder + QStringLiteral("img/en/new picture.png")));
}
