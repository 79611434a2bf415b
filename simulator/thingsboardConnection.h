#ifndef THINGSBOARDCONNECTION_H
#define THINGSBOARDCONNECTION_H

#include <QByteArray>
#include <QObject>

class QTcpSocket;

/// One HTTP/1.1 connection of the stand-in server: cuts requests out of the stream, one at a time.
class thingsboardConnection : public QObject
{
    Q_OBJECT

public:
    /// Takes \a socket over; goes with it.
    thingsboardConnection(QTcpSocket *socket, QObject *parent);

    QByteArray method;
    QByteArray path;
    QByteArray body;

    /// Answers the present request, and goes on to the next one.
    void answer(int code, const QByteArray &json = QByteArray());
    /// Ends the connection without a word.
    void close();

signals:
    /// A whole request has come in; nothing more is read until it is answered.
    void requested();

private:
    void read();
    bool readHeader();

    QTcpSocket *m_socket;
    QByteArray m_received;
    int m_bodyLength = -1; // -1: the header is not complete yet
    bool m_answering = false;
};

#endif
