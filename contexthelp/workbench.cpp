#include "workbench.h"

#include "cproject.h"
#include "fileio.h"
#include "mcommon.h"
#include "msgbox.h"
#include "projectlock.h"
#include "xmlsafety.h"

#include <QFileInfo>

#include <algorithm>

namespace {

// The order of the sorted forms tree: by text, letters of either case together.
bool before(const QString& a, const QString& b)
{
    const int c = QString::compare(a, b, Qt::CaseInsensitive);
    return c != 0 ? c < 0 : a < b;
}

// The topics tree is sorted too: the children of every node by text.
void sortChildren(BookTree& tree, const NodePtr& parent)
{
    std::vector<NodePtr> children = parent->Children();
    std::stable_sort(children.begin(), children.end(),
                     [](const NodePtr& a, const NodePtr& b) { return before(a->Text, b->Text); });
    for (const NodePtr& c : children) {
        tree.Move(c, parent, Relation::Child);
        sortChildren(tree, c);
    }
}

} // namespace

ContextHelpWorkbench::ContextHelpWorkbench(cProject& project, MsgBox& box) : m_project(project), m_box(box) {}

QString ContextHelpWorkbench::formText(const cContextHelp& record)
{
    return record.Caption + QStringLiteral(" (") + record.Tag + QStringLiteral(", ") + record.ID + QStringLiteral(")");
}

NodePtr ContextHelpWorkbench::addFormNode(const cContextHelp& record)
{
    const QString text = formText(record);
    NodePtr next;
    for (const NodePtr& n : m_forms.Roots())
        if (before(text, n->Text)) {
            next = n;
            break;
        }
    NodePtr node = next ? m_forms.Add(next, Relation::Previous, record.Tag, text, contextimg::Free, contextimg::FreeSel)
                        : m_forms.Add(nullptr, Relation::Last, record.Tag, text, contextimg::Free, contextimg::FreeSel);
    if (node) {
        node->Tag = record.ID;
        m_forms.Changed(node);
    }
    return node;
}

void ContextHelpWorkbench::load()
{
    m_records.clear();
    m_pairs.clear();
    m_forms.Clear();
    m_topics.Clear();
    m_highlighted.clear();
    m_form.reset();
    m_topic.reset();
    const QString file = m_project.GetProjectFolder() + kHelpContextFile;
    if (QFileInfo::exists(file)) {
        QString why;
        if (!readHelpContext(file, m_records, &why))
            m_box.stop(QStringLiteral("File \"%1\" cannot be read: %2").arg(file, why));
    }
    for (const cContextHelp& r : m_records.records())
        addFormNode(r);
    buildContextTopics(m_project, m_topics, m_forms, m_pairs, m_box);
    for (const NodePtr& root : m_topics.Roots())
        sortChildren(m_topics, root);
    m_changed = false;
}

std::vector<NodePtr> ContextHelpWorkbench::group(const NodePtr& form) const
{
    std::vector<NodePtr> out;
    if (!form)
        return out;
    for (const NodePtr& n : m_forms.Roots())
        if (n->Tag == form->Tag)
            out.push_back(n);
    return out;
}

void ContextHelpWorkbench::markGroup(const NodePtr& form, bool assigned)
{
    for (const NodePtr& n : group(form))
        setAssigned(m_forms, n, assigned);
}

void ContextHelpWorkbench::alignWithGroup(const NodePtr& form)
{
    bool assigned = false;
    for (const NodePtr& n : group(form))
        if (n != form && isAssigned(n))
            assigned = true;
    setAssigned(m_forms, form, assigned);
}

void ContextHelpWorkbench::highlight(const NodePtr& form)
{
    m_highlighted.clear();
    for (const NodePtr& n : group(form))
        m_highlighted.insert(n);
}

NodePtr ContextHelpWorkbench::topicOf(const NodePtr& form) const
{
    if (!form)
        return nullptr;
    for (const cPair& p : m_pairs) {
        const NodePtr f = p.formNode.lock();
        if (f && f->Tag == form->Tag)
            if (NodePtr t = p.topicNode.lock())
                return t;
    }
    return nullptr;
}

NodePtr ContextHelpWorkbench::formOf(const NodePtr& topic) const
{
    if (!topic)
        return nullptr;
    for (const cPair& p : m_pairs)
        if (p.topicNode.lock() == topic)
            return p.formNode.lock();
    return nullptr;
}

void ContextHelpWorkbench::clickForm(const NodePtr& node)
{
    m_form = node;
    m_forms.Select(node);
    highlight(node);
    if (isAssigned(node))
        if (NodePtr topic = topicOf(node)) {
            m_topic = topic;
            m_topics.Select(topic);
        }
}

