#include "lib/samplers/iotHttpPost.h"

#include "lib/communications/debugComponent.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"

#include <QTest>
#include <QTimer>

namespace {
struct fixture {
    fakeHost host;
    logSink log;
    datastore store{nullptr, host};
    iotHttpPost poster{&store, nullptr, host};
    QTimer *timer;
    QList<netActionInfo> sent;

    explicit fixture(const QByteArray &keys)
    {
        poster.debug->registerWithClient(&log);
        QObject::connect(&poster, &iotHttpPost::networkAction, &poster,
            [this](const netActionInfo &info) { sent.append(info); });
        poster.configure(xml("<sampler><!-- c --><apikey>tok</apikey>" + keys + "</sampler>"));
        poster.start();
        timer = poster.findChild<QTimer *>();
    }
};

const char period[] = "<PERIOD>60000</PERIOD>";
const char stamp[] = "{\"ts\":1768473000000,\"values\":{"; // the fake clock's start
}

class tst_iotHttpPost : public QObject
{
    Q_OBJECT
private slots:
    void needsAUsablePeriod()
    {
        const QList<std::tuple<QByteArray, int, bool>> rows{{"<period>1500</period>", 1500, true},
            {"", 60000, false}, {"<period>1m</period>", 60000, false}, {"<period>-5</period>", 60000, false}};
        for (const auto &[key, interval, usable] : rows) {
            const fixture f(key);
            QVERIFY(f.timer->isActive());
            QCOMPARE(f.timer->interval(), interval);
            QCOMPARE(f.log.texts().isEmpty(), usable);
        }
    }

    void sendsThePeriodicKeys()
    {
        const QList<QPair<QByteArray, QString>> addresses{{"http://h/$APIKEY/$APIKEY", "http://h/tok/tok"},
            {"http://h/$apikey", "http://h/$apikey"}, {"", ""}};
        for (const auto &[uri, url] : addresses) {
            fixture f(period
                + QByteArray(
                    "<key>ticks</key><key>text</key><key triggerVariable='t'>edge</key><key>CPU</key><URI>")
                + uri + "</URI>");
            f.store.store(QStringLiteral("edge"), 2);
            f.store.store(QStringLiteral("ticks"), 3U); // has no form
            expire(f.timer);
            QCOMPARE(f.log.texts(), QStringList({"Taking IOT Sample", "No data to upload"}));
            QVERIFY(f.sent.isEmpty());

            f.log.clear();
            f.store.store(QStringLiteral("cpu"), 1.5);
            f.store.store(QStringLiteral("text"), QStringLiteral("50%1"));
            expire(f.timer);
            const QByteArray body = stamp + QByteArray("\"text\":\"50%1\",\"CPU\":1.5}}");
            QCOMPARE(f.sent.size(), 1);
            QCOMPARE(f.sent[0].requestType, QStringLiteral("post"));
            QCOMPARE(f.sent[0].URI, url);
            QCOMPARE(f.sent[0].msgData, body);
            QCOMPARE(f.log.texts(),
                QStringList({"Taking IOT Sample", "Upload URL = " + url, "Upload Data = " + QString(body)}));
        }
    }

    /// Kept: whatever edge a key is configured for.
    void sendsEdgeKeysOnEitherEdge()
    {
        for (const QByteArray edge :
            {"", "triggerEdge='rising'", "triggerEdge='FALLING'", "triggerEdge='up'"}) {
            fixture f(period + QByteArray("<key>other</key><key triggerVariable='pump' ") + edge
                + ">flow</key><key triggerVariable='pump' " + edge + ">gone</key>");
            f.store.store(QStringLiteral("other"), 1);
            f.store.store(QStringLiteral("flow"), 7);
            f.store.store(QStringLiteral("pump"), true); // the first store is no edge
            f.store.store(QStringLiteral("other"), 0);   // no key waits for this one
            QVERIFY(f.sent.isEmpty() && f.log.texts().isEmpty());
            f.store.store(QStringLiteral("pump"), false);
            f.store.store(QStringLiteral("pump"), true);
            QCOMPARE(f.sent.size(), 2);
            QCOMPARE(f.sent[0].msgData, stamp + QByteArray("\"flow\":7}}"));
            QCOMPARE(f.sent[1].msgData, stamp + QByteArray("\"flow\":7}}"));
        }
    }
};

QTEST_GUILESS_MAIN(tst_iotHttpPost)
#include "tst_iotHttpPost.moc"
