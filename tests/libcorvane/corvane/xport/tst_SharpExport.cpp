// Whole exports by the extractors that keep edges, of volumes, and through the steps after meshing.

#include <corvane/eval/CPUFieldEvaluator.h>
#include <corvane/mesh/Tetrahedron.h>
#include <corvane/xport/MemoryBudget.h>
#include <support/ExportRun.h>
#include <support/Files.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <numbers>

using namespace Qt::StringLiterals;
using support::contentOf;
using namespace corvane;
using namespace corvane::xport;
using support::exported;
using support::meshOf;
using Change = std::function<void(ExportRequest &)>;

Q_DECLARE_METATYPE(Change)

namespace {

const QString sphere = u"(sphere 2)"_s;
const QString box = u"(box 1.05 2 0.53)"_s;
const QString drilledBlock = u"(subtract (box 1 1 1) (translate 0.3 0 0 (cylinder 0.4 3)) "
                             "(rotate 90 0 0 (cylinder 0.2 3)))"_s;
const QString tetrahedron = u"(tetrahedron 1.53)"_s;
// They meet in one edge, and in one corner.
const QString touchingBlocks = u"(union (translate -1 -1 -1 (box 1 1 1)) "
                               "(translate 1 1 -1 (box 1 1 1)) (translate 1 -1 1 (box 1 1 1)))"_s;

/// With nodes in no symmetry with the solid.
ExportRequest offGrid(ExportRequest request)
{
    request.boundsMin = {-2.97f, -2.91f, -2.95f};
    request.boundsMax = {4.3f, 3, 3};
    return request;
}

} // namespace

class TstSharpExport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { support::addEndlessShape(); }
    void init();
    void solidBecomesAClosedMesh_data();
    void solidBecomesAClosedMesh();
    void edgesStaySharp_data();
    void edgesStaySharp();
    void verticesLieOnTheSurface_data();
    void verticesLieOnTheSurface();
    void crestsHaveNoBites_data();
    void crestsHaveNoBites();
    void tipsAreReached_data();
    void tipsAreReached();
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
    ExportRequest requestFor(const QString &scene, int extractor) const
    {
        auto request = support::requestFor(scene, m_folder->filePath(u"out.stl"_s), 0.1f);
        request.chunkSize = 16;
        request.extractor = extractor;
        return request;
    }

    QScopedPointer<QTemporaryDir> m_folder;
};

void TstSharpExport::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    m_folder.reset(new QTemporaryDir);
}

void TstSharpExport::solidBecomesAClosedMesh_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<int>("extractor");
    QTest::addColumn<double>("volume");
    constexpr double pi = std::numbers::pi;
    for (const int extractor : {1, 2}) {
        const auto row = [&](const char *name, const QString &scene, double volume) {
            QTest::addRow("%s, %s", name, extractor == 1 ? "uniform" : "octree")
                << scene << extractor << volume;
        };
        row("sphere", sphere, 4.0 / 3.0 * pi * 8.0);
        row("box", box, 8 * 1.05 * 2 * 0.53);
        row("box at 45 degrees", u"(rotate 0 45 0 "_s + box + u')', 8 * 1.05 * 2 * 0.53);
        row("drilled block", drilledBlock, 0.0);
        row("blocks that touch", touchingBlocks, 24.0);
    }
}

void TstSharpExport::solidBecomesAClosedMesh()
{
    QFETCH(QString, scene);
    QFETCH(int, extractor);
    QFETCH(double, volume);
    const ExportRequest request = requestFor(scene, extractor);
    const ExportResult result = exported(request);
    QVERIFY2(result.success, qPrintable(result.errorMessage));
    const support::FloatMesh mesh = meshOf(request);
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
    const support::FloatMesh mesh = meshOf(request);
    for (const auto &v : mesh.vertices) {
        const std::array away{std::fabs(v.x) - 1.05f, std::fabs(v.y) - 2.0f,
                              std::fabs(v.z) - 0.53f};
        QVERIFY(std::fabs(*std::max_element(away.begin(), away.end())) < 0.01f * request.cellSize);
        nearest = std::min(nearest, std::hypot(away[0], away[1], away[2]));
    }
    QVERIFY(nearest < 0.01f * request.cellSize);
}

