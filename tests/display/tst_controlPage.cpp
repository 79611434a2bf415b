#include "app/controlPage.h"

#include "app/Widgets/flashLED.h"
#include "app/timer.h"
#include "lib/types/datastore.h"

#include <QImage>
#include <QTest>

namespace {
QImage picture(QWidget *widget)
{
    QImage image(widget->size(), QImage::Format_RGB32);
    image.fill(Qt::black);
    widget->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}
}

class tst_controlPage : public QObject
{
    Q_OBJECT
private slots:
    void lampsMirrorTheStore()
    {
        const QColor red(255, 0, 0);
        const QColor green(0, 255, 0);
        const QColor darkRed(20, 0, 0);
        const QColor blue(0, 0, 255);
        const QColor darkBlue(0, 0, 10);
        const QList<std::tuple<QString, QString, QColor, QColor>> rows{
            {"card1Prs1OK", "System Pressure OK", green, red},
            {"thermostatPower2Sense", "Hot Water Demand", red, darkRed},
            {"thermostatPower1Sense", "Heating Demand", red, darkRed},
            {"waterTimerOn", "Water Timer", blue, darkBlue},
            {"heatTimerOn", "Heating Timer", blue, darkBlue},
            {"card1Power2Control", "Boiler On", blue, darkBlue},
            {"card1Power1Control", "Pump On", blue, darkBlue},
        };
        datastore store;
        timer water(&store, QStringLiteral("waterTimer"), QString(), nullptr);
        timer heat(&store, QStringLiteral("heatTimer"), QString(), nullptr);
        controlPage page(&store, &water, &heat);
        page.show();
        const QList<flashLED *> lamps = page.findChildren<flashLED *>(); // in order of creation
        QCOMPARE(lamps.size(), rows.size());
        for (int i = 0; i < rows.size(); ++i) {
            const auto &[key, caption, on, off] = rows[i];
            flashLED expected(30, on, off);
            QCOMPARE(picture(lamps[i]), picture(&expected));
            store.store(key, true);
            store.store(key.toLower(), false); // another key
            expected.on();
            QCOMPARE(picture(lamps[i]), picture(&expected));
            store.store(key, 0);
            expected.off();
            QCOMPARE(picture(lamps[i]), picture(&expected));
            const QWidget *const beside = page.childAt(lamps[i]->geometry().center() + QPoint(40, 0));
            QCOMPARE(beside->property("text").toString(), caption);
        }
    }
};

QTEST_MAIN(tst_controlPage)
#include "tst_controlPage.moc"
