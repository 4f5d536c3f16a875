// Whole exports by the extractors that keep edges, of volumes, and through the steps after meshing.

#include <corvane/xport/ExportPipeline.h>
#include <corvane/xport/MemoryBudget.h>

#include <corvane/mesh/Tetrahedron.h>
#include <support/MeshChecks.h>
#include <support/NodeTree.h>
#include <support/QueuedSpy.h>

#include <mesh/io/IORegistry.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <numbers>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::xport;
using support::NodeTree;

namespace {

using Scene = std::function<int(NodeTree &)>;

int sphere(NodeTree &tree)
{
    return tree.add("sphere"_L1, {2});
}

int longCylinder(NodeTree &tree)
{
    return tree.add("cylinder"_L1, {1, 5});
}

int box(NodeTree &tree)
{
    return tree.add("box"_L1, {1.05f, 2, 0.53f});
}

int turnedBox(NodeTree &tree)
{
    return tree.add("rotate"_L1, {0, 45, 0}, {box(tree)});
}

int drilledBlock(NodeTree &tree)
{
    const int hole = tree.add("translate"_L1, {0.3f, 0, 0}, {tree.add("cylinder"_L1, {0.4f, 3})});
    const int turned = tree.add("rotate"_L1, {90, 0, 0}, {tree.add("cylinder"_L1, {0.2f, 3})});
    return tree.add("subtract"_L1, {}, {tree.add("box"_L1, {1, 1, 1}), hole, turned});
}

// Blocks that meet in one edge, and in one corner.
int touchingBlocks(NodeTree &tree)
{
    QList<int> blocks;
    for (const auto &place :
         {std::array{-1.0f, -1.0f, -1.0f}, {1.0f, 1.0f, -1.0f}, {1.0f, -1.0f, 1.0f}})
        blocks.append(tree.add("translate"_L1, {place[0], place[1], place[2]},
                               {tree.add("box"_L1, {1, 1, 1})}));
    return tree.addNode(u"union"_s, {}, blocks);
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

Q_DECLARE_METATYPE(Scene)

class TstSharpExport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void solidBecomesAClosedMesh_data();
    void solidBecomesAClosedMesh();
    void edgesStaySharp_data();
    void edgesStaySharp();
    void sealedEndsAreFlat_data();
    void sealedEndsAreFlat();
    void fileIsTheSameForAnyThreads_data();
    void fileIsTheSameForAnyThreads();
    void volumeFillsTheSolid();
    void stepsKeepTheSolid_data();
    void stepsKeepTheSolid();
    void failureIsASentence_data();
    void failureIsASentence();
    void cancelStopsAnEndlessField_data();
    void cancelStopsAnEndlessField();
    void whatDoesNotFitIsSaidWithNumbers();

private:
    ExportRequest requestFor(const Scene &scene, int extractor) const;
    static ExportResult exported(const ExportRequest &request);
    static support::FloatMesh read(const ExportRequest &request);

    QScopedPointer<QTemporaryDir> m_folder;
};

void TstSharpExport::initTestCase()
{
    auto endless = registry::DefinitionPtr::create();
    endless->id = u"test_endless"_s;
    endless->name = endless->id;
    endless->category = u"Test"_s;
    endless->shaderCode = u"float sdf_test_endless(vec3 p) { float s = 0.0;\n"
                          "while (true) { while (true) { while (true) { s = s + 1.0; } } }\n"
                          "return s; }"_s;
    registry::Registry::instance().registerFileScopedPrimitive(endless);
}

void TstSharpExport::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    m_folder.reset(new QTemporaryDir);
}

ExportRequest TstSharpExport::requestFor(const Scene &scene, int extractor) const
{
    NodeTree tree;
    ExportRequest request;
    request.rootNodeIndex = scene(tree);
    request.nodes = tree.nodes;
    request.boundsMin = {-3, -3, -3};
    request.boundsMax = {3, 3, 3};
    request.cellSize = 0.1f;
    request.chunkSize = 16;
    request.extractor = extractor;
    request.outputPath = m_folder->filePath(u"out.stl"_s);
    return request;
}

ExportResult TstSharpExport::exported(const ExportRequest &request)
{
    ExportPipeline pipeline;
    support::QueuedSpy finished(&pipeline, &ExportPipeline::finished);
    pipeline.run(request);
    if (finished.isEmpty() && !finished.wait(120000))
        return ExportResult::failed(u"no end"_s);
    return finished.first().first().value<ExportResult>();
}

