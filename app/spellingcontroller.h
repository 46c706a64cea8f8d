#pragma once
// The language tools on the editing surface: the Spelling, Synonyms and
// Antonyms commands with their dialogs, and the surface's own spell
// checking as the author types (its dictionary, its context menu entries).
// The rules are langtools'; this class only carries them to the page.
#include "languagetools.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>

class EditingController;
class QMenu;
class Session;
class WebSurface;

class SpellingController : public QObject {
    Q_OBJECT
public:
    SpellingController(WebSurface* surface, EditingController& editing, Session& session,
                       QObject* parent = nullptr);

    void spelling();
    void synonyms();
    void antonyms();

    // The surface checks as the author types in the current language:
    // builds its dictionary when needed and switches it on (off when the
    // language has none). Quiet: the commands give the messages.
    void prepareSurface();
    QString surfaceLanguage() const { return m_surfaceLanguage; }
    // The entries for a misspelt word under a right click: its suggestions
    // and "Add to Dictionary"; false when the click was on no such word.
    bool addMisspellingEntries(QMenu* menu);
    // Adds a word to the personal list; the surface's dictionary follows.
    bool addToDictionary(const QString& word);

    // Replaceable (tests): the dialogs. Each returns the answer ("" for no
    // change; the spelling dialog may give the stop word).
    std::function<QString(const QString& word, const QString& page, const QStringList& suggestions)> spellDialog;
    std::function<QString(langtools::Tool tool, const QString& word, const QString& code)> thesaurusDialog;
    langtools::Folders folders = langtools::defaultFolders();
    QString langsPath; // langs.xml; the program folder's when empty

private:
    void thesaurus(langtools::Tool tool);
    // The selection with its closing blank cut off; "" when there is none.
    QString selectedText();
    QString askSpelling(const QString& word, const QString& page, const QStringList& suggestions);
    QVariant agent(const QString& function, const QVariantList& args = {});

    QPointer<WebSurface> m_surface;
    EditingController& m_editing;
    Session& m_session;
    QString m_surfaceLanguage;
    QString m_surfaceCode;
};
