#include "cproject.h"

#include "cconfigfile.h"
#include "fileio.h"
#include "msgbox.h"
#include "newproject.h"
#include "paths.h"

#include <QDir>
#include <QFileInfo>

#include <limits>
#include <stdexcept>

namespace {
const xmlChar* X(const char* s)
{
    return reinterpret_cast<const xmlChar*>(s);
}

xmlNode* addTextChild(xmlNode* parent, const char* name, const QString& text)
{
    QByteArray t = text.toUtf8();
    xmlNode* n = xmlNewDocNode(parent->doc, nullptr, X(name), nullptr);
    xmlAddChild(n, xmlNewDocText(parent->doc, reinterpret_cast<const xmlChar*>(t.constData())));
    return xmlAddChild(parent, n);
}

void setText(xmlNode* node, const QString& text)
{
    // Replace all children by one text node.
    xmlNode* c = node->children;
    while (c) {
        xmlNode* next = c->next;
        xmlUnlinkNode(c);
        xmlFreeNode(c);
        c = next;
    }
    QByteArray t = text.toUtf8();
    xmlAddChild(node, xmlNewDocText(node->doc, reinterpret_cast<const xmlChar*>(t.constData())));
}
}

xmlNode* getChild(xmlNode* parent, const char* name)
{
    return xmlsafe::firstChildElement(parent, name);
}

bool cProject::Load(const QString& path)
{
    QString abs = QFileInfo(path).absoluteFilePath();
    QByteArray data;
    xmlsafe::XmlError err;
    xmlsafe::DocPtr doc;
    if (fileio::readFile(abs, data)) {
        // Entities may come from the project folder only, not from beside it.
        xmlsafe::EntityScope scope(projectFolderOf(abs));
        doc = xmlsafe::readMemory(data, abs, 0, true, &err);
    }
    if (!doc || !xmlDocGetRootElement(doc.get())) {
        m_box.exclamation(QStringLiteral("File is not valid!"));
        return false;
    }
    xmlNode* r = xmlDocGetRootElement(doc.get());
    xmlNode* version = getChild(r, "version");
    if (!xmlStrEqual(r->name, X("project")) || !version ||
        xmlsafe::nodeText(version) != QStringLiteral("1.0")) {
        m_box.exclamation(QStringLiteral("File is not a Quillary 1.0 project file!"));
        return false;
    }
    m_doc = std::move(doc);
    m_doctype = xmlsafe::doctypeFromSource(fileio::decodeText(data));
    m_path = abs;
    m_loaded = true;
    return true;
}

xmlNode* cProject::root() const
{
    return m_loaded ? xmlDocGetRootElement(m_doc.get()) : nullptr;
}

QString cProject::childText(xmlNode* parent, const char* name) const
{
    xmlNode* c = getChild(parent, name);
    return c ? xmlsafe::nodeText(c) : QString();
}

QString cProject::GetProjectFolder() const
{
    if (m_path.isEmpty())
        return {};
    return projectFolderOf(m_path);
}

QString cProject::getBookFile() const
{
    xmlNode* files = getChild(root(), "files");
    xmlNode* book = getChild(files, "book");
    if (!book)
        return {};
    return GetProjectFolder() + paths::toDisk(xmlsafe::nodeText(book));
}

void cProject::setBookFile(const QString& fileName)
{
    xmlNode* book = getChild(getChild(root(), "files"), "book");
    if (!book)
        return;
    setText(book, fileName);
    saveProject();
}

std::vector<cProject::ChapterEntry> cProject::chapters() const
{
    std::vector<ChapterEntry> out;
    xmlNode* files = getChild(root(), "files");
    if (!files)
        return out;
    for (xmlNode* c = files->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE || !xmlStrEqual(c->name, X("chapter")))
            continue;
        out.push_back({childText(c, "title"), childText(c, "id"), childText(c, "file")});
    }
    return out;
}

QString cProject::getChapterFile(const QString& chapterTitle) const
{
    for (const auto& c : chapters())
        if (c.title == chapterTitle)
            return GetProjectFolder() + paths::toDisk(c.file);
    return {};
}

QStringList cProject::chapterFileList() const
{
    QStringList out;
    for (const auto& c : chapters())
        out << GetProjectFolder() + paths::toDisk(c.file);
    return out;
}

cStack cProject::getChapterFiles() const
{
    cStack s;
    for (const QString& f : chapterFileList())
        s.Push(f);
    return s;
}

QString cProject::getChapterID(const QString& chapterTitle) const
{
    for (const auto& c : chapters())
        if (c.title == chapterTitle)
            return c.id;
    return {};
}

cStack cProject::getChapterIDs() const
{
    cStack s;
    for (const auto& c : chapters())
        s.Push(c.id);
    return s;
}

QStringList cProject::languageList() const
{
    QStringList out;
    xmlNode* langs = getChild(root(), "languages");
    if (!langs)
        return out;
    for (xmlNode* c = langs->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE)
            continue;
        if (xmlStrEqual(c->name, X("main")) || xmlStrEqual(c->name, X("language")))
            out << childText(c, "abrev");
    }
    return out;
}

cStack cProject::getLanguages() const
{
    // Filled through a second stack so that popping gives the main language first.
    QStringList list = languageList();
    cStack s;
    for (int i = list.size() - 1; i >= 0; --i)
        s.Push(list[i]);
    return s;
}

QString cProject::getLanguageName(const QString& abbreviation) const
{
    xmlNode* langs = getChild(root(), "languages");
    if (!langs)
        return {};
    for (xmlNode* c = langs->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE)
            continue;
        if (childText(c, "abrev") == abbreviation)
            return childText(c, "name");
    }
    return {};
}

