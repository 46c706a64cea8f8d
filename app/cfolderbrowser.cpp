#include "cfolderbrowser.h"

#include "dialogsupport.h"

#include <QFileDialog>

QString cFolderBrowser::Browse(const QString& title, QWidget* owner)
{
    QFileDialog dlg(owner, title);
    dlg.setObjectName(QStringLiteral("cdlFolder"));
    dlg.setFileMode(QFileDialog::Directory);
    dlg.setOption(QFileDialog::ShowDirsOnly, true);
    dlg.setAcceptMode(QFileDialog::AcceptOpen);
    return dialogsupport::execFileDialog(dlg, QStringLiteral("folder")).value_or(QString());
}
