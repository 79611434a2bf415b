#include "app/eventLoop.h"
#include "app/mainWindow.h"
#include "app/timer.h"
#include "app/watchdog.h"
#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/communications/fileDebugClient.h"
#include "lib/communications/netActionInfo.h"
#include "lib/communications/terminalDebugClient.h"
#include "lib/types/datastore.h"

#include <QApplication>
#include <QCursor>
#include <QFontMetrics>
#include <QScreen>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <future>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <linux/fb.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {
constexpr int fileLevel = 2;
constexpr int terminalLevel = 1;
constexpr int windowWidth = 800;  // pixels, of the touch display
constexpr int windowHeight = 480; // pixels
constexpr int leaveMs = 2000;     // how long the workers may take to end
constexpr std::chrono::seconds consolePatience(5);

/// Whether Qt is to draw on a frame buffer ("linuxfb", "linuxfb:fb=/dev/fb1") that is missing or cannot be
/// used.
bool frameBufferIsMissing()
{
    const QList<QByteArray> platform = qgetenv("QT_QPA_PLATFORM").split(':');
    if (platform.first() != "linuxfb" || qEnvironmentVariableIntValue("QT_QPA_FB_DRM") != 0)
        return false;
    QByteArray device = "/dev/fb0"; // Qt's own choice
    for (const QByteArray &option : platform) {
        if (option.startsWith("fb="))
            device = option.mid(3);
    }
    const int fd = ::open(device.constData(), O_RDWR | O_CLOEXEC);
    fb_var_screeninfo screen{};
    const bool missing = fd == -1 || ::ioctl(fd, FBIOGET_VSCREENINFO, &screen) == -1;
    if (fd != -1)
        ::close(fd);
    return missing;
}

void registerMetaTypes()
{
    qRegisterMetaType<datastoreElementType>("datastoreElementType");
    qRegisterMetaType<netActionInfo>("netActionInfo");
}

void hidePointer(const QCursor &cursor)
{
    QGuiApplication::setOverrideCursor(cursor);
    QGuiApplication::changeOverrideCursor(cursor);
}

/// Blanks the text console behind the display; without a console there is nothing to blank.
void blankConsole()
{
    for (const char *command : {"sh -c \"TERM=linux setterm -foreground black >/dev/tty0\"",
             "sh -c \"TERM=linux setterm -foreground black -clear all >/dev/tty0\""})
        [[maybe_unused]] const int ignored = std::system(command);
}

/// Blanks the console, and reads the fonts in the meantime: from an SD card that takes as long. A console
/// that somebody has stopped (Scroll Lock) takes nothing; the heating does not wait for it.
void blankConsoleAndReadFonts()
{
    std::packaged_task<void()> blanking(blankConsole);
    const std::future<void> blanked = blanking.get_future();
    std::thread console;
    try {
        console = std::thread(std::move(blanking));
    } catch (const std::system_error &) {
        return; // no memory for a thread: the console stays as it is
    }
    QFontMetrics(QFont()).height();
    if (blanked.wait_for(consolePatience) == std::future_status::ready)
        console.join();
    else
        console.detach();
}

/// The text put in front of every control file's name: the value of the last "-c", or nothing.
/// Kept: every argument is looked at, the program's name and the options' values too; after a last "-c" the
/// null entry that ends \a argv stands for an empty text.
QString controlFilePrefix(int argc, char **argv)
{
    QString prefix;
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "-c") == 0)
            prefix = QString::fromLocal8Bit(argv[i + 1]);
    }
    return prefix;
}

/// "-p" names the system's parent outside this process. True when "-fs" asks for the full screen.
bool readOptions(int argc, char **argv, debugComponent *system)
{
    bool fullscreen = false;
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "-p") == 0)
            system->setParentUUID(QString::fromLocal8Bit(argv[i + 1]));
        else if (std::strcmp(argv[i], "-fs") == 0)
            fullscreen = true;
    }
    return fullscreen;
}

