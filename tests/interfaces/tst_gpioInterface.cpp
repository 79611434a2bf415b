#include "lib/interfaces/gpioInterface.h"

#include "lib/communications/debugComponent.h"
#include "tests/support/fakeHost.h"

#include <QTest>

namespace {
const QString gpio = QStringLiteral("/sys/class/gpio/");

struct fixture : fakeHost {
    QByteArray file(const char *name) const { return read(gpio + name).value_or("missing"); }
    /// Pin 17 becomes usable some time after its export.
    void sleepMs(int ms) const override
    {
        fakeHost::sleepMs(ms);
        if (sleptMs() >= 100)
            QDir().mkpath(path(gpio + "gpio17"));
    }
    gpioInterface tested{*this};
};
}

class tst_gpioInterface : public QObject
{
    Q_OBJECT
private slots:
    void readsAndDrivesTheLevel()
    {
        const QList<QPair<QByteArray, bool>> levels{{"1\n", true}, {"0\n", false}, {"2\n", false},
            {"", false}, {"0x1\n", true}, {"0000000000000010\n", true}}; // 15 characters count
        fixture f;
        f.write(gpio + "export", "");
        QVERIFY(f.tested.set(17, true));
        QCOMPARE(f.sleptMs(), qint64(100));
        QVERIFY(!f.tested.set(18, true)); // gives up
        f.write(gpio + "export", "");
        for (const bool invert : {false, true}) {
            f.tested.invert = invert;
            for (const auto &[content, level] : levels) {
                f.write(gpio + "gpio17/value", content);
                bool value = level == invert;
                QVERIFY(f.tested.get(17, &value));
                QVERIFY2(value == (level != invert), content);
                QCOMPARE(f.file("gpio17/direction"), QByteArray("in\n"));
                QVERIFY(f.tested.set(17, level));
                QCOMPARE(f.file("gpio17/value"), QByteArray(level != invert ? "1\n" : "0\n"));
                QCOMPARE(f.file("gpio17/direction"), QByteArray("out\n"));
            }
        }
        QVERIFY(QFile::remove(f.path(gpio + "gpio17/value")));
        QVERIFY(QFile::link("/dev/full", f.path(gpio + "gpio17/value"))); // as a pin that the kernel keeps
        QVERIFY(!f.tested.set(17, true));
        QCOMPARE(f.tested.debug->lastLog(), QString("Could not set pin value (GPIO17)"));
        QVERIFY(!f.tested.set(-1, true)); // no pin assigned
        QCOMPARE(f.file("export"), QByteArray("17\n"));
    }
};

QTEST_GUILESS_MAIN(tst_gpioInterface)
#include "tst_gpioInterface.moc"
