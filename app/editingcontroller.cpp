#include "editingcontroller.h"

#include "editagent.h"
#include "elementhtml.h"
#include "frmimage.h"
#include "frmindex.h"
#include "frmlink.h"
#include "frmtable.h"
#include "holders.h"
#include "language.h"
#include "msgbox.h"
#include "pagekeys.h"
#include "session.h"
#include "websurface.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QTimer>
#include <QToolBar>
#include <QWebEnginePage>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>

using namespace editrules;

namespace {

const QString kNoAgent = QStringLiteral("\x01noagent");
constexpr int kMaxRounds = 12;

QString keyOf(QAction* a)
{
    if (buttonOf(a->objectName()) >= 0 || alignOf(a->objectName()) >= 0)
        return a->objectName();
    const QString data = a->data().toString();
    if (buttonOf(data) >= 0 || alignOf(data) >= 0)
        return data;
    QString text = a->text();
    text.remove(QLatin1Char('&'));
    return text;
}

const Node* wrapperAround(const Facts& f, const char* kind)
{
    const int i = f.walkUp({"P"});
    const Node* p = i >= 0 ? f.at(size_t(i)) : nullptr;
    return p && p->title == QLatin1String(kind) ? p : nullptr;
}

// Runs a command with display updates held back; the update follows at the end.
class CommandScope {
public:
    explicit CommandScope(bool& flag) : m_flag(flag), m_was(flag) { m_flag = true; }
    ~CommandScope() { m_flag = m_was; }

private:
    bool& m_flag;
    bool m_was;
};

} // namespace

EditingController::EditingController(WebSurface* surface, Session& session, QObject* parent)
    : QObject(parent), m_surface(surface), m_session(session)
{
    if (!surface)
        return;
    // Present after every load of the page; call() installs it when a load
    // came before the injection.
    QWebEngineScript agent;
    agent.setName(QStringLiteral("quillary-edit-agent"));
    agent.setSourceCode(editagent::script());
    agent.setInjectionPoint(QWebEngineScript::DocumentReady);
    agent.setWorldId(QWebEngineScript::ApplicationWorld);
    agent.setRunsOnSubFrames(false);
    surface->page()->scripts().insert(agent);
    // Queued: the note arrives inside the page's own message, where no call
    // to the page can be answered.
    connect(surface, &WebSurface::displayChanged, this, &EditingController::updateDisplay, Qt::QueuedConnection);
}

EditingController::~EditingController()
{
    if (!m_surface)
        return;
    m_surface->removeEventFilter(this);
    if (m_keyTarget)
        m_keyTarget->removeEventFilter(this);
    QWebEngineScriptCollection& scripts = m_surface->page()->scripts();
    for (const QWebEngineScript& s : scripts.find(QStringLiteral("quillary-edit-agent")))
        scripts.remove(s);
}

void EditingController::attachToolbars(QToolBar* elements, QToolBar* align, QLabel* label, bool connectClicks)
{
    m_actions.clear();
    for (QToolBar* bar : {elements, align}) {
        if (!bar)
            continue;
        for (QAction* a : bar->actions()) {
            const QString key = keyOf(a);
            if (buttonOf(key) < 0 && alignOf(key) < 0)
                continue;
            m_actions.insert(key, a);
            // Pressed states show on the buttons.
            a->setCheckable(true);
            if (connectClicks)
                connect(a, &QAction::triggered, this, [this, key] { elementCommand(key); });
        }
    }
    m_label = label;
}

void EditingController::attachSurface(bool keys, bool contextMenu)
{
    if (!m_surface)
        return;
    m_keys = keys;
    if (keys) {
        m_surface->installEventFilter(this);
        watchFocusProxy();
    }
    if (contextMenu)
        connect(m_surface, &QWidget::customContextMenuRequested, this, &EditingController::showContextMenu);
}

void EditingController::watchFocusProxy()
{
    // The page's input widget can be replaced with the page; follow it.
    QWidget* proxy = m_surface ? m_surface->focusProxy() : nullptr;
    if (!m_keys || !proxy || proxy == m_keyTarget)
        return;
    if (m_keyTarget)
        m_keyTarget->removeEventFilter(this);
    m_keyTarget = proxy;
    proxy->installEventFilter(this);
}

