#pragma once
// Export for translation: shown by the main window, it checks, locks and
// numbers the project, then hands the file list to frmBackup, which writes
// the package. The work starts when the form is shown; it closes when done.
#include "dialogsupport.h"
#include "formbase.h"

#include <QString>

#include <functional>

class BookTree;
class QLabel;
class QProgressBar;
class QPushButton;
class cProject;

class frmExport : public FormBase {
    Q_OBJECT
public:
    // An input box: title and prompt in, the text out ("" for Cancel).
    using InputFn = std::function<QString(QWidget* parent, const QString& title, const QString& prompt)>;

    // box: where messages go; a QtMsgBox on this form when null.
    explicit frmExport(MsgBox* box = nullptr, QWidget* parent = nullptr);

    void SetProject(cProject* project) { m_project = project; }
    void SetTree(BookTree* tree) { m_tree = tree; }

    // The lock comment's input box (null: the desktop's own).
    InputFn inputBox;
    // The save dialog of the package, handed to frmBackup (null: its own).
    dialogsupport::FileAskFn cdlSave;

    // pbUpdate from 0 to count, at 0.
    void IncrProgressBar(int count);
    // Whether the run ended with the project locked and a package written.
    bool locked() const { return m_locked; }
    bool packageWritten() const { return m_packageWritten; }
    bool working() const { return m_working; }

    // The desktop's input box with a wrapped prompt.
    static QString askText(QWidget* parent, const QString& title, const QString& prompt);

    QLabel* Label4;
    QProgressBar* pbUpdate;
    QPushButton* cmdStop;

public slots:
    // No way out while the export runs.
    void reject() override;

protected:
    void onLoad() override;
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void activate();

    cProject* m_project = nullptr;
    BookTree* m_tree = nullptr;
    bool m_locked = false;
    bool m_packageWritten = false;
    bool m_working = false;
    bool m_placed = false;
};
