#include "exportproject.h"

#include "backup.h"
#include "booktree.h"
#include "cproject.h"
#include "cxmldoc.h"
#include "fileio.h"
#include "mcommon.h"
#include "msgbox.h"
#include "outputverifier.h"
#include "progress.h"
#include "topicfilter.h"
#include "xmlsafety.h"

#include <QFileInfo>
#include <QRandomGenerator>

namespace exchange {

namespace {

const xmlChar* X(const char* s)
{
    return reinterpret_cast<const xmlChar*>(s);
}

bool named(xmlNode* n, const char* name)
{
    return n && n->type == XML_ELEMENT_NODE && xmlStrEqual(n->name, X(name));
}

// The number after "trans"; 0 for anything else.
int transNumber(xmlNode* n)
{
    const QString v = xmlsafe::attr(n, "transid");
    if (!v.startsWith(QLatin1String("trans")))
        return 0;
    int digits = 5;
    while (digits < v.size() && v[digits].isDigit())
        ++digits;
    bool ok = false;
    const int number = v.mid(5, digits - 5).toInt(&ok);
    return ok ? number : 0;
}

// The images in the cells of a table: table, row, cell, image.
template <typename Fn>
void forCellImages(xmlNode* table, Fn fn)
{
    for (xmlNode* row = table->children; row; row = row->next) {
        if (!named(row, "row"))
            continue;
        for (xmlNode* cell = row->children; cell; cell = cell->next) {
            if (!named(cell, "cell"))
                continue;
            for (xmlNode* img = cell->children; img; img = img->next)
                if (named(img, "image"))
                    fn(img);
        }
    }
}

bool isUnit(xmlNode* n)
{
    for (const char* name : {"index", "notice", "list", "table", "image", "p"})
        if (named(n, name))
            return true;
    return false;
}

} // namespace

bool numberTransIds(xmlNode* onelang)
{
    int counter = 0;
    auto raise = [&counter](xmlNode* n) {
        if (xmlsafe::hasAttr(n, "transid"))
            counter = std::max(counter, transNumber(n));
    };
    for (xmlNode* c = onelang->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE)
            continue;
        raise(c);
        if (named(c, "table"))
            forCellImages(c, raise);
    }
    bool changed = false;
    auto give = [&counter, &changed](xmlNode* n) {
        if (xmlsafe::hasAttr(n, "transid"))
            return;
        ++counter;
        const QByteArray v = "trans" + QByteArray::number(counter);
        xmlSetProp(n, X("transid"), X(v.constData()));
        changed = true;
    };
    for (xmlNode* c = onelang->children; c; c = c->next) {
        if (!isUnit(c))
            continue;
        give(c);
        if (named(c, "table"))
            forCellImages(c, give);
    }
    return changed;
}

bool numberTopic(const QString& topicXml, const QString& mainLanguage, QString& out, QString* error)
{
    xmlsafe::XmlError why;
    xmlsafe::DocPtr doc;
    {
        xmlsafe::EntityScope none(QStringList{});
        doc = xmlsafe::readMemory(topicXml.toUtf8(), {}, xmlsafe::kBaseOptions, false, &why);
    }
    xmlNode* root = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
    if (!named(root, "topic")) {
        if (error)
            *error = why.message.isEmpty() ? QStringLiteral("not a topic") : why.message;
        return false;
    }
    bool changed = false;
    for (xmlNode* c = root->children; c; c = c->next)
        if (named(c, "onelang") && xmlsafe::attr(c, "lang") == mainLanguage)
            changed = numberTransIds(c) || changed;
    if (changed)
        out = serializeElement(root);
    return changed;
}

