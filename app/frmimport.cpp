#include "frmimport.h"

#include "barprogress.h"
#include "dialogsupport.h"
#include "icons.h"
#include "importlanguage.h"
#include "msgbox.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <functional>

using exchange::LanguageImport;

namespace {

QTreeWidget* makeTree(QWidget* owner, const char* name)
{
    auto* t = new QTreeWidget(owner);
    t->setObjectName(QString::fromLatin1(name));
    t->setHeaderHidden(true);
    t->setColumnCount(1);
    t->setIconSize(QSize(16, 16));
    t->setUniformRowHeights(true);
    t->setSelectionMode(QAbstractItemView::SingleSelection);
    t->setEditTriggers(QAbstractItemView::NoEditTriggers);
    t->setAnimated(false);
    t->setMinimumSize(260, 320);
    t->header()->setStretchLastSection(true);
    return t;
}

} // namespace

frmImport::frmImport(MsgBox* box, QWidget* parent) : FormBase(box, parent)
{
    setObjectName(QStringLiteral("frmImport"));
    setWindowTitle(QStringLiteral("Import Language"));

    lblOld = new QLabel(QStringLiteral("Current project"), this);
    lblOld->setObjectName(QStringLiteral("lblOld"));
    trvOld = makeTree(this, "trvOld");
    lblOld->setBuddy(trvOld);
    lblNew = new QLabel(QStringLiteral("Selected project"), this);
    lblNew->setObjectName(QStringLiteral("lblNew"));
    trvNew = makeTree(this, "trvNew");
    lblNew->setBuddy(trvNew);

    lblLangs = new QLabel(QStringLiteral("Language to import"), this);
    lblLangs->setObjectName(QStringLiteral("lblLangs"));
    cmbLangs = new QComboBox(this);
    cmbLangs->setObjectName(QStringLiteral("cmbLangs"));
    cmbLangs->setMinimumWidth(200);
    lblLangs->setBuddy(cmbLangs);

    cmdImport = new QPushButton(QStringLiteral("&Import"), this);
    cmdImport->setObjectName(QStringLiteral("cmdImport"));
    cmdImport->setDefault(true);
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdCancel->setAutoDefault(false);

    auto* trees = new QGridLayout;
    trees->addWidget(lblOld, 0, 0);
    trees->addWidget(lblNew, 0, 1);
    trees->addWidget(trvOld, 1, 0);
    trees->addWidget(trvNew, 1, 1);
    trees->setRowStretch(1, 1);

    auto* bottom = new QHBoxLayout;
    bottom->addWidget(lblLangs);
    bottom->addWidget(cmbLangs);
    bottom->addStretch(1);
    bottom->addWidget(cmdImport);
    bottom->addWidget(cmdCancel);

    auto* top = new QVBoxLayout(this);
    top->addLayout(trees, 1);
    top->addSpacing(4);
    top->addLayout(bottom);

    // The wait panel lies over the form while files are extracted or
    // imported; it is not part of the layout.
    picWait = new QFrame(this);
    picWait->setObjectName(QStringLiteral("picWait"));
    picWait->setFrameShape(QFrame::StyledPanel);
    picWait->setFrameShadow(QFrame::Raised);
    picWait->setAutoFillBackground(true);
    Label4 = new QLabel(picWait);
    Label4->setObjectName(QStringLiteral("Label4"));
    pbWork = new QProgressBar(picWait);
    pbWork->setObjectName(QStringLiteral("pbWork"));
    pbWork->setRange(0, 1);
    pbWork->setValue(0);
    auto* wait = new QVBoxLayout(picWait);
    wait->setContentsMargins(18, 14, 18, 14);
    wait->setSpacing(10);
    wait->addWidget(Label4);
    wait->addWidget(pbWork);
    picWait->hide();

    connect(cmdImport, &QPushButton::clicked, this, &frmImport::cmdImport_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmImport::cmdCancel_Click);
    connect(trvNew, &QTreeWidget::itemChanged, this, &frmImport::trvNew_NodeCheck);
    // An opened chapter shows its open picture.
    for (QTreeWidget* t : {trvOld, trvNew}) {
        auto picture = [this](QTreeWidgetItem* item) {
            NodePtr n = nodeOf(item);
            if (!n)
                return;
            const int image = item->isExpanded() && n->ExpandedImage ? n->ExpandedImage : n->Image;
            const bool was = m_filling;
            m_filling = true;
            item->setIcon(0, appicons::treeImage(image));
            m_filling = was;
        };
        connect(t, &QTreeWidget::itemExpanded, this, picture);
        connect(t, &QTreeWidget::itemCollapsed, this, picture);
    }
}

