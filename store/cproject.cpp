#include "cproject.h"

#include "cconfigfile.h"
#include "fileio.h"
#include "msgbox.h"
#include "newproject.h"
#include "paths.h"
#include "projectlock.h"

#include <QDir>
#include <QFileInfo>

#include <sys/stat.h>

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

namespace {
// The book file and the chapter files a project file names, as written.
QStringList namedFiles(xmlNode* root)
{
    QStringList out;
    xmlNode* files = getChild(root, "files");
    if (!files)
        return out;
    for (xmlNode* c = files->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE)
            continue;
        if (xmlStrEqual(c->name, X("book")))
            out << xmlsafe::nodeText(c);
        else if (xmlStrEqual(c->name, X("chapter")))
            out << xmlsafe::nodeText(getChild(c, "file"));
    }
    return out;
}

// A link planted after the open is not followed out of the folder.
QString insideOnly(const QString& path, const QString& folder)
{
    return xmlsafe::liesInside(path, folder) ? path : QString();
}
}

namespace {
QByteArray fileIdOf(const QString& path)
{
    struct stat st;
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return {};
    return QByteArray::number(qulonglong(st.st_dev)) + ':' + QByteArray::number(qulonglong(st.st_ino)) + ':' +
           QByteArray::number(qlonglong(st.st_size)) + ':' + QByteArray::number(qlonglong(st.st_mtim.tv_sec)) +
           '.' + QByteArray::number(qlonglong(st.st_mtim.tv_nsec));
}
}

void cProject::noteFile()
{
    m_fileId = fileIdOf(m_path);
}

bool cProject::beginChange(ProjectLock& lock)
{
    if (!lock.ok()) {
        m_box.stop(lock.error());
        return false;
    }
    // Taken before reading: a file replaced meanwhile is read again next time.
    const QByteArray id = fileIdOf(m_path);
    if (!m_loaded || id == m_fileId)
        return true;
    QByteArray data;
    xmlsafe::DocPtr doc;
    if (xmlsafe::readRegularFile(m_path, data)) {
        xmlsafe::EntityScope scope(projectFolderOf(m_path));
        doc = xmlsafe::readMemory(data, m_path, 0, true, nullptr);
    }
    xmlNode* r = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
    if (!r || !xmlStrEqual(r->name, X("project"))) {
        m_box.stop(QStringLiteral("The project file \"") + QDir::toNativeSeparators(m_path) +
                   QStringLiteral("\" was changed by another program and cannot be read any more. "
                                  "Nothing was written."));
        return false;
    }
    m_doc = std::move(doc);
    m_doctype = xmlsafe::doctypeFromSource(fileio::decodeText(data));
    m_fileId = id;
    return true;
}

bool cProject::Load(const QString& path)
{
    QString abs = QFileInfo(path).absoluteFilePath();
    const QByteArray id = fileIdOf(abs);
    QByteArray data;
    xmlsafe::XmlError err;
    xmlsafe::DocPtr doc;
    QString reason;
    if (xmlsafe::readRegularFile(abs, data, &reason)) {
        // Entities may come from the project folder only, not from beside it.
        xmlsafe::EntityScope scope(projectFolderOf(abs));
        doc = xmlsafe::readMemory(data, abs, 0, true, &err);
        if (!doc)
            reason = err.line > 0 ? QStringLiteral("Line %1: %2").arg(err.line).arg(err.message) : err.message;
        else if (!xmlDocGetRootElement(doc.get()))
            reason = QStringLiteral("The file has no root element.");
    }
    // The first line is the known message; which file and why follow.
    auto notValid = [&](const QString& why) {
        m_box.exclamation(QStringLiteral("File is not valid!\r\n") + QDir::toNativeSeparators(abs) +
                          QStringLiteral("\r\n") + why);
    };
    if (!doc || !xmlDocGetRootElement(doc.get())) {
        notValid(reason);
        return false;
    }
    xmlNode* r = xmlDocGetRootElement(doc.get());
    xmlNode* version = getChild(r, "version");
    if (!xmlStrEqual(r->name, X("project")) || !version ||
        xmlsafe::nodeText(version) != QStringLiteral("1.0")) {
        // The known message first; which file follows.
        m_box.exclamation(QStringLiteral("File is not a Quillary 1.0 project file!\r\n") +
                          QDir::toNativeSeparators(abs));
        return false;
    }
    // Book and chapter files must lie in the project folder, links followed:
    // a project from elsewhere may not lead a save to any other file.
    const QString folder = projectFolderOf(abs);
    for (const QString& named : namedFiles(r)) {
        if (!named.isEmpty() && !xmlsafe::liesInside(folder + paths::toDisk(named), folder)) {
            notValid(QStringLiteral("The file \"%1\" that it names lies outside the project folder.").arg(named));
            return false;
        }
    }
    m_doc = std::move(doc);
    m_doctype = xmlsafe::doctypeFromSource(fileio::decodeText(data));
    m_path = abs;
    m_loaded = true;
    m_fileId = id;
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
    return insideOnly(GetProjectFolder() + paths::toDisk(xmlsafe::nodeText(book)), GetProjectFolder());
}

void cProject::setBookFile(const QString& fileName)
{
    ProjectLock writing(GetProjectFolder());
    if (!beginChange(writing))
        return;
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
            return insideOnly(GetProjectFolder() + paths::toDisk(c.file), GetProjectFolder());
    return {};
}

