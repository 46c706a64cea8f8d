#include "frmmain.h"
#include "icons.h"
#include "qtmsgbox.h"
#include "startup.h"
#include "webenginesetup.h"
#include "xmlsafety.h"

#include <QApplication>
#include <QFileInfo>

#include <cstdio>

int main(int argc, char** argv)
{
    prepareWebEngine();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quillary Author"));
    QApplication::setApplicationVersion(QStringLiteral(QUILLARY_VERSION));
    QApplication::setWindowIcon(appicons::windowIcon());
    xmlsafe::init();

    QStringList args = QApplication::arguments();
    args.removeFirst();
    const StartOptions options = parseStartOptions(args);
    if (options.help || !options.error.isEmpty()) {
        if (!options.error.isEmpty())
            std::fprintf(stderr, "%s\n", qPrintable(options.error));
        std::fprintf(options.help ? stdout : stderr, "%s", qPrintable(startUsage()));
        return options.help ? 0 : 2;
    }

    QtMsgBox box;
    frmMain window(box);
    box.setParent(&window);
    if (options.size.isValid())
        window.resize(options.size);
    window.show();
    window.startUp(options.commandLine);

    if (!options.screenshot.isEmpty()) {
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
