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

/// The definition itself, a bit at a time.
quint16 arcBitwise(const QByteArray &data)
{
    quint16 crc = 0;
    for (const char each : data) {
        crc ^= quint8(each);
        for (int bit = 0; bit < 8; ++bit)
            crc = quint16((crc & 1) ? (crc >> 1) ^ 0xA001 : crc >> 1);
    }
    return crc;
}

QByteArray nmea(const QByteArray &text)
{
    unsigned char digits[3] = "??";
    return checksum_NMEA(bytes(text), digits) == digits ? reinterpret_cast<char *>(digits) : "";
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

    void crc16AgreesWithItsDefinitionAtEveryLength()
    {
        QByteArray data;
        quint16 stepwise = 0;
        for (int length = 0; length < 70; ++length) {
            QCOMPARE(crc_16(bytes(data), size_t(length)), arcBitwise(data));
            QCOMPARE(stepwise, arcBitwise(data));
            data.append(char(length * 37 + 11));
            stepwise = update_crc_16(stepwise, static_cast<unsigned char>(data.back()));
        }
    }

    void ccittByStepsIsCcittAtOnce()
    {
        quint16 crc = 0xFFFF;
        for (const char each : QByteArray("123456789"))
            crc = update_crc_ccitt(crc, static_cast<unsigned char>(each));
        QCOMPARE(crc, quint16(0x29B1));
    }

    void nmeaSumsWhatStandsBetweenDollarAndStar_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("digits");
        QTest::newRow("sentence") << QByteArray("$GPGLL,5300.97914,N,00259.98174,E,125926,A*28\r\n")
                                  << QByteArray("28");
        QTest::newRow("upper case, two digits") << QByteArray("$KO") << QByteArray("04");
        QTest::newRow("letters") << QByteArray("J") << QByteArray("4A");
        QTest::newRow("ends at a carriage return") << QByteArray("J\rX") << QByteArray("4A");
        QTest::newRow("ends at a line feed") << QByteArray("J\nX") << QByteArray("4A");
        QTest::newRow("a second dollar counts") << QByteArray("$$J") << QByteArray("6E");
        QTest::newRow("empty") << QByteArray("") << QByteArray("00");
    }
    void nmeaSumsWhatStandsBetweenDollarAndStar()
    {
        QFETCH(QByteArray, text);
        QTEST(nmea(text), "digits");
        QVERIFY(!checksum_NMEA(nullptr, nullptr));
    }
};

QTEST_GUILESS_MAIN(tst_checksum)
#include "tst_checksum.moc"
