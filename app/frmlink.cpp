#include "frmlink.h"

#include "cproject.h"
#include "elementvalues.h"
#include "holders.h"
#include "linktree.h"
#include "mcommon.h"
#include "qtmsgbox.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <functional>

namespace {
constexpr int kKeyRole = Qt::UserRole;
constexpr int kTagRole = Qt::UserRole + 1;
} // namespace

frmLink::frmLink(MsgBox* box, QWidget* parent) : QDialog(parent)
{
    if (!box) {
        m_ownBox = std::make_unique<QtMsgBox>(this);
        box = m_ownBox.get();
    }
    m_box = box;
    setObjectName(QStringLiteral("frmLink"));
    setWindowTitle(QStringLiteral("Link Properties"));

    optLocal = new QRadioButton(QStringLiteral("local link (to topic)"), this);
    optLocal->setObjectName(QStringLiteral("optLocal"));
    optURL = new QRadioButton(QStringLiteral("web link"), this);
    optURL->setObjectName(QStringLiteral("optURL"));
    auto* lblTopics = new QLabel(QStringLiteral("Choose topic or anchor"), this);
    trvTopics = new QTreeWidget(this);
    trvTopics->setObjectName(QStringLiteral("trvTopics"));
    trvTopics->setHeaderHidden(true);
    trvTopics->setMinimumSize(360, 260);
    lblTopics->setBuddy(trvTopics);
    auto* lblURL = new QLabel(QStringLiteral("URL adress"), this);
    txtURLAdress = new QLineEdit(QStringLiteral("http://"), this);
    txtURLAdress->setObjectName(QStringLiteral("txtURLAdress"));
    lblURL->setBuddy(txtURLAdress);
    auto* lblDesc = new QLabel(QStringLiteral("link description"), this);
    txtLinkDescription = new QLineEdit(QStringLiteral("link description"), this);
    txtLinkDescription->setObjectName(QStringLiteral("txtLinkDescription"));
    lblDesc->setBuddy(txtLinkDescription);
    cmdInsert = new QPushButton(QStringLiteral("Insert"), this);
    cmdInsert->setObjectName(QStringLiteral("cmdInsert"));
    cmdInsert->setDefault(true);
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdCancel->setAutoDefault(false);

    auto* top = new QVBoxLayout(this);
    top->addWidget(optLocal);
    top->addWidget(lblTopics);
    top->addWidget(trvTopics, 1);
    top->addWidget(optURL);
    auto* web = new QGridLayout;
    web->addWidget(lblURL, 0, 0);
    web->addWidget(txtURLAdress, 0, 1);
    web->addWidget(lblDesc, 1, 0);
    web->addWidget(txtLinkDescription, 1, 1);
    top->addLayout(web);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdInsert);
    buttons->addWidget(cmdCancel);
    top->addLayout(buttons);

    connect(optURL, &QRadioButton::clicked, this, &frmLink::optURL_Click);
    connect(optLocal, &QRadioButton::clicked, this, &frmLink::optLocal_Click);
    connect(cmdInsert, &QPushButton::clicked, this, &frmLink::cmdInsert_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmLink::cmdCancel_Click);
    connect(trvTopics, &QTreeWidget::itemDoubleClicked, this, [this] { cmdInsert_Click(); });
}

frmLink::~frmLink() = default;

QString frmLink::keyOf(const QTreeWidgetItem* item)
{
    return item ? item->data(0, kKeyRole).toString() : QString();
}

QString frmLink::tagOf(const QTreeWidgetItem* item)
{
    return item ? item->data(0, kTagRole).toString() : QString();
}

void frmLink::createTopicTree()
{
    trvTopics->clear();
    if (!m_project)
        return;
    buildLinkTree(*m_project, m_tree, *m_box);
    std::function<void(const NodePtr&, QTreeWidgetItem*)> add = [&](const NodePtr& node, QTreeWidgetItem* parent) {
        auto* item = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(trvTopics);
        item->setText(0, node->Text);
        item->setData(0, kKeyRole, node->Key);
        item->setData(0, kTagRole, node->Tag);
        for (const NodePtr& c : node->Children())
            add(c, item);
        item->setExpanded(node->Expanded || node->Tag == QLatin1String("chapter") ||
                          node->Tag == QLatin1String("book"));
    };
    for (const NodePtr& r : m_tree.Roots())
        add(r, nullptr);
}

QTreeWidgetItem* frmLink::itemOf(const QString& key) const
{
    if (key.isEmpty())
        return nullptr;
    for (QTreeWidgetItemIterator it(trvTopics); *it; ++it)
        if (keyOf(*it) == key)
            return *it;
    return nullptr;
}

void frmLink::load()
{
    if (m_loaded)
        return;
    m_loaded = true;
    createTopicTree();
    optLocal->setChecked(true);
    optLocal_Click();
    if (!m_ok || !m_ok->Change || !m_link)
        return;
    if (m_link->IsLocal) {
        // A target that no longer exists leaves the tree without selection.
        if (QTreeWidgetItem* item = itemOf(m_link->Reference)) {
            trvTopics->setCurrentItem(item);
            trvTopics->scrollToItem(item);
        }
    } else {
        optURL->setChecked(true);
        optURL_Click();
        txtURLAdress->setText(m_link->Reference);
        txtLinkDescription->setText(m_link->WebLabel);
    }
}

void frmLink::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    load();
}

void frmLink::optURL_Click()
{
    txtURLAdress->setEnabled(true);
    txtLinkDescription->setEnabled(true);
    trvTopics->setEnabled(false);
}

void frmLink::optLocal_Click()
{
    txtURLAdress->setEnabled(false);
    txtLinkDescription->setEnabled(false);
    trvTopics->setEnabled(true);
}

void frmLink::cmdInsert_Click()
{
    if (m_ok)
        m_ok->Change = true;
    if (optLocal->isChecked()) {
        QTreeWidgetItem* item = trvTopics->currentItem();
        const QString tag = tagOf(item);
        if (!item || !item->isSelected() ||
            (tag != QLatin1String("topic") && tag != QLatin1String("anchor"))) {
            m_box->exclamation(QStringLiteral("Topic or anchor must be selected!"));
            return;
        }
        if (m_link) {
            m_link->IsLocal = true;
            m_link->Reference = keyOf(item);
            m_link->WebLabel = QLatin1Char('"') + item->text(0) + QLatin1Char('"');
        }
    } else {
        const QString empty = mCommon::emptyFieldsMessage(
            QStringLiteral("Both fields have to be filled!"),
            {{QStringLiteral("URL adress"), txtURLAdress->text()},
             {QStringLiteral("link description"), txtLinkDescription->text()}});
        if (!empty.isEmpty()) {
            m_box->exclamation(empty);
            return;
        }
        if (m_link) {
            m_link->IsLocal = false;
            m_link->Reference = txtURLAdress->text();
            m_link->WebLabel = txtLinkDescription->text();
        }
    }
    accept();
}

void frmLink::cmdCancel_Click()
{
    reject();
}

void frmLink::reject()
{
    if (m_ok)
        m_ok->Change = false;
    QDialog::reject();
}
