// A mutation fuzzer for the loaders of project, book and chapter files. It
// takes the files of a seed project, mutates one at a time, and runs what
// opening a project runs: the project file, the book file, the tree over
// the book with its chapters, the extraction of a topic and a rewrite.
// A finding is a crash, a sanitizer report or an input that runs too long;
// the input that was being tried is left in fuzz-current.* for replay.
//
//   quillary_fuzz_loaders [--seconds N] [--seed N] [--replay FILE KIND] SEED_PROJECT_FOLDER
#include "booktree.h"
#include "cbookfile.h"
#include "cproject.h"
#include "csaxerrorhandler.h"
#include "fileio.h"
#include "filters.h"
#include "language.h"
#include "msgbox.h"
#include "treeview.h"
#include "xmlsafety.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <cstdio>
#include <random>
#include <unistd.h>

namespace {

enum class Kind { Project, Book, Chapter };

struct Seed {
    Kind kind;
    QString name; // relative to the project's parent folder
    QByteArray bytes;
};

// Pieces that make parsers take unusual paths.
const char* const kTokens[] = {
    "<!DOCTYPE chapter [<!ENTITY e \"xx\">]>", "<!ENTITY a \"&b;&b;\">", "&e;", "&amp;", "&#0;", "&#x110000;",
    "<![CDATA[", "]]>", "<topic id=\"topic1\">", "</topic>", "<subchapter id=\"sub1\">", "</subchapter>",
    "<title lang=\"en\">", "</title>", "<onelang lang=\"en\">", "</onelang>", "<chapter>", "</chapter>",
    "&chapter1;", "<!ENTITY chapter9 SYSTEM \"/etc/passwd\">", "<!ENTITY x SYSTEM \"http://127.0.0.1/\">",
    "xmlns:q=\"urn:q\" q:a=\"1\"", "<?pi x?>", "<!-- c -->", "\xff\xfe", "\xef\xbb\xbf", "\"", "'", "<", ">", "/",
    "=", "\x00", "\xc3", "lang=\"\"", "<file>../x.xml</file>", "<book>..\\book.xml</book>", "<lock><id>x</id>",
};

class Mutator {
public:
    explicit Mutator(unsigned seed) : m_rng(seed) {}

    QByteArray mutate(QByteArray data)
    {
        const int rounds = 1 + int(m_rng() % 6);
        for (int i = 0; i < rounds; ++i) {
            const qsizetype size = data.size();
            const qsizetype at = size ? qsizetype(m_rng() % size) : 0;
            switch (m_rng() % 7) {
            case 0: // flip a bit
                if (size)
                    data[at] = char(data[at] ^ (1 << (m_rng() % 8)));
                break;
            case 1: // a random byte
                if (size)
                    data[at] = char(m_rng() % 256);
                break;
            case 2: // delete a run
                if (size)
                    data.remove(at, qsizetype(m_rng() % 32));
                break;
            case 3: { // repeat a run
                const qsizetype len = qsizetype(m_rng() % 64);
                data.insert(at, data.mid(at, len));
                break;
            }
            case 4: // a token, encoded as the file is
            case 5: {
                const char* t = kTokens[m_rng() % (sizeof kTokens / sizeof *kTokens)];
                QByteArray token = QByteArray(t, qsizetype(std::strlen(t)) + (*t ? 0 : 1));
                if (data.startsWith("\xff\xfe")) {
                    const QString s = QString::fromLatin1(token);
                    token = QByteArray(reinterpret_cast<const char*>(s.utf16()), s.size() * 2);
                }
                data.insert(at & ~qsizetype(1), token);
                break;
            }
            case 6: // cut off the end
                data.truncate(at);
                break;
            }
        }
        return data;
    }
    std::mt19937& rng() { return m_rng; }

private:
    std::mt19937 m_rng;
};

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        f.write(bytes);
}

