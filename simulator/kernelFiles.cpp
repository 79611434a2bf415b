#include "simulator/kernelFiles.h"

#include "simulator/named.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cmath>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr int readerPollMs = 5;

constexpr named<kernelFiles::condition> fileConditions[] = {
    {"good", kernelFiles::good},
    {"crc", kernelFiles::badChecksum},
    {"cut", kernelFiles::cut},
    {"garbled", kernelFiles::garbled},
    {"empty", kernelFiles::empty},
    {"absent", kernelFiles::absent},
    {"slow", kernelFiles::slow},
};

QByteArray spoiled(QByteArray text, kernelFiles::condition c)
{
    switch (c) {
    case kernelFiles::badChecksum:
        return text.replace("YES", "NO");
    case kernelFiles::cut:
        return text.left(text.indexOf('\n') + 1);
    case kernelFiles::garbled:
        for (char &each : text)
            each = each >= '0' && each <= '9' ? '?' : each;
        return text;
    case kernelFiles::empty:
        return {};
    default:
        return text;
    }
}

/// The nearest number that such a file can hold; 0 for none at all.
int rounded(double value)
{
    constexpr double most = 1e6;
    return std::isnan(value) ? 0 : qRound(qBound(-most, value, most));
}

/// The driver's two lines for a 12-bit conversion; the checksum itself is not modelled.
QByteArray oneWireText(double degrees)
{
    const int sixteenths = rounded(degrees * 16.0);
    const QByteArray low = QByteArray::number(sixteenths & 0xff, 16).rightJustified(2, '0');
    const QByteArray high = QByteArray::number(sixteenths >> 8 & 0xff, 16).rightJustified(2, '0');
    const QByteArray pad = low + ' ' + high + " 4b 46 7f ff 0c 10 1c";
    return pad + " : crc=1c YES\n" + pad + " t=" + QByteArray::number(sixteenths * 1000 / 16) + '\n';
}

void replace(const QString &path, const QByteArray &content)
{
    QFile next(path + QStringLiteral(".next"));
    if (next.open(QIODevice::WriteOnly)) {
        next.write(content);
        next.close();
        std::rename(QFile::encodeName(next.fileName()).constData(), QFile::encodeName(path).constData());
    }
}
}

kernelFiles::kernelFiles(const QString &root)
    : m_root(root)
{
    connect(&m_slowTimer, &QTimer::timeout, this, &kernelFiles::serveSlow);
}

kernelFiles::~kernelFiles()
{
    allGood();
}

std::optional<kernelFiles::condition> kernelFiles::findCondition(const QString &name)
{
    return findNamed(fileConditions, name);
}

bool kernelFiles::setCondition(const QString &name, condition c, int delayMs)
{
    const auto found = m_files.find(name);
    if (found == m_files.end())
        return false;
    if (found->state == slow)
        releaseReaders(*found);
    found->state = c;
    found->delayMs = delayMs;
    show(*found);
    if (c == slow)
        m_slowTimer.start(readerPollMs);
    return true;
}

void kernelFiles::allGood()
{
    for (const QString &name : m_files.keys())
        setCondition(name, good, 0);
}

void kernelFiles::setSensor(const QString &id, double degrees)
{
    update(id, QStringLiteral("/sys/bus/w1/devices/%1/w1_slave").arg(id), oneWireText(degrees));
}

void kernelFiles::setLoad(double load)
{
    const QByteArray text = QByteArray::number(load, 'f', 2);
    update(QStringLiteral("loadavg"), QStringLiteral("/proc/loadavg"),
        text + ' ' + text + ' ' + text + " 1/120 4711\n");
}

void kernelFiles::setProcessorTemperature(double degrees)
{
    update(QStringLiteral("temp"), QStringLiteral("/sys/class/thermal/thermal_zone0/temp"),
        QByteArray::number(rounded(degrees * 1000.0)) + '\n');
}

void kernelFiles::update(const QString &name, const QString &path, const QByteArray &text)
{
    file &f = m_files[name];
    if (f.text == text)
        return;
    f.path = m_root + path;
    f.text = text;
    if (f.state != slow)
        show(f);
}

void kernelFiles::show(const file &f)
{
    const QString folder = QFileInfo(f.path).path();
    if (f.state == absent) {
        QFile::remove(f.path);
        if (folder.contains(QStringLiteral("/w1/"))) // a lost sensor takes its folder along
            QDir().rmdir(folder);
        return;
    }
    QDir().mkpath(folder);
    if (f.state != slow) {
        replace(f.path, spoiled(f.text, f.state));
        return;
    }
    const QByteArray next = QFile::encodeName(f.path + QStringLiteral(".next"));
    if (::mkfifo(next.constData(), 0644) == 0)
        std::rename(next.constData(), QFile::encodeName(f.path).constData());
}

void kernelFiles::serveSlow()
{
    bool any = false;
    for (file &f : m_files) {
        any |= f.state == slow;
        if (f.state == slow && f.answering < 0)
            serve(f);
    }
    if (!any)
        m_slowTimer.stop();
}

void kernelFiles::serve(file &f)
{
    // Opening the writing end succeeds only while somebody waits at the reading end.
    f.answering = ::open(QFile::encodeName(f.path).constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (f.answering >= 0)
        QTimer::singleShot(f.delayMs, Qt::PreciseTimer, this, [&f] { finish(f); });
}

void kernelFiles::finish(file &f)
{
    if (f.answering < 0)
        return;
    if (::write(f.answering, f.text.constData(), std::size_t(f.text.size())) < 0)
        perror("one-wire reader");
    ::close(f.answering);
    f.answering = -1;
}

/// Whoever waits at the file gets its text now; the file is about to be replaced.
void kernelFiles::releaseReaders(file &f)
{
    finish(f);
    f.answering = ::open(QFile::encodeName(f.path).constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    finish(f);
}
