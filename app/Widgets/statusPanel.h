#ifndef STATUSPANEL_H
#define STATUSPANEL_H

#include <QLabel>
#include <QTimer>

/// A rich-text label for text that changes far more often than anybody can read.
///
/// text() is right at every moment; reading the rich text, laying it out and painting it is most of the work
/// and happens ten times a second at most. A change is on the screen at most 100 ms later.
/// Display thread only.
class statusPanel : public QLabel
{
    Q_OBJECT

public:
    explicit statusPanel(const QString &text, QWidget *parent = nullptr);

    /// Sets the text at once and has it painted when its turn comes.
    void showStatus(const QString &richText);

    /// Worked out anew when lines come or go, not for every new value: that would lay the text out each time.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void changeEvent(QEvent *event) override;

private:
    void paintPending();

    QTimer m_pause; // runs for a while after each repaint
    bool m_pending = false;
    mutable QSize m_hint; // invalid: to be worked out
};

#endif
