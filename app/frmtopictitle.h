#pragma once
// The small title dialog for chapters and topics; the caller sets the
// caption, the description and the text of the button.
#include "formbase.h"

#include <QString>

#include <functional>

class QLabel;
class QLineEdit;
class QPushButton;
class cOKorCancel;
class cString;

class frmTopicTitle : public FormBase {
    Q_OBJECT
public:
    explicit frmTopicTitle(MsgBox* box = nullptr, QWidget* parent = nullptr);

    void setTopicTitle(cString* title) { m_title = title; }
    void setOKorCancel(cOKorCancel* ok) { m_ok = ok; }
    // The caller's own refusal of a title (a sibling of that name, say): a
    // reason keeps the dialog open with the text as typed.
    std::function<QString(const QString&)> refusal;

    QLabel* lblDesc;
    QLineEdit* txtTitle;
    QPushButton* cmdInsert;
    QPushButton* cmdCancel;

public slots:
    void cmdInsert_Click();
    void cmdCancel_Click();

protected:
    // Shows the title text.
    void onLoad() override;

private:
    cString* m_title = nullptr;
    cOKorCancel* m_ok = nullptr;
};
