#include "simulator/busFaults.h"

#include "simulator/named.h"

#include <cerrno>

namespace {
constexpr named<busFaults::kind> faultNames[] = {
    {"absent", busFaults::absent},
    {"nak", busFaults::nak},
    {"busy", busFaults::busy},
    {"short", busFaults::shortRead},
    {"ff", busFaults::ones},
    {"nan", busFaults::notANumber},
    {"inf", busFaults::infinite},
    {"big", busFaults::outOfRange},
    {"slow", busFaults::slow},
};
constexpr int floatSize = 4;

/// A float that is wrong in the given way, lowest byte first; empty for faults of another sort.
QByteArray wrongFloat(busFaults::kind what)
{
    switch (what) {
    case busFaults::notANumber:
        return QByteArray::fromHex("0000c07f");
    case busFaults::infinite:
        return QByteArray::fromHex("0000807f");
    case busFaults::outOfRange:
        return QByteArray::fromHex("286b6e4e"); // 10^9
    default:
        return {};
    }
}
}

std::optional<busFaults::kind> busFaults::find(const QString &name)
{
    return findNamed(faultNames, name);
}

void busFaults::clear(const QString &bus, int address)
{
    m_faults.remove({bus, address});
}

void busFaults::clearAll()
{
    m_faults.clear();
    m_replies.clear();
}

void busFaults::setReply(const QString &bus, int address, int reg, const QByteArray &bytes)
{
    if (bytes.isEmpty())
        m_replies.remove({{bus, address}, reg});
    else
        m_replies.insert({{bus, address}, reg}, bytes);
}

bool busFaults::is(const place &where, kind what) const
{
    const auto found = m_faults.constFind(where);
    return found != m_faults.constEnd() && found->what == what;
}

bool busFaults::isAbsent(const QString &bus) const
{
    return is({bus, -1}, absent);
}

std::optional<busFaults::kind> busFaults::use(const place &where)
{
    const auto found = m_faults.find(where);
    if (found == m_faults.end())
        return std::nullopt;
    const kind what = found->what;
    if (found->left > 0 && --found->left == 0)
        m_faults.erase(found);
    return what;
}

int busFaults::selectFailure(const QString &bus, int address)
{
    const place where{bus, address};
    return is(where, busy) && use(where) ? EBUSY : 0;
}

int busFaults::transferFailure(const QString &bus, int address)
{
    const place where{bus, address};
    if (isAbsent(bus))
        return ENODEV;
    return is(where, nak) && use(where) ? EREMOTEIO : 0;
}

int busFaults::delayMs(const QString &bus, int address) const
{
    const fault onBus = m_faults.value({bus, -1}, {slow, 0, -1});
    const fault onChip = m_faults.value({bus, address}, {slow, 0, -1});
    return (onBus.what == slow ? onBus.delayMs : 0) + (onChip.what == slow ? onChip.delayMs : 0);
}

QByteArray busFaults::spoil(const QString &bus, int address, int reg, QByteArray bytes)
{
    const place where{bus, address};
    if (const auto reply = m_replies.constFind({where, reg}); reply != m_replies.constEnd())
        bytes = reply->leftJustified(bytes.size(), '\xff', true);
    const std::optional<kind> what = use(where);
    if (what == shortRead)
        bytes.chop(1);
    else if (what == ones)
        bytes.fill('\xff');
    else if (what && bytes.size() == floatSize && !wrongFloat(*what).isEmpty())
        bytes = wrongFloat(*what);
    return bytes;
}
