// Publishing benchmark: a generated one-language book of N topics (2,000 by
// default) published by `quillary publish` in all four formats, against
// xsltproc running the same two transformations of the HTML format.
// Usage: quillary_bench_publish [--topics N] [--work DIR] [--formats html,htmlchunk,htmlhelp,pdf]
#include "fileio.h"
#include "outputproperties.h"
#include "paths.h"
#include "publishpaths.h"
#include "xmlsafety.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <vector>

namespace {

void writeUtf16(const QString& path, const QString& text)
{
    fileio::atomicReplace(path, fileio::utf16WithBom(text + QStringLiteral("\r\n")));
}

// The book: chapters of 50 topics each, subchapters of 10, every element of
// the topic vocabulary in each topic, links across the book.
void generate(const QString& folder, int topics)
{
    QDir().mkpath(folder + "/book/img/en");
    QFile::copy(QStringLiteral(QUILLARY_SOURCE_DIR "/examples/sample/sample/img/en/window.png"),
                folder + "/book/img/en/window.png");
    const int perChapter = 50;
    int chapters = (topics + perChapter - 1) / perChapter;
    if (chapters > 20)
        chapters = 20; // the bounded stack of the project file
    int perChap = (topics + chapters - 1) / chapters;
    QString entities, refs, qlyChapters;
    int id = 0, sub = 0;
    for (int c = 1; c <= chapters; ++c) {
        QString ch = QStringLiteral("<chapter><title lang=\"en\">Chapter %1</title>").arg(c);
        int inThis = std::min(perChap, topics - id);
        for (int t = 0; t < inThis; ++t) {
            if (t % 10 == 0) {
                if (t > 0)
                    ch += "</subchapter>";
                ch += QStringLiteral("<subchapter id=\"sub%1\"><title lang=\"en\">Part %1</title>").arg(++sub);
            }
            ++id;
            int target = (id * 7) % topics + 1;
            ch += QStringLiteral(
                      "<topic id=\"topic%1\"><title lang=\"en\" state=\"complete\" stamp=\"1/1/26 10:00\">Topic %1</title>"
                      "<onelang lang=\"en\"><index><primary>keyword %2</primary><secondary>topic %1</secondary></index>"
                      "<p>This is the first paragraph of topic %1 with <sign>bold words</sign> and a link to "
                      "<link ref=\"topic%3\"></link>.<anchor id=\"anchor%1\" name=\"mark %1\"></anchor></p>"
                      "<p><title>Header</title>Lorem ipsum dolor sit amet, consectetur adipiscing elit, sed do eiusmod "
                      "tempor incididunt ut labore et dolore magna aliqua. Ut enim ad minim veniam.</p>"
                      "<list format=\"bullet\"><item>One</item><item>Two <sign>three</sign></item></list>"
                      "<notice><title>Note</title><p>Notice of topic %1.</p></notice>"
                      "<table border=\"all\" colnumber=\"2\"><header><cell>Key</cell><cell>Value</cell></header>"
                      "<row><cell>a</cell><cell>b</cell></row><col width=\"1*\"></col><col width=\"2*\"></col>"
                      "<title>Table %1</title></table>%4</onelang></topic>")
                      .arg(id)
                      .arg(id % 97)
                      .arg(target)
                      .arg(id % 10 == 0 ? QStringLiteral("<image file=\"img\\en\\window.png\" format=\"png\" "
                                                         "scale=\"100\">Figure of topic %1</image>")
                                              .arg(id)
                                        : QString());
        }
        if (inThis > 0)
            ch += "</subchapter>";
        ch += "</chapter>";
        writeUtf16(folder + QStringLiteral("/book/chapter%1.xml").arg(c), ch);
        entities += QStringLiteral("<!ENTITY chapter%1 SYSTEM \"chapter%1.xml\">").arg(c);
        refs += QStringLiteral("&chapter%1;").arg(c);
        qlyChapters += QStringLiteral("<chapter><title>Chapter %1</title><id>chapter%1</id><file>chapter%1.xml</file>"
                                      "</chapter>")
                           .arg(c);
    }
    writeUtf16(folder + "/book/book.xml",
               "<?xml version=\"1.0\"?><!DOCTYPE book [<!ELEMENT book (title*,author,version,date,time)>"
               "<!ELEMENT title (#PCDATA)><!ELEMENT author (#PCDATA)><!ELEMENT version (#PCDATA)>"
               "<!ELEMENT date (#PCDATA)><!ELEMENT time (#PCDATA)><!ATTLIST title lang CDATA #REQUIRED>" +
                   entities +
                   "]><book><title lang=\"en\">Benchmark Book</title><author>Bench</author><version>1.0</version>"
                   "<date>1/1/26</date><time>10:00</time>" +
                   refs + "</book>");
    writeUtf16(folder + "/book.qly",
               "<?xml version=\"1.0\"?><!DOCTYPE project [<!ELEMENT project (version, files, languages,topicid,"
               "subchapterid,chapterid,anchorid,lock?)><!ELEMENT version (#PCDATA)><!ELEMENT files (book, chapter*)>"
               "<!ELEMENT book (#PCDATA)><!ELEMENT chapter (title, id, file)><!ELEMENT title (#PCDATA)>"
               "<!ELEMENT id (#PCDATA)><!ELEMENT file (#PCDATA)><!ELEMENT languages (main, language*)>"
               "<!ELEMENT main (name, abrev)><!ELEMENT name (#PCDATA)><!ELEMENT abrev (#PCDATA)>"
               "<!ELEMENT language (name, abrev)><!ELEMENT topicid (#PCDATA)><!ELEMENT subchapterid (#PCDATA)>"
               "<!ELEMENT chapterid (#PCDATA)><!ELEMENT anchorid (#PCDATA)><!ELEMENT lock (id, stamp, description)>"
               "<!ELEMENT stamp (#PCDATA)><!ELEMENT description (#PCDATA)>]><project><version>1.0</version><files>"
               "<book>book.xml</book>" +
                   qlyChapters +
                   QStringLiteral("</files><languages><main><name>English</name><abrev>en</abrev></main></languages>"
                                  "<topicid>%1</topicid><subchapterid>%2</subchapterid><chapterid>%3</chapterid>"
                                  "<anchorid>%1</anchorid></project>")
                       .arg(id)
                       .arg(sub)
                       .arg(chapters));
}

struct Measure {
    double seconds = 0;
    long peakKiB = 0;
    int status = -1;
};

// Runs a program, waits, and takes its time and peak memory (with children).
Measure measure(const QStringList& argv, const QStringList& env = {})
{
    Measure m;
    std::vector<QByteArray> store;
    for (const QString& a : argv)
        store.push_back(a.toLocal8Bit());
    std::vector<char*> args;
    for (QByteArray& b : store)
        args.push_back(b.data());
    args.push_back(nullptr);
    std::fflush(stdout);
    QElapsedTimer t;
    t.start();
    pid_t pid = fork();
    if (pid == 0) {
        for (const QString& kv : env) {
            QByteArray b = kv.toLocal8Bit();
            putenv(strdup(b.constData()));
        }
        if (!freopen("/dev/null", "w", stdout) || !freopen("/dev/null", "w", stderr))
            _exit(126);
        execvp(args[0], args.data());
        _exit(127);
    }
    int status = 0;
    struct rusage ru {};
    wait4(pid, &status, 0, &ru);
    m.seconds = t.nsecsElapsed() / 1e9;
    m.peakKiB = ru.ru_maxrss;
    m.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return m;
}

void print(const char* what, const Measure& m)
{
    std::printf("%-44s %8.2f s %9.1f MiB  exit %d\n", what, m.seconds, m.peakKiB / 1024.0, m.status);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    xmlsafe::init();
    QStringList args = app.arguments();
    int topics = 2000;
    QString work;
    QStringList formats{"html", "htmlchunk", "htmlhelp", "pdf"};
    for (int i = 1; i + 1 < args.size(); ++i) {
        if (args[i] == "--topics")
            topics = args[++i].toInt();
        else if (args[i] == "--work")
            work = args[++i];
        else if (args[i] == "--formats")
            formats = args[++i].split(',');
    }
    QTemporaryDir tmp;
    if (work.isEmpty())
        work = tmp.path();
    QDir().mkpath(work);
    const QString bin = QCoreApplication::applicationDirPath();
    const QString quillary = bin + "/quillary";
    const QString config = work + "/config";
    QDir().mkpath(config);
    const QStringList env{"XDG_CONFIG_HOME=" + config};

    generate(work, topics);
    std::printf("Generated a book of %d topics in %s\n\n", topics, qPrintable(work));

    // The reference: xsltproc with the same stylesheets and parameters.
    const QString xsl = paths::programFolder() + "/quillary.xsl";
    QByteArray tail;
    fileio::readFile(xsl, tail);
    QString first = "<?xml version=\"1.0\"?><xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" "
                    "version=\"1.0\"><xsl:output method=\"xml\" encoding=\"utf-8\"/>"
                    "<xsl:variable name=\"language\" select=\"'en'\"/><xsl:variable name=\"out\" "
                    "select=\"'online'\"/><xsl:variable name=\"cover.image\" select=\"''\"/>" +
                    QString::fromUtf8(tail);
    QDir().mkpath(work + "/ref");
    fileio::atomicReplace(work + "/ref/first.xsl", first.toUtf8());
    cOutputProperties props;
    fileio::atomicReplace(work + "/ref/html.xsl", props.GetHTMLStylesheet().toUtf8());
    Measure x1 = measure({"xsltproc", "--nonet", "-o", work + "/ref/quillary.xml", work + "/ref/first.xsl",
                          work + "/book/book.xml"});
    Measure x2 = measure({"xsltproc", "--nonet", "--param", "use.extensions", "1", "--param", "graphicsize.extension",
                          "1", "--param", "tablecolumns.extension", "0", "--param", "callouts.extension", "0",
                          "--param", "linenumbering.extension", "0", "--param", "textinsert.extension", "0", "-o",
                          work + "/ref/book_en.html", work + "/ref/html.xsl", work + "/ref/quillary.xml"});
    print("xsltproc: book to DocBook", x1);
    print("xsltproc: DocBook to HTML", x2);
    Measure ref{x1.seconds + x2.seconds, std::max(x1.peakKiB, x2.peakKiB), x2.status};
    print("xsltproc: both", ref);
    std::printf("\n");

    for (const QString& f : formats) {
        Measure m = measure({quillary, "--yes", "publish", work + "/book.qly", "--format", f, "--lang", "en"}, env);
        print(qPrintable("quillary publish --format " + f), m);
        if (f == "html" && ref.seconds > 0)
            std::printf("%-44s %8.2f\n", "  ratio to xsltproc", m.seconds / ref.seconds);
    }
    return 0;
}
