#pragma once
// The session with one open project: what the main window owns and does,
// without any widget. The desktop program shows it through SessionView and
// answers its dialogs through SessionDialogs; the command line and the tests
// script both.
#include "booktree.h"
#include "cbook.h"
#include "commands.h"
#include "cproject.h"
#include "ctopic.h"
#include "treeview.h"

#include <QString>

#include <algorithm>
#include <functional>
#include <map>

class EditSurface;
class MsgBox;
class RewriteFilter;

// What the window shows of the session. All calls are optional to follow.
class SessionView {
public:
    virtual ~SessionView() = default;
    virtual void setCaption(const QString&) {}
    // Status bar panel 1 to 3; image 0 for none or the tree image index.
    virtual void setPanel(int, const QString&, int) {}
    virtual void setEnabled(const Enabling&) {}
    virtual void setDropEnabled(bool) {}
    virtual void setActElement(const QString&) {}
    virtual void setCompleteChecked(bool) {}
    // A project was opened, or is about to close (its file given).
    virtual void projectOpened(const QString&) {}
    virtual void projectClosing(const QString&) {}
    // The shown topic reached the disk.
    virtual void topicSaved() {}
};

// The dialogs the session opens. Each returns false for Cancel.
struct SessionDialogs {
    // The title dialog: caption, label, button caption; text in and out.
    std::function<bool(const QString& caption, const QString& label, const QString& button,
                       QString& text)>
        topicTitle;
    // The new-project form: fills the book (ProjectFile included).
    std::function<bool(cBook&)> newBook;
    // The book properties form.
    std::function<bool(cBook&)> bookProperties;
    // While the title dialog is asked: why a title would be refused (empty:
    // taken), so that a dialog can refuse it while it is still open.
    std::function<QString(const QString&)> titleRefusal;
};

class Session {
public:
    Session(MsgBox& box, EditSurface& surface);
    ~Session();

    void setView(SessionView* view);
    SessionDialogs dialogs;

    // The three change flags.
    bool topicPropertiesChanged = false;
    bool topicStateChanged = false;
    bool keywordDialogPending = false;

    cProject& project() { return m_project; }
    cTopic& topic() { return m_topic; }
    cChapter& chapter() { return m_chapter; }
    BookTree& tree() { return m_tree; }
    EditSurface& surface() { return m_surface; }
    MsgBox& box() { return m_box; }
    bool isOpen() const { return m_open; }
    bool isLocked() const;
    // Locked by an export, or its files cannot be written: nothing that
    // writes is offered. The reason names the file that cannot be written.
    bool isReadOnly() const { return isLocked() || (m_open && !m_writeRefusal.isEmpty()); }
    QString readOnlyReason() const { return m_open ? m_writeRefusal : QString(); }
    const Enabling& enabling() const { return m_enabling; }
    bool enabled(CommandId id) const
    {
        auto it = m_enabling.find(id);
        return it != m_enabling.end() && it->second;
    }
    QString caption() const { return m_caption; }
    QString panel(int i) const { return m_panels[std::clamp(i, 1, 3) - 1]; }
    int panelImage() const { return m_panelImage; }
    bool dropEnabled() const { return m_dropEnabled; }
    QString onlineColor, printColor, anchorColor; // "#" and six digits

    // Start-up: settings, colours, the compiler lookup, the empty workspace,
    // then the project named on the command line.
    void startUp(const QString& commandLine);
    static QString projectFromCommandLine(const QString& commandLine);
    void readSettings();

    void openProject(const QString& path);
    void closeProject();
    void resetWorkspace();
    void createProject();
    // The save prompt; true when the user cancelled, or when the save the
    // user asked for did not reach the disk (the topic stays shown and changed).
    bool askSaveTopic();
    // Whether the shown topic differs from what is on disk: the surface's
    // dirty flag, the two change flags, or a save that failed to write.
    bool topicChanged();
    bool saveFailed() const { return m_saveFailed; }
    void clearDirty();
    void showEmptyPage();
    static QString pageShell(const QString& online, const QString& print, const QString& anchor);
    void setEditorBase();
    void resetStatusBar();
    // Leaving the program; false when the user cancelled.
    bool queryUnload();

