// Processor time of one whole sample of a device, bus transfers on a bus in memory.
#include "benchmarks/processUse.h"
#include "benchmarks/ratios.h"
#include "lib/instruments/PCB/bme280.h"
#include "lib/instruments/interfaceCard/boilerSwitchBoard.h"
#include "lib/interfaces/i2cInterface.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/fakeBus.h"
#include "tests/support/launch.h"

#include <QApplication>
#include <QTimer>

#include <cstdio>

namespace {
constexpr int samples = 500;
constexpr double switchBoardLimit = 0.5e-3; // seconds of processor time for one sample
constexpr double sensorLimit = 0.2e-3;

template <class T>
double sampleSeconds(fakeBus &bus, const QByteArray &keys, const char *name)
{
    datastore store(nullptr, bus);
    i2cInterface line(bus);
    line.configure(xml("<interface><name>i2c</name><device>/dev/i2c-1</device></interface>"));
    QList<interface *> lines{&line};
    T device(&store, &lines, nullptr, bus);
    int results = 0;
    QObject::connect(&device, &instrument::resultAvailable, &store,
        QOverload<const QString &, const QVariant &>::of(&datastore::store));
    QObject::connect(&device, &instrument::resultAvailable, &device, [&results] { ++results; });
    launch(device, "<instrument><interface>i2c</interface>" + keys + "</instrument>");
    QTimer *timer = nullptr;
    for (QTimer *each : device.template findChildren<QTimer *>()) {
        if (each->isActive())
            timer = each;
    }
    if (!timer)
        return 99.0;
    results = 0;
    const double before = ownCpuSeconds();
    for (int i = 0; i < samples; ++i)
        expire(timer);
    const double each = (ownCpuSeconds() - before) / samples;
    std::printf("%s: %.1f us and %.1f results a sample\n", name, each * 1e6, double(results) / samples);
    return results >= 2 * samples ? each : 99.0;
}
}

int main(int argc, char **argv)
{
    const QApplication app(argc, argv);
    fakeBus cardBus;
    printRatio("sample.switchboard_cpu_vs_500us",
        sampleSeconds<boilerSwitchBoard>(cardBus, "<dataprepend>card1</dataprepend>", "switch board")
            / switchBoardLimit);

    fakeBus sensorBus;
    sensorBus.setRegisters(0x76, 0xD0, "\x60");
    // The calibration of the data sheet's example and a reading at about 25 degrees and 1006 hPa.
    sensorBus.setRegisters(
        0x76, 0x88, QByteArray::fromHex("706b436718fc7d8e43d6d00b270b8c00f9ff8c3cf8c67017"));
    sensorBus.setRegisters(0x76, 0xA1, QByteArray::fromHex("4b"));
    sensorBus.setRegisters(0x76, 0xE1, QByteArray::fromHex("6a010013270003 1e"));
    sensorBus.setRegisters(0x76, 0xF7, QByteArray::fromHex("655ac07eed006a4c"));
    printRatio("sample.bme280_cpu_vs_200us",
        sampleSeconds<bme280>(sensorBus, "<address>118</address>", "BME280") / sensorLimit);
    return 0;
}
