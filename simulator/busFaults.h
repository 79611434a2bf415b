#ifndef BUSFAULTS_H
#define BUSFAULTS_H

#include <QByteArray>
#include <QHash>
#include <QString>

#include <optional>

/// What is wrong with the buses and the chips on them, now. Address -1 stands for the bus itself.
class busFaults
{
public:
    enum kind {
        absent,    // the bus has no device file
        nak,       // the chip does not acknowledge its address
        busy,      // the kernel refuses the address
        shortRead, // one byte less than asked for
        ones,      // every byte read is 0xFF
        notANumber,
        infinite,
        outOfRange, // floats read as NaN, infinity, 10^9; other reads are left alone
        slow        // answers after a delay
    };
    struct fault {
        kind what;
        int delayMs = 0;
        int left = -1; // transfers it still spoils; -1 without end
    };

    static std::optional<kind> find(const QString &name);

    void set(const QString &bus, int address, const fault &f) { m_faults.insert({bus, address}, f); }
    void clear(const QString &bus, int address);
    void clearAll();
    /// Bytes that the chip's register reads as, whatever the chip says; empty takes it away.
    void setReply(const QString &bus, int address, int reg, const QByteArray &bytes);

    bool isAbsent(const QString &bus) const;
    /// The errno that selecting the chip fails with, or 0.
    int selectFailure(const QString &bus, int address);
    /// The errno that a transfer to the chip fails with, or 0.
    int transferFailure(const QString &bus, int address);
    /// How long the answer to this transfer takes, in ms.
    int delayMs(const QString &bus, int address) const;
    /// The bytes as the faults let them through.
    QByteArray spoil(const QString &bus, int address, int reg, QByteArray bytes);

private:
    using place = QPair<QString, int>;
    /// The fault at this place, counted as having had its effect once.
    std::optional<kind> use(const place &where);
    bool is(const place &where, kind what) const;

    QHash<place, fault> m_faults;
    QHash<QPair<place, int>, QByteArray> m_replies;
};

#endif
