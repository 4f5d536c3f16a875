#include <corvane/zirn/ZirnAuthContext.h>
#include <corvane/zirn/ZirnResourceManager.h>
#include <corvane/zirn/ZirnTaskContext.h>
#include <corvane/zirn/ZirnUIDriver.h>

#include "PlanFixture.h"

#include <QEventLoop>
#include <QRegularExpression>
#include <QSemaphore>
#include <QThread>

#include <new>

using namespace Qt::StringLiterals;
using namespace corvane::zirn;
using namespace std::chrono_literals;

namespace {

const Operator model{.type = OperatorType::Llm, .id = u"chat"_s};

Operator modelWith(const QList<PermissionGrant> &grants)
{
    Operator op = model;
    op.permissions = PermissionStore::create();
    for (const PermissionGrant &grant : grants)
        op.permissions->addGrant(grant);
    return op;
}

ZirnTaskResult untilCancelled(const ZirnTaskParams &, ZirnTaskContext *context)
{
    while (!context->isCancelled())
        QThread::yieldCurrentThread();
    return ZirnTaskResult::failed(u"stopped"_s);
}

ZirnTaskResult untilTold(const ZirnTaskParams &, ZirnTaskContext *context)
{
    QEventLoop loop;
    QObject::connect(context, &ZirnTaskContext::cancellationRequested, &loop, &QEventLoop::quit);
    loop.exec();
    return ZirnTaskResult::failed(u"stopped"_s);
}

} // namespace

/// Tasks at hand: "t.ok" succeeds with its arguments "a" and "b" as outputs, "t.fail" fails,
/// "t.poll" and "t.loop" go on until they are cancelled, "t.scoped" needs the scopes s.one and
/// s.two, "t.critical" is confirmed at each call.
class TstZirnTaskRuntime : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void stepsRunInOrderOnAThreadOfTheirOwn();
    void failureEndsThePlan_data();
    void failureEndsThePlan();
    void outputsFillLaterSteps();
    void rejectedPlanIsToldAfterSubmit_data();
    void rejectedPlanIsToldAfterSubmit();
    void nextPlanStartsFromTheEndOfTheLast();
    void capabilitiesAreChecked();
    void scopesAreSettledFirst_data();
    void scopesAreSettledFirst();
    void refusedCallLeavesThePlanRunning();
    void cancelReachesATask_data();
    void cancelReachesATask();
    void cancelBetweenStepsStopsThePlan();
    void cancelRefusesAnOpenQuestion();
    void skippedStepLetsThePlanGoOn();
    void timeLimitEndsAStep_data();
    void timeLimitEndsAStep();
    void reportsThatNobodyHearsAreMerged();
    void tasksReachTheInterface();
    void plansWithOtherResourcesRunTogether();
    void semaphoreCountsPlans();
    void runtimeMayGoUnderItsPlan();
    void longPlanCompletes();

private:
    std::unique_ptr<ZirnTaskRegistry> m_registry;
    std::unique_ptr<ZirnTaskRuntime> m_runtime;
};

void TstZirnTaskRuntime::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    m_registry = std::make_unique<ZirnTaskRegistry>();
    m_runtime = std::make_unique<ZirnTaskRuntime>(m_registry.get());
    addTask(*m_registry, u"t.ok"_s, [](const ZirnTaskParams &params, ZirnTaskContext *) {
        return ZirnTaskResult::succeeded(
            u"ok"_s, {{u"a"_s, params.getString(u"a"_s)}, {u"b"_s, params.getString(u"b"_s)}});
    });
    addTask(*m_registry, u"t.fail"_s, [](const ZirnTaskParams &, ZirnTaskContext *) {
        return ZirnTaskResult::failed(u"failed"_s);
    });
    addTask(*m_registry, u"t.greedy"_s,
            [](const ZirnTaskParams &, ZirnTaskContext *) -> ZirnTaskResult {
                throw std::bad_alloc();
            });
    addTask(*m_registry, u"t.poll"_s, untilCancelled);
    addTask(*m_registry, u"t.loop"_s, untilTold);
    addTask(*m_registry, u"t.scoped"_s)->scopes = QStringList{u"s.one"_s, u"s.two"_s};
    const auto critical = addTask(*m_registry, u"t.critical"_s);
    critical->confirmationPolicy = ConfirmationPolicy::EveryCall;
    critical->scopes = QStringList{u"s.critical"_s};
}

