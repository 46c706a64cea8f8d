#include "cfolderbrowser.h"

#include <QFileDialog>

QString cFolderBrowser::Browse(const QString& title, QWidget* owner)
{
    QFileDialog dlg(owner, title);
    dlg.setObjectName(QStringLiteral("cdlFolder"));
    dlg.setFileMode(QFileDialog::Directory);
    dlg.setOption(QFileDialog::ShowDirsOnly, true);
    dlg.setAcceptMode(QFileDialog::AcceptOpen);
    if (dlg.exec() != QDialog::Accepted)
        return QString();
    const QStringList chosen = dlg.selectedFiles();
    return chosen.isEmpty() ? QString() : chosen.constFirst();
}
