#pragma once
// The base of every filter that rewrites a chapter file: it copies the
// document as it came in (tags, escaped attributes, the whitespace rule,
// entity replacements escaped back, no comments, no processing instructions,
// no DTD) into a UTF-16 stream. Subclasses decide what to leave out or add.
#include "fileio.h"
#include "sax.h"

class cSAXErrorHandler;

// Appends "<name a="v" ...>" with the values escaped for double quotes.
void appendStartTag(std::string& out, std::string_view name, const sax::Attrs& attrs);

class RewriteFilter : public sax::Handler {
public:
    void setOutput(fileio::AtomicUtf16Writer* out) { m_out = out; }

    void startElement(std::string_view name, const sax::Attrs& attrs) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;
    void skippedEntity(std::string_view name) override;
    // A document type with an external part is written back as it was
    // declared, so that references to the entities it declares, which stay
    // references when its DTD cannot be read, still resolve in the copy.
    void startDTD(std::string_view name, std::string_view publicId, std::string_view systemId) override;

    // Whether the element the filter works on was met; a filter that works
    // on the whole file always has.
    virtual bool found() const { return true; }

protected:
    void writeStart(std::string_view name, const sax::Attrs& attrs);
    void writeEnd(std::string_view name);
    // Applies the whitespace rule, escapes and writes; false if nothing remained.
    bool writeText(std::string_view text);
    void writeEntity(std::string_view name);
    void writeRaw(std::string_view utf8);
    void writeRaw(const QString& text);

    fileio::AtomicUtf16Writer* m_out = nullptr;
    std::string m_buf;
    bool m_started = false;
};

// Streams source through the filter into a temporary file made for the hint
// tempPath and renames that over target (the source itself when target is
// empty), all under the writers' lock of the target's folder. A parse error
// shows the error handler's box and leaves the target untouched; a lock held
// by another process gives its message in *error. The output ends with CRLF.
bool rewriteFile(const QString& source, RewriteFilter& filter, const QString& tempPath,
                 cSAXErrorHandler* errorHandler, QString* error = nullptr,
                 const QString& target = {});

// The first half of rewriteFile: the complete, fsynced result in a temporary
// file, not yet renamed; fileio::commitTemp(tempPath, ...) replaces the target
// with it or removes it, and fileio::pendingTemp(tempPath) names it. Lets a
// change of two files be prepared before either is replaced. The writers'
// lock of the source's folder is held until that commitTemp.
bool rewriteToTemp(const QString& source, RewriteFilter& filter, const QString& tempPath,
                   cSAXErrorHandler* errorHandler, QString* error = nullptr);
