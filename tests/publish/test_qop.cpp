// The .qop file: its exact form, the round trip, a wrong header, the cut at a quote.
#include "outputproperties.h"
#include "testsupport.h"

#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {

QStringList fileLines(const QByteArray& bytes)
{
    QString t = QString::fromUtf8(bytes);
    EXPECT_TRUE(t.endsWith("\r\n"));
    t.chop(2);
    return t.split("\r\n");
}

TEST(Qop, HeaderRecordsAndOrder)
{
    cOutputProperties p;
    QStringList l = fileLines(p.propertiesText());
    ASSERT_GT(l.size(), 10);
    EXPECT_EQ(l[0], "\"Quillary output properties file 1.0\"");
    EXPECT_EQ((l.size() - 1) % 3, 0);
    // The four cover images first, then tab 3 with the left pane frame.
    EXPECT_EQ(l.mid(1, 3), QStringList({"txtCoverImage", "\"\"", "3"}));
    EXPECT_EQ(l.mid(10, 3), QStringList({"txtCoverImage", "\"\"", "0"}));
    EXPECT_EQ(l.mid(13, 3), QStringList({"picToCBGColor", "16777215", "#NULL#"}));
    EXPECT_EQ(l.mid(16, 3), QStringList({"cmbToCFont", "1", "#NULL#"}));
    EXPECT_EQ(l.mid(19, 3), QStringList({"picToCColor", "8388608", "#NULL#"}));
    EXPECT_EQ(l.mid(22, 3), QStringList({"cmbToCSize", "2", "#NULL#"}));
    EXPECT_EQ(l.mid(25, 3), QStringList({"chkToCBold", "1", "#NULL#"}));
    EXPECT_EQ(l.mid(34, 3), QStringList({"optPrinted", "#FALSE#", "3"}));
    EXPECT_EQ(l.mid(37, 3), QStringList({"optOnline", "#TRUE#", "3"}));
    EXPECT_EQ(l.mid(40, 3), QStringList({"txtToCDepth", "\"10\"", "3"}));

    // The example: a bold body on the HTML tab with a white swatch.
    cOutputProperties q;
    q.setCheck("chkBodyBold", cOutputProperties::kHTML, true);
    QString text = QString::fromUtf8(q.propertiesText());
    EXPECT_TRUE(text.contains("\r\nchkBodyBold\r\n1\r\n2\r\n"));
    EXPECT_TRUE(text.contains("\r\npicBodyBGColor\r\n16777215\r\n2\r\n"));

    // Tab 1 has no author, book title or body background, and its singles.
    EXPECT_FALSE(text.contains("\r\nchkAuthorBold\r\n1\r\n1\r\n"));
    EXPECT_TRUE(text.contains("\r\ncmbPaperType\r\n5\r\n#NULL#\r\n")); // A4 is the sixth item
    EXPECT_TRUE(text.contains("\r\ntxtColNumber\r\n\"1\"\r\n#NULL#\r\n"));
    EXPECT_TRUE(text.contains("\r\nchkHHAdvSearch\r\n1\r\n#NULL#\r\n"));
    // Tab 0 has no auto number box.
    EXPECT_FALSE(text.contains("\r\nchkAutoNumber\r\n0\r\n0\r\n"));
    EXPECT_FALSE(text.contains("\r\nchkAutoNumber\r\n1\r\n0\r\n"));
    // The four tabs end as they always did; the web help's and the EPUB's
    // controls follow them, so an older program's file is a prefix.
    const qsizetype older = text.indexOf("\r\ncmbNoteTitleSize\r\n5\r\n0\r\n");
    ASSERT_GT(older, 0);
    const QString newer = text.mid(older + QString("\r\ncmbNoteTitleSize\r\n5\r\n0\r\n").size());
    EXPECT_TRUE(newer.startsWith("txtCoverImage\r\n\"\"\r\n4\r\n")) << newer.left(80).toStdString();
    const QStringList records = newer.split("\r\n", Qt::SkipEmptyParts);
    ASSERT_EQ(records.size() % 3, 0);
    for (qsizetype i = 2; i < records.size(); i += 3)
        EXPECT_TRUE(records[i] == "4" || records[i] == "5") << records[i - 2].toStdString();
    EXPECT_TRUE(text.endsWith("cmbNoteTitleSize\r\n5\r\n5\r\n"));
}