bool EditingController::eventFilter(QObject* watched, QEvent* event)
{
    const QEvent::Type t = event->type();
    if ((t == QEvent::KeyPress || t == QEvent::ShortcutOverride || t == QEvent::KeyRelease) &&
        (watched == m_surface || watched == m_keyTarget)) {
        auto* k = static_cast<QKeyEvent*>(event);
        if (t == QEvent::KeyRelease) {
            // The page never sees the release of a key whose press it did not get.
            if (m_swallowed.remove(k->key())) {
                event->accept();
                return true;
            }
        } else if (handleKey(k->key(), k->modifiers(), t == QEvent::KeyPress)) {
            if (t == QEvent::KeyPress)
                m_swallowed.insert(k->key());
            event->accept();
            return true;
        }
    }
    if (t == QEvent::FocusIn || t == QEvent::ChildAdded)
        watchFocusProxy();
    return QObject::eventFilter(watched, event);
}

// --- the page ----------------------------------------------------------------

void EditingController::install()
{
    if (m_surface)
        m_surface->runScript(editagent::script());
}

QVariant EditingController::call(const QString& expression)
{
    if (!m_surface)
        return {};
    const QString script = QStringLiteral("(window.__qe ? (%1) : %2)")
                               .arg(expression, WebSurface::jsString(kNoAgent));
    QVariant v = m_surface->runScript(script);
    if (v.toString() == kNoAgent) {
        install();
        v = m_surface->runScript(script);
    }
    return v;
}

QVariant EditingController::agentCall(const QString& function, const QVariantList& args)
{
    return call(editagent::callExpression(QStringLiteral("window.__qe.") + function, args));
}

QString EditingController::selectionWithoutClosingBlank()
{
    const Facts f = facts();
    if (f.selType != QLatin1String("Text"))
        return {};
    if (!endsInBlank(f.selText))
        return f.selText;
    run({op(pagekeys::ops::moveEndBack)}, false);
    return facts().selText;
}

QVariantMap EditingController::run(const QVariantList& ops, bool record)
{
    if (ops.isEmpty())
        return {};
    return call(editagent::callExpression(QStringLiteral("window.__qe.run"), {ops, record})).toMap();
}

Facts EditingController::facts()
{
    return factsFromVariant(call(editagent::callExpression(QStringLiteral("window.__qe.facts"))));
}

bool EditingController::active()
{
    if (!m_surface || m_surface->browseMode())
        return false;
    if (m_session.topic().State == QLatin1String("complete"))
        return false;
    return m_surface->waitReady();
}

void EditingController::failed()
{
    m_session.box().exclamation(QStringLiteral("ERROR: tlbElements_ButtonClick"));
}

QWidget* EditingController::dialogParent() const
{
    return m_surface ? m_surface->window() : nullptr;
}

// --- the display update ----------------------------------------------------------

void EditingController::apply(const ToolState& s)
{
    const bool labelChanged = s.label != m_state.label;
    m_state = s;
    for (int i = 0; i < ButtonCount; ++i) {
        if (QAction* a = m_actions.value(buttonKey(Button(i)))) {
            a->setEnabled(s.enabled[size_t(i)]);
            a->setChecked(s.pressed[size_t(i)]);
        }
    }
    for (int i = 0; i < AlignCount; ++i) {
        if (QAction* a = m_actions.value(alignKey(AlignButton(i)))) {
            a->setEnabled(s.alignEnabled[size_t(i)]);
            a->setChecked(s.alignPressed[size_t(i)]);
        }
    }
    if (m_label) {
        m_label->setText(s.label);
        m_label->setVisible(!s.label.isEmpty());
    }
    if (labelChanged)
        emit actElementChanged(s.label);
}

void EditingController::updateDisplay()
{
    if (m_updating || m_inCommand || (m_surface && m_surface->inCall())) {
        // Comes again when the page is free; the handles of the running
        // command must not be spent by a second question to the page.
        if (!m_again) {
            m_again = true;
            QTimer::singleShot(10, this, [this] {
                m_again = false;
                updateDisplay();
            });
        }
        return;
    }
    watchFocusProxy();
    if (!active())
        return;
    m_updating = true;
    for (int round = 0; round < kMaxRounds; ++round) {
        const Facts f = facts();
        if (!f.valid)
            break;
        if (f.pasteRequested)
            m_pasteRequested = true;
        apply(displayUpdate(f, m_state));
        Plan p = repairPlan(f);
        if (p.empty())
            p = contentPlan(f, m_undoFlag);
        if (p.empty()) {
            // An update that ran no UNDO ends the undoing.
            m_undoFlag = false;
            break;
        }
        run(p);
    }
    m_updating = false;
    if (m_pasteRequested) {
        m_pasteRequested = false;
        paste();
    }
}

