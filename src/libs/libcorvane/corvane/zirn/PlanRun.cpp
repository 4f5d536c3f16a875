#include <corvane/zirn/PlanRun.h>

#include <corvane/zirn/RuntimeChannel.h>
#include <corvane/zirn/UniqueTexts.h>
#include <corvane/zirn/ZirnAuthContext.h>
#include <corvane/zirn/ZirnHistoryDatabase.h>
#include <corvane/zirn/ZirnResourceManager.h>
#include <corvane/zirn/ZirnTaskContext.h>
#include <corvane/zirn/ZirnTaskRegistry.h>
#include <corvane/zirn/ZirnTaskRuntime.h>

#include <concurrency/Outcome.h>

#include <QThread>
#include <QTimer>

#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

constexpr auto scopeDenied =
    "Failed to submit plan: permission denied for scope '%1'. State: no changes. Suggestion: grant "
    "the required permission via PermissionManagerActivity."_L1;
constexpr auto requestDenied =
    "Failed to submit plan: steward denied permission request. State: no changes. Suggestion: "
    "review the plan and resubmit with adjusted scope."_L1;
constexpr auto taskNotFound =
    "Failed to execute step %1: task '%2' not found in registry. State: prior steps completed. "
    "Suggestion: check task name spelling or ensure the library is loaded."_L1;
constexpr auto stepNotReady = "Failed to execute step %1 ('%2'): %3"_L1;
constexpr auto taskBrokeOff =
    "Failed to execute '%1': %2. State: what the task had done by then stays. Suggestion: ask for "
    "less at a time (a larger cell size, fewer items) or free memory, and run the step again."_L1;
constexpr auto callRefused =
    "Refused at call-time confirmation. State: no changes (this step skipped). Suggestion: re-run "
    "the plan and approve, or relax the task's ConfirmationPolicy in your deployment."_L1;
constexpr auto stepFailedAfter = "Failed at step %1 ('%2'): %3"_L1;
constexpr auto outputMissing =
    "Step '%1' declared produces '%2' -> '%3' but output key '%3' was not in the result. State: "
    "prior steps completed. Suggestion: check OT implementation returns the declared output "
    "keys."_L1;

/// A timer's interval is an int of milliseconds; no step that long is told from one without end.
void startLimit(QTimer &timer, std::chrono::seconds limit)
{
    constexpr std::chrono::milliseconds longest(std::numeric_limits<int>::max());
    timer.setSingleShot(true);
    timer.start(std::min<std::chrono::milliseconds>(limit, longest));
}

} // namespace

PlanRun::PlanRun(PlanTicket ticket, const PlanServices &services,
                 std::shared_ptr<RuntimeChannel> channel)
    : m_ticket(std::move(ticket))
    , m_services(services)
    , m_channel(std::move(channel))
{
    m_result.planDescription = m_ticket.plan.description;
}

void PlanRun::execute()
{
    if (m_ticket.submitter.type == OperatorType::Llm && !isPermitted())
        return finish();
    ZirnHistoryDatabase *history = m_services.history;
    if (history)
        m_historyRow = history->logPlanSubmitted(m_ticket.plan, m_ticket.submitter);
    runSteps();
    if (history) {
        history->logPlanCompleted(m_historyRow, m_result);
        history->closeThreadConnection();
    }
    finish();
}

void PlanRun::finish()
{
    leave();
    m_channel->announce([result = std::move(m_result)](ZirnTaskRuntime &runtime) {
        emit runtime.planCompleted(result);
    });
}

void PlanRun::leave()
{
    m_currentStep = -1;
    if (m_services.resourceManager)
        m_services.resourceManager->releaseAll(m_ticket.resources, m_ticket.planId);
    m_channel->removeRun(this);
}

// Permissions

