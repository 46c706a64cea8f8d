// Verbs of the book: tree, topic show.
#include "cli.h"

#include "booktree.h"
#include "cproject.h"
#include "language.h"
#include "mcommon.h"
#include "treeview.h"

#include <QFileInfo>

bool loadForReading(CliContext& c, cProject& p, const QString& path)
{
    if (!QFileInfo(path).isFile()) {
        c.box.exclamation(QStringLiteral("File does not exist!"));
        return false;
    }
    if (!p.Load(path))
        return false;
    setCurrentLanguage(p.GetMainLangAbbrev());
    return true;
}

QString findTopicXml(CliContext& c, const cProject& p, const QString& id)
{
    for (const QString& file : p.chapterFileList()) {
        QString xml = extractElement(p, file, QStringLiteral("topic"), id, c.box);
        if (!xml.isEmpty())
            return xml;
    }
    return {};
}

namespace {

int cmdTree(CliContext& c)
{
    QStringList pos = c.positional({});
    if (pos.size() != 1) {
        err(QStringLiteral("Usage: quillary tree PROJECT.qly"));
        return 1;
    }
    cProject p(c.box);
    if (!loadForReading(c, p, pos.first()))
        return 1;
    BookTree tree;
    int boxes = c.box.shown();
    buildBookTree(p, tree, c.box);
    tree.forEach([](const NodePtr& n, int depth) {
        out(QString(depth * 2, QLatin1Char(' ')) + n->Tag + QLatin1Char('\t') + n->Key + QLatin1Char('\t') + n->Text);
    });
    return c.box.shown() > boxes ? 1 : 0;
}

int cmdTopicShow(CliContext& c)
{
    QStringList pos = c.positional({});
    if (pos.size() != 2) {
        err(QStringLiteral("Usage: quillary topic show PROJECT.qly TOPICID"));
        return 1;
    }
    cProject p(c.box);
    if (!loadForReading(c, p, pos[0]))
        return 1;
    QString xml = findTopicXml(c, p, pos[1]);
    if (xml.isEmpty()) {
        err(QStringLiteral("Topic \"%1\" was not found.").arg(pos[1]));
        return 1;
    }
    out(xml);
    return 0;
}

VerbRegistrar regTree("tree", "tree PROJECT.qly", cmdTree);
VerbRegistrar regTopicShow("topic show", "topic show PROJECT.qly TOPICID", cmdTopicShow);

} // namespace
