// A hand-edited chapter file with script and data addresses: the published
// help never carries them, and an image that is a link out of the project
// is not copied into it.
#include "cproject.h"
#include "output.h"
#include "outputlog.h"
#include "outputproperties.h"
#include "paths.h"
#include "publishpaths.h"
#include "testsupport.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {

const char* const kHostileParagraphs =
    "<p>Links: <link ref=\"javascript:alert(1)\" weblabel=\"js-label\"></link>"
    "<link ref=\" JaVaScRiPt:alert(2)\"></link>"
    "<link ref=\"java&#9;script:alert(3)\" weblabel=\"tab-label\"></link>"
    "<link ref=\"&#10;vbscript:msgbox(4)\" weblabel=\"vb-label\"></link>"
    "<link ref=\"data:text/html;base64,PHNjcmlwdD4=\" weblabel=\"data-label\"></link>"
    "<link ref=\"file:///etc/passwd\" weblabel=\"file-label\"></link>"
    "<link ref=\"https://example.org/help\" weblabel=\"fine-label\"></link></p>"
    "<image file=\"javascript:alert(5)\" format=\"png\" scale=\"100\">Script picture</image>"
    "<image file=\"DATA:image/png;base64,AAAA\" format=\"png\" scale=\"100\"></image>";

class ScriptUrls : public ::testing::Test {
protected:
    TempDir dir;
    QString qly;
    QString P;
    ScriptedMsgBox box;

    void SetUp() override
    {
        QProcess::execute("cp", {"-r", sampleFolder() + "/.", dir.path()});
        QProcess::execute("chmod", {"-R", "u+w", dir.path()});
        qly = dir.file("sample.qly");
        P = dir.path() + "/sample/";
        box.setDefault(MsgAnswer::Yes);
        // Into the English text of the first topic, as an editor of the file would.
        QString chapter = readText(P + "chapter1.xml");
        const int at = chapter.indexOf("</onelang>");
        ASSERT_GT(at, 0);
        chapter.insert(at, QString::fromUtf8(kHostileParagraphs));
        writeUtf16(P + "chapter1.xml", chapter);
    }

    QString publish(const QString& format)
    {
        cProject project(box);
        EXPECT_TRUE(project.Load(qly));
        cOutputProperties props;
        OutputLog log;
        cOutput out(project, props, log, box);
        out.runOutput("en", format, true);
        EXPECT_FALSE(log.isRed()) << log.text().toStdString();
        return out.resultFile;
    }

    // Every HTML file below a folder, as one text.
    static QString allHtml(const QString& folder)
    {
        QString all;
        QDirIterator it(folder, {"*.html", "*.htm"}, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext())
            all += QString::fromUtf8(readBytes(it.next()));
        return all;
    }

    static void expectNoScriptAddress(const QString& text, const char* what)
    {
        const QString lower = text.toLower();
        for (const char* bad : {"javascript:", "vbscript:", "data:text", "data:image", "file:///etc"})
            EXPECT_FALSE(lower.contains(QString::fromLatin1(bad))) << what << ": " << bad;
        EXPECT_FALSE(lower.contains("java\tscript")) << what;
        EXPECT_FALSE(lower.contains("java&#9;script")) << what;
    }
};

} // namespace

TEST_F(ScriptUrls, NeitherDocBookNorHtmlCarriesThem)
{
    const QString result = publish(cOutput::kHTML);
    ASSERT_TRUE(QFileInfo::exists(result)) << result.toStdString();
    const QString html = QString::fromUtf8(readBytes(result));
    expectNoScriptAddress(html, "html");
    expectNoScriptAddress(QString::fromUtf8(readBytes(P + "output/book_en.xml")), "docbook");
    // The allowed link stays a link; the refused ones keep their labels as text.
    EXPECT_TRUE(html.contains("href=\"https://example.org/help\"")) << html.toStdString();
    for (const char* label : {"js-label", "tab-label", "vb-label", "data-label", "file-label", "fine-label"})
        EXPECT_TRUE(html.contains(QString::fromLatin1(label))) << label;
    EXPECT_TRUE(html.contains("Script picture"));
    // The sample's own picture is still there.
    EXPECT_TRUE(html.contains("src=\"img/en/window.png\""));
}

TEST_F(ScriptUrls, FramedHtmlDoesNotCarryThemEither)
{
    const QString result = publish(cOutput::kHTMLChunk);
    ASSERT_TRUE(QFileInfo::exists(result)) << result.toStdString();
    const QString all = allHtml(QFileInfo(result).absolutePath());
    expectNoScriptAddress(all, "framed html");
    EXPECT_TRUE(all.contains("href=\"https://example.org/help\""));
}

TEST(ScriptUrlsImages, AnImageThatLinksOutOfTheProjectIsNotCopied)
{
    TempDir dir;
    QProcess::execute("cp", {"-r", sampleFolder() + "/.", dir.path()});
    QProcess::execute("chmod", {"-R", "u+w", dir.path()});
    const QString P = dir.path() + "/sample/";
    writeBytes(dir.file("secret.png"), "secret bytes");
    ASSERT_TRUE(QFile::link(dir.file("secret.png"), P + "img/en/evil.png"));
    ScriptedMsgBox box;
    cProject project(box);
    ASSERT_TRUE(project.Load(dir.file("sample.qly")));
    cOutputProperties props;
    OutputLog log;
    cOutput out(project, props, log, box);
    QDir().mkpath(P + "temp");
    writeBytes(P + "temp/q.xml", "<book><imagedata fileref=\"img/en/window.png\"/>"
                                 "<imagedata fileref=\"img/en/evil.png\"/></book>");
    out.copyImages(P + "temp/q.xml", "output/html", "en", QString());
    EXPECT_TRUE(QFileInfo::exists(P + "output/html/img/en/window.png"));
    EXPECT_FALSE(QFileInfo::exists(P + "output/html/img/en/evil.png"));
}
