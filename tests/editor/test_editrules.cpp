// The decisions of the editing surface on plain facts: button rows, pressed
// states and the label, command status, the repair and content rules with
// the undo flag, the keyboard filter, the paste of the clipboard, and the
// table and output commands.
#include "editrules.h"
#include "testsupport.h"

#include <QJsonDocument>

#include <gtest/gtest.h>

using namespace editrules;

namespace {

int g_ref = 0;

Node el(const char* tag, const QString& title = {}, const QString& cls = {})
{
    Node n;
    n.ref = g_ref++;
    n.tag = QString::fromLatin1(tag);
    n.title = title;
    n.cls = cls;
    n.childCount = 1;
    return n;
}

// Facts with a chain from the selection element up to BODY.
Facts at(std::vector<Node> chain, bool editable = true)
{
    Facts f;
    f.valid = true;
    f.editable = editable;
    f.hasSelection = true;
    chain.push_back(el("BODY"));
    f.chain = std::move(chain);
    for (const Node& n : f.chain) {
        if (n.tag == QLatin1String("STRONG"))
            f.bold = true;
        if (n.tag == QLatin1String("U"))
            f.underline = true;
    }
    return f;
}

bool enabled(const ToolState& s, Button b)
{
    return s.enabled[size_t(b)];
}
bool pressed(const ToolState& s, Button b)
{
    return s.pressed[size_t(b)];
}

// The row of the table as a string of 1 and 0, in the columns' order.
QString row(const ToolState& s)
{
    QString out;
    for (int i = 0; i < ButtonCount; ++i)
        out += s.enabled[size_t(i)] ? QLatin1Char('1') : QLatin1Char('0');
    return out;
}

QStringList opNames(const Plan& p)
{
    QStringList out;
    for (const QVariant& o : p.ops)
        out << o.toMap().value(QStringLiteral("op")).toString();
    return out;
}

int opRef(const Plan& p, int i)
{
    return p.ops.value(i).toMap().value(QStringLiteral("ref"), -1).toInt();
}

QString anchorIds()
{
    static int n = 0;
    return QStringLiteral("anchor") + QString::number(100 + n++);
}

} // namespace

// --- display update ---------------------------------------------------------------

TEST(DisplayUpdate, APlainParagraphEnablesEverything)
{
    const ToolState s = displayUpdate(at({el("P")}), {});
    EXPECT_EQ(row(s), QStringLiteral("1111111111111"));
    EXPECT_TRUE(pressed(s, Paragraph));
    EXPECT_FALSE(pressed(s, TopicTitle));
    EXPECT_EQ(s.label, QString());
    // Outside a cell the table buttons are off.
    for (bool on : s.alignEnabled)
        EXPECT_FALSE(on);
}

TEST(DisplayUpdate, TheTopicTitle)
{
    const ToolState s = displayUpdate(at({el("H1")}), {});
    EXPECT_EQ(row(s), QStringLiteral("1100000000000"));
    EXPECT_TRUE(pressed(s, TopicTitle));
    EXPECT_EQ(s.label, QStringLiteral("TITLE"));
}

TEST(DisplayUpdate, BoldInTheTitleIsNoSign)
{
    Facts f = at({el("H1")});
    f.bold = true; // the style sheet makes headings bold
    const ToolState s = displayUpdate(f, {});
    EXPECT_FALSE(pressed(s, Sign));
    EXPECT_EQ(s.label, QStringLiteral("TITLE"));
}

TEST(DisplayUpdate, ANote)
{
    const ToolState s = displayUpdate(at({el("DD"), el("DL")}), {});
    EXPECT_EQ(row(s), QStringLiteral("0111111001100"));
    EXPECT_TRUE(pressed(s, Note));
    EXPECT_FALSE(pressed(s, Paragraph));
    EXPECT_EQ(s.label, QStringLiteral("NOTE"));
}

TEST(DisplayUpdate, BoldInAParagraph)
{
    const ToolState s = displayUpdate(at({el("STRONG"), el("P")}), {});
    EXPECT_EQ(row(s), QStringLiteral("0111110001100"));
    EXPECT_TRUE(pressed(s, Sign));
    EXPECT_EQ(s.label, QStringLiteral("BOLD"));
}

