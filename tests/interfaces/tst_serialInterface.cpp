#include "lib/interfaces/serialInterface.h"

#include "tests/support/expire.h"
#include "tests/support/onThread.h"
#include "tests/support/warnings.h"
#include "tests/support/watchedInterface.h"

#include <QSignalSpy>
#include <QTest>

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {
/// The far end of a serial line.
struct pseudoTerminal {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);

    ~pseudoTerminal() { ::close(master); }
    QByteArray key() const
    {
        if (grantpt(master) != 0 || unlockpt(master) != 0)
            qFatal("no pseudo-terminal");
        return QByteArray("<device>").append(ptsname(master)).append("</device>");
    }
};

struct fixture : watchedInterface<serialInterface> {
    using watchedInterface::watchedInterface;
    const QSerialPort &port() const { return *static_cast<QSerialPort *>(stream); }
};
}

class tst_serialInterface : public QObject
{
    Q_OBJECT
private slots:
    void transfersAlsoWhenOpenedAgain()
    {
        const pseudoTerminal line;
        fixture tested(line.key());
        for (int opening = 0; opening < 2; ++opening) {
            QVERIFY(tested.open(QIODevice::ReadWrite) && tested.open(QIODevice::ReadWrite));
            QCOMPARE(tested.log.texts().last(), QStringLiteral("Interface is already open."));
            char asked[8] = {};
            QVERIFY(tested.write("ask") == 3 && tested.waitForBytesWritten(1000));
            QCOMPARE(::read(line.master, asked, sizeof asked), ssize_t(3));
            QSignalSpy ready(&tested, &interface::readyRead);
            QVERIFY(::write(line.master, "answer", 6) == 6 && ready.wait());
            QCOMPARE(tested.readAll(), QByteArray("answer"));
            tested.errorDetected(QSerialPort::ResourceError);
            QCOMPARE(
                tested.takeResults(), (QStringList{"commsState=Open", "commsFail=0", "commsState=Closed"}));
        }
    }

    void setsThePortUp()
    {
        const QMap<QByteArray, QList<int>> settings{{"9/x/3/soft/9600", {8, 0, 1, 0, 9600}},
            {"5/EVEN/1.5/s/57600", {5, 2, 3, 2, 57600}}, {"6/o/2/Hardware/1200", {6, 3, 2, 1, 1200}},
            {" 7 /space/1/h/115200", {7, 4, 1, 1, 115200}}, {"8/m/1/software/300", {8, 5, 1, 2, 300}}};
        for (const QByteArray &words : settings.keys()) {
            const QByteArrayList word = words.split('/');
            fixture tested("<DataBits>" + word[0] + "</DataBits><parity>" + word[1] + "</parity><stopbits>"
                + word[2] + "</stopbits><flow>" + word[3] + "</flow><baud>" + word[4] + "</baud>");
            tested.open(QIODevice::ReadWrite); // no such port
            const QSerialPort &port = tested.port();
            const QList<int> set{
                port.dataBits(), port.parity(), port.stopBits(), port.flowControl(), port.baudRate()};
            QCOMPARE(set, settings[words]);
        }
    }

    void retriesInVainUntilItIsOpenedWithAMode()
    {
        fixture tested("<device>/dev/no-such-line</device><reconnent>2500</reconnent>");
        QVERIFY(!tested.open(QIODevice::ReadWrite));
        QCOMPARE(tested.takeResults(), QStringList{"commsState=Failed to open"});
        expire(tested.timer());
        QVERIFY(tested.log.texts().contains("Failed to open interface - Unsupported open mode"));
        QCOMPARE(tested.log.texts().last(), QStringLiteral("Will try again in 2.5 seconds"));
        QVERIFY(tested.timer()->isActive());
    }

    void endsWithItsThread()
    {
        const warnings seen;
        {
            const pseudoTerminal line;
            fixture tested(line.key());
            QThread thread;
            const auto open = [&] { tested.open(QIODevice::ReadWrite); };
            runOnThread(thread, open, &tested, &interface::interfaceConnected);
            QVERIFY(!tested.isOpen());
        }
        QCOMPARE(seen.count(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_serialInterface)
#include "tst_serialInterface.moc"
