#include "booktreewidget.h"

#include "icons.h"

#include <QContextMenuEvent>
#include <QDrag>
#include <QDragEnterEvent>
#include <QHeaderView>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QTimer>

#include <algorithm>
#include <functional>

const QString BookTreeWidget::kMimeType = QStringLiteral("application/x-quillary-node");

namespace {

// Reads text and picture from the node at paint time, so a node whose
// images or tag were set after it was added still shows right.
class NodeDelegate : public QStyledItemDelegate {
public:
    explicit NodeDelegate(BookTreeWidget* view) : QStyledItemDelegate(view), m_view(view) {}

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        QTreeWidgetItem* item = m_view->itemFromIndex(index);
        NodePtr node = m_view->nodeOf(item);
        if (!node)
            return;
        if (node == m_view->dropTarget())
            option->state |= QStyle::State_Selected;
        int image = node->Image;
        if ((option->state & QStyle::State_Selected) && node->SelectedImage)
            image = node->SelectedImage;
        else if (item->isExpanded() && node->ExpandedImage)
            image = node->ExpandedImage;
        option->text = node->Text;
        if (m_view->background) {
            const QColor c = m_view->background(node);
            if (c.isValid())
                option->backgroundBrush = c;
        }
        option->icon = appicons::treeImage(image);
        if (!option->icon.isNull())
            option->features |= QStyleOptionViewItem::HasDecoration;
    }

private:
    BookTreeWidget* m_view;
};

} // namespace

BookTreeWidget::BookTreeWidget(QWidget* parent) : QTreeWidget(parent)
{
    setObjectName(QStringLiteral("trvBook"));
    setHeaderHidden(true);
    setColumnCount(1);
    setIconSize(QSize(16, 16));
    setUniformRowHeights(true);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setItemDelegate(new NodeDelegate(this));
    setDragEnabled(true);
    setAcceptDrops(true);
    viewport()->setAcceptDrops(true);
    setDropIndicatorShown(false);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    setAutoExpandDelay(700);
    setAnimated(false);
    header()->setStretchLastSection(true);
}

BookTreeWidget::~BookTreeWidget()
{
    if (m_tree)
        m_tree->setObserver(nullptr);
}

void BookTreeWidget::setBookTree(BookTree* tree)
{
    if (m_tree)
        m_tree->setObserver(nullptr);
    cleared();
    m_tree = tree;
    if (!m_tree)
        return;
    m_tree->setObserver(this);
    for (const NodePtr& root : m_tree->Roots())
        insertItem(root);
    scheduleSync();
    selectionChanged(m_tree->SelectedItem());
}

NodePtr BookTreeWidget::nodeOf(const QTreeWidgetItem* item) const
{
    if (!item)
        return nullptr;
    NodePtr n = m_nodes.value(const_cast<QTreeWidgetItem*>(item)).lock();
    return n && !n->Removed() ? n : nullptr;
}

QTreeWidgetItem* BookTreeWidget::itemOf(const NodePtr& node) const
{
    return node ? m_items.value(node.get()) : nullptr;
}

NodePtr BookTreeWidget::nodeAt(const QPoint& viewportPos) const
{
    return nodeOf(itemAt(viewportPos));
}

QTreeWidgetItem* BookTreeWidget::buildItem(const NodePtr& node)
{
    auto* item = new QTreeWidgetItem;
    item->setText(0, node->Text);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemIsDropEnabled);
    m_items.insert(node.get(), item);
    m_nodes.insert(item, node);
    for (const NodePtr& child : node->Children())
        item->addChild(buildItem(child));
    return item;
}

void BookTreeWidget::insertItem(const NodePtr& node)
{
    if (!node || m_items.contains(node.get()))
        return;
    NodePtr parent = node->Parent();
    QTreeWidgetItem* parentItem = parent ? itemOf(parent) : nullptr;
    if (parent && !parentItem)
        return;
    QTreeWidgetItem* item = buildItem(node);
    int index = node->Index();
    if (!parent) {
        const auto& roots = m_tree->Roots();
        index = int(std::find(roots.begin(), roots.end(), node) - roots.begin());
    }
    if (parentItem)
        parentItem->insertChild(qBound(0, index, parentItem->childCount()), item);
    else
        insertTopLevelItem(qBound(0, index, topLevelItemCount()), item);

    // A moved branch keeps how it was opened; a new node gets its own look.
    std::function<void(QTreeWidgetItem*)> apply = [&](QTreeWidgetItem* it) {
        NodePtr n = nodeOf(it);
        auto memo = n ? m_moving.find(n.get()) : m_moving.end();
        if (memo != m_moving.end())
            it->setExpanded(memo.value());
        else
            m_fresh.append(it);
        for (int i = 0; i < it->childCount(); ++i)
            apply(it->child(i));
    };
    apply(item);
}

