#pragma once
// Edits the properties of an existing book: title, author, version, date, time.
#include "formbase.h"

class QLineEdit;
class QPushButton;
class cBook;
class cOKorCancel;

class frmBookProperties : public FormBase {
    Q_OBJECT
public:
    explicit frmBookProperties(MsgBox* box = nullptr, QWidget* parent = nullptr);

    void setBookProperties(cBook* book) { m_book = book; }
    void setOKorCancel(cOKorCancel* ok) { m_ok = ok; }

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
    // Fills the fields from the book.
    void onLoad() override;

private:
    cBook* m_book = nullptr;
    cOKorCancel* m_ok = nullptr;
};