void TstZirnTaskRuntime::cleanup()
{
    m_runtime.reset();
    m_registry.reset();
}

void TstZirnTaskRuntime::stepsRunInOrderOnAThreadOfTheirOwn()
{
    QThread *taskThread = nullptr;
    addTask(*m_registry, u"t.thread"_s, [&taskThread](const ZirnTaskParams &, ZirnTaskContext *) {
        taskThread = QThread::currentThread();
        return ZirnTaskResult::succeeded(u"there"_s);
    });
    QStringList story;
    const auto tell = [&](const QString &text) {
        QCOMPARE(QThread::currentThread(), thread());
        story.append(text);
    };
    connect(
        m_runtime.get(), &ZirnTaskRuntime::stepStarted, this,
        [&](int i, const QString &task) { tell(u"start %1 %2"_s.arg(i).arg(task)); },
        Qt::DirectConnection);
    connect(
        m_runtime.get(), &ZirnTaskRuntime::stepCompleted, this,
        [&](int i, const ZirnTaskResult &r) { tell(u"end %1 %2"_s.arg(i).arg(r.message)); },
        Qt::DirectConnection);
    const TaskPlanResult result = run(*m_runtime, planOf({call(u"t.thread"_s), call(u"t.ok"_s)}));
    QVERIFY(result.success);
    QCOMPARE(result.failedStepIndex, -1);
    QCOMPARE(result.planDescription, u"test"_s);
    QCOMPARE(story, (QStringList{u"start 0 t.thread"_s, u"end 0 there"_s, u"start 1 t.ok"_s,
                                 u"end 1 ok"_s}));
    QVERIFY(taskThread && taskThread != thread());
    QVERIFY(!m_runtime->isRunning());
    QCOMPARE(m_runtime->currentStep(), -1);
}

void TstZirnTaskRuntime::failureEndsThePlan_data()
{
    QTest::addColumn<TaskPlanStep>("step");
    QTest::addColumn<QString>("message");

    QTest::newRow("failed task") << call(u"t.fail"_s) << u"failed"_s;
    QTest::newRow("task that runs out of memory")
        << call(u"t.greedy"_s)
        << u"Failed to execute 't.greedy': out of memory. State: what the task had done by then "
           u"stays. Suggestion: ask for less at a time (a larger cell size, fewer items) or free "
           u"memory, and run the step again."_s;
    QTest::newRow("unknown task")
        << call(u"t.none"_s)
        << u"Failed to execute step 3: task 't.none' not found in registry. State: prior steps "
           u"completed. Suggestion: check task name spelling or ensure the library is loaded."_s;
    QTest::newRow("placeholder of a later step")
        << call(u"t.ok"_s, {{u"a"_s, u"${later}"_s}})
        << u"Failed to execute step 3 ('t.ok'): Unresolved placeholder '${later}' in argument 'a'. "
           u"State: no changes. Suggestion: check that a prior step produces 'later'."_s;
    QTest::newRow("output that is not there")
        << call(u"t.ok"_s, {}, {{u"p"_s, u"no"_s}})
        << u"Failed at step 3 ('t.ok'): Step 't.ok' declared produces 'p' -> 'no' but output key "
           u"'no' was not in the result. State: prior steps completed. Suggestion: check OT "
           u"implementation returns the declared output keys."_s;
}

