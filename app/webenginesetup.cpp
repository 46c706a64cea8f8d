#include "webenginesetup.h"

#include <QCoreApplication>
#include <QtGlobal>

#include <unistd.h>

void prepareWebEngine()
{
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    if (::geteuid() == 0 && qEnvironmentVariableIsEmpty("QTWEBENGINE_DISABLE_SANDBOX"))
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
}