TEST(DisplayUpdate, AParagraphHeader)
{
    const ToolState s = displayUpdate(at({el("U"), el("P")}), {});
    EXPECT_EQ(row(s), QStringLiteral("0100000001101"));
    EXPECT_TRUE(pressed(s, ParaHeader));
    EXPECT_EQ(s.label, QStringLiteral("HEADER"));
}

TEST(DisplayUpdate, Lists)
{
    ToolState s = displayUpdate(at({el("LI"), el("UL")}), {});
    EXPECT_EQ(row(s), QStringLiteral("0111111000000"));
    EXPECT_TRUE(pressed(s, Bulleted));
    EXPECT_FALSE(pressed(s, Ordered));
    EXPECT_FALSE(pressed(s, Paragraph));
    EXPECT_EQ(s.label, QStringLiteral("LIST"));
    s = displayUpdate(at({el("LI"), el("OL")}), s);
    EXPECT_TRUE(pressed(s, Ordered));
    EXPECT_FALSE(pressed(s, Bulleted));
}

TEST(DisplayUpdate, LinksAndAnchors)
{
    Node link = el("A");
    link.href = QStringLiteral("topic3");
    link.target = QStringLiteral("local");
    ToolState s = displayUpdate(at({link, el("P")}), {});
    EXPECT_EQ(row(s), QStringLiteral("0110111001100"));
    EXPECT_EQ(s.label, QStringLiteral("LINK"));

    Node anchor = el("A", {}, QStringLiteral("anchor"));
    anchor.name = QStringLiteral("anchor1");
    s = displayUpdate(at({anchor, el("P")}), s);
    EXPECT_EQ(row(s), QStringLiteral("0000000000000"));
    EXPECT_EQ(s.label, QStringLiteral("ANCHOR"));
}

TEST(DisplayUpdate, AnImageCaption)
{
    const ToolState s = displayUpdate(at({el("EM", QStringLiteral("image")), el("P", QStringLiteral("image"))}), {});
    EXPECT_EQ(row(s), QStringLiteral("0000000011100"));
    EXPECT_EQ(s.label, QStringLiteral("IMAGE"));
}

TEST(DisplayUpdate, OutputMarks)
{
    ToolState s = displayUpdate(at({el("P", {}, QStringLiteral("print"))}), {});
    EXPECT_TRUE(pressed(s, Printed));
    EXPECT_FALSE(pressed(s, Online));
    s = displayUpdate(at({el("DD"), el("DL", {}, QStringLiteral("online"))}), s);
    EXPECT_FALSE(pressed(s, Printed));
    EXPECT_TRUE(pressed(s, Online));
    s = displayUpdate(at({el("P")}), s);
    EXPECT_FALSE(pressed(s, Printed));
    EXPECT_FALSE(pressed(s, Online));
}

TEST(DisplayUpdate, ACellKeepsWhatItsRowLeavesAlone)
{
    // From a paragraph, with all buttons on.
    ToolState before = displayUpdate(at({el("P")}), {});
    Node td = el("TD");
    td.align = QStringLiteral("center");
    Facts f = at({td, el("TR"), el("TBODY"), el("TABLE"), el("P", QStringLiteral("table"))});
    ToolState s = displayUpdate(f, before);
    // Sign, Link, Image, Printed and Online keep their state: a dash in the row.
    EXPECT_TRUE(enabled(s, Sign));
    EXPECT_TRUE(enabled(s, Link));
    EXPECT_TRUE(enabled(s, Image));
    EXPECT_FALSE(enabled(s, Paragraph));
    EXPECT_FALSE(enabled(s, Table));
    EXPECT_EQ(s.label, QStringLiteral("TABLE"));
    EXPECT_TRUE(s.alignEnabled[AlignCenter]);
    EXPECT_TRUE(s.alignPressed[AlignCenter]);
    EXPECT_FALSE(s.alignPressed[AlignLeft]);
    EXPECT_TRUE(s.alignEnabled[InsertRow]);
    EXPECT_TRUE(s.alignEnabled[DeleteColumn]);

    // No row of a header row is inserted before it.
    f = at({el("TD"), el("TR", {}, QStringLiteral("header")), el("TBODY"), el("TABLE"),
            el("P", QStringLiteral("table"))});
    s = displayUpdate(f, before);
    EXPECT_FALSE(s.alignEnabled[InsertRow]);
    EXPECT_TRUE(s.alignEnabled[DeleteRow]);
    // An empty align counts as left.
    EXPECT_TRUE(s.alignPressed[AlignLeft]);
}

