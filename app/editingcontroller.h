#pragma once
// What keeps the editing surface within the topic format while the author
// types, and what the element toolbars, the clipboard commands, the keys and
// the context menu of the surface do. It attaches to a WebSurface, the
// session and the window's toolbars; the decisions are editrules', the DOM
// work is the page agent's.
#include "commands.h"
#include "editrules.h"

#include <QHash>
#include <QSet>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>

class QAction;
class QLabel;
class QMenu;
class QToolBar;
class QWidget;
class Session;
class WebSurface;
class cDesignTable;
class cImage;
class cLink;
class cOKorCancel;
class cString;

class EditingController : public QObject {
    Q_OBJECT
public:
    EditingController(WebSurface* surface, Session& session, QObject* parent = nullptr);
    ~EditingController() override;

    // The buttons of tlbElements and tlbAlign are found by their keys (the
    // action's objectName, data or text); label is labActElement. With
    // connectClicks the buttons run elementCommand themselves.
    void attachToolbars(QToolBar* elements, QToolBar* align, QLabel* label, bool connectClicks = true);
    // Takes the surface's keys (the keyboard filter) and its context menu.
    void attachSurface(bool keys = true, bool contextMenu = true);

    // The display update: toolbars and label, then the repair and content
    // rules, until the surface is settled.
    void updateDisplay();
    const editrules::ToolState& toolState() const { return m_state; }
    editrules::Facts facts();
    bool undoFlag() const { return m_undoFlag; }
    QString lastCopiedText() const { return m_lastText; }
    QString lastCopiedHTML() const { return m_lastHTML; }
    // Whether the rules and commands act: a topic that may be edited.
    bool active();
    // A function of the page agent, window.__qe.NAME, with its arguments.
    QVariant agentCall(const QString& function, const QVariantList& args = {});
    // The selected text with a closing blank moved out of the selection.
    QString selectionWithoutClosingBlank();

    // The keyboard filter: true when the key is taken. Only a KeyPress runs
    // a command; a ShortcutOverride is only claimed.
    bool handleKey(int qtKey, Qt::KeyboardModifiers modifiers, bool run = true);
    // The context menu: its entries at the caret, and an entry chosen.
    QStringList contextMenuItems();
    void contextMenuAction(int index);
    void showContextMenu(const QPoint& pos);

    // The dialogs; replaceable (tests, scripts). Each returns the OK flag.
    std::function<bool(cLink&, cOKorCancel&)> linkDialog;
    std::function<bool(cImage&, cOKorCancel&, const QString& imageFolder)> imageDialog;
    std::function<bool(cDesignTable&, cOKorCancel&)> tableDialog;
    std::function<bool(cString&, cOKorCancel&)> indexDialog;
    // Shows a popup menu (null: QMenu::exec).
    std::function<void(QMenu*, const QPoint&)> popup;

public slots:
    // tlbElements and tlbAlign, by the button's key.
    void elementCommand(const QString& key);
    void toggleSign();
    void mergeSplitTable();
    void undo();
    void redo();
    void copy();
    void cut();
    void paste();
    // mnuIndex: the keyword dialog for the topic on the surface.
    void editKeywords();

signals:
    // A command that belongs to the window (find, open, save, help and the
    // language tools).
    void commandRequested(CommandId id);
    void actElementChanged(const QString& text);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QVariant call(const QString& expression);
    void install();
    QVariantMap run(const QVariantList& ops, bool record);
    QVariantMap run(const editrules::Plan& plan) { return run(plan.ops, plan.record); }
    // Runs operations as a command of its own; the display update follows.
    void command(const QVariantList& ops, bool record);
    void apply(const editrules::ToolState& s);
    void failed();
    void blockCommand(const QString& key, const editrules::Facts& f);
    void linkCommand(editrules::Facts f);
    void imageCommand(editrules::Facts f);
    void tableCommand();
    void removeObject(int ref);
    void alignCommand(const QString& key, const editrules::Facts& f);
    void watchFocusProxy();
    QWidget* dialogParent() const;

    QPointer<WebSurface> m_surface;
    Session& m_session;
    editrules::ToolState m_state;
    QHash<QString, QPointer<QAction>> m_actions;
    QPointer<QLabel> m_label;
    QPointer<QWidget> m_keyTarget;
    bool m_keys = false;
    bool m_updating = false;
    bool m_again = false;
    bool m_inCommand = false;
    bool m_undoFlag = false;
    bool m_pasteRequested = false;
    QSet<int> m_swallowed; // keys whose press was taken
    bool m_decided = false; // a ShortcutOverride decided for the next press
    int m_decidedKey = 0;
    editrules::KeyDecision m_decision;
    QString m_lastText;
    QString m_lastHTML;
};
