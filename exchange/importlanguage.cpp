#include "importlanguage.h"

#include "cbook.h"
#include "cbookfile.h"
#include "csaxerrorhandler.h"
#include "cxmldoc.h"
#include "fileio.h"
#include "mcommon.h"
#include "paths.h"
#include "msgbox.h"
#include "progress.h"
#include "topicfilter.h"
#include "treeview.h"
#include "xmlsafety.h"
#include "ziparchive.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <vector>

// Reads one chapter file of the copy and keeps what is ticked, in the
// language being imported: the chapter's title, subchapters' titles, and
// each topic's title and body as XML text.
class cSAXLanguageImporter : public sax::Handler {
public:
    struct TopicPart {
        QString title, onelang;
    };

    QString Language;
    const TickModel* Ticks = nullptr;
    const BookTree* NewTree = nullptr;
    NodePtr ChapterNode; // the chapter's node in the copy's tree

    bool chapterTicked = false;
    bool hasChapterTitle = false;
    QString chapterTitle;
    QHash<QString, QString> subchapterTitles;
    QHash<QString, TopicPart> topics;
    std::vector<QString> topicOrder;

    void startElement(std::string_view name, const sax::Attrs& attrs) override
    {
        if (m_lang.empty())
            m_lang = Language.toStdString();
        const int depth = int(m_stack.size());
        const bool ownChild = !m_stack.empty() && m_stack.back().element;
        if (name == "chapter" || name == "subchapter" || name == "topic") {
            Frame f{true, std::string(name), false, {}};
            if (name == "chapter") {
                f.ticked = Ticks->isTicked(ChapterNode);
                chapterTicked = f.ticked;
            } else {
                f.id = attrs.qvalue("id");
                f.ticked = Ticks->isTicked(NewTree->FindKey(f.id));
                if (f.ticked && name == "topic") {
                    topics.insert(f.id, {});
                    topicOrder.push_back(f.id);
                }
            }
            m_stack.push_back(f);
        } else {
            m_stack.push_back(Frame{});
        }
        if (m_capture) {
            appendStartTag(m_buf, name, attrs);
            return;
        }
        // Only the element's own titles and body, the first of each.
        if (!ownChild || depth == 0)
            return;
        const Frame& owner = m_stack[m_stack.size() - 2];
        if (!owner.ticked || attrs.value("lang") != m_lang)
            return;
        if (owner.kind == "topic" && (name == "title" || name == "onelang")) {
            TopicPart& part = topics[owner.id];
            if ((name == "title" ? part.title : part.onelang).isEmpty()) {
                m_capture = true;
                m_captureDepth = depth;
                m_buf.clear();
                appendStartTag(m_buf, name, attrs);
            }
        } else if (name == "title" && owner.kind != "topic") {
            const bool done = owner.kind == "chapter" ? hasChapterTitle : subchapterTitles.contains(owner.id);
            if (!done) {
                m_titleText = true;
                m_buf.clear();
            }
        }
    }

    void endElement(std::string_view name) override
    {
        const int depth = int(m_stack.size()) - 1;
        if (m_capture) {
            m_buf += "</";
            m_buf += name;
            m_buf += '>';
            if (depth == m_captureDepth) {
                const Frame& owner = m_stack[m_stack.size() - 2];
                TopicPart& part = topics[owner.id];
                (name == "title" ? part.title : part.onelang) = QString::fromUtf8(m_buf.data(), qsizetype(m_buf.size()));
                m_capture = false;
            }
        } else if (m_titleText && name == "title") {
            const Frame& owner = m_stack[m_stack.size() - 2];
            const QString text = QString::fromUtf8(m_buf.data(), qsizetype(m_buf.size()));
            if (owner.kind == "chapter") {
                hasChapterTitle = true;
                chapterTitle = text;
            } else {
                subchapterTitles.insert(owner.id, text);
            }
            m_titleText = false;
        }
        m_stack.pop_back();
    }

    void characters(std::string_view text) override
    {
        std::string_view t = sax::trimText(text);
        if (m_capture)
            mCommon::escapeXMLTo(m_buf, t);
        else if (m_titleText)
            m_buf.append(t);
    }

    void skippedEntity(std::string_view name) override
    {
        if (m_capture) {
            m_buf += '&';
            m_buf += name;
            m_buf += ';';
        }
    }

private:
    struct Frame {
        bool element = false; // a chapter, subchapter or topic
        std::string kind;
        bool ticked = false;
        QString id;
    };
    std::string m_lang;
    std::vector<Frame> m_stack;
    bool m_capture = false;
    int m_captureDepth = 0;
    bool m_titleText = false;
    std::string m_buf;
};

