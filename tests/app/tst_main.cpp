#include "tests/support/fakePrograms.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {
/// The controller itself, with /dev/tty0 below a temporary folder, which is also its working directory.
struct controller {
    QTemporaryDir machine;
    fakePrograms programs;
    QProcess process;
    QByteArray output;

    explicit controller(const QStringList &arguments)
    {
        programs.write(QStringLiteral("setterm"), "echo \"$TERM $*\"");
        QDir(machine.path()).mkdir(QStringLiteral("dev"));
        QFile console(machine.filePath(QStringLiteral("dev/tty0")));
        console.open(QIODevice::WriteOnly);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DEVMOCK_DIR"), machine.path());
        environment.insert(QStringLiteral("LD_PRELOAD"), QStringLiteral(CALORIX_LIB_DIR "/libdevmock.so"));
        environment.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("verify_asan_link_order=0"));
        environment.insert(QStringLiteral("PATH"), qEnvironmentVariable("PATH"));
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(machine.path());
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QStringLiteral(CALORIX_BIN_DIR "/calorix"), arguments);
    }
    ~controller()
    {
        process.kill();
        process.waitForFinished();
    }
    /// Waits until it has printed \a text.
    bool prints(const QByteArray &text)
    {
        while (!output.contains(text)) {
            if (!process.waitForReadyRead(20000))
                return false;
            output += process.readAll();
        }
        return true;
    }
};
}

class tst_main : public QObject
{
    Q_OBJECT
private slots:
    void putsThePrefixInFrontOfItsFilesAndBlanksTheConsole_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("prefix");
        QTest::newRow("none") << QStringList() << QByteArray();
        QTest::newRow("folder") << QStringList{"-c", "/none/x/", "-fs"} << QByteArray("/none/x/");
        QTest::newRow("no value") << QStringList{"-c", "/none/a/", "-p", "-c"} << QByteArray();
    }
    void putsThePrefixInFrontOfItsFilesAndBlanksTheConsole()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, prefix);
        controller c(arguments);
        for (const char *line : {"Trying %config.xml...", "Loading control file %waterTimer.xml...",
                 "Loading control file %heatTimer.xml...", "Starting instrument 1"})
            QVERIFY2(c.prints(QByteArray(line).replace("%", prefix)), c.output.constData());
        QFile console(c.machine.filePath(QStringLiteral("dev/tty0")));
        QVERIFY(console.open(QIODevice::ReadOnly));
        // Blanked behind the display; each command starts the file anew.
        QCOMPARE(console.readAll(), QByteArray("linux -foreground black -clear all\n"));
    }
};

QTEST_GUILESS_MAIN(tst_main)
#include "tst_main.moc"
