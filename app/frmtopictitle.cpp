#include "frmtopictitle.h"

#include "msgbox.h"

#include "holders.h"
#include "mcommon.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

frmTopicTitle::frmTopicTitle(MsgBox* box, QWidget* parent) : FormBase(box, parent)
{
    setObjectName(QStringLiteral("frmTopicTitle"));
    setWindowTitle(QStringLiteral("Title"));

    lblDesc = new QLabel(QStringLiteral("Title:"), this);
    lblDesc->setObjectName(QStringLiteral("lblDesc"));
    txtTitle = new QLineEdit(this);
    txtTitle->setObjectName(QStringLiteral("txtTitle"));
    txtTitle->setMinimumWidth(320);
    lblDesc->setBuddy(txtTitle);
    // Enter and Escape act as the two buttons.
    QHBoxLayout* buttons = closingButtons(QStringLiteral("&Insert"), cmdInsert, cmdCancel);

    auto* top = new QVBoxLayout(this);
    top->addWidget(lblDesc);
    top->addWidget(txtTitle);
    top->addLayout(buttons);
    top->setSizeConstraint(QLayout::SetFixedSize);

    connect(cmdInsert, &QPushButton::clicked, this, &frmTopicTitle::cmdInsert_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmTopicTitle::cmdCancel_Click);
}

void frmTopicTitle::onLoad()
{
    if (m_title)
        txtTitle->setText(m_title->TextString);
    txtTitle->selectAll();
    txtTitle->setFocus();
}

void frmTopicTitle::cmdInsert_Click()
{
    const QString text = txtTitle->text();
    if (text.isEmpty()) {
        reject();
        return;
    }
    if (!mCommon::checkXMLChars(text, QStringLiteral("Chapter title"), box()))
        return;
    if (refusal) {
        const QString why = refusal(text);
        if (!why.isEmpty()) {
            box().exclamation(why);
            txtTitle->setFocus();
            return;
        }
    }
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
