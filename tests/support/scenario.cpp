#include "tests/support/scenario.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTest>

#include <cstdio>

namespace {
constexpr int startTimeoutMs = 60000;
constexpr int endTimeoutMs = 60000;
const QString binaries = QStringLiteral(CALORIX_BIN_DIR);
const QString libraries = QStringLiteral(CALORIX_LIB_DIR);
const QString sources = QStringLiteral(CALORIX_SOURCE_DIR);

QString fakeClockLibrary()
{
    const QStringList found = QDir(QStringLiteral("/usr/lib")).entryList({QStringLiteral("*-linux-gnu*")});
    for (const QString &each : found) {
        const QString library = QStringLiteral("/usr/lib/%1/faketime/libfaketime.so.1").arg(each);
        if (QFile::exists(library))
            return library;
    }
    return {};
}

QByteArray element(const char *tag, const QByteArray &content)
{
    return QByteArray("<") + tag + '>' + content + "</" + tag + '>';
}

QByteArray board(const char *prefix, int bus, int period)
{
    return "<instrument type=\"boilerswitchboard\">" + element("name", prefix)
        + element("dataprepend", prefix) + element("interface", "bus" + QByteArray::number(bus))
        + element("period", QByteArray::number(period)) + "</instrument>";
}

QByteArray buses()
{
    QByteArray all;
    for (int bus = 1; bus <= 3; ++bus)
        all += "<interface type=\"i2c\">" + element("name", "bus" + QByteArray::number(bus))
            + element("device", "/dev/i2c-" + QByteArray::number(bus)) + "</interface>";
    return all;
}

QByteArray oneWire(const char *prefix, const char *id, int period)
{
    return "<instrument type=\"ds18b20\">" + element("dataprepend", prefix) + element("device", id)
        + element("sampleperiod", QByteArray::number(period)) + "</instrument>";
}
}

scenario::scenario()
{
    QDir().mkpath(path(QStringLiteral("config")));
    QDir().mkpath(path(QStringLiteral("machine")));
    m_environment.insert(QStringLiteral("DEVMOCK_DIR"), path(QStringLiteral("machine")));
    m_environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_folder.path());
    m_environment.insert(QStringLiteral("TZ"), QStringLiteral("UTC"));
    m_environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    m_controller.setProcessChannelMode(QProcess::MergedChannels);
    m_devices.setProcessChannelMode(QProcess::ForwardedChannels);
    setTimers(true, true);
}

scenario::~scenario()
{
    if (m_controller.state() != QProcess::NotRunning) {
        m_controller.kill();
        m_controller.waitForFinished(endTimeoutMs);
    }
    m_devices.terminate();
    if (!m_devices.waitForFinished(endTimeoutMs) || m_devices.exitCode() != 0)
        QTest::qFail("the simulator did not end well", __FILE__, __LINE__);
    if (QTest::currentTestFailed())
        std::printf("--- the controller printed:\n%s---\n", log().constData());
}

void scenario::write(const QString &name, const QByteArray &content) const
{
    QFile next(path(name) + QStringLiteral(".next"));
    if (!next.open(QIODevice::WriteOnly) || next.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(name));
    next.close();
    std::rename(QFile::encodeName(next.fileName()).constData(), QFile::encodeName(path(name)).constData());
}

quint16 scenario::freePort()
{
    constexpr int first = 20000;
    constexpr int ports = 12000; // below those that Linux hands out by itself
    constexpr int perProcess = 32;
    static int used = 0;
    QTcpServer probe;
    quint16 port = 0;
    do
        port = quint16(first + (QCoreApplication::applicationPid() * perProcess + used++) % ports);
    while (!probe.listen(QHostAddress::LocalHost, port));
    return port;
}

void scenario::configure(const QByteArray &elements)
{
    m_port = freePort();
    write(QStringLiteral("config/config.xml"),
        element("telemetrydevice",
            "<sampler type=\"tcp\"><mode>push</mode><allkeys>true</allkeys><period>60000</period>"
                + element("port", QByteArray::number(m_port)) + "</sampler>" + elements));
}

