#include "tests/support/scenario.h"

#include <QDir>
#include <QTest>

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
        const auto row
            = [](const char *name, const QString &file, const QByteArray &content,
                  const QByteArray &message) { QTest::newRow(name) << file << content << message; };
        row("no file", {}, {}, "Could not open file.");
        row("a folder in its place", config, "/", "Could not open file.");
        row("syntax error", config, "<telemetrydevice>\n <interface>\n </instrument>\n",
            "Parse error at line 3, column ");
        row("empty", config, {}, "Parse error at line ");
        row("another root", config, "<TelemetryDevice/>",
            "This is not a telemetry device configuration file.");
        row("empty root", config, "<telemetrydevice/>", "Loaded configuration file.");
        row("no such interface", config,
            "<telemetrydevice><instrument type=\"boilerswitchboard\"><interface>nowhere</interface>"
            "</instrument><instrument type=\"bme280\"/></telemetrydevice>",
            "No I2C bus configured. Will not start instrument");
        row("timer file of another kind", heat, "<timer/>", "This is not a heating timer control file.");
        row("timer file cut short", heat, "<heatingtimer>\n<period>", "Parse error at line 2, column ");
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
