#include <corvane/xport/MeshBuilder.h>
#include <corvane/xport/PostProcessStep.h>

#include <support/MeshChecks.h>

#include <mesh/io/IORegistry.h>

#include <QTemporaryDir>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;
using namespace corvane::xport;
using corvane::mesh::Triangle;

namespace {

using Corner = std::array<float, 3>;

/// The surface of a cube, side 2, in two chunks above each other.
/// @param first  the first of its triangles that is there
GridSurface cubeSurface(int first = 0)
{
    const support::FloatMesh cube = support::makeCube();
    GridSurface surface({1, 1, 2});
    std::array<ChunkSurface, 2> chunks;
    for (const auto &element : cube.elements.mid(first)) {
        Triangle triangle;
        for (std::size_t i = 0; i < 3; ++i) {
            const auto &v = cube.vertices.at(element.nodes.at(static_cast<int>(i)));
            triangle.vertices[i] = {v.x, v.y, v.z};
        }
        chunks[static_cast<std::size_t>(element.id % 2)].triangles.append(triangle);
    }
    for (const qint64 index : {1, 0})
        surface.insert(index, chunks[static_cast<std::size_t>(index)]);
    return surface;
}

/// A chunk of a cubic grid with one triangle a cell, whose first coordinate is the number of the
/// cell. Each eleventh has no area.
ChunkSurface numberedChunk(int index, int side, int cells)
{
    const int count = (cells + side - 1) / side;
    const auto range = [&](int chunk) {
        return std::pair(chunk * side, std::min((chunk + 1) * side, cells));
    };
    const auto [x0, x1] = range(index % count);
    const auto [y0, y1] = range(index / count % count);
    const auto [z0, z1] = range(index / count / count);
    ChunkSurface chunk;
    chunk.rowsPerSlice = y1 - y0;
    for (int z = z0; z < z1; ++z)
        for (int y = y0; y < y1; ++y) {
            for (int x = x0; x < x1; ++x) {
                const int cell = x + cells * (y + cells * z);
                const QVector3D corner(static_cast<float>(cell), 0, 0);
                const QVector3D third(0, 0, cell % 11 == 0 ? 0 : 1);
                chunk.triangles.append(
                    {.vertices = {corner, corner + QVector3D(0, 1, 0), corner + third},
                     .normal = {}});
            }
            chunk.rowEnds.append(static_cast<int>(chunk.triangles.size()));
        }
    return chunk;
}

} // namespace

class TstMeshBuilder : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void stepsAreRead_data();
    void stepsAreRead();
    void badStepsAreNamed_data();
    void badStepsAreNamed();
    void trianglesStandInTheOrderOfCells_data();
    void trianglesStandInTheOrderOfCells();
    void uselessTrianglesAreLeftOut_data();
    void uselessTrianglesAreLeftOut();
    void fileHoldsTheMesh_data();
    void fileHoldsTheMesh();
    void failureIsASentence_data();
    void failureIsASentence();
    void openEdgesAreTold_data();
    void openEdgesAreTold();
    void cancelWins();

private:
    const std::atomic_bool m_never = false;
};

void TstMeshBuilder::stepsAreRead_data()
{
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<QString>("steps");
    QTest::newRow("nothing") << QStringList{} << QString();
    QTest::newRow("weld twice") << QStringList{u"weld"_s, u"weld(0.5)"_s} << u"weld weld=0.5"_s;
    QTest::newRow("a weld goes first") << QStringList{u"remesh"_s} << u"weld remesh"_s;
    QTest::newRow("blanks and signs") << QStringList{u"  weld ( +1e-3 ) "_s, u"qemDecimate(5)"_s,
                                                     u"sdfProject"_s, u"coplanarMerge(-2)"_s}
                                      << u"weld=0.001 qemDecimate=5 sdfProject coplanarMerge=-2"_s;
}

void TstMeshBuilder::stepsAreRead()
{
    QFETCH(QStringList, entries);
    const PostProcessPlan plan = parsePostProcess(entries);
    QCOMPARE(plan.error, QString());
    QStringList steps;
    for (const PostProcessStep &step : plan.steps)
        steps << step.name + (step.hasParameter ? u"=%1"_s.arg(step.parameter) : QString());
    QTEST(steps.join(u' '), "steps");
}

