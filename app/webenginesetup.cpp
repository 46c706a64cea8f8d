#include "webenginesetup.h"

#include "languagetools.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QtGlobal>

#include <unistd.h>

void prepareWebEngine()
{
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    if (::geteuid() == 0 && qEnvironmentVariableIsEmpty("QTWEBENGINE_DISABLE_SANDBOX"))
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    // The surface's spell checker finds the dictionaries converted for it
    // here; read once, when the engine starts.
    if (qEnvironmentVariableIsEmpty("QTWEBENGINE_DICTIONARIES_PATH")) {
        const QString dicts = langtools::defaultFolders().webDictionaries;
        QDir().mkpath(dicts);
        qputenv("QTWEBENGINE_DICTIONARIES_PATH", QFile::encodeName(dicts));
    }
}