support::FloatMesh TstSharpExport::read(const ExportRequest &request)
{
    const auto mesh = ::mesh::io::IORegistry<float>::instance().load(request.outputPath);
    return mesh ? support::welded(mesh.value()) : support::FloatMesh();
}

void TstSharpExport::solidBecomesAClosedMesh_data()
{
    QTest::addColumn<Scene>("scene");
    QTest::addColumn<int>("extractor");
    QTest::addColumn<double>("volume");
    constexpr double pi = std::numbers::pi;
    for (const int extractor : {1, 2}) {
        const auto row = [&](const char *name, const Scene &scene, double volume) {
            QTest::addRow("%s, %s", name, extractor == 1 ? "uniform" : "octree")
                << scene << extractor << volume;
        };
        row("sphere", sphere, 4.0 / 3.0 * pi * 8.0);
        row("box", box, 8 * 1.05 * 2 * 0.53);
        row("box at 45 degrees", turnedBox, 8 * 1.05 * 2 * 0.53);
        row("drilled block", drilledBlock, 0.0);
        row("blocks that touch", touchingBlocks, 24.0);
    }
}

void TstSharpExport::solidBecomesAClosedMesh()
{
    QFETCH(Scene, scene);
    QFETCH(int, extractor);
    QFETCH(double, volume);
    const ExportRequest request = requestFor(scene, extractor);
    const ExportResult result = exported(request);
    QVERIFY2(result.success, qPrintable(result.errorMessage));
    const support::FloatMesh mesh = read(request);
    QCOMPARE(mesh.elements.size(), result.triangleCount);
    QVERIFY(support::isClosedManifold(mesh));
    const double enclosed = support::signedVolume(mesh);
    QVERIFY(enclosed > 0.0);
    if (volume > 0.0)
        QVERIFY2(std::fabs(enclosed - volume) < 0.005 * volume,
                 qPrintable(QString::number(enclosed)));
}

void TstSharpExport::edgesStaySharp_data()
{
    QTest::addColumn<int>("extractor");
    QTest::newRow("uniform") << 1;
    QTest::newRow("octree") << 2;
}

void TstSharpExport::edgesStaySharp()
{
    QFETCH(int, extractor);
    const ExportRequest request = requestFor(box, extractor);
    QVERIFY(exported(request).success);
    // Every vertex lies on the faces, and some at each corner.
    float nearest = 1;
    const support::FloatMesh mesh = read(request);
    for (const auto &v : mesh.vertices) {
        const std::array away{std::fabs(v.x) - 1.05f, std::fabs(v.y) - 2.0f,
                              std::fabs(v.z) - 0.53f};
        QVERIFY(std::fabs(*std::max_element(away.begin(), away.end())) < 0.01f * request.cellSize);
        nearest = std::min(nearest, std::hypot(away[0], away[1], away[2]));
    }
    QVERIFY(nearest < 0.01f * request.cellSize);
}

void TstSharpExport::sealedEndsAreFlat_data()
{
    edgesStaySharp_data();
}

void TstSharpExport::sealedEndsAreFlat()
{
    QFETCH(int, extractor);
    ExportRequest request = requestFor(longCylinder, extractor);
    QVERIFY(exported(request).success);
    QVERIFY(extractor == 2 || !support::isClosedManifold(read(request)));

    request.sealed = true;
    QVERIFY(exported(request).success);
    const support::FloatMesh mesh = read(request);
    QVERIFY(support::isClosedManifold(mesh));
    // The caps lie half a cell inside the ends of the grid, and meet the wall in sharp edges.
    qsizetype onCaps = 0;
    for (const auto &v : mesh.vertices) {
        const bool onCap = std::fabs(std::fabs(v.y) - 2.95f) < 0.002f * request.cellSize;
        onCaps += onCap ? 1 : 0;
        QVERIFY(onCap || std::fabs(std::hypot(v.x, v.z) - 1) < 0.05f * request.cellSize);
        QVERIFY(std::fabs(v.y) < 2.951f);
    }
    QVERIFY(onCaps > 50);
}

void TstSharpExport::fileIsTheSameForAnyThreads_data()
{
    QTest::addColumn<int>("extractor");
    QTest::addColumn<bool>("sealed");
    QTest::newRow("uniform") << 1 << false;
    QTest::newRow("uniform, sealed") << 1 << true;
    QTest::newRow("octree") << 2 << true;
}

