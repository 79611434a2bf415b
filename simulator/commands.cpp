#include "simulator/commands.h"

#include "simulator/simulation.h"

namespace {
constexpr int mostWords = 100;
}

const commands::command commands::table[] = {
    {"help", 0, 0, &commands::showHelp, "help", "this list"},
    {"thermostat", 2, 2, &commands::setThermostat, "thermostat room|tank on|off|auto",
        "set by hand, or follow the house"},
    {"plant", 0, 0, &commands::showPlant, "plant", "every quantity"},
    {"get", 1, 1, &commands::getQuantity, "get QUANTITY", "one quantity"},
    {"set", 2, 2, &commands::setQuantity, "set QUANTITY VALUE", "start value, the model goes on from there"},
    {"fix", 2, 2, &commands::fixQuantity, "fix QUANTITY VALUE", "held until released; nan and inf are taken"},
    {"release", 1, 1, &commands::releaseQuantity, "release QUANTITY|all", "back to the model"},
    {"relays", 0, 0, &commands::showRelays, "relays", "pump, boiler, mid and full"},
    {"fault", 1, 5, &commands::setFault, "fault BUS [ADDRESS] KIND [COUNT]",
        "KIND of a bus: absent, slow MS, none; of a chip: nak, busy, short, ff, nan, inf, big, slow MS, "
        "none; "
        "\"fault none\" ends all"},
    {"reply", 4, 4, &commands::setReply, "reply BUS ADDRESS REGISTER HEX|none", "what a register reads as"},
    {"file", 2, 3, &commands::setFile, "file 28-...|loadavg|temp KIND",
        "KIND: good, crc, cut, garbled, empty, absent, slow MS"},
    {"link", 2, 3, &commands::setLink, "link serial|tcp KIND",
        "KIND: good, noise, split, cut, absent, every MS; needs --pty or --tcp-peer"},
    {"gpio", 1, 2, &commands::usePin, "gpio PIN [0|1|absent|present]", "read a pin, drive it, take it away"},
    {"speed", 1, 1, &commands::setSpeed, "speed FACTOR", "of the house against the clock"},
    {"time", 0, 0, &commands::showTime, "time", "seconds since the start"},
    {"say", 1, mostWords, &commands::say, "say WORDS", "passed on by --narrate"},
    {"quit", 0, 0, &commands::quit, "quit", "ends the simulator"},
};

namespace {
const QString allWord = QStringLiteral("all");
const QString noneWord = QStringLiteral("none");

QByteArray error(const QString &what)
{
    return "error: " + what.toUtf8();
}

QByteArray ok(const QByteArray &what = {})
{
    return what.isEmpty() ? QByteArray("ok") : "ok " + what;
}

QStringList split(const QByteArray &line)
{
    return QString::fromUtf8(line).simplified().split(' ', Qt::SkipEmptyParts);
}

/// Decimal, or hexadecimal with 0x; -1 when it is neither.
int number(const QString &word)
{
    bool isNumber = false;
    const int n = word.toInt(&isNumber, 0);
    return isNumber ? n : -1;
}
}

commands::commands(simulation &target)
    : m_target(target)
{
}

const commands::command *commands::find(const QString &name)
{
    for (const command &c : table) {
        if (name == QLatin1String(c.name))
            return &c;
    }
    return nullptr;
}

QByteArray commands::check(const QByteArray &line)
{
    const QStringList words = split(line);
    const command *c = words.isEmpty() ? nullptr : find(words[0]);
    if (!c)
        return error(QStringLiteral("unknown command \"%1\", try help").arg(words.value(0)));
    if (words.size() - 1 < c->least || words.size() - 1 > c->most)
        return error(QStringLiteral("usage: %1").arg(QLatin1String(c->usage)));
    return {};
}

QByteArray commands::run(const QByteArray &line)
{
    QByteArray wrong = check(line);
    if (!wrong.isEmpty())
        return wrong;
    const QStringList words = split(line);
    m_target.log.event("command " + line.simplified());
    QByteArray answer = (this->*find(words[0])->act)(words.mid(1));
    m_target.wire();
    return answer;
}

QByteArray commands::help()
{
    QByteArray text;
    for (const command &c : table)
        text += QByteArray("  ") + QByteArray(c.usage).leftJustified(38) + ' ' + c.meaning + '\n';
    text += "  QUANTITY:";
    for (int q = 0; q < plant::quantities; ++q)
        text += QByteArray(q % 5 ? " " : "\n    ") + plant::name(plant::quantity(q));
    return text + '\n';
}

