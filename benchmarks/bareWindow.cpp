// What the controller's own work is held against: a window that does nothing of its own.
//
//   bareWindow
//       a bare widget
//   bareWindow THREADS TRANSFERS PAINTS BUS ADDRESS
//       a label with a new text PAINTS times a second, a clock, and as many threads as asked, each with a
//       timer of 1 s; the first three make TRANSFERS bus transfers a second between them
#include <QApplication>
#include <QLabel>
#include <QThread>
#include <QTime>
#include <QTimer>

#include <memory>
#include <vector>

#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {
constexpr int busThreads = 3;
constexpr quint8 command = 0x31;

/// One transfer as a device makes it: open, address, command, answer, close.
void transfer(const char *bus, int address)
{
    const int fd = open(bus, O_RDWR | O_CLOEXEC);
    if (fd < 0)
        return;
    char answer[4];
    if (ioctl(fd, I2C_SLAVE, long(address)) == 0 && write(fd, &command, 1) == 1) [[maybe_unused]]
        const ssize_t got = read(fd, answer, sizeof answer);
    close(fd);
}

QString panelText(int i)
{
    QString text = QStringLiteral("<table>");
    for (int row = 0; row < 13; ++row)
        text += QStringLiteral("<tr><th>Temperature</th><td>%1 C</td></tr>").arg(i + row);
    return text + QStringLiteral("</table>");
}

int runLoaded(char **argv)
{
    const int threads = atoi(argv[1]);
    const int transfers = atoi(argv[2]);
    const double paints = atof(argv[3]);
    QLabel label(panelText(0));
    label.setStyleSheet(QStringLiteral("background-color: black; color: white; font-size: 14px;"));
    label.setFixedSize(800, 480);
    label.show();
    QTimer repaint;
    int count = 0;
    QObject::connect(&repaint, &QTimer::timeout, &label, [&] { label.setText(panelText(++count)); });
    if (paints > 0)
        repaint.start(int(1000 / paints));
    QLabel clock;
    clock.setStyleSheet(QStringLiteral("background-color: black; color: white; font-size: 26px;"));
    clock.setFixedSize(500, 50);
    clock.show();
    QTimer tick;
    QObject::connect(
        &tick, &QTimer::timeout, &clock, [&] { clock.setText(QTime::currentTime().toString()); });
    tick.start(200);

    std::vector<std::unique_ptr<QThread>> workers;
    for (int i = 0; i < threads; ++i) {
        workers.push_back(std::make_unique<QThread>());
        auto *const timer = new QTimer;
        timer->setInterval(1000);
        timer->moveToThread(workers.back().get());
        const int own = i < busThreads ? transfers / busThreads : 0;
        QObject::connect(timer, &QTimer::timeout, timer, [own, argv] {
            for (int k = 0; k < own; ++k)
                transfer(argv[4], atoi(argv[5]));
        });
        QObject::connect(workers.back().get(), &QThread::started, timer, QOverload<>::of(&QTimer::start));
        workers.back()->start();
    }
    QApplication::exec();
    _exit(0); // as it is ended by a signal, nothing comes here in practice
}
}

int main(int argc, char **argv)
{
    const QApplication app(argc, argv);
    if (argc == 6)
        return runLoaded(argv);
    QWidget bare;
    bare.setFixedSize(800, 480);
    bare.show();
    return QApplication::exec();
}
