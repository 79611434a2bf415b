#include "app/mainWindow.h"

#include "app/Widgets/statusPanel.h"
#include "app/timer.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"

#include <QElapsedTimer>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QTimer>

#include <cmath>

namespace {
struct fixture {
    fakeHost host;
    datastore store;
    timer water{&store, QStringLiteral("waterTimer"), QString(), nullptr, host};
    timer heat{&store, QStringLiteral("heatTimer"), QString(), nullptr, host};
    mainWindow window{&store, &water, &heat};
    statusPanel *panel = window.findChild<statusPanel *>();

    fixture()
    {
        window.setStyleSheet(QStringLiteral("background-color: black; color: white; font-size: 14px;"));
        window.setFixedSize(800, 480);
        window.show();
    }
    void give(const char *key, const QVariant &value) { store.store(QLatin1String(key), value); }
    float stored(const char *key) { return store.query(QLatin1String(key)).toFloat(); }
};

struct paintCounter : QObject {
    int paints = 0;
    bool eventFilter(QObject *, QEvent *event) override
    {
        paints += event->type() == QEvent::Paint;
        return false;
    }
};

const char wholeText[] = "<table>"
                         "<tr><th>Heating</th><td>6.00 l/min</td></tr>"
                         "<tr><th>Hot Water</th><td>0.00 l/min</td></tr>"
                         "<tr><th>Pressure</th><td>1.50 Bar</td></tr>"
                         "<tr><th>Flow</th><td>60.00 C</td></tr>"
                         "<tr><th>Return</th><td>50.00 C</td></tr>"
                         "<tr></tr><tr><th>Power</th></tr>"
                         "<tr><th>Total Flow</th><td>0.10 l/s</td></tr>"
                         "<tr><th>Delta T</th><td>10.0 C</td></tr>"
                         "<tr><th>Power</th><td>4.19 kW</td></tr>"
                         "<tr></tr><tr><th>Internal</th></tr>"
                         "<tr><th>Temperature</th><td>31.4 C</td></tr>"
                         "<tr><th>Air Pressure</th><td>1013.2 mBar</td></tr>"
                         "<tr><th>Humidity</th><td>45.67 %</td></tr>"
                         "<tr><th>CPU Usage</th><td>12.34 %</td></tr>"
                         "<tr><th>Memory Usage</th><td>123.46 MB</td></tr>"
                         "</table>";
}

class tst_mainWindow : public QObject
{
    Q_OBJECT
private slots:
    void showsEveryValueInItsPlace()
    {
        fixture f;
        f.give("card1Flowrate2", 6.0F);
        f.give("card1Flowrate1", 0.0F);
        f.give("card1Pressure1", 1.5F);
        f.give("flowtemperature", 60.0);
        f.give("returntemperature", 50.0);
        f.give("SysTemperature", 31.4);
        f.give("SysPressure", 1013.2);
        f.give("SysHumidity", 45.67);
        f.give("cpu", 12.34);
        f.give("procMem", 123456);
        QCOMPARE(f.panel->text(), QString::fromLatin1(wholeText));
        QCOMPARE(f.stored("power"), 4.186F);
        QCOMPARE(f.stored("deltaT"), 10.0F);
        QCOMPARE(f.store.query(QStringLiteral("power")).userType(), int(QMetaType::Float));
        f.give("power", 99.0F); // its own results refresh nothing
        QCOMPARE(f.stored("power"), 99.0F);
        f.give("anything", 1);
        QCOMPARE(f.stored("power"), 4.186F);
    }

    void formatsAsPrintfDoes()
    {
        const QList<std::tuple<const char *, double, QString>> rows{
            {"card1Flowrate1", 30.0, "<th>Total Flow</th><td>0.50 l/s</td>"},
            {"flowtemperature", 10.25, "<th>Delta T</th><td>10.2 C</td>"},
            {"flowtemperature", -10.0, "<th>Power</th><td>-20.93 kW</td>"},
            {"cpu", std::nan(""), "<th>CPU Usage</th><td>nan %</td>"},
            {"card1Flowrate2", 3.4028234663852886e38,
                "<th>Heating</th><td>340282346638528859811704183484516925440.00 l/min</td>"},
        };
        fixture f;
        for (const auto &[key, value, row] : rows) {
            f.give(key, value);
            QVERIFY2(f.panel->text().contains(row), qPrintable(f.panel->text()));
        }
    }

    void textIsRightAtOnceAndPaintedAtMostTenTimesASecond()
    {
        fixture f;
        QVERIFY(QTest::qWaitForWindowExposed(&f.window));
        paintCounter counter;
        f.panel->installEventFilter(&counter);
        QElapsedTimer since;
        since.start();
        int updates = 0;
        while (since.elapsed() < 450) {
            f.give("card1Flowrate2", ++updates);
            QVERIFY(f.panel->text().contains(QStringLiteral("<td>%1.00 l/min</td>").arg(updates)));
            QCoreApplication::processEvents();
        }
        // One at the start of each tenth of a second, one more for the window's own reasons.
        QVERIFY2(counter.paints <= since.elapsed() / 100 + 2, qPrintable(QString::number(counter.paints)));
        const int before = counter.paints;
        QTRY_VERIFY_WITH_TIMEOUT(counter.paints > before, 200); // the last one is not forgotten
    }

    void everythingFitsTheSmallDisplayAndTheClockRuns()
    {
        fixture f;
        f.give("card1Flowrate2", -12345.0);
        f.give("card1Flowrate1", 99999.0);
        f.give("procMem", 123456789);
        auto *const service = new QPushButton(QStringLiteral("x"));
        f.window.addServiceGui(service, QStringLiteral("boilerswitchboard"));
        QCOMPARE(f.window.findChildren<QTabWidget *>()[1]->widget(0), service);
        const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
        expire(f.window.findChild<QTimer *>(QString(), Qt::FindDirectChildrenOnly));
        QCoreApplication::processEvents();
        QVERIFY(f.panel->sizeHint().height() <= f.panel->height());
        int clocks = 0;
        for (QWidget *each : f.window.findChildren<QWidget *>()) {
            const QString text = each->property("text").toString();
            if (text.isEmpty() || !each->isVisible())
                continue;
            const QSize needed = each->minimumSizeHint();
            QVERIFY2(each->width() >= needed.width() && each->height() >= needed.height(), qPrintable(text));
            const QDateTime time = QDateTime::fromString(text, "ddd d MMM yyyy hh:mm:ss ap");
            clocks += time >= before && time <= QDateTime::currentDateTime();
        }
        QCOMPARE(clocks, 1);
    }
};

QTEST_MAIN(tst_mainWindow)
#include "tst_mainWindow.moc"
