#include "startup.h"

#include "frmmain.h"

#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>
#include <QTimer>
#include <QWindow>

StartOptions parseStartOptions(const QStringList& args)
{
    StartOptions o;
    QStringList rest;
    for (int i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        auto value = [&](QString& out) {
            if (i + 1 >= args.size()) {
                o.error = a + QStringLiteral(" needs a value");
                return;
            }
            out = args[++i];
        };
        if (a == QLatin1String("--screenshot")) {
            value(o.screenshot);
        } else if (a == QLatin1String("--topic")) {
            value(o.topic);
        } else if (a == QLatin1String("--size")) {
            QString s;
            value(s);
            const QStringList wh = s.split(QLatin1Char('x'));
            if (wh.size() == 2 && wh[0].toInt() > 0 && wh[1].toInt() > 0)
                o.size = QSize(wh[0].toInt(), wh[1].toInt());
            else if (o.error.isEmpty())
                o.error = QStringLiteral("--size wants WIDTHxHEIGHT");
        } else if (a == QLatin1String("--help") || a == QLatin1String("-h")) {
            o.help = true;
        } else {
            rest << a;
        }
    }
    o.commandLine = rest.join(QLatin1Char(' '));
    return o;
}

QString startUsage()
{
    return QStringLiteral(
        "Usage: quillary-author [PROJECT.qly]\n"
        "       quillary-author --screenshot OUT.png [--topic ID] [--size WxH] PROJECT.qly\n"
        "\n"
        "  --screenshot OUT.png  open the project, show the topic, save a picture of the window, quit\n"
        "  --topic ID            the topic to show: its id (topic1) or its path below the book\n"
        "  --size WxH            the window size for the picture (default 1200x800)\n");
}

namespace {
void settle(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}
}

bool grabWindowTo(frmMain& window, const QString& pngPath, int settleMs)
{
    window.raise();
    window.activateWindow();
    settle(settleMs);
    QPixmap shot;
    // On a real display the screen holds what the page's compositor drew;
    // elsewhere the widgets render themselves.
    if (QGuiApplication::platformName() == QLatin1String("xcb")) {
        if (QScreen* s = window.screen())
            shot = s->grabWindow(window.winId());
    }
    if (shot.isNull())
        shot = window.grab();
    if (shot.isNull())
        return false;
    QDir().mkpath(QFileInfo(pngPath).absolutePath());
    return shot.save(pngPath, "PNG");
}
