#include "lib/communications/debugMessage.h"

#include <QTest>

namespace {
// Byte forms written out by hand.
const QByteArray uuid = QByteArray::fromHex("000102030405060708090a0b0c0d0e0f");
const QByteArray end = QByteArray::fromHex("02000000 6f6b 0000");
const QByteArray debugBytes
    = "\xFF" + QByteArray(1, 0) + uuid + QByteArray::fromHex("0100000001000000") + end;
const QByteArray registrationBytes
    = "\xFF\1" + uuid + QByteArray::fromHex("f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff 34120000") + end;
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
    void byteFormsBothWays()
    {
        QCOMPARE(parsed(debugBytes).createDebugMessage(), debugBytes);
        QCOMPARE(qint64(parsed(debugBytes).timestamp), qint64(0x100000001));
        QCOMPARE(parsed(registrationBytes).createRegistrationMessage(), registrationBytes);
        QCOMPARE(parsed(taggedBytes).componentType, 2U); // Kept: read for every type; here it is a length
        // Kept: one part for each of bool, int, double and text; the header names the last one.
        QCOMPARE(parsed(debugBytes).createDataMessage("k", 21.5).toHex(),
            "ff02" + uuid.toHex() + "0400000003000000010000006b01160000000000000000803540" + "32312e350000");
    }

    void cutMessagesGiveTheShorterText()
    {
        for (const QByteArray &whole : {debugBytes, registrationBytes, taggedBytes}) {
            for (int length = 0; length <= whole.size(); ++length) {
                const debugMessage m = parsed(whole.left(length));
                QCOMPARE(m.UUID.isValid(), length >= 18);
                QCOMPARE(m.debugData + m.componentName + m.tag,
                    QString("ok").left(qMax(0, length - whole.size() + 4)));
            }
        }
    }
};

QTEST_GUILESS_MAIN(tst_debugMessage)
#include "tst_debugMessage.moc"