QString newLockID()
{
    static const char kChars[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    QString id;
    auto* rng = QRandomGenerator::system();
    for (int i = 0; i < 16; ++i)
        id += QLatin1Char(kChars[rng->bounded(int(sizeof kChars - 1))]);
    return id;
}

bool ProjectExport::preflight()
{
    if (!mCommon::checkFreeSpace(m_project.GetProjectFile(), m_box))
        return false;
    const QString main = m_project.GetMainLangAbbrev();
    const QString folder = m_project.GetProjectFolder();
    cSAXOutputVerifier verifier;
    verifier.setLanguage(main);
    const QString bookFile = m_project.getBookFile();
    verifyLanguage(verifier, QFileInfo(bookFile).isFile() ? bookFile : QString(), folder, m_box);
    const QString name = m_project.getLanguageName(main);
    if (verifier.UncompletedTopics() > 0 &&
        !m_box.yesNo(name + QStringLiteral(" language includes ") + QString::number(verifier.UncompletedTopics()) +
                         QStringLiteral(" uncompleted topics! Export project anyway?"),
                     MsgIcon::Exclamation))
        return false;
    if (!verifier.MissingImages().isEmpty() &&
        !m_box.yesNo(QStringLiteral("Images\r\n\r\n") + verifier.MissingImages() + QStringLiteral("\r\nare missing in ") +
                         name + QStringLiteral(" language! Export project anyway?"),
                     MsgIcon::Exclamation))
        return false;
    return true;
}

bool ProjectExport::numberChapters(int topicCount, Progress& progress)
{
    progress.start(topicCount);
    const QString main = m_project.GetMainLangAbbrev();
    // Every chapter is numbered into a file beside it; only when all are
    // done are they renamed over their targets, so a stop leaves none changed.
    struct Prepared {
        QString temp, target;
    };
    std::vector<Prepared> prepared;
    auto drop = [&prepared] {
        for (const Prepared& p : prepared)
            fileio::commitTemp(p.temp, QString());
    };
    bool& cancelled = m_cancelled;
    auto failed = [&](const QString& file, const QString& error) {
        drop();
        if (cancelled)
            return false;
        m_box.stop(QStringLiteral("Error! Export was not successfull!\r\n\r\n") + QFileInfo(file).fileName() +
                   QStringLiteral(": ") + error);
        return false;
    };
    for (const QString& file : m_project.chapterFileList()) {
        TopicRewriteFilter filter;
        filter.onTopic = [&](const QString& id, const QString& xml, QString& out) {
            if (progress.cancelRequested()) {
                cancelled = true;
                filter.fail(Progress::kCancelled);
                return false;
            }
            progress.step();
            QString why;
            if (numberTopic(xml, main, out, &why))
                return true;
            if (!why.isEmpty())
                filter.fail(QStringLiteral("Topic \"%1\" cannot be read: %2").arg(id, why));
            return false;
        };
        const QString temp = file + QStringLiteral(".quillary-new");
        bool changed = false;
        QString error;
        if (!rewriteChapterToTemp(file, filter, temp, &changed, &error))
            return failed(file, error);
        if (changed)
            prepared.push_back({temp, file});
        if (progress.cancelRequested()) {
            cancelled = true;
            return failed(file, QString());
        }
    }
    for (size_t i = 0; i < prepared.size(); ++i) {
        QString error;
        if (!fileio::commitTemp(prepared[i].temp, prepared[i].target, &error)) {
            const QString target = prepared[i].target;
            prepared.erase(prepared.begin(), prepared.begin() + qsizetype(i));
            return failed(target, error);
        }
    }
    return true;
}

bool ProjectExport::run(const BookTree& tree, Progress& progress)
{
    m_locked = m_packageWritten = m_cancelled = false;
    if (!m_project.GetLockID().isEmpty()) {
        m_box.exclamation(QStringLiteral("Project has been already exported and it is locked!"));
        return false;
    }
    progress.message(kExportPreparing);
    if (!preflight())
        return false;
    const QString comment = askComment ? askComment() : QString();
    // A lock that could not be written has been reported: nothing more.
    if (!m_project.SetLock(newLockID(), mCommon::nowStamp(), comment))
        return false;
    if (m_project.GetLockID().isEmpty()) {
        m_box.stop(QStringLiteral("Error! Export was not successfull!"));
        return false;
    }
    m_locked = true;

    int topics = 0;
    tree.forEach([&topics](const NodePtr& n, int) {
        if (n->Tag == QLatin1String("topic"))
            ++topics;
    });
    if (!numberChapters(topics, progress)) {
        // A stop asked for by the user takes back the lock this run set:
        // the project is as it was before.
        if (m_cancelled && m_project.RemoveLock()) {
            m_locked = false;
            m_box.info(Progress::kCancelled);
        }
        return false;
    }
    progress.message(kExportFinished);

    const QString files = backup::projectFileList(m_project);
    if (writePackage)
        m_packageWritten = writePackage(files, QFileInfo(m_project.GetProjectFile()).absolutePath());
    m_box.info(QStringLiteral("Export was successfull!"));
    return true;
}

} // namespace exchange
