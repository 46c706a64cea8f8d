#include "frmindex.h"

#include "holders.h"

#include <QAction>
#include <QHBoxLayout>
#include <QMenu>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

using namespace indexkeywords;

namespace {
constexpr int kKeyRole = Qt::UserRole;
constexpr int kTagRole = Qt::UserRole + 1;
const QString kNewKeyword = QStringLiteral("New keyword");
} // namespace

frmIndex::frmIndex(QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmIndex"));
    setWindowTitle(QStringLiteral("Index Keywords"));

    trvIndex = new QTreeWidget(this);
    trvIndex->setObjectName(QStringLiteral("trvIndex"));
    trvIndex->setHeaderHidden(true);
    trvIndex->setMinimumSize(320, 300);
    trvIndex->setContextMenuPolicy(Qt::CustomContextMenu);
    trvIndex->setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::SelectedClicked);

    mnuInsert = new QMenu(this);
    mnuInsert->setObjectName(QStringLiteral("mnuInsert"));
    mnuInsertPrimary = mnuInsert->addAction(QStringLiteral("Insert &Primary Keyword"));
    mnuInsertPrimary->setObjectName(QStringLiteral("mnuInsertPrimary"));
    mnuInsertSecondary = mnuInsert->addAction(QStringLiteral("Insert &Secondary Keyword"));
    mnuInsertSecondary->setObjectName(QStringLiteral("mnuInsertSecondary"));
    mnuSep = mnuInsert->addSeparator();
    mnuSep->setObjectName(QStringLiteral("mnuSep"));
    mnuRemove = mnuInsert->addAction(QStringLiteral("&Remove Keyword"));
    mnuRemove->setObjectName(QStringLiteral("mnuRemove"));

    cmdOK = new QPushButton(QStringLiteral("OK"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setAutoDefault(false);
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdCancel->setAutoDefault(false);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdCancel);
    auto* top = new QVBoxLayout(this);
    top->addWidget(trvIndex, 1);
    top->addLayout(buttons);

    connect(mnuInsertPrimary, &QAction::triggered, this, &frmIndex::mnuInsertPrimary_Click);
    connect(mnuInsertSecondary, &QAction::triggered, this, &frmIndex::mnuInsertSecondary_Click);
    connect(mnuRemove, &QAction::triggered, this, &frmIndex::mnuRemove_Click);
    connect(cmdOK, &QPushButton::clicked, this, &frmIndex::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmIndex::cmdCancel_Click);
    connect(trvIndex, &QWidget::customContextMenuRequested, this, [this](const QPoint& pos) {
        rightClick(trvIndex->itemAt(pos), trvIndex->viewport()->mapToGlobal(pos));
    });
    // The tree stays expanded.
    connect(trvIndex, &QTreeWidget::itemCollapsed, this, [](QTreeWidgetItem* item) { item->setExpanded(true); });
    // The end of a label edit sorts the level by text.
    connect(trvIndex, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item) {
        if (!m_sorting)
            sortLevelOf(item);
    });
    connect(trvIndex, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem* item) { m_current = item; });
}

frmIndex::~frmIndex() = default;

QString frmIndex::keyOf(const QTreeWidgetItem* item)
{
    return item ? item->data(0, kKeyRole).toString() : QString();
}

QString frmIndex::tagOf(const QTreeWidgetItem* item)
{
    return item ? item->data(0, kTagRole).toString() : QString();
}

void frmIndex::load()
{
    if (m_loaded)
        return;
    m_loaded = true;
    if (!m_indexes || m_indexes->TextString.isEmpty())
        return;
    const QSignalBlocker block(trvIndex);
    for (const Keyword& p : parseIndexText(m_indexes->TextString)) {
        auto* top = new QTreeWidgetItem(trvIndex);
        top->setText(0, p.text);
        top->setData(0, kKeyRole, p.key);
        top->setData(0, kTagRole, QStringLiteral("primary"));
        top->setFlags(top->flags() | Qt::ItemIsEditable);
        for (const Keyword& s : p.children) {
            auto* child = new QTreeWidgetItem(top);
            child->setText(0, s.text);
            child->setData(0, kKeyRole, s.key);
            child->setData(0, kTagRole, QStringLiteral("secondary"));
            child->setFlags(child->flags() | Qt::ItemIsEditable);
        }
        top->setExpanded(true);
    }
    m_current = nullptr;
}