// --- keys and menu ------------------------------------------------------------------

bool EditingController::handleKey(int qtKey, Qt::KeyboardModifiers modifiers, bool runIt)
{
    const bool ctrl = (modifiers & Qt::ControlModifier) && !(modifiers & (Qt::AltModifier | Qt::MetaModifier));
    KeyDecision d;
    if (!runIt || !m_decided || m_decidedKey != qtKey) {
        CommandScope scope(m_inCommand);
        Facts f;
        // Only keys without Ctrl depend on where the caret stands.
        if (!ctrl && active())
            f = facts();
        d = keyFilter(qtKey, ctrl, f);
    } else {
        d = m_decision;
    }
    // The override before a press decides for the press as well: the page
    // must not prepare for a key that it does not get.
    m_decided = !runIt;
    m_decidedKey = qtKey;
    m_decision = d;
    if (d.action == KeyAction::Pass)
        return false;
    if (!runIt)
        return true;
    switch (d.action) {
    case KeyAction::Pass:
    case KeyAction::Swallow: break;
    case KeyAction::DeleteObject: removeObject(d.ref); break;
    case KeyAction::ParagraphAfter:
        command({op(pagekeys::ops::paragraphAfter, d.ref)}, true);
        return !d.passKey;
    case KeyAction::Help: emit commandRequested(CommandId::About); break;
    case KeyAction::Sign: toggleSign(); break;
    case KeyAction::Copy: copy(); break;
    case KeyAction::Find: emit commandRequested(CommandId::Find); break;
    case KeyAction::Open: emit commandRequested(CommandId::Open); break;
    case KeyAction::Save: emit commandRequested(CommandId::Save); break;
    case KeyAction::Paste: paste(); break;
    case KeyAction::Cut: cut(); break;
    case KeyAction::Redo: redo(); break;
    case KeyAction::Undo: undo(); break;
    }
    return true;
}

QStringList EditingController::contextMenuItems()
{
    if (m_session.topic().State != QLatin1String("uncomplete") || !active())
        return {};
    const Facts f = facts();
    const Node* e = f.element();
    if ((e && e->tag == QLatin1String("A") && !e->href.isEmpty()) || wrapperAround(f, "image"))
        return {QStringLiteral("&Edit"), QStringLiteral("&Delete")};
    if (f.selType == QLatin1String("Text"))
        return {QStringLiteral("&Spelling"), QStringLiteral("&Synonyms"), QStringLiteral("&Antonyms")};
    return {};
}

void EditingController::contextMenuAction(int index)
{
    if (!active())
        return;
    const Facts f = facts();
    const Node* e = f.element();
    if (e && e->tag == QLatin1String("A") && !e->href.isEmpty()) {
        if (index == 0)
            elementCommand(QStringLiteral("Link"));
        else if (index == 1)
            removeObject(e->ref);
    } else if (const Node* w = wrapperAround(f, "image")) {
        if (index == 0)
            elementCommand(QStringLiteral("Image"));
        else if (index == 1)
            removeObject(w->ref);
    } else {
        static const CommandId tools[] = {CommandId::Spelling, CommandId::Synonyms, CommandId::Antonyms};
        if (index >= 0 && index < 3)
            emit commandRequested(tools[index]);
    }
    updateDisplay();
}

void EditingController::showContextMenu(const QPoint& pos)
{
    const QStringList items = contextMenuItems();
    if (items.isEmpty() || !m_surface)
        return;
    QMenu menu(m_surface);
    menu.setObjectName(QStringLiteral("mnuSurface"));
    for (int i = 0; i < items.size(); ++i) {
        QAction* a = menu.addAction(items[i]);
        connect(a, &QAction::triggered, this, [this, i] { contextMenuAction(i); });
    }
    const QPoint global = m_surface->mapToGlobal(pos);
    if (popup)
        popup(&menu, global);
    else
        menu.exec(global);
}

