#include "sessionfixture.h"

#include "cproject.h"
#include "fileio.h"
#include "language.h"
#include "treeview.h"
#include "xmlsafety.h"

#include <QFileInfo>

namespace testing_support {

QStringList dumpTree(const BookTree& tree)
{
    QStringList out;
    tree.forEach([&](const NodePtr& n, int depth) {
        out << QStringLiteral("%1 %2 %3 %4").arg(depth).arg(n->Tag, n->Key, n->Text);
    });
    return out;
}

QStringList treeFromFiles(const QString& projectFile)
{
    ScriptedMsgBox box;
    cProject p(box);
    if (!p.Load(projectFile))
        return {QStringLiteral("cannot load")};
    QString saved = currentLanguage();
    setCurrentLanguage(p.GetMainLangAbbrev());
    BookTree tree;
    buildBookTree(p, tree, box);
    setCurrentLanguage(saved);
    QStringList out = dumpTree(tree);
    for (const QString& t : box.texts())
        out << QStringLiteral("BOX: ") + t;
    return out;
}

bool parses(const QString& path)
{
    xmlsafe::XmlError err;
    xmlsafe::EntityScope scope(QFileInfo(path).absolutePath());
    return xmlsafe::readFile(path, XML_PARSE_NOENT, false, &err) != nullptr;
}

bool projectParses(const QString& projectFile, QString* why)
{
    ScriptedMsgBox box;
    cProject p(box);
    if (!p.Load(projectFile)) {
        if (why)
            *why = QStringLiteral("project: ") + box.last();
        return false;
    }
    for (const QString& f : p.chapterFileList()) {
        if (!parses(f)) {
            if (why)
                *why = QStringLiteral("chapter does not parse: ") + f;
            return false;
        }
    }
    if (!parses(p.getBookFile())) {
        if (why)
            *why = QStringLiteral("book does not parse");
        return false;
    }
    return true;
}

void SessionFixture::SetUp()
{
    session.dialogs.topicTitle = [this](const QString&, const QString&, const QString&, QString& text) {
        if (titles.empty())
            return false;
        text = titles.front();
        titles.pop_front();
        return !text.isEmpty();
    };
    session.startUp(QString());
}

void SessionFixture::TearDown()
{
    session.closeProject();
}

void SessionFixture::newProject(const QStringList& langs)
{
    projectFile = makeProject(dir.path(), QStringLiteral("manual"), langs, QStringLiteral("Manual"));
    session.openProject(projectFile);
    ASSERT_TRUE(session.isOpen());
    box.clear();
}

NodePtr SessionFixture::node(const QString& pathBelowBook) const
{
    NodePtr root = const_cast<Session&>(session).tree().Root();
    if (!root)
        return nullptr;
    if (pathBelowBook.isEmpty())
        return root;
    return const_cast<Session&>(session).tree().FindPath(root->Text + QLatin1Char('\\') + pathBelowBook);
}

void SessionFixture::click(const QString& pathBelowBook)
{
    NodePtr n = node(pathBelowBook);
    ASSERT_TRUE(n) << pathBelowBook.toStdString();
    session.clickOnTopic(n);
}

NodePtr SessionFixture::addChapter(const QString& title)
{
    session.clickOnTopic(session.tree().Root());
    titles.push_back(title);
    session.changeChapter(ChapterAction::Insert);
    return node(title);
}

NodePtr SessionFixture::addSubchapter(const QString& parentPath, const QString& title)
{
    session.clickOnTopic(node(parentPath));
    titles.push_back(title);
    session.changeChapter(ChapterAction::Insert);
    return node(parentPath + QLatin1Char('\\') + title);
}

NodePtr SessionFixture::addTopic(const QString& chapterPath, const QString& title)
{
    session.clickOnTopic(node(chapterPath));
    titles.push_back(title);
    session.changeTopic(TopicAction::Insert);
    return node(chapterPath + QLatin1Char('\\') + title);
}

void SessionFixture::typeAndSave(const QString& body)
{
    surface.userEdit(body);
    session.mnuSave();
}

void SessionFixture::expectTreeInStep()
{
    EXPECT_EQ(dumpTree(session.tree()), treeFromFiles(projectFile));
}

QString SessionFixture::chapterText(const QString& topLevelTitle) const
{
    return readText(const_cast<Session&>(session).project().getChapterFile(topLevelTitle));
}

} // namespace testing_support
