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
    NodePtr p = Parent();
    if (!p)
        return 0;
    const auto& s = p->m_children;
    for (size_t i = 0; i < s.size(); ++i)
        if (s[i].get() == this)
            return int(i);
    return -1;
}

QString TreeNode::FullPath() const
{
    QString path = Text;
    for (NodePtr p = Parent(); p; p = p->Parent())
        path = p->Text + QLatin1Char('\\') + path;
    return path;
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
        m_roots.push_back(node);
    } else if (relation == Relation::Child) {
        node->m_parent = relative;
        relative->m_children.push_back(node);
    } else {
        NodePtr parent = relative->Parent();
        std::vector<NodePtr>& list = parent ? parent->m_children : m_roots;
        auto it = std::find(list.begin(), list.end(), relative);
        if (it == list.end())
            return nullptr;
        node->m_parent = parent;
        switch (relation) {
        case Relation::First: list.insert(list.begin(), node); break;
        case Relation::Last: list.push_back(node); break;
        case Relation::Next: list.insert(it + 1, node); break;
        case Relation::Previous: list.insert(it, node); break;
        case Relation::Child: break;
        }
    }
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
    for (const auto& c : node->m_children)
        markRemoved(c);
}

void BookTree::Remove(const NodePtr& node)
{
    if (!node || node->m_removed)
        return;
    if (m_observer)
        m_observer->nodeRemoving(node);
    NodePtr parent = node->Parent();
    std::vector<NodePtr>& list = parent ? parent->m_children : m_roots;
    list.erase(std::remove(list.begin(), list.end(), node), list.end());
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
    NodePtr parent = node->Parent();
    std::vector<NodePtr>& list = parent ? parent->m_children : m_roots;
    list.erase(std::remove(list.begin(), list.end(), node), list.end());
    if (relation == Relation::Child) {
        node->m_parent = relative;
        relative->m_children.push_back(node);
    } else {
        NodePtr np = relative->Parent();
        std::vector<NodePtr>& target = np ? np->m_children : m_roots;
        auto it = std::find(target.begin(), target.end(), relative);
        node->m_parent = np;
        switch (relation) {
        case Relation::Next: target.insert(it + 1, node); break;
        case Relation::Previous: target.insert(it, node); break;
        case Relation::First: target.insert(target.begin(), node); break;
        default: target.push_back(node); break;
        }
    }
    if (m_observer)
        m_observer->nodeAdded(node);
    return true;
}

int BookTree::Count() const
{
    int n = 0;
    forEach([&](const NodePtr&, int) { ++n; });
    return n;
}

NodePtr BookTree::FindKey(const QString& key) const
{
    auto it = m_keys.find(key);
    if (it != m_keys.end()) {
        NodePtr n = it.value().lock();
        if (n && !n->m_removed && n->Key == key)
            return n;
        m_keys.erase(it);
    }
    // A key set directly on a node is found by a walk, and indexed.
    NodePtr found;
    forEach([&](const NodePtr& n, int) {
        if (!found && n->Key == key)
            found = n;
    });
    if (found)
        m_keys[key] = found;
    return found;
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
