#include "lib/types/datastore.h"

#include "lib/communications/debugComponent.h"
#include "tests/support/fakeHost.h"
#include "tests/support/logSink.h"

#include <QTest>

#include <thread>

namespace {
const QString key = QStringLiteral("heatTimerOn");

struct fixture {
    logSink log;
    fakeHost host;
    datastore store{nullptr, host.system()};
    QStringList events; // signals and messages in the order in which they come

    fixture()
    {
        store.debug->registerWithClient(&log);
        QObject::connect(
            &store, &datastore::dataUpdated, &store, [this](const datastoreElementType &element) {
                note(QStringLiteral("updated %1=%2").arg(element.key, element.value.toString()));
            });
        QObject::connect(&store, &datastore::edgeTrigger, &store,
            [this](const QString &name, const QVariant &value, bool rising) {
                note(QStringLiteral("%1 %2=%3, was %4")
                         .arg(rising ? QStringLiteral("rising") : QStringLiteral("falling"), name,
                             value.toString(), store.query(name).toString()));
            });
    }

    /// Log texts that came before \a event, then the event.
    void note(const QString &event)
    {
        takeLog();
        events.append(event);
    }
    void takeLog()
    {
        for (const debugMessage &m : log.messages())
            events.append(QStringLiteral("%1: %2").arg(m.level).arg(m.debugData));
        log.clear();
    }
    QString eventsOf(const QVariant &value)
    {
        events.clear();
        store.store(key, value);
        takeLog();
        return events.join(QStringLiteral("; "));
    }
};
}

