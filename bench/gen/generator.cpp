#include "generator.h"

#include "fileio.h"
#include "newproject.h"

#include <QDir>

#include <random>

namespace {
const char* const kWords[] = {
    "the", "window", "shows", "a", "list", "of", "projects", "and", "each", "entry", "opens", "its", "book",
    "chapter", "topic", "select", "menu", "press", "button", "to", "save", "changes", "before", "closing",
    "program", "settings", "are", "kept", "in", "file", "language", "translation", "export", "import",
    "image", "table", "column", "row", "keyword", "index", "link", "anchor", "note", "warning", "help",
    "output", "print", "online", "version", "author", "title", "text", "paragraph", "field", "value"};

// Words in a language's own letters, for titles and keywords; none for the
// languages whose generated text stays English.
QStringList nationalWords(const QString& lang)
{
    if (lang == QLatin1String("cs"))
        return {QStringLiteral("Přehled"), QStringLiteral("nastavení"), QStringLiteral("žluťoučký"),
                QStringLiteral("kůň"), QStringLiteral("úpěl"), QStringLiteral("ďábelské"), QStringLiteral("ódy")};
    if (lang == QLatin1String("ru"))
        return {QStringLiteral("Обзор"), QStringLiteral("настройки"), QStringLiteral("съешь"), QStringLiteral("ещё"),
                QStringLiteral("мягких"), QStringLiteral("французских"), QStringLiteral("булок")};
    return {};
}

QString national(const QString& lang, int n)
{
    const QStringList w = nationalWords(lang);
    return w.isEmpty() ? QString() : QLatin1Char(' ') + w[n % w.size()];
}

// A PNG of 1 x 1 pixel.
const unsigned char kPixel[] = {0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A, 0x00, 0x00, 0x00, 0x0D, 0x49, 0x48,
                                0x44, 0x52, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01, 0x08, 0x06, 0x00, 0x00,
                                0x00, 0x1F, 0x15, 0xC4, 0x89, 0x00, 0x00, 0x00, 0x0D, 0x49, 0x44, 0x41, 0x54, 0x78,
                                0x9C, 0x63, 0xF8, 0xCF, 0xC0, 0xF0, 0x1F, 0x00, 0x05, 0x00, 0x01, 0xFF, 0x89, 0x99,
                                0x3D, 0x1D, 0x00, 0x00, 0x00, 0x00, 0x49, 0x45, 0x4E, 0x44, 0xAE, 0x42, 0x60, 0x82};

struct Writer {
    std::mt19937 rng;
    int anchor = 0;
    int topic = 0;
    int sub = 0;

    QString words(int n)
    {
        QString s;
        for (int i = 0; i < n; ++i) {
            if (i)
                s += QLatin1Char(' ');
            s += QString::fromLatin1(kWords[rng() % (sizeof(kWords) / sizeof(kWords[0]))]);
        }
        return s;
    }
    QString sentence(int n)
    {
        QString s = words(n);
        if (!s.isEmpty())
            s[0] = s[0].toUpper();
        return s + QLatin1Char('.');
    }

