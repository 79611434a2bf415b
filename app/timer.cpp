#include "app/timer.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/support/configKeys.h"
#include "lib/support/xmlFile.h"

#include <QThread>
#include <QTimer>

#include <algorithm>

namespace {
constexpr int sampleInterval = 1000; // ms
constexpr int boostStep = 60;        // minutes
constexpr int longestBoost = 180;    // minutes
}

timer::timer(
    datastore *store, const QString &name, const QString &ctlFile, QThread *parent, const hostSystem &host)
    : instrument(store, nullptr, parent)
    , m_host(host)
    , m_ctlFile(ctlFile)
{
    this->name = QStringLiteral("timer");
    storagePrepend = name;
    debug->configure(QStringLiteral("Time Period Control (%1)").arg(name), componentTypes::timer);
}

void timer::start()
{
    readCtrlFile();
    sampleTimer = new QTimer(this);
    sampleTimer->setInterval(sampleInterval);
    connect(sampleTimer, &QTimer::timeout, this, &timer::takeSample);
    sampleTimer->start();
    debug->log(QStringLiteral("Timer started with following periods defined:"));
    for (const timePeriod &each : programme())
        debug->log(each.description());
}

void timer::takeSample()
{
    decoderResult(QStringLiteral("On"), isOn());
}

void timer::boost()
{
    const std::lock_guard lock(m_lock); // before the clock is read, see isOn()
    const QTime now = localTime().time();
    m_boost.startHour = quint8(now.hour());
    m_boost.startMinute = quint8(now.minute());
    m_boost.duration += boostStep;
    if (m_boost.duration > longestBoost)
        m_boost.duration = 0;
}

bool timer::isOn()
{
    // Before the clock is read: a boost pressed in between would seem to begin later than now, and be
    // cleared.
    const std::lock_guard lock(m_lock);
    const QDateTime now = localTime();
    if (m_boost.isOn(now))
        return true;
    m_boost.duration = 0;
    return m_advance.isOn(now) || std::any_of(period.cbegin(), period.cend(), [&now](const timePeriod &each) {
        return each.isOn(now);
    });
}

QString timer::operationText() const
{
    const QDateTime now = localTime();
    const std::lock_guard lock(m_lock);
    if (m_boost.isOn(now))
        return QStringLiteral("Boost until ") + m_boost.offTime();
    if (m_advance.isOn(now))
        return QStringLiteral("Advanced until ") + m_advance.offTime();
    for (const timePeriod &each : period) {
        if (each.isOn(now))
            return QStringLiteral("Standard timing until ") + each.offTime();
    }
    return QStringLiteral("Off");
}

void timer::readCtrlFile()
{
    debug->log(QStringLiteral("Loading control file ") + m_ctlFile + QStringLiteral("..."));
    if (m_ctlFile.isEmpty()) {
        debug->log(QStringLiteral("No control file provided."));
        return;
    }
    const std::optional<QDomDocument> document = loadXmlFile(m_ctlFile, *debug);
    if (!document)
        return;
    const QDomElement root = document->documentElement();
    if (root.tagName().toLower() != QLatin1String("heatingtimer")) {
        debug->log(QStringLiteral("This is not a heating timer control file."));
        return;
    }
    const std::lock_guard lock(m_lock);
    const auto append = [this](const QDomElement &element) {
        period.append(timePeriod());
        period.last().readXML(element);
    };
    readKeys(root, {{"period", append}});
}

QList<timePeriod> timer::programme() const
{
    const std::lock_guard lock(m_lock);
    return period;
}
