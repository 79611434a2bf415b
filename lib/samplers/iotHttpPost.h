#ifndef IOTHTTPPOST_H
#define IOTHTTPPOST_H

#include "lib/samplers/sampler.h"

#include "lib/communications/netActionInfo.h"
#include "lib/support/hostSystem.h"

/// Hands values as ThingsBoard telemetry to the upload queue: keys without a trigger variable on the period,
/// the others when their variable changes its truth.
///
/// Keeps no record of what it sent; delivery is the queue's task.
/// Thread: everything from start() on runs on the sampler's own thread; networkAction() is queued from it.
class iotHttpPost : public sampler
{
    Q_OBJECT

public:
    /// \a host gives the messages' time; it must outlive the sampler.
    explicit iotHttpPost(
        datastore *store, QObject *parent = nullptr, const hostSystem &host = hostSystem::real());

    void start() override;
    void configureSampler(const QDomElement &element) override;

signals:
    void networkAction(const netActionInfo &info);

public slots:
    void takeSample();
    /// Kept: every key tied to \a dataKey is sent on either edge, whatever edge it was configured for.
    void edgeTrigger(const QString &dataKey, const QVariant &dataValue, bool rising) override;

private:
    void send(const QByteArray &message);

    const hostSystem &m_host;
    QString path;   // address template; "$APIKEY" stands for the token
    QString apiKey; // device access token
};

#endif
