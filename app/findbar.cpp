#include "findbar.h"

#include <QCheckBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <QToolButton>

FindBar::FindBar(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("findBar"));
    auto* label = new QLabel(QStringLiteral("Find:"), this);
    txtFind = new QLineEdit(this);
    txtFind->setObjectName(QStringLiteral("txtFind"));
    txtFind->setClearButtonEnabled(true);
    txtFind->setMinimumWidth(220);
    label->setBuddy(txtFind);

    auto tool = [this](const char* name, const QString& text, const QString& tip) {
        auto* b = new QToolButton(this);
        b->setObjectName(QString::fromLatin1(name));
        b->setText(text);
        b->setToolTip(tip);
        b->setAutoRaise(true);
        return b;
    };
    cmdPrevious = tool("cmdFindPrevious", QStringLiteral("\u25B2"), QStringLiteral("Previous match (Shift+Enter)"));
    cmdNext = tool("cmdFindNext", QStringLiteral("\u25BC"), QStringLiteral("Next match (Enter)"));
    chkMatchCase = new QCheckBox(QStringLiteral("Match &case"), this);
    chkMatchCase->setObjectName(QStringLiteral("chkMatchCase"));
    lblResult = new QLabel(this);
    lblResult->setObjectName(QStringLiteral("lblFindResult"));
    cmdClose = tool("cmdFindClose", QStringLiteral("\u2715"), QStringLiteral("Close (Escape)"));

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(6, 3, 6, 3);
    row->addWidget(label);
    row->addWidget(txtFind);
    row->addWidget(cmdPrevious);
    row->addWidget(cmdNext);
    row->addSpacing(8);
    row->addWidget(chkMatchCase);
    row->addSpacing(8);
    row->addWidget(lblResult, 1);
    row->addWidget(cmdClose);

    connect(txtFind, &QLineEdit::textChanged, this, [this] { search(false); });
    connect(txtFind, &QLineEdit::returnPressed, this, [this] {
        search(QGuiApplication::keyboardModifiers() & Qt::ShiftModifier);
    });
    connect(cmdNext, &QToolButton::clicked, this, &FindBar::findNext);
    connect(cmdPrevious, &QToolButton::clicked, this, &FindBar::findPrevious);
    connect(chkMatchCase, &QCheckBox::toggled, this, [this] { search(false); });
    connect(cmdClose, &QToolButton::clicked, this, &FindBar::closeBar);
    hide();
}

void FindBar::open()
{
    show();
    txtFind->setFocus(Qt::ShortcutFocusReason);
    txtFind->selectAll();
    if (!txtFind->text().isEmpty())
        search(false);
}

void FindBar::findNext()
{
    search(false);
}

void FindBar::findPrevious()
{
    search(true);
}

void FindBar::search(bool backward)
{
    const QString text = txtFind->text();
    int matches = onFind ? onFind(text, backward, chkMatchCase->isChecked()) : 0;
    if (text.isEmpty())
        lblResult->clear();
    else if (matches == 0)
        lblResult->setText(QStringLiteral("Not found"));
    else if (matches == 1)
        lblResult->setText(QStringLiteral("1 match"));
    else
        lblResult->setText(QStringLiteral("%1 matches").arg(matches));
}

void FindBar::closeBar()
{
    if (onFind)
        onFind(QString(), false, false);
    lblResult->clear();
    hide();
    if (onClosed)
        onClosed();
}

void FindBar::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape) {
        closeBar();
        return;
    }
    QWidget::keyPressEvent(event);
}