void EditingController::command(const QVariantList& ops, bool record)
{
    {
        CommandScope scope(m_inCommand);
        run(ops, record);
    }
    updateDisplay();
}

void EditingController::removeObject(int ref)
{
    command({op(pagekeys::ops::removeObject, ref)}, true);
}

// --- clipboard and history -------------------------------------------------------------

void EditingController::copy()
{
    CommandScope scope(m_inCommand);
    const QVariantMap info = call(editagent::callExpression(QStringLiteral("window.__qe.copyInfo"))).toMap();
    const QString text = info.value(pagekeys::copy::text).toString();
    if (text.isEmpty() && info.value(pagekeys::copy::html).toString().isEmpty())
        return;
    auto* data = new QMimeData;
    data->setText(text);
    data->setHtml(info.value(pagekeys::copy::html).toString());
    QApplication::clipboard()->setMimeData(data);
    m_lastText = QApplication::clipboard()->text();
    m_lastHTML = info.value(pagekeys::copy::html).toString();
}

void EditingController::cut()
{
    if (!active())
        return;
    {
        CommandScope scope(m_inCommand);
        const QVariantMap info = call(editagent::callExpression(QStringLiteral("window.__qe.copyInfo"))).toMap();
        const QString text = info.value(pagekeys::copy::text).toString();
        if (text.isEmpty())
            return;
        m_lastHTML = info.value(pagekeys::copy::html).toString();
        auto* data = new QMimeData;
        data->setText(text);
        data->setHtml(m_lastHTML);
        QApplication::clipboard()->setMimeData(data);
        run({op(pagekeys::ops::deleteSelection)}, true);
        m_lastText = QApplication::clipboard()->text();
    }
    updateDisplay();
}

void EditingController::paste()
{
    if (!active())
        return;
    const QString text = QApplication::clipboard()->text();
    if (text.isEmpty())
        return;
    {
        CommandScope scope(m_inCommand);
        const Facts f = facts();
        const Node* e = f.element();
        const PasteDecision d =
            planPaste(text, m_lastText, m_lastHTML, e ? e->tag : QString(), queryStatus(f, CmdPaste),
                      [this] { return m_session.project().getNewAnchorID(); });
        if (!d.paste)
            return;
        // Foreign lines join the text on either side; copied blocks stay blocks.
        run({op(pagekeys::ops::paste, -1,
                {{pagekeys::args::html, d.html}, {pagekeys::args::merge, !d.internal}})},
            true);
    }
    updateDisplay();
}

void EditingController::undo()
{
    if (!active())
        return;
    // The flag first: an update that comes during the call already sees it.
    m_undoFlag = true;
    command({op(pagekeys::ops::undo)}, false);
}

void EditingController::redo()
{
    if (active())
        command({op(pagekeys::ops::redo)}, false);
}

// --- element commands ---------------------------------------------------------------------

void EditingController::toggleSign()
{
    if (!active())
        return;
    {
        CommandScope scope(m_inCommand);
        const Facts f = facts();
        const int s = queryStatus(f, CmdBold);
        if (s == NotSupported || s == Disabled)
            return;
        // Latched, the command takes the bold off (the surface's REMOVEFORMAT);
        // otherwise it puts it on. Either way the page's bold gives STRONG.
        run({op(pagekeys::ops::native, -1, {{pagekeys::args::command, QStringLiteral("bold")}})}, true);
    }
    updateDisplay();
}

void EditingController::mergeSplitTable()
{
    run(editrules::mergeSplitTable(facts()));
}

void EditingController::elementCommand(const QString& key)
{
    if (!active())
        return;
    {
        CommandScope scope(m_inCommand);
        const Facts f = facts();
        if (!f.valid) {
            failed();
            return;
        }
        if (alignOf(key) >= 0) {
            alignCommand(key, f);
        } else if (key == QLatin1String("Image")) {
            imageCommand(f);
        } else if (!objectSelected(f)) {
            if (key == QLatin1String("Sign")) {
                m_inCommand = false;
                toggleSign();
                m_inCommand = true;
            } else if (key == QLatin1String("Link")) {
                linkCommand(f);
            } else if (key == QLatin1String("Table")) {
                tableCommand();
            } else {
                blockCommand(key, f);
            }
        }
        if (m_surface && !m_surface->lastCallOk())
            failed();
    }
    updateDisplay();
}

