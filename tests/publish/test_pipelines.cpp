// The four pipelines end to end on the sample, and the clean-up of every
// failure path.
#include "cconfigfile.h"
#include "chunker.h"
#include "generator.h"
#include "cproject.h"
#include "output.h"
#include "outputlog.h"
#include "outputproperties.h"
#include "paths.h"
#include "processrunner.h"
#include "publishpaths.h"
#include "testsupport.h"
#include "xsltrunner.h"

#include <QDir>
#include <QElapsedTimer>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <thread>

using namespace testing_support;

namespace {

// Writes a file, making its folder first.
void put(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    writeBytes(path, bytes);
}

void makeExecutable(const QString& path, const QByteArray& script)
{
    writeBytes(path, script);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

class Pipelines : public ::testing::Test {
protected:
    TempDir dir;
    QString qly;
    QString P; // project folder
    ScriptedMsgBox box;

    void SetUp() override
    {
        QProcess::execute("cp", {"-r", sampleFolder() + "/.", dir.path()});
        QProcess::execute("chmod", {"-R", "u+w", dir.path()});
        qly = dir.file("sample.qly");
        P = dir.path() + "/sample/";
        box.setDefault(MsgAnswer::Yes);
        setCompiler(findOnPath("chmcmd"));
    }
    void TearDown() override
    {
        paths::setProgramFolder(QString());
        stylesheet::setDocbookFolder(QString());
        stylesheet::setDocbookLayerEnabled(true);
        chunker::setEnabled(true);
        publishpaths::setFontConfigurationFile(QString());
    }

    void setCompiler(const QString& path)
    {
        cConfigFile conf(box);
        ASSERT_TRUE(conf.Load(paths::settingsFile("conf.xml")));
        conf.setHHWFile(path);
    }

    struct Run {
        QString log;
        bool red = false;
        QString result;
        bool logView = false;
    };

    Run run(const QString& format, const QString& lang, bool keep = false,
            const std::function<void(cOutputProperties&)>& setup = {}, const QString& projectFile = {},
            const std::atomic<bool>* cancel = nullptr)
    {
        cProject project(box);
        EXPECT_TRUE(project.Load(projectFile.isEmpty() ? qly : projectFile));
        cOutputProperties props;
        if (setup)
            setup(props);
        OutputLog log;
        cOutput out(project, props, log, box);
        out.setCancel(cancel);
        out.runOutput(lang, format, keep);
        EXPECT_TRUE(out.resultButtonsEnabled());
        return {log.text(), log.isRed(), out.resultFile, out.logView()};
    }

    QStringList projectEntries() const
    {
        QStringList l = QDir(P).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
        l.sort();
        return l;
    }

    // A copy of the program folder in which one file is replaced or missing.
    QString programCopy(const QString& replace, const QByteArray& content, bool remove = false,
                        const QString& name = "prog")
    {
        QString prog = dir.file(name);
        QDir().mkpath(prog);
        for (const QFileInfo& fi : QDir(paths::programFolder()).entryInfoList(QDir::Files))
            QFile::copy(fi.absoluteFilePath(), prog + "/" + fi.fileName());
        QFile::remove(prog + "/" + replace);
        if (!remove)
            writeBytes(prog + "/" + replace, content);
        return prog;
    }

    // A DocBook folder whose stylesheet of one format makes nothing.
    QString brokenDocbook(const QString& sub, const QString& file)
    {
        QString db = dir.file("db");
        QDir().mkpath(db + "/" + sub);
        writeBytes(db + "/" + sub + "/" + file,
                   "<?xml version=\"1.0\"?><xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" "
                   "version=\"1.0\"><xsl:template match=\"/\"><xsl:message terminate=\"yes\">broken</xsl:message>"
                   "</xsl:template></xsl:stylesheet>");
        return db;
    }
};

const QStringList kAuthorFiles = {"book.xml", "chapter1.xml", "chapter2.xml", "chapter3.xml", "img"};

TEST_F(Pipelines, HTML)
{
    Run r = run(cOutput::kHTML, "en", true);
    QString result = P + "output/html/book_en.html";
    EXPECT_FALSE(r.red) << r.log.toStdString();
    EXPECT_EQ(r.result, result);
    EXPECT_EQ(r.log.left(r.log.indexOf("Time: ")),
              OutputLog::kStartText + "\r\n\r\nXSLT: Transforming Quillary XML to DocBook XML..."
                                      "\r\nXSLT: DocBook XML document was created."
                                      "\r\nXSLT: Transforming DocBook XML to HTML file..."
                                      "\r\nXSLT: HTML file was created.\r\n"
                                      "\r\nCopying all neccessary images...\r\n"
                                      "\r\nOUTPUT: " +
                  result + "\r\n\r\n");
    EXPECT_TRUE(r.log.endsWith("\r\n\r\nDone."));
    ASSERT_TRUE(QFileInfo::exists(result));
    QString html = QString::fromLatin1(readBytes(result));
    EXPECT_TRUE(html.contains("src=\"img/en/window.png\""));
    EXPECT_TRUE(html.contains("src=\"img/en/toolbar.png\" width=\"48\"")); // scaled to 50 %
    EXPECT_TRUE(html.contains("border=\"1\""));                             // table with borders
    EXPECT_TRUE(html.contains("class=\"note\""));
    EXPECT_TRUE(html.contains("href=\"#topic3\""));
    EXPECT_TRUE(html.contains("This paragraph appears only in online help."));
    EXPECT_FALSE(html.contains("This paragraph appears only in print."));
    EXPECT_TRUE(QFileInfo::exists(P + "output/html/img/en/window.png"));
    EXPECT_TRUE(QFileInfo::exists(P + "output/html/img/en/toolbar.png"));
    EXPECT_TRUE(QFileInfo::exists(P + "output/book_en.xml"));
    EXPECT_EQ(projectEntries(), kAuthorFiles + QStringList{"output"});
}

TEST_F(Pipelines, HTMLWithCovers)
{
    QString cover = P + "img/cover.png";
    Run r = run(cOutput::kHTML, "de", false,
                [&](cOutputProperties& p) { p.setText("txtCoverImage", cOutputProperties::kHTML, cover); });
    EXPECT_FALSE(r.red) << r.log.toStdString();
    EXPECT_TRUE(QFileInfo::exists(P + "output/html/img/de/cover.png"));
    EXPECT_TRUE(QFileInfo::exists(P + "output/html/img/de/window.png"));
    EXPECT_TRUE(QString::fromLatin1(readBytes(P + "output/html/book_de.html")).contains("src=\"img/de/cover.png\""));
    // The language image folder holds only this run's files.
    put(P + "output/html/img/de/stale.png", "x");
    r = run(cOutput::kHTML, "de", false, [&](cOutputProperties& p) {
        p.setText("txtCoverImage", cOutputProperties::kHTML, P + "img/nothere.png");
    });
    EXPECT_FALSE(QFileInfo::exists(P + "output/html/img/de/stale.png"));
    EXPECT_FALSE(QFileInfo::exists(P + "output/html/img/de/cover.png"));
    EXPECT_FALSE(QFileInfo::exists(P + "output/html/img/de/nothere.png"));
    EXPECT_TRUE(QString::fromLatin1(readBytes(P + "output/html/book_de.html")).contains("src=\"img/de/nothere.png\""));
}

TEST_F(Pipelines, HTMLFrames)
{
    put(P + "output/html_frames_de/old.html", "x");
    Run r = run(cOutput::kHTMLChunk, "de");
    QString folder = P + "output/html_frames_de/";
    EXPECT_FALSE(r.red) << r.log.toStdString();
    EXPECT_EQ(r.result, folder + "index.html");
    EXPECT_TRUE(r.log.contains("\r\nXSLT: Transforming DocBook XML to HTML files...\r\nXSLT: HTML files were created.\r\n"));
    for (const char* f : {"index.html", "toc.html", "main.html", "ch01s01.html", "img/chapter_c.gif",
                          "img/chapter_e.gif", "img/topic.gif", "img/de/window.png"})
        EXPECT_TRUE(QFileInfo::exists(folder + f)) << f;
    EXPECT_FALSE(QFileInfo::exists(folder + "old.html"));
    QString toc = QString::fromLatin1(readBytes(folder + "toc.html"));
    EXPECT_TRUE(toc.contains("img/chapter_c.gif"));
    EXPECT_TRUE(toc.contains("text-decoration: none; color: #000080"));
    EXPECT_TRUE(QString::fromLatin1(readBytes(folder + "index.html")).contains("<frameset"));
    EXPECT_EQ(projectEntries(), kAuthorFiles + QStringList{"output"});
}

TEST_F(Pipelines, HTMLHelp)
{
    if (findOnPath("chmcmd").isEmpty())
        GTEST_SKIP() << "chmcmd is not installed";
    writeBytes(P + "chart.html", "author's");
    writeBytes(P + "notes.html", "author's");
    Run r = run(cOutput::kHTMLHelp, "en");
    QString result = P + "output/book_en.chm";
    EXPECT_FALSE(r.red) << r.log.toStdString();
    EXPECT_EQ(r.result, result);
    EXPECT_TRUE(r.log.contains("\r\nXSLT: HTML Help source files were created.\r\n\r\n"
                               "HH COMPILER: Compiling HTML Help from source files..."
                               "\r\nHH COMPILER: HTML Help was created.\r\n\r\nOUTPUT: " +
                               result));
    EXPECT_TRUE(QFileInfo::exists(result));
    // The sources are gone, with the author's ch*.html, as specified.
    EXPECT_EQ(projectEntries(), kAuthorFiles + QStringList({"notes.html", "output"}));
    // The context id of the welcome topic reached the map.
    QProcess ls;
    ls.start("chmls", {"-n", "list", result});
    ls.waitForFinished();
    EXPECT_TRUE(QString::fromUtf8(ls.readAllStandardOutput()).contains("/#IVB"));
}

TEST_F(Pipelines, PDF)
{
    TempDir conf;
    publishpaths::setFontConfigurationFile(conf.file("fop/fonts/conf.xml"));
    Run r = run(cOutput::kPDF, "de");
    QString result = P + "output/book_de.pdf";
    EXPECT_FALSE(r.red) << r.log.toStdString();
    EXPECT_EQ(r.result, result);
    ASSERT_TRUE(QFileInfo::exists(result));
    EXPECT_TRUE(readBytes(result).startsWith("%PDF"));
    EXPECT_TRUE(box.texts().contains("When you are creating a PDF output for the first time, font metrics files have "
                                     "to be created in order to use correct character encoding."));
    QString marks = QString(2, QChar(127));
    EXPECT_TRUE(r.log.contains("Creating font metrics files. It may take a while, please be patient.\r\n" + marks +
                               marks.repeated(10) + marks + " Done.\r\n\r\n"));
    QString fonts = QString::fromUtf8(readBytes(conf.file("fop/fonts/conf.xml")));
    EXPECT_TRUE(fonts.startsWith("<fop version=\"1.0\">"));
    // The twelve faces under their two names each, then the fallbacks found.
    static const QRegularExpression twelve("<font-triplet name=\"(Arial|Times|Courier)(MT)?\"");
    EXPECT_EQ(fonts.count(twelve), 24);
    EXPECT_TRUE(fonts.contains("<font-triplet name=\"TimesMT\" style=\"italic\" weight=\"bold\"/>"));
    EXPECT_TRUE(fonts.contains("<pdf-ua-mode>PDF/UA-1</pdf-ua-mode>"));
    EXPECT_TRUE(fonts.contains("<font-triplet name=\"DejaVuSans\" style=\"italic\" weight=\"bold\"/>"))
        << "fonts-dejavu-core is installed by scripts/deps";
    // A configuration made before the fallbacks is made anew, without a word.
    writeBytes(conf.file("fop/fonts/conf.xml"), fonts.left(fonts.indexOf("<!--")).toUtf8() +
                                                     "</fonts></renderer></renderers></fop>\r\n");
    box.clear();
    Run again = run(cOutput::kPDF, "de");
    EXPECT_FALSE(again.red) << again.log.toStdString();
    EXPECT_FALSE(box.texts().join("|").contains("first time")) << box.texts().join("|").toStdString();
    EXPECT_FALSE(again.log.contains(marks));
    EXPECT_EQ(QString::fromUtf8(readBytes(conf.file("fop/fonts/conf.xml"))), fonts);
    EXPECT_TRUE(r.log.contains("\r\nXSLT: Formatting Objects file was created.\r\n\r\nFOP: Rendering Formatting "
                               "Objects to PDF...\r\nFOP: PDF document was created.\r\n\r\nOUTPUT: " +
                               result));
    EXPECT_EQ(projectEntries(), kAuthorFiles + QStringList{"output"});
}

TEST_F(Pipelines, MissingInstalledStylesheet)
{
    QString prog = programCopy("quillary.xsl", {}, true);
    paths::setProgramFolder(prog);
    put(P + "output/html/book_en.html", "older");
    Run r = run(cOutput::kHTML, "en");
    EXPECT_TRUE(r.red);
    EXPECT_TRUE(r.log.endsWith("\r\nFile \"" + prog +
                               "/quillary.xsl\" is missing! Incorrect installation. Output can not be created!"));
    EXPECT_TRUE(r.result.isEmpty());
    EXPECT_FALSE(QFileInfo::exists(P + "output/html/book_en.html")); // HTML deletes first
    EXPECT_FALSE(QFileInfo::exists(P + "temp"));
}

TEST_F(Pipelines, FirstTransformationFails)
{
    paths::setProgramFolder(programCopy("quillary.xsl", "<xsl:template match=\"/\"><xsl:message terminate=\"yes\">"
                                                        "no</xsl:message></xsl:template></xsl:stylesheet>"));
    Run r = run(cOutput::kHTMLChunk, "en");
    EXPECT_TRUE(r.red);
    EXPECT_TRUE(r.log.contains("\r\nXSLT: DocBook XML document was not created !!!"));
    EXPECT_FALSE(r.log.contains("Done."));
    EXPECT_FALSE(QFileInfo::exists(P + "temp"));
    EXPECT_EQ(projectEntries(), kAuthorFiles);
}

TEST_F(Pipelines, HTMLHelpCompilerMissing)
{
    setCompiler("/nonexistent/chmcmd");
    QDir().mkpath(P + "temp");
    writeBytes(P + "temp/keep", "x");
    Run r = run(cOutput::kHTMLHelp, "en");
    EXPECT_TRUE(r.red);
    EXPECT_TRUE(r.log.endsWith("\r\nFile \"/nonexistent/chmcmd\" doesn't exist! Specify HTML Help compiler placement "
                               "correctly! Output may not be created!"));
    EXPECT_TRUE(QFileInfo::exists(P + "temp/keep")); // nothing touched
}

TEST_F(Pipelines, HTMLHelpSourcesNotMade)
{
    stylesheet::setDocbookFolder(brokenDocbook("htmlhelp", "htmlhelp.xsl"));
    put(P + "output/book_en.chm", "older");
    writeBytes(P + "alias.h", "author's");
    writeBytes(P + "ch99.html", "left");
    Run r = run(cOutput::kHTMLHelp, "en", true);
    EXPECT_TRUE(r.red);
    EXPECT_TRUE(r.log.contains("\r\nXSLT: HTML Help source files were not created!!!"));
    EXPECT_EQ(readBytes(P + "output/book_en.chm"), "older");
    EXPECT_TRUE(QFileInfo::exists(P + "output/book_en.xml")); // kept DocBook stays
    EXPECT_EQ(projectEntries(), kAuthorFiles + QStringList{"output"});
}

TEST_F(Pipelines, HTMLHelpNotCompiled)
{
    makeExecutable(dir.file("fakehhc"), "#!/bin/sh\necho compiler broke >&2\n");
    setCompiler(dir.file("fakehhc"));
    put(P + "output/book_en.chm", "older");
    Run r = run(cOutput::kHTMLHelp, "en");
    EXPECT_TRUE(r.red);
    EXPECT_TRUE(r.log.contains("\r\nHH COMPILER: HTML Help was not created!!!\r\ncompiler broke"));
    EXPECT_EQ(readBytes(P + "output/book_en.chm"), "older");
    EXPECT_EQ(projectEntries(), kAuthorFiles + QStringList{"output"});
}

TEST_F(Pipelines, PDFFormattingObjectsNotMade)
{
    writeBytes(dir.file("fonts.xml"), "");
    publishpaths::setFontConfigurationFile(dir.file("fonts.xml"));
    stylesheet::setDocbookFolder(brokenDocbook("fo", "docbook.xsl"));
    Run r = run(cOutput::kPDF, "en");
    EXPECT_TRUE(r.red);
    EXPECT_TRUE(r.log.contains("\r\nXSLT: Formatting Objects file was not created!!!"));
    EXPECT_TRUE(box.empty() || !box.texts().join("").contains("first time"));
    EXPECT_EQ(projectEntries(), kAuthorFiles);
}

TEST_F(Pipelines, PDFNotRendered)
{
    writeBytes(dir.file("fonts.xml"), "");
    publishpaths::setFontConfigurationFile(dir.file("fonts.xml"));
    QString bin = dir.file("bin");
    QDir().mkpath(bin);
    makeExecutable(bin + "/fop", "#!/bin/sh\necho out of memory >&2\n");
    QByteArray oldPath = qgetenv("PATH");
    qputenv("PATH", bin.toUtf8() + ":" + oldPath);
    put(P + "output/book_en.pdf", "older");
    Run r = run(cOutput::kPDF, "en");
    qputenv("PATH", oldPath);
    EXPECT_TRUE(r.red);
    EXPECT_TRUE(r.log.contains("\r\nFOP: PDF document was not created!!!\r\nout of memory"));
    EXPECT_EQ(readBytes(P + "output/book_en.pdf"), "older");
    EXPECT_EQ(projectEntries(), kAuthorFiles + QStringList{"output"}); // no .fo, no temp
}

TEST_F(Pipelines, HTMLNotMade)
{
    stylesheet::setDocbookFolder(brokenDocbook("html", "docbook.xsl"));
    put(P + "output/html/book_en.html", "older");
    Run r = run(cOutput::kHTML, "en");
    EXPECT_TRUE(r.red);
    EXPECT_TRUE(r.log.contains("\r\nXSLT: HTML file was not created!!!"));
    EXPECT_FALSE(QFileInfo::exists(P + "output/html/book_en.html"));
    EXPECT_EQ(projectEntries(), kAuthorFiles + QStringList{"output"});
}

TEST_F(Pipelines, FramesNotMadeAndMissingImage)
{
    paths::setProgramFolder(programCopy("webhelp.xsl", "<?xml version=\"1.0\"?><xsl:stylesheet "
                                                       "xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" "
                                                       "version=\"1.0\"><xsl:template match=\"/\"/></xsl:stylesheet>"));
    Run r = run(cOutput::kHTMLChunk, "en");
    EXPECT_TRUE(r.red);
    EXPECT_TRUE(r.log.contains("\r\nXSLT: HTML files were not created!!!"));
    EXPECT_FALSE(QFileInfo::exists(P + "output/html_frames_en"));
    EXPECT_EQ(projectEntries(), kAuthorFiles + QStringList{"output"});

    // A navigation image missing: logged red, the run goes on to its end.
    paths::setProgramFolder(QString());
    QString prog = programCopy("topic.gif", {}, true, "prog2");
    paths::setProgramFolder(prog);
    r = run(cOutput::kHTMLChunk, "en");
    EXPECT_TRUE(r.red);
    EXPECT_TRUE(r.log.contains("\r\nImage \"" + prog + "/topic.gif\" is missing! Incorrect installation."));
    EXPECT_TRUE(r.log.endsWith("Done."));
    EXPECT_TRUE(QFileInfo::exists(P + "output/html_frames_en/img/chapter_e.gif"));
}

TEST(CopyImages, LandOnlyInTheOutputImageFolder)
{
    // A project folder whose own path holds "/img/en".
    TempDir dir;
    const QString root = dir.file("img/en");
    QDir().mkpath(root);
    QProcess::execute("cp", {"-r", sampleFolder() + "/.", root});
    QProcess::execute("chmod", {"-R", "u+w", root});
    const QString P = root + "/sample/";
    ScriptedMsgBox box;
    cProject project(box);
    ASSERT_TRUE(project.Load(root + "/sample.qly"));
    cOutputProperties props;
    OutputLog log;
    cOutput out(project, props, log, box);
    put(P + "temp/q.xml", "<book><imagedata fileref=\"img/en/window.png\"/>"
                          "<imagedata fileref=\"img/en/../../chapter1.xml\"/></book>");
    out.copyImages(P + "temp/q.xml", "output/html", "en", QString());
    EXPECT_FALSE(log.isRed()) << log.text().toStdString();
    EXPECT_TRUE(QFileInfo::exists(P + "output/html/img/en/window.png"));
    EXPECT_FALSE(QFileInfo::exists(P + "output/chapter1.xml"));
    EXPECT_FALSE(QFileInfo::exists(dir.file("output")));
    EXPECT_TRUE(QFileInfo::exists(P + "chapter1.xml"));
}

TEST(HelpSources, RemovedByName)
{
    TempDir d;
    for (const char* f : {"alias.h", "context.h", "toc.hhc", "htmlhelp.hhp", "index.hhk", "index.html",
                          "index-toc.html", "ch01.html", "chart.html", "Ch02.html", "ch03.htm", "ch04.html.bak",
                          "chapter1.xml", "keep.html"})
        writeBytes(d.file(f), "x");
    cOutput::removeHelpSources(d.path());
    QStringList left = QDir(d.path()).entryList(QDir::Files);
    left.sort();
    EXPECT_EQ(left, QStringList({"Ch02.html", "ch03.htm", "ch04.html.bak", "chapter1.xml", "keep.html"}));
}

TEST(HelpSources, IncludesTakenIntoTheProject)
{
    TempDir d;
    writeBytes(d.file("htmlhelp.hhp"), "[OPTIONS]\r\nTitle=x\r\n\r\n[ALIAS]\r\n#include alias.h\r\n\r\n[MAP]\r\n"
                                       "#include context.h\r\n");
    writeBytes(d.file("alias.h"), "frmMain=ch01s01.html#topic1\n");
    writeBytes(d.file("context.h"), "#define frmMain\t1001\n");
    ASSERT_TRUE(inlineHhpIncludes(d.file("htmlhelp.hhp")));
    EXPECT_EQ(readBytes(d.file("htmlhelp.hhp")),
              "[OPTIONS]\r\nTitle=x\r\n\r\n[ALIAS]\r\nfrmMain=ch01s01.html\r\n\r\n[MAP]\r\n#define frmMain 1001\r\n");
}

} // namespace

// A project folder that cannot be written holds no output: the log names
// the folder and the system's reason instead of a stylesheet it never wrote.
TEST_F(Pipelines, AProjectFolderThatCannotBeWritten)
{
    QProcess::execute("chmod", {"a-w", P});
    const bool ran = testing_support::runUnprivileged([&] {
        Run inner = run(cOutput::kHTML, "en");
        EXPECT_TRUE(inner.red);
        EXPECT_TRUE(inner.log.endsWith("\r\nCannot create folder \"" + P + "temp\": Permission denied. Output can "
                                       "not be created!"))
            << inner.log.toStdString();
        EXPECT_FALSE(inner.log.contains("Done."));
    }, {dir.path()});
    QProcess::execute("chmod", {"u+w", P});
    EXPECT_TRUE(ran);
    EXPECT_EQ(projectEntries(), kAuthorFiles);
}

// Our templates over DocBook XSL and the chunker's workers change the time,
// never the result: every file of the single and the framed HTML and every
// HTML Help source is the one DocBook alone makes, but for the ids DocBook
// generates for its own anchors. On the sample in both languages and on a
// generated book with subchapters, pictures, tables, links and keywords.
TEST_F(Pipelines, TheFasterRunsGiveDocBooksOwnOutput)
{
    auto filesOf = [](const QString& folder) {
        std::map<QString, QByteArray> out;
        QDirIterator it(folder, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            static const QRegularExpression generatedId(QStringLiteral("\\bid[0-9]+\\b"));
            QByteArray bytes = readBytes(path);
            if (path.endsWith(QLatin1String(".html")) || path.endsWith(QLatin1String(".hhk")))
                bytes = QString::fromLatin1(bytes).replace(generatedId, QStringLiteral("ID")).toLatin1();
            out[QDir(folder).relativeFilePath(path)] = bytes;
        }
        return out;
    };
    GeneratorOptions options;
    options.chapters = 3;
    options.topicsPerChapter = 12;
    options.topicsPerSub = 5;
    options.languages = 1;
    const QString generated = generateProject(dir.file("gen"), "gen", options);
    const QString genFolder = dir.file("gen") + "/gen/";
    const QString sampleFolderPath = P;
    struct Book {
        QString project;
        QString folder;
        QString lang;
    };
    const Book books[] = {{qly, sampleFolderPath, "en"}, {qly, sampleFolderPath, "de"}, {generated, genFolder, "en"}};

    auto publishAll = [&](const Book& b, bool layer, bool chunks, const QString& capture) {
        stylesheet::setDocbookLayerEnabled(layer);
        chunker::setEnabled(chunks);
        QDir(b.folder + "output").removeRecursively();
        Run html = run(cOutput::kHTML, b.lang, false, {}, b.project);
        Run frames = run(cOutput::kHTMLChunk, b.lang, false, {}, b.project);
        EXPECT_FALSE(html.red || frames.red) << html.log.toStdString() << frames.log.toStdString();
        makeExecutable(dir.file("copyinghhc"),
                       ("#!/bin/sh\nfor a in \"$@\"; do case \"$a\" in *.hhp) src=$(dirname \"$a\");; esac; done\n"
                        "mkdir -p '" + capture + "'\ncp \"$src\"/*.html \"$src\"/*.hhc \"$src\"/*.hhk \"$src\"/*.hhp '" +
                        capture + "'/\n").toUtf8());
        setCompiler(dir.file("copyinghhc"));
        run(cOutput::kHTMLHelp, b.lang, false, {}, b.project);
        std::map<QString, QByteArray> files = filesOf(b.folder + "output");
        for (const auto& [name, bytes] : filesOf(capture))
            files["hh/" + name] = bytes;
        return files;
    };
    int n = 0;
    for (const Book& b : books) {
        SCOPED_TRACE(b.project.toStdString() + " " + b.lang.toStdString());
        const std::map<QString, QByteArray> alone = publishAll(b, false, false, dir.file(QString("alone%1").arg(n)));
        // The layer alone is what a book the chunker leaves to DocBook gets.
        const std::map<QString, QByteArray> layer = publishAll(b, true, false, dir.file(QString("layer%1").arg(n)));
        const std::map<QString, QByteArray> fast = publishAll(b, true, true, dir.file(QString("fast%1").arg(n)));
        // The chapters are numbered as DocBook numbers them.
        if (n == 0) {
            EXPECT_TRUE(fast.at("html/book_en.html").contains("2.1. Tables"));
        }
        ++n;
        ASSERT_GT(alone.size(), 10u);
        for (const auto* other : {&layer, &fast}) {
            EXPECT_EQ(other->size(), alone.size());
            for (const auto& [name, bytes] : alone)
                EXPECT_TRUE(other->count(name) && other->at(name) == bytes)
                    << (other == &fast ? "chunker: " : "layer: ") << name.toStdString();
        }
        // Nothing of the runs is left in the project folder.
        EXPECT_FALSE(QDir(b.folder).entryList({"*.html", "*.hh?", "temp"}).size()) << b.folder.toStdString();
    }
}

// A frames folder keeps only the files of its last run, also when the
// pages of an earlier run are written over in place.
TEST_F(Pipelines, AFramesFolderHoldsOnlyItsLastRun)
{
    const QString folder = P + "output/html_frames_en";
    Run first = run(cOutput::kHTMLChunk, "en");
    ASSERT_FALSE(first.red) << first.log.toStdString();
    const QStringList pages = QDir(folder).entryList(QDir::Files);
    writeBytes(folder + "/ch99.html", "stale");
    QDir().mkpath(folder + "/old/deeper");
    writeBytes(folder + "/old/deeper/x.html", "stale");
    writeBytes(folder + "/img/stale.png", "stale");
    // A page left read-only is written over all the same.
    QFile::setPermissions(folder + "/ch01.html", QFile::ReadOwner);
    const QByteArray before = readBytes(folder + "/ch01.html");
    writeBytes(folder + "/main.html", "damaged");

    Run second = run(cOutput::kHTMLChunk, "en");
    ASSERT_FALSE(second.red) << second.log.toStdString();
    EXPECT_EQ(QDir(folder).entryList(QDir::Files), pages);
    EXPECT_FALSE(QFileInfo::exists(folder + "/old"));
    EXPECT_FALSE(QFileInfo::exists(folder + "/img/stale.png"));
    EXPECT_TRUE(QFileInfo::exists(folder + "/img/topic.gif"));
    EXPECT_EQ(readBytes(folder + "/ch01.html"), before);
    EXPECT_TRUE(readBytes(folder + "/main.html").startsWith("<!DOCTYPE html>\n<html lang=\"en\">"));
}

// FOP's heap follows the book, within the machine; a heap that runs out is
// said in plain words.
TEST_F(Pipelines, FopsHeapFollowsTheBook)
{
    EXPECT_EQ(fopHeapMb(0, 0), 1024);
    EXPECT_EQ(fopHeapMb(10LL << 20, 16384), 1024);       // a small book: the old heap
    EXPECT_EQ(fopHeapMb(100LL << 20, 16384), 4256);      // 100 MB of FO
    EXPECT_EQ(fopHeapMb(1000LL << 20, 16384), 12288);    // capped at 3/4 of the machine
    EXPECT_EQ(fopHeapMb(1000LL << 20, 1024), 1024);      // never below 1 GB
    EXPECT_GT(physicalMemoryMb(), 0);

    writeBytes(dir.file("fonts.xml"), "");
    publishpaths::setFontConfigurationFile(dir.file("fonts.xml"));
    QString bin = dir.file("bin");
    QDir().mkpath(bin);
    makeExecutable(bin + "/fop", "#!/bin/sh\necho \"heap $JAVA_ARGS\" >&2\n"
                                 "echo 'Exception in thread \"main\" java.lang.OutOfMemoryError: Java heap space' >&2\n"
                                 "exit 1\n");
    QByteArray oldPath = qgetenv("PATH");
    qputenv("PATH", bin.toUtf8() + ":" + oldPath);
    Run r = run(cOutput::kPDF, "en");
    qputenv("PATH", oldPath);
    EXPECT_TRUE(r.red);
    EXPECT_TRUE(r.log.contains("\r\nFOP: PDF document was not created!!!\r\nFOP: Java ran out of memory with a heap of "
                               "1024 MB. Close other programs or publish on a machine with more memory.\r\n"
                               "heap -Xmx1024m"))
        << r.log.toStdString();
}

// Cancel: FOP (a script whose child keeps running) is stopped with what it
// started; the half-written PDF goes, the older result stays, the log says so.
TEST_F(Pipelines, CancelStopsFOPAndCleansUp)
{
    writeBytes(dir.file("fonts.xml"), "");
    publishpaths::setFontConfigurationFile(dir.file("fonts.xml"));
    QString bin = dir.file("bin");
    QDir().mkpath(bin);
    const QString child = dir.file("child.pid");
    makeExecutable(bin + "/fop", "#!/bin/sh\nfor a; do last=$a; done\necho half > \"$last\"\n"
                                 "sleep 60 & echo $! > " + child.toUtf8() + "\nwait\n");
    QByteArray oldPath = qgetenv("PATH");
    qputenv("PATH", bin.toUtf8() + ":" + oldPath);
    put(P + "output/book_en.pdf", "older");

    std::atomic<bool> cancel{false};
    // Set from another thread once FOP runs, as the window's button would.
    std::thread clicker([&] {
        for (int i = 0; i < 600 && !QFileInfo::exists(child); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        cancel = true;
    });
    QElapsedTimer t;
    t.start();
    Run r = run(cOutput::kPDF, "en", false, {}, {}, &cancel);
    clicker.join();
    qputenv("PATH", oldPath);
    EXPECT_LT(t.elapsed(), 30000);
    EXPECT_TRUE(r.red);
    EXPECT_TRUE(r.log.contains("\r\nFOP: PDF document was not created!!!"));
    EXPECT_TRUE(r.log.endsWith(cOutput::kCancelledLine)) << r.log.right(300).toStdString();
    EXPECT_EQ(readBytes(P + "output/book_en.pdf"), "older");
    EXPECT_EQ(projectEntries(), kAuthorFiles + QStringList{"output"}); // no .fo, no .pdf, no temp
    // The program FOP started is gone too.
    const QByteArray pid = readBytes(child).trimmed();
    ASSERT_FALSE(pid.isEmpty());
    EXPECT_FALSE(QFileInfo::exists("/proc/" + QString::fromLatin1(pid) + "/cmdline") &&
                 readBytes("/proc/" + QString::fromLatin1(pid) + "/cmdline").startsWith("sleep"));
}

// A cancel before the first step: the DocBook pass stops at once and
// nothing of the run is left.
TEST_F(Pipelines, CancelBeforeTheFirstStep)
{
    for (const QString& format : {cOutput::kHTML, cOutput::kHTMLChunk}) {
        std::atomic<bool> cancel{true};
        Run r = run(format, "en", false, {}, {}, &cancel);
        EXPECT_TRUE(r.red) << format.toStdString();
        EXPECT_TRUE(r.log.endsWith(cOutput::kCancelledLine)) << r.log.right(300).toStdString();
        EXPECT_EQ(r.result, QString());
        // At most the output folders, with no file in them.
        QStringList left = projectEntries();
        if (left.removeAll("output")) {
            EXPECT_TRUE(filesBelow(P + "output").empty()) << format.toStdString();
        }
        EXPECT_EQ(left, kAuthorFiles) << format.toStdString();
    }
}

// A long transformation stops within moments of the flag.
TEST(XsltCancel, StopsALongTransformation)
{
    TempDir dir;
    writeBytes(dir.file("in.xml"), "<a>" + QByteArray("<b/>").repeated(100) + "</a>");
    writeBytes(dir.file("loop.xsl"),
               "<xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" version=\"1.0\">"
               "<xsl:variable name=\"n\" select=\"/a/b\"/>"
               "<xsl:template match=\"/\"><r><xsl:for-each select=\"$n\"><xsl:for-each select=\"$n\">"
               "<xsl:for-each select=\"$n\"><xsl:for-each select=\"$n\"><xsl:for-each select=\"$n\">"
               "<xsl:for-each select=\"$n\"><xsl:value-of select=\"''\"/></xsl:for-each></xsl:for-each>"
               "</xsl:for-each></xsl:for-each></xsl:for-each></xsl:for-each></r></xsl:template>"
               "</xsl:stylesheet>");
    XsltJob job;
    job.stylesheet = dir.file("loop.xsl");
    job.input = dir.file("in.xml");
    job.output = dir.file("out.xml");
    job.readFolders = {dir.path()};
    job.writeFolders = {dir.path()};
    std::atomic<bool> cancel{false};
    job.cancel = &cancel;
    std::thread clicker([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        cancel = true;
    });
    QElapsedTimer t;
    t.start();
    const XsltResult r = runXsltHere(job);
    clicker.join();
    EXPECT_LT(t.elapsed(), 10000);
    EXPECT_FALSE(r.transformed);
    EXPECT_TRUE(r.messages.contains("The transformation was cancelled.")) << r.messages.toStdString();
    EXPECT_FALSE(QFileInfo::exists(dir.file("out.xml")));
}
