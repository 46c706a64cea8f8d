#include "fontconfiguration.h"

#include "fileio.h"
#include "mcommon.h"
#include "outputlog.h"

#include <QDir>
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
}

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
    FcInit();
    FcPattern* pat = FcPatternCreate();
    QByteArray fam = family.toUtf8();
    FcPatternAddString(pat, FC_FAMILY, reinterpret_cast<const FcChar8*>(fam.constData()));
    FcPatternAddInteger(pat, FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
    FcPatternAddInteger(pat, FC_SLANT, italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    FcConfigSubstitute(nullptr, pat, FcMatchPattern);
    FcDefaultSubstitute(pat);
    FcResult result = FcResultNoMatch;
    FcPattern* match = FcFontMatch(nullptr, pat, &result);
    QString path;
    if (match) {
        FcChar8* file = nullptr;
        if (FcPatternGetString(match, FC_FILE, 0, &file) == FcResultMatch && file)
            path = QString::fromUtf8(reinterpret_cast<const char*>(file));
        FcPatternDestroy(match);
    }
    FcPatternDestroy(pat);
    // FOP embeds TrueType and OpenType faces only.
    QString lower = path.toLower();
    if (!lower.endsWith(QLatin1String(".ttf")) && !lower.endsWith(QLatin1String(".otf")) &&
        !lower.endsWith(QLatin1String(".ttc")))
        return QString();
    return path;
#else
    Q_UNUSED(face);
    return QString();
#endif
}

bool makeFontConfiguration(const QString& path, OutputLog& log)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    const QString mark = QString(2, QChar(127));
    QStringList lines;
    lines << QStringLiteral("<fop version=\"1.0\"><renderers><renderer mime=\"application/pdf\"><fonts>");
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
        if (i == 0)
            log.logLine(mark, false, true);
        else if (i < count - 1)
            log.logLine(mark, false, false);
        else
            log.logLine(mark + QStringLiteral(" Done."), false, false);
    }
    log.blank();
    lines << QStringLiteral("</fonts></renderer></renderers></fop>");
    QByteArray data = lines.join(QStringLiteral("\r\n")).toUtf8() + "\r\n";
    return fileio::atomicReplace(path, data);
}
