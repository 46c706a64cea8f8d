// Adding a language, export (without the zip) and the import of one language
// on a generated book and on a quarter of it, each against plain tools on
// the same files: a copy of every chapter file plus one libxml2 parse of
// each. Peak memory of each operation in a process of its own.
//   quillary_bench_exchange [--runs N] [--chapters C] [--topics T]
//   (default: 20 x 500 x 2 and 5 x 500 x 2, 3 runs each)
#include "addlanguage.h"
#include "backup.h"
#include "booktree.h"
#include "cproject.h"
#include "exportproject.h"
#include "generator.h"
#include "importlanguage.h"
#include "language.h"
#include "msgbox.h"
#include "progress.h"
#include "treeview.h"
#include "xliff.h"
#include "xmlsafety.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <libxml/xmlreader.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

const QString kName = QStringLiteral("book");

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// An operation against the baseline: medians over the runs of each time
// and of their ratio.
struct Timed {
    double op = 0, base = 0, ratio = 0;
};

// Each run times the baseline right before the operation, so that a load
// that comes and goes on the machine falls on both alike. prepare runs
// untimed before each.
Timed timeAgainst(int runs, const std::function<void()>& baseline, const std::function<void()>& prepare,
                  const std::function<void()>& fn)
{
    std::vector<double> op, base, ratio;
    for (int i = 0; i < runs; ++i) {
        if (prepare)
            prepare();
        QElapsedTimer timer;
        timer.start();
        baseline();
        base.push_back(double(timer.nsecsElapsed()) / 1e6);
        timer.restart();
        fn();
        op.push_back(double(timer.nsecsElapsed()) / 1e6);
        ratio.push_back(op.back() / base.back());
    }
    return {median(op), median(base), median(ratio)};
}

bool copyTree(const QString& from, const QString& to)
{
    QDir().mkpath(to);
    QDirIterator it(from, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden, QDirIterator::Subdirectories);
    const QDir base(from);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString target = to + QLatin1Char('/') + base.relativeFilePath(path);
        if (it.fileInfo().isDir())
            QDir().mkpath(target);
        else if (!QFile::copy(path, target))
            return false;
    }
    return true;
}

// A fresh copy of the project (its .qly and folder) in folder; returns the
// copy's project file.
QString restore(const QString& pristineDir, const QString& folder)
{
    QDir(folder).removeRecursively();
    if (!copyTree(pristineDir, folder)) {
        std::fprintf(stderr, "cannot copy %s\n", qPrintable(pristineDir));
        std::exit(1);
    }
    for (const QString& f : QDir(folder).entryList({QStringLiteral("*.qly")}, QDir::Files))
        QFile(folder + QLatin1Char('/') + f).setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
    return folder + QLatin1Char('/') + kName + QStringLiteral(".qly");
}

// The reference: copy every chapter file, then stream each through libxml2
// (what `xmllint --stream --noout` does, without the process).
void baseline(const QStringList& files, const QString& into)
{
    for (const QString& f : files)
        QFile::copy(f, into + QLatin1Char('/') + QFileInfo(f).fileName());
    for (const QString& f : files) {
        xmlTextReaderPtr r = xmlReaderForFile(QFile::encodeName(f).constData(), nullptr, XML_PARSE_NONET);
        if (!r) {
            std::fprintf(stderr, "cannot read %s\n", qPrintable(f));
            std::exit(1);
        }
        int ret;
        while ((ret = xmlTextReaderRead(r)) == 1) {
        }
        xmlFreeTextReader(r);
        if (ret != 0) {
            std::fprintf(stderr, "%s does not parse\n", qPrintable(f));
            std::exit(1);
        }
    }
}

bool loadProject(cProject& p, const QString& qly)
{
    if (!p.Load(qly))
        return false;
    setCurrentLanguage(p.GetMainLangAbbrev());
    return true;
}

