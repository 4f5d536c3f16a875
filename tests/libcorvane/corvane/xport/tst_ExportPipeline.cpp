#include <support/ExportRun.h>
#include <support/Files.h>
#include <support/NoThreads.h>

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <numbers>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::xport;
using support::exported;
using support::meshOf;

namespace {

const QString sphere = u"(sphere 2)"_s;
const QString bracket = u"(subtract (round 0.1 (box 2 0.4 1.5)) "
                        "(translate 0.7 0 0 (cylinder 0.5 3)) (rotate 90 0 0 (cylinder 0.2 3)))"_s;

using Change = std::function<void(ExportRequest &)>;

} // namespace

Q_DECLARE_METATYPE(Change)

class TstExportPipeline : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void solidBecomesAClosedMesh_data();
    void solidBecomesAClosedMesh();
    void sealDecidesAtTheBox_data();
    void sealDecidesAtTheBox();
    void boundsFollowTheSurface_data();
    void boundsFollowTheSurface();
    void progressRisesToTheEnd();
    void failureIsASentence_data();
    void failureIsASentence();
    void faultyPointsAreOutside();
    void secondRunIsRefused();
    void moreThreadsThanWorkIsFine();
    void withoutThreadsTheMeshIsTheSame_data();
    void withoutThreadsTheMeshIsTheSame();
    void withoutAThreadOfItsOwnARunFails();
    void directExportConverts();
    void anotherRunMayFollow();

private:
    ExportRequest requestFor(const QString &scene) const
    {
        return support::requestFor(scene, m_folder->filePath(u"out.stl"_s), 0.2f);
    }

    QScopedPointer<QTemporaryDir> m_folder;
};

void TstExportPipeline::initTestCase()
{
    support::addEndlessShape();
    support::addShape(u"test_faulty"_s,
                      u"float sdf_test_faulty(vec3 p) {\n"
                      "return p.x > 0.55 ? length(p) / 0.0 : length(p) - 2.0; }"_s);
    support::addShape(u"test_broken"_s, u"float sdf_test_broken(vec3 p) { return missing(p); }"_s);
}

void TstExportPipeline::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    m_folder.reset(new QTemporaryDir);
}

void TstExportPipeline::solidBecomesAClosedMesh_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<float>("cellSize");
    QTest::addColumn<double>("volume");
    const double ball = 4.0 / 3.0 * std::numbers::pi * 8.0;
    QTest::newRow("sphere") << sphere << 0.1f << ball;
    QTest::newRow("sphere, odd cells") << sphere << 0.173f << ball;
    QTest::newRow("box on the nodes") << u"(box 1 2 0.5)"_s << 0.1f << 8.0;
    // Rotated by right angles its faces lie on the nodes but for the last bits.
    QTest::newRow("box turned onto the nodes")
        << u"(rotate 90 90 90 (box 1 2 0.5))"_s << 0.1f << 8.0;
    QTest::newRow("bracket") << bracket << 0.1f << 0.0;
    QTest::newRow("sheet of a gyroid")
        << u"(intersect (sphere 2.5) (gyroid 2 0.3))"_s << 0.1f << 0.0;
    QTest::newRow("boxes that touch")
        << u"(union (translate -1 0 0 (box 1 1 1)) (translate 1 0 0 (box 1 1 1)))"_s << 0.1f
        << 16.0;
}

