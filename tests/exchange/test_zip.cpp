#include "fileio.h"
#include "testsupport.h"
#include "ziparchive.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>
#include <zip.h>

#include <sys/stat.h>

#include <vector>

using namespace testing_support;

namespace {

// Every path below a folder with its bytes, so "nothing written" can be
// checked by comparing two listings.
QStringList listing(const QString& folder)
{
    QStringList out;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QFileInfo fi(path);
        QString line = QDir(folder).relativeFilePath(path);
        if (fi.isSymLink())
            line += QStringLiteral(" -> ") + fi.symLinkTarget();
        else if (fi.isDir())
            line += QLatin1Char('/');
        else
            line += QStringLiteral(" ") + QString::fromLatin1(readBytes(path).toHex().left(64)) +
                    QStringLiteral(" ") + QString::number(fi.size());
        out << line;
    }
    out.sort();
    return out;
}

void mkdir(const QString& path)
{
    ASSERT_TRUE(QDir().mkpath(path)) << path.toStdString();
}

// One entry of an archive built by hand.
struct RawEntry {
    QString name;
    QByteArray data;
    bool folder = false;
    bool setAttributes = false;
    zip_uint8_t opsys = ZIP_OPSYS_UNIX;
    zip_uint32_t attributes = 0;
    bool store = false; // no compression
};

// A harmless entry first, so that a refusal after it shows nothing is
// written before all entries have been looked at.
RawEntry harmless()
{
    return {QStringLiteral("good/good.txt"), QByteArray("good")};
}

// Builds an archive with libzip directly, the way another tool might.
void buildRaw(const QString& path, const std::vector<RawEntry>& entries)
{
    int code = 0;
    zip_t* za = zip_open(QFile::encodeName(path).constData(), ZIP_CREATE | ZIP_TRUNCATE, &code);
    ASSERT_NE(za, nullptr);
    for (const RawEntry& e : entries) {
        QByteArray name = e.name.toUtf8();
        zip_int64_t index;
        if (e.folder) {
            index = zip_dir_add(za, name.constData(), ZIP_FL_ENC_UTF_8);
        } else {
            zip_source_t* src = zip_source_buffer(za, e.data.constData(), zip_uint64_t(e.data.size()), 0);
            ASSERT_NE(src, nullptr);
            index = zip_file_add(za, name.constData(), src, ZIP_FL_ENC_UTF_8);
            if (index < 0)
                zip_source_free(src);
        }
        ASSERT_GE(index, 0) << zip_strerror(za);
        if (e.setAttributes) {
            ASSERT_EQ(zip_file_set_external_attributes(za, zip_uint64_t(index), 0, e.opsys, e.attributes), 0);
        }
        if (e.store) {
            ASSERT_EQ(zip_set_file_compression(za, zip_uint64_t(index), ZIP_CM_STORE, 0), 0);
        }
    }
    ASSERT_EQ(zip_close(za), 0) << zip_strerror(za);
}

// Unix mode as stored for an entry.
mode_t storedMode(const QString& archive, const QString& name)
{
    int code = 0;
    zip_t* za = zip_open(QFile::encodeName(archive).constData(), ZIP_RDONLY, &code);
    if (!za)
        return 0;
    zip_int64_t index = zip_name_locate(za, name.toUtf8().constData(), 0);
    zip_uint8_t opsys = 0;
    zip_uint32_t attributes = 0;
    mode_t mode = 0;
    if (index >= 0 && zip_file_get_external_attributes(za, zip_uint64_t(index), 0, &opsys, &attributes) == 0 &&
        opsys == ZIP_OPSYS_UNIX)
        mode = mode_t(attributes >> 16);
    zip_discard(za);
    return mode;
}

QByteArray allBytes()
{
    QByteArray b;
    for (int i = 0; i < 256; ++i)
        b.append(char(i));
    return b.repeated(40);
}

