// Publishing benchmark: a generated one-language book of N topics (2,000 by
// default) published by `quillary publish` in all four formats, against
// xsltproc running the same two transformations of the HTML format.
// Usage: quillary_bench_publish [--topics N] [--work DIR] [--formats html,htmlchunk,htmlhelp,pdf]
#include "fileio.h"
#include "generator.h"
#include "outputproperties.h"
#include "paths.h"
#include "xmlsafety.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

// The generated book of the benchmarks, in one language, with the images
// its topics name.
QString generate(const QString& folder, int topics)
{
    GeneratorOptions o;
    o.languages = 1;
    o.chapters = std::clamp(topics, 1, 20); // the bounded stack of the project file
    o.topicsPerChapter = (topics + o.chapters - 1) / o.chapters;
    const QString qly = generateProject(folder, QStringLiteral("book"), o);
    for (int i = 0; i < 7; ++i)
        QFile::copy(QStringLiteral(QUILLARY_SOURCE_DIR "/examples/sample/sample/img/en/window.png"),
                    folder + QStringLiteral("/book/img/en/shot%1.png").arg(i));
    return qly;
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

    const QString qly = generate(work, topics);
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
        Measure m = measure({quillary, "--yes", "publish", qly, "--format", f, "--lang", "en"}, env);
        print(qPrintable("quillary publish --format " + f), m);
        if (f == "html" && ref.seconds > 0)
            std::printf("%-44s %8.2f\n", "  ratio to xsltproc", m.seconds / ref.seconds);
    }
    return 0;
}