    QString body(const QString& lang, int topicNo)
    {
        QString b;
        b += QStringLiteral("<index><primary>") + words(1) + national(lang, topicNo) +
             QStringLiteral("</primary><secondary>") + words(2) +
             QStringLiteral("</secondary></index>");
        b += QStringLiteral("<p>") + sentence(14) + QStringLiteral(" ") + sentence(10) + QStringLiteral("</p>");
        b += QStringLiteral("<p><title>") + words(3) + QStringLiteral("</title>") + sentence(8) + QStringLiteral(" <sign>") +
             words(2) + QStringLiteral("</sign> ") + sentence(6) + QStringLiteral(" See <link ref=\"topic") +
             QString::number(std::max(1, topicNo - 1)) + QStringLiteral("\"></link>.</p>");
        b += QStringLiteral("<p>") + sentence(12) + QStringLiteral("<anchor id=\"anchor") + QString::number(++anchor) +
             QStringLiteral("\" name=\"") + words(1) + QStringLiteral("\"></anchor> &amp; ") + sentence(5) +
             QStringLiteral(" <link ref=\"https://www.example.org/") + words(1) + QStringLiteral("\" weblabel=\"") +
             words(2) + QStringLiteral("\"></link></p>");
        if (topicNo % 3 == 0)
            b += QStringLiteral("<image file=\"img\\") + lang + QStringLiteral("\\shot") + QString::number(topicNo % 7) +
                 QStringLiteral(".png\" format=\"png\" scale=\"100\">") + words(3) + QStringLiteral("</image>");
        b += QStringLiteral("<notice><title>") + words(1) + QStringLiteral("</title><p>") + sentence(9) +
             QStringLiteral("</p></notice>");
        b += QStringLiteral("<list format=\"") + (topicNo % 2 ? QStringLiteral("bullet") : QStringLiteral("number")) +
             QStringLiteral("\"><item>") + sentence(5) + QStringLiteral("</item><item>") + sentence(6) +
             QStringLiteral("</item><item><sign>") + words(2) + QStringLiteral("</sign> ") + words(3) +
             QStringLiteral("</item></list>");
        if (topicNo % 4 == 0) {
            b += QStringLiteral("<table border=\"all\" colnumber=\"3\"><header><cell>") + words(1) +
                 QStringLiteral("</cell><cell>") + words(1) + QStringLiteral("</cell><cell>") + words(1) +
                 QStringLiteral("</cell></header>");
            for (int r = 0; r < 3; ++r)
                b += QStringLiteral("<row><cell align=\"left\">") + words(2) + QStringLiteral("</cell><cell>") + words(4) +
                     QStringLiteral("</cell><cell>") + sentence(6) + QStringLiteral("</cell></row>");
            b += QStringLiteral("<col width=\"1*\"></col><col width=\"2*\"></col><col width=\"5*\"></col><title>") + words(2) +
                 QStringLiteral("</title></table>");
        }
        b += QStringLiteral("<p>") + sentence(16) + QStringLiteral("</p>");
        return b;
    }

    QString topicXml(const QStringList& langs, const QString& stamp)
    {
        int no = ++topic;
        QString title = words(3) + QLatin1Char(' ') + QString::number(no);
        QString s = QStringLiteral("<topic id=\"topic") + QString::number(no) + QStringLiteral("\">");
        for (const QString& l : langs)
            s += QStringLiteral("<title lang=\"") + l + QStringLiteral("\" state=\"") +
                 (no % 5 ? QStringLiteral("uncomplete") : QStringLiteral("complete")) + QStringLiteral("\" stamp=\"") +
                 stamp + QStringLiteral("\">") + title + national(l, no) + QStringLiteral("</title>");
        for (const QString& l : langs)
            s += QStringLiteral("<onelang lang=\"") + l + QStringLiteral("\">") + body(l, no) + QStringLiteral("</onelang>");
        return s + QStringLiteral("</topic>");
    }
};
}

QStringList generatorLanguages(int count)
{
    const QStringList all{"en", "de", "fr", "es", "it", "nl", "sv", "pl"};
    return all.mid(0, std::clamp(count, 1, int(all.size())));
}