// A small project-like tree: UTF-16 text, binary data, hidden file,
// nested and empty folders, a name outside ASCII.
struct SourceTree {
    QString root;
    QString text = QStringLiteral("<topic>Grüße – 日本語 – \U0001F600</topic>\r\n");
    explicit SourceTree(const QString& where) : root(where + QStringLiteral("/src"))
    {
        mkdir(root + QStringLiteral("/img/en"));
        mkdir(root + QStringLiteral("/img/de/deeper"));
        mkdir(root + QStringLiteral("/empty"));
        writeUtf16(root + QStringLiteral("/chapter1.xml"), text);
        writeBytes(root + QStringLiteral("/img/en/pic.png"), allBytes());
        writeBytes(root + QStringLiteral("/img/de/deeper/Bild ä.png"), QByteArray("bild"));
        writeBytes(root + QStringLiteral("/.hidden"), QByteArray());
    }
};

} // namespace

// ---------------------------------------------------------------- writing

TEST(ZipWriter, RoundTripKeepsFoldersEmptyFoldersAndBytes)
{
    TempDir dir;
    SourceTree src(dir.path());
    writeUtf16(dir.file(QStringLiteral("manual.qly")), QStringLiteral("<project/>"));
    const QString zip = dir.file(QStringLiteral("out.zip"));

    ziparchive::Writer w;
    QString error;
    ASSERT_TRUE(w.create(zip, &error)) << error.toStdString();
    ASSERT_TRUE(w.addFolder(src.root, QStringLiteral("manual"), &error)) << error.toStdString();
    ASSERT_TRUE(w.addFile(dir.file(QStringLiteral("manual.qly")), QStringLiteral("manual.qly"), &error));
    EXPECT_EQ(w.fileCount(), 5);
    ASSERT_TRUE(w.close({}, &error)) << error.toStdString();

    const QStringList names = ziparchive::entryNames(zip);
    for (const char* n : {"manual/", "manual/empty/", "manual/img/", "manual/img/de/deeper/",
                          "manual/img/de/deeper/Bild ä.png", "manual/chapter1.xml", "manual/.hidden", "manual.qly"})
        EXPECT_TRUE(names.contains(QString::fromUtf8(n))) << n;
    for (const QString& n : names) {
        EXPECT_FALSE(n.contains(QLatin1Char('\\'))) << n.toStdString();
        EXPECT_FALSE(n.startsWith(QLatin1Char('/'))) << n.toStdString();
    }
    EXPECT_EQ(ziparchive::countFiles(zip), 5);

    const QString out = dir.file(QStringLiteral("out"));
    mkdir(out);
    ASSERT_TRUE(ziparchive::extractAll(zip, out, {}, &error)) << error.toStdString();
    EXPECT_EQ(listing(out + QStringLiteral("/manual")), listing(src.root));
    EXPECT_EQ(readBytes(out + QStringLiteral("/manual/chapter1.xml")), fileio::utf16WithBom(src.text));
    EXPECT_EQ(readText(out + QStringLiteral("/manual/chapter1.xml")), src.text);
    EXPECT_EQ(readBytes(out + QStringLiteral("/manual/img/en/pic.png")), allBytes());
    EXPECT_TRUE(QFileInfo(out + QStringLiteral("/manual/empty")).isDir());
    EXPECT_TRUE(QFileInfo::exists(out + QStringLiteral("/manual.qly")));
    // No temporary file stays beside the archive or in the result.
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), (QStringList{"manual.qly", "out.zip"}));
    for (const QString& line : listing(out))
        EXPECT_FALSE(line.contains(QStringLiteral(".quillary-"))) << line.toStdString();
}

TEST(ZipWriter, FolderWithEmptyNameGoesToTheTop)
{
    TempDir dir;
    SourceTree src(dir.path());
    const QString zip = dir.file(QStringLiteral("top.zip"));
    ziparchive::Writer w;
    ASSERT_TRUE(w.create(zip));
    ASSERT_TRUE(w.addFolder(src.root, QString()));
    ASSERT_TRUE(w.close());
    const QStringList names = ziparchive::entryNames(zip);
    EXPECT_TRUE(names.contains(QStringLiteral("chapter1.xml")));
    EXPECT_TRUE(names.contains(QStringLiteral("empty/")));
    EXPECT_FALSE(names.contains(QStringLiteral("src/")));
}

