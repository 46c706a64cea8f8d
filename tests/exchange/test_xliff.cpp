// Translation through XLIFF: unit ids, inline codes, tables with images,
// missing targets, refusals that write nothing, markup characters in a
// translation, and a pseudo-translation of the whole sample.
#include "booktree.h"
#include "cproject.h"
#include "cxmldoc.h"
#include "exportproject.h"
#include "language.h"
#include "msgbox.h"
#include "cancelprogress.h"
#include "progress.h"
#include "testsupport.h"
#include "treeview.h"
#include "xliff.h"
#include "xmlsafety.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>

#include <libxml/parser.h>
#include <libxml/xmlsave.h>

#include <functional>
#include <map>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {

const xmlChar* X(const char* s)
{
    return reinterpret_cast<const xmlChar*>(s);
}

bool named(xmlNode* n, const char* name)
{
    return n && n->type == XML_ELEMENT_NODE && xmlStrEqual(n->name, X(name));
}

// Each run of letters and digits reversed, everything else kept.
QString reverseWords(const QString& s)
{
    QString out, word;
    auto flush = [&] {
        std::reverse(word.begin(), word.end());
        out += word;
        word.clear();
    };
    for (QChar c : s) {
        if (c.isLetterOrNumber()) {
            word += c;
        } else {
            flush();
            out += c;
        }
    }
    flush();
    return out;
}

// Reverses every text node below n in place.
void reverseAll(xmlNode* n)
{
    for (xmlNode* c = n->children; c; c = c->next) {
        if (c->type == XML_TEXT_NODE) {
            const QByteArray t = reverseWords(xmlsafe::qs(c->content)).toUtf8();
            xmlNodeSetContent(c, X(t.constData()));
        } else if (c->type == XML_ELEMENT_NODE) {
            reverseAll(c);
        }
    }
}

std::vector<xmlNode*> units(xmlNode* n)
{
    std::vector<xmlNode*> out;
    if (!n)
        return out;
    std::function<void(xmlNode*)> walk = [&](xmlNode* p) {
        for (xmlNode* c = p->children; c; c = c->next) {
            if (named(c, "trans-unit"))
                out.push_back(c);
            else if (c->type == XML_ELEMENT_NODE)
                walk(c);
        }
    };
    walk(n);
    return out;
}

xmlsafe::DocPtr readXml(const QString& path)
{
    const QByteArray bytes = readBytes(path);
    return xmlsafe::DocPtr(xmlReadMemory(bytes.constData(), int(bytes.size()), nullptr, nullptr, XML_PARSE_NONET));
}

// Gives every unit of an XLIFF file a target: the source with each word
// reversed, or the content custom gives for its id (XML text, "" for the
// reversed source); units named in skip get none.
void fillTargets(const QString& path, const std::function<QString(const QString&)>& custom = {},
                 const QStringList& skip = {})
{
    xmlsafe::DocPtr doc = readXml(path);
    ASSERT_TRUE(doc);
    for (xmlNode* u : units(xmlDocGetRootElement(doc.get()))) {
        const QString id = xmlsafe::attr(u, "id");
        xmlNode* source = nullptr;
        for (xmlNode* c = u->children; c;) {
            xmlNode* next = c->next;
            if (named(c, "source"))
                source = c;
            if (named(c, "target")) {
                xmlUnlinkNode(c);
                xmlFreeNode(c);
            }
            c = next;
        }
        ASSERT_TRUE(source);
        if (skip.contains(id))
            continue;
        xmlNode* target = xmlNewDocNode(doc.get(), u->ns, X("target"), nullptr);
        xmlAddNextSibling(source, target);
        const QString text = custom ? custom(id) : QString();
        if (text.isEmpty()) {
            for (xmlNode* c = source->children; c; c = c->next)
                xmlAddChild(target, xmlDocCopyNode(c, doc.get(), 1));
            reverseAll(target);
        } else {
            const QByteArray data = text.toUtf8();
            xmlNode* list = nullptr;
            ASSERT_EQ(xmlParseInNodeContext(target, data.constData(), data.size(), 0, &list), XML_ERR_OK) << id.toStdString();
            while (list) {
                xmlNode* next = list->next;
                xmlUnlinkNode(list);
                xmlAddChild(target, list);
                list = next;
            }
        }
    }
    ASSERT_GE(xmlSaveFileEnc(path.toUtf8().constData(), doc.get(), "UTF-8"), 0);
}

QString unitSource(const QString& xlf, const QString& id)
{
    xmlsafe::DocPtr doc = readXml(xlf);
    for (xmlNode* u : units(xmlDocGetRootElement(doc.get())))
        if (xmlsafe::attr(u, "id") == id)
            for (xmlNode* c = u->children; c; c = c->next)
                if (named(c, "source") || named(c, "target")) {
                    if (!named(c, "source"))
                        continue;
                    QString s;
                    for (xmlNode* k = c->children; k; k = k->next) {
                        xmlBufferPtr buf = xmlBufferCreate();
                        xmlNodeDump(buf, doc.get(), k, 0, 0);
                        s += QString::fromUtf8(reinterpret_cast<const char*>(xmlBufferContent(buf)), xmlBufferLength(buf));
                        xmlBufferFree(buf);
                    }
                    return s.replace(QStringLiteral("&#xA0;"), QString(QChar(0xA0)));
                }
    return QStringLiteral("<none>");
}

