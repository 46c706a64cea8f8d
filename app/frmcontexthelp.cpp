#include "frmcontexthelp.h"

#include "booktreewidget.h"
#include "cproject.h"
#include "holders.h"
#include "msgbox.h"
#include "workbench.h"

#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

// --- the record dialog --------------------------------------------------------

frmContextHelpRecord::frmContextHelpRecord(MsgBox* box, QWidget* parent) : FormBase(box, parent)
{
    setObjectName(QStringLiteral("frmContextHelpRecord"));
    setWindowTitle(QStringLiteral("Application Form"));

    struct Field {
        QLineEdit*& edit;
        const char* name;
        const char* label;
    };
    const Field fields[] = {
        {txtCaption, "txtCaption", "Form caption"},
        {txtID, "txtID", "Context help ID"},
        {txtName, "txtName", "Form name (unique)"},
    };
    auto* grid = new QGridLayout;
    int row = 0;
    for (const Field& f : fields) {
        auto* label = new QLabel(QString::fromLatin1(f.label), this);
        f.edit = new QLineEdit(this);
        f.edit->setObjectName(QString::fromLatin1(f.name));
        f.edit->setMinimumWidth(260);
        label->setBuddy(f.edit);
        grid->addWidget(label, row, 0);
        grid->addWidget(f.edit, row, 1);
        ++row;
    }
    QHBoxLayout* buttons = closingButtons(QStringLiteral("OK"), cmdInsert, cmdCancel);
    auto* top = new QVBoxLayout(this);
    top->addLayout(grid);
    top->addLayout(buttons);
    top->setSizeConstraint(QLayout::SetFixedSize);

    connect(cmdInsert, &QPushButton::clicked, this, &frmContextHelpRecord::cmdInsert_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmContextHelpRecord::cmdCancel_Click);
}

void frmContextHelpRecord::onLoad()
{
    if (m_record) {
        if (!m_record->Caption.isEmpty())
            txtCaption->setText(m_record->Caption);
        if (!m_record->ID.isEmpty())
            txtID->setText(m_record->ID);
        if (!m_record->Tag.isEmpty())
            txtName->setText(m_record->Tag);
    }
    txtCaption->setFocus();
}

void frmContextHelpRecord::cmdInsert_Click()
{
    const cContextHelp typed{txtCaption->text(), txtName->text(), txtID->text()};
    const QString problem = recordProblem(typed);
    if (!problem.isEmpty()) {
        // The dialog stays open with the values as typed.
        if (m_ok)
            m_ok->Change = false;
        box().exclamation(problem);
        return;
    }
    if (m_record)
        *m_record = typed;
    if (m_ok)
        m_ok->Change = true;
    accept();
}

void frmContextHelpRecord::cmdCancel_Click()
{
    if (m_ok)
        m_ok->Change = false;
    reject();
}

// --- the workbench ------------------------------------------------------------

frmContextHelp::frmContextHelp(MsgBox* box, QWidget* parent) : FormBase(box, parent)
{
    setObjectName(QStringLiteral("frmContextHelp"));
    setWindowTitle(QStringLiteral("Context Help ID Assigning"));
    setSizeGripEnabled(true);

    auto tree = [this](const char* name) {
        auto* t = new BookTreeWidget(this);
        t->setObjectName(QString::fromLatin1(name));
        t->setDropsEnabled(false);
        t->setMinimumSize(280, 320);
        return t;
    };
    trvTopics = tree("trvTopics");
    trvForms = tree("trvForms");
    auto button = [this](const char* name, const char* text) {
        auto* b = new QPushButton(QString::fromUtf8(text), this);
        b->setObjectName(QString::fromLatin1(name));
        b->setAutoDefault(false);
        return b;
    };
    cmdAdd = button("cmdAdd", "&Add \u2190");
    cmdRemove = button("cmdRemove", "&Remove \u2192");
    cmdLoad = button("cmdLoad", "Load File");
    cmdClear = button("cmdClear", "Clear All");
    cmdNew = button("cmdNew", "&New");
    cmdEdit = button("cmdEdit", "Edit");
    cmdDelete = button("cmdDelete", "Delete");
    cmdOK = button("cmdOK", "OK");
    cmdOK->setDefault(true);
    cmdCancel = button("cmdCancel", "Cancel");

    auto* lblTopics = new QLabel(QStringLiteral("Help Topics"), this);
    lblTopics->setObjectName(QStringLiteral("lblTopics"));
    auto* lblForms = new QLabel(QStringLiteral("Application Forms"), this);
    lblForms->setObjectName(QStringLiteral("lblForms"));
    lblNumForms = new QLabel(QStringLiteral("0"), this);
    lblNumForms->setObjectName(QStringLiteral("lblNumForms"));
    auto* lblSelected = new QLabel(QStringLiteral("form(s) selected"), this);
    lblSelected->setObjectName(QStringLiteral("lblSelected"));

    auto* middle = new QVBoxLayout;
    middle->addStretch(1);
    middle->addWidget(cmdAdd);
    middle->addWidget(cmdRemove);
    middle->addStretch(1);

    auto* count = new QHBoxLayout;
    count->addWidget(lblNumForms);
    count->addWidget(lblSelected);
    count->addStretch(1);

    auto* formButtons = new QHBoxLayout;
    for (QPushButton* b : {cmdNew, cmdEdit, cmdDelete, cmdLoad, cmdClear})
        formButtons->addWidget(b);
    formButtons->addStretch(1);

    auto* grid = new QGridLayout;
    grid->addWidget(lblTopics, 0, 0);
    grid->addWidget(lblForms, 0, 2);
    grid->addWidget(trvTopics, 1, 0, 3, 1);
    grid->addLayout(middle, 1, 1, 3, 1);
    grid->addWidget(trvForms, 1, 2);
    grid->addLayout(count, 2, 2);
    grid->addLayout(formButtons, 3, 2);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(2, 1);
    grid->setRowStretch(1, 1);

    auto* closing = new QHBoxLayout;
    closing->addStretch(1);
    closing->addWidget(cmdOK);
    closing->addWidget(cmdCancel);

    auto* top = new QVBoxLayout(this);
    top->addLayout(grid, 1);
    top->addLayout(closing);

    trvForms->background = [this](const NodePtr& node) {
        return m_bench && m_bench->highlighted().count(node) ? QColor(210, 210, 210) : QColor();
    };
    trvForms->onMouseUp = [this](const NodePtr& node, Qt::MouseButton button, const QPoint&) {
        if (button == Qt::LeftButton && node)
            formClicked(node);
    };
    trvForms->onKeySelect = [this](const NodePtr& node) { formClicked(node); };
    trvTopics->onMouseUp = [this](const NodePtr& node, Qt::MouseButton button, const QPoint&) {
        if (button == Qt::LeftButton && node)
            topicClicked(node);
    };
    trvTopics->onKeySelect = [this](const NodePtr& node) { topicClicked(node); };

    connect(cmdAdd, &QPushButton::clicked, this, &frmContextHelp::cmdAdd_Click);
    connect(cmdRemove, &QPushButton::clicked, this, &frmContextHelp::cmdRemove_Click);
    connect(cmdLoad, &QPushButton::clicked, this, &frmContextHelp::cmdLoad_Click);
    connect(cmdClear, &QPushButton::clicked, this, &frmContextHelp::cmdClear_Click);
    connect(cmdNew, &QPushButton::clicked, this, &frmContextHelp::cmdNew_Click);
    connect(cmdEdit, &QPushButton::clicked, this, &frmContextHelp::cmdEdit_Click);
    connect(cmdDelete, &QPushButton::clicked, this, &frmContextHelp::cmdDelete_Click);
    connect(cmdOK, &QPushButton::clicked, this, &frmContextHelp::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmContextHelp::cmdCancel_Click);
}

