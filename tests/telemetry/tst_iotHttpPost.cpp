#include "lib/samplers/iotHttpPost.h"

#include "lib/communications/debugComponent.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"

#include <QtTest>

namespace {
/// Shows what the base class has read.
class bareSampler : public sampler
{
public:
    bareSampler()
        : sampler(nullptr, nullptr)
    {
    }
    int period() const { return samplePeriod; }
    QStringList subscribed() const { return subscribeList; }
    QStringList triggers() const { return triggerVariableList; }
    QList<int> edges() const { return triggerEdgeList; }
};

struct fixture {
    fakeHost host;
    logSink log;
    datastore store{nullptr, host.system()};
    iotHttpPost poster{&store, nullptr, host.system()};
    QList<netActionInfo> sent;

    explicit fixture(const QByteArray &keys)
    {
        poster.debug->registerWithClient(&log);
        QObject::connect(&poster, &iotHttpPost::networkAction, &poster,
            [this](const netActionInfo &info) { sent.append(info); });
        poster.configure(xml("<sampler type='thingsboardjson'>" + keys + "</sampler>"));
        poster.start();
    }
    QTimer *timer() { return poster.findChild<QTimer *>(); }
    QByteArray lastBody() const { return sent.isEmpty() ? QByteArray() : sent.last().msgData; }
};

const char address[] = "<URI>http://127.0.0.1/api/v1/$APIKEY/telemetry</URI><apikey>tok</apikey>";
const char stamp[] = "{\"ts\":1768473000000,\"values\":{"; // the fake clock's start
}

class tst_iotHttpPost : public QObject
{
    Q_OBJECT
private slots:
    void readsTheCommonKeys()
    {
        bareSampler bare;
        logSink log;
        bare.debug->registerWithClient(&log);
        bare.configure(
            xml("<sampler><!-- c --><PERIOD>250</PERIOD><key>a</key>"
                "<Key triggerVariable='t'>b</Key><key triggerVariable='t' triggerEdge='RISING'>c</key>"
                "<key triggerEdge='falling'>d</key><key triggerEdge='up'>e</key>"
                "<key triggerEdge='Both'>f</key><other/></sampler>"));
        QCOMPARE(bare.period(), 250);
        QCOMPARE(bare.subscribed(), QStringList({"a", "b", "c", "d", "e", "f"}));
        QCOMPARE(bare.triggers(), QStringList({"", "t", "t", "", "", ""}));
        QCOMPARE(bare.edges(), QList<int>({0, 0, 2, 1, 3})); // "up" moves the later codes up
        QVERIFY(log.texts().isEmpty());
    }

    void aBareSamplerOnlyLogs()
    {
        bareSampler bare;
        logSink log;
        bare.debug->registerWithClient(&log);
        bare.takeSample();
        bare.edgeTrigger(QStringLiteral("k"), true, true);
        bare.edgeTrigger(QStringLiteral("k"), false, false);
        QCOMPARE(log.texts(),
            QStringList({"Base class sampler\n", "Rising edge seen on - k", "Falling edge seen on - k"}));
        QCOMPARE(log.messages()[0].level, 0U);
        QCOMPARE(log.messages()[2].level, 1U);
        QCOMPARE(log.registered()[0].componentType, 300U);
    }

    void takesAUsablePeriod_data()
    {
        QTest::addColumn<QByteArray>("period");
        QTest::addColumn<int>("interval");
        QTest::addColumn<bool>("complains");
        QTest::newRow("given") << QByteArray("<period>1500</period>") << 1500 << false;
        QTest::newRow("missing") << QByteArray() << 60000 << true;
        QTest::newRow("no number") << QByteArray("<period>1m</period>") << 60000 << true;
        QTest::newRow("negative") << QByteArray("<period>-5</period>") << 60000 << true;
    }
    void takesAUsablePeriod()
    {
        QFETCH(QByteArray, period);
        fixture f(period);
        QTEST(f.timer()->interval(), "interval");
        QVERIFY(f.timer()->isActive());
        QTEST(!f.log.texts().isEmpty(), "complains");
    }

