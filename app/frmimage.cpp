#include "frmimage.h"

#include "dialogsupport.h"
#include "elementhtml.h"
#include "elementvalues.h"
#include "holders.h"
#include "language.h"
#include "msgbox.h"
#include "qtmsgbox.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPixmap>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace {
constexpr int kPreviewWidth = 260;
constexpr int kPreviewHeight = 200;
} // namespace

frmImage::frmImage(MsgBox* box, QWidget* parent) : QDialog(parent)
{
    if (!box) {
        m_ownBox = std::make_unique<QtMsgBox>(this);
        box = m_ownBox.get();
    }
    m_box = box;
    setObjectName(QStringLiteral("frmImage"));
    setWindowTitle(QStringLiteral("Image Properties"));

    auto* lblImages = new QLabel(QStringLiteral("Images"), this);
    filImages = new QListWidget(this);
    filImages->setObjectName(QStringLiteral("filImages"));
    filImages->setMinimumWidth(200);
    lblImages->setBuddy(filImages);
    auto* lblPreview = new QLabel(QStringLiteral("Preview"), this);
    imgPreview = new QLabel(this);
    imgPreview->setObjectName(QStringLiteral("imgPreview"));
    imgPreview->setFixedSize(kPreviewWidth, kPreviewHeight);
    imgPreview->setAlignment(Qt::AlignCenter);
    imgPreview->setFrameShape(QFrame::StyledPanel);
    lblPreviewMessage = new QLabel(this);
    lblPreviewMessage->setObjectName(QStringLiteral("lblPreviewMessage"));
    lblPreviewMessage->setWordWrap(true);
    lblPreviewMessage->setMaximumWidth(kPreviewWidth);

    auto* lblFormat = new QLabel(QStringLiteral("Image Format"), this);
    cmbFormat = new QComboBox(this);
    cmbFormat->setObjectName(QStringLiteral("cmbFormat"));
    cmbFormat->addItems(elementhtml::imageFormats());
    cmbFormat->setCurrentIndex(-1);
    lblFormat->setBuddy(cmbFormat);
    auto* lblScale = new QLabel(QStringLiteral("Image Scale"), this);
    txtScale = new QLineEdit(QStringLiteral("100"), this);
    txtScale->setObjectName(QStringLiteral("txtScale"));
    lblScale->setBuddy(txtScale);
    auto* lblDesc = new QLabel(QStringLiteral("Image Description"), this);
    txtDescription = new QLineEdit(QStringLiteral("image description"), this);
    txtDescription->setObjectName(QStringLiteral("txtDescription"));
    lblDesc->setBuddy(txtDescription);

    frmOutput = new QGroupBox(QStringLiteral("Image Appearance"), this);
    frmOutput->setObjectName(QStringLiteral("frmOutput"));
    optBoth = new QRadioButton(QStringLiteral("In Every Output"), frmOutput);
    optBoth->setObjectName(QStringLiteral("optBoth"));
    optBoth->setChecked(true);
    optOnline = new QRadioButton(QStringLiteral("In Online Output Only"), frmOutput);
    optOnline->setObjectName(QStringLiteral("optOnline"));
    optPrint = new QRadioButton(QStringLiteral("In Printed Output Only"), frmOutput);
    optPrint->setObjectName(QStringLiteral("optPrint"));
    auto* outLayout = new QVBoxLayout(frmOutput);
    outLayout->addWidget(optBoth);
    outLayout->addWidget(optOnline);
    outLayout->addWidget(optPrint);

    cmdImport = new QPushButton(QStringLiteral("Import Image"), this);
    cmdImport->setObjectName(QStringLiteral("cmdImport"));
    cmdImport->setAutoDefault(false);
    cmdInsert = new QPushButton(QStringLiteral("Insert"), this);
    cmdInsert->setObjectName(QStringLiteral("cmdInsert"));
    cmdInsert->setDefault(true);
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdCancel->setAutoDefault(false);

    auto* left = new QVBoxLayout;
    left->addWidget(lblImages);
    left->addWidget(filImages, 1);
    left->addWidget(cmdImport);
    auto* right = new QVBoxLayout;
    right->addWidget(lblPreview);
    right->addWidget(imgPreview);
    right->addWidget(lblPreviewMessage);
    auto* fields = new QGridLayout;
    fields->addWidget(lblFormat, 0, 0);
    fields->addWidget(cmbFormat, 0, 1);
    fields->addWidget(lblScale, 1, 0);
    fields->addWidget(txtScale, 1, 1);
    fields->addWidget(lblDesc, 2, 0);
    fields->addWidget(txtDescription, 2, 1);
    right->addLayout(fields);
    right->addWidget(frmOutput);
    right->addStretch(1);
    auto* columns = new QHBoxLayout;
    columns->addLayout(left, 1);
    columns->addLayout(right);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdInsert);
    buttons->addWidget(cmdCancel);
    auto* top = new QVBoxLayout(this);
    top->addLayout(columns);
    top->addLayout(buttons);

    connect(filImages, &QListWidget::currentRowChanged, this, [this] { filImages_Click(); });
    connect(cmdImport, &QPushButton::clicked, this, &frmImage::cmdImport_Click);
    connect(cmdInsert, &QPushButton::clicked, this, &frmImage::cmdInsert_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmImage::cmdCancel_Click);

    cdlOpen = [](QWidget* p) {
        QFileDialog dlg(p, QStringLiteral("Import Image"));
        dlg.setObjectName(QStringLiteral("cdlOpen"));
        dlg.setAcceptMode(QFileDialog::AcceptOpen);
        dlg.setFileMode(QFileDialog::ExistingFile);
        dlg.setNameFilter(QStringLiteral("Images (*.png *.jpg *.jpeg *.gif *.bmp *.tif *.tiff);;All files (*)"));
        return dialogsupport::execFileDialog(dlg, QStringLiteral("image")).value_or(QString());
    };
}