QStringList unitIds(const QString& xlf)
{
    QStringList ids;
    xmlsafe::DocPtr doc = readXml(xlf);
    for (xmlNode* u : units(xmlDocGetRootElement(doc.get())))
        ids << xmlsafe::attr(u, "id");
    return ids;
}

class XliffTest : public ::testing::Test {
protected:
    TempDir dir;
    ScriptedMsgBox box;
    QString master;
    std::unique_ptr<cProject> project;

    // The sample, optionally changed in a chapter file first, then exported
    // for translation (locked and numbered).
    void open(const std::function<void(const QString& folder)>& change = {}, const QString& sub = QStringLiteral("master"))
    {
        master = copySample(dir.path(), sub);
        if (change)
            change(QFileInfo(master).absolutePath() + QStringLiteral("/sample/"));
        project = std::make_unique<cProject>(box);
        ASSERT_TRUE(project->Load(master));
        setCurrentLanguage(QStringLiteral("en"));
        BookTree tree;
        buildBookTree(*project, tree, box);
        box.setDefault(MsgAnswer::Yes);
        exchange::ProjectExport job(*project, box);
        Progress progress;
        ASSERT_TRUE(job.run(tree, progress));
        ASSERT_TRUE(project->Load(master));
        box.clear();
        box.setDefault(MsgAnswer::No);
    }

    QString exportTo(const QString& name, const QString& lang = QStringLiteral("de"),
                     exchange::XliffExportSummary* s = nullptr)
    {
        const QString file = dir.file(name);
        Progress progress;
        EXPECT_TRUE(exchange::exportXliff(*project, lang, file, box, progress, s)) << box.last().toStdString();
        return file;
    }

    bool importFrom(const QString& file, bool complete = false, exchange::XliffImportSummary* s = nullptr)
    {
        Progress progress;
        return exchange::importXliff(*project, file, complete, box, progress, s);
    }

    QString chapter(int i) const { return QFileInfo(master).absolutePath() + QStringLiteral("/sample/chapter%1.xml").arg(i); }

    // Every file of the project's folder, as bytes.
    std::map<QString, QByteArray> snapshot() const { return filesOf(QFileInfo(master).absolutePath()); }

    // An element of a topic in a chapter file: its onelang or title in a language.
    QString topicPart(int chapterNo, const QString& topicId, const char* element, const QString& lang) const
    {
        const QByteArray text = readText(chapter(chapterNo)).toUtf8();
        xmlsafe::DocPtr doc(xmlReadMemory(text.constData(), int(text.size()), nullptr, nullptr, XML_PARSE_NONET));
        std::function<QString(xmlNode*)> find = [&](xmlNode* n) -> QString {
            for (xmlNode* c = n->children; c; c = c->next) {
                if (named(c, "topic") && xmlsafe::attr(c, "id") == topicId) {
                    for (xmlNode* k = c->children; k; k = k->next)
                        if (named(k, element) && xmlsafe::attr(k, "lang") == lang)
                            return serializeElement(k);
                    return QStringLiteral("<missing>");
                }
                if (c->type == XML_ELEMENT_NODE) {
                    const QString r = find(c);
                    if (!r.isEmpty())
                        return r;
                }
            }
            return {};
        };
        return doc ? find(xmlDocGetRootElement(doc.get())) : QStringLiteral("<unreadable>");
    }
};

const char kInline[] =
    "<p>Press <link ref=\"topic1\"></link> now, <sign>bold <link ref=\"topic2\"></link> inside</sign> and an "
    "anchor<anchor id=\"anchor9\" name=\"mid\"></anchor> mid sentence\xC2\xA0here.</p>"
    "<table border=\"all\" colnumber=\"2\"><row><cell>Icon <image file=\"img\\en\\window.png\" format=\"png\" "
    "scale=\"100\">Caption one</image></cell><cell><image file=\"img\\en\\toolbar.png\" format=\"png\" "
    "scale=\"100\">Caption two</image></cell></row><col width=\"1*\"></col><col width=\"1*\"></col></table>";

// topic6 gets the inline and table cases in English; German stays as it is.
void withInlineTopic(const QString& folder)
{
    const QString file = folder + QStringLiteral("chapter3.xml");
    QString text = readText(file);
    const QString from = QStringLiteral("<onelang lang=\"en\"><p>Only in the printed manual.</p></onelang>");
    ASSERT_TRUE(text.contains(from));
    text.replace(from, QStringLiteral("<onelang lang=\"en\">") + QString::fromUtf8(kInline) + QStringLiteral("</onelang>"));
    writeUtf16(file, text);
}

} // namespace

