#ifndef EXPRESSION_H
#define EXPRESSION_H

#include <QDomElement>
#include <QScriptProgram>
#include <QString>
#include <QVariant>
#include <QVector>

#include <memory>

class QScriptEngine;
class datastore;

/// One rule: a script expression over the keys of the data store, every value seen as a number.
///
/// Thread: configured on any thread before the first evaluation, then used on one; the script engine is made
/// there, by the first evaluation. Variables that the script sets last until the next evaluation and beyond.
class expression
{
public:
    expression();
    ~expression();

    /// The store whose values the rule sees (not owned), and the constant pi.
    void assignDatastore(datastore *store);
    /// Takes the text of the last "expression" inside \a element; any other element than "rule" is ignored.
    void configure(const QDomElement &element);

    /// Value of the expression while \a key has \a value, whatever the store still holds for it. On a script
    /// error 0, and \a ok (not null) is false.
    double evaluateDouble(const QString &key, const QVariant &value, bool *ok);
    /// Whether that value is greater than 0; false if \a ok is null.
    bool evaluateBool(const QString &key, const QVariant &value, bool *ok);

private:
    void compile();
    QScriptEngine &engine();
    void setVariable(const QString &name, double value);
    void setAllVariables();
    void setNamedVariables();

    datastore *CDS = nullptr;
    QString expressionText;
    std::unique_ptr<QScriptEngine> scriptEngine; // null until the first evaluation
    QScriptProgram m_program;
    QVector<QString> m_names; // every word of the text that could name a key
    bool m_needsAll = false;  // the text could reach keys that it does not name
};

#endif
