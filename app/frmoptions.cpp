#include "frmoptions.h"

#include "desktopsettings.h"
#include "msgbox.h"
#include "qtmsgbox.h"

#include <QCheckBox>
#include <QEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QVBoxLayout>

const QString frmOptions::kDownloadUrl = QStringLiteral("https://packages.debian.org/bookworm/fp-utils");

namespace {
// The MsgBox is made before the model, which keeps a reference to it.
MsgBox& boxOrOwn(MsgBox* box, std::unique_ptr<MsgBox>& own, QWidget* parent)
{
    if (box)
        return *box;
    own = std::make_unique<QtMsgBox>(parent);
    return *own;
}
} // namespace

frmOptions::frmOptions(MsgBox* box, QWidget* parent)
    : QDialog(parent), m_box(&boxOrOwn(box, m_ownBox, this)), m_model(*m_box)
{
    setObjectName(QStringLiteral("frmOptions"));
    setWindowTitle(QStringLiteral("Settings"));

    auto button = [this](const char* name, const QString& text) {
        auto* b = new QPushButton(text, this);
        b->setObjectName(QString::fromLatin1(name));
        b->setAutoDefault(false);
        return b;
    };

    auto* compiler = new QGroupBox(QStringLiteral("HTML Help compiler"), this);
    compiler->setObjectName(QStringLiteral("fraCompiler"));
    lblPlacement = new QLabel(cOptions::placementText(), compiler);
    lblPlacement->setObjectName(QStringLiteral("lblPlacement"));
    lblPlacement->setWordWrap(true);
    txtFile = new QLineEdit(compiler);
    txtFile->setObjectName(QStringLiteral("txtFile"));
    txtFile->setMinimumWidth(320);
    cmdOpen = button("cmdOpen", QStringLiteral("Browse..."));
    cmdAutoFind = button("cmdAutoFind", QStringLiteral("Auto Find"));
    lblDownload = new QLabel(cOptions::downloadText(), compiler);
    lblDownload->setObjectName(QStringLiteral("lblDownload"));
    lblDownload->setWordWrap(true);
    lblDownload->setCursor(Qt::PointingHandCursor);
    lblDownload->setStyleSheet(QStringLiteral("QLabel#lblDownload { color: #0645AD; text-decoration: underline; }"));
    lblDownload->setToolTip(kDownloadUrl);
    lblDownload->installEventFilter(this);
    auto* compilerLayout = new QGridLayout(compiler);
    compilerLayout->addWidget(lblPlacement, 0, 0, 1, 3);
    compilerLayout->addWidget(txtFile, 1, 0);
    compilerLayout->addWidget(cmdOpen, 1, 1);
    compilerLayout->addWidget(cmdAutoFind, 1, 2);
    compilerLayout->addWidget(lblDownload, 2, 0, 1, 3);
    compilerLayout->setColumnStretch(0, 1);

    auto* colours = new QGroupBox(QStringLiteral("Colors"), this);
    colours->setObjectName(QStringLiteral("fraColors"));
    auto* colourLayout = new QGridLayout(colours);
    auto picture = [&](const char* name, const QString& label, int row) {
        auto* b = new QPushButton(colours);
        b->setObjectName(QString::fromLatin1(name));
        b->setFixedSize(48, 22);
        b->setAutoDefault(false);
        auto* l = new QLabel(label, colours);
        l->setBuddy(b);
        colourLayout->addWidget(l, row, 0);
        colourLayout->addWidget(b, row, 1);
        connect(b, &QPushButton::clicked, this, [this, b] { pickColor(b); });
        return b;
    };
    picOnline = picture("picOnline", QStringLiteral("Online selection color"), 0);
    picPrint = picture("picPrint", QStringLiteral("Print selection color"), 1);
    picAnchor = picture("picAnchor", QStringLiteral("Anchor color"), 2);
    colourLayout->setColumnStretch(2, 1);

    auto* start = new QGroupBox(QStringLiteral("Start"), this);
    start->setObjectName(QStringLiteral("fraStart"));
    chkReopen = new QCheckBox(QStringLiteral("&Reopen the last project at start"), start);
    chkReopen->setObjectName(QStringLiteral("chkReopen"));
    auto* startLayout = new QVBoxLayout(start);
    startLayout->addWidget(chkReopen);

    cmdOK = button("cmdOK", QStringLiteral("OK"));
    cmdOK->setDefault(true);
    cmdCancel = button("cmdCancel", QStringLiteral("Cancel"));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdCancel);

    auto* top = new QVBoxLayout(this);
    top->addWidget(compiler);
    top->addWidget(colours);
    top->addWidget(start);
    top->addLayout(buttons);

    connect(cmdOpen, &QPushButton::clicked, this, &frmOptions::cmdOpen_Click);
    connect(cmdAutoFind, &QPushButton::clicked, this, &frmOptions::cmdAutoFind_Click);
    connect(cmdOK, &QPushButton::clicked, this, &frmOptions::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmOptions::cmdCancel_Click);
    connect(txtFile, &QLineEdit::textEdited, this, [this](const QString& text) { m_model.txtFile = text; });
}