void TstZirnTaskRuntime::failureEndsThePlan()
{
    QFETCH(TaskPlanStep, step);
    QSignalSpy completed(m_runtime.get(), &ZirnTaskRuntime::stepCompleted);
    const TaskPlanResult result =
        run(*m_runtime, planOf({call(u"t.ok"_s), call(u"t.ok"_s), step,
                                call(u"t.ok"_s, {}, {{u"later"_s, u"a"_s}})}));
    QVERIFY(!result.success && !result.cancelled);
    QCOMPARE(result.failedStepIndex, 2);
    QCOMPARE(result.stepResults.size(), 3);
    QCOMPARE(completed.size(), 3);
    QTEST(result.stepResults.last().message, "message");
}

void TstZirnTaskRuntime::outputsFillLaterSteps()
{
    const TaskPlanResult result = run(
        *m_runtime, planOf({call(u"t.ok"_s, {{u"a"_s, u"one"_s}}, {{u"x"_s, u"a"_s}}),
                            call(u"t.ok"_s, {{u"a"_s, u"<${x}>"_s}, {u"b"_s, u"B"_s}},
                                 {{u"x"_s, u"a"_s}, {u"y"_s, u"b"_s}}),
                            call(u"t.ok"_s, {{u"a"_s, u"${x}${y}"_s}, {u"b"_s, QVariantMap{}}})}));
    QVERIFY(result.success);
    QCOMPARE(result.stepResults.last().outputs.value(u"a"_s), u"<one>B"_s);
}

void TstZirnTaskRuntime::rejectedPlanIsToldAfterSubmit_data()
{
    QTest::addColumn<TaskPlan>("plan");
    QTest::addColumn<QString>("message");

    QTest::newRow("no steps") << planOf({})
                              << u"Failed to submit plan: no steps. State: no changes. Suggestion: "
                                 u"add at least one step to the plan."_s;
    QTest::newRow("a second plan")
        << planOf({call(u"t.ok"_s)})
        << u"Failed to submit plan 'test': another plan is already running. State: no changes. "
           u"Suggestion: wait for the current plan to complete or cancel it."_s;
}

void TstZirnTaskRuntime::rejectedPlanIsToldAfterSubmit()
{
    QFETCH(TaskPlan, plan);
    QFETCH(QString, message);
    QVERIFY(m_runtime->submit(planOf({call(u"t.poll"_s)}), {}));
    QSignalSpy completed(m_runtime.get(), &ZirnTaskRuntime::planCompleted);
    QVERIFY(!m_runtime->submit(plan, {}));
    QCOMPARE(completed.size(), 0);
    const TaskPlanResult rejected = resultOf(*m_runtime);
    QCOMPARE(messagesOf(rejected), QStringList{message});
    QCOMPARE(rejected.failedStepIndex, 0);
    QVERIFY(!rejected.success && !rejected.cancelled);
    QVERIFY(m_runtime->isRunning()); // the first one is unharmed
    m_runtime->cancel();
    QVERIFY(resultOf(*m_runtime).cancelled);
}

void TstZirnTaskRuntime::nextPlanStartsFromTheEndOfTheLast()
{
    int plans = 0;
    const QMetaObject::Connection next =
        connect(m_runtime.get(), &ZirnTaskRuntime::planCompleted, this, [&] {
            if (++plans < 20)
                QVERIFY(m_runtime->submit(planOf({call(u"t.ok"_s)}), {}));
        });
    QVERIFY(m_runtime->submit(planOf({call(u"t.ok"_s)}), {}));
    QTRY_COMPARE_WITH_TIMEOUT(plans, 20, 30000);
}

void TstZirnTaskRuntime::capabilitiesAreChecked()
{
    FileScopedAuthContext file;
    m_registry->task(u"t.ok"_s)->setTier(u"cad-editing"_s);
    m_registry->task(u"t.fail"_s)->setTier(u"owner"_s);
    QVERIFY(!run(*m_runtime, planOf({call(u"t.ok"_s), call(u"t.fail"_s)})).success);
    m_runtime->setAuthContext(&file);
    const TaskPlanResult result = run(*m_runtime, planOf({call(u"t.ok"_s), call(u"t.fail"_s)}));
    QCOMPARE(messagesOf(result),
             (QStringList{u"ok"_s, u"Failed to t.fail: requires device owner. State: no changes. "
                                   u"Suggestion: log in as the device owner."_s}));
}

