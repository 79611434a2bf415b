#include "lib/communications/network.h"

#include "lib/communications/debugComponent.h"
#include "lib/communications/netAction.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"
#include "tests/support/fakePrograms.h"
#include "tests/support/logSink.h"
#include "tests/support/refusal.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTest>
#include <QTimer>

#include <csignal>

#include <sys/resource.h>

namespace {
const char body[] = "{\"ts\":1,\"values\":{\"text\":\"\xB0\nC\"}}";

/// The queue on a machine with a /tmp of its own and stand-ins for curl and ip that do as they are told by
/// files: "exit" is curl's exit code, "hold" makes it wait until it is taken away, "routes" is ip's answer.
struct fixture {
    fakePrograms programs;
    fakeHost host;
    logSink log;
    std::unique_ptr<network> queue = std::make_unique<network>(nullptr, host);
    int remaining = -1; // as published last

    fixture()
    {
        host.write("/tmp/.keep", "");
        host.write("/routes", "default via 127.0.0.1 dev lo\n");
        host.write("/exit", "0");
        host.write("/ipexit", "0");
        const QByteArray enter = "cd " + QFile::encodeName(host.path("/")) + '\n';
        programs.write("ip", enter + "cat routes; exit $(cat ipexit)");
        programs.write("curl",
            enter
                + "file=${2#@}; number=$(basename $file .json | tr -d a-z)\n"
                  "printf '%s\\n' \"$@\" > args; cat $file > body; stat -c %a $file > mode\n"
                  "echo $number >> started; echo out; echo err >&2\n"
                  "while [ -e hold ]; do sleep 0.02; done\n"
                  "[ ! -e long ] || { yes | head -c 10000000; yes end | head -n 3; }\n"
                  "exit $(cat exit)");
        queue->debug->registerWithClient(&log);
        QObject::connect(queue.get(), &network::resultAvailable, queue.get(),
            [this](const QString &key, const QVariant &value) {
                if (key == QLatin1String("networkMessagesRemaining") && value.userType() == QMetaType::Int)
                    remaining = value.toInt();
            });
    }
    void startWithRoute()
    {
        queue->threadStarted();
        QCOMPARE(checkRoute(), QStringLiteral("Default route found - network is accessible"));
    }
    /// Eight uploads that hang, and two that wait.
    void fillEveryPlace()
    {
        startWithRoute();
        host.write("/hold", "");
        request(10);
        QTRY_COMPARE(count(), 8);
    }
    /// What a route check has found.
    QString checkRoute()
    {
        log.clear();
        queue->checkNetworkAvailable();
        static_cast<void>(QTest::qWaitFor([this] { return log.texts().size() > 1; }));
        return log.texts().last();
    }
    void request(int count, const QString &type = QStringLiteral("post"), const QString &uri = "http://h/x")
    {
        for (int i = 0; i < count; ++i)
            queue->actionRequest({type, "", uri, body});
    }
    QString data(int index) const { return host.path(QStringLiteral("/tmp/data%1.json").arg(index)); }
    QByteArray told(const QString &name) const { return host.read(name).value_or(QByteArray()); }
    /// The numbers of all uploads so far, in the order of their start.
    QByteArrayList started() const { return told("/started").split('\n').mid(0, count()); }
    int count() const { return told("/started").count('\n'); }
};
}

class tst_network : public QObject
{
    Q_OBJECT
private slots:
    void readsTheRoutes()
    {
        const QString found = QStringLiteral("Default route found - network is accessible");
        const QString none = QStringLiteral("No default route found - no internet access");
        const QString failure = QStringLiteral("\"ip route\" command finished with code 2");
        const QList<std::tuple<QByteArray, QByteArray, QString, bool>> steps{
            {"default via 192.0.2.1\n", "2", failure, false}, // changes nothing
            {"10.0.0.0/8 dev x\nis default-ish", "0", found, true},
            {"", "2", failure, true},
            {"DEFAULT via 192.0.2.1\n", "0", none, false},
        };
        fixture f;
        f.queue->threadStarted();
        for (const auto &[routes, exitCode, text, accessible] : steps) {
            f.host.write("/routes", routes);
            f.host.write("/ipexit", exitCode);
            QCOMPARE(f.checkRoute(), text);
            f.log.clear();
            f.queue->sendData();
            QCOMPARE(f.log.texts().contains("Network not accessible"), !accessible);
        }
    }

