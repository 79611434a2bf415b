#include "lib/support/expression.h"

#include "lib/types/datastore.h"
#include "tests/support/launch.h"

#include <QScriptEngine>
#include <QTest>

namespace {
using answer = QPair<bool, QString>; // whether the script ran, and its number

struct fixture {
    datastore store;
    expression tested;
    QScriptEngine reference; // gets every value of the store

    explicit fixture(const QString &script)
    {
        const QList<QPair<QString, QVariant>> values{{"heatTimerOn", true}, {"temperature", 20.5}, {"x", 2},
            {"name", "12.5"}, {"text", "warm"}, {"ab", 7}, {"pi2", 6.28}, {"Math2", 1}};
        for (const auto &[key, value] : values)
            store.store(key, value);
        tested.configure(xml("<rules><expression>1</expression></rules>")); // not a rule
        tested.configure(xml("<Rule><expression>0</expression><EXPRESSION>" + script.toHtmlEscaped().toUtf8()
            + "</EXPRESSION></Rule>"));
        tested.assignDatastore(&store);
        reference.globalObject().setProperty("pi", 3.141592653589793);
    }
    answer given(const QString &key, const QVariant &value)
    {
        bool ok = false;
        const double number = tested.evaluateDouble(key, value, &ok);
        return {ok, QString::number(number)};
    }
    answer expected(const QString &script, const QString &key, const QVariant &value)
    {
        for (const auto &[name, number] : store.getNumbers())
            reference.globalObject().setProperty(name, number);
        reference.globalObject().setProperty(key, datastoreElementType::variantToDouble(value));
        const double number = reference.evaluate(script).toNumber();
        const bool ok = !reference.hasUncaughtException();
        return {ok, QString::number(ok ? number : 0.0)};
    }
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
        for (const char *script : {"ab + x", "this['a' + 'b']", "eval('a' + 'b')", "\\u0061b",
                 "with ({y: 1}) ab + y", "var n = 0; for (var k in {a: 1, b: 2}) n += 1; n + ab",
                 "Function('return a' + 'b')()", "''.constructor.constructor('return a' + 'b')()",
                 "hasOwnProperty('a' + 'b') ? 3 : 4", "Object.keys(valueOf()).length", "x = x + ab; x",
                 "count = typeof count == 'undefined' ? 1 : count + 1",
                 "later = typeof fresh == 'undefined' ? -1 : fresh", "/* ab */ 'x' + 1", "pi = pi + 1",
                 "x; syntax error", "Math.max(ab, x, pi2)"}) {
            fixture f(script);
            const QList<QPair<QString, QVariant>> updates{{"x", 5}, {"fresh", 9}, {"ab", "3"}, {"x", 1}};
            for (const auto &[key, value] : updates) {
                QVERIFY2(f.given(key, value) == f.expected(script, key, value), script);
                f.store.store(key, value);
            }
        }
    }
};

QTEST_GUILESS_MAIN(tst_expression)
#include "tst_expression.moc"
