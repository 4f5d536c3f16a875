// Any bytes are a plan or an error; a plan has steps whose names are names, its placeholders end,
// and a failure leaves the plan that was there.

#include <corvane/zirn/LLMSession.h>
#include <corvane/zirn/PlanReader.h>
#include <corvane/zirn/ZirnTaskParams.h>

#include <cstdint>
#include <cstdlib>

using namespace Qt::StringLiterals;
using namespace corvane::zirn;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

void readAllWays(const QVariantMap &args)
{
    const ZirnTaskParams params(args);
    for (auto it = args.cbegin(); it != args.cend(); ++it) {
        params.getInt(it.key());
        params.getFloat(it.key());
        params.getString(it.key());
        params.getBool(it.key());
        params.getMap(it.key());
        params.getList(it.key());
    }
}

/// As a run would: what steps produce is made of their own arguments, so that placeholders lead
/// to each other in every way that the bytes can say.
void resolve(const TaskPlan &plan)
{
    QHash<QString, QString> variables;
    for (const TaskPlanStep &step : plan.steps) {
        QString error;
        const auto args = TaskPlan::resolvePlaceholders(step, variables, error);
        require(args.has_value() == error.isEmpty());
        readAllWays(args.value_or(step.args));
        for (auto it = step.produces.cbegin(); it != step.produces.cend(); ++it)
            variables.insert(it.key(), step.args.value(it.value()).toString());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray json(reinterpret_cast<const char *>(data), qsizetype(size));
    const TaskPlan before{.description = u"before"_s, .steps = {}};
    TaskPlan plan = before;
    QString error;
    if (!LLMSession::validatePlanJson(json, plan, error)) {
        require(plan == before && !error.isEmpty());
        return 0;
    }
    require(!plan.steps.isEmpty() && error.isEmpty());
    for (const TaskPlanStep &step : plan.steps)
        require(PlanReader::isTaskName(step.task));
    resolve(plan);
    return 0;
}
