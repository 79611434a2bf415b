// calorix-log: shows the component tree and the messages that a controller's debug server streams.

#include "tools/commandLine.h"
#include "tools/componentTree.h"
#include "tools/debugReader.h"
#include "tools/elementText.h"
#include "tools/streamClient.h"

#include <QCoreApplication>

#include <cstdio>

namespace {
constexpr quint16 usualPort = 1234;
constexpr int treeMs = 300; // registrations come in a burst; the tree is shown when it is over

class viewer : public QObject
{
public:
    viewer(const QString &under, const QString &text, streamClient &client)
        : m_under(under)
        , m_text(text)
    {
        connect(&client, &streamClient::connected, this, [this] {
            m_reader.clear();
            m_tree.clear();
        });
        connect(&client, &streamClient::received, this, &viewer::take);
        connect(&client, &streamClient::lost, this,
            [](const QString &why) { std::fprintf(stderr, "calorix-log: %s\n", qPrintable(why)); });
        m_treeDue.setSingleShot(true);
        connect(&m_treeDue, &QTimer::timeout, this, &viewer::showTree);
    }
    /// Shows the tree now, if it has changed since it was shown.
    void finish()
    {
        if (m_treeDue.isActive())
            showTree();
    }

private:
    void take(const QByteArray &bytes)
    {
        m_reader.append(bytes);
        while (const std::optional<debugMessage> message = m_reader.next()) {
            if (message->messageType == 1) {
                m_tree.add(*message);
                m_treeDue.start(treeMs);
            } else {
                show(*message);
            }
        }
    }
    void show(const debugMessage &message)
    {
        finish(); // a message needs the names
        if (m_tree.isUnder(message.UUID, m_under) && message.debugData.contains(m_text, Qt::CaseInsensitive))
            print(QStringLiteral("%1 %2: ").arg(
                      message.timestampDateTime().toUTC().toString(Qt::ISODate), m_tree.name(message.UUID))
                + printable(message.debugData));
    }
    void showTree()
    {
        m_treeDue.stop();
        for (const QString &line : m_tree.lines(m_under))
            print(QStringLiteral("| ") + line);
    }
    static void print(const QString &line)
    {
        std::printf("%s\n", line.toLocal8Bit().constData());
        std::fflush(stdout);
    }

    const QString m_under;
    const QString m_text;
    debugReader m_reader;
    componentTree m_tree;
    QTimer m_treeDue;
};
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("calorix-log"));
    QCoreApplication::setApplicationVersion(QStringLiteral("v1.0-1"));
    QCommandLineParser line;
    line.setApplicationDescription(QStringLiteral(
        "Shows what a Calorix debug server streams: the tree of components first, then the messages."));
    const QCommandLineOption under(QStringLiteral("under"),
        QStringLiteral("Only the component of this name and all below it."), QStringLiteral("NAME"));
    const QCommandLineOption grep(QStringLiteral("grep"),
        QStringLiteral("Only messages that hold this text, in any case."), QStringLiteral("TEXT"));
    line.addOptions({under, grep});
    const commonOptions options = readCommandLine(line, usualPort);

    streamClient client(options.host, options.port);
    viewer shown(line.value(under), line.value(grep), client);
    if (options.once) {
        QObject::connect(&client, &streamClient::lost, &shown, [&] {
            shown.finish();
            QCoreApplication::exit(client.hasBeenConnected() ? exitFine : exitFailed);
        });
    }
    client.start(options.once);
    return QCoreApplication::exec();
}