namespace {

const xmlChar* X(const char* s)
{
    return reinterpret_cast<const xmlChar*>(s);
}

} // namespace

namespace exchange {

namespace {

struct TopChild {
    qsizetype begin = 0, end = 0;
    QString name, lang;
};

// The direct children of a topic in the form the rewrite filters write it
// (every element with an end tag, markup characters escaped, no comments):
// false for anything else.
bool topChildren(const QString& xml, std::vector<TopChild>& out)
{
    if (!xml.startsWith(QLatin1String("<topic")))
        return false;
    qsizetype i = xml.indexOf(QLatin1Char('>'));
    int depth = 1;
    TopChild child;
    while (i >= 0) {
        const qsizetype lt = xml.indexOf(QLatin1Char('<'), i);
        if (lt < 0 || lt + 1 >= xml.size())
            return false;
        const qsizetype gt = xml.indexOf(QLatin1Char('>'), lt);
        if (gt < 0)
            return false;
        const QChar next = xml[lt + 1];
        if (next == QLatin1Char('/')) {
            if (--depth == 1) {
                child.end = gt + 1;
                out.push_back(child);
            } else if (depth == 0) {
                return gt + 1 == xml.size();
            }
        } else {
            if (next == QLatin1Char('!') || next == QLatin1Char('?') || xml[gt - 1] == QLatin1Char('/'))
                return false;
            if (++depth == 2) {
                child = TopChild{};
                child.begin = lt;
                qsizetype n = lt + 1;
                while (n < gt && xml[n] != QLatin1Char(' '))
                    ++n;
                child.name = xml.mid(lt + 1, n - lt - 1);
                const qsizetype at = xml.indexOf(QLatin1String(" lang=\""), lt);
                if (at >= 0 && at < gt) {
                    const qsizetype from = at + 7;
                    child.lang = xml.mid(from, xml.indexOf(QLatin1Char('"'), from) - from);
                }
            }
        }
        i = gt + 1;
    }
    return false;
}

xmlsafe::DocPtr parseXml(const QString& xml, QString* error)
{
    xmlsafe::XmlError why;
    xmlsafe::EntityScope none(QStringList{});
    xmlsafe::DocPtr doc = xmlsafe::readMemory(xml.toUtf8(), {}, xmlsafe::kBaseOptions, false, &why);
    if (!doc && error)
        *error = why.message;
    return doc;
}

} // namespace

bool mergeTopicLanguage(const QString& masterXml, const QString& title, const QString& onelang,
                        const QString& language, QString& out, QString* error, bool direct)
{
    // Texts in the rewrite filters' own form come out of a parse and a new
    // serialisation unchanged, except for what a serialiser writes as a
    // character reference: those take the long way.
    auto plain = [](const QString& t) { return !t.contains(QLatin1Char('\r')) && !t.contains(QLatin1Char('\t')); };
    std::vector<TopChild> children;
    if (direct && plain(masterXml) && plain(title) && plain(onelang) && topChildren(masterXml, children)) {
        out.clear();
        out.reserve(masterXml.size() + title.size() + onelang.size());
        qsizetype at = 0;
        for (const TopChild& c : children) {
            if (c.lang != language)
                continue;
            const QString& with = c.name == QLatin1String("title") ? title
                                  : c.name == QLatin1String("onelang") ? onelang
                                                                       : QString();
            if (with.isEmpty())
                continue;
            out += QStringView(masterXml).mid(at, c.begin - at);
            out += with;
            at = c.end;
        }
        out += QStringView(masterXml).mid(at);
        return true;
    }

    xmlsafe::DocPtr master = parseXml(masterXml, error);
    xmlsafe::DocPtr copy = parseXml(QStringLiteral("<topic>") + title + onelang + QStringLiteral("</topic>"), error);
    xmlNode* root = master ? xmlDocGetRootElement(master.get()) : nullptr;
    xmlNode* copyRoot = copy ? xmlDocGetRootElement(copy.get()) : nullptr;
    if (!root || !copyRoot)
        return false;
    xmlNode* newTitle = xmlsafe::firstChildElement(copyRoot, "title");
    xmlNode* newOnelang = xmlsafe::firstChildElement(copyRoot, "onelang");
    xmlNode* next = nullptr;
    for (xmlNode* c = root->children; c; c = next) {
        next = c->next;
        if (c->type != XML_ELEMENT_NODE || xmlsafe::attr(c, "lang") != language)
            continue;
        xmlNode* from = xmlStrEqual(c->name, X("title")) ? newTitle
                        : xmlStrEqual(c->name, X("onelang")) ? newOnelang
                                                              : nullptr;
        if (!from)
            continue;
        xmlReplaceNode(c, xmlDocCopyNode(from, master.get(), 1));
        xmlFreeNode(c);
    }
    out = serializeElement(root);
    return true;
}

} // namespace exchange

