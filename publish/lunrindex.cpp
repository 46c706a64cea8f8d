#include "lunrindex.h"

#include <QHash>
#include <QLocale>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <cmath>

namespace lunrindex {

namespace {

// JavaScript's \s, which lunr's tokenizer splits on (with "-").
bool separator(char16_t c)
{
    switch (c) {
    case u'\t': case u'\n': case 0x0B: case 0x0C: case u'\r': case u' ': case 0xA0: case 0x1680:
    case 0x2028: case 0x2029: case 0x202F: case 0x205F: case 0x3000: case 0xFEFF: case u'-':
        return true;
    default:
        return c >= 0x2000 && c <= 0x200A;
    }
}

// JavaScript's \w without the u flag: what lunr's trimmer keeps.
bool asciiWord(char16_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_';
}

// The pages' qhTrimmer keeps these at the ends of a word.
bool letter(char16_t c)
{
    return (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c == 0xAA ||
           c == 0xB5 || c == 0xBA || (c >= 0xC0 && c <= 0xD6) || (c >= 0xD8 && c <= 0xF6) ||
           (c >= 0xF8 && c <= 0x1FFF) || (c >= 0x2C00 && c <= 0xD7FF) || (c >= 0xF900 && c <= 0xFFEF);
}

QString trimmed(const QString& s, bool (*keep)(char16_t))
{
    qsizetype a = 0, b = s.size();
    while (a < b && !keep(s[a].unicode()))
        ++a;
    while (b > a && !keep(s[b - 1].unicode()))
        --b;
    return s.mid(a, b - a);
}

const QSet<QString>& stopWords()
{
    static const QSet<QString> words = [] {
        QSet<QString> w;
        for (const char* s :
             {"a", "able", "about", "across", "after", "all", "almost", "also", "am", "among", "an", "and", "any",
              "are", "as", "at", "be", "because", "been", "but", "by", "can", "cannot", "could", "dear", "did", "do",
              "does", "either", "else", "ever", "every", "for", "from", "get", "got", "had", "has", "have", "he",
              "her", "hers", "him", "his", "how", "however", "i", "if", "in", "into", "is", "it", "its", "just",
              "least", "let", "like", "likely", "may", "me", "might", "most", "must", "my", "neither", "no", "nor",
              "not", "of", "off", "often", "on", "only", "or", "other", "our", "own", "rather", "said", "say",
              "says", "she", "should", "since", "so", "some", "than", "that", "the", "their", "them", "then",
              "there", "these", "they", "this", "tis", "to", "too", "twas", "us", "wants", "was", "we", "were",
              "what", "when", "where", "which", "while", "who", "whom", "why", "will", "with", "would", "yet",
              "you", "your"})
            w.insert(QString::fromLatin1(s));
        return w;
    }();
    return words;
}

// lunr's stemmer, step by step as lunr.js writes it.
class Porter {
public:
    Porter()
    {
        const QString c = QStringLiteral("[^aeiou]"), v = QStringLiteral("[aeiouy]");
        const QString C = c + QStringLiteral("[^aeiouy]*"), V = v + QStringLiteral("[aeiou]*");
        mgr0.setPattern(QStringLiteral("^(") + C + QStringLiteral(")?") + V + C);
        meq1.setPattern(QStringLiteral("^(") + C + QStringLiteral(")?") + V + C + QStringLiteral("(") + V +
                        QStringLiteral(")?$"));
        mgr1.setPattern(QStringLiteral("^(") + C + QStringLiteral(")?") + V + C + V + C);
        s_v.setPattern(QStringLiteral("^(") + C + QStringLiteral(")?") + v);
        re4_1b_2.setPattern(QStringLiteral("^") + C + v + QStringLiteral("[^aeiouwxy]$"));
        for (QRegularExpression* re : {&mgr0, &meq1, &mgr1, &s_v, &re4_1b_2, &re_1a, &re2_1a, &re_1b, &re2_1b,
                                       &re_1b_2, &re2_1b_2, &re3_1b_2, &re_1c, &re_2, &re_3, &re_4, &re2_4, &re_5,
                                       &re_5_1})
            re->optimize();
    }

    QString operator()(QString w) const
    {
        if (w.size() < 3)
            return w;
        const QChar firstch = w[0];
        if (firstch == u'y')
            w[0] = u'Y';

        // Step 1a
        if (auto m = re_1a.match(w); m.hasMatch())
            w = m.captured(1) + m.captured(2);
        else if (auto m2 = re2_1a.match(w); m2.hasMatch())
            w = m2.captured(1) + m2.captured(2);

        // Step 1b
        if (auto m = re_1b.match(w); m.hasMatch()) {
            if (test(mgr0, m.captured(1)))
                w.chop(1);
        } else if (auto m2 = re2_1b.match(w); m2.hasMatch()) {
            const QString stem = m2.captured(1);
            if (test(s_v, stem)) {
                w = stem;
                if (test(re2_1b_2, w))
                    w += u'e';
                else if (test(re3_1b_2, w))
                    w.chop(1);
                else if (test(re4_1b_2, w))
                    w += u'e';
            }
        }

        // Step 1c
        if (auto m = re_1c.match(w); m.hasMatch())
            w = m.captured(1) + u'i';

        // Step 2
        if (auto m = re_2.match(w); m.hasMatch()) {
            const QString stem = m.captured(1);
            if (test(mgr0, stem))
                w = stem + step2.value(m.captured(2));
        }

        // Step 3
        if (auto m = re_3.match(w); m.hasMatch()) {
            const QString stem = m.captured(1);
            if (test(mgr0, stem))
                w = stem + step3.value(m.captured(2));
        }

        // Step 4
        if (auto m = re_4.match(w); m.hasMatch()) {
            const QString stem = m.captured(1);
            if (test(mgr1, stem))
                w = stem;
        } else if (auto m2 = re2_4.match(w); m2.hasMatch()) {
            const QString stem = m2.captured(1) + m2.captured(2);
            if (test(mgr1, stem))
                w = stem;
        }

        // Step 5
        if (auto m = re_5.match(w); m.hasMatch()) {
            const QString stem = m.captured(1);
            if (test(mgr1, stem) || (test(meq1, stem) && !test(re4_1b_2, stem)))
                w = stem;
        }
        if (test(re_5_1, w) && test(mgr1, w))
            w.chop(1);

        if (firstch == u'y')
            w[0] = u'y';
        return w;
    }

private:
    static bool test(const QRegularExpression& re, const QString& s) { return re.match(s).hasMatch(); }

    QRegularExpression mgr0, meq1, mgr1, s_v, re4_1b_2;
    QRegularExpression re_1a{QStringLiteral("^(.+?)(ss|i)es$")};
    QRegularExpression re2_1a{QStringLiteral("^(.+?)([^s])s$")};
    QRegularExpression re_1b{QStringLiteral("^(.+?)eed$")};
    QRegularExpression re2_1b{QStringLiteral("^(.+?)(ed|ing)$")};
    QRegularExpression re_1b_2{QStringLiteral(".$")};
    QRegularExpression re2_1b_2{QStringLiteral("(at|bl|iz)$")};
    QRegularExpression re3_1b_2{QStringLiteral("([^aeiouylsz])\\1$")};
    QRegularExpression re_1c{QStringLiteral("^(.+?[^aeiou])y$")};
    QRegularExpression re_2{QStringLiteral("^(.+?)(ational|tional|enci|anci|izer|bli|alli|entli|eli|ousli|ization|"
                                           "ation|ator|alism|iveness|fulness|ousness|aliti|iviti|biliti|logi)$")};
    QRegularExpression re_3{QStringLiteral("^(.+?)(icate|ative|alize|iciti|ical|ful|ness)$")};
    QRegularExpression re_4{
        QStringLiteral("^(.+?)(al|ance|ence|er|ic|able|ible|ant|ement|ment|ent|ou|ism|ate|iti|ous|ive|ize)$")};
    QRegularExpression re2_4{QStringLiteral("^(.+?)(s|t)(ion)$")};
    QRegularExpression re_5{QStringLiteral("^(.+?)e$")};
    QRegularExpression re_5_1{QStringLiteral("ll$")};
    const QHash<QString, QString> step2{
        {"ational", "ate"}, {"tional", "tion"}, {"enci", "ence"},  {"anci", "ance"},   {"izer", "ize"},
        {"bli", "ble"},     {"alli", "al"},     {"entli", "ent"},  {"eli", "e"},       {"ousli", "ous"},
        {"ization", "ize"}, {"ation", "ate"},   {"ator", "ate"},   {"alism", "al"},    {"iveness", "ive"},
        {"fulness", "ful"}, {"ousness", "ous"}, {"aliti", "al"},   {"iviti", "ive"},   {"biliti", "ble"},
        {"logi", "log"}};
    const QHash<QString, QString> step3{{"icate", "ic"}, {"ative", ""}, {"alize", "al"}, {"iciti", "ic"},
                                        {"ical", "ic"},  {"ful", ""},   {"ness", ""}};
};

const Porter& porter()
{
    static const Porter p;
    return p;
}

// The stems of a run: a book repeats its words.
class Stems {
public:
    const QString& of(const QString& word)
    {
        auto it = m_cache.constFind(word);
        if (it == m_cache.constEnd())
            it = m_cache.insert(word, porter()(word));
        return *it;
    }

private:
    QHash<QString, QString> m_cache;
};

void appendTerms(const QString& text, Pipeline pipeline, Stems& stems, QStringList& out)
{
    const QString lower = text.toLower();
    qsizetype start = 0;
    for (qsizetype end = 0; end <= lower.size(); ++end) {
        if (end < lower.size() && !separator(lower[end].unicode()))
            continue;
        if (end > start) {
            const QString token = lower.mid(start, end - start);
            if (pipeline == Pipeline::English) {
                // An empty token stays, as in lunr: only the filter drops words.
                const QString t = trimmed(token, asciiWord);
                if (!stopWords().contains(t))
                    out << stems.of(t);
            } else {
                out << trimmed(token, letter);
            }
        }
        start = end + 1;
    }
}

// A number as JavaScript writes it.
QByteArray number(double v)
{
    if (v == std::floor(v) && std::fabs(v) < 1e15)
        return QByteArray::number(qint64(v));
    return QByteArray::number(v, 'g', QLocale::FloatingPointShortest);
}

void appendString(QByteArray& out, const QString& s)
{
    out += '"';
    for (QChar ch : s) {
        const char16_t c = ch.unicode();
        switch (c) {
        case u'"': out += "\\\""; break;
        case u'\\': out += "\\\\"; break;
        case u'\n': out += "\\n"; break;
        case u'\r': out += "\\r"; break;
        case u'\t': out += "\\t"; break;
        case u'\b': out += "\\b"; break;
        case u'\f': out += "\\f"; break;
        default:
            if (c < 0x20 || (c >= 0xD800 && c <= 0xDFFF) || c == 0x2028 || c == 0x2029) {
                // Lone surrogates and line separators stay safe in a script.
                out += "\\u" + QByteArray::number(c, 16).rightJustified(4, '0');
            } else {
                out += QString(ch).toUtf8();
            }
        }
    }
    out += '"';
}

} // namespace

QString stem(const QString& word)
{
    return porter()(word);
}

QStringList terms(const QString& text, Pipeline pipeline)
{
    Stems stems;
    QStringList out;
    appendTerms(text, pipeline, stems, out);
    return out;
}

QByteArray build(const std::vector<Field>& fields, const std::vector<Doc>& docs, Pipeline pipeline,
                 const QString& version)
{
    struct Posting {
        int index = 0;
        std::vector<std::vector<int>> docs; // per field: documents in order of arrival
    };
    struct FieldRef {
        int doc = 0;
        int field = 0;
        int length = 0;
        std::vector<std::pair<int, int>> frequencies; // term, count
    };
    QHash<QString, int> termOf;
    std::vector<QString> termText;
    std::vector<Posting> postings;
    std::vector<FieldRef> refs;
    std::vector<double> lengthSum(fields.size(), 0);
    Stems stems;

    for (int d = 0; d < int(docs.size()); ++d) {
        for (int f = 0; f < int(fields.size()); ++f) {
            QStringList words;
            appendTerms(docs[size_t(d)].values.value(f), pipeline, stems, words);
            FieldRef ref{d, f, int(words.size()), {}};
            QHash<int, int> at; // term to its place in frequencies
            for (const QString& w : words) {
                auto it = termOf.constFind(w);
                if (it == termOf.constEnd()) {
                    it = termOf.insert(w, int(postings.size()));
                    termText.push_back(w);
                    postings.push_back({int(postings.size()), std::vector<std::vector<int>>(fields.size())});
                }
                const int t = *it;
                auto slot = at.constFind(t);
                if (slot == at.constEnd()) {
                    at.insert(t, int(ref.frequencies.size()));
                    ref.frequencies.push_back({t, 1});
                    postings[size_t(t)].docs[size_t(f)].push_back(d);
                } else {
                    ++ref.frequencies[size_t(*slot)].second;
                }
            }
            lengthSum[size_t(f)] += ref.length;
            refs.push_back(std::move(ref));
        }
    }

    const double N = double(docs.size());
    const double k1 = 1.2, b = 0.75;
    std::vector<double> idf(postings.size());
    for (size_t t = 0; t < postings.size(); ++t) {
        double withTerm = 0;
        for (const auto& perField : postings[t].docs)
            withTerm += double(perField.size());
        const double x = (N - withTerm + 0.5) / (withTerm + 0.5);
        idf[t] = std::log(1 + std::fabs(x));
    }

    QByteArray out;
    out.reserve(1 << 20);
    out += "{\"version\":";
    appendString(out, version);
    out += ",\"fields\":[";
    for (size_t f = 0; f < fields.size(); ++f) {
        if (f)
            out += ',';
        appendString(out, fields[f].name);
    }
    out += "],\"fieldVectors\":[";
    for (size_t r = 0; r < refs.size(); ++r) {
        FieldRef& ref = refs[r];
        const double average = N > 0 ? lengthSum[size_t(ref.field)] / N : 0;
        std::sort(ref.frequencies.begin(), ref.frequencies.end());
        if (r)
            out += ',';
        out += '[';
        appendString(out, fields[size_t(ref.field)].name + u'/' + docs[size_t(ref.doc)].ref);
        out += ",[";
        bool first = true;
        for (const auto& [t, tf] : ref.frequencies) {
            double score = idf[size_t(t)] * ((k1 + 1) * tf) / (k1 * (1 - b + b * (ref.length / average)) + tf);
            score *= fields[size_t(ref.field)].boost;
            // Math.round: halves up.
            const double rounded = std::floor(score * 1000 + 0.5) / 1000;
            if (!first)
                out += ',';
            first = false;
            out += QByteArray::number(t) + ',' + number(rounded);
        }
        out += "]]";
    }
    out += "],\"invertedIndex\":[";
    std::vector<int> order(postings.size());
    for (size_t t = 0; t < order.size(); ++t)
        order[t] = int(t);
    // JavaScript sorts strings by their UTF-16 units, as QString compares.
    std::sort(order.begin(), order.end(), [&](int a, int c) { return termText[size_t(a)] < termText[size_t(c)]; });
    for (size_t i = 0; i < order.size(); ++i) {
        const Posting& p = postings[size_t(order[i])];
        if (i)
            out += ',';
        out += '[';
        appendString(out, termText[size_t(order[i])]);
        out += ",{\"_index\":" + QByteArray::number(p.index);
        for (size_t f = 0; f < fields.size(); ++f) {
            out += ',';
            appendString(out, fields[f].name);
            out += ":{";
            for (size_t k = 0; k < p.docs[f].size(); ++k) {
                if (k)
                    out += ',';
                appendString(out, docs[size_t(p.docs[f][k])].ref);
                out += ":{}";
            }
            out += '}';
        }
        out += "}]";
    }
    out += "],\"pipeline\":[";
    out += pipeline == Pipeline::English ? "\"stemmer\"" : "\"qhTrimmer\"";
    out += "]}";
    return out;
}

} // namespace lunrindex
