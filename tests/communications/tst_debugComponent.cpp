#include "lib/communications/debugComponent.h"

#include "tests/support/logSink.h"

#include <QProcess>
#include <QTest>

#include <thread>

namespace {
QStringList names(const QList<debugMessage> &messages)
{
    QStringList all;
    for (const debugMessage &m : messages)
        all.append(m.componentName);
    return all;
}
}

class tst_debugComponent : public QObject
{
    Q_OBJECT
private slots:
    void levelOfAMessage_data()
    {
        QTest::addColumn<int>("ownLevel");
        QTest::addColumn<int>("asked");
        QTest::addColumn<quint32>("level");
        QTest::newRow("nobody has one") << -1 << -1 << 0U;
        QTest::newRow("the component's") << 2 << -1 << 2U;
        QTest::newRow("the call's") << -1 << 5 << 5U;
        QTest::newRow("the call's before the component's") << 2 << 5 << 5U;
        QTest::newRow("0 is a level") << 2 << 0 << 0U;
    }
    void levelOfAMessage()
    {
        QFETCH(int, ownLevel);
        QFETCH(int, asked);
        logSink sink;
        debugComponent component;
        component.configure(QStringLiteral("a"), 1, ownLevel);
        component.configure(QStringLiteral("pump"), 9, -1); // -1 leaves the level as it is
        component.registerWithClient(&sink);
        component.log(QStringLiteral("x"), asked);
        const debugMessage m = sink.messages().value(0);
        QTEST(m.level, "level");
        QCOMPARE(m.componentName, QStringLiteral("pump"));
        QCOMPARE(m.UUID, component.uuid());
        QCOMPARE(int(m.messageType), 0);
        QVERIFY(qAbs(time(nullptr) - m.timestamp) < 60);
    }

    void everySinkHearsAndTheLastTextIsKept()
    {
        logSink first;
        logSink second;
        debugComponent component;
        component.log(QStringLiteral("unheard"));
        QCOMPARE(component.lastLog(), QStringLiteral("unheard"));
        component.registerWithClient(&first);
        component.registerWithClient(&second);
        component.disable();
        component.log(QStringLiteral("silenced"));
        QCOMPARE(component.lastLog(), QStringLiteral("unheard"));
        component.enable();
        component.log(QStringLiteral("again"));
        component.log(QStringLiteral("again"));
        QCOMPARE(first.texts(), QStringList({QStringLiteral("again"), QStringLiteral("again")}));
        QCOMPARE(second.texts(), first.texts());
        QCOMPARE(component.lastLog(), QStringLiteral("again"));
    }

    void aChildTakesTheSinksThatItsParentHasSoFar()
    {
        logSink early;
        debugComponent root;
        debugComponent branch;
        debugComponent leaf;
        root.configure(QStringLiteral("root"), 7, -1);
        branch.configure(QStringLiteral("branch"), 8, -1);
        leaf.configure(QStringLiteral("leaf"), 9, -1);
        branch.addChild(&leaf);
        root.registerWithClient(&early);
        root.addChild(&branch);
        QCOMPARE(names(early.registered()),
            QStringList({QStringLiteral("root"), QStringLiteral("branch"), QStringLiteral("leaf")}));
        QCOMPARE(early.registered()[0].parentUUID, uuidType());
        QCOMPARE(early.registered()[1].parentUUID, root.uuid());
        QCOMPARE(early.registered()[2].componentType, 9U);
        leaf.log(QStringLiteral("heard"));
        QCOMPARE(early.texts(), QStringList(QStringLiteral("heard")));
    }

    void aChildOfTwoParentsReportsTheSecond()
    {
        debugComponent first;
        debugComponent second;
        debugComponent child;
        first.addChild(&child);
        second.addChild(&child);
        QCOMPARE(child.parentComponent(), &second);
        QCOMPARE(first.childComponents(), QList<debugComponent *>{&child});
        QCOMPARE(child.registrationMessage().parentUUID, second.uuid());
    }

