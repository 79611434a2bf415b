#ifndef NETACTIONINFO_H
#define NETACTIONINFO_H

#include <QByteArray>
#include <QMetaType>
#include <QString>

/// One upload that somebody wants to have made. A plain value, copied through queued signals.
class netActionInfo
{
public:
    QString requestType; ///< only "post" is executed
    QString dataType;    ///< content type as the producer names it; not used, uploads are always sent as JSON
    QString URI;         ///< complete target address, access token included
    QByteArray msgData;  ///< request body
};

Q_DECLARE_METATYPE(netActionInfo)

#endif