TEST_F(XliffTest, UnitIdsAreStableAcrossExports)
{
    open();
    exchange::XliffExportSummary s;
    const QString a = exportTo(QStringLiteral("a.xlf"), QStringLiteral("de"), &s);
    const QString b = exportTo(QStringLiteral("b.xlf"));
    const QStringList ids = unitIds(a);
    EXPECT_EQ(ids, unitIds(b));
    EXPECT_EQ(readBytes(a), readBytes(b));
    EXPECT_EQ(ids.size(), s.units);
    EXPECT_EQ(s.withoutTransId, 0);
    EXPECT_EQ(s.topics, 6);
    for (const char* id : {"book.title", "chapter1.title", "sub1.title", "sub2.title", "topic1.title", "topic1.trans1.primary",
                           "topic1.trans2.primary", "topic1.trans2.secondary", "topic1.trans6.title", "topic1.trans6.p2",
                           "topic1.trans8.i1", "topic1.trans9.h2", "topic1.trans9.r2c1", "topic1.trans9.title",
                           "topic2.trans6.link1", "topic3.trans3.r1c1"})
        EXPECT_TRUE(ids.contains(QString::fromLatin1(id))) << id;
    EXPECT_EQ(QStringList(ids).removeDuplicates(), 0);
    // The German text of the sample is there, needing review.
    const QString text = QString::fromUtf8(readBytes(a));
    EXPECT_TRUE(text.contains(QStringLiteral("target-language=\"de\"")));
    EXPECT_TRUE(text.contains(QStringLiteral("<target state=\"needs-review-translation\">Die Tasten des Programms.<ph id=\"1\" ctype=\"x-anchor\">&lt;anchor#1/&gt;</ph></target>")));
    EXPECT_TRUE(text.contains(QStringLiteral("<target state=\"translated\">Dieses Thema ist fertig.</target>")));
    EXPECT_TRUE(text.contains(QStringLiteral("<note>Sample Manual &gt; Reference &gt; Details &gt; Links and Anchors</note>")));

    // A block written after the export has no transid and is left out.
    project.reset();
    const QString c2 = chapter(2);
    QString chapterText = readText(c2);
    chapterText.replace(QStringLiteral("This topic is finished and locked.</p>"),
                        QStringLiteral("This topic is finished and locked.</p><p>New.</p>"));
    writeUtf16(c2, chapterText);
    project = std::make_unique<cProject>(box);
    ASSERT_TRUE(project->Load(master));
    exchange::XliffExportSummary s2;
    const QString c = exportTo(QStringLiteral("c.xlf"), QStringLiteral("de"), &s2);
    EXPECT_EQ(s2.withoutTransId, 1);
    EXPECT_EQ(unitIds(c), unitIds(a));
}

