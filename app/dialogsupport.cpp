#include "dialogsupport.h"

#include "desktopsettings.h"

#include <QAbstractButton>
#include <QApplication>
#include <QColorDialog>
#include <QDesktopServices>
#include <QFileDialog>
#include <QWidget>

namespace dialogsupport {

void centreOnMainWindow(QWidget* dialog)
{
    QWidget* owner = dialog->parentWidget();
    while (owner && owner->parentWidget())
        owner = owner->parentWidget();
    if (!owner || !owner->isVisible())
        return;
    const QRect main = owner->frameGeometry();
    const QSize size = dialog->frameGeometry().size();
    const int x = size.width() <= main.width() ? main.x() + (main.width() - size.width()) / 2 : main.x();
    const int y = size.height() <= main.height() ? main.y() + (main.height() - size.height()) / 2 : main.y();
    dialog->move(x, y);
}

QColor toColor(int32_t number)
{
    const auto v = uint32_t(number);
    return QColor(int(v & 0xFF), int((v >> 8) & 0xFF), int((v >> 16) & 0xFF));
}

int32_t toNumber(const QColor& color)
{
    return int32_t(color.red() | (color.green() << 8) | (color.blue() << 16));
}

void paintSwatch(QAbstractButton* swatch, int32_t number)
{
    swatch->setStyleSheet(QStringLiteral("QAbstractButton { background-color: %1; border: 1px solid #808080; }")
                              .arg(toColor(number).name()));
    swatch->setProperty("colorNumber", number);
}

std::optional<QString> execFileDialog(QFileDialog& dlg, const QString& purpose, const QString& folder)
{
    DesktopSettings settings;
    const QString start = folder.isEmpty() ? settings.lastFolder(purpose) : folder;
    if (!start.isEmpty())
        dlg.setDirectory(start);
    const QString sizeKey = QStringLiteral("file-") + purpose;
    const QSize size = settings.dialogSize(sizeKey);
    if (size.isValid())
        dlg.resize(size);
    const bool accepted = dlg.exec() == QDialog::Accepted;
    // The desktop's own dialog keeps its size itself; Qt's reports it here.
    settings.setDialogSize(sizeKey, dlg.size());
    if (!accepted)
        return std::nullopt;
    const QStringList files = dlg.selectedFiles();
    if (files.isEmpty())
        return QString();
    settings.setLastFolder(purpose, files.constFirst());
    return files.constFirst();
}

namespace {
std::optional<QString> askFile(QWidget* parent, const QString& folder, const QString& filter, bool save)
{
    QFileDialog dlg(parent);
    dlg.setObjectName(QStringLiteral("cdlOpenSave"));
    dlg.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dlg.setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    dlg.setNameFilter(filter);
    return execFileDialog(dlg, save ? QStringLiteral("save") : QStringLiteral("open"), folder);
}
} // namespace

std::optional<QString> askOpenFile(QWidget* parent, const QString& folder, const QString& filter)
{
    return askFile(parent, folder, filter, false);
}

std::optional<QString> askSaveFile(QWidget* parent, const QString& folder, const QString& filter)
{
    return askFile(parent, folder, filter, true);
}

bool askColor(QWidget* parent, QColor& color)
{
    const QColor chosen = QColorDialog::getColor(color, parent);
    if (!chosen.isValid())
        return false;
    color = chosen;
    return true;
}

bool openUrl(const QUrl& url)
{
    return QDesktopServices::openUrl(url);
}

} // namespace dialogsupport
