#include "lib/samplers/tcpSampler.h"

#include "lib/communications/debugComponent.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"
#include "tests/telemetry/rawClient.h"

#include <QDir>
#include <QTcpServer>
#include <QTcpSocket>

#include <cstring>
#include <vector>

namespace {
/// The bytes of one record, put together by hand from the format's table.
template <class T>
QByteArray littleEndian(T value)
{
    QByteArray bytes;
    quint64 bits = 0;
    memcpy(&bits, &value, sizeof value);
    for (size_t i = 0; i < sizeof value; ++i)
        bytes.append(char(bits >> (8 * i)));
    return bytes;
}

quint16 crc16Arc(const QByteArray &bytes)
{
    quint16 crc = 0;
    for (const char byte : bytes) {
        crc ^= quint8(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = quint16((crc >> 1) ^ ((crc & 1) ? 0xA001 : 0));
    }
    return crc;
}

QByteArray record(const QByteArray &key, quint32 type, const QByteArray &value)
{
    const int length = 2 + 4 + 4 + key.size() + 4 + value.size() + 2;
    const QByteArray bytes = QByteArray("\xAB\xCD") + littleEndian(quint32(length))
        + littleEndian(quint32(key.size())) + key + littleEndian(type) + value;
    return bytes + littleEndian(crc16Arc(bytes.left(bytes.size() - 2)));
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
    rawClient client() const { return rawClient(sampler.serverPort()); }
    QTimer *timer() { return sampler.findChild<QTimer *>(QString(), Qt::FindDirectChildrenOnly); }
    int sockets() const { return sampler.findChildren<QTcpSocket *>().size(); }
    int connects() const { return log.texts().count(QStringLiteral("Client Connected")); }
};

int openDescriptors()
{
    return QDir(QStringLiteral("/proc/self/fd"))
        .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
        .size();
}

const char timerMode[] = "<port>0</port><period>60000</period><key>t</key><key>gone</key><key>n</key>";
const char pushMode[] = "<port>0</port><mode>PUSH</mode><key>t</key>";
}

class tst_tcpSampler : public QObject
{
    Q_OBJECT
private slots:
    void saysWhatItDoesWhenItStarts()
    {
        fixture f(timerMode);
        QCOMPARE(f.log.texts(),
            QStringList({"New timer connection created successfully",
                QStringLiteral("TCP Sample Server now listening on port %1").arg(f.sampler.serverPort()),
                "New connection path created successfully"}));
        QVERIFY(f.timer()->isActive());
        QCOMPARE(f.timer()->interval(), 60000);

        fixture second(
            QStringLiteral("<period>60000</period><port>%1</port>").arg(f.sampler.serverPort()).toLatin1());
        QCOMPARE(
            second.log.texts(), QStringList({"New timer connection created successfully"})); // port taken
        QCOMPARE(second.sampler.serverPort(), 0);
    }

    void refusesToListenWithoutAPort_data()
    {
        QTest::addColumn<QByteArray>("port");
        QTest::newRow("missing") << QByteArray();
        QTest::newRow("too large") << QByteArray("<port>70000</port>");
        QTest::newRow("negative") << QByteArray("<port>-1</port>");
    }
    void refusesToListenWithoutAPort()
    {
        QFETCH(QByteArray, port);
        fixture f(port + "<period>1000</period>");
        QCOMPARE(f.log.texts().last(), QStringLiteral("No usable port configured, not listening"));
        QCOMPARE(f.sampler.serverPort(), 0);
    }

    void sendsASnapshotToANewClientAndEveryPeriod()
    {
        fixture f(timerMode);
        f.store.store(QStringLiteral("n"), -3);
        f.store.store(QStringLiteral("t"), 21.5);
        f.store.store(QStringLiteral("other"), 1);
        const QByteArray snapshot = record("t", 6, littleEndian(21.5)) + record("n", 2, littleEndian(-3));
        QCOMPARE(snapshot.size(), 25 + 21);
        rawClient first = f.client();
        QCOMPARE(first.read(snapshot.size()), snapshot);
        rawClient second = f.client(); // everybody gets one more
        QCOMPARE(second.read(snapshot.size()), snapshot);
        QCOMPARE(first.read(2 * snapshot.size()), snapshot + snapshot);
        expire(f.timer());
        QCOMPARE(first.read(3 * snapshot.size()), snapshot + snapshot + snapshot);
        f.store.store(QStringLiteral("t"), 22.0); // not before the next period
        expire(f.timer());
        QCOMPARE(second.read(3 * snapshot.size()),
            snapshot + snapshot + record("t", 6, littleEndian(22.0)) + record("n", 2, littleEndian(-3)));
    }

    void pushesEveryUpdateOfEveryKeyInItsType()
    {
        fixture f(pushMode);
        QVERIFY(!f.timer()->isActive());
        f.store.store(QStringLiteral("t"), true);
        f.store.store(QStringLiteral("n"), 1);
        rawClient client = f.client();
        QByteArray expected = record("t", 1, QByteArray(1, '\1')); // the snapshot: configured keys only
        QCOMPARE(client.read(expected.size()), expected);

        const QList<QPair<QVariant, QByteArray>> values{
            {-2, record("k", 2, littleEndian(-2))},
            {7U, record("k", 3, littleEndian(7U))},
            {0.5F, record("k", 38, littleEndian(0.5F))},
            {-1e300, record("k", 6, littleEndian(-1e300))},
            {QStringLiteral("on"), record("k", 10, "on")},
            {QString(), record("k", 10, "")},
            {qlonglong(1), record("k", 4, "")},
        };
        for (const auto &each : values) {
            f.store.store(QStringLiteral("k"), each.first);
            expected += each.second;
        }
        f.store.store(QStringLiteral("n"), 2);
        expected += record("n", 2, littleEndian(2));
        QCOMPARE(client.read(expected.size()), expected);
    }

