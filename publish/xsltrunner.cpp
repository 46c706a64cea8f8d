#include "xsltrunner.h"

#include "xmlsafety.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMetaObject>
#include <QThread>
#include <QUrl>

#include <libexslt/exslt.h>
#include <libxml/xpathInternals.h>
#include <libxslt/extensions.h>
#include <libxslt/security.h>
#include <libxslt/transform.h>
#include <libxslt/xsltInternals.h>
#include <libxslt/xsltutils.h>

#include <condition_variable>
#include <cstdarg>
#include <memory>
#include <mutex>
#include <thread>
#include <unistd.h>

namespace {

// While a transformation runs, a cancel flag set elsewhere stops it: the
// processor leaves its loops once its state says stopped.
class StopWatch {
public:
    StopWatch(const std::atomic<bool>* cancel, xsltTransformContext* ctxt)
    {
        if (!cancel)
            return;
        m_thread = std::thread([this, cancel, ctxt] {
            std::unique_lock<std::mutex> lock(m_mutex);
            while (!m_done) {
                if (*cancel) {
                    std::atomic_ref<xsltTransformState>(ctxt->state).store(XSLT_STATE_STOPPED);
                    return;
                }
                m_wake.wait_for(lock, std::chrono::milliseconds(50));
            }
        });
    }
    ~StopWatch()
    {
        if (!m_thread.joinable())
            return;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_done = true;
        }
        m_wake.notify_all();
        m_thread.join();
    }
    StopWatch(const StopWatch&) = delete;
    StopWatch& operator=(const StopWatch&) = delete;

private:
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_done = false;
    std::thread m_thread;
};

} // namespace

namespace {

// The namespace of DocBook XSL's image size extension: with it, scaled
// images keep their proportions.
const char* kImageNs = "http://nwalsh.com/xslt/ext/com.nwalsh.saxon.ImageIntrinsics";

thread_local QString* tl_messages = nullptr;
thread_local const std::function<void(const QString&)>* tl_onMessage = nullptr;

void genericError(void*, const char* msg, ...)
{
    if (!tl_messages)
        return;
    char buf[2048];
    va_list ap;
    va_start(ap, msg);
    vsnprintf(buf, sizeof buf, msg, ap);
    va_end(ap);
    const QString text = QString::fromUtf8(buf);
    *tl_messages += text;
    if (tl_onMessage && *tl_onMessage)
        (*tl_onMessage)(text);
    // Keep only the tail: the last lines explain a failure.
    if (tl_messages->size() > 20000)
        *tl_messages = tl_messages->right(10000);
}

QString pathOf(const char* value)
{
    if (!value)
        return {};
    QString v = QString::fromUtf8(value);
    if (v.startsWith(QStringLiteral("file:"), Qt::CaseInsensitive)) {
        QUrl u(v);
        return u.isLocalFile() ? u.toLocalFile() : QString();
    }
    if (v.contains(QStringLiteral("://")))
        return {};
    return QFileInfo(v).absoluteFilePath();
}

QString canonicalFolder(const QString& f)
{
    QString c = QFileInfo(f).canonicalFilePath();
    if (c.isEmpty())
        c = QDir::cleanPath(QFileInfo(f).absoluteFilePath());
    if (!c.endsWith(QLatin1Char('/')))
        c += QLatin1Char('/');
    return c;
}

// The resolved form of a path: the nearest existing ancestor resolved, so
// that files not made yet are judged by their folder.
QString resolved(const QString& path)
{
    QString p = QDir::cleanPath(path);
    QString tail;
    while (!p.isEmpty() && !QFileInfo::exists(p)) {
        int slash = p.lastIndexOf(QLatin1Char('/'));
        if (slash <= 0)
            break;
        tail = p.mid(slash) + tail;
        p = p.left(slash);
    }
    QString c = QFileInfo(p).canonicalFilePath();
    if (c.isEmpty())
        return {};
    return QDir::cleanPath(c + tail);
}

bool insideCanonical(const QString& resolvedPath, const QStringList& canonicalFolders)
{
    if (resolvedPath.isEmpty())
        return false;
    for (const QString& cf : canonicalFolders)
        if ((resolvedPath + QLatin1Char('/')).startsWith(cf))
            return true;
    return false;
}

// What one transformation knows while it runs: its job, and the answers of
// its file checks (DocBook reads its localisation file once for every
// generated text, and each check would resolve the whole path again).
struct RunState {
    const XsltJob* job = nullptr;
    QStringList readCanonical;  // read and write folders, resolved
    QStringList writeCanonical; // write folders, resolved
    QHash<QString, bool> readChecked;
    QStringList written;

