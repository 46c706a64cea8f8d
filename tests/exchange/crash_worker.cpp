// Adds languages to a project, or imports a language from a translated copy
// into a locked master, over and over until killed.
// Usage: exchange_crash_worker add PROJECT.qly FIRST
//        exchange_crash_worker import PROJECT.qly COPY.qly
// Prints "ready" once the project is open, then a line per finished step.
#include "addlanguage.h"
#include "importlanguage.h"
#include "msgbox.h"
#include "progress.h"
#include "session.h"
#include "surface.h"
#include "xmlsafety.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    xmlsafe::init();
    if (argc < 4)
        return 2;
    const QString mode = QString::fromLocal8Bit(argv[1]);
    const QString project = QString::fromLocal8Bit(argv[2]);
    const QString third = QString::fromLocal8Bit(argv[3]);

    ScriptedMsgBox box;
    box.setDefault(MsgAnswer::Yes); // the project mark left by the last kill
    FakeSurface surface;
    Session session(box, surface);
    session.startUp(QString());
    session.openProject(project);
    if (!session.isOpen())
        return 3;
    std::printf("ready\n");
    std::fflush(stdout);

    auto fail = [&box](int code) {
        std::fprintf(stderr, "%s\n", box.texts().join(QStringLiteral(" | ")).toUtf8().constData());
        return code;
    };
    for (int i = 0;; ++i) {
        box.clear();
        Progress progress;
        if (mode == QLatin1String("add")) {
            const QString abbrev = QStringLiteral("x%1").arg(third.toInt() + i);
            if (!exchange::addLanguage(session.project(), QStringLiteral("Lang ") + abbrev, abbrev, box, &progress))
                return fail(4);
        } else {
            exchange::LanguageImport job(session.project(), box);
            if (!job.selectProject(third))
                return fail(5);
            QString entry;
            for (const QString& e : job.languageEntries())
                if (exchange::LanguageImport::abbreviationOf(e) == QLatin1String("de"))
                    entry = e;
            if (job.import(entry, progress) != exchange::LanguageImport::Result::Done)
                return fail(6);
        }
        std::printf("%d\n", i);
        std::fflush(stdout);
    }
}
