#include <corvane/xport/ExportPipeline.h>

#include <support/MeshChecks.h>
#include <support/NodeTree.h>
#include <support/QueuedSpy.h>

#include <mesh/io/IORegistry.h>

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <limits>
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

int bracket(NodeTree &tree)
{
    const int plate = tree.add("round"_L1, {0.1f}, {tree.add("box"_L1, {2, 0.4f, 1.5f})});
    const int hole = tree.add("translate"_L1, {0.7f, 0, 0}, {tree.add("cylinder"_L1, {0.5f, 3})});
    const int turned = tree.add("rotate"_L1, {90, 0, 0}, {tree.add("cylinder"_L1, {0.2f, 3})});
    return tree.add("subtract"_L1, {}, {plate, hole, turned});
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

Q_DECLARE_METATYPE(Scene)

class TstExportPipeline : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void solidBecomesAClosedMesh_data();
    void solidBecomesAClosedMesh();
    void fileIsTheSameForAnyThreads();
    void sealDecidesAtTheBox_data();
    void sealDecidesAtTheBox();
    void boundsFollowTheSurface_data();
    void boundsFollowTheSurface();
    void progressRisesToTheEnd();
    void failureIsASentence_data();
    void failureIsASentence();
    void faultyPointsAreOutside();
    void secondRunIsRefused();
    void cancelStopsAnEndlessField();
    void moreThreadsThanWorkIsFine();
    void directExportConverts_data();
    void directExportConverts();
    void anotherRunMayFollow();

private:
    ExportRequest requestFor(const Scene &scene, const QString &file = u"out.stl"_s) const;
    static ExportResult exported(const ExportRequest &request);
    support::FloatMesh read(const ExportRequest &request) const;

    QScopedPointer<QTemporaryDir> m_folder;
};

void TstExportPipeline::initTestCase()
{
    auto &registry = registry::Registry::instance();
    const auto add = [&](const QString &id, const QString &code) {
        auto made = registry::DefinitionPtr::create();
        made->id = id;
        made->name = id;
        made->category = u"Test"_s;
        made->shaderCode = code;
        registry.registerFileScopedPrimitive(made);
    };
    add(u"test_endless"_s, u"float sdf_test_endless(vec3 p) { float s = 0.0;\n"
                           "while (true) { while (true) { while (true) { s = s + 1.0; } } }\n"
                           "return s; }"_s);
    add(u"test_faulty"_s, u"float sdf_test_faulty(vec3 p) {\n"
                          "return p.x > 0.55 ? length(p) / 0.0 : length(p) - 2.0; }"_s);
    add(u"test_broken"_s, u"float sdf_test_broken(vec3 p) { return missing(p); }"_s);
}

void TstExportPipeline::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    m_folder.reset(new QTemporaryDir);
}

ExportRequest TstExportPipeline::requestFor(const Scene &scene, const QString &file) const
{
    NodeTree tree;
    ExportRequest request;
    request.rootNodeIndex = scene(tree);
    request.nodes = tree.nodes;
    request.boundsMin = {-3, -3, -3};
    request.boundsMax = {3, 3, 3};
    request.cellSize = 0.2f;
    request.outputPath = m_folder->filePath(file);
    return request;
}

ExportResult TstExportPipeline::exported(const ExportRequest &request)
{
    ExportPipeline pipeline;
    support::QueuedSpy finished(&pipeline, &ExportPipeline::finished);
    pipeline.run(request);
    if (finished.isEmpty() && !finished.wait(60000))
        return ExportResult::failed(u"no end"_s);
    return finished.size() == 1 ? finished.first().first().value<ExportResult>()
                                : ExportResult::failed(u"several ends"_s);
}

support::FloatMesh TstExportPipeline::read(const ExportRequest &request) const
{
    const auto mesh = ::mesh::io::IORegistry<float>::instance().load(request.outputPath);
    return mesh ? support::welded(mesh.value()) : support::FloatMesh();
}

