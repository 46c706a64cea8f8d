// Runs a long series of saves, inserts and moves on a project until killed.
// Usage: shell_crash_worker PROJECT.qly SEED STEPS
#include "sessionfixture.h"

#include "xmlsafety.h"

#include <QCoreApplication>

#include <cstdio>
#include <random>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    xmlsafe::init();
    if (argc < 4)
        return 2;
    const QString project = QString::fromLocal8Bit(argv[1]);
    std::mt19937 rng(unsigned(std::atoi(argv[2])));
    const int steps = std::atoi(argv[3]);

    ScriptedMsgBox box;
    box.setDefault(MsgAnswer::Yes); // the project mark left by the last kill
    FakeSurface surface;
    Session session(box, surface);
    int counter = 0;
    session.dialogs.topicTitle = [&](const QString&, const QString&, const QString&, QString& text) {
        text = QStringLiteral("New %1 %2").arg(argv[2]).arg(++counter);
        return true;
    };
    session.startUp(QString());
    session.openProject(project);
    if (!session.isOpen())
        return 3;

    auto nodes = [&](bool topics) {
        std::vector<NodePtr> out;
        session.tree().forEach([&](const NodePtr& n, int) {
            if ((n->Tag == QLatin1String("topic")) == topics && n->Tag != QLatin1String("book"))
                out.push_back(n);
        });
        return out;
    };
    for (int i = 0; i < steps; ++i) {
        auto topics = nodes(true);
        auto chapters = nodes(false);
        if (topics.empty() || chapters.empty())
            break;
        int what = int(rng() % 4);
        NodePtr t = topics[rng() % topics.size()];
        if (what == 0) {
            session.clickOnTopic(t);
            surface.userEdit(QStringLiteral("<h1>") + t->Text + QStringLiteral("</h1><p>Step %1 of a long run, ").arg(i) +
                             QString(200, QLatin1Char('x')) + QStringLiteral("</p>"));
            session.mnuSave();
        } else if (what == 1 && topics.size() < 200) {
            NodePtr c = chapters[rng() % chapters.size()];
            session.clickOnTopic(c);
            session.changeTopic(TopicAction::Insert);
        } else {
            NodePtr source = (what == 3) ? chapters[rng() % chapters.size()] : t;
            NodePtr target = rng() % 2 ? topics[rng() % topics.size()] : chapters[rng() % chapters.size()];
            if (session.canDrop(source, target)) {
                session.clickOnTopic(source);
                session.dropNode(source, target);
            }
        }
        std::printf("%d\n", i);
        std::fflush(stdout);
    }
    session.closeProject();
    return 0;
}