TEST(ZipWriter, MarkedFileIsExtractedWritable)
{
    TempDir dir;
    const QString qly = dir.file(QStringLiteral("manual.qly"));
    writeUtf16(qly, QStringLiteral("<project/>"));
    ASSERT_TRUE(fileio::setMarked(qly, true));
    const QString zip = dir.file(QStringLiteral("a.zip"));
    ziparchive::Writer w;
    ASSERT_TRUE(w.create(zip));
    ASSERT_TRUE(w.addFile(qly, QStringLiteral("manual.qly")));
    ASSERT_TRUE(w.addFolder(dir.path() + QStringLiteral("/."), QStringLiteral("again")));
    ASSERT_TRUE(w.close());

    EXPECT_EQ(storedMode(zip, QStringLiteral("manual.qly")), mode_t(S_IFREG | 0644));
    EXPECT_EQ(storedMode(zip, QStringLiteral("again/")), mode_t(S_IFDIR | 0755));
    const QString out = dir.file(QStringLiteral("out"));
    QString error;
    ASSERT_TRUE(ziparchive::extractAll(zip, out, {}, &error)) << error.toStdString();
    EXPECT_FALSE(fileio::isMarked(out + QStringLiteral("/manual.qly")));
    EXPECT_TRUE(QFileInfo(out + QStringLiteral("/manual.qly")).isWritable());
    EXPECT_EQ(readText(out + QStringLiteral("/manual.qly")), QStringLiteral("<project/>"));
}

TEST(ZipWriter, FileDoneOncePerStoredFile)
{
    TempDir dir;
    const QString root = dir.file(QStringLiteral("many"));
    int made = 0;
    for (int f = 0; f < 6; ++f) {
        const QString sub = root + QStringLiteral("/f%1").arg(f);
        mkdir(sub);
        mkdir(sub + QStringLiteral("/empty"));
        for (int i = 0; i <= f; ++i, ++made)
            writeBytes(sub + QStringLiteral("/file%1.txt").arg(i), QByteArray(1000 * (i + 1), char('a' + i)));
    }
    const QString zip = dir.file(QStringLiteral("many.zip"));
    ziparchive::Writer w;
    ASSERT_TRUE(w.create(zip));
    ASSERT_TRUE(w.addFolder(root, QStringLiteral("many")));
    EXPECT_EQ(w.fileCount(), made);
    int calls = 0;
    ASSERT_TRUE(w.close([&calls] { ++calls; }));
    EXPECT_EQ(calls, made);
    EXPECT_EQ(ziparchive::countFiles(zip), made);

    int extracted = 0;
    ASSERT_TRUE(ziparchive::extractAll(zip, dir.file(QStringLiteral("out")), [&extracted] { ++extracted; }));
    EXPECT_EQ(extracted, made);
}

TEST(ZipWriter, WriterNotClosedLeavesNoFile)
{
    TempDir dir;
    SourceTree src(dir.path());
    const QString zip = dir.file(QStringLiteral("gone.zip"));
    writeBytes(zip, QByteArray("an old archive"));
    {
        ziparchive::Writer w;
        ASSERT_TRUE(w.create(zip));
        // The old file is gone as soon as the new archive starts.
        EXPECT_FALSE(QFileInfo::exists(zip));
        ASSERT_TRUE(w.addFolder(src.root, QStringLiteral("src")));
    }
    EXPECT_FALSE(QFileInfo::exists(zip));
    EXPECT_TRUE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).isEmpty());
}

TEST(ZipWriter, ExistingArchiveIsReplaced)
{
    TempDir dir;
    const QString zip = dir.file(QStringLiteral("a.zip"));
    buildRaw(zip, {{QStringLiteral("old.txt"), QByteArray("old")}});
    writeBytes(dir.file(QStringLiteral("new.txt")), QByteArray("new"));
    ziparchive::Writer w;
    ASSERT_TRUE(w.create(zip));
    ASSERT_TRUE(w.addFile(dir.file(QStringLiteral("new.txt")), QStringLiteral("new.txt")));
    ASSERT_TRUE(w.close());
    EXPECT_EQ(ziparchive::entryNames(zip), QStringList{QStringLiteral("new.txt")});
}

