#include "tests/support/scenario.h"

#include <QFile>
#include <QTest>

class tst_main : public QObject
{
    Q_OBJECT
private slots:
    void putsThePrefixInFrontOfItsFilesAndBlanksTheConsole()
    {
        const QList<QPair<QStringList, QByteArray>> rows{{{"-c", "/none/x/", "-fs"}, "/none/x/"},
            {{"-c", "/none/a/", "-p", "-c"}, ""}}; // the last one wins
        for (const auto &[arguments, prefix] : rows) {
            scenario run;
            QVERIFY(run.startDevices() && run.startController(arguments));
            for (const char *line : {"Trying %config.xml...", "Loading control file %waterTimer.xml...",
                     "Loading control file %heatTimer.xml...", "Starting instrument 1"})
                QVERIFY2(run.waitForLog(QByteArray(line).replace("%", prefix)), line);
            QFile blanked(run.path("machine/setterm.log"));
            QVERIFY(blanked.open(QIODevice::ReadOnly));
            QCOMPARE(blanked.readAll(),
                QByteArray("setterm -foreground black\nsetterm -foreground black -clear all\n"));
            QCOMPARE(run.leave(), QByteArray());
        }
    }

    void heatsWithoutAScreen()
    {
        scenario run;
        run.setVariable("QT_QPA_PLATFORM", "linuxfb:fb=/nonexistent");
        run.configure(scenario::installation());
        QVERIFY(run.start());
        QVERIFY(run.waitForLog("No screen found, running without the display"));
        run.tell("thermostat room on");
        QVERIFY(run.waitForRelays("pump=1 boiler=1"));
    }
};

QTEST_GUILESS_MAIN(tst_main)
#include "tst_main.moc"
