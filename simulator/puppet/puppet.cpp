// Preloaded into a Qt program: lets a test or the demo look at its window and use it, through a local socket
// at $PUPPET_SOCKET. One command a line, one line (or, for dump, several and a dot) in answer:
//
//   grab FILE     writes a picture of the message box that is open, else of the main window
//   click TEXT    clicks the visible button with that text, or opens the tab of that name
//   click BOX/TEXT  the same inside the group box with the title BOX
//   where ...     as click, but only answers with the place on the screen: "ok X Y"
//   choose TEXT   selects the visible combo box's entry
//   dump          class, text and state of every visible widget
//   close         closes the main window
#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QListView>
#include <QLocalServer>
#include <QLocalSocket>
#include <QMouseEvent>
#include <QPixmap>
#include <QTabBar>
#include <QTimer>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {
/// The program's children have no window; shells and curl start faster without this library.
__attribute__((constructor)) void leaveChildrenAlone()
{
    std::string kept;
    const char *const preloaded = std::getenv("LD_PRELOAD");
    std::string all = preloaded ? preloaded : "";
    for (char *each = std::strtok(all.data(), ": "); each; each = std::strtok(nullptr, ": ")) {
        if (!std::strstr(each, "libpuppet"))
            kept += (kept.empty() ? "" : ":") + std::string(each);
    }
    setenv("LD_PRELOAD", kept.c_str(), 1);
}

QWidget *shown()
{
    if (QWidget *list = QApplication::activePopupWidget())
        return list;
    if (QWidget *modal = QApplication::activeModalWidget())
        return modal;
    QWidget *largest = nullptr;
    for (QWidget *w : QApplication::topLevelWidgets()) {
        const bool isLarger = !largest || w->width() * w->height() > largest->width() * largest->height();
        if (w->isVisible() && isLarger)
            largest = w;
    }
    return largest;
}

void press(QWidget *w, const QPoint &at)
{
    for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
        const Qt::MouseButtons held = type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
        QCoreApplication::postEvent(
            w, new QMouseEvent(type, at, w->mapToGlobal(at), Qt::LeftButton, held, Qt::NoModifier));
    }
}

QWidget *box(QWidget *in, const QString &title)
{
    for (QGroupBox *b : in->findChildren<QGroupBox *>()) {
        if (b->isVisible() && b->title() == title)
            return b;
    }
    return nullptr;
}

/// Where to press.
struct spot {
    QWidget *widget = nullptr;
    QPoint at;
};

spot findTab(QWidget *in, const QString &text)
{
    for (QTabBar *tabs : in->findChildren<QTabBar *>()) {
        for (int i = 0; tabs->isVisible() && i < tabs->count(); ++i) {
            if (tabs->tabText(i).remove('&') == text)
                return {tabs, tabs->tabRect(i).center()};
        }
    }
    return {};
}

spot findSelector(QWidget *in, const QString &text)
{
    for (QComboBox *combo : in->findChildren<QComboBox *>()) {
        if (combo->isVisible() && combo->currentText() == text)
            return {combo, combo->rect().center()};
    }
    return {};
}

/// In the list of a selector that was pressed.
spot findEntry(QWidget *in, const QString &text)
{
    for (QListView *list : in->findChildren<QListView *>()) {
        const QModelIndexList found = list->model()->match(
            list->model()->index(0, list->modelColumn()), Qt::DisplayRole, text, 1, Qt::MatchExactly);
        if (list->isVisible() && !found.isEmpty())
            return {list->viewport(), list->visualRect(found.first()).center()};
    }
    return {};
}

spot findButton(QWidget *in, const QString &text)
{
    for (QAbstractButton *b : in->findChildren<QAbstractButton *>()) {
        // A check box answers at its box, not in the middle of its width.
        if (b->isVisible() && b->text().remove('&') == text)
            return {b, QPoint(qMin(b->width(), b->height()) / 2, b->height() / 2)};
    }
    return {};
}

spot find(QWidget *in, QString text)
{
    if (const int slash = text.indexOf('/'); slash > 0) {
        in = box(in, text.left(slash));
        text = text.mid(slash + 1);
    }
    for (spot (*const look)(QWidget *, const QString &) : {findButton, findTab, findSelector, findEntry}) {
        if (const spot found = in ? look(in, text) : spot(); found.widget)
            return found;
    }
    return {};
}

bool click(QWidget *in, const QString &text)
{
    const spot target = find(in, text);
    if (target.widget)
        press(target.widget, target.at);
    return target.widget;
}

QByteArray whereIs(QWidget *in, const QString &text)
{
    const spot target = find(in, text);
    if (!target.widget)
        return "error: not found: " + text.toUtf8();
    const QPoint at = target.widget->mapToGlobal(target.at);
    return "ok " + QByteArray::number(at.x()) + ' ' + QByteArray::number(at.y());
}

bool choose(QWidget *in, const QString &text)
{
    for (QComboBox *combo : in->findChildren<QComboBox *>()) {
        if (combo->isVisible() && combo->findText(text) >= 0) {
            combo->setCurrentIndex(combo->findText(text));
            return true;
        }
    }
    return false;
}

QByteArray describe(const QWidget *w)
{
    QString text = w->property("text").toString() + w->property("title").toString();
    if (const auto *combo = qobject_cast<const QComboBox *>(w))
        text = combo->currentText();
    QByteArray line
        = QByteArray(w->metaObject()->className()) + " \"" + text.replace('\n', ' ').toUtf8() + '"';
    if (w->property("checked").toBool())
        line += " checked";
    return line + (w->isEnabled() ? "" : " disabled") + '\n';
}

QByteArray dump(const QWidget *in)
{
    QByteArray all = describe(in);
    for (const QWidget *w : in->findChildren<QWidget *>()) {
        if (w->isVisible())
            all += describe(w);
    }
    return all + '.';
}

QByteArray answer(const QByteArray &line)
{
    const QByteArray word = line.split(' ').first();
    const QString text = QString::fromUtf8(line.mid(word.size() + 1));
    QWidget *w = shown();
    if (!w)
        return "error: no window";
    bool done = true;
    if (word == "dump")
        return dump(w);
    if (word == "where")
        return whereIs(w, text);
    if (word == "grab")
        done = w->grab().save(text, "PNG");
    else if (word == "click")
        done = click(w, text);
    else if (word == "choose")
        done = choose(w, text);
    else if (word == "close")
        QTimer::singleShot(0, w, &QWidget::close);
    else
        return "error: unknown command";
    return done ? "ok" : "error: not found or not written: " + text.toUtf8();
}

void listen()
{
    const QString path = qEnvironmentVariable("PUPPET_SOCKET");
    if (path.isEmpty() || !qobject_cast<QApplication *>(QCoreApplication::instance()))
        return;
    auto *server = new QLocalServer(QCoreApplication::instance());
    QObject::connect(server, &QLocalServer::newConnection, server, [server] {
        QLocalSocket *client = server->nextPendingConnection();
        QObject::connect(client, &QLocalSocket::readyRead, client, [client] {
            while (client->canReadLine())
                client->write(answer(client->readLine().trimmed()) + '\n');
        });
        QObject::connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
    });
    server->listen(path);
}
}

Q_COREAPP_STARTUP_FUNCTION(listen)
