#pragma once
// The small title dialog for chapters and topics; the caller sets the
// caption, the description and the text of the button.
#include <QDialog>

#include <memory>

class MsgBox;
class QLabel;
class QLineEdit;
class QPushButton;
class cOKorCancel;
class cString;

class frmTopicTitle : public QDialog {
    Q_OBJECT
public:
    explicit frmTopicTitle(MsgBox* box = nullptr, QWidget* parent = nullptr);
    ~frmTopicTitle() override;

    void setTopicTitle(cString* title) { m_title = title; }
    void setOKorCancel(cOKorCancel* ok) { m_ok = ok; }
    // Shows the title text; runs once, at the first show at the latest.
    void load();

    QLabel* lblDesc;
    QLineEdit* txtTitle;
    QPushButton* cmdInsert;
    QPushButton* cmdCancel;

public slots:
    void cmdInsert_Click();
    void cmdCancel_Click();

protected:
    void showEvent(QShowEvent* event) override;

private:
    std::unique_ptr<MsgBox> m_ownBox;
    MsgBox* m_box;
    cString* m_title = nullptr;
    cOKorCancel* m_ok = nullptr;
    bool m_loaded = false;
};
