#pragma once
// Context IDs in topics: a topic holds at most one assignment, the element
// <context><id>..</id><name>..</name></context> in front of the main
// language's onelang. cSAXHelpContextTopic reads the book into the
// workbench's topic tree and finds the assignments; cSAXHelpContextUpdate
// rewrites a chapter file with the assignments the workbench hands it.
#include "booktree.h"
#include "ccontexthelp.h"
#include "rewrite.h"
#include "treeview.h"

#include <vector>

// Images of the workbench's trees: a free topic or form, and an assigned one.
namespace contextimg {
constexpr int Free = 3;
constexpr int FreeSel = 4;
constexpr int Assigned = 5;
constexpr int AssignedSel = 6;
} // namespace contextimg

// A form tied to a topic while the workbench is open. The form's name is
// kept too, for a form whose node went with the list.
struct cPair {
    NodeRef formNode;
    NodeRef topicNode;
    QString formName;
};

// Marks a node free or assigned.
void setAssigned(BookTree& tree, const NodePtr& node, bool assigned);
inline bool isAssigned(const NodePtr& node)
{
    return node && node->Image == contextimg::Assigned;
}

class cSAXHelpContextTopic : public sax::Handler {
public:
    explicit cSAXHelpContextTopic(const QString& mainLanguage) : m_main(mainLanguage.toStdString()) {}
    void SetTreeView(cTreeView* view) { m_view = view; }
    // The forms tree (forms by name as key) and the assignments to fill; a
    // found form's whole group of its ID is marked.
    void SetFormsTreeView(BookTree* forms) { m_forms = forms; }
    void SetMatches(std::vector<cPair>* matches) { m_matches = matches; }

    void startElement(std::string_view name, const sax::Attrs& attrs) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;

private:
    std::string m_main;
    cTreeView* m_view = nullptr;
    BookTree* m_forms = nullptr;
    std::vector<cPair>* m_matches = nullptr;
    std::string m_lastTag;
    std::string m_structure; // book, chapter, subchapter, topic, onelang, context
    std::string m_titleLang;
    bool m_titleDone = false;
    QString m_topicId;
    QString m_contextId, m_contextName;
    // One entry per open book, chapter or subchapter: whether it got a node.
    std::vector<bool> m_levels;
};

// Rewrites a chapter file: every context element goes, and each topic whose
// path of main-language titles (chapter, subchapters, topic, joined by
// backslashes) is the Caption of a record gets that record's context.
class cSAXHelpContextUpdate : public RewriteFilter {
public:
    cSAXHelpContextUpdate(const QString& mainLanguage, const std::vector<cContextHelp>& records)
        : m_main(mainLanguage.toStdString()), m_records(records)
    {
    }

    void startElement(std::string_view name, const sax::Attrs& attrs) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;
    void skippedEntity(std::string_view name) override;

private:
    std::string m_main;
    const std::vector<cContextHelp>& m_records;
    std::string m_structure;
    std::string m_tag;       // "title", "id" or "name" while inside one
    std::string m_titleLang;
    bool m_write = true;     // off inside an old context
    bool m_dropText = false; // the text of an entity just written
    QStringList m_titles;    // the main language's titles, outermost first
};

// The topic tree of a project's book for the workbench, with its
// assignments to the forms of the forms tree.
void buildContextTopics(const cProject& project, BookTree& topics, BookTree& forms, std::vector<cPair>& matches,
                        MsgBox& box);
