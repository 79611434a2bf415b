#include "app/Widgets/statusPanel.h"

#include <QEvent>

namespace {
constexpr int repaintInterval = 100; // ms
}

statusPanel::statusPanel(const QString &text, QWidget *parent)
    : QLabel(text, parent)
{
    m_pause.setSingleShot(true);
    m_pause.setTimerType(Qt::PreciseTimer);
    m_pause.setInterval(repaintInterval);
    connect(&m_pause, &QTimer::timeout, this, &statusPanel::paintPending);
}

void statusPanel::showStatus(const QString &richText)
{
    if (richText == text())
        return;
    if (richText.count(QLatin1Char('<')) != text().count(QLatin1Char('<')))
        m_hint = QSize(); // other lines, not just other values
    // The base class asks for a repaint with every text; this one is asked for below, when its turn comes.
    const bool disabled = testAttribute(Qt::WA_UpdatesDisabled);
    setAttribute(Qt::WA_UpdatesDisabled);
    setText(richText);
    setAttribute(Qt::WA_UpdatesDisabled, disabled);
    m_pending = true;
    if (!m_pause.isActive())
        paintPending();
}

void statusPanel::paintPending()
{
    if (!m_pending)
        return;
    m_pending = false;
    update();
    m_pause.start();
}

QSize statusPanel::sizeHint() const
{
    if (!m_hint.isValid())
        m_hint = QLabel::sizeHint();
    return m_hint;
}

void statusPanel::changeEvent(QEvent *event)
{
    m_hint = QSize();
    QLabel::changeEvent(event);
}
