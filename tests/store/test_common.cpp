#include "cconfigfile.h"
#include "csaxerrorhandler.h"
#include "cstack.h"
#include "fileio.h"
#include "mcommon.h"
#include "msgbox.h"
#include "rewrite.h"
#include "sax.h"
#include "testsupport.h"

#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <stdexcept>
#include <sys/stat.h>

using namespace testing_support;

TEST(Stack, BoundedLifoWithStringJoin)
{
    cStack s;
    EXPECT_EQ(s.Pop(), QString());
    EXPECT_EQ(s.test(), QString());
    for (int i = 0; i < 20; ++i)
        s.Push(QString::number(i));
    EXPECT_EQ(s.Count(), 20);
    EXPECT_THROW(s.Push(QStringLiteral("21st")), std::out_of_range);
    EXPECT_EQ(s.test(), QStringLiteral("19"));
    EXPECT_EQ(s.Pop(), QStringLiteral("19"));

    cStack t;
    t.Push(QStringLiteral("a"));
    t.Push(QStringLiteral("b"));
    t.Push(QStringLiteral("c"));
    EXPECT_EQ(t.GetString(QStringLiteral(";")), QStringLiteral("a;b;c"));
    cStack copy;
    t.Copy(copy);
    EXPECT_EQ(copy.GetString(QStringLiteral(",")), QStringLiteral("a,b,c"));
    EXPECT_EQ(t.Count(), 3); // the source stays
    t.Clear();
    EXPECT_EQ(t.Count(), 0);
    EXPECT_EQ(t.GetString(QStringLiteral(";")), QString());
}

TEST(Common, EscapeAndCharacterChecks)
{
    EXPECT_EQ(mCommon::escapeXML(QStringLiteral("a&lt;b")), QStringLiteral("a&amp;lt;b"));
    EXPECT_EQ(mCommon::escapeXML(QStringLiteral("<a href=\"x\">&</a>")),
              QStringLiteral("&lt;a href=\"x\"&gt;&amp;&lt;/a&gt;"));
    EXPECT_EQ(mCommon::escapeXMLAttribute(QStringLiteral("say \"hi\" & go")),
              QStringLiteral("say &quot;hi&quot; &amp; go"));

    ScriptedMsgBox box;
    EXPECT_TRUE(mCommon::checkXMLChars(QStringLiteral("Plain 'title' \"ok\""), QStringLiteral("Topic title"), box));
    EXPECT_TRUE(box.empty());
    for (const char* bad : {"a & b", "a < b", "a > b"}) {
        EXPECT_FALSE(mCommon::checkXMLChars(QString::fromLatin1(bad), QStringLiteral("Topic title"), box));
        EXPECT_EQ(box.last(), QStringLiteral("Topic title may not include \"&\", \"<\", \">\" characters!"));
        EXPECT_EQ(box.lastIcon(), MsgIcon::Exclamation);
    }
}

TEST(Common, PathsAndUrls)
{
    EXPECT_EQ(mCommon::getChapterFromPath(QStringLiteral("Book\\Chapter One\\Sub\\Topic")),
              QStringLiteral("Chapter One"));
    EXPECT_EQ(mCommon::getChapterFromPath(QStringLiteral("Book\\Chapter")), QStringLiteral("Chapter"));
    EXPECT_EQ(mCommon::getChapterFromPath(QStringLiteral("Book")), QString());

    EXPECT_EQ(mCommon::stripFileURL(QStringLiteral("file:///p/man/img/a.png"), QStringLiteral("/p/man/")),
              QStringLiteral("img/a.png"));
    EXPECT_EQ(mCommon::stripFileURL(QStringLiteral("https://x.org/a"), QStringLiteral("/p/man/")),
              QStringLiteral("https://x.org/a"));
    // Case-sensitive prefix.
    EXPECT_EQ(mCommon::stripFileURL(QStringLiteral("FILE:///p/man/a"), QStringLiteral("/p/man/")),
              QStringLiteral("FILE:///p/man/a"));
}

TEST(Common, FreeSpace)
{
    TempDir dir;
    EXPECT_TRUE(mCommon::hasFreeSpace(dir.file(QStringLiteral("not-yet.qly"))));
    // A path that is not absolute cannot be reached.
    ScriptedMsgBox box;
    EXPECT_FALSE(mCommon::checkFreeSpace(QStringLiteral("\\server\\share\\x.qly"), box));
    EXPECT_EQ(box.last(), QStringLiteral("There is not enough free space on the drive (\\server\\share\\x.qly)! Can not continue!"));
    QString msg = mCommon::freeSpaceMessage(dir.file(QStringLiteral("x.qly")));
    EXPECT_TRUE(msg.startsWith(QStringLiteral("There is not enough free space on the drive (/"))) << msg.toStdString();
    EXPECT_TRUE(msg.endsWith(QStringLiteral(")! Can not continue!")));
}

