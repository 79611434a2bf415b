#include "app/wiringCheck.h"

#include <QDomDocument>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

namespace {
/// The mistakes of the example installation after \a from has become \a to in it.
QStringList mistakesAfter(const QByteArray &from, const QByteArray &to)
{
    QFile file(QStringLiteral(CALORIX_SOURCE_DIR "/config/config.xml"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no example");
    QByteArray text = file.readAll();
    if (!text.contains(from))
        qFatal("not in the example: %s", from.constData());
    text.replace(from, to);
    QDomDocument document;
    document.setContent(text, true);
    return wiringMistakes(document.documentElement());
}
}

class tst_wiringCheck : public QObject
{
    Q_OBJECT
private slots:
    void findsWhatOneBlockAloneCannotShow()
    {
        struct row {
            QByteArray from;
            QByteArray to;
            QString mistakes; // without the lines' numbers
        };
        const QList<row> rows{{"card1", "Card1", ""},
            {"card1Power1Demand", "Card1Power1Demand",
                "pumpout is \"Card1Power1Demand\", which no switch board reads"},
            {"<pumpout>card1Power1Demand</pumpout>", "<pump/>",
                "pumpout is \"NoPump\", which no switch board reads"},
            {"card1Power2Demand", "card1Power2Demnd",
                "boilerout is \"card1Power2Demnd\", which no switch board reads"},
            {"<fulloutchan>2</fulloutchan>", "",
                "fullout is \"valvePower0Demand\", which no switch board reads"},
            {"<midoutcard>valve</midoutcard>", "<MidOutCard>card1</MidOutCard>",
                "midout drives the relay that line # drives"},
            {"<dataprepend>valve</dataprepend>", "<active>False</active>",
                "midout is \"valvePower1Demand\", which no switch board reads\n"
                "fullout is \"valvePower2Demand\", which no switch board reads"},
            {"<dataprepend>thermostat</dataprepend>", "<dataprepend>CARD1</dataprepend>",
                "has the same prefix as the switch board of line #"},
            {"<device>/dev/i2c-3</device>", "<device>/dev/i2c-2</device>",
                "is on the same bus as the switch board of line #, and so drives the same relays"},
            {"<dataprepend>return</dataprepend>", "<dataprepend>flow</dataprepend>",
                "publishes the same key as the sensor of line #"},
            {"<chan1name>Mid", "<power><pin>4</pin></power><chan1name>Mid", ""},
            {"<sensor type=\"cpu\"/>", "<power/>", "an instrument of this type switches no supply"},
            {"<interface>environmentBus</interface>", "<power/>",
                "dropped, its interface must stand before it"}};
        for (const row &each : rows) {
            QStringList found = mistakesAfter(each.from, each.to);
            for (QString &mistake : found) {
                QVERIFY2(mistake.contains(QRegularExpression("^Line [1-9]\\d*: ")), qPrintable(mistake));
                mistake.remove(QRegularExpression("^Line \\d+: "));
                mistake.replace(QRegularExpression("line \\d+"), "line #");
            }
            QCOMPARE(found.join('\n'), each.mistakes);
        }
    }
};

QTEST_GUILESS_MAIN(tst_wiringCheck)
#include "tst_wiringCheck.moc"
