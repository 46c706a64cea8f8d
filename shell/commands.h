#pragma once
// The commands of the window in one table: a typed id for each, the name its
// control carries, its text, its toolbar key, its shortcut and the state of
// the session that enables it. The window makes one action per row; the
// session publishes which ids are enabled.
#include <QList>
#include <QString>

#include <map>
#include <optional>
#include <span>

enum class CommandId {
    New, Open, Save, Exit, CloseProject, RemoveMissingRecent,
    Undo, Redo, Cut, Copy, Paste, Find, Spelling, Synonyms, Antonyms,
    Output, Verify, Backup, ExportImport, Export, Import, Unlock, XliffExport, XliffImport, NewLanguage, ContextHelp,
    Search, RenameNode, DeleteNode,
    Settings, About, Shortcuts, Debug,
    InsertBook, InsertChapterToBook, DeleteBook, BookProperties,
    InsertTopic, InsertChapterBefore, InsertChapterAfter, InsertChapter, DeleteChapter, ChapterProperties,
    InsertTopicBefore, InsertTopicAfter, DeleteTopic, Complete, Index,
    UnlockProject,
    EditElement, DeleteElement,
    // The element and the table toolbars, switched as a whole; within them
    // each button follows the place of the caret.
    ElementTools, TableTools,
};

// The state of the session a command needs.
enum class Enabler {
    Always,      // nothing
    Project,     // an open project
    Unlocked,    // an open project, not export-locked, whose files can be written
    Locked,      // an export-locked project whose files can be written
    Book,        // an open project whose book can be changed (not locked, writable)
    Editing,     // an editable topic on the page
    Reading,     // a topic on the page, editable or not: copy and find
};

struct Command {
    CommandId id;
    const char* objectName;
    const char* text;
    const char* toolbarKey; // the common toolbar's key and tip; null when not there
    const char* shortcut;   // portable text; null for none
    Enabler enabler;
    bool available;         // false: shown, never enabled, its form is not built yet
};

// Which commands are enabled.
using Enabling = std::map<CommandId, bool>;

std::span<const Command> commandTable();
const Command& commandInfo(CommandId id);
// By object name or toolbar key.
std::optional<CommandId> commandByName(const QString& name);

// The keys of the window as the Keyboard Shortcuts page lists them: what
// the key does and the key in the desktop's own words.
struct ShortcutRow {
    QString what;
    QString keys;
};
QList<ShortcutRow> shortcutRows();

// The numbered actions on topics and chapters, with their numbers.
enum class TopicAction { Save = 1, Delete = 2, InsertBefore = 3, InsertAfter = 4, Insert = 5 };
enum class ChapterAction { Delete = 6, InsertBefore = 7, InsertAfter = 8, Insert = 9 };
