#include "lib/samplers/iotHttpPost.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/encoders/thingsboardJson.h"
#include "lib/support/configKeys.h"
#include "lib/types/datastore.h"

namespace {
constexpr int uploadLevel = 1;
}

iotHttpPost::iotHttpPost(datastore *store, QObject *parent, const hostSystem &host)
    : sampler(store, parent)
    , m_host(host)
{
    debug->configure(QStringLiteral("Thingsboard Sampler"), componentTypes::iotHttpPost);
}

void iotHttpPost::configureSampler(const QDomElement &element)
{
    const std::vector<configKey> keys{
        {"uri", into(path)},
        {"apikey", into(apiKey)},
    };
    readKeys(element, keys);
}

void iotHttpPost::start()
{
    sampleTimer = new QTimer(this);
    sampleTimer->setInterval(timerInterval());
    connect(sampleTimer, &QTimer::timeout, this, &iotHttpPost::takeSample);
    connect(store, &datastore::edgeTrigger, this, &iotHttpPost::edgeTrigger);
    sampleTimer->start();
}

void iotHttpPost::takeSample()
{
    debug->log(QStringLiteral("Taking IOT Sample"));
    QStringList periodic;
    for (int i = 0; i < subscribeList.size(); ++i) {
        if (triggerVariableList[i].isEmpty())
            periodic.append(subscribeList[i]);
    }
    const QByteArray message = thingsboardJson(m_host).buildMessage(store, periodic);
    if (message.isEmpty())
        debug->log(QStringLiteral("No data to upload"));
    else
        send(message);
}

void iotHttpPost::edgeTrigger(const QString &dataKey, const QVariant &dataValue, bool)
{
    // An edge is announced just before the store changes: this thread may be here first, and the message
    // would then tell the value of before.
    const auto current = [&](const QString &key) {
        const bool isOwn = key.compare(dataKey, Qt::CaseInsensitive) == 0; // as a query finds it
        return isOwn ? dataValue : store->query(key);
    };
    datastore tied(nullptr, m_host);
    for (int i = 0; i < subscribeList.size(); ++i) {
        if (triggerVariableList[i] == dataKey)
            tied.store(subscribeList[i], current(subscribeList[i]));
    }
    const QByteArray message = thingsboardJson(m_host).buildMessage(&tied, subscribeList);
    if (!message.isEmpty())
        send(message);
}

void iotHttpPost::send(const QByteArray &message)
{
    netActionInfo info;
    info.requestType = QStringLiteral("post");
    info.dataType = QStringLiteral("application/json");
    info.URI = QString(path).replace(QLatin1String("$APIKEY"), apiKey);
    info.msgData = message;
    debug->log(QStringLiteral("Upload URL = ") + info.URI, uploadLevel);
    debug->log(QStringLiteral("Upload Data = ") + QString::fromLatin1(message), uploadLevel);
    emit networkAction(info);
}
