#include "verification.h"

#include "cproject.h"
#include "fileio.h"
#include "mcommon.h"
#include "msgbox.h"
#include "outputverifier.h"
#include "paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <exception>

namespace {
const char* kHeadings[4] = {"Unfinished topics", "Missing images", "Used images", "Redundant images"};
const char* kFileNames[4] = {"unfinished_topics.html", "missing_images.html", "used_images.html",
                             "redundant_images.html"};
const QString kRowStart = QStringLiteral("<tr><td class=cell>");
const QString kClosing = QStringLiteral("</td><tr><td><br></td></tr></tr>");
const QString kLineBreak = QStringLiteral("</td></tr><tr><td class=cell>");

QByteArray pageBytes(const QString& text)
{
    // A byte order mark tells the viewer the encoding of names and paths.
    return QByteArray("\xEF\xBB\xBF") + text.toUtf8();
}
}

cVerification::~cVerification()
{
    unload();
}

QString cVerification::caption(Page p)
{
    return QString::fromLatin1(kHeadings[p]);
}

QString cVerification::pageFileName(Page p)
{
    return QString::fromLatin1(kFileNames[p]);
}

bool cVerification::build(const std::function<bool(int done, int total)>& going)
{
    for (int i = 0; i < 4; ++i)
        m_pages[i] = QStringLiteral("<html><head><style type=\"text/css\"> .cell {PADDING-LEFT:15}</style></head>"
                                    "<body><h3><u>") +
                     QString::fromLatin1(kHeadings[i]) + QStringLiteral("</u></h3><br><table>");
    const QStringList langs = m_project.languageList();
    for (int i = 0; i < langs.size(); ++i) {
        if (going && !going(i, int(langs.size())))
            return false;
        try {
            languageStep(langs[i], i == 0);
        } catch (const std::exception&) {
            m_box.stop(QStringLiteral("Error during verification process!"));
        }
    }
    for (QString& p : m_pages)
        p += QStringLiteral("</table></body></html>");
    return !going || going(int(langs.size()), int(langs.size()));
}

void cVerification::languageStep(const QString& language, bool main)
{
    const QString folder = paths::toDisk(m_project.GetProjectFolder());
    cSAXOutputVerifier v;
    v.setLanguage(language);
    v.setProjectFolder(folder);
    QString book = paths::toDisk(m_project.getBookFile());
    if (!book.isEmpty() && QFileInfo::exists(book))
        verifyLanguage(v, book, folder, m_box);
    const QString heading = QStringLiteral("<tr><td><b>") + m_project.getLanguageName(language) +
                            QStringLiteral("<b></td></tr>");

    QString& topics = m_pages[Topics];
    topics += heading;
    if (v.UncompletedTopics() < 1) {
        topics += kRowStart + QStringLiteral("Topics are OK.") + kClosing;
    } else {
        topics += kRowStart + QString::number(v.UncompletedTopics()) + QStringLiteral(" topic") +
                  (v.UncompletedTopics() >= 2 ? QStringLiteral("s") : QString()) +
                  QStringLiteral(" are not locked.") + kClosing;
    }

    QString& missing = m_pages[Missing];
    missing += heading;
    if (!v.MissingImages().isEmpty()) {
        QString t = v.MissingImages();
        t.replace(QStringLiteral("\r\n"), kLineBreak);
        missing += kRowStart + t + kClosing;
    } else {
        missing += kRowStart + QStringLiteral("Images are OK.") + kClosing;
    }

    if (!main)
        return;
    QString all = v.AllImages();
    QString used = all;
    used.replace(QStringLiteral("\r\n"), kLineBreak);
    m_pages[All] += kRowStart + used + kClosing;
    QDir img(folder + QStringLiteral("img/") + language);
    const QFileInfoList files = img.entryInfoList(QDir::Files | QDir::Hidden, QDir::Name);
    for (const QFileInfo& f : files) {
        if (!all.contains(f.fileName()))
            m_pages[Redundant] += kRowStart + f.absoluteFilePath() + QStringLiteral("</td></tr>");
    }
}

bool cVerification::writeTemporaryFiles()
{
    unload();
    bool ok = true;
    for (int i = 0; i < 4; ++i) {
        QTemporaryFile f(mCommon::getTempFolder() + QStringLiteral("quillary_verify_XXXXXX.html"));
        f.setAutoRemove(false);
        if (!f.open()) {
            ok = false;
            continue;
        }
        f.write(pageBytes(m_pages[i]));
        f.close();
        m_files[i] = f.fileName();
    }
    return ok;
}

void cVerification::unload()
{
    for (QString& f : m_files) {
        if (!f.isEmpty() && QFileInfo::exists(f))
            QFile::remove(f);
        f.clear();
    }
}

QStringList cVerification::writePages(const QString& folder, QString* error) const
{
    QDir().mkpath(folder);
    QStringList written;
    for (int i = 0; i < 4; ++i) {
        QString path = QDir(folder).filePath(QString::fromLatin1(kFileNames[i]));
        QString reason;
        if (fileio::atomicReplace(path, pageBytes(m_pages[i]), {}, &reason))
            written << path;
        else if (error && error->isEmpty())
            *error = reason;
    }
    return written;
}