void EditingController::blockCommand(const QString& key, const Facts& f)
{
    const Node* e = f.element();
    auto block = [](const char* format) {
        return op(pagekeys::ops::block, -1, {{pagekeys::args::format, QString::fromLatin1(format)}});
    };
    const int blockStatus = queryStatus(f, CmdSetBlockFmt);
    const bool blockOk = blockStatus != NotSupported && blockStatus != Disabled;
    const QString fmt = blockFormat(f);

    if (key == QLatin1String("Topic Title")) {
        if (blockOk)
            run({block(fmt == QLatin1String("Heading 1") ? "P" : "H1")}, true);
    } else if (key == QLatin1String("Paragraph")) {
        if (blockOk)
            run({block("P")}, true);
    } else if (key == QLatin1String("Note")) {
        if (!blockOk)
            return;
        if (fmt == QLatin1String("Definition")) {
            run({block("P")}, true);
        } else {
            run({block("P"), block("DD")}, true);
            run(editrules::mergeSplitTable(facts()));
        }
    } else if (key == QLatin1String("ParaHeader")) {
        const int s = queryStatus(f, CmdUnderline);
        if (s == NotSupported || s == Disabled)
            return;
        if (s == Latched) {
            if (e && e->tag == QLatin1String("U"))
                run({op(pagekeys::ops::unheader, e->ref)}, true);
        } else {
            run({op(pagekeys::ops::native, -1, {{pagekeys::args::command, QStringLiteral("underline")}})},
                true);
        }
    } else if (key == QLatin1String("Bulleted List") || key == QLatin1String("Ordered List")) {
        const bool bullet = key == QLatin1String("Bulleted List");
        const int s = queryStatus(f, bullet ? CmdUnorderList : CmdOrderList);
        // A list is switched off by the Paragraph button, not by its own.
        if (s == NotSupported || s == Disabled || s == Latched)
            return;
        run({op(pagekeys::ops::list, -1, {{pagekeys::args::type, bullet ? "UL" : "OL"}})}, true);
        Facts after = facts();
        if (after.element() && after.element()->tag == QLatin1String("DIV")) {
            run({op(pagekeys::ops::strip, after.element()->ref)}, false);
            after = facts();
        }
        run(editrules::mergeSplitTable(after));
    } else if (key == QLatin1String("Printed Output")) {
        run(outputToggle(f, QStringLiteral("print")));
    } else if (key == QLatin1String("Online Output")) {
        run(outputToggle(f, QStringLiteral("online")));
    } else if (key == QLatin1String("Anchor")) {
        if (e && e->tag == QLatin1String("A") && !e->name.isEmpty())
            return;
        const QString id = m_session.project().getNewAnchorID();
        if (id.isEmpty())
            return; // the project file could not take the counter: shown already
        run({op(pagekeys::ops::paste, -1, {{pagekeys::args::html, elementhtml::anchorHTML(id)}})}, true);
    }
}

void EditingController::alignCommand(const QString& key, const Facts& f)
{
    switch (alignOf(key)) {
    case AlignLeft: run(alignPlan(f, QStringLiteral("left"))); break;
    case AlignCenter: run(alignPlan(f, QStringLiteral("center"))); break;
    case AlignRight: run(alignPlan(f, QStringLiteral("right"))); break;
    case InsertRow: run(insertRowPlan(f)); break;
    case DeleteRow: run(deleteRowPlan(f)); break;
    case InsertColumn: run(insertColumnPlan(f)); break;
    case DeleteColumn: run(deleteColumnPlan(f)); break;
    default: break;
    }
}

