#pragma once
// Building the book tree: cTreeView adds nodes below its current node;
// cSAXTreeBuilder feeds it from one pass over the book and its chapters.
#include "booktree.h"
#include "sax.h"

#include <vector>

// Image indexes of the tree's image list.
namespace treeimg {
constexpr int Closed = 1;      // book, chapter
constexpr int Open = 2;        // expanded chapter
constexpr int Complete = 3;    // finished topic
constexpr int CompleteSel = 4;
constexpr int Topic = 5;       // topic not finished
constexpr int TopicSel = 6;
constexpr int Anchor = 7;      // also the "locked" picture of the status bar
constexpr int AnchorSel = 8;
}

class cTreeView {
public:
    void SetTree(BookTree* tree) { m_tree = tree; m_initialised = tree != nullptr; }
    void ClearTree();
    NodePtr CurrentNode() const { return m_current; }
    void OneLevelUp();
    NodePtr AddBook(const QString& text);
    NodePtr AddChapter(const QString& text, bool expand, const QString& key);
    NodePtr AddTopic(const QString& text, bool complete, const QString& key);
    NodePtr AddAnchor(const QString& text, const QString& key);
    BookTree* tree() const { return m_tree; }

private:
    BookTree* m_tree = nullptr;
    NodePtr m_root;
    NodePtr m_current;
    bool m_initialised = false;
};

class cSAXTreeBuilder : public sax::Handler {
public:
    void SetTreeView(cTreeView* view) { m_view = view; }

    void startElement(std::string_view name, const sax::Attrs& attrs) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;

private:
    cTreeView* m_view = nullptr;
    std::string m_current;
    bool m_inTitle = false;
    std::string m_lang;
    std::string m_langWanted;
    QString m_state;
    QString m_id;
    bool m_ready = false;
    // One entry per open book, chapter or subchapter: whether it got a node,
    // so that leaving it goes up only when it went down.
    std::vector<bool> m_levels;
};

class cProject;
class MsgBox;

// One pass over the project's book with its chapter files, in the current
// language, into tree. A parse error shows its box; the tree keeps what was
// added so far.
void buildBookTree(const cProject& project, BookTree& tree, MsgBox& box);

// The text of one element (by name and id) of a chapter file, as the
// extractor cuts it; "" when it is not there or the file does not parse.
QString extractElement(const cProject& project, const QString& file, const QString& element,
                       const QString& id, MsgBox& box);
