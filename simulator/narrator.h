#ifndef NARRATOR_H
#define NARRATOR_H

#include <QElapsedTimer>
#include <QObject>

class simulation;

/// Says in plain words, on standard output, what happens in the house: who calls for heat, what runs, how
/// warm it gets. It knows only what the relays and the plant show.
class narrator : public QObject
{
    Q_OBJECT

public:
    /// \a observed must outlive the narrator.
    explicit narrator(simulation &observed);

    static void say(const QString &text);

private:
    struct scene {
        bool room = false, tank = false, pump = false, boiler = false, mid = false, full = false;
    };

    void look();
    scene now() const;
    void tellDemands(const scene &s);
    void tellMachines(const scene &s);
    void tellTemperatures();

    simulation &m_observed;
    scene m_last;
    QElapsedTimer m_sinceTemperatures;
};

#endif
