#pragma once
// Verification Results: how far each language of the project is, as four
// pages (unfinished topics, missing images, used and redundant images of the
// main language) shown in a web view, with print and print preview. A view
// over cVerification, which builds the pages and their temporary files.
#include <QDialog>

#include <functional>
#include <memory>

class MsgBox;
class QPrinter;
class QPushButton;
class QRadioButton;
class QWebEngineView;
class cProject;
class cVerification;

class frmVerify : public QDialog {
    Q_OBJECT
public:
    // box: where messages go; a QtMsgBox on this form when null.
    explicit frmVerify(MsgBox* box = nullptr, QWidget* parent = nullptr);
    ~frmVerify() override;

    void SetProject(cProject* project) { m_project = project; }
    // Form load: builds the report and shows the first page. Runs once, at
    // the first show at the latest.
    void load();
    cVerification* model() const { return m_model.get(); }
    // The page shown (0 to 3, the order of the options).
    int page() const { return m_page; }

    // Printing of the view: preview true for cmdPreview. Null: the print
    // dialog or the print preview dialog.
    using PrintFn = std::function<void(QWebEngineView* view, bool preview)>;
    PrintFn printer;

    QRadioButton* optTopics;
    QRadioButton* optMissing;
    QRadioButton* optAll;
    QRadioButton* optRedundant;
    QWebEngineView* brwResults;
    QPushButton* cmdPreview;
    QPushButton* cmdPrint;
    QPushButton* cmdClose;

public slots:
    void showPage(int page);
    void cmdPreview_Click();
    void cmdPrint_Click();
    void cmdClose_Click();
    void done(int result) override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void printInto(QPrinter* printer);

    std::unique_ptr<MsgBox> m_ownBox;
    MsgBox* m_box;
    cProject* m_project = nullptr;
    std::unique_ptr<cVerification> m_model;
    int m_page = -1;
    bool m_loaded = false;
    bool m_placed = false;
};
