#include "editrules.h"

#include "pagekeys.h"

#include <QRegularExpression>

namespace editrules {

namespace {

QString str(const QVariantMap& m, const QString& key)
{
    return m.value(key).toString();
}

Node nodeFrom(const QVariantMap& m)
{
    namespace K = pagekeys::node;
    Node n;
    n.ref = m.value(K::ref, -1).toInt();
    n.tag = str(m, K::tag).toUpper();
    n.title = str(m, K::title);
    n.cls = str(m, K::cls);
    n.name = str(m, K::name);
    n.href = str(m, K::href);
    n.target = str(m, K::target);
    n.align = str(m, K::align);
    n.border = str(m, K::border);
    n.childCount = m.value(K::children).toInt();
    n.empty = m.value(K::empty).toBool();
    n.prev = str(m, K::prev);
    n.next = str(m, K::next);
    n.nextTag = str(m, K::nextTag);
    n.nextTitle = str(m, K::nextTitle);
    n.next2Tag = str(m, K::next2Tag);
    n.next2Title = str(m, K::next2Title);
    n.firstChild = str(m, K::first);
    n.text = str(m, K::text);
    n.namedAnchors = m.value(K::anchors).toInt();
    n.hasImg = m.value(K::hasImg).toBool();
    n.hasTable = m.value(K::hasTable).toBool();
    return n;
}

bool is(const Node* n, const char* tag)
{
    return n && n->tag == QLatin1String(tag);
}

bool isAny(const Node* n, std::initializer_list<const char*> tags)
{
    if (!n)
        return false;
    for (const char* t : tags)
        if (n->tag == QLatin1String(t))
            return true;
    return false;
}

bool isWrapper(const Node* n, const char* kind)
{
    return is(n, "P") && n->title == QLatin1String(kind);
}

// Rows of the button table: 1 on, 0 off, -1 left as it was. Columns in the
// order of Button.
constexpr int kRows[][ButtonCount] = {
    /* Title      */ {1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
    /* Paragraph  */ {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1},
    /* Note       */ {0, 1, 1, 1, 1, 1, 1, 0, 0, 1, 1, 0, 0},
    /* Sign       */ {0, 1, 1, 1, 1, 1, 0, 0, 0, 1, 1, 0, 0},
    /* ParaHeader */ {0, 1, 0, 0, 0, 0, 0, 0, 0, 1, 1, 0, 1},
    /* List       */ {0, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0},
    /* Link       */ {0, 1, 1, 0, 1, 1, 1, 0, 0, 1, 1, 0, 0},
    /* Anchor     */ {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
    /* Image      */ {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 0, 0},
    /* Cell       */ {0, 0, 0, -1, 0, 0, -1, 0, -1, -1, -1, 0, 0},
    /* None       */ {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
};

const char* const kButtonKeys[ButtonCount] = {
    "Topic Title", "Paragraph", "Note", "Sign", "Bulleted List", "Ordered List", "Link", "Anchor", "Image",
    "Printed Output", "Online Output", "Table", "ParaHeader"};
// Toolbar order differs from the column order of the rows.
constexpr Button kToolbarOrder[ButtonCount] = {TopicTitle, Paragraph, ParaHeader, Note, Sign, Bulleted, Ordered,
                                               Link, Anchor, Image, Printed, Online, Table};
const char* const kAlignKeys[AlignCount] = {"Align Left", "Align Center", "Align Right", "Insert Row",
                                            "Delete Row", "Insert Column", "Delete Column"};

} // namespace

int Facts::walkUp(std::initializer_list<const char*> tags) const
{
    for (size_t i = 0; i < chain.size(); ++i) {
        if (isAny(&chain[i], tags))
            return int(i);
        if (chain[i].tag == QLatin1String("BODY"))
            break;
    }
    return -1;
}

Facts factsFromVariant(const QVariant& v)
{
    namespace K = pagekeys::facts;
    namespace T = pagekeys::table;
    Facts f;
    const QVariantMap m = v.toMap();
    if (!m.value(K::ok).toBool())
        return f;
    f.valid = true;
    f.editable = m.value(K::editable).toBool();
    f.hasSelection = m.value(K::hasSel).toBool();
    f.selType = str(m, K::selType);
    if (f.selType.isEmpty())
        f.selType = QStringLiteral("None");
    for (const QVariant& c : m.value(K::chain).toList())
        f.chain.push_back(nodeFrom(c.toMap()));
    const QVariantMap kids = m.value(K::kids).toMap();
    for (auto it = kids.begin(); it != kids.end(); ++it) {
        std::vector<Node> list;
        for (const QVariant& c : it.value().toList())
            list.push_back(nodeFrom(c.toMap()));
        f.children[it.key().toInt()] = std::move(list);
    }
    f.bold = m.value(K::bold).toBool();
    f.underline = m.value(K::underline).toBool();
    f.canUndo = m.value(K::canUndo).toBool();
    f.canRedo = m.value(K::canRedo).toBool();
    f.pasteRequested = m.value(K::pasteRequested).toBool();
    f.selText = str(m, K::selText);
    const QVariantMap t = m.value(K::table).toMap();
    if (!t.isEmpty()) {
        f.table.present = true;
        f.table.tableRef = t.value(T::tableRef, -1).toInt();
        f.table.wrapperRef = t.value(T::wrapperRef, -1).toInt();
        f.table.border = str(t, T::border);
        f.table.row = t.value(T::row, -1).toInt();
        f.table.col = t.value(T::col, -1).toInt();
        for (const QVariant& r : t.value(T::rows).toList()) {
            const QVariantMap rm = r.toMap();
            f.table.rows.push_back({rm.value(pagekeys::row::cells).toInt(),
                                    rm.value(pagekeys::row::header).toBool()});
        }
    }
    return f;
}

QString buttonKey(Button b)
{
    return b >= 0 && b < ButtonCount ? QString::fromLatin1(kButtonKeys[b]) : QString();
}

QString alignKey(AlignButton b)
{
    return b >= 0 && b < AlignCount ? QString::fromLatin1(kAlignKeys[b]) : QString();
}

int buttonOf(const QString& key)
{
    for (int i = 0; i < ButtonCount; ++i)
        if (key == QLatin1String(kButtonKeys[i]))
            return i;
    return -1;
}

int alignOf(const QString& key)
{
    for (int i = 0; i < AlignCount; ++i)
        if (key == QLatin1String(kAlignKeys[i]))
            return i;
    return -1;
}

QStringList elementKeys()
{
    QStringList keys;
    for (Button b : kToolbarOrder)
        keys << buttonKey(b);
    return keys;
}

QStringList alignKeys()
{
    QStringList keys;
    for (const char* k : kAlignKeys)
        keys << QString::fromLatin1(k);
    return keys;
}

void applyRow(ToolState& s, Row row)
{
    for (int i = 0; i < ButtonCount; ++i) {
        const int v = kRows[row][i];
        if (v >= 0)
            s.enabled[size_t(i)] = v == 1;
    }
}

ToolState displayUpdate(const Facts& f, const ToolState& before)
{
    ToolState s = before;
    auto press = [&s](Button b, bool on) { s.pressed[size_t(b)] = on; };
    const Node* e = f.element();
    const QString fmt = blockFormat(f);

    // 1
    s.label.clear();
    // 2
    if (fmt == QLatin1String("Heading 1")) {
        press(TopicTitle, true);
        applyRow(s, RowTitle);
        s.label = QStringLiteral("TITLE");
    } else {
        press(TopicTitle, false);
    }
    // 3
    if (fmt == QLatin1String("Normal")) {
        press(Paragraph, true);
        applyRow(s, RowParagraph);
    } else {
        press(Paragraph, false);
    }
    // 4
    if (f.walkUp({"DD"}) >= 0) {
        press(Note, true);
        press(Paragraph, false);
        applyRow(s, RowNote);
        s.label = QStringLiteral("NOTE");
    } else {
        press(Note, false);
    }
    // 5
    if (queryStatus(f, CmdBold) == Latched && fmt != QLatin1String("Heading 1")) {
        press(Sign, true);
        applyRow(s, RowSign);
        s.label = QStringLiteral("BOLD");
    } else {
        press(Sign, false);
    }
    // 6
    if (queryStatus(f, CmdUnderline) == Latched) {
        press(ParaHeader, true);
        applyRow(s, RowParaHeader);
        s.label = QStringLiteral("HEADER");
    } else {
        press(ParaHeader, false);
    }
    // 7, 8
    if (queryStatus(f, CmdUnorderList) == Latched) {
        press(Bulleted, true);
        press(Paragraph, false);
        applyRow(s, RowList);
        s.label = QStringLiteral("LIST");
    } else {
        press(Bulleted, false);
    }
    if (queryStatus(f, CmdOrderList) == Latched) {
        press(Ordered, true);
        press(Paragraph, false);
        applyRow(s, RowList);
        s.label = QStringLiteral("LIST");
    } else {
        press(Ordered, false);
    }
    // 9
    if (is(e, "A")) {
        if (!e->href.isEmpty()) {
            applyRow(s, RowLink);
            s.label = QStringLiteral("LINK");
        } else {
            applyRow(s, RowAnchor);
            s.label = QStringLiteral("ANCHOR");
        }
    }
    // 10
    int i = f.walkUp({"P"});
    if (i >= 0 && isWrapper(f.at(size_t(i)), "image")) {
        applyRow(s, RowImage);
        s.label = QStringLiteral("IMAGE");
    }
    // 11
    i = f.walkUp({"P", "DL"});
    const QString cls = i >= 0 ? f.chain[size_t(i)].cls : QString();
    press(Printed, cls == QLatin1String("print"));
    press(Online, cls == QLatin1String("online"));
    // 12
    i = f.walkUp({"TD"});
    if (i >= 0) {
        const Node& td = f.chain[size_t(i)];
        applyRow(s, RowCell);
        for (AlignButton b : {AlignLeft, AlignCenter, AlignRight, DeleteRow, InsertColumn, DeleteColumn})
            s.alignEnabled[size_t(b)] = true;
        s.alignPressed[AlignLeft] = td.align == QLatin1String("left") || td.align.isEmpty();
        s.alignPressed[AlignCenter] = td.align == QLatin1String("center");
        s.alignPressed[AlignRight] = td.align == QLatin1String("right");
        const Node* tr = f.at(size_t(i) + 1);
        s.alignEnabled[InsertRow] = !(tr && tr->cls == QLatin1String("header"));
        s.label = QStringLiteral("TABLE");
    } else {
        s.alignEnabled.fill(false);
        s.alignPressed.fill(false);
    }
    // 13
    if (is(e, "EM") && f.at(1) && f.at(1)->title == QLatin1String("table")) {
        applyRow(s, RowNone);
        s.label = QStringLiteral("TABLE");
    }
    return s;
}

int queryStatus(const Facts& f, Command c)
{
    if (!f.valid || !f.editable || !f.hasSelection)
        return Disabled;
    switch (c) {
    case CmdBold:
        return f.bold ? Latched : Enabled;
    case CmdUnderline:
        return f.underline ? Latched : Enabled;
    case CmdUnorderList:
    case CmdOrderList: {
        const int i = f.walkUp({"UL", "OL"});
        const char* want = c == CmdUnorderList ? "UL" : "OL";
        return i >= 0 && f.chain[size_t(i)].tag == QLatin1String(want) ? Latched : Enabled;
    }
    case CmdSetBlockFmt:
        return f.selType == QLatin1String("Control") ? Disabled : Enabled;
    case CmdPaste:
        return Enabled;
    }
    return NotSupported;
}

QString blockFormat(const Facts& f)
{
    if (!f.valid || f.chain.empty())
        return {};
    for (size_t i = 0; i < f.chain.size(); ++i) {
        const QString& t = f.chain[i].tag;
        if (t.size() == 2 && t[0] == QLatin1Char('H') && t[1] >= QLatin1Char('1') && t[1] <= QLatin1Char('6'))
            return QStringLiteral("Heading ") + t[1];
        if (t == QLatin1String("DD"))
            return QStringLiteral("Definition");
        if (t == QLatin1String("DT"))
            return QStringLiteral("Definition Term");
        if (t == QLatin1String("LI")) {
            const Node* list = f.at(i + 1);
            return is(list, "OL") ? QStringLiteral("Numbered List") : QStringLiteral("Bulleted List");
        }
        if (t == QLatin1String("PRE"))
            return QStringLiteral("Formatted");
        if (t == QLatin1String("ADDRESS"))
            return QStringLiteral("Address");
        if (t == QLatin1String("P") || t == QLatin1String("DIV") || t == QLatin1String("TD") ||
            t == QLatin1String("BODY"))
            return QStringLiteral("Normal");
    }
    return QStringLiteral("Normal");
}

QVariantMap op(const QString& name, int ref, const QVariantMap& args)
{
    QVariantMap m = args;
    m.insert(pagekeys::command::op, name);
    if (ref >= 0)
        m.insert(pagekeys::command::ref, ref);
    return m;
}

Plan repairPlan(const Facts& f)
{
    Plan p;
    const Node* e = f.element();
    if (!e || !f.editable)
        return p;
    const Node* parent = f.at(1);

    // 1. FONT, and the styled SPAN the surface makes when it joins blocks.
    if (isAny(e, {"FONT", "SPAN"})) {
        p.ops << op(pagekeys::ops::strip, e->ref);
        p.rule = QStringLiteral("font");
        return p;
    }
    // 2. A paragraph heading that no longer stands first.
    if (is(e, "U")) {
        const Node* u = is(parent, "STRONG") ? parent : e;
        if (!u->prev.isEmpty()) {
            p.ops << op(pagekeys::ops::unheader, u->ref);
            p.rule = QStringLiteral("header");
            return p;
        }
    }
    // 3, 4. Enter behind a caption clones the wrapper without its object;
    // what is left of it becomes a plain paragraph.
    const Node* wrap = nullptr;
    if (is(e, "P") && !e->title.isEmpty())
        wrap = e;
    else if (is(e, "EM") && is(parent, "P") && !parent->title.isEmpty())
        wrap = parent;
    if (wrap && wrap->empty) {
        if (wrap->title == QLatin1String("image") && !wrap->hasImg) {
            p.ops << op(pagekeys::ops::blankWrapper, wrap->ref);
            p.rule = QStringLiteral("imageEnter");
            return p;
        }
        if (wrap->title == QLatin1String("table") && !wrap->hasTable) {
            p.ops << op(pagekeys::ops::blankWrapper, wrap->ref);
            p.rule = QStringLiteral("tableEnter");
            return p;
        }
    }
    // 5, 6. A caption whose image or table is gone.
    if (is(e, "EM") && is(parent, "P")) {
        if (e->title == QLatin1String("image") && (e->prev.isEmpty() || !parent->hasImg)) {
            p.ops << op(pagekeys::ops::captionToP, parent->ref, {{pagekeys::args::em, e->ref}});
            p.rule = QStringLiteral("imageGone");
            return p;
        }
        if (e->title == QLatin1String("table") && (e->prev.isEmpty() || !parent->hasTable)) {
            p.ops << op(pagekeys::ops::captionToP, parent->ref, {{pagekeys::args::em, e->ref}});
            p.rule = QStringLiteral("tableGone");
            return p;
        }
    }
    // 7. Something behind a caption is taken back.
    if (is(e, "EM") && is(parent, "P") && !e->next.isEmpty()) {
        p.ops << op(pagekeys::ops::undo, -1, {{pagekeys::args::fallback, pagekeys::fallbacks::behindCaption},
                                                 {pagekeys::args::em, e->ref}});
        p.undo = true;
        p.rule = QStringLiteral("behindCaption");
        return p;
    }
    return p;
}

namespace {

// A BR alone in its block is the surface's placeholder that keeps an empty
// block open for the caret, not a line break.
bool placeholder(const Node& child, const std::vector<Node>& siblings, const Node& container)
{
    return child.tag == QLatin1String("BR") && siblings.size() == 1 && container.childCount == 1;
}

void strip(Plan& p, const Node& n)
{
    p.ops << op(pagekeys::ops::strip, n.ref);
}

void drop(Plan& p, const Node& n)
{
    p.ops << op(pagekeys::ops::drop, n.ref);
}

bool named(const Node& n)
{
    return n.tag == QLatin1String("A") && !n.name.isEmpty();
}

} // namespace

Plan contentPlan(const Facts& f, bool undoFlag)
{
    Plan p;
    if (!f.editable)
        return p;
    auto childrenOf = [&f](int i) -> const std::vector<Node>* {
        auto it = f.children.find(i);
        return it == f.children.end() ? nullptr : &it->second;
    };
    auto tagIn = [](const Node& n, std::initializer_list<const char*> tags) { return isAny(&n, tags); };

    // LI and DD share their rules but for the elements they strip.
    auto itemRules = [&](const char* container, std::initializer_list<const char*> stripped) {
        const int i = f.walkUp({container});
        const auto* kids = i >= 0 ? childrenOf(i) : nullptr;
        if (!kids)
            return;
        const Node& c = f.chain[size_t(i)];
        for (const Node& k : *kids) {
            if (k.tag == QLatin1String("P")) {
                if (k.namedAnchors > 0)
                    p.ops << op(pagekeys::ops::stripNamedAnchorsIn, k.ref);
                strip(p, k);
            } else if (named(k) || tagIn(k, stripped)) {
                strip(p, k);
            } else if (tagIn(k, {"BR", "IMG", "TABLE"}) && !placeholder(k, *kids, c)) {
                drop(p, k);
            }
        }
        if (!p.empty())
            p.rule = QString::fromLatin1(container);
    };

    // LI, DD, H1, TD: the nearest of each kind, in this order.
    itemRules("LI", {"EM", "DD"});
    if (p.empty())
        itemRules("DD", {"LI", "EM"});
    const int h1 = p.empty() ? f.walkUp({"H1"}) : -1;
    if (const auto* kids = h1 >= 0 ? childrenOf(h1) : nullptr) {
        const Node& c = f.chain[size_t(h1)];
        for (const Node& k : *kids)
            if (!placeholder(k, *kids, c))
                strip(p, k);
        if (!p.empty())
            p.rule = QStringLiteral("H1");
    }
    const int td = p.empty() ? f.walkUp({"TD"}) : -1;
    if (const auto* kids = td >= 0 ? childrenOf(td) : nullptr) {
        const Node& c = f.chain[size_t(td)];
        for (const Node& k : *kids) {
            if (k.tag == QLatin1String("P")) {
                if (k.namedAnchors > 0)
                    p.ops << op(pagekeys::ops::stripNamedAnchorsIn, k.ref);
                if (k.title == QLatin1String("table") || (!k.title.isEmpty() && k.childCount == 1))
                    drop(p, k);
            } else if (tagIn(k, {"UL", "OL", "DL"})) {
                p.ops << op(pagekeys::ops::stripItemsIn, k.ref);
                strip(p, k);
            } else if (named(k) || tagIn(k, {"LI", "EM", "DD"})) {
                strip(p, k);
            } else if (tagIn(k, {"BR", "IMG", "TABLE"}) && !placeholder(k, *kids, c)) {
                drop(p, k);
            }
        }
        if (!p.empty())
            p.rule = QStringLiteral("TD");
    }
    if (p.empty())
        return p;
    if (undoFlag) {
        // Undoing into a forbidden state goes on undoing instead of repairing.
        const QString rule = p.rule;
        const QVariantList repair = p.ops;
        p = Plan();
        p.ops << op(pagekeys::ops::undo, -1, {{pagekeys::args::fallback, pagekeys::fallbacks::ops},
                                                 {pagekeys::args::ops, repair}});
        p.undo = true;
        p.rule = rule;
        return p;
    }
    p.record = true;
    return p;
}

KeyDecision keyFilter(int key, bool ctrl, const Facts& f)
{
    KeyDecision d;
    if (ctrl) {
        if (key >= 'A' && key <= 'Z') {
            switch (key) {
            case 'A': d.action = KeyAction::Pass; break;
            case 'B': d.action = KeyAction::Sign; break;
            case 'C': d.action = KeyAction::Copy; break;
            case 'F': d.action = KeyAction::Find; break;
            case 'O': d.action = KeyAction::Open; break;
            case 'S': d.action = KeyAction::Save; break;
            case 'V': d.action = KeyAction::Paste; break;
            case 'X': d.action = KeyAction::Cut; break;
            case 'Y': d.action = KeyAction::Redo; break;
            case 'Z': d.action = KeyAction::Undo; break;
            default: d.action = KeyAction::Swallow; break;
            }
            return d;
        }
        // Ctrl held alone is no command yet.
        constexpr int kCtrl = 0x01000021, kShift = 0x01000020, kAlt = 0x01000023, kMeta = 0x01000022;
        d.action = key == kCtrl || key == kShift || key == kAlt || key == kMeta ? KeyAction::Pass
                                                                                 : KeyAction::Swallow;
        return d;
    }
    constexpr int kLeft = 0x01000012, kUp = 0x01000013, kRight = 0x01000014, kDown = 0x01000015;
    constexpr int kDelete = 0x01000007, kF1 = 0x01000030, kReturn = 0x01000004, kEnter = 0x01000005;
    constexpr int kFirstSpecial = 0x01000000;
    const Node* e = f.element();
    if (key == kF1) {
        d.action = KeyAction::Help;
        return d;
    }
    if (key == kDelete && isAny(e, {"IMG", "TABLE"}) && f.at(1)) {
        d.action = KeyAction::DeleteObject;
        d.ref = f.at(1)->ref;
        return d;
    }
    if (isWrapper(e, "image") || isWrapper(e, "table")) {
        const bool enter = key == kReturn || key == kEnter;
        const bool typing = enter || (key >= 0x20 && key < kFirstSpecial);
        if (key == kDelete) {
            d.action = KeyAction::DeleteObject;
            d.ref = e->ref;
        } else if (typing && e->nextTag.isEmpty() && e->next != QLatin1String("#text")) {
            // Beside the last object of the body: typing opens a paragraph after it.
            d.action = KeyAction::ParagraphAfter;
            d.ref = e->ref;
            d.passKey = !enter;
        } else if (key != kLeft && key != kUp && key != kRight && key != kDown) {
            // The caret stands beside the object, not in its caption.
            d.action = KeyAction::Swallow;
        }
    }
    return d;
}

QString renewAnchors(const QString& html, const std::function<QString()>& newAnchorId)
{
    static const QRegularExpression tag(QStringLiteral("<a\\b[^>]*>"), QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression anchorClass(QStringLiteral("\\bclass\\s*=\\s*(\"anchor\"|'anchor'|anchor\\b)"),
                                                QRegularExpression::CaseInsensitiveOption);
    QString out;
    qsizetype from = 0;
    for (auto it = tag.globalMatch(html); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        if (!anchorClass.match(m.captured()).hasMatch())
            continue;
        out += html.mid(from, m.capturedStart() - from);
        out += QStringLiteral("<a class=\"anchor\" name=\"") + newAnchorId() + QStringLiteral("\">");
        from = m.capturedEnd();
    }
    out += html.mid(from);
    return out;
}

QString removeTransids(const QString& html)
{
    static const QRegularExpression transid(QStringLiteral("\\s+transid=(\"[^\"]*\"|'[^']*'|[^\\s>]*)"),
                                            QRegularExpression::CaseInsensitiveOption);
    QString out = html;
    out.remove(transid);
    return out;
}

PasteDecision planPaste(const QString& clipboardText, const QString& lastText, const QString& lastHTML,
                        const QString& elementTag, int pasteStatus, const std::function<QString()>& newAnchorId)
{
    PasteDecision d;
    if (clipboardText.isEmpty())
        return d;
    const bool ours = !lastText.isEmpty() && clipboardText == lastText;
    const QString tag = elementTag.toUpper();
    if (tag == QLatin1String("EM") || tag == QLatin1String("H1") || tag == QLatin1String("A") ||
        tag == QLatin1String("STRONG")) {
        // Foreign text cannot be pasted into these elements.
        if (ours) {
            d.paste = true;
            d.internal = true;
            d.html = clipboardText;
        }
        return d;
    }
    if (ours) {
        d.paste = true;
        d.internal = true;
        d.html = removeTransids(renewAnchors(lastHTML, newAnchorId));
        return d;
    }
    if (pasteStatus == Disabled)
        return d;
    QString text = clipboardText;
    // One line break of whatever convention the other program used.
    static const QRegularExpression lineBreak(QStringLiteral("\r\n|\r|\n"));
    if (tag == QLatin1String("LI") || tag == QLatin1String("DD") || tag == QLatin1String("TD")) {
        text.replace(lineBreak, QStringLiteral(" "));
        d.html = text;
    } else {
        text.replace(lineBreak, QStringLiteral("</p><p>"));
        d.html = QStringLiteral("<p>") + text + QStringLiteral("</p>");
    }
    d.paste = true;
    return d;
}

bool objectSelected(const Facts& f)
{
    const Node* e = f.element();
    return isAny(e, {"TABLE", "IMG"});
}

Plan mergeSplitTable(const Facts& f)
{
    Plan p;
    const int i = f.walkUp({"DL", "UL", "OL"});
    const Node* n = i >= 0 ? f.at(size_t(i)) : (f.chain.empty() ? nullptr : &f.chain.back());
    if (!n)
        return p;
    if (n->nextTag == QLatin1String("P") && n->nextTitle == QLatin1String("table") &&
        n->next2Tag == QLatin1String("P") && n->next2Title == QLatin1String("table")) {
        p.ops << op(pagekeys::ops::mergeSplitTable, n->ref);
        p.rule = QStringLiteral("mergeSplitTable");
    }
    return p;
}

Plan outputToggle(const Facts& f, const QString& value)
{
    Plan p;
    if (queryStatus(f, CmdSetBlockFmt) == Disabled || queryStatus(f, CmdSetBlockFmt) == NotSupported)
        return p;
    const int i = f.walkUp({"P", "DL"});
    if (i < 0)
        return p;
    const Node& n = f.chain[size_t(i)];
    if (n.cls == value)
        p.ops << op(pagekeys::ops::removeAttr, n.ref, {{pagekeys::args::name, QStringLiteral("class")}});
    else
        p.ops << op(pagekeys::ops::setAttr, n.ref,
                    {{pagekeys::args::name, QStringLiteral("class")}, {pagekeys::args::value, value}});
    p.record = true;
    return p;
}

Plan alignPlan(const Facts& f, const QString& value)
{
    Plan p;
    // The walker reads align on the TD only.
    const int i = f.walkUp({"TD"});
    if (i < 0)
        return p;
    p.ops << op(pagekeys::ops::setAttr, f.chain[size_t(i)].ref,
                {{pagekeys::args::name, QStringLiteral("align")}, {pagekeys::args::value, value}});
    p.record = true;
    return p;
}

namespace {

QString cellClass(const TableFacts& t)
{
    // A table without border shows its cells dotted, as the conversion builds them.
    return t.border.isEmpty() || t.border == QLatin1String("0") ? QStringLiteral("dottedBorder") : QString();
}

bool inTable(const Facts& f)
{
    return f.table.present && f.table.row >= 0 && f.table.col >= 0 && f.table.row < int(f.table.rows.size());
}

} // namespace

Plan insertRowPlan(const Facts& f)
{
    Plan p;
    if (!inTable(f) || f.table.rows[size_t(f.table.row)].header)
        return p;
    // A new row goes above the current one, with as many cells.
    p.ops << op(pagekeys::ops::insertRow, f.table.tableRef,
                {{pagekeys::args::index, f.table.row},
                 {pagekeys::args::cells, f.table.rows[size_t(f.table.row)].cells},
                 {pagekeys::args::cellClass, cellClass(f.table)},
                 {pagekeys::args::caretRow, f.table.row + 1},
                 {pagekeys::args::caretCol, f.table.col}});
    p.record = true;
    return p;
}

Plan deleteRowPlan(const Facts& f)
{
    Plan p;
    if (!inTable(f))
        return p;
    if (f.table.rows.size() <= 1) {
        p.ops << op(pagekeys::ops::removeObject, f.table.wrapperRef >= 0 ? f.table.wrapperRef : f.table.tableRef);
    } else {
        const int next = f.table.row + 1 < int(f.table.rows.size()) ? f.table.row : f.table.row - 1;
        p.ops << op(pagekeys::ops::deleteRow, f.table.tableRef,
                    {{pagekeys::args::index, f.table.row},
                     {pagekeys::args::caretRow, next},
                     {pagekeys::args::caretCol, f.table.col}});
    }
    p.record = true;
    return p;
}

Plan insertColumnPlan(const Facts& f)
{
    Plan p;
    if (!inTable(f))
        return p;
    // A new column goes left of the current one, in every row.
    p.ops << op(pagekeys::ops::insertColumn, f.table.tableRef,
                {{pagekeys::args::index, f.table.col},
                 {pagekeys::args::cellClass, cellClass(f.table)},
                 {pagekeys::args::caretRow, f.table.row},
                 {pagekeys::args::caretCol, f.table.col + 1}});
    p.record = true;
    return p;
}

Plan deleteColumnPlan(const Facts& f)
{
    Plan p;
    if (!inTable(f))
        return p;
    int widest = 0;
    for (const auto& r : f.table.rows)
        widest = std::max(widest, r.cells);
    if (widest <= 1) {
        p.ops << op(pagekeys::ops::removeObject, f.table.wrapperRef >= 0 ? f.table.wrapperRef : f.table.tableRef);
    } else {
        const int next = f.table.col + 1 < f.table.rows[size_t(f.table.row)].cells ? f.table.col : f.table.col - 1;
        p.ops << op(pagekeys::ops::deleteColumn, f.table.tableRef,
                    {{pagekeys::args::index, f.table.col},
                     {pagekeys::args::caretRow, f.table.row},
                     {pagekeys::args::caretCol, std::max(next, 0)}});
    }
    p.record = true;
    return p;
}

bool endsInBlank(const QString& text)
{
    return !text.isEmpty() && (text.endsWith(QLatin1Char(' ')) || text.endsWith(QChar(0x00A0)));
}

} // namespace editrules
