#include "websurface.h"

#include "editagent.h"
#include "fileio.h"
#include "pagekeys.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QEventLoop>
#include <QPointer>
#include <QTimer>
#include <QWebEngineFindTextResult>
#include <QWebEngineProfile>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>

#include <algorithm>
#include <memory>

namespace {

// A console message that starts with this mark and a key of keys.json is
// one of the agent's notes; the console is the one channel from the page
// that needs no extra module.
const QChar kNoteMark(0x01);

QString agentCall(const char* function, const QVariantList& args = {})
{
    return editagent::callExpression(QStringLiteral("window.__q.") + QLatin1String(function), args);
}

// setHtml goes through a data URL, which is limited to 2 MB.
constexpr int kMaxDataUrl = 2 * 1024 * 1024 - 4096;

} // namespace

// The page: keeps it where it is (no navigation but our own loads) and
// passes the agent's notes on.
class SurfacePage : public QWebEnginePage {
public:
    SurfacePage(QWebEngineProfile* profile, WebSurface* surface)
        : QWebEnginePage(profile, surface), m_surface(surface)
    {
    }

protected:
    bool acceptNavigationRequest(const QUrl&, NavigationType, bool isMainFrame) override
    {
        if (!isMainFrame)
            return false;
        // Our own load is let through once: a later navigation is not ours.
        if (m_surface && m_surface->m_ownLoad) {
            m_surface->m_ownLoad = false;
            return true;
        }
        // A link, a dropped file, back or reload would replace the topic.
        return false;
    }

    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString& message, int,
                                  const QString&) override
    {
        if (m_surface)
            m_surface->pageMessage(message);
    }

private:
    QPointer<WebSurface> m_surface;
};

WebSurface::WebSurface(QWidget* parent) : QWebEngineView(parent)
{
    // A private profile in memory: no cache or cookies on disk.
    m_profile = new QWebEngineProfile();
    auto* p = new SurfacePage(m_profile, this);
    // The page owns the profile, so the profile outlives the page.
    m_profile->setParent(p);

    QWebEngineSettings* s = p->settings();
    // Only the agent's world runs script; pasted content cannot.
    s->setAttribute(QWebEngineSettings::JavascriptEnabled, false);
    s->setAttribute(QWebEngineSettings::LocalContentCanAccessFileUrls, true);
    s->setAttribute(QWebEngineSettings::LocalContentCanAccessRemoteUrls, false);
    s->setAttribute(QWebEngineSettings::AutoLoadImages, true);
    s->setAttribute(QWebEngineSettings::JavascriptCanAccessClipboard, true);
    s->setAttribute(QWebEngineSettings::JavascriptCanOpenWindows, false);
    s->setAttribute(QWebEngineSettings::PluginsEnabled, false);
    s->setAttribute(QWebEngineSettings::LocalStorageEnabled, false);
    s->setAttribute(QWebEngineSettings::ErrorPageEnabled, false);
    s->setAttribute(QWebEngineSettings::NavigateOnDropEnabled, false);

    // The agent (app/js): injected at document ready and run again after
    // each load, in case the injection came too late.
    QWebEngineScript agent;
    agent.setName(QStringLiteral("quillary-agent"));
    agent.setSourceCode(editagent::surfaceScript());
    agent.setInjectionPoint(QWebEngineScript::DocumentReady);
    agent.setWorldId(QWebEngineScript::ApplicationWorld);
    agent.setRunsOnSubFrames(false);
    p->scripts().insert(agent);

    connect(p, &QWebEnginePage::loadFinished, this, [this](bool ok) {
        // A refused navigation (a link, a drop) finishes too; before our own
        // load was let through, a failed finish is that one's, not ours.
        if (m_ownLoad && !ok)
            return;
        finishLoad(ok);
    });
    setPage(p);
    // The view's own menu offers Reload and Back, which would drop the
    // topic; the owner shows its own menu.
    setContextMenuPolicy(Qt::CustomContextMenu);

    loadPage(QStringLiteral("<html><head></head><body></body></html>"));
}

WebSurface::~WebSurface()
{
    // Callbacks still pending are answered with nothing; the page goes before the view.
    QWebEnginePage* p = page();
    setPage(nullptr);
    delete p;
}

void WebSurface::setTimeouts(int loadMs, int scriptMs)
{
    m_loadTimeout = loadMs;
    m_scriptTimeout = scriptMs;
}

QUrl WebSurface::baseUrl() const
{
    return m_base.isEmpty() ? QUrl() : QUrl::fromLocalFile(m_base);
}

void WebSurface::loadPage(const QString& html)
{
    // A load started over one in progress aborts it, and the aborted load's
    // finish would end the wait for the new one.
    if (m_loading)
        waitForLoad();
    m_loading = true;
    m_ownLoad = true;
    m_loadOk = false;
    ++m_loadGen;
    m_pendingHtml = html;
    m_reissued = false;
    page()->setHtml(html, baseUrl());
}

