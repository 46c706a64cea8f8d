#include "tickmodel.h"

void TickModel::setTicked(const NodePtr& node, bool ticked)
{
    if (!node)
        return;
    m_ticks[node.get()] = ticked;
    for (const NodePtr& c : node->Children())
        setTicked(c, ticked);
}

bool TickModel::isTicked(const NodePtr& node) const
{
    if (!node)
        return false;
    auto it = m_ticks.find(node.get());
    return it != m_ticks.end() && it->second;
}

void TickModel::tickAll(const BookTree& tree)
{
    for (const NodePtr& r : tree.Roots())
        setTicked(r, true);
}

int TickModel::countTicked(const BookTree& tree) const
{
    int n = 0;
    tree.forEach([&](const NodePtr& node, int) {
        if (isTicked(node))
            ++n;
    });
    return n;
}