QStringList cProject::chapterFileList() const
{
    QStringList out;
    for (const auto& c : chapters())
        out << insideOnly(GetProjectFolder() + paths::toDisk(c.file), GetProjectFolder());
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

bool cProject::RemoveChapter(const QString& chapterTitle)
{
    ProjectLock writing(GetProjectFolder());
    if (!beginChange(writing))
        return false;
    xmlNode* files = getChild(root(), "files");
    if (!files)
        return false;
    for (xmlNode* c = files->children; c; c = c->next) {
        if (c->type == XML_ELEMENT_NODE && xmlStrEqual(c->name, X("chapter")) &&
            childText(c, "title") == chapterTitle) {
            xmlUnlinkNode(c);
            xmlFreeNode(c);
            return saveProject();
        }
    }
    return true; // no such chapter: nothing to write
}

bool cProject::InsertChapter(const QString& title, const QString& id, const QString& file)
{
    ProjectLock writing(GetProjectFolder());
    if (!beginChange(writing))
        return false;
    xmlNode* files = getChild(root(), "files");
    if (!files)
        return false;
    xmlNode* ch = xmlNewDocNode(m_doc.get(), nullptr, X("chapter"), nullptr);
    xmlAddChild(files, ch);
    addTextChild(ch, "title", title);
    addTextChild(ch, "id", id);
    addTextChild(ch, "file", file);
    return saveProject();
}

bool cProject::InsertLanguage(const QString& name, const QString& abbreviation)
{
    ProjectLock writing(GetProjectFolder());
    if (!beginChange(writing))
        return false;
    xmlNode* langs = getChild(root(), "languages");
    if (!langs)
        return false;
    xmlNode* l = xmlNewDocNode(m_doc.get(), nullptr, X("language"), nullptr);
    xmlAddChild(langs, l);
    addTextChild(l, "name", name);
    addTextChild(l, "abrev", abbreviation);
    return saveProject();
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
    // Read, increment and write under one lock: two processes never hand
    // out the same ID. A failure has been shown; the caller gets no ID.
    ProjectLock writing(GetProjectFolder());
    if (!beginChange(writing))
        return {};
    xmlNode* c = getChild(root(), counterName);
    const QString file = QDir::toNativeSeparators(m_path);
    if (!c) {
        m_box.stop(QStringLiteral("The project file \"%1\" has no <%2> counter. Nothing was written.")
                       .arg(file, QString::fromLatin1(counterName)));
        return {};
    }
    bool ok = false;
    qint64 value = xmlsafe::nodeText(c).trimmed().toLongLong(&ok);
    if (!ok || value < std::numeric_limits<int32_t>::min() || value >= std::numeric_limits<int32_t>::max()) {
        m_box.stop(QStringLiteral("The counter <%2> of the project file \"%1\" is not a number. Nothing was written.")
                       .arg(file, QString::fromLatin1(counterName)));
        return {};
    }
    setText(c, QString::number(value + 1));
    // The increment reaches the disk before the ID is used.
    if (!saveProject())
        return {}; // the view went back to the file: the counter too
    return QString::fromLatin1(prefix) + xmlsafe::nodeText(getChild(root(), counterName));
}

bool cProject::SetLock(const QString& id, const QString& stamp, const QString& description)
{
    ProjectLock writing(GetProjectFolder());
    if (!beginChange(writing))
        return false;
    xmlNode* r = root();
    if (!r)
        return false;
    xmlNode* lock = xmlNewDocNode(m_doc.get(), nullptr, X("lock"), nullptr);
    xmlAddChild(r, lock);
    addTextChild(lock, "id", id);
    addTextChild(lock, "stamp", stamp);
    addTextChild(lock, "description", description);
    return saveProject();
}

bool cProject::RemoveLock()
{
    ProjectLock writing(GetProjectFolder());
    if (!beginChange(writing))
        return false;
    xmlNode* lock = getChild(root(), "lock");
    if (!lock)
        return true;
    xmlUnlinkNode(lock);
    xmlFreeNode(lock);
    return saveProject();
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

void cProject::revertToDisk()
{
    QByteArray data;
    xmlsafe::DocPtr doc;
    if (xmlsafe::readRegularFile(m_path, data)) {
        xmlsafe::EntityScope scope(projectFolderOf(m_path));
        doc = xmlsafe::readMemory(data, m_path, 0, true, nullptr);
    }
    xmlNode* r = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
    if (!r || !xmlStrEqual(r->name, X("project")))
        return;
    m_doc = std::move(doc);
    m_doctype = xmlsafe::doctypeFromSource(fileio::decodeText(data));
    noteFile();
}

bool cProject::saveProject()
{
    if (!m_loaded)
        return false;
    ProjectLock writing(GetProjectFolder());
    if (!writing.ok()) {
        m_box.stop(writing.error());
        revertToDisk();
        return false;
    }
    if (fileio::isReadOnly(m_path)) {
        m_box.exclamation(QStringLiteral("The project file \"") + QDir::toNativeSeparators(m_path) +
                          QStringLiteral("\" is read-only (it has no write permission), so it was not changed and "
                                         "its permissions were left as they are."));
        revertToDisk();
        return false;
    }
    QString error;
    if (!fileio::atomicReplace(m_path, xmlsafe::serializeUtf16(m_doc.get(), m_doctype), {}, &error)) {
        // The file the author knows first; the system's words follow.
        m_box.stop(QStringLiteral("The project file \"") + QDir::toNativeSeparators(m_path) +
                   QStringLiteral("\" cannot be written. Nothing was changed.\r\n") + error);
        revertToDisk();
        return false;
    }
    fileio::setMarked(m_path, true);
    noteFile();
    return true;
}
