#include "app/controlPage.h"

#include "app/Widgets/flashLED.h"
#include "app/timer.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"

#include <QGroupBox>
#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <ctime>

namespace {
struct fixture {
    fakeHost host; // 10:30
    datastore store;
    timer water{&store, QStringLiteral("waterTimer"), QString(), nullptr, host.system()};
    timer heat{&store, QStringLiteral("heatTimer"), QString(), nullptr, host.system()};
    controlPage page{&store, &water, &heat};

    fixture() { page.show(); }
    QGroupBox *box(const QString &title) const
    {
        const QList<QGroupBox *> boxes = page.findChildren<QGroupBox *>();
        return boxes[boxes[0]->title() == title ? 0 : 1];
    }
    /// Presses the button; what the box says a second later.
    QString press(const QString &title, const QString &text)
    {
        for (QPushButton *each : box(title)->findChildren<QPushButton *>()) {
            if (each->text() == text)
                QTest::mouseClick(each, Qt::LeftButton);
        }
        expire(page.findChild<QTimer *>(QString(), Qt::FindDirectChildrenOnly));
        return box(title)->findChild<QLabel *>()->text();
    }
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
        fixture f;
        const QList<flashLED *> lamps = f.page.findChildren<flashLED *>(); // in order of creation
        QCOMPARE(lamps.size(), rows.size());
        for (int i = 0; i < rows.size(); ++i) {
            const auto &[key, caption, on, off] = rows[i];
            flashLED expected(30, on, off);
            QCOMPARE(picture(lamps[i]), picture(&expected));
            f.store.store(key, true);
            f.store.store(key.toLower(), false); // another key
            expected.on();
            QCOMPARE(picture(lamps[i]), picture(&expected));
            f.store.store(key, 0);
            expected.off();
            QCOMPARE(picture(lamps[i]), picture(&expected));
            const QWidget *const beside = f.page.childAt(lamps[i]->geometry().center() + QPoint(40, 0));
            QCOMPARE(beside->property("text").toString(), caption);
        }
    }

    void boostsByTheHourAndAdvanceDoesNothing()
    {
        qputenv("TZ", "UTC");
        tzset();
        for (const QString title : {"Heating", "Hot Water"}) {
            fixture f;
            const QString other = title == "Heating" ? "Hot Water" : "Heating";
            for (const QString text :
                {"Boost until 11:30am", "Boost until 12:30am", "Boost until  1:30pm", "Off"}) {
                QCOMPARE(f.press(title, "Boost"), text);
                QCOMPARE(f.press(title, "Advance"), text);
                QCOMPARE(f.press(other, "Advance"), QStringLiteral("Off"));
            }
        }
    }
};

QTEST_MAIN(tst_controlPage)
#include "tst_controlPage.moc"
