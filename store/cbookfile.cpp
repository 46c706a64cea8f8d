#include "cbookfile.h"

#include "cbook.h"
#include "fileio.h"
#include "language.h"
#include "mcommon.h"
#include "msgbox.h"
#include "projectlock.h"

#include <QDir>
#include <QFileInfo>

#include <sys/stat.h>

#include <libxml/valid.h>

namespace {
const xmlChar* X(const char* s)
{
    return reinterpret_cast<const xmlChar*>(s);
}

void setText(xmlNode* node, const QString& text)
{
    xmlNode* c = node->children;
    while (c) {
        xmlNode* next = c->next;
        xmlUnlinkNode(c);
        xmlFreeNode(c);
        c = next;
    }
    QByteArray t = text.toUtf8();
    xmlAddChild(node, xmlNewDocText(node->doc, X(t.constData())));
}

QByteArray fileIdOf(const QString& path)
{
    struct stat st;
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return {};
    return QByteArray::number(qulonglong(st.st_dev)) + ':' + QByteArray::number(qulonglong(st.st_ino)) + ':' +
           QByteArray::number(qlonglong(st.st_size)) + ':' + QByteArray::number(qlonglong(st.st_mtim.tv_sec)) +
           '.' + QByteArray::number(qlonglong(st.st_mtim.tv_nsec));
}

bool isTitleOf(xmlNode* n, const QString& lang)
{
    return n->type == XML_ELEMENT_NODE && xmlStrEqual(n->name, X("title")) &&
           xmlsafe::attr(n, "lang") == lang;
}
}

bool cBookFile::Load(const QString& path)
{
    m_loaded = false;
    m_doc.reset();
    m_path = QFileInfo(path).absoluteFilePath();
    m_fileId = fileIdOf(m_path);
    QByteArray data;
    xmlsafe::XmlError err;
    QString why;
    // Regular files only: a FIFO would block the read for ever.
    if (!xmlsafe::readRegularFile(m_path, data, &why)) {
        err.message = QStringLiteral("The file \"%1\" cannot be read.").arg(path) + QStringLiteral("\r\n") + why;
        m_box.stop(QStringLiteral("error on line 0\r\n\r\n\r\n") + err.message + QStringLiteral("\r\n"));
        return false;
    }
    // Chapter entities are not resolved: parse without validation, then
    // validate the skeleton, where entity references are passed over.
    {
        xmlsafe::EntityScope scope(QFileInfo(m_path).absolutePath());
        m_doc = xmlsafe::readMemory(data, m_path, 0, false, &err);
        if (m_doc && m_doc->intSubset) {
            xmlsafe::ErrorCapture cap;
            xmlValidCtxtPtr v = xmlNewValidCtxt();
            int valid = xmlValidateDocument(v, m_doc.get());
            xmlFreeValidCtxt(v);
            if (!valid) {
                err = cap.first();
                if (!err.present) {
                    err.present = true;
                    err.message = QStringLiteral("The document is not valid.");
                }
                m_doc.reset();
            }
        }
    }
    if (!m_doc) {
        m_box.stop(QStringLiteral("error on line %1\r\n%2\r\n\r\n%3\r\n")
                       .arg(err.line)
                       .arg(xmlsafe::sourceLine(data, err.line), err.message));
        return false;
    }
    m_doctype = xmlsafe::doctypeFromSource(fileio::decodeText(data));
    m_loaded = xmlDocGetRootElement(m_doc.get()) != nullptr;
    return m_loaded;
}

void cBookFile::getProperties(cBook& book, const QString& language) const
{
    if (!m_loaded)
        return;
    QString lang = language.isEmpty() ? currentLanguage() : language;
    xmlNode* root = xmlDocGetRootElement(m_doc.get());
    book.Title.clear();
    for (xmlNode* c = root->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE)
            continue;
        if (isTitleOf(c, lang) && book.Title.isEmpty())
            book.Title = xmlsafe::nodeText(c);
        else if (xmlStrEqual(c->name, X("author")))
            book.Author = xmlsafe::nodeText(c);
        else if (xmlStrEqual(c->name, X("version")))
            book.Version = xmlsafe::nodeText(c);
        else if (xmlStrEqual(c->name, X("date")))
            book.BookDate = xmlsafe::nodeText(c);
        else if (xmlStrEqual(c->name, X("time")))
            book.BookTime = xmlsafe::nodeText(c);
    }
    book.BookFile = m_path;
}

bool cBookFile::setProperties(const cBook& book, const QString& language)
{
    if (!m_loaded)
        return false;
    QString lang = language.isEmpty() ? currentLanguage() : language;
    xmlNode* root = xmlDocGetRootElement(m_doc.get());
    bool titleDone = false;
    for (xmlNode* c = root->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE)
            continue;
        if (isTitleOf(c, lang) && !titleDone) {
            setText(c, book.Title);
            titleDone = true;
        } else if (xmlStrEqual(c->name, X("author"))) {
            setText(c, book.Author);
        } else if (xmlStrEqual(c->name, X("version"))) {
            setText(c, book.Version);
        } else if (xmlStrEqual(c->name, X("date"))) {
            setText(c, book.BookDate);
        } else if (xmlStrEqual(c->name, X("time"))) {
            setText(c, book.BookTime);
        }
    }
    return save();
}