void WebSurface::finishLoad(bool ok)
{
    m_loading = false;
    m_ownLoad = false;
    m_loadOk = ok;
    m_pendingHtml.clear();
    // Marks the document as seen, so that checkLoad can tell a new one from it.
    page()->runJavaScript(QStringLiteral("window.__qSeen = true;"), QWebEngineScript::ApplicationWorld);
}

void WebSurface::checkLoad()
{
    // Chromium has been seen to lose a load's finish (or the load itself) on
    // a busy machine; the page is asked where it stands instead.
    const int gen = m_loadGen;
    QPointer<WebSurface> self(this);
    page()->runJavaScript(
        QStringLiteral("document.readyState === 'complete' ? (window.__qSeen ? 'old' : 'new') : 'loading'"),
        QWebEngineScript::ApplicationWorld, [self, gen](const QVariant& v) {
            if (!self || !self->m_loading || self->m_loadGen != gen)
                return;
            const QString state = v.toString();
            if (state == QLatin1String("new")) {
                qWarning("WebSurface: a page load had finished unannounced");
                self->finishLoad(true);
            } else if (state == QLatin1String("old") && self->m_ownLoad && !self->m_reissued) {
                // Our load never started: it is asked for once more.
                qWarning("WebSurface: a page load had not started; it is asked for again");
                self->m_reissued = true;
                self->page()->setHtml(self->m_pendingHtml, self->baseUrl());
            }
        });
}

bool WebSurface::waitForLoad()
{
    if (!m_loading)
        return m_loadOk;
    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    connect(page(), &QWebEnginePage::loadFinished, &loop, &QEventLoop::quit);
    connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    timer.start(m_loadTimeout);
    QTimer check;
    connect(&check, &QTimer::timeout, this, [this, &loop] {
        if (m_loading)
            checkLoad();
        else
            loop.quit();
    });
    check.start(std::clamp(m_loadTimeout / 8, 100, 2500));
    // User input waits until the page has answered, so no command runs in
    // the middle of another; painting and the page's own traffic go on.
    while (m_loading && timer.isActive())
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    check.stop();
    if (m_loading) {
        qWarning("WebSurface: the page did not finish loading in time");
        return false;
    }
    return m_loadOk;
}

bool WebSurface::waitReady()
{
    if (m_loading && !waitForLoad())
        noAnswer();
    return !m_loading;
}

void WebSurface::noAnswer()
{
    m_lastOk = false;
    ++m_unanswered;
}

QVariant WebSurface::runScript(const QString& js, bool* ok)
{
    if (m_loading)
        waitForLoad();
    struct Answer {
        bool done = false;
        QVariant value;
        QEventLoop loop;
    };
    // Shared with the callback, which may come after a timeout or never.
    auto answer = std::make_shared<Answer>();
    page()->runJavaScript(js, QWebEngineScript::ApplicationWorld, [answer](const QVariant& v) {
        answer->value = v;
        answer->done = true;
        answer->loop.quit();
    });
    // Such a call can stall both until the time-out; its caller should
    // have waited for the page to be free.
    if (m_calls > 0)
        qWarning("WebSurface: a page call was made while another waited: %s", qPrintable(js.left(60)));
    ++m_calls;
    waitForAnswer(answer->done, answer->loop);
    --m_calls;
    m_lastOk = answer->done;
    if (!answer->done) {
        ++m_unanswered;
        qWarning("WebSurface: the page did not answer in time");
    }
    if (ok)
        *ok = answer->done;
    return answer->value;
}

void WebSurface::waitForAnswer(const bool& done, QEventLoop& loop)
{
    if (done)
        return;
    QTimer timer;
    timer.setSingleShot(true);
    connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    timer.start(m_scriptTimeout);
    while (!done && timer.isActive())
        loop.exec(QEventLoop::ExcludeUserInputEvents);
}

QString WebSurface::jsString(const QString& text)
{
    QString out;
    out.reserve(text.size() + 2);
    out += QLatin1Char('"');
    for (QChar c : text) {
        const char16_t u = c.unicode();
        if (u == '"' || u == '\\') {
            out += QLatin1Char('\\');
            out += c;
        } else if (u < 0x20 || u == 0x2028 || u == 0x2029 || u == 0x7f) {
            out += QStringLiteral("\\u%1").arg(int(u), 4, 16, QLatin1Char('0'));
        } else {
            out += c;
        }
    }
    out += QLatin1Char('"');
    return out;
}

