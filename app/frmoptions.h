#pragma once
// Settings: the HTML Help compiler's path and the three colours of the
// editing surface, kept in conf.xml. A view over cOptions, which holds the
// checks and writes the file.
#include "dialogsupport.h"
#include "options.h"

#include <QDialog>

#include <memory>

class MsgBox;
class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;

class frmOptions : public QDialog {
    Q_OBJECT
public:
    // Where lblDownload leads: the package that holds chmcmd.
    static const QString kDownloadUrl;

    // box: where messages go; a QtMsgBox on this form when null.
    explicit frmOptions(MsgBox* box = nullptr, QWidget* parent = nullptr);
    ~frmOptions() override;

    // conf.xml to edit instead of the user's one.
    void setConfigFile(const QString& path) { m_confPath = path; }
    // The desktop settings file to use instead of the user's one.
    void setDesktopFile(const QString& path) { m_desktopFile = path; }
    // Form load: reads conf.xml. Runs once, at the first show at the latest.
    void load();
    cOptions& model() { return m_model; }

    // Replaceable choosers (null: the platform dialogs, the desktop).
    dialogsupport::FileAskFn cdlOpen;
    dialogsupport::ColorAskFn cdlColor;
    dialogsupport::OpenUrlFn openUrl;

    QLineEdit* txtFile;
    QPushButton* cmdOpen;
    QPushButton* cmdAutoFind;
    QPushButton* picOnline;
    QPushButton* picPrint;
    QPushButton* picAnchor;
    QLabel* lblDownload;
    QLabel* lblPlacement;
    QCheckBox* chkReopen;
    QPushButton* cmdOK;
    QPushButton* cmdCancel;

public slots:
    void cmdOpen_Click();
    void cmdAutoFind_Click();
    void cmdOK_Click();
    void cmdCancel_Click();
    void lblDownload_Click();
    void pickColor(QPushButton* picture);

protected:
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showValues();

    std::unique_ptr<MsgBox> m_ownBox;
    MsgBox* m_box;
    cOptions m_model;
    QString m_confPath;
    QString m_desktopFile;
    bool m_loaded = false;
    bool m_placed = false;
};
