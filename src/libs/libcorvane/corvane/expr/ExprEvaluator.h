#pragma once

#include <corvane/expr/BuiltinVariables.h>
#include <corvane/expr/CompiledExpression.h>

#include <QString>
#include <QVariant>

#include <atomic>

namespace corvane::expr {

/// How often evaluateViaV2() ran a program, and how often there was none to run.
extern std::atomic<quint64> gV2Hits;
extern std::atomic<quint64> gV1FallbackHits;

/// Evaluates compiled expressions over a set of named values.
class ExprEvaluator
{
public:
    void setVariable(const QString &name, const QVariant &value) { m_values.insert(name, value); }
    const Values &values() const { return m_values; }
    Values &values() { return m_values; }

    QVariant evaluate(const CompiledExpression &compiled, QString &error) const
    {
        return evaluateViaV2(compiled, m_values, error);
    }

    /// Invalid, with the reason in `error`, where the expression has no program, reads a name
    /// without a value, faults, or gives a value that is not finite.
    static QVariant evaluateViaV2(const CompiledExpression &compiled, const Values &scope,
                                  QString &error);

private:
    Values m_values;
};

} // namespace corvane::expr