TEST(DisplayUpdate, ATableTitleAllowsNothing)
{
    const ToolState s =
        displayUpdate(at({el("EM", QStringLiteral("table")), el("P", QStringLiteral("table"))}), {});
    EXPECT_EQ(row(s), QStringLiteral("0000000000000"));
    EXPECT_EQ(s.label, QStringLiteral("TABLE"));
}

TEST(DisplayUpdate, ButtonKeysAreTheToolbarsKeys)
{
    EXPECT_EQ(elementKeys(),
              (QStringList{"Topic Title", "Paragraph", "ParaHeader", "Note", "Sign", "Bulleted List",
                           "Ordered List", "Link", "Anchor", "Image", "Printed Output", "Online Output", "Table"}));
    EXPECT_EQ(alignKeys(), (QStringList{"Align Left", "Align Center", "Align Right", "Insert Row", "Delete Row",
                                        "Insert Column", "Delete Column"}));
    EXPECT_EQ(buttonOf(QStringLiteral("Bulleted List")), int(Bulleted));
    EXPECT_EQ(alignOf(QStringLiteral("Delete Column")), int(DeleteColumn));
    EXPECT_EQ(buttonOf(QStringLiteral("Bold")), -1);
}

// --- status and block format ---------------------------------------------------------

TEST(Status, BlockFormats)
{
    EXPECT_EQ(blockFormat(at({el("P")})), QStringLiteral("Normal"));
    EXPECT_EQ(blockFormat(at({el("STRONG"), el("P")})), QStringLiteral("Normal"));
    EXPECT_EQ(blockFormat(at({el("H1")})), QStringLiteral("Heading 1"));
    EXPECT_EQ(blockFormat(at({el("DD"), el("DL")})), QStringLiteral("Definition"));
    EXPECT_EQ(blockFormat(at({el("LI"), el("UL")})), QStringLiteral("Bulleted List"));
    EXPECT_EQ(blockFormat(at({el("LI"), el("OL")})), QStringLiteral("Numbered List"));
    EXPECT_EQ(blockFormat(at({el("TD"), el("TR")})), QStringLiteral("Normal"));
    EXPECT_EQ(blockFormat(Facts()), QString());
}

TEST(Status, LatchedDisabledEnabled)
{
    Facts f = at({el("STRONG"), el("P")});
    EXPECT_EQ(queryStatus(f, CmdBold), Latched);
    EXPECT_EQ(queryStatus(f, CmdUnderline), Enabled);
    EXPECT_EQ(queryStatus(at({el("LI"), el("UL")}), CmdUnorderList), Latched);
    EXPECT_EQ(queryStatus(at({el("LI"), el("UL")}), CmdOrderList), Enabled);
    // A read-only page disables every command.
    EXPECT_EQ(queryStatus(at({el("P")}, false), CmdBold), Disabled);
    EXPECT_EQ(queryStatus(at({el("P")}, false), CmdPaste), Disabled);
    Facts control = at({el("IMG"), el("P", QStringLiteral("image"))});
    control.selType = QStringLiteral("Control");
    EXPECT_EQ(queryStatus(control, CmdSetBlockFmt), Disabled);
    EXPECT_TRUE(objectSelected(control));
}

// --- repair rules -------------------------------------------------------------------

TEST(RepairRules, FontAndStyledSpansDissolve)
{
    const Node font = el("FONT");
    const Plan p = repairPlan(at({font, el("P")}));
    EXPECT_EQ(opNames(p), QStringList{QStringLiteral("strip")});
    EXPECT_EQ(opRef(p, 0), font.ref);
    EXPECT_FALSE(p.record);
    EXPECT_EQ(opNames(repairPlan(at({el("SPAN"), el("P")}))), QStringList{QStringLiteral("strip")});
}

