#include "frmabout.h"

#include "msgbox.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#ifndef QUILLARY_VERSION
#define QUILLARY_VERSION "0.0.0"
#endif

QString frmAbout::productName()
{
    return kAppTitle;
}

QString frmAbout::version()
{
    return QStringLiteral(QUILLARY_VERSION);
}

frmAbout::frmAbout(QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmAbout"));
    setWindowTitle(QStringLiteral("About ") + productName());

    lblProduct = new QLabel(productName(), this);
    lblProduct->setObjectName(QStringLiteral("lblProduct"));
    QFont f = lblProduct->font();
    f.setBold(true);
    f.setPointSizeF(f.pointSizeF() * 1.5);
    lblProduct->setFont(f);
    lblVersion = new QLabel(QStringLiteral("Version ") + version(), this);
    lblVersion->setObjectName(QStringLiteral("lblVersion"));
    auto* desc = new QLabel(QStringLiteral("Authoring tool for multi-language help systems and manuals"), this);
    desc->setObjectName(QStringLiteral("lblDescription"));

    cmdOK = new QPushButton(QStringLiteral("OK"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    connect(cmdOK, &QPushButton::clicked, this, &QDialog::accept);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdOK);
    auto* top = new QVBoxLayout(this);
    top->addWidget(lblProduct);
    top->addWidget(lblVersion);
    top->addWidget(desc);
    top->addSpacing(12);
    top->addLayout(buttons);
    top->setSizeConstraint(QLayout::SetFixedSize);
}
