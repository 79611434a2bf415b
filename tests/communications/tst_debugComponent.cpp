#include "lib/communications/debugComponent.h"

#include "tests/support/logSink.h"

#include <QProcess>
#include <QTest>

#include <thread>

class tst_debugComponent : public QObject
{
    Q_OBJECT
private slots:
    void everySinkHearsAndTheLastTextIsKept()
    {
        logSink first;
        logSink second;
        debugComponent component;
        component.log("unheard");
        component.registerWithClient(&first);
        component.registerWithClient(&second);
        component.registerWithClient(&first);
        QCOMPARE(first.registered().size(), 1);
        QCOMPARE(second.registered().size(), 2); // Kept: once more to the sink that was added last
        component.disable();
        component.log("silenced");
        QCOMPARE(component.lastLog(), QString("unheard"));
        component.enable();
        QProcess process;
        process.start("printf", {"one\\r\\ntwo 100%% done\\n"});
        QVERIFY(process.waitForFinished());
        component.logStdOut(&process, 2);
        component.log(QAbstractSocket::SocketError(99), 3); // has no text
        component.log("again");
        component.log("again");
        const QStringList heard{
            "one", "", "two 100% done", "", "again", "again"}; // CR and LF both end a line
        QCOMPARE(first.texts(), heard);
        QCOMPARE(second.texts(), heard);
        QCOMPARE(component.lastLog(), QString("again"));
        QCOMPARE(first.messages().at(0).level, 2U);
        QCOMPARE(first.messages().last().level, 0U); // by default
        component.configure("pump", 1, 5);
        component.configure("pump", 1, -1); // leaves the level as it is
        component.log("detail");
        QCOMPARE(first.messages().last().level, 5U);
        QCOMPARE(first.messages().last().componentName, QString("pump"));
    }

    void theTreeMayGrowAndEndInAnyOrder()
    {
        logSink sink;
        debugComponent leaf;
        {
            debugComponent root;
            debugComponent branch;
            debugComponent other;
            other.addChild(&leaf);
            branch.addChild(&leaf);
            root.registerWithClient(&sink);
            root.addChild(&branch); // takes over the sinks that its parent has so far
            QCOMPARE(sink.registered().size(), 3);
            QCOMPARE(sink.registered()[1].parentUUID, root.uuid());
            QCOMPARE(sink.registered()[2].parentUUID, branch.uuid()); // the second of two parents
            leaf.log("heard");
        }
        QCOMPARE(sink.texts(), QStringList("heard"));
        QVERIFY(!leaf.parentComponent());
        const QString foreign = "00010203-0405-0607-0809-0a0b0c0d0e0f"; // outside this process
        leaf.setParentUUID(foreign);
        QCOMPARE(leaf.registrationMessage().parentUUID.toString(), foreign);
    }

    void threadsLogWhileTheTreeGrows()
    {
        logSink sink;
        debugComponent root;
        root.registerWithClient(&sink);
        const auto work = [&root] {
            debugComponent own;
            root.addChild(&own);
            for (int i = 0; i < 200; ++i) {
                own.log(QStringLiteral("own %1").arg(i));
                root.log(QStringLiteral("root %1").arg(i));
                root.lastLog();
                own.configure(QStringLiteral("thread %1").arg(i), 1, i % 3);
            }
        };
        std::thread first(work);
        std::thread second(work);
        first.join();
        second.join();
        QCOMPARE(sink.messages().size(), 2 * 2 * 200);
        QVERIFY(root.childComponents().isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_debugComponent)
#include "tst_debugComponent.moc"