void show(mainWindow *window, bool fullscreen)
{
    if (!QGuiApplication::primaryScreen())
        return; // what looked like a screen is none
    if (fullscreen) {
        // A bare X server has no window manager that would enlarge the window.
        window->setGeometry(QGuiApplication::primaryScreen()->geometry());
        window->showFullScreen();
        return;
    }
    window->setFixedWidth(windowWidth);
    window->setFixedHeight(windowHeight);
    window->show();
}

/// Paints the window now, unless a display server has to allow that first: the householder need not wait for
/// the configuration, however long that takes. What is pressed or closed meanwhile waits for the event loop.
void paint()
{
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

/// Ends the workers before main() destroys what they use. One that is blocked right now (a connect that
/// waits, a df) cannot be asked to hurry: the process then ends here, with nothing destroyed under its hands.
void leave(eventLoop *loop, int result)
{
    if (loop->finish(QDeadlineTimer(leaveMs)))
        return;
    std::fflush(nullptr);
    std::_Exit(result);
}

// Never deleted: the process ends right after them. Held here so that they stay reachable to its end.
datastore *store = nullptr;
mainWindow *window = nullptr;
eventLoop *eLoop = nullptr;
}

int main(int argc, char **argv)
{
    // A panel is the first part to fail, and without one Qt ends the whole program: at the first window, or
    // at the first motion of a mouse. Then the window lives in memory alone.
    const bool dark = frameBufferIsMissing();
    if (dark)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication app(argc, argv);
    registerMetaTypes();

    // Kept: the file sink is made but registered nowhere, so nothing is written to the log files.
    fileDebugClient fileDBG(QStringLiteral("/var/log/heating"));
    fileDBG.logLevel = fileLevel;
    terminalDebugClient terminalDBG;
    terminalDBG.logLevel = terminalLevel;
    debugComponent systemDebug;
    systemDebug.configure(QStringLiteral("Heating Control System"), componentTypes::group);
    systemDebug.registerWithClient(&terminalDBG);
    debugComponent timerDebug; // Kept: stands alone, outside the system's tree
    timerDebug.configure(QStringLiteral("Timers"), componentTypes::group);
    store = new datastore;
    systemDebug.addChild(store->debug.get());

    const QCursor cursor(Qt::BlankCursor);
    hidePointer(cursor);
    blankConsoleAndReadFonts();
    QCoreApplication::setApplicationName(QStringLiteral("Calorix"));
    QCoreApplication::setApplicationVersion(QStringLiteral("v1.0-1"));

    const QString confDir = controlFilePrefix(argc, argv);
    timer waterTimer(
        store, QStringLiteral("waterTimer"), confDir + QStringLiteral("waterTimer.xml"), nullptr);
    timerDebug.addChild(waterTimer.debug.get());
    timer heatingTimer(
        store, QStringLiteral("heatTimer"), confDir + QStringLiteral("heatTimer.xml"), nullptr);
    timerDebug.addChild(heatingTimer.debug.get());

    window = new mainWindow(store, &waterTimer, &heatingTimer, nullptr);
    window->setStyleSheet(QStringLiteral("background-color: black; color: white; font-size: 14px;"));
    eLoop = new eventLoop(store, &systemDebug, window, &waterTimer, &heatingTimer, nullptr);
    window->setEventLoop(eLoop);
    eLoop->addInstrument(QDomElement(), &waterTimer);
    eLoop->addInstrument(QDomElement(), &heatingTimer);

    show(window, readOptions(argc, argv, eLoop->systemDebug));
    if (dark || !QGuiApplication::primaryScreen())
        eLoop->systemDebug->log(QStringLiteral("No screen found, running without the display"));
    paint();
    eLoop->configureSystem(confDir + QStringLiteral("config.xml"));
    eLoop->start();
    const watchdog alive(&systemDebug);
    const int result = QApplication::exec();
    leave(eLoop, result);
    return result;
}
