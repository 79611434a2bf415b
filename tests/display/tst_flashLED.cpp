#include "app/Widgets/flashLED.h"

#include "tests/support/expire.h"

#include <QtTest>

namespace {
const QColor ground(255, 0, 255);
const QColor lit(100, 0, 0);  // lighter 150,0,0; darker 50,0,0
const QColor dark(0, 0, 100); // lighter 0,0,150; darker 0,0,50

/// The lamp on a coloured ground.
QImage picture(flashLED &lamp)
{
    QImage image(lamp.size(), QImage::Format_RGB32);
    image.fill(ground);
    lamp.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}

bool alike(const QColor &a, const QColor &b)
{
    constexpr int rounding = 12; // a gradient's step from one pixel to the next
    return qAbs(a.red() - b.red()) <= rounding && qAbs(a.green() - b.green()) <= rounding
        && qAbs(a.blue() - b.blue()) <= rounding;
}

QColor grey(int level)
{
    return {level, level, level};
}

/// In the lamp's body, below the highlight.
QColor bodyOf(flashLED &lamp)
{
    return picture(lamp).pixelColor(15, 18);
}
const QColor litBody(127, 0, 0);
const QColor darkBody(0, 0, 127);
}

class tst_flashLED : public QObject
{
    Q_OBJECT
private slots:
    // 30 pixels: bezel 3, so the outer rim is at 3..26, the inner at 6..23, the body at 7..22 and the
    // highlight at 9..20 by 7..16. The gradients' levels are taken at the middle of the pixel.
    void paintsADomedLampInABezel_data()
    {
        QTest::addColumn<QPoint>("at");
        QTest::addColumn<QColor>("colour");
        QTest::newRow("corner") << QPoint(1, 1) << ground;
        QTest::newRow("left of the rim") << QPoint(2, 15) << ground;
        QTest::newRow("right of the rim") << QPoint(27, 15) << ground;
        QTest::newRow("outer rim, top") << QPoint(15, 4) << grey(17);
        QTest::newRow("outer rim, left") << QPoint(4, 15) << grey(139);
        QTest::newRow("outer rim, bottom") << QPoint(15, 25) << grey(249);
        QTest::newRow("inner rim, top") << QPoint(15, 6) << grey(247);
        QTest::newRow("inner rim, left") << QPoint(6, 15) << grey(112);
        QTest::newRow("inner rim, bottom") << QPoint(15, 23) << grey(0);
        QTest::newRow("body, left") << QPoint(8, 15) << QColor(107, 0, 0);
        QTest::newRow("body, left of the highlight") << QPoint(8, 12) << QColor(87, 0, 0);
        QTest::newRow("highlight, left") << QPoint(9, 12) << QColor(136, 75, 75);
        QTest::newRow("highlight, middle") << QPoint(15, 10) << QColor(157, 117, 117);
        QTest::newRow("highlight, bottom") << QPoint(15, 14) << QColor(119, 32, 32);
        QTest::newRow("body, below the highlight") << QPoint(15, 18) << litBody;
    }
    void paintsADomedLampInABezel()
    {
        QFETCH(QPoint, at);
        QFETCH(QColor, colour);
        flashLED lamp(30, lit, dark);
        lamp.on();
        const QColor seen = picture(lamp).pixelColor(at);
        QVERIFY2(alike(seen, colour), qPrintable(seen.name() + QStringLiteral(" for ") + colour.name()));
    }

    void paintsInTheTopLeftSquare()
    {
        flashLED lamp(30, lit, dark);
        lamp.setFixedSize(40, 20);
        const QImage image = picture(lamp);
        QCOMPARE(image.pixelColor(30, 10), ground);
        QCOMPARE(image.pixelColor(18, 10), ground);
        QVERIFY(image.pixelColor(17, 10) != ground);
    }

    void paintsTheWholeLampWhereAPartIsUncovered()
    {
        flashLED lamp(30, lit, dark);
        QImage image = picture(lamp);
        const QImage whole = image;
        lamp.render(&image, QPoint(0, 0), QRegion(0, 0, 30, 12), QWidget::DrawChildren);
        QVERIFY(alike(image.pixelColor(15, 6), whole.pixelColor(15, 6)));
        QCOMPARE(image.copy(0, 15, 30, 15), whole.copy(0, 15, 30, 15));
    }

    void isSteadyWithoutADuration()
    {
        flashLED lamp(30, lit, dark);
        QCOMPARE(lamp.size(), QSize(30, 30));
        QVERIFY(alike(bodyOf(lamp), darkBody));
        lamp.show(); // as any widget
        lamp.set(true);
        QVERIFY(!lamp.findChild<QTimer *>()->isActive());
        QVERIFY(alike(bodyOf(lamp), litBody));
        lamp.set(false);
        QVERIFY(alike(bodyOf(lamp), darkBody));
    }

    void flashesForItsDuration()
    {
        flashLED lamp(30, lit, dark, 500);
        auto *const timer = lamp.findChild<QTimer *>();
        lamp.on();
        QCOMPARE(timer->interval(), 500);
        QVERIFY(alike(bodyOf(lamp), litBody));
        expire(timer);
        QVERIFY(alike(bodyOf(lamp), darkBody));
        QVERIFY(!timer->isActive());
    }
};

QTEST_MAIN(tst_flashLED)
#include "tst_flashLED.moc"
