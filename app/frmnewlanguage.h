#pragma once
// Add New Language: the project's languages, a choice from the installed
// list (or a name typed in) with its abbreviation, and the button that adds
// it. The checks and the rewrite of the files live in exchange/.
#include "formbase.h"
#include "langlist.h"

#include <QString>

class QComboBox;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class cProject;

class frmNewLanguage : public FormBase {
    Q_OBJECT
public:
    // box: where messages go; a QtMsgBox on this form when null.
    explicit frmNewLanguage(MsgBox* box = nullptr, QWidget* parent = nullptr);

    void SetProject(cProject* project) { m_project = project; }
    // langs.xml to read instead of the one in the program folder.
    void setLanguageFile(const QString& path) { m_langFile = path; }
    // Whether a language was added.
    bool added() const { return m_added; }

    QListWidget* lstExisting;
    QComboBox* cmbLangs;
    QLineEdit* txtAbrev;
    QPushButton* cmdAdd;
    QPushButton* cmdCancel;
    QProgressBar* pbWork;
    bool working() const { return m_working; }

public slots:
    void cmbLangs_Click(int index);
    void cmdAdd_Click();
    void cmdCancel_Click();
    // No way out while the language is added; Cancel stops the work then.
    void reject() override;

protected:
    // The project's languages and the installed list.
    void onLoad() override;
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    cProject* m_project = nullptr;
    QString m_langFile;
    cLangList m_langs;
    bool m_added = false;
    bool m_placed = false;
    bool m_working = false;
};
