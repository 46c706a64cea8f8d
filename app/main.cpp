#include "frmmain.h"
#include "icons.h"
#include "msgbox.h"
#include "qtmsgbox.h"
#include "startup.h"
#include "webenginesetup.h"
#include "xmlsafety.h"

#include <QApplication>
#include <QFileInfo>

#include <cstdio>
#include <exception>

namespace {
// The last guard: a failure that no command caught is logged and the event
// loop goes on, so typed text is never lost to a crash.
void logEscaped(const char* what)
{
    qCritical("Quillary Author: a command failed and was abandoned: %s", what);
}

class GuardedApplication : public QApplication {
public:
    using QApplication::QApplication;
    bool notify(QObject* receiver, QEvent* event) override
    {
        try {
            return QApplication::notify(receiver, event);
        } catch (const std::exception& e) {
            logEscaped(e.what());
        } catch (...) {
            logEscaped("unknown exception");
        }
        return false;
    }
};
}

int main(int argc, char** argv)
{
    // The usage is printed before any window system is asked for, so that
    // --help works without a display.
    for (int i = 1; i < argc; ++i)
        if (QByteArray(argv[i]) == "--help" || QByteArray(argv[i]) == "-h") {
            std::fprintf(stdout, "%s", qPrintable(startUsage()));
            return 0;
        }

    prepareWebEngine();
    GuardedApplication app(argc, argv);
    QApplication::setApplicationName(kAppTitle);
    QApplication::setApplicationVersion(QStringLiteral(QUILLARY_VERSION));
    QApplication::setWindowIcon(appicons::windowIcon());
    xmlsafe::init();

    // Qt has taken its own options (-platform, ...) out by now.
    QStringList args = QApplication::arguments();
    args.removeFirst();
    const StartOptions options = parseStartOptions(args);
    if (options.help || !options.error.isEmpty()) {
        if (!options.error.isEmpty())
            std::fprintf(stderr, "%s\n", qPrintable(options.error));
        std::fprintf(options.help ? stdout : stderr, "%s", qPrintable(startUsage()));
        return options.help ? 0 : 2;
    }

    // A picture is taken with nobody at the screen: a modal box would wait
    // for ever, so boxes go to stderr and questions are answered No.
    const bool picture = !options.screenshot.isEmpty();
    QtMsgBox dialogBox;
    ConsoleMsgBox consoleBox;
    MsgBox& box = picture ? static_cast<MsgBox&>(consoleBox) : dialogBox;
    frmMain window(box);
    dialogBox.setParent(&window);
    if (options.size.isValid())
        window.resize(options.size);
    window.show();
    try {
        window.startUp(options.commandLine);
    } catch (const std::exception& e) {
        logEscaped(e.what());
    } catch (...) {
        logEscaped("unknown exception");
    }

    if (picture) {
        if (!window.session().isOpen()) {
            std::fprintf(stderr, "No project is open\n");
            return 1;
        }
        if (!options.topic.isEmpty() && !window.openTopic(options.topic)) {
            std::fprintf(stderr, "No topic \"%s\" in the project\n", qPrintable(options.topic));
            return 1;
        }
        if (!grabWindowTo(window, options.screenshot)) {
            std::fprintf(stderr, "Could not write %s\n", qPrintable(options.screenshot));
            return 1;
        }
        std::printf("%s\n", qPrintable(QFileInfo(options.screenshot).absoluteFilePath()));
        return 0;
    }
    return app.exec();
}
