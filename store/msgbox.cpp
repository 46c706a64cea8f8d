#include "msgbox.h"

#include <cstdio>

namespace {
const char* iconWord(MsgIcon icon)
{
    switch (icon) {
    case MsgIcon::Exclamation: return "warning";
    case MsgIcon::Critical: return "error";
    case MsgIcon::Question: return "question";
    case MsgIcon::Information: return "info";
    case MsgIcon::None: break;
    }
    return "message";
}
}

MsgAnswer ConsoleMsgBox::show(const QString& text, MsgButtons buttons, MsgIcon icon,
                              const QString& title)
{
    ++m_shown;
    QString body = text;
    body.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    MsgAnswer answer = MsgAnswer::OK;
    QString tail;
    switch (buttons) {
    case MsgButtons::OK:
        break;
    case MsgButtons::OKCancel:
        answer = m_yes ? MsgAnswer::OK : MsgAnswer::Cancel;
        tail = m_yes ? QStringLiteral(" [OK]") : QStringLiteral(" [Cancel]");
        break;
    case MsgButtons::YesNo:
    case MsgButtons::YesNoCancel:
        answer = m_yes ? MsgAnswer::Yes : MsgAnswer::No;
        tail = m_yes ? QStringLiteral(" [Yes]") : QStringLiteral(" [No]");
        break;
    }
    QString line = QStringLiteral("%1 (%2): %3%4\n")
                       .arg(title, QString::fromLatin1(iconWord(icon)), body, tail);
    std::fputs(line.toLocal8Bit().constData(), stderr);
    std::fflush(stderr);
    return answer;
}

MsgAnswer ScriptedMsgBox::show(const QString& text, MsgButtons buttons, MsgIcon icon,
                               const QString& title)
{
    m_shown.push_back({text, buttons, icon, title});
    if (buttons == MsgButtons::OK)
        return MsgAnswer::OK;
    MsgAnswer a;
    if (!m_answers.empty()) {
        a = m_answers.front();
        m_answers.pop_front();
    } else if (m_hasDefault) {
        a = m_default;
    } else {
        a = (buttons == MsgButtons::OKCancel) ? MsgAnswer::Cancel : MsgAnswer::No;
    }
    return a;
}

QStringList ScriptedMsgBox::texts() const
{
    QStringList out;
    for (const auto& s : m_shown)
        out << s.text;
    return out;
}