void TstZirnTaskRuntime::scopesAreSettledFirst_data()
{
    QTest::addColumn<Operator>("op");
    QTest::addColumn<QStringList>("asked"); ///< null for no question
    QTest::addColumn<int>("answer");        ///< 1 yes, 0 no, -1 none
    QTest::addColumn<QString>("message");

    const QString refused = u"Failed to submit plan: steward denied permission request. State: no "
                            u"changes. Suggestion: review the plan and resubmit with adjusted "
                            u"scope."_s;
    const QString denied = u"Failed to submit plan: permission denied for scope 's.two'. State: no "
                           u"changes. Suggestion: grant the required permission via "
                           u"PermissionManagerActivity."_s;
    const QStringList both{u"s.one"_s, u"s.two"_s};
    const PermissionGrant one{.scope = u"s.one"_s};
    QTest::newRow("a person") << Operator{} << QStringList() << -1 << u"t.scoped"_s;
    QTest::newRow("granted on request") << modelWith({}) << both << 1 << u"t.scoped"_s;
    QTest::newRow("refused") << modelWith({}) << both << 0 << refused;
    QTest::newRow("no reply") << modelWith({}) << both << -1 << refused;
    QTest::newRow("one is known") << modelWith({one}) << QStringList{u"s.two"_s} << 1
                                  << u"t.scoped"_s;
    QTest::newRow("all are known")
        << modelWith({{.scope = u"s.*"_s}}) << QStringList() << -1 << u"t.scoped"_s;
    QTest::newRow("one is denied") << modelWith({one, {.scope = u"s.two"_s, .allowed = false}})
                                   << QStringList() << -1 << denied;
    QTest::newRow("without a store") << model << both << 1 << u"t.scoped"_s;
}

void TstZirnTaskRuntime::scopesAreSettledFirst()
{
    QFETCH(Operator, op);
    QFETCH(QStringList, asked);
    QFETCH(int, answer);
    QFETCH(QString, message);
    QStringList heard;
    connect(m_runtime.get(), &ZirnTaskRuntime::permissionRequired, this,
            [&](int id, const TaskPlan &plan, const QStringList &scopes) {
                QCOMPARE(plan.steps.size(), 2);
                heard = scopes;
                if (answer >= 0)
                    m_runtime->deliverPermissionDecision(id, answer == 1);
            });
    m_runtime->deliverPermissionDecision(1, true); // to no question: must not count for the next
    if (answer < 0)
        m_runtime->setPermissionTimeout(0ms);
    const TaskPlanResult result =
        run(*m_runtime, planOf({call(u"t.scoped"_s), call(u"t.scoped"_s)}), op);
    QCOMPARE(heard, asked);
    QCOMPARE(result.stepResults.first().message, message);
    QCOMPARE(result.success, message == u"t.scoped"_s);
    QCOMPARE(result.stepResults.size(), result.success ? 2 : 1);
}

