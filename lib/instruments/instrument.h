#ifndef INSTRUMENT_H
#define INSTRUMENT_H

#include <QDomElement>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariant>
#include <QWidget>

#include <memory>

class QTimer;
class datastore;
class debugComponent;
class decoder;
class interface;
class parser;
class powerControl;
class protocol;

/// A data source: everything that measures, decides or receives publishes its values as one of these.
///
/// Publishes resultAvailable() through decoderResult(), which puts the instrument's prefix in front of the
/// key. Thread: constructed and configured on the display thread, then moved to a thread of its own;
/// everything from start() on runs there. The control widget stays on the display thread and is touched there
/// only.
class instrument : public QObject
{
    Q_OBJECT

public:
    /// Neither \a store nor \a ifaces is owned. Interfaces may still be added to the list until start().
    instrument(datastore *store, QList<interface *> *ifaces, QObject *parent);
    /// Deletes the control widget, unless a display has taken it over.
    ~instrument() override;

    /// Reads the keys that all instruments have and keeps \a block for configureInstrument(). An "active" of
    /// false ends the reading: what stands before it counts, the block is not kept.
    void configure(const QDomElement &block);
    /// Reads the instrument's own keys; called at start(), with a null block when none was kept.
    virtual void configureInstrument(QDomElement block);

    /// The first interface of exactly this name, or null.
    interface *getInterface(const QString &name) const;

    std::unique_ptr<debugComponent> debug;
    QString name = QStringLiteral("Instrument");
    QPointer<QWidget> control; ///< for the service display; made in the constructor, null if there is none
    QPointer<QWidget> status;  ///< the same, null in all present instruments

public slots:
    /// Configures, opens the interface and wires the stages. Most instruments replace it whole.
    virtual void start();
    virtual void stop();

signals:
    void resultAvailable(const QString &key, const QVariant &value);

protected slots:
    /// The one way out for every result: publishes \a value under the prefixed \a key.
    void decoderResult(const QString &key, const QVariant &value);

protected:
    /// Starts the power controller of \a used on this instrument's thread, if the configuration gave it a
    /// pin. Every instrument that uses an interface calls this at its start(), before it opens or grabs it.
    /// An interface that stands behind the instrument in the file, so that configure() did not find it yet,
    /// is attached now.
    void startInterfacePower(interface *used);
    /// The stored value as a truth, which QVariant rounds; a key without a value is false.
    bool reads(const QString &key) const;

    bool directStoreUpdate = false; // no key sets it
    QDomElement configXML;
    datastore *const CDS;
    QString storagePrepend = QLatin1String("");
    interface *iface = nullptr; // not owned
    parser *parse = nullptr;
    protocol *proto = nullptr;
    QList<decoder *> decode;
    powerControl *power = nullptr; // a controller of the instrument's own; the "power" key is the interface's
    QTimer *commsHealthCheck = nullptr; // made by start(), for an instrument to start that wants it

private slots:
    void checkComms();

private:
    void useInterface(const QString &name);
    void configurePower(const QDomElement &element);
    void attach(interface *used);
    void startStages();

    QList<interface *> *const ifaceList;
    QList<interface *> m_attached; // those whose results come here
};

#endif
