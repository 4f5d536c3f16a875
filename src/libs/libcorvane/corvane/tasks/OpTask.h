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
    ZirnTaskResult doMutate(const ZirnTaskParams &arguments, ops::CorvaneOpExecutor *executor,
                            QSharedPointer<model::Corvane> scene,
                            model::LogicalScene *logicalScene) override;

private:
    ZirnTaskResult applyTo(const SceneAccess &access, QVariantMap arguments) const;
    std::optional<QUuid> applyOps(const SceneAccess &access, const QVariantMap &arguments) const;
    QString whatIsMissing(const SceneAccess &access, QVariantMap &arguments) const;
    QString missingTarget(const SceneAccess &access, QVariantMap &arguments) const;
    QString missingReference(const SceneAccess &access, const ParamRow &param,
                             const QString &wanted) const;
    ZirnTaskResult succeeded(const SceneAccess &access, const QVariantMap &arguments,
                             const QUuid &created) const;

    const TaskRow &m_row;
};

} // namespace corvane::zirn