void reportBoxes(const char* what, ScriptedMsgBox& box, const QStringList& expected = {})
{
    for (const QString& t : box.texts()) {
        bool known = false;
        for (const QString& e : expected)
            known = known || t.startsWith(e);
        if (!known)
            std::printf("  [%s] box: %s\n", what, qPrintable(t.left(200).replace(QLatin1String("\r\n"), QLatin1String(" "))));
    }
    box.clear();
}

const QStringList kExportBoxes{QStringLiteral("Lang en language includes"), QStringLiteral("Images"),
                               QStringLiteral("Export was successfull!")};

// --- the operations, each once -----------------------------------------

bool doAdd(const QString& qly, ScriptedMsgBox& box)
{
    cProject p(box);
    if (!loadProject(p, qly))
        return false;
    return exchange::addLanguage(p, QStringLiteral("Lang xx"), QStringLiteral("xx"), box);
}

// The tree is the session's, built when the project opened: outside the time.
struct ExportJob {
    ScriptedMsgBox& box;
    cProject p{box};
    BookTree tree;
    explicit ExportJob(ScriptedMsgBox& b, const QString& qly) : box(b)
    {
        box.setDefault(MsgAnswer::Yes);
        loadProject(p, qly);
        buildBookTree(p, tree, box);
    }
    bool run(const std::function<bool(const QString&, const QString&)>& package)
    {
        exchange::ProjectExport job(p, box);
        job.askComment = [] { return QStringLiteral("benchmark"); };
        job.writePackage = package;
        Progress progress;
        return job.run(tree, progress) && job.locked();
    }
};

bool noPackage(const QString&, const QString&)
{
    return false;
}

// The master and its copy are loaded and the copy selected outside the time.
struct ImportJob {
    ScriptedMsgBox& box;
    cProject master{box};
    exchange::LanguageImport job{master, box};
    QString entry;
    ImportJob(ScriptedMsgBox& b, const QString& masterQly, const QString& copyQly) : box(b)
    {
        loadProject(master, masterQly);
        if (!job.selectProject(copyQly))
            return;
        for (const QString& e : job.languageEntries())
            if (exchange::LanguageImport::abbreviationOf(e) == QLatin1String("de"))
                entry = e;
    }
    bool run()
    {
        Progress progress;
        return !entry.isEmpty() && job.import(entry, progress) == exchange::LanguageImport::Result::Done;
    }
};

// --- child processes for peak memory -----------------------------------

// This process's own peak resident memory in kB. Not getrusage: after a
// spawn it reports the parent's peak too.
long ownPeakKb()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    return -1;
}

int child(const QStringList& args)
{
    ScriptedMsgBox box;
    const QString what = args.value(2);
    bool ok = false;
    if (what == QLatin1String("idle")) {
        // What an open session holds: the project and its tree.
        cProject p(box);
        BookTree tree;
        ok = loadProject(p, args.value(3));
        buildBookTree(p, tree, box);
    } else if (what == QLatin1String("add")) {
        ok = doAdd(args.value(3), box);
    } else if (what == QLatin1String("export")) {
        ExportJob job(box, args.value(3));
        ok = job.run(noPackage);
    } else if (what == QLatin1String("import")) {
        ImportJob job(box, args.value(3), args.value(4));
        ok = job.run();
    } else if (what == QLatin1String("xliff-export") || what == QLatin1String("xliff-import")) {
        cProject p(box);
        Progress progress;
        ok = loadProject(p, args.value(3)) &&
             (what == QLatin1String("xliff-export")
                  ? exchange::exportXliff(p, QStringLiteral("de"), args.value(4), box, progress)
                  : exchange::importXliff(p, args.value(4), false, box, progress));
    } else if (what == QLatin1String("baseline")) {
        cProject p(box);
        ok = loadProject(p, args.value(3));
        QTemporaryDir into;
        baseline(p.chapterFileList(), into.path());
    }
    std::printf("%ld\n", ownPeakKb());
    return ok ? 0 : 1;
}

