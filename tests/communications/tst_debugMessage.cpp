#include "lib/communications/debugMessage.h"

#include "lib/communications/socketErrorText.h"
#include "tests/support/printed.h"

#include <QTest>

namespace {
// Byte forms written out by hand.
const QByteArray uuid = QByteArray::fromHex("000102030405060708090a0b0c0d0e0f");
const QByteArray parent = QByteArray::fromHex("f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff");
const QByteArray end = QByteArray::fromHex("02000000 6f6b 0000");
const QByteArray debugBytes
    = "\xFF" + QByteArray(1, 0) + uuid + QByteArray::fromHex("0100000001000000") + end;
const QByteArray registrationBytes = "\xFF\1" + uuid + parent + QByteArray::fromHex("34120000") + end;
const QByteArray taggedBytes
    = "\xFF\3" + uuid + QByteArray::fromHex("0100000001000000 11111111 22222222") + end;

debugMessage parsed(const QByteArray &bytes)
{
    debugMessage m;
    m.parseMessage(QByteArray(bytes.constData(), bytes.size())); // a copy: its end is guarded
    return m;
}
}

class tst_debugMessage : public QObject
{
    Q_OBJECT
private slots:
    void textAndRegistrationFormsBothWays()
    {
        const debugMessage text = parsed(debugBytes);
        QCOMPARE(text.debugData, QStringLiteral("ok"));
        QCOMPARE(qint64(text.timestamp), qint64(0x100000001));
        QCOMPARE(text.createDebugMessage(), debugBytes);
        QCOMPARE(printed([&] { text.printMessageDetails(); }),
            "Debug Message\n       My UUID = 00010203-0405-0607-0809-0a0b0c0d0e0f\n     Timestamp = "
            "(4294967297) "
                + text.timestampDateTime().toString().toUtf8() + "\n    Debug Data = ok\n");
        const debugMessage registration = parsed(registrationBytes);
        QCOMPARE(registration.createRegistrationMessage(), registrationBytes);
        QCOMPARE(printed([&] { registration.printMessageDetails(); }),
            QByteArray("Registration Message\nComponent Type = 4660\n"
                       "       My UUID = 00010203-0405-0607-0809-0a0b0c0d0e0f\n"
                       "   Parent UUID = f0f1f2f3-f4f5-f6f7-f8f9-fafbfcfdfeff\nComponent Name = ok\n"));
        QCOMPARE(parsed(taggedBytes).componentType, 2U); // Kept: read for every type; here it is a length
    }

    // Kept: one part for each of bool, int, double and text; the header names the last one.
    void dataFormHoldsEveryPartThatTheValueCanBe()
    {
        const QList<std::tuple<QVariant, const char *, const char *>> forms{
            {21.5, "04000000 03000000", "01 16000000 0000000000803540 32312e35"},
            {true, "04000000 03000000", "01 01000000 000000000000f03f 74727565"},
            {QString::fromUtf8("\xC3\xBC\xE2\x82\xAC"), "02000000 03000000",
                "01 00000000 0000000000000000 fc3f"},
            {QVariantList{1}, "00000000 00000000", ""}};
        for (const auto &[value, sizeAndKind, parts] : forms)
            QCOMPARE(parsed(debugBytes).createDataMessage("k", value).toHex(),
                "ff02" + uuid.toHex() + QByteArray(sizeAndKind).remove(8, 1) + "010000006b"
                    + QByteArray(parts).replace(" ", "") + "0000");
    }

    void cutOrLyingMessagesGiveTheShorterText()
    {
        for (const QByteArray &whole : {debugBytes, registrationBytes, taggedBytes}) {
            for (int length = 0; length <= whole.size(); ++length) {
                const debugMessage m = parsed(whole.left(length));
                QCOMPARE(m.UUID.isValid(), length >= 18);
                QCOMPARE(m.debugData + m.componentName + m.tag,
                    QStringLiteral("ok").left(qMax(0, length - whole.size() + 4)));
            }
        }
        for (const char *length : {"ffffffff", "ffffff7f", "00000080"})
            QVERIFY(
                parsed(QByteArray(debugBytes).replace(26, 4, QByteArray::fromHex(length))).debugData.size()
                <= 4);
    }

    void socketErrorsHaveTheirTexts()
    {
        QStringList all;
        for (int error = -2; error <= 99; ++error)
            all.append(socketErrorText(QAbstractSocket::SocketError(error)));
        QCOMPARE(all[1], QStringLiteral("An unidentified error occurred."));
        all.removeAll(QString());
        QCOMPARE(all.size(), QAbstractSocket::TemporaryError + 2);
        QCOMPARE(all.removeDuplicates(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_debugMessage)
#include "tst_debugMessage.moc"