QByteArray scenario::installation(const installationPace &pace)
{
    const QByteArray logic = "<instrument type=\"controllogic\">"
        + element("heatstat", "thermostatPower1Sense") + element("tankstat", "thermostatPower2Sense")
        + element("pumpout", "card1Power1Demand") + element("boilerout", "card1Power2Demand")
        + element("boilersense", "card1Power2Sense") + element("period", QByteArray::number(pace.logic))
        + element("startupperiod", QByteArray::number(pace.startup))
        + element("shutdownperiod", QByteArray::number(pace.shutdown)) + "</instrument>";
    const QByteArray valve = "<instrument type=\"valve\">" + element("name", "Valve")
        + element("heatstat", "thermostatPower1Sense") + element("tankstat", "thermostatPower2Sense")
        + element("midoutcard", "valve") + element("midoutchan", "1") + element("fulloutcard", "valve")
        + element("fulloutchan", "2") + element("heattimer", "heatTimerOn")
        + element("tanktimer", "waterTimerOn") + element("period", QByteArray::number(pace.logic))
        + "</instrument>";
    return buses() + board("card1", 1, pace.boards) + board("thermostat", 2, pace.boards)
        + board("valve", 3, pace.boards) + logic + valve + oneWire("flow", "28-0000000000f1", pace.sensors)
        + oneWire("return", "28-0000000000a2", pace.sensors);
}

QByteArray scenario::furnishings(int period)
{
    const QByteArray pace = element("period", QByteArray::number(period));
    return "<interface type=\"i2c\"><name>air</name><device>/dev/i2c-1</device></interface>"
           "<instrument type=\"bme280\"><interface>air</interface>"
        + pace + "</instrument><instrument type=\"internal\">" + pace
        + "<sensor type=\"cpu\"/><sensor type=\"mem\"/>"
          "<sensor type=\"temperature\"><zone name=\"board\">0</zone></sensor></instrument>";
}

QByteArray scenario::programme(bool allDay)
{
    return element("heatingtimer",
        element("period",
            element("title", "All day") + element("starthour", "0") + element("startminute", "0")
                + element("duration", allDay ? "1440" : "0")));
}

void scenario::setTimers(bool heating, bool water) const
{
    write(QStringLiteral("config/heatTimer.xml"), programme(heating));
    write(QStringLiteral("config/waterTimer.xml"), programme(water));
}

void scenario::setWallClock(const QDateTime &instant)
{
    // An offset in seconds: an hour that a clock change repeats is no riddle, and the clock goes on by
    // itself.
    const qint64 ahead = instant.toSecsSinceEpoch() - QDateTime::currentSecsSinceEpoch();
    write(QStringLiteral("clock"), (ahead < 0 ? "" : "+") + QByteArray::number(ahead) + '\n');
    m_environment.insert(QStringLiteral("FAKETIME_TIMESTAMP_FILE"), path(QStringLiteral("clock")));
    m_environment.insert(QStringLiteral("FAKETIME_NO_CACHE"), QStringLiteral("1"));
    m_environment.insert(QStringLiteral("FAKETIME_DONT_FAKE_MONOTONIC"), QStringLiteral("1"));
}

bool scenario::startDevices(const QStringList &options)
{
    m_devices.setProcessEnvironment(m_environment);
    m_devices.start(binaries + QStringLiteral("/calorix-sim"), options);
    if (!m_devices.waitForStarted()
        || !m_simulator.connectTo(path(QStringLiteral("machine/control.sock")), startTimeoutMs))
        return false;
    tell("thermostat room off");
    tell("thermostat tank off");
    return m_simulator.ask("follow events") == "ok";
}