void EditingController::linkCommand(Facts f)
{
    cLink link;
    cOKorCancel ok;
    const Node* e = f.element();
    const bool edit = e && e->tag == QLatin1String("A") && !e->href.isEmpty();
    if (!edit) {
        // A closing blank stays outside the link.
        const QString text = selectionWithoutClosingBlank();
        if (!text.isEmpty()) {
            ok.Change = true;
            link.IsLocal = false;
            link.WebLabel = text;
        }
    } else {
        ok.Change = true;
        if (e->target == QLatin1String("local")) {
            link.IsLocal = true;
            link.Reference = e->href;
        } else {
            link.IsLocal = false;
            link.Reference = e->href;
            link.WebLabel = e->text;
        }
    }
    const QString editedHref = edit ? e->href : QString();
    bool accepted = false;
    if (linkDialog) {
        accepted = linkDialog(link, ok);
    } else {
        frmLink dlg(&m_session.box(), dialogParent());
        dlg.SetProject(&m_session.project());
        dlg.LinkElement(&link);
        dlg.OKorCancel(&ok);
        dlg.exec();
        accepted = ok.Change;
    }
    if (!accepted || !ok.Change)
        return;
    // The page may have moved on while the dialog was open: ask again.
    f = facts();
    QVariantList ops;
    if (edit) {
        const Node* a = f.element();
        if (a && a->tag == QLatin1String("A") && a->href == editedHref)
            ops << op(pagekeys::ops::removeObject, a->ref);
    }
    ops << op(pagekeys::ops::paste, -1, {{pagekeys::args::html, elementhtml::linkHTML(link)}});
    run(ops, true);
}

void EditingController::imageCommand(Facts f)
{
    cImage image;
    cOKorCancel ok;
    const Node* e = f.element();
    if (e && e->tag == QLatin1String("TABLE"))
        return;
    const bool edit = e && ((e->tag == QLatin1String("P") && e->title == QLatin1String("image")) ||
                            (e->tag == QLatin1String("EM") && e->title == QLatin1String("image")) ||
                            e->tag == QLatin1String("IMG"));
    if (edit) {
        ok.Change = true;
        const QVariantMap info = call(editagent::callExpression(QStringLiteral("window.__qe.imageInfo"))).toMap();
        image.FileName = info.value(pagekeys::image::src).toString();
        image.ImageFormat = info.value(pagekeys::image::alt).toString();
        image.ImageScale = info.value(pagekeys::image::scale).toString();
        image.OutputForm = info.value(pagekeys::image::cls).toString();
        image.Description = info.value(pagekeys::image::caption).toString();
    }
    const QString folder = m_session.project().GetProjectFolder() + QStringLiteral("img/") + currentLanguage() +
                           QLatin1Char('/');
    bool accepted = false;
    if (imageDialog) {
        accepted = imageDialog(image, ok, folder);
    } else {
        frmImage dlg(&m_session.box(), dialogParent());
        dlg.Element(&image);
        dlg.OKorCancel(&ok);
        dlg.ProjectFolder(folder);
        dlg.exec();
        accepted = ok.Change;
    }
    if (!accepted || !ok.Change)
        return;
    f = facts();
    QVariantList ops;
    if (edit) {
        if (const Node* w = wrapperAround(f, "image"))
            ops << op(pagekeys::ops::removeObject, w->ref);
        else if (f.element() && f.element()->tag == QLatin1String("IMG") && f.at(1))
            ops << op(pagekeys::ops::removeObject, f.at(1)->ref);
    }
    ops << op(pagekeys::ops::paste, -1, {{pagekeys::args::html, elementhtml::imageHTML(image)}});
    run(ops, true);
}

void EditingController::tableCommand()
{
    cDesignTable table;
    cOKorCancel ok;
    bool accepted = false;
    if (tableDialog) {
        accepted = tableDialog(table, ok);
    } else {
        frmTable dlg(&m_session.box(), dialogParent());
        dlg.Element(&table);
        dlg.OKorCancel(&ok);
        dlg.exec();
        accepted = ok.Change;
    }
    if (!accepted || !ok.Change || table.RowNum < 1 || table.ColumnNum < 1)
        return;
    run({op(pagekeys::ops::paste, -1, {{pagekeys::args::html, elementhtml::tableHTML(table)}})}, true);
}

void EditingController::editKeywords()
{
    cString indexes;
    indexes.TextString = m_session.topic().index;
    cOKorCancel ok;
    bool accepted = false;
    if (indexDialog) {
        accepted = indexDialog(indexes, ok);
    } else {
        frmIndex dlg(dialogParent());
        dlg.Indexes(&indexes);
        dlg.OKorCancel(&ok);
        dlg.exec();
        accepted = ok.Change;
    }
    if (!accepted || !ok.Change)
        return;
    m_session.topic().index = indexes.TextString;
    m_session.topicPropertiesChanged = true;
}
