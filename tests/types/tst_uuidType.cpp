#include "lib/types/uuidType.h"

#include <QTest>

namespace {
const char text[] = "00010203-0405-0607-0809-0a0b0c0d0e0f";
const QByteArray bytes = QByteArray::fromHex("000102030405060708090a0b0c0d0e0f");
const char nil[] = "00000000-0000-0000-0000-000000000000";
}

class tst_uuidType : public QObject
{
    Q_OBJECT
private slots:
    void onlyReceivedBytesAreValid()
    {
        uuidType uuid;
        QCOMPARE(uuid.toString(), QString::fromLatin1(nil));
        QVERIFY(!uuid.isValid());

        uuid.generateUuid();
        QVERIFY(uuid != uuidType());
        QVERIFY(!uuid.isValid()); // Kept: only a UUID from another party is marked

        uuid.fromByteArray(bytes);
        QVERIFY(uuid.isValid());
        QCOMPARE(uuid.byteArray(), bytes);
        QCOMPARE(uuid.toString(), QString::fromLatin1(text));

        uuid.generateUuid();
        QVERIFY(!uuid.isValid());
    }

    void bytesOfAnotherLengthLeaveItClear_data()
    {
        QTest::addColumn<QByteArray>("received");
        QTest::newRow("none") << QByteArray();
        QTest::newRow("15") << bytes.left(15);
        QTest::newRow("17") << bytes + '\0';
    }
    void bytesOfAnotherLengthLeaveItClear()
    {
        QFETCH(QByteArray, received);
        uuidType uuid;
        uuid.fromByteArray(bytes);
        uuid.fromByteArray(received);
        QVERIFY(!uuid.isValid());
        QCOMPARE(uuid, uuidType());
    }

    void textIsReadWithoutTouchingTheFlag()
    {
        uuidType uuid;
        QVERIFY(uuid.fromString(QString::fromLatin1(text).toUpper()));
        QCOMPARE(uuid.byteArray(), bytes);
        QVERIFY(!uuid.isValid());
        QVERIFY(!uuid.fromString(QStringLiteral("00010203-0405-0607-0809")));
        QVERIFY(!uuid.fromString(QString()));
        QCOMPARE(uuid.byteArray(), bytes);
    }

    void equalityLooksAtTheBytesOnly()
    {
        uuidType received;
        received.fromByteArray(bytes);
        uuidType parsed;
        parsed.fromString(QString::fromLatin1(text));
        QVERIFY(received == parsed && received.isValid() != parsed.isValid());
        uuidType other;
        other.fromByteArray(QByteArray(bytes).replace(15, 1, "\xFF"));
        QVERIFY(other != received);
    }
};

QTEST_GUILESS_MAIN(tst_uuidType)
#include "tst_uuidType.moc"
