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
        const QList<QPair<QString, QVariant>> values{{"heatTimerOn", true}, {"temperature", 20.5}, {"x", 2},
            {"name", "12.5"}, {"text", "warm"}, {"ab", 7}, {"pi2", 6.28}, {"Math2", 1}};
        for (const auto &[key, value] : values)
            store.store(key, value);
        const QByteArray rule
            = "<Rule><expression>0</expression><EXPRESSION>" + script.toHtmlEscaped().toUtf8();
        tested.configure(xml("<rules><expression>1</expression></rules>")); // not a rule
        tested.configure(xml(rule + "</EXPRESSION></Rule>"));
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
    void decides()
    {
        const QStringList matching{"heatTimerOn == 1", "temperature > 20 && x == 5", "name",
            "pi > 3.14159265358979 && pi < 3.1415926535898"}; // x comes with the call, the store holds 2
        const QStringList failing{"x >", "neverStored > 1", "throw 1"};
        for (const QString &script : matching + failing + QStringList{"text", "x - 5", "x - 6", "", "0/0"}) {
            fixture f(script);
            bool ok = failing.contains(script);
            QVERIFY2(f.tested.evaluateBool("x", 5, &ok) == matching.contains(script), qPrintable(script));
            QVERIFY2(ok != failing.contains(script), qPrintable(script));
            QVERIFY(!f.tested.evaluateBool("x", 5, nullptr));
        }
    }

    void seesEveryValueOfTheStore()
    {
        const QList<QPair<QString, QVariant>> updates{
            {"x", 5}, {"fresh", 9}, {"ab", "3"}, {"other", true}, {"x", 1}};
        for (const char *script : {"ab + x", "this['a' + 'b']", "this.ab", "eval('a' + 'b')", "\\u0061b",
                 "with ({y: 1}) ab + y", "var n = 0; for (var k in {a: 1, b: 2}) n += 1; n + ab",
                 "Function('return a' + 'b')()", "''.constructor.constructor('return a' + 'b')()",
                 "hasOwnProperty('a' + 'b') ? 3 : 4", "Object.keys(valueOf()).length", "x = x + ab; x",
                 "count = typeof count == 'undefined' ? 1 : count + 1",
                 "later = typeof fresh == 'undefined' ? -1 : fresh", "/* ab */ 'x' + 1", "ab/x/2",
                 "temperature=1;temperature", "pi = pi + 1", "x; syntax error", "Math.max(ab, x, pi2)"}) {
            fixture f(script);
            reference expected;
            for (const auto &[key, value] : updates) {
                bool ok = false;
                const double result = f.tested.evaluateDouble(key, value, &ok);
                const auto [expectedOk, number] = expected.evaluate(f.store, script, key, value);
                const bool same = result == number || (std::isnan(result) && std::isnan(number));
                QVERIFY2(ok == expectedOk && same, script);
                f.store.store(key, value);
            }
        }
    }
};

QTEST_GUILESS_MAIN(tst_expression)
#include "tst_expression.moc"
