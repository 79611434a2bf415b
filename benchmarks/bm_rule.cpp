// One evaluation of a rule beside the engine's own time for the same program with the same variables.
#include "benchmarks/ratios.h"
#include "lib/support/expression.h"
#include "lib/types/datastore.h"

#include <QCoreApplication>
#include <QDomDocument>
#include <QScriptEngine>

#include <benchmark/benchmark.h>

namespace {
const QString ruleText = QStringLiteral("heatTimerOn == 1 && value7 > 20.5");
const QString key = QStringLiteral("value7");

void fill(datastore &store, int count)
{
    store.store(QStringLiteral("heatTimerOn"), true);
    for (int i = 1; i < count; ++i)
        store.store(QStringLiteral("value%1").arg(i), i * 0.5);
}

QDomElement ruleElement(QDomDocument &document)
{
    document.setContent(QStringLiteral("<rule><expression><![CDATA[%1]]></expression></rule>").arg(ruleText));
    return document.documentElement();
}

void rule(benchmark::State &state)
{
    datastore store;
    fill(store, int(state.range(0)));
    QDomDocument document;
    expression rule;
    rule.assignDatastore(&store);
    rule.configure(ruleElement(document));
    double value = 20.0;
    bool ok = false;
    if (rule.evaluateBool(key, 20.0, &ok) || !rule.evaluateBool(key, 21.0, &ok))
        state.SkipWithError("wrong result");
    for (auto _ : state)
        benchmark::DoNotOptimize(rule.evaluateBool(key, value = 41.0 - value, &ok));
}
BENCHMARK(rule)->Arg(60)->Arg(300);

void ruleProgram(benchmark::State &state)
{
    QScriptEngine engine;
    QScriptValue global = engine.globalObject();
    const QScriptProgram program(ruleText);
    const QString timerKey = QStringLiteral("heatTimerOn");
    double value = 20.0;
    for (auto _ : state) {
        global.setProperty(timerKey, 1.0);
        global.setProperty(key, value = 41.0 - value);
        const QScriptValue result = engine.evaluate(program);
        benchmark::DoNotOptimize(!engine.hasUncaughtException() && result.toNumber() > 0);
    }
}
BENCHMARK(ruleProgram);
}

int main(int argc, char **argv)
{
    const QCoreApplication app(argc, argv);
    return runBenchmarks(argc, argv,
        {
            {"rule.300_vs_program", "rule/300", "ruleProgram"},
            {"rule.300_vs_60_keys", "rule/300", "rule/60"},
        });
}