// Peak resident memory in kB of this program run with args.
long childPeakKb(const QStringList& args)
{
    QProcess p;
    p.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    p.start(QCoreApplication::applicationFilePath(), args);
    p.waitForFinished(-1);
    const QByteArray out = p.readAllStandardOutput().trimmed();
    if (p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0)
        std::printf("  (child %s failed: %s)\n", qPrintable(args.join(QLatin1Char(' '))), out.constData());
    return out.split('\n').last().toLong();
}

// --- one size -------------------------------------------------------------

struct Figures {
    int topics = 0;
    qint64 totalBytes = 0, largestBytes = 0;
    Timed add, exp, imp, xexp, ximp;
    double expZip = 0, select = 0;
    long memIdle = 0, memBase = 0, memAdd = 0, memExp = 0, memImp = 0, memXexp = 0, memXimp = 0;
};

Figures measureSize(const QString& root, int chapters, int topicsPerChapter, int runs)
{
    Figures f;
    f.topics = chapters * topicsPerChapter;
    QDir().mkpath(root);
    const QString pristine = root + QStringLiteral("/pristine");
    QDir().mkpath(pristine);
    std::printf("\n== %d chapters x %d topics x 2 languages (%d topics)\n", chapters, topicsPerChapter, f.topics);
    std::fflush(stdout);
    GeneratorOptions o;
    o.chapters = chapters;
    o.topicsPerChapter = topicsPerChapter;
    const QString pristineQly = generateProject(pristine, kName, o);

    ScriptedMsgBox box;
    QStringList files;
    {
        cProject p(box);
        loadProject(p, pristineQly);
        files = p.chapterFileList();
    }
    for (const QString& file : files) {
        const qint64 s = QFileInfo(file).size();
        f.totalBytes += s;
        f.largestBytes = std::max(f.largestBytes, s);
    }
    std::printf("chapter files: %lld bytes in all, largest %lld bytes (%.1f MB)\n", f.totalBytes, f.largestBytes,
                double(f.largestBytes) / 1048576.0);

    const QString work = root + QStringLiteral("/work");
    const QString into = root + QStringLiteral("/base");
    auto base = [&] {
        QDir(into).removeRecursively();
        QDir().mkpath(into);
        baseline(files, into);
    };
    auto show = [](const char* what, const Timed& t) {
        std::printf("%s: %.0f ms; baseline %.0f ms; ratio %.2f\n", what, t.op, t.base, t.ratio);
        std::fflush(stdout);
    };

    // (a) Adding a language, each run on a fresh copy.
    QString qly;
    f.add = timeAgainst(runs, base, [&] { qly = restore(pristine, work); },
                        [&] {
                            if (!doAdd(qly, box))
                                std::printf("  add language failed\n");
                        });
    reportBoxes("add", box);
    show("add language", f.add);

    // (b) Export without the zip, each run on a fresh, unlocked copy.
    std::unique_ptr<ExportJob> exportJob;
    f.exp = timeAgainst(runs, base,
                        [&] {
                            exportJob.reset();
                            exportJob = std::make_unique<ExportJob>(box, restore(pristine, work));
                        },
                        [&] {
                            if (!exportJob->run(noPackage))
                                std::printf("  export failed\n");
                        });
    exportJob.reset();
    reportBoxes("export", box, kExportBoxes);
    show("export (no zip)", f.exp);

    // (c) Import: the master exported with its package once, the translated
    // copy a copy of its folder; only import() is timed.
    const QString masterDir = root + QStringLiteral("/master");
    const QString masterQly = restore(pristine, masterDir);
    {
        ExportJob job(box, masterQly);
        const QString zip = root + QStringLiteral("/package.zip");
        QElapsedTimer t;
        t.start();
        const bool ok = job.run([&](const QString& list, const QString& folder) {
            Progress progress;
            return backup::writeBackup(list, zip, folder, progress, box, exchange::kExportCaption);
        });
        f.expZip = double(t.nsecsElapsed()) / 1e6;
        std::printf("export with the zip (once, for the import): %.0f ms, package %lld bytes%s\n", f.expZip,
                    QFileInfo(zip).size(), ok ? "" : " FAILED");
        QFile::remove(zip);
    }
    reportBoxes("export with zip", box, kExportBoxes);
    const QString copyDir = root + QStringLiteral("/copy");
    const QString copyQly = restore(masterDir, copyDir);
    std::unique_ptr<ImportJob> importJob;
    QElapsedTimer selecting;
    std::vector<double> selects;
    f.imp = timeAgainst(runs, base,
                        [&] {
                            importJob.reset();
                            selecting.start();
                            importJob = std::make_unique<ImportJob>(box, masterQly, copyQly);
                            selects.push_back(double(selecting.nsecsElapsed()) / 1e6);
                        },
                        [&] {
                            if (!importJob->run())
                                std::printf("  import failed\n");
                        });
    importJob.reset();
    QDir(into).removeRecursively();
    reportBoxes("import", box, {QStringLiteral("Import was successfull!")});
    show("import one language (all ticked)", f.imp);
    f.select = median(selects);
    std::printf("  (not timed above: choosing the copy, both trees built: %.0f ms)\n", f.select);
    std::fflush(stdout);

    // Peak memory, each in a process of its own on a fresh copy.
    f.memIdle = childPeakKb({QStringLiteral("--child"), QStringLiteral("idle"), restore(pristine, work)});
    f.memBase = childPeakKb({QStringLiteral("--child"), QStringLiteral("baseline"), restore(pristine, work)});
    f.memAdd = childPeakKb({QStringLiteral("--child"), QStringLiteral("add"), restore(pristine, work)});
    f.memExp = childPeakKb({QStringLiteral("--child"), QStringLiteral("export"), restore(pristine, work)});
    f.memImp = childPeakKb({QStringLiteral("--child"), QStringLiteral("import"), masterQly, copyQly});

    // (d) XLIFF of the second language on the locked master: the export,
    // then the import of that file (every unit has its target).
    const QString xlf = root + QStringLiteral("/book_de.xlf");
    f.xexp = timeAgainst(runs, base, {}, [&] {
        cProject p(box);
        Progress progress;
        if (!loadProject(p, masterQly) || !exchange::exportXliff(p, QStringLiteral("de"), xlf, box, progress))
            std::printf("  XLIFF export failed\n");
    });
    reportBoxes("XLIFF export", box);
    show("XLIFF export", f.xexp);
    f.ximp = timeAgainst(runs, base, {}, [&] {
        cProject p(box);
        Progress progress;
        exchange::XliffImportSummary s;
        if (!loadProject(p, masterQly) || !exchange::importXliff(p, xlf, false, box, progress, &s))
            std::printf("  XLIFF import failed\n");
        else if (!s.incomplete.isEmpty())
            std::printf("  XLIFF import left %lld topics\n", static_cast<long long>(s.incomplete.size()));
    });
    reportBoxes("XLIFF import", box);
    show("XLIFF import", f.ximp);
    f.memXexp = childPeakKb({QStringLiteral("--child"), QStringLiteral("xliff-export"), masterQly, xlf});
    f.memXimp = childPeakKb({QStringLiteral("--child"), QStringLiteral("xliff-import"), masterQly, xlf});
    QDir(into).removeRecursively();
    QDir(work).removeRecursively();
    QDir(masterDir).removeRecursively();
    QDir(copyDir).removeRecursively();
    QDir(pristine).removeRecursively();
    return f;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    xmlsafe::init();
    const QStringList args = app.arguments();
    if (args.size() >= 4 && args[1] == QLatin1String("--child"))
        return child(args);

    int runs = 3, chapters = 20, topics = 500;
    for (int i = 1; i + 1 < args.size(); ++i) {
        if (args[i] == QLatin1String("--runs"))
            runs = std::max(1, args[++i].toInt());
        else if (args[i] == QLatin1String("--chapters"))
            chapters = std::max(4, args[++i].toInt());
        else if (args[i] == QLatin1String("--topics"))
            topics = std::max(1, args[++i].toInt());
    }
    QTemporaryDir tmp;
    std::printf("Exchange benchmark, median of %d runs; temporary folder %s\n", runs, qPrintable(tmp.path()));
    const Figures q = measureSize(tmp.path() + QStringLiteral("/quarter"), chapters / 4, topics, runs);
    const Figures full = measureSize(tmp.path() + QStringLiteral("/full"), chapters, topics, runs);

    std::printf("\n%-26s %12s %12s %8s\n", "", "quarter", "full", "growth");
    auto row = [](const char* what, double a, double b) {
        std::printf("%-26s %9.0f ms %9.0f ms %8.2f\n", what, a, b, b / a);
    };
    row("baseline (copy + parse)", q.add.base, full.add.base);
    row("add language", q.add.op, full.add.op);
    row("export (no zip)", q.exp.op, full.exp.op);
    row("import one language", q.imp.op, full.imp.op);
    row("(choosing the copy)", q.select, full.select);
    row("XLIFF export", q.xexp.op, full.xexp.op);
    row("XLIFF import", q.ximp.op, full.ximp.op);
    std::printf("(growth: full / quarter, linear = %.1f)\n\n", double(full.topics) / q.topics);

    std::printf("%-26s %12s %12s   (target <= 3)\n", "ratio to baseline", "quarter", "full");
    auto ratio = [](const char* what, const Timed& a, const Timed& b) {
        std::printf("%-26s %12.2f %12.2f   %s\n", what, a.ratio, b.ratio,
                    std::max(a.ratio, b.ratio) <= 3 ? "ok" : "ABOVE");
    };
    ratio("add language", q.add, full.add);
    ratio("export (no zip)", q.exp, full.exp);
    ratio("import one language", q.imp, full.imp);
    ratio("XLIFF export", q.xexp, full.xexp);
    ratio("XLIFF import", q.ximp, full.ximp);
    std::printf("\nPeak memory (MB)          %12s %12s\n", "quarter", "full");
    auto mem = [](const char* what, long a, long b) {
        std::printf("%-26s %12.1f %12.1f\n", what, double(a) / 1024.0, double(b) / 1024.0);
    };
    mem("open project + tree", q.memIdle, full.memIdle);
    mem("baseline", q.memBase, full.memBase);
    mem("add language", q.memAdd, full.memAdd);
    mem("export (no zip)", q.memExp, full.memExp);
    mem("import one language", q.memImp, full.memImp);
    mem("XLIFF export", q.memXexp, full.memXexp);
    mem("XLIFF import", q.memXimp, full.memXimp);
    std::printf("largest chapter file      %12.1f %12.1f\n", double(q.largestBytes) / 1048576.0,
                double(full.largestBytes) / 1048576.0);
    std::printf("all chapter files         %12.1f %12.1f\n", double(q.totalBytes) / 1048576.0,
                double(full.totalBytes) / 1048576.0);
    // Both books have chapters of the same size: a peak bounded by the
    // largest chapter stays level while the book grows fourfold.
    const long limitKb = long(2 * full.largestBytes / 1024) + 50 * 1024 + full.memIdle;
    struct Peak {
        const char* what;
        long quarter, full;
    };
    for (const Peak& m : {Peak{"add language", q.memAdd, full.memAdd}, Peak{"export", q.memExp, full.memExp},
                          Peak{"import", q.memImp, full.memImp}})
        std::printf("%-26s peak full - quarter: %+.1f MB; %s 2 x largest chapter + 50 MB + open project\n", m.what,
                    double(m.full - m.quarter) / 1024.0, m.full <= limitKb ? "within" : "ABOVE");
    return 0;
}