void TstZirnTaskRuntime::refusedCallLeavesThePlanRunning()
{
    QStringList calls;
    connect(m_runtime.get(), &ZirnTaskRuntime::permissionRequired, this,
            [&](int id) { m_runtime->deliverPermissionDecision(id, true); });
    connect(m_runtime.get(), &ZirnTaskRuntime::permissionRequiredForCall, this,
            [&](int id, int index, const QString &task, const QStringList &scopes) {
                calls.append(u"%1 %2 %3"_s.arg(index).arg(task, scopes.join(u',')));
                m_runtime->deliverPermissionDecision(id, index == 2);
            });
    const TaskPlan plan = planOf({call(u"t.ok"_s), call(u"t.critical"_s), call(u"t.critical"_s)});
    const TaskPlanResult result = run(*m_runtime, plan, model);
    QCOMPARE(calls, (QStringList{u"1 t.critical s.critical"_s, u"2 t.critical s.critical"_s}));
    QVERIFY(!result.success && !result.cancelled);
    QCOMPARE(result.failedStepIndex, 1);
    QCOMPARE(messagesOf(result),
             (QStringList{u"ok"_s,
                          u"Refused at call-time confirmation. State: no changes (this step "
                          u"skipped). Suggestion: re-run the plan and approve, or relax the task's "
                          u"ConfirmationPolicy in your deployment."_s,
                          u"t.critical"_s}));
    calls.clear();
    QVERIFY(run(*m_runtime, plan).success); // a person is not asked
    QVERIFY(calls.isEmpty());
}

void TstZirnTaskRuntime::cancelReachesATask_data()
{
    QTest::addColumn<QString>("task");
    QTest::newRow("that looks") << u"t.poll"_s;
    QTest::newRow("that listens") << u"t.loop"_s;
}

void TstZirnTaskRuntime::cancelReachesATask()
{
    QFETCH(QString, task);
    connect(m_runtime.get(), &ZirnTaskRuntime::stepStarted, this, [&](int index) {
        QCOMPARE(m_runtime->currentStep(), index);
        m_runtime->cancel();
        m_runtime->cancel();
    });
    const TaskPlanResult result = run(*m_runtime, planOf({call(task), call(u"t.ok"_s)}));
    QVERIFY(result.cancelled && !result.success);
    QCOMPARE(messagesOf(result), QStringList{u"stopped"_s});
    QCOMPARE(result.failedStepIndex, 0);
    // The next plan knows nothing of it.
    disconnect(m_runtime.get(), &ZirnTaskRuntime::stepStarted, this, nullptr);
    QVERIFY(run(*m_runtime, planOf({call(u"t.ok"_s)})).success);
}

void TstZirnTaskRuntime::cancelBetweenStepsStopsThePlan()
{
    // A task that was cancelled may still succeed, and report: that is taken, and ends the plan.
    addTask(*m_registry, u"t.stubborn"_s, [this](const ZirnTaskParams &, ZirnTaskContext *context) {
        m_runtime->cancel();
        context->reportProgress(2.0f, u"late"_s);
        return ZirnTaskResult::succeeded(u"done all the same"_s);
    });
    QSignalSpy progress(m_runtime.get(), &ZirnTaskRuntime::progressUpdated);
    const TaskPlanResult result = run(*m_runtime, planOf({call(u"t.stubborn"_s), call(u"t.ok"_s)}));
    QVERIFY(result.cancelled && !result.success);
    QCOMPARE(result.failedStepIndex, -1);
    QCOMPARE(messagesOf(result), QStringList{u"done all the same"_s});
    QCOMPARE(progress.size(), 1);
    QCOMPARE(progress.first(), (QVariantList{0, 1.0f, u"late"_s}));
}

void TstZirnTaskRuntime::cancelRefusesAnOpenQuestion()
{
    connect(m_runtime.get(), &ZirnTaskRuntime::permissionRequired, this,
            [&](int id) { m_runtime->deliverPermissionDecision(id, true); });
    connect(m_runtime.get(), &ZirnTaskRuntime::permissionRequiredForCall, m_runtime.get(),
            &ZirnTaskRuntime::cancel);
    const TaskPlanResult result =
        run(*m_runtime, planOf({call(u"t.critical"_s), call(u"t.ok"_s)}), model);
    QVERIFY(result.cancelled && !result.success);
    QCOMPARE(result.stepResults.size(), 1);

    disconnect(m_runtime.get(), &ZirnTaskRuntime::permissionRequired, this, nullptr);
    connect(m_runtime.get(), &ZirnTaskRuntime::permissionRequired, m_runtime.get(),
            &ZirnTaskRuntime::cancel);
    QVERIFY(run(*m_runtime, planOf({call(u"t.critical"_s)}), model).cancelled);
}