namespace {

// Writes what the copy's chapter brought into the master's chapter file.
class ImportMergeFilter : public SectionTitleFilter {
public:
    ImportMergeFilter(const cSAXLanguageImporter& in, const QString& language, Progress& progress)
        : SectionTitleFilter(language), m_in(in), m_progress(progress)
    {
        onTopic = [this, language](const QString& id, const QString& xml, QString& out) {
            if (m_progress.cancelRequested()) {
                fail(Progress::kCancelled);
                return false;
            }
            auto it = m_in.topics.constFind(id);
            if (it == m_in.topics.constEnd())
                return false;
            QString why;
            if (!exchange::mergeTopicLanguage(xml, it->title, it->onelang, language, out, &why)) {
                fail(QStringLiteral("Topic \"%1\" cannot be merged: %2").arg(id, why));
                return false;
            }
            m_mergedTopics.insert(id);
            m_progress.step();
            return true;
        };
    }

    QSet<QString> m_mergedTopics;
    bool m_chapterRenamed = false;

protected:
    bool newSectionTitle(bool chapter, const QString& id, QString& text) override
    {
        if (chapter ? !(m_in.chapterTicked && m_in.hasChapterTitle) : !m_in.subchapterTitles.contains(id))
            return false;
        text = chapter ? m_in.chapterTitle : m_in.subchapterTitles.value(id);
        m_chapterRenamed = m_chapterRenamed || chapter;
        m_progress.step();
        return true;
    }

private:
    const cSAXLanguageImporter& m_in;
    Progress& m_progress;
};

const char kFailed[] = "Error! Import was not successful!";

} // namespace

