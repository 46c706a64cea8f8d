#include "cconfigfile.h"

#include "fileio.h"
#include "msgbox.h"

#include <QFile>
#include <QFileInfo>

#include <libxml/xmlsave.h>

QString domLoadErrorText(const xmlsafe::XmlError& e, const QByteArray& source)
{
    return QStringLiteral("error on line %1\r\n%2\r\n%3")
        .arg(e.line)
        .arg(xmlsafe::sourceLine(source, e.line), e.message);
}

bool cConfigFile::Load(const QString& path)
{
    m_doc.reset();
    m_path = path;
    QByteArray data;
    if (!fileio::readFile(path, data)) {
        xmlsafe::XmlError e;
        e.message = QStringLiteral("The file \"%1\" cannot be read.").arg(path);
        m_box.stop(domLoadErrorText(e, {}));
        return false;
    }
    xmlsafe::XmlError err;
    xmlsafe::EntityScope scope(QFileInfo(path).absolutePath());
    m_doc = xmlsafe::readMemory(data, QFileInfo(path).absoluteFilePath(), 0, true, &err);
    if (!m_doc) {
        m_box.stop(domLoadErrorText(err, data));
        return false;
    }
    if (!xmlDocGetRootElement(m_doc.get())) {
        m_doc.reset();
        return false;
    }
    return true;
}

QString cConfigFile::get(const char* element) const
{
    if (!m_doc)
        return {};
    xmlNode* root = xmlDocGetRootElement(m_doc.get());
    xmlNode* e = xmlsafe::firstChildElement(root, element);
    if (!e || !e->children)
        return {};
    return xmlsafe::nodeText(e->children);
}

void cConfigFile::set(const char* element, const QString& value)
{
    if (!m_doc)
        return;
    xmlNode* root = xmlDocGetRootElement(m_doc.get());
    xmlNode* e = xmlsafe::firstChildElement(root, element);
    if (!e)
        return; // an element not in the file is not created
    QByteArray v = value.toUtf8();
    if (e->children) {
        xmlNodeSetContent(e->children, nullptr);
        xmlNodeAddContent(e->children, reinterpret_cast<const xmlChar*>(v.constData()));
    } else {
        xmlAddChild(e, xmlNewText(reinterpret_cast<const xmlChar*>(v.constData())));
    }
    xmlChar* mem = nullptr;
    int size = 0;
    xmlDocDumpMemoryEnc(m_doc.get(), &mem, &size, "UTF-8");
    QByteArray bytes(reinterpret_cast<const char*>(mem), size);
    xmlFree(mem);
    QString error;
    if (!fileio::atomicReplace(m_path, bytes, {}, &error))
        m_box.stop(error);
}