void TstExportPipeline::solidBecomesAClosedMesh_data()
{
    QTest::addColumn<Scene>("scene");
    QTest::addColumn<float>("cellSize");
    QTest::addColumn<double>("volume");
    const double ball = 4.0 / 3.0 * std::numbers::pi * 8.0;
    QTest::newRow("sphere") << Scene(sphere) << 0.1f << ball;
    QTest::newRow("sphere, odd cells") << Scene(sphere) << 0.173f << ball;
    QTest::newRow("box on the nodes") << Scene([](NodeTree &t) {
        return t.add("box"_L1, {1, 2, 0.5f});
    }) << 0.1f << 8.0;
    // Rotated by right angles its faces lie on the nodes but for the last bits.
    QTest::newRow("box turned onto the nodes") << Scene([](NodeTree &t) {
        return t.add("rotate"_L1, {90, 90, 90}, {t.add("box"_L1, {1, 2, 0.5f})});
    }) << 0.1f << 8.0;
    QTest::newRow("bracket") << Scene(bracket) << 0.1f << 0.0;
    QTest::newRow("sheet of a gyroid") << Scene([](NodeTree &t) {
        return t.add("intersect"_L1, {},
                     {t.add("sphere"_L1, {2.5f}), t.add("gyroid"_L1, {2, 0.3f})});
    }) << 0.1f << 0.0;
    QTest::newRow("boxes that touch") << Scene([](NodeTree &t) {
        const int left = t.add("translate"_L1, {-1, 0, 0}, {t.add("box"_L1, {1, 1, 1})});
        const int right = t.add("translate"_L1, {1, 0, 0}, {t.add("box"_L1, {1, 1, 1})});
        return t.add("union"_L1, {}, {left, right});
    }) << 0.1f << 16.0;
}

void TstExportPipeline::solidBecomesAClosedMesh()
{
    QFETCH(Scene, scene);
    QFETCH(float, cellSize);
    QFETCH(double, volume);
    ExportRequest request = requestFor(scene);
    request.cellSize = cellSize;
    request.chunkSize = 16;
    const ExportResult result = exported(request);
    QVERIFY2(result.success, qPrintable(result.errorMessage));
    const support::FloatMesh mesh = read(request);
    QCOMPARE(mesh.elements.size(), result.triangleCount);
    QVERIFY(support::isClosedManifold(mesh));
    const double enclosed = support::signedVolume(mesh);
    QVERIFY(enclosed > 0.0);
    if (volume > 0.0)
        QVERIFY2(std::fabs(enclosed - volume) < 0.02 * volume,
                 qPrintable(QString::number(enclosed)));
}

void TstExportPipeline::fileIsTheSameForAnyThreads()
{
    // More threads mean smaller chunks.
    ExportRequest request = requestFor(bracket);
    request.threadCount = 1;
    QVERIFY(exported(request).success);
    const QByteArray alone = contentOf(request.outputPath);
    QVERIFY(alone.size() > 10000);
    for (const int threads : {2, 8, 8}) {
        request.threadCount = threads;
        QVERIFY(exported(request).success);
        QCOMPARE(contentOf(request.outputPath), alone);
    }
}

void TstExportPipeline::sealDecidesAtTheBox_data()
{
    QTest::addColumn<bool>("sealed");
    QTest::newRow("sealed") << true;
    QTest::newRow("open") << false;
}

void TstExportPipeline::sealDecidesAtTheBox()
{
    QFETCH(bool, sealed);
    ExportRequest request = requestFor([](NodeTree &t) { return t.add("sphere"_L1, {3.5f}); });
    request.sealed = sealed;
    request.chunkSize = 8;
    QVERIFY(exported(request).success);
    const support::FloatMesh mesh = read(request);
    QCOMPARE(support::isClosedManifold(mesh), sealed);
    for (const auto &v : mesh.vertices)
        QVERIFY(std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)}) <= 3.0001f);
}

void TstExportPipeline::boundsFollowTheSurface_data()
{
    QTest::addColumn<Scene>("scene");
    QTest::addColumn<bool>("closed");
    QTest::addColumn<QString>("warning");
    QTest::newRow("found far out") << Scene([](NodeTree &t) {
        return t.add("translate"_L1, {40, 0, 0}, {t.add("sphere"_L1, {1})});
    }) << true << QString();
    QTest::newRow("without an end")
        << Scene([](NodeTree &t) {
               return t.add("plane"_L1, {0, 1, 0, 0});
           })
        << false
        << u"^\\[export\\] auto-bounds: detection failed \\(.*\\), keeping requested bounds$"_s;
}

