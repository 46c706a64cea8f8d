#pragma once
// Message boxes of the desktop program: every MsgBox call becomes a modal
// QMessageBox.
#include "msgbox.h"

#include <QPointer>
#include <QWidget>

class QtMsgBox : public MsgBox {
public:
    // parent: the window the boxes belong to; the active window when null.
    explicit QtMsgBox(QWidget* parent = nullptr) : m_parent(parent) {}
    MsgAnswer show(const QString& text, MsgButtons buttons, MsgIcon icon,
                   const QString& title) override;
    void setParent(QWidget* parent) { m_parent = parent; }

private:
    QPointer<QWidget> m_parent;
};
