#include "lib/communications/debugComponent.h"

#include "tests/support/logSink.h"

#include <QProcess>
#include <QTest>

#include <thread>

class tst_debugComponent : public QObject
{
    Q_OBJECT
private slots:
    void levelOfAMessage()
    {
        const QList<std::tuple<int, int, quint32>> levels{
            {-1, -1, 0U}, {2, -1, 2U}, {-1, 5, 5U}, {2, 5, 5U}, {2, 0, 0U}}; // own, of the call, result
        for (const auto &[own, asked, level] : levels) {
            logSink sink;
            debugComponent component;
            component.configure("a", 1, own);
            component.configure("pump", 9, -1); // leaves the level as it is
            component.registerWithClient(&sink);
            component.log("x", asked);
            const debugMessage m = sink.messages().value(0);
            QCOMPARE(m.level, level);
            QCOMPARE(m.componentName, QStringLiteral("pump"));
            QVERIFY(m.UUID == component.uuid() && qAbs(time(nullptr) - m.timestamp) < 60);
        }
    }

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
        QCOMPARE(component.lastLog(), QStringLiteral("unheard"));
        component.enable();
        component.log("again");
        component.log("again");
        QCOMPARE(first.texts(), QStringList({"again", "again"}));
        QCOMPARE(second.texts(), first.texts());
        QCOMPARE(component.lastLog(), QStringLiteral("again"));
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
        for (const char *uuid :
            {"11111111-2222-3333-4444-555555555555", "00010203-0405-0607-0809-0a0b0c0d0e0f"}) {
            leaf.setParentUUID(uuid); // outside this process
            QCOMPARE(leaf.registrationMessage().parentUUID.toString(), QString(uuid));
        }
    }

    void processOutputIsLoggedLineByLine()
    {
        logSink sink;
        debugComponent component;
        component.registerWithClient(&sink);
        QProcess process;
        process.start("printf", {"one\\r\\ntwo 100%% done\\n"});
        QVERIFY(process.waitForFinished());
        component.logStdOut(&process, 2);
        component.log(QAbstractSocket::SocketError(99), 3);                    // has no text
        QCOMPARE(sink.texts(), QStringList({"one", "", "two 100% done", ""})); // CR and LF both end a line
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