bool PlanRun::isPermitted()
{
    QStringList scopes = neededScopes();
    if (m_ticket.submitter.permissions) {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        QStringList unanswered;
        for (const QString &scope : std::as_const(scopes)) {
            const PermissionAnswer answer = m_ticket.submitter.permissions->check(scope, now);
            if (answer == PermissionAnswer::Denied)
                return refuse(QString(scopeDenied).arg(scope));
            if (answer == PermissionAnswer::Ask)
                unanswered.append(scope);
        }
        if (unanswered.isEmpty())
            return true;
        scopes = unanswered;
    }
    const bool granted =
        isGranted([plan = m_ticket.plan, scopes](ZirnTaskRuntime &runtime, int id) {
            emit runtime.permissionRequired(id, plan, scopes);
        });
    return granted || refuse(requestDenied);
}

bool PlanRun::refuse(const QString &message)
{
    m_result.addStepResult(ZirnTaskResult::failed(message));
    m_result.cancelled = m_cancelRequested;
    return false;
}

QStringList PlanRun::neededScopes() const
{
    UniqueTexts scopes;
    for (const TaskPlanStep &step : m_ticket.plan.steps) {
        if (const ZirnTaskPtr task = m_services.registry->task(step.task))
            scopes.add(task->scopes);
    }
    return scopes.texts();
}

bool PlanRun::isGranted(const Question &question)
{
    const int id = m_channel->openQuestion();
    m_channel->announce([question, id](ZirnTaskRuntime &runtime) { question(runtime, id); });
    return m_channel->awaitDecision(id, m_services.permissionTimeout, [this] {
        const bool isOfStep = m_currentStep >= 0;
        return m_cancelRequested || (m_skipRequested && isOfStep);
    });
}

// Steps

void PlanRun::runSteps()
{
    m_result.success = true;
    for (int index = 0; index < m_ticket.plan.steps.size(); ++index) {
        if (shouldStop()) {
            m_result.success = false;
            m_result.cancelled = true;
            return;
        }
        const StepEnd end = runStep(index);
        if (end == StepEnd::Passed)
            continue;
        m_result.success = false;
        if (end == StepEnd::FailedForGood) {
            m_result.cancelled = m_cancelRequested;
            return;
        }
    }
}

bool PlanRun::shouldStop()
{
    const bool goesOn = m_skipRequested.exchange(false);
    return m_cancelRequested && !goesOn;
}

PlanRun::StepEnd PlanRun::runStep(int index)
{
    const TaskPlanStep &step = m_ticket.plan.steps.at(index);
    const QString number = QString::number(index + 1);
    const ZirnTaskPtr task = m_services.registry->task(step.task);
    if (!task) {
        const QString advice = m_services.registry->adviceOn(step.task);
        const QString failure = QString(taskNotFound).arg(number, step.task);
        return endPlan(index, advice.isEmpty() ? failure : failure + u' ' + advice);
    }
    if (m_services.authContext) {
        if (const auto failure = missingCapability(*task, *m_services.authContext))
            return endPlan(index, *failure);
    }
    QString error;
    const auto args = TaskPlan::resolvePlaceholders(step, m_variables, error);
    if (!args)
        return endPlan(index, QString(stepNotReady).arg(number, step.task, error));
    return callTask(index, *task, {.task = step.task, .args = *args, .produces = step.produces});
}

PlanRun::StepEnd PlanRun::callTask(int index, ZirnTask &task, const TaskPlanStep &step)
{
    ZirnTaskContext context(m_ticket.planId, m_services.uiDriver);
    followProgress(index, context);
    publish(context, index);
    if (m_services.history)
        m_services.history->logStepStarted(m_historyRow, index, step);
    m_channel->announce([index, name = step.task](ZirnTaskRuntime &runtime) {
        emit runtime.stepStarted(index, name);
    });

    const bool confirmed = isConfirmed(index, task);
    ZirnTaskResult result =
        confirmed ? executeTask(task, step, context) : ZirnTaskResult::failed(callRefused);
    withdrawContext();
    const bool skipped = m_skipRequested.exchange(false);
    if (result.success)
        result = withProduced(index, step, result);
    if (m_services.history)
        m_services.history->logStepCompleted(m_historyRow, index, result);
    record(index, result);
    if (result.success)
        return StepEnd::Passed;
    return skipped || !confirmed ? StepEnd::FailedOnward : StepEnd::FailedForGood;
}

