#ifndef FAKEINTERFACE_H
#define FAKEINTERFACE_H

#include "lib/interfaces/interface.h"

#include <utility>

/// An interface without a device: hands out what the test lets it receive.
class fakeInterface : public interface
{
public:
    explicit fakeInterface(const QString &name, const hostSystem &host = hostSystem::real())
        : interface(host)
    {
        devName = name;
    }

    using interface::open;
    bool open(QIODevice::OpenMode) override
    {
        emit interfaceConnected();
        return true;
    }
    QByteArray readAll() override { return std::exchange(m_pending, QByteArray()); }

    void receive(const QByteArray &bytes)
    {
        m_pending = bytes;
        emit readyRead();
    }

private:
    QByteArray m_pending;
};

#endif
