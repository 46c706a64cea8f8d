#include "surface.h"

#include "fileio.h"

void FakeSurface::setDocumentHTML(const QString& html)
{
    m_shell = html;
    int open = html.indexOf(QStringLiteral("<body"), 0, Qt::CaseInsensitive);
    int openEnd = open >= 0 ? html.indexOf(QLatin1Char('>'), open) : -1;
    int close = html.lastIndexOf(QStringLiteral("</body>"), -1, Qt::CaseInsensitive);
    if (open >= 0 && openEnd >= 0 && close > openEnd) {
        m_head = html.left(openEnd + 1);
        m_body = html.mid(openEnd + 1, close - openEnd - 1);
        m_tail = html.mid(close);
    } else {
        m_head = QStringLiteral("<html><head></head><body>");
        m_body = html;
        m_tail = QStringLiteral("</body></html>");
    }
    m_dirty = true;
}

void FakeSurface::saveDocument(const QString& path)
{
    fileio::atomicReplace(path, documentHTML().toUtf8());
    m_dirty = false;
}
