#include "app/watchdog.h"

#include "lib/communications/debugComponent.h"
#include "tests/support/expire.h"

#include <QTemporaryDir>
#include <QTest>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

class tst_watchdog : public QObject
{
    Q_OBJECT
private slots:
    void tellsTheServiceManagerThatAsksForIt()
    {
        const QTemporaryDir folder;
        const QByteArray path = folder.filePath("notify").toLocal8Bit();
        sockaddr_un address{AF_UNIX, {}};
        qstrncpy(address.sun_path, path, sizeof address.sun_path);
        const int manager = ::socket(AF_UNIX, SOCK_DGRAM, 0);
        QCOMPARE(::bind(manager, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
        debugComponent debug;
        QVERIFY(!watchdog(&debug).findChild<QTimer *>()); // nobody asks

        qputenv("NOTIFY_SOCKET", path);
        qputenv("WATCHDOG_USEC", "180000000");
        const watchdog tested(&debug);
        auto *const timer = tested.findChild<QTimer *>();
        QCOMPARE(timer->interval(), 60000);
        expire(timer);
        char said[64] = {};
        QVERIFY(::recv(manager, said, sizeof said - 1, MSG_DONTWAIT) > 0);
        QCOMPARE(QByteArray(said), QByteArray("WATCHDOG=1"));
        for (int i = 0; i < 1000; ++i) // more than wait for a manager that hangs
            expire(timer);
        QVERIFY(debug.lastLog().startsWith("Cannot reach the service manager: "));
        ::close(manager);
    }
};

QTEST_GUILESS_MAIN(tst_watchdog)
#include "tst_watchdog.moc"
