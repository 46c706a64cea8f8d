// Test main for widgets and the web page: a QApplication on the offscreen
// platform, Chromium without sandbox and GPU, private configuration and
// temporary folders.
#include "webenginesetup.h"
#include "xmlsafety.h"

#include <QApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qEnvironmentVariableIsEmpty("QTWEBENGINE_CHROMIUM_FLAGS"))
        qputenv("QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox --disable-gpu");
    QTemporaryDir config;
    qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
    // A temporary folder of its own: test programs run side by side and the
    // page's scratch file has a fixed name.
    QTemporaryDir temp;
    qputenv("TMPDIR", temp.path().toUtf8());
    prepareWebEngine();
    QApplication app(argc, argv);
    xmlsafe::init();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