bool cBookFile::addLangTitle(const QString& abbreviation)
{
    if (!m_loaded)
        return false;
    xmlNode* root = xmlDocGetRootElement(m_doc.get());
    QString text;
    for (xmlNode* c = root->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE)
            continue;
        if (isTitleOf(c, currentLanguage()) && text.isEmpty())
            text = xmlsafe::nodeText(c);
        if (xmlStrEqual(c->name, X("author"))) {
            QByteArray t = text.toUtf8();
            QByteArray a = abbreviation.toUtf8();
            xmlNode* title = xmlNewDocNode(m_doc.get(), nullptr, X("title"), nullptr);
            xmlAddChild(title, xmlNewDocText(m_doc.get(), X(t.constData())));
            xmlNewProp(title, X("lang"), X(a.constData()));
            xmlAddPrevSibling(c, title);
            return save();
        }
    }
    return false;
}

bool cBookFile::hasLangTitle(const QString& abbreviation) const
{
    if (!m_loaded)
        return false;
    for (xmlNode* c = xmlDocGetRootElement(m_doc.get())->children; c; c = c->next)
        if (c->type == XML_ELEMENT_NODE && isTitleOf(c, abbreviation))
            return true;
    return false;
}

bool cBookFile::moveChapter(const QString& entity, const QString& before)
{
    if (!m_loaded)
        return false;
    QByteArray e = entity.toUtf8();
    QByteArray b = before.toUtf8();
    xmlNode* root = xmlDocGetRootElement(m_doc.get());
    xmlNode* c = root->children;
    while (c) {
        xmlNode* next = c->next;
        if (c->type == XML_ENTITY_REF_NODE) {
            if (xmlStrEqual(c->name, X(e.constData()))) {
                xmlUnlinkNode(c);
                xmlFreeNode(c);
            } else if (xmlStrEqual(c->name, X(b.constData()))) {
                xmlNode* ref = xmlNewReference(m_doc.get(), X(e.constData()));
                xmlAddPrevSibling(c, ref);
            }
        }
        c = next;
    }
    return save();
}

QStringList cBookFile::chapterOrder() const
{
    QStringList out;
    if (!m_loaded)
        return out;
    for (xmlNode* c = xmlDocGetRootElement(m_doc.get())->children; c; c = c->next)
        if (c->type == XML_ENTITY_REF_NODE)
            out << xmlsafe::qs(c->name);
    return out;
}

bool cBookFile::save()
{
    ProjectLock lock(QFileInfo(m_path).absolutePath());
    if (!lock.ok()) {
        m_box.stop(lock.error());
        return false;
    }
    if (fileIdOf(m_path) != m_fileId) {
        m_box.stop(QStringLiteral("The book file \"") + QDir::toNativeSeparators(m_path) +
                   QStringLiteral("\" was changed by another program after it was read, so it was not written. "
                                  "Try again."));
        return false;
    }
    QString error;
    if (!fileio::atomicReplace(m_path, xmlsafe::serializeUtf16(m_doc.get(), m_doctype), {}, &error)) {
        m_box.stop(error);
        return false;
    }
    m_fileId = fileIdOf(m_path);
    return true;
}

QString newBookFileText(const cBook& book)
{
    using mCommon::escapeXML;
    QString s = QStringLiteral(
        "<?xml version=\"1.0\"?><!DOCTYPE book [<!ELEMENT book (title*,author,version,date,time)>"
        "<!ELEMENT title (#PCDATA)><!ELEMENT author (#PCDATA)><!ELEMENT version (#PCDATA)>"
        "<!ELEMENT date (#PCDATA)><!ELEMENT time (#PCDATA)><!ATTLIST title lang CDATA #REQUIRED>]><book>");
    QStringList all{book.MainLangAbbrev};
    cStack tmp;
    book.LangAbrevs.Copy(tmp);
    QStringList others;
    while (tmp.Count())
        others.prepend(tmp.Pop());
    all += others;
    for (const QString& l : all)
        s += QStringLiteral("<title lang=\"") + mCommon::escapeXMLAttribute(l) + QStringLiteral("\">") +
             escapeXML(book.Title) + QStringLiteral("</title>");
    s += QStringLiteral("<author>") + escapeXML(book.Author) + QStringLiteral("</author>");
    s += QStringLiteral("<version>") + escapeXML(book.Version) + QStringLiteral("</version>");
    s += QStringLiteral("<date>") + escapeXML(book.BookDate) + QStringLiteral("</date>");
    s += QStringLiteral("<time>") + escapeXML(book.BookTime) + QStringLiteral("</time>");
    s += QStringLiteral("</book>");
    return s;
}
