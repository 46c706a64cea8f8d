// A translation round trip on the command line: add a language, export,
// translate the copy, import it back with one topic left out, unlock.
#include "clirun.h"
#include "cproject.h"
#include "msgbox.h"
#include "testsupport.h"
#include "ziparchive.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {

struct Edit {
    const char* file;
    const char* from;
    const char* to;
    bool ticked;
};

// The translator's work in the copy: two topics and a chapter title.
const Edit kEdits[] = {
    {"chapter2.xml", "<title lang=\"fr\">Reference</title>", "<title lang=\"fr\">Référence</title>", true},
    {"chapter2.xml", "stamp=\"STAMP\">Tables</title>", "stamp=\"STAMP\">Tableaux</title>", true},
    {"chapter2.xml", "<onelang lang=\"fr\"></onelang></topic><subchapter",
     "<onelang lang=\"fr\"><p transid=\"trans2\">Les touches &amp; commandes.</p></onelang></topic><subchapter", true},
    {"chapter1.xml", "stamp=\"STAMP\">Welcome</title>", "stamp=\"STAMP\">Bienvenue</title>", false},
};

QString applied(QString text, const QString& file, const QString& stamp, bool onlyTicked)
{
    for (const Edit& e : kEdits) {
        if (QString::fromLatin1(e.file) != file || (onlyTicked && !e.ticked))
            continue;
        const QString from = QString::fromUtf8(e.from).replace(QStringLiteral("STAMP"), stamp);
        EXPECT_TRUE(text.contains(from)) << e.from;
        text.replace(from, QString::fromUtf8(e.to).replace(QStringLiteral("STAMP"), stamp));
    }
    return text;
}

} // namespace

TEST(CliExchange, TranslationRoundTrip)
{
    TempDir dir;
    const QString qly = copySample(dir.path(), QStringLiteral("master"));
    const QString folder = dir.file(QStringLiteral("master/sample/"));

    CliRun r = quillary({"language", "add", qly, "--name", "French"});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_TRUE(QFileInfo(folder + QStringLiteral("img/fr")).isDir());
    r = quillary({"language", "add", qly, "--name", "French"});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("Language name already exists!"))) << r.err.toStdString();

    // Export asks about unfinished topics: No unless --yes.
    const QString zip = dir.file(QStringLiteral("out/package.zip"));
    QDir().mkpath(dir.file(QStringLiteral("out")));
    r = quillary({"export", qly, "--out", zip, "--comment", "to the agency"});
    EXPECT_EQ(r.code, 1);
    EXPECT_FALSE(QFileInfo::exists(zip));
    r = quillary({"--yes", "export", qly, "--out", zip, "--comment", "to the agency"});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_TRUE(r.err.contains(QStringLiteral("Export was successfull!")));
    ASSERT_TRUE(QFileInfo(zip).isFile());
    r = quillary({"language", "add", qly, "--name", "Spanish"});
    EXPECT_EQ(r.code, 1); // locked

    // The translator opens the package, translates and sends it back.
    const QString work = dir.file(QStringLiteral("translator"));
    ASSERT_TRUE(ziparchive::extractAll(zip, work));
    const QString copyFolder = work + QStringLiteral("/sample/");
    const QString ch2 = readText(copyFolder + QStringLiteral("chapter2.xml"));
    const QString prefix = QStringLiteral("<title lang=\"fr\" state=\"uncomplete\" stamp=\"");
    const int at = int(ch2.indexOf(prefix)) + int(prefix.size());
    ASSERT_GT(at, int(prefix.size()));
    const QString stamp = ch2.mid(at, ch2.indexOf(QLatin1Char('"'), at) - at);
    for (const char* f : {"chapter1.xml", "chapter2.xml"}) {
        const QString path = copyFolder + QString::fromLatin1(f);
        writeUtf16(path, applied(readText(path), QString::fromLatin1(f), stamp, false));
    }
    const QString back = dir.file(QStringLiteral("back.zip"));
    {
        ziparchive::Writer w;
        ASSERT_TRUE(w.create(back));
        ASSERT_TRUE(w.addFolder(work + QStringLiteral("/sample"), QStringLiteral("sample")));
        ASSERT_TRUE(w.addFile(work + QStringLiteral("/sample.qly"), QStringLiteral("sample.qly")));
        ASSERT_TRUE(w.close());
    }

    // Import French with the welcome topic left out.
    QMap<QString, QString> before;
    for (const char* f : {"chapter1.xml", "chapter2.xml", "chapter3.xml", "book.xml"})
        before[QString::fromLatin1(f)] = readText(folder + QString::fromLatin1(f));
    const QByteArray projectBefore = readBytes(qly);
    r = quillary({"import", qly, "--from", back, "--lang", "fr", "--except", "topic1"});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_TRUE(r.err.contains(QStringLiteral("Import was successfull!")));
    for (auto it = before.begin(); it != before.end(); ++it)
        EXPECT_EQ(readText(folder + it.key()), applied(it.value(), it.key(), stamp, true)) << it.key().toStdString();
    EXPECT_EQ(readBytes(qly), projectBefore); // the lock stays

    // Bad keys and languages are refused with a clear line.
    r = quillary({"import", qly, "--from", back, "--lang", "fr", "--only", "topic99"});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("topic99")));
    r = quillary({"import", qly, "--from", back, "--lang", "xx"});
    EXPECT_EQ(r.code, 1);

    // Unlock: asked, No unless --yes.
    r = quillary({"unlock", qly});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("COMMENT: to the agency")));
    r = quillary({"--yes", "unlock", qly});
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    ScriptedMsgBox box;
    cProject p(box);
    ASSERT_TRUE(p.Load(qly));
    EXPECT_TRUE(p.GetLockID().isEmpty());
    r = quillary({"import", qly, "--from", back, "--lang", "fr"});
    EXPECT_EQ(r.code, 1);
}

