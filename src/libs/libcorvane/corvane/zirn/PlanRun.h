#pragma once

#include <corvane/zirn/Operator.h>
#include <corvane/zirn/TaskPlan.h>
#include <corvane/zirn/ZirnTask.h>

#include <QHash>
#include <QStringList>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>

namespace corvane::zirn {

class RuntimeChannel;
class ZirnAuthContext;
class ZirnHistoryDatabase;
class ZirnResourceManager;
class ZirnTaskContext;
class ZirnTaskRegistry;
class ZirnTaskRuntime;
class ZirnUIDriver;

/// What a plan works with; all but the registry may be null.
struct PlanServices
{
    ZirnTaskRegistry *registry = nullptr;
    ZirnAuthContext *authContext = nullptr;
    ZirnHistoryDatabase *history = nullptr;
    ZirnUIDriver *uiDriver = nullptr;
    ZirnResourceManager *resourceManager = nullptr;
    std::chrono::milliseconds permissionTimeout{};
};

/// A plan on its way, and who gave it.
struct PlanTicket
{
    TaskPlan plan{};
    Operator submitter{};
    QString planId{};
    QStringList resources{}; ///< held from before the start; given back at the end
};

/// One plan from its permissions to its result. execute() is the body of the plan's thread; the
/// rest is for any thread.
class PlanRun
{
public:
    PlanRun(PlanTicket ticket, const PlanServices &services,
            std::shared_ptr<RuntimeChannel> channel);

    void execute();
    /// Gives back what the ticket holds and takes the plan off the list, without a word.
    void leave();

    void cancel();
    void skipCurrentStep();
    int currentStep() const { return m_currentStep.load(); } ///< -1 outside of a step

private:
    enum class StepEnd { Passed, FailedOnward, FailedForGood };
    using Question = std::function<void(ZirnTaskRuntime &, int id)>;

    bool isPermitted();
    bool refuse(const QString &message);
    QStringList neededScopes() const;
    bool isGranted(const Question &question);

    void runSteps();
    bool shouldStop();
    StepEnd runStep(int index);
    StepEnd callTask(int index, ZirnTask &task, const TaskPlanStep &step);
    ZirnTaskResult executeTask(ZirnTask &task, const TaskPlanStep &step, ZirnTaskContext &context);
    bool isConfirmed(int index, const ZirnTask &task);
    ZirnTaskResult withProduced(int index, const TaskPlanStep &step, const ZirnTaskResult &result);
    StepEnd endPlan(int index, const QString &failure);
    void record(int index, const ZirnTaskResult &result);

    void followProgress(int index, ZirnTaskContext &context);
    void publish(ZirnTaskContext &context, int index);
    void withdrawContext();
    void cancelContext();
    void finish();

    const PlanTicket m_ticket;
    const PlanServices m_services;
    const std::shared_ptr<RuntimeChannel> m_channel;

    // Of the plan's thread alone.
    TaskPlanResult m_result;
    QHash<QString, QString> m_variables;
    qint64 m_historyRow = -1;

    std::atomic<bool> m_cancelRequested = false;
    std::atomic<bool> m_skipRequested = false;
    std::atomic<int> m_currentStep = -1;
    std::mutex m_contextMutex; ///< of m_currentContext, and of its life as others see it
    ZirnTaskContext *m_currentContext = nullptr;
};

} // namespace corvane::zirn
