// Moving topics, subchapters and chapters by drag and drop.
#include "session.h"

#include "cbookfile.h"
#include "csaxerrorhandler.h"
#include "fileio.h"
#include "filters.h"
#include "mcommon.h"
#include "msgbox.h"
#include "projectlock.h"

#include <QFile>

namespace {
enum class Kind { None, Book, TopChapter, Subchapter, Topic };

Kind kindOf(const NodePtr& n)
{
    if (!n)
        return Kind::None;
    if (n->Tag == QLatin1String("book"))
        return Kind::Book;
    if (n->Tag == QLatin1String("topic"))
        return Kind::Topic;
    if (n->Tag == QLatin1String("chapter")) {
        NodePtr p = n->Parent();
        return p && p->Tag == QLatin1String("book") ? Kind::TopChapter : Kind::Subchapter;
    }
    return Kind::None;
}

// Whether the drop puts the source into the target (else before it); None
// when the pair does nothing.
enum class Place { None, Before, Into };

Place placeFor(const NodePtr& source, const NodePtr& target)
{
    Kind s = kindOf(source), t = kindOf(target);
    switch (s) {
    case Kind::Topic:
        if (t == Kind::Topic)
            return Place::Before;
        if (t == Kind::TopChapter || t == Kind::Subchapter)
            return Place::Into;
        break;
    case Kind::Subchapter:
        if (t == Kind::Topic || t == Kind::Subchapter)
            return Place::Before;
        if (t == Kind::TopChapter)
            return Place::Into;
        break;
    case Kind::TopChapter:
        if (t == Kind::TopChapter)
            return Place::Before;
        break;
    default:
        break;
    }
    return Place::None;
}

bool isBelowOrSame(const NodePtr& node, const NodePtr& ancestor)
{
    for (NodePtr p = node; p; p = p->Parent())
        if (p == ancestor)
            return true;
    return false;
}
}

bool Session::canDrop(const NodePtr& source, const NodePtr& target) const
{
    if (!m_open || isReadOnly() || !source || !target || source == target)
        return false;
    if (source->Removed() || target->Removed())
        return false;
    // A branch cannot go into itself.
    if (isBelowOrSame(target, source))
        return false;
    return placeFor(source, target) != Place::None;
}

bool Session::dropNode(const NodePtr& source, const NodePtr& target)
{
    if (!canDrop(source, target))
        return false;
    if (askSaveTopic())
        return false;
    const Place place = placeFor(source, target);
    const NodePtr newParent = place == Place::Into ? target : target->Parent();
    if (source->Parent() != target->Parent()) {
        const QString lower = source->Text.toLower();
        for (const NodePtr& c : newParent->Children()) {
            if (c != source && c->Text.toLower() == lower) {
                m_box.exclamation(QStringLiteral(
                    "Topic or chapter with same name already exists in destination! Drag'n'drop canceled!"));
                return false;
            }
        }
    }
    m_tree.Select(source);
    if (!mCommon::checkFreeSpace(m_project.GetProjectFile(), m_box))
        return false;
    // A move reads and replaces one or two files: all of it under one lock.
    ProjectLock lock(m_project.GetProjectFolder());
    if (!lock.ok()) {
        m_box.stop(lock.error());
        return false;
    }

    if (kindOf(source) == Kind::TopChapter) {
        cBookFile bf(m_box);
        if (!bf.Load(m_project.getBookFile()))
            return false;
        QString sourceID = m_project.getChapterID(source->Text);
        QString targetID = m_project.getChapterID(target->Text);
        if (sourceID.isEmpty() || targetID.isEmpty()) {
            notInProjectFile(sourceID.isEmpty() ? source->Text : target->Text);
            return false;
        }
        if (sourceID == targetID)
            return false;
        // Moving a reference that is there before one that is not would
        // drop the chapter from the book.
        const QStringList order = bf.chapterOrder();
        if (!order.contains(sourceID) || !order.contains(targetID)) {
            notFoundInFile(m_project.getBookFile());
            return false;
        }
        if (!bf.moveChapter(sourceID, targetID))
            return false;
        m_tree.Move(source, target, Relation::Previous);
        clickOnTopic(source);
        return true;
    }
    if (!moveElement(source, target, place == Place::Into))
        return false;
    m_tree.Move(source, target, place == Place::Into ? Relation::Child : Relation::Previous);
    if (NodePtr shown = shownTopic())
        setPanel(1, shown->FullPath());
    clickOnTopic(source);
    return true;
}

// Takes the element out of its file and puts it in at its new place. Both
// results are complete on disk before either file is replaced.
bool Session::moveElement(const NodePtr& source, const NodePtr& target, bool into)
{
    const bool isTopic = kindOf(source) == Kind::Topic;
    const QString element = isTopic ? QStringLiteral("topic") : QStringLiteral("subchapter");
    const QString sourceChapter = mCommon::getChapterFromPath(source->FullPath());
    const QString targetChapter = mCommon::getChapterFromPath(target->FullPath());
    const QString sourceFile = m_project.getChapterFile(sourceChapter);
    const QString targetFile = m_project.getChapterFile(targetChapter);
    if (sourceFile.isEmpty() || targetFile.isEmpty()) {
        notInProjectFile(sourceFile.isEmpty() ? sourceChapter : targetChapter);
        return false;
    }
    const QString xml = extract(sourceFile, element, source->Key);
    if (xml.isEmpty()) {
        notFoundInFile(sourceFile);
        return false;
    }

    cSAXFileChangeTopic drop;
    drop.Action = 2;
    drop.CutElement = element;
    drop.TopicID = source->Key;
    cSAXFileChangeTopic insert;
    insert.xmlIn = xml;
    if (into) {
        insert.Action = 5;
        insert.CutElement = kindOf(target) == Kind::TopChapter ? QStringLiteral("chapter") : QStringLiteral("subchapter");
        insert.TopicID = target->Key;
    } else {
        insert.Action = 3;
        insert.CutElement = kindOf(target) == Kind::Topic ? QStringLiteral("topic") : QStringLiteral("subchapter");
        insert.TopicID = target->Key;
    }

    cSAXErrorHandler errors(m_box);
    QString error;
    const QString t1 = tempPath2(), t2 = tempPath();
    auto fail = [&](const QString& file) {
        fileio::commitTemp(t1, QString());
        fileio::commitTemp(t2, QString());
        if (errors.failed())
            return false;
        if (error.isEmpty())
            notFoundInFile(file);
        else
            m_box.stop(error);
        return false;
    };
    if (!rewriteToTemp(sourceFile, drop, t1, &errors, &error) || !drop.found())
        return fail(sourceFile);
    if (sourceFile == targetFile) {
        // One file: both changes in one replacement.
        if (!rewriteToTemp(fileio::pendingTemp(t1), insert, t2, &errors, &error) || !insert.found())
            return fail(targetFile);
        fileio::commitTemp(t1, QString());
        if (!fileio::commitTemp(t2, targetFile, &error))
            return fail(targetFile);
        return true;
    }
    if (!rewriteToTemp(targetFile, insert, t2, &errors, &error) || !insert.found())
        return fail(targetFile);
    if (!fileio::commitTemp(t1, sourceFile, &error))
        return fail(sourceFile);
    if (!fileio::commitTemp(t2, targetFile, &error)) {
        m_box.stop(error);
        return false;
    }
    return true;
}
