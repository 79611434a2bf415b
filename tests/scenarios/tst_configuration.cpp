#include "tests/support/scenario.h"

#include <QDir>
#include <QtTest>

/// Whatever is wrong with the configuration, it is said in the log and the rest runs.
class tst_configuration : public QObject
{
    Q_OBJECT
private slots:
    void saysWhatIsWrongAndRunsTheRest_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("message");
        const QString config = QStringLiteral("config.xml");
        const QString heat = QStringLiteral("heatTimer.xml");
        QTest::newRow("no file") << QString() << QByteArray() << QByteArray("Could not open file.");
        QTest::newRow("a folder in its place")
            << config << QByteArray("/") << QByteArray("Could not open file.");
        QTest::newRow("syntax error")
            << config << QByteArray("<telemetrydevice>\n <interface>\n </instrument>\n")
            << QByteArray("Parse error at line 3, column ");
        QTest::newRow("another root") << config << QByteArray("<TelemetryDevice/>")
                                      << QByteArray("This is not a telemetry device configuration file.");
        QTest::newRow("empty") << config << QByteArray() << QByteArray("Parse error at line ");
        QTest::newRow("binary") << config << QByteArray("\x00\xff\xfe<\x00", 5)
                                << QByteArray("Parse error at line ");
        QTest::newRow("empty root") << config << QByteArray("<telemetrydevice/>")
                                    << QByteArray("Loaded configuration file.");
        QTest::newRow("unknown elements")
            << config
            << QByteArray(
                   "<telemetrydevice><!-- x --><modem/><interface type=\"can\"/><sampler type=\"TCP\"/>"
                   "<instrument type=\"INTERNAL\"><sensor type=\"wind\"/></instrument></telemetrydevice>")
            << QByteArray("Starting instrument 2");
        QTest::newRow("no such interface")
            << config
            << QByteArray(
                   "<telemetrydevice><instrument type=\"boilerswitchboard\"><interface>nowhere</interface>"
                   "</instrument><instrument type=\"bme280\"/></telemetrydevice>")
            << QByteArray("No I2C bus configured. Will not start instrument");
        QTest::newRow("timer file of another kind")
            << heat << QByteArray("<timer/>") << QByteArray("This is not a heating timer control file.");
        QTest::newRow("timer file cut short")
            << heat << QByteArray("<heatingtimer>\n<period>") << QByteArray("Parse error at line 2, column ");
    }
    void saysWhatIsWrongAndRunsTheRest()
    {
        QFETCH(QString, file);
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, message);
        scenario run;
        const QString path = QStringLiteral("config/") + file;
        if (file.startsWith(QLatin1String("heat")))
            run.configure({});
        if (content == "/")
            QDir().mkpath(run.path(path));
        else if (!file.isEmpty())
            run.write(path, content);
        QVERIFY(run.startDevices());
        QVERIFY(run.startController());
        QVERIFY2(run.waitForLog(message), message.constData());
        QVERIFY(run.waitForLog("Starting instrument 1"));
        // Both timers are alive: one tells its period, the other can be boosted.
        QVERIFY(scenario::waitFor([&] { return run.puppet("dump").contains("Standard timing until"); }));
        QCOMPARE(run.puppet("click Heating/Boost"), QByteArray("ok"));
        QVERIFY(scenario::waitFor([&] { return run.puppet("dump").contains("\"Boost until"); }));
        QCOMPARE(run.leave(), QByteArray());
    }
};

QTEST_GUILESS_MAIN(tst_configuration)
#include "tst_configuration.moc"
