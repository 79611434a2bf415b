// What the kernel's one-wire driver says of a temperature sensor.
#include "lib/communications/debugComponent.h"
#include "lib/instruments/ds18b20.h"
#include "tests/fuzz/fuzzHost.h"

#include <cmath>

void fuzz(const QByteArray &input)
{
    const fuzzHost host(input);
    ds18b20 sensor(nullptr, nullptr, nullptr, host);
    int published = 0;
    QObject::connect(
        &sensor, &instrument::resultAvailable, &sensor, [&](const QString &key, const QVariant &value) {
            ++published;
            require(key == QLatin1String("ds18b20temperature") && std::isfinite(value.toDouble()));
        });
    sensor.takeSample();
    // Either a value or a reason why there is none.
    require(published == (sensor.debug->lastLog().isEmpty() ? 1 : 0));
}
