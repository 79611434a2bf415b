// calorix-watch: shows the values that a controller's TCP sampler streams.

#include "tools/commandLine.h"
#include "tools/elementReader.h"
#include "tools/elementText.h"
#include "tools/streamClient.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QMap>

#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {
constexpr int redrawMs = 500;
constexpr int otherLines = 3; // heading, status and the line that stays empty
constexpr qint64 msPerSecond = 1000;

/// What has come in, and how it is shown.
class watcher : public QObject
{
public:
    enum form { table, follow, csv };

    watcher(form shown, streamClient &client)
        : m_form(shown)
    {
        connect(&client, &streamClient::connected, this, [this] {
            m_reader.clear();
            m_status = QStringLiteral("connected");
        });
        connect(&client, &streamClient::received, this, &watcher::take);
        connect(&client, &streamClient::lost, this, &watcher::complain);
        connect(&m_redraw, &QTimer::timeout, this, &watcher::draw);
        if (m_form == table && ::isatty(STDOUT_FILENO) != 0)
            m_redraw.start(redrawMs);
        if (m_form == csv)
            print(QStringLiteral("time,key,value,type"));
    }
    /// The table as it stands, also where nobody looks at it live.
    void draw() const;

private:
    struct row {
        QVariant value;
        QElapsedTimer age; // also where the clock is set meanwhile
    };

    void take(const QByteArray &bytes);
    void show(const datastoreElementType &element) const;
    void complain(const QString &why);
    static void print(const QString &line)
    {
        std::printf("%s\n", line.toLocal8Bit().constData());
        std::fflush(stdout);
    }

    static void printRow(const QString &key, const QString &value, const QString &type, const QString &age)
    {
        print(
            key.leftJustified(32) + ' ' + value.leftJustified(20) + ' ' + type.leftJustified(7) + ' ' + age);
    }

    const form m_form;
    elementReader m_reader;
    QMap<QString, row> m_rows;
    QString m_status = QStringLiteral("connecting");
    QTimer m_redraw;
};

void watcher::take(const QByteArray &bytes)
{
    m_reader.append(bytes);
    while (const std::optional<datastoreElementType> element = m_reader.next()) {
        row &taken = m_rows[printable(element->key)];
        taken.value = element->value;
        taken.age.start();
        show(*element);
    }
}

void watcher::show(const datastoreElementType &element) const
{
    const QString time = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
    if (m_form == follow)
        print(QStringLiteral("%1 %2 = %3 (%4)")
                  .arg(time, printable(element.key), valueText(element.value), typeText(element.value)));
    else if (m_form == csv)
        print(QStringList{time, csvField(printable(element.key)), csvField(valueText(element.value)),
            typeText(element.value)}
                  .join(QLatin1Char(',')));
}

void watcher::complain(const QString &why)
{
    m_status = why;
    if (m_form != table || ::isatty(STDOUT_FILENO) == 0)
        std::fprintf(stderr, "calorix-watch: %s\n", qPrintable(why));
}

void watcher::draw() const
{
    winsize size{};
    const bool live = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > otherLines;
    const int most = live ? size.ws_row - otherLines : m_rows.size();
    if (live)
        std::fputs("\033[H\033[J", stdout); // to the corner, and clear
    printRow(
        QStringLiteral("KEY"), QStringLiteral("VALUE"), QStringLiteral("TYPE"), QStringLiteral("   AGE"));
    int shown = 0;
    for (auto each = m_rows.constBegin(); each != m_rows.constEnd() && shown < most; ++each, ++shown)
        printRow(each.key(), valueText(each->value), typeText(each->value),
            QStringLiteral("%1 s").arg(each->age.elapsed() / msPerSecond, 4));
    print(QStringLiteral("%1 of %2 keys, %3").arg(shown).arg(m_rows.size()).arg(m_status));
}
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("calorix-watch"));
    QCoreApplication::setApplicationVersion(QStringLiteral("v1.0-1"));
    QCommandLineParser line;
    line.setApplicationDescription(
        QStringLiteral("Shows the values that a Calorix TCP sampler streams, as a table."));
    const QCommandLineOption follow({QStringLiteral("f"), QStringLiteral("follow")},
        QStringLiteral("One line per update instead of a table."));
    const QCommandLineOption csv(
        QStringLiteral("csv"), QStringLiteral("One line of comma-separated values per update."));
    line.addOptions({follow, csv});
    const commonOptions options = readCommandLine(line, 0);

    streamClient client(options.host, options.port);
    const bool oneLineEach = line.isSet(follow) || (!options.once && ::isatty(STDOUT_FILENO) == 0);
    const watcher::form form = line.isSet(csv) ? watcher::csv
        : oneLineEach                          ? watcher::follow
                                               : watcher::table;
    watcher watch(form, client);
    if (options.once) {
        QObject::connect(&client, &streamClient::lost, &watch, [&] {
            if (form == watcher::table)
                watch.draw();
            QCoreApplication::exit(client.hasBeenConnected() ? exitFine : exitFailed);
        });
    }
    client.start(options.once);
    return QCoreApplication::exec();
}
