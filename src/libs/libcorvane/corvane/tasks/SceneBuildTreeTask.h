#pragma once

#include <corvane/tasks/CorvaneTask.h>
#include <corvane/tasks/TaskRow.h>

namespace corvane::zirn {

/// Turns one JSON description into a subtree, as one batch; see TreeDescription. What was created
/// before a failure stays, and the message counts it.
class SceneBuildTreeTask : public CorvaneMutationTask
{
public:
    explicit SceneBuildTreeTask(const TaskRow &row);
    static ZirnTaskPtr make(const TaskRow &row);

protected:
    ZirnTaskResult doMutate(const ZirnTaskParams &arguments, ops::CorvaneOpExecutor *executor,
                            QSharedPointer<model::Corvane> scene,
                            model::LogicalScene *logicalScene) override;

private:
    const TaskRow &m_row;
};

} // namespace corvane::zirn