void TstExportPipeline::boundsFollowTheSurface()
{
    QFETCH(Scene, scene);
    QFETCH(bool, closed);
    QFETCH(QString, warning);
    if (!warning.isEmpty())
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(warning));
    ExportRequest request = requestFor(scene);
    request.autoBounds = true;
    const ExportResult result = exported(request);
    QVERIFY2(result.success, qPrintable(result.errorMessage));
    QCOMPARE(support::isClosedManifold(read(request)), closed);
}

void TstExportPipeline::progressRisesToTheEnd()
{
    ExportRequest request = requestFor(sphere);
    request.chunkSize = 10;
    request.threadCount = 3;
    ExportPipeline pipeline;
    support::QueuedSpy progress(&pipeline, &ExportPipeline::progressChanged);
    support::QueuedSpy finished(&pipeline, &ExportPipeline::finished);
    pipeline.run(request);
    QVERIFY(!finished.isEmpty() || finished.wait(60000));
    QCOMPARE(progress.size(), 28);
    for (qsizetype i = 0; i < progress.size(); ++i)
        QCOMPARE(progress.at(i), (QVariantList{qint64(i), qint64(27)}));
}

void TstExportPipeline::failureIsASentence_data()
{
    QTest::addColumn<Scene>("scene");
    QTest::addColumn<std::function<void(ExportRequest &)>>("change");
    QTest::addColumn<QString>("warning");
    QTest::addColumn<QString>("error");
    const auto row = [](const char *name, const Scene &scene,
                        const std::function<void(ExportRequest &)> &change, const QString &warning,
                        const QString &error) {
        QTest::newRow(name) << scene << change << warning << error;
    };
    const auto nothing = [](ExportRequest &) {};
    const QString empty =
        u"Export produced no triangles — the source may be hidden or outside the export bounds"_s;
    const QString notInitialized = u"CPU backend initialization failed"_s;
    row(
        "empty scene", sphere, [](ExportRequest &r) { r.nodes.clear(); }, {}, empty);
    row(
        "root that is not there", sphere, [](ExportRequest &r) { r.rootNodeIndex = 5; }, {}, empty);
    row(
        "outside the box",
        [](NodeTree &t) {
            return t.add("translate"_L1, {50, 0, 0}, {t.add("sphere"_L1, {1})});
        },
        nothing, {}, empty);
    row(
        "bounds that are no numbers", sphere,
        [](ExportRequest &r) { r.boundsMax.setY(std::numeric_limits<float>::quiet_NaN()); }, {},
        u"The export bounds from (-3, -3, -3) to (3, nan, 3) are not finite"_s);
    row(
        "grid beyond limits", sphere, [](ExportRequest &r) { r.cellSize = 1e-9f; }, {},
        u"A cell size of 1e-09 makes a grid of 6000000001 x 6000000001 x 6000000001 nodes, and the "
        "limit is 2147483646 nodes an axis"_s);
    row(
        "broken tree", [](NodeTree &t) { return t.add("translate"_L1); }, nothing,
        u"CpuChunkProcessor::initialize: SdfSceneGraphBuilder failed: PositionTransform node has "
        u"no "
        "child"_s,
        notInitialized);
    row(
        "broken code", [](NodeTree &t) { return t.add("test_broken"_L1); }, nothing,
        u"CpuChunkProcessor::initialize: eval compile failed: unknown function 'missing'"_s,
        notInitialized);
    row(
        "graphics processor", sphere, [](ExportRequest &r) { r.backend = 1; }, {},
        u"GPU backend initialization failed"_s);
    row(
        "unwritable", sphere, [](ExportRequest &r) { r.outputPath = u"/proc/nowhere/out.stl"_s; },
        {}, u"Failed to save mesh: "_s);
    row(
        "no source", sphere, [](ExportRequest &r) { r.algorithm = 2; }, {},
        u"No source file path for direct export"_s);
    row(
        "missing source", sphere,
        [](ExportRequest &r) {
            r.algorithm = 2;
            r.directSourcePath = u"/nowhere.stl"_s;
        },
        {}, u"Failed to load source mesh: "_s);
}