TEST(RepairRules, AHeaderThatNoLongerStandsFirst)
{
    Node u = el("U");
    u.prev = QStringLiteral("#text");
    Plan p = repairPlan(at({u, el("P")}));
    EXPECT_EQ(opNames(p), QStringList{QStringLiteral("unheader")});
    EXPECT_EQ(opRef(p, 0), u.ref);
    // First in its paragraph it stays.
    EXPECT_TRUE(repairPlan(at({el("U"), el("P")})).empty());
    // In a STRONG, the STRONG is worked on.
    Node strong = el("STRONG");
    strong.prev = QStringLiteral("#text");
    p = repairPlan(at({el("U"), strong, el("P")}));
    EXPECT_EQ(opRef(p, 0), strong.ref);
}

TEST(RepairRules, EnterBehindACaptionGivesAPlainParagraph)
{
    // The surface clones the wrapper: an empty caption without its image.
    Node em = el("EM", QStringLiteral("image"));
    em.empty = true;
    Node wrap = el("P", QStringLiteral("image"));
    wrap.empty = true;
    Plan p = repairPlan(at({em, wrap}));
    EXPECT_EQ(opNames(p), QStringList{QStringLiteral("blankWrapper")});
    EXPECT_EQ(opRef(p, 0), wrap.ref);
    EXPECT_EQ(p.rule, QStringLiteral("imageEnter"));

    Node twrap = el("P", QStringLiteral("table"));
    twrap.empty = true;
    twrap.childCount = 0;
    p = repairPlan(at({twrap}));
    EXPECT_EQ(p.rule, QStringLiteral("tableEnter"));
    EXPECT_EQ(opRef(p, 0), twrap.ref);
}

TEST(RepairRules, ACaptionWithoutItsImageBecomesAParagraph)
{
    Node em = el("EM", QStringLiteral("image"));
    em.prev = QString();
    Node wrap = el("P", QStringLiteral("image"));
    Plan p = repairPlan(at({em, wrap}));
    EXPECT_EQ(opNames(p), QStringList{QStringLiteral("captionToP")});
    EXPECT_EQ(opRef(p, 0), wrap.ref);
    EXPECT_EQ(p.ops[0].toMap().value(QStringLiteral("em")).toInt(), em.ref);

    // With its image in place nothing happens.
    em.prev = QStringLiteral("BR");
    wrap.hasImg = true;
    EXPECT_TRUE(repairPlan(at({em, wrap})).empty());

    Node tem = el("EM", QStringLiteral("table"));
    EXPECT_EQ(repairPlan(at({tem, el("P", QStringLiteral("table"))})).rule, QStringLiteral("tableGone"));
}

TEST(RepairRules, SomethingBehindACaptionIsTakenBack)
{
    Node em = el("EM", QStringLiteral("image"));
    em.prev = QStringLiteral("BR");
    em.next = QStringLiteral("#text");
    Node wrap = el("P", QStringLiteral("image"));
    wrap.hasImg = true;
    const Plan p = repairPlan(at({em, wrap}));
    EXPECT_EQ(opNames(p), QStringList{QStringLiteral("undo")});
    EXPECT_TRUE(p.undo);
}

TEST(RepairRules, NothingOnAReadOnlyPage)
{
    EXPECT_TRUE(repairPlan(at({el("FONT"), el("P")}, false)).empty());
    EXPECT_TRUE(contentPlan(at({el("LI")}, false), false).empty());
}

// --- content rules ---------------------------------------------------------------------

TEST(ContentRules, AParagraphInAListItemLosesItsP)
{
    Node li = el("LI");
    Facts f = at({li, el("UL")});
    Node p = el("P");
    p.namedAnchors = 1;
    f.children[0] = {p};
    const Plan plan = contentPlan(f, false);
    EXPECT_EQ(opNames(plan), (QStringList{QStringLiteral("stripNamedAnchorsIn"), QStringLiteral("strip")}));
    EXPECT_EQ(opRef(plan, 1), p.ref);
    EXPECT_TRUE(plan.record);
    EXPECT_EQ(plan.rule, QStringLiteral("LI"));
}

