#pragma once
// The running log of a publishing run (the output dialog's text box): lines
// with their error flag; one failure line turns the whole log red for good.
// Safe to call from any thread; a listener is told of every append on the
// thread that appended, so a view marshals to its own thread.
#include <QString>

#include <functional>
#include <mutex>
#include <utility>

class OutputLog {
public:
    // The design-time text of the box.
    static inline const QString kStartText =
        QStringLiteral("Creating output. It may take several minutes, please wait.");

    OutputLog() : m_text(kStartText) {}

    // logLine(text, error, newLine): CR LF first when newLine, then the text;
    // an error line makes the log red.
    void logLine(const QString& text, bool error = false, bool newLine = true);
    // A blank line.
    void blank() { logLine(QString(), false, true); }
    // showLogView adds a line end to the start text.
    void showLogView();

    QString text() const;
    bool isRed() const;

    // Called after each append with the piece appended and the red state.
    using Listener = std::function<void(const QString& piece, bool red)>;
    void setListener(Listener l);

    // How far a long step has come (chapters done of all); a listener is
    // told on the thread that reports.
    void progress(int done, int total);
    std::pair<int, int> lastProgress() const;
    using ProgressListener = std::function<void(int done, int total)>;
    void setProgressListener(ProgressListener l);

private:
    mutable std::mutex m_mutex;
    QString m_text;
    bool m_red = false;
    Listener m_listener;
    ProgressListener m_progressListener;
    std::pair<int, int> m_progress{0, 0};
};