    explicit RunState(const XsltJob& j) : job(&j)
    {
        for (const QString& f : j.writeFolders)
            writeCanonical << canonicalFolder(f);
        for (const QString& f : j.readFolders)
            readCanonical << canonicalFolder(f);
        readCanonical += writeCanonical;
    }
    bool mayRead(const QString& path)
    {
        auto it = readChecked.constFind(path);
        if (it != readChecked.constEnd())
            return *it;
        const bool ok = insideCanonical(resolved(path), readCanonical);
        readChecked.insert(path, ok);
        return ok;
    }
    // Writes are not remembered: a file made meanwhile may be a link.
    bool mayWrite(const QString& path) const { return insideCanonical(resolved(path), writeCanonical); }
};

RunState* stateOf(xsltTransformContextPtr ctxt)
{
    return ctxt ? static_cast<RunState*>(ctxt->_private) : nullptr;
}

int checkRead(xsltSecurityPrefsPtr, xsltTransformContextPtr ctxt, const char* value)
{
    RunState* state = stateOf(ctxt);
    QString p = pathOf(value);
    if (state && !p.isEmpty() && state->mayRead(p))
        return 1;
    genericError(nullptr, "Reading \"%s\" is not allowed.\n", value ? value : "");
    return 0;
}

int checkWrite(xsltSecurityPrefsPtr, xsltTransformContextPtr ctxt, const char* value)
{
    RunState* state = stateOf(ctxt);
    QString p = pathOf(value);
    if (state && !p.isEmpty() && state->mayWrite(p)) {
        state->written << QDir::cleanPath(p);
        return 1;
    }
    genericError(nullptr, "Writing \"%s\" is not allowed.\n", value ? value : "");
    return 0;
}

// simg:new(filename) keeps the name; simg:getWidth(obj, default) and
// simg:getDepth(obj, default) give the image's size in pixels.
void imageNew(xmlXPathParserContextPtr ctxt, int nargs)
{
    if (nargs != 1) {
        xmlXPathSetArityError(ctxt);
        return;
    }
    xmlChar* s = xmlXPathPopString(ctxt);
    xmlXPathReturnString(ctxt, s);
}

void imageDimension(xmlXPathParserContextPtr ctxt, int nargs, bool width)
{
    if (nargs != 2) {
        xmlXPathSetArityError(ctxt);
        return;
    }
    double fallback = xmlXPathPopNumber(ctxt);
    xmlChar* name = xmlXPathPopString(ctxt);
    QString file = QString::fromUtf8(reinterpret_cast<const char*>(name));
    xmlFree(name);
    RunState* state = stateOf(xsltXPathGetTransformContext(ctxt));
    double result = fallback;
    if (state && !file.contains(QStringLiteral("://"))) {
        QString path = QFileInfo(file).isAbsolute() ? file : state->job->imageFolder + QLatin1Char('/') + file;
        int w = 0, h = 0;
        if (state->mayRead(path) && imageSize(path, w, h))
            result = width ? w : h;
    }
    xmlXPathReturnNumber(ctxt, result);
}

void imageWidth(xmlXPathParserContextPtr ctxt, int nargs)
{
    imageDimension(ctxt, nargs, true);
}

void imageDepth(xmlXPathParserContextPtr ctxt, int nargs)
{
    imageDimension(ctxt, nargs, false);
}

void initOnce()
{
    static std::once_flag once;
    std::call_once(once, [] {
        xmlsafe::init();
        exsltRegisterAll();
        xsltRegisterExtModuleFunction(BAD_CAST "new", BAD_CAST kImageNs, imageNew);
        xsltRegisterExtModuleFunction(BAD_CAST "getWidth", BAD_CAST kImageNs, imageWidth);
        xsltRegisterExtModuleFunction(BAD_CAST "getDepth", BAD_CAST kImageNs, imageDepth);
        xsltSetGenericErrorFunc(nullptr, genericError);
    });
}

struct StyleDeleter {
    void operator()(xsltStylesheet* s) const { xsltFreeStylesheet(s); }
};
struct CtxtDeleter {
    void operator()(xsltTransformContext* c) const { xsltFreeTransformContext(c); }
};
struct SecDeleter {
    void operator()(xsltSecurityPrefs* s) const { xsltFreeSecurityPrefs(s); }
};

} // namespace

