// The command `zirn`: a plan edits a scene without a display.

#include "HeadlessCommand.h"
#include "ZirnJobs.h"
#include "ZirnOptions.h"
#include "ZirnSession.h"

#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>
#include <corvane/tasks/CorvaneTasks.h>
#include <corvane/zirn/LLMSession.h>
#include <store/SafeFile.h>

#include <QFile>

using namespace Qt::StringLiterals;
using corvane::zirn::LLMSession;
using corvane::zirn::TaskPlan;

namespace {

using CorvaneMain::printError;

/// No more than one byte past what a plan may have: enough to see that it is too long.
std::optional<QByteArray> readPlan(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray text = file.read(LLMSession::maxPlanBytes + 1);
    return file.error() == QFileDevice::NoError ? std::optional(text) : std::nullopt;
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
    const auto text = readPlan(options.planPath);
    if (!text) {
        printError(u"Error: cannot open plan file "_s + options.planPath);
        return CorvaneMain::InputOutputError;
    }
    TaskPlan plan;
    QString error;
    if (!LLMSession::validatePlanJson(*text, plan, error)) {
        printError(u"Error: invalid plan: "_s + error);
        return CorvaneMain::UsageError;
    }
    corvane::registry::Registry::instance().loadBuiltinPrimitives();
    const auto session = ZirnSession::open(options.scenePath);
    if (!session) {
        printError(u"Error: failed to load scene from "_s + options.scenePath);
        return CorvaneMain::InputOutputError;
    }
    // Found before the plan, whose work would be lost.
    const QString savePath = options.savePath();
    if (!savePath.isNull() && !store::probeWritable(savePath))
        return writeFailure(savePath);
    corvane::zirn::registerCorvaneTasks();
    return runWithJobs(*session, plan, savePath);
}

} // namespace

namespace CorvaneMain {

int runZirn(int argc, char **argv)
{
    return runHeadless(argc, argv, &runPlanFile);
}

} // namespace CorvaneMain