TEST_F(XliffTest, InlineCodesComeBackWhereTheTranslatorPutThem)
{
    open(withInlineTopic);
    const QString xlf = exportTo(QStringLiteral("in.xlf"));
    const QStringList ids = unitIds(xlf);
    ASSERT_TRUE(ids.contains(QStringLiteral("topic6.trans1")));
    EXPECT_EQ(unitSource(xlf, QStringLiteral("topic6.trans1")),
              QStringLiteral("Press <ph id=\"1\" ctype=\"x-link\">&lt;link#1/&gt;</ph> now, <bpt id=\"2\" ctype=\"bold\">"
                             "&lt;sign#2&gt;</bpt>bold <ph id=\"3\" ctype=\"x-link\">&lt;link#3/&gt;</ph> inside<ept "
                             "id=\"2\">&lt;/sign#2&gt;</ept> and an anchor<ph id=\"4\" ctype=\"x-anchor\">&lt;anchor#4/&gt;"
                             "</ph> mid sentence<ph id=\"n1\" ctype=\"x-nbsp\">\u00A0</ph>here."));
    // The table's cells, then its images as units of their own.
    EXPECT_EQ(unitSource(xlf, QStringLiteral("topic6.trans2.r1c1")), QStringLiteral("Icon <ph id=\"1\" ctype=\"image\">&lt;image#1/&gt;</ph>"));
    EXPECT_FALSE(ids.contains(QStringLiteral("topic6.trans2.r1c2"))); // an image alone: nothing to translate
    EXPECT_EQ(unitSource(xlf, QStringLiteral("topic6.trans3")), QStringLiteral("Caption one"));
    EXPECT_EQ(unitSource(xlf, QStringLiteral("topic6.trans4")), QStringLiteral("Caption two"));

    fillTargets(xlf, [](const QString& id) {
        if (id == QLatin1String("topic6.trans1"))
            return QStringLiteral("Jetzt <g id=\"2\" ctype=\"bold\">fett <x id=\"3\"/> innen</g> drücken <x id=\"1\"/>, "
                                  "Anker<x id=\"4\"/> mitten &amp; &lt;b&gt;<ph id=\"n1\" ctype=\"x-nbsp\">\u00A0</ph>hier.");
        if (id == QLatin1String("topic6.title"))
            return QStringLiteral("Druck &amp; &lt;Hinweise&gt;");
        if (id == QLatin1String("topic6.trans2.r1c1"))
            return QStringLiteral("<x id=\"1\"/> Symbol");
        if (id == QLatin1String("topic6.trans3"))
            return QStringLiteral("Bild <b>eins</b>").replace(QStringLiteral("<b>"), QStringLiteral("&lt;b&gt;")).replace(QStringLiteral("</b>"), QStringLiteral("&lt;/b&gt;"));
        return QString();
    });
    exchange::XliffImportSummary s;
    ASSERT_TRUE(importFrom(xlf, false, &s)) << box.last().toStdString();
    EXPECT_TRUE(s.incomplete.isEmpty()) << s.incomplete.join(QLatin1Char(',')).toStdString();
    EXPECT_EQ(s.topics, 6);
    EXPECT_EQ(topicPart(3, QStringLiteral("topic6"), "onelang", QStringLiteral("de")),
              QStringLiteral("<onelang lang=\"de\"><p>Jetzt <sign>fett <link ref=\"topic2\"></link> innen</sign> drücken "
                             "<link ref=\"topic1\"></link>, Anker<anchor id=\"anchor9\" name=\"mid\"></anchor> mitten "
                             "&amp; &lt;b&gt;\u00A0hier.</p><table border=\"all\" colnumber=\"2\"><row><cell><image "
                             "file=\"img\\de\\window.png\" format=\"png\" scale=\"100\">Bild &lt;b&gt;eins&lt;/b&gt;</image> "
                             "Symbol</cell><cell><image file=\"img\\de\\toolbar.png\" format=\"png\" scale=\"100\">noitpaC "
                             "owt</image></cell></row><col width=\"1*\"></col><col width=\"1*\"></col></table></onelang>"));
    const QString title = topicPart(3, QStringLiteral("topic6"), "title", QStringLiteral("de"));
    EXPECT_TRUE(title.contains(QStringLiteral(">Druck &amp; &lt;Hinweise&gt;</title>"))) << title.toStdString();
    EXPECT_TRUE(title.contains(QStringLiteral("state=\"uncomplete\""))) << title.toStdString();
    // The English text is as it was, with its numbers.
    EXPECT_TRUE(topicPart(3, QStringLiteral("topic6"), "onelang", QStringLiteral("en")).contains(QStringLiteral("transid=\"trans1\"")));
}

TEST_F(XliffTest, PseudoTranslationOfTheSampleRoundTrips)
{
    open();
    const QString xlf = exportTo(QStringLiteral("sample_de.xlf"));
    fillTargets(xlf);
    exchange::XliffImportSummary s;
    ASSERT_TRUE(importFrom(xlf, true, &s)) << box.last().toStdString();
    EXPECT_EQ(s.topics, 6);
    EXPECT_EQ(s.titles, 6); // book, three chapters, two subchapters
    EXPECT_TRUE(s.incomplete.isEmpty());

    // Each German body is the English one with every word reversed, the
    // codes in place, no transid, the German pictures.
    const struct {
        int chapterNo;
        const char* topic;
    } topics[] = {{1, "topic1"}, {1, "topic2"}, {2, "topic3"}, {2, "topic4"}, {2, "topic5"}, {3, "topic6"}};
    for (const auto& t : topics) {
        const QString id = QString::fromLatin1(t.topic);
        const QByteArray english = topicPart(t.chapterNo, id, "onelang", QStringLiteral("en")).toUtf8();
        xmlsafe::DocPtr doc(xmlReadMemory(english.constData(), int(english.size()), nullptr, nullptr, XML_PARSE_NONET));
        ASSERT_TRUE(doc) << t.topic;
        xmlNode* root = xmlDocGetRootElement(doc.get());
        reverseAll(root);
        std::function<void(xmlNode*)> fix = [&](xmlNode* n) {
            for (xmlNode* c = n->children; c; c = c->next) {
                if (c->type != XML_ELEMENT_NODE)
                    continue;
                xmlUnsetProp(c, X("transid"));
                if (xmlsafe::hasAttr(c, "weblabel"))
                    xmlSetProp(c, X("weblabel"), X(reverseWords(xmlsafe::attr(c, "weblabel")).toUtf8().constData()));
                if (named(c, "image"))
                    xmlSetProp(c, X("file"), X(xmlsafe::attr(c, "file").replace(QStringLiteral("\\en\\"), QStringLiteral("\\de\\")).toUtf8().constData()));
                fix(c);
            }
        };
        fix(root);
        xmlSetProp(root, X("lang"), X("de"));
        EXPECT_EQ(topicPart(t.chapterNo, id, "onelang", QStringLiteral("de")), serializeElement(root)) << t.topic;
        const QString title = topicPart(t.chapterNo, id, "title", QStringLiteral("de"));
        EXPECT_TRUE(title.contains(QStringLiteral("state=\"complete\""))) << title.toStdString();
        EXPECT_FALSE(title.contains(QStringLiteral("11/20/26 09:30"))) << title.toStdString();
    }
    EXPECT_TRUE(readText(chapter(2)).contains(QStringLiteral("<title lang=\"de\">sliateD</title>")));
    EXPECT_TRUE(readText(chapter(2)).contains(QStringLiteral("<title lang=\"de\">ecnerefeR</title>")));
    EXPECT_TRUE(readText(QFileInfo(master).absolutePath() + QStringLiteral("/sample/book.xml"))
                    .contains(QStringLiteral("<title lang=\"de\">elpmaS launaM</title>")));
    // English untouched.
    EXPECT_TRUE(readText(chapter(1)).contains(QStringLiteral("<title lang=\"en\" state=\"uncomplete\" stamp=\"11/20/26 09:30\">Welcome</title>")));
    // A second export gives the same ids and now the reversed text as targets.
    const QString again = exportTo(QStringLiteral("again.xlf"));
    EXPECT_EQ(unitIds(again), unitIds(xlf));
    EXPECT_TRUE(QString::fromUtf8(readBytes(again)).contains(QStringLiteral("<target state=\"translated\">emocleW ot eht <bpt id=\"1\" ctype=\"bold\">&lt;sign#1&gt;</bpt>elpmaS "
                                                         "launaM<ept id=\"1\">&lt;/sign#1&gt;</ept>.")));
}

