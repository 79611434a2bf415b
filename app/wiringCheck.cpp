#include "app/wiringCheck.h"

#include "app/valve.h"
#include "lib/support/configKeys.h"

#include <QHash>
#include <QSet>

namespace {

/// What a block of the file says; the last of several keys counts.
QString valueOf(const QDomElement &block, const char *key, const QString &otherwise = {})
{
    QString value = otherwise;
    readKeys(block, {{key, into(value)}});
    return value;
}

bool isActive(const QDomElement &block)
{
    bool active = true;
    readKeys(block, {{"active", [&active](const QDomElement &element) {
                          active = active && element.text().toLower() != QLatin1String("false");
                      }}});
    return active;
}

class wiring
{
public:
    explicit wiring(const QDomElement &root)
    {
        readKeys(root, {{"interface", [this](const QDomElement &block) { readInterface(block); }}});
        readKeys(root, {{"instrument", [this](const QDomElement &block) { readDevice(block); }}});
        readKeys(root, {{"instrument", [this](const QDomElement &block) { readOutputs(block); }}});
    }

    QStringList mistakes;

private:
    static QString typeOf(const QDomElement &block)
    {
        return block.attribute(QStringLiteral("type")).toLower();
    }

    void complain(const QDomElement &block, const QString &what)
    {
        mistakes.append(QStringLiteral("Line %1: ").arg(block.lineNumber()) + what);
    }

    void readInterface(const QDomElement &block)
    {
        const QString name = valueOf(block, "name", QStringLiteral("Interface"));
        if (typeOf(block) == QLatin1String("i2c") && !m_interfaces.contains(name))
            m_interfaces.insert(name, block);
    }

    void readDevice(const QDomElement &block)
    {
        const QString type = typeOf(block);
        const bool isBoard = type == QLatin1String("boilerswitchboard");
        if (!isActive(block))
            return;
        const QDomElement bus = m_interfaces.value(valueOf(block, "interface"));
        readKeys(
            block, {{"power", [&](const QDomElement &power) {
                         if (!isBoard && type != QLatin1String("bme280"))
                             complain(power, QStringLiteral("an instrument of this type switches no supply"));
                         else if (bus.isNull() || bus.lineNumber() > block.lineNumber())
                             complain(power, QStringLiteral("dropped, its interface must stand before it"));
                     }}});
        if (isBoard)
            readBoard(block, bus);
        else if (type == QLatin1String("ds18b20"))
            takeAlone(block, "sensor " + valueOf(block, "dataprepend", type).toLower(),
                QStringLiteral("publishes the same key as the sensor of line %1"));
    }

    void readBoard(const QDomElement &block, const QDomElement &bus)
    {
        const QString prefix = valueOf(block, "dataprepend", QStringLiteral("boiler"));
        takeAlone(block, "prefix " + prefix.toLower(),
            QStringLiteral("has the same prefix as the switch board of line %1"));
        if (!bus.isNull())
            takeAlone(block, "bus " + valueOf(bus, "device"),
                QStringLiteral(
                    "is on the same bus as the switch board of line %1, and so drives the same relays"));
        for (const int channel : {1, 2})
            m_demands.insert(valve::demandKey(prefix, channel));
    }

    void readOutputs(const QDomElement &block)
    {
        if (!isActive(block))
            return;
        const QString prefix = valueOf(block, "dataprepend");
        if (typeOf(block) == QLatin1String("controllogic")) {
            readOutput(block, "pumpout", prefix + valueOf(block, "pumpout", QStringLiteral("NoPump")));
            readOutput(block, "boilerout", prefix + valueOf(block, "boilerout", QStringLiteral("NoBoiler")));
        } else if (typeOf(block) == QLatin1String("valve")) {
            for (const QByteArray output : {"midout", "fullout"})
                readOutput(block, output,
                    prefix
                        + valve::demandKey(valueOf(block, output + "card", QStringLiteral("NoCard")),
                            valueOf(block, output + "chan").toInt()));
        }
    }

    void readOutput(const QDomElement &block, const char *output, const QString &key)
    {
        // With its case: a card asks for its key and has stored its own default under it before.
        if (!m_demands.contains(key))
            complain(block, QStringLiteral("%1 is \"%2\", which no switch board reads").arg(output, key));
        else
            takeAlone(block, "output " + key,
                QStringLiteral("%1 drives the relay that line %2 drives").arg(output));
    }

    /// Complains when another block has taken \a what, which is for one alone.
    void takeAlone(const QDomElement &block, const QString &what, const QString &complaint)
    {
        if (m_taken.contains(what))
            complain(block, complaint.arg(m_taken.value(what)));
        else
            m_taken.insert(what, block.lineNumber());
    }

    QHash<QString, QDomElement> m_interfaces; // of I2C, by name; the first of a name counts
    QHash<QString, int> m_taken;              // by what is for one block alone: its line
    QSet<QString> m_demands;                  // the keys that the switch boards read
};
}

QStringList wiringMistakes(const QDomElement &root)
{
    return wiring(root).mistakes;
}
