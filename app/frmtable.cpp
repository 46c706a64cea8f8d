#include "frmtable.h"

#include "elementhtml.h"
#include "elementvalues.h"
#include "holders.h"
#include "qtmsgbox.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

frmTable::frmTable(MsgBox* box, QWidget* parent) : QDialog(parent)
{
    if (!box) {
        m_ownBox = std::make_unique<QtMsgBox>(this);
        box = m_ownBox.get();
    }
    m_box = box;
    setObjectName(QStringLiteral("frmTable"));
    setWindowTitle(QStringLiteral("Table Properties"));

    auto* lblRows = new QLabel(QStringLiteral("Number of Rows"), this);
    txtRows = new QLineEdit(this);
    txtRows->setObjectName(QStringLiteral("txtRows"));
    lblRows->setBuddy(txtRows);
    auto* lblColumns = new QLabel(QStringLiteral("Number of Columns"), this);
    txtColumns = new QLineEdit(this);
    txtColumns->setObjectName(QStringLiteral("txtColumns"));
    lblColumns->setBuddy(txtColumns);
    auto* lblDesc = new QLabel(QStringLiteral("Table Description"), this);
    txtDescription = new QLineEdit(QStringLiteral("table description"), this);
    txtDescription->setObjectName(QStringLiteral("txtDescription"));
    txtDescription->setMinimumWidth(240);
    lblDesc->setBuddy(txtDescription);
    chkBorder = new QCheckBox(QStringLiteral("Table Border"), this);
    chkBorder->setObjectName(QStringLiteral("chkBorder"));
    chkBorder->setChecked(true);
    chkHeader = new QCheckBox(QStringLiteral("Table Header"), this);
    chkHeader->setObjectName(QStringLiteral("chkHeader"));
    chkHeader->setChecked(true);
    cmdInsert = new QPushButton(QStringLiteral("Insert"), this);
    cmdInsert->setObjectName(QStringLiteral("cmdInsert"));
    cmdInsert->setDefault(true);
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdCancel->setAutoDefault(false);

    auto* grid = new QGridLayout;
    grid->addWidget(lblRows, 0, 0);
    grid->addWidget(txtRows, 0, 1);
    grid->addWidget(lblColumns, 1, 0);
    grid->addWidget(txtColumns, 1, 1);
    grid->addWidget(lblDesc, 2, 0);
    grid->addWidget(txtDescription, 2, 1);
    grid->addWidget(chkBorder, 3, 1);
    grid->addWidget(chkHeader, 4, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdInsert);
    buttons->addWidget(cmdCancel);
    auto* top = new QVBoxLayout(this);
    top->addLayout(grid);
    top->addLayout(buttons);
    top->setSizeConstraint(QLayout::SetFixedSize);

    connect(cmdInsert, &QPushButton::clicked, this, &frmTable::cmdInsert_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmTable::cmdCancel_Click);
}

frmTable::~frmTable() = default;

void frmTable::cmdInsert_Click()
{
    const auto rows = elementhtml::toInt16(std::max(0.0, elementhtml::numericValue(txtRows->text())));
    const auto columns = elementhtml::toInt16(std::max(0.0, elementhtml::numericValue(txtColumns->text())));
    if (!rows || !columns) {
        // A number beyond the 16-bit range ends the click.
        m_box->stop(QStringLiteral("Overflow"));
        return;
    }
    if (m_ok)
        m_ok->Change = true;
    if (m_table) {
        m_table->RowNum = *rows;
        m_table->ColumnNum = *columns;
        m_table->Description = txtDescription->text();
        m_table->Border = chkBorder->isChecked();
        m_table->Header = chkHeader->isChecked();
    }
    accept();
}

void frmTable::cmdCancel_Click()
{
    reject();
}

void frmTable::reject()
{
    if (m_ok)
        m_ok->Change = false;
    QDialog::reject();
}
