// A process killed at any point of its saves and moves leaves a project that
// opens and files that parse.
#include "sessionfixture.h"

#include <QCoreApplication>
#include <QProcess>
#include <QThread>

#include <random>

using namespace testing_support;

TEST_F(SessionFixture, KilledAtRandomPointsTheProjectStillOpens)
{
    newProject({"en", "de"});
    for (const char* c : {"One", "Two", "Three"}) {
        QString ch = QString::fromLatin1(c);
        addChapter(ch);
        addSubchapter(ch, ch + QStringLiteral(" sub"));
        addSubchapter(ch + QLatin1Char('\\') + ch + QStringLiteral(" sub"), ch + QStringLiteral(" deep"));
        for (int i = 0; i < 4; ++i) {
            addTopic(ch, QStringLiteral("%1 topic %2").arg(ch).arg(i));
            addTopic(ch + QLatin1Char('\\') + ch + QStringLiteral(" sub"), QStringLiteral("%1 inner %2").arg(ch).arg(i));
        }
    }
    session.closeProject();

    const QString worker = QCoreApplication::applicationDirPath() + QStringLiteral("/shell_crash_worker");
    std::mt19937 rng(20261121);
    // A thousand kills by default; QUILLARY_KILL_ROUNDS shortens a local run.
    const int rounds = qEnvironmentVariableIsSet("QUILLARY_KILL_ROUNDS")
        ? qEnvironmentVariableIntValue("QUILLARY_KILL_ROUNDS") : 1000;
    int killedMidway = 0;
    for (int round = 0; round < rounds; ++round) {
        QProcess p;
        p.start(worker, {projectFile, QString::number(round + 1), QStringLiteral("100000")});
        ASSERT_TRUE(p.waitForStarted());
        // Kill once the project is open and the steps run, at a random point in them.
        ASSERT_TRUE(p.waitForReadyRead(20000)) << p.readAllStandardError().toStdString();
        QThread::usleep(rng() % 60000);
        p.kill();
        p.waitForFinished();
        if (p.exitStatus() == QProcess::CrashExit)
            ++killedMidway;
        QString why;
        ASSERT_TRUE(projectParses(projectFile, &why)) << "round " << round << ": " << why.toStdString();
        QStringList tree = treeFromFiles(projectFile);
        for (const QString& line : tree)
            ASSERT_FALSE(line.startsWith(QStringLiteral("BOX:"))) << line.toStdString();
        ASSERT_GT(tree.size(), 3);
    }
    EXPECT_GE(killedMidway, rounds * 9 / 10);
    // And a session can open it and go on.
    box.setDefault(MsgAnswer::Yes);
    session.openProject(projectFile);
    EXPECT_TRUE(session.isOpen());
}
