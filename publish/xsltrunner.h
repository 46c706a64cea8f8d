#pragma once
// XSLT 1.0 in process (libxslt with EXSLT), run on a worker thread while the
// caller's event loop keeps turning. Reading is limited to the given folders,
// writing to the output folders, and nothing reaches the network.
#include <QString>

#include <functional>
#include <QStringList>

#include <utility>
#include <vector>

struct XsltJob {
    QString stylesheet;   // file of the stylesheet
    QString input;        // file of the source document; entities are expanded
    QString output;       // file of the main result; empty: the result is not saved
    QString outputBase;   // folder against which the stylesheet's own files are written
    QStringList readFolders;  // folders from which documents and entities may be read
    QStringList writeFolders; // folders in which files may be written
    QString imageFolder;  // folder against which image sizes are looked up
    // Stylesheet parameters, name and XPath expression.
    std::vector<std::pair<QString, QString>> params;
    // Told of every message of the processor as it comes, on the thread
    // that transforms (null: none).
    std::function<void(const QString&)> onMessage;
};

struct XsltResult {
    bool transformed = false; // the transformation ran to its end
    QString messages;         // what the processor reported (messages, errors)
};

// Runs the job on a worker thread; while it runs, the calling thread's
// event loop handles its events (when there is an application object).
XsltResult runXslt(const XsltJob& job);
// Runs the job on the calling thread.
XsltResult runXsltHere(const XsltJob& job);

// Width and height of a PNG, GIF, JPEG or BMP file in pixels; false when the
// file cannot be read or is of another kind.
bool imageSize(const QString& path, int& width, int& height);
