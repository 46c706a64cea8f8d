#pragma once
// What the program makes of its arguments, and the picture mode used by
// scripts/screenshot: open a topic, grab the window to a PNG, quit.
#include <QSize>
#include <QString>
#include <QStringList>

class frmMain;

struct StartOptions {
    // The project path as the session receives it: the remaining arguments
    // joined with blanks (a path with blanks may come split or in quotes).
    QString commandLine;
    QString screenshot; // --screenshot FILE.png
    QString topic;      // --topic ID or path below the book
    QSize size;         // --size WIDTHxHEIGHT
    bool help = false;
    QString error;
};

// args without the program name.
StartOptions parseStartOptions(const QStringList& args);
QString startUsage();

// Waits until the page has painted, grabs the window and writes the PNG.
bool grabWindowTo(frmMain& window, const QString& pngPath, int settleMs = 1500);
