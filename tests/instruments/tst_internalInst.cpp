#include "lib/instruments/internal/internalInst.h"

#include "lib/communications/debugComponent.h"
#include "lib/instruments/internal/int_diskfree.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"
#include "tests/support/fakePrograms.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"

#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

namespace {
const char loadFile[] = "/proc/loadavg";
const char zone0File[] = "/sys/class/thermal/thermal_zone0/temp";
const char statusFile[] = "/proc/self/status";
const char dfScript[] = R"(case "$1 $2" in
"-P /") printf 'Filesystem 1024-blocks Used Available Capacity Mounted on\n/dev/root 1000 600  250 71%% /\n' ;;
"-P /big") printf 'Filesystem\n/dev/big 8589934592 0 4294967296 50%% /big\n' ;;
"-P /gone") printf 'a\nb 100 0 10 -\n'; exit 3 ;;
"-P /header") printf 'Filesystem 1024-blocks Used\n' ;;
"-P /short") printf 'Filesystem\n/dev/x 100 50\n' ;;
"-P /zero") printf 'Filesystem\nproc 0 0 0 - /zero\n' ;;
"-P /hangs") exec sleep 60 ;;
esac)";

struct fixture {
    fakeHost host;
    fakePrograms programs;
    logSink sink;
    internalInst inst{nullptr, nullptr, nullptr, host.system()};
    QSignalSpy spy{&inst, &instrument::resultAvailable};

    explicit fixture(const QByteArray &children)
    {
        programs.write("df", dfScript);
        inst.debug->registerWithClient(&sink);
        launch(inst, "<instrument>" + children + "</instrument>");
    }
    QTimer *timer() { return inst.findChild<QTimer *>(); }
    QString results() const
    {
        QStringList all;
        for (const QList<QVariant> &result : spy)
            all << result[0].toString() + '=' + QString::number(result[1].toDouble());
        return all.join(' ');
    }
};

QByteArray statusWith(int linesBefore, const QByteArray &line)
{
    return QByteArray("Name:\tcalorix\n").repeated(linesBefore) + line;
}
}

class tst_internalInst : public QObject
{
    Q_OBJECT
private slots:
    void publishesWhatTheKernelSays_data()
    {
        QTest::addColumn<QByteArray>("sensors");
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("results");
        QTest::addColumn<QStringList>("logged");
        const auto row
            = [](const char *title, const QByteArray &sensors, const QByteArray &file,
                  const QByteArray &content, const QString &results, const QStringList &logged = {}) {
                  QTest::newRow(title) << sensors << file << content << results << logged;
              };
        const QByteArray cpu = "<sensor type='cpu'/>";
        const QByteArray zone = "<sensor type='temperature'/>";
        const QByteArray mem = "<sensor type='mem'/>";
        const QStringList badZone{QStringLiteral("Failed to read %1").arg(zone0File)};

        row("the same sensor twice", cpu + cpu, loadFile, "0.04 0", "cpu=1 cpu=1");
        row("named zone", "<sensor type='temperature'><Zone name='board'>2</Zone></sensor>",
            "/sys/class/thermal/thermal_zone2/temp", " -1500 \nrest", "board=-1.5");
        row("zone without a file goes alone", zone + cpu, loadFile, "4 0", "cpu=100", badZone);
        row("memory", mem, statusFile, statusWith(20, "VmRSS:\t    5120 kB\nThreads:\t9\n"), "procMem=5120");
        row("memory too late", mem, statusFile, statusWith(100, "VmRSS:\t5120 kB"), "");
        row("memory cut short", mem, statusFile, "VmRSS:", "", {"Failed to read /proc/self/status"});
    }
    void publishesWhatTheKernelSays()
    {
        QFETCH(QByteArray, sensors);
        QFETCH(QByteArray, file);
        QFETCH(QByteArray, content);
        fixture f(sensors);
        f.host.write(QString(file), content);
        expire(f.timer());
        QTEST(f.results(), "results");
        QTEST(f.sink.texts(), "logged");
    }

    void publishesTheFreeShareOfEachFileSystem()
    {
        fixture f("<sensor type='diskfree'><filesystem>/gone</filesystem><filesystem>/header</filesystem>"
                  "<filesystem>/short</filesystem><filesystem>/zero</filesystem>"
                  "<filesystem name='big'>/big</filesystem><filesystem>/</filesystem></sensor>");
        expire(f.timer());
        QCOMPARE(f.results(), QString("big=50 /Free=25"));
        QCOMPARE(f.sink.texts(),
            (QStringList{"df finished with code 3", "df gave no figures for /header",
                "df gave no figures for /short", "df gave no figures for /zero"}));
    }

    void killsADfThatHangsAndGoesOn()
    {
        fixture f("");
        int_diskfree disks(
            xml("<sensor><filesystem>/hangs</filesystem><filesystem>/</filesystem></sensor>"), f.host, 300);
        QCOMPARE(disks.takeSample().resultName, QStringList{"/Free"});
        QCOMPARE(disks.debug->lastLog(), QString("df did not finish within 300 ms, killed"));
    }
};

QTEST_GUILESS_MAIN(tst_internalInst)
#include "tst_internalInst.moc"
