#ifndef WATCHEDINTERFACE_H
#define WATCHEDINTERFACE_H

#include "lib/communications/debugComponent.h"
#include "lib/interfaces/interface.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"
#include "tests/support/results.h"

#include <QTimer>

/// An interface of the class Base that is configured with \a keys, with all that it publishes and tells.
template <class Base>
struct watchedInterface : Base {
    explicit watchedInterface(const QByteArray &keys = {})
    {
        this->debug->registerWithClient(&log);
        this->configure(xml("<interface>" + keys + "</interface>"));
    }
    QTimer *timer() const { return this->reconnectTimer.get(); }

    logSink log;
    results published{*this};
};

#endif