namespace {
struct Collect : sax::Handler {
    QStringList events;
    void startElement(std::string_view n, const sax::Attrs& a) override
    {
        QString s = QStringLiteral("<") + sax::qs(n);
        for (const auto& at : a)
            s += QStringLiteral(" ") + sax::qs(at.name) + QStringLiteral("=") + sax::qs(at.value);
        events << s;
    }
    void endElement(std::string_view n) override { events << QStringLiteral("/") + sax::qs(n); }
    void characters(std::string_view t) override { events << QStringLiteral("T:") + sax::qs(t); }
};
}

TEST(Sax, TextArrivesWholeWithoutCommentsAndTrimRule)
{
    Collect c;
    sax::Reader r(c);
    ASSERT_TRUE(r.parseMemory("<a x=\"1 &amp; 2\">one &amp; <!-- c --><?pi x?>two<![CDATA[<3>]]></a>"));
    EXPECT_EQ(c.events, (QStringList{"<a x=1 & 2", "T:one & two<3>", "/a"}));

    EXPECT_EQ(sax::trimText("\t"), "");
    EXPECT_EQ(sax::trimText("\n"), "");
    EXPECT_EQ(sax::trimText("  x"), "  x");
    EXPECT_EQ(sax::trimText("\n  x"), "  x");
    EXPECT_EQ(sax::trimText("\r\n\t\x01"), "");
}

namespace {
struct CopyAll : RewriteFilter {};
}

TEST(Rewrite, CopyKeepsContentAndEntitiesAsReferences)
{
    TempDir dir;
    QString src = dir.file(QStringLiteral("chapter1.xml"));
    writeUtf16(src, QStringLiteral("<chapter><title lang=\"en\">A &amp; B &lt;C&gt;</title>\n\t<!-- gone -->"
                                   "<topic id=\"t1\" note='say \"x\"'><onelang lang=\"en\"><p>  keep blanks</p>"
                                   "<link ref=\"t2\"/></onelang></topic></chapter>"));
    CopyAll f;
    ScriptedMsgBox box;
    QString err;
    ASSERT_TRUE(rewriteFile(src, f, dir.file(QStringLiteral("quillary.xml")), nullptr, &err)) << err.toStdString();
    EXPECT_EQ(readText(src),
              QStringLiteral("<chapter><title lang=\"en\">A &amp; B &lt;C&gt;</title><topic id=\"t1\" "
                             "note=\"say &quot;x&quot;\"><onelang lang=\"en\"><p>  keep blanks</p>"
                             "<link ref=\"t2\"></link></onelang></topic></chapter>\r\n"));
    QByteArray bytes = readBytes(src);
    EXPECT_EQ(bytes.left(4), QByteArray("\xFF\xFE<\0", 4));
    EXPECT_FALSE(QFileInfo::exists(dir.file(QStringLiteral("quillary.xml"))));
}

TEST(Rewrite, ParseErrorLeavesTheFileAsItWas)
{
    TempDir dir;
    QString src = dir.file(QStringLiteral("chapter1.xml"));
    writeUtf16(src, QStringLiteral("<chapter><topic id=\"t1\"></chapter>"));
    QByteArray before = readBytes(src);
    CopyAll f;
    ScriptedMsgBox box;
    cSAXErrorHandler eh(box);
    EXPECT_FALSE(rewriteFile(src, f, dir.file(QStringLiteral("quillary.xml")), &eh));
    EXPECT_EQ(readBytes(src), before);
    EXPECT_FALSE(QFileInfo::exists(dir.file(QStringLiteral("quillary.xml"))));
    ASSERT_EQ(box.all().size(), 1u);
    EXPECT_EQ(box.all()[0].title, QStringLiteral("SAX parser error"));
    EXPECT_EQ(box.all()[0].icon, MsgIcon::Critical);
    EXPECT_TRUE(box.last().startsWith(QStringLiteral("The SAX parser error!\r\n\r\nError 76 on line 1 column ")))
        << box.last().toStdString();
    EXPECT_TRUE(box.last().contains(QStringLiteral("\r\n\r\nOpening and ending tag mismatch")));
}

