#include "lib/interfaces/serialInterface.h"

#include "tests/support/onThread.h"
#include "tests/support/watchedInterface.h"

#include <QSignalSpy>
#include <QTest>

#include <cstdlib>
#include <map>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace {
/// The far end of a serial line.
struct pseudoTerminal {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);

    ~pseudoTerminal() { ::close(master); }
    /// What the kernel was told: "9600 stop=1 hard=0 soft=0". Data bits and parity of such a line never
    /// change.
    QString settings() const
    {
        termios now{};
        if (tcgetattr(master, &now) != 0)
            return QString();
        const int speed
            = std::map<speed_t, int>{{B300, 300}, {B9600, 9600}, {B115200, 115200}}[cfgetospeed(&now)];
        return QString::asprintf("%d stop=%d hard=%d soft=%d", speed, (now.c_cflag & CSTOPB) != 0 ? 2 : 1,
            (now.c_cflag & CRTSCTS) != 0, (now.c_iflag & IXON) != 0);
    }
    QByteArray key() const
    {
        if (grantpt(master) != 0 || unlockpt(master) != 0)
            qFatal("no pseudo-terminal");
        return QByteArray("<device>").append(ptsname(master)).append("</device>");
    }
};

struct fixture : watchedInterface<serialInterface> {
    using watchedInterface::watchedInterface;
    /// "8 0 1 0 9600": data bits, parity, stop bits, flow control, speed.
    QString settings() const
    {
        const QSerialPort &p = *static_cast<QSerialPort *>(stream);
        return QString::asprintf(
            "%d %d %d %d %d", p.dataBits(), p.parity(), p.stopBits(), p.flowControl(), p.baudRate());
    }
};
}

class tst_serialInterface : public QObject
{
    Q_OBJECT
private slots:
    // Qt warns of a device that is used, or ends, on a wrong thread.
    void initTestCase() { qputenv("QT_FATAL_WARNINGS", "1"); }

    void transfersAlsoWhenOpenedAgain()
    {
        const pseudoTerminal line;
        fixture tested(line.key());
        for (int opening = 0; opening < 2; ++opening) {
            QVERIFY(tested.open(QIODevice::ReadWrite) && tested.open(QIODevice::ReadWrite));
            char asked[8] = {};
            QVERIFY(tested.write("ask") == 3 && tested.waitForBytesWritten(1000));
            QCOMPARE(::read(line.master, asked, sizeof asked), ssize_t(3));
            QSignalSpy ready(&tested, &interface::readyRead);
            QVERIFY(::write(line.master, "answer", 6) == 6 && ready.wait());
            QCOMPARE(tested.readAll(), QByteArray("answer"));
            tested.errorDetected(QSerialPort::ResourceError);
            QCOMPARE(tested.published.take(), QString("commsState=Open commsFail=0 commsState=Closed"));
        }
    }

    void setsThePortUp()
    {
        struct row {
            QByteArray keys;
            QString settings;
            QString onTheLine;
        };
        const QList<row> rows{
            {"<DataBits>9</DataBits><parity>x</parity><stopbits>3</stopbits><flow>soft</flow>",
                "8 0 1 0 9600", "9600 stop=1 hard=0 soft=0"},
            {"<databits>5</databits><parity>EVEN</parity><stopbits>1.5</stopbits><flow>s</flow>",
                "5 2 3 2 9600", "9600 stop=1 hard=0 soft=1"},
            {"<databits>6</databits><parity>o</parity><stopbits>2</stopbits><flow>Hardware</flow>",
                "6 3 2 1 9600", "9600 stop=2 hard=1 soft=0"},
            {"<databits> 7 </databits><parity>space</parity><baud>300</baud>", "7 4 1 0 300",
                "300 stop=1 hard=0 soft=0"},
            {"<parity>m</parity><flow>h</flow><baud>115200</baud>", "8 5 1 1 115200",
                "115200 stop=1 hard=1 soft=0"}};
        for (const row &each : rows) {
            const pseudoTerminal line;
            fixture tested(line.key() + each.keys);
            tested.open(QIODevice::ReadWrite);
            QCOMPARE(tested.settings(), each.settings);
            QCOMPARE(line.settings(), each.onTheLine);
        }
    }

    void endsWithItsThread()
    {
        const pseudoTerminal line;
        fixture tested(line.key());
        QThread thread;
        const auto open = [&] { tested.open(QIODevice::ReadWrite); };
        runOnThread(thread, open, &tested, &interface::interfaceConnected);
        QVERIFY(!tested.isOpen());
    }
};

QTEST_GUILESS_MAIN(tst_serialInterface)
#include "tst_serialInterface.moc"