void TstZirnTaskRuntime::skippedStepLetsThePlanGoOn()
{
    connect(m_runtime.get(), &ZirnTaskRuntime::stepStarted, this, [&](int index) {
        if (index == 0)
            m_runtime->skipCurrentStep();
    });
    const TaskPlanResult result =
        run(*m_runtime, planOf({call(u"t.loop"_s), call(u"t.ok"_s), call(u"t.fail"_s)}));
    QVERIFY(!result.success && !result.cancelled);
    QCOMPARE(result.failedStepIndex, 0);
    QCOMPARE(messagesOf(result), (QStringList{u"stopped"_s, u"ok"_s, u"failed"_s}));
}

void TstZirnTaskRuntime::timeLimitEndsAStep_data()
{
    cancelReachesATask_data();
}

void TstZirnTaskRuntime::timeLimitEndsAStep()
{
    QFETCH(QString, task);
    m_registry->task(task)->timeoutSeconds = 1;
    const TaskPlanResult result = run(*m_runtime, planOf({call(task), call(u"t.ok"_s)}));
    QVERIFY(!result.success && !result.cancelled);
    QCOMPARE(messagesOf(result), QStringList{u"stopped"_s});
}

void TstZirnTaskRuntime::reportsThatNobodyHearsAreMerged()
{
    constexpr int reports = 100000;
    QSemaphore allReported;
    addTask(*m_registry, u"t.chatty"_s, [&](const ZirnTaskParams &, ZirnTaskContext *context) {
        for (int i = 1; i <= reports; ++i)
            context->reportProgress(float(i) / reports, QString::number(i));
        allReported.release();
        return ZirnTaskResult::succeeded({});
    });
    QSignalSpy progress(m_runtime.get(), &ZirnTaskRuntime::progressUpdated);
    QVERIFY(m_runtime->submit(planOf({call(u"t.chatty"_s)}), {}));
    QVERIFY(allReported.tryAcquire(1, 30000)); // this thread, which should hear, was busy so long
    QVERIFY(resultOf(*m_runtime).success);
    QCOMPARE(progress.size(), 64);
    QCOMPARE(progress.first(), (QVariantList{0, 1.0f / reports, u"1"_s}));
    QCOMPARE(progress.last(), (QVariantList{0, 1.0f, u"100000"_s}));
}

void TstZirnTaskRuntime::tasksReachTheInterface()
{
    ZirnUIDriver driver;
    m_runtime->setUiDriver(&driver);
    const QVariantMap shown{{u"tab"_s, 2}};
    addTask(*m_registry, u"t.show"_s, [&](const ZirnTaskParams &, ZirnTaskContext *context) {
        emit context->uiDriver()->activityRequested(context->planId(), shown);
        return ZirnTaskResult::succeeded({});
    });
    QString planId;
    connect(&driver, &ZirnUIDriver::activityRequested, this,
            [&](const QString &name, const QVariantMap &args) {
                QCOMPARE(QThread::currentThread(), thread());
                QCOMPARE(args, shown);
                planId = name;
            });
    QVERIFY(run(*m_runtime, planOf({call(u"t.show"_s)})).success);
    QCOMPARE(planId.size(), 36); // a UUID without braces
}

