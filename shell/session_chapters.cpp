// Chapters and subchapters, the book's properties, deleting the book.
#include "session.h"

#include "cbookfile.h"
#include "csaxbookhandler.h"
#include "fileio.h"
#include "filters.h"
#include "language.h"
#include "mcommon.h"
#include "msgbox.h"
#include "surface.h"

#include <QFile>
#include <QFileInfo>

namespace {
bool isTopLevel(const NodePtr& node)
{
    NodePtr p = node ? node->Parent() : nullptr;
    return p && p->Tag == QLatin1String("book");
}

// One title per language, all with the same text.
QString titlesText(const QStringList& langs, const QString& title)
{
    QString s;
    for (const QString& l : langs)
        s += QStringLiteral("<title lang=\"") + mCommon::escapeXMLAttribute(l) + QStringLiteral("\">") +
             mCommon::escapeXML(title) + QStringLiteral("</title>");
    return s;
}

// The node of a new chapter or subchapter, placed by action (7 before, 8
// after, 9 last child of relative), selected.
NodePtr addChapterNode(BookTree& tree, const NodePtr& relative, ChapterAction action, const QString& key,
                       const QString& title)
{
    Relation rel = action == ChapterAction::InsertBefore ? Relation::Previous : action == ChapterAction::InsertAfter ? Relation::Next : Relation::Child;
    NodePtr node = tree.Add(relative, rel, key, title, treeimg::Closed, 0);
    if (!node)
        return nullptr;
    node->ExpandedImage = treeimg::Open;
    node->Tag = QStringLiteral("chapter");
    tree.Changed(node);
    tree.Select(node);
    return node;
}

bool isBelow(const NodePtr& node, const NodePtr& ancestor)
{
    for (NodePtr p = node; p; p = p->Parent())
        if (p == ancestor)
            return true;
    return false;
}
}

// Takes a chapter's node out of the tree: the selection moves on, and a
// topic shown from inside the chapter leaves the surface.
void Session::detachChapterNode(const NodePtr& ch)
{
    NodePtr shown = shownTopic();
    chooseSelectionAfterRemoving(ch, false);
    if (shown && isBelow(shown, ch)) {
        showEmptyPage();
        m_topic.TreeNode.reset();
    }
    m_tree.Remove(ch);
    m_chapter.TreeNode.reset();
}

bool Session::changeChapter(ChapterAction action, QString xml, QString title, QString id)
{
    if (!m_open || isReadOnly())
        return false;
    NodePtr ch = selectedChapter();
    if (!ch || (ch->Tag == QLatin1String("book") && action != ChapterAction::Insert))
        return false;
    // Top-level work: 9 on the book, or 6, 7, 8 on a chapter of the book.
    if ((action == ChapterAction::Insert && ch->Tag == QLatin1String("book")) ||
        (action != ChapterAction::Insert && isTopLevel(ch))) {
        if (!xml.isEmpty())
            return false; // a top-level chapter moves through the book, not by text
        return action == ChapterAction::Delete ? removeChapterFile() : insertChapterFile(action);
    }
    if (!mCommon::checkFreeSpace(m_project.GetProjectFile(), m_box))
        return false;
    cSAXFileChangeChapter f;
    f.Action = static_cast<int>(action);
    const QString chapterTitle = mCommon::getChapterFromPath(ch->FullPath());

    if (action == ChapterAction::Delete) {
        f.CutElement = QStringLiteral("subchapter");
        f.SubID = ch->Key;
        f.xmlIn.clear();
        // The file first: a failed write leaves the tree as it was.
        if (!rewriteChapter(chapterTitle, f))
            return false;
        detachChapterNode(ch);
        if (NodePtr sel = m_tree.SelectedItem())
            clickOnTopic(sel);
        return true;
    }

    // 7, 8, 9: insert a subchapter.
    const bool ready = !xml.isEmpty();
    if (!ready) {
        auto taken = [&](const QString& t) {
            const bool exists = action == ChapterAction::Insert ? titleExistsAmongChildren(ch, t)
                                                                : titleExistsAmongChildren(ch->Parent(), t);
            return exists ? QStringLiteral("Chapter with same name already exists! Chapter can not be inserted!")
                          : QString();
        };
        if (!askTitle(QStringLiteral("Chapter Title"), QStringLiteral("Insert new chapter title"),
                      QStringLiteral("Insert"), title, taken))
            return false;
        bool exists = action == ChapterAction::Insert ? titleExistsAmongChildren(ch, title)
                                  : titleExistsAmongChildren(ch->Parent(), title);
        if (exists) {
            m_box.exclamation(QStringLiteral("Chapter with same name already exists! Chapter can not be inserted!"));
            return false;
        }
        id = m_project.getNewSubchapterID();
        if (id.isEmpty())
            return false; // the counter could not be written: shown already
        xml = QStringLiteral("<subchapter id=\"") + id + QStringLiteral("\">") +
              titlesText(m_project.languageList(), title) + QStringLiteral("</subchapter>");
    }
    f.SubID = ch->Key;
    if (action == ChapterAction::Insert)
        f.CutElement = isTopLevel(ch) ? QStringLiteral("chapter") : QStringLiteral("subchapter");
    else
        f.CutElement = QStringLiteral("subchapter");
    f.xmlIn = xml;
    if (!rewriteChapter(chapterTitle, f))
        return false;
    NodePtr node = addChapterNode(m_tree, ch, action, id, title);
    if (!node)
        return false;
    if (!ready)
        clickOnTopic(node);
    return true;
}

