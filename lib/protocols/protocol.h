#ifndef PROTOCOL_H
#define PROTOCOL_H

#include <QDomElement>
#include <QObject>
#include <QString>

class interface;

/// Commands and responses over an interface; what comes back leaves as dataOut().
///
/// The base is the contract only. Thread: that of the instrument which makes and starts it.
class protocol : public QObject
{
    Q_OBJECT

public:
    /// \a stream is not owned.
    protocol(interface *stream, QObject *parent);

    virtual void configure(const QDomElement &block);
    virtual void start();

signals:
    void dataOut(const QByteArray &data);

protected:
    bool debug = false;
    QString name = QStringLiteral("protocol");
    interface *const ioStream;
};

#endif
