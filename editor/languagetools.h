#pragma once
// Spelling, synonyms and antonyms for one language on Hunspell and MyThes:
// which installed dictionary a language gets (the codes of its wordcode row
// in langs.xml, first installed wins), the checks and lookups the dialogs
// need, the user's personal word list that every check honours, and the
// converted dictionaries the editing surface checks with as the author
// types. No window here.
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

class MsgBox;

namespace langtools {

enum class Tool { Spelling, Synonyms, Antonyms };

// Where dictionaries are found, first folder first, and where the user's
// own files go.
struct Folders {
    QStringList hunspell;    // CODE.aff and CODE.dic
    QStringList thesaurus;   // th_CODE_v2.idx/.dat or th_CODE.idx/.dat
    QString personal;        // the personal word list: UTF-8, one word a line
    QString webDictionaries; // CODE-with-dash.bdic for the editing surface
};
// The user's data folder first (dictionaries/), then Debian's
// /usr/share/hunspell and /usr/share/mythes.
Folders defaultFolders();

// The Debian package that brings a code's dictionary (Spelling) or
// thesaurus (Synonyms, Antonyms): "hunspell-de-de", "mythes-de", ...
QString packageFor(Tool tool, const QString& code);

// "You don't have installed German dictionary! Spell checking is not
// available!" and its forms, with a line that names the package.
QString missingMessage(Tool tool, const QString& languageName, const QStringList& codes);

struct Meaning {
    QString text;         // as the thesaurus gives it: "(adj) large"
    QStringList synonyms; // words, without the thesaurus' remarks
};

// The personal word list.
QStringList loadPersonalWords(const QString& path);
bool addPersonalWord(const QString& path, const QString& word, QString* error = nullptr);

// The row of a language abbreviation in langs.xml (the program folder's
// unless given): its name and its codes (the abbreviation itself when there
// is no row). False after the message of a missing or damaged list.
bool languageCodes(const QString& abbrev, MsgBox& box, const QString& langsPath, QString& name, QStringList& codes);

class cLanguageTools {
public:
    explicit cLanguageTools(Folders folders = defaultFolders());
    ~cLanguageTools();
    cLanguageTools(const cLanguageTools&) = delete;
    cLanguageTools& operator=(const cLanguageTools&) = delete;

    // Finds the row of the language abbreviation in langs.xml (the program
    // folder's unless given) and opens the first of its codes that has what
    // the tool needs. False after the message ("damaged", "not installed").
    bool open(Tool tool, const QString& abbrev, MsgBox& box, const QString& langsPath = {});
    // The first of codes with what the tool needs, or "".
    QString firstInstalled(Tool tool, const QStringList& codes) const;
    // Opens one code; false when it has not what the tool needs.
    bool openCode(Tool tool, const QString& code);
    QString code() const { return m_code; }
    const Folders& folders() const { return m_folders; }

    bool hasDictionary(const QString& code) const;
    // The path of a code's dictionary without ".aff"/".dic", or "".
    QString dictionaryBase(const QString& code) const;
    bool hasThesaurus(const QString& code) const;

    // True when the word is right. Punctuation around it is no part of the
    // word; a piece without a letter is always right.
    bool check(const QString& word);
    // The engine's suggestions in its order, with the punctuation around
    // the word kept.
    QStringList suggestions(const QString& word);
    // The thesaurus: the word's meanings with their synonyms, and its
    // antonyms over all meanings. Tried as written, in lower case, then by
    // the dictionary's stems.
    QList<Meaning> meanings(const QString& word);
    QStringList antonyms(const QString& word);

    // Adds to the personal list and to the open dictionary.
    bool addWord(const QString& word, QString* error = nullptr);

private:
    struct Engines;
    QString dicPath(const QString& code, const char* ext) const;
    QString thesaurusPath(const QString& code, const char* ext) const;
    bool openSpelling(const QString& code);
    bool openThesaurus(const QString& code);
    QStringList lookupForms(const QString& word);
    // Each meaning of the first form of word the thesaurus knows, with its
    // entries as written there.
    void lookUp(const QString& word, const std::function<void(const QString& meaning, const QStringList& entries)>& each);

    Folders m_folders;
    QString m_code;
    std::unique_ptr<Engines> m_engines;
};

// --- the spelling walk --------------------------------------------------------

// The answer of the spelling dialog that ends the whole check.
extern const char* const kStopWord;

// The page the spelling dialog shows: the words with blanks between them,
// the one at wrong alone in <a>.
QString spellPage(const QStringList& words, int wrong);

// The text nodes of a topic body as the walk sees them: adjacent text
// nodes joined, in document order.
struct TextRun {
    int id = -1;
    QString text;
};

class SpellTarget {
public:
    virtual ~SpellTarget() = default;
    virtual std::vector<TextRun> runs() = 0;
    // Selects the text of the run's parent element, while the dialog asks.
    virtual void selectParent(int id) = 0;
    virtual void clearSelection() = 0;
    // Writes a changed run back (into its first node; the others go).
    virtual void write(int id, const QString& text) = 0;
};

// Asks about a wrong word: "" leaves it, kStopWord ends the check, other
// text replaces it.
using SpellAsk = std::function<QString(const QString& word, const QString& page, const QStringList& suggestions)>;

// The whole body: words split at blanks, each wrong one asked about; a
// run's replacements are written when the run is done, so a stop keeps
// those of earlier runs and loses the present one's. True when stopped.
bool spellBody(SpellTarget& target, cLanguageTools& tools, const SpellAsk& ask);

// A selected text (its closing blank already cut off): the replacement, or
// "" when it stays.
QString spellSelection(const QString& text, cLanguageTools& tools, const SpellAsk& ask);

// --- the editing surface's dictionaries ----------------------------------------

// The name the surface's spell checker knows a code by: "en-US".
QString webDictionaryName(const QString& code);
// Builds WEBDICTS/en-US.bdic from the installed dictionary and the personal
// words with qwebengine_convert_dict, unless it is newer than both. False
// with a reason when the dictionary or the converter is missing.
bool ensureWebDictionary(const Folders& folders, const QString& code, QString* error = nullptr,
                         bool force = false);
// The converter: Qt's libexec folder, else the PATH; "" when not found.
QString converterPath();

} // namespace langtools