frmOptions::~frmOptions() = default;

void frmOptions::load()
{
    if (m_loaded)
        return;
    m_loaded = true;
    m_model.formLoad(m_confPath);
    chkReopen->setChecked(DesktopSettings(m_desktopFile).reopenLast());
    showValues();
}

void frmOptions::showValues()
{
    if (txtFile->text() != m_model.txtFile)
        txtFile->setText(m_model.txtFile);
    dialogsupport::paintSwatch(picOnline, m_model.picOnline);
    dialogsupport::paintSwatch(picPrint, m_model.picPrint);
    dialogsupport::paintSwatch(picAnchor, m_model.picAnchor);
}

void frmOptions::showEvent(QShowEvent* event)
{
    load();
    QDialog::showEvent(event);
    if (!m_placed) {
        m_placed = true;
        adjustSize();
        dialogsupport::centreOnMainWindow(this);
    }
}

bool frmOptions::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == lblDownload && event->type() == QEvent::MouseButtonRelease &&
        static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
        lblDownload_Click();
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

void frmOptions::cmdOpen_Click()
{
    load();
    const QString filter = QStringLiteral("All files (*)");
    const std::optional<QString> chosen =
        cdlOpen ? cdlOpen(this, QString(), filter) : dialogsupport::askOpenFile(this, QString(), filter);
    if (!chosen)
        return;
    m_model.cmdOpen(*chosen);
    showValues();
}

void frmOptions::cmdAutoFind_Click()
{
    load();
    m_model.cmdAutoFind();
    showValues();
}

void frmOptions::cmdOK_Click()
{
    load();
    m_model.txtFile = txtFile->text();
    if (m_model.cmdOK()) {
        DesktopSettings(m_desktopFile).setReopenLast(chkReopen->isChecked());
        accept();
    }
}

void frmOptions::cmdCancel_Click()
{
    reject();
}

void frmOptions::lblDownload_Click()
{
    const QUrl url(kDownloadUrl);
    if (openUrl)
        openUrl(url);
    else
        dialogsupport::openUrl(url);
}

void frmOptions::pickColor(QPushButton* picture)
{
    load();
    int32_t* value = picture == picOnline ? &m_model.picOnline
                     : picture == picPrint ? &m_model.picPrint
                                           : &m_model.picAnchor;
    QColor color = dialogsupport::toColor(*value);
    const bool chosen = cdlColor ? cdlColor(this, color) : dialogsupport::askColor(this, color);
    if (!chosen)
        return;
    // Through the text form, as conf.xml keeps it.
    *value = cOptions::textToColor(cOptions::colorToText(dialogsupport::toNumber(color)));
    showValues();
}