TEST(ZipWriter, MissingSourceOrBadNameFails)
{
    TempDir dir;
    writeBytes(dir.file(QStringLiteral("a.txt")), QByteArray("a"));
    const QString zip = dir.file(QStringLiteral("a.zip"));
    ziparchive::Writer w;
    QString error;
    EXPECT_FALSE(w.addFile(dir.file(QStringLiteral("a.txt")), QStringLiteral("a.txt"), &error)); // no create yet
    ASSERT_TRUE(w.create(zip));
    error.clear();
    EXPECT_FALSE(w.addFile(dir.file(QStringLiteral("nothing.txt")), QStringLiteral("nothing.txt"), &error));
    EXPECT_TRUE(error.contains(QStringLiteral("nothing.txt"))) << error.toStdString();
    error.clear();
    EXPECT_FALSE(w.addFolder(dir.file(QStringLiteral("nofolder")), QStringLiteral("x"), &error));
    EXPECT_TRUE(error.contains(QStringLiteral("nofolder"))) << error.toStdString();
    EXPECT_FALSE(w.addFile(dir.file(QStringLiteral("a.txt")), QStringLiteral("../a.txt")));
    EXPECT_FALSE(w.addFile(dir.file(QStringLiteral("a.txt")), QString()));
    EXPECT_FALSE(w.addFolder(dir.file(QStringLiteral("a.txt")), QStringLiteral("a")));
    // Project-style names are stored with slashes.
    ASSERT_TRUE(w.addFile(dir.file(QStringLiteral("a.txt")), QStringLiteral("manual\\a.txt")));
    EXPECT_FALSE(w.addFile(dir.file(QStringLiteral("a.txt")), QStringLiteral("manual/a.txt"))); // twice
    EXPECT_EQ(w.fileCount(), 1);
    ASSERT_TRUE(w.close());
    EXPECT_EQ(ziparchive::entryNames(zip), QStringList{QStringLiteral("manual/a.txt")});
}

TEST(ZipWriter, EmptyArchiveIsAValidZip)
{
    TempDir dir;
    const QString zip = dir.file(QStringLiteral("empty.zip"));
    ziparchive::Writer w;
    ASSERT_TRUE(w.create(zip));
    int calls = 0;
    ASSERT_TRUE(w.close([&calls] { ++calls; }));
    EXPECT_EQ(calls, 0);
    ASSERT_TRUE(QFileInfo::exists(zip));
    QString error;
    EXPECT_EQ(ziparchive::countFiles(zip, &error), 0) << error.toStdString();
    EXPECT_TRUE(ziparchive::extractAll(zip, dir.file(QStringLiteral("out")), {}, &error)) << error.toStdString();
}

// ---------------------------------------------------------------- extraction

TEST(ZipExtract, OverwritesExistingFilesAndKeepsOthers)
{
    TempDir dir;
    const QString zip = dir.file(QStringLiteral("a.zip"));
    buildRaw(zip, {{QStringLiteral("manual/book.xml"), QByteArray("new book")},
                   {QStringLiteral("manual.qly"), QByteArray("new project")}});
    const QString out = dir.file(QStringLiteral("out"));
    mkdir(out + QStringLiteral("/manual"));
    writeBytes(out + QStringLiteral("/manual/book.xml"), QByteArray("an older and longer book"));
    writeBytes(out + QStringLiteral("/manual.qly"), QByteArray("old project"));
    ASSERT_TRUE(fileio::setMarked(out + QStringLiteral("/manual.qly"), true));
    writeBytes(out + QStringLiteral("/manual/keep.xml"), QByteArray("keep"));

    QString error;
    ASSERT_TRUE(ziparchive::extractAll(zip, out, {}, &error)) << error.toStdString();
    EXPECT_EQ(readBytes(out + QStringLiteral("/manual/book.xml")), QByteArray("new book"));
    EXPECT_EQ(readBytes(out + QStringLiteral("/manual.qly")), QByteArray("new project"));
    EXPECT_FALSE(fileio::isMarked(out + QStringLiteral("/manual.qly")));
    EXPECT_EQ(readBytes(out + QStringLiteral("/manual/keep.xml")), QByteArray("keep"));
}

