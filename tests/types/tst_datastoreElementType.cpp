#include "lib/types/datastoreElementType.h"

#include "tests/support/printed.h"

#include <QTest>

namespace {
template <class T>
QByteArray integer(T value)
{
    return QByteArray(reinterpret_cast<const char *>(&value), sizeof value);
}

/// A message with key "t" whose declared lengths and type are free to lie under a right checksum.
QByteArray message(quint32 length, quint32 keyLength, quint32 type, const QByteArray &value)
{
    const QByteArray body = "\xAB\xCD" + integer(length) + integer(keyLength) + 't' + integer(type) + value;
    return body + integer(datastoreElementType::checksum(body));
}
}

class tst_datastoreElementType : public QObject
{
    Q_OBJECT
private slots:
    void valueAsNumberAndAsText()
    {
        const QList<std::tuple<QVariant, double, const char *>> forms{{1234567.0, 1234567.0, "1.23457e+06"},
            {0.5F, 0.5, "0.5"}, {-7, -7.0, "-7"}, {0xFFFFFFFFU, 4294967295.0, "-1"}, {true, 1.0, "true"},
            {"3.25", 3.25, "3.25"}, {"100 %s %n", 0.0, "100 %s %n"}, {QVariantList{1, 2}, 0.0, ""}};
        for (const auto &[value, number, text] : forms) {
            const datastoreElementType element(QStringLiteral("k"), value);
            QCOMPARE(element.exprDblValue, number);
            QCOMPARE(printed([&element = element] { element.printData(); }), QByteArray(text));
        }
    }

    void byteFormBothWays()
    {
        // Written out by hand; the checksum is the CRC-16/ARC of everything but the last four bytes.
        const QList<QPair<const char *, QVariant>> forms{
            {"abcd 19000000 01000000 74 06000000 0000000000803540 bacc", 21.5},
            {"abcd 12000000 01000000 74 01000000 01 0be3", true},
            {"abcd 15000000 01000000 74 02000000 feffffff 7fe3", -2},
            {"abcd 15000000 01000000 74 03000000 feffffff 7e32", 0xFFFFFFFEU},
            {"abcd 15000000 01000000 74 26000000 0000003f 7927", 0.5F},
            {"abcd 13000000 01000000 74 0a000000 6f6e a262", "on"}};
        for (const auto &[hex, value] : forms) {
            const QByteArray bytes = QByteArray::fromHex(hex);
            QCOMPARE(datastoreElementType("t", value).serialise().toHex(), bytes.toHex());
            datastoreElementType received;
            QVERIFY(received.deserialise(bytes));
            QVERIFY(received.key == "t" && received.value.userType() == value.userType());
            QCOMPARE(received.value, value);
        }
        // Kept: texts are written as Latin-1 and read as UTF-8.
        datastoreElementType text;
        QVERIFY(
            text.deserialise(datastoreElementType("t", QStringLiteral("21 \u00B0\x43 \u20AC")).serialise()));
        QCOMPARE(text.value.toString(), QStringLiteral("21 \uFFFD\x43 ?"));
    }

    void refusesWhatIsCutChangedOrLying()
    {
        const QByteArray value = integer(21.5);
        const QByteArray whole = message(25, 1, 6, value);
        datastoreElementType held(QStringLiteral("k"), 7);
        for (int length = 0; length < whole.size(); ++length)
            QVERIFY2(!held.deserialise(whole.left(length)), QByteArray::number(length));
        for (int bit = 0; bit < whole.size() * 8; ++bit) {
            QByteArray changed = whole;
            changed[bit / 8] = char(changed[bit / 8] ^ (1 << bit % 8));
            const bool covered = bit / 8 != 21 && bit / 8 != 22; // Kept: the end of the value is not
            datastoreElementType other;
            QCOMPARE((covered ? held : other).deserialise(changed), !covered);
        }
        for (const QByteArray &lying : {message(26, 1, 6, value), message(17, 1, 6, {}),
                 message(0, 1, 6, value), message(0x80000019U, 1, 6, value), message(25, 9, 6, value),
                 message(25, 0xFFFFFFFFU, 6, value), message(25, 0xFFFFFFF2U, 6, value),
                 message(24, 1, 6, value.left(7)), message(25, 1, 12, value),
                 message(25, 1, 0x7FFFFFFF, value)})
            QVERIFY2(!held.deserialise(lying), lying.toHex());
        QVERIFY(held.key == "k" && held.value == 7);
        QVERIFY(held.deserialise(message(25, 1, 2, integer(5) + "rest")) && held.value == 5);
    }
};

QTEST_GUILESS_MAIN(tst_datastoreElementType)
#include "tst_datastoreElementType.moc"
