#include "frmbackup.h"

#include "backup.h"
#include "barprogress.h"
#include "dialogsupport.h"

#include <QCloseEvent>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

const QString frmBackup::kZipFilter = QStringLiteral("ZIP file (*.zip);;All files (*.*)");

frmBackup::frmBackup(MsgBox* box, QWidget* parent)
    : FormBase(box, parent), FormCaption(backup::kDefaultCaption), Message(backup::kDefaultMessage)
{
    setObjectName(QStringLiteral("frmBackup"));
    setWindowTitle(FormCaption);
    // Only the work closes it.
    setWindowFlags((windowFlags() | Qt::CustomizeWindowHint | Qt::WindowTitleHint) &
                   ~(Qt::WindowCloseButtonHint | Qt::WindowContextHelpButtonHint));

    Label4 = new QLabel(Message, this);
    Label4->setObjectName(QStringLiteral("Label4"));
    pbWork = new QProgressBar(this);
    pbWork->setObjectName(QStringLiteral("pbWork"));
    pbWork->setRange(0, 1);
    pbWork->setValue(0);
    pbWork->setMinimumWidth(320);

    auto* top = new QVBoxLayout(this);
    top->setContentsMargins(18, 16, 18, 16);
    top->setSpacing(10);
    top->addWidget(Label4);
    top->addWidget(pbWork);
    // Stops the writing; the archive is then not made.
    cmdStop = new QPushButton(QStringLiteral("Cancel"), this);
    cmdStop->setObjectName(QStringLiteral("cmdStop"));
    cmdStop->setAutoDefault(false);
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(cmdStop);
    top->addLayout(row);
    top->setSizeConstraint(QLayout::SetFixedSize);
}

void frmBackup::IncrProgressBar(int count)
{
    pbWork->setRange(0, qMax(1, count));
    pbWork->setValue(0);
}

void frmBackup::onLoad()
{
    setWindowTitle(FormCaption);
    Label4->setText(Message);
    // The form is up before the save dialog opens over it.
    QTimer::singleShot(0, this, &frmBackup::activate);
}

void frmBackup::showEvent(QShowEvent* event)
{
    FormBase::showEvent(event);
    if (!m_placed) {
        m_placed = true;
        dialogsupport::centreOnMainWindow(this);
    }
}

std::optional<QString> frmBackup::askSaveZip(QWidget* parent, const QString& folder, const QString& filter)
{
    QFileDialog dlg(parent);
    dlg.setObjectName(QStringLiteral("cdlSave"));
    dlg.setAcceptMode(QFileDialog::AcceptSave);
    dlg.setFileMode(QFileDialog::AnyFile);
    dlg.setNameFilter(filter);
    dlg.setDefaultSuffix(QStringLiteral("zip"));
    // Asking before an existing file is replaced is the dialog's default.
    dlg.setOption(QFileDialog::DontConfirmOverwrite, false);
    return dialogsupport::execFileDialog(dlg, QStringLiteral("backup"), folder);
}

QString frmBackup::baseFolder() const
{
    if (!BaseFolder.isEmpty())
        return BaseFolder;
    const QStringList entries = Files.split(QLatin1Char(';'), Qt::SkipEmptyParts);
    return entries.isEmpty() ? QString() : QFileInfo(entries.constLast()).absolutePath();
}

void frmBackup::activate()
{
    const QString base = baseFolder();
    const std::optional<QString> zip =
        cdlSave ? cdlSave(this, base, kZipFilter) : askSaveZip(this, base, kZipFilter);
    if (!zip || zip->isEmpty()) {
        done(QDialog::Rejected);
        return;
    }
    m_working = true;
    BarProgress progress(pbWork, Label4);
    progress.setCancelButton(cmdStop);
    m_written = backup::writeBackup(Files, *zip, base, progress, box(), FormCaption);
    m_working = false;
    done(m_written ? QDialog::Accepted : QDialog::Rejected);
}

void frmBackup::reject()
{
    if (!m_working)
        FormBase::reject();
}

void frmBackup::closeEvent(QCloseEvent* event)
{
    if (m_working)
        event->ignore();
    else
        FormBase::closeEvent(event);
}
