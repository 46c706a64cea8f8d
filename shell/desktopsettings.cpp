#include "desktopsettings.h"

#include "paths.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QSettings>

namespace {

const QString kRecent = QStringLiteral("recent/projects");
const QString kReopen = QStringLiteral("start/reopenLast");
const QString kOrder = QStringLiteral("projects/order");

bool sameFile(const QString& a, const QString& b)
{
    return DesktopSettings::canonical(a) == DesktopSettings::canonical(b);
}

} // namespace

DesktopSettings::DesktopSettings(const QString& file)
    : m_settings(std::make_unique<QSettings>(
          file.isEmpty() ? paths::configFolder() + QStringLiteral("/quillary-author.conf") : file,
          QSettings::IniFormat))
{
}

DesktopSettings::~DesktopSettings() = default;

QString DesktopSettings::fileName() const
{
    return m_settings->fileName();
}

void DesktopSettings::sync()
{
    m_settings->sync();
}

void DesktopSettings::clear()
{
    m_settings->clear();
    m_settings->sync();
}

QString DesktopSettings::canonical(const QString& projectFile)
{
    const QFileInfo info(projectFile);
    const QString real = info.canonicalFilePath();
    return real.isEmpty() ? QDir::cleanPath(info.absoluteFilePath()) : real;
}

QList<DesktopSettings::Recent> DesktopSettings::recentProjects() const
{
    QList<Recent> out;
    for (const QString& p : m_settings->value(kRecent).toStringList())
        out.append({p, QFileInfo(p).isFile()});
    return out;
}

void DesktopSettings::addRecent(const QString& projectFile)
{
    const QString path = canonical(projectFile);
    QStringList list = m_settings->value(kRecent).toStringList();
    list.removeIf([&](const QString& p) { return sameFile(p, path); });
    list.prepend(path);
    while (list.size() > kMaxRecent)
        list.removeLast();
    m_settings->setValue(kRecent, list);
}

void DesktopSettings::removeRecent(const QString& projectFile)
{
    QStringList list = m_settings->value(kRecent).toStringList();
    list.removeIf([&](const QString& p) { return p == projectFile || sameFile(p, projectFile); });
    m_settings->setValue(kRecent, list);
}

int DesktopSettings::removeMissing()
{
    QStringList list = m_settings->value(kRecent).toStringList();
    const qsizetype removed = list.removeIf([](const QString& p) { return !QFileInfo(p).isFile(); });
    m_settings->setValue(kRecent, list);
    return int(removed);
}

bool DesktopSettings::reopenLast() const
{
    return m_settings->value(kReopen, false).toBool();
}

void DesktopSettings::setReopenLast(bool on)
{
    m_settings->setValue(kReopen, on);
}

QString DesktopSettings::projectToReopen() const
{
    if (!reopenLast())
        return {};
    const QList<Recent> recent = recentProjects();
    return !recent.isEmpty() && recent.first().exists ? recent.first().path : QString();
}

QByteArray DesktopSettings::windowGeometry() const
{
    return m_settings->value(QStringLiteral("window/geometry")).toByteArray();
}

void DesktopSettings::setWindowGeometry(const QByteArray& data)
{
    m_settings->setValue(QStringLiteral("window/geometry"), data);
}

QByteArray DesktopSettings::windowState() const
{
    return m_settings->value(QStringLiteral("window/state")).toByteArray();
}

void DesktopSettings::setWindowState(const QByteArray& data)
{
    m_settings->setValue(QStringLiteral("window/state"), data);
}

QByteArray DesktopSettings::splitterState() const
{
    return m_settings->value(QStringLiteral("window/splitter")).toByteArray();
}

void DesktopSettings::setSplitterState(const QByteArray& data)
{
    m_settings->setValue(QStringLiteral("window/splitter"), data);
}

// A group per project, named by a hash of its path: paths hold characters
// that INI keys do not take.
QString DesktopSettings::projectGroup(const QString& projectFile) const
{
    const QByteArray hash =
        QCryptographicHash::hash(canonical(projectFile).toUtf8(), QCryptographicHash::Sha1).toHex().left(16);
    return QStringLiteral("project-") + QString::fromLatin1(hash);
}

DesktopSettings::ProjectState DesktopSettings::projectState(const QString& projectFile) const
{
    ProjectState s;
    const QString group = projectGroup(projectFile);
    m_settings->beginGroup(group);
    // A hash that two paths share is told apart by the path kept beside it.
    if (m_settings->value(QStringLiteral("path")).toString() == canonical(projectFile)) {
        s.expanded = m_settings->value(QStringLiteral("expanded")).toStringList();
        s.openTopic = m_settings->value(QStringLiteral("topic")).toString();
    }
    m_settings->endGroup();
    return s;
}

void DesktopSettings::setProjectState(const QString& projectFile, const ProjectState& state)
{
    const QString group = projectGroup(projectFile);
    m_settings->beginGroup(group);
    m_settings->setValue(QStringLiteral("path"), canonical(projectFile));
    m_settings->setValue(QStringLiteral("expanded"), state.expanded);
    m_settings->setValue(QStringLiteral("topic"), state.openTopic);
    m_settings->endGroup();
    // The latest projects keep theirs; the file does not grow for ever.
    QStringList order = m_settings->value(kOrder).toStringList();
    order.removeAll(group);
    order.prepend(group);
    while (order.size() > kMaxProjectStates)
        m_settings->remove(order.takeLast());
    m_settings->setValue(kOrder, order);
}

QString DesktopSettings::lastFolder(const QString& purpose) const
{
    const QString folder = m_settings->value(QStringLiteral("folders/") + purpose).toString();
    return !folder.isEmpty() && QFileInfo(folder).isDir() ? folder : QString();
}

void DesktopSettings::setLastFolder(const QString& purpose, const QString& folderOrFile)
{
    if (folderOrFile.isEmpty())
        return;
    const QFileInfo info(folderOrFile);
    const QString folder = info.isDir() ? info.absoluteFilePath() : info.absolutePath();
    m_settings->setValue(QStringLiteral("folders/") + purpose, QDir::cleanPath(folder));
}

QSize DesktopSettings::dialogSize(const QString& dialog) const
{
    return m_settings->value(QStringLiteral("dialogs/") + dialog).toSize();
}

void DesktopSettings::setDialogSize(const QString& dialog, const QSize& size)
{
    if (size.isValid())
        m_settings->setValue(QStringLiteral("dialogs/") + dialog, size);
}

QString nodeIdentity(const NodePtr& node)
{
    if (!node)
        return {};
    return node->Key.isEmpty() ? QStringLiteral("path:") + node->FullPath() : QStringLiteral("id:") + node->Key;
}

NodePtr nodeByIdentity(const BookTree& tree, const QString& identity)
{
    if (identity.startsWith(QLatin1String("id:")))
        return tree.FindKey(identity.mid(3));
    if (identity.startsWith(QLatin1String("path:")))
        return tree.FindPath(identity.mid(5));
    return nullptr;
}