TEST(ContentRules, WithTheUndoFlagTheyUndo)
{
    Facts f = at({el("LI"), el("UL")});
    f.children[0] = {el("P")};
    const Plan plan = contentPlan(f, true);
    EXPECT_EQ(opNames(plan), QStringList{QStringLiteral("undo")});
    EXPECT_TRUE(plan.undo);
    EXPECT_FALSE(plan.record);
}

TEST(ContentRules, BareImagesGoFromItemsNotesAndCells)
{
    for (const char* container : {"LI", "DD", "TD"}) {
        Facts f = at({el(container), el("X")});
        const Node img = el("IMG");
        f.children[0] = {el("STRONG"), img};
        const Plan p = contentPlan(f, false);
        EXPECT_EQ(opNames(p), QStringList{QStringLiteral("drop")}) << container;
        EXPECT_EQ(opRef(p, 0), img.ref) << container;
    }
}

TEST(ContentRules, ALonePlaceholderBreakStays)
{
    Node li = el("LI");
    li.childCount = 1;
    Facts f = at({li, el("UL")});
    f.children[0] = {el("BR")};
    EXPECT_TRUE(contentPlan(f, false).empty());
    // A break beside text goes.
    li.childCount = 2;
    f = at({li, el("UL")});
    f.children[0] = {el("BR")};
    EXPECT_EQ(opNames(contentPlan(f, false)), QStringList{QStringLiteral("drop")});
}

TEST(ContentRules, NotesTitlesAndCells)
{
    Facts f = at({el("DD"), el("DL")});
    f.children[0] = {el("LI"), el("EM"), el("TABLE")};
    EXPECT_EQ(opNames(contentPlan(f, false)),
              (QStringList{QStringLiteral("strip"), QStringLiteral("strip"), QStringLiteral("drop")}));

    f = at({el("H1")});
    f.children[0] = {el("STRONG"), el("A")};
    EXPECT_EQ(opNames(contentPlan(f, false)), (QStringList{QStringLiteral("strip"), QStringLiteral("strip")}));

    f = at({el("TD"), el("TR")});
    Node plain = el("P");
    Node image = el("P", QStringLiteral("image"));
    image.childCount = 3;
    Node stray = el("P", QStringLiteral("image"));
    stray.childCount = 1;
    f.children[0] = {plain, image, stray, el("UL")};
    const Plan p = contentPlan(f, false);
    // A plain paragraph and an image stay in a cell; a broken wrapper and a list do not.
    EXPECT_EQ(opNames(p), (QStringList{QStringLiteral("drop"), QStringLiteral("stripItemsIn"),
                                       QStringLiteral("strip")}));
    EXPECT_EQ(opRef(p, 0), stray.ref);
}

// --- keys -----------------------------------------------------------------------------

TEST(KeyFilter, CtrlLetters)
{
    const Facts f = at({el("P")});
    EXPECT_EQ(keyFilter('A', true, f).action, KeyAction::Pass);
    EXPECT_EQ(keyFilter('B', true, f).action, KeyAction::Sign);
    EXPECT_EQ(keyFilter('C', true, f).action, KeyAction::Copy);
    EXPECT_EQ(keyFilter('F', true, f).action, KeyAction::Find);
    EXPECT_EQ(keyFilter('O', true, f).action, KeyAction::Open);
    EXPECT_EQ(keyFilter('S', true, f).action, KeyAction::Save);
    EXPECT_EQ(keyFilter('V', true, f).action, KeyAction::Paste);
    EXPECT_EQ(keyFilter('X', true, f).action, KeyAction::Cut);
    EXPECT_EQ(keyFilter('Y', true, f).action, KeyAction::Redo);
    EXPECT_EQ(keyFilter('Z', true, f).action, KeyAction::Undo);
    // The surface's own Ctrl+I and Ctrl+U never fire.
    EXPECT_EQ(keyFilter('I', true, f).action, KeyAction::Swallow);
    EXPECT_EQ(keyFilter('U', true, f).action, KeyAction::Swallow);
    EXPECT_EQ(keyFilter(Qt::Key_Home, true, f).action, KeyAction::Swallow);
    EXPECT_EQ(keyFilter(Qt::Key_Control, true, f).action, KeyAction::Pass);
}

