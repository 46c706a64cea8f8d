#include "outputlog.h"

void OutputLog::logLine(const QString& text, bool error, bool newLine)
{
    QString piece;
    if (newLine)
        piece = QStringLiteral("\r\n");
    piece += text;
    Listener l;
    bool red;
    {
        std::lock_guard<std::mutex> g(m_mutex);
        m_text += piece;
        if (error)
            m_red = true;
        red = m_red;
        l = m_listener;
    }
    if (l)
        l(piece, red);
}

void OutputLog::showLogView()
{
    logLine(QString(), false, true);
}

QString OutputLog::text() const
{
    std::lock_guard<std::mutex> g(m_mutex);
    return m_text;
}

bool OutputLog::isRed() const
{
    std::lock_guard<std::mutex> g(m_mutex);
    return m_red;
}

void OutputLog::setListener(Listener l)
{
    std::lock_guard<std::mutex> g(m_mutex);
    m_listener = std::move(l);
}

void OutputLog::progress(int done, int total)
{
    ProgressListener l;
    {
        std::lock_guard<std::mutex> g(m_mutex);
        m_progress = {done, total};
        l = m_progressListener;
    }
    if (l)
        l(done, total);
}

std::pair<int, int> OutputLog::lastProgress() const
{
    std::lock_guard<std::mutex> g(m_mutex);
    return m_progress;
}

void OutputLog::setProgressListener(ProgressListener l)
{
    std::lock_guard<std::mutex> g(m_mutex);
    m_progressListener = std::move(l);
}