void TstMeshBuilder::badStepsAreNamed_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("error");
    QTest::newRow("empty") << u""_s << u"bad postprocess step ''"_s;
    QTest::newRow("two words") << u"weld it"_s << u"bad postprocess step 'weld it'"_s;
    QTest::newRow("open bracket") << u"weld(1"_s << u"bad postprocess step 'weld(1'"_s;
    QTest::newRow("letters for a number")
        << u"weld(one)"_s << u"bad postprocess step 'weld(one)'"_s;
    QTest::newRow("unknown") << u"polish"_s << u"unknown postprocess step 'polish'"_s;
    QTest::newRow("case counts") << u"Weld"_s << u"unknown postprocess step 'Weld'"_s;
    QTest::newRow("half a number")
        << u"weld(1e)"_s << u"bad parameter in postprocess step 'weld(1e)'"_s;
    QTest::newRow("number beyond all numbers")
        << u"weld(1e999)"_s << u"bad parameter in postprocess step 'weld(1e999)'"_s;
}

void TstMeshBuilder::badStepsAreNamed()
{
    QFETCH(QString, entry);
    const PostProcessPlan plan = parsePostProcess({u"weld"_s, entry});
    QTEST(plan.error, "error");
    QVERIFY(plan.steps.isEmpty());
}

void TstMeshBuilder::trianglesStandInTheOrderOfCells_data()
{
    QTest::addColumn<int>("cells");
    QTest::addColumn<int>("side");
    QTest::addColumn<int>("threads");
    QTest::newRow("one chunk") << 4 << 4 << 1;
    QTest::newRow("eight chunks") << 4 << 2 << 1;
    QTest::newRow("chunks that are cut") << 4 << 3 << 2;
    QTest::newRow("a chunk a cell") << 4 << 1 << 1;
    QTest::newRow("several parts") << 50 << 17 << 1;
    QTest::newRow("several parts, by threads") << 50 << 17 << 3;
}

void TstMeshBuilder::trianglesStandInTheOrderOfCells()
{
    QFETCH(int, cells);
    QFETCH(int, side);
    QFETCH(int, threads);
    const int count = (cells + side - 1) / side;
    const int all = cells * cells * cells;
    GridSurface surface({count, count, count});
    for (int index = count * count * count - 1; index >= 0; --index)
        surface.insert(index, numberedChunk(index, side, cells));
    QCOMPARE(surface.triangleCount(), all);
    const auto mesh = MeshBuilder::assemble(std::move(surface), threads);
    // Each eleventh triangle is of no use: the others close up.
    QCOMPARE(mesh.elements.size(), all - (all + 10) / 11);
    QCOMPARE(mesh.vertices.size(), 3 * mesh.elements.size());
    for (int cell = 0, i = 0; cell < all; ++cell) {
        if (cell % 11 == 0)
            continue;
        QCOMPARE(mesh.vertices.at(3 * i).x, static_cast<float>(cell));
        const ::mesh::ElementData<float> expected{
            ::mesh::ElementType::Triangle, {3 * i, 3 * i + 1, 3 * i + 2}, i, 0};
        QVERIFY(mesh.elements.at(i) == expected);
        ++i;
    }
}

void TstMeshBuilder::uselessTrianglesAreLeftOut_data()
{
    QTest::addColumn<Corner>("third");
    QTest::addColumn<int>("kept");
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    QTest::newRow("sound") << Corner{0, 1, 0} << 1;
    QTest::newRow("small but sound") << Corner{0, 2e-10f, 0} << 1;
    QTest::newRow("too small") << Corner{0, 5e-11f, 0} << 0;
    QTest::newRow("on a line") << Corner{2, 0, 0} << 0;
    QTest::newRow("on a corner") << Corner{1, 0, 0} << 0;
    QTest::newRow("no number") << Corner{0, nan, 0} << 0;
    QTest::newRow("infinite") << Corner{0, 0, infinity} << 0;
}

void TstMeshBuilder::uselessTrianglesAreLeftOut()
{
    QFETCH(Corner, third);
    ChunkSurface chunk;
    chunk.triangles.append(
        {.vertices = {QVector3D(), QVector3D(1, 0, 0), QVector3D(third[0], third[1], third[2])},
         .normal = {}});
    GridSurface surface;
    surface.insert(0, chunk);
    const auto mesh = MeshBuilder::assemble(std::move(surface));
    QTEST(int(mesh.elements.size()), "kept");
    QCOMPARE(mesh.vertices.size(), 3 * mesh.elements.size());
}

void TstMeshBuilder::fileHoldsTheMesh_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<int>("vertices");
    for (const QString &suffix : {u"stl"_s, u"obj"_s, u"ply"_s, u"vtk"_s}) {
        QTest::newRow(qPrintable(suffix)) << u"cube."_s + suffix << QStringList{} << 36;
        QTest::newRow(qPrintable(suffix + u", welded"_s))
            << u"cube."_s + suffix << QStringList{u"weld"_s} << 8;
    }
}

