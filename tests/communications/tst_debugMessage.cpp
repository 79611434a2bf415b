#include "lib/communications/debugMessage.h"

#include "lib/communications/socketErrorText.h"
#include "tests/support/printed.h"

#include <QTest>

namespace {
const QByteArray uuidBytes = QByteArray::fromHex("000102030405060708090a0b0c0d0e0f");
const QByteArray parentBytes = QByteArray::fromHex("f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff");

// Byte forms written out by hand.
const QByteArray debugBytes
    = QByteArray::fromHex("ff00") + uuidBytes + QByteArray::fromHex("0100000001000000 02000000 6f6b 0000");
const QByteArray registrationBytes = QByteArray::fromHex("ff01") + uuidBytes + parentBytes
    + QByteArray::fromHex("34120000 02000000 6f6b 0000");
const QByteArray taggedBytes = QByteArray::fromHex("ff03") + uuidBytes
    + QByteArray::fromHex("0100000001000000 11111111 22222222 02000000 6f6b 0000");

debugMessage sample()
{
    debugMessage m;
    m.UUID.fromByteArray(uuidBytes);
    m.parentUUID.fromByteArray(parentBytes);
    m.timestamp = 0x100000001;
    m.debugData = QStringLiteral("ok");
    m.componentName = QStringLiteral("ok");
    m.componentType = 0x1234;
    return m;
}
}

class tst_debugMessage : public QObject
{
    Q_OBJECT
private slots:
    void textAndRegistrationForms()
    {
        QCOMPARE(sample().createDebugMessage(), debugBytes);
        QCOMPARE(debugBytes.size(), 34);
        QCOMPARE(sample().createRegistrationMessage(), registrationBytes);
        debugMessage umlaut;
        umlaut.debugData = QStringLiteral("\u00FC\u20AC");
        QCOMPARE(umlaut.createDebugMessage().mid(26), QByteArray::fromHex("02000000 fc3f 0000"));
    }

    // Kept: one part for each of bool, int, double and text; the header names the last one.
    void dataFormHoldsEveryPartThatTheValueCanBe_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QByteArray>("sizeAndKind");
        QTest::addColumn<QByteArray>("parts");
        const auto row = [](const char *name, const QVariant &value, const char *head, const char *parts) {
            QTest::newRow(name) << value << QByteArray::fromHex(head) << QByteArray::fromHex(parts);
        };
        row("double", 21.5, "04000000 03000000", "01 16000000 0000000000803540 32312e35");
        row("true", true, "04000000 03000000", "01 01000000 000000000000f03f 74727565");
        row("text", QStringLiteral("on"), "02000000 03000000", "01 00000000 0000000000000000 6f6e");
        row("list", QVariantList{1}, "00000000 00000000", "");
        row("invalid", QVariant(), "00000000 00000000", "");
    }
    void dataFormHoldsEveryPartThatTheValueCanBe()
    {
        QFETCH(QVariant, value);
        QFETCH(QByteArray, sizeAndKind);
        QFETCH(QByteArray, parts);
        const QByteArray expected = QByteArray::fromHex("ff02") + uuidBytes + sizeAndKind
            + QByteArray::fromHex("01000000 6b") + parts + QByteArray(2, '\0');
        QCOMPARE(sample().createDataMessage(QStringLiteral("k"), value).toHex(), expected.toHex());
    }

    void parsesWhatItKnows()
    {
        debugMessage m;
        QVERIFY(m.parseMessage(debugBytes));
        QCOMPARE(int(m.messageType), 0);
        QVERIFY(m.UUID.isValid());
        QCOMPARE(m.UUID.byteArray(), uuidBytes);
        QCOMPARE(qint64(m.timestamp), qint64(0x100000001));
        QCOMPARE(m.timestampDateTime().toSecsSinceEpoch(), qint64(0x100000001));
        QCOMPARE(m.debugData, QStringLiteral("ok"));

        QVERIFY(m.parseMessage(registrationBytes));
        QCOMPARE(m.componentType, 0x1234U);
        QCOMPARE(m.parentUUID.byteArray(), parentBytes);
        QCOMPARE(m.componentName, QStringLiteral("ok"));

        QVERIFY(m.parseMessage(taggedBytes));
        QCOMPARE(int(m.messageType), 3);
        QCOMPARE(m.componentType, 2U); // Kept: read for every type; here it is the length of the tag
        QCOMPARE(m.tag, QStringLiteral("ok"));
    }

    void cutOrLyingMessagesGiveTheShorterText()
    {
        for (const QByteArray &whole : {debugBytes, registrationBytes, taggedBytes}) {
            for (int length = 0; length <= whole.size(); ++length) {
                debugMessage m;
                QVERIFY(m.parseMessage(QByteArray(whole.constData(), length))); // a copy: its end is guarded
                QCOMPARE(m.UUID.isValid(), length >= 18);
                const QString text = m.debugData + m.componentName + m.tag;
                QCOMPARE(text, QStringLiteral("ok").left(qMax(0, length - whole.size() + 4)));
            }
        }
        for (const char *length : {"ffffffff", "ffffff7f", "00000080"}) {
            debugMessage m;
            m.parseMessage(QByteArray(debugBytes).replace(26, 4, QByteArray::fromHex(length)));
            QVERIFY(m.debugData.size() <= 4);
        }
    }

    void printsTextsAndRegistrations()
    {
        debugMessage m = sample();
        const QByteArray uuid = "00010203-0405-0607-0809-0a0b0c0d0e0f\n";
        m.debugData = QStringLiteral("100 %s");
        QCOMPARE(printed([&] { m.printMessageDetails(); }),
            "Debug Message\n       My UUID = " + uuid + "     Timestamp = (4294967297) "
                + m.timestampDateTime().toString().toUtf8() + "\n    Debug Data = 100 %s\n");
        m.messageType = 1;
        QCOMPARE(printed([&] { m.printMessageDetails(); }),
            "Registration Message\nComponent Type = 4660\n       My UUID = " + uuid
                + "   Parent UUID = f0f1f2f3-f4f5-f6f7-f8f9-fafbfcfdfeff\nComponent Name = ok\n");
        m.messageType = 2;
        QCOMPARE(printed([&] { m.printMessageDetails(); }), QByteArray());
    }

    void socketErrorsHaveTheirTexts()
    {
        const auto text = [](int error) { return socketErrorText(QAbstractSocket::SocketError(error)); };
        QCOMPARE(text(-1), QStringLiteral("An unidentified error occurred."));
        QCOMPARE(
            text(QAbstractSocket::SocketTimeoutError), QStringLiteral("The socket operation timed out."));
        QStringList all;
        for (int error = -1; error <= QAbstractSocket::TemporaryError; ++error)
            all.append(text(error));
        QCOMPARE(all.removeDuplicates(), 0);
        QCOMPARE(all.indexOf(QString()), -1);
        QVERIFY(text(99).isEmpty());
        QVERIFY(text(-2).isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_debugMessage)
#include "tst_debugMessage.moc"
