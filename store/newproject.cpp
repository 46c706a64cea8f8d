#include "newproject.h"

#include "cbook.h"
#include "cbookfile.h"
#include "fileio.h"
#include "mcommon.h"
#include "msgbox.h"
#include "paths.h"
#include "xmlsafety.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace {
// While a new project folder is built it holds this file with the builder's
// process id; it goes when the project file has been written.
const QString kUnfinished = QStringLiteral(".quillary-new");

bool builderGone(const QString& folder)
{
    QByteArray data;
    if (!fileio::readFile(folder + QLatin1Char('/') + kUnfinished, data))
        return false;
    bool ok = false;
    const qint64 pid = data.trimmed().toLongLong(&ok);
    if (!ok || pid <= 0)
        return false;
    return pid == ::getpid() || (::kill(pid_t(pid), 0) != 0 && errno == ESRCH);
}

// A folder that a creation cut off (a killed "new") left behind: its builder
// no longer runs and it holds nothing but what creation makes. It may be
// replaced instead of blocking the next creation.
bool isLeftover(const QString& folder)
{
    QDir dir(folder);
    if (!QFileInfo(folder).isDir() || QFileInfo(folder).isSymLink() || !builderGone(folder))
        return false;
    const auto all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    for (const QFileInfo& fi : dir.entryInfoList(all)) {
        const QString name = fi.fileName();
        if (fi.isSymLink())
            return false;
        if (fi.isFile() && (name == kUnfinished || name.endsWith(QLatin1String(".xml")) ||
                            (name.startsWith(QLatin1Char('.')) && name.endsWith(QLatin1String(".tmp")))))
            continue;
        if (fi.isDir() && name == QLatin1String("img")) {
            for (const QFileInfo& lang : QDir(fi.filePath()).entryInfoList(all))
                if (lang.isSymLink() || !lang.isDir() || !QDir(lang.filePath()).isEmpty(all))
                    return false;
            continue;
        }
        return false;
    }
    return true;
}

QStringList stackToList(const cStack& s)
{
    cStack tmp;
    s.Copy(tmp);
    QStringList out;
    while (tmp.Count())
        out.prepend(tmp.Pop());
    return out;
}
}

bool loadLanguageList(std::vector<LanguageEntry>& out, MsgBox& box, const QString& path)
{
    out.clear();
    QString file = path.isEmpty() ? paths::programFolder() + QStringLiteral("/langs.xml") : path;
    if (!QFileInfo::exists(file)) {
        box.exclamation(QStringLiteral("File with available languages is missing! Please reinstall application."));
        return false;
    }
    xmlsafe::EntityScope scope(QFileInfo(file).absolutePath());
    auto doc = xmlsafe::readFile(file, 0, true, nullptr);
    xmlNode* root = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
    if (!root || !xmlStrEqual(root->name, reinterpret_cast<const xmlChar*>("langs"))) {
        box.exclamation(QStringLiteral("File with available languages is damaged!"));
        return false;
    }
    for (xmlNode* l = root->children; l; l = l->next) {
        if (l->type != XML_ELEMENT_NODE)
            continue;
        LanguageEntry e;
        for (xmlNode* c = l->children; c; c = c->next) {
            if (c->type != XML_ELEMENT_NODE || !c->children)
                continue;
            QString n = xmlsafe::qs(c->name);
            if (n == QLatin1String("name"))
                e.name = xmlsafe::nodeText(c);
            else if (n == QLatin1String("abbrev"))
                e.abbrev = xmlsafe::nodeText(c);
            else if (n == QLatin1String("wordcode"))
                e.wordcode = xmlsafe::nodeText(c);
        }
        if (!e.name.isEmpty())
            out.push_back(e);
    }
    return true;
}

bool addOtherLanguage(BookForm& form, const QString& name, const QString& abbrev)
{
    // The position behind the last entry reads as an empty text, so an empty
    // name or abbreviation ends the command too.
    const int count = int(form.otherNames.size());
    for (int i = 0; i <= count; ++i) {
        QString n = i < count ? form.otherNames[i] : QString();
        QString a = i < form.otherAbbrevs.size() ? form.otherAbbrevs[i] : QString();
        if (name.toLower() == n.toLower() || abbrev.toLower() == a.toLower())
            return false;
    }
    if (name.toLower() == form.mainLang.toLower() || abbrev.toLower() == form.mainAbbrev.toLower())
        return false;
    form.otherNames << name;
    form.otherAbbrevs << abbrev;
    return true;
}

