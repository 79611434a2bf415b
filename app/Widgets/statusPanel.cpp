#include "app/Widgets/statusPanel.h"

#include <QAbstractTextDocumentLayout>
#include <QPainter>
#include <QTextOption>

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
    m_pause.start();
    update();
}

/// The text that was painted last, or is the first to be painted, in today's font and width.
const QTextDocument &statusPanel::laidOut() const
{
    const int wide
        = qBound(minimumWidth(), width(), maximumWidth()); // also before it has been given its size
    if (m_layout && m_layout->defaultFont() == font() && int(m_layout->textWidth()) == wide)
        return *m_layout;
    // A new document each time: an old one lays itself out again after every single change made to it here.
    m_layout = std::make_unique<QTextDocument>();
    m_layout->setUndoRedoEnabled(false);
    m_layout->setDocumentMargin(0);
    m_layout->setDefaultFont(font());
    m_layout->setDefaultTextOption(QTextOption(alignment()));
    m_layout->setHtml(text());
    m_layout->setTextWidth(wide);
    m_laidOutText = text();
    return *m_layout;
}

QSize statusPanel::sizeHint() const
{
    return laidOut().size().toSize();
}

void statusPanel::paintEvent(QPaintEvent *)
{
    const QSize before = sizeHint();
    if (m_laidOutText != text()) {
        m_layout.reset();
        if (sizeHint() != before)
            updateGeometry();
    }
    QAbstractTextDocumentLayout::PaintContext context;
    context.palette = palette();
    context.palette.setColor(QPalette::Text, palette().color(foregroundRole()));
    QPainter painter(this);
    painter.translate(0, (height() - laidOut().size().height()) / 2);
    laidOut().documentLayout()->draw(&painter, context);
}