void TstExportPipeline::solidBecomesAClosedMesh()
{
    QFETCH(QString, scene);
    QFETCH(float, cellSize);
    QFETCH(double, volume);
    ExportRequest request = requestFor(scene);
    request.cellSize = cellSize;
    request.chunkSize = 16;
    const ExportResult result = exported(request);
    QVERIFY2(result.success, qPrintable(result.errorMessage));
    const support::FloatMesh mesh = meshOf(request);
    QCOMPARE(mesh.elements.size(), result.triangleCount);
    QVERIFY(support::isClosedManifold(mesh));
    const double enclosed = support::signedVolume(mesh);
    QVERIFY(enclosed > 0.0);
    if (volume > 0.0)
        QVERIFY2(std::fabs(enclosed - volume) < 0.02 * volume,
                 qPrintable(QString::number(enclosed)));
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
    ExportRequest request = requestFor(u"(sphere 3.5)"_s);
    request.sealed = sealed;
    request.chunkSize = 8;
    QVERIFY(exported(request).success);
    const support::FloatMesh mesh = meshOf(request);
    QCOMPARE(support::isClosedManifold(mesh), sealed);
    for (const auto &v : mesh.vertices)
        QVERIFY(std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)}) <= 3.0001f);
}

void TstExportPipeline::boundsFollowTheSurface_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<bool>("closed");
    QTest::addColumn<QString>("warning");
    QTest::newRow("found far out") << u"(translate 40 0 0 (sphere 1))"_s << true << QString();
    QTest::newRow("without an end")
        << u"(plane 0 1 0 0)"_s << false
        << u"^\\[export\\] auto-bounds: detection failed \\(.*\\), keeping requested bounds$"_s;
}

void TstExportPipeline::boundsFollowTheSurface()
{
    QFETCH(QString, scene);
    QFETCH(bool, closed);
    QFETCH(QString, warning);
    if (!warning.isEmpty())
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(warning));
    ExportRequest request = requestFor(scene);
    request.autoBounds = true;
    const ExportResult result = exported(request);
    QVERIFY2(result.success, qPrintable(result.errorMessage));
    QCOMPARE(support::isClosedManifold(meshOf(request)), closed);
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
    QTest::addColumn<QString>("scene");
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("warning");
    QTest::addColumn<QString>("error");
    const auto row = [](const char *name, const QString &scene, const Change &change,
                        const QString &warning, const QString &error) {
        QTest::newRow(name) << scene << change << warning << error;
    };
    const auto nothing = [](ExportRequest &) {};
    const auto direct = [](const QString &source) {
        return [source](ExportRequest &r) { r.algorithm = 2, r.directSourcePath = source; };
    };
    const QString empty =
        u"Export produced no triangles — the source may be hidden or outside the export bounds"_s;
    const QString notInitialized = u"CPU backend initialization failed: "_s;
    const Change noNodes = [](ExportRequest &r) { r.nodes.clear(); };
    const Change nan = [](ExportRequest &r) { r.boundsMax.setY(std::nanf("")); };
    const Change graphics = [](ExportRequest &r) { r.backend = 1; };
    const Change unwritable = [](ExportRequest &r) { r.outputPath = u"/proc/nowhere/out.stl"_s; };
    row("empty scene", sphere, noNodes, {}, empty);
    row("outside the box", u"(translate 50 0 0 (sphere 1))"_s, nothing, {}, empty);
    row("bounds that are no numbers", sphere, nan, {},
        u"The export bounds from (-3, -3, -3) to (3, nan, 3) are not finite"_s);
    row("broken tree", u"(translate)"_s, nothing,
        u"CpuChunkProcessor::initialize: SdfSceneGraphBuilder failed: PositionTransform node has "
        u"no child: 'translate' needs one to act on"_s,
        notInitialized + u"PositionTransform node has no child: 'translate' needs one"_s);
    row("broken code", u"(test_broken)"_s, nothing,
        u"CpuChunkProcessor::initialize: eval compile failed: unknown function 'missing'"_s,
        notInitialized + u"unknown function 'missing'"_s);
    row("graphics processor", sphere, graphics,
        u"GpuChunkProcessor::initialize: no GPU-evaluation-capable QRhi (neither compute nor "
        "fragment lane) on this host"_s,
        u"GPU backend initialization failed"_s);
    row("unwritable", sphere, unwritable, {}, u"Failed to save mesh: "_s);
    row("no source", sphere, direct({}), {}, u"No source file path for direct export"_s);
    row("missing source", sphere, direct(u"/nowhere.stl"_s), {}, u"Failed to load source mesh: "_s);
}

