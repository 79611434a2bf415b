#include "lib/communications/network.h"

#include "lib/communications/debugComponent.h"
#include "tests/telemetry/uploadRig.h"

#include <memory>

namespace {
struct fixture : uploadRig {
    std::unique_ptr<network> queue = std::make_unique<network>(nullptr, host.system());
    QList<int> remaining;

    fixture()
    {
        say("routes", "default via 127.0.0.1 dev lo\n");
        say("ipexit", "0");
        queue->debug->registerWithClient(&log);
        QObject::connect(queue.get(), &network::resultAvailable, queue.get(),
            [this](const QString &key, const QVariant &value) {
                if (key == QLatin1String("networkMessagesRemaining") && value.userType() == QMetaType::Int)
                    remaining.append(value.toInt());
            });
    }
    bool start()
    {
        queue->start(QThread::InheritPriority);
        return QTest::qWaitFor([this] { return timers().size() == 3; });
    }
    /// One route check, to its end.
    bool checkRoute()
    {
        log.clear();
        queue->checkNetworkAvailable();
        return QTest::qWaitFor([this] { return log.texts().size() > 1; });
    }
    QList<int> timers() const
    {
        QList<int> intervals;
        for (const QTimer *timer : queue->findChildren<QTimer *>(QString(), Qt::FindDirectChildrenOnly)) {
            if (timer->isActive())
                intervals.append(timer->interval());
        }
        return intervals;
    }
    void request(int count)
    {
        for (int i = 0; i < count; ++i)
            queue->actionRequest(post("body " + QByteArray::number(i)));
    }
    QByteArrayList started() const { return lines("started"); }
};

QByteArray dataName(int index)
{
    return "data" + QByteArray::number(index) + ".json";
}
}

class tst_network : public QObject
{
    Q_OBJECT
private slots:
    void runsItsTimersOnceItsThreadRuns()
    {
        fixture f;
        QVERIFY(f.timers().isEmpty());
        QVERIFY(f.start());
        QCOMPARE(f.timers(), QList<int>({5000, 30000, 60000}));
        QCOMPARE(f.queue->thread(), QThread::currentThread());
        QCOMPARE(f.log.registered().size(), 3);
        for (const debugMessage &m : f.log.registered())
            QCOMPARE(m.componentType, 20U);
    }

    void waitsForThreadAndRoute()
    {
        fixture f;
        f.request(1);
        QCOMPARE(f.remaining, QList<int>({1}));
        QVERIFY(f.start());
        f.request(1);
        f.log.clear();
        f.queue->sendData(); // nobody has looked for a route yet
        QCOMPARE(f.log.texts(), QStringList({"Network not accessible"}));
        QCOMPARE(f.log.messages()[0].level, 2U);

        QVERIFY(f.checkRoute());
        QCOMPARE(f.told("started"), QByteArray()); // the route alone sends nothing
        f.queue->sendData();
        QTRY_COMPARE(f.remaining.last(), 0);
        QCOMPARE(f.told("body.data0.json"), QByteArray("body 0"));
        f.request(1); // with a route, at once
        QTRY_COMPARE(f.count("ended"), 3);
        QTRY_COMPARE(f.remaining.last(), 0);
    }

    void readsTheRoutes_data()
    {
        QTest::addColumn<QByteArray>("routes");
        QTest::addColumn<QByteArray>("ipExit");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("accessible"); // after it was not accessible
        const QString found = QStringLiteral("Default route found - network is accessible");
        const QString none = QStringLiteral("No default route found - no internet access");
        QTest::newRow("default") << QByteArray("default via 192.0.2.1\n10.0.0.0/8 dev x\n") << QByteArray("0")
                                 << found << true;
        QTest::newRow("second line") << QByteArray("10.0.0.0/8 dev x\nis default-ish") << QByteArray("0")
                                     << found << true;
        QTest::newRow("none") << QByteArray("10.0.0.0/8 dev x\n") << QByteArray("0") << none << false;
        QTest::newRow("capitals") << QByteArray("DEFAULT via 192.0.2.1\n") << QByteArray("0") << none
                                  << false;
        QTest::newRow("silence") << QByteArray() << QByteArray("0") << none << false;
        QTest::newRow("failure") << QByteArray("default via 192.0.2.1\n") << QByteArray("2")
                                 << QStringLiteral("\"ip route\" command finished with code 2") << false;
    }
    void readsTheRoutes()
    {
        QFETCH(QByteArray, routes);
        QFETCH(QByteArray, ipExit);
        fixture f;
        f.say("routes", "");
        QVERIFY(f.start());
        QVERIFY(f.checkRoute());
        f.say("routes", routes);
        f.say("ipexit", ipExit);
        QVERIFY(f.checkRoute());
        QCOMPARE(f.log.texts()[0], QStringLiteral("Checking available routes"));
        QTEST(f.log.texts()[1], "text");
        QCOMPARE(f.log.messages()[1].level, 4U);
        f.log.clear();
        f.queue->sendData();
        QTEST(f.log.texts().isEmpty(), "accessible");
    }

