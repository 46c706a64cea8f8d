#pragma once
// The decisions of the editing surface, apart from the page: what the caret
// stands in (the facts the page reports in one round trip), which buttons the
// element toolbars show, which repair or content rule fires, what a key or a
// paste does, and which DOM operations a command needs. The page only carries
// the operations out; everything here works on plain values.
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>

#include <array>
#include <functional>
#include <map>
#include <vector>

namespace editrules {

// One element as the page describes it. Kinds of nodes are given as the
// upper-case tag of an element, "#text" for text, "#comment", or "" for none.
struct Node {
    int ref = -1; // the page's handle for this element, valid until the next facts
    QString tag, title, cls, name, href, target, align, border;
    int childCount = 0;
    bool empty = false;   // no text, image or table inside
    QString prev, next;   // kind of the previous and next sibling node
    QString nextTag, nextTitle, next2Tag, next2Title; // the next two element siblings
    QString firstChild;   // kind of the first child node
    QString text;         // text content, for A, U and STRONG only
    int namedAnchors = 0; // A elements with a name inside
    bool hasImg = false, hasTable = false; // an IMG or TABLE among the children
};

// The table around a caret in a cell.
struct TableFacts {
    bool present = false;
    int tableRef = -1, wrapperRef = -1;
    QString border;
    struct Row {
        int cells = 0;
        bool header = false;
    };
    std::vector<Row> rows;
    int row = -1, col = -1; // of the caret's cell
};

// What the page reports per display change.
struct Facts {
    bool valid = false;
    bool editable = false;
    bool hasSelection = false;
    QString selType = QStringLiteral("None"); // "None", "Text", "Control"
    std::vector<Node> chain;                  // selection element first, BODY last
    // Direct element children of the chain elements that content rules look
    // at (LI, DD, H1, TD), by chain index.
    std::map<int, std::vector<Node>> children;
    bool bold = false;      // bold in force at the caret (latched)
    bool underline = false; // underline in force at the caret
    bool canUndo = false, canRedo = false;
    bool pasteRequested = false; // the page refused a paste of its own
    QString selText;
    TableFacts table;

    const Node* element() const { return chain.empty() ? nullptr : &chain.front(); }
    const Node* at(size_t i) const { return i < chain.size() ? &chain[i] : nullptr; }
    // First chain element (from the selection element up) with one of tags,
    // stopping at BODY; its chain index or -1.
    int walkUp(std::initializer_list<const char*> tags) const;
};

Facts factsFromVariant(const QVariant& v);

// --- toolbars --------------------------------------------------------------

enum Button {
    TopicTitle, Paragraph, Note, Sign, Bulleted, Ordered, Link, Anchor, Image, Printed, Online, Table,
    ParaHeader, ButtonCount
};
enum AlignButton { AlignLeft, AlignCenter, AlignRight, InsertRow, DeleteRow, InsertColumn, DeleteColumn, AlignCount };

// The key of a button ("Topic Title", "Bulleted List", "Align Left", ...).
QString buttonKey(Button b);
QString alignKey(AlignButton b);
// The button of a key; -1 when it is none.
int buttonOf(const QString& key);
int alignOf(const QString& key);
// The keys of tlbElements and tlbAlign in toolbar order.
QStringList elementKeys();
QStringList alignKeys();

struct ToolState {
    std::array<bool, ButtonCount> enabled{};
    std::array<bool, ButtonCount> pressed{};
    std::array<bool, AlignCount> alignEnabled{};
    std::array<bool, AlignCount> alignPressed{};
    QString label; // labActElement
    bool operator==(const ToolState&) const = default;
};

// Rows of the button table.
enum Row { RowTitle, RowParagraph, RowNote, RowSign, RowParaHeader, RowList, RowLink, RowAnchor, RowImage,
           RowCell, RowNone };
void applyRow(ToolState& s, Row row);

// The display update: label, pressed buttons and rows from the facts;
// buttons that a row leaves alone keep their state from before.
ToolState displayUpdate(const Facts& f, const ToolState& before);

// --- status of the surface's commands ---------------------------------------

enum Command { CmdBold, CmdUnderline, CmdUnorderList, CmdOrderList, CmdSetBlockFmt, CmdPaste };
enum Status { NotSupported = 0, Disabled = 1, Enabled = 3, Latched = 7 };
int queryStatus(const Facts& f, Command c);
// The block format name at the caret: "Normal", "Heading 1".."Heading 6",
// "Definition", "Definition Term", "Numbered List", "Bulleted List",
// "Formatted", "Address"; "" without a selection.
QString blockFormat(const Facts& f);

// --- operations and rules ----------------------------------------------------

// One DOM operation for the page: name, the element it works on, arguments.
QVariantMap op(const QString& name, int ref = -1, const QVariantMap& args = {});

struct Plan {
    QVariantList ops;
    bool record = false; // a step of its own in the undo history
    bool undo = false;   // the plan is an UNDO
    QString rule;        // which rule fired, for tests and traces
    bool empty() const { return ops.isEmpty(); }
};

// The repair rules, on the selection element; the first that fires.
Plan repairPlan(const Facts& f);
// The content rules; with the undo flag set, a rule that fires undoes.
Plan contentPlan(const Facts& f, bool undoFlag);

// --- keys -------------------------------------------------------------------

enum class KeyAction { Pass, Swallow, DeleteObject, ParagraphAfter, Help, Sign, Copy, Find, Open, Save, Paste, Cut,
                       Redo, Undo };
struct KeyDecision {
    KeyAction action = KeyAction::Pass;
    int ref = -1;         // DeleteObject: the wrapper to remove; ParagraphAfter: the wrapper to follow
    bool passKey = false; // ParagraphAfter: the key goes on into the new paragraph
};
// The keyboard filter on the surface: a Qt key code and whether Ctrl is held.
KeyDecision keyFilter(int qtKey, bool ctrl, const Facts& f);

// --- clipboard --------------------------------------------------------------

struct PasteDecision {
    bool paste = false;
    QString html;
    bool internal = false;
};
// mnuPaste: what goes in, from the clipboard's text, the last text and HTML
// that the system's own Copy or Cut put there, the selection element's tag
// and the status of PASTE. newAnchorId gives out anchor ids.
PasteDecision planPaste(const QString& clipboardText, const QString& lastText, const QString& lastHTML,
                        const QString& elementTag, int pasteStatus, const std::function<QString()>& newAnchorId);
// Each anchor tag of copied HTML gets a new id.
QString renewAnchors(const QString& html, const std::function<QString()>& newAnchorId);
// Removes every transid attribute with its value.
QString removeTransids(const QString& html);

// --- commands -----------------------------------------------------------------

// The common start of the element commands: a whole object is selected.
bool objectSelected(const Facts& f);
// mergeSplitTable after a block command; empty when nothing is split.
Plan mergeSplitTable(const Facts& f);
// The output toggle with "print" or "online".
Plan outputToggle(const Facts& f, const QString& value);
// Align Left/Center/Right on the cell at the caret.
Plan alignPlan(const Facts& f, const QString& value);
// The row and column commands.
Plan insertRowPlan(const Facts& f);
Plan deleteRowPlan(const Facts& f);
Plan insertColumnPlan(const Facts& f);
Plan deleteColumnPlan(const Facts& f);
// A link made from a selection leaves a closing blank outside.
bool endsInBlank(const QString& text);

} // namespace editrules