    void allkeysCoversTheWholeStore()
    {
        fixture f("<port>0</port><mode>push</mode><allkeys>True</allkeys><key>b</key>");
        rawClient early = f.client();
        QTRY_COMPARE(f.connects(), 1);
        f.store.store(QStringLiteral("b"), 1);
        f.store.store(QStringLiteral("a"), 2);
        const QByteArray all = record("b", 2, littleEndian(1)) + record("a", 2, littleEndian(2));
        QCOMPARE(early.read(all.size()), all); // nothing came while the store was empty
        rawClient late = f.client();
        QCOMPARE(late.read(all.size()), all);
    }

    void serves100ClientsAlike()
    {
        fixture f(pushMode);
        std::vector<rawClient> clients;
        for (int i = 0; i < 100; ++i) {
            clients.push_back(f.client());
            QTRY_COMPARE(f.connects(), i + 1); // the kernel keeps 50 callers waiting, no more
        }
        QByteArray expected;
        for (int i = 0; i < 50; ++i) {
            f.store.store(QStringLiteral("k"), i);
            expected += record("k", 2, littleEndian(i));
        }
        for (rawClient &client : clients)
            QCOMPARE(client.read(expected.size()), expected);
    }

    void forgetsClientsHoweverTheyGo()
    {
        fixture f(pushMode);
        rawClient stays = f.client();
        rawClient closes = f.client();
        rawClient resets = f.client();
        rawClient halfCloses = f.client();
        QTRY_COMPARE(f.sockets(), 4);
        f.store.store(
            QStringLiteral("k"), QString(100000, QLatin1Char('x'))); // gone in the middle of a record
        closes.end();
        resets.reset();
        halfCloses.stopSending();
        QTRY_COMPARE(f.sockets(), 1);
        const QByteArray expected = record("k", 10, QByteArray(100000, 'x'));
        QCOMPARE(stays.read(expected.size()), expected);
        f.store.store(QStringLiteral("k"), 1);
        QCOMPARE(stays.read(expected.size() + 21), expected + record("k", 2, littleEndian(1)));
    }

    void dropsAClientThatDoesNotRead()
    {
        fixture f(pushMode);
        rawClient reader = f.client();
        rawClient sleeper = f.client();
        QTRY_COMPARE(f.sockets(), 2);
        const QString text(256 * 1024, QLatin1Char('x'));
        int sent = 0;
        while (f.sockets() == 2 && sent < 100) { // 25 MiB: twice what the sampler and the kernel hold
            f.store.store(QStringLiteral("k"), text);
            ++sent;
            reader.read(sent * (text.size() + 17));
        }
        QCOMPARE(f.sockets(), 1);
        QCOMPARE(f.log.texts().last(), QStringLiteral("Client does not read, dropped"));
        QCOMPARE(reader.received.size(), sent * (text.size() + 17));
        QVERIFY(sleeper.closedByPeer());
    }

    void throwsAwayWhatClientsSend()
    {
        fixture f(pushMode);
        rawClient talker = f.client();
        QTRY_COMPARE(f.sockets(), 1);
        auto *const socket = f.sampler.findChild<QTcpSocket *>();
        qint64 seen = 0;
        connect(socket, &QTcpSocket::readyRead, this, [&] { ++seen; });
        for (int i = 0; i < 100; ++i) {
            talker.say(QByteArray(60000, 'y'));
            QCoreApplication::processEvents();
        }
        QVERIFY(seen > 0);
        QCOMPARE(socket->bytesAvailable(), 0);
    }

    /// CALORIX_TEST_CONNECTS says how many clients come and go.
    void manyClientsInARowLeaveNothingBehind()
    {
        const int count = qMax(100, qEnvironmentVariableIntValue("CALORIX_TEST_CONNECTS"));
        fixture f(pushMode);
        f.store.store(QStringLiteral("t"), 1);
        const QByteArray snapshot = record("t", 2, littleEndian(1));
        const int before = openDescriptors();
        for (int i = 0; i < count; ++i) {
            rawClient client = f.client();
            QCOMPARE(client.read(snapshot.size()), snapshot);
        }
        QTRY_COMPARE(f.sockets(), 0);
        QCOMPARE(openDescriptors(), before);
    }

    void servesFromAThreadOfItsOwn()
    {
        qRegisterMetaType<datastoreElementType>("datastoreElementType"); // as the program does when it starts
        datastore store;
        tcpSampler sampler(&store);
        logSink log;
        sampler.debug->registerWithClient(&log);
        sampler.configure(xml("<sampler><port>0</port><mode>push</mode></sampler>"));
        QThread thread;
        sampler.moveToThread(&thread);
        connect(&thread, &QThread::started, &sampler, &tcpSampler::start);
        connect(
            &thread, &QThread::finished, &sampler, [&] { sampler.moveToThread(this->thread()); },
            Qt::DirectConnection);
        thread.start();
        const QString listening = QStringLiteral("TCP Sample Server now listening on port ");
        QTRY_COMPARE(log.texts().filter(listening).size(), 1);
        rawClient client(log.texts().filter(listening)[0].midRef(listening.size()).toInt());
        QTRY_VERIFY(log.texts().contains("Client Connected"));
        store.store(QStringLiteral("k"), 5);
        QCOMPARE(client.read(21), record("k", 2, littleEndian(5)));
        thread.quit();
        QVERIFY(thread.wait());
    }
};

QTEST_GUILESS_MAIN(tst_tcpSampler)
#include "tst_tcpSampler.moc"
