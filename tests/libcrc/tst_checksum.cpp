#include "libcrc/src/checksum.h"

#include <QTest>

#include <functional>

using routine = std::function<quint64(const unsigned char *, size_t)>;
Q_DECLARE_METATYPE(routine)

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
    void givesThePublishedCheckValue_data()
    {
        QTest::addColumn<routine>("crc");
        QTest::addColumn<quint64>("check"); // of the nine characters "123456789"
        QTest::addColumn<quint64>("ofNull");
        const quint64 allOnes = ~quint64(0);
        QTest::newRow("ARC") << routine(crc_16) << quint64(0xBB3D) << quint64(0);
        QTest::newRow("MODBUS") << routine(crc_modbus) << quint64(0x4B37) << quint64(0xFFFF);
        QTest::newRow("XMODEM") << routine(crc_xmodem) << quint64(0x31C3) << quint64(0);
        QTest::newRow("SPI-FUJITSU") << routine(crc_ccitt_1d0f) << quint64(0xE5CC) << quint64(0x1D0F);
        QTest::newRow("IBM-3740") << routine(crc_ccitt_ffff) << quint64(0x29B1) << quint64(0xFFFF);
        QTest::newRow("DNP, bytes swapped") << routine(crc_dnp) << quint64(0x82EA) << quint64(0);
        QTest::newRow("KERMIT, bytes swapped") << routine(crc_kermit) << quint64(0x8921) << quint64(0);
        QTest::newRow("SICK, bytes swapped") << routine(crc_sick) << quint64(0x56A6) << quint64(0);
        QTest::newRow("CRC-32") << routine(crc_32) << quint64(0xCBF43926U) << quint64(0xFFFFFFFFU);
        QTest::newRow("ECMA-182") << routine(crc_64_ecma) << quint64(0x6C40DF5F0B497347U) << quint64(0);
        QTest::newRow("WE") << routine(crc_64_we) << quint64(0x62EC59E3F1A4F00AU) << allOnes;
        QTest::newRow("SHT7x") << routine(crc_8) << quint64(0xA2) << quint64(0);
    }
    void givesThePublishedCheckValue()
    {
        QFETCH(routine, crc);
        QTEST(crc(bytes("123456789"), 9), "check");
        QTEST(crc(nullptr, 9), "ofNull");
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
