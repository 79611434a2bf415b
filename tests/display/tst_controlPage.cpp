#include "app/controlPage.h"

#include "app/Widgets/flashLED.h"
#include "app/timer.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QtTest>

#include <ctime>

namespace {
const char overrideKey[] = "heatStatOverride";

struct fixture {
    fakeHost host; // 10:30
    datastore store;
    timer water{&store, QStringLiteral("waterTimer"), QString(), nullptr, host.system()};
    timer heat{&store, QStringLiteral("heatTimer"), QString(), nullptr, host.system()};
    controlPage page{&store, &water, &heat};
    QList<flashLED *> lamps = page.findChildren<flashLED *>(); // in order of creation

    fixture()
    {
        page.resize(500, 360);
        page.show();
    }

    void aSecondPasses() { expire(page.findChild<QTimer *>(QString(), Qt::FindDirectChildrenOnly)); }
    QGroupBox *box(const char *title) const
    {
        for (QGroupBox *each : page.findChildren<QGroupBox *>()) {
            if (each->title() == QLatin1String(title))
                return each;
        }
        return nullptr;
    }
    void press(const char *title, const char *button) const
    {
        for (QPushButton *each : box(title)->findChildren<QPushButton *>()) {
            if (each->text() == QLatin1String(button))
                QTest::mouseClick(each, Qt::LeftButton);
        }
    }
    QString info(const char *title) const { return box(title)->findChild<QLabel *>()->text(); }
    QCheckBox *tick() const { return page.findChild<QCheckBox *>(); }
    QVariant overridden() { return store.query(QLatin1String(overrideKey)); }
};

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
    void initTestCase()
    {
        qputenv("TZ", "UTC");
        tzset();
    }

    void lampsMirrorTheStore_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("caption");
        QTest::addColumn<QColor>("on");
        QTest::addColumn<QColor>("off");
        const QColor red(255, 0, 0);
        const QColor green(0, 255, 0);
        const QColor darkRed(20, 0, 0);
        const QColor blue(0, 0, 255);
        const QColor darkBlue(0, 0, 10);
        const auto row
            = [](const char *key, int index, const char *caption, const QColor &on, const QColor &off) {
                  QTest::newRow(key) << index << QString::fromLatin1(caption) << on << off;
              };
        row("card1Prs1OK", 0, "System Pressure OK", green, red);
        row("thermostatPower2Sense", 1, "Hot Water Demand", red, darkRed);
        row("thermostatPower1Sense", 2, "Heating Demand", red, darkRed);
        row("waterTimerOn", 3, "Water Timer", blue, darkBlue);
        row("heatTimerOn", 4, "Heating Timer", blue, darkBlue);
        row("card1Power2Control", 5, "Boiler On", blue, darkBlue);
        row("card1Power1Control", 6, "Pump On", blue, darkBlue);
    }
    void lampsMirrorTheStore()
    {
        QFETCH(int, index);
        QFETCH(QString, caption);
        QFETCH(QColor, on);
        QFETCH(QColor, off);
        fixture f;
        flashLED expected(30, on, off);
        QCOMPARE(f.lamps.count(), 7);
        flashLED *const lamp = f.lamps[index];
        const QString key = QString::fromLatin1(QTest::currentDataTag());

        f.store.store(key, true);
        expected.on();
        QCOMPARE(picture(lamp), picture(&expected));
        f.store.store(key.toLower(), false); // another key
        QCOMPARE(picture(lamp), picture(&expected));
        f.store.store(key, 0);
        expected.off();
        QCOMPARE(picture(lamp), picture(&expected));

        const auto *const beside
            = qobject_cast<QLabel *>(f.page.childAt(lamp->geometry().center() + QPoint(40, 0)));
        QVERIFY(beside);
        QCOMPARE(beside->text(), caption);
    }

    void overrideEndsWithTheHeatingTimer()
    {
        fixture f;
        QCOMPARE(f.overridden(), QVariant(false));
        f.tick()->click();
        QCOMPARE(f.overridden(), QVariant(true));
        f.aSecondPasses();
        QVERIFY(!f.tick()->isChecked());
        QCOMPARE(f.overridden(), QVariant(false));

        f.press("Heating", "Boost");
        f.tick()->click();
        f.aSecondPasses();
        QCOMPARE(f.overridden(), QVariant(true));
        f.host.advance(qint64(60) * 60 * 1000);
        f.aSecondPasses();
        QVERIFY(!f.tick()->isChecked());
        QCOMPARE(f.overridden(), QVariant(false));
    }

    void boostsByTheHour_data()
    {
        QTest::addColumn<QString>("other");
        QTest::newRow("Heating") << QStringLiteral("Hot Water");
        QTest::newRow("Hot Water") << QStringLiteral("Heating");
    }
    void boostsByTheHour()
    {
        QFETCH(QString, other);
        fixture f;
        for (const char *text :
            {"Boost until 11:30am", "Boost until 12:30am", "Boost until  1:30pm", "Off"}) {
            f.press(QTest::currentDataTag(), "Boost");
            f.aSecondPasses();
            QCOMPARE(f.info(QTest::currentDataTag()), QString::fromLatin1(text));
            QCOMPARE(f.info(other.toLatin1()), QStringLiteral("Off"));
        }
    }

    void advanceChangesNothing()
    {
        fixture f;
        f.press("Heating", "Boost");
        f.aSecondPasses();
        const QImage before = picture(&f.page);
        QSignalSpy stored(&f.store, &datastore::dataUpdated);
        for (const char *title : {"Heating", "Hot Water"})
            f.press(title, "Advance");
        f.box("Heating")->findChild<QPushButton *>()->setFocus();
        f.aSecondPasses();
        QCOMPARE(picture(&f.page), before);
        QCOMPARE(stored.count(), 0);
    }
};

QTEST_MAIN(tst_controlPage)
#include "tst_controlPage.moc"