frmContextHelp::~frmContextHelp()
{
    // The views stop following the model before it goes.
    trvTopics->setBookTree(nullptr);
    trvForms->setBookTree(nullptr);
}

void frmContextHelp::onLoad()
{
    if (!m_project)
        return;
    m_bench = std::make_unique<ContextHelpWorkbench>(*m_project, box());
    m_bench->load();
    trvTopics->setBookTree(&m_bench->topics());
    trvForms->setBookTree(&m_bench->forms());
    trvTopics->expandAll();
    refresh();
}

void frmContextHelp::showEvent(QShowEvent* event)
{
    FormBase::showEvent(event);
    if (!m_placed) {
        m_placed = true;
        resize(sizeHint().expandedTo(QSize(760, 480)));
        dialogsupport::centreOnMainWindow(this);
    }
}

void frmContextHelp::refresh()
{
    lblNumForms->setText(QString::number(m_bench ? m_bench->numFormsSelected() : 0));
    trvTopics->viewport()->update();
    trvForms->viewport()->update();
}

void frmContextHelp::formClicked(const NodePtr& node)
{
    if (!m_bench)
        return;
    m_bench->clickForm(node);
    refresh();
}

void frmContextHelp::topicClicked(const NodePtr& node)
{
    if (!m_bench)
        return;
    m_bench->clickTopic(node);
    refresh();
}

bool frmContextHelp::recordDialog(cContextHelp& record)
{
    cOKorCancel ok;
    frmContextHelpRecord dlg(&box(), this);
    dlg.Form(&record);
    dlg.OKorCancel(&ok);
    if (prepareRecord)
        prepareRecord(&dlg);
    dlg.exec();
    return ok.Change;
}

void frmContextHelp::cmdAdd_Click()
{
    if (m_bench)
        m_bench->cmdAdd();
    refresh();
}

void frmContextHelp::cmdRemove_Click()
{
    if (m_bench)
        m_bench->cmdRemove();
    refresh();
}

void frmContextHelp::cmdLoad_Click()
{
    if (!m_bench)
        return;
    const std::optional<QString> file = cdlOpen(this, QFileInfo(m_project->GetProjectFile()).absolutePath(),
                                                QStringLiteral("XML file (*.xml);;All files (*.*)"));
    if (!file)
        return;
    m_bench->cmdLoad(*file);
    trvTopics->expandAll();
    refresh();
}

void frmContextHelp::cmdClear_Click()
{
    if (m_bench)
        m_bench->cmdClear();
    refresh();
}

void frmContextHelp::cmdNew_Click()
{
    if (m_bench)
        m_bench->cmdNew([this](cContextHelp& r) { return recordDialog(r); });
    refresh();
}

void frmContextHelp::cmdEdit_Click()
{
    if (m_bench)
        m_bench->cmdEdit([this](cContextHelp& r) { return recordDialog(r); });
    refresh();
}

void frmContextHelp::cmdDelete_Click()
{
    if (m_bench)
        m_bench->cmdDelete();
    refresh();
}

void frmContextHelp::cmdOK_Click()
{
    if (!m_bench || m_bench->cmdOK())
        accept();
}

void frmContextHelp::cmdCancel_Click()
{
    reject();
}
