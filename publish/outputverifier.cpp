#include "outputverifier.h"

#include "csaxerrorhandler.h"
#include "paths.h"

#include <QFileInfo>

namespace {
bool isStructural(std::string_view n)
{
    return n == "chapter" || n == "book" || n == "subchapter" || n == "topic" || n == "onelang";
}
}

void cSAXOutputVerifier::startElement(std::string_view name, const sax::Attrs& attrs)
{
    if (isStructural(name))
        m_current = std::string(name);
    if (name == "onelang") {
        m_inLanguage = attrs.value("lang") == m_language;
    } else if (name == "title" && m_current == "topic") {
        if (attrs.has("lang") && attrs.value("lang") == m_language && attrs.value("state") != "complete")
            ++m_uncompleted;
    } else if (name == "image" && m_inLanguage) {
        QString line = paths::toDisk(m_projectFolder + attrs.qvalue("file"));
        m_all += line + QStringLiteral("\r\n");
        if (!QFileInfo::exists(line))
            m_missing += line + QStringLiteral("\r\n");
    }
}

void cSAXOutputVerifier::endElement(std::string_view name)
{
    if (isStructural(name))
        m_current.clear();
    if (name == "onelang")
        m_inLanguage = false;
}

void cSAXImageLister::startElement(std::string_view name, const sax::Attrs& attrs)
{
    if (name == "imagedata")
        m_all += paths::toDisk(m_projectFolder + attrs.qvalue("fileref")) + QStringLiteral("\r\n");
}

void verifyLanguage(cSAXOutputVerifier& verifier, const QString& bookFile, const QString& projectFolder,
                    MsgBox& box)
{
    verifier.setProjectFolder(projectFolder);
    if (bookFile.isEmpty())
        return;
    cSAXErrorHandler errors(box);
    sax::Reader reader(verifier);
    reader.setErrorHandler(&errors);
    reader.setExpandExternalEntities(true);
    reader.setAllowedFolders({projectFolder});
    reader.parseFile(bookFile);
}
