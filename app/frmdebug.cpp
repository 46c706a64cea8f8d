#include "frmdebug.h"

#include <QListWidget>
#include <QVBoxLayout>

frmDebug::frmDebug(QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmDebug"));
    setWindowTitle(QStringLiteral("Debug Listing"));
    lstDebug = new QListWidget(this);
    lstDebug->setObjectName(QStringLiteral("lstDebug"));
    auto* top = new QVBoxLayout(this);
    top->setContentsMargins(0, 0, 0, 0);
    top->addWidget(lstDebug);
    resize(480, 320);
}

void frmDebug::add(const QString& line)
{
    lstDebug->addItem(line);
    lstDebug->scrollToBottom();
}
