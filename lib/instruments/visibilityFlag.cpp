#include "lib/instruments/visibilityFlag.h"

#include <QEvent>
#include <QWidget>

visibilityFlag::visibilityFlag(QWidget *watched)
    : m_visible(watched->isVisible())
{
    watched->installEventFilter(this);
}

bool visibilityFlag::eventFilter(QObject *watched, QEvent *event)
{
    // A minimised window sends these events too, but its widgets stay visible.
    if (event->type() == QEvent::Show || event->type() == QEvent::Hide)
        m_visible = static_cast<QWidget *>(watched)->isVisible();
    return QObject::eventFilter(watched, event);
}
