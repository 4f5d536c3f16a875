#include <corvane/zirn/TaskPlan.h>

#include <corvane/zirn/PlaceholderFiller.h>

namespace corvane::zirn {

std::optional<QVariantMap> TaskPlan::resolvePlaceholders(const TaskPlanStep &step,
                                                         const QHash<QString, QString> &variables,
                                                         QString &error)
{
    QVariantMap resolved = step.args;
    PlaceholderFiller filler(variables);
    for (auto it = step.args.cbegin(); it != step.args.cend(); ++it) {
        if (it->typeId() != QMetaType::QString)
            continue;
        QString text = it->toString();
        if (!filler.fill(it.key(), text)) {
            error = filler.error();
            return std::nullopt;
        }
        if (text != it->toString())
            resolved.insert(it.key(), text);
    }
    return resolved;
}

void TaskPlanResult::addStepResult(const ZirnTaskResult &result)
{
    stepResults.append(result);
    if (!result.success && failedStepIndex < 0)
        failedStepIndex = qint32(stepResults.size() - 1);
}

TaskPlanResult TaskPlanResult::rejected(const QString &message)
{
    TaskPlanResult result;
    result.addStepResult(ZirnTaskResult::failed(message));
    return result;
}

} // namespace corvane::zirn
