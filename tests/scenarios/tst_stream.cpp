#include "tests/support/scenario.h"

#include <QRegularExpression>
#include <QTcpSocket>
#include <QTest>

#include <memory>
#include <vector>

#include <sys/socket.h>

namespace {
/// Takes nothing in by itself.
std::unique_ptr<QTcpSocket> client(int port)
{
    auto socket = std::make_unique<QTcpSocket>();
    socket->setReadBufferSize(1);
    socket->connectToHost(QHostAddress::LocalHost, quint16(port));
    socket->waitForConnected();
    return socket;
}

/// The port of the scenario's own TCP sampler, by the log.
int streamPort(scenario &run)
{
    if (!run.waitForLog("New connection path created"))
        return 0;
    const QRegularExpression line(QStringLiteral("TCP Sample Server now listening on port (\\d+)"));
    return line.match(QString::fromLocal8Bit(run.log())).captured(1).toInt();
}
}

class tst_stream : public QObject
{
    Q_OBJECT
private slots:
    void badClientsDisturbNeitherViewersNorTheHeating()
    {
        scenario run;
        run.configure(scenario::installation());
        QVERIFY(run.start());
        const int port = streamPort(run);
        std::vector<std::unique_ptr<QTcpSocket>> sleepers; // never read
        for (int i = 0; i < 100; ++i) {
            sleepers.push_back(client(port));
            QCOMPARE(sleepers.back()->state(), QAbstractSocket::ConnectedState);
            const auto talker = client(port);
            talker->write(QByteArray(10000, 'x'));
            talker->waitForBytesWritten();
            talker->abort(); // with the snapshot unread, this is a reset
            ::shutdown(int(client(port)->socketDescriptor()), SHUT_WR);
        }
        const int before = run.values.count(QStringLiteral("thermostatPower1Sense"));
        run.tell("thermostat room on");
        QVERIFY(run.waitForRelays("pump=1 boiler=1"));
        QVERIFY(scenario::waitFor(
            [&] { return run.values.count(QStringLiteral("thermostatPower1Sense")) > before + 20; }));
        QCOMPARE(run.values.garbage(), 0);
        QCOMPARE(run.leave(), QByteArray());
    }
};

QTEST_GUILESS_MAIN(tst_stream)
#include "tst_stream.moc"
