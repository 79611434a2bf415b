#ifndef ELEMENTPEER_H
#define ELEMENTPEER_H

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QObject>
#include <QTcpServer>
#include <QTimer>

#include <memory>
#include <optional>

class eventLog;
class plant;

/// Another controller at the far end of a serial line (a pseudo-terminal) or of a TCP connection, that sends
/// what it measures in the house as serialised store elements, a round of them every period.
///
/// Its keys begin with its name, here "tcp": "tcpCount" (int, rounds so far), "tcpRoomTemperature",
/// "tcpTankTemperature", "tcpOutsideTemperature" (double, degrees C), "tcpRoomCalls" (bool). A round that
/// nobody takes is lost.
class elementPeer : public QObject
{
    Q_OBJECT

public:
    /// What is wrong with the link.
    enum condition {
        good,
        noise, // bytes that are no element before every element
        split, // a few bytes at a time
        cut,   // every third element lacks its second half
        absent // hung up: nobody listens, or the device file is gone
    };

    /// Both must outlive the peer.
    elementPeer(const QString &name, const plant &house, eventLog &log);
    ~elementPeer() override;

    static std::optional<condition> findCondition(const QString &name);

    /// Serves any number of clients on 127.0.0.1; false, with the reason, when it cannot.
    bool listenAt(quint16 port, QString *why);
    /// Makes a pseudo-terminal and \a link, a symbolic link to it; false, with the reason, when it cannot.
    bool makeTerminal(const QString &link, QString *why);

    /// Hangs up or comes back where that is asked for; false, with the reason, when it cannot come back.
    bool setCondition(condition c, QString *why);
    void setPeriod(int ms) { m_rounds.setInterval(ms); }

private:
    bool plugIn(QString *why);
    bool openTerminal(QString *why);
    void hangUp();
    void accept();
    void beginRound();
    QList<QByteArray> measure();
    QByteArray spoiled(QByteArray element);
    void sendPiece();

    const QString m_name;
    const plant &m_house;
    eventLog &m_log;
    condition m_condition = good;
    quint16 m_port = 0; // 0: a terminal
    QString m_link;
    QTcpServer m_server;
    QFile m_terminal;           // its near end
    QList<QIODevice *> m_lines; // whoever takes what is sent; not owned
    QTimer m_rounds;
    QTimer m_pieces;
    QByteArray m_toSend; // of the present round
    int m_count = 0;     // rounds
    int m_elements = 0;
};

#endif
