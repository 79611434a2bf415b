#include "lib/instruments/ds18b20.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/support/configKeys.h"

#include <QDir>
#include <QTimer>

#include <cmath>

namespace {
constexpr double milli = 1000.0;
const char devicesPath[] = "/sys/bus/w1/devices";
}

ds18b20::ds18b20(datastore *store, QList<interface *> *ifaces, QObject *parent, const hostSystem &host)
    : instrument(store, ifaces, parent)
    , m_host(host)
{
    name = QStringLiteral("ds18b20");
    storagePrepend = name;
    debug->configure(QStringLiteral("DS18B20"), componentTypes::ds18b20);
}

void ds18b20::configureInstrument(QDomElement block)
{
    readKeys(block,
        {
            {"device", into(sensorID)},
            {"sampleperiod", intoMs(sampleInterval, 1, *debug)},
        });
}

void ds18b20::start()
{
    logAddresses();
    configureInstrument(configXML);
    sampleTimer = new QTimer(this);
    connect(sampleTimer, &QTimer::timeout, this, &ds18b20::takeSample);
    sampleTimer->start(sampleInterval);
    takeSample();
}

/// For whoever has to find out which sensor hangs where.
void ds18b20::logAddresses()
{
    debug->log(
        QStringLiteral("The following one-wire addresses are available (they may not all be DS18B20s)"));
    const QDir devices(m_host.path(QString::fromLatin1(devicesPath)));
    const QStringList names = devices.entryList({QStringLiteral("28*")}, QDir::NoFilter, QDir::Unsorted);
    for (const QString &each : names)
        debug->log(each);
}

void ds18b20::takeSample()
{
    const QString path = QStringLiteral("%1/%2/w1_slave").arg(QLatin1String(devicesPath), sensorID);
    const std::optional<QByteArray> text = m_host.read(path);
    if (!text) {
        debug->log(QStringLiteral("Failed to read ") + path);
        return;
    }
    const std::optional<double> temperatureC = temperatureIn(*text);
    if (temperatureC)
        decoderResult(QStringLiteral("temperature"), *temperatureC);
}

/// Logs why there is none.
std::optional<double> ds18b20::temperatureIn(const QByteArray &text)
{
    const QStringList lines = QString::fromLocal8Bit(text).split(QLatin1Char('\n'));
    if (!lines[0].contains(QLatin1String("YES"))) {
        debug->log(QStringLiteral("Checksum incorrect"));
        return std::nullopt;
    }
    bool isNumber = false;
    const double millidegrees = lines.value(1).split(QStringLiteral("t=")).value(1).toDouble(&isNumber);
    // Qt reads "inf" and "nan" as numbers too.
    if (!isNumber || !std::isfinite(millidegrees)) {
        debug->log(QStringLiteral("Failed to read any data"));
        return std::nullopt;
    }
    return millidegrees / milli;
}
