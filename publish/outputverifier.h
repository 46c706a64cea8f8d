#pragma once
// SAX handlers of publishing: the preflight count of one language, and the
// list of images of a generated DocBook file.
#include "sax.h"

#include <QString>

#include <cstdint>

// Counts the uncompleted topics of a language and lists its images, those
// met and those missing. Lines are the project folder plus the image's
// file value (as a disk path) plus CR LF.
class cSAXOutputVerifier : public sax::Handler {
public:
    int16_t UncompletedTopics() const { return m_uncompleted; }
    QString MissingImages() const { return m_missing; }
    QString AllImages() const { return m_all; }
    void setLanguage(const QString& abbreviation) { m_language = abbreviation.toStdString(); }
    void setProjectFolder(const QString& folder) { m_projectFolder = folder; }

    void startElement(std::string_view name, const sax::Attrs& attrs) override;
    void endElement(std::string_view name) override;

private:
    bool m_inLanguage = false;
    std::string m_current;
    int16_t m_uncompleted = 0;
    QString m_missing;
    QString m_all;
    std::string m_language;
    QString m_projectFolder;
};

// Lists the fileref of every imagedata element behind the project folder.
class cSAXImageLister : public sax::Handler {
public:
    void setProjectFolder(const QString& folder) { m_projectFolder = folder; }
    QString AllImages() const { return m_all; }
    void startElement(std::string_view name, const sax::Attrs& attrs) override;

private:
    QString m_projectFolder;
    QString m_all;
};

class MsgBox;

// Runs cSAXOutputVerifier over the book file (with its chapter files) of a
// project folder. A parse error is shown through the box.
void verifyLanguage(cSAXOutputVerifier& verifier, const QString& bookFile, const QString& projectFolder,
                    MsgBox& box);
