// Searching the whole book in generated books of 2,500 and 10,000 topics
// (two languages, English searched): a common word, whose hits reach the
// cap of 1,000 early, and a rare one, for which every chapter is read.
//   quillary_bench_search [--runs N] [--keep DIR]
#include "booksearch.h"
#include "generator.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

struct Timing {
    double ms = 0;
    qsizetype hits = 0;
    int topics = 0;
    bool capped = false;
    qsizetype errors = 0;
};

Timing timeSearch(const QString& qly, const QString& word, int runs)
{
    Timing t;
    std::vector<double> ms;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        const BookSearchResult r = booksearch::search({qly, QStringLiteral("en")}, word, {});
        ms.push_back(double(timer.nsecsElapsed()) / 1e6);
        t.hits = r.hits.size();
        t.topics = r.topicCount();
        t.capped = r.capped;
        t.errors = r.errors.size();
    }
    t.ms = median(ms);
    return t;
}

qint64 folderBytes(const QString& folder)
{
    qint64 sum = 0;
    for (const QFileInfo& f : QDir(folder).entryInfoList({QStringLiteral("*.xml")}, QDir::Files))
        sum += f.size();
    return sum;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    int runs = 3;
    QString keep;
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--runs") && i + 1 < args.size())
            runs = std::max(1, args[++i].toInt());
        else if (args[i] == QLatin1String("--keep") && i + 1 < args.size())
            keep = args[++i];
    }
    QTemporaryDir temp;
    const QString root = keep.isEmpty() ? temp.path() : keep;

    // The common word is one of the generator's words; the rare one is a
    // topic's number, in one title.
    const QString common = QStringLiteral("window");
    const QString rare = QStringLiteral("1234");
    struct Size {
        int chapters, perChapter;
    };
    const Size sizes[] = {{5, 500}, {20, 500}};
    std::printf("book search, median of %d runs, %d threads available\n", runs, QThread::idealThreadCount());
    std::vector<Timing> commonT, rareT;
    std::vector<int> topics;
    for (const Size& s : sizes) {
        GeneratorOptions o;
        o.chapters = s.chapters;
        o.topicsPerChapter = s.perChapter;
        const QString name = QStringLiteral("book%1").arg(s.chapters * s.perChapter);
        const QString qly = generateProject(root, name, o);
        topics.push_back(s.chapters * s.perChapter);
        std::printf("\n== %d topics (%d chapters x %d, 2 languages), chapter files %.1f MB\n", topics.back(),
                    s.chapters, s.perChapter, double(folderBytes(root + QLatin1Char('/') + name)) / 1048576.0);
        // One search untimed, so that every size starts with the files read once.
        booksearch::search({qly, QStringLiteral("en")}, rare, {});
        commonT.push_back(timeSearch(qly, common, runs));
        rareT.push_back(timeSearch(qly, rare, runs));
        for (const auto& [word, t] : {std::pair{common, commonT.back()}, std::pair{rare, rareT.back()}})
            std::printf("\"%s\": %.1f ms, %lld result%s in %d topic%s%s%s\n", qPrintable(word), t.ms,
                        static_cast<long long>(t.hits), t.hits == 1 ? "" : "s", t.topics, t.topics == 1 ? "" : "s",
                        t.capped ? " (capped at 1000)" : "", t.errors ? " ERRORS" : "");
        std::fflush(stdout);
    }
    const double size = double(topics[1]) / double(topics[0]);
    std::printf("\ngrowth from %d to %d topics (x%.0f):\n", topics[0], topics[1], size);
    for (const auto& [word, t] : {std::pair{common, commonT}, std::pair{rare, rareT}}) {
        const double ratio = t[1].ms / t[0].ms;
        std::printf("  \"%s\": time x%.2f, exponent %.2f\n", qPrintable(word), ratio, std::log(ratio) / std::log(size));
    }
    const bool fast = commonT[1].ms < 1000 && rareT[1].ms < 1000;
    std::printf("10,000 topics under 1 s: %s (common %.0f ms, rare %.0f ms)\n", fast ? "yes" : "NO", commonT[1].ms,
                rareT[1].ms);
    return 0;
}