TEST_F(XliffTest, TopicWithMissingTargetsKeepsItsText)
{
    open();
    const QString xlf = exportTo(QStringLiteral("part.xlf"));
    const QString before = topicPart(1, QStringLiteral("topic2"), "onelang", QStringLiteral("de"));
    const QString titleBefore = topicPart(1, QStringLiteral("topic2"), "title", QStringLiteral("de"));
    fillTargets(xlf, {}, {QStringLiteral("topic2.trans3.i2")});
    exchange::XliffImportSummary s;
    ASSERT_TRUE(importFrom(xlf, false, &s)) << box.last().toStdString();
    EXPECT_EQ(s.incomplete, QStringList{QStringLiteral("topic2: Starting the Program")});
    EXPECT_EQ(s.topics, 5);
    EXPECT_EQ(topicPart(1, QStringLiteral("topic2"), "onelang", QStringLiteral("de")), before);
    EXPECT_EQ(topicPart(1, QStringLiteral("topic2"), "title", QStringLiteral("de")), titleBefore);
    EXPECT_TRUE(topicPart(1, QStringLiteral("topic1"), "title", QStringLiteral("de")).contains(QStringLiteral(">emocleW<")));
}

// The chapters are rewritten while the file is still being read: a unit that
// a tool moved into another chapter's part of the file is waited for and
// found, and the result is the same as with every unit in its place.
TEST_F(XliffTest, AUnitInAnotherChaptersPartIsFound)
{
    open();
    const QString xlf = exportTo(QStringLiteral("moved.xlf"));
    fillTargets(xlf);
    xmlsafe::DocPtr doc = readXml(xlf);
    ASSERT_TRUE(doc);
    std::vector<xmlNode*> files;
    for (xmlNode* c = xmlDocGetRootElement(doc.get())->children; c; c = c->next)
        if (named(c, "file"))
            files.push_back(c);
    ASSERT_GE(files.size(), 4u); // the book and three chapters
    // topic1's title goes from the first chapter's part to the end of the last one's.
    xmlNode* moved = nullptr;
    for (xmlNode* u : units(files[1]))
        if (xmlsafe::attr(u, "id") == QLatin1String("topic1.title"))
            moved = u;
    ASSERT_TRUE(moved);
    xmlUnlinkNode(moved);
    xmlNode* lastBody = nullptr;
    for (xmlNode* c = files.back()->children; c; c = c->next)
        if (named(c, "body"))
            lastBody = c;
    ASSERT_TRUE(lastBody);
    xmlAddChild(lastBody, moved);
    ASSERT_GE(xmlSaveFileEnc(xlf.toUtf8().constData(), doc.get(), "UTF-8"), 0);

    exchange::setXliffReadPause(300);
    exchange::XliffImportSummary s;
    const bool imported = importFrom(xlf, false, &s);
    exchange::setXliffReadPause(0);
    ASSERT_TRUE(imported) << box.last().toStdString();
    EXPECT_TRUE(s.incomplete.isEmpty()) << s.incomplete.join(", ").toStdString();
    EXPECT_TRUE(topicPart(1, QStringLiteral("topic1"), "title", QStringLiteral("de")).contains(QStringLiteral(">emocleW<")));
}

