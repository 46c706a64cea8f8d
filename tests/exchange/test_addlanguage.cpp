// Adding a language: the chapter filter byte for byte, the command on a
// project, its refusals, and all or nothing on a broken chapter.
#include "addlanguage.h"
#include "cproject.h"
#include "csaxerrorhandler.h"
#include "langlist.h"
#include "msgbox.h"
#include "cancelprogress.h"
#include "progress.h"
#include "testsupport.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {

QString filtered(const TempDir& dir, const QString& chapter)
{
    const QString file = dir.file(QStringLiteral("chapter.xml"));
    writeUtf16(file, chapter);
    cSAXAddLanguage filter;
    filter.Lang = QStringLiteral("fr");
    filter.MainLang = QStringLiteral("en");
    filter.Stamp = QStringLiteral("ST");
    ScriptedMsgBox box;
    cSAXErrorHandler handler(box);
    EXPECT_TRUE(rewriteFile(file, filter, dir.file(QStringLiteral("quillary.xml")), &handler));
    EXPECT_TRUE(box.empty()) << box.last().toStdString();
    QString text = readText(file);
    EXPECT_TRUE(text.endsWith(QStringLiteral("\r\n")));
    text.chop(2);
    return text;
}

QStringList leftovers(const QString& folder)
{
    QStringList out;
    QDirIterator it(folder, {QStringLiteral("*.quillary-new"), QStringLiteral("quillary.xml")}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        out << it.next();
    return out;
}

} // namespace

TEST(AddLanguageFilter, WritesTitlesAndBodiesWhereTheNextElementBegins)
{
    TempDir dir;
    // An empty subchapter's title waits for the next topic, even outside it;
    // a context after the titles gives the title a state and a stamp.
    const QString in = QStringLiteral(
        "<chapter><title lang=\"en\">C &amp; D</title><title lang=\"de\">CD</title>"
        "<subchapter id=\"sub1\"><title lang=\"en\">Empty</title><title lang=\"de\">Leer</title></subchapter>"
        "<topic id=\"topic1\"><title lang=\"en\" state=\"complete\" stamp=\"s\">T1 &lt;b&gt;</title>"
        "<title lang=\"de\" state=\"\" stamp=\"s\">T1de</title>"
        "<onelang lang=\"en\"><p>x</p></onelang><onelang lang=\"de\"><p>y</p></onelang></topic>"
        "<subchapter id=\"sub2\"><title lang=\"en\">Sub two</title><context id=\"c\"></context>"
        "<subchapter id=\"sub3\"><title lang=\"en\">Deep</title>"
        "<topic id=\"topic2\"><title lang=\"en\">T2</title><onelang lang=\"en\"></onelang></topic>"
        "</subchapter></subchapter></chapter>");
    const QString expected = QStringLiteral(
        "<chapter><title lang=\"en\">C &amp; D</title><title lang=\"de\">CD</title><title lang=\"fr\">C &amp; D</title>"
        "<subchapter id=\"sub1\"><title lang=\"en\">Empty</title><title lang=\"de\">Leer</title></subchapter>"
        "<title lang=\"fr\">Empty</title>"
        "<topic id=\"topic1\"><title lang=\"en\" state=\"complete\" stamp=\"s\">T1 &lt;b&gt;</title>"
        "<title lang=\"de\" state=\"\" stamp=\"s\">T1de</title>"
        "<title lang=\"fr\" state=\"uncomplete\" stamp=\"ST\">T1 &lt;b&gt;</title>"
        "<onelang lang=\"en\"><p>x</p></onelang><onelang lang=\"de\"><p>y</p></onelang>"
        "<onelang lang=\"fr\"></onelang></topic>"
        "<subchapter id=\"sub2\"><title lang=\"en\">Sub two</title>"
        "<title lang=\"fr\" state=\"uncomplete\" stamp=\"ST\">Sub two</title><context id=\"c\"></context>"
        "<subchapter id=\"sub3\"><title lang=\"en\">Deep</title><title lang=\"fr\">Deep</title>"
        "<topic id=\"topic2\"><title lang=\"en\">T2</title>"
        "<title lang=\"fr\" state=\"uncomplete\" stamp=\"ST\">T2</title><onelang lang=\"en\"></onelang>"
        "<onelang lang=\"fr\"></onelang></topic>"
        "</subchapter></subchapter></chapter>");
    const QString once = filtered(dir, in);
    EXPECT_EQ(once, expected);
    // A second run (after one that was cut off) adds nothing twice.
    EXPECT_EQ(filtered(dir, once), expected);

    // A chapter with nothing after its titles keeps its title waiting: no
    // new title is written for it.
    const QString empty = QStringLiteral("<chapter><title lang=\"en\">Only</title></chapter>");
    EXPECT_EQ(filtered(dir, empty), empty);
}

