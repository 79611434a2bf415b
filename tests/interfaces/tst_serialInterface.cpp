#include "lib/interfaces/serialInterface.h"

#include "lib/communications/debugComponent.h"
#include "tests/support/expire.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"
#include "tests/support/warnings.h"

#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <cstdlib>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace {
/// The far end of a serial line.
struct pseudoTerminal {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    QByteArray path;

    pseudoTerminal()
    {
        if (grantpt(master) != 0 || unlockpt(master) != 0)
            qFatal("no pseudo-terminal");
        path = ptsname(master);
    }
    ~pseudoTerminal() { ::close(master); }
    QByteArray key() const { return "<device>" + path + "</device>"; }
};

class testedInterface : public serialInterface
{
public:
    explicit testedInterface(const QByteArray &keys)
    {
        debug->registerWithClient(&log);
        configure(xml("<interface>" + keys + "</interface>"));
    }
    const QSerialPort &port() const { return *static_cast<QSerialPort *>(stream); }
    QTimer *timer() const { return reconnectTimer.get(); }

    logSink log;
    QSignalSpy results{this, &interface::resultAvailable};
};

QString text(const QSignalSpy &results, int index)
{
    return results.value(index).value(0).toString() + '=' + results.value(index).value(1).toString();
}
}

class tst_serialInterface : public QObject
{
    Q_OBJECT
private slots:
    void opensAndTransfers()
    {
        const warnings seen;
        const pseudoTerminal line;
        testedInterface tested(line.key() + "<baud>57600</baud><flow>s</flow>");
        QCOMPARE(tested.name(), QStringLiteral("SerialInterface"));
        QCOMPARE(tested.handle(), -1);
        QVERIFY(tested.open(QIODevice::ReadWrite));
        QCOMPARE(tested.log.texts(),
            (QStringList{"Attempting to open interface.", "Interface does not exist. Creating interface...",
                "Opening interface at " + line.path, "Opened successfully"}));
        QCOMPARE(text(tested.results, 0), QStringLiteral("commsState=Open"));
        QCOMPARE(text(tested.results, 1), QStringLiteral("commsFail=0"));
        QCOMPARE(tested.url().toLatin1(), line.path);
        QCOMPARE(tested.speed(), 57600);

        termios set{};
        QVERIFY(tested.canReturnHandle());
        QCOMPARE(tcgetattr(tested.handle(), &set), 0);
        QCOMPARE(cfgetospeed(&set), speed_t(B57600));
        QCOMPARE(cfgetispeed(&set), speed_t(B57600));
        QVERIFY((set.c_iflag & IXON) && !(set.c_cflag & CRTSCTS));

        QCOMPARE(tested.write("ask"), qint64(3));
        QVERIFY(tested.waitForBytesWritten(1000));
        char asked[8] = {};
        QCOMPARE(::read(line.master, asked, sizeof asked), ssize_t(3));
        QSignalSpy ready(&tested, &interface::readyRead);
        QCOMPARE(::write(line.master, "answer", 6), ssize_t(6));
        QVERIFY(ready.wait());
        QCOMPARE(tested.readAll(), QByteArray("answer"));
        QCOMPARE(seen.count(), 0);
    }

