#include "surface.h"

#include "fileio.h"

bool splitAtBody(const QString& html, QString& head, QString& body, QString& tail)
{
    const qsizetype open = html.indexOf(QStringLiteral("<body"), 0, Qt::CaseInsensitive);
    const qsizetype openEnd = open >= 0 ? html.indexOf(QLatin1Char('>'), open) : -1;
    const qsizetype close = html.lastIndexOf(QStringLiteral("</body>"), -1, Qt::CaseInsensitive);
    if (open < 0 || openEnd < 0 || close <= openEnd)
        return false;
    head = html.left(openEnd + 1);
    body = html.mid(openEnd + 1, close - openEnd - 1);
    tail = html.mid(close);
    return true;
}

void FakeSurface::setDocumentHTML(const QString& html)
{
    m_shell = html;
    if (!splitAtBody(html, m_head, m_body, m_tail)) {
        m_head = QStringLiteral("<html><head></head><body>");
        m_body = html;
        m_tail = QStringLiteral("</body></html>");
    }
    m_dirty = true;
}

void FakeSurface::saveDocument(const QString& path)
{
    if (silent) {
        ++m_unanswered;
        return;
    }
    fileio::atomicReplace(path, documentHTML().toUtf8());
    m_dirty = false;
}
