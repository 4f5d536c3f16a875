#include <corvane/eval/TransformProbe.h>
#include <corvane/model/Instance.h>
#include <corvane/registry/Registry.h>

#include <QTest>

using namespace Qt::StringLiterals;
using corvane::eval::TransformProbe;
using corvane::eval::TransformStep;

class TstTransformProbe : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_registry.loadBuiltinPrimitives(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void pointGoesThroughTheChain_data();
    void pointGoesThroughTheChain();
    void parametersAreThoseOfTheNode();
    void brokenChainIsCompiledOnce();

private:
    TransformStep step(const QString &id, std::initializer_list<float> parameters) const
    {
        TransformStep made{.definition = m_registry.getDefinition(id), .parameters = {}};
        std::copy(parameters.begin(), parameters.end(), made.parameters.begin());
        return made;
    }

    corvane::registry::Registry m_registry;
};

void TstTransformProbe::pointGoesThroughTheChain_data()
{
    QTest::addColumn<QList<TransformStep>>("steps");
    QTest::addColumn<QVector3D>("result");
    const TransformStep move = step(u"translate"_s, {1, 0, 0});
    const TransformStep half = step(u"scale"_s, {2});
    QTest::newRow("no step") << QList<TransformStep>{} << QVector3D(3, 4, 5);
    QTest::newRow("one step") << QList{move} << QVector3D(2, 4, 5);
    QTest::newRow("in order") << QList{move, half} << QVector3D(1, 2, 2.5f);
    QTest::newRow("the other way round") << QList{half, move} << QVector3D(0.5f, 2, 2.5f);
    QTest::newRow("the same twice") << QList{move, move} << QVector3D(1, 4, 5);
}

void TstTransformProbe::pointGoesThroughTheChain()
{
    QFETCH(QList<TransformStep>, steps);
    QFETCH(QVector3D, result);
    TransformProbe probe;
    QCOMPARE(probe.evaluateChain(steps, {0, 0, 0}).has_value(), true);
    QCOMPARE(probe.evaluateChain(steps, {3, 4, 5}), std::optional(result));
}

void TstTransformProbe::parametersAreThoseOfTheNode()
{
    corvane::model::Instance instance(u"translate"_s);
    instance.setParameter(u"offset"_s, QVariantList{1.0, 2.0, 3.0});
    const std::array<float, 8> expected{1, 2, 3};
    QCOMPARE(TransformProbe::packParameters(instance, *m_registry.getDefinition(u"translate"_s)),
             expected);
}

void TstTransformProbe::brokenChainIsCompiledOnce()
{
    auto broken = corvane::registry::DefinitionPtr::create();
    broken->id = u"broken"_s;
    broken->primaryFunctionName = u"op_broken"_s;
    broken->shaderCode = u"vec3 op_broken(vec3 p) { return nowhere(p); }"_s;
    const QList<TransformStep> steps{{.definition = broken, .parameters = {}}};
    TransformProbe probe;
    QTest::ignoreMessage(QtWarningMsg, "TransformProbe::evaluateChain compile failed (cached): "
                                       "unknown function 'nowhere'");
    QCOMPARE(probe.evaluateChain(steps, {1, 2, 3}), std::nullopt);
    QCOMPARE(probe.evaluateChain(steps, {4, 5, 6}), std::nullopt);
}

QTEST_GUILESS_MAIN(TstTransformProbe)
#include "tst_TransformProbe.moc"
