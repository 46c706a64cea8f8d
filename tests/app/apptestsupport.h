#pragma once
// Helpers of the widget tests: waiting with the event loop turning, acting on
// the next modal dialog, and copying a project folder.
#include "testsupport.h"

#include <QApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTest>
#include <QTimer>

#include <functional>

namespace app_testing {

// Turns the event loop until done() holds; false when ms ran out first.
inline bool waitFor(const std::function<bool()>& done, int ms)
{
    return QTest::qWaitFor(done, ms);
}

// A page that does not answer in time fails the running test, unless the
// test provokes it on purpose while one of these lives.
class ExpectPageTimeouts {
public:
    ExpectPageTimeouts();
    ~ExpectPageTimeouts();
    ExpectPageTimeouts(const ExpectPageTimeouts&) = delete;
    ExpectPageTimeouts& operator=(const ExpectPageTimeouts&) = delete;
};

// Runs action on the next modal dialog of type T, from inside its event loop.
template <typename T>
void onNextModal(std::function<void(T*)> action)
{
    auto* timer = new QTimer;
    timer->setInterval(20);
    QObject::connect(timer, &QTimer::timeout, [timer, action] {
        if (auto* w = qobject_cast<T*>(QApplication::activeModalWidget())) {
            timer->stop();
            timer->deleteLater();
            action(w);
        }
    });
    timer->start();
}

using testing_support::copyTree;

} // namespace app_testing
