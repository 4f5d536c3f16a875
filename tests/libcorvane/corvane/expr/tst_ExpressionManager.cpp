#include <corvane/expr/ExpressionManager.h>
#include <corvane/expr/NodeNames.h>
#include <corvane/model/Corvane.h>

#include <QRegularExpression>
#include <QSignalSpy>

#include <thread>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::expr;
using corvane::model::Corvane;
using corvane::model::Instance;

namespace {

Instance box(const QString &name, const QVariantMap &params)
{
    Instance instance(u"box"_s);
    instance.name = name;
    instance.setParameters(params);
    return instance;
}

} // namespace

class TstExpressionManager : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void parameterFollowsItsVariable();
    void chainsAreEvaluatedInOrder();
    void derivedVariableHasTheTypeOfItsResult();
    void failureLeavesTheFallback_data();
    void failureLeavesTheFallback();
    void cycleKeepsStoredValues();
    void parametersReadEachOther();
    void aNameOfTwoNodesMeansNeither();
    void unchangedResultUpdatesNothing();
    void transformParameterMovesTheItem();
    void editedExpressionIsCompiledAnew();
    void removedParameterIsForgotten();
    void typesFollowTheValues_data();
    void typesFollowTheValues();
    void blockedSignalsAreNoticed();
    void timeFollowsTheClock();
    void resultsAreToldByName();
    void referencesAreListed();
    void workerCopyIsDetached();
    void manyExpressionsEvaluate();
};

void TstExpressionManager::parameterFollowsItsVariable()
{
    Corvane scene;
    scene.setVariableEntry(u"width"_s, {.value = 40ll});
    const QUuid id = scene.addItem(box(u"b"_s, {{u"width"_s, u"=width*2"_s}}));
    ExpressionManager manager(&scene);
    manager.evaluateAll();
    QCOMPARE(manager.errors(), QStringList());
    QCOMPARE(scene.instance(id).parameter(u"width"_s), QVariant(80.0f));
    QSignalSpy changed(&scene, &Corvane::sceneChanged);
    QSignalSpy updated(&scene, &Corvane::instanceUpdated);
    scene.setVariableEntry(u"width"_s, {.value = 1.5});
    QCOMPARE(scene.instance(id).parameter(u"width"_s), QVariant(3.0f));
    QCOMPARE(scene.instance(id).parameterValue(u"width"_s).expression, u"width*2"_s);
    QCOMPARE(updated.size(), 1);
    QCOMPARE(changed.size(), 1);
}

void TstExpressionManager::chainsAreEvaluatedInOrder()
{
    Corvane scene;
    scene.setVariableEntries({{u"a"_s, {.value = 0, .expression = u"b + 1.0"_s}},
                              {u"b"_s, {.value = 0, .expression = u"more.c * 2.0"_s}},
                              {u"z"_s, {.value = 5}}});
    scene.setNamedVarset(u"more"_s, {{u"c"_s, {.value = 0, .expression = u"default.z + 1.0"_s}}});
    const QUuid id = scene.addItem(box({}, {{u"width"_s, u"$a"_s}}));
    ExpressionManager manager(&scene);
    manager.evaluateAll();
    QCOMPARE(manager.errors(), QStringList());
    QCOMPARE(scene.instance(id).parameter(u"width"_s), QVariant(13.0f));
    QCOMPARE(manager.value(u"default.a"_s), QVariant(13.0f));
    QCOMPARE(scene.variableEntry(u"more.c"_s).value, QVariant(6.0f));
    QCOMPARE(scene.varset().value(u"a"_s), QVariant(13.0f));
}

