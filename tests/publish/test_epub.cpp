// The EPUB package from the sample's DocBook: what epubcheck says of it,
// what readers find in it, and what a failed or cancelled run leaves.
#include "cproject.h"
#include "epub.h"
#include "generator.h"
#include "output.h"
#include "outputlog.h"
#include "outputproperties.h"
#include "processrunner.h"
#include "publishpaths.h"
#include "testsupport.h"
#include "ziparchive.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QXmlStreamReader>
#include <QtEndian>

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <memory>
#include <vector>

using namespace testing_support;

namespace {

const QString kDc = QStringLiteral("http://purl.org/dc/elements/1.1/");

// The sample with the DocBook of the first pass in English and German, made
// once: the cases only read them.
struct Sample {
    TempDir dir;
    QString P; // project folder, closing slash
    QString cover;
    std::map<QString, QString> docbook; // by language
    QString docbookWithCover;           // German, the cover on its title page
    // A generated book in Russian: other letters, more pictures, an index.
    QString generated; // its project folder
    QString generatedDocbook;
};
Sample* g_sample = nullptr;

QString firstPass(cOutput& out, const QString& lang, const QString& cover, const QString& keep)
{
    if (!out.makeDocBook(lang, QStringLiteral("online"), cover))
        return {};
    QFile::remove(keep);
    QFile::copy(out.tempFolder() + QStringLiteral("/quillary.xml"), keep);
    return keep;
}

struct ManifestItem {
    QString href, type, properties;
};

// What a reader takes from the package file.
struct Opf {
    std::map<QString, QStringList> dc; // dc:language -> its values
    std::vector<ManifestItem> items;
    QStringList spine;
    QString lang;