void ContextHelpWorkbench::clickTopic(const NodePtr& node)
{
    m_topic = node;
    m_topics.Select(node);
    if (node && node->Tag == QLatin1String("topic") && isAssigned(node))
        if (NodePtr form = formOf(node)) {
            m_form = form;
            m_forms.Select(form);
            highlight(form);
        }
}

bool ContextHelpWorkbench::selectedPair(NodePtr& topic, NodePtr& form)
{
    topic = currentTopic();
    form = currentForm();
    if (!topic || topic->Removed() || topic->Tag != QLatin1String("topic")) {
        m_box.exclamation(QStringLiteral("Topic must be selected on the left side!"));
        return false;
    }
    if (!form || form->Removed()) {
        m_box.exclamation(QStringLiteral("Form(s) must be selected on the right side!"));
        return false;
    }
    return true;
}

bool ContextHelpWorkbench::cmdAdd()
{
    NodePtr topic, form;
    if (!selectedPair(topic, form))
        return false;
    if (isAssigned(topic)) {
        m_box.exclamation(QStringLiteral("Topic has already assigned form(s)!"));
        return false;
    }
    if (isAssigned(form)) {
        m_box.exclamation(QStringLiteral("Form(s) has already assigned topic!"));
        return false;
    }
    m_pairs.push_back({form, topic, form->Key});
    setAssigned(m_topics, topic, true);
    markGroup(form, true);
    m_changed = true;
    return true;
}

bool ContextHelpWorkbench::cmdRemove()
{
    NodePtr topic, form;
    if (!selectedPair(topic, form))
        return false;
    if (!isAssigned(topic)) {
        m_box.exclamation(QStringLiteral("Topic has not assigned form(s)!"));
        return false;
    }
    if (!isAssigned(form)) {
        m_box.exclamation(QStringLiteral("Form(s) has not assigned topic!"));
        return false;
    }
    // The pair of this topic and this form's group; none: nothing changes.
    for (auto it = m_pairs.begin(); it != m_pairs.end(); ++it) {
        const NodePtr f = it->formNode.lock();
        if (it->topicNode.lock() == topic && f && f->Tag == form->Tag) {
            m_pairs.erase(it);
            setAssigned(m_topics, topic, false);
            markGroup(form, false);
            m_changed = true;
            return true;
        }
    }
    return false;
}

bool ContextHelpWorkbench::cmdNew(const RecordDialog& dialog)
{
    cContextHelp record;
    if (!dialog || !dialog(record))
        return false;
    if (m_forms.FindKey(record.Tag)) {
        m_box.exclamation(QStringLiteral("Form with same name already exists!"));
        return false;
    }
    m_records.add(record);
    const NodePtr node = addFormNode(record);
    // A new form with the ID of an assigned form counts as assigned.
    alignWithGroup(node);
    m_changed = true;
    return true;
}

bool ContextHelpWorkbench::cmdEdit(const RecordDialog& dialog)
{
    const NodePtr form = currentForm();
    if (!form || form->Removed()) {
        m_box.exclamation(QStringLiteral("No form is selected!"));
        return false;
    }
    if (isAssigned(form)) {
        m_box.exclamation(QStringLiteral("Form has already assigned topic! It is not possible to edit it!"));
        return false;
    }
    const cContextHelp* old = m_records.find(form->Key);
    cContextHelp record = old ? *old : cContextHelp{QString(), form->Key, form->Tag};
    if (!dialog || !dialog(record))
        return false;
    if (record.Tag != form->Key && m_forms.FindKey(record.Tag)) {
        m_box.exclamation(QStringLiteral("Form with same name already exists!"));
        return false;
    }
    const QString oldName = form->Key;
    if (old)
        m_records.replace(oldName, record);
    else
        m_records.add(record);
    // The node goes to its sorted place with its new text.
    m_forms.Remove(form);
    const NodePtr node = addFormNode(record);
    alignWithGroup(node);
    m_form = node;
    highlight(node);
    m_changed = true;
    return true;
}

bool ContextHelpWorkbench::cmdDelete()
{
    const NodePtr form = currentForm();
    if (!form || form->Removed()) {
        m_box.exclamation(QStringLiteral("No form is selected!"));
        return false;
    }
    if (isAssigned(form)) {
        m_box.exclamation(QStringLiteral("Form has already assigned topic! It is not possible to delete it!"));
        return false;
    }
    m_records.remove(form->Key);
    m_highlighted.erase(form);
    m_forms.Remove(form);
    m_form.reset();
    m_changed = true;
    return true;
}

