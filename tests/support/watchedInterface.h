#ifndef WATCHEDINTERFACE_H
#define WATCHEDINTERFACE_H

#include "lib/communications/debugComponent.h"
#include "lib/interfaces/interface.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"

#include <QTimer>

#include <utility>

/// An interface of the class Base that is configured with \a keys, with all that it tells.
template <class Base>
class watchedInterface : public Base
{
public:
    explicit watchedInterface(const QByteArray &keys = {})
    {
        const auto keep = [this](const QString &key, const QVariant &value) {
            results.append(key + QLatin1Char('=') + value.toString());
        };
        QObject::connect(this, &interface::resultAvailable, this, keep, Qt::DirectConnection);
        this->debug->registerWithClient(&log);
        this->configure(xml("<interface>" + keys + "</interface>"));
    }
    QTimer *timer() const { return this->reconnectTimer.get(); }
    /// The results since the last call, as texts "key=value".
    QStringList takeResults() { return std::exchange(results, {}); }

    logSink log;

private:
    QStringList results; // added on the thread that uses the interface
};

#endif
