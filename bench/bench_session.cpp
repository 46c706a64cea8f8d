// Opening a large book and saving one topic, against plain tools on the same
// files; and the peak memory of opening.
//   bench_session [PROJECT.qly]   (default: a generated 20 x 500 x 2 book)
//   bench_session --one-chapter [N ...]
//       one chapter of N topics (default 12500 and 50000): opening and one
//       save per size, and how the time grows from the first size to the last
//       (linear: as the sizes; target under 2 s for 50,000 topics)
#include "booktree.h"
#include "cproject.h"
#include "generator.h"
#include "language.h"
#include "msgbox.h"
#include "session.h"
#include "surface.h"
#include "treeview.h"
#include "xmlsafety.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <vector>

extern char** environ;

namespace {
double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

double timeIt(const std::function<void()>& fn, int runs = 5)
{
    std::vector<double> t;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        fn();
        t.push_back(timer.nsecsElapsed() / 1e6);
    }
    return median(t);
}

void run(const QString& program, const QStringList& args)
{
    QProcess p;
    p.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    p.setStandardOutputFile(QProcess::nullDevice());
    p.start(program, args);
    p.waitForFinished(-1);
}

// Peak resident memory in kB of a child that runs this program with args.
long childPeakKb(const QStringList& args)
{
    QByteArray self = QCoreApplication::applicationFilePath().toLocal8Bit();
    std::vector<QByteArray> store{self};
    for (const QString& a : args)
        store.push_back(a.toLocal8Bit());
    std::vector<char*> argv;
    for (auto& s : store)
        argv.push_back(s.data());
    argv.push_back(nullptr);
    pid_t pid;
    if (posix_spawn(&pid, self.constData(), nullptr, nullptr, argv.data(), environ) != 0)
        return -1;
    int status = 0;
    struct rusage ru {};
    wait4(pid, &status, 0, &ru);
    return ru.ru_maxrss;
}

void openOnly(const QString& project)
{
    ScriptedMsgBox box;
    cProject p(box);
    p.Load(project);
    setCurrentLanguage(p.GetMainLangAbbrev());
    BookTree tree;
    buildBookTree(p, tree, box);
    std::printf("%d nodes\n", tree.Count());
}
}

