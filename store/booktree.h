#pragma once
// The book tree as a plain model: nodes with text, key, tag and images,
// parent and children, full path with backslashes, and one selected node.
// A Qt view shows it through the observer; the session keeps it in step with
// the files. A node that was removed is detectable through weak references
// (they expire) and its removed flag.
#include <QString>

#include <functional>
#include <memory>
#include <QHash>
#include <vector>

class TreeNode;
class BookTree;
using NodePtr = std::shared_ptr<TreeNode>;
using NodeRef = std::weak_ptr<TreeNode>;

class TreeNode : public std::enable_shared_from_this<TreeNode> {
public:
    QString Text;
    QString Key;
    QString Tag;
    int Image = 0;
    int SelectedImage = 0;
    int ExpandedImage = 0;
    bool Expanded = false;

    NodePtr Parent() const { return m_parent.lock(); }
    const std::vector<NodePtr>& Children() const { return m_children; }
    NodePtr Child() const { return m_children.empty() ? nullptr : m_children.front(); }
    NodePtr LastChild() const { return m_children.empty() ? nullptr : m_children.back(); }
    NodePtr Next() const;
    NodePtr Previous() const;
    NodePtr FirstSibling() const;
    NodePtr LastSibling() const;
    int ChildCount() const { return int(m_children.size()); }
    int Index() const; // position among its siblings (kept, not searched)
    bool Removed() const { return m_removed; }
    // Texts from the root down to this node, joined by backslashes.
    QString FullPath() const;

private:
    friend class BookTree;
    NodeRef m_parent;
    std::vector<NodePtr> m_children;
    int m_index = 0; // position in the parent's (or the roots') list
    bool m_removed = false;
    BookTree* m_tree = nullptr;
};

enum class Relation { First, Last, Next, Previous, Child };

class BookTree {
public:
    // Receives every change, so a view can follow.
    struct Observer {
        virtual ~Observer() = default;
        virtual void nodeAdded(const NodePtr&) {}
        virtual void nodeRemoving(const NodePtr&) {}
        virtual void nodeChanged(const NodePtr&) {}
        virtual void selectionChanged(const NodePtr&) {}
        virtual void cleared() {}
    };

    BookTree() = default;
    BookTree(const BookTree&) = delete;
    BookTree& operator=(const BookTree&) = delete;

    // Adds a node; with no relative a root node. Keys are unique: a key
    // already in use is refused (null result).
    NodePtr Add(const NodePtr& relative, Relation relation, const QString& key, const QString& text,
                int image = 0, int selectedImage = 0);
    void Remove(const NodePtr& node);
    void Clear();
    // Moves a node (with its branch) to another place.
    bool Move(const NodePtr& node, const NodePtr& relative, Relation relation);

    const std::vector<NodePtr>& Roots() const { return m_roots; }
    NodePtr Root() const { return m_roots.empty() ? nullptr : m_roots.front(); }
    int Count() const { return m_count; }
    // By the key index: keys are set through Add and SetKey only.
    NodePtr FindKey(const QString& key) const;
    // Changes a node's key (keys are indexed; set them through here).
    bool SetKey(const NodePtr& node, const QString& key);
    // First node whose FullPath equals path.
    NodePtr FindPath(const QString& path) const;

    NodePtr SelectedItem() const { return m_selected.lock(); }
    void Select(const NodePtr& node);

    // Tell the view that a node's text, images or key changed.
    void Changed(const NodePtr& node);
    void setObserver(Observer* o) { m_observer = o; }

    // Depth-first walk of all nodes in order.
    void forEach(const std::function<void(const NodePtr&, int depth)>& fn) const;

private:
    void markRemoved(const NodePtr& node);
    void unindex(const NodePtr& node);
    std::vector<NodePtr>& siblingsOf(const NodePtr& node);
    // Inserts at pos and renumbers the nodes after it.
    static void insertAt(std::vector<NodePtr>& list, size_t pos, const NodePtr& node);
    static void eraseAt(std::vector<NodePtr>& list, size_t pos);
    static bool positionOf(const std::vector<NodePtr>& list, const NodePtr& relative, Relation relation,
                           size_t& pos);
    std::vector<NodePtr> m_roots;
    mutable QHash<QString, NodeRef> m_keys;
    int m_count = 0;
    NodeRef m_selected;
    Observer* m_observer = nullptr;
};