class tst_datastore : public QObject
{
    Q_OBJECT
private slots:
    void firstStoreNeverRaisesAnEdge_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("text");
        QTest::newRow("false") << QVariant(false) << QStringLiteral("false");
        QTest::newRow("true") << QVariant(true) << QStringLiteral("true");
    }
    void firstStoreNeverRaisesAnEdge()
    {
        QFETCH(QVariant, value);
        QFETCH(QString, text);
        QCOMPARE(fixture().eventsOf(value),
            QStringLiteral("updated heatTimerOn=%1; 1: Added \"heatTimerOn\"").arg(text));
    }

    void edgesComeBeforeTheEntryChanges_data()
    {
        QTest::addColumn<QVariant>("before");
        QTest::addColumn<QVariant>("after");
        QTest::addColumn<QString>("events");
        const QString rising = QStringLiteral("3: Rising edge seen on - heatTimerOn; rising heatTimerOn=");
        const QString falling = QStringLiteral("3: Falling edge seen on - heatTimerOn; falling heatTimerOn=");
        const auto row = [](const char *name, const QVariant &before, const QVariant &after,
                             const QString &events) { QTest::newRow(name) << before << after << events; };
        const QString updated = QStringLiteral("; updated heatTimerOn=");
        row("false to true", false, true, rising + "true, was false" + updated + "true");
        row("true to true", true, true, QStringLiteral("updated heatTimerOn=true"));
        row("5 to 0", 5, 0, falling + "0, was 5" + updated + "0");
        row("5.5 to 0.25", 5.5, 0.25, QStringLiteral("updated heatTimerOn=0.25"));
        row("0.0 to 0.25", 0.0, 0.25, rising + "0.25, was 0" + updated + "0.25");
        row("float 0.25 to 0", 0.25F, 0.0F, falling + "0, was 0.25" + updated + "0");
        row("not a number is true", 0.0, qQNaN(), rising + "nan, was 0" + updated + "nan");
        row("number to text", 1, QStringLiteral("false"), falling + "false, was 1" + updated + "false");
        row("any other text is true", 0, QStringLiteral("off"), rising + "off, was 0" + updated + "off");
        row("no truth in a list", true, QVariantList(), QStringLiteral("updated heatTimerOn="));
        row("list to true", QVariantList(), true, rising + "true, was " + updated + "true");
    }
    void edgesComeBeforeTheEntryChanges()
    {
        QFETCH(QVariant, before);
        QFETCH(QVariant, after);
        fixture f;
        f.eventsOf(before);
        QTEST(f.eventsOf(after), "events");
    }

    void keysAreStoredExactlyAndQueriedIgnoringCase()
    {
        fixture f;
        const QString capitals = key.toUpper();
        f.store.store(key, 1);
        QCOMPARE(f.store.query(capitals), QVariant(1));
        QVERIFY(!f.store.queryElement(capitals));
        f.store.store(capitals, 2);
        f.store.store(QStringLiteral("K\u00DCCHE"), 3);
        QCOMPARE(f.store.getKeys(), QStringList({key, capitals, QStringLiteral("K\u00DCCHE")}));
        QCOMPARE(f.store.query(capitals), QVariant(1)); // the first stored spelling wins
        QCOMPARE(f.store.queryElement(capitals)->value, QVariant(2));
        QCOMPARE(f.store.query(QStringLiteral("k\u00FCche")), QVariant(3));
        QVERIFY(!f.store.query(QStringLiteral("heatTimer")).isValid());
        QVERIFY(!f.store.copyElement(QStringLiteral("heatTimer")));
        QVERIFY(!f.store.number(QStringLiteral("heatTimer")));
    }

    void listsKeepTheOrderOfFirstStoring()
    {
        fixture f;
        for (const char *name : {"c", "a", "b", "a"})
            f.store.store(QString::fromLatin1(name), f.store.getKeys().size() + 0.5);
        QCOMPARE(
            f.store.getKeys(), QStringList({QStringLiteral("c"), QStringLiteral("a"), QStringLiteral("b")}));
        QCOMPARE(f.store.getValues(), QList<double>({0.5, 3.5, 2.5}));
        QCOMPARE(f.store.getVariants(), QList<QVariant>({0.5, 3.5, 2.5}));
        const auto numbers = f.store.getNumbers();
        QCOMPARE(numbers.size(), 3);
        QCOMPARE(numbers[1], qMakePair(QStringLiteral("a"), 3.5));
    }

    void everyStoreNotesItsTime()
    {
        fixture f;
        f.store.store(key, 1);
        const datastoreElementType *const element = f.store.queryElement(key);
        QCOMPARE(element->updateTime(), f.host.now());
        f.host.advance(1500);
        f.store.store(key, 1);
        QCOMPARE(f.store.queryElement(key), element); // entries never move
        QCOMPARE(element->updateTime(), f.host.now());
    }

    void bytesAreStoredOrDropped()
    {
        fixture f;
        const QByteArray bytes = datastoreElementType(key, 21.5).serialise();
        f.store.store(bytes);
        QCOMPARE(f.store.number(key), std::optional(21.5));
        f.store.store(bytes.left(bytes.size() - 1));
        f.takeLog();
        QCOMPARE(f.events.size(), 2); // updated, added
    }

    void listenersMayStoreAgain()
    {
        fixture f;
        QObject::connect(
            &f.store, &datastore::dataUpdated, &f.store, [&](const datastoreElementType &element) {
                if (element.key == key)
                    f.store.store(
                        QStringLiteral("derived%1").arg(element.value.toInt()), element.exprDblValue * 2);
            });
        QObject::connect(&f.store, &datastore::edgeTrigger, &f.store,
            [&](const QString &name, const QVariant &, bool) { f.store.store(name + "Edges", 1); });
        for (int i = 0; i < 200; ++i)
            f.store.store(key, i);
        QCOMPARE(f.store.getKeys().size(), 202);
        QCOMPARE(f.store.number(QStringLiteral("derived199")), std::optional(398.0));
    }

    void threadsStoreAndQueryAtOnce()
    {
        constexpr int threads = 4;
        constexpr int rounds = 300;
        datastore store;
        std::atomic<int> direct{0};
        QObject::connect(
            &store, &datastore::dataUpdated, &store, [&] { ++direct; }, Qt::DirectConnection);
        std::vector<std::thread> workers;
        workers.reserve(threads);
        for (int t = 0; t < threads; ++t) {
            workers.emplace_back([&store, t] {
                for (int i = 0; i < rounds; ++i) {
                    store.store(QStringLiteral("own%1").arg(t), i);
                    store.store(QStringLiteral("shared%1").arg(i), QStringLiteral("text %1").arg(t));
                    store.query(QStringLiteral("SHARED%1").arg(i / 2));
                    store.copyElement(QStringLiteral("own%1").arg((t + 1) % threads));
                    if (i % 50 == 0)
                        store.getNumbers();
                }
            });
        }
        for (std::thread &each : workers)
            each.join();
        QCOMPARE(direct.load(), 2 * threads * rounds);
        QCOMPARE(store.getKeys().size(), rounds + threads); // nobody's key was added twice
        for (int t = 0; t < threads; ++t)
            QCOMPARE(store.number(QStringLiteral("own%1").arg(t)), std::optional(rounds - 1.0));
    }
};

QTEST_GUILESS_MAIN(tst_datastore)
#include "tst_datastore.moc"