void TstExportPipeline::failureIsASentence()
{
    QFETCH(Scene, scene);
    QFETCH(std::function<void(ExportRequest &)>, change);
    QFETCH(QString, warning);
    QFETCH(QString, error);
    ExportRequest request = requestFor(scene);
    change(request);
    if (!warning.isEmpty())
        QTest::ignoreMessage(QtWarningMsg, qPrintable(warning));
    const ExportResult result = exported(request);
    QVERIFY(!result.success);
    QVERIFY2(result.errorMessage.startsWith(error), qPrintable(result.errorMessage));
    QVERIFY(!QFile::exists(m_folder->filePath(u"out.stl"_s)));
}

void TstExportPipeline::faultyPointsAreOutside()
{
    QTest::ignoreMessage(QtWarningMsg,
                         "[export] the field could not be evaluated everywhere, such points are "
                         "outside: division by zero");
    const ExportRequest request = requestFor([](NodeTree &t) { return t.add("test_faulty"_L1); });
    const ExportResult result = exported(request);
    QVERIFY2(result.success, qPrintable(result.errorMessage));
    const support::FloatMesh mesh = read(request);
    QVERIFY(support::isClosedManifold(mesh));
    for (const auto &v : mesh.vertices)
        QVERIFY(v.x < 0.61f);
}

void TstExportPipeline::secondRunIsRefused()
{
    ExportPipeline pipeline;
    support::QueuedSpy finished(&pipeline, &ExportPipeline::finished);
    QSignalSpy refused(&pipeline, &ExportPipeline::errorOccurred);
    pipeline.run(requestFor([](NodeTree &t) { return t.add("test_endless"_L1); }));
    QVERIFY(pipeline.isActive());
    pipeline.run(requestFor(sphere));
    QCOMPARE(refused.size(), 1);
    QCOMPARE(refused.first().first().toString(), u"Export already in progress"_s);
    pipeline.cancel();
    QVERIFY(!finished.isEmpty() || finished.wait(60000));
    QCOMPARE(finished.size(), 1);
}

void TstExportPipeline::cancelStopsAnEndlessField()
{
    ExportPipeline pipeline;
    support::QueuedSpy finished(&pipeline, &ExportPipeline::finished);
    support::QueuedSpy progress(&pipeline, &ExportPipeline::progressChanged);
    pipeline.run(requestFor([](NodeTree &t) { return t.add("test_endless"_L1); }));
    QVERIFY(!progress.isEmpty() || progress.wait(60000));
    pipeline.cancel();
    QVERIFY(!finished.isEmpty() || finished.wait(60000));
    const auto result = finished.first().first().value<ExportResult>();
    QCOMPARE(result.errorMessage, u"Export cancelled"_s);
}

void TstExportPipeline::moreThreadsThanWorkIsFine()
{
    // The first threads are done before the last ones start.
    ExportRequest request = requestFor(sphere);
    request.cellSize = 1.0f;
    request.chunkSize = 2;
    request.threadCount = 64;
    for (int i = 0; i < 20; ++i)
        QVERIFY(exported(request).success);
}

void TstExportPipeline::directExportConverts_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("to obj") << u"copy.obj"_s;
    QTest::newRow("to ply") << u"copy.ply"_s;
    QTest::newRow("to vtk") << u"copy.vtk"_s;
}

void TstExportPipeline::directExportConverts()
{
    QFETCH(QString, file);
    const ExportRequest source = requestFor(sphere);
    const ExportResult made = exported(source);
    QVERIFY(made.success);
    ExportRequest request;
    request.algorithm = 2;
    request.directSourcePath = source.outputPath;
    request.outputPath = m_folder->filePath(file);
    const ExportResult result = exported(request);
    QVERIFY2(result.success, qPrintable(result.errorMessage));
    QCOMPARE(result.triangleCount, made.triangleCount);
    QVERIFY(support::isClosedManifold(read(request)));
}

void TstExportPipeline::anotherRunMayFollow()
{
    ExportPipeline pipeline;
    int ends = 0;
    const ExportRequest request = requestFor(sphere);
    connect(&pipeline, &ExportPipeline::finished, this, [&](const ExportResult &result) {
        QVERIFY(result.success);
        if (++ends < 3)
            pipeline.run(request);
    });
    pipeline.run(request);
    QTRY_COMPARE_WITH_TIMEOUT(ends, 3, 60000);
}

QTEST_GUILESS_MAIN(TstExportPipeline)
#include "tst_ExportPipeline.moc"
