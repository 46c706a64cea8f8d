#pragma once
// Writes a list of files and folders into a zip file that the user names:
// the Backup Project command, and the last step of an export. The work
// starts when the form is shown and the form closes when it is done.
#include "dialogsupport.h"
#include "formbase.h"

#include <QString>

class QLabel;
class QProgressBar;
class QPushButton;

class frmBackup : public FormBase {
    Q_OBJECT
public:
    // The filter of the save dialog, as the file dialog wants it.
    static const QString kZipFilter;

    // box: where messages go; a QtMsgBox on this form when null.
    explicit frmBackup(MsgBox* box = nullptr, QWidget* parent = nullptr);

    // Entries separated by ";": files, and folders with a closing slash.
    QString Files;
    // The title; "Backup" reports success, any other caption leaves that
    // to the caller.
    QString FormCaption;
    // The text of Label4.
    QString Message;
    // Names in the archive are relative to this folder (the one that holds
    // the project file); empty: the folder of the last entry.
    QString BaseFolder;

    // The save dialog (null: the desktop's own): nullopt or "" for Cancel.
    dialogsupport::FileAskFn cdlSave;

    // pbWork from 0 to count, at 0.
    void IncrProgressBar(int count);
    // Whether an archive was written.
    bool written() const { return m_written; }
    bool working() const { return m_working; }

    // The save dialog with overwrite prompt.
    static std::optional<QString> askSaveZip(QWidget* parent, const QString& folder, const QString& filter);

    QLabel* Label4;
    QProgressBar* pbWork;
    QPushButton* cmdStop;

public slots:
    // No way out while the archive is being written.
    void reject() override;

protected:
    void onLoad() override;
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void activate();
    QString baseFolder() const;

    bool m_written = false;
    bool m_working = false;
    bool m_placed = false;
};