// Tools that turn codes into text (the PO route) bring them back as text:
// the code texts of the unit's source are codes again, anything else is text.
TEST_F(XliffTest, CodesThatComeBackAsTextAreCodesAgain)
{
    open(withInlineTopic);
    const QString xlf = exportTo(QStringLiteral("text.xlf"));
    fillTargets(xlf, [](const QString& id) {
        if (id == QLatin1String("topic6.trans1"))
            return QStringLiteral("Jetzt &lt;sign#2&gt;fett &lt;link#3/&gt; innen&lt;/sign#2&gt; drücken &lt;link#1/&gt;, "
                                  "Anker&lt;anchor#4/&gt; mitten &amp; &lt;b&gt; &lt;sign#9&gt; &lt;link#2/&gt;\u00A0hier.");
        return QString();
    });
    ASSERT_TRUE(importFrom(xlf, false)) << box.last().toStdString();
    EXPECT_TRUE(topicPart(3, QStringLiteral("topic6"), "onelang", QStringLiteral("de"))
                    .startsWith(QStringLiteral("<onelang lang=\"de\"><p>Jetzt <sign>fett <link ref=\"topic2\"></link> innen"
                                               "</sign> drücken <link ref=\"topic1\"></link>, Anker<anchor id=\"anchor9\" "
                                               "name=\"mid\"></anchor> mitten &amp; &lt;b&gt; &lt;sign#9&gt; &lt;link#2/&gt;"
                                               "\u00A0hier.</p>")))
        << topicPart(3, QStringLiteral("topic6"), "onelang", QStringLiteral("de")).toStdString();

    // A code closed out of turn is refused whole.
    fillTargets(xlf, [](const QString& id) {
        if (id == QLatin1String("topic6.trans1"))
            return QStringLiteral("&lt;/sign#2&gt;x &lt;link#1/&gt;&lt;link#3/&gt;&lt;anchor#4/&gt;");
        return QString();
    });
    const auto before = snapshot();
    box.clear();
    EXPECT_FALSE(importFrom(xlf, false));
    EXPECT_TRUE(box.last().contains(QStringLiteral("closes the code 2 where it is not open"))) << box.last().toStdString();
    EXPECT_TRUE(snapshot() == before);
}

TEST_F(XliffTest, ForeignOrDamagedFilesAreRefusedAndNothingIsWritten)
{
    open();
    const QString good = exportTo(QStringLiteral("good.xlf"));
    fillTargets(good);
    const QByteArray goodBytes = readBytes(good);
    const auto before = snapshot();

    auto refused = [&](const QByteArray& bytes, const QString& expected) {
        const QString file = dir.file(QStringLiteral("bad.xlf"));
        writeBytes(file, bytes);
        box.clear();
        EXPECT_FALSE(importFrom(file));
        EXPECT_TRUE(box.last().contains(expected)) << box.last().toStdString();
        EXPECT_TRUE(box.last().contains(QStringLiteral("nothing was imported"))) << box.last().toStdString();
        EXPECT_TRUE(snapshot() == before) << expected.toStdString();
    };
    QByteArray b = goodBytes;
    refused(b.replace("target-language=\"de\"", "target-language=\"fr\""), QStringLiteral("\"fr\""));
    b = goodBytes;
    refused(b.replace("target-language=\"de\"", "target-language=\"en\""), QStringLiteral("\"en\""));
    b = goodBytes;
    refused(b.replace("id=\"topic4.title\"", "id=\"topic99.title\""), QStringLiteral("Unit \"topic99.title\""));
    b = goodBytes;
    refused(b.replace("id=\"1\" ctype=\"x-link\">&lt;knil#1/&gt;</ph>.</target>", "id=\"9\"/>.</target>"),
            QStringLiteral("Unit \"topic2.trans6\""));
    b = goodBytes;
    refused(b.left(b.size() / 2), QStringLiteral("cannot be read"));
    b = goodBytes;
    refused(b.replace("id=\"topic5.title\"", "id=\"topic4.title\""), QStringLiteral("\"topic4.title\" appears twice"));
    b = goodBytes;
    // The book's part and a chapter's: a unit repeated in another part counts too.
    refused(b.replace("id=\"topic5.title\"", "id=\"book.title\""), QStringLiteral("\"book.title\" appears twice"));
    b = goodBytes;
    refused(b.replace("elpmaS launaM</target>", "<bogus/>elpmaS launaM</target>"), QStringLiteral("Unit \"book.title\""));

    // Another export of the sample has a lock of its own.
    std::unique_ptr<cProject> mine = std::move(project);
    const QString mineMaster = master;
    open({}, QStringLiteral("other"));
    const QString other = exportTo(QStringLiteral("other.xlf"));
    fillTargets(other);
    project = std::move(mine);
    master = mineMaster;
    refused(readBytes(other), QStringLiteral("not exported from this project"));

    // The good file still goes in.
    writeBytes(dir.file(QStringLiteral("bad.xlf")), goodBytes);
    EXPECT_TRUE(importFrom(dir.file(QStringLiteral("bad.xlf")))) << box.last().toStdString();
    EXPECT_FALSE(snapshot() == before);
}