    const ManifestItem* withProperty(const QString& p) const
    {
        for (const ManifestItem& i : items)
            if (i.properties.split(QLatin1Char(' ')).contains(p))
                return &i;
        return nullptr;
    }
    const ManifestItem* withHref(const QString& href) const
    {
        for (const ManifestItem& i : items)
            if (i.href == href)
                return &i;
        return nullptr;
    }
};

Opf readOpf(const QString& path)
{
    Opf opf;
    QFile f(path);
    EXPECT_TRUE(f.open(QIODevice::ReadOnly)) << path.toStdString();
    QXmlStreamReader x(&f);
    while (!x.atEnd()) {
        if (x.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QString name = x.name().toString();
        if (name == QLatin1String("package"))
            opf.lang = x.attributes().value(QStringLiteral("xml:lang")).toString();
        else if (x.namespaceUri() == kDc)
            opf.dc[name] << x.readElementText().trimmed();
        else if (name == QLatin1String("item"))
            opf.items.push_back({x.attributes().value(QStringLiteral("href")).toString(),
                                 x.attributes().value(QStringLiteral("media-type")).toString(),
                                 x.attributes().value(QStringLiteral("properties")).toString()});
        else if (name == QLatin1String("itemref"))
            opf.spine << x.attributes().value(QStringLiteral("idref")).toString();
    }
    EXPECT_FALSE(x.hasError()) << x.errorString().toStdString();
    return opf;
}

// An entry of the navigation document: its text, and whether a reader
// shows it (a list marked hidden is below the chosen depth).
struct NavEntry {
    QString text;
    QString href;
    bool shown;
};

std::vector<NavEntry> readNav(const QString& path)
{
    std::vector<NavEntry> entries;
    QFile f(path);
    EXPECT_TRUE(f.open(QIODevice::ReadOnly)) << path.toStdString();
    QXmlStreamReader x(&f);
    std::vector<bool> hiddenLists;
    bool inToc = false;
    while (!x.atEnd()) {
        const auto token = x.readNext();
        const QString name = x.name().toString();
        if (token == QXmlStreamReader::StartElement) {
            if (name == QLatin1String("nav") && x.attributes().value(QStringLiteral("epub:type")) == QLatin1String("toc"))
                inToc = true;
            else if (inToc && name == QLatin1String("ol"))
                hiddenLists.push_back(x.attributes().hasAttribute(QStringLiteral("hidden")));
            else if (inToc && name == QLatin1String("a")) {
                const QString href = x.attributes().value(QStringLiteral("href")).toString();
                bool shown = std::find(hiddenLists.begin(), hiddenLists.end(), true) == hiddenLists.end();
                entries.push_back({x.readElementText(QXmlStreamReader::IncludeChildElements).simplified(), href, shown});
            }
        } else if (token == QXmlStreamReader::EndElement) {
            if (name == QLatin1String("nav"))
                inToc = false;
            else if (inToc && name == QLatin1String("ol"))
                hiddenLists.pop_back();
        }
    }
    EXPECT_FALSE(x.hasError()) << x.errorString().toStdString();
    return entries;
}

// The titles of a DocBook's chapters and sections (with their level in the
// contents: a chapter is 1), and its pictures' files.
struct BookParts {
    QStringList chapters;
    std::vector<std::pair<QString, int>> sections;
    QStringList images;
};

BookParts readDocBook(const QString& path)
{
    BookParts parts;
    QFile f(path);
    EXPECT_TRUE(f.open(QIODevice::ReadOnly));
    QXmlStreamReader x(&f);
    QStringList open;
    while (!x.atEnd()) {
        const auto token = x.readNext();
        if (token == QXmlStreamReader::EndElement) {
            open.removeLast();
            continue;
        }
        if (token != QXmlStreamReader::StartElement)
            continue;
        const QString name = x.name().toString();
        if (name == QLatin1String("imagedata"))
            parts.images << x.attributes().value(QStringLiteral("fileref")).toString();
        if (name == QLatin1String("title") && !open.isEmpty() &&
            (open.last() == QLatin1String("chapter") || open.last() == QLatin1String("section"))) {
            const QString title = x.readElementText(QXmlStreamReader::IncludeChildElements).simplified();
            if (open.last() == QLatin1String("chapter"))
                parts.chapters << title;
            else
                parts.sections.emplace_back(title, 1 + int(open.count(QStringLiteral("section"))));
            continue; // readElementText consumed the end tag
        }
        open << name;
    }
    return parts;
}

// The root element's language of an XHTML page.
QString pageLanguage(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    QXmlStreamReader x(&f);
    while (!x.atEnd())
        if (x.readNext() == QXmlStreamReader::StartElement)
            return x.attributes().value(QStringLiteral("xml:lang")).toString();
    return {};
}

// The first local header of a zip as a reader sees it: name, method, extra
// field length and the stored bytes.
struct FirstEntry {
    QString name;
    int method = -1;
    int extra = -1;
    QByteArray data;
};

FirstEntry firstEntry(const QString& zip)
{
    FirstEntry e;
    const QByteArray b = readBytes(zip);
    if (b.size() < 30 || !b.startsWith("PK\x03\x04"))
        return e;
    auto u16 = [&](int at) { return int(qFromLittleEndian<quint16>(b.constData() + at)); };
    const int size = int(qFromLittleEndian<quint32>(b.constData() + 18));
    const int nameLength = u16(26);
    e.method = u16(8);
    e.extra = u16(28);
    e.name = QString::fromUtf8(b.mid(30, nameLength));
    e.data = b.mid(30 + nameLength + e.extra, size);
    return e;
}

// epubcheck is a jar; Debian's /usr/bin/epubcheck only runs by itself where
// the kernel is told to start jars.
bool epubcheckCommand(QString& program, QStringList& arguments)
{
    const QString found = findOnPath(QStringLiteral("epubcheck"));
    if (found.isEmpty())
        return false;
    const QString real = QFileInfo(found).canonicalFilePath();
    if (real.endsWith(QLatin1String(".jar"))) {
        program = findOnPath(QStringLiteral("java"));
        // A short run: the quick compiler alone starts it in half the time.
        arguments = {QStringLiteral("-XX:TieredStopAtLevel=1"), QStringLiteral("-XX:+UseSerialGC"),
                     QStringLiteral("-jar"), real};
        return !program.isEmpty();
    }
    program = found;
    arguments.clear();
    return true;
}

class Epub : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        g_sample = new Sample;
        Sample& s = *g_sample;
        const QString qly = copySample(s.dir.path());
        s.P = QFileInfo(qly).absolutePath() + QStringLiteral("/sample/");
        s.cover = s.P + QStringLiteral("img/cover.png");
        ScriptedMsgBox box;
        box.setDefault(MsgAnswer::Yes);
        cProject project(box);
        ASSERT_TRUE(project.Load(qly));
        cOutputProperties props;
        OutputLog log;
        cOutput out(project, props, log, box);
        for (const QString& lang : {QStringLiteral("en"), QStringLiteral("de")})
            s.docbook[lang] = firstPass(out, lang, {}, s.dir.file(QStringLiteral("book_%1.xml").arg(lang)));
        s.docbookWithCover =
            firstPass(out, QStringLiteral("de"), QStringLiteral("img\\de\\cover.png"), s.dir.file("cover_de.xml"));
        QDir(out.tempFolder()).removeRecursively();

        GeneratorOptions options;
        options.chapters = 3;
        options.topicsPerChapter = 7;
        options.topicsPerSub = 3;
        options.languageCodes = {QStringLiteral("ru")};
        options.writeImages = true;
        const QString genQly = generateProject(s.dir.file(QStringLiteral("gen")), QStringLiteral("gen"), options);
        s.generated = s.dir.file(QStringLiteral("gen/gen/"));
        cProject generated(box);
        ASSERT_TRUE(generated.Load(genQly));
        cOutput genOut(generated, props, log, box);
        s.generatedDocbook = firstPass(genOut, QStringLiteral("ru"), {}, s.dir.file(QStringLiteral("gen_ru.xml")));
        QDir(genOut.tempFolder()).removeRecursively();
    }
    static void TearDownTestSuite()
    {
        delete g_sample;
        g_sample = nullptr;
    }

