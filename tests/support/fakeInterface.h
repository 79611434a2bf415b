#ifndef FAKEINTERFACE_H
#define FAKEINTERFACE_H

#include "lib/interfaces/interface.h"

#include <QList>

#include <utility>

/// An interface without a device: opens as told, and hands out what the test lets it receive.
class fakeInterface : public interface
{
public:
    explicit fakeInterface(const QString &name, const hostSystem &host = hostSystem::real())
        : interface(host)
    {
        devName = name;
    }

    using interface::open;
    bool open(QIODevice::OpenMode mode) override
    {
        openModes.append(mode);
        if (opens)
            emit interfaceConnected();
        return opens;
    }
    QString errorString() override { return error; }
    QByteArray readAll() override { return std::exchange(m_pending, QByteArray()); }

    void receive(const QByteArray &bytes)
    {
        m_pending = bytes;
        emit readyRead();
    }

    bool opens = true;
    QString error = QStringLiteral("No error");
    QList<QIODevice::OpenMode> openModes; // of every open() so far

private:
    QByteArray m_pending;
};

#endif