void TstSharpExport::fileIsTheSameForAnyThreads()
{
    QFETCH(int, extractor);
    QFETCH(bool, sealed);
    // Thin sheets that meet in every way, so that cells at the seams have several vertices.
    ExportRequest request = requestFor(
        [](NodeTree &t) {
            return t.add("gyroid"_L1, {1.1f, 0.08f});
        },
        extractor);
    request.sealed = sealed;
    request.chunkSize = 64;
    request.threadCount = 1;
    QVERIFY(exported(request).success);
    const QByteArray alone = contentOf(request.outputPath);
    QVERIFY(alone.size() > 100000);
    if (sealed)
        QVERIFY(support::isClosedManifold(read(request)));
    for (const int threads : {2, 8}) {
        request.threadCount = threads;
        request.chunkSize = 64 / threads;
        QVERIFY(exported(request).success);
        QVERIFY(contentOf(request.outputPath) == alone);
    }
}

void TstSharpExport::volumeFillsTheSolid()
{
    ExportRequest request = requestFor(drilledBlock, 0);
    request.algorithm = 1;
    request.threadCount = 2;
    request.outputPath = m_folder->filePath(u"out.vtk"_s);
    const ExportResult result = exported(request);
    QVERIFY2(result.success, qPrintable(result.errorMessage));
    QCOMPARE(result.triangleCount, 0);
    const auto loaded = ::mesh::io::IORegistry<float>::instance().load(request.outputPath);
    QVERIFY(loaded.isOk());
    const auto &mesh = loaded.value();
    QCOMPARE(mesh.elements.size(), result.tetrahedronCount);
    QCOMPARE(mesh.vertices.size(), result.vertexCount);
    double sum = 0;
    for (const auto &element : mesh.elements) {
        QCOMPARE(element.type, ::mesh::ElementType::Tetrahedron);
        const auto corner = [&](int n) {
            const auto &v = mesh.vertices.at(element.nodes[n]);
            return QVector3D(v.x, v.y, v.z);
        };
        const double six = corvane::mesh::signedVolume6(corner(0), corner(1), corner(2), corner(3));
        QVERIFY(six > 0);
        sum += six / 6;
    }
    // Marching cubes gives the same solid, but for crossings that were moved to their nodes.
    ExportRequest surface = requestFor(drilledBlock, 0);
    QVERIFY(exported(surface).success);
    QVERIFY(std::fabs(sum / support::signedVolume(read(surface)) - 1) < 0.05);
}

void TstSharpExport::stepsKeepTheSolid_data()
{
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<int>("mostTriangles");
    QTest::newRow("weld") << QStringList{u"weld"_s} << 20000;
    QTest::newRow("project") << QStringList{u"sdfProject(3)"_s} << 20000;
    QTest::newRow("remesh") << QStringList{u"remesh(0.2)"_s} << 5000;
    QTest::newRow("merge") << QStringList{u"coplanarMerge"_s} << 800;
    QTest::newRow("decimate") << QStringList{u"qemDecimate(0.2)"_s} << 2500;
    QTest::newRow("all") << QStringList{u"weld(1e-5)"_s, u"sdfProject"_s, u"remesh"_s,
                                        u"qemDecimate"_s, u"coplanarMerge(2)"_s}
                         << 8000;
}

void TstSharpExport::stepsKeepTheSolid()
{
    QFETCH(QStringList, steps);
    QFETCH(int, mostTriangles);
    ExportRequest request = requestFor(drilledBlock, 1);
    request.outputPath = m_folder->filePath(u"out.ply"_s);
    QVERIFY(exported(request).success);
    const double volume = support::signedVolume(read(request));
    request.postprocess = steps;
    const ExportResult result = exported(request);
    QVERIFY2(result.success, qPrintable(result.errorMessage));
    const support::FloatMesh mesh = read(request);
    QVERIFY(support::isClosedManifold(mesh));
    QVERIFY2(mesh.elements.size() <= mostTriangles,
             qPrintable(QString::number(mesh.elements.size())));
    QVERIFY(std::fabs(support::signedVolume(mesh) / volume - 1) < 0.02);
}

