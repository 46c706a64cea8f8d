// Publishing benchmark: generated one-language books of several sizes
// (500 and 2,000 topics by default) published by `quillary publish` in all
// six formats. Prints the median time and the peak memory of each format
// at each size, the growth exponent between the smallest and the largest
// size (1.0 is linear), and plain DocBook XSL (xsltproc, without our
// layer) on the same DocBook for the single HTML, run once.
// Usage: quillary_bench_publish [--sizes 500,2000] [--runs 3] [--work DIR]
//                               [--formats html,htmlchunk,webhelp,epub,htmlhelp,pdf]
// Beside the times, the size of the web help's search index.
#include "fileio.h"
#include "generator.h"
#include "outputproperties.h"
#include "paths.h"
#include "xmlsafety.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <vector>

namespace {

// The generated book of the benchmarks, in one language, with the images
// its topics name. Every size has the same shape: chapters of 100 topics
// with subchapters two deep, more of them for a larger book (at most 20,
// the bounded stack of the project file), so that growth measures size
// and not a deeper book.
QString generate(const QString& folder, int topics)
{
    GeneratorOptions o;
    o.languages = 1;
    o.chapters = std::clamp((topics + 99) / 100, 1, 20);
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

// Runs a program, waits, and takes its time and peak memory (the largest
// process of it and its children).
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

// The median time of several runs, with the largest peak of them.
Measure median(std::vector<Measure> runs)
{
    std::sort(runs.begin(), runs.end(), [](const Measure& a, const Measure& b) { return a.seconds < b.seconds; });
    Measure m = runs[runs.size() / 2];
    for (const Measure& r : runs) {
        m.peakKiB = std::max(m.peakKiB, r.peakKiB);
        if (r.status != 0)
            m.status = r.status;
    }
    return m;
}

void print(const QString& what, const Measure& m)
{
    std::printf("%-40s %8.2f s %9.1f MiB  exit %d\n", qPrintable(what), m.seconds, m.peakKiB / 1024.0, m.status);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    xmlsafe::init();
    QStringList args = app.arguments();
    std::vector<int> sizes{500, 2000};
    int runs = 3;
    QString work;
    QStringList formats{"html", "htmlchunk", "webhelp", "epub", "htmlhelp", "pdf"};
    for (int i = 1; i + 1 < args.size(); ++i) {
        if (args[i] == "--sizes") {
            sizes.clear();
            for (const QString& s : args[++i].split(','))
                sizes.push_back(s.toInt());
        } else if (args[i] == "--topics") {
            sizes = {args[++i].toInt()};
        } else if (args[i] == "--runs") {
            runs = std::max(1, args[++i].toInt());
        } else if (args[i] == "--work") {
            work = args[++i];
        } else if (args[i] == "--formats") {
            formats = args[++i].split(',');
        }
    }
    QTemporaryDir tmp;
    if (work.isEmpty())
        work = tmp.path();
    const QString bin = QCoreApplication::applicationDirPath();
    const QString quillary = bin + "/quillary";
    std::printf("%d processors; median of %d runs\n\n", int(sysconf(_SC_NPROCESSORS_ONLN)), runs);

    // format -> size -> measure
    std::map<QString, std::map<int, Measure>> table;
    for (int size : sizes) {
        const QString folder = work + QStringLiteral("/%1").arg(size);
        QDir(folder).removeRecursively();
        QDir().mkpath(folder);
        const QString config = folder + "/config";
        QDir().mkpath(config);
        const QStringList env{"XDG_CONFIG_HOME=" + config};
        const QString qly = generate(folder, size);
        std::printf("A book of %d topics in %s\n", size, qPrintable(folder));

        for (const QString& f : formats) {
            std::vector<Measure> m;
            for (int r = 0; r < runs; ++r)
                m.push_back(measure({quillary, "--yes", "publish", qly, "--format", f, "--lang", "en"}, env));
            table[f][size] = median(m);
            print("  quillary publish --format " + f, table[f][size]);
            if (f == "webhelp")
                std::printf("    search index: %.2f MB\n",
                            QFileInfo(folder + "/book/output/webhelp_en/search-index.js").size() / 1048576.0);
        }

        // Plain DocBook XSL on the same DocBook, for the single HTML.
        measure({quillary, "--yes", "publish", qly, "--format", "html", "--lang", "en", "--keep-docbook"}, env);
        const QString docbook = folder + "/book/output/book_en.xml";
        stylesheet::setDocbookLayerEnabled(false);
        cOutputProperties props;
        fileio::atomicReplace(folder + "/plain.xsl", props.GetHTMLStylesheet().toUtf8());
        stylesheet::setDocbookLayerEnabled(true);
        // Once: it takes minutes at 2,000 topics.
        table["xsltproc DocBook to HTML"][size] =
            measure({"xsltproc", "--nonet", "-o", folder + "/plain.html", folder + "/plain.xsl", docbook});
        print("  xsltproc, plain DocBook XSL: DocBook to HTML", table["xsltproc DocBook to HTML"][size]);
        std::printf("\n");
    }

    if (sizes.size() >= 2) {
        const int a = sizes.front();
        const int b = sizes.back();
        std::printf("%-28s %10d %10d %12s %12s\n", "growth", a, b, "exponent", "peak MiB");
        for (const auto& [f, bySize] : table) {
            const Measure& small = bySize.at(a);
            const Measure& large = bySize.at(b);
            const double exponent = std::log(large.seconds / small.seconds) / std::log(double(b) / a);
            std::printf("%-28s %9.2fs %9.2fs %12.2f %12.1f\n", qPrintable(f), small.seconds, large.seconds, exponent,
                        large.peakKiB / 1024.0);
        }
    }
    return 0;
}
