#pragma once
// A session on a scratch project, with a fake surface, scripted boxes and
// scripted dialogs.
#include "booktree.h"
#include "msgbox.h"
#include "session.h"
#include "surface.h"
#include "testsupport.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <deque>

namespace testing_support {

// Lines "depth tag key text" of a tree, for comparisons.
QStringList dumpTree(const BookTree& tree);
// The tree as built from the files now.
QStringList treeFromFiles(const QString& projectFile);
// True when the file parses as XML (chapter files, book with its chapters).
bool parses(const QString& path);
// Every file of a project parses, and the book with its chapters.
bool projectParses(const QString& projectFile, QString* why = nullptr);

class SessionFixture : public ::testing::Test {
protected:
    TempDir dir;
    ScriptedMsgBox box;
    FakeSurface surface;
    Session session{box, surface};
    std::deque<QString> titles; // answers of the title dialog; empty string = Cancel
    QString projectFile;

    void SetUp() override;
    void TearDown() override;

    // Creates and opens a project with the given languages (main first).
    void newProject(const QStringList& langs = {"en", "de"});
    // The node at a path below the book: "Chapter\\Topic".
    NodePtr node(const QString& pathBelowBook) const;
    // Selects and clicks a node.
    void click(const QString& pathBelowBook);
    // Inserts through the menus, answering the title dialog.
    NodePtr addChapter(const QString& title);                          // into the book
    NodePtr addSubchapter(const QString& parentPath, const QString& title);
    NodePtr addTopic(const QString& chapterPath, const QString& title);
    // Types a body into the shown topic and saves it.
    void typeAndSave(const QString& body);
    // The tree now equals the tree built from the files.
    void expectTreeInStep();
    QString chapterText(const QString& topLevelTitle) const;
};

} // namespace testing_support
