// Hostile XML: nothing outside the project folder is read, nothing from the
// network, no entity explosion; a clear message and no change.
#include "cbookfile.h"
#include "cproject.h"
#include "csaxerrorhandler.h"
#include "msgbox.h"
#include "rewrite.h"
#include "sax.h"
#include "testsupport.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {
QString laughs()
{
    QString s = QStringLiteral("<!ENTITY a0 \"lollollollollollollollollollol\">");
    for (int i = 1; i <= 12; ++i)
        s += QStringLiteral("<!ENTITY a%1 \"&a%2;&a%2;&a%2;&a%2;&a%2;&a%2;&a%2;&a%2;&a%2;&a%2;\">").arg(i).arg(i - 1);
    return s;
}

struct Text : sax::Handler {
    QString all;
    void characters(std::string_view t) override { all += sax::qs(t); }
};
}

TEST(HostileXml, ProjectFileEntitiesRefused)
{
    TempDir dir;
    QString secret = dir.file(QStringLiteral("secret.txt"));
    writeBytes(secret, "top secret");
    QString path = makeProject(dir.path());
    QString text = readText(path);
    ScriptedMsgBox box;

    // An external entity that points outside the project folder.
    QString outside = text;
    outside.replace(QStringLiteral("]><project>"),
                    QStringLiteral("<!ENTITY x SYSTEM \"") + secret + QStringLiteral("\">]><project>"));
    outside.replace(QStringLiteral("<version>1.0</version>"), QStringLiteral("<version>1.0&x;</version>"));
    writeUtf16(path, outside);
    QByteArray before = readBytes(path);
    cProject p(box);
    EXPECT_FALSE(p.Load(path));
    EXPECT_EQ(box.last().section(QStringLiteral("\r\n"), 0, 0), QStringLiteral("File is not valid!"));
    EXPECT_EQ(readBytes(path), before);

    // A network address.
    QString net = text;
    net.replace(QStringLiteral("]><project>"), QStringLiteral("<!ENTITY x SYSTEM \"http://127.0.0.1:9/x\">]><project>"));
    net.replace(QStringLiteral("<version>1.0</version>"), QStringLiteral("<version>1.0&x;</version>"));
    writeUtf16(path, net);
    EXPECT_FALSE(p.Load(path));
    EXPECT_EQ(box.last().section(QStringLiteral("\r\n"), 0, 0), QStringLiteral("File is not valid!"));

    // Exponential entity expansion.
    QString bomb = text;
    bomb.replace(QStringLiteral("]><project>"), laughs() + QStringLiteral("]><project>"));
    bomb.replace(QStringLiteral("<version>1.0</version>"), QStringLiteral("<version>1.0&a12;</version>"));
    writeUtf16(path, bomb);
    EXPECT_FALSE(p.Load(path));
    EXPECT_EQ(box.last().section(QStringLiteral("\r\n"), 0, 0), QStringLiteral("File is not valid!"));
    EXPECT_FALSE(p.isLoaded());
}

TEST(HostileXml, ChapterRewriteRefusesOutsideEntities)
{
    TempDir dir;
    QDir().mkpath(dir.file(QStringLiteral("proj")));
    writeBytes(dir.file(QStringLiteral("secret.txt")), "top secret");
    QString chapter = dir.file(QStringLiteral("proj/chapter1.xml"));
    writeUtf16(chapter, QStringLiteral("<!DOCTYPE chapter [<!ENTITY x SYSTEM \"../secret.txt\">]>"
                                       "<chapter><title lang=\"en\">&x;</title></chapter>"));
    QByteArray before = readBytes(chapter);
    RewriteFilter copy;
    ScriptedMsgBox box;
    cSAXErrorHandler eh(box);
    EXPECT_FALSE(rewriteFile(chapter, copy, dir.file(QStringLiteral("proj/quillary.xml")), &eh));
    EXPECT_EQ(readBytes(chapter), before);
    ASSERT_FALSE(box.empty());
    EXPECT_TRUE(box.last().contains(QStringLiteral("lies outside the project folder"))) << box.last().toStdString();
    EXPECT_FALSE(box.last().contains(QStringLiteral("top secret")));

    // Inside the project folder an entity is read and its text kept.
    writeBytes(dir.file(QStringLiteral("proj/part.txt")), "inner");
    writeUtf16(chapter, QStringLiteral("<!DOCTYPE chapter [<!ENTITY x SYSTEM \"part.txt\">]>"
                                       "<chapter><title lang=\"en\">&x;</title></chapter>"));
    EXPECT_TRUE(rewriteFile(chapter, copy, dir.file(QStringLiteral("proj/quillary.xml")), &eh));
    EXPECT_EQ(readText(chapter), QStringLiteral("<chapter><title lang=\"en\">inner</title></chapter>\r\n"));

    // An entity bomb in a chapter.
    writeUtf16(chapter, QStringLiteral("<!DOCTYPE chapter [") + laughs() +
                            QStringLiteral("]><chapter><title lang=\"en\">&a12;</title></chapter>"));
    before = readBytes(chapter);
    EXPECT_FALSE(rewriteFile(chapter, copy, dir.file(QStringLiteral("proj/quillary.xml")), &eh));
    EXPECT_EQ(readBytes(chapter), before);
}

TEST(HostileXml, BookChaptersOnlyFromTheProjectFolder)
{
    TempDir dir;
    QDir().mkpath(dir.file(QStringLiteral("proj")));
    writeUtf16(dir.file(QStringLiteral("outside.xml")), QStringLiteral("<chapter>stolen</chapter>"));
    writeUtf16(dir.file(QStringLiteral("proj/chapter1.xml")), QStringLiteral("<chapter>mine</chapter>"));
    writeUtf16(dir.file(QStringLiteral("proj/book.xml")),
               QStringLiteral("<?xml version=\"1.0\"?><!DOCTYPE book [<!ENTITY c1 SYSTEM \"chapter1.xml\">"
                              "<!ENTITY c2 SYSTEM \"../outside.xml\">]><book>&c1;&c2;</book>"));
    Text t;
    sax::Reader r(t);
    r.setExpandExternalEntities(true);
    r.setAllowedFolders({dir.file(QStringLiteral("proj"))});
    EXPECT_FALSE(r.parseFile(dir.file(QStringLiteral("proj/book.xml"))));
    EXPECT_EQ(t.all, QStringLiteral("mine"));
    EXPECT_TRUE(r.error().message.contains(QStringLiteral("../outside.xml")));

    // The book's DOM view never loads its chapters.
    writeUtf16(dir.file(QStringLiteral("proj/book.xml")),
               QStringLiteral("<?xml version=\"1.0\"?><!DOCTYPE book [<!ELEMENT book (author)><!ELEMENT author (#PCDATA)>"
                              "<!ENTITY c2 SYSTEM \"../outside.xml\">]><book><author>a</author>&c2;</book>"));
    ScriptedMsgBox box;
    cBookFile bf(box);
    EXPECT_TRUE(bf.Load(dir.file(QStringLiteral("proj/book.xml"))));
    EXPECT_EQ(bf.chapterOrder(), QStringList{QStringLiteral("c2")});
}
