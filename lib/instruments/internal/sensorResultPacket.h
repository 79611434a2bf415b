#ifndef SENSORRESULTPACKET_H
#define SENSORRESULTPACKET_H

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

/// The readings of one internal sensor, taken together: keys and values by the same index.
struct sensorResultPacket {
    QStringList resultName;
    QList<QVariant> resultData;
    int readings = 0; // unused

    void add(const QString &key, double value)
    {
        resultName.append(key);
        resultData.append(value);
    }
};

#endif
