#include "contexttopics.h"

#include "cproject.h"
#include "csaxerrorhandler.h"
#include "mcommon.h"

namespace {

bool structural(std::string_view n)
{
    return n == "book" || n == "chapter" || n == "subchapter" || n == "topic" || n == "onelang" || n == "context";
}

bool section(std::string_view n)
{
    return n == "book" || n == "chapter" || n == "subchapter";
}

} // namespace

void setAssigned(BookTree& tree, const NodePtr& node, bool assigned)
{
    if (!node)
        return;
    node->Image = assigned ? contextimg::Assigned : contextimg::Free;
    node->SelectedImage = assigned ? contextimg::AssignedSel : contextimg::FreeSel;
    tree.Changed(node);
}

void cSAXHelpContextTopic::startElement(std::string_view name, const sax::Attrs& attrs)
{
    m_lastTag = std::string(name);
    if (structural(name)) {
        m_structure = std::string(name);
        m_titleDone = false;
        if (name == "topic")
            m_topicId = attrs.qvalue("id");
        if (name == "context") {
            m_contextId.clear();
            m_contextName.clear();
        }
        if (section(name))
            m_levels.push_back(false);
        return;
    }
    if (name == "title" && !m_structure.empty() && m_structure != "onelang")
        m_titleLang = std::string(attrs.value("lang"));
}

void cSAXHelpContextTopic::characters(std::string_view text)
{
    const std::string_view kept = sax::trimText(text);
    if (kept.empty())
        return;
    if (m_structure == "context") {
        if (m_lastTag == "id")
            m_contextId = sax::qs(kept);
        else if (m_lastTag == "name")
            m_contextName = sax::qs(kept);
        return;
    }
    if (m_lastTag != "title" || m_titleLang != m_main || m_titleDone || !m_view)
        return;
    const QString s = sax::qs(kept);
    NodePtr node;
    if (m_structure == "book")
        node = m_view->AddBook(s);
    else if (m_structure == "chapter" || m_structure == "subchapter")
        node = m_view->AddChapter(s, true, QString());
    else if (m_structure == "topic")
        node = m_view->AddTopic(s, true, m_topicId); // images 3 and 4: free
    if (node && section(m_structure) && !m_levels.empty())
        m_levels.back() = true;
    // One node per element, even when a title comes in pieces.
    m_titleDone = true;
}

void cSAXHelpContextTopic::endElement(std::string_view name)
{
    if (name == "title") {
        m_titleLang.clear();
        m_lastTag.clear();
        return;
    }
    if (name == "context" && m_view && m_forms && m_matches) {
        // The form by name; the topic is the last child of the current node.
        // A name not in the list is passed over.
        const NodePtr form = m_forms->FindKey(m_contextName);
        const NodePtr current = m_view->CurrentNode();
        const NodePtr topic = current ? current->LastChild() : nullptr;
        if (form && topic && topic->Tag == QLatin1String("topic")) {
            m_matches->push_back({form, topic, m_contextName});
            BookTree* topics = m_view->tree();
            setAssigned(*topics, topic, true);
            for (const NodePtr& f : m_forms->Roots())
                if (f->Tag == form->Tag)
                    setAssigned(*m_forms, f, true);
        }
    }
    if (!structural(name))
        return;
    m_structure.clear();
    if (section(name)) {
        const bool added = !m_levels.empty() && m_levels.back();
        if (!m_levels.empty())
            m_levels.pop_back();
        if (added && m_view)
            m_view->OneLevelUp();
    }
}

void cSAXHelpContextUpdate::startElement(std::string_view name, const sax::Attrs& attrs)
{
    if (name == "subchapter" || name == "chapter" || name == "topic" || name == "onelang")
        m_structure = std::string(name);
    if (name == "context") {
        m_structure = "context";
        m_write = false;
    }
    if (name == "title" && !m_structure.empty() && m_structure != "onelang") {
        m_tag = "title";
        m_titleLang = std::string(attrs.value("lang"));
    }
    if ((name == "name" || name == "id") && m_structure == "context")
        m_tag = std::string(name);
    if (name == "onelang" && attrs.value("lang") == m_main) {
        const QString path = m_titles.join(QLatin1Char('\\'));
        for (const cContextHelp& r : m_records)
            if (r.Caption == path)
                writeRaw(QStringLiteral("<context><id>") + mCommon::escapeXML(r.ID) + QStringLiteral("</id><name>") +
                         mCommon::escapeXML(r.Tag) + QStringLiteral("</name></context>"));
    }
    if (m_write)
        writeStart(name, attrs);
}

void cSAXHelpContextUpdate::characters(std::string_view text)
{
    const std::string_view kept = sax::trimText(text);
    if (kept.empty())
        return;
    if (m_dropText) {
        m_dropText = false;
        return;
    }
    if (m_write)
        writeText(kept);
    if (m_tag == "title" && m_titleLang == m_main)
        m_titles << sax::qs(kept);
}

void cSAXHelpContextUpdate::endElement(std::string_view name)
{
    if (m_write)
        writeEnd(name);
    if (name == "subchapter" || name == "chapter" || name == "topic" || name == "onelang") {
        m_structure.clear();
        if (name != "onelang" && !m_titles.isEmpty())
            m_titles.removeLast();
    } else if (name == "context") {
        m_structure.clear();
        m_write = true;
    } else if (name == "title") {
        m_tag.clear();
        m_titleLang.clear();
    }
}

void cSAXHelpContextUpdate::skippedEntity(std::string_view name)
{
    if (m_write)
        writeEntity(name);
    m_dropText = true;
}

void buildContextTopics(const cProject& project, BookTree& topics, BookTree& forms, std::vector<cPair>& matches,
                        MsgBox& box)
{
    cTreeView view;
    view.SetTree(&topics);
    view.ClearTree();
    matches.clear();
    const QString book = project.getBookFile();
    if (book.isEmpty())
        return;
    cSAXHelpContextTopic handler(project.GetMainLangAbbrev());
    handler.SetTreeView(&view);
    handler.SetFormsTreeView(&forms);
    handler.SetMatches(&matches);
    cSAXErrorHandler errors(box);
    sax::Reader reader(handler);
    reader.setErrorHandler(&errors);
    reader.setExpandExternalEntities(true);
    reader.setAllowedFolders({project.GetProjectFolder()});
    reader.parseFile(book);
}