struct XsltTransform::State {
    const XsltJob& job;
    RunState run;
    std::unique_ptr<xsltStylesheet, StyleDeleter> style;
    xmlsafe::DocPtr doc;
    xmlsafe::DocPtr result;
    explicit State(const XsltJob& j) : job(j), run(j) {}
};

XsltTransform::XsltTransform(const XsltJob& job) : d(std::make_unique<State>(job)) {}

XsltTransform::~XsltTransform()
{
    // The result's strings live in the stylesheet's dictionary: it goes first.
    d->result.reset();
    d->doc.reset();
    d->style.reset();
}

xmlDoc* XsltTransform::source() const
{
    return d->doc.get();
}

xmlDoc* XsltTransform::result() const
{
    return d->result.get();
}

xsltStylesheet* XsltTransform::style() const
{
    return d->style.get();
}

XsltResult XsltTransform::run()
{
    initOnce();
    const XsltJob& job = d->job;
    XsltResult r;
    QString messages;
    QString* previous = tl_messages;
    tl_messages = &messages;
    const std::function<void(const QString&)>* previousListener = tl_onMessage;
    tl_onMessage = &job.onMessage;
    xmlSetGenericErrorFunc(nullptr, genericError);
    {
        xmlsafe::EntityScope scope(job.readFolders + job.writeFolders);
        xmlsafe::ErrorCapture capture;
        const int opts = XSLT_PARSE_OPTIONS | XML_PARSE_NONET;
        QByteArray styleName = QFile::encodeName(QFileInfo(job.stylesheet).absoluteFilePath());
        xmlDocPtr sdoc = xmlReadFile(styleName.constData(), nullptr, opts);
        d->style.reset(sdoc ? xsltParseStylesheetDoc(sdoc) : nullptr);
        if (!d->style) {
            if (sdoc)
                xmlFreeDoc(sdoc);
            if (capture.any())
                messages += capture.first().message + QLatin1Char('\n');
            messages += QStringLiteral("The stylesheet cannot be read.\n");
        } else {
            QByteArray inName = QFile::encodeName(QFileInfo(job.input).absoluteFilePath());
            const int inputOpts = job.inputDtd ? opts : opts & ~(XML_PARSE_DTDLOAD | XML_PARSE_DTDATTR);
            d->doc.reset(xmlReadFile(inName.constData(), nullptr, inputOpts));
            if (!d->doc) {
                if (capture.any())
                    messages += capture.first().message + QLatin1Char('\n');
                messages += QStringLiteral("The document cannot be read.\n");
            } else {
                xsltStylesheet* style = d->style.get();
                xmlDocPtr doc = d->doc.get();
                std::unique_ptr<xsltTransformContext, CtxtDeleter> ctxt(xsltNewTransformContext(style, doc));
                std::unique_ptr<xsltSecurityPrefs, SecDeleter> sec(xsltNewSecurityPrefs());
                xsltSetSecurityPrefs(sec.get(), XSLT_SECPREF_READ_FILE, checkRead);
                xsltSetSecurityPrefs(sec.get(), XSLT_SECPREF_WRITE_FILE, checkWrite);
                xsltSetSecurityPrefs(sec.get(), XSLT_SECPREF_CREATE_DIRECTORY, checkWrite);
                xsltSetSecurityPrefs(sec.get(), XSLT_SECPREF_READ_NETWORK, xsltSecurityForbid);
                xsltSetSecurityPrefs(sec.get(), XSLT_SECPREF_WRITE_NETWORK, xsltSecurityForbid);
                xsltSetCtxtSecurityPrefs(sec.get(), ctxt.get());
                ctxt->_private = &d->run;
                xsltSetCtxtParseOptions(ctxt.get(), opts);
                for (const XsltFunction& f : job.functions)
                    xsltRegisterExtFunction(ctxt.get(), BAD_CAST f.name, BAD_CAST f.ns, f.function);
                if (job.onContext)
                    job.onContext(ctxt.get());

                std::vector<QByteArray> store;
                std::vector<const char*> params;
                for (const auto& [name, value] : job.params) {
                    store.push_back(name.toUtf8());
                    store.push_back(value.toUtf8());
                }
                for (const QByteArray& b : store)
                    params.push_back(b.constData());
                params.push_back(nullptr);

                // Files the stylesheet writes itself are resolved against this name.
                QString baseFile = (job.outputBase.isEmpty() ? QFileInfo(job.output).absolutePath() : job.outputBase) +
                                   QStringLiteral("/index.html");
                QByteArray base = QUrl::fromLocalFile(baseFile).toEncoded();
                {
                    StopWatch stop(job.cancel, ctxt.get());
                    d->result.reset(
                        xsltApplyStylesheetUser(style, doc, params.data(), base.constData(), nullptr, ctxt.get()));
                }
                if (ctxt->state == XSLT_STATE_STOPPED && job.cancel && *job.cancel)
                    messages += QStringLiteral("The transformation was cancelled.\n");

                bool ok = d->result && ctxt->state != XSLT_STATE_ERROR && ctxt->state != XSLT_STATE_STOPPED;
                if (d->result && ok && !job.output.isEmpty()) {
                    QByteArray outName = QFile::encodeName(job.output);
                    if (!d->run.mayWrite(job.output) ||
                        xsltSaveResultToFilename(outName.constData(), d->result.get(), style, 0) < 0) {
                        ok = false;
                        messages += QStringLiteral("The result cannot be written.\n");
                    }
                }
                r.transformed = ok;
            }
        }
    }
    tl_messages = previous;
    tl_onMessage = previousListener;
    xmlSetGenericErrorFunc(nullptr, nullptr);
    r.messages = messages;
    r.written = d->run.written;
    return r;
}

