#pragma once
// SAX2 streaming on libxml2, with the events the filters of the system use.
// Adjacent text is handed over as one piece; comments and processing
// instructions are not reported. Names and texts are UTF-8 views valid for the
// duration of the call.
#include "xmlsafety.h"

#include <QString>

#include <deque>
#include <string>
#include <string_view>
#include <vector>

class cSAXErrorHandler;

namespace sax {

struct Attr {
    std::string_view name;
    std::string_view value;
};

class Attrs {
public:
    size_t size() const { return m_list.size(); }
    const Attr& operator[](size_t i) const { return m_list[i]; }
    auto begin() const { return m_list.begin(); }
    auto end() const { return m_list.end(); }
    bool has(std::string_view name) const;
    std::string_view value(std::string_view name) const; // empty when absent
    QString qvalue(std::string_view name) const;

    // Used by the reader.
    void clear();
    void add(std::string_view name, std::string_view value) { m_list.push_back({name, value}); }
    std::string_view keep(std::string s);

private:
    std::vector<Attr> m_list;
    std::deque<std::string> m_owned;
};

class Reader;

class Handler {
public:
    virtual ~Handler() = default;
    virtual void startDocument();
    virtual void endDocument();
    virtual void startElement(std::string_view name, const Attrs& attrs);
    virtual void endElement(std::string_view name);
    virtual void characters(std::string_view text);
    // An entity reference that was not replaced by its text.
    virtual void skippedEntity(std::string_view name);
    virtual void startDTD(std::string_view name, std::string_view publicId, std::string_view systemId);
    virtual void endDTD();
    virtual void elementDecl(std::string_view name, std::string_view model);
    virtual void attributeDecl(std::string_view element, std::string_view attribute,
                               std::string_view type, std::string_view valueDefault,
                               std::string_view value);
    virtual void externalEntityDecl(std::string_view name, std::string_view publicId,
                                    std::string_view systemId);
    virtual void internalEntityDecl(std::string_view name, std::string_view value);

    // The reader that is feeding this handler (set during a parse).
    Reader* reader = nullptr;
};

class Reader {
public:
    explicit Reader(Handler& handler);
    ~Reader();

    // Replace entity references by their text (libxml2's substitution;
    // external ones only from allowed folders).
    void setExpandEntities(bool on) { m_expand = on; }
    // Parse external entities declared in the document as files of their
    // own, inline, with the same handler (the book and its chapter files).
    // The entity's file must lie inside an allowed folder.
    void setExpandExternalEntities(bool on) { m_expandExternal = on; }
    void setErrorHandler(cSAXErrorHandler* h) { m_errorHandler = h; }
    // Without substitution, a reference to an internal entity is handed over
    // as its text (default), so that no reference outlives a DTD that a
    // filter drops; off, it arrives as skippedEntity.
    void setInlineInternalEntities(bool on) { m_inlineInternal = on; }
    // Folders from which external entities may be read; default: the folder
    // of the parsed file.
    // The file that parseFile is given must lie inside them too.
    void setAllowedFolders(const QStringList& folders)
    {
        m_allowed = folders;
        m_allowedGiven = !folders.isEmpty();
    }

    // Parses a file; false after an error, which the error handler (if any)
    // has been shown. Only a regular file is read (links followed): a FIFO,
    // device or folder is refused at once.
    bool parseFile(const QString& path);
    bool parseMemory(const QByteArray& data, const QString& baseName = {});
    // Ends the parse after the current event.
    void stop();

    const xmlsafe::XmlError& error() const { return m_error; }
    // Line of the current event, for diagnostics.
    int currentLine() const;

    // Internal: called by the libxml2 callbacks.
    struct Impl;

private:
    bool run(void* ctxt, const QString& label);
    bool parseEntityFile(const QString& systemId);
    // A parser context on a regular file, or null with a reason.
    void* openParser(const QString& path, QString* reason);
    bool fail(const QString& file, const QString& message, int code);
    // Counts text that entities expanded to; false (and the parse stopped)
    // when it exceeds the amplification rule.
    bool expanded(size_t bytes);
    size_t m_expanded = 0;
    // Events that libxml2 replays while it checks an entity it does not
    // substitute: they come from a context of their own and are not ours.
    bool echo(void* ctx) const { return !m_expand && ctx != m_ctxt; }
    bool m_stopRequested = false;
    Handler& m_handler;
    cSAXErrorHandler* m_errorHandler = nullptr;
    bool m_expand = false;
    bool m_expandExternal = false;
    bool m_inlineInternal = true;
    std::vector<std::pair<std::string, std::string>> m_internalEntities;
    QStringList m_allowed;
    bool m_allowedGiven = false;
    xmlsafe::XmlError m_error;
    void* m_ctxt = nullptr;
    friend struct Impl;
    std::string m_text;
    Attrs m_attrs;
    std::string m_nameBuf;
    std::vector<std::pair<std::string, std::string>> m_externalEntities;
    QString m_currentFile;
    bool m_nestedFailed = false;
    int m_depth = 0;
};

// Convenience conversion of a UTF-8 view.
inline QString qs(std::string_view s)
{
    return QString::fromUtf8(s.data(), qsizetype(s.size()));
}

// The whitespace rule of all filters and readers: a text that is exactly one
// tab or one line feed is dropped; of any other text all leading characters
// below code 32 are stripped. Returns what remains.
std::string_view trimText(std::string_view text);

} // namespace sax
