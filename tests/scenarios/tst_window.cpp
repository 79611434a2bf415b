#include "tests/support/scenario.h"

#include <QFile>
#include <QTest>

namespace {
/// An X server without a screen, and a pointer that presses on it.
class screen
{
public:
    screen()
    {
        m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_server.start(QStringLiteral("Xvfb"),
            {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                QStringLiteral("0"), QStringLiteral("1024x600x24"), QStringLiteral("-nolisten"),
                QStringLiteral("tcp")});
        if (m_server.waitForReadyRead())
            m_name = ':' + QString::fromLatin1(m_server.readLine().trimmed());
    }
    ~screen()
    {
        m_server.terminate();
        m_server.waitForFinished();
    }
    QString name() const { return m_name; }

    /// Moves there and clicks. \a place is "X Y".
    bool press(const QByteArray &place) const
    {
        QProcess pointer;
        QProcessEnvironment e = QProcessEnvironment::systemEnvironment();
        e.insert(QStringLiteral("DISPLAY"), m_name);
        pointer.setProcessEnvironment(e);
        const QList<QByteArray> at = place.split(' ');
        pointer.start(QStringLiteral("xdotool"),
            {QStringLiteral("mousemove"), at.value(0), at.value(1), QStringLiteral("click"),
                QStringLiteral("1")});
        return pointer.waitForFinished() && pointer.exitCode() == 0;
    }

private:
    QProcess m_server;
    QString m_name;
};
}

/// The display in a real window, used with a pointer as the householder and the engineer use it.
class tst_window : public QObject
{
    Q_OBJECT
private:
    screen m_screen;
    std::unique_ptr<scenario> m_run;

    /// Presses what the window shows as \a text, once it shows it.
    bool press(const QByteArray &text)
    {
        QByteArray place;
        const auto isThere = [&] { return (place = m_run->puppet("where " + text)).startsWith("ok "); };
        return scenario::waitFor(isThere) && m_screen.press(place.mid(3));
    }
    bool shows(const QByteArray &text)
    {
        return scenario::waitFor([&] { return m_run->puppet("dump").contains(text); });
    }
    bool publishes(const char *key, bool value)
    {
        return scenario::waitFor([&] { return m_run->values.last(QLatin1String(key)) == value; });
    }
    QByteArray sudoLog() const
    {
        QFile file(m_run->path(QStringLiteral("machine/sudo.log")));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private slots:
    void init()
    {
        QVERIFY(!m_screen.name().isEmpty());
        m_run = std::make_unique<scenario>();
        m_run->configure(scenario::installation());
        m_run->setTimers(false, false);
        m_run->setVariable(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        m_run->setVariable(QStringLiteral("DISPLAY"), m_screen.name());
        // No part of a desktop is looked for, and no graphics driver is loaded.
        m_run->setVariable(
            QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent"));
        m_run->setVariable(QStringLiteral("QT_XCB_GL_INTEGRATION"), QStringLiteral("none"));
        QVERIFY(m_run->start());
    }
    void cleanup()
    {
        const std::unique_ptr<scenario> run = std::move(m_run);
        QCOMPARE(run->leave(), QByteArray());
    }

    /// Each press adds an hour; the fourth cancels. The override does not last without a timer.
    void boostAndOverride()
    {
        for (const bool on : {true, true, true, false}) {
            QVERIFY(press("Heating/Boost"));
            QVERIFY(publishes("heatTimerOn", on));
        }
        QVERIFY(press("Override Thermostat"));
        QVERIFY(publishes("heatStatOverride", true));
        QVERIFY(publishes("heatStatOverride", false));
        QVERIFY(!m_run->puppet("dump").contains("checked"));
    }

    void valveByHand()
    {
        QVERIFY(press("Service"));
        QVERIFY(press("Valve"));
        QVERIFY(shows("Current = "));
        QVERIFY(press("Heating"));
        QVERIFY(press("Hot Water"));
        QVERIFY(m_run->waitForRelays("pump=0 boiler=0 mid=1 full=1"));
        QVERIFY(press("Hot Water"));
        QVERIFY(press("Both"));
        QVERIFY(m_run->waitForRelays("pump=0 boiler=0 mid=1 full=0"));
        QVERIFY(press("Control"));
        QVERIFY(m_run->waitForRelays("pump=0 boiler=0 mid=0 full=0"));
    }

    void shutdownAsksFirst()
    {
        QVERIFY(press("Shutdown"));
        QVERIFY(m_run->waitForLog("Shutdown requested"));
        QVERIFY(press("No"));
        QVERIFY(m_run->waitForLog("Shutdown canceled by user"));
        QVERIFY(press("Shutdown"));
        QVERIFY(shows("This will shut down the control system. Are you sure?"));
        QCOMPARE(m_run->puppet("close"), QByteArray("ok"));
        QVERIFY(shows("Boost"));
        QCOMPARE(sudoLog(), QByteArray());
        QVERIFY(press("Shutdown"));
        QVERIFY(press("Yes"));
        QVERIFY(m_run->waitForLog("User confirmed shutdown"));
        QVERIFY(scenario::waitFor([&] { return sudoLog() == "sudo shutdown -hP now\n"; }));
    }
};

QTEST_GUILESS_MAIN(tst_window)
#include "tst_window.moc"
