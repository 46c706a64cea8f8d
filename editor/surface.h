#pragma once
// The editing surface as the rest of the system sees it. The desktop program
// supplies a web page with contenteditable; FakeSurface serves tests and the
// command line.
#include <QString>

class EditSurface {
public:
    virtual ~EditSurface() = default;

    // Replaces the whole page (the page shell with its style sheet).
    virtual void setDocumentHTML(const QString& html) = 0;
    // The inner HTML of the page's BODY, and replacing it.
    virtual QString bodyHTML() = 0;
    virtual void setBodyHTML(const QString& html) = 0;
    // Pastes HTML at the current selection (at the end when there is none).
    virtual void pasteHTML(const QString& html) = 0;
    // The folder that relative image paths resolve against, with a closing
    // slash, as a plain path ("/home/a/manual/").
    virtual void setBaseURL(const QString& folder) = 0;
    virtual QString baseURL() const = 0;
    // True once the user (or a program) changed the page since the last save.
    virtual bool isDirty() = 0;
    // Writes the page to path and clears the dirty flag.
    virtual void saveDocument(const QString& path) = 0;
    // Browse mode: the page shows but does not edit.
    virtual bool browseMode() const = 0;
    virtual void setBrowseMode(bool on) = 0;
    // Waits for a load in progress; false when the page did not finish in
    // time (the real surface waits in an event loop, never spins).
    virtual bool waitReady() = 0;
    // How many calls so far went unanswered. What such a call returned (an
    // empty body, say) is not the page's content and must never be stored.
    virtual int unansweredCalls() const = 0;
};

// Splits a page at its BODY: up to and with the BODY's start tag, the BODY's
// content, and from its end tag on. False when the page has no BODY.
bool splitAtBody(const QString& html, QString& head, QString& body, QString& tail);

// A surface without a window: holds the HTML as text. Every change sets the
// dirty flag, as on the real page.
class FakeSurface : public EditSurface {
public:
    void setDocumentHTML(const QString& html) override;
    QString bodyHTML() override
    {
        if (silent) {
            ++m_unanswered;
            return {};
        }
        return m_body;
    }
    void setBodyHTML(const QString& html) override
    {
        m_body = html;
        m_dirty = true;
    }
    void pasteHTML(const QString& html) override
    {
        m_body += html;
        m_dirty = true;
    }
    void setBaseURL(const QString& folder) override { m_base = folder; }
    QString baseURL() const override { return m_base; }
    bool isDirty() override
    {
        if (silent)
            ++m_unanswered;
        return m_dirty || silent;
    }
    void saveDocument(const QString& path) override;
    bool browseMode() const override { return m_browse; }
    void setBrowseMode(bool on) override { m_browse = on; }
    bool waitReady() override { return !silent; }
    int unansweredCalls() const override { return m_unanswered; }

    // A page that has stopped answering: reads give nothing and count as unanswered.
    bool silent = false;

    // What a user does: edit the body (sets the dirty flag).
    void userEdit(const QString& html) { setBodyHTML(html); }
    QString documentHTML() const { return m_head + m_body + m_tail; }
    QString pageShell() const { return m_shell; }

private:
    QString m_shell, m_head, m_tail, m_body, m_base;
    bool m_dirty = false;
    bool m_browse = false;
    int m_unanswered = 0;
};