TEST(ZipExtract, CreatesMissingFolderAndImplicitParents)
{
    TempDir dir;
    const QString zip = dir.file(QStringLiteral("a.zip"));
    // No folder entries at all, as some tools write them.
    buildRaw(zip, {{QStringLiteral("a/b/c.txt"), QByteArray("c")}, {QStringLiteral("./d.txt"), QByteArray("d")}});
    const QString out = dir.file(QStringLiteral("not/yet"));
    ASSERT_TRUE(ziparchive::extractAll(zip, out));
    EXPECT_EQ(readBytes(out + QStringLiteral("/a/b/c.txt")), QByteArray("c"));
    EXPECT_EQ(readBytes(out + QStringLiteral("/d.txt")), QByteArray("d"));
    EXPECT_EQ(ziparchive::countFiles(zip), 2);
}

// Cancelled after the first file: no file replaced, no folder made, no
// temporary file left.
TEST(ZipExtract, ACancelLeavesTheFolderAsItWas)
{
    TempDir dir;
    const QString zip = dir.file(QStringLiteral("a.zip"));
    buildRaw(zip, {{QStringLiteral("manual/book.xml"), QByteArray("new book")},
                   {QStringLiteral("manual/more/x.xml"), QByteArray("x")},
                   {QStringLiteral("manual.qly"), QByteArray("new project")}});
    const QString out = dir.file(QStringLiteral("out"));
    mkdir(out);
    writeBytes(out + QStringLiteral("/manual.qly"), QByteArray("old project"));
    const auto before = filesOf(out);
    int done = 0;
    QString error;
    EXPECT_FALSE(ziparchive::extractAll(zip, out, [&done] { ++done; }, &error, [&done] { return done >= 1; }));
    EXPECT_EQ(error, QStringLiteral("The extraction of \"a.zip\" was cancelled. Nothing was extracted."));
    EXPECT_TRUE(filesOf(out) == before);
    EXPECT_FALSE(QFileInfo::exists(out + QStringLiteral("/manual")));
}

TEST(ZipExtract, SymlinkInsideTheFolderIsFollowed)
{
    TempDir dir;
    const QString out = dir.file(QStringLiteral("out"));
    mkdir(out + QStringLiteral("/real"));
    ASSERT_TRUE(QFile::link(out + QStringLiteral("/real"), out + QStringLiteral("/link")));
    const QString zip = dir.file(QStringLiteral("a.zip"));
    buildRaw(zip, {{QStringLiteral("link/x.txt"), QByteArray("x")}});
    QString error;
    ASSERT_TRUE(ziparchive::extractAll(zip, out, {}, &error)) << error.toStdString();
    EXPECT_EQ(readBytes(out + QStringLiteral("/real/x.txt")), QByteArray("x"));
}

TEST(ZipExtract, DamagedOrMissingArchive)
{
    TempDir dir;
    const QString out = dir.file(QStringLiteral("out"));
    mkdir(out);
    QString error;

    const QString junk = dir.file(QStringLiteral("junk.zip"));
    writeBytes(junk, QByteArray("this is no zip archive at all, only some text that goes on").repeated(3));
    EXPECT_FALSE(ziparchive::extractAll(junk, out, {}, &error));
    EXPECT_EQ(error, QStringLiteral("The file \"junk.zip\" is not a zip archive or is damaged (Not a zip archive)."));
    EXPECT_EQ(ziparchive::countFiles(junk), -1);
    EXPECT_TRUE(ziparchive::entryNames(junk).isEmpty());

    const QString empty = dir.file(QStringLiteral("empty.zip"));
    writeBytes(empty, QByteArray());
    error.clear();
    EXPECT_FALSE(ziparchive::extractAll(empty, out, {}, &error));
    EXPECT_EQ(error, QStringLiteral("The file \"empty.zip\" is not a zip archive or is damaged."));
    EXPECT_EQ(ziparchive::countFiles(empty), -1);

    error.clear();
    EXPECT_FALSE(ziparchive::extractAll(dir.file(QStringLiteral("none.zip")), out, {}, &error));
    EXPECT_TRUE(error.contains(QStringLiteral("none.zip"))) << error.toStdString();
    EXPECT_EQ(ziparchive::countFiles(dir.file(QStringLiteral("none.zip")), &error), -1);

    // Half an archive: its directory is gone.
    const QString whole = dir.file(QStringLiteral("whole.zip"));
    buildRaw(whole, {{QStringLiteral("a.txt"), allBytes()}, {QStringLiteral("b.txt"), allBytes()}});
    const QString half = dir.file(QStringLiteral("half.zip"));
    QByteArray bytes = readBytes(whole);
    writeBytes(half, bytes.left(bytes.size() / 2));
    error.clear();
    EXPECT_FALSE(ziparchive::extractAll(half, out, {}, &error));
    EXPECT_TRUE(error.startsWith(QStringLiteral("The file \"half.zip\" is not a zip archive or is damaged")))
        << error.toStdString();
    EXPECT_TRUE(QDir(out).isEmpty());
}

