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
    void keepsTheNewestBytes()
    {
        fakeInterface line("line");
        keeper p(&line, nullptr);
        line.receive("before the connection");
        line.open(QIODevice::ReadWrite);
        p.setBufferSize(3);
        line.receive("ab");
        line.receive("cd");
        QCOMPARE(p.buffer, QByteArray("bcd"));
        line.receive("a large block stays whole");
        QCOMPARE(p.buffer, QByteArray("a large block stays whole"));
        QCOMPARE(p.calls, 3);
    }
};

QTEST_GUILESS_MAIN(tst_parser)
#include "tst_parser.moc"
