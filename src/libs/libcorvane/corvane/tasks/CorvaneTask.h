#pragma once

#include <corvane/tasks/SceneAccess.h>
#include <corvane/zirn/ZirnTask.h>

#include <QSharedPointer>

namespace corvane::ops {
struct CorvaneOp;
}

namespace corvane::zirn {

/// A task that reads the open scene, and does so on the main thread, where no edit is half done.
class CorvaneQueryTask : public ZirnTask
{
public:
    using ZirnTask::ZirnTask;

    /// Fails when no scene is open.
    ZirnTaskResult execute(const ZirnTaskParams &arguments, ZirnTaskContext *context) final;

protected:
    /// Main thread.
    virtual ZirnTaskResult doQuery(const ZirnTaskParams &arguments,
                                   QSharedPointer<model::Corvane> scene) = 0;
};

/// A task that edits the open scene through its executor, so that each edit is one step of undo.
///
/// A successful result has two more outputs: `error_count`, the expressions of the scene that can't
/// be resolved now, and `number_of_new_errors`, those more than at the last count. A note about new
/// ones stands at the end of the message, so that who broke a reference learns of it in the reply.
class CorvaneMutationTask : public ZirnTask
{
public:
    using ZirnTask::ZirnTask;

    /// Fails when no scene, or none that can be edited, is open.
    ZirnTaskResult execute(const ZirnTaskParams &arguments, ZirnTaskContext *context) final;

protected:
    /// The plan's thread. The pointers are only handed on: what they point to is looked at on the
    /// main thread, after SceneAccess::isCurrent().
    virtual ZirnTaskResult doMutate(const ZirnTaskParams &arguments,
                                    ops::CorvaneOpExecutor *executor,
                                    QSharedPointer<model::Corvane> scene,
                                    model::LogicalScene *logicalScene) = 0;

    /// Hands one op to the executor on the main thread; false when it refuses, or is gone.
    static bool applyOnMainThread(ops::CorvaneOpExecutor *executor, const ops::CorvaneOp &op);
};

/// The failure of a task whose scene was closed while it was at work.
ZirnTaskResult sceneIsGone(const QString &attempt);

} // namespace corvane::zirn