    void aFailedRouteCheckChangesNothing()
    {
        fixture f;
        QVERIFY(f.start());
        QVERIFY(f.checkRoute());
        f.say("ipexit", "1");
        QVERIFY(f.checkRoute());
        f.request(1);
        QTRY_COMPARE(f.remaining.last(), 0);
    }

    void sendsTheNewestFirstAndAtMostEightAtOnce()
    {
        constexpr int count = 20;
        constexpr int places = 8;
        fixture f;
        f.say("hold", "");
        f.request(count);
        QVERIFY(f.start());
        QVERIFY(f.checkRoute());
        f.log.clear();
        f.queue->sendData();
        QCOMPARE(f.log.texts().filter("Executing action").first(), QStringLiteral("Executing action 19"));
        QCOMPARE(f.log.texts().filter("Executing action").size(), count); // every one is asked
        QTRY_COMPARE(f.count("started"), places);
        f.queue->sendData(); // asking again neither starts more nor changes the order
        f.request(1);        // a new one waits behind those who asked before
        f.forget("hold");
        QTRY_COMPARE(f.remaining.last(), 0);
        QCOMPARE(f.log.texts().filter(QRegularExpression("^Starting action$")).size(), count + 1);

        // Which of eight scripts writes first is chance; which eight run is not.
        QByteArrayList firstEight = f.started().mid(0, places);
        QByteArrayList expected;
        for (int i = 0; i < places; ++i)
            expected.append(dataName(count - 1 - i));
        std::sort(firstEight.begin(), firstEight.end());
        std::sort(expected.begin(), expected.end());
        QCOMPARE(firstEight, expected);
        for (int i = 0; i < count; ++i)
            QCOMPARE(f.told("body." + dataName(i)), "body " + QByteArray::number(i));
    }

    void eightDeadConnectionsDoNotKeepTheOthersOut()
    {
        fixture f;
        QVERIFY(f.start());
        QVERIFY(f.checkRoute());
        f.say("hold", "");
        f.request(10);
        QTRY_COMPARE(f.count("started"), 8);
        f.host.advance(181000);
        f.queue->sendData(); // kills the eight, which queue up behind the two
        QTRY_COMPARE(f.count("started"), 16);
        QVERIFY(f.started().mid(8).contains(dataName(8)));
        QVERIFY(f.started().mid(8).contains(dataName(9)));
        f.forget("hold");
        QTRY_COMPARE(f.remaining.last(), 0);
    }

    void losingTheRouteStopsWhatHasNotStarted()
    {
        fixture f;
        QVERIFY(f.start());
        QVERIFY(f.checkRoute());
        f.say("hold", "");
        f.request(9);
        QTRY_COMPARE(f.count("started"), 8);
        f.say("routes", "");
        QVERIFY(f.checkRoute());
        f.forget("hold");
        QTRY_COMPARE(f.remaining.last(), 1);
        QCOMPARE(f.count("started"), 8);
        f.say("routes", "default");
        QVERIFY(f.checkRoute());
        f.queue->sendData();
        QTRY_COMPARE(f.remaining.last(), 0);
    }

    void cleanupCountsAndRemovesWhatIsDone()
    {
        fixture f;
        QVERIFY(f.start());
        QVERIFY(f.checkRoute());
        f.say("exit", "1");
        f.request(1);
        netActionInfo unknown = uploadRig::post("x");
        unknown.requestType = QStringLiteral("get");
        f.queue->actionRequest(unknown);
        QTRY_COMPARE(f.count("ended"), 1);
        f.log.clear();
        f.remaining.clear();
        f.queue->cleanup();
        QCOMPARE(f.log.texts(),
            QStringList({"Network action cleanup: Removing action 1 of 2",
                "Network action cleanup: Completed: 1 Remaining 1"}));
        QCOMPARE(f.log.messages()[0].level, 2U);
        QCOMPARE(f.log.messages()[1].level, 2U);
        QCOMPARE(f.log.messages()[1].componentName, QStringLiteral("Cleanup"));
        QCOMPARE(f.remaining, QList<int>({1}));
        QVERIFY(QFile::exists(f.file(0)));
    }

    void goesCleanlyInTheMiddleOfItsWork()
    {
        fixture f;
        QVERIFY(f.start());
        QVERIFY(f.checkRoute());
        f.say("hold", "");
        f.request(10);
        QTRY_COMPARE(f.count("started"), 8);
        f.queue->checkNetworkAvailable();
        f.queue.reset();
        QCOMPARE(QDir(f.host.path("/tmp")).entryList(QDir::Files), QStringList()); // ".keep" is hidden
    }
};

QTEST_GUILESS_MAIN(tst_network)
#include "tst_network.moc"
