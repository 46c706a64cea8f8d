#include "frmverify.h"

#include "dialogsupport.h"
#include "msgbox.h"
#include "qtmsgbox.h"
#include "verification.h"

#include <QEventLoop>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QProgressDialog>
#include <QPushButton>
#include <QRadioButton>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>
#include <QWebEngineView>

frmVerify::frmVerify(MsgBox* box, QWidget* parent) : QDialog(parent)
{
    if (!box) {
        m_ownBox = std::make_unique<QtMsgBox>(this);
        box = m_ownBox.get();
    }
    m_box = box;
    setObjectName(QStringLiteral("frmVerify"));
    setWindowTitle(QStringLiteral("Verification Results"));

    auto* pages = new QGroupBox(this);
    pages->setObjectName(QStringLiteral("fraPages"));
    auto* pageRow = new QHBoxLayout(pages);
    auto option = [&](const char* name, int page) {
        auto* o = new QRadioButton(cVerification::caption(cVerification::Page(page)), pages);
        o->setObjectName(QString::fromLatin1(name));
        pageRow->addWidget(o);
        connect(o, &QRadioButton::clicked, this, [this, page] { showPage(page); });
        return o;
    };
    optTopics = option("optTopics", cVerification::Topics);
    optMissing = option("optMissing", cVerification::Missing);
    optAll = option("optAll", cVerification::All);
    optRedundant = option("optRedundant", cVerification::Redundant);
    pageRow->addStretch(1);

    brwResults = new QWebEngineView(this);
    brwResults->setObjectName(QStringLiteral("brwResults"));
    brwResults->setContextMenuPolicy(Qt::NoContextMenu);
    brwResults->setMinimumSize(560, 360);

    auto button = [this](const char* name, const QString& text) {
        auto* b = new QPushButton(text, this);
        b->setObjectName(QString::fromLatin1(name));
        b->setAutoDefault(false);
        return b;
    };
    cmdPreview = button("cmdPreview", QStringLiteral("Print preview"));
    cmdPrint = button("cmdPrint", QStringLiteral("Print"));
    cmdClose = button("cmdClose", QStringLiteral("Close"));
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdPreview);
    buttons->addWidget(cmdPrint);
    buttons->addStretch(1);
    buttons->addWidget(cmdClose);

    auto* top = new QVBoxLayout(this);
    top->addWidget(pages);
    top->addWidget(brwResults, 1);
    top->addLayout(buttons);

    connect(cmdPreview, &QPushButton::clicked, this, &frmVerify::cmdPreview_Click);
    connect(cmdPrint, &QPushButton::clicked, this, &frmVerify::cmdPrint_Click);
    connect(cmdClose, &QPushButton::clicked, this, &frmVerify::cmdClose_Click);
    resize(760, 560);
}

frmVerify::~frmVerify() = default;

void frmVerify::load()
{
    if (m_loaded)
        return;
    m_loaded = true;
    if (!m_project)
        return;
    m_model = std::make_unique<cVerification>(*m_project, *m_box);
    // A large book takes a while: a bar with Cancel after half a second.
    QProgressDialog wait(QStringLiteral("Verifying the project..."), QStringLiteral("Cancel"), 0, 1, this);
    wait.setObjectName(QStringLiteral("dlgVerifyProgress"));
    wait.setWindowModality(Qt::WindowModal);
    wait.setMinimumDuration(500);
    wait.setAutoClose(false);
    const bool built = m_model->build([&wait](int done, int total) {
        wait.setMaximum(total);
        wait.setValue(done);
        return !wait.wasCanceled();
    });
    if (!built) {
        // Cancelled: nothing to show.
        QTimer::singleShot(0, this, &QDialog::reject);
        return;
    }
    m_model->writeTemporaryFiles();
    optTopics->setChecked(true);
    showPage(cVerification::Topics);
}

void frmVerify::showEvent(QShowEvent* event)
{
    load();
    QDialog::showEvent(event);
    if (!m_placed) {
        m_placed = true;
        dialogsupport::centreOnMainWindow(this);
    }
}

void frmVerify::showPage(int page)
{
    if (!m_model || page < 0 || page > 3)
        return;
    m_page = page;
    QRadioButton* options[4] = {optTopics, optMissing, optAll, optRedundant};
    options[page]->setChecked(true);
    brwResults->load(QUrl::fromLocalFile(m_model->temporaryFile(cVerification::Page(page))));
}

void frmVerify::printInto(QPrinter* printer)
{
    // The preview wants its pages before paintRequested returns.
    QEventLoop loop;
    connect(brwResults, &QWebEngineView::printFinished, &loop, &QEventLoop::quit);
    brwResults->print(printer);
    loop.exec();
}

void frmVerify::cmdPreview_Click()
{
    if (printer) {
        printer(brwResults, true);
        return;
    }
    QPrinter device(QPrinter::HighResolution);
    QPrintPreviewDialog preview(&device, this);
    connect(&preview, &QPrintPreviewDialog::paintRequested, this, &frmVerify::printInto);
    preview.exec();
}

void frmVerify::cmdPrint_Click()
{
    if (printer) {
        printer(brwResults, false);
        return;
    }
    QPrinter device(QPrinter::HighResolution);
    QPrintDialog dialog(&device, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    printInto(&device);
}

void frmVerify::cmdClose_Click()
{
    accept();
}

void frmVerify::done(int result)
{
    QDialog::done(result);
    // The report's temporary files go with the form.
    if (m_model)
        m_model->unload();
}