TEST_F(XliffTest, ImportNeedsTheLock)
{
    open();
    const QString xlf = exportTo(QStringLiteral("x.xlf"));
    fillTargets(xlf);
    project->RemoveLock();
    const auto chapterBytes = readBytes(chapter(1));
    EXPECT_FALSE(importFrom(xlf));
    EXPECT_TRUE(box.last().contains(QStringLiteral("not locked")));
    EXPECT_EQ(readBytes(chapter(1)), chapterBytes);
}

// Debian's translate-toolkit: pocount counts our units; the PO route
// (xliff2po, a scripted translation, pomerge into our file) and its own
// XLIFF reader and writer both carry the codes back in.
TEST_F(XliffTest, TranslateToolkit)
{
    const QString pocount = QStandardPaths::findExecutable(QStringLiteral("pocount"));
    const QString xliff2po = QStandardPaths::findExecutable(QStringLiteral("xliff2po"));
    const QString python = QStringLiteral("/usr/bin/python3");
    if (pocount.isEmpty() || xliff2po.isEmpty() || !QFileInfo(python).isExecutable())
        GTEST_SKIP() << "translate-toolkit is not installed";
    open();
    const QString xlf = exportTo(QStringLiteral("tt.xlf"));
    const int count = int(unitIds(xlf).size());

    QProcess p;
    p.start(pocount, {xlf});
    ASSERT_TRUE(p.waitForFinished(120000));
    const QString report = QString::fromUtf8(p.readAllStandardOutput());
    const QRegularExpressionMatch total = QRegularExpression(QStringLiteral("Total:\\s+(\\d+)")).match(report);
    ASSERT_TRUE(total.hasMatch()) << report.toStdString();
    EXPECT_EQ(total.captured(1).toInt(), count) << report.toStdString();

    // A translator working through the toolkit's own XLIFF storage.
    const QString script = dir.file(QStringLiteral("pseudo_translator.py"));
    writeBytes(script, "import copy, re, sys\n"
                       "from translate.storage import factory\n"
                       "store = factory.getobject(sys.argv[1])\n"
                       "def rev(e):\n"
                       "    for i, s in enumerate(e.sub):\n"
                       "        if isinstance(s, str):\n"
                       "            e.sub[i] = re.sub(r'[^\\W_]+', lambda m: m.group(0)[::-1], s)\n"
                       "        else:\n"
                       "            rev(s)\n"
                       "for u in store.units:\n"
                       "    if u.isheader():\n"
                       "        continue\n"
                       "    r = copy.deepcopy(u.rich_source)\n"
                       "    for x in r:\n"
                       "        rev(x)\n"
                       "    u.rich_target = r\n"
                       "store.savefile(sys.argv[2])\n");
    const QString translated = dir.file(QStringLiteral("tt_de.xlf"));
    p.start(python, {script, xlf, translated});
    ASSERT_TRUE(p.waitForFinished(120000));
    ASSERT_EQ(p.exitCode(), 0) << p.readAllStandardError().toStdString();

    // The PO route: the codes travel as their texts, a script translates the
    // PO file around them, pomerge fills our file as template, and the
    // import puts the codes back.
    const QString pomerge = QStandardPaths::findExecutable(QStringLiteral("pomerge"));
    ASSERT_FALSE(pomerge.isEmpty());
    const QString po = dir.file(QStringLiteral("tt.po"));
    p.start(xliff2po, {xlf, po});
    ASSERT_TRUE(p.waitForFinished(120000));
    ASSERT_EQ(p.exitCode(), 0) << p.readAllStandardError().toStdString();
    const QString poScript = dir.file(QStringLiteral("po_translator.py"));
    writeBytes(poScript, "import re, sys\n"
                         "from translate.storage import factory\n"
                         "store = factory.getobject(sys.argv[1])\n"
                         "def rev(text):\n"
                         "    parts = re.split(r'(<[^>]*>)', text)\n"
                         "    return ''.join(p if p.startswith('<') else re.sub(r'[^\\W_]+', lambda m: m.group(0)[::-1], p)"
                         " for p in parts)\n"
                         "for u in store.units:\n"
                         "    if u.isheader():\n"
                         "        continue\n"
                         "    u.target = rev(u.source)\n"
                         "    u.markfuzzy(False)\n"
                         "store.savefile(sys.argv[2])\n");
    const QString poDone = dir.file(QStringLiteral("tt_de.po"));
    p.start(python, {poScript, po, poDone});
    ASSERT_TRUE(p.waitForFinished(120000));
    ASSERT_EQ(p.exitCode(), 0) << p.readAllStandardError().toStdString();
    const QString back = dir.file(QStringLiteral("tt_back.xlf"));
    p.start(pomerge, {QStringLiteral("-t"), xlf, QStringLiteral("-i"), poDone, QStringLiteral("-o"), back});
    ASSERT_TRUE(p.waitForFinished(120000));
    ASSERT_EQ(p.exitCode(), 0) << p.readAllStandardError().toStdString();
    exchange::XliffImportSummary s;
    ASSERT_TRUE(importFrom(back, false, &s)) << box.last().toStdString();
    EXPECT_EQ(s.topics, 6) << s.incomplete.join(QLatin1Char(',')).toStdString();
    const QString viaPo = topicPart(1, QStringLiteral("topic1"), "onelang", QStringLiteral("de"));
    EXPECT_TRUE(viaPo.contains(QStringLiteral("<p>emocleW ot eht <sign>elpmaS launaM</sign>."))) << viaPo.toStdString();
    EXPECT_TRUE(viaPo.contains(QStringLiteral("<link ref=\"topic3\"></link> ot eht cipot"))) << viaPo.toStdString();
    EXPECT_TRUE(topicPart(2, QStringLiteral("topic3"), "onelang", QStringLiteral("de"))
                    .contains(QStringLiteral("<anchor id=\"anchor1\" name=\"keys\"></anchor></p>")));

    // Then the toolkit's own XLIFF storage, which keeps the code elements.
    box.clear();
    s = {};
    ASSERT_TRUE(importFrom(translated, false, &s)) << box.last().toStdString();
    EXPECT_EQ(s.topics, 6) << s.incomplete.join(QLatin1Char(',')).toStdString();
    const QString p1 = topicPart(1, QStringLiteral("topic1"), "onelang", QStringLiteral("de"));
    EXPECT_TRUE(p1.contains(QStringLiteral("<p>emocleW ot eht <sign>elpmaS launaM</sign>."))) << p1.toStdString();
    EXPECT_TRUE(p1.contains(QStringLiteral("<link ref=\"topic3\"></link> ot eht cipot")))<< p1.toStdString();
    EXPECT_TRUE(topicPart(2, QStringLiteral("topic3"), "onelang", QStringLiteral("de"))
                    .contains(QStringLiteral("<anchor id=\"anchor1\" name=\"keys\"></anchor></p>")));
}

