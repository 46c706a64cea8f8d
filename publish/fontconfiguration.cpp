#include "fontconfiguration.h"

#include "fileio.h"
#include "mcommon.h"
#include "outputlog.h"

#include <QDir>
#include <QRegularExpression>
#include <QFileInfo>
#include <QUrl>

#ifdef QUILLARY_HAVE_FONTCONFIG
#include <fontconfig/fontconfig.h>
#endif

namespace {
const FontRow kRows[] = {
    {"Arial", {"Arial", "ArialMT"}, "normal", "normal"},
    {"Arial Bold", {"Arial", "ArialMT"}, "normal", "bold"},
    {"Arial Italic", {"Arial", "ArialMT"}, "italic", "normal"},
    {"Arial Bold Italic", {"Arial", "ArialMT"}, "italic", "bold"},
    {"Times New Roman", {"Times", "TimesMT"}, "normal", "normal"},
    {"Times New Roman Bold", {"Times", "TimesMT"}, "normal", "bold"},
    {"Times New Roman Italic", {"Times", "TimesMT"}, "italic", "normal"},
    {"Times New Roman Bold Italic", {"Times", "TimesMT"}, "italic", "bold"},
    {"Courier New", {"Courier", "CourierMT"}, "normal", "normal"},
    {"Courier New Bold", {"Courier", "CourierMT"}, "normal", "bold"},
    {"Courier New Italic", {"Courier", "CourierMT"}, "italic", "normal"},
    {"Courier New Bold Italic", {"Courier", "CourierMT"}, "italic", "bold"},
};

// Faces for the characters the twelve lack, each family under a name of
// its own. A family without italic or bold faces lends its regular face
// to those triplets.
struct FallbackFamily {
    const char* family; // as fontconfig knows it
    const char* name;   // the triplet name
};
const FallbackFamily kFallbacks[] = {
    {"DejaVu Serif", "DejaVuSerif"},
    {"DejaVu Sans", "DejaVuSans"},
    {"DejaVu Sans Mono", "DejaVuSansMono"},
};
// Chinese, Japanese and Korean: the first of these that FOP can read.
// (FOP 2.8 cannot read Noto CJK's collections of CFF outlines; they are
// asked for first should a later FOP manage.)
const char* const kCjkFamilies[] = {"Noto Sans CJK SC", "Droid Sans Fallback", "WenQuanYi Zen Hei"};
const char kCjkName[] = "CJK";

// Fallbacks by the kind of the chosen font, in the order they are tried.
const char* const kSerifChain[] = {"DejaVuSerif", "DejaVuSans", "CJK"};
const char* const kSansChain[] = {"DejaVuSans", "CJK"};
const char* const kMonoChain[] = {"DejaVuSansMono", "DejaVuSans", "CJK"};

const char kCurrentMark[] = "<!-- fallback fonts, PDF/UA -->";

struct Face {
    QString file;
    QString fullName; // the face's name inside a collection (.ttc)
    bool cff = false;
};

#ifdef QUILLARY_HAVE_FONTCONFIG
// FOP embeds TrueType and OpenType faces only.
bool embeddable(const QString& path)
{
    const QString lower = path.toLower();
    return lower.endsWith(QLatin1String(".ttf")) || lower.endsWith(QLatin1String(".otf")) ||
           lower.endsWith(QLatin1String(".ttc"));
}

// fontconfig's best face for a family and style (always some face); the
// caller destroys it.
FcPattern* bestMatch(const char* family, bool bold, bool italic)
{
    FcInit();
    FcPattern* pat = FcPatternCreate();
    FcPatternAddString(pat, FC_FAMILY, reinterpret_cast<const FcChar8*>(family));
    FcPatternAddInteger(pat, FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
    FcPatternAddInteger(pat, FC_SLANT, italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    FcConfigSubstitute(nullptr, pat, FcMatchPattern);
    FcDefaultSubstitute(pat);
    FcResult result = FcResultNoMatch;
    FcPattern* match = FcFontMatch(nullptr, pat, &result);
    FcPatternDestroy(pat);
    return match;
}
#endif

// The face of exactly this family and style, or none: fontconfig answers
// every question with some font, which is no fallback of this family.
Face exactFace(const char* family, bool bold, bool italic)
{
    Face face;
#ifdef QUILLARY_HAVE_FONTCONFIG
    FcPattern* match = bestMatch(family, bold, italic);
    if (match) {
        bool same = false;
        FcChar8* name = nullptr;
        for (int i = 0; FcPatternGetString(match, FC_FAMILY, i, &name) == FcResultMatch; ++i)
            if (QString::fromUtf8(reinterpret_cast<const char*>(name)).compare(QLatin1String(family),
                                                                                Qt::CaseInsensitive) == 0)
                same = true;
        int weight = 0, slant = 0;
        FcPatternGetInteger(match, FC_WEIGHT, 0, &weight);
        FcPatternGetInteger(match, FC_SLANT, 0, &slant);
        const bool styleMatches = (weight >= FC_WEIGHT_BOLD) == bold && (slant != FC_SLANT_ROMAN) == italic;
        FcChar8* format = nullptr;
        const bool cff = FcPatternGetString(match, FC_FONTFORMAT, 0, &format) == FcResultMatch && format &&
                         QByteArray(reinterpret_cast<const char*>(format)) == "CFF";
        FcChar8* file = nullptr;
        if (same && styleMatches && FcPatternGetString(match, FC_FILE, 0, &file) == FcResultMatch && file) {
            face.file = QString::fromUtf8(reinterpret_cast<const char*>(file));
            face.cff = cff;
            FcChar8* full = nullptr;
            if (FcPatternGetString(match, FC_FULLNAME, 0, &full) == FcResultMatch && full)
                face.fullName = QString::fromUtf8(reinterpret_cast<const char*>(full));
        }
        FcPatternDestroy(match);
    }
    // FOP reads CFF outlines only from a single OpenType file.
    if (!embeddable(face.file) || (face.cff && face.file.toLower().endsWith(QLatin1String(".ttc"))))
        face = Face();
#else
    Q_UNUSED(family);
    Q_UNUSED(bold);
    Q_UNUSED(italic);
#endif
    return face;
}

} // namespace

const FontRow* fontRows(int& count)
{
    count = int(sizeof kRows / sizeof kRows[0]);
    return kRows;
}

QString fontFilePath(const QString& face)
{
#ifdef QUILLARY_HAVE_FONTCONFIG
    QString family = face;
    bool bold = false, italic = false;
    if (family.endsWith(QLatin1String(" Italic"))) {
        italic = true;
        family.chop(7);
    }
    if (family.endsWith(QLatin1String(" Bold"))) {
        bold = true;
        family.chop(5);
    }
    QString path;
    if (FcPattern* match = bestMatch(family.toUtf8().constData(), bold, italic)) {
        FcChar8* file = nullptr;
        if (FcPatternGetString(match, FC_FILE, 0, &file) == FcResultMatch && file)
            path = QString::fromUtf8(reinterpret_cast<const char*>(file));
        FcPatternDestroy(match);
    }
    return embeddable(path) ? path : QString();
#else
    Q_UNUSED(face);
    return QString();
#endif
}

namespace {

// The faces of one fallback family under one name; false when the family
// has no regular face FOP can read.
bool addFallbackFamily(QStringList& lines, const char* family, const QString& name)
{
    struct Style {
        bool bold, italic;
    };
    const Style styles[] = {{false, false}, {true, false}, {false, true}, {true, true}};
    Face faces[4];
    for (int i = 0; i < 4; ++i)
        faces[i] = exactFace(family, styles[i].bold, styles[i].italic);
    if (faces[0].file.isEmpty())
        return false;
    // A face fontconfig gives for a style the family lacks is another's.
    for (int i = 1; i < 4; ++i)
        for (int k = 0; k < i; ++k)
            if (faces[i].file == faces[k].file && faces[i].fullName == faces[k].fullName)
                faces[i] = Face();
    for (int i = 0; i < 4; ++i) {
        if (faces[i].file.isEmpty())
            continue;
        QString font = QStringLiteral("<font embed-url=\"") +
                       mCommon::escapeXMLAttribute(QString::fromUtf8(QUrl::fromLocalFile(faces[i].file).toEncoded())) +
                       QStringLiteral("\"");
        if (faces[i].file.endsWith(QLatin1String(".ttc"), Qt::CaseInsensitive))
            font += QStringLiteral(" sub-font=\"") + mCommon::escapeXMLAttribute(faces[i].fullName) +
                    QStringLiteral("\"");
        lines << font + QStringLiteral(" kerning=\"yes\">");
        // This face, and the styles the family lacks that fall back on it.
        for (int j = 0; j < 4; ++j) {
            int source = j;
            if (faces[source].file.isEmpty())
                source = faces[j & 1].file.isEmpty() ? 0 : (j & 1); // bold italic: bold, else regular
            if (source != i)
                continue;
            lines << QStringLiteral("<font-triplet name=\"%1\" style=\"%2\" weight=\"%3\"/>")
                         .arg(name, styles[j].italic ? QStringLiteral("italic") : QStringLiteral("normal"),
                              styles[j].bold ? QStringLiteral("bold") : QStringLiteral("normal"));
        }
        lines << QStringLiteral("</font>");
    }
    return true;
}

} // namespace

bool makeFontConfiguration(const QString& path, OutputLog& log, bool quiet)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    const QString mark = QString(2, QChar(127));
    QStringList lines;
    // PDF/UA: FOP checks what it can of it (every font embedded, the
    // document tagged) and marks the file.
    lines << QStringLiteral("<fop version=\"1.0\"><renderers><renderer mime=\"application/pdf\">"
                            "<pdf-ua-mode>PDF/UA-1</pdf-ua-mode><fonts>");
    int count = 0;
    const FontRow* rows = fontRows(count);
    for (int i = 0; i < count; ++i) {
        QString file = fontFilePath(QString::fromLatin1(rows[i].face));
        QString url = file.isEmpty() ? QString() : QString::fromUtf8(QUrl::fromLocalFile(file).toEncoded());
        lines << QStringLiteral("<font embed-url=\"") + mCommon::escapeXMLAttribute(url) +
                     QStringLiteral("\" kerning=\"yes\">");
        for (const char* fam : rows[i].families)
            lines << QStringLiteral("<font-triplet name=\"%1\" style=\"%2\" weight=\"%3\"/>")
                         .arg(QString::fromLatin1(fam), QString::fromLatin1(rows[i].style),
                              QString::fromLatin1(rows[i].weight));
        lines << QStringLiteral("</font>");
        if (quiet)
            continue;
        if (i == 0)
            log.logLine(mark, false, true);
        else if (i < count - 1)
            log.logLine(mark, false, false);
        else
            log.logLine(mark + QStringLiteral(" Done."), false, false);
    }
    if (!quiet)
        log.blank();
    lines << QString::fromLatin1(kCurrentMark);
    for (const FallbackFamily& f : kFallbacks)
        addFallbackFamily(lines, f.family, QString::fromLatin1(f.name));
    for (const char* family : kCjkFamilies)
        if (addFallbackFamily(lines, family, QString::fromLatin1(kCjkName)))
            break;
    lines << QStringLiteral("</fonts></renderer></renderers></fop>");
    QByteArray data = lines.join(QStringLiteral("\r\n")).toUtf8() + "\r\n";
    return fileio::atomicReplace(path, data);
}

bool fontConfigurationIsCurrent(const QString& path)
{
    QByteArray bytes;
    return fileio::readFile(path, bytes) && bytes.contains(kCurrentMark);
}

QStringList configuredFontNames(const QString& path)
{
    QStringList names;
    QByteArray bytes;
    if (!fileio::readFile(path, bytes))
        return names;
    static const QRegularExpression triplet(QStringLiteral("<font-triplet name=\"([^\"]+)\""));
    for (auto it = triplet.globalMatch(QString::fromUtf8(bytes)); it.hasNext();) {
        const QString name = it.next().captured(1);
        if (!names.contains(name))
            names << name;
    }
    return names;
}

QString foFontList(const QString& family, const QStringList& configured)
{
    QStringList list{family};
    auto add = [&](const auto& chain) {
        for (const char* name : chain)
            if (configured.contains(QLatin1String(name)))
                list << QString::fromLatin1(name);
    };
    if (!configured.contains(family))
        return family; // a generic family: FOP's own fonts, nothing to add
    if (family == QLatin1String("Arial"))
        add(kSansChain);
    else if (family == QLatin1String("Courier"))
        add(kMonoChain);
    else
        add(kSerifChain);
    return list.join(QLatin1Char(','));
}
