#pragma once
// The context help workbench as a model: the forms of helpcontextid.xml and
// the book's topics as two trees, the assignments between them, and the
// commands of the dialog with their checks and messages. Nothing reaches
// the chapter files or helpcontextid.xml before cmdOK, but for cmdLoad,
// which replaces helpcontextid.xml at once.
//
// Forms that share an ID are one group: they are assigned together (the
// topic is tied to the form it was assigned through) and always carry the
// same state.
#include "booktree.h"
#include "ccontexthelp.h"
#include "contexttopics.h"

#include <functional>
#include <set>
#include <vector>

class cProject;
class MsgBox;

class ContextHelpWorkbench {
public:
    ContextHelpWorkbench(cProject& project, MsgBox& box);

    // Loading the form: the forms file, the forms tree sorted, the topic
    // tree with the assignments the chapter files hold.
    void load();

    BookTree& topics() { return m_topics; }
    BookTree& forms() { return m_forms; }
    const FormCollection& records() const { return m_records; }
    const std::vector<cPair>& pairs() const { return m_pairs; }

    // Form nodes show their record as caption, " (", name, ", ", ID, ")".
    static QString formText(const cContextHelp& record);

    // A click on a form node: it becomes the current form, its group is
    // highlighted, and an assigned form selects its topic.
    void clickForm(const NodePtr& node);
    // A click on a topic node: an assigned topic selects its form.
    void clickTopic(const NodePtr& node);
    NodePtr currentForm() const { return m_form.lock(); }
    NodePtr currentTopic() const { return m_topic.lock(); }
    // The form nodes with the grey background (lblNumForms counts them).
    const std::set<NodePtr>& highlighted() const { return m_highlighted; }
    int numFormsSelected() const { return int(m_highlighted.size()); }
    // The topic a form's group is tied to (null when it is free).
    NodePtr topicOf(const NodePtr& form) const;
    // The form a topic is tied to (null when it is free).
    NodePtr formOf(const NodePtr& topic) const;

    // The record dialog: shows the record, true after OK with it filled
    // (its own checks passed); false for Cancel.
    using RecordDialog = std::function<bool(cContextHelp& record)>;

    bool cmdAdd();
    bool cmdRemove();
    bool cmdNew(const RecordDialog& dialog);
    bool cmdEdit(const RecordDialog& dialog);
    bool cmdDelete();
    bool cmdClear();
    // The chosen file ("" or null after Cancel in the chooser).
    bool cmdLoad(const QString& file);
    // Writes the assignments into the chapter files and the list into
    // helpcontextid.xml, all or nothing. False after a message.
    bool cmdOK();

    // Whether anything was changed since loading (the form asks before it
    // throws changes away).
    bool changed() const { return m_changed; }

private:
    // The topic and form that Add and Remove work on; false after the message
    // of the one that is missing.
    bool selectedPair(NodePtr& topic, NodePtr& form);
    NodePtr addFormNode(const cContextHelp& record);
    // The form nodes with a node's ID.
    std::vector<NodePtr> group(const NodePtr& form) const;
    void markGroup(const NodePtr& form, bool assigned);
    // A new or edited form takes its group's state.
    void alignWithGroup(const NodePtr& form);
    void highlight(const NodePtr& form);

    cProject& m_project;
    MsgBox& m_box;
    BookTree m_topics;
    BookTree m_forms;
    FormCollection m_records;
    std::vector<cPair> m_pairs;
    NodeRef m_form;
    NodeRef m_topic;
    std::set<NodePtr> m_highlighted;
    bool m_changed = false;
};