// The file is written in pieces into a temporary file: a folder that cannot
// take it leaves nothing behind, and a file that was there stays whole.
TEST_F(XliffTest, AnExportThatCannotBeWrittenLeavesNothing)
{
    open();
    Progress progress;
    const QString missing = dir.file(QStringLiteral("no/such/folder/de.xlf"));
    box.clear();
    EXPECT_FALSE(exchange::exportXliff(*project, QStringLiteral("de"), missing, box, progress));
    EXPECT_TRUE(box.last().startsWith(QStringLiteral("The file \"") + missing + QStringLiteral("\" cannot be written: ")))
        << box.last().toStdString();

    const QString file = exportTo(QStringLiteral("kept.xlf"));
    const QByteArray before = readBytes(file);
    const QString folder = QFileInfo(file).absolutePath();
    const QStringList entries = QDir(folder).entryList(QDir::Files | QDir::Hidden);
    // The disk refuses every byte: the export fails midway.
    {
        testing_support::NoFileWrites full;
        box.clear();
        EXPECT_FALSE(exchange::exportXliff(*project, QStringLiteral("de"), file, box, progress));
    }
    EXPECT_TRUE(box.last().contains(QStringLiteral("cannot be written"))) << box.last().toStdString();
    EXPECT_EQ(readBytes(file), before);
    EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden), entries);
}

// Cancel, asked while the job runs: an export leaves no file, an import
// changes nothing; both say so.
TEST_F(XliffTest, ACancelledRunLeavesEverythingAsItWas)
{
    open();
    const QString out = dir.file(QStringLiteral("cancelled.xlf"));
    {
        CancelAtStep progress;
        box.clear();
        EXPECT_FALSE(exchange::exportXliff(*project, QStringLiteral("de"), out, box, progress));
        EXPECT_EQ(box.last(), Progress::kCancelled);
        EXPECT_FALSE(QFileInfo::exists(out));
        QStringList left = QDir(dir.path()).entryList({QStringLiteral("cancelled*")}, QDir::Files | QDir::Hidden);
        EXPECT_TRUE(left.isEmpty()) << left.join(QLatin1Char(' ')).toStdString();
    }
    const QString good = exportTo(QStringLiteral("good.xlf"));
    fillTargets(good);
    const auto before = snapshot();
    {
        CancelAtStep progress;
        box.clear();
        EXPECT_FALSE(exchange::importXliff(*project, good, true, box, progress));
        EXPECT_EQ(box.last(), Progress::kCancelled);
        EXPECT_TRUE(snapshot() == before);
    }
    EXPECT_TRUE(importFrom(good)) << box.last().toStdString();
    EXPECT_FALSE(snapshot() == before);
}
