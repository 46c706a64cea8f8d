#include "spellingcontroller.h"

#include "editingcontroller.h"
#include "frmspellcheck.h"
#include "holders.h"
#include "language.h"
#include "msgbox.h"
#include "pagekeys.h"
#include "session.h"
#include "websurface.h"

#include <QAction>
#include <QMenu>
#include <QWebEngineContextMenuRequest>
#include <QWebEngineProfile>

using namespace langtools;

namespace {

// The body of the topic on the surface as the walk sees it.
class PageRuns : public SpellTarget {
public:
    explicit PageRuns(EditingController& editing) : m_editing(editing) {}
    std::vector<TextRun> runs() override
    {
        std::vector<TextRun> out;
        for (const QVariant& v : m_editing.agentCall(QStringLiteral("textRuns")).toList()) {
            const QVariantMap m = v.toMap();
            out.push_back({m.value(pagekeys::spell::id).toInt(), m.value(pagekeys::spell::text).toString()});
        }
        return out;
    }
    void selectParent(int id) override { m_editing.agentCall(QStringLiteral("selectRun"), {id}); }
    void clearSelection() override { m_editing.agentCall(QStringLiteral("collapseSelection")); }
    void write(int id, const QString& text) override { m_editing.agentCall(QStringLiteral("writeRun"), {id, text}); }

private:
    EditingController& m_editing;
};

const int kMaxMenuSuggestions = 8;

} // namespace

SpellingController::SpellingController(WebSurface* surface, EditingController& editing, Session& session,
                                       QObject* parent)
    : QObject(parent), m_surface(surface), m_editing(editing), m_session(session)
{
}

QString SpellingController::askSpelling(const QString& word, const QString& page, const QStringList& suggestions)
{
    if (spellDialog)
        return spellDialog(word, page, suggestions);
    cString answer;
    answer.TextString = word;
    frmSpellCheck dlg(&m_session.box(), m_surface ? m_surface->window() : nullptr);
    dlg.FixedWord(&answer);
    dlg.HTMLText(page);
    for (const QString& s : suggestions)
        dlg.AddSugestion(s);
    // Closing the window is a skip.
    if (dlg.exec() != QDialog::Accepted)
        return {};
    return answer.TextString;
}

void SpellingController::spelling()
{
    if (!m_surface || !m_editing.active())
        return;
    cLanguageTools tools(folders);
    if (!tools.open(Tool::Spelling, currentLanguage(), m_session.box(), langsPath))
        return;
    const SpellAsk ask = [this](const QString& w, const QString& p, const QStringList& s) {
        return askSpelling(w, p, s);
    };
    const QString selected = m_editing.selectionWithoutClosingBlank();
    if (!selected.isEmpty()) {
        const QString answer = spellSelection(selected, tools, ask);
        if (!answer.isEmpty())
            m_editing.agentCall(QStringLiteral("replaceSelection"), {answer});
        m_editing.agentCall(QStringLiteral("collapseSelection"));
        m_editing.updateDisplay();
        return;
    }
    PageRuns page(m_editing);
    spellBody(page, tools, ask);
    m_session.box().info(QStringLiteral("Spell checking finished!"));
    m_editing.updateDisplay();
}

void SpellingController::synonyms()
{
    thesaurus(Tool::Synonyms);
}

void SpellingController::antonyms()
{
    thesaurus(Tool::Antonyms);
}

void SpellingController::thesaurus(Tool tool)
{
    if (!m_surface || !m_editing.active())
        return;
    QString code;
    {
        cLanguageTools tools(folders);
        if (!tools.open(tool, currentLanguage(), m_session.box(), langsPath))
            return;
        code = tools.code();
    }
    const QString selected = m_editing.selectionWithoutClosingBlank();
    QString answer;
    if (thesaurusDialog) {
        answer = thesaurusDialog(tool, selected, code);
    } else {
        cString word;
        word.TextString = selected;
        QWidget* parent = m_surface->window();
        std::unique_ptr<ThesaurusForm> dlg;
        if (tool == Tool::Synonyms)
            dlg = std::make_unique<frmSynonyms>(&m_session.box(), parent, folders);
        else
            dlg = std::make_unique<frmAntonyms>(&m_session.box(), parent, folders);
        dlg->WordLangID(code);
        dlg->SelectedWord(&word);
        dlg->exec();
        answer = word.TextString;
    }
    if (!answer.isEmpty() && !selected.isEmpty())
        m_editing.agentCall(QStringLiteral("replaceSelection"), {answer});
    m_editing.updateDisplay();
}

// --- as the author types ----------------------------------------------------------

void SpellingController::prepareSurface()
{
    if (!m_surface)
        return;
    const QString lang = currentLanguage();
    if (lang == m_surfaceLanguage)
        return;
    m_surfaceLanguage = lang;
    m_surfaceCode.clear();
    QWebEngineProfile* profile = m_surface->page()->profile();
    QString name;
    QStringList codes;
    ScriptedMsgBox quiet;
    QString code;
    if (!lang.isEmpty() && languageCodes(lang, quiet, langsPath, name, codes))
        code = cLanguageTools(folders).firstInstalled(Tool::Spelling, codes);
    QString why;
    if (code.isEmpty() || !ensureWebDictionary(folders, code, &why)) {
        if (!why.isEmpty())
            qWarning("spelling as you type is off: %s", qPrintable(why));
        profile->setSpellCheckEnabled(false);
        return;
    }
    m_surfaceCode = code;
    profile->setSpellCheckLanguages({webDictionaryName(code)});
    profile->setSpellCheckEnabled(true);
}

bool SpellingController::addMisspellingEntries(QMenu* menu)
{
    if (!m_surface || m_surfaceCode.isEmpty())
        return false;
    QWebEngineContextMenuRequest* request = m_surface->lastContextMenuRequest();
    if (!request || request->misspelledWord().isEmpty())
        return false;
    const QString word = request->misspelledWord();
    const QStringList suggestions = request->spellCheckerSuggestions();
    for (const QString& s : suggestions.mid(0, kMaxMenuSuggestions)) {
        QAction* a = menu->addAction(s);
        QFont f = a->font();
        f.setBold(true);
        a->setFont(f);
        connect(a, &QAction::triggered, this, [this, s] {
            if (m_surface)
                m_surface->page()->replaceMisspelledWord(s);
        });
    }
    if (suggestions.isEmpty())
        menu->addAction(QStringLiteral("(no suggestions)"))->setEnabled(false);
    QAction* add = menu->addAction(QStringLiteral("Add to Dictionary"));
    add->setObjectName(QStringLiteral("mnuAddToDictionary"));
    connect(add, &QAction::triggered, this, [this, word] { addToDictionary(word); });
    return true;
}

bool SpellingController::addToDictionary(const QString& word)
{
    QString why;
    if (!addPersonalWord(folders.personal, word, &why)) {
        m_session.box().exclamation(QStringLiteral("The word could not be added to the dictionary:\n") +
                                    (why.isEmpty() ? word : why));
        return false;
    }
    if (m_surface && !m_surfaceCode.isEmpty() && ensureWebDictionary(folders, m_surfaceCode, &why, true)) {
        // The spell checker reads its dictionary again when the language is set anew.
        QWebEngineProfile* profile = m_surface->page()->profile();
        profile->setSpellCheckLanguages({});
        profile->setSpellCheckLanguages({webDictionaryName(m_surfaceCode)});
    }
    return true;
}
