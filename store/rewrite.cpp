#include "rewrite.h"

#include "csaxerrorhandler.h"
#include "mcommon.h"

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

bool rewriteToTemp(const QString& source, RewriteFilter& filter, const QString& tempPath,
                   cSAXErrorHandler* errorHandler, QString* error)
{
    fileio::AtomicUtf16Writer out;
    if (!runFilter(out, source, filter, tempPath, errorHandler, error))
        return false;
    return out.finish(error);
}

bool rewriteFile(const QString& source, RewriteFilter& filter, const QString& tempPath,
                 cSAXErrorHandler* errorHandler, QString* error, const QString& target)
{
    fileio::AtomicUtf16Writer out;
    if (!runFilter(out, source, filter, tempPath, errorHandler, error))
        return false;
    return out.commit(target.isEmpty() ? source : target, error);
}