    // Kept: the registration goes once more to the sink that was added last.
    void registeringASinkAgainTellsTheLastOne()
    {
        logSink first;
        logSink last;
        debugComponent component;
        component.registerWithClient(&first);
        component.registerWithClient(&last);
        component.registerWithClient(&first);
        QCOMPARE(first.registered().size(), 1);
        QCOMPARE(last.registered().size(), 2);
        component.log(QStringLiteral("once"));
        QCOMPARE(first.texts().size(), 1);
    }

    void aForeignParentIsKnownByItsUuidOnly()
    {
        const QString uuid = QStringLiteral("00010203-0405-0607-0809-0a0b0c0d0e0f");
        debugComponent component;
        component.setParentUUID(QStringLiteral("11111111-2222-3333-4444-555555555555"));
        component.setParentUUID(uuid);
        QCOMPARE(component.registrationMessage().parentUUID.toString(), uuid);
        QVERIFY(component.parentComponent()->childComponents().isEmpty());
        component.setUUIDfromString(uuid);
        component.setUUIDfromString(QStringLiteral("nonsense"));
        QCOMPARE(component.UUIDasString(), uuid);
    }

    void familyMayGoInAnyOrder()
    {
        debugComponent survivor;
        {
            debugComponent parent;
            debugComponent child;
            parent.addChild(&survivor);
            survivor.addChild(&child);
        }
        QVERIFY(!survivor.parentComponent());
        QVERIFY(survivor.childComponents().isEmpty());
        QCOMPARE(survivor.registrationMessage().parentUUID, uuidType());
    }

    void socketErrorsAreLoggedByTheirText()
    {
        logSink sink;
        debugComponent component;
        component.registerWithClient(&sink);
        component.log(QAbstractSocket::UnknownSocketError, 3);
        component.log(QAbstractSocket::SocketError(99), 3);
        QCOMPARE(sink.texts(), QStringList(QStringLiteral("An unidentified error occurred.")));
        QCOMPARE(sink.messages()[0].level, 3U);
    }

    void processOutputIsLoggedLineByLine()
    {
        logSink sink;
        debugComponent component;
        component.registerWithClient(&sink);
        QProcess process;
        process.start(QStringLiteral("printf"), {QStringLiteral("one\\r\\ntwo 100%% done\\n")});
        QVERIFY(process.waitForFinished());
        component.logStdErr(&process, 2);
        component.logStdOut(&process, 2);
        // No error output is one empty piece; a carriage return and line feed have an empty piece in between.
        const QStringList expected{
            QString(), QStringLiteral("one"), QString(), QStringLiteral("two 100% done"), QString()};
        QCOMPARE(sink.texts(), expected);
    }

    void threadsLogWhileTheTreeGrows()
    {
        constexpr int threads = 4;
        constexpr int rounds = 200;
        logSink sink;
        logSink late;
        debugComponent root;
        root.registerWithClient(&sink);
        std::vector<std::thread> workers;
        workers.reserve(threads);
        for (int t = 0; t < threads; ++t) {
            workers.emplace_back([&root, t] {
                debugComponent own;
                root.addChild(&own);
                for (int i = 0; i < rounds; ++i) {
                    own.log(QStringLiteral("own %1").arg(i));
                    root.log(QStringLiteral("root %1").arg(t));
                    root.lastLog();
                    own.configure(QStringLiteral("thread %1").arg(i), 1, i % 3);
                }
            });
        }
        for (std::thread &each : workers)
            each.join();
        root.registerWithClient(&late);
        QCOMPARE(sink.messages().size(), 2 * threads * rounds);
        QCOMPARE(late.registered().size(), 1);
        QVERIFY(root.lastLog().startsWith(QStringLiteral("root ")));
        QVERIFY(root.childComponents().isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_debugComponent)
#include "tst_debugComponent.moc"
