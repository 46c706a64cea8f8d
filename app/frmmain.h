#pragma once
// The main window: the book tree on the left, the editing surface on the
// right, menus, toolbars and the status bar around them. It owns the session
// and shows it (SessionView); every command goes to the session, which holds
// the logic. Boxes go through the MsgBox given, so tests can script them.
#include "commands.h"
#include "frmbook.h"
#include "frmxliff.h"
#include "session.h"

#include <QHash>
#include <QMainWindow>
#include <QPointer>
#include <QString>
#include <QUrl>

#include <functional>
#include <map>
#include <memory>

class BookTreeWidget;
class FindBar;
class MsgBox;
class QAction;
class QDialog;
class QLabel;
class QMenu;
class QSplitter;
class QStatusBar;
class QToolBar;
class SearchPanel;
struct SearchHit;
class WebSurface;
class frmDebug;

class EditingController;
class SpellingController;

class frmMain : public QMainWindow, public SessionView {
    Q_OBJECT
public:
    // The filter of the open dialog, as the file dialog wants it.
    static const QString kOpenFilter;

    explicit frmMain(MsgBox& box, QWidget* parent = nullptr);
    ~frmMain() override;

    Session& session() { return *m_session; }

    // Start-up: fits the window to the screen, then the session's start with
    // the command line (a project path, plain or in double quotes).
    void startUp(const QString& commandLine);

    // Replaceable dialogs, for tests and scripts.
    using OpenPathFn = std::function<QString(QWidget* parent, const QString& filter)>;
    using TitleFn = std::function<bool(const QString& caption, const QString& label, const QString& button,
                                       QString& text)>;
    using PopupFn = std::function<void(QMenu* menu, const QPoint& globalPos)>;
    void setOpenPath(OpenPathFn fn) { m_openPath = std::move(fn); }
    void setNewProjectPath(frmBook::SavePathFn fn) { m_newProjectPath = std::move(fn); }
    void setLanguageFile(const QString& path) { m_langFile = path; }
    // Null: the real frmTopicTitle.
    void setTitleDialog(TitleFn fn) { m_titleDialog = std::move(fn); }
    // Null: QMenu::exec.
    void setPopup(PopupFn fn) { m_popup = std::move(fn); }
    // Null: the desktop opens results and addresses of the dialogs.
    void setOpenUrl(std::function<bool(const QUrl&)> fn) { m_openUrl = std::move(fn); }
    // Called with each form of the language exchange before it is shown,
    // so that tests can replace its file dialogs.
    void setPrepareForm(std::function<void(QDialog*)> fn) { m_prepareForm = std::move(fn); }
    // Opens a project of the Recent Projects menu (after the save prompt).
    void openRecent(const QString& path);
    // The Recent Projects menu as it is about to show.
    void fillRecentMenu();

    // The file dialog of mnuOpen.
    static QString askOpenPath(QWidget* parent, const QString& filter);

    // The tree's mouse-up: node (null on empty space), button, screen point.
    void treeMouseUp(const NodePtr& node, Qt::MouseButton button, const QPoint& globalPos);
    // A drop on the tree, as the tree reports it.
    void treeDrop(const NodePtr& source, const NodePtr& target);
    // Shows a topic given by id or by its path below the book; false when
    // there is none.
    bool openTopic(const QString& idOrPath);

    // The action of a command; one per command, shared by menu, toolbar and
    // context menus.
    QAction* action(CommandId id) const;
    // An action by its object name or toolbar key (and the element buttons).
    QAction* action(const QString& name) const { return m_actions.value(name); }
    QMenu* menu(const QString& name) const { return m_menus.value(name); }

    // The widgets, by their names.
    BookTreeWidget* trvBook = nullptr;
    WebSurface* dEdit = nullptr;
    QLabel* labActElement = nullptr;
    QStatusBar* sbrStatus = nullptr;
    QToolBar* tlbCommon = nullptr;
    QToolBar* tlbElements = nullptr;
    QToolBar* tlbAlign = nullptr;
    FindBar* findBar = nullptr;
    QLabel* lblReadOnly = nullptr;
    QSplitter* splMain = nullptr;
    QLabel* panel[3] = {nullptr, nullptr, nullptr};
    QLabel* panelPicture = nullptr;

    // SessionView
    void setCaption(const QString& caption) override;
    void setPanel(int i, const QString& text, int image) override;
    void setEnabled(const Enabling& enabling) override;
    void setDropEnabled(bool on) override;
    void setActElement(const QString& text) override;
    void setCompleteChecked(bool on) override;
    void projectOpened(const QString& projectFile) override;
    void projectClosing(const QString& projectFile) override;
    void topicSaved() override;
    using QMainWindow::setEnabled;

    QLabel* lblSaved = nullptr;
    SearchPanel* dckSearch = nullptr;

public slots:
    void mnuNew_Click();
    void mnuOpen_Click();
    void mnuSave_Click();
    void mnuExit_Click();
    void mnuUndo_Click();
    void mnuRedo_Click();
    void mnuCopy_Click();
    void mnuPaste_Click();
    void mnuCut_Click();
    void mnuFind_Click();
    void mnuAbout_Click();
    void mnuDebug_Click();
    void mnuOutput_Click();
    void mnuVerify_Click();
    void mnuNewLanguage_Click();
    void mnuContextHelp_Click();
    void mnuExport_Click();
    void mnuImport_Click();
    void mnuBackup_Click();
    void mnuShortcuts_Click();
    // The search panel, shown with its field focused.
    void showSearch();
    // F2 and Delete of the tree: what they mean depends on the node.
    void renameNode();
    void deleteNode();
    // The tree's selected node for F2 and Delete, clicked; null when none.
    NodePtr keyNode();
    // Shows the settings dialog, then reads the settings again.
    void reloadSettings();

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QAction* makeAction(const QString& name, const QString& text, QObject* parent = nullptr);
    void buildActions();
    void run(CommandId id);
    void xliff(frmXliff::Mode mode);
    // After an import: the tree again, and the topic that was open.
    void showAfterImport(const QString& key);
    // The action whose shortcut is the key pressed.
    QAction* actionForKey(const QKeyEvent* event) const;
    void buildMenus();
    void buildToolbars();
    void buildStatusBar();
    void buildCentre();
    void wireSession();
    void elementCommand(const QString& key);
    void popup(QMenu* menu, const QPoint& globalPos);
    void surfaceMenu(const QPoint& pos);
    bool isOn(CommandId id) const;
    void refreshReadOnly();
    void scheduleRefresh();
    void fitToScreen();
    bool handleKey(QKeyEvent* event);
    bool inEditArea(QObject* watched) const;
    // The window's layout and each project's tree, kept between runs.
    void saveLayout();
    void restoreLayout();
    void restoreProjectState(const QString& projectFile);
    void buildSearch();
    // A hit of the search panel: its topic shown, the hit selected.
    void openHit(const SearchHit& hit);

    MsgBox& m_box;
    std::unique_ptr<Session> m_session;
    QHash<QString, QAction*> m_actions;
    std::map<CommandId, QAction*> m_commands;
    QHash<QString, QMenu*> m_menus;
    OpenPathFn m_openPath;
    frmBook::SavePathFn m_newProjectPath;
    QString m_langFile;
    TitleFn m_titleDialog;
    PopupFn m_popup;
    std::function<bool(const QUrl&)> m_openUrl;
    std::function<void(QDialog*)> m_prepareForm;
    QPointer<frmDebug> m_debug;
    bool m_refreshPending = false;
    // The editing rules and element commands of the page.
    EditingController* m_editing = nullptr;
    SpellingController* m_spelling = nullptr;
};
