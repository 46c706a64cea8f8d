#pragma once
// The ticks of the import tree: ticking a node sets the same state on all
// its descendants; nothing is propagated upwards.
#include "booktree.h"

#include <unordered_map>

class TickModel {
public:
    void setTicked(const NodePtr& node, bool ticked);
    bool isTicked(const NodePtr& node) const;
    void tickAll(const BookTree& tree);
    void clear() { m_ticks.clear(); }
    int countTicked(const BookTree& tree) const;

private:
    std::unordered_map<const TreeNode*, bool> m_ticks;
};
