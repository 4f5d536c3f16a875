#pragma once

#include <corvane/zirn/Operator.h>
#include <corvane/zirn/TaskPlan.h>

#include <QObject>
#include <QStringList>

#include <chrono>
#include <memory>

namespace corvane::zirn {

class PlanRun;
struct PlanServices;
class RuntimeChannel;
class ZirnAuthContext;
class ZirnHistoryDatabase;
class ZirnResourceManager;
class ZirnTaskRegistry;
class ZirnUIDriver;

/// Runs plans, each on a thread of its own: permissions, then step by step placeholders,
/// capabilities and the task, all of it told by signals.
///
///     ZirnTaskRuntime runtime;
///     runtime.setAuthContext(&auth);
///     connect(&runtime, &ZirnTaskRuntime::planCompleted, this, &Driver::onPlanCompleted);
///     runtime.submit(plan, {.type = OperatorType::Directive, .id = u"cron"_s});
///
/// Everything here belongs to the runtime's own thread, the main thread as a rule, except where it
/// says otherwise, and all signals are emitted there. Tasks may block on that thread; it never
/// waits for a plan. One plan runs at a time; with a resource manager, as many as hold different
/// resources.
///
/// The objects that are set here are only pointed to: they live until planCompleted(). A runtime
/// that is destroyed before cancels its plans; these end without a word, and still use the objects
/// until they do.
class ZirnTaskRuntime : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds defaultPermissionTimeout{60000};

    /// @param registry  null for ZirnTaskRegistry::instance()
    explicit ZirnTaskRuntime(ZirnTaskRegistry *registry = nullptr, QObject *parent = nullptr);
    ~ZirnTaskRuntime() override;

    /// These count for plans that are submitted later; null is the default of each.
    void setAuthContext(ZirnAuthContext *context); ///< null: capabilities are not checked
    void setHistory(ZirnHistoryDatabase *history);
    void setUiDriver(ZirnUIDriver *driver);
    void setResourceManager(ZirnResourceManager *manager);
    /// How long a question waits for its answer before it counts as refused.
    void setPermissionTimeout(std::chrono::milliseconds timeout);

    /// Starts a plan. False when it has no steps, or when another one is in its way; then
    /// planCompleted() tells why, after this has returned.
    bool submit(const TaskPlan &plan, const Operator &op);

    bool isRunning() const;  ///< any thread
    int currentStep() const; ///< of the newest plan; -1 when idle. Any thread

    /// Stops before the next step, and asks the running task to end: its context is cancelled.
    /// Questions that wait are refused. What was done stays done. A task that never looks at its
    /// context keeps its plan running all the same: no thread is ended from outside. Any thread.
    void cancel();
    /// Asks the running task to end, and lets the plan go on past it even if it fails; the plan as
    /// a whole then fails. Any thread.
    void skipCurrentStep();

    /// The answer to permissionRequired() or permissionRequiredForCall(). One that comes too late
    /// is ignored. Any thread.
    void deliverPermissionDecision(int id, bool granted);

signals:
    void stepStarted(int index, const QString &task);
    void stepCompleted(int index, const corvane::zirn::ZirnTaskResult &result);
    /// Of a task that reports faster than this thread listens, the newest reports are merged.
    void progressUpdated(int index, float fraction, const QString &text);
    void permissionRequired(int id, const corvane::zirn::TaskPlan &plan, const QStringList &scopes);
    void permissionRequiredForCall(int id, int index, const QString &task,
                                   const QStringList &scopes);
    /// The last signal of every plan, also of a rejected one. A new plan may be submitted from it.
    void planCompleted(const corvane::zirn::TaskPlanResult &result);

private:
    bool reject(const TaskPlan &plan, const QString &message);
    bool start(const std::shared_ptr<PlanRun> &run);
    QStringList resourcesOf(const TaskPlan &plan) const;

    std::unique_ptr<PlanServices> m_services;
    std::shared_ptr<RuntimeChannel> m_channel; ///< shared with the plan threads
};

} // namespace corvane::zirn
