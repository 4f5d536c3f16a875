// Pictures of small scenes, drawn without a display.
#include "../shader/TestDefinitions.h"

#include <corvane/model/Corvane.h>
#include <corvane/rendering/EnvironmentLayer.h>
#include <corvane/rendering/ItemIds.h>
#include <corvane/rendering/SDFRenderLayer.h>
#include <corvane/rendering/environment/EnvironmentRegistry.h>
#include <corvane/rendering/layers/GroundPlane.h>
#include <corvane/shader/ShaderBuildWorker.h>
#include <corvane/shader/ShadingModeRegistry.h>
#include <corvane/shader/ShadingPipelineWorker.h>
#include <support/JobRunner.h>
#include <support/VulkanValidation.h>
#include <tools/ScenePicture.h>

#include <QRegularExpression>
#include <QSignalSpy>

#include <cmath>
#include <cstring>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::rendering;
using corvane::render::RenderAction;
namespace RenderMasks = corvane::render::RenderMasks;

namespace {

constexpr int side = 96;

/// Items of built-in definitions.
struct TestScene
{
    model::Corvane document;

    QUuid add(const QString &name, const QString &definition, const QVariantMap &params,
              const QUuid &parent = {})
    {
        model::Instance instance(definition);
        instance.name = name;
        instance.parentId = parent;
        instance.setParameters(params);
        return document.addItem(instance);
    }
    QUuid addBall(const QString &name, float radius, const QUuid &parent = {})
    {
        return add(name, u"sphere"_s, {{u"radius"_s, radius}}, parent);
    }
    /// Without domains an item that is a root.
    void setParameter(const QUuid &id, const QString &name, const QVariant &value)
    {
        auto instance = document.instance(id);
        instance.setParameter(name, value);
        document.updateItem(instance);
    }
};

/// A picture seen from +z, ten units away.
struct Drawn
{
    ScenePicture picture;
    QImage image{};

    explicit Drawn(QRhi *rhi, model::Corvane *document)
        : picture(rhi, {side, side})
    {
        auto lit = corvane::shader::ShadingModeRegistry::instance().mode(u"pbr"_s);
        pipeline().setShadingMode(lit);
        pipeline().setToneMapping(u"none"_s);
        pipeline().setEnvironment(nullptr);
        pipeline().groundPlane()->setVisible(false);
        camera::Camera view;
        view.setPose({.eye = {0, 0, 10}, .target = {}, .up = {0, 1, 0}});
        view.setPlanes(1.0f, 20.0f);
        pipeline().setCamera(view);
        pipeline().setCorvane(document);
        layer().setDebugView(5); // albedo: the same in any light
    }
    RenderPipeline &pipeline() { return picture.pipeline(); }
    SDFRenderLayer &layer() { return *picture.pipeline().sdfLayer(); }
    /// One frame; false when it was not drawn.
    bool draw()
    {
        image = picture.draw();
        return !image.isNull();
    }
    quint32 idAt(int x, int y)
    {
        quint32 id = 0;
        const QByteArray ids = picture.itemIds();
        std::memcpy(&id, ids.constData() + (y * side + x) * 4, 4);
        return id;
    }
    float depthAt(int x, int y)
    {
        float depth = 0;
        std::memcpy(&depth, picture.depths().constData() + (y * side + x) * 4, 4);
        return depth;
    }
    bool isLit(int x, int y) const { return qGray(image.pixel(x, y)) > 60; }
};

/// What a perspective of planes 1 and 20 writes at a distance.
float writtenDepth(float distance)
{
    const float n = 1.0f;
    const float f = 20.0f;
    return ((f + n) / (f - n) - 2.0f * f * n / ((f - n) * distance) + 1.0f) / 2.0f;
}

void ignoreWarning(const QString &pattern)
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(pattern));
}

/// The compiler says it, the service with the beginning of the source, and the layer.
void ignoreFailedCompile()
{
    ignoreWarning(u"QSpirvCompiler: Failed to parse shader"_s);
    ignoreWarning(u"Failed to compile shader:"_s);
    ignoreWarning(u"Source \\(first 500 chars\\):"_s);
    ignoreWarning(u"Failed to compile deferred geometry shader: "_s);
}

} // namespace

class TstRenderPipeline : public QObject
{
    Q_OBJECT

    rhi::RhiPointer m_rhi;

