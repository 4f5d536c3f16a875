#include <corvane/expr/ExprEvaluator.h>

using namespace Qt::StringLiterals;

namespace corvane::expr {

std::atomic<quint64> gV2Hits = 0;
std::atomic<quint64> gV1FallbackHits = 0;

QVariant ExprEvaluator::evaluateViaV2(const CompiledExpression &compiled, const Values &scope,
                                      QString &error)
{
    if (!compiled.program) {
        ++gV1FallbackHits;
        error = u"v2 program missing"_s;
        return {};
    }
    ++gV2Hits;
    eval::Program &program = *compiled.program;
    for (const ExprBinding &binding : compiled.bindings) {
        const QVariant value = scope.value(binding.name);
        if (!value.isValid()) {
            error = u"'%1' has no value here"_s.arg(binding.name);
            return {};
        }
        program.set(binding.handle, slotValue(value, binding.type));
    }
    const auto outcome = program.evaluate();
    if (!outcome) {
        error = outcome.firstError().message;
        return {};
    }
    return program.get(compiled.result);
}

} // namespace corvane::expr
