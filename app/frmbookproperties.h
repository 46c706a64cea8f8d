#pragma once
// Edits the properties of an existing book: title, author, version, date, time.
#include <QDialog>

#include <memory>

class MsgBox;
class QLineEdit;
class QPushButton;
class cBook;
class cOKorCancel;

class frmBookProperties : public QDialog {
    Q_OBJECT
public:
    explicit frmBookProperties(MsgBox* box = nullptr, QWidget* parent = nullptr);
    ~frmBookProperties() override;

    void setBookProperties(cBook* book) { m_book = book; }
    void setOKorCancel(cOKorCancel* ok) { m_ok = ok; }
    // Fills the fields from the book; runs once, at the first show at the latest.
    void load();

    QLineEdit* txtTitle;
    QLineEdit* txtAuthor;
    QLineEdit* txtVersion;
    QLineEdit* txtDate;
    QLineEdit* txtTime;
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
    cBook* m_book = nullptr;
    cOKorCancel* m_ok = nullptr;
    bool m_loaded = false;
};
