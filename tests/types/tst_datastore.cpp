#include "lib/types/datastore.h"

#include "lib/communications/debugComponent.h"
#include "tests/support/fakeHost.h"
#include "tests/support/logSink.h"

#include <QTest>

#include <thread>

namespace {
struct fixture {
    logSink log; // messages and signals, in the order in which they come
    fakeHost host;
    datastore store{nullptr, host};

    fixture()
    {
        store.debug->registerWithClient(&log);
        QObject::connect(
            &store, &datastore::dataUpdated, &store, [this](const datastoreElementType &element) {
                store.debug->log(element.key + '=' + element.value.toString());
            });
        QObject::connect(&store, &datastore::edgeTrigger, &store,
            [this](const QString &key, const QVariant &value, bool rising) {
                const QString way = rising ? "up from %1 to %2" : "down from %1 to %2";
                store.debug->log(way.arg(store.query(key).toString(), value.toString()));
            });
    }
};
}

class tst_datastore : public QObject
{
    Q_OBJECT
private slots:
    void edgesComeBeforeTheEntryChanges()
    {
        const QString up = "Rising edge seen on - k; up from ";
        const QString down = "Falling edge seen on - k; down from ";
        const QList<std::tuple<QVariant, QVariant, QString>> rows{{false, true, up + "false to true; "},
            {true, true, ""}, {5, 0, down + "5 to 0; "}, {5.5, 0.25, ""}, {0.0F, 0.25F, up + "0 to 0.25; "},
            {0.0, qQNaN(), up + "0 to nan; "}, {1, "false", down + "1 to false; "},
            {true, QVariantList(), ""}, {QVariantList(), true, up + " to true; "}}; // a list has no truth
        for (const auto &[before, after, edge] : rows) {
            fixture f;
            f.store.store("k", before); // the first store has no edge
            f.store.store("k", after);
            QCOMPARE(f.log.texts().join("; "),
                "k=" + before.toString() + "; Added \"k\"; " + edge + "k=" + after.toString());
        }
    }

    void keysAreStoredExactlyAndQueriedIgnoringCase()
    {
        fixture f;
        const QStringList keys{"heatTimerOn", "HEATTIMERON", QStringLiteral("K\u00DCCHE")};
        f.store.store(datastoreElementType(keys[0], 3.5).serialise());
        f.store.store(keys[1], 2);
        f.store.store(keys[2], 4.5);
        QCOMPARE(f.store.getKeys(), keys); // in the order of first storing
        QCOMPARE(f.store.getValues(), QList<double>({3.5, 2.0, 4.5}));
        QCOMPARE(f.store.query(keys[1]), QVariant(3.5)); // the first stored spelling wins
        QCOMPARE(f.store.getNumbers()[1], qMakePair(keys[1], 2.0));
        QCOMPARE(f.store.query(QStringLiteral("k\u00FCche")), QVariant(4.5));
        QVERIFY(!f.store.query("heat").isValid() && !f.store.copyElement("heat") && !f.store.number("heat"));

        // Every store notes its time and moves nothing.
        const datastoreElementType *const element = f.store.queryElement(keys[1]);
        for (int i = 0; i < 200; ++i)
            f.store.store(QString::number(i), i);
        f.host.advance(1500);
        f.store.store(keys[1], 2);
        QCOMPARE(f.store.queryElement(keys[1]), element);
        QCOMPARE(element->updateTime(), f.host.now());
    }

    void threadsAndListenersStoreAtOnce()
    {
        datastore store;
        const auto derive = [&store](const datastoreElementType &element) {
            if (element.key.startsWith("own"))
                store.store("from " + element.key, element.exprDblValue * 2);
        };
        QObject::connect(&store, &datastore::dataUpdated, &store, derive, Qt::DirectConnection);
        const auto work = [&store](const QString &own) {
            for (int i = 0; i < 300; ++i) {
                store.store(own, i);
                store.store(QStringLiteral("shared%1").arg(i), own);
                store.query(QStringLiteral("SHARED%1").arg(i / 2));
                store.copyElement("own0");
                store.getNumbers();
            }
        };
        const QStringList owners{"own0", "own1", "own2", "own3"};
        std::vector<std::thread> workers;
        for (const QString &own : owners)
            workers.emplace_back(work, own);
        for (std::thread &each : workers)
            each.join();
        QCOMPARE(store.getKeys().size(), 300 + 4 + 4); // nobody's key was added twice
        for (const QString &own : owners)
            QCOMPARE(store.number("from " + own), std::optional(2 * 299.0));
    }
};

QTEST_GUILESS_MAIN(tst_datastore)
#include "tst_datastore.moc"