void TstSharpExport::verticesLieOnTheSurface_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<int>("extractor");
    QTest::addColumn<float>("cell");
    QTest::addColumn<double>("mostTurned"); // as a share of the triangles
    for (const int extractor : {1, 2}) {
        const auto row = [&](const char *name, const QString &scene, double mostTurned = 0.0) {
            for (const float cell : {0.2f, 0.13f})
                QTest::addRow("%s, %s, %g", name, extractor == 1 ? "uniform" : "octree",
                              double(cell))
                    << scene << extractor << cell << mostTurned;
        };
        row("cone", u"(cone 1.02 1.55)"_s, 0.001);
        row("turned box", u"(rotate 30 20 0 (box 1.31 0.87 1.13))"_s,
            extractor == 1 ? 0.002 : 0.02);
        row("turned tetrahedron", u"(rotate 10 20 35 (tetrahedron 1.53))"_s, 0.02);
        row("thread", u"(threaded_rod 3 0.9 4.6 60)"_s, 0.005);
        row("blade",
            u"(rotate 5 25 10 (intersect (plane 0.2 1 0 0.5) (plane 0.2 -1 0 0.5) "
            "(box 2 2 1)))"_s,
            0.015);
        row("wing", u"(rotate 0 0 20 (naca_4series_airfoil 4 2 0.04 0.4 0.15))"_s, 0.005);
    }
}

// Also at acute edges, where planes that are fitted to crossings leave chips and folded triangles.
void TstSharpExport::verticesLieOnTheSurface()
{
    QFETCH(QString, scene);
    QFETCH(int, extractor);
    QFETCH(float, cell);
    QFETCH(double, mostTurned);
    ExportRequest request = offGrid(requestFor(scene, extractor));
    request.cellSize = cell;
    QVERIFY(exported(request).success);
    const support::FloatMesh mesh = meshOf(request);
    QVERIFY(support::isClosedManifold(mesh));
    corvane::eval::CPUFieldEvaluator field(request.nodes, request.rootNodeIndex);
    for (const auto &v : mesh.vertices) {
        const float distance = std::fabs(field.evaluate(v.x, v.y, v.z));
        QVERIFY2(distance < 0.02f * cell, qPrintable(QString::number(double(distance / cell))));
    }
    double turned = 0;
    for (const auto &element : mesh.elements) {
        const auto &a = mesh.vertices.at(element.nodes[0]);
        const auto &b = mesh.vertices.at(element.nodes[1]);
        const auto &c = mesh.vertices.at(element.nodes[2]);
        const auto cross = (b - a).cross(c - a);
        const auto centre = (a + b + c) / 3.0f;
        const auto at = field.evaluateWithGradient(centre.x, centre.y, centre.z);
        // A sliver faces nowhere.
        if (cross.length() > 0.001f * cell * cell &&
            cross.dot(support::Point{at.gradientX, at.gradientY, at.gradientZ}) < 0)
            ++turned;
    }
    QVERIFY2(turned <= mostTurned * double(mesh.elements.size()),
             qPrintable(QString::number(turned)));
}

void TstSharpExport::crestsHaveNoBites_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<int>("extractor");
    for (const int extractor : {1, 2}) {
        const char *way = extractor == 1 ? "uniform" : "octree";
        QTest::addRow("thread, %s", way) << u"(threaded_rod 3 0.5 4.6 60)"_s << extractor;
        // Its edges run along the diagonals of cells, over faces with two inside corners.
        QTest::addRow("tetrahedron, %s", way) << tetrahedron << extractor;
    }
}

