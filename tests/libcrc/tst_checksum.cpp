#include "libcrc/src/checksum.h"

#include <QTest>

#include <functional>

namespace {
const unsigned char *bytes(const QByteArray &text)
{
    return reinterpret_cast<const unsigned char *>(text.constData());
}
}

class tst_checksum : public QObject
{
    Q_OBJECT
private slots:
    void givesThePublishedCheckValue()
    {
        using routine = std::function<quint64(const unsigned char *, size_t)>;
        const quint64 allOnes = ~quint64(0);
        const QList<std::tuple<routine, quint64, quint64>> rows{// of "123456789", and of a null pointer
            {crc_16, 0xBB3D, 0}, {crc_modbus, 0x4B37, 0xFFFF}, {crc_xmodem, 0x31C3, 0},
            {crc_ccitt_1d0f, 0xE5CC, 0x1D0F}, {crc_ccitt_ffff, 0x29B1, 0xFFFF}, {crc_dnp, 0x82EA, 0},
            {crc_kermit, 0x8921, 0}, {crc_sick, 0x56A6, 0}, // bytes swapped
            {crc_32, 0xCBF43926U, 0xFFFFFFFFU}, {crc_64_ecma, 0x6C40DF5F0B497347U, 0},
            {crc_64_we, 0x62EC59E3F1A4F00AU, allOnes}, {crc_8, 0xA2, 0}};
        for (const auto &[crc, check, ofNull] : rows) {
            QCOMPARE(crc(bytes("123456789"), 9), check);
            QCOMPARE(crc(nullptr, 9), ofNull);
        }
    }

    void carriesOnByteByByte()
    {
        QByteArray data;
        quint16 arc = 0;
        quint16 ccitt = 0xFFFF;
        for (int length = 0; length < 70; ++length) { // crc_16() takes long texts in blocks
            QCOMPARE(arc, crc_16(bytes(data), size_t(length)));
            QCOMPARE(ccitt, crc_ccitt_ffff(bytes(data), size_t(length)));
            data.append(char(length * 37 + 11));
            arc = update_crc_16(arc, static_cast<unsigned char>(data.back()));
            ccitt = update_crc_ccitt(ccitt, static_cast<unsigned char>(data.back()));
        }
    }

    void nmeaSumsWhatStandsBetweenDollarAndStar()
    {
        const QMap<QByteArray, QByteArray> sums{{"$GPGLL,5300.97914,N,00259.98174,E,125926,A*28\r\n", "28"},
            {"$KO", "04"}, {"J\rX", "4A"}, {"J\nX", "4A"}, {"$$J", "6E"}, {"", "00"}};
        for (const QByteArray &text : sums.keys()) {
            unsigned char digits[3] = "??";
            QCOMPARE(checksum_NMEA(bytes(text), digits), digits);
            QCOMPARE(QByteArray(reinterpret_cast<char *>(digits)), sums[text]);
        }
        QVERIFY(!checksum_NMEA(nullptr, nullptr));
    }
};

QTEST_GUILESS_MAIN(tst_checksum)
#include "tst_checksum.moc"
