#pragma once
// The FOP font configuration: twelve faces (Arial, Times New Roman, Courier
// New, each plain, bold, italic and bold italic) found through fontconfig,
// mapped to the font triplets the PDF stylesheet names, embedded.
#include <QString>
#include <QStringList>

class OutputLog;

struct FontRow {
    const char* face;     // the face asked of fontconfig
    const char* families[2];
    const char* style;
    const char* weight;
};

// The rows in the order of processing.
const FontRow* fontRows(int& count);

// The font file of a face ("Arial Bold Italic" and the like), "" when none.
QString fontFilePath(const QString& face);

// Writes the configuration file, logging the progress marks (none when
// quiet). Faces of the fallback families that are installed (DejaVu for
// scripts outside Liberation, Noto Sans CJK) are added after the twelve.
bool makeFontConfiguration(const QString& path, OutputLog& log, bool quiet = false);

// Whether a configuration file already lists the fallback families (one
// made by an older version is made anew).
bool fontConfigurationIsCurrent(const QString& path);

// The font names (triplet names) a configuration file declares.
QStringList configuredFontNames(const QString& path);

// The FO font-family list for a font of the output properties ("Times",
// "Arial" or "Courier", or a generic name without configuration): the font,
// then the configured fallbacks for its kind.
QString foFontList(const QString& family, const QStringList& configured);
