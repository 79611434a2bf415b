#include "app/mainWindow.h"

#include "app/Widgets/statusPanel.h"
#include "app/timer.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"
#include "tests/support/fakePrograms.h"
#include "tests/support/printed.h"

#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>
#include <QTabWidget>
#include <QtTest>

#include <cmath>

namespace {
struct fixture {
    fakeHost host;
    datastore store;
    timer water{&store, QStringLiteral("waterTimer"), QString(), nullptr, host.system()};
    timer heat{&store, QStringLiteral("heatTimer"), QString(), nullptr, host.system()};
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
    QPushButton *button(const char *text) const
    {
        for (QPushButton *each : window.findChildren<QPushButton *>()) {
            if (each->text() == QLatin1String(text))
                return each;
        }
        return nullptr;
    }
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
    }

    void formatsAsPrintfDoes_data()
    {
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("row");
        const auto row = [](const char *name, const char *key, double value, const char *text) {
            QTest::newRow(name) << QByteArray(key) << value << QString::fromLatin1(text);
        };
        row("five digits", "card1Flowrate1", 99999.0, "<th>Hot Water</th><td>99999.00 l/min</td>");
        row("both meters", "card1Flowrate1", 30.0, "<th>Total Flow</th><td>0.50 l/s</td>");
        row("tie to even", "flowtemperature", 10.25, "<th>Delta T</th><td>10.2 C</td>");
        row("return warmer", "returntemperature", 7.5, "<th>Delta T</th><td>-7.5 C</td>");
        row("no number", "cpu", std::nan(""), "<th>CPU Usage</th><td>nan %</td>");
        row("endless", "card1Pressure1", HUGE_VAL, "<th>Pressure</th><td>inf Bar</td>");
        row("largest float", "card1Flowrate2", 3.4028234663852886e38,
            "<th>Heating</th><td>340282346638528859811704183484516925440.00 l/min</td>");
    }
    void formatsAsPrintfDoes()
    {
        QFETCH(QByteArray, key);
        QFETCH(double, value);
        QFETCH(QString, row);
        fixture f;
        f.give(key.constData(), value);
        QVERIFY2(f.panel->text().contains(row), qPrintable(f.panel->text()));
    }

    void negativeHeatOutputIsNotClamped()
    {
        fixture f;
        f.give("card1Flowrate2", 6.0);
        f.give("returntemperature", 10.0);
        QCOMPARE(f.stored("power"), -4.186F);
    }

