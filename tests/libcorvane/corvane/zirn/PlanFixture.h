#pragma once

#include <corvane/zirn/ZirnTask.h>
#include <corvane/zirn/ZirnTaskRegistry.h>
#include <corvane/zirn/ZirnTaskRuntime.h>

#include <QSignalSpy>
#include <QTest>

#include <functional>

namespace corvane::zirn {

using Body = std::function<ZirnTaskResult(const ZirnTaskParams &, ZirnTaskContext *)>;

/// A task whose work is a function; the rest of it is set from outside.
class FunctionTask : public ZirnTask
{
public:
    explicit FunctionTask(const QString &taskName, Body body = {})
        : ZirnTask(taskName, {}, {}, {}, {})
        , m_body(std::move(body))
    {}
    QStringList resourceScopes() const override { return resources; }
    ZirnTaskResult execute(const ZirnTaskParams &arguments, ZirnTaskContext *context) override
    {
        return m_body ? m_body(arguments, context) : ZirnTaskResult::succeeded(name);
    }

    QStringList resources;

private:
    Body m_body;
};

/// Adds a task to a registry, and hands it out to be adjusted.
inline QSharedPointer<FunctionTask> addTask(ZirnTaskRegistry &registry, const QString &name,
                                            Body body = {})
{
    auto task = QSharedPointer<FunctionTask>::create(name, std::move(body));
    registry.registerTask(task);
    return task;
}

inline TaskPlan planOf(const QList<TaskPlanStep> &steps)
{
    return {.description = QStringLiteral("test"), .steps = steps};
}

inline TaskPlanStep call(const QString &task, const QVariantMap &args = {},
                         const QMap<QString, QString> &produces = {})
{
    return {.task = task, .args = args, .produces = produces};
}

/// Waits for the end of the plan that runs, or of the one that was just rejected.
inline TaskPlanResult resultOf(ZirnTaskRuntime &runtime)
{
    QSignalSpy completed(&runtime, &ZirnTaskRuntime::planCompleted);
    if (!completed.wait(30000))
        return TaskPlanResult::rejected(QStringLiteral("no planCompleted"));
    return completed.first().first().value<TaskPlanResult>();
}

inline TaskPlanResult run(ZirnTaskRuntime &runtime, const TaskPlan &plan, const Operator &op = {})
{
    runtime.submit(plan, op);
    return resultOf(runtime);
}

inline QStringList messagesOf(const TaskPlanResult &result)
{
    QStringList messages;
    for (const ZirnTaskResult &step : result.stepResults)
        messages.append(step.message);
    return messages;
}

} // namespace corvane::zirn
