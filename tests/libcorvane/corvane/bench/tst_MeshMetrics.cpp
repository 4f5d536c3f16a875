#include <corvane/bench/BenchScore.h>

#include <support/FormulaFields.h>

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane::bench;
using support::ball;
using support::FloatMesh;
using support::FormulaEvaluator;

namespace {

const support::Field unitBox = support::box({1, 1, 1});

FloatMesh turnedInsideOut(FloatMesh mesh)
{
    for (auto &element : mesh.elements)
        std::swap(element.nodes[1], element.nodes[2]);
    return mesh;
}

FloatMesh withoutLast(FloatMesh mesh)
{
    mesh.elements.removeLast();
    return mesh;
}

// A cube with the edge along z at +x +y cut off, `cut` from the edge on both sides.
FloatMesh bevelled(float cut)
{
    FloatMesh mesh;
    const QList<std::pair<float, float>> outline{
        {-1, -1}, {1, -1}, {1, 1 - cut}, {1 - cut, 1}, {-1, 1}};
    const int n = int(outline.size());
    for (const float z : {-1.0f, 1.0f})
        for (const auto &[x, y] : outline)
            mesh.vertices.append({x, y, z});
    const auto add = [&mesh](int a, int b, int c) {
        mesh.addElement(mesh::ElementType::Triangle, {a, b, c});
    };
    for (int i = 0; i < n; ++i) {
        const int next = (i + 1) % n;
        add(i, next, n + next);
        add(i, n + next, n + i);
    }
    for (int i = 1; i + 1 < n; ++i) {
        add(0, i + 1, i);
        add(n, n + i, n + i + 1);
    }
    return mesh;
}

MeshMetrics measured(const FloatMesh &mesh, const support::Field &formula, double cellSize = 0.1)
{
    FormulaEvaluator field(formula);
    const std::atomic_bool cancelled = false;
    MeshMetrics metrics = computeMeshMetrics(mesh, field, cancelled);
    metrics.cellSize = cellSize;
    return metrics;
}

bool isNear(double value, double expected, double tolerance = 1e-3)
{
    return std::abs(value - expected) <= tolerance;
}

} // namespace