bool checkBookForm(const BookForm& f, cBook& book, MsgBox& box)
{
    const QString empty = mCommon::emptyFieldsMessage(
        QStringLiteral("All fields have to be filled!"),
        {{QStringLiteral("Title"), f.title}, {QStringLiteral("Author"), f.author}, {QStringLiteral("Version"), f.version},
         {QStringLiteral("Date"), f.date}, {QStringLiteral("Time"), f.time}});
    if (!empty.isEmpty()) {
        box.exclamation(empty);
        return false;
    }
    if (f.mainLang.isEmpty() || f.mainAbbrev.isEmpty()) {
        box.exclamation(QStringLiteral("Main language must be specified!"));
        return false;
    }
    for (const QString& n : f.otherNames)
        if (n == f.mainLang) {
            box.exclamation(QStringLiteral("Main language is not unique!"));
            return false;
        }
    for (const QString& a : f.otherAbbrevs)
        if (a == f.mainAbbrev) {
            box.exclamation(QStringLiteral("Main language is not unique!"));
            return false;
        }
    if (!mCommon::checkXMLChars(f.title, QStringLiteral("Book title"), box)) {
        box.exclamation(QStringLiteral("Book title include improper characters!"));
        return false;
    }
    book.Title = f.title;
    book.Author = f.author;
    book.Version = f.version;
    book.BookDate = f.date;
    book.BookTime = f.time;
    book.BookFile = QStringLiteral("book.xml");
    book.MainLangName = f.mainLang;
    book.MainLangAbbrev = f.mainAbbrev;
    book.LangNames.Clear();
    book.LangAbrevs.Clear();
    for (const QString& n : f.otherNames)
        book.LangNames.Push(n);
    for (const QString& a : f.otherAbbrevs)
        book.LangAbrevs.Push(a);
    return true;
}

QString projectFolderOf(const QString& projectFile)
{
    QFileInfo fi(projectFile);
    QString base = fi.fileName();
    int dot = base.lastIndexOf(QLatin1Char('.'));
    if (dot > 0)
        base = base.left(dot);
    return fi.absolutePath() + QLatin1Char('/') + base + QLatin1Char('/');
}

bool checkProjectPath(const QString& path, MsgBox& box)
{
    if (QFileInfo::exists(path)) {
        box.exclamation(QStringLiteral("File \"") + path +
                        QStringLiteral("\" already exists! Project may not be created!"));
        return false;
    }
    QString folder = projectFolderOf(path);
    folder.chop(1);
    if (QFileInfo::exists(folder) && !isLeftover(folder)) {
        box.exclamation(QStringLiteral("Folder \"") + folder +
                        QStringLiteral("\" already exists! Project may not be created!"));
        return false;
    }
    return true;
}

const char* const kProjectFileHead =
    "<?xml version=\"1.0\"?><!DOCTYPE project [<!ELEMENT project (version, files, "
    "languages,topicid,subchapterid,chapterid,anchorid,lock?)><!ELEMENT version (#PCDATA)>"
    "<!ELEMENT files (book, chapter*)><!ELEMENT book (#PCDATA)><!ELEMENT chapter (title, id, file)>"
    "<!ELEMENT title (#PCDATA)><!ELEMENT id (#PCDATA)><!ELEMENT file (#PCDATA)>"
    "<!ELEMENT languages (main, language*)><!ELEMENT main (name, abrev)><!ELEMENT name (#PCDATA)>"
    "<!ELEMENT abrev (#PCDATA)><!ELEMENT language (name, abrev)><!ELEMENT topicid (#PCDATA)>"
    "<!ELEMENT subchapterid (#PCDATA)><!ELEMENT chapterid (#PCDATA)><!ELEMENT anchorid (#PCDATA)>"
    "<!ELEMENT lock (id, stamp, description)><!ELEMENT stamp (#PCDATA)>"
    "<!ELEMENT description (#PCDATA)>]>";

