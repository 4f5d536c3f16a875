#pragma once

#include <corvane/tasks/CorvaneTask.h>
#include <corvane/tasks/TaskRow.h>

namespace corvane::zirn {

/// An edit that is one op: TaskRow::op says which, what must be there before, and the words for it.
class OpTask : public CorvaneMutationTask
{
public:
    explicit OpTask(const TaskRow &row);

protected:
    ZirnTaskResult doMutate(const ZirnTaskParams &arguments, ZirnTaskContext &context,
                            ops::CorvaneOpExecutor *executor,
                            const QSharedPointer<model::Corvane> &scene,
                            model::LogicalScene *tree) override;

private:
    ZirnTaskResult applyTo(const SceneAccess &access, QVariantMap arguments) const;
    std::optional<QUuid> applyOps(const SceneAccess &access, const QVariantMap &arguments) const;
    QString whatIsMissing(const SceneAccess &access, QVariantMap &arguments) const;
    QString missingTarget(const SceneAccess &access, QVariantMap &arguments) const;
    ZirnTaskResult succeeded(const SceneAccess &access, const QVariantMap &arguments,
                             const QUuid &created) const;

    const TaskRow &m_row;
};

/// An edit or a query or anything else that is a function of its own.
ZirnTaskPtr makeTask(const TaskRow &row);

} // namespace corvane::zirn