    void sendsThePeriodicKeys()
    {
        fixture f(QByteArray("<period>60000</period><key>cpu</key><key triggerVariable='t'>edge</key>"
                             "<key>text</key>")
            + address);
        f.store.store(QStringLiteral("text"), QStringLiteral("50%1"));
        f.store.store(QStringLiteral("cpu"), 1.5);
        f.store.store(QStringLiteral("edge"), 2);
        expire(f.timer());
        QCOMPARE(f.sent.size(), 1);
        const QString url = QStringLiteral("http://127.0.0.1/api/v1/tok/telemetry");
        const QByteArray body = stamp + QByteArray("\"cpu\":1.5,\"text\":\"50%1\"}}");
        QCOMPARE(f.sent[0].requestType, QStringLiteral("post"));
        QCOMPARE(f.sent[0].dataType, QStringLiteral("application/json"));
        QCOMPARE(f.sent[0].URI, url);
        QCOMPARE(f.sent[0].msgData, body);
        QCOMPARE(f.log.texts(),
            QStringList({"Taking IOT Sample", "Upload URL = " + url, "Upload Data = " + QString(body)}));
        QCOMPARE(f.log.messages()[0].level, 0U);
        QCOMPARE(f.log.messages()[1].level, 1U);
        QCOMPARE(f.log.messages()[2].level, 1U);
    }

    void aTickWithoutPeriodicDataSaysSo()
    {
        fixture f("<period>60000</period><key triggerVariable='t'>edge</key>");
        f.store.store(QStringLiteral("edge"), 2);
        expire(f.timer());
        QCOMPARE(f.log.texts(), QStringList({"Taking IOT Sample", "No data to upload"}));
        QVERIFY(f.sent.isEmpty());
    }

    void sendsEdgeKeysOnEitherEdge_data()
    {
        QTest::addColumn<QByteArray>("edge");
        for (const char *edge :
            {"", " triggerEdge='rising'", " triggerEdge='falling'", " triggerEdge='both'"})
            QTest::newRow(*edge ? edge : "not said") << QByteArray(edge);
    }
    void sendsEdgeKeysOnEitherEdge()
    {
        QFETCH(QByteArray, edge);
        fixture f("<period>60000</period><key>other</key><key triggerVariable='pump'" + edge + ">flow</key>"
            + "<key triggerVariable='pump'" + edge + ">gone</key>" + address);
        f.store.store(QStringLiteral("other"), 1);
        f.store.store(QStringLiteral("flow"), 7);
        f.store.store(QStringLiteral("pump"), true); // the first store is no edge
        QVERIFY(f.sent.isEmpty());
        f.store.store(QStringLiteral("pump"), false);
        f.store.store(QStringLiteral("pump"), true);
        QCOMPARE(f.sent.size(), 2);
        for (const netActionInfo &each : qAsConst(f.sent)) {
            QCOMPARE(each.msgData, stamp + QByteArray("\"flow\":7}}"));
            QCOMPARE(each.URI, QStringLiteral("http://127.0.0.1/api/v1/tok/telemetry"));
        }
        QCOMPARE(f.log.texts().filter(QStringLiteral("Upload")).size(), f.log.texts().size());
    }

    void edgesOfOtherKeysAreSilent()
    {
        fixture f("<period>60000</period><key triggerVariable='pump'>flow</key><key>Pump</key>");
        f.store.store(QStringLiteral("flow"), 7);
        f.store.store(QStringLiteral("PUMP"), false);
        f.store.store(QStringLiteral("PUMP"), true); // another key than "pump"
        QVERIFY(f.sent.isEmpty());
        QVERIFY(f.log.texts().isEmpty());
    }

    void fillsTheTokenIntoTheAddress_data()
    {
        QTest::addColumn<QByteArray>("uri");
        QTest::addColumn<QString>("address");
        QTest::newRow("twice") << QByteArray("http://h/$APIKEY/$APIKEY") << "http://h/tok/tok";
        QTest::newRow("other case") << QByteArray("http://h/$apikey") << "http://h/$apikey";
        QTest::newRow("without") << QByteArray("http://h/x") << "http://h/x";
        QTest::newRow("none") << QByteArray() << "";
    }
    void fillsTheTokenIntoTheAddress()
    {
        QFETCH(QByteArray, uri);
        fixture f("<period>60000</period><key>k</key><uri>" + uri + "</uri><apikey>tok</apikey>");
        f.store.store(QStringLiteral("k"), 1);
        expire(f.timer());
        QCOMPARE(f.sent.size(), 1);
        QTEST(f.sent[0].URI, "address");
    }
};

QTEST_GUILESS_MAIN(tst_iotHttpPost)
#include "tst_iotHttpPost.moc"