namespace exchange {

struct LanguageImport::Plan {
    struct Chapter {
        QString id;
        QString masterFile, copyFile, masterTitle;
    };
    std::vector<Chapter> chapters;
};

LanguageImport::LanguageImport(cProject& current, MsgBox& box) : m_current(current), m_box(box) {}

LanguageImport::~LanguageImport() = default;

bool LanguageImport::isArchive(const QString& path)
{
    return QFileInfo(path).suffix().toLower() == QLatin1String("zip");
}

bool LanguageImport::extract(const QString& archive, const QString& folder, Progress& progress)
{
    if (!QFileInfo(archive).isFile()) {
        m_box.exclamation(QStringLiteral("File does not exist!"));
        return false;
    }
    if (folder.isEmpty()) {
        m_box.exclamation(QStringLiteral("No folder for extracting was selected!"));
        return false;
    }
    QString error;
    const int count = ziparchive::countFiles(archive, &error);
    if (count < 0) {
        m_box.stop(error);
        return false;
    }
    progress.start(count);
    progress.message(kExtracting);
    if (!ziparchive::extractAll(archive, folder, [&progress] { progress.step(); }, &error,
                                [&progress] { return progress.cancelRequested(); })) {
        if (progress.cancelRequested())
            m_box.info(Progress::kCancelled);
        else
            m_box.stop(error);
        return false;
    }
    return true;
}

QString LanguageImport::projectInPackage(const QString& archive, const QString& folder)
{
    QStringList found;
    for (const QString& name : ziparchive::entryNames(archive))
        if (!name.contains(QLatin1Char('/')) && name.endsWith(QLatin1String(".qly"), Qt::CaseInsensitive))
            found << name;
    if (found.size() != 1)
        return {};
    return QDir(folder).absoluteFilePath(found.first());
}

static QString samePath(const QString& p)
{
    QFileInfo fi(p);
    const QString canonical = fi.canonicalFilePath();
    return canonical.isEmpty() ? fi.absoluteFilePath() : canonical;
}

bool LanguageImport::selectProject(const QString& path)
{
    if (!QFileInfo(path).isFile()) {
        m_box.exclamation(QStringLiteral("File does not exist!"));
        return false;
    }
    if (fileio::isMarked(path)) {
        m_box.exclamation(QStringLiteral("File is already opened by another application!"));
        return false;
    }
    if (samePath(path) == samePath(m_current.GetProjectFile())) {
        m_box.exclamation(QStringLiteral("Current project was selected!"));
        return false;
    }
    m_selected = std::make_unique<cProject>(m_box);
    if (!m_selected->Load(path))
        return false;
    // Two unlocked projects have equal (empty) ids; only a locked master takes an import.
    if (m_current.GetLockID().isEmpty() || m_selected->GetLockID() != m_current.GetLockID()) {
        m_box.exclamation(QStringLiteral("Selected project was not exported from current project! It is not "
                                         "possible to import language from selected project!"));
        return false;
    }
    if (!checkStructure())
        return false;
    m_ticks.clear();
    buildBookTree(m_current, m_oldTree, m_box);
    buildBookTree(*m_selected, m_newTree, m_box);
    for (BookTree* t : {&m_oldTree, &m_newTree})
        t->forEach([](const NodePtr& n, int) { n->Expanded = true; });
    m_ticks.tickAll(m_newTree);
    return true;
}

namespace {

// The chapters of a project in the order of its book: id, file and title.
bool bookChapters(const cProject& project, MsgBox& box, std::vector<cProject::ChapterEntry>& out)
{
    out.clear();
    cBookFile book(box);
    if (!book.Load(project.getBookFile()))
        return false;
    const auto listed = project.chapters();
    for (const QString& entity : book.chapterOrder()) {
        auto it = std::find_if(listed.begin(), listed.end(),
                               [&entity](const cProject::ChapterEntry& c) { return c.id == entity; });
        if (it == listed.end())
            return false;
        out.push_back(*it);
    }
    return true;
}

} // namespace

bool LanguageImport::checkStructure()
{
    std::vector<cProject::ChapterEntry> mine, theirs;
    const bool ok = bookChapters(m_current, m_box, mine) && bookChapters(*m_selected, m_box, theirs);
    bool same = ok && mine.size() == theirs.size();
    for (size_t i = 0; same && i < mine.size(); ++i)
        same = mine[i].id == theirs[i].id;
    if (!same)
        m_box.exclamation(QStringLiteral("The chapters of the selected project do not match those of the current "
                                         "project (number or order)! It is not possible to import language from "
                                         "selected project!"));
    return same;
}

QStringList LanguageImport::languageEntries() const
{
    QStringList out;
    if (!m_selected)
        return out;
    for (const QString& abbrev : m_selected->languageList())
        out << m_current.getLanguageName(abbrev) + QStringLiteral(" (") + abbrev + QLatin1Char(')');
    return out;
}

QString LanguageImport::abbreviationOf(const QString& entry)
{
    const int open = int(entry.lastIndexOf(QLatin1Char('(')));
    if (open < 0 || entry.size() - open < 2)
        return {};
    return entry.mid(open + 1, entry.size() - open - 2);
}

LanguageImport::Result LanguageImport::import(const QString& languageEntry, Progress& progress)
{
    if (languageEntry.isEmpty()) {
        m_box.exclamation(QStringLiteral("No language was selected!"));
        return Result::Stay;
    }
    const int count = m_ticks.countTicked(m_newTree);
    if (count == 0) {
        m_box.exclamation(QStringLiteral("Nothing to import was selected!"));
        return Result::Stay;
    }
    if (!mCommon::checkFreeSpace(m_current.GetProjectFile(), m_box))
        return Result::Stay;
    progress.start(count);
    const QString language = abbreviationOf(languageEntry);
    if (m_current.getLanguageName(language).isEmpty()) {
        m_box.exclamation(QStringLiteral("Selected language does not exist in current project!"));
        return Result::Stay;
    }
    progress.message(kImporting);
    if (!runImport(language, progress)) {
        if (!m_cancelled)
            return Result::Failed;
        // Stopped before any file was replaced: the dialog stays for another try.
        m_box.info(Progress::kCancelled);
        return Result::Stay;
    }
    m_box.info(QStringLiteral("Import was successfull!"));
    return Result::Done;
}

bool LanguageImport::runImport(const QString& language, Progress& progress)
{
    m_cancelled = false;
    auto reported = [this](const QString& detail) {
        m_box.stop(detail.isEmpty() ? QString::fromLatin1(kFailed)
                                    : QString::fromLatin1(kFailed) + QStringLiteral("\r\n\r\n") + detail);
        return false;
    };
    // Before the renames a stop asked for by the user is no failure.
    auto failed = [&](const QString& detail) {
        if (m_cancelled || progress.cancelRequested()) {
            m_cancelled = true;
            return false;
        }
        return reported(detail);
    };
    std::vector<cProject::ChapterEntry> mine, theirs;
    if (!m_selected || !bookChapters(m_current, m_box, mine) || !bookChapters(*m_selected, m_box, theirs) ||
        mine.size() != theirs.size())
        return failed(QString());
    const NodePtr newRoot = m_newTree.Root();
    const auto newChapters = newRoot ? newRoot->Children() : std::vector<NodePtr>{};

    // Every master chapter is rewritten into a file beside it; only when
    // all are complete are they renamed over their targets.
    struct Done {
        QString temp, target;
    };
    std::vector<Done> prepared;
    auto drop = [&prepared] {
        for (const Done& d : prepared)
            fileio::commitTemp(d.temp, QString());
    };
    struct Rename {
        QString oldTitle, newTitle, id, file;
    };
    std::vector<Rename> renames;
    const QString main = m_current.GetMainLangAbbrev();

    for (size_t i = 0; i < mine.size(); ++i) {
        if (progress.cancelRequested()) {
            drop();
            m_cancelled = true;
            return false;
        }
        cSAXLanguageImporter in;
        in.Language = language;
        in.Ticks = &m_ticks;
        in.NewTree = &m_newTree;
        in.ChapterNode = i < newChapters.size() ? newChapters[i] : nullptr;
        cSAXErrorHandler errors(m_box);
        sax::Reader reader(in);
        reader.setErrorHandler(&errors);
        reader.setExpandEntities(true);
        const QString copyFile = m_selected->GetProjectFolder() + paths::toDisk(theirs[i].file);
        reader.setAllowedFolders({m_selected->GetProjectFolder()});
        if (!reader.parseFile(copyFile)) {
            drop();
            return failed(QString());
        }
        for (const QString& id : in.topicOrder) {
            const auto& part = in.topics.value(id);
            if (part.title.isEmpty() || part.onelang.isEmpty()) {
                drop();
                return failed(QStringLiteral("Topic \"%1\" of the selected project has no title or no text in "
                                             "this language.")
                                  .arg(id));
            }
        }
        if (in.topics.isEmpty() && in.subchapterTitles.isEmpty() && !(in.chapterTicked && in.hasChapterTitle))
            continue;

        const QString masterFile = m_current.GetProjectFolder() + paths::toDisk(mine[i].file);
        ImportMergeFilter merge(in, language, progress);
        const QString temp = masterFile + QStringLiteral(".quillary-new");
        bool changed = false;
        QString error;
        if (!rewriteChapterToTemp(masterFile, merge, temp, &changed, &error)) {
            drop();
            return failed(QFileInfo(masterFile).fileName() + QStringLiteral(": ") + error);
        }
        if (changed)
            prepared.push_back({temp, masterFile});
        for (const QString& id : in.topicOrder) {
            if (!merge.m_mergedTopics.contains(id)) {
                drop();
                return failed(QStringLiteral("Topic \"%1\" is not in the chapter \"%2\" of the current project.")
                                  .arg(id, mine[i].title));
            }
        }
        if (language == main && merge.m_chapterRenamed && in.chapterTitle != mine[i].title)
            renames.push_back({mine[i].title, in.chapterTitle, mine[i].id, mine[i].file});
    }

    if (progress.cancelRequested()) {
        drop();
        m_cancelled = true;
        return false;
    }
    // From here on the import runs to its end; a failure is reported.
    for (size_t i = 0; i < prepared.size(); ++i) {
        QString error;
        if (!fileio::commitTemp(prepared[i].temp, prepared[i].target, &error)) {
            for (size_t j = i; j < prepared.size(); ++j)
                fileio::commitTemp(prepared[j].temp, QString());
            return reported(QFileInfo(prepared[i].target).fileName() + QStringLiteral(": ") + error);
        }
    }

    if (newRoot && m_ticks.isTicked(newRoot)) {
        cBookFile mineBook(m_box), theirBook(m_box);
        if (!mineBook.Load(m_current.getBookFile()) || !theirBook.Load(m_selected->getBookFile()))
            return reported(QString());
        cBook current, selected;
        mineBook.getProperties(current, language);
        theirBook.getProperties(selected, language);
        current.Title = selected.Title;
        if (!mineBook.setProperties(current, language))
            return reported(QString());
        progress.step();
    }

    // A chapter renamed in the main language is renamed in the project's
    // list of chapters too.
    for (const Rename& r : renames) {
        m_current.RemoveChapter(r.oldTitle);
        m_current.InsertChapter(r.newTitle, r.id, r.file);
    }
    return true;
}

} // namespace exchange