bool Session::insertChapterFile(ChapterAction action)
{
    NodePtr ch = selectedChapter();
    if (!ch || !mCommon::checkFreeSpace(m_project.GetProjectFile(), m_box))
        return false;
    QString title;
    auto taken = [&](const QString& t) {
        const bool exists = action == ChapterAction::Insert ? titleExistsAmongChildren(ch, t)
                                                            : titleExistsAmongChildren(ch->Parent(), t);
        return exists ? QStringLiteral("Chapter with same title already exists! Chapter can not be inserted!")
                      : QString();
    };
    if (!askTitle(QStringLiteral("Chapter Title"), QStringLiteral("Insert new chapter title"),
                  QStringLiteral("Insert"), title, taken))
        return false;
    bool exists = action == ChapterAction::Insert ? titleExistsAmongChildren(ch, title) : titleExistsAmongChildren(ch->Parent(), title);
    if (exists) {
        m_box.exclamation(QStringLiteral("Chapter with same title already exists! Chapter can not be inserted!"));
        return false;
    }
    const QString text =
        QStringLiteral("<chapter>") + titlesText(m_project.languageList(), title) + QStringLiteral("</chapter>");
    const QString id = m_project.getNewChapterID();
    if (id.isEmpty())
        return false; // the counter could not be written: shown already
    const QString fileName = id + QStringLiteral(".xml");
    const QString path = m_project.GetProjectFolder() + fileName;
    QString error;
    if (!fileio::writeUtf16Line(path, text, tempPath(), &error)) {
        m_box.stop(error);
        return false;
    }
    cSAXBookHandler h;
    h.NewChapterID = id;
    h.CurrentChapterID = action == ChapterAction::Insert ? QString() : m_project.getChapterID(ch->Text);
    h.FileName = fileName;
    h.Command = static_cast<int>(action);
    if (!rewriteBookFile(m_project, h, m_box)) {
        QFile::remove(path);
        return false;
    }
    if (!m_project.InsertChapter(title, id, fileName)) {
        // The book may not name a chapter the project file does not list.
        cSAXBookHandler undo;
        undo.NewChapterID = id;
        undo.Command = 6;
        if (rewriteBookFile(m_project, undo, m_box))
            QFile::remove(path);
        return false;
    }
    NodePtr node = addChapterNode(m_tree, ch, action, QString(), title);
    if (!node)
        return false;
    clickOnTopic(node);
    return true;
}

bool Session::removeChapterFile()
{
    NodePtr ch = selectedChapter();
    if (!ch || !mCommon::checkFreeSpace(m_project.GetProjectFile(), m_box))
        return false;
    const QString title = ch->Text;
    const QString file = m_project.getChapterFile(title);
    cSAXBookHandler h;
    h.NewChapterID = m_project.getChapterID(title);
    h.Command = 6;
    if (h.NewChapterID.isEmpty()) {
        notInProjectFile(title);
        return false;
    }
    if (!rewriteBookFile(m_project, h, m_box))
        return false;
    detachChapterNode(ch);
    QFile::remove(file);
    m_project.RemoveChapter(title);
    if (NodePtr sel = m_tree.SelectedItem())
        clickOnTopic(sel);
    return true;
}

