#pragma once
// Places the publishing pipelines use on this machine.
#include <QString>

namespace publishpaths {

// The FOP font configuration, made on the first PDF run and kept in the
// user's configuration folder.
QString fontConfigurationFile();
// Overrides the font configuration's path (tests).
void setFontConfigurationFile(const QString& path);

// The installed stylesheets of the program folder.
QString quillaryXsl();   // xsl/quillary.xsl in the program folder
QString webhelpXsl();    // the frames stylesheet
QString partsXsl(bool pages); // renders a share of a book for the chunker
// Our faster templates over DocBook XSL's for a format of the generated
// stylesheets ("HH", "PDF", "HTML", "HTMLFrames").
QString docbookLayerXsl(const QString& format);
// What a format adds to DocBook's output so that readers and checkers take
// it (HTML5, UTF-8, languages, headings; the pictures' texts of the PDF).
QString outputLayerXsl(const QString& format);
// The responsive web help's stylesheet, and any data file of the program folder.
QString webhelpPagesXsl();
QString dataFile(const QString& name);
QString webhelpImage(const QString& name); // its navigation GIFs
QString epubXsl();       // our settings over DocBook XSL's EPUB 3 stylesheets

} // namespace publishpaths
