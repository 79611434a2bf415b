#include "lib/encoders/thingsboardJson.h"

#include <QTest>

#include <limits>

class tst_thingsboardJson : public QObject
{
    Q_OBJECT
private slots:
    void writesEachTypeInItsOwnWay()
    {
        const QList<QPair<QVariant, QByteArray>> forms{{21.0, "21"}, {-0.25, "-0.25"},
            {1.0 / 3.0, "0.333333"}, {999999.5, "1e+06"}, {1234567.0, "1.23457e+06"}, {0.0001, "0.0001"},
            {0.000012, "1.2e-05"}, {1.5e-300, "1.5e-300"}, {-std::numeric_limits<double>::infinity(), "-inf"},
            {0.1F, "0.1"}, {16777216.0F, "1.67772e+07"}, {std::numeric_limits<int>::min(), "-2147483648"},
            {true, "1"}, {false, "0"}, {"", "\"\""}, {"a\"b\\\n", "\"a\"b\\\n\""}, // not escaped
            {QString(QChar(0xB0)) + QChar(0x20AC), "\"\xB0?\""}, {7U, {}}, {qlonglong(7), {}},
            {QDateTime::fromMSecsSinceEpoch(0), {}}, {QByteArray("x"), {}}, {QVariant(), {}}};
        for (const auto &[value, text] : forms) {
            QCOMPARE(thingsboardJson::convertVariant(value), text);
            QCOMPARE(thingsboardJson::convertVariant(value).isNull(), text.isNull());
        }
    }
};

QTEST_GUILESS_MAIN(tst_thingsboardJson)
#include "tst_thingsboardJson.moc"