void TstExpressionManager::derivedVariableHasTheTypeOfItsResult()
{
    Corvane scene;
    scene.setVariableEntries({{u"axis"_s, {.value = {}, .expression = u"vec3(1.0, 2.0, 3.0)"_s}},
                              {u"count"_s, {.value = {}, .expression = u"2 + 3"_s}},
                              {u"half"_s, {.value = {}, .expression = u"count / 2"_s}}});
    const QUuid id = scene.addItem(box(u"b"_s, {{u"offset"_s, u"=axis * half"_s}}));
    ExpressionManager manager(&scene);
    manager.evaluateAll();
    QCOMPARE(manager.errors(), QStringList());
    QCOMPARE(scene.instance(id).parameter(u"offset"_s), QVariant(QVector3D(2.5f, 5, 7.5f)));
}

void TstExpressionManager::failureLeavesTheFallback_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("error");
    QTest::newRow("unknown name") << u"nobody"_s << u"b.width: Unknown name: nobody"_s;
    QTest::newRow("syntax") << u"1.0 +"_s << QString();
    QTest::newRow("no value here") << u"position.x"_s << u"b.width: 'position' has no value here"_s;
    QTest::newRow("division by zero") << u"1.0 / zero"_s << QString();
    QTest::newRow("infinite") << u"math.INF"_s << u"b.width: the value is not finite"_s;
    QTest::newRow("infinite in a vector")
        << u"vec3(math.INF)"_s << u"b.width: the value is not finite"_s;
}

void TstExpressionManager::failureLeavesTheFallback()
{
    QFETCH(const QString, text);
    QFETCH(const QString, error);
    Corvane scene;
    scene.setVariableEntry(u"zero"_s, {.value = 0});
    Instance instance = box(u"b"_s, {});
    instance.setExpression(u"width"_s, text, 7);
    instance.setExpression(u"height"_s, u"zero + 1.0"_s, 7);
    scene.addItem(instance);
    ExpressionManager manager(&scene);
    QSignalSpy complete(&manager, &ExpressionManager::evaluationComplete);
    manager.evaluateAll();
    QCOMPARE(complete.size(), 1);
    QCOMPARE(manager.errors().size(), 1);
    if (!error.isEmpty())
        QCOMPARE(manager.errors().first(), error);
    QCOMPARE(scene.instance(instance.id).parameter(u"width"_s), QVariant(7));
    QCOMPARE(scene.instance(instance.id).parameter(u"height"_s), QVariant(1.0f));

    QSignalSpy errorsChanged(&manager, &ExpressionManager::errorsChanged);
    instance = scene.instance(instance.id);
    instance.setExpression(u"width"_s, u"zero"_s, 7);
    scene.updateItem(instance);
    QCOMPARE(manager.errors(), QStringList());
    QCOMPARE(errorsChanged.size(), 1);
    QCOMPARE(scene.instance(instance.id).parameter(u"width"_s), QVariant(0.0f));
}

void TstExpressionManager::cycleKeepsStoredValues()
{
    Corvane scene;
    scene.setVariableEntries({{u"a"_s, {.value = 3, .expression = u"b + 1.0"_s}},
                              {u"b"_s, {.value = 4, .expression = u"a + 1.0"_s}},
                              {u"c"_s, {.value = 5, .expression = u"2.0"_s}}});
    ExpressionManager manager(&scene);
    manager.evaluateAll();
    QCOMPARE(manager.errors(), QStringList{u"Circular dependency involving 'a'"_s});
    QCOMPARE(scene.variableEntry(u"a"_s).value, QVariant(3));
    QCOMPARE(scene.variableEntry(u"b"_s).value, QVariant(4));
    QCOMPARE(manager.value(u"a"_s), QVariant(3));
    QCOMPARE(scene.variableEntry(u"c"_s).value, QVariant(2.0f));
    scene.setVariableEntry(u"b"_s, {.value = 4});
    QCOMPARE(manager.errors(), QStringList());
    QCOMPARE(scene.variableEntry(u"a"_s).value, QVariant(5.0f));
}

