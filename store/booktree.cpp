#include "booktree.h"

#include <algorithm>


NodePtr TreeNode::Next() const
{
    NodePtr p = Parent();
    if (!p)
        return nullptr;
    const auto& s = p->m_children;
    int i = Index();
    return (i >= 0 && i + 1 < int(s.size())) ? s[i + 1] : nullptr;
}

NodePtr TreeNode::Previous() const
{
    NodePtr p = Parent();
    if (!p)
        return nullptr;
    const auto& s = p->m_children;
    int i = Index();
    return i > 0 ? s[i - 1] : nullptr;
}

NodePtr TreeNode::FirstSibling() const
{
    NodePtr p = Parent();
    return p ? p->Child() : std::const_pointer_cast<TreeNode>(shared_from_this());
}

NodePtr TreeNode::LastSibling() const
{
    NodePtr p = Parent();
    return p ? p->LastChild() : std::const_pointer_cast<TreeNode>(shared_from_this());
}

int TreeNode::Index() const
{
    return Parent() ? m_index : 0;
}

QString TreeNode::FullPath() const
{
    QString path = Text;
    for (NodePtr p = Parent(); p; p = p->Parent())
        path = p->Text + QLatin1Char('\\') + path;
    return path;
}

std::vector<NodePtr>& BookTree::siblingsOf(const NodePtr& node)
{
    NodePtr parent = node->Parent();
    return parent ? parent->m_children : m_roots;
}

void BookTree::insertAt(std::vector<NodePtr>& list, size_t pos, const NodePtr& node)
{
    pos = std::min(pos, list.size());
    list.insert(list.begin() + std::ptrdiff_t(pos), node);
    for (size_t i = pos; i < list.size(); ++i)
        list[i]->m_index = int(i);
}

void BookTree::eraseAt(std::vector<NodePtr>& list, size_t pos)
{
    list.erase(list.begin() + std::ptrdiff_t(pos));
    for (size_t i = pos; i < list.size(); ++i)
        list[i]->m_index = int(i);
}

// Where a node goes relative to its neighbour; the neighbour must be in list.
bool BookTree::positionOf(const std::vector<NodePtr>& list, const NodePtr& relative, Relation relation, size_t& pos)
{
    size_t at = size_t(relative->m_index);
    if (at >= list.size() || list[at] != relative)
        return false;
    switch (relation) {
    case Relation::First: pos = 0; break;
    case Relation::Next: pos = at + 1; break;
    case Relation::Previous: pos = at; break;
    default: pos = list.size(); break;
    }
    return true;
}

NodePtr BookTree::Add(const NodePtr& relative, Relation relation, const QString& key, const QString& text,
                      int image, int selectedImage)
{
    if (!key.isEmpty() && FindKey(key))
        return nullptr;
    auto node = std::make_shared<TreeNode>();
    node->Key = key;
    node->Text = text;
    node->Image = image;
    node->SelectedImage = selectedImage;
    node->m_tree = this;
    if (!relative) {
        insertAt(m_roots, m_roots.size(), node);
    } else if (relation == Relation::Child) {
        node->m_parent = relative;
        insertAt(relative->m_children, relative->m_children.size(), node);
    } else {
        std::vector<NodePtr>& list = siblingsOf(relative);
        size_t pos = 0;
        if (!positionOf(list, relative, relation, pos))
            return nullptr;
        node->m_parent = relative->Parent();
        insertAt(list, pos, node);
    }
    ++m_count;
    if (!key.isEmpty())
        m_keys[key] = node;
    if (m_observer)
        m_observer->nodeAdded(node);
    return node;
}

void BookTree::unindex(const NodePtr& node)
{
    if (!node->Key.isEmpty()) {
        auto it = m_keys.find(node->Key);
        if (it != m_keys.end() && it.value().lock() == node)
            m_keys.erase(it);
    }
    for (const auto& c : node->m_children)
        unindex(c);
}

bool BookTree::SetKey(const NodePtr& node, const QString& key)
{
    if (!node || node->Key == key)
        return true;
    if (!key.isEmpty()) {
        NodePtr other = FindKey(key);
        if (other && other != node)
            return false;
    }
    auto it = m_keys.find(node->Key);
    if (it != m_keys.end() && it.value().lock() == node)
        m_keys.erase(it);
    node->Key = key;
    if (!key.isEmpty())
        m_keys[key] = node;
    Changed(node);
    return true;
}

void BookTree::markRemoved(const NodePtr& node)
{
    node->m_removed = true;
    --m_count;
    for (const auto& c : node->m_children)
        markRemoved(c);
}

void BookTree::Remove(const NodePtr& node)
{
    if (!node || node->m_removed)
        return;
    if (m_observer)
        m_observer->nodeRemoving(node);
    std::vector<NodePtr>& list = siblingsOf(node);
    size_t at = size_t(node->m_index);
    if (at < list.size() && list[at] == node)
        eraseAt(list, at);
    unindex(node);
    markRemoved(node);
    NodePtr sel = m_selected.lock();
    if (sel && sel->m_removed)
        m_selected.reset();
}

void BookTree::Clear()
{
    for (const auto& r : m_roots)
        markRemoved(r);
    m_count = 0;
    m_roots.clear();
    m_keys.clear();
    m_selected.reset();
    if (m_observer)
        m_observer->cleared();
}

bool BookTree::Move(const NodePtr& node, const NodePtr& relative, Relation relation)
{
    if (!node || !relative || node == relative)
        return false;
    for (NodePtr p = relative; p; p = p->Parent())
        if (p == node)
            return false;
    if (m_observer)
        m_observer->nodeRemoving(node);
    std::vector<NodePtr>& list = siblingsOf(node);
    size_t at = size_t(node->m_index);
    if (at < list.size() && list[at] == node)
        eraseAt(list, at);
    if (relation == Relation::Child) {
        node->m_parent = relative;
        insertAt(relative->m_children, relative->m_children.size(), node);
    } else {
        std::vector<NodePtr>& target = siblingsOf(relative);
        size_t pos = target.size();
        if (relation != Relation::Last)
            positionOf(target, relative, relation, pos);
        node->m_parent = relative->Parent();
        insertAt(target, pos, node);
    }
    if (m_observer)
        m_observer->nodeAdded(node);
    return true;
}

NodePtr BookTree::FindKey(const QString& key) const
{
    auto it = m_keys.find(key);
    if (it == m_keys.end())
        return nullptr;
    NodePtr n = it.value().lock();
    if (n && !n->m_removed && n->Key == key)
        return n;
    m_keys.erase(it);
    return nullptr;
}

NodePtr BookTree::FindPath(const QString& path) const
{
    NodePtr found;
    forEach([&](const NodePtr& n, int) {
        if (!found && n->FullPath() == path)
            found = n;
    });
    return found;
}

void BookTree::Select(const NodePtr& node)
{
    m_selected = node;
    if (m_observer)
        m_observer->selectionChanged(node);
}

void BookTree::Changed(const NodePtr& node)
{
    if (m_observer && node)
        m_observer->nodeChanged(node);
}

void BookTree::forEach(const std::function<void(const NodePtr&, int)>& fn) const
{
    std::function<void(const NodePtr&, int)> walk = [&](const NodePtr& n, int depth) {
        fn(n, depth);
        for (const auto& c : n->m_children)
            walk(c, depth + 1);
    };
    for (const auto& r : m_roots)
        walk(r, 0);
}