void TstZirnTaskRuntime::plansWithOtherResourcesRunTogether()
{
    ZirnResourceManager resources;
    m_runtime->setResourceManager(&resources);
    const auto holding = [this](const QString &name, const QStringList &needed) {
        addTask(*m_registry, name, untilCancelled)->resources = needed;
        return planOf({call(name)});
    };
    QVERIFY(m_runtime->submit(holding(u"hold.ab"_s, {u"a"_s, u"b"_s, u"a"_s}), {}));
    QVERIFY(m_runtime->submit(holding(u"hold.c"_s, {u"c"_s}), {}));
    QVERIFY(!m_runtime->submit(holding(u"hold.db"_s, {u"d"_s, u"b"_s}), {}));
    QCOMPARE(messagesOf(resultOf(*m_runtime)),
             QStringList{u"Failed to submit plan 'test': required resources are busy. State: no "
                         u"changes. Suggestion: wait for the current plan to complete or cancel "
                         u"it."_s});
    QVERIFY(resources.ensureSemaphore(u"d"_s)->holders().isEmpty());
    QCOMPARE(resources.ensureSemaphore(u"a"_s)->holders().size(), 1);
    QSignalSpy completed(m_runtime.get(), &ZirnTaskRuntime::planCompleted);
    m_runtime->cancel();
    QTRY_COMPARE_WITH_TIMEOUT(completed.size(), 2, 30000);
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s})
        QVERIFY(resources.ensureSemaphore(name)->holders().isEmpty());
}

void TstZirnTaskRuntime::semaphoreCountsPlans()
{
    ZirnResourceSemaphore semaphore(u"r"_s, 2);
    QVERIFY(semaphore.tryAcquire(u"p"_s) && semaphore.tryAcquire(u"q"_s));
    QVERIFY(semaphore.tryAcquire(u"p"_s)); // has it already
    QVERIFY(!semaphore.tryAcquire(u"r"_s) && !semaphore.acquire(u"r"_s, 0ms));
    semaphore.release(u"stranger"_s);
    QCOMPARE(semaphore.holders(), (QSet<QString>{u"p"_s, u"q"_s}));
    const std::unique_ptr<QThread> other(QThread::create([&] { semaphore.release(u"p"_s); }));
    other->start();
    QVERIFY(semaphore.acquire(u"r"_s, 30s));
    other->wait();
    QCOMPARE(semaphore.holders(), (QSet<QString>{u"q"_s, u"r"_s}));
}

void TstZirnTaskRuntime::runtimeMayGoUnderItsPlan()
{
    // Shared: a release may still be at work when this function has seen it and returned.
    const auto begun = std::make_shared<QSemaphore>();
    const auto ended = std::make_shared<QSemaphore>();
    addTask(*m_registry, u"t.last"_s, [=](const ZirnTaskParams &params, ZirnTaskContext *context) {
        begun->release();
        const ZirnTaskResult result = untilCancelled(params, context);
        context->reportProgress(1.0f, u"to nobody"_s);
        ended->release();
        return result;
    });
    QVERIFY(m_runtime->submit(planOf({call(u"t.last"_s), call(u"t.ok"_s)}), {}));
    QVERIFY(begun->tryAcquire(1, 30000));
    QTest::ignoreMessage(QtWarningMsg,
                         "ZirnTaskRuntime: destroyed while a plan runs; the plan is cancelled");
    m_runtime.reset();
    QVERIFY(ended->tryAcquire(1, 30000));
}

void TstZirnTaskRuntime::longPlanCompletes()
{
    constexpr int steps = 5000;
    TaskPlan plan = planOf({call(u"t.ok"_s, {{u"a"_s, u"0"_s}}, {{u"x"_s, u"a"_s}})});
    for (int i = 1; i < steps; ++i)
        plan.steps.append(call(u"t.ok"_s, {{u"a"_s, u"${x}"_s}}, {{u"x"_s, u"a"_s}}));
    QSignalSpy completed(m_runtime.get(), &ZirnTaskRuntime::stepCompleted);
    const TaskPlanResult result = run(*m_runtime, plan);
    QVERIFY(result.success);
    QCOMPARE(completed.size(), steps);
    QCOMPARE(completed.last().first().toInt(), steps - 1);
}

QTEST_GUILESS_MAIN(TstZirnTaskRuntime)
#include "tst_ZirnTaskRuntime.moc"
