#include "app/Widgets/flashLED.h"

#include <QPainter>
#include <QTimer>

namespace {
constexpr double bezelShare = 0.1; // of the lamp's side
constexpr int lighterPercent = 150;
constexpr int darkerPercent = 200;
constexpr int highlightAlpha = 192;

QRect shrunk(const QRect &r, int by)
{
    return r.adjusted(by, by, -by, -by);
}

/// The upper part of the lamp's body.
QRect highlight(const QRect &body, int bezel)
{
    const int side = body.width() / 6;
    return body.adjusted(side, bezel / 4, -side, -int(2.0 * body.height() / 5.0));
}

void drawEllipse(QPainter &painter, const QRect &r, const QLinearGradient &fill)
{
    painter.setBrush(fill);
    painter.drawEllipse(r);
}

QLinearGradient downwards(const QRect &r)
{
    return {r.topLeft(), r.bottomLeft()};
}

QLinearGradient upwards(const QRect &r)
{
    return {r.bottomLeft(), r.topLeft()};
}

QLinearGradient between(QLinearGradient gradient, const QColor &first, const QColor &last)
{
    gradient.setColorAt(0, first);
    gradient.setColorAt(1, last);
    return gradient;
}
}

flashLED::flashLED(int size, const QColor &on, const QColor &off, quint16 durn, QWidget *parent)
    : QWidget(parent)
    , m_on(on)
    , m_off(off)
    , m_durn(durn)
    , currCol(off)
    , m_flashTimer(new QTimer(this))
{
    m_flashTimer->setSingleShot(true);
    m_flashTimer->setInterval(m_durn);
    connect(m_flashTimer, &QTimer::timeout, this, &flashLED::off);
    setFixedSize(size, size);
}

void flashLED::set(bool ledOn)
{
    if (ledOn)
        on();
    else
        off();
}

void flashLED::on()
{
    if (m_durn != 0)
        m_flashTimer->start();
    become(m_on, true);
}

void flashLED::off()
{
    become(m_off, false);
}

void flashLED::become(const QColor &colour, bool lit)
{
    if (colour == currCol && lit == state)
        return;
    currCol = colour;
    state = lit;
    update();
}

/// The rim looks raised because its two gradients run in opposite directions.
void flashLED::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);

    // The whole lamp every time: when only a part of it was uncovered, the painter clips.
    const int side = qMin(height(), width());
    const int bezel = int(side * bezelShare);
    const QRect outer = shrunk(QRect(0, 0, side, side), bezel);
    const QRect inner = shrunk(outer, bezel);
    const QRect body = shrunk(inner, bezel / 2);
    const QRect shine = highlight(body, bezel);

    drawEllipse(painter, outer, downwards(outer));
    drawEllipse(painter, inner, upwards(inner));
    drawEllipse(painter, body,
        between(upwards(body), currCol.lighter(lighterPercent), currCol.darker(darkerPercent)));
    drawEllipse(painter, shine,
        between(downwards(shine), QColor(255, 255, 255, highlightAlpha), QColor(255, 255, 255, 0)));
}