QString newProjectFileText(const cBook& book)
{
    using mCommon::escapeXML;
    QString s = QString::fromLatin1(kProjectFileHead) +
                QStringLiteral("<project><version>1.0</version><files><book>");
    QString bookFile = book.BookFile;
    bookFile.replace(QLatin1Char(' '), QLatin1Char('_'));
    s += escapeXML(bookFile.toLower());
    s += QStringLiteral("</book></files><languages><main><name>") + escapeXML(book.MainLangName) +
         QStringLiteral("</name><abrev>") + escapeXML(book.MainLangAbbrev) +
         QStringLiteral("</abrev></main>");
    QStringList names = stackToList(book.LangNames);
    QStringList abbrevs = stackToList(book.LangAbrevs);
    for (int i = 0; i < names.size() && i < abbrevs.size(); ++i)
        s += QStringLiteral("<language><name>") + escapeXML(names[i]) + QStringLiteral("</name><abrev>") +
             escapeXML(abbrevs[i]) + QStringLiteral("</abrev></language>");
    s += QStringLiteral("</languages><topicid>0</topicid><subchapterid>0</subchapterid>"
                        "<chapterid>0</chapterid><anchorid>0</anchorid></project>");
    return s;
}

bool createProjectFiles(const cBook& book, MsgBox& box)
{
    const QString projectFile = QFileInfo(book.ProjectFile).absoluteFilePath();
    if (!mCommon::checkFreeSpace(projectFile, box))
        return false;
    const QString folder = projectFolderOf(projectFile);
    QString finalFolder = folder;
    finalFolder.chop(1);
    const QFileInfo finalInfo(finalFolder);
    if (isLeftover(finalFolder))
        QDir(finalFolder).removeRecursively();
    // The folder is built under a hidden name and renamed into place, so a
    // creation cut off midway leaves nothing that blocks the next. A folder
    // that is there already (the caller skipped checkProjectPath) is filled
    // where it is.
    const bool inPlace = QFileInfo::exists(finalFolder);
    QString build = folder;
    if (!inPlace) {
        QDir().mkpath(finalInfo.absolutePath());
        QByteArray pattern =
            QFile::encodeName(finalInfo.absolutePath() + QStringLiteral("/.") + finalInfo.fileName() + QStringLiteral(".XXXXXX"));
        if (!::mkdtemp(pattern.data())) {
            box.stop(QStringLiteral("The project folder \"") + finalFolder + QStringLiteral("\" cannot be created: ") +
                     QString::fromLocal8Bit(std::strerror(errno)));
            return false;
        }
        build = QFile::decodeName(pattern) + QLatin1Char('/');
        const mode_t mask = ::umask(0);
        ::umask(mask);
        ::chmod(pattern.constData(), 0777 & ~mask);
    }
    QDir dir;
    QStringList langs{book.MainLangAbbrev};
    langs += stackToList(book.LangAbrevs);
    QString error;
    bool ok = inPlace || fileio::atomicReplace(build + kUnfinished, QByteArray::number(qint64(::getpid())), {}, &error);
    ok = ok && dir.mkpath(build + QStringLiteral("img"));
    for (const QString& l : langs)
        ok = ok && dir.mkpath(build + QStringLiteral("img/") + l);
    QString bookFile = book.BookFile;
    bookFile.replace(QLatin1Char(' '), QLatin1Char('_'));
    bookFile = bookFile.toLower();
    ok = ok && fileio::writeUtf16Line(build + bookFile, newBookFileText(book), {}, &error);
    if (ok && !inPlace && ::rename(QFile::encodeName(build.chopped(1)).constData(),
                                     QFile::encodeName(finalFolder).constData()) != 0) {
        error = QStringLiteral("The project folder \"") + finalFolder + QStringLiteral("\" cannot be created: ") +
                QString::fromLocal8Bit(std::strerror(errno));
        ok = false;
    }
    if (!ok && !inPlace)
        QDir(build).removeRecursively();
    if (ok && !fileio::writeUtf16Line(projectFile, newProjectFileText(book), {}, &error)) {
        ok = false;
        if (!inPlace)
            QDir(finalFolder).removeRecursively();
    }
    if (!ok) {
        box.stop(error.isEmpty() ? QStringLiteral("The project folder \"") + folder +
                                       QStringLiteral("\" cannot be created.")
                                 : error);
        return false;
    }
    QFile::remove(folder + kUnfinished);
    return true;
}
