#include "treeview.h"

#include "cproject.h"
#include "csaxerrorhandler.h"
#include "filters.h"
#include "language.h"

void cTreeView::ClearTree()
{
    if (m_tree)
        m_tree->Clear();
    m_root.reset();
    m_current.reset();
}

void cTreeView::OneLevelUp()
{
    if (m_current && m_current != m_root) {
        NodePtr p = m_current->Parent();
        if (p)
            m_current = p;
    }
}

NodePtr cTreeView::AddBook(const QString& text)
{
    if (!m_tree)
        return nullptr;
    NodePtr n = m_tree->Add(nullptr, Relation::Last, QString(), text, treeimg::Closed, 0);
    n->Tag = QStringLiteral("book");
    n->Expanded = true;
    m_root = n;
    m_current = n;
    return n;
}

NodePtr cTreeView::AddChapter(const QString& text, bool expand, const QString& key)
{
    if (!m_tree)
        return nullptr;
    NodePtr n = m_tree->Add(m_current, m_current ? Relation::Child : Relation::Last, key, text,
                            treeimg::Closed, 0);
    if (!n)
        return nullptr; // a key twice in the book
    n->ExpandedImage = treeimg::Open;
    n->Tag = QStringLiteral("chapter");
    n->Expanded = expand;
    m_current = n;
    return n;
}

NodePtr cTreeView::AddTopic(const QString& text, bool complete, const QString& key)
{
    if (!m_tree)
        return nullptr;
    NodePtr n = m_tree->Add(m_current, m_current ? Relation::Child : Relation::Last, key, text,
                            complete ? treeimg::Complete : treeimg::Topic,
                            complete ? treeimg::CompleteSel : treeimg::TopicSel);
    if (n)
        n->Tag = QStringLiteral("topic");
    return n;
}

NodePtr cTreeView::AddAnchor(const QString& text, const QString& key)
{
    if (!m_tree || !m_current)
        return nullptr;
    NodePtr last = m_current->LastChild();
    if (!last)
        return nullptr;
    NodePtr n = m_tree->Add(last, Relation::Child, key, text, treeimg::Anchor, treeimg::AnchorSel);
    if (n)
        n->Tag = QStringLiteral("anchor");
    last->Expanded = true;
    return n;
}

namespace {
bool structural(std::string_view n)
{
    return n == "book" || n == "chapter" || n == "subchapter" || n == "topic" || n == "onelang";
}
}

void cSAXTreeBuilder::startElement(std::string_view name, const sax::Attrs& attrs)
{
    if (!m_ready) {
        m_langWanted = currentLanguage().toStdString();
        m_ready = true;
    }
    if (structural(name)) {
        m_current = name;
        if (name == "subchapter" || name == "topic")
            m_id = attrs.qvalue("id");
        if (name != "topic" && name != "onelang")
            m_levels.push_back(false);
        return;
    }
    if (name == "title" && !m_current.empty() && m_current != "onelang") {
        m_inTitle = true;
        m_lang = attrs.value("lang");
        if (m_current == "topic")
            m_state = attrs.qvalue("state");
    }
}

void cSAXTreeBuilder::characters(std::string_view text)
{
    if (!m_inTitle || m_lang != m_langWanted || !m_view)
        return;
    std::string_view t = sax::trimText(text);
    if (t.empty())
        return;
    QString s = sax::qs(t);
    if (m_current == "book") {
        m_view->AddBook(s);
        if (!m_levels.empty())
            m_levels.back() = true;
    } else if (m_current == "chapter" || m_current == "subchapter") {
        NodePtr n = m_view->AddChapter(s, false, m_current == "chapter" ? QString() : m_id);
        if (n && !m_levels.empty())
            m_levels.back() = true;
    } else if (m_current == "topic") {
        m_view->AddTopic(s, m_state == QLatin1String("complete"), m_id);
    }
    // One node per element, even when a title comes in several languages.
    m_inTitle = false;
    m_current = "title-done";
}

void cSAXTreeBuilder::endElement(std::string_view name)
{
    if (name == "title") {
        m_inTitle = false;
        m_lang.clear();
        m_state.clear();
        return;
    }
    if (!structural(name))
        return;
    m_current.clear();
    if (name != "topic" && name != "onelang") {
        bool added = !m_levels.empty() && m_levels.back();
        if (!m_levels.empty())
            m_levels.pop_back();
        if (added && m_view)
            m_view->OneLevelUp();
    }
}

void buildBookTree(const cProject& project, BookTree& tree, MsgBox& box)
{
    cTreeView view;
    view.SetTree(&tree);
    view.ClearTree();
    QString book = project.getBookFile();
    if (book.isEmpty())
        return;
    cSAXTreeBuilder builder;
    builder.SetTreeView(&view);
    cSAXErrorHandler errors(box);
    sax::Reader reader(builder);
    reader.setErrorHandler(&errors);
    reader.setExpandExternalEntities(true);
    reader.setAllowedFolders({project.GetProjectFolder()});
    reader.parseFile(book);
}

QString extractElement(const cProject& project, const QString& file, const QString& element,
                       const QString& id, MsgBox& box)
{
    if (file.isEmpty())
        return {};
    cSAXTopicExtractor ex;
    ex.TopicID = id;
    ex.CutElement = element;
    cSAXErrorHandler errors(box);
    sax::Reader reader(ex);
    reader.setErrorHandler(&errors);
    reader.setExpandEntities(true);
    reader.setAllowedFolders({project.GetProjectFolder()});
    if (!reader.parseFile(file))
        return {};
    return ex.xmlOutput();
}
