#include "cbook.h"
#include "cbookfile.h"
#include "cproject.h"
#include "csaxbookhandler.h"
#include "fileio.h"
#include "language.h"
#include "msgbox.h"
#include "testsupport.h"

#include <gtest/gtest.h>

using namespace testing_support;

namespace {
const QString kDecl = QStringLiteral(
    "<?xml version=\"1.0\"?><!DOCTYPE book [<!ELEMENT book (title*,author,version,date,time)>"
    "<!ELEMENT title (#PCDATA)><!ELEMENT author (#PCDATA)><!ELEMENT version (#PCDATA)>"
    "<!ELEMENT date (#PCDATA)><!ELEMENT time (#PCDATA)><!ATTLIST title lang CDATA #REQUIRED>");
const QString kBody = QStringLiteral(
    "<book><title lang=\"en\">Manual</title><title lang=\"de\">Manual</title><author>Author</author>"
    "<version>1.0</version><date>1/2/26</date><time>10:00</time>");

struct BookFixture : ::testing::Test {
    TempDir dir;
    ScriptedMsgBox box;
    cProject project{box};
    QString book;
    void SetUp() override
    {
        QString path = makeProject(dir.path(), QStringLiteral("manual"), {"en", "de"});
        ASSERT_TRUE(project.Load(path));
        book = project.getBookFile();
        setCurrentLanguage(QStringLiteral("en"));
    }
    void run(int command, const QString& newId, const QString& current, const QString& file)
    {
        cSAXBookHandler h;
        h.Command = command;
        h.NewChapterID = newId;
        h.CurrentChapterID = current;
        h.FileName = file;
        ASSERT_TRUE(rewriteBookFile(project, h, box));
    }
    QString text() { return readText(book); }
};
}

TEST_F(BookFixture, NewBookFileIsByteExact)
{
    EXPECT_EQ(readBytes(book), fileio::utf16WithBom(kDecl + QStringLiteral("]>") + kBody + QStringLiteral("</book>\r\n")));
}

TEST_F(BookFixture, RewriteForEveryCommand)
{
    // 9 on a book without chapters gives the first.
    run(9, QStringLiteral("chapter1"), QString(), QStringLiteral("chapter1.xml"));
    EXPECT_EQ(text(), kDecl + QStringLiteral("<!ENTITY chapter1 SYSTEM \"chapter1.xml\">]>") + kBody +
                          QStringLiteral("&chapter1;</book>\r\n"));
    run(9, QStringLiteral("chapter2"), QString(), QStringLiteral("chapter2.xml"));
    // 7: before chapter2, declaration and reference first.
    run(7, QStringLiteral("chapter3"), QStringLiteral("chapter2"), QStringLiteral("chapter3.xml"));
    // 8: after chapter1.
    run(8, QStringLiteral("chapter4"), QStringLiteral("chapter1"), QStringLiteral("chapter4.xml"));
    EXPECT_EQ(text(), kDecl +
                          QStringLiteral("<!ENTITY chapter1 SYSTEM \"chapter1.xml\"><!ENTITY chapter4 SYSTEM \"chapter4.xml\">"
                                         "<!ENTITY chapter3 SYSTEM \"chapter3.xml\"><!ENTITY chapter2 SYSTEM \"chapter2.xml\">]>") +
                          kBody + QStringLiteral("&chapter1;&chapter4;&chapter3;&chapter2;</book>\r\n"));
    // 11: chapter3 replaced by chapter5 in place.
    run(11, QStringLiteral("chapter5"), QStringLiteral("chapter3"), QStringLiteral("chapter5.xml"));
    // 6: chapter4 dropped.
    run(6, QStringLiteral("chapter4"), QString(), QString());
    EXPECT_EQ(text(), kDecl +
                          QStringLiteral("<!ENTITY chapter1 SYSTEM \"chapter1.xml\"><!ENTITY chapter5 SYSTEM \"chapter5.xml\">"
                                         "<!ENTITY chapter2 SYSTEM \"chapter2.xml\">]>") +
                          kBody + QStringLiteral("&chapter1;&chapter5;&chapter2;</book>\r\n"));
    EXPECT_TRUE(box.empty());
    EXPECT_FALSE(QFileInfo::exists(project.GetProjectFolder() + QStringLiteral("quillary.xml")));
}

