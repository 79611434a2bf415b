#include "tests/support/fakeHost.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

void fakeHost::write(const QString &path, const QByteArray &content)
{
    const QString real = this->path(path);
    QDir().mkpath(QFileInfo(real).path());
    QFile file(real);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(real));
}

void fakeHost::remove(const QString &path)
{
    QFile::remove(this->path(path));
}

void fakeHost::advance(qint64 ms)
{
    m_utcMs += ms;
    m_uptimeMs += ms;
}

void fakeHost::sleepMs(int ms) const
{
    m_sleptMs += ms;
    m_utcMs += ms;
    m_uptimeMs += ms;
}