void TstExportPipeline::failureIsASentence()
{
    QFETCH(QString, scene);
    QFETCH(Change, change);
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
    const ExportRequest request = requestFor(u"(test_faulty)"_s);
    const ExportResult result = exported(request);
    QVERIFY2(result.success, qPrintable(result.errorMessage));
    const support::FloatMesh mesh = meshOf(request);
    QVERIFY(support::isClosedManifold(mesh));
    for (const auto &v : mesh.vertices)
        QVERIFY(v.x < 0.61f);
}

void TstExportPipeline::secondRunIsRefused()
{
    ExportPipeline pipeline;
    support::QueuedSpy finished(&pipeline, &ExportPipeline::finished);
    QSignalSpy refused(&pipeline, &ExportPipeline::errorOccurred);
    pipeline.run(requestFor(u"(test_endless)"_s));
    QVERIFY(pipeline.isActive());
    pipeline.run(requestFor(sphere));
    QCOMPARE(refused.size(), 1);
    QCOMPARE(refused.first().first().toString(), u"Export already in progress"_s);
    pipeline.cancel();
    QVERIFY(!finished.isEmpty() || finished.wait(60000));
    QCOMPARE(finished.size(), 1);
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

void TstExportPipeline::withoutThreadsTheMeshIsTheSame_data()
{
    QTest::addColumn<Change>("change");
    QTest::newRow("marching cubes") << Change([](ExportRequest &) {});
    QTest::newRow("uniform, post-processed") << Change([](ExportRequest &r) {
        r.extractor = 1, r.postprocess = QStringList{u"weld"_s, u"sdfProject"_s};
    });
    QTest::newRow("octree, bounds found")
        << Change([](ExportRequest &r) { r.extractor = 2, r.autoBounds = true; });
    QTest::newRow("volume") << Change([](ExportRequest &r) { r.algorithm = 1; });
}

void TstExportPipeline::withoutThreadsTheMeshIsTheSame()
{
    QFETCH(Change, change);
    ExportRequest request = requestFor(sphere);
    request.threadCount = 4;
    request.outputPath = m_folder->filePath(u"out.vtk"_s);
    change(request);
    const ExportResult usual = exported(request);
    QVERIFY2(usual.success, qPrintable(usual.errorMessage));
    const QByteArray mesh = support::contentOf(request.outputPath);
    const support::NoThreads none;
    ExportPipeline pipeline;
    QSignalSpy progress(&pipeline, &ExportPipeline::progressChanged);
    const ExportResult alone = pipeline.runHere(request);
    QVERIFY2(alone.success, qPrintable(alone.errorMessage));
    QCOMPARE(alone.triangleCount, usual.triangleCount);
    QVERIFY(support::contentOf(request.outputPath) == mesh);
    QCOMPARE(progress.last().at(0), progress.last().at(1));
}

void TstExportPipeline::withoutAThreadOfItsOwnARunFails()
{
    const support::NoThreads none;
    const ExportResult result = exported(requestFor(sphere));
    QVERIFY(!result.success);
    QCOMPARE(result.errorMessage,
             u"The export was not begun: the system starts no further thread. End other programs, "
             "or raise its limits"_s);
}

void TstExportPipeline::directExportConverts()
{
    const ExportRequest source = requestFor(sphere);
    const ExportResult made = exported(source);
    QVERIFY(made.success);
    ExportRequest request;
    request.algorithm = 2;
    request.directSourcePath = source.outputPath;
    request.outputPath = m_folder->filePath(u"copy.obj"_s);
    const ExportResult result = exported(request);
    QVERIFY2(result.success, qPrintable(result.errorMessage));
    QCOMPARE(result.triangleCount, made.triangleCount);
    QVERIFY(support::isClosedManifold(meshOf(request)));
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