TEST(CliExchange, Backup)
{
    TempDir dir;
    const QString qly = copySample(dir.path());
    const QString zip = dir.file(QStringLiteral("backup.zip"));
    writeBytes(zip, "old");
    CliRun r = quillary({"backup", qly, "--out", zip});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_TRUE(r.err.contains(QStringLiteral("Backup was successfully created!")));
    EXPECT_EQ(ziparchive::countFiles(zip), 10);
    EXPECT_TRUE(ziparchive::entryNames(zip).contains(QStringLiteral("sample/img/en/window.png")));
    r = quillary({"backup", qly, "--out", dir.file(QStringLiteral("no/such/folder/b.zip"))});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("Error! Backup was not created!")));
}

namespace {

// Every word reversed outside tags and entity references.
QString reverseOutsideMarkup(const QString& xml)
{
    static const QRegularExpression markup(QStringLiteral("(<[^>]*>|&[#\\w]+;)"));
    static const QRegularExpression word(QStringLiteral("[^\\W_]+"));
    QString out;
    int from = 0;
    auto plain = [&](const QString& s) {
        QString t = s;
        QRegularExpressionMatchIterator it = word.globalMatch(s);
        while (it.hasNext()) {
            const QRegularExpressionMatch m = it.next();
            QString w = m.captured(0);
            std::reverse(w.begin(), w.end());
            t.replace(m.capturedStart(), m.capturedLength(), w);
        }
        out += t;
    };
    QRegularExpressionMatchIterator it = markup.globalMatch(xml);
    while (it.hasNext()) {
        const QRegularExpressionMatch m = it.next();
        plain(xml.mid(from, m.capturedStart() - from));
        out += m.captured(0);
        from = m.capturedEnd();
    }
    plain(xml.mid(from));
    return out;
}

} // namespace

// A new user's way: lock for translation, write the German XLIFF, translate
// it (here: every word reversed, codes kept), bring it in, publish German.
TEST(CliExchange, XliffToPublishedGermanHTML)
{
    TempDir dir;
    const QString qly = copySample(dir.path(), QStringLiteral("master"));
    CliRun r = quillary({"--yes", "export", qly, "--out", dir.file(QStringLiteral("package.zip"))});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    const QString xlf = dir.file(QStringLiteral("sample_de.xlf"));
    r = quillary({"xliff", "export", qly, "--lang", "de", "--out", xlf});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_TRUE(r.out.startsWith(QStringLiteral("Wrote ") + xlf + QStringLiteral(": "))) << r.out.toStdString();
    const QString second = dir.file(QStringLiteral("again.xlf"));
    ASSERT_EQ(quillary({"xliff", "export", qly, "--lang", "de", "--out", second}).code, 0);
    EXPECT_EQ(readBytes(second), readBytes(xlf));

    QString text = QString::fromUtf8(readBytes(xlf));
    text.remove(QRegularExpression(QStringLiteral("<target[^>]*>.*?</target>"),
                                   QRegularExpression::DotMatchesEverythingOption));
    static const QRegularExpression source(QStringLiteral("<source>(.*?)</source>"),
                                           QRegularExpression::DotMatchesEverythingOption);
    QString filled;
    int from = 0;
    QRegularExpressionMatchIterator it = source.globalMatch(text);
    while (it.hasNext()) {
        const QRegularExpressionMatch m = it.next();
        filled += text.mid(from, m.capturedEnd() - from) + QStringLiteral("<target>") +
                  reverseOutsideMarkup(m.captured(1)) + QStringLiteral("</target>");
        from = m.capturedEnd();
    }
    filled += text.mid(from);
    writeBytes(xlf, filled.toUtf8());

    r = quillary({"xliff", "import", qly, xlf, "--complete"});
    ASSERT_EQ(r.code, 0) << r.err.toStdString() << r.out.toStdString();
    EXPECT_EQ(r.out, QStringLiteral("Imported de: 6 topics, 6 titles.\n"));
    r = quillary({"--yes", "publish", qly, "--format", "html", "--lang", "de"});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    const QString html = QString::fromLatin1(readBytes(dir.file(QStringLiteral("master/sample/output/html/book_de.html"))));
    ASSERT_FALSE(html.isEmpty());
    EXPECT_TRUE(html.contains(QStringLiteral("<p>emocleW ot eht <span class=\"bold\"><strong>elpmaS launaM</strong></span>. "
                                             "sihT cipot swohs woh a pleh txet si nettirw.</p>")))
        << html.toStdString();
    EXPECT_TRUE(html.contains(QStringLiteral("rof elpmaxe a <a class=\"link\" href=\"#topic3\"")));
    EXPECT_TRUE(html.contains(QStringLiteral("<p>setoN era nwohs ni a xob.</p>")));
    EXPECT_TRUE(html.contains(QStringLiteral("noitcudortni"))); // a keyword of the index
    EXPECT_FALSE(html.contains(QStringLiteral("Welcome to the")));
}