// The crest runs between the nodes of the grid, through cells without a vertex of their own.
void TstSharpExport::crestsHaveNoBites()
{
    QFETCH(QString, scene);
    QFETCH(int, extractor);
    const ExportRequest request = offGrid(requestFor(scene, extractor));
    QVERIFY(exported(request).success);
    const support::FloatMesh mesh = meshOf(request);
    QVERIFY(support::isClosedManifold(mesh));
    corvane::eval::CPUFieldEvaluator field(request.nodes, request.rootNodeIndex);
    double bites = 0;
    for (const auto &element : mesh.elements) {
        for (int n = 0; n < 3; ++n) {
            const auto middle = (mesh.vertices.at(element.nodes[n]) +
                                 mesh.vertices.at(element.nodes[(n + 1) % 3])) *
                                0.5f;
            if (std::fabs(field.evaluate(middle.x, middle.y, middle.z)) > 0.15f * request.cellSize)
                ++bites;
        }
    }
    const double share = bites / (3.0 * double(mesh.elements.size()));
    QVERIFY2(share < 0.01, qPrintable(QString::number(share)));
}

void TstSharpExport::tipsAreReached_data()
{
    QTest::addColumn<int>("extractor");
    QTest::addColumn<float>("cell");
    for (const int extractor : {1, 2}) {
        for (const float cell : {0.1f, 0.083f})
            QTest::addRow("%s, %g", extractor == 1 ? "uniform" : "octree", double(cell))
                << extractor << cell;
    }
}

// The solid ends more than a cell beyond the last node that is inside.
void TstSharpExport::tipsAreReached()
{
    QFETCH(int, extractor);
    QFETCH(float, cell);
    ExportRequest request = offGrid(requestFor(tetrahedron, extractor));
    request.cellSize = cell;
    QVERIFY(exported(request).success);
    const support::FloatMesh mesh = meshOf(request);
    QVERIFY(support::isClosedManifold(mesh));
    constexpr float s = 1.53f;
    for (const support::Point &tip : {support::Point{s, s, s}, support::Point{s, -s, -s},
                                      support::Point{-s, s, -s}, support::Point{-s, -s, s}}) {
        float nearest = 1;
        for (const auto &v : mesh.vertices)
            nearest = std::min(nearest, (v - tip).length());
        QVERIFY2(nearest < 0.02f * cell, qPrintable(QString::number(double(nearest / cell))));
    }
}

void TstSharpExport::sealedEndsAreFlat_data()
{
    edgesStaySharp_data();
}

void TstSharpExport::sealedEndsAreFlat()
{
    QFETCH(int, extractor);
    ExportRequest request = requestFor(u"(cylinder 1 5)"_s, extractor);
    QVERIFY(exported(request).success);
    QVERIFY(extractor == 2 || !support::isClosedManifold(meshOf(request)));

    request.sealed = true;
    QVERIFY(exported(request).success);
    const support::FloatMesh mesh = meshOf(request);
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
    QTest::addColumn<QString>("scene");
    // Thin sheets that meet in every way, so that cells at the seams have several vertices.
    const QString sheets = u"(gyroid 1.1 0.08)"_s;
    QTest::newRow("marching cubes") << 0 << false << sheets;
    QTest::newRow("uniform") << 1 << false << sheets;
    QTest::newRow("uniform, sealed") << 1 << true << sheets;
    QTest::newRow("octree") << 2 << true << sheets;
    QTest::newRow("crests at the seams") << 1 << true << u"(threaded_rod 3 0.5 4.6 60)"_s;
    QTest::newRow("tips at the seams") << 1 << true << u"(rotate 10 20 35 "_s + tetrahedron + u')';
}

