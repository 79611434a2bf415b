#ifndef STATUSPANEL_H
#define STATUSPANEL_H

#include <QLabel>
#include <QTextDocument>
#include <QTimer>

#include <memory>

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

    /// Of the text last laid out; a new one is not laid out just to be asked for its size.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    /// Does what the base class does for rich text, but lays it out once instead of three times.
    void paintEvent(QPaintEvent *event) override;

private:
    void paintPending();
    const QTextDocument &laidOut() const;

    mutable std::unique_ptr<QTextDocument> m_layout; // null: to be made of the text
    mutable QString m_laidOutText;
    QTimer m_pause; // runs for a while after each repaint
    bool m_pending = false;
};

#endif