void TstExpressionManager::parametersReadEachOther()
{
    Corvane scene;
    scene.setVariableEntry(u"w"_s, {.value = 2});
    const QUuid a = scene.addItem(box(u"a"_s, {{u"width"_s, u"=b.height + 1.0"_s}}));
    const QUuid b = scene.addItem(
        box(u"b"_s, {{u"height"_s, u"=c.depth * w"_s}, {u"size"_s, QVariantList{1, 2, 3}}}));
    const QUuid c = scene.addItem(box(u"c"_s, {{u"depth"_s, 4.0}, {u"x"_s, u"=b.size.z"_s}}));
    ExpressionManager manager(&scene);
    manager.evaluateAll();
    QCOMPARE(manager.errors(), QStringList());
    QCOMPARE(scene.instance(a).parameter(u"width"_s), QVariant(9.0f));
    QCOMPARE(scene.instance(c).parameter(u"x"_s), QVariant(3.0f));

    Instance moved = scene.instance(c);
    moved.setParameter(u"depth"_s, 5.0);
    scene.updateItem(moved);
    QCOMPARE(scene.instance(b).parameter(u"height"_s), QVariant(10.0f));
    QCOMPARE(scene.instance(a).parameter(u"width"_s), QVariant(11.0f));

    moved = scene.instance(c);
    moved.setParameter(u"depth"_s, u"=a.width"_s);
    scene.updateItem(moved);
    QCOMPARE(manager.errors().size(), 1);
    QVERIFY(manager.errors().first().startsWith(u"Circular dependency involving '"_s));
    QCOMPARE(scene.instance(a).parameter(u"width"_s), QVariant(11.0f));
}

void TstExpressionManager::aNameOfTwoNodesMeansNeither()
{
    const QUuid first = QUuid::createUuid(), second = QUuid::createUuid();
    NodeNames names;
    names.add(u"Ball"_s, first);
    QCOMPARE(names.holder(u"Ball"_s), first);
    names.add(u"Ball"_s, second);
    QVERIFY(names.holder(u"Ball"_s).isNull());
    names.remove(u"Ball"_s, first);
    QCOMPARE(names.holder(u"Ball"_s), second);
}

void TstExpressionManager::unchangedResultUpdatesNothing()
{
    Corvane scene;
    Instance instance = box(u"b"_s, {});
    instance.setExpression(u"width"_s, u"0.1"_s, 0.1f);
    instance.setExpression(u"offset"_s, u"vec3(1.0)"_s, QVariantList{1, 1.0, 1});
    scene.addItem(instance);
    ExpressionManager manager(&scene);
    QSignalSpy updated(&scene, &Corvane::instanceUpdated);
    manager.evaluateAll();
    manager.evaluateAll();
    QCOMPARE(manager.errors(), QStringList());
    QCOMPARE(updated.size(), 0);
}

void TstExpressionManager::transformParameterMovesTheItem()
{
    Corvane scene;
    const QUuid id = scene.addItem(box(u"b"_s, {{u"translate"_s, u"=vec3(1.0, 2.0, 3.0)"_s}}));
    ExpressionManager manager(&scene);
    manager.evaluateAll();
    QCOMPARE(scene.item(id).translate, QVector3D(1, 2, 3));
    Instance moved = scene.instance(id);
    moved.translate = {7, 7, 7};
    scene.updateItem(moved);
    QCOMPARE(scene.item(id).translate, QVector3D(1, 2, 3));
}

void TstExpressionManager::editedExpressionIsCompiledAnew()
{
    Corvane scene;
    scene.setVariableEntry(u"w"_s, {.value = 2});
    scene.addItem(box(u"other"_s, {{u"depth"_s, 3.0}}));
    const QUuid id = scene.addItem(box(u"b"_s, {{u"width"_s, 1.0}}));
    ExpressionManager manager(&scene);
    manager.evaluateAll();
    for (const auto &[stored, value] : {std::pair<QVariant, QVariant>{u"=w"_s, 2.0f},
                                        {u"=other.depth"_s, 3.0f},
                                        {u"=w*w"_s, 4.0f},
                                        {u"=w*w"_s, 4.0f},
                                        {9.0, 9.0},
                                        {u"=w"_s, 2.0f}}) {
        Instance instance = scene.instance(id);
        instance.setParameter(u"width"_s, stored);
        scene.updateItem(instance);
        QCOMPARE(scene.instance(id).parameter(u"width"_s), value);
    }
    scene.setVariableEntry(u"w"_s, {.value = 3});
    QCOMPARE(scene.instance(id).parameter(u"width"_s), QVariant(3.0f));
}