    void ownResultsDoNotRefresh()
    {
        fixture f;
        // From the start: the control page has stored the override.
        QCOMPARE(f.store.getKeys(),
            QStringList(
                {QStringLiteral("heatStatOverride"), QStringLiteral("power"), QStringLiteral("deltaT")}));
        const QString before = f.panel->text();
        QVERIFY(before.startsWith(QStringLiteral("<table>")));
        f.give("power", 99.0F);
        f.give("deltaT", 98.0F);
        QCOMPARE(f.stored("power"), 99.0F);
        QCOMPARE(f.panel->text(), before);
        f.give("anything", 1);
        QCOMPARE(f.stored("power"), 0.0F);
        QCOMPARE(f.stored("deltaT"), 0.0F);
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

    void everythingFitsTheSmallDisplay()
    {
        fixture f;
        f.give("card1Flowrate2", -12345.0);
        f.give("card1Flowrate1", 99999.0);
        f.give("procMem", 123456789);
        f.window.addServiceGui(new QPushButton(QStringLiteral("x")), QStringLiteral("boilerswitchboard"));
        f.window.updateClock();
        QCoreApplication::processEvents();
        QCOMPARE(f.panel->width(), 250);
        QVERIFY(f.panel->sizeHint().height() <= f.panel->height());
        for (QWidget *each : f.window.findChildren<QWidget *>()) {
            const bool shows = qobject_cast<QLabel *>(each) || qobject_cast<QAbstractButton *>(each);
            if (!shows || !each->isVisible())
                continue;
            const QSize needed = each->minimumSizeHint();
            QVERIFY2(each->width() >= needed.width() && each->height() >= needed.height(),
                qPrintable(each->property("text").toString()));
        }
    }

    void showsInstrumentsOnTheServicePage()
    {
        fixture f;
        auto *const gui = new QLabel;
        f.window.addServiceGui(gui, QStringLiteral("valve"));
        const QList<QTabWidget *> tabs = f.window.findChildren<QTabWidget *>();
        QCOMPARE(tabs.count(), 2);
        QCOMPARE(tabs[0]->tabText(0), QStringLiteral("Control"));
        QCOMPARE(tabs[0]->tabText(1), QStringLiteral("Service"));
        QCOMPARE(tabs[0]->widget(1), tabs[1]);
        QCOMPARE(tabs[1]->widget(0), gui);
        QCOMPARE(tabs[1]->tabText(0), QStringLiteral("valve"));
    }

    void showsTheTime()
    {
        fixture f;
        const QString format = QStringLiteral("ddd d MMM yyyy hh:mm:ss ap");
        const auto isClock
            = [](QLabel *each) { return each->minimumHeight() == 50 && each->font().pixelSize() == 26; };
        const QList<QLabel *> labels = f.window.findChildren<QLabel *>();
        const auto clock = std::find_if(labels.begin(), labels.end(), isClock);
        QVERIFY(clock != labels.end());
        const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
        for (QTimer *each : f.window.findChildren<QTimer *>(QString(), Qt::FindDirectChildrenOnly)) {
            if (each->interval() == 200)
                expire(each);
        }
        const QDateTime shown = QDateTime::fromString((*clock)->text(), format);
        QVERIFY2(shown >= before && shown <= QDateTime::currentDateTime(), qPrintable((*clock)->text()));
    }

    void asksBeforeItShutsDown_data()
    {
        QTest::addColumn<int>("button");
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QByteArray>("command");
        const QByteArray canceled("Shutdown requested\nShutdown canceled by user\n");
        QTest::newRow("yes") << int(QMessageBox::Yes)
                             << QByteArray("Shutdown requested\nUser confirmed shutdown\n")
                             << QByteArray("shutdown -hP now\n");
        QTest::newRow("no") << int(QMessageBox::No) << canceled << QByteArray();
        QTest::newRow("closed") << int(QMessageBox::NoButton) << canceled << QByteArray();
    }
    void asksBeforeItShutsDown()
    {
        QFETCH(int, button);
        QFETCH(QByteArray, output);
        QFETCH(QByteArray, command);
        fakePrograms programs;
        programs.write(QStringLiteral("sudo"), "echo \"$@\" > " + programs.path().toLatin1() + "/asked");
        QCOMPARE(QStandardPaths::findExecutable(QStringLiteral("sudo")),
            programs.path() + QStringLiteral("/sudo"));

        fixture f; // no event loop set yet
        QString title;
        QString question;
        QTimer answer;
        connect(&answer, &QTimer::timeout, &f.window, [&] {
            auto *const box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            if (!box)
                return;
            title = box->windowTitle();
            question = box->text();
            if (QAbstractButton *chosen = box->button(QMessageBox::StandardButton(button)))
                QTest::mouseClick(chosen, Qt::LeftButton);
            else
                box->close();
        });
        answer.start(0);
        QTest::ignoreMessage(QtWarningMsg, "This plugin does not support propagateSizeHints()");
        QCOMPARE(printed([&] { QTest::mouseClick(f.button("Shutdown"), Qt::LeftButton); }), output);
        QCOMPARE(title, QStringLiteral("Calorix System"));
        QCOMPARE(question, QStringLiteral("This will shut down the control system. Are you sure?"));
        QFile asked(programs.path() + QStringLiteral("/asked"));
        QCOMPARE(asked.open(QIODevice::ReadOnly), !command.isEmpty());
        QCOMPARE(asked.readAll(), command);
    }
};

QTEST_MAIN(tst_mainWindow)
#include "tst_mainWindow.moc"
