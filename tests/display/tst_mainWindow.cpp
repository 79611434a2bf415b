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
};

struct paintCounter : QObject {
    int paints = 0;
    bool eventFilter(QObject *, QEvent *event) override
    {
        paints += event->type() == QEvent::Paint;
        return false;
    }
};
}

class tst_mainWindow : public QObject
{
    Q_OBJECT
private slots:
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
