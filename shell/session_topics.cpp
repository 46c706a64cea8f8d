// Topics: showing, extracting, saving, inserting, deleting, the finished mark.
#include "session.h"

#include "csaxerrorhandler.h"
#include "filters.h"
#include "language.h"
#include "mcommon.h"
#include "msgbox.h"
#include "projectlock.h"
#include "surface.h"
#include "topicconvert.h"

#include <QFileInfo>

void Session::buildTree()
{
    m_treeView.SetTree(&m_tree);
    buildBookTree(m_project, m_tree, m_box);
}

bool Session::titleExists(const NodePtr& node, const QString& title) const
{
    if (!node)
        return false;
    NodePtr parent = node->Parent();
    if (!parent)
        return false;
    const QString lower = title.toLower();
    for (const NodePtr& s : parent->Children())
        if (s != node && s->Text.toLower() == lower)
            return true;
    return false;
}

bool Session::titleExistsAmongChildren(const NodePtr& parent, const QString& title) const
{
    if (!parent)
        return false;
    const QString lower = title.toLower();
    for (const NodePtr& c : parent->Children())
        if (c->Text.toLower() == lower)
            return true;
    return false;
}

QString Session::extract(const QString& file, const QString& element, const QString& id)
{
    return extractElement(m_project, file, element, id, m_box);
}

QString Session::GetTopic(const QString& id, const QString& chapterTitle, const QString& element)
{
    QString xml = extract(m_project.getChapterFile(chapterTitle), element, id);
    if (element == QLatin1String("topic")) {
        m_topic.ID = id;
        m_topic.State = m_topic.ExtractState(xml);
        m_topic.Stamp = m_topic.ExtractStamp(xml);
        m_topic.index = m_topic.ExtractIndexes(xml);
    }
    return xml;
}

void Session::ShowTopic(const NodePtr& node)
{
    if (!node)
        return;
    bool wasShown = shownTopic() != nullptr;
    QString xml = GetTopic(node->Key, mCommon::getChapterFromPath(node->FullPath()), QStringLiteral("topic"));
    const int unanswered = m_surface.unansweredCalls();
    m_surface.setBrowseMode(false);
    showEmptyPage();
    setEditorBase();
    TopicToEditor(xml, m_surface, m_box);
    m_surface.waitReady();
    clearDirty();
    // A page that did not answer may hold part of the topic or none: it is
    // not offered for editing, so nothing of it can be saved over the file.
    const bool shownWhole = m_surface.unansweredCalls() == unanswered;
    m_saveFailed = false;
    if (!wasShown)
        editState();
    setPanel(2, QString(), 0);
    setPanel(3, QString());
    bool complete = m_topic.State == QLatin1String("complete");
    if (complete)
        setPanel(2, QStringLiteral("locked"), treeimg::Anchor);
    setPanel(3, m_topic.Stamp);
    m_view->setActElement(QString());
    m_view->setCompleteChecked(complete);
    if (isReadOnly() || complete || !shownWhole) {
        m_surface.setBrowseMode(true);
        readOnlyState();
        copyFindState();
        if (complete && shownWhole)
            completeTopicState();
    } else {
        editState();
    }
    if (!shownWhole)
        m_box.stop(QStringLiteral("The editing page did not answer, so topic \"") + node->Text +
                   QStringLiteral("\" may not be shown whole. It stays read-only until it is shown again."));
}

void Session::clickOnTopic(const NodePtr& node)
{
    if (!node || node->Removed())
        return;
    if (node->Tag == QLatin1String("topic")) {
        NodePtr current = shownTopic();
        if (!current) {
            // The shown topic's node may be gone: the normal case after tree edits.
            m_topic.TreeNode.reset();
        }
        if (current && current->FullPath() == node->FullPath())
            return;
        if (askSaveTopic())
            return;
        m_tree.Select(node);
        ShowTopic(node);
        setPanel(1, node->FullPath());
        m_topic.TreeNode = node;
    } else if (node->Tag == QLatin1String("chapter") || node->Tag == QLatin1String("book")) {
        m_tree.Select(node);
        m_chapter.TreeNode = node;
    }
}

