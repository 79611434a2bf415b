#ifndef FLASHLED_H
#define FLASHLED_H

#include <QColor>
#include <QWidget>

class QTimer;

/// A round, domed indicator lamp in a bezel; steady, or dark again by itself after a set time.
///
/// Display thread only.
class flashLED : public QWidget
{
    Q_OBJECT

public:
    /// \a size in pixels, both ways; \a durn in ms, 0 = steady. Starts dark, which shows \a off.
    flashLED(int size, const QColor &on, const QColor &off, quint16 durn = 0, QWidget *parent = nullptr);

public slots:
    void set(bool ledOn);
    /// Lights the lamp; a flashing one for its duration from now, also when it is lit already.
    void on();
    void off();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void become(const QColor &colour, bool lit);

    QColor m_on;
    QColor m_off;
    quint16 m_durn; // ms
    bool state = false;
    QColor currCol;
    QTimer *m_flashTimer;
};

#endif
