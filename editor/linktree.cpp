#include "linktree.h"

#include "cproject.h"
#include "csaxerrorhandler.h"
#include "language.h"

namespace {
// Image indexes of the tree's image list.
constexpr int kClosed = 1, kOpen = 2, kComplete = 3, kCompleteSel = 4, kTopic = 5, kTopicSel = 6, kAnchor = 7,
              kAnchorSel = 8;
} // namespace

void cSAXLinkTreeBuild::SetTreeView(BookTree* tree)
{
    m_tree = tree;
    m_current.reset();
}

NodePtr cSAXLinkTreeBuild::add(const NodePtr& parent, const QString& key, const QString& text, int image,
                               int selected, const char* tag)
{
    if (!m_tree)
        return nullptr;
    // Keys are unique in the tree: a second target with one id is left out.
    NodePtr n = m_tree->Add(parent, parent ? Relation::Child : Relation::Last, key, text, image, selected);
    if (n)
        n->Tag = QString::fromLatin1(tag);
    return n;
}

void cSAXLinkTreeBuild::startElement(std::string_view name, const sax::Attrs& attrs)
{
    const std::string parent = m_names.empty() ? std::string() : m_names.back();
    m_names.emplace_back(name);
    if (name == "chapter" || name == "subchapter") {
        m_levels.push_back(false);
        if (name == "subchapter")
            m_topicId = attrs.qvalue("id");
    } else if (name == "topic") {
        m_topicId = attrs.qvalue("id");
        m_topicNode.reset();
    } else if (name == "onelang") {
        m_onelangLang = attrs.value("lang");
    } else if (name == "title" &&
               (parent == "book" || parent == "chapter" || parent == "subchapter" || parent == "topic")) {
        m_lang = attrs.value("lang");
        if (parent == "topic")
            m_state = attrs.value("state");
        m_titleParent = parent;
        m_inTitle = true;
        m_text.clear();
    } else if (name == "anchor" && m_onelangLang == currentLanguage().toStdString() && m_topicNode) {
        NodePtr a = add(m_topicNode, attrs.qvalue("id"), attrs.qvalue("name"), kAnchor, kAnchorSel, "anchor");
        if (a)
            m_topicNode->Expanded = true;
    }
}

void cSAXLinkTreeBuild::characters(std::string_view text)
{
    if (!m_inTitle || m_lang != currentLanguage().toStdString())
        return;
    std::string_view t = sax::trimText(text);
    if (!t.empty())
        m_text += sax::qs(t);
}

void cSAXLinkTreeBuild::endElement(std::string_view name)
{
    if (!m_names.empty())
        m_names.pop_back();
    if (name == "title" && m_inTitle) {
        m_inTitle = false;
        if (m_lang != currentLanguage().toStdString())
            return;
        if (m_titleParent == "book") {
            NodePtr n = add(nullptr, QString(), m_text, kClosed, 0, "book");
            if (n) {
                n->Expanded = true;
                m_current = n;
            }
        } else if (m_titleParent == "chapter" || m_titleParent == "subchapter") {
            const QString key = m_titleParent == "subchapter" ? m_topicId : QString();
            NodePtr n = add(m_current, key, m_text, kClosed, 0, "chapter");
            if (n) {
                n->ExpandedImage = kOpen;
                m_current = n;
                if (!m_levels.empty())
                    m_levels.back() = true;
            }
        } else if (m_titleParent == "topic" && !m_topicNode) {
            const bool complete = m_state == "complete";
            m_topicNode = add(m_current, m_topicId, m_text, complete ? kComplete : kTopic,
                              complete ? kCompleteSel : kTopicSel, "topic");
        }
        return;
    }
    if (name == "chapter" || name == "subchapter") {
        const bool added = !m_levels.empty() && m_levels.back();
        if (!m_levels.empty())
            m_levels.pop_back();
        if (added && m_current && m_current->Parent())
            m_current = m_current->Parent();
    } else if (name == "topic") {
        m_topicNode.reset();
    } else if (name == "onelang") {
        m_onelangLang.clear();
    }
}

void buildLinkTree(const cProject& project, BookTree& tree, MsgBox& box)
{
    tree.Clear();
    cSAXLinkTreeBuild builder;
    builder.SetTreeView(&tree);
    cSAXErrorHandler errors(box);
    QStringList files;
    if (!project.getBookFile().isEmpty())
        files << project.getBookFile();
    files << project.chapterFileList();
    for (const QString& file : files) {
        // Each file on its own: the book's chapter entities are not followed.
        sax::Reader reader(builder);
        reader.setErrorHandler(&errors);
        reader.setExpandExternalEntities(false);
        reader.setAllowedFolders({project.GetProjectFolder()});
        reader.parseFile(file);
    }
}