class TstMeshMetrics : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void columnsKeepTheirOrder()
    {
        QStringList names;
        for (const MetricColumn &column : metricColumns())
            names.append(column.name);
        QCOMPARE(names.join(u' '),
                 u"surface_mean surface_p95 surface_max feature_mean feature_p95 feature_max "
                 "feature_samples normal_mean_deg normal_p95_deg normal_max_deg "
                 "min_angle_mean_deg min_angle_worst_deg closed manifold orientable "
                 "boundary_edges triangle_count vertex_count export_seconds metrics_seconds "
                 "cell_size"_s);
        QVERIFY(metricValue(MeshMetrics::none).isNull());
        QCOMPARE(metricValue(0.5), QVariant(0.5));
    }

    void exactMeshHasNoError_data()
    {
        QTest::addColumn<FloatMesh>("mesh");
        QTest::addColumn<int>("vertexCount");
        QTest::newRow("indexed") << support::makeCube() << 8;
        QTest::newRow("soup") << support::asSoup(support::makeCube()) << 36;
    }
    void exactMeshHasNoError()
    {
        QFETCH(FloatMesh, mesh);
        QFETCH(int, vertexCount);
        const MeshMetrics m = measured(mesh, unitBox);
        QCOMPARE(m.surfaceMax, 0.0);
        QCOMPARE(m.featureSamples, 12.0);
        QVERIFY(m.featureMax < 1e-6);
        QVERIFY(m.normalMaxDeg < 0.1);
        QVERIFY(isNear(m.minAngleMeanDeg, 45) && isNear(m.minAngleWorstDeg, 45));
        QVERIFY(m.closed == 1 && m.manifold == 1 && m.orientable == 1 && m.boundaryEdges == 0);
        QCOMPARE(m.triangleCount, 12.0);
        QCOMPARE(m.vertexCount, double(vertexCount));
        QVERIFY(passesGate(m));
        QVERIFY(isNear(score(m), 100, 0.5));
    }

    void distanceIsThatOfTheVertices()
    {
        const MeshMetrics m = measured(support::makeSphere(1, 30, 60), ball({}, 1.03f));
        QVERIFY(isNear(m.surfaceMean, 0.03) && isNear(m.surfaceP95, 0.03));
        QVERIFY(isNear(m.surfaceMax, 0.03));
        QCOMPARE(m.featureSamples, 0.0);
        QVERIFY(qIsNaN(m.featureP95));
        QVERIFY(m.normalMaxDeg < 5);
    }

    // 1 of 20 vertices does not count, 2 of 20 do.
    void percentileLeavesOutTheWorst_data()
    {
        QTest::addColumn<int>("astray");
        QTest::addColumn<double>("p95");
        QTest::newRow("one of twenty") << 1 << 0.0;
        QTest::newRow("two of twenty") << 2 << 0.5;
    }
    void percentileLeavesOutTheWorst()
    {
        QFETCH(int, astray);
        QFETCH(double, p95);
        FloatMesh points;
        for (int i = 0; i < 20; ++i)
            points.vertices.append({float(i), 0, i < astray ? 0.5f : 0.0f});
        const MeshMetrics m = measured(points, [](const QVector3D &p) { return p.z(); });
        QCOMPARE(m.surfaceP95, p95);
        QCOMPARE(m.surfaceMax, 0.5);
        QCOMPARE(m.surfaceMean, 0.5 * astray / 20);
        QVERIFY(!passesGate(m));
    }

    void normalsAreComparedAsDirections()
    {
        const MeshMetrics m = measured(turnedInsideOut(support::makeCube()), unitBox);
        QVERIFY(isNear(m.normalMeanDeg, 180, 0.1));
        QVERIFY(isNear(m.normalP95Deg, 180, 0.1));
    }

    void bevelIsSeenAtItsEdges()
    {
        const MeshMetrics exact = measured(bevelled(0), unitBox);
        const MeshMetrics small = measured(bevelled(0.05f), unitBox);
        const MeshMetrics large = measured(bevelled(0.2f), unitBox);
        // All vertices lie on the box, so that only edges and normals can tell.
        QVERIFY(small.surfaceMax < 1e-6 && large.surfaceMax < 1e-6);
        QVERIFY(exact.featureMax < 1e-6);
        QVERIFY(small.featureMax > 0.01);
        QVERIFY(large.featureMax > small.featureMax);
        QVERIFY(isNear(large.normalMaxDeg, 45, 1));
        QVERIFY(score(large) < score(small));
    }

    void openMeshMissesTheGate()
    {
        const MeshMetrics m = measured(withoutLast(support::makeCube()), unitBox);
        QVERIFY(m.closed == 0 && m.manifold == 1);
        QCOMPARE(m.boundaryEdges, 3.0);
        QVERIFY(!passesGate(m));
        QVERIFY(isNear(score(m), 50, 0.5));
    }

    void nothingAndFailuresPassNoGate_data()
    {
        QTest::addColumn<MeshMetrics>("metrics");
        QTest::newRow("not measured") << MeshMetrics{};
        QTest::newRow("no triangles") << measured({}, unitBox);
        QTest::newRow("field is no number")
            << measured(support::makeCube(), [](const QVector3D &) { return std::nanf(""); });
        QTest::newRow("no cell size") << measured(support::makeCube(), unitBox, 0);
    }
    void nothingAndFailuresPassNoGate()
    {
        QFETCH(MeshMetrics, metrics);
        QVERIFY(!passesGate(metrics));
        QVERIFY(score(metrics) < 0.01);
    }

    void everyErrorLowersTheScore_data()
    {
        QTest::addColumn<double>("surface");
        QTest::addColumn<double>("feature");
        QTest::addColumn<double>("normal");
        QTest::addColumn<double>("expected");
        QTest::newRow("none") << 0.0 << 0.0 << 0.0 << 100.0;
        QTest::newRow("surface") << 0.05 << 0.0 << 0.0 << 50.0;
        QTest::newRow("feature") << 0.0 << 0.05 << 0.0 << 50.0;
        QTest::newRow("normal") << 0.0 << 0.0 << 15.0 << 50.0;
        QTest::newRow("no feature to see") << 0.0 << MeshMetrics::none << 0.0 << 100.0;
        QTest::newRow("all") << 0.025 << 0.025 << 15.0 << 100.0 / 3;
    }
    void everyErrorLowersTheScore()
    {
        QFETCH(double, surface);
        QFETCH(double, feature);
        QFETCH(double, normal);
        QFETCH(double, expected);
        MeshMetrics m = measured(support::makeCube(), unitBox);
        m.surfaceP95 = surface;
        m.featureP95 = feature;
        m.normalP95Deg = normal;
        // At half a cell the gate closes, which halves the score.
        const double gate = surface < 0.05 ? 1.0 : 0.5;
        QCOMPARE(passesGate(m), gate == 1.0);
        QVERIFY(isNear(score(m), expected * gate, 1e-9));
    }

    void cancelEndsIt()
    {
        int evaluations = 0;
        FormulaEvaluator field([&](const QVector3D &) {
            ++evaluations;
            return 0.0f;
        });
        const std::atomic_bool cancelled = true;
        computeMeshMetrics(support::makeSphere(1, 30, 60), field, cancelled);
        QCOMPARE(evaluations, 0);
    }
};

QTEST_GUILESS_MAIN(TstMeshMetrics)
#include "tst_MeshMetrics.moc"
