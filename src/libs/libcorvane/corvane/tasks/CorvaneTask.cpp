#include <corvane/tasks/CorvaneTask.h>

#include <corvane/model/Corvane.h>
#include <corvane/ops/CorvaneOpExecutor.h>
#include <corvane/ops/CorvaneServiceLocator.h>
#include <corvane/tasks/MainThread.h>
#include <corvane/tasks/SceneErrorCounter.h>
#include <corvane/zirn/FailureText.h>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

ZirnTaskResult noScene(const ZirnTask &task)
{
    return failed(u"execute "_s + task.name, u"no Corvane scene loaded"_s,
                  u"open or create a scene first"_s);
}

/// All of it or nothing: what is no use to an edit must not be let go on a plan's thread.
SceneAccess editableScene()
{
    const SceneAccess access = SceneAccess::current();
    return access.executor && access.document ? access : SceneAccess();
}

/// Counts the broken expressions, and tells of them in the result.
void addErrorCounts(ZirnTaskResult &result, const SceneAccess &access)
{
    auto &locator = ops::CorvaneServiceLocator::instance();
    const int previous = locator.unresolvedExpressionCount();
    const int count = access.isCurrent() ? SceneErrorCounter::of(access).count() : previous;
    const int added = qMax(0, count - previous);
    locator.setUnresolvedExpressionCount(count);
    result.outputs.insert(u"error_count"_s, QString::number(count));
    result.outputs.insert(u"number_of_new_errors"_s, QString::number(added));
    if (added > 0)
        result.message +=
            u" NOTE: this introduced %1 new unresolved expression(s) (%2 total). Call "
            u"corvane.scene.list_errors to see each broken node's path and "
            u"error."_s.arg(QString::number(added), QString::number(count));
}

} // namespace

ZirnTaskResult sceneIsGone(const QString &attempt)
{
    return failed(attempt, u"the scene was closed"_s, u"open or create a scene first"_s);
}

ZirnTaskResult CorvaneQueryTask::execute(const ZirnTaskParams &arguments, ZirnTaskContext *)
{
    const auto result = onMainThread([this, &arguments] {
        const QSharedPointer<model::Corvane> scene = SceneAccess::current().document;
        return scene ? doQuery(arguments, scene) : noScene(*this);
    });
    return result.value_or(noScene(*this));
}

ZirnTaskResult CorvaneMutationTask::execute(const ZirnTaskParams &arguments, ZirnTaskContext *)
{
    auto found = onMainThread(&editableScene);
    if (!found || !found->executor)
        return noScene(*this);
    ZirnTaskResult result = doMutate(arguments, found->executor, found->document, found->tree);
    onMainThread([&result, &found] {
        if (result.success)
            addErrorCounts(result, *found);
        // Not on this thread: it may be the last hold on a scene that was closed meanwhile.
        found.reset();
        return true;
    });
    return result;
}

bool CorvaneMutationTask::applyOnMainThread(ops::CorvaneOpExecutor *executor,
                                            const ops::CorvaneOp &op)
{
    return onMainThread([executor, &op] {
               return SceneAccess::current().executor == executor && executor->apply(op);
           })
        .value_or(false);
}

} // namespace corvane::zirn
