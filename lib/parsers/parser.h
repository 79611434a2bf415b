#ifndef PARSER_H
#define PARSER_H

#include <QByteArray>
#include <QDomElement>
#include <QObject>
#include <QString>

class interface;

/// Collects what arrives on an interface in a bounded buffer, from which a derived class cuts its messages.
///
/// Thread: that of the instrument which makes it; it reads the interface there.
class parser : public QObject
{
    Q_OBJECT

public:
    /// Starts to read when \a iface (not owned) reports its connection.
    parser(interface *iface, QObject *parent);

    /// Bytes that the buffer keeps from one read to the next. What it holds now is cut at the next read.
    void setBufferSize(unsigned int bytes);
    /// No keys in the base.
    virtual void configure(const QDomElement &block);
    /// Called after every read; a derived class takes whole messages out of the buffer here.
    virtual void newDataInBuffer();

public slots:
    void clearBuffer();

signals:
    void dataOut(const QByteArray &data);

protected:
    bool debug = false; // trace lines on standard output
    QString name = QStringLiteral("Parser");
    quint32 bufferLimit = 0; // bytes
    interface *const iface;
    QByteArray buffer;

private slots:
    void interfaceConnected();
    void readDataToBuffer();
};

#endif
