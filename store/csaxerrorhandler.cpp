#include "csaxerrorhandler.h"

#include "msgbox.h"

QString cSAXErrorHandler::messageFor(const xmlsafe::XmlError& e)
{
    QString text = QStringLiteral("The SAX parser error!\r\n\r\nError %1 on line %2 column %3\r\n\r\n%4")
                       .arg(e.code)
                       .arg(e.line)
                       .arg(e.column)
                       .arg(e.message);
    if (!e.file.isEmpty())
        text += QStringLiteral("\r\nFile: ") + e.file;
    return text;
}

void cSAXErrorHandler::fatalError(const xmlsafe::XmlError& error)
{
    m_failed = true;
    m_box.stop(messageFor(error), QStringLiteral("SAX parser error"));
}