namespace {
// Opening and one save in a project of one flat chapter of each size.
int oneChapter(const QStringList& sizesArg)
{
    std::vector<int> sizes;
    for (const QString& a : sizesArg)
        sizes.push_back(a.toInt());
    if (sizes.empty())
        sizes = {12500, 50000};
    struct Figures {
        int topics;
        double open, save;
    };
    std::vector<Figures> figures;
    for (int topics : sizes) {
        QTemporaryDir tmp;
        GeneratorOptions o;
        o.chapters = 1;
        o.topicsPerChapter = topics;
        o.topicsPerSub = 0;
        std::printf("Generating 1 chapter x %d topics x 2 languages...\n", topics);
        std::fflush(stdout);
        const QString project = generateProject(tmp.path(), QStringLiteral("one"), o);
        ScriptedMsgBox box;
        int nodes = 0;
        // What "quillary tree" does: load the project file, build the tree.
        double open = timeIt(
            [&] {
                cProject p(box);
                p.Load(project);
                setCurrentLanguage(p.GetMainLangAbbrev());
                BookTree tree;
                buildBookTree(p, tree, box);
                nodes = tree.Count();
            },
            3);

        FakeSurface surface;
        Session session(box, surface);
        box.setDefault(MsgAnswer::Yes);
        session.startUp(QString());
        session.openProject(project);
        NodePtr target = session.tree().FindKey(QStringLiteral("topic%1").arg(topics / 2));
        double save = -1;
        if (target) {
            session.clickOnTopic(target);
            int round = 0;
            save = timeIt(
                [&] {
                    surface.userEdit(QStringLiteral("<h1>") + target->Text +
                                     QStringLiteral("</h1><p>Edited text, round %1.</p>").arg(++round));
                    session.mnuSave();
                },
                3);
        }
        session.closeProject();
        qint64 bytes = 0;
        {
            cProject p(box);
            p.Load(project);
            for (const QString& f : p.chapterFileList())
                bytes += QFileInfo(f).size();
        }
        std::printf("%d topics (%d nodes, chapter %.1f MB): open %.1f ms, save one topic %.1f ms\n", topics, nodes,
                    bytes / 1048576.0, open, save);
        if (!box.texts().isEmpty())
            std::printf("Boxes shown: %s\n", box.texts().join(QStringLiteral(" | ")).left(300).toUtf8().constData());
        figures.push_back({topics, open, save});
    }
    const Figures& a = figures.front();
    const Figures& b = figures.back();
    if (figures.size() > 1)
        std::printf("Growth from %d to %d topics (x%.1f): open x%.2f, save x%.2f (linear: x%.1f, quadratic: x%.1f)\n",
                    a.topics, b.topics, double(b.topics) / a.topics, b.open / a.open, b.save / a.save,
                    double(b.topics) / a.topics, double(b.topics) * b.topics / (double(a.topics) * a.topics));
    bool ok = true;
    for (const Figures& f : figures)
        if (f.topics >= 50000 && f.open >= 2000)
            ok = false;
    std::printf("Opening 50,000 topics under 2 s: %s\n", ok ? "yes" : "NO");
    return ok ? 0 : 1;
}
}

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    xmlsafe::init();
    QStringList args = app.arguments();
    if (args.size() == 3 && args[1] == QLatin1String("--open-only")) {
        openOnly(args[2]);
        return 0;
    }
    if (args.size() >= 2 && args[1] == QLatin1String("--one-chapter"))
        return oneChapter(args.mid(2));

    QTemporaryDir tmp;
    QString project;
    if (args.size() > 1) {
        project = QFileInfo(args[1]).absoluteFilePath();
    } else {
        std::printf("Generating 20 chapters x 500 topics x 2 languages...\n");
        std::fflush(stdout);
        project = generateProject(tmp.path(), QStringLiteral("big"), GeneratorOptions{});
    }
    ScriptedMsgBox box;
    cProject p(box);
    if (!p.Load(project))
        return 1;
    setCurrentLanguage(p.GetMainLangAbbrev());
    const QString book = p.getBookFile();
    qint64 total = 0, largest = 0;
    QString largestFile;
    for (const QString& f : p.chapterFileList()) {
        qint64 s = QFileInfo(f).size();
        total += s;
        if (s > largest) {
            largest = s;
            largestFile = f;
        }
    }
    std::printf("Book: %lld chapter bytes, largest chapter %lld bytes\n", total, largest);

    // Opening.
    int nodes = 0;
    double ours = timeIt([&] {
        BookTree tree;
        buildBookTree(p, tree, box);
        nodes = tree.Count();
    });
    double lint = timeIt([&] { run(QStringLiteral("xmllint"), {"--stream", "--noout", "--noent", book}); });
    std::printf("Open (buildTree, %d nodes): %.1f ms; xmllint --stream: %.1f ms; ratio %.2f (target <= 1.5)\n", nodes,
                ours, lint, ours / lint);

    // Saving one topic in the middle of the largest chapter.
    FakeSurface surface;
    Session session(box, surface);
    box.setDefault(MsgAnswer::Yes);
    session.startUp(QString());
    session.openProject(project);
    NodePtr target;
    QString chapterTitle = p.chapters()[size_t(p.chapterFileList().indexOf(largestFile))].title;
    session.tree().forEach([&](const NodePtr& n, int) {
        if (!target && n->Tag == QLatin1String("topic") && n->FullPath().section(QLatin1Char('\\'), 1, 1) == chapterTitle &&
            n->Index() > 10)
            target = n;
    });
    if (!target) {
        std::printf("The largest chapter has no topic past its tenth to save.\n");
        return 1;
    }
    session.clickOnTopic(target);
    int round = 0;
    double save = timeIt([&] {
        surface.userEdit(QStringLiteral("<h1>") + target->Text + QStringLiteral("</h1><p>Edited text, round %1.</p>").arg(++round));
        session.mnuSave();
    });
    QString copy = tmp.path() + QStringLiteral("/copy.xml");
    double plain = timeIt([&] {
        run(QStringLiteral("cp"), {largestFile, copy});
        run(QStringLiteral("xmllint"), {"--stream", "--noout", largestFile});
    });
    std::printf("Save one topic (extract, merge, rewrite): %.1f ms; cp + one parse: %.1f ms; ratio %.2f (target <= 3)\n",
                save, plain, save / plain);
    if (!box.texts().isEmpty())
        std::printf("Boxes shown: %s\n", box.texts().join(QStringLiteral(" | ")).toUtf8().constData());
    session.closeProject();

    // Peak memory of opening, in a process of its own.
    long peak = childPeakKb({QStringLiteral("--open-only"), project});
    double limit = (2.0 * largest) / 1024.0 + 50 * 1024.0;
    std::printf("Peak memory of opening: %.1f MB; limit 2 x largest chapter + 50 MB = %.1f MB (%s)\n", peak / 1024.0,
                limit / 1024.0, peak < limit ? "within" : "ABOVE");
    return 0;
}
