#include "TaskFixture.h"

#include <corvane/tasks/CorvaneTask.h>
#include <corvane/zirn/ZirnTaskRuntime.h>

#include <QSignalSpy>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::zirn;

namespace {

/// An edit in the middle of which the scene is closed.
class ClosingTask : public CorvaneMutationTask
{
public:
    explicit ClosingTask(std::function<void()> close)
        : CorvaneMutationTask(u"test.edit"_s, {}, {}, {}, {})
        , m_close(std::move(close))
    {}

protected:
    ZirnTaskResult doMutate(const ZirnTaskParams &, ops::CorvaneOpExecutor *executor,
                            QSharedPointer<model::Corvane> scene, model::LogicalScene *) override
    {
        QMetaObject::invokeMethod(qApp, m_close, Qt::BlockingQueuedConnection);
        const ops::CorvaneOp op{ops::OpKind::SettingsSet, {{u"path"_s, u"a.b"_s}, {u"value"_s, 1}}};
        const bool isRefused = !applyOnMainThread(executor, op);
        const bool isGone = SceneAccess::current().document != scene;
        return ZirnTaskResult::succeeded(isRefused && isGone ? u"refused, and the scene is gone"_s
                                                             : u"applied"_s);
    }

private:
    const std::function<void()> m_close;
};

} // namespace

class TstCorvaneTask : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { prepareTasks(m_home); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void nothingRunsWithoutScene_data();
    void nothingRunsWithoutScene();
    void withoutAnExecutorScenesAreOnlyRead();
    void aSceneThatIsClosedEndsItsPlan_data();
    void aSceneThatIsClosedEndsItsPlan();

private:
    QTemporaryDir m_home;
};

void TstCorvaneTask::nothingRunsWithoutScene_data()
{
    QTest::addColumn<const TaskRow *>("row");
    for (const TaskRow *row : taskCatalogue())
        QTest::newRow(row->name.data()) << row;
}

void TstCorvaneTask::nothingRunsWithoutScene()
{
    QFETCH(const TaskRow *, row);
    TaskFixture fixture;
    // With a scene and no arguments each comes back with words of its own.
    ZirnTaskResult result = fixture.call(row->name);
    static const QRegularExpression failure(
        u"^(Failed to |mesh.bench.run needs ).+ State: unchanged\\."_s);
    QVERIFY2(result.success || failure.match(result.message).hasMatch(),
             qPrintable(result.message));
    ops::CorvaneServiceLocator::instance().clear();
    result = fixture.call(row->name);
    QVERIFY(!result.success);
    if (row->kind != TaskKind::Plain)
        QCOMPARE(result.message,
                 u"Failed to execute %1: no Corvane scene loaded. State: unchanged. "
                 u"Suggestion: open or create a scene first."_s.arg(row->name));
}

void TstCorvaneTask::withoutAnExecutorScenesAreOnlyRead()
{
    TaskFixture fixture;
    ops::CorvaneServiceLocator::instance().setExecutor(nullptr);
    QVERIFY(fixture.call(u"corvane.scene.list_items"_s).success);
    QCOMPARE(fixture.call(u"corvane.list_batches"_s).message,
             u"Failed to list batches: no executor available. State: unchanged. Suggestion: ensure "
             u"a scene is loaded."_s);
    QCOMPARE(fixture.call(u"corvane.varset.add_named"_s, {{u"varsetName"_s, u"a"_s}}).message,
             u"Failed to execute corvane.varset.add_named: no Corvane scene loaded. State: "
             u"unchanged. Suggestion: open or create a scene first."_s);
}

void TstCorvaneTask::aSceneThatIsClosedEndsItsPlan_data()
{
    QTest::addColumn<QString>("task");
    QTest::addColumn<QString>("message");
    QTest::newRow("between steps, before an edit")
        << u"corvane.item.add"_s
        << u"Failed to execute corvane.item.add: no Corvane scene loaded. State: unchanged. "
           u"Suggestion: open or create a scene first."_s;
    QTest::newRow("between steps, before a query")
        << u"corvane.scene.list_items"_s
        << u"Failed to execute corvane.scene.list_items: no Corvane scene loaded. State: "
           u"unchanged. Suggestion: open or create a scene first."_s;
    QTest::newRow("inside of a step") << u"test.edit"_s << u"refused, and the scene is gone"_s;
}

/// With everything that belongs to it, while the plan's thread holds on to what it was given.
void TstCorvaneTask::aSceneThatIsClosedEndsItsPlan()
{
    QFETCH(QString, task);
    QFETCH(QString, message);
    auto fixture = std::make_unique<TaskFixture>();
    QWeakPointer<model::Corvane> document = fixture->document;
    ZirnTaskRegistry registry;
    registerCorvaneTasks(&registry);
    const bool isInside = task == "test.edit"_L1;
    registry.registerTask(QSharedPointer<ClosingTask>::create([&fixture] { fixture.reset(); }));
    ZirnTaskRuntime runtime(&registry);
    connect(&runtime, &ZirnTaskRuntime::stepCompleted, this, [&fixture, isInside] {
        if (!isInside)
            fixture.reset();
    });
    QSignalSpy completed(&runtime, &ZirnTaskRuntime::planCompleted);
    QVERIFY(runtime.submit({.description = u"test"_s,
                            .steps = {{.task = u"corvane.scene.list_items"_s}, {.task = task}}},
                           {}));
    QVERIFY(completed.wait(30000));
    const auto result = completed.first().first().value<TaskPlanResult>();
    QCOMPARE(result.stepResults.last().message, message);
    QCOMPARE(result.failedStepIndex, isInside ? -1 : 1);
    QVERIFY(document.isNull());
}

QTEST_MAIN(TstCorvaneTask)
#include "tst_CorvaneTask.moc"
