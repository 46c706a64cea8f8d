#pragma once
// What the small entry forms share: the box their messages go to, a load
// step that runs once, and the row of the two closing buttons.
#include <QDialog>

#include <memory>

class MsgBox;
class QHBoxLayout;
class QPushButton;

class FormBase : public QDialog {
    Q_OBJECT
public:
    ~FormBase() override;

    // The form's load step; runs once, at the first show at the latest.
    void load();

protected:
    // box: where messages go; a QtMsgBox on this form when null.
    FormBase(MsgBox* box, QWidget* parent);

    virtual void onLoad() = 0;
    void showEvent(QShowEvent* event) override;
    // cmdInsert, the default button, and cmdCancel at the right end.
    QHBoxLayout* closingButtons(const QString& insertText, QPushButton*& insert, QPushButton*& cancel);

    MsgBox& box() const { return *m_box; }

private:
    std::unique_ptr<MsgBox> m_ownBox;
    MsgBox* m_box;
    bool m_loaded = false;
};
