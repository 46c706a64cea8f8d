// Verbs of the topic surface: topic html, topic save.
#include "cli.h"

#include "cproject.h"
#include "fileio.h"
#include "session.h"
#include "surface.h"
#include "topicconvert.h"

#include <QFileInfo>

namespace {

int cmdTopicHtml(CliContext& c)
{
    QStringList pos = c.positional({});
    if (pos.size() != 2) {
        err(QStringLiteral("Usage: quillary topic html PROJECT.qly TOPICID"));
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
    FakeSurface surface;
    surface.setDocumentHTML(Session::pageShell(QStringLiteral("#FFFFFF"), QStringLiteral("#FFFFFF"),
                                               QStringLiteral("#FFFFFF")));
    surface.setBaseURL(p.GetProjectFolder());
    TopicToEditor(xml, surface, c.box);
    out(surface.bodyHTML());
    return 0;
}

int cmdTopicSave(CliContext& c)
{
    QStringList pos = c.positional({QStringLiteral("--html")});
    QString htmlFile = c.option(QStringLiteral("--html"));
    if (pos.size() != 2 || htmlFile.isEmpty()) {
        err(QStringLiteral("Usage: quillary topic save PROJECT.qly TOPICID --html FILE"));
        return 1;
    }
    QByteArray bytes;
    if (!fileio::readFile(htmlFile, bytes)) {
        err(QStringLiteral("Cannot read \"%1\".").arg(htmlFile));
        return 1;
    }
    FakeSurface surface;
    Session session(c.box, surface);
    session.startUp(QString());
    session.openProject(QFileInfo(pos[0]).absoluteFilePath());
    if (!session.isOpen())
        return 1;
    int result = 1;
    NodePtr node = session.tree().FindKey(pos[1]);
    if (!node || node->Tag != QLatin1String("topic")) {
        err(QStringLiteral("Topic \"%1\" was not found.").arg(pos[1]));
    } else {
        session.clickOnTopic(node);
        if (!session.enabled(CommandId::Save)) {
            err(QStringLiteral("The topic is read-only."));
        } else {
            surface.userEdit(fileio::decodeText(bytes));
            if (session.changeTopic(TopicAction::Save)) {
                out(QStringLiteral("Saved topic ") + pos[1]);
                result = 0;
            }
        }
    }
    session.closeProject();
    return result;
}

VerbRegistrar regTopicHtml("topic html", "topic html PROJECT.qly TOPICID", cmdTopicHtml);
VerbRegistrar regTopicSave("topic save", "topic save PROJECT.qly TOPICID --html FILE", cmdTopicSave);

} // namespace