TEST(ZipExtract, DamagedDataLeavesTheFolderAsItWas)
{
    TempDir dir;
    const QString zip = dir.file(QStringLiteral("crc.zip"));
    const QByteArray second = QByteArray("SECOND-ENTRY-DATA-").repeated(20);
    RawEntry a{QStringLiteral("first/a.txt"), QByteArray("first file")};
    RawEntry b{QStringLiteral("second/b.txt"), second};
    a.store = b.store = true;
    buildRaw(zip, {a, b});
    QByteArray bytes = readBytes(zip);
    const int at = bytes.indexOf(second);
    ASSERT_GT(at, 0);
    bytes[at + 100] = 'x';
    writeBytes(zip, bytes);

    const QString out = dir.file(QStringLiteral("out"));
    mkdir(out);
    writeBytes(out + QStringLiteral("/existing.txt"), QByteArray("stays"));
    const QStringList before = listing(out);
    QString error;
    EXPECT_FALSE(ziparchive::extractAll(zip, out, {}, &error));
    EXPECT_TRUE(error.contains(QStringLiteral("\"second/b.txt\""))) << error.toStdString();
    EXPECT_TRUE(error.endsWith(QStringLiteral("Nothing was extracted."))) << error.toStdString();
    EXPECT_EQ(listing(out), before);
}

TEST(ZipExtract, EntryLongerThanDeclaredIsStopped)
{
    // The size checks trust the directory; an entry whose data runs longer
    // than it says must not get through.
    TempDir dir;
    const QString zip = dir.file(QStringLiteral("liar.zip"));
    RawEntry e{QStringLiteral("big.bin"), QByteArray(1000, 'A')};
    e.store = true;
    buildRaw(zip, {harmless(), e});
    QByteArray bytes = readBytes(zip);
    auto setSize = [&bytes](const char* signature, int offset, int from) {
        const int at = bytes.indexOf(QByteArray(signature, 4), from);
        EXPECT_GE(at, 0);
        bytes[at + offset] = 10;
        bytes[at + offset + 1] = 0;
        return at;
    };
    // The second local header and the second central header: uncompressed size.
    setSize("PK\x03\x04", 22, bytes.indexOf(QByteArray("PK\x03\x04", 4)) + 4);
    setSize("PK\x01\x02", 24, bytes.indexOf(QByteArray("PK\x01\x02", 4)) + 4);
    writeBytes(zip, bytes);
    ASSERT_EQ(ziparchive::countFiles(zip), 2);

    const QString out = dir.file(QStringLiteral("out"));
    mkdir(out);
    QString error;
    EXPECT_FALSE(ziparchive::extractAll(zip, out, {}, &error));
    EXPECT_TRUE(error.startsWith(QStringLiteral("Cannot extract \"big.bin\" from \"liar.zip\""))) << error.toStdString();
    EXPECT_TRUE(error.endsWith(QStringLiteral("Nothing was extracted."))) << error.toStdString();
    EXPECT_TRUE(QDir(out).isEmpty());
}

// ---------------------------------------------------------------- refusals