TEST_F(BookFixture, RewriteKeepsEscapesAndDropsInternalEntities)
{
    writeUtf16(book, kDecl + QStringLiteral("<!ENTITY co \"ACME\">]><book><title lang=\"a&amp;b\">A &amp; B &lt;C&gt;</title>"
                                            "<author>&co;</author><version>1</version><date>d</date><time>t</time></book>"));
    run(9, QStringLiteral("chapter1"), QString(), QStringLiteral("chapter1.xml"));
    EXPECT_EQ(text(), kDecl + QStringLiteral("<!ENTITY chapter1 SYSTEM \"chapter1.xml\">]><book><title lang=\"a&amp;b\">"
                                             "A &amp; B &lt;C&gt;</title><author>ACME</author><version>1</version>"
                                             "<date>d</date><time>t</time>&chapter1;</book>\r\n"));
}

TEST_F(BookFixture, BrokenBookIsNotReplaced)
{
    writeUtf16(book, kDecl + QStringLiteral("]><book><author>"));
    QByteArray before = readBytes(book);
    cSAXBookHandler h;
    h.Command = 9;
    h.NewChapterID = QStringLiteral("chapter1");
    h.FileName = QStringLiteral("chapter1.xml");
    EXPECT_FALSE(rewriteBookFile(project, h, box));
    EXPECT_EQ(readBytes(book), before);
    EXPECT_EQ(box.all().back().title, QStringLiteral("SAX parser error"));
}

TEST_F(BookFixture, MoveChapterForwardBackwardAndStable)
{
    for (int i = 1; i <= 3; ++i)
        run(9, QStringLiteral("chapter%1").arg(i), QString(), QStringLiteral("chapter%1.xml").arg(i));
    cBookFile bf(box);
    ASSERT_TRUE(bf.Load(book));
    bf.moveChapter(QStringLiteral("chapter3"), QStringLiteral("chapter1"));
    EXPECT_EQ(bf.chapterOrder(), (QStringList{"chapter3", "chapter1", "chapter2"}));
    bf.moveChapter(QStringLiteral("chapter3"), QStringLiteral("chapter1"));
    EXPECT_EQ(bf.chapterOrder(), (QStringList{"chapter3", "chapter1", "chapter2"}));
    bf.moveChapter(QStringLiteral("chapter3"), QStringLiteral("chapter2"));
    EXPECT_EQ(bf.chapterOrder(), (QStringList{"chapter1", "chapter3", "chapter2"}));

    cBookFile again(box);
    ASSERT_TRUE(again.Load(book));
    EXPECT_EQ(again.chapterOrder(), (QStringList{"chapter1", "chapter3", "chapter2"}));
    // Declarations are untouched and the file is one line.
    QString t = text();
    EXPECT_TRUE(t.contains(QStringLiteral("<!ENTITY chapter1 SYSTEM \"chapter1.xml\"><!ENTITY chapter2 SYSTEM "
                                          "\"chapter2.xml\"><!ENTITY chapter3 SYSTEM \"chapter3.xml\">]>")));
    EXPECT_TRUE(t.endsWith(QStringLiteral("&chapter1;&chapter3;&chapter2;</book>\r\n")));
    EXPECT_EQ(t.count(QStringLiteral("\r\n")), 1);
    EXPECT_TRUE(box.empty());
}

TEST_F(BookFixture, PropertiesAndLanguageTitles)
{
    cBookFile bf(box);
    ASSERT_TRUE(bf.Load(book));
    cBook b;
    bf.getProperties(b, QString());
    EXPECT_EQ(b.Title, QStringLiteral("Manual"));
    EXPECT_EQ(b.Author, QStringLiteral("Author"));
    EXPECT_EQ(b.Version, QStringLiteral("1.0"));
    EXPECT_EQ(b.BookDate, QStringLiteral("1/2/26"));
    EXPECT_EQ(b.BookTime, QStringLiteral("10:00"));
    EXPECT_EQ(b.BookFile, book);

    b.Title = QStringLiteral("Handbuch");
    b.Author = QStringLiteral("Me & You");
    bf.setProperties(b, QStringLiteral("de"));
    cBook en, de, fr;
    cBookFile again(box);
    ASSERT_TRUE(again.Load(book));
    again.getProperties(en, QStringLiteral("en"));
    again.getProperties(de, QStringLiteral("de"));
    again.getProperties(fr, QStringLiteral("fr"));
    EXPECT_EQ(en.Title, QStringLiteral("Manual"));
    EXPECT_EQ(de.Title, QStringLiteral("Handbuch"));
    EXPECT_EQ(de.Author, QStringLiteral("Me & You"));
    EXPECT_EQ(fr.Title, QString()); // no title in that language

    again.addLangTitle(QStringLiteral("fr"));
    EXPECT_TRUE(text().contains(QStringLiteral("<title lang=\"de\">Handbuch</title><title lang=\"fr\">Manual</title>"
                                               "<author>Me &amp; You</author>")));
    EXPECT_TRUE(box.empty());
}
