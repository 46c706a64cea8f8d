#pragma once
// Synthetic projects for benchmarks and load tests: N top-level chapters of M
// topics each, in L languages, with nested subchapters and every element of
// the topic vocabulary in realistic text.
#include <QString>
#include <QStringList>

struct GeneratorOptions {
    int chapters = 20;
    int topicsPerChapter = 500;
    int languages = 2;     // en, de, fr, ... main language first
    int topicsPerSub = 25; // every so many topics a subchapter opens
    unsigned seed = 1;
    // Language abbreviations to use instead of the first `languages` of
    // generatorLanguages(); "cs" and "ru" get titles and keywords in their
    // own letters.
    QStringList languageCodes;
    // Writes the pictures the topics show (small PNG files).
    bool writeImages = false;
};

// Writes NAME.qly and its folder into dir; returns the project file's path.
QString generateProject(const QString& dir, const QString& name, const GeneratorOptions& options);

// The language abbreviations the generator uses, main first.
QStringList generatorLanguages(int count);