TEST(AtomicReplace, ReplacesWholeOrNotAtAll)
{
    TempDir dir;
    QString target = dir.file(QStringLiteral("a.xml"));
    writeBytes(target, "old");
    ::chmod(QFile::encodeName(target).constData(), 0640);
    QString err;
    ASSERT_TRUE(fileio::atomicReplace(target, "new", dir.file(QStringLiteral("quillary.xml")), &err));
    EXPECT_EQ(readBytes(target), QByteArray("new"));
    EXPECT_FALSE(QFileInfo::exists(dir.file(QStringLiteral("quillary.xml"))));
    struct stat st;
    ::stat(QFile::encodeName(target).constData(), &st);
    EXPECT_EQ(st.st_mode & 0777, 0640u); // mode kept

    // A temporary file that cannot be made: the target stays.
    EXPECT_FALSE(fileio::atomicReplace(target, "newer", dir.file(QStringLiteral("no/such/dir/t")), &err));
    EXPECT_EQ(readBytes(target), QByteArray("new"));
    EXPECT_TRUE(err.startsWith(QStringLiteral("Cannot create")));

    // The streaming writer: nothing reaches the target until commit.
    fileio::AtomicUtf16Writer w;
    ASSERT_TRUE(w.open(dir.file(QStringLiteral("quillary.xml"))));
    w.write(std::string_view("\xC3\xA4 x"));
    EXPECT_EQ(readBytes(target), QByteArray("new"));
    w.abort();
    EXPECT_FALSE(QFileInfo::exists(dir.file(QStringLiteral("quillary.xml"))));
    ASSERT_TRUE(w.open(dir.file(QStringLiteral("quillary.xml"))));
    w.write(std::string_view("\xC3\xA4 x"));
    ASSERT_TRUE(w.commit(target));
    EXPECT_EQ(readBytes(target), QByteArray("\xFF\xFE\xE4\0 \0x\0", 8));
}

TEST(ConfigFile, GettersSettersAndMissingElements)
{
    TempDir dir;
    QString path = dir.file(QStringLiteral("conf.xml"));
    writeBytes(path, "<?xml version=\"1.0\"?><!DOCTYPE c [<!ELEMENT c ANY><!ELEMENT mshhw (#PCDATA)>"
                     "<!ELEMENT onlinecolor (#PCDATA)><!ELEMENT anchorcolor (#PCDATA)>]>"
                     "<c><onlinecolor>00FF00</onlinecolor><mshhw></mshhw><anchorcolor>FFFF00</anchorcolor></c>");
    ScriptedMsgBox box;
    cConfigFile conf(box);
    ASSERT_TRUE(conf.Load(path));
    EXPECT_EQ(conf.getHHWFile(), QString());
    EXPECT_EQ(conf.getOnlineColor(), QStringLiteral("00FF00"));
    EXPECT_EQ(conf.getPrintColor(), QString()); // not in the file
    conf.setHHWFile(QStringLiteral("/usr/bin/chmcmd"));
    conf.setOnlineColor(QStringLiteral("112233"));
    conf.setPrintColor(QStringLiteral("445566")); // not created, lost

    cConfigFile again(box);
    ASSERT_TRUE(again.Load(path));
    EXPECT_EQ(again.getHHWFile(), QStringLiteral("/usr/bin/chmcmd"));
    EXPECT_EQ(again.getOnlineColor(), QStringLiteral("112233"));
    EXPECT_EQ(again.getAnchorColor(), QStringLiteral("FFFF00"));
    EXPECT_EQ(again.getPrintColor(), QString());
    EXPECT_TRUE(box.empty());

    // The installed default is valid and has all four elements.
    cConfigFile installed(box);
    ASSERT_TRUE(installed.Load(QStringLiteral(QUILLARY_SOURCE_DIR "/xsl/conf.xml")));
    EXPECT_EQ(installed.getHHWFile(), QString());
    EXPECT_EQ(installed.getOnlineColor().size(), 6);
    EXPECT_EQ(installed.getPrintColor().size(), 6);
    EXPECT_EQ(installed.getAnchorColor().size(), 6);

    // A damaged file: a stop box with line, source text and reason.
    writeBytes(path, "<c>\n<mshhw></c>\n");
    cConfigFile bad(box);
    EXPECT_FALSE(bad.Load(path));
    EXPECT_EQ(box.lastIcon(), MsgIcon::Critical);
    EXPECT_TRUE(box.last().startsWith(QStringLiteral("error on line 2\r\n<mshhw></c>\r\n"))) << box.last().toStdString();
    EXPECT_EQ(bad.getOnlineColor(), QString());
}
