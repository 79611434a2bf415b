#ifndef DECODER_H
#define DECODER_H

#include <QDomElement>
#include <QObject>
#include <QString>
#include <QVariant>

#include <memory>

class debugComponent;

/// Turns a block of bytes into key/value results.
///
/// The base is the contract only. Thread: that of the instrument which makes it.
class decoder : public QObject
{
    Q_OBJECT

public:
    /// Decodes every block that \a ioProtocol, any object with the signal dataOut(QByteArray), sends out.
    decoder(QObject *ioProtocol, QObject *parent);
    ~decoder() override;

    /// A child element "debug" enables the decoder's log, which is silent without it.
    virtual void configure(const QDomElement &block);

    std::unique_ptr<debugComponent> debug;
    QString name = QStringLiteral("decoder");

signals:
    void resultAvailable(const QString &key, const QVariant &value);

protected slots:
    virtual void decode(const QByteArray &data);

protected:
    QObject *const ioProtocol; // not owned
};

#endif
