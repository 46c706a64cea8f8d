// A process killed at any point while it adds a language, or while it
// imports one into a locked master, leaves a project that opens with every
// file whole.
#include "sessionfixture.h"

#include "cproject.h"
#include "exportproject.h"
#include "generator.h"
#include "language.h"
#include "progress.h"
#include "treeview.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QThread>

#include <random>

using namespace testing_support;

namespace {

// Big enough that one operation takes a few hundred milliseconds, so that a
// kill lands inside one; small enough that the checks stay quick.
GeneratorOptions bookSize()
{
    GeneratorOptions o;
    o.chapters = 5;
    o.topicsPerChapter = 300;
    o.languages = 2;
    return o;
}

const int kRounds = 12;

QString workerPath()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/exchange_crash_worker");
}

struct Kill {
    bool midway = false; // killed, not ended by itself
    int steps = 0;       // operations it finished before
    QString failure;
};

// Starts the worker, waits until its project is open, lets it work for
// workMs and kills it.
Kill runAndKill(const QStringList& args, int workMs)
{
    Kill k;
    QProcess p;
    p.start(workerPath(), args);
    if (!p.waitForStarted()) {
        k.failure = QStringLiteral("the worker did not start");
        return k;
    }
    QByteArray out;
    QElapsedTimer waited;
    waited.start();
    while (!out.startsWith("ready\n") && p.state() == QProcess::Running && waited.elapsed() < 20000) {
        p.waitForReadyRead(50);
        out += p.readAllStandardOutput();
    }
    if (out.startsWith("ready\n")) {
        QThread::msleep(unsigned(workMs));
        if (p.state() == QProcess::Running)
            p.kill();
    } else {
        p.kill();
    }
    p.waitForFinished();
    out += p.readAllStandardOutput();
    k.midway = p.exitStatus() == QProcess::CrashExit && out.startsWith("ready\n");
    k.steps = int(out.count('\n')) - 1;
    if (!k.midway)
        k.failure = QStringLiteral("the worker ended by itself (%1): %2")
                        .arg(p.exitCode())
                        .arg(QString::fromLocal8Bit(p.readAllStandardError()));
    return k;
}

// Temporary files a kill left behind, removed so that the next round
// counts its own.
QStringList takeLeftovers(const QString& projectFolder)
{
    QStringList out;
    QDirIterator it(projectFolder,
                    {QStringLiteral("*.quillary-new"), QStringLiteral("*.tmp"), QStringLiteral("quillary.xml")},
                    QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        out << QFileInfo(path).fileName();
        QFile::remove(path);
    }
    return out;
}

// Languages of the project file that the book file has no title for.
QStringList languagesWithoutBookTitle(const QString& qly)
{
    ScriptedMsgBox box;
    cProject p(box);
    if (!p.Load(qly))
        return {QStringLiteral("cannot load")};
    const QString book = readText(p.getBookFile());
    QStringList out;
    for (const QString& a : p.languageList())
        if (!book.contains(QStringLiteral("lang=\"") + a + QLatin1Char('"')))
            out << a;
    return out;
}

int languageCount(const QString& qly)
{
    ScriptedMsgBox box;
    cProject p(box);
    return p.Load(qly) ? int(p.languageList().size()) : -1;
}

class ExchangeCrash : public ::testing::Test {
protected:
    TempDir dir;
    std::mt19937 rng{20261122};

    // The project, the book and every chapter parse, the tree built from
    // the files is the one of before and shows no box, and a session opens
    // the project (answering the question about the mark the kill left).
    void expectWhole(const QString& qly, const QStringList& treeBefore, const QString& what)
    {
        QString why;
        ASSERT_TRUE(projectParses(qly, &why)) << what.toStdString() << ": " << why.toStdString();
        const QStringList tree = treeFromFiles(qly);
        for (const QString& line : tree)
            ASSERT_FALSE(line.startsWith(QStringLiteral("BOX:"))) << what.toStdString() << ": " << line.toStdString();
        ASSERT_EQ(tree, treeBefore) << what.toStdString();

        ScriptedMsgBox box;
        box.setDefault(MsgAnswer::Yes);
        FakeSurface surface;
        Session session(box, surface);
        session.startUp(QString());
        session.openProject(qly);
        ASSERT_TRUE(session.isOpen()) << what.toStdString() << ": " << box.texts().join(QStringLiteral(" | ")).toStdString();
        session.closeProject();
    }

    // A work time that lands inside an operation most of the time.
    int workMs() { return 30 + int(rng() % 900); }
};

} // namespace

