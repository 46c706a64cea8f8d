#include "qtmsgbox.h"

#include <QApplication>
#include <QMessageBox>

MsgAnswer QtMsgBox::show(const QString& text, MsgButtons buttons, MsgIcon icon, const QString& title)
{
    QMessageBox::Icon qicon = QMessageBox::NoIcon;
    switch (icon) {
    case MsgIcon::None: qicon = QMessageBox::NoIcon; break;
    case MsgIcon::Information: qicon = QMessageBox::Information; break;
    case MsgIcon::Exclamation: qicon = QMessageBox::Warning; break;
    case MsgIcon::Question: qicon = QMessageBox::Question; break;
    case MsgIcon::Critical: qicon = QMessageBox::Critical; break;
    }
    QMessageBox::StandardButtons std;
    QMessageBox::StandardButton first = QMessageBox::Ok, escape = QMessageBox::Ok;
    switch (buttons) {
    case MsgButtons::OK:
        std = QMessageBox::Ok;
        break;
    case MsgButtons::OKCancel:
        std = QMessageBox::Ok | QMessageBox::Cancel;
        escape = QMessageBox::Cancel;
        break;
    case MsgButtons::YesNo:
        std = QMessageBox::Yes | QMessageBox::No;
        first = QMessageBox::Yes;
        escape = QMessageBox::No;
        break;
    case MsgButtons::YesNoCancel:
        std = QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
        first = QMessageBox::Yes;
        escape = QMessageBox::Cancel;
        break;
    }
    QWidget* parent = m_parent ? m_parent.data() : QApplication::activeWindow();
    // Messages carry CRLF line ends; a label wants plain line feeds.
    QString shown = text;
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    QMessageBox box(qicon, title.isEmpty() ? kAppTitle : title, shown, std, parent);
    box.setObjectName(QStringLiteral("msgBox"));
    box.setTextFormat(Qt::PlainText);
    box.setDefaultButton(first);
    box.setEscapeButton(escape);
    switch (box.exec()) {
    case QMessageBox::Ok: return MsgAnswer::OK;
    case QMessageBox::Yes: return MsgAnswer::Yes;
    case QMessageBox::No: return MsgAnswer::No;
    case QMessageBox::Cancel: return MsgAnswer::Cancel;
    default:
        // Closed by other means: the answer of the escape button.
        switch (escape) {
        case QMessageBox::No: return MsgAnswer::No;
        case QMessageBox::Cancel: return MsgAnswer::Cancel;
        default: return MsgAnswer::OK;
        }
    }
}