void Session::notInProjectFile(const QString& chapterTitle)
{
    m_box.stop(QStringLiteral("The chapter \"") + chapterTitle + QStringLiteral("\" has no file in the project file!"));
}

void Session::notFoundInFile(const QString& file)
{
    m_box.stop(QStringLiteral("The element to change was not found in \"") + QFileInfo(file).fileName() +
               QStringLiteral("\". Nothing has been changed."));
}

bool Session::rewriteChapter(const QString& chapterTitle, RewriteFilter& filter)
{
    QString file = m_project.getChapterFile(chapterTitle);
    if (file.isEmpty()) {
        notInProjectFile(chapterTitle);
        return false;
    }
    cSAXErrorHandler errors(m_box);
    QString error;
    if (!rewriteToTemp(file, filter, tempPath(), &errors, &error)) {
        if (!errors.failed())
            m_box.stop(error);
        return false;
    }
    if (!filter.found()) {
        // The tree and the file disagree: change nothing.
        fileio::commitTemp(tempPath(), QString());
        notFoundInFile(file);
        return false;
    }
    if (!fileio::commitTemp(tempPath(), file, &error)) {
        m_box.stop(error);
        return false;
    }
    return true;
}

QString Session::newTopicText(const QString& id, const QString& title)
{
    const QString stamp = mCommon::nowStamp();
    const QStringList langs = m_project.languageList();
    QString s = QStringLiteral("<topic id=\"") + id + QStringLiteral("\">");
    for (const QString& l : langs)
        s += QStringLiteral("<title lang=\"") + mCommon::escapeXMLAttribute(l) +
             QStringLiteral("\" state=\"uncomplete\" stamp=\"") + mCommon::escapeXMLAttribute(stamp) +
             QStringLiteral("\">") + mCommon::escapeXML(title) + QStringLiteral("</title>");
    for (const QString& l : langs)
        s += QStringLiteral("<onelang lang=\"") + mCommon::escapeXMLAttribute(l) + QStringLiteral("\"></onelang>");
    s += QStringLiteral("</topic>");
    return s;
}

bool Session::askTitle(const QString& caption, const QString& label, const QString& button, QString& text,
                       const std::function<QString(const QString&)>& refusal)
{
    // A refused title comes back in the dialog as typed, until it is taken
    // or the dialog is cancelled: the author never types it twice.
    dialogs.titleRefusal = refusal;
    struct Clear {
        SessionDialogs& d;
        ~Clear() { d.titleRefusal = nullptr; }
    } clear{dialogs};
    for (;;) {
        if (!dialogs.topicTitle || !dialogs.topicTitle(caption, label, button, text))
            return false;
        if (text.isEmpty())
            return false;
        if (!mCommon::checkXMLChars(text, QStringLiteral("Chapter title"), m_box))
            continue;
        const QString why = refusal ? refusal(text) : QString();
        if (why.isEmpty())
            return true;
        m_box.exclamation(why);
    }
}

void Session::chooseSelectionAfterRemoving(const NodePtr& node, bool forTopic)
{
    if (node->Previous())
        m_tree.Select(node->Previous());
    else if (node->Next())
        m_tree.Select(node->Next());
    else if (NodePtr p = node->Parent()) {
        m_tree.Select(p);
        if (forTopic) {
            showEmptyPage();
            m_surface.setBrowseMode(true);
            readOnlyState();
        }
    }
}

