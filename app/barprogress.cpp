#include "barprogress.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QEvent>
#include <QLabel>
#include <QProgressBar>

namespace {
// Repaints at most this often; a book of thousands of topics steps faster
// than anyone can watch.
constexpr qint64 kPumpMs = 30;

// Lets the mouse reach one button only; keys and every other click in its
// window are dropped while a job runs. A box the job opens in a window of its
// own (a question, its end message) takes input as usual.
class InputGate : public QObject {
public:
    explicit InputGate(QAbstractButton* open) : m_open(open) {}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        bool mouse = false;
        switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
            mouse = true;
            break;
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
        case QEvent::ShortcutOverride:
        case QEvent::Shortcut:
        case QEvent::Wheel:
            break;
        default:
            return false;
        }
        auto* widget = qobject_cast<QWidget*>(watched);
        if (!widget)
            // A window hands the event on to its widget, where it is judged;
            // an action's shortcut is not let through.
            return event->type() == QEvent::Shortcut;
        if (m_open && widget->window() != m_open->window())
            return false;
        return !(mouse && widget == m_open);
    }

private:
    QPointer<QAbstractButton> m_open;
};
} // namespace

BarProgress::BarProgress(QProgressBar* bar, QLabel* label, QWidget* panel)
    : m_bar(bar), m_label(label), m_panel(panel)
{
    m_sincePump.start();
}

BarProgress::~BarProgress()
{
    if (m_gate)
        QCoreApplication::instance()->removeEventFilter(m_gate.get());
    if (m_cancel)
        QObject::disconnect(m_cancel, nullptr, m_gate.get(), nullptr);
}

void BarProgress::setCancelButton(QAbstractButton* button)
{
    m_cancel = button;
    if (!button)
        return;
    m_gate = std::make_unique<InputGate>(button);
    QObject::connect(button, &QAbstractButton::clicked, m_gate.get(), [this] { requestCancel(); });
    QCoreApplication::instance()->installEventFilter(m_gate.get());
}

void BarProgress::message(const QString& text)
{
    if (m_label)
        m_label->setText(text);
    reveal();
    pump(true);
}

void BarProgress::changed()
{
    if (m_bar) {
        // A range of 0 to 0 would turn the bar into a busy indicator.
        m_bar->setRange(0, qMax(1, maximum()));
        m_bar->setValue(value());
    }
    reveal();
    pump(value() == 0 || value() == maximum());
}

void BarProgress::reveal()
{
    if (m_panel && !m_panel->isVisible()) {
        m_panel->raise();
        m_panel->show();
    }
}

void BarProgress::pump(bool force)
{
    if (!force && m_sincePump.elapsed() < kPumpMs)
        return;
    // With a cancel button the mouse gets through, to that button alone.
    QCoreApplication::processEvents(m_gate ? QEventLoop::AllEvents : QEventLoop::ExcludeUserInputEvents);
    m_sincePump.restart();
}
