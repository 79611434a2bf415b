#ifndef SOCKETERRORTEXT_H
#define SOCKETERRORTEXT_H

#include <QAbstractSocket>
#include <QString>

/// The log's fixed text for a socket error; empty for a number that is none.
QString socketErrorText(QAbstractSocket::SocketError error);

#endif
