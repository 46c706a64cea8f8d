#include "barprogress.h"

#include <QCoreApplication>
#include <QLabel>
#include <QProgressBar>

namespace {
// Repaints at most this often; a book of thousands of topics steps faster
// than anyone can watch.
constexpr qint64 kPumpMs = 30;
} // namespace

BarProgress::BarProgress(QProgressBar* bar, QLabel* label, QWidget* panel)
    : m_bar(bar), m_label(label), m_panel(panel)
{
    m_sincePump.start();
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
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    m_sincePump.restart();
}
