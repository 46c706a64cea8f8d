#pragma once
// XSLT 1.0 in process (libxslt with EXSLT), run on a worker thread while the
// caller's event loop keeps turning. Reading is limited to the given folders,
// writing to the output folders, and nothing reaches the network.
#include <QString>

#include <atomic>

#include <functional>
#include <QStringList>

#include <memory>
#include <utility>
#include <vector>

#include <libxml/xpath.h>

typedef struct _xmlDoc xmlDoc;
typedef struct _xsltStylesheet xsltStylesheet;
typedef struct _xsltTransformContext xsltTransformContext;

// An XPath function of one transformation: it reaches the job's userData
// through xsltJobUserData().
struct XsltFunction {
    const char* ns;
    const char* name;
    xmlXPathFunction function;
};

struct XsltJob {
    QString stylesheet;   // file of the stylesheet
    QString input;        // file of the source document; entities are expanded
    // Whether the source's external DTD is read (for its default
    // attributes); DocBook's stylesheets need nothing of theirs.
    bool inputDtd = true;
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
    // Functions the stylesheet may call, and what they work on.
    std::vector<XsltFunction> functions;
    void* userData = nullptr;
    // Told of the transformation context before the transformation starts.
    std::function<void(xsltTransformContext*)> onContext;
    // Set from another thread to stop the transformation (null: none).
    const std::atomic<bool>* cancel = nullptr;
};

struct XsltResult {
    bool transformed = false; // the transformation ran to its end
    QString messages;         // what the processor reported (messages, errors)
    QStringList written;      // files the stylesheet wrote itself
};

// One transformation on the calling thread whose source, stylesheet and
// result stay alive with the object, for a caller that takes the result
// apart itself.
class XsltTransform {
public:
    explicit XsltTransform(const XsltJob& job);
    ~XsltTransform();
    XsltTransform(const XsltTransform&) = delete;
    XsltTransform& operator=(const XsltTransform&) = delete;

    // Reads the stylesheet and the document and transforms; the main
    // result is saved when the job names an output file.
    XsltResult run();
    xmlDoc* source() const;
    xmlDoc* result() const;
    xsltStylesheet* style() const;

private:
    struct State;
    std::unique_ptr<State> d;
};

// Runs the job on a worker thread; while it runs, the calling thread's
// event loop handles its events (when there is an application object).
XsltResult runXslt(const XsltJob& job);
// Runs the job on the calling thread.
XsltResult runXsltHere(const XsltJob& job);
// Runs work on a worker thread the same way.
void runOffThread(const std::function<void()>& work);

// The userData of the job whose transformation calls an XPath function.
void* xsltJobUserData(xmlXPathParserContextPtr ctxt);

// Width and height of a PNG, GIF, JPEG or BMP file in pixels; false when the
// file cannot be read or is of another kind.
bool imageSize(const QString& path, int& width, int& height);
