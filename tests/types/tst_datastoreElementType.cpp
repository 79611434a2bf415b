#include "lib/types/datastoreElementType.h"

#include "tests/support/printed.h"

#include <QTest>

namespace {
// key "t", double 21.5, written out by hand; the checksum is the CRC-16/ARC of everything but the last four
// bytes
const QByteArray doubleBytes
    = QByteArray::fromHex("abcd 19000000 01000000 74 06000000 0000000000803540 bacc");

template <class T>
QByteArray integer(T value)
{
    return QByteArray(reinterpret_cast<const char *>(&value), sizeof value);
}

/// A message with key "t" whose declared lengths and type are free to lie under a right checksum.
QByteArray message(quint32 length, quint32 keyLength, quint32 type, const QByteArray &value)
{
    const QByteArray body
        = QByteArray::fromHex("abcd") + integer(length) + integer(keyLength) + 't' + integer(type) + value;
    return body + integer(datastoreElementType::checksum(body));
}
}

class tst_datastoreElementType : public QObject
{
    Q_OBJECT
private slots:
    void valueAsNumber_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<double>("number");
        QTest::newRow("double") << QVariant(21.5) << 21.5;
        QTest::newRow("float") << QVariant(0.5F) << 0.5;
        QTest::newRow("int") << QVariant(-7) << -7.0;
        QTest::newRow("unsigned") << QVariant(4000000000U) << 4000000000.0;
        QTest::newRow("true") << QVariant(true) << 1.0;
        QTest::newRow("numeric text") << QVariant(QStringLiteral("3.25")) << 3.25;
        QTest::newRow("other text") << QVariant(QStringLiteral("on")) << 0.0;
        QTest::newRow("invalid") << QVariant() << 0.0;
        QTest::newRow("list") << QVariant(QVariantList{1, 2}) << 0.0;
    }
    void valueAsNumber()
    {
        QFETCH(QVariant, value);
        QTEST(datastoreElementType(QStringLiteral("k"), value).exprDblValue, "number");
    }

    void storeRefusesAnotherKey()
    {
        datastoreElementType element(QStringLiteral("heat"), 1.0);
        QVERIFY(!element.store(QStringLiteral("Heat"), 2.0));
        QCOMPARE(element.exprDblValue, 1.0);
        QVERIFY(element.store(QStringLiteral("heat"), true));
        QCOMPARE(element.value, QVariant(true));
        QVERIFY(datastoreElementType().updateTime().isNull());
    }

    void byteFormBothWays_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QByteArray>("bytes");
        const auto hex = [](const char *text) { return QByteArray::fromHex(text); };
        QTest::newRow("double") << QVariant(21.5) << doubleBytes;
        QTest::newRow("bool") << QVariant(true) << hex("abcd 12000000 01000000 74 01000000 01 0be3");
        QTest::newRow("int") << QVariant(-2) << hex("abcd 15000000 01000000 74 02000000 feffffff 7fe3");
        QTest::newRow("unsigned") << QVariant(0xFFFFFFFEU)
                                  << hex("abcd 15000000 01000000 74 03000000 feffffff 7e32");
        QTest::newRow("float") << QVariant(0.5F) << hex("abcd 15000000 01000000 74 26000000 0000003f 7927");
        QTest::newRow("text") << QVariant(QStringLiteral("on"))
                              << hex("abcd 13000000 01000000 74 0a000000 6f6e a262");
    }
    void byteFormBothWays()
    {
        QFETCH(QVariant, value);
        QFETCH(QByteArray, bytes);
        QCOMPARE(datastoreElementType(QStringLiteral("t"), value).serialise().toHex(), bytes.toHex());

        datastoreElementType received;
        QVERIFY(received.deserialise(bytes));
        QCOMPARE(received.key, QStringLiteral("t"));
        QCOMPARE(received.value, value);
        QCOMPARE(received.value.userType(), value.userType());
        QCOMPARE(received.exprDblValue, 0.0); // Kept: the number is the store's business
    }

    void textsAreWrittenAsLatin1AndReadAsUtf8()
    {
        const QString text = QString::fromUtf8("A long text, 21 \xC2\xB0\x43 \xE2\x82\xAC");
        const QByteArray bytes = datastoreElementType(text, text).serialise();
        QCOMPARE(bytes.mid(10, text.size()), QByteArray("A long text, 21 \xB0\x43 ?"));
        datastoreElementType received;
        QVERIFY(received.deserialise(bytes));
        QCOMPARE(received.key, QString::fromUtf8("A long text, 21 \xEF\xBF\xBD\x43 ?"));
        QCOMPARE(received.value.toString(), received.key);
    }

    void checksumLeavesOutTheLastTwoBytes()
    {
        QCOMPARE(datastoreElementType::checksum("1"), quint16(0));
        QCOMPARE(datastoreElementType::checksum("12"), quint16(0));
        QCOMPARE(datastoreElementType::checksum("123456789ab"), quint16(0xBB3D));
        // Kept: the end of the value is not covered.
        QByteArray changed = doubleBytes;
        changed[21] = changed[21] ^ 0x01;
        QVERIFY(datastoreElementType().deserialise(changed));
    }

    void refusesWhatIsCutOrChanged()
    {
        datastoreElementType held(QStringLiteral("k"), 7);
        for (int length = 0; length < doubleBytes.size(); ++length)
            QVERIFY2(!held.deserialise(doubleBytes.left(length)), QByteArray::number(length));
        for (int bit = 0; bit < doubleBytes.size() * 8; ++bit) {
            const bool covered = bit / 8 < 21 || bit / 8 > 22;
            QByteArray changed = doubleBytes;
            changed[bit / 8] = char(changed[bit / 8] ^ (1 << bit % 8));
            QVERIFY2(!covered || !held.deserialise(changed), QByteArray::number(bit));
        }
        QCOMPARE(held.key, QStringLiteral("k"));
        QCOMPARE(held.value, QVariant(7));
    }

    void declaredLengthsAndTypes_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QVariant>("value"); // invalid: refused
        const QByteArray value = doubleBytes.mid(15, 8);
        QTest::newRow("longer array") << message(25, 1, 6, value + "more") << QVariant(21.5);
        QTest::newRow("array one short") << message(26, 1, 6, value) << QVariant();
        QTest::newRow("no value") << message(17, 1, 6, {}) << QVariant();
        QTest::newRow("length 0") << message(0, 1, 6, value) << QVariant();
        QTest::newRow("length huge") << message(0xFFFFFFFFU, 1, 6, value) << QVariant();
        QTest::newRow("length negative") << message(0x80000019U, 1, 6, value) << QVariant();
        QTest::newRow("key to the end") << message(25, 9, 6, value) << QVariant();
        QTest::newRow("key behind the end") << message(25, 100, 6, value) << QVariant();
        QTest::newRow("key huge") << message(25, 0xFFFFFFFFU, 6, value) << QVariant();
        QTest::newRow("key wraps round") << message(25, 0xFFFFFFF2U, 6, value) << QVariant();
        QTest::newRow("double too short") << message(24, 1, 6, value.left(7)) << QVariant();
        QTest::newRow("int with more bytes")
            << message(25, 1, 2, QByteArray("\5\0\0\0rest", 8)) << QVariant(5);
        QTest::newRow("bool neither 0 nor 1") << message(18, 1, 1, "\x80") << QVariant(true);
        QTest::newRow("64 bits") << message(25, 1, 4, QByteArray(8, '\xFF')) << QVariant(qlonglong(-1));
        QTest::newRow("type that holds a pointer") << message(25, 1, 12, QByteArray(8, 'A')) << QVariant();
        QTest::newRow("no such type") << message(25, 1, 0x7FFFFFFF, value) << QVariant();
        QTest::newRow("type negative") << message(25, 1, 0xFFFFFFFFU, value) << QVariant();
    }
    void declaredLengthsAndTypes()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QVariant, value);
        datastoreElementType received;
        QCOMPARE(received.deserialise(bytes), value.isValid());
        QCOMPARE(received.value, value);
    }

    void aTypeWithoutAByteFormIsRefusedByTheReceiver()
    {
        const QByteArray bytes = datastoreElementType(QStringLiteral("t"), QByteArray("x")).serialise();
        QCOMPARE(bytes, QByteArray::fromHex("abcd 11000000 01000000 74 0c000000 715e"));
        QVERIFY(!datastoreElementType().deserialise(bytes));
    }

    void printsTheValueOnly_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("double") << QVariant(1234567.0) << QByteArray("1.23457e+06");
        QTest::newRow("float") << QVariant(0.5F) << QByteArray("0.5");
        QTest::newRow("int") << QVariant(-3) << QByteArray("-3");
        QTest::newRow("unsigned, printed as signed") << QVariant(0xFFFFFFFFU) << QByteArray("-1");
        QTest::newRow("bool") << QVariant(false) << QByteArray("false");
        QTest::newRow("text is no format")
            << QVariant(QStringLiteral("100 %s %n")) << QByteArray("100 %s %n");
        QTest::newRow("other") << QVariant(QByteArray("x")) << QByteArray();
    }
    void printsTheValueOnly()
    {
        QFETCH(QVariant, value);
        const datastoreElementType element(QStringLiteral("k"), value);
        QTEST(printed([&] { element.printData(); }), "text");
    }
};

QTEST_GUILESS_MAIN(tst_datastoreElementType)
#include "tst_datastoreElementType.moc"
