#pragma once
// Create Output: the author picks a language and a format; the dialog then
// turns into the running log of the publishing run. A view over cOutput, which
// holds the preflight and the pipelines; the log grows while they run, with
// the window alive and its buttons disabled.
#include <vector>
#include "dialogsupport.h"
#include "outputlog.h"
#include "outputproperties.h"

#include <QDialog>

#include <atomic>
#include <memory>

class MsgBox;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QRadioButton;
class cOutput;
class cProject;
class frmOutputProperties;

class frmOutput : public QDialog {
    Q_OBJECT
public:
    // box: where messages and questions go; a QtMsgBox on this form when null.
    explicit frmOutput(MsgBox* box = nullptr, QWidget* parent = nullptr);
    ~frmOutput() override;

    void SetProject(cProject* project) { m_project = project; }
    // Form load: the languages, the output properties (hidden) with their
    // last state. Runs once, at the first show at the latest.
    void load();

    // Opens the result (null: the desktop's default application).
    dialogsupport::OpenUrlFn openResult;

    cOutputProperties& properties() { return m_props; }
    // The properties dialog, made at load.
    frmOutputProperties* propertiesForm() const { return m_propsForm; }
    const OutputLog& log() const { return m_log; }
    cOutput* output() const { return m_output.get(); }
    bool running() const { return m_running; }
    QString resultFile() const;

    // Choice view.
    QLabel* Label1;
    QComboBox* cmbLanguages;
    QGroupBox* Frame1;
    QRadioButton* optHTMLHelp;
    QRadioButton* optPDF;
    QRadioButton* optHTML;
    QRadioButton* optHTMLChunk;
    QRadioButton* optWebHelp;
    QRadioButton* optEPUB;
    QCheckBox* chkDocBook;
    QPushButton* cmdOK;
    QPushButton* cmdCancel;
    QPushButton* cmdProperties;
    // Log view.
    QPlainTextEdit* txtOut;
    // The chapters done of a chunked run; hidden until one reports.
    QProgressBar* pbChapters;
    QPushButton* cmdClose;
    QPushButton* cmdShowResult;
    // Stops the run: enabled while it runs.
    QPushButton* cmdStop;

public slots:
    void cmdOK_Click();
    void cmdCancel_Click();
    void cmdProperties_Click();
    void cmdClose_Click();
    void cmdStop_Click();
    void cmdShowResult_Click();
    // No way out while a run is in progress.
    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    std::vector<QRadioButton*> m_formatOptions; // in the order of cOutput::formats()
    QString formatWord() const;
    QString formatKey() const;
    void showLogView();
    void append(const QString& piece, bool red);
    void setChoiceEnabled(bool on);

    std::unique_ptr<MsgBox> m_ownBox;
    MsgBox* m_box;
    cProject* m_project = nullptr;
    cOutputProperties m_props;
    OutputLog m_log;
    std::unique_ptr<cOutput> m_output;
    frmOutputProperties* m_propsForm = nullptr;
    QWidget* m_choice = nullptr;
    QWidget* m_logPane = nullptr;
    bool m_loaded = false;
    bool m_placed = false;
    bool m_logShown = false;
    bool m_running = false;
    std::atomic<bool> m_cancel{false};
    // Font metrics made so far at the first PDF (the log's marks).
    int m_fontMarks = 0;
};
