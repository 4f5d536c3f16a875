// The command `zirn`: a plan edits a scene without a display.

#include "CorvaneMain.h"
#include "Interruption.h"
#include "ZirnOptions.h"
#include "ZirnSession.h"

#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>
#include <corvane/tasks/CorvaneTasks.h>
#include <corvane/zirn/LLMSession.h>
#include <store/SafeFile.h>

#include <QCoreApplication>
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

int runPlan(ZirnSession &session, const TaskPlan &plan, const QString &savePath)
{
    const auto result = session.run(plan);
    if (!result) {
        printError(u"Error: plan rejected (another plan running?)"_s);
        return CorvaneMain::OperationFailed;
    }
    if (result->success)
        session.compile();
    printError(LLMSession::formatResultForLLM(*result));
    if (!result->success)
        return CorvaneMain::OperationFailed;
    if (savePath.isNull())
        return CorvaneMain::Success;
    if (!session.save(savePath))
        return writeFailure(savePath);
    printError(u"Saved scene to "_s + savePath);
    return CorvaneMain::Success;
}

} // namespace

namespace CorvaneMain {

int runZirn(int argc, char **argv)
{
    QString error;
    const auto options = ZirnOptions::parse(argc, argv, error);
    if (!options) {
        printError(error);
        return UsageError;
    }
    const QCoreApplication application(argc, argv);
    applyApplicationNames();
    installInterruptionHandler();
    const auto text = readPlan(options->planPath);
    if (!text) {
        printError(u"Error: cannot open plan file "_s + options->planPath);
        return InputOutputError;
    }
    TaskPlan plan;
    if (!LLMSession::validatePlanJson(*text, plan, error)) {
        printError(u"Error: invalid plan: "_s + error);
        return UsageError;
    }
    corvane::registry::Registry::instance().loadBuiltinPrimitives();
    const auto session = ZirnSession::open(options->scenePath);
    if (!session) {
        printError(u"Error: failed to load scene from "_s + options->scenePath);
        return InputOutputError;
    }
    // Found before the plan, whose work would be lost.
    const QString savePath = options->savePath();
    if (!savePath.isNull() && !store::probeWritable(savePath))
        return writeFailure(savePath);
    corvane::zirn::registerCorvaneTasks();
    return runPlan(*session, plan, savePath);
}

} // namespace CorvaneMain