QProcessEnvironment scenario::controllerEnvironment() const
{
    QProcessEnvironment e = m_environment;
    QStringList preloads{
        libraries + QStringLiteral("/libdevmock.so"), libraries + QStringLiteral("/libpuppet.so")};
    if (e.contains(QStringLiteral("FAKETIME_TIMESTAMP_FILE")))
        preloads.prepend(fakeClockLibrary());
    e.insert(QStringLiteral("LD_PRELOAD"), preloads.join(':'));
    e.insert(QStringLiteral("PUPPET_SOCKET"), path(QStringLiteral("puppet.sock")));
    e.insert(QStringLiteral("PATH"),
        sources + QStringLiteral("/simulator/standins:") + e.value(QStringLiteral("PATH")));
    e.insert(QStringLiteral("ASAN_OPTIONS"),
        QStringLiteral("verify_asan_link_order=0:detect_leaks=1:") + e.value(QStringLiteral("ASAN_OPTIONS")));
    e.insert(QStringLiteral("LSAN_OPTIONS"),
        QStringLiteral("suppressions=%1/cmake/lsan.supp:print_suppressions=0").arg(sources));
    e.insert(QStringLiteral("TSAN_OPTIONS"),
        QStringLiteral("suppressions=%1/cmake/tsan.supp history_size=7 exitcode=66").arg(sources));
    return e;
}

bool scenario::startController(const QStringList &arguments)
{
    m_controller.setProcessEnvironment(controllerEnvironment());
    m_controller.setWorkingDirectory(m_folder.path());
    m_controller.start(binaries + QStringLiteral("/calorix"),
        QStringList{QStringLiteral("-c"), path(QStringLiteral("config/"))} + arguments);
    return m_controller.waitForStarted()
        && m_puppet.connectTo(path(QStringLiteral("puppet.sock")), startTimeoutMs)
        && waitForLog("Starting system", startTimeoutMs);
}

bool scenario::start()
{
    return startDevices() && startController() && values.connectTo(m_port, startTimeoutMs);
}

QByteArray scenario::tell(const QByteArray &command)
{
    const QByteArray answer = m_simulator.ask(command);
    if (!answer.startsWith("ok"))
        QTest::qFail((command + ": " + answer).constData(), __FILE__, __LINE__);
    return answer.mid(3);
}

QByteArray scenario::puppet(const QByteArray &command)
{
    return m_puppet.ask(command, command == "dump");
}

bool scenario::waitFor(const std::function<bool()> &condition, int timeoutMs)
{
    return QTest::qWaitFor(condition, timeoutMs);
}

bool scenario::waitForLog(const QByteArray &text, int timeoutMs)
{
    return waitFor([&] { return log().contains(text); }, timeoutMs);
}

bool scenario::waitForRelays(const QByteArray &state, int timeoutMs)
{
    return waitFor([&] { return tell("relays").startsWith(state); }, timeoutMs);
}

QByteArray scenario::log()
{
    static const QRegularExpression colours(QStringLiteral("\033\\[[0-9]*m"));
    m_log += m_controller.readAll();
    return QString::fromLocal8Bit(m_log).remove(colours).toLocal8Bit();
}

QList<scenario::relayChange> scenario::relayChanges()
{
    static const QHash<QByteArray, QByteArray> names{
        {"control 1", "pump"}, {"control 2", "boiler"}, {"valve 1", "mid"}, {"valve 2", "full"}};
    QList<relayChange> changes;
    for (const QByteArray &line : m_simulator.events()) {
        const QList<QByteArray> words = line.split(' '); // 12.345678 relay control 1 on
        if (words.value(1) == "relay")
            changes.append({words[0].toDouble(), names.value(words.value(2) + ' ' + words.value(3)),
                words.value(4) == "on"});
    }
    return changes;
}

QByteArray scenario::leave()
{
    puppet("close");
    if (!m_controller.waitForFinished(endTimeoutMs))
        return "does not end";
    if (m_controller.exitStatus() != QProcess::NormalExit)
        return "crashes\n" + complaints();
    const QByteArray code = QByteArray::number(m_controller.exitCode());
    return (code == "0" ? QByteArray() : "exit code " + code + '\n') + complaints();
}

QByteArray scenario::complaints()
{
    static const QRegularExpression complaint(QStringLiteral(
        "^Q[A-Z][A-Za-z]*(::|:)|Sanitizer|runtime error:|terminate called|ASSERT|cannot be preloaded"));
    QByteArray found;
    for (const QByteArray &line : log().split('\n')) {
        if (complaint.match(QString::fromLocal8Bit(line)).hasMatch())
            found += line + '\n';
    }
    return found;
}