TEST(KeyFilter, BesideAWrappedObjectOnlyArrowsMove)
{
    Node wrap = el("P", QStringLiteral("image"));
    wrap.nextTag = QStringLiteral("P"); // not the last block
    const Facts f = at({wrap});
    EXPECT_EQ(keyFilter('X', false, f).action, KeyAction::Swallow);
    EXPECT_EQ(keyFilter(Qt::Key_Return, false, f).action, KeyAction::Swallow);
    for (int k : {Qt::Key_Left, Qt::Key_Up, Qt::Key_Right, Qt::Key_Down})
        EXPECT_EQ(keyFilter(k, false, f).action, KeyAction::Pass);
    const KeyDecision d = keyFilter(Qt::Key_Delete, false, f);
    EXPECT_EQ(d.action, KeyAction::DeleteObject);
    EXPECT_EQ(d.ref, wrap.ref);
}

// Beside the last block of the body, typing and Enter open a paragraph after it.
TEST(KeyFilter, BesideAnObjectThatEndsTheBodyTypingOpensAParagraph)
{
    const Node wrap = el("P", QStringLiteral("table"));
    const Facts f = at({wrap});
    KeyDecision d = keyFilter('X', false, f);
    EXPECT_EQ(d.action, KeyAction::ParagraphAfter);
    EXPECT_EQ(d.ref, wrap.ref);
    EXPECT_TRUE(d.passKey);
    d = keyFilter(Qt::Key_Return, false, f);
    EXPECT_EQ(d.action, KeyAction::ParagraphAfter);
    EXPECT_FALSE(d.passKey);
    EXPECT_EQ(keyFilter(Qt::Key_Backspace, false, f).action, KeyAction::Swallow);
    EXPECT_EQ(keyFilter(Qt::Key_Left, false, f).action, KeyAction::Pass);
}

TEST(KeyFilter, DeleteOnAnObjectRemovesItsWrapper)
{
    const Node img = el("IMG");
    const Node wrap = el("P", QStringLiteral("image"));
    const KeyDecision d = keyFilter(Qt::Key_Delete, false, at({img, wrap}));
    EXPECT_EQ(d.action, KeyAction::DeleteObject);
    EXPECT_EQ(d.ref, wrap.ref);
    EXPECT_EQ(keyFilter(Qt::Key_Delete, false, at({el("P")})).action, KeyAction::Pass);
    EXPECT_EQ(keyFilter('x', false, at({el("P")})).action, KeyAction::Pass);
    EXPECT_EQ(keyFilter(Qt::Key_F1, false, at({el("P")})).action, KeyAction::Help);
}

// --- clipboard ---------------------------------------------------------------------------

TEST(Paste, ForeignTextBecomesParagraphsOrOneLine)
{
    PasteDecision d = planPaste(QStringLiteral("one\r\ntwo"), {}, {}, QStringLiteral("P"), Enabled, anchorIds);
    EXPECT_TRUE(d.paste);
    EXPECT_FALSE(d.internal);
    EXPECT_EQ(d.html, QStringLiteral("<p>one</p><p>two</p>"));
    d = planPaste(QStringLiteral("one\ntwo\nthree"), {}, {}, QStringLiteral("LI"), Enabled, anchorIds);
    EXPECT_EQ(d.html, QStringLiteral("one two three"));
    d = planPaste(QStringLiteral("a\r\nb"), {}, {}, QStringLiteral("TD"), Enabled, anchorIds);
    EXPECT_EQ(d.html, QStringLiteral("a b"));
    // No escaping: markup in foreign text is read as markup.
    d = planPaste(QStringLiteral("a<b"), {}, {}, QStringLiteral("P"), Enabled, anchorIds);
    EXPECT_EQ(d.html, QStringLiteral("<p>a<b</p>"));
    // A paste the surface does not allow stops.
    EXPECT_FALSE(planPaste(QStringLiteral("x"), {}, {}, QStringLiteral("P"), Disabled, anchorIds).paste);
    EXPECT_FALSE(planPaste(QString(), {}, {}, QStringLiteral("P"), Enabled, anchorIds).paste);
}