XsltResult runXsltHere(const XsltJob& job)
{
    XsltTransform t(job);
    return t.run();
}

void runOffThread(const std::function<void()>& work)
{
    QCoreApplication* app = QCoreApplication::instance();
    if (!app || QThread::currentThread() != app->thread()) {
        std::thread t(work);
        t.join();
        return;
    }
    // The event loop runs while the worker works; the worker ends it.
    QEventLoop loop;
    std::thread t([&] {
        work();
        QMetaObject::invokeMethod(&loop, "quit", Qt::QueuedConnection);
    });
    loop.exec();
    t.join();
}

XsltResult runXslt(const XsltJob& job)
{
    initOnce();
    XsltResult r;
    runOffThread([&] { r = runXsltHere(job); });
    return r;
}

void* xsltJobUserData(xmlXPathParserContextPtr ctxt)
{
    RunState* state = stateOf(xsltXPathGetTransformContext(ctxt));
    return state ? state->job->userData : nullptr;
}

bool imageSize(const QString& path, int& width, int& height)
{
    // An image that is a FIFO or a device would stall the transformation.
    int fd = xmlsafe::openRegularFile(path, nullptr);
    if (fd < 0)
        return false;
    QFile f;
    if (!f.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return false;
    QByteArray h = f.read(64);
    auto u8 = [&](int i) { return i < h.size() ? int(uchar(h[i])) : 0; };
    auto be16 = [&](int i) { return (u8(i) << 8) | u8(i + 1); };
    auto le16 = [&](int i) { return u8(i) | (u8(i + 1) << 8); };
    auto be32 = [&](int i) { return (u8(i) << 24) | (u8(i + 1) << 16) | (u8(i + 2) << 8) | u8(i + 3); };
    auto le32 = [&](int i) { return u8(i) | (u8(i + 1) << 8) | (u8(i + 2) << 16) | (u8(i + 3) << 24); };
    if (h.startsWith("\x89PNG\r\n\x1a\n") && h.size() >= 24) {
        width = be32(16);
        height = be32(20);
        return width > 0 && height > 0;
    }
    if ((h.startsWith("GIF87a") || h.startsWith("GIF89a")) && h.size() >= 10) {
        width = le16(6);
        height = le16(8);
        return width > 0 && height > 0;
    }
    if (h.startsWith("BM") && h.size() >= 26) {
        width = le32(18);
        height = std::abs(le32(22));
        return width > 0 && height > 0;
    }
    if (h.startsWith("\xFF\xD8")) {
        // Walk the JPEG markers to the first start of frame.
        f.seek(2);
        for (int guard = 0; guard < 1000; ++guard) {
            QByteArray m = f.read(4);
            if (m.size() < 4 || uchar(m[0]) != 0xFF)
                return false;
            int marker = uchar(m[1]);
            int len = (uchar(m[2]) << 8) | uchar(m[3]);
            if (marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC) {
                QByteArray sof = f.read(5);
                if (sof.size() < 5)
                    return false;
                height = (uchar(sof[1]) << 8) | uchar(sof[2]);
                width = (uchar(sof[3]) << 8) | uchar(sof[4]);
                return width > 0 && height > 0;
            }
            if (len < 2 || !f.seek(f.pos() + len - 2))
                return false;
        }
        return false;
    }
    Q_UNUSED(be16);
    return false;
}
