#pragma once
// Progress of a long exchange job: a maximum, then one step at a time. The
// window moves a bar and repaints, the command line prints a line on a
// terminal, tests count. The value never passes the maximum.
#include <QString>

#include <atomic>

class Progress {
public:
    // What a job says when it stopped at the user's request.
    static inline const QString kCancelled = QStringLiteral("Cancelled: nothing was changed.");

    virtual ~Progress() = default;

    // Minimum 0, maximum max, value 0.
    void start(int maximum)
    {
        m_max = maximum < 0 ? 0 : maximum;
        m_value = 0;
        changed();
    }
    // One step, taken only while the value is below the maximum.
    void step()
    {
        if (m_value < m_max) {
            ++m_value;
            changed();
        }
    }
    int value() const { return m_value; }
    int maximum() const { return m_max; }

    // A short text of what is being done ("Extracting files. Please wait.").
    virtual void message(const QString&) {}

    // Asked by the user (from any thread): a job that can stop does so at
    // its next step and takes its failure path.
    void requestCancel() { m_cancel = true; }
    bool cancelRequested() const { return m_cancel; }

protected:
    virtual void changed() {}

private:
    int m_value = 0;
    int m_max = 0;
    std::atomic<bool> m_cancel{false};
};
