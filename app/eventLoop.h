#ifndef EVENTLOOP_H
#define EVENTLOOP_H

#include "lib/instruments/instrument.h"
#include "lib/interfaces/interface.h"
#include "lib/samplers/sampler.h"

#include <QDeadlineTimer>
#include <QDomElement>
#include <QList>
#include <QObject>
#include <QString>

#include <memory>
#include <vector>

class QThread;
class datastore;
class debugComponent;
class mainWindow;
class network;
class timer;

/// The loader: reads the system's configuration file, creates what it names, wires it to the data store and
/// to the upload queue, and starts every sampler and instrument on a thread of its own.
///
/// What cannot be read is logged; the timers, the upload queue and whatever was created run all the same.
/// Elements of an unknown kind or type are passed over without a word. Thread: display thread only.
class eventLoop : public QObject
{
    Q_OBJECT

public:
    /// Starts the upload queue. Store, root component and timers are not owned and must outlive the loader;
    /// \a gui may be null, then no control widget is shown.
    eventLoop(datastore *store, debugComponent *debug, mainWindow *gui, timer *waterTimer, timer *heatTimer,
        QObject *parent);
    /// Waits for all threads, however long it takes, then deletes what the configuration created.
    ~eventLoop() override;

    /// Creates what \a fileName names ("config.xml" when empty). True when the file was read, even if some of
    /// its elements were not understood; otherwise nothing was created.
    bool configureSystem(const QString &fileName);
    /// Takes \a added (not owned) among the instruments. \a element is its configuration block; null is
    /// allowed.
    void addInstrument(const QDomElement &element, instrument *added);
    /// Asks all threads to end as soon as they are back in their event loops, and waits until \a deadline.
    /// True when all have ended; the timers of what they ran are then stopped, and everything may be
    /// destroyed.
    bool finish(QDeadlineTimer deadline);

    debugComponent *const systemDebug; ///< the root of the diagnostic tree

public slots:
    /// Once, after all configuration.
    void start();
    /// Kept: does nothing; Shutdown calls it just before the machine is powered off.
    void stop() { }

private:
    std::unique_ptr<interface> makeInterface(const QString &type) const;
    std::unique_ptr<sampler> makeSampler(const QString &type);
    std::unique_ptr<instrument> makeInstrument(const QString &type);
    void readInterface(const QDomElement &element);
    void readSampler(const QDomElement &element);
    void readInstrument(const QDomElement &element);
    template <class T>
    void startOnThread(T *worker);

    datastore *const store;
    mainWindow *const m_gui;
    timer *const m_waterTimer;
    timer *const m_heatTimer;
    std::unique_ptr<debugComponent> instrumentDebug;
    std::unique_ptr<debugComponent> samplerDebug;
    std::unique_ptr<network> netCtrl;

    // In file order; instruments use interfaces, hence are destroyed before them.
    std::vector<std::unique_ptr<interface>> m_interfaces;
    std::vector<std::unique_ptr<sampler>> m_samplers;
    std::vector<std::unique_ptr<instrument>> m_instruments;
    std::vector<std::unique_ptr<QThread>> workerThread;

    QList<interface *> ifaceList; // handed by address to every instrument
    QList<sampler *> dataSampler;
    QList<instrument *> inst; // those that are not owned too
};

#endif
