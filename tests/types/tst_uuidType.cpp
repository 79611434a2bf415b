#include "lib/types/uuidType.h"

#include <QTest>

class tst_uuidType : public QObject
{
    Q_OBJECT
private slots:
    void onlyReceivedBytesAreValid()
    {
        const QByteArray bytes = QByteArray::fromHex("000102030405060708090a0b0c0d0e0f");
        const QString text = QStringLiteral("00010203-0405-0607-0809-0a0b0c0d0e0f");
        uuidType parsed;
        QVERIFY(parsed.fromString(text.toUpper()) && !parsed.fromString("00010203-0405-0607-0809"));
        QVERIFY(!parsed.isValid());
        for (const QByteArray &other : {QByteArray(), bytes.left(15), bytes + '\0'}) {
            uuidType received;
            received.fromByteArray(bytes);
            QVERIFY(received.isValid() && received == parsed && received.byteArray() == bytes);
            QCOMPARE(received.toString(), text);
            received.fromByteArray(other);
            QVERIFY(!received.isValid() && received == uuidType());
            received.generateUuid();
            QVERIFY(!received.isValid() && received != uuidType()); // Kept: not marked, though good
        }
    }
};

QTEST_GUILESS_MAIN(tst_uuidType)
#include "tst_uuidType.moc"