    void SetUp() override
    {
        ASSERT_TRUE(g_sample);
        ASSERT_FALSE(sample().docbook["en"].isEmpty());
        ASSERT_FALSE(sample().docbook["de"].isEmpty());
        ASSERT_FALSE(sample().docbookWithCover.isEmpty());
        ASSERT_FALSE(sample().generatedDocbook.isEmpty());
    }
    void TearDown() override { stylesheet::setDocbookFolder(QString()); }

    static Sample& sample() { return *g_sample; }

    TempDir dir;

    epub::Job job(const QString& lang, const QString& docbook = {}) const
    {
        epub::Job j;
        j.docbook = docbook.isEmpty() ? sample().docbook.at(lang) : docbook;
        j.projectFolder = sample().P;
        j.language = lang;
        j.cover = sample().cover;
        j.css = QStringLiteral("body { font-family: \"Liberation Serif\", serif; color: #202020; }\n");
        j.workFolder = dir.file(QStringLiteral("work"));
        j.target = dir.file(QStringLiteral("out/book_%1.epub").arg(lang));
        j.readFolders = {sample().P, QFileInfo(j.docbook).absolutePath()};
        return j;
    }

    // The package unpacked, for looking inside.
    QString unpack(const QString& epubFile)
    {
        const QString folder = dir.file(QStringLiteral("unpacked/") + QFileInfo(epubFile).completeBaseName());
        QString error;
        EXPECT_TRUE(ziparchive::extractAll(epubFile, folder, {}, &error)) << error.toStdString();
        return folder;
    }