    void registerDefinition(const QString &id, const QString &code)
    {
        registry::Registry::instance().registerPrimitive(
            testing::shipped(testing::definition(id, registry::NodeType::Primitive, code)));
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(VulkanValidation::begin(), "install vulkan-validationlayers");
        registry::Registry::instance().loadBuiltinPrimitives();
        m_rhi = rhi::createOffscreenRhi(nullptr);
        QVERIFY(m_rhi);
    }
    void cleanupTestCase()
    {
        m_rhi.reset();
        QCOMPARE(VulkanValidation::takeComplaints(), QStringList());
    }
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        ErrorManager::instance().clearAll();
    }
    void cleanup() { registry::Registry::instance().unregisterPrimitive(u"test_solid"_s); }

    void aBallIsDrawnWhereItIs()
    {
        TestScene scene;
        scene.addBall(u"ball"_s, 2.0f);
        Drawn drawn(m_rhi.get(), &scene.document);
        QVERIFY2(drawn.draw(), qPrintable(drawn.picture.error()));
        QVERIFY(drawn.isLit(side / 2, side / 2));
        QVERIFY(!drawn.isLit(2, 2));
        QCOMPARE(ItemId::decoded(drawn.idAt(side / 2, side / 2)),
                 (ItemId{.layer = LayerType::Sdf, .index = 0}));
        QCOMPARE(drawn.idAt(2, 2), 0u);
        QVERIFY(std::abs(drawn.depthAt(side / 2, side / 2) - writtenDepth(8.0f)) < 1e-4f);
        QCOMPARE(drawn.depthAt(2, 2), 1.0f);
        QVERIFY(ErrorManager::instance().allErrors().isEmpty());
    }

    void upIsUp()
    {
        TestScene scene;
        const QUuid ball = scene.addBall(u"ball"_s, 1.0f);
        const QUuid moved = scene.add(u"moved"_s, u"translate"_s,
                                      {{u"offset"_s, QVariantList{2.0, 3.0, 0.0}},
                                       {u"children"_s, QVariantList{u"@ball"_s}}});
        scene.document.setRoots({moved});
        Drawn drawn(m_rhi.get(), &scene.document);
        QVERIFY(drawn.draw());
        const int x = side / 2 + 23; // 2 of 4.14 to the right
        const int y = side / 2 - 35;
        QVERIFY(drawn.isLit(x, y));
        QVERIFY(!drawn.isLit(x, side - y));
        QCOMPARE(drawn.layer().itemIdForNodeIndex(ItemId::decoded(drawn.idAt(x, y)).index), ball);
    }

    void aFrameDoesNoMoreThanItMust()
    {
        TestScene scene;
        const QUuid ball = scene.addBall(u"ball"_s, 1.0f);
        scene.addBall(u"other"_s, 0.5f);
        Drawn drawn(m_rhi.get(), &scene.document);
        QVERIFY(drawn.draw());
        const QByteArray geometry = drawn.picture.itemIds();
        QVERIFY(drawn.draw()); // commits the size
        QVERIFY(drawn.draw());
        QCOMPARE(drawn.layer().lastUploadBytes(), 0);
        QVERIFY(!drawn.pipeline().state().isPending(RenderAction::GeometryPass));

        camera::Camera nearer = drawn.pipeline().camera();
        nearer.setPosition({0, 0, 5});
        drawn.pipeline().setCamera(nearer);
        QCOMPARE(drawn.pipeline().state().pendingActions() & RenderMasks::cameraChanged,
                 RenderMasks::cameraChanged);
        QVERIFY(drawn.draw());
        QCOMPARE(drawn.layer().lastUploadBytes(), 704);
        QVERIFY(drawn.picture.itemIds() != geometry);

        scene.setParameter(ball, u"radius"_s, 1.5);
        QVERIFY(drawn.draw());
        QCOMPARE(drawn.layer().lastUploadBytes(), 256);
    }

    void anEmptySceneDrawsNothingAndCompilesNothing()
    {
        TestScene scene;
        Drawn drawn(m_rhi.get(), &scene.document);
        QVERIFY(drawn.draw());
        QVERIFY(drawn.pipeline().state().isPending(RenderAction::RecompileShader));
        QVERIFY(drawn.layer().lastError().isEmpty());
        const QUuid ball = scene.addBall(u"ball"_s, 1.0f);
        QTRY_VERIFY(!drawn.layer().field().generatedNodes().isEmpty());
        QVERIFY(drawn.draw());
        QVERIFY(drawn.isLit(side / 2, side / 2));
        scene.document.removeItem(ball);
        QTRY_VERIFY(drawn.layer().field().generatedNodes().isEmpty());
        QVERIFY(drawn.draw());
        QVERIFY(!drawn.isLit(side / 2, side / 2));
        QCOMPARE(drawn.idAt(side / 2, side / 2), 0u);
    }

    void domainsAreMergedByTheirDepth()
    {
        TestScene scene;
        for (const float z : {0.0f, 4.0f}) {
            model::SceneItem domain;
            domain.itemType = model::ItemTypes::SdfDomain;
            domain.translate = {z / 4.0f, 0, z};
            const QUuid id = scene.document.addItem(domain);
            scene.addBall(u"ball %1"_s.arg(z), 1.0f, id);
        }
        Drawn drawn(m_rhi.get(), &scene.document);
        QCOMPARE(drawn.layer().field().domains().size(), 2);
        QVERIFY(drawn.draw());
        QVERIFY(std::abs(drawn.depthAt(side / 2 + 19, side / 2) - writtenDepth(5.0f)) < 0.01f);
        QVERIFY(std::abs(drawn.depthAt(side / 2 - 6, side / 2) - writtenDepth(9.1f)) < 0.01f);
        QVERIFY(drawn.idAt(side / 2 + 19, side / 2) != drawn.idAt(side / 2 - 6, side / 2));
    }

    void aShaderThatFailsIsToldAndTakenBack()
    {
        registerDefinition(u"test_solid"_s, u"float sdf_test(vec3 p) { return nonsense(p); }"_s);
        TestScene scene;
        scene.add(u"bad"_s, u"test_solid"_s, {});
        Drawn drawn(m_rhi.get(), &scene.document);
        ignoreFailedCompile();
        QVERIFY(drawn.draw());
        QVERIFY(drawn.layer().isFallbackShown());
        QVERIFY(drawn.layer().lastError().startsWith(
            u"Failed to compile deferred geometry shader: "_s));
        QVERIFY(drawn.layer().lastError().endsWith(u" - using fallback shader"_s));
        QCOMPARE(ErrorManager::instance().errorsForSource(u"SDFLayer"_s).size(), 1);
        QVERIFY(drawn.draw()); // tells it once, and tries it once
        QCOMPARE(ErrorManager::instance().errorsForSource(u"SDFLayer"_s).size(), 1);

        registerDefinition(u"test_solid"_s,
                           u"float sdf_test(vec3 p) { return length(p) - 1.0; }"_s);
        QTRY_VERIFY(drawn.pipeline().state().isPending(RenderAction::RecompileShader));
        QVERIFY(drawn.draw());
        QVERIFY(!drawn.layer().isFallbackShown());
        QVERIFY(drawn.isLit(side / 2, side / 2));
        QVERIFY(ErrorManager::instance().allErrors().isEmpty());
    }

    void aShaderThatFailsInTheMiddleKeepsThePicture()
    {
        TestScene scene;
        scene.addBall(u"ball"_s, 1.0f);
        Drawn drawn(m_rhi.get(), &scene.document);
        QVERIFY(drawn.draw());
        registerDefinition(u"test_solid"_s, u"float sdf_test(vec3 p) { return bad(p); }"_s);
        scene.add(u"bad"_s, u"test_solid"_s, {});
        QTRY_COMPARE(drawn.layer().field().generatedNodes().size(), 2);
        ignoreFailedCompile();
        QVERIFY(drawn.draw());
        QVERIFY(!drawn.layer().isFallbackShown());
        QVERIFY(drawn.layer().lastError().endsWith(u" - keeping the last shader that worked"_s));
        QVERIFY(drawn.isLit(side / 2, side / 2));
    }

    void nodesBeyondTheBudgetAreToldAndLeftOut()
    {
        TestScene scene;
        for (int i = 0; i < 10; ++i)
            scene.addBall(u"ball %1"_s.arg(i), 0.1f * float(i + 1));
        Drawn drawn(m_rhi.get(), &scene.document);
        drawn.pipeline().context().budget.maxNodeBytes = 1000;
        ignoreWarning(u"Node buffer exceeds"_s);
        QVERIFY(drawn.draw());
        QCOMPARE(drawn.layer().lastError(),
                 u"Node buffer exceeds SSBO capacity: 10 nodes requested (2 KB), capped to 3 nodes "
                 "(0 KB). 7 dropped."_s);
        QVERIFY(drawn.isLit(side / 2, side / 2));
        QVERIFY(drawn.draw());
        QCOMPARE(ErrorManager::instance().errorsForSource(u"SDFLayer"_s).size(), 1);
    }

    void aNewDeviceDrawsTheSame()
    {
        TestScene scene;
        scene.addBall(u"ball"_s, 1.0f);
        Drawn drawn(m_rhi.get(), &scene.document);
        QVERIFY(drawn.draw());
        const QImage before = drawn.image;
        drawn.pipeline().release();
        QVERIFY(drawn.draw());
        QCOMPARE(drawn.image, before);
        drawn.pipeline().scene().requestReinitialize();
        QVERIFY(drawn.draw());
        QCOMPARE(drawn.image, before);
    }

    void aTargetBeyondTheBudgetIsRefusedWithAWord()
    {
        TestScene scene;
        scene.addBall(u"ball"_s, 1.0f);
        Drawn drawn(m_rhi.get(), &scene.document);
        drawn.pipeline().context().budget.maxOffscreenPixels = 100;
        QSignalSpy degraded(&drawn.pipeline(), &RenderPipeline::degradedQuality);
        QVERIFY(!drawn.draw());
        QCOMPARE(degraded.size(), 1);
        QCOMPARE(degraded.at(0).at(0).toString(),
                 u"RhiContext::ensureOffscreen: 96x96 (0.0 MP) exceeds budget maxOffscreenPixels "
                 "(0.0 MP)"_s);
    }

    void shadersAreJobsWhereThereIsAQueue()
    {
        corvane::shader::ShaderBuildContextStore builds;
        corvane::shader::ShadingPipelineContextStore shadings;
        corvane::shader::ShaderBuildWorker buildWorker(&builds);
        corvane::shader::ShadingPipelineWorker shadingWorker(&shadings);
        support::JobRunner runner(&buildWorker);
        runner.registry.registerWorker(&shadingWorker);

        TestScene scene;
        scene.addBall(u"ball"_s, 1.0f);
        Drawn drawn(m_rhi.get(), &scene.document);
        drawn.pipeline().setShaderJobs(
            {.queue = &runner.queue, .builds = &builds, .shadings = &shadings});
        QVERIFY(drawn.draw());
        QVERIFY(drawn.layer().isCompiling());
        QVERIFY(!drawn.isLit(side / 2, side / 2));
        const auto jobs = runner.queue.jobs();
        QCOMPARE(jobs.size(), 2);
        QCOMPARE(jobs.at(0).type, u"corvane/shader_rebuild"_s);
        QCOMPARE(jobs.at(0).priority, 80);
        QCOMPARE(jobs.at(0).hungTimeoutSeconds, 60);
        QCOMPARE(jobs.at(0).payload.value(u"reason"_s).toString(), u"scene_modified"_s);
        QCOMPARE(jobs.at(1).type, u"corvane/shading_pipeline_rebuild"_s);
        QCOMPARE(jobs.at(1).hungTimeoutSeconds, 120);

        // Another mode takes the place of the one that is being compiled.
        drawn.pipeline().setShadingMode(
            corvane::shader::ShadingModeRegistry::instance().mode(u"env-lit-pbr"_s));
        QVERIFY(drawn.draw());
        QCOMPARE(runner.queue.job(jobs.at(1).id)->status, batch::BatchStatus::Cancelled);
        QCOMPARE(shadings.size(), 1);

        QSignalSpy requests(&drawn.pipeline(), &RenderPipeline::needsRender);
        runner.dispatcher.onTimer();
        const quint64 last = runner.queue.jobs().last().id;
        QCOMPARE(runner.ended(last).status, batch::BatchStatus::Done);
        QCOMPARE(runner.ended(jobs.at(0).id).status, batch::BatchStatus::Done);
        QTRY_VERIFY(!requests.isEmpty());
        QVERIFY(drawn.draw());
        QVERIFY(drawn.isLit(side / 2, side / 2));
        QVERIFY(!drawn.layer().isCompiling());
    }

    void aModeThatAccumulatesIsRefused()
    {
        TestScene scene;
        Drawn drawn(m_rhi.get(), &scene.document);
        const auto before = drawn.layer().shadingMode();
        QVERIFY(!drawn.pipeline().setShadingMode(
            corvane::shader::ShadingModeRegistry::instance().mode(u"path-traced"_s)));
        QCOMPARE(drawn.layer().shadingMode(), before);
    }

    void aSectionOpensTheSolid_data()
    {
        QTest::addColumn<SpecialisedField::Policy>("policy");
        QTest::newRow("walk") << SpecialisedField::Policy::Never;
        QTest::newRow("shader of the scene's own") << SpecialisedField::Policy::AtOnce;
    }
    void aSectionOpensTheSolid()
    {
        QFETCH(SpecialisedField::Policy, policy);
        TestScene scene;
        scene.addBall(u"ball"_s, 2.0f);
        Drawn drawn(m_rhi.get(), &scene.document);
        drawn.layer().specialised().setPolicy(policy);
        QVERIFY(drawn.draw());
        QCOMPARE(drawn.layer().specialised().fits(), policy != SpecialisedField::Policy::Never);
        QVERIFY(!drawn.layer().setSectionPlanes({{0, 0, 0, 1}}));
        // The half before z = 1 is gone, and what is left ends to the right at x = 0.5.
        QVERIFY(drawn.layer().setSectionPlanes({{0, 0, 2, 2}, {1, 0, 0, 0.5f}}));
        QVERIFY(drawn.draw());
        QVERIFY(std::abs(drawn.depthAt(side / 2, side / 2) - writtenDepth(9.0f)) < 1e-4f);
        QVERIFY(std::abs(drawn.depthAt(side / 2 - 16, side / 2) - writtenDepth(9.0f)) < 1e-4f);
        QCOMPARE(drawn.depthAt(side / 2 + 12, side / 2), 1.0f);
        QCOMPARE(drawn.idAt(side / 2, side / 2) >> 28, quint32(LayerType::Sdf));
        QVERIFY(drawn.layer().setSectionPlanes({}));
        QVERIFY(drawn.draw());
        QVERIFY(std::abs(drawn.depthAt(side / 2, side / 2) - writtenDepth(8.0f)) < 1e-4f);
    }

    void theSceneSOwnShaderFollowsParametersAndLetsGoOfStructure()
    {
        TestScene scene;
        const QUuid ball = scene.addBall(u"ball"_s, 1.0f);
        Drawn drawn(m_rhi.get(), &scene.document);
        QVERIFY(drawn.draw());
        const QImage walked = drawn.image;
        SpecialisedField &own = drawn.layer().specialised();
        own.setPolicy(SpecialisedField::Policy::AtOnce);
        QVERIFY(drawn.draw());
        QVERIFY(own.fits());
        drawn.pipeline().state().addToFrame(RenderMasks::cameraChanged);
        QVERIFY(drawn.draw());
        QCOMPARE(drawn.image, walked);
        scene.setParameter(ball, u"radius"_s, 2.0);
        QVERIFY(drawn.draw());
        QVERIFY(own.fits());
        QVERIFY(std::abs(drawn.depthAt(side / 2, side / 2) - writtenDepth(8.0f)) < 1e-4f);
        own.setPolicy(SpecialisedField::Policy::WhenStill); // which waits for jobs
        scene.addBall(u"other"_s, 3.0f);
        QTRY_COMPARE(drawn.layer().field().generatedNodes().size(), 2);
        QVERIFY(drawn.draw());
        QVERIFY(!own.fits());
        QVERIFY(std::abs(drawn.depthAt(side / 2, side / 2) - writtenDepth(7.0f)) < 1e-4f);
    }

    void theBackgroundLiesBehind()
    {
        TestScene scene;
        scene.addBall(u"ball"_s, 1.0f);
        Drawn drawn(m_rhi.get(), &scene.document);
        drawn.pipeline().setEnvironment(EnvironmentRegistry::instance().create(u"debug-octant"_s));
        QVERIFY(drawn.draw());
        QVERIFY(drawn.image.pixel(2, 2) != drawn.image.pixel(side - 3, side - 3));
        QVERIFY(drawn.image.pixel(2, 2) != qRgb(0, 0, 0));
        QCOMPARE(drawn.idAt(side / 2, side / 2) >> 28, quint32(LayerType::Sdf));
    }
};

QTEST_GUILESS_MAIN(TstRenderPipeline)
#include "tst_RenderPipeline.moc"