frmImport::~frmImport() = default;

void frmImport::IncrProgressBar(int count)
{
    pbWork->setRange(0, qMax(1, count));
    pbWork->setValue(0);
}

NodePtr frmImport::nodeOf(const QTreeWidgetItem* item) const
{
    return item ? m_nodes.value(item).lock() : nullptr;
}

QTreeWidgetItem* frmImport::newItemOf(const NodePtr& node) const
{
    return node ? m_newItems.value(node.get()) : nullptr;
}

void frmImport::onLoad()
{
    // The form is up before the open dialog comes over it.
    QTimer::singleShot(0, this, &frmImport::activate);
}

void frmImport::showEvent(QShowEvent* event)
{
    FormBase::showEvent(event);
    if (!m_placed) {
        m_placed = true;
        dialogsupport::centreOnMainWindow(this);
    }
    placeWait();
}

void frmImport::resizeEvent(QResizeEvent* event)
{
    FormBase::resizeEvent(event);
    placeWait();
}

void frmImport::placeWait()
{
    const int w = qMin(420, width() - 40);
    const int h = picWait->sizeHint().height();
    picWait->setGeometry((width() - w) / 2, (height() - h) / 2, w, h);
}

QString frmImport::askOpen(QWidget* parent, const QString& title, const QString& folder, const QString& filter)
{
    QFileDialog dlg(parent, title);
    dlg.setObjectName(QStringLiteral("cdlOpen"));
    dlg.setAcceptMode(QFileDialog::AcceptOpen);
    dlg.setFileMode(QFileDialog::ExistingFile);
    dlg.setNameFilter(filter);
    return dialogsupport::execFileDialog(dlg, QStringLiteral("import"), folder).value_or(QString());
}

QString frmImport::open(const QString& folder)
{
    return cdlOpen ? cdlOpen(this, exchange::kImportOpenTitle, folder, exchange::kImportFilter)
                   : askOpen(this, exchange::kImportOpenTitle, folder, exchange::kImportFilter);
}

bool frmImport::chooseCopy(QString& path)
{
    path = open(QString());
    // A package is unpacked first, then the user picks the project in it.
    while (!path.isEmpty() && LanguageImport::isArchive(path)) {
        // A missing archive is reported before any folder is asked for.
        QString folder;
        if (QFileInfo::exists(path))
            folder = folderBrowser ? folderBrowser(exchange::kImportFolderTitle, this)
                                   : cFolderBrowser::Browse(exchange::kImportFolderTitle, this);
        beginWait(exchange::kExtracting);
        BarProgress progress(pbWork, Label4, picWait);
        // Cancel stops the extraction; nothing of it is left in the folder.
        cmdCancel->setEnabled(true);
        progress.setCancelButton(cmdCancel);
        const bool extracted = m_job->extract(path, folder, progress);
        endWait();
        if (!extracted)
            return false;
        path = open(folder);
    }
    return !path.isEmpty();
}

void frmImport::activate()
{
    if (!m_project) {
        done(QDialog::Rejected);
        return;
    }
    m_job = std::make_unique<LanguageImport>(*m_project, box());
    QString path;
    if (!chooseCopy(path) || !m_job->selectProject(path)) {
        done(QDialog::Rejected);
        return;
    }
    fillTree(trvOld, m_job->oldTree(), false);
    fillTree(trvNew, m_job->newTree(), true);
    cmbLangs->addItems(m_job->languageEntries());
    cmbLangs->setCurrentIndex(-1);
    trvNew->setFocus();
}