bool ContextHelpWorkbench::cmdClear()
{
    if (!m_box.yesNo(QStringLiteral("Are you sure you want to remove all forms?")))
        return false;
    // The assignments stay; cmdOK drops those whose form is gone.
    m_forms.Clear();
    m_records.clear();
    m_highlighted.clear();
    m_form.reset();
    m_changed = true;
    return true;
}

bool ContextHelpWorkbench::cmdLoad(const QString& file)
{
    if (file.isEmpty())
        return false;
    if (!QFileInfo(file).isFile()) {
        m_box.exclamation(QStringLiteral("File does not exist!"));
        return false;
    }
    xmlsafe::XmlError error;
    QByteArray bytes;
    {
        xmlsafe::EntityScope none(QStringList{});
        xmlsafe::DocPtr doc = xmlsafe::readFile(file, xmlsafe::kBaseOptions, true, &error);
        if (!doc || !fileio::readFile(file, bytes)) {
            m_box.exclamation(QStringLiteral("File is not valid!"));
            return false;
        }
    }
    // A list that names a form twice is no list for the workbench.
    FormCollection check;
    QString why;
    const QString copy = m_project.GetProjectFolder() + kHelpContextFile;
    if (!readHelpContext(file, check, &why)) {
        m_box.exclamation(QStringLiteral("File is not valid!"));
        return false;
    }
    ProjectLock lock(m_project.GetProjectFolder());
    if (!lock.ok() || !fileio::atomicReplace(copy, bytes, {}, &why)) {
        m_box.stop(QStringLiteral("File \"%1\" cannot be written: %2").arg(copy, lock.ok() ? why : lock.error()));
        return false;
    }
    load();
    return true;
}

bool ContextHelpWorkbench::cmdOK()
{
    if (!mCommon::checkFreeSpace(m_project.GetProjectFile(), m_box))
        return false;
    // Each assignment becomes a record: ID and name from the form's record,
    // the topic's path below the book.
    std::vector<cContextHelp> assignments;
    QStringList dropped;
    for (const cPair& p : m_pairs) {
        const NodePtr topic = p.topicNode.lock();
        const NodePtr form = p.formNode.lock();
        if (!topic || topic->Removed())
            continue;
        const QString path = topic->FullPath().section(QLatin1Char('\\'), 1);
        const cContextHelp* record = form && !form->Removed() ? m_records.find(form->Key) : nullptr;
        if (!record) {
            dropped << QStringLiteral("\"%1\" (form \"%2\")").arg(path, p.formName);
            continue;
        }
        assignments.push_back({path, record->Tag, record->ID});
    }
    if (!dropped.isEmpty())
        m_box.exclamation(QStringLiteral("These topics lose their context help ID, since their form is no longer in "
                                         "the list:\r\n\r\n") +
                          dropped.join(QStringLiteral("\r\n")));

    // Every chapter file is prepared first, then all are put in place, then
    // the list: a failure on the way leaves every file as it was.
    ProjectLock lock(m_project.GetProjectFolder());
    if (!lock.ok()) {
        m_box.stop(lock.error());
        return false;
    }
    struct Prepared {
        QString temp, target;
    };
    std::vector<Prepared> prepared;
    auto drop = [&prepared] {
        for (const Prepared& p : prepared)
            fileio::commitTemp(p.temp, QString());
    };
    const QString main = m_project.GetMainLangAbbrev();
    for (const QString& chapter : m_project.chapterFileList()) {
        cSAXHelpContextUpdate filter(main, assignments);
        const QString temp = chapter + QStringLiteral(".quillary-new");
        QString error;
        if (!rewriteToTemp(chapter, filter, temp, nullptr, &error)) {
            drop();
            m_box.stop(QStringLiteral("The chapter file \"%1\" cannot be written: %2")
                           .arg(QFileInfo(chapter).fileName(), error));
            return false;
        }
        prepared.push_back({temp, chapter});
    }
    const QString listFile = m_project.GetProjectFolder() + kHelpContextFile;
    const QString listTemp = listFile + QStringLiteral(".quillary-new");
    QString error;
    if (!fileio::atomicReplace(listTemp, helpContextBytes(m_records), {}, &error)) {
        drop();
        m_box.stop(QStringLiteral("File \"%1\" cannot be written: %2").arg(listFile, error));
        return false;
    }
    prepared.push_back({listTemp, listFile});
    for (size_t i = 0; i < prepared.size(); ++i) {
        if (!fileio::commitTemp(prepared[i].temp, prepared[i].target, &error)) {
            for (size_t j = i; j < prepared.size(); ++j)
                fileio::commitTemp(prepared[j].temp, QString());
            m_box.stop(QStringLiteral("File \"%1\" cannot be written: %2").arg(prepared[i].target, error));
            return false;
        }
    }
    m_changed = false;
    return true;
}