void Session::mnuDeleteChapter()
{
    NodePtr ch = selectedChapter();
    if (!ch || ch->Tag != QLatin1String("chapter") || isReadOnly())
        return;
    if (ch->ChildCount() > 0) {
        m_box.exclamation(QStringLiteral("Chapter \"") + ch->Text + QStringLiteral("\" is not empty and may be not deleted!"));
        return;
    }
    if (m_box.show(QStringLiteral("Delete chapter \"") + ch->Text + QStringLiteral("\"?"), MsgButtons::YesNo,
                   MsgIcon::Question, kAppTitle) != MsgAnswer::Yes)
        return;
    changeChapter(ChapterAction::Delete);
}

void Session::mnuChapterProperties()
{
    NodePtr ch = selectedChapter();
    if (!ch || isReadOnly())
        return;
    if (isTopLevel(ch))
        editChapterProperties();
    else if (ch->Tag == QLatin1String("chapter"))
        editSubchapterProperties();
}

void Session::editSubchapterProperties()
{
    renameChapter(false);
}

void Session::editChapterProperties()
{
    renameChapter(true);
}

// Renames a chapter (top-level) or subchapter in the current language.
void Session::renameChapter(bool topLevel)
{
    NodePtr ch = selectedChapter();
    if (!ch || isReadOnly())
        return;
    const QString old = ch->Text;
    QString title = old;
    auto taken = [&](const QString& t) {
        if (t == old || !titleExists(ch, t))
            return QString();
        return topLevel ? QStringLiteral("Chapter with same title already exists! Properties can not be changed!")
                        : QStringLiteral("Chapter with same name already exists! Chapter can not be renamed!");
    };
    if (!askTitle(QStringLiteral("Chapter Title"), QStringLiteral("Chapter title"), QStringLiteral("OK"), title, taken))
        return;
    if (title.isEmpty() || title == old)
        return;
    if (titleExists(ch, title)) {
        m_box.exclamation(topLevel
                              ? QStringLiteral("Chapter with same title already exists! Properties can not be changed!")
                              : QStringLiteral("Chapter with same name already exists! Chapter can not be renamed!"));
        return;
    }
    if (!mCommon::checkFreeSpace(m_project.GetProjectFile(), m_box))
        return;
    cSAXFileChangeChapterUpdate f;
    f.Action = topLevel ? 11 : 10;
    f.SubID = topLevel ? QString() : ch->Key;
    f.xmlIn = title;
    f.CutElement = topLevel ? QStringLiteral("chapter") : QStringLiteral("subchapter");
    if (!rewriteChapter(mCommon::getChapterFromPath(ch->FullPath()), f))
        return;
    if (topLevel) {
        // The project file finds a chapter's file by its title: the entry
        // moves to the end of the list; the book's references keep the order.
        const QString id = m_project.getChapterID(old);
        const QString file = QFileInfo(m_project.getChapterFile(old)).fileName();
        m_project.RemoveChapter(old);
        m_project.InsertChapter(title, id, file);
    }
    ch->Text = title;
    m_tree.Changed(ch);
    clickOnTopic(ch);
}

void Session::editBookProperties()
{
    NodePtr root = m_tree.Root();
    if (!m_open || !root || isReadOnly())
        return;
    cBookFile bf(m_box);
    if (!bf.Load(m_project.getBookFile()))
        return;
    cBook book;
    bf.getProperties(book, QString());
    if (!dialogs.bookProperties || !dialogs.bookProperties(book))
        return;
    if (!mCommon::checkFreeSpace(m_project.GetProjectFile(), m_box))
        return;
    if (!bf.setProperties(book, QString()))
        return;
    root->Text = book.Title;
    m_tree.Changed(root);
    clickOnTopic(root);
}

void Session::mnuDeleteBook()
{
    NodePtr root = m_tree.Root();
    if (!root || isReadOnly())
        return;
    if (root->ChildCount() > 0) {
        m_box.exclamation(QStringLiteral("Book is not empty and may be not deleted!"));
        return;
    }
    if (m_box.show(QStringLiteral("Delete book?"), MsgButtons::YesNo, MsgIcon::Question, kAppTitle) != MsgAnswer::Yes)
        return;
    deleteBook();
}

void Session::deleteBook()
{
    const QStringList chapters = m_project.chapterFileList();
    const QString book = m_project.getBookFile();
    const QString projectFile = m_project.GetProjectFile();
    // The start-up sequence again: closes the project and clears its mark.
    startUp(QString());
    if (m_open)
        return; // the save prompt was cancelled
    for (const QString& f : chapters)
        QFile::remove(f);
    QFile::remove(book);
    QFile::remove(projectFile);
}
