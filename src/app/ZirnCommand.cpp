// The command `zirn`: a plan edits a scene without a display.

#include "HeadlessCommand.h"
#include "OutputPath.h"
#include "ZirnJobs.h"
#include "ZirnOptions.h"
#include "ZirnSession.h"

#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>
#include <corvane/tasks/CorvaneTasks.h>
#include <corvane/zirn/LLMSession.h>
#include <store/RegularFile.h>
#include <store/SafeFile.h>

using namespace Qt::StringLiterals;
using corvane::zirn::LLMSession;
using corvane::zirn::TaskPlan;

namespace {

using CorvaneMain::printError;

/// The plan of the file; none, with the line for the user and the status, when it can't be had.
std::optional<TaskPlan> readPlan(const QString &path, int &status)
{
    constexpr qint64 limit = LLMSession::maxPlanBytes;
    QString reason;
    bool isTooLarge = false;
    const auto text =
        store::readInput(path, {.file = limit, .stream = limit}, &reason, &isTooLarge);
    if (!text && !isTooLarge) {
        printError(u"Error: cannot open plan file %1\n  %2"_s.arg(path, reason));
        status = CorvaneMain::InputOutputError;
        return std::nullopt;
    }
    TaskPlan plan;
    if (text && LLMSession::validatePlanJson(*text, plan, reason))
        return plan;
    printError(u"Error: invalid plan: "_s + reason);
    status = CorvaneMain::UsageError;
    return std::nullopt;
}

int writeFailure(const QString &path)
{
    printError(u"Error: failed to write scene to "_s + path);
    return CorvaneMain::InputOutputError;
}

int saveScene(ZirnSession &session, const QString &path)
{
    if (path.isNull())
        return CorvaneMain::Success;
    if (!session.save(path))
        return writeFailure(path);
    printError(u"Saved scene to "_s + path);
    return CorvaneMain::Success;
}

int runPlan(ZirnSession &session, const TaskPlan &plan, const QString &savePath)
{
    QString rejection;
    const auto result = session.run(plan, rejection);
    if (!result) {
        printError(u"Error: plan rejected (another plan running?)"_s);
        printError(rejection);
        return CorvaneMain::OperationFailed;
    }
    if (result->success)
        session.compile();
    printError(LLMSession::formatResultForLLM(*result));
    return result->success ? saveScene(session, savePath) : CorvaneMain::OperationFailed;
}

/// The plan, and what it queued. The scene is saved before the jobs are waited for: they may take
/// all night, and have no part in it.
int runWithJobs(ZirnSession &session, const TaskPlan &plan, const QString &savePath)
{
    ZirnJobs jobs;
    const int status = runPlan(session, plan, savePath);
    const bool allDone = jobs.finish();
    return status == CorvaneMain::Success && !allDone ? CorvaneMain::OperationFailed : status;
}

int runPlanFile(const ZirnOptions &options)
{
    const QString savePath = options.savePath();
    const QString refusal = OutputPath::inputInTheWay(savePath, {options.planPath});
    if (!refusal.isEmpty()) {
        printError(u"Error: "_s + refusal);
        return CorvaneMain::InputOutputError;
    }
    int status = CorvaneMain::Success;
    const auto plan = readPlan(options.planPath, status);
    if (!plan)
        return status;
    corvane::registry::Registry::instance().loadBuiltinPrimitives();
    const auto session = ZirnSession::open(options.scenePath);
    if (!session) {
        printError(u"Error: failed to load scene from "_s + options.scenePath);
        return CorvaneMain::InputOutputError;
    }
    // Found before the plan, whose work would be lost.
    if (!savePath.isNull() && !(store::probeWritable(savePath) && session->canSave(savePath)))
        return writeFailure(savePath);
    corvane::zirn::registerCorvaneTasks();
    return runWithJobs(*session, *plan, savePath);
}

} // namespace

namespace CorvaneMain {

int runZirn(int argc, char **argv)
{
    return runHeadless(argc, argv, &runPlanFile);
}

} // namespace CorvaneMain
