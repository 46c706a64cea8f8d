#pragma once
// Translation through CAT tools in the window: writes the XLIFF file of a
// further language, or brings a filled one back in. The work is the
// exchange layer's; the form picks the language and the file and shows the
// progress and the report.
#include "dialogsupport.h"
#include "formbase.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class cProject;

class frmXliff : public FormBase {
    Q_OBJECT
public:
    enum class Mode { Export, Import };

    frmXliff(Mode mode, MsgBox* box = nullptr, QWidget* parent = nullptr);

    void SetProject(cProject* project) { m_project = project; }
    // The file choosers (null: the desktop's own).
    dialogsupport::FileAskFn cdlSave;
    dialogsupport::FileAskFn cdlOpen;
    // Whether the last run wrote or imported.
    bool succeeded() const { return m_succeeded; }

    QComboBox* cmbLanguage = nullptr; // export only
    QLineEdit* txtFile = nullptr;
    QPushButton* cmdBrowse = nullptr;
    QCheckBox* chkComplete = nullptr; // import only
    QLabel* lblStatus = nullptr;
    QProgressBar* pbWork = nullptr;
    QPushButton* cmdInsert = nullptr;
    QPushButton* cmdCancel = nullptr;

protected:
    // Closing the window while a run goes on asks it to stop instead.
    void closeEvent(QCloseEvent* event) override;
    void onLoad() override;

private:
    void browse();
    void run();
    QString suggestedFile() const;

    Mode m_mode;
    cProject* m_project = nullptr;
    bool m_succeeded = false;
    bool m_running = false;
};
