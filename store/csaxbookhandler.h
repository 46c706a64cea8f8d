#pragma once
#include "sax.h"

#include <QString>

class MsgBox;
class cProject;

// Rewrites book.xml: copies the internal subset and the body and adds, drops
// or replaces the entity declaration and reference of one chapter.
class cSAXBookHandler : public sax::Handler {
public:
    QString FileName;
    int Command = 0;
    QString NewChapterID;
    QString CurrentChapterID;
    QString xmlIn;
    QString xmlOut;

    void startDocument() override;
    void startDTD(std::string_view name, std::string_view publicId, std::string_view systemId) override;
    void endDTD() override;
    void elementDecl(std::string_view name, std::string_view model) override;
    void attributeDecl(std::string_view element, std::string_view attribute, std::string_view type,
                       std::string_view valueDefault, std::string_view value) override;
    void externalEntityDecl(std::string_view name, std::string_view publicId,
                            std::string_view systemId) override;
    void startElement(std::string_view name, const sax::Attrs& attrs) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;
    void skippedEntity(std::string_view name) override;

private:
    QString newDecl() const;
    QString newRef() const;
};

// Runs the book handler over the project's book file and replaces the file
// with its result. False (file untouched) after a parse error or a failed write.
bool rewriteBookFile(cProject& project, cSAXBookHandler& handler, MsgBox& box);