    void waitsForARouteAndSendsTheNewestFirstAndAtMostEightAtOnce()
    {
        constexpr int count = 20;
        constexpr int places = 8;
        fixture f;
        f.host.write("/hold", "");
        f.request(1);
        QCOMPARE(f.remaining, 1);
        f.queue->threadStarted();
        f.request(count - 1);
        f.queue->sendData(); // nobody has looked for a route yet
        f.checkRoute();
        QCOMPARE(f.count(), 0); // the route alone sends nothing
        f.queue->sendData();
        QTRY_COMPARE(f.count(), places);
        // Which of eight scripts writes first is chance; which eight run is not.
        for (int i = 0; i < count; ++i)
            QCOMPARE(f.started().contains(QByteArray::number(i)), i >= count - places);
        f.queue->sendData(); // asking again starts no more
        f.request(1);
        f.host.remove("/hold");
        QTRY_COMPARE(f.remaining, 0);
        QCOMPARE(f.count(), count + 1);
        QVERIFY(QDir(f.host.path("/tmp")).entryList(QDir::Files).isEmpty());
    }

    void deadConnectionsAndALostRoute()
    {
        fixture f;
        f.fillEveryPlace();
        f.host.setUtc(QDateTime({2025, 1, 1}, {}, Qt::UTC)); // set back: the wait counts from here
        f.queue->sendData();
        f.host.advance(180999);
        f.queue->sendData();
        QCOMPARE(f.log.texts().last(), QStringLiteral("Already running"));
        f.host.advance(1);
        f.queue->sendData(); // kills the eight, which queue up behind the two
        QTRY_COMPARE(f.count(), 16);
        QVERIFY(f.started().mid(8).contains("8") && f.started().mid(8).contains("9"));

        f.host.write("/routes", "");
        f.checkRoute();
        f.host.remove("/hold");
        QTRY_COMPARE(f.remaining, 2); // who had not started does not start now
        QCOMPARE(f.count(), 16);
        f.host.write("/routes", "default");
        f.checkRoute();
        f.queue->sendData();
        QTRY_COMPARE(f.remaining, 0);
    }

    void postsItsBodyAndClearsUp()
    {
        const QList<QPair<QString, QByteArray>> addresses{{"http://h/a b -o c", "http://h/a b -o c\n"},
            {"\n   http://h/a\n  ", "http://h/a\n"},
            {"http://h/?a=1&b=$(id);'x'", "http://h/?a=1&b=$(id);'x'\n"}, {"", ""}};
        for (const auto &[uri, argument] : addresses) {
            fixture f;
            f.startWithRoute();
            f.log.clear();
            f.request(1, "post", uri);
            QTRY_COMPARE(f.remaining, 0);
            QCOMPARE(f.told("/args"),
                "-d\n@" + f.data(0).toLocal8Bit() + '\n' + argument
                    + "--header\nContent-Type:application/json\n");
            QCOMPARE(f.told("/body"), QByteArray(body));
            QVERIFY(!QFile::exists(f.data(0)));
            QCOMPARE(f.log.texts(),
                QStringList({"Executing action 0", "Starting action", "Action started",
                    "Action 0 completed with return code 0.", "Action 0 completed successfully.", "out", "",
                    "err", "", "Network action cleanup: Removing action 0 of 1",
                    "Network action cleanup: Completed: 1 Remaining 0"}));
        }
    }

    void keepsTheEndOfALongAnswer()
    {
        fixture f;
        f.startWithRoute();
        f.host.write("/long", "");
        f.request(1);
        QTRY_COMPARE(f.remaining, 0);
        QCOMPARE(f.log.texts().count("end"), 3);
        QVERIFY(f.log.texts().count("y") > 1000 && f.log.texts().size() < 64 * 1024);
    }

