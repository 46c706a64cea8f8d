#pragma once
// The HTML that the element commands paste, in the surface's encoding of a
// topic, and the small value rules of the element dialogs.
#include "elementvalues.h"

#include <QString>
#include <optional>

namespace elementhtml {

// The Anchor command.
QString anchorHTML(const QString& id);
// The Link command: a local link shows "link to " and the reference.
QString linkHTML(const cLink& link);
// The Image command; width and height only when both are known.
QString imageHTML(const cImage& image);
// The table text alone, and what the Table command pastes (the wrapper with
// the title and an empty paragraph behind it). Empty when rows or columns
// are below 1.
QString tableText(const cDesignTable& table);
QString tableHTML(const cDesignTable& table);

// The image format of a file extension (any case); empty when unknown.
QString formatForExtension(const QString& extension);
// The formats of the format list, in order.
QStringList imageFormats();
// ImageScale from the scale field: kept as typed when its numeric value is
// 0 or more, else "100".
QString imageScale(const QString& typed);
// The file value of an image: "img", backslash, language, backslash, name.
QString imageFileName(const QString& language, const QString& name);

// The numeric value of text as BASIC's Val reads it: leading blanks, sign,
// digits with blanks between them, a decimal part, an exponent; 0 when there
// is no number at the start.
double numericValue(const QString& text);
// A 16-bit integer from a numeric value, rounded half to even; nullopt on
// overflow.
std::optional<int16_t> toInt16(double value);

} // namespace elementhtml
