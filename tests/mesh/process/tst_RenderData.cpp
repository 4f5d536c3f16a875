// What becomes of an imported mesh: parts by material, levels of detail, data for a renderer.

#include <support/MeshChecks.h>

#include <mesh/io/MaterialMeshPart.h>
#include <mesh/process/MeshLODGenerator.h>
#include <mesh/process/MeshVertexExpander.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace mesh::process;
using mesh::ElementType;
using support::FloatMesh;
using support::Point;

namespace {

Point normalAt(const ExpandedVertexData &data, int vertex)
{
    const float *const v = data.vertices.constData() + vertex * ExpandedVertexData::floatsPerVertex;
    return {v[3], v[4], v[5]};
}

} // namespace

class TstRenderData : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void hardEdgesKeepTwoNormals()
    {
        const auto cube = MeshVertexExpander::expand(support::makeCube(2));
        QVERIFY(cube.isValid());
        QCOMPARE(cube.triangleCount, 12);
        QCOMPARE(cube.vertexCount, 36);
        QCOMPARE(cube.vertices.size(), 36 * ExpandedVertexData::floatsPerVertex);
        for (int i = 0; i < 36; ++i) {
            const Point n = normalAt(cube, i);
            QVERIFY(std::abs(std::abs(n.x) + std::abs(n.y) + std::abs(n.z) - 1) < 1e-6f);
            QCOMPARE(n, normalAt(cube, i / 3 * 3)); // that of its side
        }
        QVERIFY((cube.boundsMin - Point{-2.2f, -2.2f, -2.2f}).length() < 1e-5f);
        QVERIFY((cube.boundsMax - Point{2.2f, 2.2f, 2.2f}).length() < 1e-5f);
    }

    void softEdgesShareOne()
    {
        const FloatMesh sphere = support::makeSphere(1, 60, 90); // 90 faces meet at a pole
        const auto data = MeshVertexExpander::expand(sphere);
        for (int i = 0; i < data.vertexCount; ++i) {
            const Point p = sphere.vertices.at(sphere.elements.at(i / 3).nodes[i % 3]);
            QVERIFY(normalAt(data, i).dot(p) > 0.998f);
        }
    }

    void whatHasNoNormalGetsTheYAxis()
    {
        FloatMesh line;
        line.vertices = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}};
        line.addElement(ElementType::Triangle, {0, 1, 2});
        QCOMPARE(normalAt(MeshVertexExpander::expand(line), 1), (Point{0, 1, 0}));
        QVERIFY(!MeshVertexExpander::expand({}).isValid());
        const auto cancel = [](qint64, qint64) { return false; };
        QVERIFY(!MeshVertexExpander::expand(support::makeCube(), cancel).isValid());
    }

    void levelsHalve()
    {
        const FloatMesh sphere = support::makeSphere(1, 40, 60);
        const auto set = MeshLODGenerator::generate(sphere, 10);
        QCOMPARE(set.levels.size(), 8); // 4680 / 2^7 is 36, half of that below 32
        QCOMPARE(set.levels.first().data.triangleCount, sphere.elements.size());
        for (int level = 1; level < set.levels.size(); ++level) {
            QCOMPARE(set.levels.at(level).ratio, std::pow(0.5, level));
            const double wanted = double(sphere.elements.size()) * set.levels.at(level).ratio;
            const int is = set.levels.at(level).data.triangleCount;
            // A handful of triangles is what the grid happens to make of it.
            QVERIFY2(is > 0 && (wanted < 200 || is > 0.4 * wanted) && is < 1.6 * wanted,
                     qPrintable(QString::number(is)));
        }
        QCOMPARE(MeshLODGenerator::generate(support::makeCube(), 5).levels.size(), 1);
        QCOMPARE(MeshLODGenerator::generate({}, 5).levels.size(), 0);
    }

    void aFlatSurfaceHasLevelsToo()
    {
        FloatMesh flat = support::makeSphere(1, 30, 30);
        for (Point &p : flat.vertices)
            p.y = 0;
        QVERIFY(MeshLODGenerator::generate(flat, 4).levels.size() > 1);
    }

    void partsHaveOneMaterialEach()
    {
        FloatMesh mesh = support::makeCube();
        mesh.normals.fill({0, 0, 1}, mesh.vertices.size());
        mesh.vertexAttributes[u"weight"_s] = {0, 1, 2, 3, 4, 5, 6, 7};
        mesh.elementAttributes[u"group"_s] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
        mesh.elements[4].materialId = mesh.elements[5].materialId = 1;
        mesh.elements[6].materialId = 7;
        const QVariantMap red = {
            {u"name"_s, u"red"_s}, {u"albedoR"_s, 1.0}, {u"roughness"_s, u"?"_s}};
        mesh.metadata[u"materials"_s] = QVariantList{QVariantMap{}, red};
        const auto parts = mesh::io::splitByMaterial(mesh);
        QCOMPARE(parts.size(), 3);
        QCOMPARE(parts.at(0).name, u"material_0"_s);
        QCOMPARE(parts.at(1).name, u"red"_s);
        QCOMPARE(parts.at(2).name, u"material_7"_s);
        QCOMPARE(parts.at(1).albedoR, 1.0f);
        QCOMPARE(parts.at(1).roughness, 0.5f);
        QCOMPARE(parts.at(0).mesh.elements.size(), 9);
        const FloatMesh &side = parts.at(1).mesh;
        QCOMPARE(side.elements.size(), 2);
        QCOMPARE(side.vertices.size(), 4);
        QCOMPARE(side.normals.size(), 4);
        QCOMPARE(side.vertexAttributes.value(u"weight"_s), (QList<float>{0, 1, 4, 5}));
        QCOMPARE(side.elementAttributes.value(u"group"_s), (QList<float>{4, 5}));
        QCOMPARE(support::surfaceArea(side), 4.0);
        QCOMPARE(mesh::io::splitByMaterial(support::makeCube()).size(), 1);
        QCOMPARE(mesh::io::splitByMaterial({}).size(), 0);
    }
};

QTEST_GUILESS_MAIN(TstRenderData)
#include "tst_RenderData.moc"
