#include "lib/instruments/internal/internalInst.h"

#include "lib/instruments/internal/int_diskfree.h"
#include "tests/support/fakePrograms.h"
#include "tests/support/refusal.h"
#include "tests/support/testedDevice.h"

#include <QTest>

namespace {
const char dfScript[] = R"(case "$1 $2" in
"-P /") printf 'Filesystem 1024-blocks Used Available Capacity Mounted on\n/dev/root 1000 600  250 71%% /\n' ;;
"-P /big") printf 'Filesystem\n/dev/big 8589934592 0 4294967296 50%% /big\n' ;;
"-P /gone") printf 'a\nb 100 0 10 -\n'; exit 3 ;;
"-P /short") printf 'Filesystem\n/dev/x 100 50\n' ;;
"-P /zero") printf 'Filesystem\nproc 0 0 0 - /zero\n' ;;
"-P /hangs") exec sleep 60 ;;
esac)";

struct fixture : testedDevice<internalInst> {
    fakePrograms programs;

    explicit fixture(const QByteArray &sensors)
    {
        programs.write("df", dfScript);
        start(sensors);
    }
};
}

class tst_internalInst : public QObject
{
    Q_OBJECT
private slots:
    void publishesWhatTheKernelSays()
    {
        struct row {
            const char *sensors;
            const char *file;
            QByteArray content;
            const char *published;
            const char *logged = "";
        };
        const char status[] = "/proc/self/status";
        const QByteArray name = "Name:\tcalorix\n";
        const QList<row> rows{
            {"<sensor type='cpu'/><sensor type='cpu'/>", "/proc/loadavg", "0.04 0", "cpu=1 cpu=1"},
            {"<sensor type='temperature'><Zone name='board'>2</Zone></sensor>",
                "/sys/class/thermal/thermal_zone2/temp", " -1500 \nrest", "board=-1.5"},
            {"<sensor type='temperature'/><sensor type='cpu'/>", "/proc/loadavg", "4 0", "cpu=100",
                "Failed to read /sys/class/thermal/thermal_zone0/temp"},
            {"<sensor type='mem'/>", status, name.repeated(20) + "VmRSS:\t    5120 kB\nThreads:\t9\n",
                "procMem=5120"},
            {"<sensor type='mem'/>", status, name.repeated(100) + "VmRSS:\t5120 kB", ""}, // too late
            {"<sensor type='mem'/>", status, "VmRSS:", "", "Failed to read /proc/self/status"}};
        for (const row &each : rows) {
            fixture f(each.sensors);
            f.host.write(each.file, each.content);
            QCOMPARE(f.sample(), QString(each.published));
            QCOMPARE(f.log.texts().join(' '), QString(each.logged));
        }
    }

    void publishesTheFreeShareOfEachFileSystem()
    {
        fixture f("<sensor type='diskfree'><filesystem>/gone</filesystem><filesystem>/short</filesystem>"
                  "<filesystem>/zero</filesystem><filesystem name='big'>/big</filesystem>"
                  "<filesystem>/</filesystem></sensor>");
        QCOMPARE(f.sample(), QString("big=50 /Free=25"));
        QCOMPARE(f.log.texts().join(", "),
            QString("df finished with code 3, df gave no figures for /short, df gave no figures for /zero"));
        // One that hangs is killed.
        int_diskfree disks(
            xml("<sensor><filesystem>/hangs</filesystem><filesystem>/</filesystem></sensor>"), f.host, 300);
        QCOMPARE(disks.takeSample().resultName, QStringList{"/Free"});
        QCOMPARE(disks.debug->lastLog(), QString("df did not finish within 300 ms, killed"));
        // One that the kernel refuses is tried again.
        refused = true;
        QCOMPARE(f.sample(), QString());
        refused = false;
        QCOMPARE(f.sample(), QString("big=50 /Free=25"));
    }
};

QTEST_GUILESS_MAIN(tst_internalInst)
#include "tst_internalInst.moc"