void frmImport::fillTree(QTreeWidget* view, const BookTree& tree, bool checkable)
{
    m_filling = true;
    view->clear();
    std::function<QTreeWidgetItem*(const NodePtr&)> build = [&](const NodePtr& node) {
        auto* item = new QTreeWidgetItem;
        item->setText(0, node->Text);
        item->setIcon(0, appicons::treeImage(node->Image));
        Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
        if (checkable) {
            flags |= Qt::ItemIsUserCheckable;
            item->setCheckState(0, m_job->ticks().isTicked(node) ? Qt::Checked : Qt::Unchecked);
            m_newItems.insert(node.get(), item);
        }
        item->setFlags(flags);
        m_nodes.insert(item, node);
        for (const NodePtr& child : node->Children())
            item->addChild(build(child));
        return item;
    };
    for (const NodePtr& root : tree.Roots())
        view->addTopLevelItem(build(root));
    m_filling = false;
    view->expandAll();
}

void frmImport::trvNew_NodeCheck(QTreeWidgetItem* item, int column)
{
    if (m_filling || column != 0 || !m_job)
        return;
    NodePtr node = nodeOf(item);
    if (!node)
        return;
    const bool ticked = item->checkState(0) == Qt::Checked;
    // Other changes of an item (its picture) come this way too.
    if (ticked == m_job->ticks().isTicked(node))
        return;
    m_job->ticks().setTicked(node, ticked);
    refreshTicks();
}

void frmImport::refreshTicks()
{
    m_filling = true;
    for (auto it = m_newItems.cbegin(); it != m_newItems.cend(); ++it) {
        NodePtr node = nodeOf(it.value());
        if (!node)
            continue;
        const Qt::CheckState state = m_job->ticks().isTicked(node) ? Qt::Checked : Qt::Unchecked;
        if (it.value()->checkState(0) != state)
            it.value()->setCheckState(0, state);
    }
    m_filling = false;
}

void frmImport::beginWait(const QString& text)
{
    m_working = true;
    Label4->setText(text);
    pbWork->setRange(0, 1);
    pbWork->setValue(0);
    placeWait();
    for (QWidget* w : {static_cast<QWidget*>(trvOld), static_cast<QWidget*>(trvNew),
                       static_cast<QWidget*>(cmbLangs), static_cast<QWidget*>(cmdImport),
                       static_cast<QWidget*>(cmdCancel)})
        w->setEnabled(false);
}

void frmImport::endWait()
{
    picWait->hide();
    for (QWidget* w : {static_cast<QWidget*>(trvOld), static_cast<QWidget*>(trvNew),
                       static_cast<QWidget*>(cmbLangs), static_cast<QWidget*>(cmdImport),
                       static_cast<QWidget*>(cmdCancel)})
        w->setEnabled(true);
    m_working = false;
}

void frmImport::cmdImport_Click()
{
    if (!m_job || m_working)
        return;
    beginWait(exchange::kImporting);
    LanguageImport::Result result;
    {
        BarProgress progress(pbWork, Label4, picWait);
        // Cancel stops the import before any file of the project is replaced.
        cmdCancel->setEnabled(true);
        progress.setCancelButton(cmdCancel);
        result = m_job->import(cmbLangs->currentText(), progress);
    }
    endWait();
    // A failure may have written part of the texts already.
    if (result != LanguageImport::Result::Stay)
        m_imported = true;
    if (result == LanguageImport::Result::Done)
        done(QDialog::Accepted);
}

void frmImport::cmdCancel_Click()
{
    reject();
}

void frmImport::reject()
{
    if (!m_working)
        FormBase::reject();
}

void frmImport::closeEvent(QCloseEvent* event)
{
    if (m_working)
        event->ignore();
    else
        FormBase::closeEvent(event);
}
