#include "lib/interfaces/gpioInterface.h"

#include "lib/communications/debugComponent.h"
#include "tests/support/fakeHost.h"

#include <QTest>

namespace {
const QString gpio = QStringLiteral("/sys/class/gpio/");

struct fixture : fakeHost {
    QByteArray file(const char *name) const { return read(gpio + name).value_or("missing"); }
    gpioInterface tested{system()};
};
}

class tst_gpioInterface : public QObject
{
    Q_OBJECT
private slots:
    void readsAndDrivesTheLevel()
    {
        const QList<QPair<QByteArray, bool>> levels{{"1\n", true}, {"0\n", false}, {"2\n", false},
            {"", false}, {"0x1\n", true}, {"on\n", false},
            {"0000000000000010\n", true}}; // 15 characters count
        fixture f;
        for (const auto &[content, level] : levels + levels) {
            f.write(gpio + "gpio17/value", content);
            bool value = level == f.tested.invert;
            QVERIFY(f.tested.get(17, &value));
            QVERIFY2(value == (level != f.tested.invert), content);
            QCOMPARE(f.file("gpio17/direction"), QByteArray("in\n"));
            QVERIFY(f.tested.set(17, level));
            QCOMPARE(f.file("gpio17/value"), QByteArray(level != f.tested.invert ? "1\n" : "0\n"));
            QCOMPARE(f.file("gpio17/direction"), QByteArray("out\n"));
            f.tested.invert = !f.tested.invert; // seven levels: each comes both ways
        }
        QVERIFY(!f.tested.set(-1, true)); // no pin assigned
        QCOMPARE(f.file("export"), QByteArray("17\n"));
    }

    void reportsTheFileThatFails()
    {
        QStringList messages;
        for (const char *blocked : {"export", "gpio17/direction", "gpio17/value"}) {
            fixture f;
            f.write(gpio + blocked + "/in/the/way", "");
            bool value = true;
            QVERIFY(!f.tested.get(17, &value) && value);
            messages.append(f.tested.debug->lastLog());
            QVERIFY(!f.tested.set(17, true));
            messages.append(f.tested.debug->lastLog());
        }
        QCOMPARE(messages.join(' ').remove("Could not ").remove(" (GPIO17)"),
            "open export open export set pin direction set pin direction get pin value set pin value");
    }
};

QTEST_GUILESS_MAIN(tst_gpioInterface)
#include "tst_gpioInterface.moc"
