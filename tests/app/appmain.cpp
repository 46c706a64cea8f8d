// Test main for widgets and the web page: a QApplication on the offscreen
// platform, Chromium without sandbox and GPU, private configuration and
// temporary folders.
#include "apptestsupport.h"
#include "desktopsettings.h"
#include "webenginesetup.h"
#include "xmlsafety.h"

#include <QApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>

namespace {

int g_expectedTimeouts = 0;
QtMessageHandler g_previous = nullptr;

// The page's time-out and nesting warnings fail the test: a stalled page must never
// pass unnoticed behind a green run.
void failOnPageTimeouts(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type == QtWarningMsg && g_expectedTimeouts == 0 &&
        (message.contains(QLatin1String("the page did not answer in time")) ||
         message.contains(QLatin1String("did not finish loading in time")) ||
         message.contains(QLatin1String("a page call was made while another waited"))))
        ADD_FAILURE() << "page call: " << message.toStdString();
    if (g_previous)
        g_previous(type, context, message);
}

// Each test starts as on a fresh desktop: no recent projects, no layout.
class FreshDesktopSettings : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo&) override { DesktopSettings().clear(); }
};

} // namespace

app_testing::ExpectPageTimeouts::ExpectPageTimeouts()
{
    ++g_expectedTimeouts;
}

app_testing::ExpectPageTimeouts::~ExpectPageTimeouts()
{
    --g_expectedTimeouts;
}

int main(int argc, char** argv)
{
#ifdef QUILLARY_TEST_GIVE_UP_ROOT
    // Root writes through any mode: permissions are only real for others.
    if (!testing_support::giveUpRootForGood()) {
        std::fprintf(stderr, "could not become an unprivileged user\n");
        return 1;
    }
#endif
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qEnvironmentVariableIsEmpty("QTWEBENGINE_CHROMIUM_FLAGS"))
        qputenv("QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox --disable-gpu");
    QTemporaryDir config;
    qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
    // The user's data (dictionaries, the personal word list) too.
    QTemporaryDir data;
    qputenv("XDG_DATA_HOME", data.path().toUtf8());
    // A temporary folder of its own: test programs run side by side and the
    // page's scratch file has a fixed name.
    QTemporaryDir temp;
    qputenv("TMPDIR", temp.path().toUtf8());
    prepareWebEngine();
    QApplication app(argc, argv);
    xmlsafe::init();
    ::testing::InitGoogleTest(&argc, argv);
    g_previous = qInstallMessageHandler(failOnPageTimeouts);
    ::testing::UnitTest::GetInstance()->listeners().Append(new FreshDesktopSettings);
    return RUN_ALL_TESTS();
}