QString cProject::getLanguageAbrev(const QString& name) const
{
    xmlNode* langs = getChild(root(), "languages");
    if (!langs)
        return {};
    for (xmlNode* c = langs->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE)
            continue;
        if (childText(c, "name") == name)
            return childText(c, "abrev");
    }
    return {};
}

QString cProject::GetMainLangAbbrev() const
{
    return childText(getChild(getChild(root(), "languages"), "main"), "abrev");
}

cStack cProject::getAllLanguageNames() const
{
    cStack s;
    xmlNode* langs = getChild(root(), "languages");
    if (!langs)
        return s;
    for (xmlNode* c = langs->children; c; c = c->next)
        if (c->type == XML_ELEMENT_NODE)
            s.Push(childText(c, "name"));
    return s;
}

void cProject::RemoveChapter(const QString& chapterTitle)
{
    xmlNode* files = getChild(root(), "files");
    if (!files)
        return;
    for (xmlNode* c = files->children; c; c = c->next) {
        if (c->type == XML_ELEMENT_NODE && xmlStrEqual(c->name, X("chapter")) &&
            childText(c, "title") == chapterTitle) {
            xmlUnlinkNode(c);
            xmlFreeNode(c);
            saveProject();
            return;
        }
    }
}

void cProject::InsertChapter(const QString& title, const QString& id, const QString& file)
{
    xmlNode* files = getChild(root(), "files");
    if (!files)
        return;
    xmlNode* ch = xmlNewDocNode(m_doc.get(), nullptr, X("chapter"), nullptr);
    xmlAddChild(files, ch);
    addTextChild(ch, "title", title);
    addTextChild(ch, "id", id);
    addTextChild(ch, "file", file);
    saveProject();
}

void cProject::InsertLanguage(const QString& name, const QString& abbreviation)
{
    xmlNode* langs = getChild(root(), "languages");
    if (!langs)
        return;
    xmlNode* l = xmlNewDocNode(m_doc.get(), nullptr, X("language"), nullptr);
    xmlAddChild(langs, l);
    addTextChild(l, "name", name);
    addTextChild(l, "abrev", abbreviation);
    saveProject();
}

QStringList cProject::getRestrictedFiles() const
{
    // Full paths and bare names are mixed on purpose; the caller's argument
    // form decides which entries can match.
    QStringList list = chapterFileList();
    list << QFileInfo(getBookFile()).fileName();
    list << QFileInfo(m_path).fileName();
    QString folder = GetProjectFolder();
    list << folder + QStringLiteral("helpcontextid.xml");
    list << folder + fileio::kRewriteFile;
    list << folder + QStringLiteral("quillary_temp.html");
    return list;
}

bool cProject::isFileNameRestricted(const QString& path) const
{
    QString lower = path.toLower();
    for (const QString& entry : getRestrictedFiles())
        if (entry.toLower() == lower)
            return true;
    if (QFileInfo::exists(path))
        return true;
    for (QChar c : {QLatin1Char('"'), QLatin1Char('*'), QLatin1Char('?'), QLatin1Char('<'),
                    QLatin1Char('>'), QLatin1Char('|')})
        if (path.contains(c))
            return true;
    return false;
}

QString cProject::counter(const char* element) const
{
    return childText(root(), element);
}

QString cProject::newID(const char* counterName, const char* prefix)
{
    xmlNode* c = getChild(root(), counterName);
    if (!c)
        throw std::runtime_error(std::string("The project file has no <") + counterName + "> counter.");
    bool ok = false;
    qint64 value = xmlsafe::nodeText(c).trimmed().toLongLong(&ok);
    if (!ok || value < std::numeric_limits<int32_t>::min() || value >= std::numeric_limits<int32_t>::max())
        throw std::runtime_error(std::string("The counter <") + counterName +
                                 "> of the project file is not a number.");
    setText(c, QString::number(value + 1));
    // The increment reaches the disk before the ID is used.
    if (!saveProject())
        throw std::runtime_error("The project file cannot be written.");
    return QString::fromLatin1(prefix) + xmlsafe::nodeText(getChild(root(), counterName));
}

void cProject::SetLock(const QString& id, const QString& stamp, const QString& description)
{
    xmlNode* r = root();
    if (!r)
        return;
    xmlNode* lock = xmlNewDocNode(m_doc.get(), nullptr, X("lock"), nullptr);
    xmlAddChild(r, lock);
    addTextChild(lock, "id", id);
    addTextChild(lock, "stamp", stamp);
    addTextChild(lock, "description", description);
    saveProject();
}

void cProject::RemoveLock()
{
    xmlNode* lock = getChild(root(), "lock");
    if (!lock)
        return;
    xmlUnlinkNode(lock);
    xmlFreeNode(lock);
    saveProject();
}

QString cProject::lockChild(const char* name) const
{
    return childText(getChild(root(), "lock"), name);
}

QString cProject::rewriteTempPath() const
{
    QString folder = GetProjectFolder();
    if (!folder.isEmpty() && QFileInfo(folder).isDir())
        return folder + fileio::kRewriteFile;
    return {};
}

bool cProject::saveProject()
{
    if (!m_loaded)
        return false;
    QString temp = rewriteTempPath();
    QString error;
    if (!fileio::atomicReplace(m_path, xmlsafe::serializeUtf16(m_doc.get(), m_doctype), temp, &error)) {
        m_box.stop(error);
        return false;
    }
    fileio::setMarked(m_path, true);
    return true;
}
