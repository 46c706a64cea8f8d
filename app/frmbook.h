#pragma once
// The new-project form: book properties, main language and further
// languages, and the path of the project file. The checks and the files
// live in newproject.h; this is the view.
#include "formbase.h"
#include "newproject.h"

#include <QString>

#include <functional>
#include <vector>

class QComboBox;
class QGroupBox;
class QLineEdit;
class QListWidget;
class QPushButton;
class cBook;
class cOKorCancel;

class frmBook : public FormBase {
    Q_OBJECT
public:
    // Asks the path of the new project file; empty for Cancel.
    using SavePathFn = std::function<QString(QWidget* parent, const QString& filter)>;
    static const QString kSaveFilter;

    // box: where messages go; a QtMsgBox on this form when null.
    explicit frmBook(MsgBox* box = nullptr, QWidget* parent = nullptr);

    void setBookProperties(cBook* book) { m_book = book; }
    void setOKorCancel(cOKorCancel* ok) { m_ok = ok; }
    // Replaces the file dialog (cdSave), for tests and scripts.
    void setSavePath(SavePathFn fn) { m_savePath = std::move(fn); }
    // langs.xml to read instead of the one in the program folder.
    void setLanguageFile(const QString& path) { m_langFile = path; }
    // The file dialog of cdSave.
    static QString askSavePath(QWidget* parent, const QString& filter);

    QLineEdit* txtTitle;
    QLineEdit* txtAuthor;
    QLineEdit* txtVersion;
    QLineEdit* txtDate;
    QLineEdit* txtTime;
    QComboBox* cmbMainLang;
    QLineEdit* txtMainAbbrev;
    QGroupBox* frmLangs;
    QComboBox* cmbOtherLang;
    QLineEdit* txtAbrev;
    QListWidget* lstName;
    QListWidget* lstAbrev;
    QPushButton* cmdAdd;
    QPushButton* cmdRemove;
    QPushButton* cmdShowAll;
    QPushButton* cmdInsert;
    QPushButton* cmdCancel;

public slots:
    void cmdAdd_Click();
    void cmdRemove_Click();
    void cmdShowAll_Click();
    void cmdInsert_Click();
    void cmdCancel_Click();

protected:
    // Date, time and the languages of langs.xml.
    void onLoad() override;
    void showEvent(QShowEvent* event) override;

private:
    BookForm formFields() const;
    void pickLanguage(QComboBox* combo, QLineEdit* abbrev, int index);

    cBook* m_book = nullptr;
    cOKorCancel* m_ok = nullptr;
    SavePathFn m_savePath;
    QString m_langFile;
    std::vector<LanguageEntry> m_langs;
};
