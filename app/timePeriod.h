#ifndef TIMEPERIOD_H
#define TIMEPERIOD_H

#include <QDateTime>
#include <QDomElement>
#include <QString>

/// One entry of a weekly switching programme: some days, a start and a length. A plain value.
///
/// A period lies within one day: what would run past midnight is cut off there, not carried into the next
/// day. All times are local.
class timePeriod
{
public:
    enum dayMaskType : quint8 {
        Monday = 1,
        Tuesday = 2,
        Wednesday = 4,
        Thursday = 8,
        Friday = 16,
        Saturday = 32,
        Sunday = 64,
        EveryDay = 127,
    };

    /// Takes over what the "period" element of a timer control file says; a missing child element leaves its
    /// field alone. No range is checked; numbers are cut to the field's width.
    void readXML(const QDomElement &element);
    /// Writes nothing: programmes are edited outside the system.
    void writeXML() { }

    /// "Morning - On Mo Tu From 6:30 for 90 minutes".
    QString description() const;
    /// From the start minute up to, not including, the end minute; seconds do not count.
    bool isOn(const QDateTime &t) const;
    /// Whether \a t lies on one of the period's days.
    bool checkDateMask(const QDateTime &t) const;
    /// The end as the display shows it: " 7:30am".
    /// Kept: the hour 12 is "am", and an end past midnight goes on counting (25:00 shows as "13:00pm").
    QString offTime() const;

    quint8 day = EveryDay;  ///< dayMaskType bits
    quint8 startHour = 0;   ///< 0-23
    quint8 startMinute = 0; ///< 0-59
    quint16 duration = 0;   ///< minutes; 0 is never on
    QString title = QStringLiteral("No title");

private:
    unsigned int startOfDay() const { return startHour * 60U + startMinute; }
};

#endif
