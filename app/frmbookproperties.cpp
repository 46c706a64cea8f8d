#include "frmbookproperties.h"

#include "cbook.h"
#include "holders.h"
#include "mcommon.h"
#include "msgbox.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

frmBookProperties::frmBookProperties(MsgBox* box, QWidget* parent) : FormBase(box, parent)
{
    setObjectName(QStringLiteral("frmBookProperties"));
    setWindowTitle(QStringLiteral("Book Properties"));

    auto edit = [this](const char* name) {
        auto* e = new QLineEdit(this);
        e->setObjectName(QString::fromLatin1(name));
        e->setMinimumWidth(260);
        return e;
    };
    txtTitle = edit("txtTitle");
    txtAuthor = edit("txtAuthor");
    txtVersion = edit("txtVersion");
    txtDate = edit("txtDate");
    txtTime = edit("txtTime");
    auto* fields = new QFormLayout;
    fields->addRow(QStringLiteral("&Title:"), txtTitle);
    fields->addRow(QStringLiteral("&Author:"), txtAuthor);
    fields->addRow(QStringLiteral("&Version:"), txtVersion);
    fields->addRow(QStringLiteral("&Date:"), txtDate);
    fields->addRow(QStringLiteral("T&ime:"), txtTime);

    QHBoxLayout* buttons = closingButtons(QStringLiteral("OK"), cmdInsert, cmdCancel);

    auto* top = new QVBoxLayout(this);
    top->addLayout(fields);
    top->addLayout(buttons);
    top->setSizeConstraint(QLayout::SetFixedSize);

    connect(cmdInsert, &QPushButton::clicked, this, &frmBookProperties::cmdInsert_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmBookProperties::cmdCancel_Click);
}

void frmBookProperties::onLoad()
{
    if (m_book) {
        txtTitle->setText(m_book->Title);
        txtAuthor->setText(m_book->Author);
        txtVersion->setText(m_book->Version);
        txtDate->setText(m_book->BookDate);
        txtTime->setText(m_book->BookTime);
    }
    txtTitle->setFocus();
}

void frmBookProperties::cmdInsert_Click()
{
    const QString title = txtTitle->text(), author = txtAuthor->text(), version = txtVersion->text(),
                  date = txtDate->text(), time = txtTime->text();
    const QString empty = mCommon::emptyFieldsMessage(
        QStringLiteral("All fields have to be filled!"),
        {{QStringLiteral("Title"), title}, {QStringLiteral("Author"), author}, {QStringLiteral("Version"), version},
         {QStringLiteral("Date"), date}, {QStringLiteral("Time"), time}});
    if (!empty.isEmpty()) {
        box().exclamation(empty);
        return;
    }
    if (!mCommon::checkXMLChars(title, QStringLiteral("Book title"), box()))
        return;
    if (m_book && (title != m_book->Title || author != m_book->Author || version != m_book->Version ||
                   date != m_book->BookDate || time != m_book->BookTime)) {
        m_book->Title = title;
        m_book->Author = author;
        m_book->Version = version;
        m_book->BookDate = date;
        m_book->BookTime = time;
        if (m_ok)
            m_ok->Change = true;
    }
    accept();
}

void frmBookProperties::cmdCancel_Click()
{
    reject();
}
