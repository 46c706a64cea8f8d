#pragma once
// The FOP font configuration: twelve faces (Arial, Times New Roman, Courier
// New, each plain, bold, italic and bold italic) found through fontconfig,
// mapped to the font triplets the PDF stylesheet names, embedded.
#include <QString>

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

// Writes the configuration file, logging the progress marks.
bool makeFontConfiguration(const QString& path, OutputLog& log);
