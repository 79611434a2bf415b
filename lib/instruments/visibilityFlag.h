#ifndef VISIBILITYFLAG_H
#define VISIBILITYFLAG_H

#include <QObject>

#include <atomic>

class QWidget;

/// Whether a widget is on screen, for readers on other threads.
///
/// Kept by the widget's show and hide events. Made and destroyed on the widget's thread; it must not be
/// moved, hence it has no parent that an instrument could take along.
class visibilityFlag : public QObject
{
    Q_OBJECT

public:
    explicit visibilityFlag(QWidget *watched);

    /// Any thread.
    bool isVisible() const { return m_visible; }

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    std::atomic<bool> m_visible;
};

#endif
