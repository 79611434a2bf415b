#ifndef SAMPLER_H
#define SAMPLER_H

#include <QDomElement>
#include <QList>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QVariant>

#include <memory>

class datastore;
class debugComponent;

/// Takes chosen values out of the store, on a period or when a watched value changes its truth; the derived
/// classes bring them somewhere.
///
/// Thread: configured on the display thread; everything from start() on runs on the sampler's own thread.
class sampler : public QObject
{
    Q_OBJECT

public:
    /// \a store must outlive the sampler.
    sampler(datastore *store, QObject *parent);
    ~sampler() override;

    /// Reads the keys common to all samplers, then configureSampler() reads the same element.
    void configure(const QDomElement &element);
    virtual void start();

    std::unique_ptr<debugComponent> debug;

public slots:
    /// The truth of \a dataKey has changed.
    virtual void edgeTrigger(const QString &dataKey, const QVariant &dataValue, bool rising);
    void takeSample();

public:
    virtual void configureSampler(const QDomElement &element);

protected:
    /// The interval for sampleTimer in ms: the configured period, or a minute, logged, where that is missing
    /// or of no use.
    int timerInterval();

    int samplePeriod = 0; // ms; 0 = not configured, or no number
    datastore *const store;
    QStringList subscribeList; // the keys to send, in the order of configuration
    QStringList
        triggerVariableList; // for each of them, the key whose edge sends it; empty = sent on the period
    /// For each of them, the edges that count: 0 not said, 1 falling, 2 rising, 3 both.
    /// Kept: a word that is none of these adds nothing, and the codes of all later keys move up by one.
    QList<int> triggerEdgeList;
    QTimer *sampleTimer = nullptr; // child of this, made on the sampler's thread

private:
    void addKey(const QDomElement &element);
};

#endif
