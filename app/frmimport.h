#pragma once
// Import Language: the master's tree beside the translated copy's, whose
// nodes are ticked for import, and the language to bring in. The checks,
// the ticks' rule and the rewrite live in exchange::LanguageImport; this
// form asks for the copy, shows both trees and waits while the work runs.
#include "booktree.h"
#include "cfolderbrowser.h"
#include "formbase.h"

#include <QHash>
#include <QString>

#include <functional>
#include <memory>

class QComboBox;
class QFrame;
class QLabel;
class QProgressBar;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;
class cProject;
namespace exchange {
class LanguageImport;
}

class frmImport : public FormBase {
    Q_OBJECT
public:
    // An open dialog: title, starting folder and filter in; the chosen file
    // out, "" for Cancel.
    using OpenFn = std::function<QString(QWidget* parent, const QString& title, const QString& folder,
                                         const QString& filter)>;

    // box: where messages go; a QtMsgBox on this form when null.
    explicit frmImport(MsgBox* box = nullptr, QWidget* parent = nullptr);
    ~frmImport() override;

    void SetProject(cProject* project) { m_project = project; }

    // The open dialog cdlOpen and the folder browser (null: the desktop's).
    OpenFn cdlOpen;
    cFolderBrowser::BrowseFn folderBrowser;

    // pbWork from 0 to count, at 0.
    void IncrProgressBar(int count);
    // The running import (null before a copy was chosen).
    exchange::LanguageImport* job() const { return m_job.get(); }
    // The node behind an item of trvOld or trvNew.
    NodePtr nodeOf(const QTreeWidgetItem* item) const;
    // The item of trvNew that shows a node.
    QTreeWidgetItem* newItemOf(const NodePtr& node) const;
    bool imported() const { return m_imported; }
    bool working() const { return m_working; }

    static QString askOpen(QWidget* parent, const QString& title, const QString& folder, const QString& filter);

    QLabel* lblOld;
    QTreeWidget* trvOld;
    QLabel* lblNew;
    QTreeWidget* trvNew;
    QLabel* lblLangs;
    QComboBox* cmbLangs;
    QPushButton* cmdImport;
    QPushButton* cmdCancel;
    QFrame* picWait;
    QLabel* Label4;
    QProgressBar* pbWork;

public slots:
    void cmdImport_Click();
    void cmdCancel_Click();
    // No way out while files are extracted or imported.
    void reject() override;

protected:
    void onLoad() override;
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void activate();
    bool chooseCopy(QString& path);
    QString open(const QString& folder);
    void fillTree(QTreeWidget* view, const BookTree& tree, bool checkable);
    void trvNew_NodeCheck(QTreeWidgetItem* item, int column);
    void refreshTicks();
    void beginWait(const QString& text);
    void endWait();
    void placeWait();

    cProject* m_project = nullptr;
    std::unique_ptr<exchange::LanguageImport> m_job;
    QHash<const QTreeWidgetItem*, NodeRef> m_nodes;
    QHash<const TreeNode*, QTreeWidgetItem*> m_newItems;
    bool m_filling = false;
    bool m_working = false;
    bool m_imported = false;
    bool m_placed = false;
};
