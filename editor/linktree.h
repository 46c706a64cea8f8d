#pragma once
// The tree of link targets: the book, its chapters, topics and anchors in
// the current language, read from the saved files, so that unsaved changes
// of the topic on the surface do not show in it.
#include "booktree.h"
#include "sax.h"

#include <QString>
#include <vector>

class cProject;
class MsgBox;

// A SAX content handler that adds the book's structure to a tree: node Key
// is the target's id, Tag its kind ("book", "chapter", "topic", "anchor").
class cSAXLinkTreeBuild : public sax::Handler {
public:
    void SetTreeView(BookTree* tree);

    void startElement(std::string_view name, const sax::Attrs& attrs) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;

private:
    NodePtr add(const NodePtr& parent, const QString& key, const QString& text, int image, int selected,
                const char* tag);
    BookTree* m_tree = nullptr;
    NodePtr m_current;
    std::vector<std::string> m_names; // the open elements
    std::vector<bool> m_levels;       // per open chapter: whether it got a node
    std::string m_lang, m_state, m_onelangLang, m_titleParent;
    QString m_topicId, m_text;
    NodePtr m_topicNode;
    bool m_inTitle = false;
};

// Parses the book file, then each chapter file in the project's order, into
// tree (which is cleared first). Parser errors show their box.
void buildLinkTree(const cProject& project, BookTree& tree, MsgBox& box);
