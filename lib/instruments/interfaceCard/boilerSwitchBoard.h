#ifndef BOILERSWITCHBOARD_H
#define BOILERSWITCHBOARD_H

#include "lib/instruments/instrument.h"
#include "lib/support/hostSystem.h"

#include <QPair>
#include <QVector>

#include <functional>

class bsbGuiCtrlChan;
class bsbGuiStatChan;
class i2cInterface;

/// The relay-and-sensor card of the heating installation, on I2C.
///
/// Publishes, once a period: "Prs1State" (int) with "Prs1Fault", "Prs1Low", "Prs1OK", "Prs1High" (bool),
/// "Pressure1" (double, bar), "Flowrate1" (double, l/min), "Current1" (double, A), "Power1Control" (bool, the
/// relay as read back), "Power1Sense" (bool, mains present, debounced), and the same with 2. Then writes the
/// demands "Power1Demand" and "Power2Demand" that stand in the store to the relays, whether or not they
/// changed.
/// A failed measurement publishes nothing and the sample goes on; only a bus that cannot be taken or
/// addressed is logged. A failed relay write is made good by the next sample. Thread: everything from start()
/// on runs on the instrument's own thread; the bus is taken for one exchange at a time. Source:
/// docs/protocols/switch-board.md, the card's command map.
class boilerSwitchBoard : public instrument
{
    Q_OBJECT

public:
    /// \a host must outlive the instrument. Builds the control widget: display thread.
    boilerSwitchBoard(datastore *store, QList<interface *> *ifaces, QObject *parent,
        const hostSystem &host = hostSystem::real());

    void configureInstrument(QDomElement block) override;

public slots:
    void start() override;
    /// Both relays off; sampling goes on.
    void stop() override;
    void takeSample();

signals:
    /// The configured titles, on their way to the widgets of the display thread.
    void channel1Named(const QString &title);
    void channel2Named(const QString &title);

private:
    /// One byte; with \a check, 0xFF is a missing value.
    bool measureUI8(quint8 command, quint8 *value, bool check);
    bool measureFloat(quint8 command, float *value, float min, float max);
    bool setRelay(quint8 command, bool on);

    bool exchange(const std::function<bool()> &attempt);
    bool exchangeOnBus(const std::function<bool()> &attempt);
    bool repeat(const std::function<bool()> &attempt);
    void useInterface(const QString &name);

    void samplePressureSwitch(quint8 command, const QString &prefix);
    void sampleFloat(quint8 command, const QString &key, float min, float max);
    void sampleRelay(quint8 command, const QString &key);
    void sampleMainsSense(quint8 command, const QString &key, qint8 &counter);
    void writeDemand(quint8 command, const QString &key);
    void answered(const QString &key, const QVariant &value);
    void passOn();

    const hostSystem &m_host;
    bool m_ch1Default = false;
    bool m_ch2Default = false;
    const quint8 m_dev = 0x30;
    qint8 r1sns = 0; // debounce counters of the mains-sense inputs, -6 to 6
    qint8 r2sns = 0;
    int m_sampleInterval = 1000; // ms
    bsbGuiCtrlChan *m_chan1;
    bsbGuiCtrlChan *m_chan2;
    bsbGuiStatChan *m_prsGui = nullptr; // Kept: not shown on any installation so far
    bsbGuiStatChan *m_flowGui = nullptr;
    QVector<QPair<QString, QVariant>> m_answers; // of the sample under way, not yet published
    QTimer *sampleTimer = nullptr;
    i2cInterface *i2cBus = nullptr; // not owned
};

#endif