ZirnTaskResult PlanRun::executeTask(ZirnTask &task, const TaskPlanStep &step,
                                    ZirnTaskContext &context)
{
    // The limit is for the task, so it does not count while somebody thinks about a confirmation.
    // The timer reaches tasks that run an event loop, the context's own limit those that look.
    const std::chrono::seconds limit(task.timeoutSeconds);
    QTimer timer;
    if (limit.count() > 0) {
        context.setTimeLimit(limit);
        QObject::connect(&timer, &QTimer::timeout, &context, &ZirnTaskContext::requestCancel);
        startLimit(timer, limit);
    }
    ZirnTaskResult result;
    const concurrency::Outcome outcome =
        concurrency::guarded([&] { result = task.execute(ZirnTaskParams(step.args), &context); });
    return outcome.isGood()
               ? result
               : ZirnTaskResult::failed(QString(taskBrokeOff).arg(step.task, outcome.reason()));
}

bool PlanRun::isConfirmed(int index, const ZirnTask &task)
{
    const bool mustAsk = m_ticket.submitter.type == OperatorType::Llm &&
                         task.confirmationPolicy == ConfirmationPolicy::EveryCall &&
                         !task.scopes.isEmpty();
    if (!mustAsk)
        return true;
    return isGranted(
        [index, name = task.name, scopes = task.scopes](ZirnTaskRuntime &runtime, int id) {
            emit runtime.permissionRequiredForCall(id, index, name, scopes);
        });
}

ZirnTaskResult PlanRun::withProduced(int index, const TaskPlanStep &step,
                                     const ZirnTaskResult &result)
{
    for (auto it = step.produces.cbegin(); it != step.produces.cend(); ++it) {
        const auto output = result.outputs.constFind(it.value());
        if (output == result.outputs.cend()) {
            const QString cause = QString(outputMissing).arg(step.task, it.key(), it.value());
            return ZirnTaskResult::failed(
                QString(stepFailedAfter).arg(QString::number(index + 1), step.task, cause));
        }
        m_variables.insert(it.key(), *output);
    }
    return result;
}

PlanRun::StepEnd PlanRun::endPlan(int index, const QString &failure)
{
    record(index, ZirnTaskResult::failed(failure));
    return StepEnd::FailedForGood;
}

void PlanRun::record(int index, const ZirnTaskResult &result)
{
    m_result.addStepResult(result);
    m_channel->announce(
        [index, result](ZirnTaskRuntime &runtime) { emit runtime.stepCompleted(index, result); });
}

// Cancelling and the context that others may reach

void PlanRun::followProgress(int index, ZirnTaskContext &context)
{
    // Directly: a task may report from threads of its own, and the channel is open to all.
    const auto report = [this, index](float fraction, const QString &text) {
        m_channel->announceProgress(this, index, [=](ZirnTaskRuntime &runtime) {
            emit runtime.progressUpdated(index, fraction, text);
        });
    };
    QObject::connect(&context, &ZirnTaskContext::progressReported, &context, report,
                     Qt::DirectConnection);
}

void PlanRun::publish(ZirnTaskContext &context, int index)
{
    {
        const std::lock_guard lock(m_contextMutex);
        m_currentContext = &context;
        m_currentStep = index;
    }
    if (m_cancelRequested || m_skipRequested) // that came just before there was a context
        context.requestCancel();
}

void PlanRun::withdrawContext()
{
    const std::lock_guard lock(m_contextMutex);
    m_currentContext = nullptr;
}

void PlanRun::cancel()
{
    m_cancelRequested = true;
    cancelContext();
}

void PlanRun::skipCurrentStep()
{
    m_skipRequested = true;
    cancelContext();
}

void PlanRun::cancelContext()
{
    m_channel->wakeQuestions();
    std::unique_lock lock(m_contextMutex);
    ZirnTaskContext *context = m_currentContext;
    if (!context)
        return;
    // On the context's own thread the signal is emitted at once, which no lock may be held across,
    // and there it cannot go away meanwhile. From elsewhere the lock keeps it, and the signal is
    // only posted.
    if (context->thread() == QThread::currentThread())
        lock.unlock();
    context->requestCancel();
}

} // namespace corvane::zirn
