#include <corvane/zirn/ZirnTaskRuntime.h>

#include <corvane/zirn/PlanRun.h>
#include <corvane/zirn/RuntimeChannel.h>
#include <corvane/zirn/UniqueTexts.h>
#include <corvane/zirn/ZirnResourceManager.h>
#include <corvane/zirn/ZirnTaskRegistry.h>
#include <store/MethodGate.h>

#include <QLoggingCategory>
#include <QThread>
#include <QTimer>
#include <QUuid>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

Q_LOGGING_CATEGORY(lcRuntime, "ondrel.zirn.runtime")

namespace {

constexpr auto noSteps = "Failed to submit plan: no steps. State: no changes. Suggestion: add at "
                         "least one step to the plan."_L1;
constexpr auto alreadyRunning =
    "Failed to submit plan '%1': another plan is already running. State: no changes. Suggestion: "
    "wait for the current plan to complete or cancel it."_L1;
constexpr auto resourcesBusy =
    "Failed to submit plan '%1': required resources are busy. State: no changes. Suggestion: wait "
    "for the current plan to complete or cancel it."_L1;
constexpr auto noThread =
    "Failed to submit plan '%1': the system starts no further thread. State: no changes. "
    "Suggestion: end other work and submit the plan again."_L1;

// Plans nest as deep as JSON may, and tasks compile on this thread: the room for that is not left
// to the limits of the shell that started the program.
constexpr uint planStackSize = 16 << 20;

constexpr std::chrono::milliseconds longestTimeout = std::chrono::hours(24);

} // namespace

ZirnTaskRuntime::ZirnTaskRuntime(ZirnTaskRegistry *registry, QObject *parent)
    : QObject(parent)
    , m_services(std::make_unique<PlanServices>(
          PlanServices{.registry = registry ? registry : &ZirnTaskRegistry::instance(),
                       .permissionTimeout = defaultPermissionTimeout}))
    , m_channel(std::make_shared<RuntimeChannel>(this))
{}

ZirnTaskRuntime::~ZirnTaskRuntime()
{
    m_channel->close();
    if (!isRunning())
        return;
    qCWarning(lcRuntime) << "ZirnTaskRuntime: destroyed while a plan runs; the plan is cancelled";
    cancel();
}

void ZirnTaskRuntime::setAuthContext(ZirnAuthContext *context)
{
    const store::MethodGate gate(this);
    m_services->authContext = context;
}

void ZirnTaskRuntime::setHistory(ZirnHistoryDatabase *history)
{
    const store::MethodGate gate(this);
    m_services->history = history;
}

void ZirnTaskRuntime::setUiDriver(ZirnUIDriver *driver)
{
    const store::MethodGate gate(this);
    m_services->uiDriver = driver;
}

void ZirnTaskRuntime::setResourceManager(ZirnResourceManager *manager)
{
    const store::MethodGate gate(this);
    m_services->resourceManager = manager;
}

void ZirnTaskRuntime::setPermissionTimeout(std::chrono::milliseconds timeout)
{
    const store::MethodGate gate(this);
    m_services->permissionTimeout = std::clamp({}, timeout, longestTimeout);
}

bool ZirnTaskRuntime::submit(const TaskPlan &plan, const Operator &op)
{
    const store::MethodGate gate(this);
    if (QThread::currentThread() != thread()) {
        qCWarning(lcRuntime) << "ZirnTaskRuntime::submit: called on another thread";
        return false;
    }
    if (plan.steps.isEmpty())
        return reject(plan, noSteps);
    const PlanTicket ticket{.plan = plan,
                            .submitter = op,
                            .planId = QUuid::createUuid().toString(QUuid::WithoutBraces),
                            .resources = resourcesOf(plan)};
    ZirnResourceManager *manager = m_services->resourceManager;
    if (!manager && isRunning())
        return reject(plan, QString(alreadyRunning).arg(plan.description));
    if (manager && !manager->tryAcquireAll(ticket.resources, ticket.planId))
        return reject(plan, QString(resourcesBusy).arg(plan.description));
    return start(std::make_shared<PlanRun>(ticket, *m_services, m_channel)) ||
           reject(plan, QString(noThread).arg(plan.description));
}

bool ZirnTaskRuntime::start(const std::shared_ptr<PlanRun> &run)
{
    m_channel->addRun(run);
    QThread *thread = QThread::create([run] { run->execute(); });
    thread->setObjectName(u"Plan"_s);
    thread->setStackSize(planStackSize);
    connect(thread, &QThread::finished, thread, &QThread::deleteLater);
    thread->start();
    if (thread->isRunning() || thread->isFinished())
        return true;
    delete thread;
    run->leave();
    return false;
}

bool ZirnTaskRuntime::reject(const TaskPlan &plan, const QString &message)
{
    TaskPlanResult result = TaskPlanResult::rejected(message);
    result.planDescription = plan.description;
    QTimer::singleShot(0, this, [this, result] { emit planCompleted(result); });
    return false;
}

QStringList ZirnTaskRuntime::resourcesOf(const TaskPlan &plan) const
{
    UniqueTexts resources;
    for (const TaskPlanStep &step : plan.steps) {
        if (const ZirnTaskPtr task = m_services->registry->task(step.task))
            resources.add(task->resourceScopes());
    }
    return resources.texts();
}

bool ZirnTaskRuntime::isRunning() const
{
    const store::MethodGate gate(this);
    return !m_channel->runs().empty();
}

int ZirnTaskRuntime::currentStep() const
{
    const store::MethodGate gate(this);
    const auto runs = m_channel->runs();
    return runs.empty() ? -1 : runs.back()->currentStep();
}

void ZirnTaskRuntime::cancel()
{
    const store::MethodGate gate(this);
    for (const auto &run : m_channel->runs())
        run->cancel();
}

void ZirnTaskRuntime::skipCurrentStep()
{
    const store::MethodGate gate(this);
    for (const auto &run : m_channel->runs())
        run->skipCurrentStep();
}

void ZirnTaskRuntime::deliverPermissionDecision(int id, bool granted)
{
    const store::MethodGate gate(this);
    m_channel->deliverDecision(id, granted);
}

} // namespace corvane::zirn
