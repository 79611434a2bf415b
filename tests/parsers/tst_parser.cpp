#include "lib/parsers/parser.h"

#include "tests/support/fakeInterface.h"

#include <QtTest>

namespace {
class keeper : public parser
{
public:
    using parser::buffer;
    using parser::parser;
    void newDataInBuffer() override { ++calls; }
    int calls = 0;
};
}

class tst_parser : public QObject
{
    Q_OBJECT
private slots:
    void keepsTheNewestBytes_data()
    {
        QTest::addColumn<int>("limit");
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<QByteArray>("second");
        QTest::addColumn<QByteArray>("held");
        const QByteArray a100(100, 'a');
        const QByteArray old = a100.left(76) + QByteArray(924, 'o');
        QTest::newRow("both fit") << 1024 << QByteArray("ab") << QByteArray("cd") << QByteArray("abcd");
        QTest::newRow("the oldest go") << 1024 << old << a100 << old.mid(76) + a100;
        QTest::newRow("a large block stays whole")
            << 1024 << QByteArray("ab") << QByteArray(2000, 'n') << QByteArray(2000, 'n');
        QTest::newRow("a smaller limit") << 3 << QByteArray("ab") << QByteArray("cd") << QByteArray("bcd");
    }
    void keepsTheNewestBytes()
    {
        QFETCH(int, limit);
        QFETCH(QByteArray, first);
        QFETCH(QByteArray, second);
        fakeInterface line("line");
        keeper p(&line, nullptr);
        line.receive("before the connection");
        QCOMPARE(p.calls, 0);
        line.open(QIODevice::ReadWrite);
        p.setBufferSize(unsigned(limit));
        line.receive(first);
        line.receive(second);
        QTEST(p.buffer, "held");
        QCOMPARE(p.calls, 2);
        p.clearBuffer();
        QVERIFY(p.buffer.isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_parser)
#include "tst_parser.moc"
