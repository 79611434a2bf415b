#include "lib/support/expression.h"

#include "lib/support/configKeys.h"
#include "lib/types/datastore.h"

#include <QRegularExpression>
#include <QScriptEngine>

namespace {
constexpr double pi = 3.141592653589793;
constexpr int firstLine = 1;

/// Every identifier of a script, comments and strings included.
QVector<QString> wordsOf(const QString &script)
{
    static const QRegularExpression word(
        QStringLiteral("[\\p{L}\\p{Nl}$_][\\w$\\p{M}\\p{Pc}\\x{200C}\\x{200D}]*"),
        QRegularExpression::UseUnicodePropertiesOption);
    QVector<QString> words;
    for (QRegularExpressionMatchIterator found = word.globalMatch(script); found.hasNext();) {
        const QString name = found.next().captured();
        if (!words.contains(name))
            words.append(name);
    }
    return words;
}

/// Whether a script with these words can reach a variable that it does not name: through the global object,
/// through a name that it composes, or through an escaped one.
bool reachesUnnamed(const QString &script, const QVector<QString> &words)
{
    static const QStringList ways{QStringLiteral("this"), QStringLiteral("eval"), QStringLiteral("with"),
        QStringLiteral("in"), QStringLiteral("Function"), QStringLiteral("constructor"),
        QStringLiteral("Object"), QStringLiteral("valueOf"), QStringLiteral("hasOwnProperty"),
        QStringLiteral("propertyIsEnumerable")};
    const auto isWay = [](const QString &word) { return ways.contains(word); };
    return script.contains(QLatin1Char('[')) || script.contains(QLatin1Char('\\'))
        || std::any_of(words.cbegin(), words.cend(), isWay);
}
}

expression::expression()
{
    compile();
}

expression::~expression() = default;

void expression::assignDatastore(datastore *store)
{
    CDS = store;
    if (scriptEngine)
        setVariable(QStringLiteral("pi"), pi);
}

void expression::configure(const QDomElement &element)
{
    if (element.tagName().toLower() != QLatin1String("rule"))
        return;
    readKeys(element, {{"expression", into(expressionText)}});
    compile();
}

double expression::evaluateDouble(const QString &key, const QVariant &value, bool *ok)
{
    *ok = false;
    if (m_needsAll)
        setAllVariables();
    else
        setNamedVariables();
    // The store may not hold the new value yet.
    if (m_needsAll || m_names.contains(key))
        setVariable(key, datastoreElementType::variantToDouble(value));
    const QScriptValue result = engine().evaluate(m_program);
    if (engine().hasUncaughtException())
        return 0.0;
    *ok = true;
    return result.toNumber();
}

bool expression::evaluateBool(const QString &key, const QVariant &value, bool *ok)
{
    return ok && evaluateDouble(key, value, ok) > 0;
}

void expression::compile()
{
    m_program = QScriptProgram(expressionText, QString(), firstLine);
    m_names = wordsOf(expressionText);
    m_needsAll = reachesUnnamed(expressionText, m_names);
}

QScriptEngine &expression::engine()
{
    if (!scriptEngine) {
        scriptEngine = std::make_unique<QScriptEngine>();
        if (CDS)
            setVariable(QStringLiteral("pi"), pi);
    }
    return *scriptEngine;
}

void expression::setVariable(const QString &name, double value)
{
    engine().globalObject().setProperty(name, value);
}

void expression::setAllVariables()
{
    if (!CDS)
        return;
    const QVector<QPair<QString, double>> numbers = CDS->getNumbers();
    for (const auto &[key, number] : numbers)
        setVariable(key, number);
}

/// The result is the same as with all variables set, at a cost that does not grow with the store.
void expression::setNamedVariables()
{
    if (!CDS)
        return;
    for (const QString &name : qAsConst(m_names)) {
        if (const std::optional<double> number = CDS->number(name))
            setVariable(name, *number);
    }
}
