#pragma once
// The dialogs of the language tools: the wrong word with its suggestions
// (frmSpellCheck), and the thesaurus' synonyms (frmSynonyms) and antonyms
// (frmAntonyms) of the selected word. Each answers through a cString: ""
// leaves the text as it is.
#include <QDialog>

#include <memory>

class MsgBox;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QTextBrowser;
class cString;
namespace langtools {
class cLanguageTools;
struct Folders;
}

class frmSpellCheck : public QDialog {
    Q_OBJECT
public:
    explicit frmSpellCheck(MsgBox* box = nullptr, QWidget* parent = nullptr);
    ~frmSpellCheck() override;

    // The word in and the answer out ("", the stop word or the new text).
    void FixedWord(cString* word);
    void HTMLText(const QString& page);
    void AddSugestion(const QString& text);

    QTextBrowser* dPara = nullptr;
    QLineEdit* txtNew = nullptr;
    QListWidget* lstSugest = nullptr;
    QPushButton* cmdReplace = nullptr;
    QPushButton* cmdSkip = nullptr;
    QPushButton* cmdStop = nullptr;

private:
    void answer(const QString& text);
    void replace();

    std::unique_ptr<MsgBox> m_ownBox;
    MsgBox* m_box;
    cString* m_word = nullptr;
};

// frmSynonyms and frmAntonyms share their frame: the word in txtNew looked
// up on every change, a list to choose from, Replace and Close.
class ThesaurusForm : public QDialog {
    Q_OBJECT
public:
    ~ThesaurusForm() override;

    void SelectedWord(cString* word);
    // The dictionary code the lookup uses; opens the form's own thesaurus.
    void WordLangID(const QString& code);

    QLineEdit* txtNew = nullptr;
    QPushButton* cmdReplace = nullptr;
    QPushButton* cmdClose = nullptr;

protected:
    ThesaurusForm(MsgBox* box, QWidget* parent, const langtools::Folders& folders);
    virtual void lookUp(const QString& word) = 0;
    // The chosen word of the form's answer list, or "" when none is chosen.
    virtual QString chosen() const = 0;
    void replace();

    langtools::cLanguageTools& tools() { return *m_tools; }
    QWidget* m_lists = nullptr; // where the form puts its lists

private:
    std::unique_ptr<MsgBox> m_ownBox;
    MsgBox* m_box;
    cString* m_word = nullptr;
    std::unique_ptr<langtools::cLanguageTools> m_tools;
};

class frmSynonyms : public ThesaurusForm {
    Q_OBJECT
public:
    explicit frmSynonyms(MsgBox* box = nullptr, QWidget* parent = nullptr);
    frmSynonyms(MsgBox* box, QWidget* parent, const langtools::Folders& folders);

    QListWidget* lstMeaning = nullptr;
    QListWidget* lstSynonym = nullptr;

protected:
    void lookUp(const QString& word) override;
    QString chosen() const override;

private:
    void build();
    void showMeaning(int row);
    QList<QStringList> m_synonyms;
};

class frmAntonyms : public ThesaurusForm {
    Q_OBJECT
public:
    explicit frmAntonyms(MsgBox* box = nullptr, QWidget* parent = nullptr);
    frmAntonyms(MsgBox* box, QWidget* parent, const langtools::Folders& folders);

    QListWidget* lstAntonym = nullptr;

protected:
    void lookUp(const QString& word) override;
    QString chosen() const override;

private:
    void build();
};
