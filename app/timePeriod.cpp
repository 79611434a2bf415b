#include "app/timePeriod.h"

#include "lib/support/configKeys.h"

namespace {
constexpr unsigned int minutesPerHour = 60;
constexpr unsigned int noon = 12;
constexpr int daysPerWeek = 7;
const char *const dayCodes[daysPerWeek] = {"Mo ", "Tu ", "We ", "Th ", "Fr ", "Sa ", "Su "};

/// Stores the element's decimal integer, cut to the width of \a target.
template <class T>
std::function<void(const QDomElement &)> cutInto(T &target)
{
    return [&target](const QDomElement &element) { target = static_cast<T>(element.text().toInt()); };
}
}

void timePeriod::readXML(const QDomElement &element)
{
    const std::vector<configKey> keys{
        {"title", into(title)},
        {"daymask", cutInto(day)},
        {"starthour", cutInto(startHour)},
        {"startminute", cutInto(startMinute)},
        {"duration", cutInto(duration)},
    };
    readKeys(element, keys);
}

QString timePeriod::description() const
{
    QString text = title + QStringLiteral(" - On ");
    for (int i = 0; i < daysPerWeek; ++i) {
        if (day & (1U << i))
            text += QLatin1String(dayCodes[i]);
    }
    return text + QStringLiteral("From %1:%2 for %3 minutes").arg(startHour).arg(startMinute).arg(duration);
}

bool timePeriod::isOn(const QDateTime &t) const
{
    if (!checkDateMask(t))
        return false;
    const QTime time = t.time();
    const unsigned int now = unsigned(time.hour()) * minutesPerHour + unsigned(time.minute());
    return startOfDay() <= now && now < startOfDay() + duration;
}

bool timePeriod::checkDateMask(const QDateTime &t) const
{
    return day & (1U << (t.date().dayOfWeek() - 1));
}

QString timePeriod::offTime() const
{
    const unsigned int end = startOfDay() + duration;
    const unsigned int hour = end / minutesPerHour;
    const bool afternoon = hour > noon;
    return QString::asprintf(
        "%2u:%02u%s", afternoon ? hour - noon : hour, end % minutesPerHour, afternoon ? "pm" : "am");
}