QByteArray commands::showHelp(const QStringList &)
{
    return ok('\n' + help().chopped(1));
}

QByteArray commands::setThermostat(const QStringList &words)
{
    static const QMap<QString, plant::thermostat> positions{{QStringLiteral("on"), plant::thermostat::on},
        {QStringLiteral("off"), plant::thermostat::off},
        {QStringLiteral("auto"), plant::thermostat::automatic}};
    const auto position = positions.constFind(words[1]);
    if (position == positions.constEnd())
        return error(QStringLiteral("\"%1\" is not on, off or auto").arg(words[1]));
    if (words[0] == QLatin1String("room"))
        m_target.house.setRoomThermostat(*position);
    else if (words[0] == QLatin1String("tank"))
        m_target.house.setTankThermostat(*position);
    else
        return error(QStringLiteral("no thermostat \"%1\", there are room and tank").arg(words[0]));
    return ok();
}

QByteArray commands::showPlant(const QStringList &)
{
    QByteArray text = QByteArray("roomCalls=") + (m_target.house.roomCalls() ? '1' : '0')
        + " tankCalls=" + (m_target.house.tankCalls() ? '1' : '0');
    for (int q = 0; q < plant::quantities; ++q) {
        const auto quantity = plant::quantity(q);
        text += QByteArray(" ") + plant::name(quantity) + '='
            + QByteArray::number(m_target.house.value(quantity), 'f', 3);
    }
    return ok(text);
}

QByteArray commands::getQuantity(const QStringList &words)
{
    const auto quantity = plant::find(words[0].toStdString());
    return quantity ? ok(QByteArray::number(m_target.house.value(*quantity), 'f', 4))
                    : error(QStringLiteral("no quantity \"%1\"").arg(words[0]));
}

QByteArray commands::setQuantity(const QStringList &words)
{
    const auto quantity = plant::find(words[0].toStdString());
    bool isNumber = false;
    const double value = words[1].toDouble(&isNumber);
    if (!quantity || !isNumber || !qIsFinite(value))
        return error(QStringLiteral("no quantity \"%1\" or no finite number \"%2\"").arg(words[0], words[1]));
    m_target.house.set(*quantity, value);
    return ok();
}

QByteArray commands::fixQuantity(const QStringList &words)
{
    const auto quantity = plant::find(words[0].toStdString());
    bool isNumber = false;
    const double value = words[1].toDouble(&isNumber);
    if (!quantity || !isNumber)
        return error(QStringLiteral("no quantity \"%1\" or no number \"%2\"").arg(words[0], words[1]));
    m_target.house.fix(*quantity, value);
    return ok();
}

QByteArray commands::releaseQuantity(const QStringList &words)
{
    const auto quantity = plant::find(words[0].toStdString());
    if (!quantity && words[0] != allWord)
        return error(QStringLiteral("no quantity \"%1\"").arg(words[0]));
    for (int q = 0; q < plant::quantities; ++q) {
        if (!quantity || *quantity == q)
            m_target.house.release(plant::quantity(q));
    }
    return ok();
}

QByteArray commands::showRelays(const QStringList &)
{
    const plant::supply on = m_target.relays();
    return ok(QStringLiteral("pump=%1 boiler=%2 mid=%3 full=%4")
                  .arg(on.pump)
                  .arg(on.boiler)
                  .arg(on.valveMid)
                  .arg(on.valveFull)
                  .toLatin1());
}

QByteArray commands::setFault(const QStringList &words)
{
    if (words == QStringList{noneWord}) {
        m_target.buses.faults.clearAll();
        m_target.files.allGood();
        QString why;
        for (elementPeer *peer : {m_target.serial.get(), m_target.tcp.get()}) {
            if (peer && !peer->setCondition(elementPeer::good, &why))
                return error(why);
        }
        return ok();
    }
    // fault BUS KIND..., or fault BUS ADDRESS KIND...
    const QString &bus = words[0];
    const int address = words.size() > 2 ? number(words[1]) : -1;
    const QStringList rest = words.mid(address < 0 ? 1 : 2);
    if (!m_target.buses.hasBus(bus) || (address >= 0 && !m_target.buses.hasChip(bus, address)))
        return error(QStringLiteral("no such bus or chip: %1").arg(words.mid(0, 2).join(' ')));
    if (rest.value(0) == noneWord) {
        m_target.buses.faults.clear(bus, address);
        return ok();
    }
    const auto kind = busFaults::find(rest.value(0));
    const bool fits = kind == busFaults::slow || (kind == busFaults::absent) == (address < 0);
    const bool isSlow = kind == busFaults::slow;
    const int delay = isSlow ? number(rest.value(1)) : 0;
    const int count = rest.size() > (isSlow ? 2 : 1) ? number(rest.last()) : -1;
    if (!kind || !fits || delay < 0 || count == 0)
        return error(QStringLiteral("no such fault: %1").arg(words.join(' ')));
    m_target.buses.faults.set(bus, address, {*kind, delay, count});
    return ok();
}

