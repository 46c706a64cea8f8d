#pragma once
// A search index in lunr's own serialised form, built in the program: the
// pages load it with lunr.Index.load and search it with lunr. The text goes
// through lunr's pipeline as lunr.js runs it (its tokenizer, and for
// English its trimmer, stop word filter and Porter stemmer; for other
// languages the pages' trimmer that keeps letters of every script), and the
// scores are lunr's BM25 with its rounding, so the result equals what
// lunr.js itself would build from the same documents.
#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

namespace lunrindex {

enum class Pipeline {
    English, // trimmer, stopWordFilter, stemmer; the search runs the stemmer
    Letters, // qhTrimmer at both ends
};

struct Field {
    QString name;
    double boost = 1;
};

struct Doc {
    QString ref;
    QStringList values; // one per field
};

// The terms lunr makes of a text.
QStringList terms(const QString& text, Pipeline pipeline);
// lunr's Porter stemmer.
QString stem(const QString& word);

// The index as JSON; version is lunr's (Index.load warns on another).
QByteArray build(const std::vector<Field>& fields, const std::vector<Doc>& docs, Pipeline pipeline,
                 const QString& version);

} // namespace lunrindex