namespace {
struct Refusal {
    const char* label;
    std::vector<RawEntry> entries;
    QString message; // the whole error
};

RawEntry attributed(const QString& name, const QByteArray& data, zip_uint8_t opsys, zip_uint32_t attributes)
{
    RawEntry e{name, data};
    e.setAttributes = true;
    e.opsys = opsys;
    e.attributes = attributes;
    return e;
}

std::vector<Refusal> refusals()
{
    const QString outside = QStringLiteral(
        "The archive \"hostile.zip\" holds \"%1\" which would be written outside the folder. Nothing was extracted.");
    return {
        {"absolute", {harmless(), {QStringLiteral("/tmp/evil.txt"), "x"}}, outside.arg("/tmp/evil.txt")},
        {"dotdot", {harmless(), {QStringLiteral("../evil.txt"), "x"}}, outside.arg("../evil.txt")},
        {"dotdot_inside", {harmless(), {QStringLiteral("a/b/../../../evil.txt"), "x"}},
         outside.arg("a/b/../../../evil.txt")},
        {"dotdot_folder", {harmless(), RawEntry{QStringLiteral("up/../../"), {}, true}}, outside.arg("up/../../")},
        {"drive", {harmless(), {QStringLiteral("C:/Windows/evil.txt"), "x"}}, outside.arg("C:/Windows/evil.txt")},
        {"drive_relative", {harmless(), {QStringLiteral("d:evil.txt"), "x"}}, outside.arg("d:evil.txt")},
        {"backslash",
         {harmless(), {QStringLiteral("img\\..\\..\\evil.txt"), "x"}},
         QStringLiteral("The archive \"hostile.zip\" holds \"img\\..\\..\\evil.txt\", a name with a backslash. "
                        "Nothing was extracted.")},
        {"symlink",
         {harmless(), attributed(QStringLiteral("link"), "/etc/passwd", ZIP_OPSYS_UNIX,
                                 zip_uint32_t(S_IFLNK | 0777) << 16)},
         QStringLiteral("The archive \"hostile.zip\" holds \"link\", a symbolic link. Nothing was extracted.")},
    };
}

class ZipRefusal : public ::testing::TestWithParam<size_t> {};
} // namespace

TEST_P(ZipRefusal, NothingIsWritten)
{
    const Refusal r = refusals()[GetParam()];
    TempDir dir;
    const QString zip = dir.file(QStringLiteral("hostile.zip"));
    buildRaw(zip, r.entries);
    const QString out = dir.file(QStringLiteral("out/inner"));
    mkdir(out);
    writeBytes(out + QStringLiteral("/existing.txt"), QByteArray("stays"));
    const QStringList before = listing(dir.path());
    int calls = 0;
    QString error;
    EXPECT_FALSE(ziparchive::extractAll(zip, out, [&calls] { ++calls; }, &error)) << r.label;
    EXPECT_EQ(error, r.message) << r.label;
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(listing(dir.path()), before) << r.label;
    // Listing and counting still work; only extraction is refused.
    EXPECT_EQ(ziparchive::entryNames(zip).size(), qsizetype(r.entries.size()));
}

INSTANTIATE_TEST_SUITE_P(Hostile, ZipRefusal, ::testing::Range(size_t(0), refusals().size()),
                         [](const ::testing::TestParamInfo<size_t>& info) {
                             return std::string(refusals()[info.param].label);
                         });

TEST(ZipRefusalOther, SymlinkMadeOnWindowsAttributesIsAFile)
{
    // The same mode bits from another system say nothing about links.
    TempDir dir;
    const QString zip = dir.file(QStringLiteral("dos.zip"));
    buildRaw(zip, {attributed(QStringLiteral("link"), "data", 0 /* MS-DOS */, zip_uint32_t(S_IFLNK | 0777) << 16)});
    ASSERT_TRUE(ziparchive::extractAll(zip, dir.file(QStringLiteral("out"))));
    EXPECT_EQ(readBytes(dir.file(QStringLiteral("out/link"))), QByteArray("data"));
}

TEST(ZipRefusalOther, ZipBombIsRefused)
{
    TempDir dir;
    const QString zip = dir.file(QStringLiteral("bomb.zip"));
    buildRaw(zip, {harmless(), {QStringLiteral("zeros.bin"), QByteArray(50 * 1024 * 1024, '\0')}});
    ASSERT_LT(QFileInfo(zip).size(), 1024 * 1024);
    const QString out = dir.file(QStringLiteral("out"));
    mkdir(out);
    const QStringList before = listing(dir.path());
    QString error;
    EXPECT_FALSE(ziparchive::extractAll(zip, out, {}, &error));
    EXPECT_TRUE(error.startsWith(QStringLiteral("The archive \"bomb.zip\" would unpack to 52428804 bytes, more than "
                                                "100 times its own size")))
        << error.toStdString();
    EXPECT_TRUE(error.contains(QStringLiteral("\"zeros.bin\" alone holds 52428800 bytes"))) << error.toStdString();
    EXPECT_TRUE(error.endsWith(QStringLiteral("Nothing was extracted."))) << error.toStdString();
    EXPECT_EQ(listing(dir.path()), before);
}

