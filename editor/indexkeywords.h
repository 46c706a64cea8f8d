#pragma once
// The index keywords of a topic as the keyword dialog shows them: a tree of
// two levels built from the topic's index text, and the text rebuilt from it.
#include <QString>
#include <vector>

namespace indexkeywords {

struct Keyword {
    QString text;
    QString key; // the transid of the index element that made the node, or ""
    std::vector<Keyword> children;
};
using KeywordTree = std::vector<Keyword>;

// Fills the tree from index text (index elements without a root). A primary
// keyword shared by several index elements shows once; a transid may repeat.
KeywordTree parseIndexText(const QString& text);
// The index text of the tree: one index per secondary node, or one for a
// primary node without children, with the key as transid when not empty.
// Keywords and keys are escaped.
QString buildIndexText(const KeywordTree& tree);
// Orders one level by its text.
void sortLevel(std::vector<Keyword>& level);
bool lessByText(const QString& a, const QString& b);

} // namespace indexkeywords
