#pragma once
// The editing surface of the desktop program: a web page whose BODY is
// contenteditable. A small agent script (app/js) lives in the page (in an isolated
// script world, so page content can run no script of its own) and does what
// must happen inside it; C++ talks to it through runJavaScript and waits for
// the answer in a local event loop.
#include "surface.h"

#include <QString>
#include <QUrl>
#include <QVariant>
#include <QWebEnginePage>
#include <QWebEngineView>

class QEventLoop;
class QWebEngineProfile;

class WebSurface : public QWebEngineView, public EditSurface {
    Q_OBJECT
public:
    explicit WebSurface(QWidget* parent = nullptr);
    ~WebSurface() override;

    // EditSurface. Every call returns only when the page has answered, or
    // after the timeout; a failed call leaves lastCallOk() false.
    void setDocumentHTML(const QString& html) override;
    QString bodyHTML() override;
    void setBodyHTML(const QString& html) override;
    void pasteHTML(const QString& html) override;
    void setBaseURL(const QString& folder) override;
    QString baseURL() const override { return m_base; }
    // A page that does not answer counts as changed, so nothing is lost.
    bool isDirty() override;
    void saveDocument(const QString& path) override;
    bool browseMode() const override { return m_browse; }
    void setBrowseMode(bool on) override;
    bool waitReady() override;
    int unansweredCalls() const override { return m_unanswered; }

    // Runs JavaScript in the agent's world (window.__q is the agent) and
    // returns its completion value; invalid on an exception or timeout.
    QVariant runScript(const QString& js, bool* ok = nullptr);
    // A JavaScript string literal holding text, for building scripts.
    static QString jsString(const QString& text);

    // The whole page as text (doctype and HTML element).
    QString documentHTML();
    // Marks the page changed, as a user edit would.
    void setDirty();
    bool lastCallOk() const { return m_lastOk; }
    // True while a call waits for the page's answer. A second call from
    // inside that wait can leave both unanswered.
    bool inCall() const { return m_calls > 0; }

    // Finds and highlights the next match; the number of matches (0: none).
    int find(const QString& text, QWebEnginePage::FindFlags flags = {});

    // Time limits of a page load and of one script call, in milliseconds.
    void setTimeouts(int loadMs, int scriptMs);

signals:
    // The selection or the content changed (throttled by the page).
    void displayChanged();
    // A link was clicked in browse mode: its href as written. The page
    // itself never follows links.
    void linkClicked(const QString& href);

private:
    friend class SurfacePage;
    bool waitForLoad();
    // Waits, in loop, until done is set or the script time limit has passed.
    void waitForAnswer(const bool& done, QEventLoop& loop);
    void loadPage(const QString& html);
    void finishLoad(bool ok);
    void checkLoad();
    void afterLoad();
    bool ensureAgent();
    QUrl baseUrl() const;
    void pageMessage(const QString& message);
    void noAnswer();

    QWebEngineProfile* m_profile = nullptr;
    QString m_base;
    bool m_browse = false;
    bool m_loading = false;
    bool m_ownLoad = false;
    bool m_loadOk = false;
    int m_loadGen = 0;
    QString m_pendingHtml;
    bool m_reissued = false;
    bool m_lastOk = true;
    int m_unanswered = 0;
    int m_calls = 0;
    int m_loadTimeout = 20000;
    int m_scriptTimeout = 10000;
    QWebEnginePage::FindFlags m_findFlags;
};