TEST_F(ExchangeCrash, KilledWhileAddingLanguagesTheProjectStillOpens)
{
    const QString pristine = dir.path() + QStringLiteral("/pristine");
    const QString work = dir.path() + QStringLiteral("/work");
    generateProject(pristine, QStringLiteral("book"), bookSize());
    copyTree(pristine, work);
    const QString qly = work + QStringLiteral("/book.qly");
    const QStringList treeBefore = treeFromFiles(qly);
    ASSERT_GT(treeBefore.size(), 500);

    int midway = 0, steps = 0, withLeftovers = 0, next = 1;
    QString example;
    QStringList notes;
    for (int round = 0; round < kRounds; ++round) {
        // The project file holds a bounded list of languages.
        if (languageCount(qly) > 10) {
            QDir(work).removeRecursively();
            copyTree(pristine, work);
        }
        const Kill k = runAndKill({QStringLiteral("add"), qly, QString::number(next)}, workMs());
        ASSERT_TRUE(k.failure.isEmpty() || k.midway) << "round " << round << ": " << k.failure.toStdString();
        midway += k.midway ? 1 : 0;
        steps += std::max(0, k.steps);
        next += std::max(0, k.steps) + 1; // the one cut off may have left titles behind
        const QStringList missing = languagesWithoutBookTitle(qly);
        if (!missing.isEmpty())
            notes << QStringLiteral("round %1: no book title for %2").arg(round).arg(missing.join(QLatin1Char(',')));
        expectWhole(qly, treeBefore, QStringLiteral("add, round %1").arg(round));
        if (HasFatalFailure())
            return;
        const QStringList left = takeLeftovers(work + QStringLiteral("/book"));
        withLeftovers += left.isEmpty() ? 0 : 1;
        if (!left.isEmpty() && example.isEmpty())
            example = left.first();
    }
    std::printf("[ add    ] %d of %d kills mid-work, %d languages added in all; temporary files left (still there "
                "after opening) by %d kills (%s)\n",
                midway, kRounds, steps, withLeftovers, qPrintable(example));
    for (const QString& n : notes)
        std::printf("[ note   ] %s\n", qPrintable(n));
    EXPECT_GE(midway, kRounds - 1);
}

TEST_F(ExchangeCrash, KilledWhileImportingTheMasterStillOpens)
{
    const QString masterDir = dir.path() + QStringLiteral("/master");
    const QString qly = generateProject(masterDir, QStringLiteral("book"), bookSize());
    {
        // Export locks the master; the copy is what the translator gets.
        ScriptedMsgBox box;
        box.setDefault(MsgAnswer::Yes);
        cProject master(box);
        ASSERT_TRUE(master.Load(qly));
        setCurrentLanguage(master.GetMainLangAbbrev());
        BookTree tree;
        buildBookTree(master, tree, box);
        exchange::ProjectExport job(master, box);
        job.askComment = [] { return QStringLiteral("crash test"); };
        job.writePackage = [](const QString&, const QString&) { return false; };
        Progress progress;
        ASSERT_TRUE(job.run(tree, progress)) << box.texts().join(QStringLiteral(" | ")).toStdString();
        ASSERT_FALSE(master.GetLockID().isEmpty());
    }
    const QString copyDir = dir.path() + QStringLiteral("/copy");
    copyTree(masterDir, copyDir);
    const QString copyQly = copyDir + QStringLiteral("/book.qly");
    {
        // The translation: every German title changes.
        ScriptedMsgBox box;
        cProject copy(box);
        ASSERT_TRUE(copy.Load(copyQly));
        const QRegularExpression german(QStringLiteral("(<title lang=\"de\"[^>]*>)"));
        for (const QString& f : copy.chapterFileList()) {
            QString text = readText(f);
            text.replace(german, QStringLiteral("\\1DE "));
            writeUtf16(f, text);
        }
    }
    const QStringList treeBefore = treeFromFiles(qly);
    ASSERT_GT(treeBefore.size(), 500);

    int midway = 0, steps = 0, withLeftovers = 0;
    QString example;
    for (int round = 0; round < kRounds; ++round) {
        const Kill k = runAndKill({QStringLiteral("import"), qly, copyQly}, workMs());
        ASSERT_TRUE(k.failure.isEmpty() || k.midway) << "round " << round << ": " << k.failure.toStdString();
        midway += k.midway ? 1 : 0;
        steps += std::max(0, k.steps);
        expectWhole(qly, treeBefore, QStringLiteral("import, round %1").arg(round));
        if (HasFatalFailure())
            return;
        const QStringList left = takeLeftovers(masterDir + QStringLiteral("/book"));
        withLeftovers += left.isEmpty() ? 0 : 1;
        if (!left.isEmpty() && example.isEmpty())
            example = left.first();
    }
    std::printf("[ import ] %d of %d kills mid-work, %d imports finished in all; temporary files left (still there "
                "after opening) by %d kills (%s)\n",
                midway, kRounds, steps, withLeftovers, qPrintable(example));
    EXPECT_GE(midway, kRounds - 1);
    // Still locked, so the import can be done again.
    ScriptedMsgBox box;
    cProject master(box);
    ASSERT_TRUE(master.Load(qly));
    EXPECT_FALSE(master.GetLockID().isEmpty());
}
