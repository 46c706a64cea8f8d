#pragma once
// Context Help ID Assigning: the book's topics and the documented
// application's forms side by side, and the record dialog of one form. The
// rules and the writing live in the workbench model of contexthelp/; these
// forms show its trees and hand it the clicks.
#include "booktree.h"
#include "ccontexthelp.h"
#include "dialogsupport.h"
#include "formbase.h"

#include <functional>
#include <memory>

class BookTreeWidget;
class ContextHelpWorkbench;
class QLabel;
class QLineEdit;
class QPushButton;
class cOKorCancel;
class cProject;

class frmContextHelpRecord : public FormBase {
    Q_OBJECT
public:
    explicit frmContextHelpRecord(MsgBox* box = nullptr, QWidget* parent = nullptr);

    // The record the dialog shows and, after OK, fills.
    void Form(cContextHelp* record) { m_record = record; }
    void OKorCancel(cOKorCancel* ok) { m_ok = ok; }

    QLineEdit* txtCaption;
    QLineEdit* txtID;
    QLineEdit* txtName;
    QPushButton* cmdInsert;
    QPushButton* cmdCancel;

public slots:
    void cmdInsert_Click();
    void cmdCancel_Click();

protected:
    void onLoad() override;

private:
    cContextHelp* m_record = nullptr;
    cOKorCancel* m_ok = nullptr;
};

class frmContextHelp : public FormBase {
    Q_OBJECT
public:
    explicit frmContextHelp(MsgBox* box = nullptr, QWidget* parent = nullptr);
    ~frmContextHelp() override;

    void SetProject(cProject* project) { m_project = project; }
    ContextHelpWorkbench* workbench() const { return m_bench.get(); }

    // The file chooser of Load File; tests replace it.
    dialogsupport::FileAskFn cdlOpen = dialogsupport::askOpenFile;
    // Called with each record dialog before it is shown (tests fill it in).
    std::function<void(frmContextHelpRecord*)> prepareRecord;

    BookTreeWidget* trvTopics;
    BookTreeWidget* trvForms;
    QLabel* lblNumForms;
    QPushButton* cmdAdd;
    QPushButton* cmdRemove;
    QPushButton* cmdLoad;
    QPushButton* cmdClear;
    QPushButton* cmdNew;
    QPushButton* cmdEdit;
    QPushButton* cmdDelete;
    QPushButton* cmdOK;
    QPushButton* cmdCancel;

public slots:
    void cmdAdd_Click();
    void cmdRemove_Click();
    void cmdLoad_Click();
    void cmdClear_Click();
    void cmdNew_Click();
    void cmdEdit_Click();
    void cmdDelete_Click();
    void cmdOK_Click();
    void cmdCancel_Click();

protected:
    // Reads the forms file and the book into the two trees.
    void onLoad() override;
    void showEvent(QShowEvent* event) override;

private:
    void formClicked(const NodePtr& node);
    void topicClicked(const NodePtr& node);
    // The trees follow the model; the group's colour and the count are read anew.
    void refresh();
    bool recordDialog(cContextHelp& record);

    cProject* m_project = nullptr;
    std::unique_ptr<ContextHelpWorkbench> m_bench;
    bool m_placed = false;
};