bool Session::changeTopic(TopicAction action, QString xml, QString title, QString id)
{
    if (!m_open || (isReadOnly() && action != TopicAction::Save))
        return false;
    if (!mCommon::checkFreeSpace(m_project.GetProjectFile(), m_box)) {
        if (action == TopicAction::Save && shownTopic())
            m_saveFailed = true;
        return false;
    }
    cSAXFileChangeTopic f;
    QString chapterTitle;
    NodePtr node;      // the topic acted on (1 to 4)
    NodePtr chapterNode;
    if (action == TopicAction::Insert) {
        chapterNode = selectedChapter();
        if (!chapterNode || chapterNode->Tag != QLatin1String("chapter"))
            return false;
        chapterTitle = mCommon::getChapterFromPath(chapterNode->FullPath());
        f.TopicID = chapterNode->Key;
    } else {
        node = shownTopic();
        if (!node || node->Removed())
            return false;
        m_tree.Select(node);
        chapterTitle = mCommon::getChapterFromPath(node->FullPath());
        f.TopicID = m_topic.ID;
    }
    f.Action = static_cast<int>(action);

    if (action == TopicAction::Delete) {
        f.CutElement = QStringLiteral("topic");
        f.xmlIn.clear();
        // The file first: a delete that cannot be written leaves the tree
        // and the shown topic as they were.
        if (!rewriteChapter(chapterTitle, f))
            return false;
        resetStatusBar();
        chooseSelectionAfterRemoving(node, true);
        m_tree.Remove(node);
        m_topic.TreeNode.reset();
        m_saveFailed = false;
        clearDirty();
        // The deleted topic never stays editable: what follows it is shown
        // by the caller, anything but a topic leaves the empty page.
        NodePtr sel = m_tree.SelectedItem();
        if (!sel || sel->Tag != QLatin1String("topic")) {
            showEmptyPage();
            m_surface.setBrowseMode(true);
            readOnlyState();
        }
        return true;
    }

    if (action == TopicAction::Save) {
        // Every way out before the write ends is a failure to write, except
        // the refusals by the topic's rules below.
        m_saveFailed = true;
        QString newTitle;
        auto refuse = [this](const QString& text) {
            m_saveFailed = false;
            m_box.exclamation(text);
            return false;
        };
        // A page that did not answer gave no content: storing what came back
        // would replace the topic with nothing.
        const int unanswered = m_surface.unansweredCalls();
        const QString body = m_surface.bodyHTML();
        if (m_surface.unansweredCalls() != unanswered) {
            m_box.stop(QStringLiteral("The editing page did not answer, so topic \"") + node->Text +
                       QStringLiteral("\" was not saved. Its text stays on the page; save again in a moment."));
            return false;
        }
        if (!topicTitleFromBody(body, newTitle))
            return refuse(QStringLiteral("Topic without title can not be saved!"));
        if (newTitle != node->Text && titleExists(node, newTitle))
            return refuse(QStringLiteral("Topic with same name already exists! Topic may not be saved!"));
        if (!mCommon::checkXMLChars(newTitle, QStringLiteral("Topic title"), m_box)) {
            m_saveFailed = false;
            return false;
        }
        const QString oldStamp = m_topic.Stamp;
        m_topic.Stamp = mCommon::nowStamp();
        QString single = bodyHTMLToTopic(body, m_surface.baseURL(), m_topic, m_box);
        QString message;
        if (!validateTopic(single, message)) {
            m_topic.Stamp = oldStamp;
            return refuse(message);
        }
        // The stored topic is read, merged and written back under one lock.
        ProjectLock lock(m_project.GetProjectFolder());
        if (!lock.ok()) {
            m_box.stop(lock.error());
            return false;
        }
        // The stored topic holds all languages; the record keeps what was just saved.
        const QString state = m_topic.State, stamp = m_topic.Stamp, index = m_topic.index;
        QString stored = GetTopic(m_topic.ID, chapterTitle, QStringLiteral("topic"));
        m_topic.State = state;
        m_topic.Stamp = stamp;
        m_topic.index = index;
        if (stored.isEmpty()) {
            m_box.stop(QStringLiteral("The topic \"") + m_topic.ID + QStringLiteral("\" was not found in its chapter file!"));
            return false;
        }
        f.CutElement = QStringLiteral("topic");
        f.xmlIn = mergeTopic(stored, single, currentLanguage());
        // A stored topic that cannot be read would be replaced by nothing:
        // the save is refused and the text stays on the surface.
        if (f.xmlIn.isEmpty()) {
            m_box.stop(QStringLiteral("The topic \"") + m_topic.ID + QStringLiteral("\" cannot be saved: its stored text in \"") +
                       m_project.getChapterFile(chapterTitle) +
                       QStringLiteral("\" could not be read (it uses markup this program does not write, such as "
                                      "namespaces or entities it does not know).\r\n\r\nNothing was written."));
            return false;
        }
        if (!rewriteChapter(chapterTitle, f)) {
            m_topic.Stamp = oldStamp;
            return false;
        }
        m_saveFailed = false;
        setPanel(3, m_topic.Stamp);
        clearDirty();
        node->Text = newTitle;
        m_tree.Changed(node);
        m_view->topicSaved();
        return true;
    }

    // 3, 4, 5: insert.
    const bool ready = !xml.isEmpty();
    if (!ready) {
        if (title.isEmpty()) {
            auto taken = [&](const QString& t) {
                const bool exists = action == TopicAction::Insert ? titleExistsAmongChildren(chapterNode, t)
                                                                  : titleExistsAmongChildren(node->Parent(), t);
                return exists ? QStringLiteral("Topic with same name already exists! Topic can not be inserted!")
                              : QString();
            };
            if (!askTitle(QStringLiteral("Topic Title"), QStringLiteral("Insert new topic title"),
                          QStringLiteral("Insert"), title, taken))
                return false;
        }
        bool exists = action == TopicAction::Insert ? titleExistsAmongChildren(chapterNode, title) : titleExistsAmongChildren(node->Parent(), title);
        if (exists) {
            m_box.exclamation(QStringLiteral("Topic with same name already exists! Topic can not be inserted!"));
            return false;
        }
        id = m_project.getNewTopicID();
        if (id.isEmpty())
            return false; // the counter could not be written: shown already
        xml = newTopicText(id, title);
    }
    f.xmlIn = xml;
    if (action == TopicAction::Insert) {
        NodePtr parent = chapterNode->Parent();
        f.CutElement = (parent && parent->Tag == QLatin1String("chapter")) ? QStringLiteral("subchapter")
                                                                           : QStringLiteral("chapter");
    } else {
        f.CutElement = QStringLiteral("topic");
    }
    if (!rewriteChapter(chapterTitle, f))
        return false;
    NodePtr added = action == TopicAction::Insert ? m_tree.Add(chapterNode, Relation::Child, id, title, treeimg::Topic, treeimg::TopicSel)
                                : m_tree.Add(node, action == TopicAction::InsertBefore ? Relation::Previous : Relation::Next, id, title,
                                             treeimg::Topic, treeimg::TopicSel);
    if (!added)
        return false;
    added->Tag = QStringLiteral("topic");
    m_tree.Changed(added);
    m_tree.Select(added);
    if (!xml.contains(QStringLiteral("<subchapter")) && !ready)
        clickOnTopic(added);
    return true;
}

