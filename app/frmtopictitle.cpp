#include "frmtopictitle.h"

#include "holders.h"
#include "mcommon.h"
#include "qtmsgbox.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

frmTopicTitle::frmTopicTitle(MsgBox* box, QWidget* parent) : QDialog(parent)
{
    if (!box) {
        m_ownBox = std::make_unique<QtMsgBox>(this);
        box = m_ownBox.get();
    }
    m_box = box;
    setObjectName(QStringLiteral("frmTopicTitle"));
    setWindowTitle(QStringLiteral("Title"));

    lblDesc = new QLabel(QStringLiteral("Title:"), this);
    lblDesc->setObjectName(QStringLiteral("lblDesc"));
    txtTitle = new QLineEdit(this);
    txtTitle->setObjectName(QStringLiteral("txtTitle"));
    txtTitle->setMinimumWidth(320);
    lblDesc->setBuddy(txtTitle);
    // Enter and Escape act as the two buttons.
    cmdInsert = new QPushButton(QStringLiteral("&Insert"), this);
    cmdInsert->setObjectName(QStringLiteral("cmdInsert"));
    cmdInsert->setDefault(true);
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdCancel->setAutoDefault(false);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdInsert);
    buttons->addWidget(cmdCancel);
    auto* top = new QVBoxLayout(this);
    top->addWidget(lblDesc);
    top->addWidget(txtTitle);
    top->addLayout(buttons);
    top->setSizeConstraint(QLayout::SetFixedSize);

    connect(cmdInsert, &QPushButton::clicked, this, &frmTopicTitle::cmdInsert_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmTopicTitle::cmdCancel_Click);
}

frmTopicTitle::~frmTopicTitle() = default;

void frmTopicTitle::load()
{
    if (m_loaded)
        return;
    m_loaded = true;
    if (m_title)
        txtTitle->setText(m_title->TextString);
    txtTitle->selectAll();
    txtTitle->setFocus();
}

void frmTopicTitle::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    load();
}

void frmTopicTitle::cmdInsert_Click()
{
    const QString text = txtTitle->text();
    if (text.isEmpty()) {
        reject();
        return;
    }
    if (!mCommon::checkXMLChars(text, QStringLiteral("Chapter title"), *m_box))
        return;
    if (m_title)
        m_title->TextString = text;
    if (m_ok)
        m_ok->Change = true;
    accept();
}

void frmTopicTitle::cmdCancel_Click()
{
    reject();
}