QString generateProject(const QString& dir, const QString& name, const GeneratorOptions& o)
{
    const QStringList langs = o.languageCodes.isEmpty() ? generatorLanguages(o.languages) : o.languageCodes;
    const QString folder = dir + QLatin1Char('/') + name + QLatin1Char('/');
    QDir().mkpath(folder + QStringLiteral("img"));
    for (const QString& l : langs) {
        QDir().mkpath(folder + QStringLiteral("img/") + l);
        if (o.writeImages)
            for (int i = 0; i < 7; ++i)
                fileio::atomicReplace(folder + QStringLiteral("img/%1/shot%2.png").arg(l).arg(i),
                                      QByteArray(reinterpret_cast<const char*>(kPixel), sizeof kPixel));
    }
    Writer w{std::mt19937(o.seed)};
    const QString stamp = QStringLiteral("11/21/26 10:00");

    QString entities, refs, chapters;
    for (int c = 1; c <= o.chapters; ++c) {
        QString ctitle = QStringLiteral("Chapter %1 ").arg(c) + w.words(2);
        QString s = QStringLiteral("<chapter>");
        for (const QString& l : langs)
            s += QStringLiteral("<title lang=\"") + l + QStringLiteral("\">") + ctitle + national(l, c) +
                 QStringLiteral("</title>");
        int open = 0;
        for (int t = 0; t < o.topicsPerChapter; ++t) {
            if (o.topicsPerSub > 0 && t > 0 && t % o.topicsPerSub == 0) {
                // Open a subchapter; every other one nests inside the previous,
                // so subchapters stand two deep at most.
                if ((t / o.topicsPerSub) % 2 == 1) {
                    for (; open > 0; --open)
                        s += QStringLiteral("</subchapter>");
                }
                QString stitle = QStringLiteral("Part %1 ").arg(++w.sub) + w.words(2);
                s += QStringLiteral("<subchapter id=\"sub") + QString::number(w.sub) + QStringLiteral("\">");
                for (const QString& l : langs)
                    s += QStringLiteral("<title lang=\"") + l + QStringLiteral("\">") + stitle + national(l, w.sub) +
                         QStringLiteral("</title>");
                ++open;
            }
            s += w.topicXml(langs, stamp);
        }
        while (open-- > 0)
            s += QStringLiteral("</subchapter>");
        s += QStringLiteral("</chapter>");
        fileio::writeUtf16Line(folder + QStringLiteral("chapter%1.xml").arg(c), s);
        entities += QStringLiteral("<!ENTITY chapter%1 SYSTEM \"chapter%1.xml\">").arg(c);
        refs += QStringLiteral("&chapter%1;").arg(c);
        chapters += QStringLiteral("<chapter><title>") + ctitle + QStringLiteral("</title><id>chapter%1</id><file>chapter%1.xml</file></chapter>").arg(c);
    }
    QString book = QStringLiteral(
        "<?xml version=\"1.0\"?><!DOCTYPE book [<!ELEMENT book (title*,author,version,date,time)>"
        "<!ELEMENT title (#PCDATA)><!ELEMENT author (#PCDATA)><!ELEMENT version (#PCDATA)>"
        "<!ELEMENT date (#PCDATA)><!ELEMENT time (#PCDATA)><!ATTLIST title lang CDATA #REQUIRED>") +
                   entities + QStringLiteral("]><book>");
    for (const QString& l : langs)
        book += QStringLiteral("<title lang=\"") + l + QStringLiteral("\">Generated Manual") + national(l, 0) +
                QStringLiteral("</title>");
    book += QStringLiteral("<author>Generator</author><version>1.0</version><date>11/21/26</date><time>10:00</time>") + refs +
            QStringLiteral("</book>");
    fileio::writeUtf16Line(folder + QStringLiteral("book.xml"), book);

    QString project = QString::fromLatin1(kProjectFileHead) +
                      QStringLiteral("<project><version>1.0</version><files><book>book.xml</book>") +
                      chapters + QStringLiteral("</files><languages><main><name>Lang ") + langs[0] +
                      QStringLiteral("</name><abrev>") + langs[0] + QStringLiteral("</abrev></main>");
    for (int i = 1; i < langs.size(); ++i)
        project += QStringLiteral("<language><name>Lang ") + langs[i] + QStringLiteral("</name><abrev>") + langs[i] +
                   QStringLiteral("</abrev></language>");
    project += QStringLiteral("</languages><topicid>%1</topicid><subchapterid>%2</subchapterid><chapterid>%3</chapterid>"
                              "<anchorid>%4</anchorid></project>")
                   .arg(w.topic)
                   .arg(w.sub)
                   .arg(o.chapters)
                   .arg(w.anchor);
    const QString file = dir + QLatin1Char('/') + name + QStringLiteral(".qly");
    fileio::writeUtf16Line(file, project);
    return file;
}
