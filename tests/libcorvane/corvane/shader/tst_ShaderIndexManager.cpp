#include <corvane/shader/ShaderIndexManager.h>

#include "TestDefinitions.h"

#include <QRegularExpression>
#include <QTest>

using namespace corvane::shader;
using namespace testing;
using namespace Qt::StringLiterals;

class TstShaderIndexManager : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void kindsHaveTables_data();
    void kindsHaveTables();
    void definitionsWithoutUseGetNoIndex();
    void indexSurvivesTheActiveSet();
};

void TstShaderIndexManager::kindsHaveTables_data()
{
    QTest::addColumn<NodeType>("kind");
    QTest::addColumn<GpuNodeType>("table");

    QTest::newRow("primitive") << NodeType::Primitive << GpuNodeType::Primitive;
    QTest::newRow("field") << NodeType::ScalarField << GpuNodeType::Primitive;
    QTest::newRow("operator") << NodeType::CSGOperator << GpuNodeType::CsgOp;
    QTest::newRow("transform") << NodeType::PositionTransform << GpuNodeType::PositionTransform;
    QTest::newRow("modifier") << NodeType::DistanceModifier << GpuNodeType::DistanceModifier;
    QTest::newRow("position-aware")
        << NodeType::PositionAwareModifier << GpuNodeType::PositionAwareModifier;
}

void TstShaderIndexManager::kindsHaveTables()
{
    QFETCH(const NodeType, kind);
    QFETCH(const GpuNodeType, table);
    corvane::registry::Registry registry;
    registry.registerPrimitive(definition(u"b"_s, kind, u"code"_s));
    registry.registerPrimitive(definition(u"a"_s, kind, u"code"_s));

    ShaderIndexManager indices;
    indices.rebuildIndices(&registry);
    for (std::uint32_t type = 0; type < gpuNodeTypeCount; ++type)
        QCOMPARE(indices.count(static_cast<GpuNodeType>(type)),
                 static_cast<GpuNodeType>(type) == table ? 2 : 0);
    QCOMPARE(indices.indexOf(table, u"a"_s), 0);
    QCOMPARE(indices.idAt(table, 1), u"b"_s);
    QCOMPARE(indices.idAt(table, 2), QString());
    QCOMPARE(indices.idAt(table, -1), QString());
    QVERIFY(indices.find(u"b"_s));
    QVERIFY(indices.find(u"b"_s)->type == table);
    QVERIFY(!indices.find(u"c"_s));
}

void TstShaderIndexManager::definitionsWithoutUseGetNoIndex()
{
    corvane::registry::Registry registry;
    const auto disabled = definition(u"a"_s, NodeType::Primitive, u"code"_s);
    disabled->enabled = false;
    registry.registerPrimitive(disabled);
    registry.registerPrimitive(definition(u"b"_s, NodeType::Primitive, u"  \n "_s));
    registry.registerPrimitive(definition(u"c"_s, NodeType::Unknown, u"code"_s));
    registry.registerPrimitive(definition(u"d"_s, NodeType::Primitive, u"code"_s));

    QTest::ignoreMessage(QtWarningMsg, "ShaderIndexManager: Unknown node type for c");
    ShaderIndexManager indices;
    indices.rebuildIndices(&registry);
    QCOMPARE(indices.count(GpuNodeType::Primitive), 1);
    QCOMPARE(indices.primitiveIndex(u"d"_s), 0);
    QCOMPARE(indices.primitiveIndex(u"a"_s), -1);
}

void TstShaderIndexManager::indexSurvivesTheActiveSet()
{
    corvane::registry::Registry registry;
    for (const QString &id : {u"a"_s, u"b"_s, u"c"_s})
        registry.registerPrimitive(definition(id, NodeType::Primitive, u"code"_s));
    ShaderIndexManager indices;
    indices.rebuildIndices(&registry);
    QCOMPARE(indices.activePrimitiveCount(), 3);

    QVERIFY(indices.setActiveDefinitionIds({u"c"_s, u"a"_s}));
    QCOMPARE(indices.primitiveIndex(u"c"_s), 2);
    QCOMPARE(indices.activeIndices(GpuNodeType::Primitive), QList<int>({0, 2}));
    QVERIFY(!indices.isActive(u"b"_s));

    indices.rebuildIndices(&registry);
    QCOMPARE(indices.activePrimitiveCount(), 2);
    indices.clearActiveFilter();
    QVERIFY(indices.isActive(u"b"_s));
}

QTEST_GUILESS_MAIN(TstShaderIndexManager)
#include "tst_ShaderIndexManager.moc"