    // The files and folders a run may leave: only the target.
    QStringList leftovers() const
    {
        QStringList found;
        QDirIterator it(dir.path(), QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
        while (it.hasNext())
            found << QDir(dir.path()).relativeFilePath(it.next());
        found.sort();
        return found;
    }
};

// ---------------------------------------------------------------- checked by epubcheck

// Packs each job and has epubcheck look at the packages, all at once: each
// check is a Java start of some seconds.
void expectEpubcheckAccepts(const std::vector<epub::Job>& jobs)
{
    QString program;
    QStringList arguments;
    if (!epubcheckCommand(program, arguments))
        GTEST_SKIP() << "epubcheck is not installed (scripts/deps installs it)";
    for (const epub::Job& j : jobs) {
        const epub::Result r = epub::package(j);
        ASSERT_TRUE(r.ok) << r.error.toStdString() << "\n" << r.messages.toStdString();
        ASSERT_TRUE(QFileInfo(j.target).isFile());
    }
    std::vector<std::unique_ptr<QProcess>> checks;
    for (const epub::Job& j : jobs) {
        auto p = std::make_unique<QProcess>();
        p->setProcessChannelMode(QProcess::MergedChannels);
        p->start(program, arguments + QStringList{j.target});
        checks.push_back(std::move(p));
    }
    for (size_t i = 0; i < checks.size(); ++i) {
        QProcess& p = *checks[i];
        ASSERT_TRUE(p.waitForFinished(120000));
        const QString said = QString::fromUtf8(p.readAll());
        SCOPED_TRACE(jobs[i].language.toStdString());
        EXPECT_EQ(p.exitCode(), 0) << said.toStdString();
        EXPECT_TRUE(said.contains(QLatin1String("0 fatals / 0 errors"))) << said.toStdString();
        EXPECT_FALSE(said.contains(QLatin1String("WARNING("))) << said.toStdString();
    }
}

TEST_F(Epub, SampleInBothLanguagesPassesEpubcheck)
{
    // German with the cover on its title page too: the first pass names it
    // in the language's picture folder, where the project has none.
    epub::Job de = job("de", sample().docbookWithCover);
    de.css.clear();
    expectEpubcheckAccepts({job("en"), de});
}

TEST_F(Epub, GeneratedRussianBookPassesEpubcheck)
{
    epub::Job ru = job("ru", sample().generatedDocbook);
    ru.projectFolder = sample().generated;
    ru.readFolders = {sample().generated, QFileInfo(ru.docbook).absolutePath()};
    ru.cover.clear();
    expectEpubcheckAccepts({ru});
}

// ---------------------------------------------------------------- what a reader finds

TEST_F(Epub, MimetypeIsTheFirstEntryStoredUncompressedThenTheContainer)
{
    const epub::Job j = job("en");
    const epub::Result r = epub::package(j);
    ASSERT_TRUE(r.ok) << r.error.toStdString();

    const FirstEntry first = firstEntry(j.target);
    EXPECT_EQ(first.name, "mimetype");
    EXPECT_EQ(first.method, 0); // stored
    EXPECT_EQ(first.extra, 0);  // readers find the type at a fixed offset
    EXPECT_EQ(first.data, QByteArray("application/epub+zip"));

    const QStringList names = ziparchive::entryNames(j.target);
    ASSERT_GE(names.size(), 3);
    EXPECT_EQ(names[1], "META-INF/container.xml");
    const QString folder = unpack(j.target);
    EXPECT_TRUE(readBytes(folder + "/META-INF/container.xml").contains("full-path=\"OEBPS/package.opf\""));
    EXPECT_TRUE(names.contains("OEBPS/package.opf"));
}

TEST_F(Epub, PackageFileCarriesTheBooksMetadataCoverAndPictures)
{
    for (const QString& lang : {QStringLiteral("en"), QStringLiteral("de")}) {
        SCOPED_TRACE(lang.toStdString());
        const epub::Job j = job(lang);
        const epub::Result r = epub::package(j);
        ASSERT_TRUE(r.ok) << r.error.toStdString();
        const QString folder = unpack(j.target);
        const Opf opf = readOpf(folder + "/OEBPS/package.opf");

        EXPECT_EQ(opf.lang, lang);
        EXPECT_EQ(opf.dc.at("language"), QStringList{lang});
        EXPECT_EQ(opf.dc.at("title"),
                  QStringList{lang == "en" ? QStringLiteral("Sample Manual") : QStringLiteral("Beispielhandbuch")});
        EXPECT_EQ(opf.dc.at("creator"), QStringList{"Quillary Team"});
        // The sample's date (11/20/26) is no date a reader takes.
        EXPECT_EQ(opf.dc.count("date"), 0u);

        // The cover, byte for byte, and its page first in reading order.
        const ManifestItem* cover = opf.withProperty("cover-image");
        ASSERT_TRUE(cover);
        EXPECT_EQ(cover->type, "image/png");
        EXPECT_EQ(readBytes(folder + "/OEBPS/" + cover->href), readBytes(sample().cover));
        ASSERT_FALSE(opf.spine.isEmpty());
        EXPECT_EQ(opf.spine.first(), "cover");

        // Every picture of the book, as the project holds it.
        const BookParts parts = readDocBook(j.docbook);
        ASSERT_FALSE(parts.images.isEmpty());
        for (const QString& image : parts.images) {
            const ManifestItem* item = opf.withHref(image);
            ASSERT_TRUE(item) << image.toStdString();
            EXPECT_EQ(item->type, "image/png");
            EXPECT_EQ(readBytes(folder + "/OEBPS/" + image), readBytes(sample().P + image)) << image.toStdString();
        }

        // The style sheet is the one given, and every page links it.
        const ManifestItem* css = opf.withHref("quillary.css");
        ASSERT_TRUE(css);
        EXPECT_EQ(readBytes(folder + "/OEBPS/quillary.css"), j.css.toUtf8());

        // Every page says its language.
        int pages = 0;
        for (const ManifestItem& item : opf.items) {
            if (item.type != "application/xhtml+xml")
                continue;
            ++pages;
            EXPECT_TRUE(item.href.endsWith(".xhtml")) << item.href.toStdString();
            EXPECT_EQ(pageLanguage(folder + "/OEBPS/" + item.href), lang) << item.href.toStdString();
            if (item.href != "cover.xhtml") {
                EXPECT_TRUE(readBytes(folder + "/OEBPS/" + item.href).contains("href=\"quillary.css\""))
                    << item.href.toStdString();
            }
        }
        EXPECT_GT(pages, 5);
    }
}

TEST_F(Epub, LanguageIsTheProjectsWhereDocBookWouldNameAnother)
{
    // DocBook knows no "en-GB" and would say "en".
    epub::Job j = job("en");
    j.language = "en-GB";
    ASSERT_TRUE(epub::package(j).ok);
    const QString folder = unpack(j.target);
    const Opf opf = readOpf(folder + "/OEBPS/package.opf");
    EXPECT_EQ(opf.lang, "en-GB");
    EXPECT_EQ(opf.dc.at("language"), QStringList{"en-GB"});
    EXPECT_EQ(pageLanguage(folder + "/OEBPS/index.xhtml"), "en-GB");
}

TEST_F(Epub, IdentifierStaysForOneBookAndLanguage)
{
    const QString first = epub::identifier("Sample Manual", "en");
    EXPECT_TRUE(first.startsWith("urn:uuid:"));
    EXPECT_EQ(first.size(), 9 + 36);
    EXPECT_EQ(epub::identifier("Sample Manual", "en"), first);
    EXPECT_NE(epub::identifier("Sample Manual", "de"), first);
    EXPECT_NE(epub::identifier("Other Manual", "en"), first);

    // Two runs of one book give one identity; the package names the book's.
    epub::Job j = job("en");
    ASSERT_TRUE(epub::package(j).ok);
    const Opf once = readOpf(unpack(j.target) + "/OEBPS/package.opf");
    j.target = dir.file("again/book_en.epub");
    ASSERT_TRUE(epub::package(j).ok);
    const Opf twice = readOpf(unpack(j.target) + "/OEBPS/package.opf");
    EXPECT_EQ(once.dc.at("identifier"), QStringList{first});
    EXPECT_EQ(twice.dc.at("identifier"), once.dc.at("identifier"));
}

TEST_F(Epub, NavigationDocumentListsTheChaptersToTheChosenDepth)
{
    for (const QString& lang : {QStringLiteral("en"), QStringLiteral("de")}) {
        SCOPED_TRACE(lang.toStdString());
        const BookParts parts = readDocBook(sample().docbook.at(lang));
        ASSERT_EQ(parts.chapters.size(), 2); // the print-only appendix is not online

        auto navOf = [&](int depth) {
            epub::Job j = job(lang);
            j.tocDepth = depth;
            j.target = dir.file(QStringLiteral("depth%1/book_%2.epub").arg(depth).arg(lang));
            const epub::Result r = epub::package(j);
            EXPECT_TRUE(r.ok) << r.error.toStdString();
            const QString folder = unpack(j.target);
            const Opf opf = readOpf(folder + "/OEBPS/package.opf");
            const ManifestItem* nav = opf.withProperty("nav");
            EXPECT_TRUE(nav);
            return nav ? readNav(folder + "/OEBPS/" + nav->href) : std::vector<NavEntry>{};
        };
        auto shown = [](const std::vector<NavEntry>& nav, const QString& title) {
            for (const NavEntry& e : nav)
                if (e.text.endsWith(title))
                    return e.shown;
            ADD_FAILURE() << "not in the contents: " << title.toStdString();
            return false;
        };

        // The sample goes four levels deep ("Finished Topic" in "Deeper").
        int deepest = 0;
        for (const auto& [title, level] : parts.sections)
            deepest = std::max(deepest, level);
        ASSERT_EQ(deepest, 4);
        for (int depth : {1, 3}) {
            SCOPED_TRACE(depth);
            const std::vector<NavEntry> nav = navOf(depth);
            for (const QString& chapter : parts.chapters)
                EXPECT_TRUE(shown(nav, chapter)) << chapter.toStdString();
            for (const auto& [title, level] : parts.sections)
                EXPECT_EQ(shown(nav, title), level <= depth) << title.toStdString();
            for (const NavEntry& e : nav)
                EXPECT_FALSE(e.href.isEmpty()) << e.text.toStdString();
        }
    }
}

TEST_F(Epub, WithoutCoverOrStyleSheetThePackageHasNeither)
{
    epub::Job j = job("en");
    j.cover.clear();
    j.css.clear();
    const epub::Result r = epub::package(j);
    ASSERT_TRUE(r.ok) << r.error.toStdString();
    const QString folder = unpack(j.target);
    const Opf opf = readOpf(folder + "/OEBPS/package.opf");
    EXPECT_FALSE(opf.withProperty("cover-image"));
    EXPECT_FALSE(opf.withHref("cover.xhtml"));
    EXPECT_FALSE(opf.withHref("quillary.css"));
    EXPECT_FALSE(QFileInfo::exists(folder + "/OEBPS/cover.png"));
    EXPECT_FALSE(readBytes(folder + "/OEBPS/index.xhtml").contains("quillary.css"));
}

TEST_F(Epub, MissingPictureOrCoverIsToldAndTheBookStillMade)
{
    Sample& s = sample();
    const QString picture = s.P + "img/en/window.png";
    const QString saved = dir.file("window.png");
    ASSERT_TRUE(QFile::rename(picture, saved));
    epub::Job j = job("en");
    j.cover = s.P + "img/nothing.png";
    QStringList told;
    j.onMessage = [&](const QString& m) { told << m; };
    const epub::Result r = epub::package(j);
    ASSERT_TRUE(QFile::rename(saved, picture));

    ASSERT_TRUE(r.ok) << r.error.toStdString();
    EXPECT_TRUE(r.messages.contains(picture)) << r.messages.toStdString();
    EXPECT_TRUE(r.messages.contains("nothing.png")) << r.messages.toStdString();
    EXPECT_TRUE(told.join('\n').contains(picture));
    EXPECT_TRUE(told.join('\n').contains("Packing"));
    EXPECT_FALSE(readOpf(unpack(j.target) + "/OEBPS/package.opf").withProperty("cover-image"));
}

// ---------------------------------------------------------------- failures leave nothing

TEST_F(Epub, FailuresLeaveNoTargetAndNoScratchFolder)
{
    struct Case {
        const char* what;
        std::function<void(epub::Job&)> change;
        const char* says;
    };
    const std::vector<Case> cases = {
        {"missing DocBook", [&](epub::Job& j) { j.docbook = dir.file("nothing.xml"); }, "nothing.xml"},
        {"DocBook that is no XML",
         [&](epub::Job& j) {
             writeBytes(dir.file("broken.xml"), "<book><chapter>");
             j.docbook = dir.file("broken.xml");
             j.readFolders << dir.path();
         },
         "not created"},
        {"target folder under a file",
         [&](epub::Job& j) {
             writeBytes(dir.file("plain"), "x");
             j.target = dir.file("plain/book.epub");
         },
         "plain"},
        {"target is a folder",
         [&](epub::Job& j) {
             QDir().mkpath(dir.file("folder.epub"));
             j.target = dir.file("folder.epub");
         },
         "folder.epub"},
        {"DocBook XSL missing",
         [&](epub::Job&) { stylesheet::setDocbookFolder(dir.file("no-docbook")); },
         "docbook-xsl"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        epub::Job j = job("en");
        c.change(j);
        const QStringList before = leftovers();
        const epub::Result r = epub::package(j);
        stylesheet::setDocbookFolder(QString());
        EXPECT_FALSE(r.ok);
        EXPECT_TRUE(r.error.contains(QLatin1String(c.says))) << r.error.toStdString();
        EXPECT_FALSE(QFileInfo(j.target).isFile());
        EXPECT_EQ(leftovers(), before);
    }
}

TEST_F(Epub, UnwritableTargetFolderIsRefused)
{
    epub::Job j = job("en");
    const QString out = QFileInfo(j.target).absolutePath();
    ASSERT_TRUE(QDir().mkpath(out));
    QFile::setPermissions(out, QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther);
    const bool ran = runUnprivileged(
        [&] {
            QStringList told;
            j.onMessage = [&](const QString& m) { told << m; };
            const epub::Result r = epub::package(j);
            EXPECT_TRUE(told.isEmpty()) << "refused only after the work";
            EXPECT_FALSE(r.ok);
            EXPECT_TRUE(r.error.contains(out)) << r.error.toStdString();
            EXPECT_FALSE(QFileInfo::exists(j.target));
            EXPECT_FALSE(QFileInfo::exists(j.workFolder));
        },
        {dir.path(), sample().dir.path()});
    QFile::setPermissions(out, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    EXPECT_TRUE(ran);
}

TEST_F(Epub, AFailedRunKeepsTheEarlierBookAndAnExistingWorkFolder)
{
    epub::Job j = job("en");
    QDir().mkpath(j.workFolder);
    writeBytes(j.workFolder + "/mine.txt", "kept");
    ASSERT_TRUE(epub::package(j).ok);
    const QByteArray earlier = readBytes(j.target);
    EXPECT_EQ(QDir(j.workFolder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
              QStringList{"mine.txt"});

    writeBytes(dir.file("broken.xml"), "<book>");
    j.docbook = dir.file("broken.xml");
    j.readFolders << dir.path();
    EXPECT_FALSE(epub::package(j).ok);
    EXPECT_EQ(readBytes(j.target), earlier);
    EXPECT_EQ(QDir(QFileInfo(j.target).absolutePath()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
              QStringList{"book_en.epub"});
    EXPECT_EQ(QDir(j.workFolder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
              QStringList{"mine.txt"});
}

TEST_F(Epub, CancelBeforeOrDuringTheRunLeavesNothing)
{
    // Set before the start, while transforming, while packing.
    for (const QString& when : {QString(), QStringLiteral("Transforming"), QStringLiteral("Packing")}) {
        SCOPED_TRACE(when.isEmpty() ? "before" : when.toStdString());
        std::atomic<bool> stop{when.isEmpty()};
        epub::Job j = job("en");
        j.cancel = &stop;
        j.onMessage = [&](const QString& m) {
            if (!when.isEmpty() && m.startsWith(when))
                stop = true;
        };
        const QStringList before = leftovers();
        const epub::Result r = epub::package(j);
        EXPECT_FALSE(r.ok);
        EXPECT_TRUE(r.error.contains("cancelled")) << r.error.toStdString();
        EXPECT_FALSE(QFileInfo::exists(j.target));
        EXPECT_EQ(leftovers(), before);
    }
}

} // namespace

// The format as the output dialog and the command line run it: the sample in
// German with a cover chosen on the EPUB tab, into output/book_de.epub.
TEST(EpubOutput, TheSampleWithItsCoverThroughTheOutputRun)
{
    QString program;
    QStringList arguments;
    if (!epubcheckCommand(program, arguments))
        GTEST_SKIP() << "epubcheck is not installed (scripts/deps installs it)";
    TempDir dir;
    const QString qly = copySample(dir.path());
    const QString P = QFileInfo(qly).absolutePath() + "/sample/";
    ScriptedMsgBox box;
    box.setDefault(MsgAnswer::Yes);
    cProject project(box);
    ASSERT_TRUE(project.Load(qly));
    cOutputProperties props;
    props.setText("txtCoverImage", cOutputProperties::kEPUB, P + "img/de/window.png");
    OutputLog log;
    cOutput out(project, props, log, box);
    out.runOutput("de", cOutput::kEPUB, false);
    ASSERT_EQ(out.resultFile, P + "output/book_de.epub") << log.text().toStdString();
    EXPECT_FALSE(log.isRed()) << log.text().toStdString();
    EXPECT_TRUE(log.text().contains("OUTPUT: " + out.resultFile));
    EXPECT_FALSE(QFileInfo::exists(out.tempFolder())) << "the working folder stays";
    const QStringList entries = ziparchive::entryNames(out.resultFile);
    EXPECT_TRUE(std::any_of(entries.begin(), entries.end(),
                            [](const QString& e) { return e.endsWith("window.png"); }));

    QProcess check;
    check.setProcessChannelMode(QProcess::MergedChannels);
    check.start(program, arguments + QStringList{out.resultFile});
    ASSERT_TRUE(check.waitForFinished(120000));
    const QString said = QString::fromUtf8(check.readAll());
    EXPECT_EQ(check.exitCode(), 0) << said.toStdString();
    EXPECT_TRUE(said.contains("0 fatals / 0 errors")) << said.toStdString();
}
