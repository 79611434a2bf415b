#ifndef TESTEDDEVICE_H
#define TESTEDDEVICE_H

#include "lib/communications/debugComponent.h"
#include "lib/interfaces/i2cInterface.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/fakeBus.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"
#include "tests/support/results.h"

#include <QTimer>

/// An instrument of the class Device on a machine of its own, which has a bus "i2c", with a store, and with
/// all that the instrument publishes and tells.
template <class Device>
struct testedDevice {
    fakeBus host;
    datastore store{nullptr, host};
    i2cInterface bus{host};
    QList<interface *> interfaces{&bus};
    Device device{&store, &interfaces, nullptr, host};
    logSink log;
    results published{device};

    testedDevice()
    {
        bus.configure(xml("<interface><name>i2c</name><device>/dev/i2c-1</device></interface>"));
        QObject::connect(&device, &instrument::resultAvailable, &store,
            QOverload<const QString &, const QVariant &>::of(&datastore::store));
        device.debug->registerWithClient(&log);
    }
    void start(const QByteArray &keys) { launch(device, "<instrument>" + keys + "</instrument>"); }
    QTimer *timer() { return device.template findChild<QTimer *>(); }
    /// What one more sample publishes.
    QString sample()
    {
        published.take();
        expire(timer());
        return published.take();
    }
};

#endif
