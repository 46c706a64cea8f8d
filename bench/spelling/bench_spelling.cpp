// Checks topic bodies of growing size with the installed en_US and de_DE
// dictionaries, as the Spelling command walks them, with the dialog
// answering at once (engine time only): a body of right words, and one with
// a wrong word in fifty, whose suggestions the engine must find for the
// dialog (Hunspell's suggestion search is the dear part).
#include "languagetools.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

namespace {

const char* const kEnglish[] = {"the", "window", "shows", "a", "topic", "with", "its", "title,", "and", "every",
                                "chapter", "holds", "pictures", "tables", "links.", "Writers", "keep", "manuals",
                                "in", "several", "languages", "(each", "side", "by", "side)", "for", "readers"};
const char* const kGerman[] = {"das", "Fenster", "zeigt", "ein", "Thema", "mit", "seinem", "Titel,", "und", "jedes",
                               "Kapitel", "enthält", "Bilder", "Tabellen", "Verweise.", "Autoren", "schreiben",
                               "Handbücher", "in", "mehreren", "Sprachen", "(nebeneinander)", "für", "Leser"};

// A body as paragraphs of 40 words.
struct Body : langtools::SpellTarget {
    std::vector<langtools::TextRun> list;
    std::vector<langtools::TextRun> runs() override { return list; }
    void selectParent(int) override {}
    void clearSelection() override {}
    void write(int, const QString&) override {}
};

template <size_t N>
Body makeBody(const char* const (&words)[N], int count, bool withWrong)
{
    std::mt19937 rng(7);
    Body b;
    QString para;
    for (int i = 0; i < count; ++i) {
        QString w = QString::fromUtf8(words[rng() % N]);
        if (withWrong && i % 50 == 25)
            w += QStringLiteral("xq"); // wrong
        para += (para.isEmpty() ? QString() : QStringLiteral(" ")) + w;
        if (i % 40 == 39) {
            b.list.push_back({int(b.list.size()), para});
            para.clear();
        }
    }
    if (!para.isEmpty())
        b.list.push_back({int(b.list.size()), para});
    return b;
}

double medianMs(langtools::cLanguageTools& tools, Body& body, int& asked)
{
    std::vector<double> ms;
    for (int run = 0; run < 5; ++run) {
        asked = 0;
        QElapsedTimer t;
        t.start();
        langtools::spellBody(body, tools, [&](const QString&, const QString&, const QStringList&) {
            ++asked;
            return QString();
        });
        ms.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    std::sort(ms.begin(), ms.end());
    return ms[ms.size() / 2];
}

template <size_t N>
void bench(const char* code, const char* const (&words)[N])
{
    langtools::cLanguageTools tools;
    if (!tools.openCode(langtools::Tool::Spelling, QString::fromLatin1(code))) {
        std::printf("%s: no dictionary installed\n", code);
        return;
    }
    std::printf("%s\n", code);
    double first = 0;
    int firstN = 0;
    for (int n : {5000, 20000}) {
        Body right = makeBody(words, n, false);
        int asked = 0;
        const double ms = medianMs(tools, right, asked);
        Body wrong = makeBody(words, n, true);
        int wrongCount = 0;
        const double withWrong = medianMs(tools, wrong, wrongCount);
        std::printf("  %6d words  checked in %7.1f ms;  with %d wrong: %8.1f ms (%.1f ms a suggestion list)\n", n,
                    ms, wrongCount, withWrong, wrongCount ? (withWrong - ms) / wrongCount : 0.0);
        if (firstN)
            std::printf("  growth exponent of checking %.2f\n", std::log(ms / first) / std::log(double(n) / firstN));
        first = ms;
        firstN = n;
    }
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    std::printf("median of 5 runs; target: a 5,000-word topic under 100 ms\n");
    bench("en_US", kEnglish);
    bench("de_DE", kGerman);
    return 0;
}
