#pragma once
// The tree control trvBook: a view of the session's BookTree, kept in step
// through its observer. It owns no book logic: clicks, drags and drops go to
// the owner through callbacks, which ask the session.
#include "booktree.h"

#include <QColor>
#include <QHash>
#include <QPointer>
#include <QTreeWidget>

#include <functional>

class BookTreeWidget : public QTreeWidget, public BookTree::Observer {
    Q_OBJECT
public:
    // The drag's data: the source node's full path.
    static const QString kMimeType;

    explicit BookTreeWidget(QWidget* parent = nullptr);
    ~BookTreeWidget() override;

    // Starts following a model (null: none); the view is rebuilt from it.
    void setBookTree(BookTree* tree);
    BookTree* bookTree() const { return m_tree; }

    NodePtr nodeAt(const QPoint& viewportPos) const;
    NodePtr nodeOf(const QTreeWidgetItem* item) const;
    QTreeWidgetItem* itemOf(const NodePtr& node) const;
    // Brings deferred looks (expansion of new nodes) up to date now.
    void sync();

    // Whether the tree takes drops and starts drags.
    void setDropsEnabled(bool on);
    bool dropsEnabled() const { return m_dropsEnabled; }
    // The node highlighted as a valid target while a drag hovers.
    NodePtr dropTarget() const { return nodeOf(m_dropTarget); }

    // Mouse-up on the tree: node (null on empty space), button, where.
    std::function<void(const NodePtr&, Qt::MouseButton, const QPoint& globalPos)> onMouseUp;
    // The current node was changed by the keyboard.
    std::function<void(const NodePtr&)> onKeySelect;
    // F2 or Delete on the tree; true when taken.
    std::function<bool(int key)> onCommandKey;
    std::function<bool(const NodePtr& source, const NodePtr& target)> canDrop;
    std::function<void(const NodePtr& source, const NodePtr& target)> onDrop;
    // A node's background (an invalid colour: the view's own).
    std::function<QColor(const NodePtr&)> background;

    // BookTree::Observer
    void nodeAdded(const NodePtr& node) override;
    void nodeRemoving(const NodePtr& node) override;
    void nodeChanged(const NodePtr& node) override;
    void selectionChanged(const NodePtr& node) override;
    void cleared() override;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void startDrag(Qt::DropActions supportedActions) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    QTreeWidgetItem* buildItem(const NodePtr& node);
    void insertItem(const NodePtr& node);
    void forget(QTreeWidgetItem* item, bool remember);
    void refreshItem(QTreeWidgetItem* item);
    void scheduleSync();
    NodePtr sourceOf(const QMimeData* data) const;
    void setDropTarget(QTreeWidgetItem* item);

    BookTree* m_tree = nullptr;
    QHash<const TreeNode*, QTreeWidgetItem*> m_items;
    QHash<QTreeWidgetItem*, NodeRef> m_nodes;
    // Items whose node's first look (Expanded) is still to be applied.
    QList<QTreeWidgetItem*> m_fresh;
    // Expansion of a branch that is being moved, to give it back.
    QHash<const TreeNode*, bool> m_moving;
    QTreeWidgetItem* m_dropTarget = nullptr;
    bool m_syncPending = false;
    bool m_selecting = false;
    bool m_dropsEnabled = true;
    bool m_rightPressed = false;
};
