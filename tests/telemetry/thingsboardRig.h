#ifndef THINGSBOARDRIG_H
#define THINGSBOARDRIG_H

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

/// The stand-in ThingsBoard server as a process of its own, with its control port.
class thingsboardRig
{
public:
    /// \a at is the port, 0 for any free one.
    explicit thingsboardRig(int at = 0)
    {
        m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_server.start(QStringLiteral(CALORIX_BIN_DIR "/calorix-thingsboard"),
            {QString::number(at), QStringLiteral("--bodies"), m_folder.filePath("bodies")});
        if (!m_server.waitForReadyRead())
            qFatal("calorix-thingsboard does not start");
        const QString ready = QString::fromLatin1(m_server.readLine());
        const auto ports = QRegularExpression(QStringLiteral(":(\\d+), .*:(\\d+)$")).match(ready.trimmed());
        port = ports.captured(1).toInt();
        m_control.connectToHost(QStringLiteral("127.0.0.1"), quint16(ports.captured(2).toInt()));
        if (!m_control.waitForConnected())
            qFatal("calorix-thingsboard has no control port");
    }
    ~thingsboardRig()
    {
        m_server.kill();
        m_server.waitForFinished();
    }

    /// Gives a command; its answer.
    QByteArray tell(const QByteArray &command)
    {
        m_control.write(command + '\n');
        while (!m_control.canReadLine() && m_control.waitForReadyRead()) { }
        return m_control.readLine().trimmed();
    }
    /// The accepted messages.
    QByteArrayList bodies() const
    {
        QFile file(m_folder.filePath(QStringLiteral("bodies")));
        QByteArrayList all = file.open(QIODevice::ReadOnly) ? file.readAll().split('\n') : QByteArrayList();
        if (!all.isEmpty())
            all.removeLast(); // behind the last line feed
        return all;
    }
    /// The requests so far, a line each.
    QByteArray requests()
    {
        m_requests += m_server.readAllStandardOutput();
        return m_requests;
    }
    QString address() const { return QStringLiteral("http://127.0.0.1:%1").arg(port); }

    int port = 0;

private:
    QTemporaryDir m_folder;
    QProcess m_server;
    QTcpSocket m_control;
    QByteArray m_requests;
};

#endif