bool WebSurface::ensureAgent()
{
    bool ok = false;
    runScript(editagent::surfaceScript(), &ok);
    if (!ok)
        return false;
    QVariant v = runScript(agentCall("setEditable", {!m_browse}), &ok);
    return ok && v.toBool();
}

void WebSurface::afterLoad()
{
    if (!ensureAgent())
        noAnswer();
}

void WebSurface::setDocumentHTML(const QString& html)
{
    QString head, body, tail;
    const bool large = QUrl::toPercentEncoding(html.toUtf8()).size() > kMaxDataUrl;
    if (large && splitAtBody(html, head, body, tail)) {
        loadPage(head + tail);
    } else if (large) {
        body = html;
        loadPage(QStringLiteral("<html><head></head><body></body></html>"));
    } else {
        loadPage(html);
    }
    if (!waitForLoad()) {
        noAnswer();
        return;
    }
    afterLoad();
    if (large)
        runScript(agentCall("setBody", {body}));
    // A new document counts as a change until it is saved, as on the fake.
    setDirty();
}

QString WebSurface::documentHTML()
{
    return runScript(agentCall("doc")).toString();
}

QString WebSurface::bodyHTML()
{
    return runScript(agentCall("body_")).toString();
}

void WebSurface::setBodyHTML(const QString& html)
{
    runScript(agentCall("setBody", {html}));
}

void WebSurface::pasteHTML(const QString& html)
{
    runScript(agentCall("paste", {html}));
}

void WebSurface::setBaseURL(const QString& folder)
{
    QString f = folder;
    if (!f.isEmpty() && !f.endsWith(QLatin1Char('/')))
        f += QLatin1Char('/');
    if (f == m_base)
        return;
    // The base is the page's own URL: the page is loaded again under the
    // new one, with its content and its dirty state.
    bool ok = false;
    QVariant snap = runScript(agentCall("snapshot"), &ok);
    const bool wasDirty = isDirty();
    m_base = f;
    if (!ok)
        return;
    QString html = snap.toMap().value(pagekeys::snapshot::html).toString();
    setDocumentHTML(html);
    if (!wasDirty) {
        QVariant s = runScript(agentCall("snapshot"));
        runScript(agentCall("clean", {s.toMap().value(pagekeys::snapshot::gen)}));
    }
}

bool WebSurface::isDirty()
{
    bool ok = false;
    QVariant v = runScript(agentCall("isDirty"), &ok);
    return !ok || !v.isValid() || v.toBool();
}

void WebSurface::setDirty()
{
    runScript(agentCall("setDirty"));
}

void WebSurface::saveDocument(const QString& path)
{
    bool ok = false;
    QVariantMap snap = runScript(agentCall("snapshot"), &ok).toMap();
    if (!ok || !snap.contains(pagekeys::snapshot::gen)) {
        noAnswer();
        return;
    }
    if (!path.isEmpty()) {
        // The file is a by-product that nothing reads: a failure to write it
        // must not keep the page counted as changed. Each process writes
        // through its own temporary name, as several may share the folder.
        const QFileInfo fi(path);
        const QString temp = fi.absolutePath() + QStringLiteral("/.") + fi.fileName() + QLatin1Char('.') +
                             QString::number(QCoreApplication::applicationPid()) + QStringLiteral(".tmp");
        QString error;
        if (!fileio::atomicReplace(path, snap.value(pagekeys::snapshot::html).toString().toUtf8(), temp, &error)) {
            qWarning("WebSurface: %s", qPrintable(error));
            m_lastOk = false;
        }
    }
    runScript(agentCall("clean", {snap.value(pagekeys::snapshot::gen)}));
}

void WebSurface::setBrowseMode(bool on)
{
    m_browse = on;
    runScript(agentCall("setEditable", {!on}));
}

void WebSurface::pageMessage(const QString& message)
{
    if (!message.startsWith(kNoteMark))
        return;
    const QStringView note = QStringView(message).mid(1);
    if (note == pagekeys::notes::display)
        emit displayChanged();
    else if (note.startsWith(pagekeys::notes::link))
        emit linkClicked(note.mid(pagekeys::notes::link.size()).toString());
}

int WebSurface::find(const QString& text, QWebEnginePage::FindFlags flags)
{
    struct Answer {
        bool done = false;
        int matches = 0;
        QEventLoop loop;
    };
    auto answer = std::make_shared<Answer>();
    // The same text again would only go on with the last search and its
    // flags; a new search starts from a cleared one.
    if (flags != m_findFlags)
        page()->findText(QString());
    m_findFlags = flags;
    page()->findText(text, flags, [answer](const QWebEngineFindTextResult& r) {
        answer->matches = r.numberOfMatches();
        answer->done = true;
        answer->loop.quit();
    });
    waitForAnswer(answer->done, answer->loop);
    m_lastOk = answer->done;
    return answer->matches;
}
