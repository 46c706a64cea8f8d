#include "commands.h"

#include <algorithm>

namespace {

using E = Enabler;
using C = CommandId;

// Shortcuts: several are separated by ";".
const Command kCommands[] = {
    {C::New, "mnuNew", "&New", "New", "Ctrl+N", E::Always, true},
    {C::Open, "mnuOpen", "&Open...", "Open", "Ctrl+O", E::Always, true},
    {C::Save, "mnuSave", "&Save", "Save", "Ctrl+S", E::Editing, true},
    {C::Exit, "mnuExit", "E&xit", nullptr, "Ctrl+Q", E::Always, true},
    {C::CloseProject, "mnuCloseProject", "&Close Project", nullptr, "Ctrl+W", E::Project, true},
    {C::RemoveMissingRecent, "mnuRemoveMissingRecent", "&Remove Missing Projects", nullptr, nullptr, E::Always, true},
    {C::Undo, "mnuUndo", "&Undo", "Undo", "Ctrl+Z", E::Editing, true},
    {C::Redo, "mnuRedo", "&Redo", "Redo", "Ctrl+Y;Ctrl+Shift+Z", E::Editing, true},
    {C::Cut, "mnuCut", "Cu&t", "Cut", "Ctrl+X", E::Editing, true},
    {C::Copy, "mnuCopy", "&Copy", "Copy", "Ctrl+C", E::Reading, true},
    {C::Paste, "mnuPaste", "&Paste", "Paste", "Ctrl+V", E::Editing, true},
    {C::Find, "mnuFind", "&Find...", "Find", "Ctrl+F", E::Reading, true},
    {C::Spelling, "mnuSpelling", "&Spelling", nullptr, nullptr, E::Editing, true},
    {C::Synonyms, "mnuSynonyms", "&Synonyms", nullptr, nullptr, E::Editing, true},
    {C::Antonyms, "mnuAntonyms", "&Antonyms", nullptr, nullptr, E::Editing, true},
    {C::Output, "mnuOutput", "&Output...", nullptr, nullptr, E::Project, true},
    {C::Verify, "mnuVerify", "&Verify", nullptr, nullptr, E::Project, true},
    {C::Backup, "mnuBackup", "&Backup Project", nullptr, nullptr, E::Project, true},
    {C::ExportImport, "mnuExportImport", "E&xport/Import", nullptr, nullptr, E::Project, true},
    {C::Export, "mnuExport", "&Export Project", nullptr, nullptr, E::Unlocked, true},
    {C::Import, "mnuImport", "&Import Language", nullptr, nullptr, E::Locked, true},
    {C::Unlock, "mnuUnlock", "&Unlock Project", nullptr, nullptr, E::Locked, true},
    {C::XliffExport, "mnuXliffExport", "Export X&LIFF...", nullptr, nullptr, E::Locked, true},
    {C::XliffImport, "mnuXliffImport", "Import XLI&FF...", nullptr, nullptr, E::Locked, true},
    {C::NewLanguage, "mnuNewLanguage", "&Add New Language", nullptr, nullptr, E::Unlocked, true},
    {C::ContextHelp, "mnuContextHelp", "&Context Help ID", nullptr, nullptr, E::Unlocked, true},
    {C::Search, "mnuSearch", "Search the &Book...", nullptr, "Ctrl+Shift+F", E::Project, true},
    // Keys of the tree: they act on its selected node while it has the focus.
    {C::RenameNode, "mnuRenameNode", "&Rename", nullptr, "F2", E::Book, true},
    {C::DeleteNode, "mnuDeleteNode", "&Delete", nullptr, "Del", E::Book, true},
    {C::Settings, "mnuSettings", "&Settings...", nullptr, nullptr, E::Always, true},
    {C::About, "mnuAbout", "&About Quillary Author", nullptr, "F1", E::Always, true},
    {C::Shortcuts, "mnuShortcuts", "&Keyboard Shortcuts", nullptr, nullptr, E::Always, true},
    {C::Debug, "mnuDebug", "&Debug Listing", nullptr, nullptr, E::Always, true},
    {C::InsertBook, "mnuInsertBook", "&Insert Book...", nullptr, nullptr, E::Always, true},
    {C::InsertChapterToBook, "mnuInsertChapterToBook", "Insert &Chapter...", nullptr, nullptr, E::Book, true},
    {C::DeleteBook, "mnuDeleteBook", "&Delete Book", nullptr, nullptr, E::Book, true},
    {C::BookProperties, "mnuBookProperties", "&Properties...", nullptr, nullptr, E::Book, true},
    {C::InsertTopic, "mnuInsertTopic", "Insert &Topic...", nullptr, nullptr, E::Book, true},
    {C::InsertChapterBefore, "mnuInsertChapterBefore", "Insert Chapter &Before...", nullptr, nullptr, E::Book, true},
    {C::InsertChapterAfter, "mnuInsertChapterAfter", "Insert Chapter &After...", nullptr, nullptr, E::Book, true},
    {C::InsertChapter, "mnuInsertChapter", "Insert &Subchapter...", nullptr, nullptr, E::Book, true},
    {C::DeleteChapter, "mnuDeleteChapter", "&Delete Chapter", nullptr, nullptr, E::Book, true},
    {C::ChapterProperties, "mnuChapterProperties", "&Properties...", nullptr, nullptr, E::Book, true},
    {C::InsertTopicBefore, "mnuInsertTopicBefore", "Insert Topic &Before...", nullptr, nullptr, E::Book, true},
    {C::InsertTopicAfter, "mnuInsertTopicAfter", "Insert Topic &After...", nullptr, nullptr, E::Book, true},
    {C::DeleteTopic, "mnuDeleteTopic", "&Delete Topic", nullptr, nullptr, E::Book, true},
    {C::Complete, "mnuComplete", "&Lock", nullptr, nullptr, E::Book, true},
    {C::Index, "mnuIndex", "&Index Keywords...", nullptr, nullptr, E::Book, true},
    {C::UnlockProject, "mnuUnlockProject", "&Unlock Project", nullptr, nullptr, E::Locked, true},
    {C::EditElement, "mnuEditElement", "&Edit", nullptr, nullptr, E::Editing, true},
    {C::DeleteElement, "mnuDeleteElement", "&Delete", nullptr, nullptr, E::Editing, true},
    {C::ElementTools, "tlbElements", "Elements", nullptr, nullptr, E::Editing, true},
    {C::TableTools, "tlbAlign", "Table", nullptr, nullptr, E::Editing, true},
};

} // namespace