void BookTreeWidget::forget(QTreeWidgetItem* item, bool remember)
{
    for (int i = 0; i < item->childCount(); ++i)
        forget(item->child(i), remember);
    NodePtr n = m_nodes.value(item).lock();
    if (n && remember)
        m_moving.insert(n.get(), item->isExpanded());
    for (auto it = m_items.begin(); it != m_items.end();) {
        if (it.value() == item)
            it = m_items.erase(it);
        else
            ++it;
    }
    m_nodes.remove(item);
    m_fresh.removeAll(item);
    if (m_dropTarget == item)
        m_dropTarget = nullptr;
}

void BookTreeWidget::refreshItem(QTreeWidgetItem* item)
{
    if (NodePtr n = nodeOf(item))
        item->setText(0, n->Text);
}

void BookTreeWidget::scheduleSync()
{
    if (m_syncPending)
        return;
    m_syncPending = true;
    QTimer::singleShot(0, this, &BookTreeWidget::sync);
}

void BookTreeWidget::sync()
{
    m_syncPending = false;
    const QList<QTreeWidgetItem*> fresh = m_fresh;
    m_fresh.clear();
    for (QTreeWidgetItem* item : fresh) {
        NodePtr n = nodeOf(item);
        if (n && n->Expanded)
            item->setExpanded(true);
        refreshItem(item);
    }
    m_moving.clear();
    viewport()->update();
}

// --- observer ----------------------------------------------------------------

void BookTreeWidget::nodeAdded(const NodePtr& node)
{
    insertItem(node);
    scheduleSync();
}

void BookTreeWidget::nodeRemoving(const NodePtr& node)
{
    QTreeWidgetItem* item = itemOf(node);
    if (!item)
        return;
    forget(item, true);
    scheduleSync();
    delete item;
}

void BookTreeWidget::nodeChanged(const NodePtr& node)
{
    if (QTreeWidgetItem* item = itemOf(node))
        refreshItem(item);
    viewport()->update();
}

void BookTreeWidget::selectionChanged(const NodePtr& node)
{
    m_selecting = true;
    QTreeWidgetItem* item = itemOf(node);
    if (item) {
        for (QTreeWidgetItem* p = item->parent(); p; p = p->parent())
            p->setExpanded(true);
        setCurrentItem(item);
        scrollToItem(item);
    } else {
        clearSelection();
        setCurrentItem(nullptr);
    }
    m_selecting = false;
    viewport()->update();
}

void BookTreeWidget::cleared()
{
    m_items.clear();
    m_nodes.clear();
    m_fresh.clear();
    m_moving.clear();
    m_dropTarget = nullptr;
    clear();
}

// --- mouse and keyboard -------------------------------------------------------

void BookTreeWidget::mousePressEvent(QMouseEvent* event)
{
    // The right button selects through the owner, at mouse-up.
    if (event->button() == Qt::RightButton) {
        m_rightPressed = true;
        event->accept();
        return;
    }
    QTreeWidget::mousePressEvent(event);
}

void BookTreeWidget::mouseReleaseEvent(QMouseEvent* event)
{
    const Qt::MouseButton button = event->button();
    if (button == Qt::RightButton) {
        if (!m_rightPressed)
            return;
        m_rightPressed = false;
        event->accept();
    } else {
        QTreeWidget::mouseReleaseEvent(event);
    }
    NodePtr node = nodeAt(event->position().toPoint());
    if (onMouseUp)
        onMouseUp(node, button, event->globalPosition().toPoint());
}

void BookTreeWidget::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::RightButton) {
        m_rightPressed = true;
        event->accept();
        return;
    }
    QTreeWidget::mouseDoubleClickEvent(event);
}