// What opening and using a project runs, all boxes swallowed.
void exercise(const QString& projectFile)
{
    ScriptedMsgBox box;
    cProject project(box);
    if (!project.Load(projectFile))
        return;
    setCurrentLanguage(project.GetMainLangAbbrev());
    BookTree tree;
    buildBookTree(project, tree, box);
    cBookFile book(box);
    if (book.Load(project.getBookFile())) {
        book.chapterOrder();
    }
    int n = 0;
    tree.forEach([&](const NodePtr& node, int) {
        if (node->Tag != QLatin1String("topic") || ++n > 3)
            return;
        const QString file = project.getChapterFile(node->FullPath().section(QLatin1Char('\\'), 1, 1));
        const QString xml = extractElement(project, file, QStringLiteral("topic"), node->Key, box);
        if (xml.isEmpty() || file.isEmpty())
            return;
        cSAXFileChangeTopic change;
        change.TopicID = node->Key;
        change.CutElement = QStringLiteral("topic");
        change.Action = 1;
        change.xmlIn = xml;
        cSAXErrorHandler errors(box);
        rewriteFile(file, change, project.GetProjectFolder() + QStringLiteral("fuzz-rewrite.xml"), &errors);
    });
}

int usage()
{
    std::fprintf(stderr, "Usage: quillary_fuzz_loaders [--seconds N] [--seed N] SEED_PROJECT_FOLDER\n");
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    xmlsafe::init();
    QStringList args = app.arguments().mid(1);
    int seconds = 30;
    unsigned seed = 1;
    QString folder;
    for (int i = 0; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--seconds") && i + 1 < args.size())
            seconds = args[++i].toInt();
        else if (args[i] == QLatin1String("--seed") && i + 1 < args.size())
            seed = args[++i].toUInt();
        else if (folder.isEmpty())
            folder = args[i];
        else
            return usage();
    }
    if (folder.isEmpty())
        return usage();

    // The seeds: every file of the seed project that the loaders read.
    std::vector<Seed> seeds;
    QDirIterator it(folder, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString rel = QDir(folder).relativeFilePath(path);
        QByteArray bytes;
        if (!fileio::readFile(path, bytes))
            continue;
        if (rel.endsWith(QLatin1String(".qly")))
            seeds.push_back({Kind::Project, rel, bytes});
        else if (rel.endsWith(QLatin1String("book.xml")))
            seeds.push_back({Kind::Book, rel, bytes});
        else if (rel.endsWith(QLatin1String(".xml")))
            seeds.push_back({Kind::Chapter, rel, bytes});
    }
    const auto project = std::find_if(seeds.begin(), seeds.end(), [](const Seed& s) { return s.kind == Kind::Project; });
    if (project == seeds.end()) {
        std::fprintf(stderr, "No project file in %s\n", qPrintable(folder));
        return 2;
    }

    QTemporaryDir work;
    Mutator mutator(seed);
    QElapsedTimer clock;
    clock.start();
    long runs = 0;
    while (clock.elapsed() < qint64(seconds) * 1000) {
        // A fresh copy, one file mutated.
        const QString dir = work.path() + QStringLiteral("/run");
        QDir(dir).removeRecursively();
        for (const Seed& s : seeds) {
            QDir().mkpath(QFileInfo(dir + QLatin1Char('/') + s.name).absolutePath());
            writeFile(dir + QLatin1Char('/') + s.name, s.bytes);
        }
        const Seed& victim = seeds[mutator.rng()() % seeds.size()];
        const QByteArray input = mutator.mutate(victim.bytes);
        writeFile(dir + QLatin1Char('/') + victim.name, input);
        // Kept where a crash leaves it, for replay.
        writeFile(QStringLiteral("fuzz-current.bin"), input);
        writeFile(QStringLiteral("fuzz-current.name"), victim.name.toUtf8());
        // A hang is a finding too.
        ::alarm(10);
        exercise(dir + QLatin1Char('/') + project->name);
        ::alarm(0);
        ++runs;
    }
    QFile::remove(QStringLiteral("fuzz-current.bin"));
    QFile::remove(QStringLiteral("fuzz-current.name"));
    std::printf("%ld inputs in %d s, no finding\n", runs, seconds);
    return 0;
}