    // The tree.
    void buildTree();
    void clickOnTopic(const NodePtr& node);
    void ShowTopic(const NodePtr& node);
    QString GetTopic(const QString& id, const QString& chapterTitle, const QString& element);
    bool titleExists(const NodePtr& node, const QString& title) const;
    bool titleExistsAmongChildren(const NodePtr& parent, const QString& title) const;
    // The node of the topic on the surface and of the selected chapter; null
    // when there is none or its node has been removed from the tree.
    NodePtr shownTopic() const { return live(m_topic.TreeNode.lock()); }
    NodePtr selectedChapter() const { return live(m_chapter.TreeNode.lock()); }

    // Topic and chapter actions; xml, title and id empty for the menu commands.
    bool changeTopic(TopicAction action, QString xml = {}, QString title = {}, QString id = {});
    bool changeChapter(ChapterAction action, QString xml = {}, QString title = {}, QString id = {});
    bool insertChapterFile(ChapterAction action);
    bool removeChapterFile();
    void editChapterProperties();
    void editSubchapterProperties();
    void editBookProperties();
    void deleteBook();

    // Menu commands with their questions.
    void mnuSave();
    void mnuDeleteTopic();
    void mnuDeleteChapter();
    void mnuDeleteBook();
    void mnuChapterProperties();
    void mnuComplete();
    void mnuUnlock();

    // Drag and drop: whether target may take source, and the drop itself.
    bool canDrop(const NodePtr& source, const NodePtr& target) const;
    bool dropNode(const NodePtr& source, const NodePtr& target);

    // Editing states.
    void readOnlyState();
    void editState();
    void completeTopicState();
    void copyFindState();
    void enableByProjectState();

private:
    static NodePtr live(NodePtr n) { return n && !n->Removed() ? n : nullptr; }
    void setCaption(const QString& c);
    void setPanel(int i, const QString& text, int image = 0);
    void setEnabled(CommandId id, bool on);
    // Every command that needs this state.
    void setEnabled(Enabler enabler, bool on);
    void pushEnabling();
    bool rewriteChapter(const QString& chapterTitle, RewriteFilter& filter);
    // The boxes for a tree that disagrees with the files: a chapter the
    // project file does not list, an element its file does not hold.
    void notInProjectFile(const QString& chapterTitle);
    void notFoundInFile(const QString& file);
    void chooseSelectionAfterRemoving(const NodePtr& node, bool forTopic);
    bool moveElement(const NodePtr& source, const NodePtr& target, bool into);
    void renameChapter(bool topLevel);
    void detachChapterNode(const NodePtr& ch);
    // The title dialog, asked again with the typed text while refusal (if
    // given) gives a reason; false on Cancel.
    bool askTitle(const QString& caption, const QString& label, const QString& button, QString& text,
                  const std::function<QString(const QString&)>& refusal = {});
    QString newTopicText(const QString& id, const QString& title);
    QString extract(const QString& file, const QString& element, const QString& id);
    QString unwritableReason() const;
    QString tempPath() const;
    QString tempPath2() const;

    MsgBox& m_box;
    EditSurface& m_surface;
    SessionView* m_view = nullptr;
    SessionView m_noView;
    cProject m_project;
    cTopic m_topic;
    cChapter m_chapter;
    BookTree m_tree;
    cTreeView m_treeView;
    bool m_open = false;
    // The last save of the shown topic did not reach the disk; the surface's
    // own flag may have been cleared before it ran.
    bool m_saveFailed = false;
    // Why the open project's files cannot be written; empty when they can.
    QString m_writeRefusal;
    QString m_caption;
    QString m_panels[3];
    int m_panelImage = 0;
    bool m_dropEnabled = true;
    Enabling m_enabling;
};
