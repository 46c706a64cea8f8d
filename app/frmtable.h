#pragma once
// Table Properties: the shape of a new table. Exchanges a cDesignTable and a
// cOKorCancel with the Table command.
#include <QDialog>

#include <memory>

class MsgBox;
class QCheckBox;
class QLineEdit;
class QPushButton;
class cDesignTable;
class cOKorCancel;

class frmTable : public QDialog {
    Q_OBJECT
public:
    explicit frmTable(MsgBox* box = nullptr, QWidget* parent = nullptr);
    ~frmTable() override;

    void Element(cDesignTable* table) { m_table = table; }
    void OKorCancel(cOKorCancel* ok) { m_ok = ok; }

    QLineEdit* txtRows;
    QLineEdit* txtColumns;
    QLineEdit* txtDescription;
    QCheckBox* chkBorder;
    QCheckBox* chkHeader;
    QPushButton* cmdInsert;
    QPushButton* cmdCancel;

public slots:
    void cmdInsert_Click();
    void cmdCancel_Click();
    void reject() override;

private:
    std::unique_ptr<MsgBox> m_ownBox;
    MsgBox* m_box;
    cDesignTable* m_table = nullptr;
    cOKorCancel* m_ok = nullptr;
};