TEST(Paste, NothingForeignIntoTitleBoldLinkOrCaption)
{
    for (const char* tag : {"EM", "H1", "A", "STRONG"}) {
        EXPECT_FALSE(planPaste(QStringLiteral("x"), QStringLiteral("y"), {}, QString::fromLatin1(tag), Enabled,
                               anchorIds)
                         .paste)
            << tag;
        // Our own text goes in as it is.
        const PasteDecision d = planPaste(QStringLiteral("mine"), QStringLiteral("mine"), QStringLiteral("<p>x</p>"),
                                          QString::fromLatin1(tag), Enabled, anchorIds);
        EXPECT_TRUE(d.paste) << tag;
        EXPECT_EQ(d.html, QStringLiteral("mine"));
    }
}

TEST(Paste, AnInternalPasteGetsNewAnchorsAndNoTransid)
{
    const QString html = QStringLiteral(
        "<p transid=\"trans4\">a <a name=\"anchor1\" class=\"anchor\">here</a> <a href=\"topic2\" target=\"local\">"
        "link to topic2</a></p><ul transid='trans5'><li>x</li></ul>");
    int n = 7;
    const PasteDecision d = planPaste(QStringLiteral("copied"), QStringLiteral("copied"), html, QStringLiteral("P"),
                                      Enabled, [&n] { return QStringLiteral("anchor") + QString::number(n++); });
    EXPECT_TRUE(d.internal);
    EXPECT_EQ(d.html, QStringLiteral("<p>a <a class=\"anchor\" name=\"anchor7\">here</a> <a href=\"topic2\" "
                                     "target=\"local\">link to topic2</a></p><ul><li>x</li></ul>"));
    EXPECT_EQ(removeTransids(QStringLiteral("<p transid=trans1 class=\"print\">")),
              QStringLiteral("<p class=\"print\">"));
}

// --- commands -----------------------------------------------------------------------------

TEST(Commands, MergeSplitTableOnlyForTwoTableWrappers)
{
    Node dl = el("DL");
    dl.nextTag = QStringLiteral("P");
    dl.nextTitle = QStringLiteral("table");
    dl.next2Tag = QStringLiteral("P");
    dl.next2Title = QStringLiteral("table");
    Plan p = mergeSplitTable(at({el("DD"), dl}));
    EXPECT_EQ(opNames(p), QStringList{QStringLiteral("mergeSplitTable")});
    EXPECT_EQ(opRef(p, 0), dl.ref);
    dl.next2Title.clear();
    EXPECT_TRUE(mergeSplitTable(at({el("DD"), dl})).empty());
}

TEST(Commands, TheOutputToggle)
{
    Node para = el("P");
    Plan p = outputToggle(at({el("STRONG"), para}), QStringLiteral("print"));
    EXPECT_EQ(opNames(p), QStringList{QStringLiteral("setAttr")});
    EXPECT_EQ(opRef(p, 0), para.ref);
    EXPECT_EQ(p.ops[0].toMap().value(QStringLiteral("value")).toString(), QStringLiteral("print"));
    // A second click clears the mark.
    para.cls = QStringLiteral("print");
    p = outputToggle(at({para}), QStringLiteral("print"));
    EXPECT_EQ(opNames(p), QStringList{QStringLiteral("removeAttr")});
    // Another mark is replaced.
    p = outputToggle(at({para}), QStringLiteral("online"));
    EXPECT_EQ(opNames(p), QStringList{QStringLiteral("setAttr")});
    // Nothing on the BODY.
    EXPECT_TRUE(outputToggle(at({}), QStringLiteral("print")).empty());
}

TEST(Commands, AlignGoesOnTheCell)
{
    Node td = el("TD");
    const Plan p = alignPlan(at({el("STRONG"), td, el("TR")}), QStringLiteral("right"));
    EXPECT_EQ(opRef(p, 0), td.ref);
    EXPECT_EQ(p.ops[0].toMap().value(QStringLiteral("name")).toString(), QStringLiteral("align"));
    EXPECT_TRUE(alignPlan(at({el("P")}), QStringLiteral("left")).empty());
}