TEST(ZipRefusalOther, RatioJustBelowTheLimitIsFine)
{
    // Stored data never passes the ratio, however large.
    TempDir dir;
    const QString zip = dir.file(QStringLiteral("stored.zip"));
    RawEntry e{QStringLiteral("big.bin"), QByteArray(2 * 1024 * 1024, '\0')};
    e.store = true;
    buildRaw(zip, {e});
    QString error;
    EXPECT_TRUE(ziparchive::extractAll(zip, dir.file(QStringLiteral("out")), {}, &error)) << error.toStdString();
    EXPECT_EQ(QFileInfo(dir.file(QStringLiteral("out/big.bin"))).size(), 2 * 1024 * 1024);
}

TEST(ZipRefusalOther, SymlinkInTheFolderLeadingOutside)
{
    TempDir dir;
    const QString elsewhere = dir.file(QStringLiteral("elsewhere"));
    mkdir(elsewhere);
    const QString out = dir.file(QStringLiteral("out"));
    mkdir(out + QStringLiteral("/manual"));
    ASSERT_TRUE(QFile::link(elsewhere, out + QStringLiteral("/manual/img")));
    const QString zip = dir.file(QStringLiteral("a.zip"));
    buildRaw(zip, {harmless(), {QStringLiteral("manual/img/en/pic.png"), "png"}});
    const QStringList before = listing(dir.path());
    QString error;
    EXPECT_FALSE(ziparchive::extractAll(zip, out, {}, &error));
    EXPECT_EQ(error, QStringLiteral("The archive \"a.zip\" holds \"manual/img/en/pic.png\", but \"manual/img\" in the "
                                    "folder is a symbolic link that leads outside it. Nothing was extracted."));
    EXPECT_EQ(listing(dir.path()), before);
    EXPECT_TRUE(QDir(elsewhere).isEmpty());

    // A link as the file itself is refused the same way, dangling or not.
    ASSERT_TRUE(QFile::link(dir.file(QStringLiteral("nowhere")), out + QStringLiteral("/good")));
    buildRaw(zip, {{QStringLiteral("good"), "x"}});
    EXPECT_FALSE(ziparchive::extractAll(zip, out, {}, &error));
    EXPECT_TRUE(error.contains(QStringLiteral("symbolic link"))) << error.toStdString();
    EXPECT_FALSE(QFileInfo::exists(dir.file(QStringLiteral("nowhere"))));
}

TEST(ZipRefusalOther, FileWhereAFolderIsNeeded)
{
    TempDir dir;
    const QString out = dir.file(QStringLiteral("out"));
    mkdir(out);
    writeBytes(out + QStringLiteral("/img"), QByteArray("a file"));
    const QString zip = dir.file(QStringLiteral("a.zip"));
    buildRaw(zip, {harmless(), {QStringLiteral("img/pic.png"), "png"}});
    const QStringList before = listing(dir.path());
    QString error;
    EXPECT_FALSE(ziparchive::extractAll(zip, out, {}, &error));
    EXPECT_EQ(error, QStringLiteral("The archive \"a.zip\" holds \"img/pic.png\", but \"img\" in the folder is a "
                                    "file, not a folder. Nothing was extracted."));
    EXPECT_EQ(listing(dir.path()), before);

    // The archive contradicting itself.
    buildRaw(zip, {harmless(), {QStringLiteral("x"), "file"}, {QStringLiteral("x/y"), "file below"}});
    const QStringList inside = listing(out);
    EXPECT_FALSE(ziparchive::extractAll(zip, out, {}, &error));
    EXPECT_EQ(error, QStringLiteral("The archive \"a.zip\" holds \"x\" both as a file and as a folder. "
                                    "Nothing was extracted."));
    EXPECT_EQ(listing(out), inside);
}
