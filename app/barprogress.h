#pragma once
// The progress of an exchange job on a bar of a form. Each change lets the
// window repaint (user input stays queued), so a long job shows its bar
// moving while the form keeps the user out.
#include "progress.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>

#include <memory>

class QAbstractButton;
class QLabel;
class QProgressBar;
class QWidget;

class BarProgress : public Progress {
public:
    // label takes the job's messages; panel (a wait panel) is shown at the
    // first sign of work. Both optional.
    explicit BarProgress(QProgressBar* bar, QLabel* label = nullptr, QWidget* panel = nullptr);
    ~BarProgress() override;

    // A button that asks the job to stop. While the job runs it is the one
    // control that takes the mouse; everything else waits as before.
    void setCancelButton(QAbstractButton* button);

    void message(const QString& text) override;

protected:
    void changed() override;

private:
    void reveal();
    void pump(bool force);

    QPointer<QProgressBar> m_bar;
    QPointer<QLabel> m_label;
    QPointer<QWidget> m_panel;
    QElapsedTimer m_sincePump;
    QPointer<QAbstractButton> m_cancel;
    std::unique_ptr<QObject> m_gate;
};