// A file of the four older tabs loads; the newer tabs keep their defaults.
TEST(Qop, AnOlderFileLeavesTheNewerTabsAtTheirDefaults)
{
    TempDir dir;
    cOutputProperties a;
    a.setCheck("chkBodyBold", cOutputProperties::kHTML, true);
    a.setCheck("chkBodyBold", cOutputProperties::kWebHelp, true);
    const QString text = QString::fromUtf8(a.propertiesText());
    const QString marker = "\r\ncmbNoteTitleSize\r\n5\r\n0\r\n";
    writeBytes(dir.file("old.qop"), text.left(text.indexOf(marker) + marker.size()).toUtf8());
    cOutputProperties b;
    ScriptedMsgBox box;
    EXPECT_TRUE(b.LoadProperties(dir.file("old.qop"), box));
    EXPECT_TRUE(box.empty());
    EXPECT_TRUE(b.check("chkBodyBold", cOutputProperties::kHTML));
    EXPECT_FALSE(b.check("chkBodyBold", cOutputProperties::kWebHelp));
    EXPECT_EQ(b.text("cmbBodyFont", cOutputProperties::kWebHelp), "Arial");
    EXPECT_EQ(b.GetWebHelpOutput(), "online");
    EXPECT_EQ(b.GetEPUBOutput(), "print");
    EXPECT_EQ(b.GetEPUBToCDepth(), 3);
}

TEST(Qop, RoundTrip)
{
    TempDir dir;
    cOutputProperties a;
    a.setCheck("chkBodyBold", cOutputProperties::kPDF, true);
    a.setOption("optOnline", cOutputProperties::kPDF, true);
    a.setText("txtCoverImage", cOutputProperties::kHTML, "/pics/cover.png");
    a.setText("cmbBodyFont", cOutputProperties::kHTMLFrames, "Comic Sans");
    a.setColorHex("picNoteBGColor", cOutputProperties::kHH, "123456");
    a.setCheck("chkSameSize", cOutputProperties::kHTML, true);
    a.setText("cmbPaperType", cOutputProperties::kPDF, "B5");
    a.setText("txtToCDepth", cOutputProperties::kHH, "3");
    ASSERT_TRUE(a.SaveProperties(dir.file("a.qop")));

    cOutputProperties b;
    ScriptedMsgBox box;
    EXPECT_TRUE(b.LoadProperties(dir.file("a.qop"), box));
    EXPECT_TRUE(box.empty());
    EXPECT_EQ(a.propertiesText(), b.propertiesText());
    EXPECT_TRUE(b.check("chkBodyBold", cOutputProperties::kPDF));
    EXPECT_EQ(b.GetPDFOutput(), "online");
    EXPECT_EQ(b.GetCoverImage("HTML"), "/pics/cover.png");
    EXPECT_EQ(b.text("cmbBodyFont", cOutputProperties::kHTMLFrames), "Comic Sans");
    EXPECT_EQ(cOutputProperties::colorToHex(b.color("picNoteBGColor", cOutputProperties::kHH)), "123456");
    // Loading a check box runs its click: the size combo follows the box.
    EXPECT_TRUE(b.isEnabled("cmbChapterTitleSize", cOutputProperties::kHTML));
    EXPECT_FALSE(b.isEnabled("cmbChapterTitleSize", cOutputProperties::kHH));
    EXPECT_EQ(b.text("cmbPaperType", cOutputProperties::kPDF), "B5");
}

TEST(Qop, TypedComboTextIsLost)
{
    TempDir dir;
    cOutputProperties a;
    a.setText("cmbBodySize", cOutputProperties::kHTML, "13");
    ASSERT_TRUE(a.SaveProperties(dir.file("a.qop")));
    EXPECT_TRUE(QString::fromUtf8(a.propertiesText()).contains("\r\ncmbBodySize\r\n-1\r\n2\r\n"));
    cOutputProperties b;
    ScriptedMsgBox box;
    b.LoadProperties(dir.file("a.qop"), box);
    EXPECT_EQ(b.text("cmbBodySize", cOutputProperties::kHTML), "");
}

TEST(Qop, BadHeaderChangesNothing)
{
    TempDir dir;
    writeBytes(dir.file("bad.qop"), "\"Some other file 1.0\"\r\nchkBodyBold\r\n1\r\n2\r\n");
    cOutputProperties p;
    QByteArray before = p.propertiesText();
    ScriptedMsgBox box;
    EXPECT_FALSE(p.LoadProperties(dir.file("bad.qop"), box));
    ASSERT_EQ(box.all().size(), 1u);
    EXPECT_EQ(box.all()[0].title, "Error reading file");
    EXPECT_EQ(box.all()[0].text, "File is not a Quillary Author Data File");
    EXPECT_EQ(box.all()[0].icon, MsgIcon::Exclamation);
    EXPECT_EQ(p.propertiesText(), before);
}

TEST(Qop, MissingFileIsSilent)
{
    cOutputProperties p;
    ScriptedMsgBox box;
    EXPECT_FALSE(p.LoadProperties("/nonexistent/x.qop", box));
    EXPECT_TRUE(box.empty());
}

TEST(Qop, UnreadableFileIsNoDataFile)
{
    TempDir dir;
    cOutputProperties p;
    ScriptedMsgBox box;
    EXPECT_FALSE(p.LoadProperties(dir.path(), box));
    EXPECT_EQ(box.last(), "File is not a Quillary Author Data File");
}

