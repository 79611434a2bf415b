#include "lib/communications/netAction.h"

#include "lib/communications/debugComponent.h"
#include "tests/support/expire.h"
#include "tests/telemetry/uploadRig.h"

#include <memory>

#include <unistd.h>

namespace {
constexpr unsigned int number = 7;
const char body[] = "{\"ts\":1,\"values\":{\"text\":\"\xB0\nC\"}}";

struct fixture : uploadRig {
    debugComponent component;
    std::unique_ptr<netAction> action;
    std::unique_ptr<QSignalSpy> finished;

    explicit fixture(const netActionInfo &info = post(body))
        : action(std::make_unique<netAction>(info, number, &component, nullptr, nullptr, host.system()))
        , finished(std::make_unique<QSignalSpy>(action.get(), &netAction::finished))
    {
        component.registerWithClient(&log);
    }
    QString data() const { return file(number); }
    /// Runs the action until its process has ended and the file is gone.
    bool deliver()
    {
        action->doAction();
        return finished->count() > 0 || finished->wait();
    }
    bool waitForEnd() const
    {
        return QTest::qWaitFor([this] { return !action->isRunning(); });
    }
};
}

class tst_netAction : public QObject
{
    Q_OBJECT
private slots:
    void postsItsBodyAndClearsUp()
    {
        fixture f;
        QVERIFY(f.deliver());
        QCOMPARE(f.told("args"),
            "-d\n@" + f.data().toLocal8Bit()
                + "\nhttp://127.0.0.1:9/x\n--header\nContent-Type:application/json\n\n");
        QCOMPARE(f.told("body.data7.json"), QByteArray(body));
        QCOMPARE(f.told("mode.data7.json"), QByteArray("600\n"));
        QVERIFY(!QFile::exists(f.data()));
        QVERIFY(f.action->completedOK());
        QCOMPARE(f.finished->count(), 1);

        QStringList texts;
        for (const debugMessage &m : f.log.messages())
            texts.append(QString::number(m.level) + ' ' + m.debugData);
        QCOMPARE(texts,
            QStringList({"0 Executing action 7", "1 Starting action", "2 Action started",
                "0 Action 7 completed with return code 0.", "0 Action 7 completed successfully.", "2 out",
                "2 ", "2 err", "2 "}));
    }

    void theAddressIsOneArgument_data()
    {
        QTest::addColumn<QString>("uri");
        QTest::addColumn<QByteArray>("arguments");
        QTest::newRow("blanks inside") << "http://h/a b -o c" << QByteArray("http://h/a b -o c\n");
        QTest::newRow("laid out in the file") << "\n   http://h/a\n  " << QByteArray("http://h/a\n");
        QTest::newRow("for a shell") << "http://h/?a=1&b=$(id);'x'"
                                     << QByteArray("http://h/?a=1&b=$(id);'x'\n");
        QTest::newRow("none") << "" << QByteArray();
    }
    void theAddressIsOneArgument()
    {
        QFETCH(QString, uri);
        QFETCH(QByteArray, arguments);
        fixture f(uploadRig::post(body, uri));
        QVERIFY(f.deliver());
        QCOMPARE(f.told("args"),
            "-d\n@" + f.data().toLocal8Bit() + '\n' + arguments
                + "--header\nContent-Type:application/json\n\n");
    }

    void aFailedUploadStaysAndIsTriedAgain()
    {
        fixture f;
        f.say("exit", "22");
        f.action->doAction();
        QVERIFY(f.waitForEnd());
        QVERIFY(f.log.texts().contains("Action 7 completed with return code 22."));
        QVERIFY(f.log.texts().contains("Action 7 failed"));
        QVERIFY(!f.action->completedOK());
        QVERIFY(QFile::exists(f.data()));
        QCOMPARE(f.finished->count(), 0);

        f.host.write("/tmp/data7.json", "spoilt");
        f.say("exit", "0");
        QVERIFY(f.deliver());
        QCOMPARE(f.told("body.data7.json"), QByteArray(body));
        QCOMPARE(f.count("started"), 2);
    }

