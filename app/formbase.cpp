#include "formbase.h"

#include "qtmsgbox.h"

#include <QHBoxLayout>
#include <QPushButton>

FormBase::FormBase(MsgBox* box, QWidget* parent) : QDialog(parent)
{
    if (!box) {
        m_ownBox = std::make_unique<QtMsgBox>(this);
        box = m_ownBox.get();
    }
    m_box = box;
}

FormBase::~FormBase() = default;

void FormBase::load()
{
    if (m_loaded)
        return;
    m_loaded = true;
    onLoad();
}

void FormBase::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    load();
}

QHBoxLayout* FormBase::closingButtons(const QString& insertText, QPushButton*& insert, QPushButton*& cancel)
{
    insert = new QPushButton(insertText, this);
    insert->setObjectName(QStringLiteral("cmdInsert"));
    insert->setDefault(true);
    cancel = new QPushButton(QStringLiteral("Cancel"), this);
    cancel->setObjectName(QStringLiteral("cmdCancel"));
    cancel->setAutoDefault(false);
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(insert);
    row->addWidget(cancel);
    return row;
}
