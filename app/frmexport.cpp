#include "frmexport.h"

#include "barprogress.h"
#include "exportproject.h"
#include "frmbackup.h"
#include "msgbox.h"

#include <QCloseEvent>
#include <QInputDialog>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

frmExport::frmExport(MsgBox* box, QWidget* parent) : FormBase(box, parent)
{
    setObjectName(QStringLiteral("frmExport"));
    setWindowTitle(exchange::kExportCaption);
    // Only the work closes it.
    setWindowFlags((windowFlags() | Qt::CustomizeWindowHint | Qt::WindowTitleHint) &
                   ~(Qt::WindowCloseButtonHint | Qt::WindowContextHelpButtonHint));

    Label4 = new QLabel(exchange::kExportPreparing, this);
    Label4->setObjectName(QStringLiteral("Label4"));
    pbUpdate = new QProgressBar(this);
    pbUpdate->setObjectName(QStringLiteral("pbUpdate"));
    pbUpdate->setRange(0, 1);
    pbUpdate->setValue(0);
    pbUpdate->setMinimumWidth(320);
    // Stops the numbering; the project is then as it was, not locked.
    cmdStop = new QPushButton(QStringLiteral("Cancel"), this);
    cmdStop->setObjectName(QStringLiteral("cmdStop"));
    cmdStop->setAutoDefault(false);

    auto* top = new QVBoxLayout(this);
    top->setContentsMargins(18, 16, 18, 16);
    top->setSpacing(10);
    top->addWidget(Label4);
    top->addWidget(pbUpdate);
    top->addWidget(cmdStop, 0, Qt::AlignRight);
    top->setSizeConstraint(QLayout::SetFixedSize);
}

void frmExport::IncrProgressBar(int count)
{
    pbUpdate->setRange(0, qMax(1, count));
    pbUpdate->setValue(0);
}

void frmExport::onLoad()
{
    QTimer::singleShot(0, this, &frmExport::activate);
}

void frmExport::showEvent(QShowEvent* event)
{
    FormBase::showEvent(event);
    if (!m_placed) {
        m_placed = true;
        dialogsupport::centreOnMainWindow(this);
    }
}

QString frmExport::askText(QWidget* parent, const QString& title, const QString& prompt)
{
    QInputDialog dlg(parent);
    dlg.setObjectName(QStringLiteral("InputBox"));
    dlg.setWindowTitle(title);
    dlg.setInputMode(QInputDialog::TextInput);
    dlg.setLabelText(prompt);
    // The prompt is a paragraph; unwrapped it would make a very wide box.
    if (auto* label = dlg.findChild<QLabel*>()) {
        label->setWordWrap(true);
        label->setMinimumWidth(360);
    }
    if (dlg.exec() != QDialog::Accepted)
        return QString();
    return dlg.textValue();
}

void frmExport::activate()
{
    if (!m_project || !m_tree) {
        done(QDialog::Rejected);
        return;
    }
    m_working = true;
    exchange::ProjectExport job(*m_project, box());
    job.askComment = [this] {
        return inputBox ? inputBox(this, exchange::kLockCommentTitle, exchange::kLockCommentPrompt)
                        : askText(this, exchange::kLockCommentTitle, exchange::kLockCommentPrompt);
    };
    job.writePackage = [this](const QString& files, const QString& baseFolder) {
        frmBackup backupForm(&box(), this);
        backupForm.Files = files;
        backupForm.BaseFolder = baseFolder;
        backupForm.FormCaption = exchange::kExportCaption;
        backupForm.Message = exchange::kExportMessage;
        backupForm.cdlSave = cdlSave;
        backupForm.exec();
        return backupForm.written();
    };
    BarProgress progress(pbUpdate, Label4);
    progress.setCancelButton(cmdStop);
    job.run(*m_tree, progress);
    m_locked = job.locked();
    m_packageWritten = job.packageWritten();
    m_working = false;
    done(m_locked ? QDialog::Accepted : QDialog::Rejected);
}

void frmExport::reject()
{
    if (!m_working)
        FormBase::reject();
}

void frmExport::closeEvent(QCloseEvent* event)
{
    if (m_working)
        event->ignore();
    else
        FormBase::closeEvent(event);
}
