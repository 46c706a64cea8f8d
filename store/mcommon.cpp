#include "mcommon.h"

#include "msgbox.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QStorageInfo>

namespace mCommon {

QString getTempFolder()
{
    QString t = QDir::tempPath();
    if (!t.endsWith(QLatin1Char('/')))
        t += QLatin1Char('/');
    return t;
}

QString escapeXML(const QString& text)
{
    QString s = text;
    s.replace(QLatin1Char('&'), QStringLiteral("&amp;"));
    s.replace(QLatin1Char('<'), QStringLiteral("&lt;"));
    s.replace(QLatin1Char('>'), QStringLiteral("&gt;"));
    return s;
}

QString escapeXMLAttribute(const QString& text)
{
    QString s = escapeXML(text);
    s.replace(QLatin1Char('"'), QStringLiteral("&quot;"));
    return s;
}

void escapeXMLTo(std::string& out, std::string_view text)
{
    size_t start = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const char* rep = nullptr;
        switch (text[i]) {
        case '&': rep = "&amp;"; break;
        case '<': rep = "&lt;"; break;
        case '>': rep = "&gt;"; break;
        default: continue;
        }
        out.append(text.data() + start, i - start);
        out.append(rep);
        start = i + 1;
    }
    out.append(text.data() + start, text.size() - start);
}

void escapeXMLAttributeTo(std::string& out, std::string_view text)
{
    size_t start = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const char* rep = nullptr;
        switch (text[i]) {
        case '&': rep = "&amp;"; break;
        case '<': rep = "&lt;"; break;
        case '>': rep = "&gt;"; break;
        case '"': rep = "&quot;"; break;
        default: continue;
        }
        out.append(text.data() + start, i - start);
        out.append(rep);
        start = i + 1;
    }
    out.append(text.data() + start, text.size() - start);
}

QString stripFileURL(const QString& url, const QString& base)
{
    QString prefix = QStringLiteral("file://") + base;
    if (url.startsWith(prefix))
        return url.mid(prefix.size());
    return url;
}

QString xmlCharsProblem(const QString& text, const QString& fieldName)
{
    if (text.contains(QLatin1Char('<')) || text.contains(QLatin1Char('&')) || text.contains(QLatin1Char('>')))
        return fieldName + QStringLiteral(" may not include \"&\", \"<\", \">\" characters!");
    return {};
}

QString emptyFieldsMessage(const QString& message, const QList<std::pair<QString, QString>>& labelledValues)
{
    QStringList empty;
    for (const auto& [label, value] : labelledValues)
        if (value.isEmpty())
            empty << label;
    if (empty.isEmpty())
        return {};
    return message + QStringLiteral("\r\nEmpty: ") + empty.join(QStringLiteral(", ")) + QLatin1Char('.');
}

bool checkXMLChars(const QString& text, const QString& fieldName, MsgBox& box)
{
    const QString problem = xmlCharsProblem(text, fieldName);
    if (!problem.isEmpty())
        box.exclamation(problem);
    return problem.isEmpty();
}

QString getChapterFromPath(const QString& fullPath)
{
    int first = fullPath.indexOf(QLatin1Char('\\'));
    if (first < 0)
        return QString();
    QString rest = fullPath.mid(first + 1);
    int second = rest.indexOf(QLatin1Char('\\'));
    return second < 0 ? rest : rest.left(second);
}

namespace {
// The storage that holds path, looking up the nearest existing ancestor so
// that a file not yet created can be tested.
QStorageInfo storageOf(const QString& path)
{
    if (path.isEmpty() || !path.startsWith(QLatin1Char('/')))
        return QStorageInfo();
    QFileInfo fi(path);
    QString p = fi.absoluteFilePath();
    while (!p.isEmpty() && !QFileInfo::exists(p)) {
        QString parent = QFileInfo(p).absolutePath();
        if (parent == p)
            break;
        p = parent;
    }
    return QStorageInfo(p);
}
}

bool hasFreeSpace(const QString& path)
{
    QStorageInfo si = storageOf(path);
    if (!si.isValid() || !si.isReady())
        return false;
    return si.bytesAvailable() > 1048576;
}

QString freeSpaceMessage(const QString& path)
{
    QStorageInfo si = storageOf(path);
    QString where = si.isValid() ? si.rootPath() : path;
    return QStringLiteral("There is not enough free space on the drive (") + where +
           QStringLiteral(")! Can not continue!");
}

bool checkFreeSpace(const QString& path, MsgBox& box)
{
    if (hasFreeSpace(path))
        return true;
    box.exclamation(freeSpaceMessage(path));
    return false;
}

QString nowDate()
{
    return QLocale::system().toString(QDate::currentDate(), QLocale::ShortFormat);
}

QString nowTime()
{
    return QLocale::system().toString(QTime::currentTime(), QLocale::ShortFormat);
}

QString nowStamp()
{
    return nowDate() + QLatin1Char(' ') + nowTime();
}

} // namespace mCommon