void BookTreeWidget::keyPressEvent(QKeyEvent* event)
{
    if ((event->key() == Qt::Key_F2 || event->key() == Qt::Key_Delete) &&
        !(event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier | Qt::MetaModifier)) &&
        onCommandKey && onCommandKey(event->key())) {
        event->accept();
        return;
    }
    QTreeWidgetItem* before = currentItem();
    QTreeWidget::keyPressEvent(event);
    QTreeWidgetItem* after = currentItem();
    if (after && after != before && !m_selecting && onKeySelect)
        onKeySelect(nodeOf(after));
}

void BookTreeWidget::contextMenuEvent(QContextMenuEvent* event)
{
    // Menus open at mouse-up; only the keyboard's menu key opens one here.
    event->accept();
    if (event->reason() != QContextMenuEvent::Keyboard || !onMouseUp)
        return;
    QTreeWidgetItem* item = currentItem();
    QPoint at = item ? visualItemRect(item).center() : QPoint(8, 8);
    onMouseUp(nodeOf(item), Qt::RightButton, viewport()->mapToGlobal(at));
}

// --- drag and drop ---------------------------------------------------------------

void BookTreeWidget::setDropsEnabled(bool on)
{
    m_dropsEnabled = on;
    setAcceptDrops(on);
    viewport()->setAcceptDrops(on);
    setDragEnabled(on);
    if (!on)
        setDropTarget(nullptr);
}

void BookTreeWidget::setDropTarget(QTreeWidgetItem* item)
{
    if (m_dropTarget == item)
        return;
    m_dropTarget = item;
    viewport()->update();
}

NodePtr BookTreeWidget::sourceOf(const QMimeData* data) const
{
    if (!m_tree || !data || !data->hasFormat(kMimeType))
        return nullptr;
    return m_tree->FindPath(QString::fromUtf8(data->data(kMimeType)));
}

void BookTreeWidget::startDrag(Qt::DropActions)
{
    if (!m_dropsEnabled)
        return;
    QTreeWidgetItem* item = currentItem();
    NodePtr node = nodeOf(item);
    if (!node)
        return;
    auto* data = new QMimeData;
    data->setData(kMimeType, node->FullPath().toUtf8());
    auto* drag = new QDrag(this);
    drag->setMimeData(data);
    drag->setPixmap(appicons::treePixmap(node->Image, 16));
    drag->exec(Qt::MoveAction, Qt::MoveAction);
    setDropTarget(nullptr);
    // Hovering moved the view's highlight only; show the model's selection.
    if (m_tree)
        selectionChanged(m_tree->SelectedItem());
}

void BookTreeWidget::dragEnterEvent(QDragEnterEvent* event)
{
    if (!m_dropsEnabled || !sourceOf(event->mimeData())) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::MoveAction);
    event->accept();
}

void BookTreeWidget::dragMoveEvent(QDragMoveEvent* event)
{
    // The base opens closed chapters and scrolls near the edges.
    QTreeWidget::dragMoveEvent(event);
    const QPoint pos = event->position().toPoint();
    NodePtr source = sourceOf(event->mimeData());
    NodePtr target = nodeAt(pos);
    if (m_dropsEnabled && source && target && canDrop && canDrop(source, target)) {
        setDropTarget(itemOf(target));
        event->setDropAction(Qt::MoveAction);
        event->accept(visualItemRect(itemOf(target)));
    } else {
        setDropTarget(nullptr);
        event->ignore();
    }
}

void BookTreeWidget::dragLeaveEvent(QDragLeaveEvent* event)
{
    setDropTarget(nullptr);
    QTreeWidget::dragLeaveEvent(event);
}

void BookTreeWidget::dropEvent(QDropEvent* event)
{
    stopAutoScroll();
    setDropTarget(nullptr);
    NodePtr source = sourceOf(event->mimeData());
    NodePtr target = nodeAt(event->position().toPoint());
    if (!m_dropsEnabled || !source || !target || !canDrop || !canDrop(source, target)) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::MoveAction);
    event->accept();
    // The move asks questions and rewrites files: it runs after the drag
    // has ended, not inside the platform's drag loop.
    NodeRef s = source, t = target;
    QTimer::singleShot(0, this, [this, s, t] {
        NodePtr a = s.lock(), b = t.lock();
        if (a && b && !a->Removed() && !b->Removed() && onDrop)
            onDrop(a, b);
    });
}