TEST(Qop, SaveGivesTheReasonOfAFailure)
{
    TempDir dir;
    cOutputProperties p;
    QString error;
    EXPECT_FALSE(p.SaveProperties(dir.file("no/such/folder/x.qop"), &error));
    EXPECT_FALSE(error.isEmpty());
    writeBytes(dir.file("x.qop"), "old");
    ASSERT_TRUE(p.SaveProperties(dir.file("x.qop")));
    EXPECT_EQ(readBytes(dir.file("x.qop")), p.propertiesText());
}

TEST(Qop, QuoteCutsTheText)
{
    TempDir dir;
    cOutputProperties a;
    a.setText("txtCoverImage", cOutputProperties::kPDF, "/pics/my\"cover.png");
    ASSERT_TRUE(a.SaveProperties(dir.file("q.qop")));
    EXPECT_TRUE(QString::fromUtf8(a.propertiesText()).contains("\r\ntxtCoverImage\r\n\"/pics/my\"cover.png\"\r\n1\r\n"));
    cOutputProperties b;
    ScriptedMsgBox box;
    b.LoadProperties(dir.file("q.qop"), box);
    EXPECT_EQ(b.GetCoverImage("PDF"), "/pics/my");
    // The records after it still read.
    EXPECT_EQ(b.propertiesText(), [&] {
        cOutputProperties c;
        c.setText("txtCoverImage", cOutputProperties::kPDF, "/pics/my");
        return c.propertiesText();
    }());
}

TEST(Qop, OtherOrderUnknownRecordsAndCommas)
{
    TempDir dir;
    writeBytes(dir.file("o.qop"), "\"Quillary output properties file 1.0\"\r\n"
                                  "chkNothing\r\n1\r\n2\r\n"
                                  "optPrinted,#TRUE#,2\r\n"
                                  "chkRule\r\n0\r\n#NULL#\r\n"
                                  "cmbBodyFont\r\n7\r\n1\r\n");
    cOutputProperties p;
    ScriptedMsgBox box;
    p.LoadProperties(dir.file("o.qop"), box);
    EXPECT_TRUE(box.empty());
    EXPECT_EQ(p.GetHTMLOutput(), "print");
    EXPECT_FALSE(p.check("chkRule", cOutputProperties::kPDF));
    // An index beyond the PDF font list is refused.
    EXPECT_EQ(p.text("cmbBodyFont", cOutputProperties::kPDF), "Times New Roman");
}

TEST(Qop, ResetsPerTab)
{
    cOutputProperties p;
    p.setText("cmbBodySize", cOutputProperties::kPDF, "24");
    p.setText("cmbBodySize", cOutputProperties::kHTML, "24");
    p.reset(cOutputProperties::kPDF);
    EXPECT_EQ(p.text("cmbBodySize", cOutputProperties::kPDF), "10");
    EXPECT_EQ(p.text("cmbBodySize", cOutputProperties::kHTML), "24");
    EXPECT_EQ(p.GetHHOutput(), "online");
    EXPECT_EQ(p.GetPDFOutput(), "print");
    EXPECT_EQ(p.text("cmbNoteTitleFont", cOutputProperties::kPDF), "Arial");
    EXPECT_EQ(cOutputProperties::colorToHex(p.color("picChapterTitleBGColor", cOutputProperties::kHTML)), "FFFFFF");
    EXPECT_EQ(cOutputProperties::colorToHex(p.color("picChapterTitleBGColor", cOutputProperties::kHTMLFrames)), "ADD0FC");
    EXPECT_TRUE(p.check("chkDescrpItalic", cOutputProperties::kHH));
    EXPECT_FALSE(p.isEnabled("cmbChapterTitleSize", cOutputProperties::kHH));
    EXPECT_EQ(p.GetCoverImage("nothing"), "");
}

TEST(Qop, LastQopCarriesTheState)
{
    cOutputProperties a;
    a.setCheck("chkToC", cOutputProperties::kHH, true);
    a.cmdOK();
    EXPECT_TRUE(QFileInfo::exists(cOutputProperties::lastQopPath()));
    cOutputProperties b;
    ScriptedMsgBox box;
    b.formLoad(box);
    EXPECT_TRUE(b.check("chkToC", cOutputProperties::kHH));
    b.setCheck("chkToC", cOutputProperties::kHH, false);
    b.cmdCancel(box);
    EXPECT_TRUE(b.check("chkToC", cOutputProperties::kHH));
    QFile::remove(cOutputProperties::lastQopPath());
    // Without last.qop, Cancel keeps the edits.
    b.setCheck("chkToC", cOutputProperties::kHH, false);
    b.cmdCancel(box);
    EXPECT_FALSE(b.check("chkToC", cOutputProperties::kHH));
}

} // namespace
