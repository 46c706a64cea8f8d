#pragma once
// Image Properties: chooses an image of the project's image folder for the
// current language, imports files into it, previews them and sets the values
// of the image element. Exchanges a cImage and a cOKorCancel with the Image
// command. Every format is previewed through Qt's image readers.
#include <QDialog>

#include <functional>
#include <memory>

class MsgBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;
class cImage;
class cOKorCancel;

class frmImage : public QDialog {
    Q_OBJECT
public:
    explicit frmImage(MsgBox* box = nullptr, QWidget* parent = nullptr);
    ~frmImage() override;

    void Element(cImage* image) { m_image = image; }
    void OKorCancel(cOKorCancel* ok) { m_ok = ok; }
    // The image folder, complete with the language.
    void ProjectFolder(const QString& folder);
    // Form load; runs once, at the first show at the latest.
    void load();
    // The file chooser of Import Image; an empty result is a Cancel.
    std::function<QString(QWidget* parent)> cdlOpen;
    // Selects a file of the list by name and runs its click; false when the
    // list has no such file.
    bool selectFile(const QString& name);

    QListWidget* filImages;
    QLabel* imgPreview;
    QLabel* lblPreviewMessage;
    QComboBox* cmbFormat;
    QLineEdit* txtScale;
    QLineEdit* txtDescription;
    QGroupBox* frmOutput;
    QRadioButton* optBoth;
    QRadioButton* optOnline;
    QRadioButton* optPrint;
    QPushButton* cmdImport;
    QPushButton* cmdInsert;
    QPushButton* cmdCancel;

    // The size the last preview read, 0 when the file could not be read.
    int previewWidth() const { return m_pxWidth; }
    int previewHeight() const { return m_pxHeight; }

public slots:
    void filImages_Click();
    void cmdImport_Click();
    void cmdInsert_Click();
    void cmdCancel_Click();
    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void refreshList();
    void showPreview(const QString& path);
    std::unique_ptr<MsgBox> m_ownBox;
    MsgBox* m_box;
    cImage* m_image = nullptr;
    cOKorCancel* m_ok = nullptr;
    QString m_folder;
    bool m_loaded = false;
    int m_pxWidth = 0;
    int m_pxHeight = 0;
};