std::span<const Command> commandTable()
{
    return kCommands;
}

const Command& commandInfo(CommandId id)
{
    // The table is in the order of the enum.
    return kCommands[static_cast<size_t>(id)];
}

std::optional<CommandId> commandByName(const QString& name)
{
    for (const Command& c : kCommands)
        if (name == QLatin1String(c.objectName) || (c.toolbarKey && name == QLatin1String(c.toolbarKey)))
            return c.id;
    return std::nullopt;
}

QList<ShortcutRow> shortcutRows()
{
    QList<ShortcutRow> rows;
    for (const Command& c : kCommands) {
        if (!c.shortcut)
            continue;
        QString what = QString::fromLatin1(c.text).remove(QLatin1Char('&'));
        if (what.endsWith(QLatin1String("...")))
            what.chop(3);
        if (c.id == CommandId::RenameNode || c.id == CommandId::DeleteNode)
            what += QStringLiteral(" (book tree)");
        QStringList keys = QString::fromLatin1(c.shortcut).split(QLatin1Char(';'));
        rows.append({what, keys.join(QStringLiteral(", "))});
    }
    // Keys of the page that are no menu command.
    rows.append({QStringLiteral("Bold"), QStringLiteral("Ctrl+B")});
    rows.append({QStringLiteral("Select all"), QStringLiteral("Ctrl+A")});
    return rows;
}