QByteArray commands::setReply(const QStringList &words)
{
    const int address = number(words[1]);
    const int reg = number(words[2]);
    const QByteArray bytes = words[3] == noneWord ? QByteArray() : QByteArray::fromHex(words[3].toLatin1());
    if (!m_target.buses.hasChip(words[0], address) || reg < 0 || (bytes.isEmpty() && words[3] != noneWord))
        return error(QStringLiteral("no such chip, register or bytes: %1").arg(words.join(' ')));
    m_target.buses.faults.setReply(words[0], address, reg, bytes);
    return ok();
}

QByteArray commands::setFile(const QStringList &words)
{
    const auto condition = kernelFiles::findCondition(words[1]);
    const int delay = condition == kernelFiles::slow ? number(words.value(2)) : 0;
    if (!condition || delay < 0 || !m_target.files.setCondition(words[0], *condition, delay))
        return error(QStringLiteral("no such file or condition: %1").arg(words.join(' ')));
    return ok();
}

QByteArray commands::setLink(const QStringList &words)
{
    const bool isTcp = words[0] == QLatin1String("tcp");
    elementPeer *const peer = isTcp ? m_target.tcp.get() : m_target.serial.get();
    if (!isTcp && words[0] != QLatin1String("serial"))
        return error(QStringLiteral("no link \"%1\", there are serial and tcp").arg(words[0]));
    if (!peer)
        return error(QStringLiteral("no %1 link here, start with %2")
                         .arg(words[0], isTcp ? QStringLiteral("--tcp-peer") : QStringLiteral("--pty")));
    const bool setsPeriod = words[1] == QLatin1String("every");
    const int period = number(words.value(2));
    const auto condition = elementPeer::findCondition(words[1]);
    if (setsPeriod ? period <= 0 : !condition || words.size() > 2)
        return error(QStringLiteral("no such condition or period: %1").arg(words.join(' ')));
    QString why;
    if (setsPeriod)
        peer->setPeriod(period);
    else if (!peer->setCondition(*condition, &why))
        return error(why);
    return ok();
}

QByteArray commands::usePin(const QStringList &words)
{
    const int pin = number(words[0]);
    if (words.size() == 1) {
        const auto value = m_target.pins.value(pin);
        return value ? ok(*value) : error(QStringLiteral("no pin %1").arg(words[0]));
    }
    bool done = false;
    if (words[1] == QLatin1String("absent"))
        done = m_target.pins.remove(pin);
    else if (words[1] == QLatin1String("present"))
        done = pin >= 0 && pin < gpioPins::count && m_target.pins.add(pin);
    else if (words[1] == QLatin1String("0") || words[1] == QLatin1String("1"))
        done = m_target.pins.drive(pin, words[1] == QLatin1String("1"));
    return done ? ok() : error(QStringLiteral("no such pin or level: %1").arg(words.join(' ')));
}

QByteArray commands::setSpeed(const QStringList &words)
{
    bool isNumber = false;
    const double factor = words[0].toDouble(&isNumber);
    if (!isNumber || !(factor >= 0.0) || factor > 1000.0)
        return error(QStringLiteral("\"%1\" is not a factor from 0 to 1000").arg(words[0]));
    m_target.setSpeed(factor);
    return ok();
}

QByteArray commands::showTime(const QStringList &)
{
    return ok(QByteArray::number(m_target.log.seconds(), 'f', 6));
}

QByteArray commands::say(const QStringList &words)
{
    emit said(words.join(' '));
    return ok();
}

QByteArray commands::quit(const QStringList &)
{
    emit quitRequested();
    return ok();
}
