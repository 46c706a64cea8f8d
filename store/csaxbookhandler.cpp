#include "csaxbookhandler.h"

#include "cproject.h"
#include "csaxerrorhandler.h"
#include "fileio.h"
#include "mcommon.h"
#include "msgbox.h"
#include "projectlock.h"

#include <QFileInfo>

using sax::qs;

void cSAXBookHandler::startDocument()
{
    xmlOut = QStringLiteral("<?xml version=\"1.0\"?>");
}

void cSAXBookHandler::startDTD(std::string_view name, std::string_view, std::string_view)
{
    xmlOut += QStringLiteral("<!DOCTYPE ") + qs(name) + QStringLiteral(" [");
}

void cSAXBookHandler::endDTD()
{
    if (Command == 9)
        xmlOut += newDecl();
    xmlOut += QStringLiteral("]>");
}

void cSAXBookHandler::elementDecl(std::string_view name, std::string_view model)
{
    xmlOut += QStringLiteral("<!ELEMENT ") + qs(name) + QLatin1Char(' ') + qs(model) + QLatin1Char('>');
}

void cSAXBookHandler::attributeDecl(std::string_view element, std::string_view attribute,
                                    std::string_view type, std::string_view valueDefault,
                                    std::string_view value)
{
    xmlOut += QStringLiteral("<!ATTLIST ") + qs(element) + QLatin1Char(' ') + qs(attribute) +
              QLatin1Char(' ') + qs(type);
    if (!valueDefault.empty())
        xmlOut += QLatin1Char(' ') + qs(valueDefault);
    if (value.data())
        xmlOut += QStringLiteral(" \"") + mCommon::escapeXMLAttribute(qs(value)) + QLatin1Char('"');
    xmlOut += QLatin1Char('>');
}

QString cSAXBookHandler::newDecl() const
{
    return QStringLiteral("<!ENTITY ") + NewChapterID + QStringLiteral(" SYSTEM \"") + FileName +
           QStringLiteral("\">");
}

QString cSAXBookHandler::newRef() const
{
    return QLatin1Char('&') + NewChapterID + QLatin1Char(';');
}

void cSAXBookHandler::externalEntityDecl(std::string_view name, std::string_view,
                                         std::string_view systemId)
{
    QString n = qs(name);
    QString own = QStringLiteral("<!ENTITY ") + n + QStringLiteral(" SYSTEM \"") + qs(systemId) +
                  QStringLiteral("\">");
    if (Command == 6 && n == NewChapterID)
        return;
    if (n == CurrentChapterID && Command == 8) {
        xmlOut += own + newDecl();
    } else if (n == CurrentChapterID && Command == 7) {
        xmlOut += newDecl() + own;
    } else if (n == CurrentChapterID && Command == 11) {
        xmlOut += newDecl();
    } else {
        xmlOut += own;
    }
}

void cSAXBookHandler::startElement(std::string_view name, const sax::Attrs& attrs)
{
    xmlOut += QLatin1Char('<') + qs(name);
    for (const auto& a : attrs)
        xmlOut += QLatin1Char(' ') + qs(a.name) + QStringLiteral("=\"") +
                  mCommon::escapeXMLAttribute(qs(a.value)) + QLatin1Char('"');
    xmlOut += QLatin1Char('>');
}

void cSAXBookHandler::endElement(std::string_view name)
{
    if (name == "book" && Command == 9)
        xmlOut += newRef();
    xmlOut += QStringLiteral("</") + qs(name) + QLatin1Char('>');
}

void cSAXBookHandler::characters(std::string_view text)
{
    std::string_view t = sax::trimText(text);
    if (!t.empty())
        xmlOut += mCommon::escapeXML(qs(t));
}

void cSAXBookHandler::skippedEntity(std::string_view name)
{
    QString n = qs(name);
    QString own = QLatin1Char('&') + n + QLatin1Char(';');
    if (Command == 6 && n == NewChapterID)
        return;
    if (n == CurrentChapterID && Command == 8)
        xmlOut += own + newRef();
    else if (n == CurrentChapterID && Command == 7)
        xmlOut += newRef() + own;
    else if (n == CurrentChapterID && Command == 11)
        xmlOut += newRef();
    else
        xmlOut += own;
}

bool rewriteBookFile(cProject& project, cSAXBookHandler& handler, MsgBox& box)
{
    QString bookFile = project.getBookFile();
    // Read and replaced under one lock: a chapter another process adds
    // meanwhile is not lost.
    ProjectLock lock(QFileInfo(bookFile).absolutePath());
    if (!lock.ok()) {
        box.stop(lock.error());
        return false;
    }
    cSAXErrorHandler errors(box);
    sax::Reader reader(handler);
    reader.setErrorHandler(&errors);
    reader.setAllowedFolders({project.GetProjectFolder()});
    handler.xmlOut.clear();
    if (!reader.parseFile(bookFile))
        return false; // nothing replaced: a failed parse would lose chapters
    QString error;
    if (!fileio::writeUtf16Line(bookFile, handler.xmlOut, project.rewriteTempPath(), &error)) {
        box.stop(error);
        return false;
    }
    return true;
}