    void onlyAStalledUploadIsStartedAnew_data()
    {
        QTest::addColumn<int>("elapsedMs");
        QTest::addColumn<bool>("again");
        QTest::newRow("just started") << 0 << false;
        QTest::newRow("180 s") << 180999 << false;
        QTest::newRow("181 s") << 181000 << true;
    }
    void onlyAStalledUploadIsStartedAnew()
    {
        QFETCH(int, elapsedMs);
        QFETCH(bool, again);
        fixture f;
        f.say("hold", "");
        f.action->doAction();
        QTRY_COMPARE(f.count("started"), 1);
        f.host.advance(elapsedMs);
        f.log.clear();
        f.action->doAction();
        if (again) {
            QCOMPARE(f.log.texts(),
                QStringList({"Executing action 7", "Request has been running for over 180 seconds",
                    "Deleting existing request...", "Request will be resubmitted."}));
            QTRY_COMPARE(f.count("started"), 2);
            QVERIFY(f.log.texts().contains("Action 7 failed"));
        } else {
            QCOMPARE(f.log.texts(), QStringList({"Executing action 7", "Already running"}));
        }
        f.forget("hold");
        QVERIFY(f.finished->count() > 0 || f.finished->wait());
        QCOMPARE(f.count("ended"), 1);
        QCOMPARE(f.told("body.data7.json"), QByteArray(body));
    }

    void anUnknownTypeIsNeverRun()
    {
        netActionInfo info = uploadRig::post(body);
        info.requestType = QStringLiteral("get");
        fixture f(info);
        f.action->doAction();
        QCOMPARE(f.log.texts(),
            QStringList(
                {"Executing action 7", "Action 7 - Unknown action type - will be removed from queue"}));
        QVERIFY(f.action->completedOK());
        QVERIFY(!f.action->isRunning());
    }

    void writesNothingButItsOwnFile_data()
    {
        QTest::addColumn<int>("kind");
        QTest::newRow("leftover that all may read") << 0;
        QTest::newRow("symbolic link") << 1;
        QTest::newRow("dangling symbolic link") << 2;
        QTest::newRow("hard link") << 3;
    }
    void writesNothingButItsOwnFile()
    {
        QFETCH(int, kind);
        fixture f;
        f.host.write("/victim", "precious");
        const QByteArray victim = f.host.path("/victim").toLocal8Bit();
        const QByteArray data = f.data().toLocal8Bit();
        if (kind == 0)
            f.host.write("/tmp/data7.json", "precious");
        else if (kind == 3)
            QCOMPARE(::link(victim.constData(), data.constData()), 0);
        else
            QCOMPARE(::symlink(kind == 1 ? victim.constData() : "/nonexistent/file", data.constData()), 0);
        QFile watched(f.data()); // what somebody may hold open
        const bool open = watched.open(QIODevice::ReadOnly);

        QVERIFY(f.deliver());
        QCOMPARE(f.told("body.data7.json"), QByteArray(body));
        QCOMPARE(f.told("mode.data7.json"), QByteArray("600\n"));
        QCOMPARE(
            f.host.system().read(QStringLiteral("/victim")).value_or(QByteArray()), QByteArray("precious"));
        QVERIFY(!open || watched.readAll() == "precious");
    }

    void aNameThatCannotBeTakenSendsNothing()
    {
        fixture f;
        f.host.write("/tmp/data7.json/inside", "");
        f.action->doAction();
        QCOMPARE(f.log.texts(), QStringList({"Executing action 7", "Starting action", "Action started"}));
        QVERIFY(!f.action->isRunning());
        f.host.remove("/tmp/data7.json/inside");
        QVERIFY(QDir(f.data()).removeRecursively());
        QVERIFY(f.deliver());
    }

    void withoutCurlItSaysSoAndGoesOnTrying()
    {
        fixture f;
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", "/nonexistent");
        f.action->doAction();
        qputenv("PATH", path);
        QVERIFY(f.waitForEnd());
        QVERIFY(f.log.texts().last().startsWith("Action 7 could not be started: "));
        QVERIFY(f.deliver());
    }

    void aStuckRemovalEndsAfterItsLimitAndSendsNothingTwice()
    {
        fixture f;
        f.programs.write("rm", "exec sleep 600");
        f.action->doAction();
        QTRY_VERIFY(f.log.texts().contains("Action 7 completed successfully."));
        f.action->doAction();
        QCOMPARE(f.log.texts().last(), QStringLiteral("Already completed without error"));
        QCOMPARE(f.finished->count(), 0);
        auto *const limit = f.action->findChild<QTimer *>();
        QCOMPARE(limit->interval(), 5000);
        expire(limit);
        QVERIFY(f.finished->wait());
        QCOMPARE(f.count("started"), 1);
        QVERIFY(!QFile::exists(f.data()));
    }

    void takesProcessAndFileAlongWhenItGoes()
    {
        fixture f;
        f.say("hold", "");
        f.action->doAction();
        QTRY_COMPARE(f.count("started"), 1);
        QVERIFY(QFile::exists(f.data()));
        f.finished.reset();
        f.action.reset();
        QVERIFY(!QFile::exists(f.data()));
        QCOMPARE(f.count("ended"), 0);
    }
};

QTEST_GUILESS_MAIN(tst_netAction)
#include "tst_netAction.moc"