void Session::mnuSave()
{
    if (!enabled(CommandId::Save))
        return;
    changeTopic(TopicAction::Save);
}

void Session::mnuDeleteTopic()
{
    NodePtr node = shownTopic();
    if (!node || isReadOnly())
        return;
    if (m_box.show(QStringLiteral("Delete topic \"") + node->Text + QStringLiteral("\"?"), MsgButtons::YesNo,
                   MsgIcon::Question, kAppTitle) != MsgAnswer::Yes)
        return;
    if (changeTopic(TopicAction::Delete)) {
        // Show what the tree selected in place of the deleted topic.
        NodePtr sel = m_tree.SelectedItem();
        if (sel)
            clickOnTopic(sel);
    }
}

void Session::mnuComplete()
{
    NodePtr node = shownTopic();
    if (!node || (isReadOnly() && !isLocked()))
        return; // a mark that could never be saved
    topicStateChanged = !topicStateChanged;
    bool nowComplete = m_topic.State != QLatin1String("complete");
    m_view->setCompleteChecked(nowComplete);
    if (nowComplete) {
        m_topic.State = QStringLiteral("complete");
        node->Image = treeimg::Complete;
        node->SelectedImage = treeimg::CompleteSel;
        setPanel(2, QStringLiteral("locked"), treeimg::Anchor);
        m_surface.setBrowseMode(true);
        readOnlyState();
        copyFindState();
        completeTopicState();
    } else {
        m_topic.State = QStringLiteral("uncomplete");
        node->Image = treeimg::Topic;
        node->SelectedImage = treeimg::TopicSel;
        setPanel(2, QString(), 0);
        m_surface.setBrowseMode(false);
        editState();
    }
    m_tree.Changed(node);
}
