#pragma once
// The plain values that the link, image and table dialogs exchange with the
// element commands.
#include <QString>
#include <cstdint>

class cLink {
public:
    QString WebLabel;   // the visible text of a web link
    QString Reference;  // the id of a topic or anchor, or the web address
    bool IsLocal = true;
};

class cImage {
public:
    QString FileName;    // "img\<lang>\<name>", relative to the project folder
    QString ImageFormat; // "JPG", "BMP", "GIF", "TIFF" or "PNG"
    QString ImageScale;  // percent as text
    QString OutputForm;  // "", "online" or "print"
    QString Description; // the caption
    int16_t pxWidth = 0;  // 0 when unknown
    int16_t pxHeight = 0;
};

class cDesignTable {
public:
    int16_t RowNum = 0; // the header included
    int16_t ColumnNum = 0;
    QString Description;
    bool Border = true;
    bool Header = true;
};
