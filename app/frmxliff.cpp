#include "frmxliff.h"

#include "barprogress.h"
#include "cproject.h"
#include "msgbox.h"
#include "paths.h"
#include "xliff.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace {
const QString kFilter = QStringLiteral("XLIFF files (*.xlf *.xliff);;All files (*.*)");
}

frmXliff::frmXliff(Mode mode, MsgBox* box, QWidget* parent) : FormBase(box, parent), m_mode(mode)
{
    const bool exporting = mode == Mode::Export;
    setObjectName(QStringLiteral("frmXliff"));
    setWindowTitle(exporting ? QStringLiteral("Export XLIFF") : QStringLiteral("Import XLIFF"));

    auto* form = new QFormLayout;
    if (exporting) {
        cmbLanguage = new QComboBox(this);
        cmbLanguage->setObjectName(QStringLiteral("cmbLanguage"));
        form->addRow(QStringLiteral("&Language:"), cmbLanguage);
    }
    txtFile = new QLineEdit(this);
    txtFile->setObjectName(QStringLiteral("txtFile"));
    txtFile->setMinimumWidth(360);
    cmdBrowse = new QPushButton(QStringLiteral("&Browse..."), this);
    cmdBrowse->setObjectName(QStringLiteral("cmdBrowse"));
    auto* fileRow = new QHBoxLayout;
    fileRow->addWidget(txtFile, 1);
    fileRow->addWidget(cmdBrowse);
    form->addRow(QStringLiteral("&File:"), fileRow);
    if (!exporting) {
        chkComplete = new QCheckBox(QStringLiteral("&Mark fully translated topics finished"), this);
        chkComplete->setObjectName(QStringLiteral("chkComplete"));
        form->addRow(QString(), chkComplete);
    }
    lblStatus = new QLabel(this);
    lblStatus->setObjectName(QStringLiteral("lblStatus"));
    pbWork = new QProgressBar(this);
    pbWork->setObjectName(QStringLiteral("pbWork"));
    pbWork->setRange(0, 1);
    pbWork->setValue(0);

    auto* top = new QVBoxLayout(this);
    top->addLayout(form);
    top->addWidget(lblStatus);
    top->addWidget(pbWork);
    top->addLayout(closingButtons(exporting ? QStringLiteral("&Export") : QStringLiteral("&Import"), cmdInsert,
                                  cmdCancel));
    connect(cmdBrowse, &QPushButton::clicked, this, &frmXliff::browse);
    connect(cmdInsert, &QPushButton::clicked, this, &frmXliff::run);
    // While a run goes on, Cancel stops it instead of closing the form.
    connect(cmdCancel, &QPushButton::clicked, this, [this] {
        if (!m_running)
            reject();
    });
    if (cmbLanguage)
        connect(cmbLanguage, &QComboBox::currentIndexChanged, this, [this] { txtFile->setText(suggestedFile()); });
}

void frmXliff::onLoad()
{
    if (!m_project)
        return;
    if (cmbLanguage) {
        const QStringList langs = m_project->languageList();
        for (int i = 1; i < langs.size(); ++i)
            cmbLanguage->addItem(m_project->getLanguageName(langs[i]) + QStringLiteral(" (") + langs[i] +
                                     QLatin1Char(')'),
                                 langs[i]);
        txtFile->setText(suggestedFile());
    }
}

QString frmXliff::suggestedFile() const
{
    if (!m_project || !cmbLanguage || cmbLanguage->currentIndex() < 0)
        return QString();
    const QFileInfo qly(m_project->GetProjectFile());
    return qly.absolutePath() + QLatin1Char('/') + qly.completeBaseName() + QLatin1Char('_') +
           cmbLanguage->currentData().toString() + QStringLiteral(".xlf");
}

void frmXliff::browse()
{
    const QString folder = txtFile->text().isEmpty() ? QFileInfo(m_project ? m_project->GetProjectFile() : QString()).absolutePath()
                                                     : QFileInfo(txtFile->text()).absolutePath();
    const bool exporting = m_mode == Mode::Export;
    const dialogsupport::FileAskFn& ask = exporting ? cdlSave : cdlOpen;
    const std::optional<QString> chosen = ask ? ask(this, folder, kFilter)
                                          : exporting ? dialogsupport::askSaveFile(this, folder, kFilter)
                                                      : dialogsupport::askOpenFile(this, folder, kFilter);
    if (chosen && !chosen->isEmpty())
        txtFile->setText(*chosen);
}

void frmXliff::run()
{
    if (!m_project)
        return;
    const QString file = txtFile->text().trimmed();
    if (file.isEmpty()) {
        box().exclamation(QStringLiteral("Choose the XLIFF file first."));
        return;
    }
    BarProgress progress(pbWork, lblStatus);
    progress.setCancelButton(cmdCancel);
    m_running = true;
    struct Done {
        bool& flag;
        ~Done() { flag = false; }
    } done{m_running};
    cmdInsert->setEnabled(false);
    QStringList report;
    if (m_mode == Mode::Export) {
        if (cmbLanguage->currentIndex() < 0) {
            box().exclamation(QStringLiteral("The project has no further language to translate into."));
            cmdInsert->setEnabled(true);
            return;
        }
        exchange::XliffExportSummary s;
        m_succeeded = exchange::exportXliff(*m_project, cmbLanguage->currentData().toString(),
                                            QFileInfo(file).absoluteFilePath(), box(), progress, &s);
        if (m_succeeded)
            report = exchange::exportReport(file, s, !m_project->GetLockID().isEmpty());
    } else {
        exchange::XliffImportSummary s;
        m_succeeded = exchange::importXliff(*m_project, QFileInfo(file).absoluteFilePath(), chkComplete->isChecked(),
                                            box(), progress, &s);
        if (m_succeeded)
            report = exchange::importReport(s);
    }
    cmdInsert->setEnabled(true);
    if (!m_succeeded)
        return; // the message has been shown; the form stays for another try
    box().info(report.join(QStringLiteral("\r\n")));
    accept();
}

void frmXliff::closeEvent(QCloseEvent* event)
{
    if (m_running) {
        cmdCancel->click();
        event->ignore();
        return;
    }
    FormBase::closeEvent(event);
}
