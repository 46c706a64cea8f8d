#include "rewrite.h"

#include "csaxerrorhandler.h"
#include "mcommon.h"
#include "projectlock.h"

#include <QFileInfo>

void RewriteFilter::startElement(std::string_view name, const sax::Attrs& attrs)
{
    writeStart(name, attrs);
}

void RewriteFilter::endElement(std::string_view name)
{
    writeEnd(name);
}

void RewriteFilter::characters(std::string_view text)
{
    writeText(text);
}

void RewriteFilter::skippedEntity(std::string_view name)
{
    writeEntity(name);
}

void RewriteFilter::startDTD(std::string_view name, std::string_view publicId, std::string_view systemId)
{
    // Only the document's own, before anything else was written.
    if (systemId.empty() || m_started)
        return;
    auto quoted = [](std::string_view v) {
        const char q = v.find('"') == std::string_view::npos ? '"' : '\'';
        return q + std::string(v) + q;
    };
    m_buf = "<!DOCTYPE ";
    m_buf += name;
    if (!publicId.empty())
        m_buf += " PUBLIC " + quoted(publicId) + ' ' + quoted(systemId);
    else
        m_buf += " SYSTEM " + quoted(systemId);
    m_buf += '>';
    writeRaw(m_buf);
}

void appendStartTag(std::string& out, std::string_view name, const sax::Attrs& attrs)
{
    out += '<';
    out += name;
    for (const auto& a : attrs) {
        out += ' ';
        out += a.name;
        out += "=\"";
        mCommon::escapeXMLAttributeTo(out, a.value);
        out += '"';
    }
    out += '>';
}

void RewriteFilter::writeStart(std::string_view name, const sax::Attrs& attrs)
{
    m_started = true;
    m_buf.clear();
    appendStartTag(m_buf, name, attrs);
    writeRaw(m_buf);
}

void RewriteFilter::writeEnd(std::string_view name)
{
    m_buf.clear();
    m_buf += "</";
    m_buf += name;
    m_buf += '>';
    writeRaw(m_buf);
}

bool RewriteFilter::writeText(std::string_view text)
{
    std::string_view t = sax::trimText(text);
    if (t.empty())
        return false;
    m_buf.clear();
    mCommon::escapeXMLTo(m_buf, t);
    writeRaw(m_buf);
    return true;
}

void RewriteFilter::writeEntity(std::string_view name)
{
    m_buf.clear();
    m_buf += '&';
    m_buf += name;
    m_buf += ';';
    writeRaw(m_buf);
}

void RewriteFilter::writeRaw(std::string_view utf8)
{
    if (m_out)
        m_out->write(utf8);
}

void RewriteFilter::writeRaw(const QString& text)
{
    if (m_out)
        m_out->write(text);
}

namespace {
bool runFilter(fileio::AtomicUtf16Writer& out, const QString& source, RewriteFilter& filter,
               const QString& tempPath, cSAXErrorHandler* errorHandler, QString* error)
{
    if (!out.open(tempPath, error))
        return false;
    filter.setOutput(&out);
    sax::Reader reader(filter);
    reader.setExpandEntities(true);
    reader.setErrorHandler(errorHandler);
    reader.setAllowedFolders({QFileInfo(tempPath).absolutePath(), QFileInfo(source).absolutePath()});
    bool ok = reader.parseFile(source);
    filter.setOutput(nullptr);
    if (!ok) {
        out.abort();
        if (error)
            *error = reader.error().message;
        return false;
    }
    out.write(std::string_view("\r\n"));
    return true;
}
}

// The file is read, changed and replaced under the writers' lock of its
// folder, so that a second writer never works from a copy the first is about
// to replace. After rewriteToTemp the lock is held until commitTemp.
bool rewriteToTemp(const QString& source, RewriteFilter& filter, const QString& tempPath,
                   cSAXErrorHandler* errorHandler, QString* error)
{
    auto lock = std::make_shared<ProjectLock>(QFileInfo(source).absolutePath());
    if (!lock->ok()) {
        if (error)
            *error = lock->error();
        return false;
    }
    fileio::AtomicUtf16Writer out;
    if (!runFilter(out, source, filter, tempPath, errorHandler, error))
        return false;
    return out.finish(error, lock);
}

bool rewriteFile(const QString& source, RewriteFilter& filter, const QString& tempPath,
                 cSAXErrorHandler* errorHandler, QString* error, const QString& target)
{
    const QString into = target.isEmpty() ? source : target;
    ProjectLock lock(QFileInfo(into).absolutePath());
    if (!lock.ok()) {
        if (error)
            *error = lock.error();
        return false;
    }
    fileio::AtomicUtf16Writer out;
    if (!runFilter(out, source, filter, tempPath, errorHandler, error))
        return false;
    return out.commit(into, error);
}