TEST(AddLanguage, RefusesEmptyAndExistingLanguages)
{
    TempDir dir;
    ScriptedMsgBox box;
    cProject p(box);
    ASSERT_TRUE(p.Load(copySample(dir.path())));
    using exchange::newLanguageRefusal;
    EXPECT_EQ(newLanguageRefusal(p, QString(), QStringLiteral("fr")), QStringLiteral("Language is not specified!"));
    EXPECT_EQ(newLanguageRefusal(p, QStringLiteral("French"), QString()), QStringLiteral("Language is not specified!"));
    EXPECT_EQ(newLanguageRefusal(p, QStringLiteral("German"), QStringLiteral("xx")),
              QStringLiteral("Language name already exists!"));
    EXPECT_EQ(newLanguageRefusal(p, QStringLiteral("Deutsch"), QStringLiteral("de")),
              QStringLiteral("Language abbreviation already exists!"));
    // Comparison is exact, with case.
    EXPECT_EQ(newLanguageRefusal(p, QStringLiteral("german"), QStringLiteral("DE")), QString());
    EXPECT_FALSE(newLanguageRefusal(p, QStringLiteral("Up"), QStringLiteral("../x")).isEmpty());
    EXPECT_EQ(exchange::addLanguageQuestion(QStringLiteral("French")),
              QStringLiteral("You are going to add French language to the book. Are you sure?"));
}

TEST(AddLanguage, GivesEveryTopicChapterAndTheBookTheLanguage)
{
    TempDir dir;
    const QString qly = copySample(dir.path());
    ScriptedMsgBox box;
    cProject p(box);
    ASSERT_TRUE(p.Load(qly));
    Progress progress;
    ASSERT_TRUE(exchange::addLanguage(p, QStringLiteral("French"), QStringLiteral("fr"), box, &progress));
    EXPECT_TRUE(box.empty()) << box.last().toStdString();
    EXPECT_EQ(progress.maximum(), 3);
    EXPECT_EQ(progress.value(), 3);

    cProject again(box);
    ASSERT_TRUE(again.Load(qly));
    EXPECT_EQ(again.languageList(), QStringList({"en", "de", "fr"}));
    EXPECT_EQ(again.getLanguageName(QStringLiteral("fr")), QStringLiteral("French"));
    EXPECT_TRUE(QFileInfo(again.GetProjectFolder() + QStringLiteral("img/fr")).isDir());

    const QString book = readText(again.getBookFile());
    EXPECT_TRUE(book.contains(QStringLiteral("<title lang=\"de\">Beispielhandbuch</title>"
                                             "<title lang=\"fr\">Sample Manual</title><author>")))
        << book.toStdString();

    int topics = 0, bodies = 0;
    for (const QString& file : again.chapterFileList()) {
        const QString text = readText(file);
        topics += int(text.count(QStringLiteral("<topic ")));
        bodies += int(text.count(QStringLiteral("<onelang lang=\"fr\"></onelang></topic>")));
    }
    EXPECT_EQ(topics, 6);
    EXPECT_EQ(bodies, 6);
    const QString ch2 = readText(again.chapterFileList().at(1));
    EXPECT_TRUE(ch2.contains(QStringLiteral("<title lang=\"de\">Referenz</title><title lang=\"fr\">Reference</title>")));
    EXPECT_TRUE(ch2.contains(QStringLiteral("<title lang=\"fr\" state=\"uncomplete\" stamp=\"")));
    EXPECT_TRUE(ch2.contains(QStringLiteral("\">Links and Anchors</title><onelang lang=\"en\">")));
    EXPECT_TRUE(leftovers(again.GetProjectFolder()).isEmpty());
}