    void areTriedUntilTheySucceed()
    {
        constexpr int count = 9; // one more than the places: whoever fails gives his place back
        const auto failures
            = [](const fixture &f, const char *text) { return f.log.texts().filter(text).size(); };
        fixture f;
        f.startWithRoute();
        f.host.write("/tmp/data0.json/inside", ""); // a name that cannot be taken
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", "/nonexistent");
        f.request(count);
        f.request(1, QStringLiteral("get")); // is never run
        QTRY_COMPARE(failures(f, "could not be started: "), count - 1);
        qputenv("PATH", path);
        f.queue->cleanup();
        QCOMPARE(f.remaining, count);

        QVERIFY(QDir(f.data(0)).removeRecursively());
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit usual{};
        getrlimit(RLIMIT_FSIZE, &usual);
        const rlimit full{0, usual.rlim_max};
        setrlimit(RLIMIT_FSIZE, &full); // as a full disk
        f.queue->sendData();
        setrlimit(RLIMIT_FSIZE, &usual);
        QCOMPARE(failures(f, "could not be written: "), count);

        f.host.write("/exit", "22");
        f.queue->sendData();
        QTRY_COMPARE(failures(f, "completed with return code 22."), count);
        QTRY_COMPARE(failures(f, " failed"), count);
        f.queue->cleanup();
        QCOMPARE(f.remaining, count);

        f.host.write("/exit", "0");
        f.queue->sendData();
        QTRY_COMPARE(f.remaining, 0);
        QCOMPARE(f.count(), 2 * count);
    }

    void goOnAfterAMomentWithoutMemory()
    {
        fixture f;
        f.queue->threadStarted();
        refused = true;
        const QString refusal = f.checkRoute();
        QVERIFY2(refusal.startsWith("\"ip route\" command could not be started: "), qPrintable(refusal));
        refused = false;
        QCOMPARE(f.checkRoute(), QStringLiteral("Default route found - network is accessible"));
        refused = true;
        f.request(1);
        QVERIFY(f.log.texts().join('\n').contains("Action 0 could not be started: "));
        refused = false;
        f.queue->sendData();
        QTRY_COMPARE(f.remaining, 0);
    }

    void writesNothingButItsOwnFile()
    {
        for (const QString command : {"cp", "ln", "ln -s"}) {
            fixture f;
            f.startWithRoute();
            f.host.write("/victim", "precious");
            const QString victim = f.host.path("/victim");
            QCOMPARE(QProcess::execute("sh", {"-c", command + ' ' + victim + ' ' + f.data(0)}), 0);
            QFile watched(f.data(0)); // what somebody may hold open
            QVERIFY(watched.open(QIODevice::ReadOnly));
            f.request(1);
            QTRY_COMPARE(f.remaining, 0);
            QCOMPARE(f.told("/body"), QByteArray(body));
            QCOMPARE(f.told("/mode"), QByteArray("600\n"));
            QCOMPARE(watched.readAll(), QByteArray("precious"));
            QVERIFY(QFile::exists(victim));
        }
    }

    void aStuckRemovalEndsAfterItsLimitAndSendsNothingTwice()
    {
        fixture f;
        f.startWithRoute();
        f.programs.write("rm", "exec sleep 600");
        f.request(1);
        QTRY_VERIFY(f.log.texts().contains("Action 0 completed successfully."));
        f.queue->sendData();
        QCOMPARE(f.log.texts().last(), QStringLiteral("Already completed without error"));
        auto *const limit = f.queue->findChild<netAction *>()->findChild<QTimer *>();
        QCOMPARE(limit->interval(), 5000);
        expire(limit);
        QTRY_COMPARE(f.remaining, 0);
        QCOMPARE(f.count(), 1);
        QVERIFY(!QFile::exists(f.data(0)));
    }

    void goesCleanlyInTheMiddleOfItsWork()
    {
        fixture f;
        f.fillEveryPlace();
        f.queue->checkNetworkAvailable();
        f.queue.reset();
        QVERIFY(QDir(f.host.path("/tmp")).entryList(QDir::Files).isEmpty()); // ".keep" is hidden
    }
};

QTEST_GUILESS_MAIN(tst_network)
#include "tst_network.moc"
