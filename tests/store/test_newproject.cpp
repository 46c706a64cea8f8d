#include "cbook.h"
#include "cproject.h"
#include "fileio.h"
#include "msgbox.h"
#include "newproject.h"
#include "testsupport.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {
BookForm filled()
{
    BookForm f;
    f.title = QStringLiteral("Manual");
    f.author = QStringLiteral("Me");
    f.version = QStringLiteral("1");
    f.date = QStringLiteral("d");
    f.time = QStringLiteral("t");
    f.mainLang = QStringLiteral("English");
    f.mainAbbrev = QStringLiteral("en");
    return f;
}
}

TEST(NewProject, AddLanguageRules)
{
    BookForm f = filled();
    EXPECT_TRUE(addOtherLanguage(f, QStringLiteral("German"), QStringLiteral("de")));
    EXPECT_FALSE(addOtherLanguage(f, QStringLiteral("german"), QStringLiteral("xx")));   // same name
    EXPECT_FALSE(addOtherLanguage(f, QStringLiteral("Deutsch"), QStringLiteral("DE"))); // same abbreviation
    EXPECT_FALSE(addOtherLanguage(f, QString(), QStringLiteral("fr")));                 // empty name
    EXPECT_FALSE(addOtherLanguage(f, QStringLiteral("French"), QString()));             // empty abbreviation
    EXPECT_FALSE(addOtherLanguage(f, QStringLiteral("ENGLISH"), QStringLiteral("uk"))); // the main language
    EXPECT_FALSE(addOtherLanguage(f, QStringLiteral("British"), QStringLiteral("EN")));
    EXPECT_TRUE(addOtherLanguage(f, QStringLiteral("French"), QStringLiteral("fr")));
    EXPECT_EQ(f.otherNames, (QStringList{"German", "French"}));
    EXPECT_EQ(f.otherAbbrevs, (QStringList{"de", "fr"}));
}

TEST(NewProject, FormChecksInOrder)
{
    ScriptedMsgBox box;
    cBook book;
    BookForm f = filled();
    f.time.clear();
    f.title.clear();
    EXPECT_FALSE(checkBookForm(f, book, box));
    EXPECT_EQ(box.last(), QStringLiteral("All fields have to be filled!\r\nEmpty: Title, Time."));
    f = filled();
    f.mainAbbrev.clear();
    EXPECT_FALSE(checkBookForm(f, book, box));
    EXPECT_EQ(box.last(), QStringLiteral("Main language must be specified!"));
    f = filled();
    f.otherNames << QStringLiteral("English");
    f.otherAbbrevs << QStringLiteral("xx");
    EXPECT_FALSE(checkBookForm(f, book, box));
    EXPECT_EQ(box.last(), QStringLiteral("Main language is not unique!"));
    f = filled();
    f.title = QStringLiteral("A <b> book");
    box.clear();
    EXPECT_FALSE(checkBookForm(f, book, box));
    EXPECT_EQ(box.texts(), (QStringList{"Book title may not include \"&\", \"<\", \">\" characters!",
                                        "Book title include improper characters!"}));
    f = filled();
    f.otherNames << QStringLiteral("German");
    f.otherAbbrevs << QStringLiteral("de");
    box.clear();
    ASSERT_TRUE(checkBookForm(f, book, box));
    EXPECT_TRUE(box.empty());
    EXPECT_EQ(book.BookFile, QStringLiteral("book.xml"));
    EXPECT_EQ(book.MainLangAbbrev, QStringLiteral("en"));
    EXPECT_EQ(book.LangAbrevs.GetString(QStringLiteral(",")), QStringLiteral("de"));
}

TEST(NewProject, PathChecksAndCreation)
{
    TempDir dir;
    ScriptedMsgBox box;
    QString path = dir.file(QStringLiteral("my.manual.qly"));
    EXPECT_EQ(projectFolderOf(path), dir.file(QStringLiteral("my.manual/")));
    ASSERT_TRUE(checkProjectPath(path, box));

    QDir().mkpath(dir.file(QStringLiteral("taken")));
    EXPECT_FALSE(checkProjectPath(dir.file(QStringLiteral("taken.qly")), box));
    EXPECT_EQ(box.last(), QStringLiteral("Folder \"") + dir.file(QStringLiteral("taken")) +
                              QStringLiteral("\" already exists! Project may not be created!"));

    cBook book;
    BookForm f = filled();
    f.title = QStringLiteral("Tom's \"Manual\"");
    addOtherLanguage(f, QStringLiteral("German"), QStringLiteral("de"));
    ASSERT_TRUE(checkBookForm(f, book, box));
    book.ProjectFile = path;
    book.Author = QStringLiteral("A & B"); // not checked by the form, escaped in the file
    ASSERT_TRUE(createProjectFiles(book, box));
    EXPECT_TRUE(QFileInfo(dir.file(QStringLiteral("my.manual/img/en"))).isDir());
    EXPECT_TRUE(QFileInfo(dir.file(QStringLiteral("my.manual/img/de"))).isDir());
    EXPECT_FALSE(checkProjectPath(path, box));
    EXPECT_EQ(box.last(), QStringLiteral("File \"") + path + QStringLiteral("\" already exists! Project may not be created!"));

    cProject p(box);
    ASSERT_TRUE(p.Load(path));
    EXPECT_EQ(p.languageList(), (QStringList{"en", "de"}));
    EXPECT_EQ(readText(p.getBookFile()),
              QStringLiteral("<?xml version=\"1.0\"?><!DOCTYPE book [<!ELEMENT book (title*,author,version,date,time)>"
                             "<!ELEMENT title (#PCDATA)><!ELEMENT author (#PCDATA)><!ELEMENT version (#PCDATA)>"
                             "<!ELEMENT date (#PCDATA)><!ELEMENT time (#PCDATA)><!ATTLIST title lang CDATA #REQUIRED>]>"
                             "<book><title lang=\"en\">Tom's \"Manual\"</title><title lang=\"de\">Tom's \"Manual\"</title>"
                             "<author>A &amp; B</author><version>1</version><date>d</date><time>t</time></book>\r\n"));
}

TEST(NewProject, LanguageList)
{
    TempDir dir;
    ScriptedMsgBox box;
    std::vector<LanguageEntry> langs;
    ASSERT_TRUE(loadLanguageList(langs, box)); // the installed list
    ASSERT_GE(langs.size(), 20u);
    EXPECT_EQ(langs[0].name, QStringLiteral("English"));
    EXPECT_EQ(langs[0].abbrev, QStringLiteral("en"));
    EXPECT_FALSE(langs[0].wordcode.isEmpty());

    EXPECT_FALSE(loadLanguageList(langs, box, dir.file(QStringLiteral("langs.xml"))));
    EXPECT_EQ(box.last(), QStringLiteral("File with available languages is missing! Please reinstall application."));
    writeBytes(dir.file(QStringLiteral("langs.xml")), "<languages><lang><name>X</name></lang></languages>");
    EXPECT_FALSE(loadLanguageList(langs, box, dir.file(QStringLiteral("langs.xml"))));
    EXPECT_EQ(box.last(), QStringLiteral("File with available languages is damaged!"));
    writeBytes(dir.file(QStringLiteral("langs.xml")), "<langs><lang><name>X</name>");
    EXPECT_FALSE(loadLanguageList(langs, box, dir.file(QStringLiteral("langs.xml"))));
    EXPECT_EQ(box.last(), QStringLiteral("File with available languages is damaged!"));
}