void TstExpressionManager::removedParameterIsForgotten()
{
    Corvane scene;
    const QUuid a = scene.addItem(box(u"a"_s, {{u"width"_s, 1.0}}));
    const QUuid b = scene.addItem(box(u"b"_s, {{u"width"_s, u"=a.width"_s}}));
    ExpressionManager manager(&scene);
    manager.evaluateAll();
    Instance instance = scene.instance(a);
    instance.removeParameter(u"width"_s);
    scene.updateItem(instance);
    QVERIFY(!manager.graph().contains(ExpressionManager::nodeId(a, u"width"_s)));
    QCOMPARE(manager.errors(), QStringList{u"b.width: Unknown name: a.width"_s});
    QCOMPARE(scene.instance(b).parameter(u"width"_s), QVariant(1.0f));
}

void TstExpressionManager::typesFollowTheValues_data()
{
    QTest::addColumn<QVariant>("first"); // of "a.p", which "b.x" reads
    QTest::addColumn<QVariant>("then");
    QTest::addColumn<QString>("reader");
    QTest::addColumn<QVariant>("value");
    const QVariant vector = u"=vec3(1.0, 2.0, 3.0)"_s;
    QTest::newRow("vector without a value")
        << vector << QVariant() << u"=a.p.y"_s << QVariant(2.0f);
    QTest::newRow("number to vector") << QVariant(1.0) << vector << u"=a.p.y"_s << QVariant(2.0f);
    QTest::newRow("vector to number") << vector << QVariant(4.0) << u"=a.p"_s << QVariant(4.0f);
    QTest::newRow("new name") << QVariant() << QVariant(4.0) << u"=a.p"_s << QVariant(4.0f);
    QTest::newRow("whole number by expression")
        << QVariant(u"=2 + 3"_s) << QVariant() << u"=a.p / 2"_s << QVariant(2.5f);
}

void TstExpressionManager::typesFollowTheValues()
{
    QFETCH(const QVariant, first);
    QFETCH(const QVariant, then);
    QFETCH(const QString, reader);
    QFETCH(const QVariant, value);
    Corvane scene;
    const QUuid a =
        scene.addItem(box(u"a"_s, first.isValid() ? QVariantMap{{u"p"_s, first}} : QVariantMap()));
    const QUuid b = scene.addItem(box(u"b"_s, {{u"x"_s, reader}}));
    ExpressionManager manager(&scene);
    manager.evaluateAll();
    if (then.isValid()) {
        Instance instance = scene.instance(a);
        instance.setParameter(u"p"_s, then);
        scene.updateItem(instance);
    }
    QCOMPARE(manager.errors(), QStringList());
    QCOMPARE(scene.instance(b).parameter(u"x"_s), value);
    manager.rebuildGraph();
    manager.evaluateAll();
    QCOMPARE(scene.instance(b).parameter(u"x"_s), value);
}

void TstExpressionManager::blockedSignalsAreNoticed()
{
    Corvane scene;
    scene.setVariableEntry(u"w"_s, {.value = 2});
    const QUuid id = scene.addItem(box(u"b"_s, {{u"width"_s, u"=w"_s}}));
    ExpressionManager manager(&scene);
    manager.evaluateAll();
    {
        const QSignalBlocker blocker(&scene);
        scene.setVariableEntry(u"v"_s, {.value = 0, .expression = u"w * 10.0"_s});
        Instance instance = scene.instance(id);
        instance.setParameter(u"width"_s, u"=v"_s);
        scene.updateItem(instance);
    }
    manager.evaluateAll();
    QCOMPARE(scene.instance(id).parameter(u"width"_s), QVariant(20.0f));
}

