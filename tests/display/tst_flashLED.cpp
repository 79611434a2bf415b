#include "app/Widgets/flashLED.h"

#include "tests/support/expire.h"

#include <QImage>
#include <QTest>
#include <QTimer>

namespace {
const QColor ground(255, 0, 255);

struct fixture {
    flashLED lamp;
    QTimer *timer = lamp.findChild<QTimer *>();

    explicit fixture(quint16 durationMs = 0)
        : lamp(30, QColor(100, 0, 0), QColor(0, 0, 100), durationMs)
    {
    }
    /// The lamp on a coloured ground.
    QImage picture()
    {
        QImage image(lamp.size(), QImage::Format_RGB32);
        image.fill(ground);
        lamp.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
        return image;
    }
    /// Judged by the lamp's body, below the highlight.
    bool isLit() { return picture().pixelColor(15, 18).red() > picture().pixelColor(15, 18).blue(); }
};
}

class tst_flashLED : public QObject
{
    Q_OBJECT
private slots:
    // 30 pixels: bezel 3, so the outer rim is at 3..26, the inner at 6..23, the body at 7..22 and the
    // highlight at 9..20 by 7..16. The gradients' levels are taken at the middle of the pixel.
    void paintsADomedLampInABezel()
    {
        const QList<QPair<QPoint, QColor>> pixels{
            {{1, 1}, ground}, {{2, 15}, ground}, {{27, 15}, ground},
            {{15, 4}, {17, 17, 17}},                                 // outer rim, top
            {{15, 25}, {249, 249, 249}}, {{15, 6}, {247, 247, 247}}, // inner rim, top
            {{15, 23}, {0, 0, 0}}, {{8, 12}, {87, 0, 0}},            // body, left of the highlight
            {{9, 12}, {136, 75, 75}}, {{15, 10}, {157, 117, 117}},
            {{15, 18}, {127, 0, 0}}, // body, below the highlight
        };
        constexpr int rounding = 12; // a gradient's step from one pixel to the next
        fixture f;
        f.lamp.on();
        const QImage picture = f.picture();
        for (const auto &[at, colour] : pixels) {
            const QColor seen = picture.pixelColor(at);
            QVERIFY2(qAbs(seen.red() - colour.red()) <= rounding
                    && qAbs(seen.green() - colour.green()) <= rounding
                    && qAbs(seen.blue() - colour.blue()) <= rounding,
                qPrintable(seen.name() + QStringLiteral(" for ") + colour.name()));
        }
        QImage again = picture; // a part of it is uncovered
        f.lamp.render(&again, QPoint(0, 0), QRegion(0, 0, 30, 12), QWidget::DrawChildren);
        QCOMPARE(again.copy(0, 15, 30, 15), picture.copy(0, 15, 30, 15));
    }

    void flashes()
    {
        fixture flashing(500);
        flashing.lamp.on();
        QVERIFY(flashing.isLit());
        QCOMPARE(flashing.timer->interval(), 500);
        expire(flashing.timer);
        QVERIFY(!flashing.isLit() && !flashing.timer->isActive());
    }
};

QTEST_MAIN(tst_flashLED)
#include "tst_flashLED.moc"