void TstSharpExport::fileIsTheSameForAnyThreads()
{
    QFETCH(int, extractor);
    QFETCH(bool, sealed);
    QFETCH(QString, scene);
    ExportRequest request = requestFor(scene, extractor);
    request.sealed = sealed;
    request.chunkSize = 64;
    request.threadCount = 1;
    QVERIFY(exported(request).success);
    const QByteArray alone = contentOf(request.outputPath);
    QVERIFY(alone.size() > 100000);
    if (sealed)
        QVERIFY(support::isClosedManifold(meshOf(request)));
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
    QVERIFY(std::fabs(sum / support::signedVolume(meshOf(surface)) - 1) < 0.05);
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
    const double volume = support::signedVolume(meshOf(request));
    request.postprocess = steps;
    const ExportResult result = exported(request);
    QVERIFY2(result.success, qPrintable(result.errorMessage));
    const support::FloatMesh mesh = meshOf(request);
    QVERIFY(support::isClosedManifold(mesh));
    QVERIFY2(mesh.elements.size() <= mostTriangles,
             qPrintable(QString::number(mesh.elements.size())));
    QVERIFY(std::fabs(support::signedVolume(mesh) / volume - 1) < 0.02);
}

void TstSharpExport::failureIsASentence_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("error");
    const auto row = [](const char *name, const QString &scene, const Change &change,
                        const QString &error) { QTest::newRow(name) << scene << change << error; };
    const QString broken = u"(translate)"_s;
    const Change octree = [](ExportRequest &r) { r.extractor = 2; };
    const Change volume = [](ExportRequest &r) { r.algorithm = 1; };
    const auto fine = [](const Change &kind) {
        return [kind](ExportRequest &r) { kind(r), r.cellSize = 0.0004f; };
    };
    const auto empty = [](const Change &kind) {
        return [kind](ExportRequest &r) { kind(r), r.nodes.clear(); };
    };
    const Change longOctree = [](ExportRequest &r) {
        r.extractor = 2, r.boundsMin = {0, 0, 0}, r.boundsMax = {1e7f, 1, 1}, r.cellSize = 1;
    };
    const Change unwritable = [](ExportRequest &r) {
        r.algorithm = 1, r.outputPath = u"/proc/nowhere/a.vtk"_s;
    };
    row("octree that cannot fit", sphere, fine(octree),
        u"An octree over 16385 x 16385 x 16385 nodes needs "_s);
    row("octree beyond limits", sphere, longOctree,
        u"An octree over 16777217 x 16777217 x 16777217 nodes is too large: the limit is 1048577 nodes an axis"_s);
    row("volume that cannot fit", sphere, fine(volume),
        u"A volume over 15001 x 15001 x 15001 nodes needs 13502.7 GB of memory, and "_s);
    row("octree of a broken tree", broken, octree,
        u"Octree DC evaluator failed: CPUFieldEvaluator: SdfSceneGraphBuilder failed: "_s);
    row("volume of a broken tree", broken, volume,
        u"Volume evaluator failed: PositionTransform node has no child"_s);
    row("empty octree", sphere, empty(octree),
        u"Export produced no triangles — the source may be hidden or outside the export bounds"_s);
    row("empty volume", sphere, empty(volume),
        u"Export produced no tetrahedra — the source may be hidden or outside the export bounds"_s);
    row("volume that cannot be saved", sphere, unwritable, u"Failed to save tet mesh: "_s);
}

void TstSharpExport::failureIsASentence()
{
    QFETCH(QString, scene);
    QFETCH(Change, change);
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
    QTest::newRow("marching cubes") << 0 << 0;
    QTest::newRow("uniform") << 1 << 0;
    QTest::newRow("octree") << 2 << 0;
    QTest::newRow("volume") << 0 << 1;
}

void TstSharpExport::cancelStopsAnEndlessField()
{
    QFETCH(int, extractor);
    QFETCH(int, algorithm);
    ExportRequest request = requestFor(u"(test_endless)"_s, extractor);
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
             u"A thing needs 9.5 GB of memory, and 10.0 GB are available: use a larger "
             "cell size or free memory"_s);
    QCOMPARE(memoryError(u"A thing"_s, 5e6, 1.5e6),
             u"A thing needs 5.0 MB of memory, and 1.5 MB are available: use a larger "
             "cell size or free memory"_s);
}

QTEST_GUILESS_MAIN(TstSharpExport)
#include "tst_SharpExport.moc"
