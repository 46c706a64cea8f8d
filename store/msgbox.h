#pragma once
// Every message box and question of the system goes through MsgBox, so the
// desktop program shows a dialog, the command line prints, and tests script it.
#include <QString>
#include <QStringList>
#include <deque>
#include <vector>

enum class MsgIcon { None, Information, Exclamation, Question, Critical };
enum class MsgButtons { OK, OKCancel, YesNo, YesNoCancel };
enum class MsgAnswer { OK, Cancel, Yes, No };

inline const QString kAppTitle = QStringLiteral("Quillary Author");

class MsgBox {
public:
    virtual ~MsgBox() = default;
    virtual MsgAnswer show(const QString& text, MsgButtons buttons, MsgIcon icon,
                           const QString& title) = 0;

    // Shorthands for the common kinds of box.
    void exclamation(const QString& text, const QString& title = kAppTitle)
    {
        show(text, MsgButtons::OK, MsgIcon::Exclamation, title);
    }
    void stop(const QString& text, const QString& title = kAppTitle)
    {
        show(text, MsgButtons::OK, MsgIcon::Critical, title);
    }
    void info(const QString& text, const QString& title = kAppTitle)
    {
        show(text, MsgButtons::OK, MsgIcon::Information, title);
    }
    bool yesNo(const QString& text, MsgIcon icon = MsgIcon::Question,
               const QString& title = kAppTitle)
    {
        return show(text, MsgButtons::YesNo, icon, title) == MsgAnswer::Yes;
    }
};

// Prints every box to stderr; questions take the answer given at construction
// (the command line's --yes / --no, No by default).
class ConsoleMsgBox : public MsgBox {
public:
    explicit ConsoleMsgBox(bool assumeYes = false) : m_yes(assumeYes) {}
    MsgAnswer show(const QString& text, MsgButtons buttons, MsgIcon icon,
                   const QString& title) override;
    void setAssumeYes(bool yes) { m_yes = yes; }
    int shown() const { return m_shown; }

private:
    bool m_yes;
    int m_shown = 0;
};

// Records every box and answers from a script; used by tests and benchmarks.
class ScriptedMsgBox : public MsgBox {
public:
    struct Shown {
        QString text;
        MsgButtons buttons;
        MsgIcon icon;
        QString title;
    };
    MsgAnswer show(const QString& text, MsgButtons buttons, MsgIcon icon,
                   const QString& title) override;

    // Answers given to the next questions, in order. With none left a
    // question gets the default answer (No, or Cancel where there is no No).
    void answer(MsgAnswer a) { m_answers.push_back(a); }
    void setDefault(MsgAnswer a) { m_default = a; m_hasDefault = true; }

    const std::vector<Shown>& all() const { return m_shown; }
    bool empty() const { return m_shown.empty(); }
    QString last() const { return m_shown.empty() ? QString() : m_shown.back().text; }
    MsgIcon lastIcon() const { return m_shown.empty() ? MsgIcon::None : m_shown.back().icon; }
    QStringList texts() const;
    void clear() { m_shown.clear(); }

private:
    std::vector<Shown> m_shown;
    std::deque<MsgAnswer> m_answers;
    MsgAnswer m_default = MsgAnswer::No;
    bool m_hasDefault = false;
};