frmImage::~frmImage() = default;

void frmImage::ProjectFolder(const QString& folder)
{
    m_folder = folder;
    if (!m_folder.isEmpty() && !m_folder.endsWith(QLatin1Char('/')))
        m_folder += QLatin1Char('/');
}

void frmImage::refreshList()
{
    const QSignalBlocker block(filImages);
    filImages->clear();
    if (m_folder.isEmpty())
        return;
    const QStringList files = QDir(m_folder).entryList(QDir::Files, QDir::Name | QDir::IgnoreCase);
    filImages->addItems(files);
    filImages->setCurrentRow(-1);
}

bool frmImage::selectFile(const QString& name)
{
    const QList<QListWidgetItem*> found = filImages->findItems(name, Qt::MatchFixedString | Qt::MatchCaseSensitive);
    if (found.isEmpty())
        return false;
    {
        const QSignalBlocker block(filImages);
        filImages->setCurrentItem(found.first());
    }
    filImages_Click();
    return true;
}

void frmImage::load()
{
    if (m_loaded)
        return;
    m_loaded = true;
    refreshList();
    if (!m_ok || !m_ok->Change || !m_image)
        return;
    if (!m_image->FileName.isEmpty()) {
        QString name = m_image->FileName;
        name = name.mid(qMax(name.lastIndexOf(QLatin1Char('\\')), name.lastIndexOf(QLatin1Char('/'))) + 1);
        selectFile(name);
    }
    if (!m_image->ImageFormat.isEmpty()) {
        const int i = cmbFormat->findText(m_image->ImageFormat, Qt::MatchFixedString);
        if (i >= 0)
            cmbFormat->setCurrentIndex(i);
    }
    if (!m_image->ImageScale.isEmpty())
        txtScale->setText(m_image->ImageScale);
    if (!m_image->Description.isEmpty())
        txtDescription->setText(m_image->Description);
    if (m_image->OutputForm.isEmpty())
        optBoth->setChecked(true);
    else if (m_image->OutputForm == QLatin1String("online"))
        optOnline->setChecked(true);
    else if (m_image->OutputForm == QLatin1String("print"))
        optPrint->setChecked(true);
}

void frmImage::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    load();
}

void frmImage::showPreview(const QString& path)
{
    imgPreview->clear();
    lblPreviewMessage->clear();
    m_pxWidth = 0;
    m_pxHeight = 0;
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QImage image = reader.read();
    if (image.isNull()) {
        // The dialog stays usable; only the preview is missing.
        lblPreviewMessage->setText(QStringLiteral("Cannot read the image file \"") + QFileInfo(path).fileName() +
                                   QStringLiteral("\"."));
        return;
    }
    m_pxWidth = std::min(image.width(), 32767);
    m_pxHeight = std::min(image.height(), 32767);
    QPixmap pix = QPixmap::fromImage(image);
    // Larger pictures are scaled down to the box, keeping the proportion.
    if (pix.width() > kPreviewWidth || pix.height() > kPreviewHeight)
        pix = pix.scaled(kPreviewWidth, kPreviewHeight, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    imgPreview->setPixmap(pix);
}

void frmImage::filImages_Click()
{
    QListWidgetItem* item = filImages->currentItem();
    if (!item)
        return;
    const QString name = item->text();
    const QString format = elementhtml::formatForExtension(QFileInfo(name).suffix());
    // An unknown extension leaves the format as it was.
    if (!format.isEmpty())
        cmbFormat->setCurrentIndex(cmbFormat->findText(format));
    showPreview(m_folder + name);
}

void frmImage::cmdImport_Click()
{
    const QString path = cdlOpen ? cdlOpen(this) : QString();
    if (path.isEmpty())
        return;
    QFileInfo source(path);
    if (!source.exists()) {
        m_box->exclamation(QStringLiteral("File does not exist!"));
        return;
    }
    const QString target = m_folder + source.fileName();
    if (QFileInfo::exists(target)) {
        m_box->exclamation(QStringLiteral("File with same name already exists in image folder!"));
        return;
    }
    QDir().mkpath(m_folder);
    if (!QFile::copy(source.absoluteFilePath(), target)) {
        m_box->exclamation(QStringLiteral("File could not be copied!"));
        return;
    }
    refreshList();
    selectFile(source.fileName());
}

void frmImage::cmdInsert_Click()
{
    if (cmbFormat->currentText().isEmpty()) {
        m_box->exclamation(QStringLiteral("Image format is missing! Image may be not inserted!"));
        return;
    }
    if (m_image) {
        QListWidgetItem* item = filImages->currentItem();
        m_image->FileName = elementhtml::imageFileName(currentLanguage(), item ? item->text() : QString());
        m_image->ImageFormat = cmbFormat->currentText();
        m_image->Description = txtDescription->text();
        m_image->ImageScale = elementhtml::imageScale(txtScale->text());
        m_image->pxWidth = int16_t(m_pxWidth);
        m_image->pxHeight = int16_t(m_pxHeight);
        m_image->OutputForm = optOnline->isChecked()  ? QStringLiteral("online")
                              : optPrint->isChecked() ? QStringLiteral("print")
                                                      : QString();
    }
    if (m_ok)
        m_ok->Change = true;
    accept();
}

void frmImage::cmdCancel_Click()
{
    reject();
}

void frmImage::reject()
{
    if (m_ok)
        m_ok->Change = false;
    QDialog::reject();
}