void TstExpressionManager::timeFollowsTheClock()
{
    Corvane scene;
    scene.setSceneSetting(u"animation.fps"_s, 10);
    const QUuid id = scene.addItem(box(u"b"_s, {{u"width"_s, u"=time * 2.0"_s}}));
    ExpressionManager manager(&scene);
    scene.setAnimationCurrentFrame(15);
    manager.evaluateAll();
    QCOMPARE(scene.instance(id).parameter(u"width"_s), QVariant(3.0f));
    scene.setAnimationFps(5);
    QCOMPARE(scene.instance(id).parameter(u"width"_s), QVariant(6.0f));
}

void TstExpressionManager::resultsAreToldByName()
{
    Corvane scene;
    scene.setVariableEntry(u"d"_s, {.value = 0, .expression = u"3.0"_s});
    ExpressionManager manager(&scene);
    QSignalSpy evaluated(&manager, &ExpressionManager::varsetEntryEvaluated);
    manager.evaluateAll();
    QCOMPARE(evaluated.size(), 1);
    QCOMPARE(evaluated.at(0), QVariantList({u"d"_s, 3.0f}));
}

void TstExpressionManager::referencesAreListed()
{
    Corvane scene;
    scene.setVariableEntries(
        {{u"w"_s, {.value = 1}}, {u"d"_s, {.value = 0, .expression = u"w"_s}}});
    const QUuid id = scene.addItem(box(u"b"_s, {{u"width"_s, u"=w*2"_s}, {u"depth"_s, 1}}));
    const ExpressionManager manager(&scene);
    const auto references = manager.referencesTo(u"w"_s);
    QCOMPARE(references.size(), 2);
    QVERIFY(references.contains({{}, u"d"_s, u"w"_s}));
    QVERIFY(references.contains({id, u"width"_s, u"w*2"_s}));
    QVERIFY(manager.referencesTo(u"d"_s).isEmpty());
}

void TstExpressionManager::workerCopyIsDetached()
{
    Corvane scene;
    scene.setVariableEntry(u"w"_s, {.value = 2});
    const QUuid id = scene.addItem(box(u"b"_s, {{u"width"_s, u"=w + time"_s}}));
    ExpressionManager manager(&scene);
    manager.evaluateAll();
    const auto copy = manager.cloneForWorker();
    scene.setVariableEntry(u"w"_s, {.value = 100});
    const QString node = ExpressionManager::nodeId(id, u"width"_s);
    QVariant seen;
    std::thread worker([&copy, &seen, node] {
        copy->setValue(u"time"_s, 1.0);
        copy->evaluateAll();
        seen = copy->value(node);
    });
    manager.evaluateAll();
    worker.join();
    QCOMPARE(seen, QVariant(3.0f));
    QCOMPARE(scene.instance(id).parameter(u"width"_s), QVariant(100.0f));
}

void TstExpressionManager::manyExpressionsEvaluate()
{
    Corvane scene;
    model::VarsetEntries variables{{u"v0"_s, {.value = 1}}};
    for (int i = 1; i < 2000; ++i)
        variables.insert(u"v%1"_s.arg(i), {.value = 0, .expression = u"v%1 + 1.0"_s.arg(i - 1)});
    scene.setVariableEntries(variables);
    QUuid last;
    for (int i = 0; i < 2000; ++i)
        last =
            scene.addItem(box(u"b%1"_s.arg(i), {{u"width"_s, u"=v%1"_s.arg(i)}, {u"depth"_s, 1}}));
    ExpressionManager manager(&scene);
    manager.evaluateAll();
    QCOMPARE(manager.errors(), QStringList());
    QCOMPARE(scene.instance(last).parameter(u"width"_s), QVariant(2000.0f));
}

QTEST_GUILESS_MAIN(TstExpressionManager)
#include "tst_ExpressionManager.moc"
