#include "lib/samplers/tcpSampler.h"

#include "lib/communications/debugComponent.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"

#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>

#include <memory>
#include <vector>

#include <sys/socket.h>

namespace {
QByteArray record(const QString &key, const QVariant &value)
{
    return datastoreElementType(key, value).serialise();
}

struct fixture {
    datastore store;
    logSink log;
    tcpSampler sampler{&store};

    explicit fixture(const QByteArray &keys)
    {
        sampler.debug->registerWithClient(&log);
        sampler.configure(xml("<sampler type='tcp'>" + keys + "</sampler>"));
        sampler.start();
    }
    QTimer *timer() { return sampler.findChild<QTimer *>(QString(), Qt::FindDirectChildrenOnly); }
    int sockets() const { return sampler.findChildren<QTcpSocket *>().size(); }
};

struct client : QTcpSocket {
    explicit client(const tcpSampler &server)
    {
        connectToHost(QHostAddress::LocalHost, quint16(server.serverPort()));
        waitForConnected();
    }
    /// Waits for as many bytes; whether they, and no others, have come.
    bool gets(const QByteArray &bytes)
    {
        return QTest::qWaitFor([&] { return bytesAvailable() >= bytes.size(); }) && readAll() == bytes;
    }
};

const char pushMode[] = "<port>0</port><mode>PUSH</mode><key>t</key>";
}

class tst_tcpSampler : public QObject
{
    Q_OBJECT
private slots:
    void timerModeSendsASnapshotToANewClientAndEveryPeriod()
    {
        fixture f("<port>0</port><period>60000</period><key>t</key><key>gone</key><key>n</key>");
        QCOMPARE(f.timer()->interval(), 60000);
        f.store.store(QStringLiteral("n"), -3);
        f.store.store(QStringLiteral("t"), 21.5);
        f.store.store(QStringLiteral("other"), 1);
        const QByteArray snapshot = record("t", 21.5) + record("n", -3);
        client first(f.sampler);
        QVERIFY(first.gets(snapshot));
        client second(f.sampler); // everybody gets one more
        QVERIFY(second.gets(snapshot));
        QVERIFY(first.gets(snapshot));
        f.store.store(QStringLiteral("t"), 22.0); // not before the next period
        expire(f.timer());
        QVERIFY(first.gets(record("t", 22.0) + record("n", -3)));
        QVERIFY(second.gets(record("t", 22.0) + record("n", -3)));
    }

    void pushModeSendsASnapshotAndThenEveryUpdate()
    {
        fixture f(pushMode);
        fixture all(pushMode + QByteArray("<allkeys>True</allkeys>"));
        QVERIFY(!f.timer()->isActive());
        client early(all.sampler); // gets nothing while the store is empty
        QTRY_COMPARE(all.sockets(), 1);
        for (fixture *each : {&f, &all}) {
            each->store.store(QStringLiteral("t"), true);
            each->store.store(QStringLiteral("n"), 1);
        }
        QVERIFY(early.gets(record("t", true) + record("n", 1)));
        client late(all.sampler);
        QVERIFY(late.gets(record("t", true) + record("n", 1)));
        client viewer(f.sampler);
        QVERIFY(viewer.gets(record("t", true)));
        f.store.store(QStringLiteral("n"), 2);
        f.store.store(QStringLiteral("k"), QStringLiteral("on"));
        QVERIFY(viewer.gets(record("n", 2) + record("k", "on")));
    }

    void forgetsClientsHoweverTheyGo()
    {
        fixture f(pushMode);
        client stays(f.sampler);
        client closes(f.sampler);
        client halfCloses(f.sampler);
        client resets(f.sampler);
        resets.setReadBufferSize(1);
        QTRY_COMPARE(f.sockets(), 4);
        const QString text(100000, QLatin1Char('x')); // they go in the middle of a record
        f.store.store(QStringLiteral("k"), text);
        closes.disconnectFromHost();
        ::shutdown(int(halfCloses.socketDescriptor()), SHUT_WR);
        resets.abort(); // what it has not read makes this a reset
        QTRY_COMPARE(f.sockets(), 1);
        QVERIFY(stays.gets(record("k", text)));
        f.store.store(QStringLiteral("k"), 1);
        QVERIFY(stays.gets(record("k", 1)));
    }

    void badClientsFillNoMemory()
    {
        fixture f(pushMode);
        client talker(f.sampler);
        QTRY_COMPARE(f.sockets(), 1);
        auto *const socket = f.sampler.findChild<QTcpSocket *>();
        QSignalSpy heard(socket, &QTcpSocket::readyRead);
        talker.write("is anybody there?");
        QVERIFY(heard.wait());
        QCOMPARE(socket->bytesAvailable(), 0);

        client sleeper(f.sampler);
        sleeper.setReadBufferSize(1);
        QTRY_COMPARE(f.sockets(), 2);
        const QString text(256 * 1024, QLatin1Char('x'));
        for (int sent = 0; f.sockets() == 2 && sent < 100; ++sent) { // 25 MiB: more than what may wait
            f.store.store(QStringLiteral("k"), text);
            QVERIFY(talker.gets(record("k", text)));
        }
        QTRY_COMPARE(f.sockets(), 1);
        QVERIFY(f.log.texts().contains("Client does not read, dropped"));

        std::vector<std::unique_ptr<client>> crowd;
        for (int i = 0; i < 130; ++i) {
            crowd.push_back(std::make_unique<client>(f.sampler));
            QCoreApplication::processEvents();
        }
        QTRY_COMPARE(f.log.texts().count("Too many clients, refused"), 3);
        QTRY_COMPARE(f.sockets(), 128);
    }
};

QTEST_GUILESS_MAIN(tst_tcpSampler)
#include "tst_tcpSampler.moc"