void TstSharpExport::failureIsASentence_data()
{
    QTest::addColumn<Scene>("scene");
    QTest::addColumn<std::function<void(ExportRequest &)>>("change");
    QTest::addColumn<QString>("error");
    const auto row = [](const char *name, const Scene &scene,
                        const std::function<void(ExportRequest &)> &change,
                        const QString &error) { QTest::newRow(name) << scene << change << error; };
    const Scene broken = [](NodeTree &t) { return t.add("translate"_L1); };
    row(
        "octree that cannot fit", sphere,
        [](ExportRequest &r) { r.extractor = 2, r.cellSize = 0.0004f; },
        u"An octree over 16385 x 16385 x 16385 nodes needs "_s);
    row(
        "octree beyond limits", sphere,
        [](ExportRequest &r) {
            r.extractor = 2, r.boundsMin = {0, 0, 0}, r.boundsMax = {1e7f, 1, 1}, r.cellSize = 1;
        },
        u"An octree over 16777217 x 16777217 x 16777217 nodes is too large: the limit is 1048577 nodes an axis"_s);
    row(
        "volume that cannot fit", sphere,
        [](ExportRequest &r) { r.algorithm = 1, r.cellSize = 0.0004f; },
        u"A volume over 15001 x 15001 x 15001 nodes needs 13502.7 GB of memory, and "_s);
    row(
        "octree of a broken tree", broken, [](ExportRequest &r) { r.extractor = 2; },
        u"Octree DC evaluator failed: CPUFieldEvaluator: SdfSceneGraphBuilder failed: "_s);
    row(
        "volume of a broken tree", broken, [](ExportRequest &r) { r.algorithm = 1; },
        u"Volume evaluator failed: PositionTransform node has no child"_s);
    row(
        "empty octree", sphere, [](ExportRequest &r) { r.extractor = 2, r.nodes.clear(); },
        u"Export produced no triangles — the source may be hidden or outside the export bounds"_s);
    row(
        "empty volume", sphere, [](ExportRequest &r) { r.algorithm = 1, r.nodes.clear(); },
        u"Export produced no tetrahedra — the source may be hidden or outside the export bounds"_s);
    row(
        "unknown step", sphere, [](ExportRequest &r) { r.postprocess = {u"polish"_s}; },
        u"unknown postprocess step 'polish'"_s);
    row(
        "volume that cannot be saved", sphere,
        [](ExportRequest &r) { r.algorithm = 1, r.outputPath = u"/proc/nowhere/a.vtk"_s; },
        u"Failed to save tet mesh: "_s);
}

void TstSharpExport::failureIsASentence()
{
    QFETCH(Scene, scene);
    QFETCH(std::function<void(ExportRequest &)>, change);
    QFETCH(QString, error);
    ExportRequest request = requestFor(scene, 0);
    change(request);
    const ExportResult result = exported(request);
    QVERIFY(!result.success);
    QVERIFY2(result.errorMessage.startsWith(error), qPrintable(result.errorMessage));
    QVERIFY(!QFile::exists(m_folder->filePath(u"out.stl"_s)));
}

void TstSharpExport::cancelStopsAnEndlessField_data()
{
    QTest::addColumn<int>("extractor");
    QTest::addColumn<int>("algorithm");
    QTest::newRow("uniform") << 1 << 0;
    QTest::newRow("octree") << 2 << 0;
    QTest::newRow("volume") << 0 << 1;
}

void TstSharpExport::cancelStopsAnEndlessField()
{
    QFETCH(int, extractor);
    QFETCH(int, algorithm);
    ExportRequest request =
        requestFor([](NodeTree &t) { return t.add("test_endless"_L1); }, extractor);
    request.algorithm = algorithm;
    ExportPipeline pipeline;
    support::QueuedSpy finished(&pipeline, &ExportPipeline::finished);
    support::QueuedSpy progress(&pipeline, &ExportPipeline::progressChanged);
    pipeline.run(request);
    QVERIFY(!progress.isEmpty() || progress.wait(60000));
    pipeline.cancel();
    QVERIFY(!finished.isEmpty() || finished.wait(60000));
    QCOMPARE(finished.first().first().value<ExportResult>().errorMessage, u"Export cancelled"_s);
}

void TstSharpExport::whatDoesNotFitIsSaidWithNumbers()
{
    QVERIFY(availableMemory() > 1e6);
    QCOMPARE(memoryError(u"A thing"_s, 8e9, 1e10), QString());
    QCOMPARE(memoryError(u"A thing"_s, 9.5e9, 1e10),
             u"A thing needs 9.5 GB of memory, and 10.0 GB are available"_s);
    QCOMPARE(memoryError(u"A thing"_s, 5e6, 1.5e6),
             u"A thing needs 5.0 MB of memory, and 1.5 MB are available"_s);
}

QTEST_GUILESS_MAIN(TstSharpExport)
#include "tst_SharpExport.moc"