TEST(Commands, RowsAndColumns)
{
    Facts f = at({el("TD"), el("TR")});
    f.table.present = true;
    f.table.tableRef = 40;
    f.table.wrapperRef = 41;
    f.table.border = QStringLiteral("0");
    f.table.rows = {{2, true}, {2, false}, {2, false}};
    f.table.row = 1;
    f.table.col = 1;
    Plan p = insertRowPlan(f);
    QVariantMap o = p.ops[0].toMap();
    EXPECT_EQ(o.value(QStringLiteral("op")).toString(), QStringLiteral("insertRow"));
    EXPECT_EQ(o.value(QStringLiteral("index")).toInt(), 1);
    EXPECT_EQ(o.value(QStringLiteral("cells")).toInt(), 2);
    EXPECT_EQ(o.value(QStringLiteral("cellClass")).toString(), QStringLiteral("dottedBorder"));
    EXPECT_TRUE(p.record);

    p = insertColumnPlan(f);
    o = p.ops[0].toMap();
    EXPECT_EQ(o.value(QStringLiteral("index")).toInt(), 1);

    p = deleteRowPlan(f);
    EXPECT_EQ(p.ops[0].toMap().value(QStringLiteral("op")).toString(), QStringLiteral("deleteRow"));
    p = deleteColumnPlan(f);
    EXPECT_EQ(p.ops[0].toMap().value(QStringLiteral("op")).toString(), QStringLiteral("deleteColumn"));

    // Not before a header row.
    f.table.row = 0;
    EXPECT_TRUE(insertRowPlan(f).empty());
    // The last row or column takes the table with it.
    f.table.rows = {{1, false}};
    f.table.col = 0;
    EXPECT_EQ(opRef(deleteRowPlan(f), 0), 41);
    EXPECT_EQ(opRef(deleteColumnPlan(f), 0), 41);
    // With a border the new cells have no class.
    f.table.border = QStringLiteral("1");
    f.table.rows = {{1, false}, {1, false}};
    f.table.row = 1;
    EXPECT_EQ(insertRowPlan(f).ops[0].toMap().value(QStringLiteral("cellClass")).toString(), QString());
}

TEST(Commands, LinksLeaveAClosingBlankOutside)
{
    EXPECT_TRUE(endsInBlank(QStringLiteral("word ")));
    EXPECT_TRUE(endsInBlank(QStringLiteral("word\u00a0")));
    EXPECT_FALSE(endsInBlank(QStringLiteral("word")));
    EXPECT_FALSE(endsInBlank(QString()));
}

TEST(Facts, FromThePagesAnswer)
{
    const QByteArray json = R"({"ok":true,"editable":true,"hasSel":true,"selType":"Text",
        "chain":[{"ref":0,"tag":"A","href":"topic2","target":"local","text":"link to topic2","prev":"#text"},
                 {"ref":1,"tag":"LI","children":2},{"ref":2,"tag":"UL"},{"ref":3,"tag":"BODY"}],
        "kids":{"1":[{"ref":4,"tag":"P","anchors":1}]},
        "bold":false,"underline":true,"canUndo":true,"pasteRequested":true,"selText":"abc",
        "table":{"tableRef":5,"wrapperRef":6,"border":"0","rows":[{"cells":2,"header":true}],"row":0,"col":1}})";
    const Facts f = factsFromVariant(QJsonDocument::fromJson(json).toVariant());
    ASSERT_TRUE(f.valid);
    ASSERT_EQ(f.chain.size(), 4u);
    EXPECT_EQ(f.chain[0].href, QStringLiteral("topic2"));
    EXPECT_EQ(f.chain[0].text, QStringLiteral("link to topic2"));
    EXPECT_EQ(f.chain[0].prev, QStringLiteral("#text"));
    EXPECT_EQ(f.walkUp({"UL", "OL"}), 2);
    ASSERT_EQ(f.children.count(1), 1u);
    EXPECT_EQ(f.children.at(1)[0].namedAnchors, 1);
    EXPECT_TRUE(f.underline);
    EXPECT_TRUE(f.canUndo);
    EXPECT_TRUE(f.pasteRequested);
    EXPECT_EQ(f.selText, QStringLiteral("abc"));
    EXPECT_TRUE(f.table.present);
    EXPECT_EQ(f.table.rows.size(), 1u);
    EXPECT_TRUE(f.table.rows[0].header);
    EXPECT_EQ(f.table.col, 1);
    EXPECT_FALSE(factsFromVariant(QVariant()).valid);
}
