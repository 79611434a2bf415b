#include "lib/support/expression.h"

#include "lib/types/datastore.h"
#include "tests/support/launch.h"

#include <QScriptEngine>
#include <QTest>

#include <cmath>

namespace {
struct fixture {
    datastore store;
    expression tested;

    explicit fixture(const QString &script)
    {
        store.store("heatTimerOn", true);
        store.store("temperature", 20.5);
        store.store("x", 2);
        store.store("name", "12.5");
        store.store("text", "warm");
        store.store("ab", 7);
        store.store("pi2", 6.28);
        store.store("Math2", 1);
        QDomDocument document;
        QDomElement rule = document.createElement("Rule");
        rule.appendChild(document.createElement("EXPRESSION")).appendChild(document.createTextNode(script));
        tested.configure(rule);
        tested.assignDatastore(&store);
    }
};

/// What the script gives in an engine that has every value of the store set.
class reference
{
public:
    reference() { m_engine.globalObject().setProperty("pi", 3.141592653589793); }

    QPair<bool, double> evaluate(
        const datastore &store, const QString &script, const QString &key, const QVariant &value)
    {
        for (const auto &[name, number] : store.getNumbers())
            m_engine.globalObject().setProperty(name, number);
        m_engine.globalObject().setProperty(key, datastoreElementType::variantToDouble(value));
        const double result = m_engine.evaluate(script, QString(), 1).toNumber();
        return m_engine.hasUncaughtException() ? qMakePair(false, 0.0) : qMakePair(true, result);
    }

private:
    QScriptEngine m_engine;
};
}

class tst_expression : public QObject
{
    Q_OBJECT
private slots:
    void decides_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<bool>("result");
        const auto row = [](const char *script, bool ok, bool result) {
            QTest::newRow(script) << QString(script) << ok << result;
        };
        row("heatTimerOn == 1", true, true);
        row("temperature > 20 && x == 5", true, true); // x comes with the call, the store holds 2
        row("name", true, true);
        row("text", true, false);
        row("x - 5", true, false);
        row("x - 6", true, false);
        row("pi > 3.14159265358979 && pi < 3.1415926535898", true, true);
        row("", true, false);
        row("0/0", true, false);
        row("x >", false, false);
        row("neverStored > 1", false, false);
        row("throw 1", false, false);
    }
    void decides()
    {
        QFETCH(QString, script);
        fixture f(script);
        for (int round = 0; round < 2; ++round) { // the second one uses what the first compiled
            bool ok = !QTest::currentDataTag();
            QTEST(f.tested.evaluateBool("x", 5, &ok), "result");
            QTEST(ok, "ok");
        }
        QVERIFY(!f.tested.evaluateBool("x", 5, nullptr));
    }

    void seesEveryValueOfTheStore_data()
    {
        QTest::addColumn<QString>("script");
        for (const char *script : {"ab + x", "this['a' + 'b']", "this.ab", "eval('a' + 'b')", "\\u0061b",
                 "with ({y: 1}) ab + y", "var n = 0; for (var k in {a: 1, b: 2}) n += 1; n + ab",
                 "Function('return a' + 'b')()", "''.constructor.constructor('return a' + 'b')()",
                 "hasOwnProperty('a' + 'b') ? 3 : 4", "Object.keys(valueOf()).length", "new Object(ab) + 1",
                 "x = x + ab; x", "count = typeof count == 'undefined' ? 1 : count + 1",
                 "later = typeof fresh == 'undefined' ? -1 : fresh", "/* ab */ 'x' + 1", "ab ? x : text",
                 "ab/x/2", "(function(a) { return a * ab; })(x)", "temperature=1;temperature", "pi = pi + 1",
                 "NaN", "undefined", "x; syntax error", "[ab, x][0]", "Math.max(ab, x, pi2)"})
            QTest::newRow(script) << QString(script);
    }
    void seesEveryValueOfTheStore()
    {
        QFETCH(QString, script);
        fixture f(script);
        reference expected;
        const QList<QPair<QString, QVariant>> updates{
            {"x", 5}, {"fresh", 9}, {"ab", "3"}, {"other", true}, {"x", 1}};
        for (const auto &[key, value] : updates) {
            bool ok = false;
            const double result = f.tested.evaluateDouble(key, value, &ok);
            const auto [expectedOk, number] = expected.evaluate(f.store, script, key, value);
            QCOMPARE(ok, expectedOk);
            QVERIFY2(result == number || (std::isnan(result) && std::isnan(number)),
                qPrintable(QStringLiteral("%1 is %2, not %3").arg(key).arg(result).arg(number)));
            f.store.store(key, value);
        }
    }

    void takesTheLastExpressionOfARuleOnly()
    {
        expression tested;
        bool ok = false;
        tested.configure(xml("<rules><expression>1</expression></rules>"));
        QVERIFY(!tested.evaluateBool("x", 1, &ok) && ok); // an empty script, without a store
        tested.configure(xml("<RULE><expression>0</expression><Expression>x &gt; 0</Expression></RULE>"));
        QVERIFY(tested.evaluateBool("x", 1, &ok) && ok);
    }
};

QTEST_GUILESS_MAIN(tst_expression)
#include "tst_expression.moc"
