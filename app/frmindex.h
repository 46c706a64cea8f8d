#pragma once
// The keyword dialog: the index keywords of the topic on the surface as a
// tree of two levels; the text of index elements in and out.
#include "indexkeywords.h"

#include <QDialog>
#include <QPointer>

#include <functional>

class QAction;
class QMenu;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;
class cOKorCancel;
class cString;

class frmIndex : public QDialog {
    Q_OBJECT
public:
    explicit frmIndex(QWidget* parent = nullptr);
    ~frmIndex() override;

    void Indexes(cString* indexes) { m_indexes = indexes; }
    void OKorCancel(cOKorCancel* ok) { m_ok = ok; }
    // Form load: fills the tree; runs once, at the first show at the latest.
    void load();

    // The tree as keywords, and the index text it gives.
    indexkeywords::KeywordTree keywords() const;
    static QString keyOf(const QTreeWidgetItem* item);
    static QString tagOf(const QTreeWidgetItem* item);
    // The node that the menu commands work on.
    QTreeWidgetItem* currentNode() const { return m_current; }
    // A right click on item (null: on empty space): the menu with its entries.
    void rightClick(QTreeWidgetItem* item, const QPoint& globalPos);
    // Shows the popup (null: QMenu::exec).
    std::function<void(QMenu*, const QPoint&)> popup;

    QTreeWidget* trvIndex;
    QMenu* mnuInsert;
    QAction* mnuInsertPrimary;
    QAction* mnuInsertSecondary;
    QAction* mnuSep;
    QAction* mnuRemove;
    QPushButton* cmdOK;
    QPushButton* cmdCancel;

public slots:
    void mnuInsertPrimary_Click();
    void mnuInsertSecondary_Click();
    void mnuRemove_Click();
    void cmdOK_Click();
    void cmdCancel_Click();
    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    QTreeWidgetItem* newNode(QTreeWidgetItem* parent, QTreeWidgetItem* after, const QString& tag);
    void sortLevelOf(QTreeWidgetItem* item);
    cString* m_indexes = nullptr;
    cOKorCancel* m_ok = nullptr;
    QTreeWidgetItem* m_current = nullptr;
    bool m_loaded = false;
    bool m_sorting = false;
};