void TstMeshBuilder::fileHoldsTheMesh()
{
    QFETCH(QString, file);
    QFETCH(QStringList, steps);
    QFETCH(int, vertices);
    const QTemporaryDir folder;
    ExportRequest request;
    request.outputPath = folder.filePath(file);
    request.postprocess = steps;
    const ExportResult result = MeshBuilder::buildAndSaveMesh(cubeSurface(), request, m_never);
    QVERIFY2(result.success, qPrintable(result.errorMessage));
    QCOMPARE(result.triangleCount, 12);
    QCOMPARE(result.vertexCount, vertices);
    const auto read = ::mesh::io::IORegistry<float>::instance().load(request.outputPath);
    QVERIFY(read.isOk());
    QVERIFY(support::isClosedManifold(support::welded(read.value())));
    QVERIFY(std::fabs(support::signedVolume(read.value()) - 8.0) < 1e-6);
}

void TstMeshBuilder::failureIsASentence_data()
{
    QTest::addColumn<bool>("empty");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("step");
    QTest::addColumn<QString>("error");
    QTest::newRow("nothing to save")
        << true << u"a.stl"_s << u"weld"_s
        << u"Export produced no triangles — the source may be hidden or outside the export bounds"_s;
    QTest::newRow("unknown format")
        << false << u"a.xyz"_s << u"weld"_s << u"Failed to save mesh: No exporter found for: %1"_s;
    QTest::newRow("step that fails")
        << false << u"a.stl"_s << u"weld(-1)"_s << u"post-process failed: "_s;
    QTest::newRow("step without its field")
        << false << u"a.stl"_s << u"remesh"_s
        << u"post-process failed: remesh needs a field evaluator"_s;
}

void TstMeshBuilder::failureIsASentence()
{
    QFETCH(bool, empty);
    QFETCH(QString, file);
    QFETCH(QString, step);
    QFETCH(QString, error);
    const QTemporaryDir folder;
    ExportRequest request;
    request.outputPath = folder.filePath(file);
    request.postprocess = {step};
    const auto result =
        MeshBuilder::buildAndSaveMesh(empty ? GridSurface() : cubeSurface(), request, m_never);
    QVERIFY(!result.success);
    const QString expected = error.contains(u'%') ? error.arg(request.outputPath) : error;
    QVERIFY2(result.errorMessage.startsWith(expected), qPrintable(result.errorMessage));
    QVERIFY(!QFile::exists(request.outputPath));
}

void TstMeshBuilder::openEdgesAreTold_data()
{
    QTest::addColumn<int>("extractor");
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<bool>("isCut");
    QTest::addColumn<QString>("told");
    const QString open = u"Warning: mesh, near (-1, -1, -1): it is not closed: 3 open edges. %1."_s;
    const QString anotherStep =
        open.arg(u"Leave out the last step of postprocess, or try another cell size"_s);
    QTest::newRow("by a step") << 1 << QStringList{u"weld"_s} << false << anotherStep;
    QTest::newRow("by an octree") << 2 << QStringList() << false
                                  << open.arg(u"Try another cell size, or extractor: \"DC\""_s);
    QTest::newRow("by the box") << 2 << QStringList{u"weld"_s} << true << QString();
    QTest::newRow("of chunks, which close") << 1 << QStringList() << false << QString();
}

/// One of the cube's triangles is missing.
void TstMeshBuilder::openEdgesAreTold()
{
    QFETCH(int, extractor);
    QFETCH(QStringList, steps);
    QFETCH(bool, isCut);
    const QTemporaryDir folder;
    ExportRequest request;
    request.outputPath = folder.filePath(u"open.stl"_s);
    request.extractor = extractor;
    request.postprocess = steps;
    const ExportResult result =
        MeshBuilder::buildAndSaveMesh(cubeSurface(1), request, m_never, {}, isCut);
    QVERIFY2(result.success, qPrintable(result.errorMessage));
    QTEST(result.warnings.isEmpty() ? QString() : result.warnings.first().toString(), "told");
}

void TstMeshBuilder::cancelWins()
{
    const QTemporaryDir folder;
    ExportRequest request;
    request.outputPath = folder.filePath(u"a.stl"_s);
    const std::atomic_bool cancelled = true;
    const auto result = MeshBuilder::buildAndSaveMesh(cubeSurface(), request, cancelled);
    QCOMPARE(result.errorMessage, u"Export cancelled"_s);
    QVERIFY(!QFile::exists(request.outputPath));
}

QTEST_GUILESS_MAIN(TstMeshBuilder)
#include "tst_MeshBuilder.moc"