void frmIndex::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    load();
}

KeywordTree frmIndex::keywords() const
{
    KeywordTree tree;
    for (int i = 0; i < trvIndex->topLevelItemCount(); ++i) {
        QTreeWidgetItem* top = trvIndex->topLevelItem(i);
        Keyword p{top->text(0), keyOf(top), {}};
        for (int j = 0; j < top->childCount(); ++j)
            p.children.push_back({top->child(j)->text(0), keyOf(top->child(j)), {}});
        tree.push_back(p);
    }
    return tree;
}

void frmIndex::sortLevelOf(QTreeWidgetItem* item)
{
    if (!item)
        return;
    m_sorting = true;
    QTreeWidgetItem* parent = item->parent();
    QList<QTreeWidgetItem*> level =
        parent ? parent->takeChildren() : [this] {
            QList<QTreeWidgetItem*> l;
            while (trvIndex->topLevelItemCount())
                l << trvIndex->takeTopLevelItem(0);
            return l;
        }();
    std::stable_sort(level.begin(), level.end(), [](QTreeWidgetItem* a, QTreeWidgetItem* b) {
        return lessByText(a->text(0), b->text(0));
    });
    if (parent)
        parent->addChildren(level);
    else
        trvIndex->addTopLevelItems(level);
    for (QTreeWidgetItem* i : level)
        i->setExpanded(true);
    if (parent)
        parent->setExpanded(true);
    trvIndex->setCurrentItem(item);
    m_current = item;
    m_sorting = false;
}

QTreeWidgetItem* frmIndex::newNode(QTreeWidgetItem* parent, QTreeWidgetItem* after, const QString& tag)
{
    // No sorting while the node is added.
    m_sorting = true;
    auto* item = new QTreeWidgetItem;
    item->setText(0, kNewKeyword);
    item->setData(0, kKeyRole, QString());
    item->setData(0, kTagRole, tag);
    item->setFlags(item->flags() | Qt::ItemIsEditable);
    if (parent) {
        const int at = after ? parent->indexOfChild(after) + 1 : parent->childCount();
        parent->insertChild(at, item);
        parent->setExpanded(true);
    } else {
        trvIndex->addTopLevelItem(item);
    }
    m_sorting = false;
    trvIndex->setCurrentItem(item);
    m_current = item;
    trvIndex->editItem(item, 0);
    return item;
}

void frmIndex::mnuInsertPrimary_Click()
{
    newNode(nullptr, nullptr, QStringLiteral("primary"));
}

void frmIndex::mnuInsertSecondary_Click()
{
    QTreeWidgetItem* cur = m_current;
    if (!cur)
        return;
    if (tagOf(cur) == QLatin1String("primary"))
        newNode(cur, nullptr, QStringLiteral("secondary"));
    else if (tagOf(cur) == QLatin1String("secondary"))
        newNode(cur->parent(), cur, QStringLiteral("secondary"));
}

void frmIndex::mnuRemove_Click()
{
    QTreeWidgetItem* cur = m_current;
    if (!cur)
        return;
    m_current = nullptr;
    delete cur;
    m_current = trvIndex->currentItem();
}

void frmIndex::rightClick(QTreeWidgetItem* item, const QPoint& globalPos)
{
    const QString tag = tagOf(item);
    mnuInsertPrimary->setVisible(!item || tag == QLatin1String("primary"));
    mnuInsertSecondary->setVisible(item != nullptr);
    mnuSep->setVisible(item != nullptr);
    mnuRemove->setVisible(item != nullptr);
    if (item) {
        trvIndex->setCurrentItem(item);
        m_current = item;
    }
    if (popup)
        popup(mnuInsert, globalPos);
    else
        mnuInsert->exec(globalPos);
}

void frmIndex::cmdOK_Click()
{
    if (m_indexes)
        m_indexes->TextString = buildIndexText(keywords());
    if (m_ok)
        m_ok->Change = true;
    accept();
}

void frmIndex::cmdCancel_Click()
{
    reject();
}

void frmIndex::reject()
{
    if (m_ok)
        m_ok->Change = false;
    QDialog::reject();
}