    void setsThePortUp_data()
    {
        QTest::addColumn<QByteArray>("keys");
        QTest::addColumn<QList<int>>("settings"); // data bits, parity, stop bits, flow
        const auto row = [](const QByteArray &keys, QList<int> settings) {
            QTest::newRow(keys.constData()) << keys << settings;
        };
        row("", {8, 0, 1, 0});
        for (int bits = 5; bits <= 8; ++bits)
            row("<databits>" + QByteArray::number(bits) + "</databits>", {bits, 0, 1, 0});
        row("<databits> 7 </databits>", {7, 0, 1, 0}); // a number, not a word
        row("<databits>9</databits>", {8, 0, 1, 0});
        const QList<QPair<const char *, int>> parities{{"n", 0}, {"NONE", 0}, {"e", 2}, {"EVEN", 2}, {"o", 3},
            {"odd", 3}, {"s", 4}, {"space", 4}, {"m", 5}, {"mark", 5}, {"x", 0}};
        for (const auto &[word, value] : parities)
            row(QByteArray("<parity>") + word + "</parity>", {8, value, 1, 0});
        row("<parity>even</parity><parity>n</parity>", {8, 0, 1, 0});
        row("<stopbits>1</stopbits>", {8, 0, 1, 0});
        row("<StopBits>1.5</StopBits>", {8, 0, 3, 0});
        row("<stopbits>2</stopbits>", {8, 0, 2, 0});
        row("<stopbits>3</stopbits>", {8, 0, 1, 0});
        const QList<QPair<const char *, int>> flows{
            {"n", 0}, {"none", 0}, {"h", 1}, {"Hardware", 1}, {"s", 2}, {"software", 2}, {"soft", 0}};
        for (const auto &[word, value] : flows)
            row(QByteArray("<flow>") + word + "</flow>", {8, 0, 1, value});
    }
    void setsThePortUp()
    {
        QFETCH(QByteArray, keys);
        const pseudoTerminal line;
        testedInterface tested(line.key() + keys);
        tested.open(QIODevice::ReadWrite);
        const QSerialPort &port = tested.port();
        QTEST((QList<int>{port.dataBits(), port.parity(), port.stopBits(), port.flowControl()}), "settings");
    }

    void keepsThePortForLaterOpens()
    {
        const pseudoTerminal line;
        testedInterface tested(line.key());
        tested.open(QIODevice::ReadWrite);
        const QSerialPort *const port = &tested.port();
        QVERIFY(tested.open(QIODevice::ReadWrite));
        QCOMPARE(tested.log.texts().last(), QStringLiteral("Interface is already open."));
        tested.errorDetected(QSerialPort::ResourceError);
        QVERIFY(!tested.isOpen());
        tested.log.clear();
        QVERIFY(tested.open(QIODevice::ReadOnly));
        QVERIFY(!tested.log.texts().contains("Interface does not exist. Creating interface..."));
        QCOMPARE(&tested.port(), port);
    }

    void retriesInVainUntilItIsOpenedWithAMode()
    {
        const warnings seen;
        testedInterface tested("<device>/dev/no-such-line</device><reconnent>2500</reconnent>");
        QVERIFY(!tested.open(QIODevice::ReadWrite));
        const auto lastTwo = [&tested] { return tested.log.texts().mid(tested.log.texts().size() - 2); };
        const QString failed = QStringLiteral("Failed to open interface - ") + tested.errorString();
        QCOMPARE(lastTwo(), (QStringList{failed, "Will try again in 2.5 seconds"}));
        QCOMPARE(text(tested.results, 0), QStringLiteral("commsState=Failed to open"));
        expire(tested.timer());
        QCOMPARE(lastTwo(),
            (QStringList{
                "Failed to open interface - Unsupported open mode", "Will try again in 2.5 seconds"}));
        QVERIFY(tested.timer()->isActive());
        QCOMPARE(seen.count(), 0);
    }

    void livesAndEndsWithItsThread()
    {
        const warnings seen;
        const pseudoTerminal line;
        {
            testedInterface tested(line.key());
            QEventLoop loop;
            connect(&tested, &interface::readyRead, &loop, &QEventLoop::quit, Qt::QueuedConnection);
            QThread thread;
            QObject worker;
            worker.moveToThread(&thread);
            connect(&thread, &QThread::started, &worker, [&] {
                tested.open(QIODevice::ReadWrite);
                if (::write(line.master, "x", 1) != 1)
                    loop.quit();
            });
            thread.start();
            loop.exec();
            thread.quit();
            thread.wait();
            QVERIFY(!tested.isOpen());
        }
        QCOMPARE(seen.count(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_serialInterface)
#include "tst_serialInterface.moc"