TEST(AddLanguage, ABrokenChapterChangesNothing)
{
    TempDir dir;
    const QString qly = copySample(dir.path());
    ScriptedMsgBox box;
    cProject p(box);
    ASSERT_TRUE(p.Load(qly));
    const QStringList files = p.chapterFileList();
    writeUtf16(files.last(), readText(files.last()) + QStringLiteral("<broken"));
    QList<QByteArray> before;
    for (const QString& f : files)
        before << readBytes(f);
    const QByteArray projectBefore = readBytes(qly);
    const QByteArray bookBefore = readBytes(p.getBookFile());

    EXPECT_FALSE(exchange::addLanguage(p, QStringLiteral("French"), QStringLiteral("fr"), box));
    ASSERT_FALSE(box.empty());
    EXPECT_TRUE(box.last().startsWith(QStringLiteral("The SAX parser error!"))) << box.last().toStdString();
    EXPECT_TRUE(box.last().contains(QStringLiteral("chapter3.xml"))) << box.last().toStdString();
    for (int i = 0; i < files.size(); ++i)
        EXPECT_EQ(readBytes(files[i]), before[i]) << files[i].toStdString();
    EXPECT_EQ(readBytes(qly), projectBefore);
    EXPECT_EQ(readBytes(p.getBookFile()), bookBefore);
    EXPECT_FALSE(QFileInfo::exists(p.GetProjectFolder() + QStringLiteral("img/fr")));
    EXPECT_TRUE(leftovers(p.GetProjectFolder()).isEmpty());
}

TEST(LangList, ReadsNamesAndReportsAMissingOrDamagedFile)
{
    TempDir dir;
    ScriptedMsgBox box;
    cLangList list;
    ASSERT_TRUE(list.load(cLangList::defaultPath(), box));
    EXPECT_TRUE(list.names().contains(QStringLiteral("German")));
    EXPECT_EQ(list.abbrevFor(QStringLiteral("French")), QStringLiteral("fr"));
    EXPECT_EQ(list.abbrevFor(QStringLiteral("Klingon")), QString());

    EXPECT_FALSE(list.load(dir.file(QStringLiteral("langs.xml")), box));
    EXPECT_EQ(box.last(), QStringLiteral("File with available languages is missing! Please reinstall application."));
    EXPECT_TRUE(list.names().isEmpty());

    writeBytes(dir.file(QStringLiteral("langs.xml")), "<langs><lang><name>A</name>");
    EXPECT_FALSE(list.load(dir.file(QStringLiteral("langs.xml")), box));
    EXPECT_EQ(box.last(), QStringLiteral("File with available languages is damaged!"));
    // Invalid against its own declarations.
    writeBytes(dir.file(QStringLiteral("langs.xml")),
               "<?xml version=\"1.0\"?><!DOCTYPE langs [<!ELEMENT langs (lang*)><!ELEMENT lang (name)>"
               "<!ELEMENT name (#PCDATA)>]><langs><lang><name>A</name><extra/></lang></langs>");
    EXPECT_FALSE(list.load(dir.file(QStringLiteral("langs.xml")), box));
    writeBytes(dir.file(QStringLiteral("langs.xml")), "<languages/>");
    EXPECT_FALSE(list.load(dir.file(QStringLiteral("langs.xml")), box));
    EXPECT_EQ(box.last(), QStringLiteral("File with available languages is damaged!"));
}

// Cancel after the first chapter: nothing of the project changes.
TEST(AddLanguage, ACancelChangesNothing)
{
    TempDir dir;
    const QString qly = copySample(dir.path());
    ScriptedMsgBox box;
    cProject p(box);
    ASSERT_TRUE(p.Load(qly));
    const auto before = filesOf(dir.path());
    CancelAtStep progress(1);
    EXPECT_FALSE(exchange::addLanguage(p, QStringLiteral("French"), QStringLiteral("fr"), box, &progress));
    EXPECT_EQ(box.texts(), QStringList{Progress::kCancelled});
    EXPECT_EQ(progress.value(), 1);
    EXPECT_TRUE(filesOf(dir.path()) == before);
    EXPECT_EQ(p.languageList(), QStringList({"en", "de"}));
}
