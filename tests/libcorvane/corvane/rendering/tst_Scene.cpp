#include <corvane/rendering/RhiContext.h>
#include <corvane/rendering/Scene.h>

#include <rhi/OffscreenRhi.h>

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane::rendering;

namespace {

/// Writes down what it is asked for.
class TestLayer : public Layer
{
public:
    TestLayer(QString name, QStringList *log)
        : m_name(std::move(name))
        , m_log(log)
    {}

    QString typeName() const override { return m_name; }
    bool initialize(RhiContext &) override
    {
        note(u"initialize"_s);
        return !isBroken;
    }
    void update(RhiContext &, qint64) override { note(u"update"_s); }
    bool hasGeometryPass() const override { return wantsGeometry; }
    bool needsGeometryUpdate() const override { return wantsGeometry && isOutOfDate; }
    void renderGeometry(RhiContext &context) override
    {
        note(u"geometry %1"_s.arg(context.pixelSize.width()));
    }
    void renderPre(RhiContext &) override { note(u"pre"_s); }
    void renderPost(RhiContext &) override { note(u"post"_s); }
    void releaseResources() override { note(u"release"_s); }

    bool isBroken = false;
    bool wantsGeometry = false;
    bool isOutOfDate = false;

private:
    void note(const QString &what) { m_log->append(m_name + u' ' + what); }

    QString m_name;
    QStringList *m_log;
};

} // namespace

class TstScene : public QObject
{
    Q_OBJECT

    rhi::RhiPointer m_rhi;
    QStringList m_log;

    /// One frame over a target of 8 by 8 pixels.
    void drawFrame(Scene &scene)
    {
        RhiContext context;
        context.rhi = m_rhi.get();
        QVERIFY(context.ensureOffscreen(m_rhi.get(), {8, 8}, 1, nullptr));
        QVERIFY(m_rhi->beginOffscreenFrame(&context.commandBuffer) == QRhi::FrameOpSuccess);
        context.setRenderTarget(context.offscreen.renderTarget());
        scene.update(context, 16);
        scene.renderGeometry(context);
        QCOMPARE(context.renderTarget, context.offscreen.renderTarget());
        context.commandBuffer->beginPass(context.renderTarget, Qt::black, {1.0f, 0});
        scene.renderPre(context);
        context.commandBuffer->endPass();
        scene.renderPost(context);
        QVERIFY(m_rhi->endOffscreenFrame() == QRhi::FrameOpSuccess);
    }
    TestLayer *add(Scene &scene, const QString &name)
    {
        return static_cast<TestLayer *>(scene.addLayer(std::make_unique<TestLayer>(name, &m_log)));
    }

private slots:
    void initTestCase()
    {
        m_rhi = rhi::createOffscreenRhi(nullptr);
        QVERIFY(m_rhi);
    }
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_log.clear();
    }

    void aFrameRunsStepByStepOverTheLayersThatAreDrawn()
    {
        Scene scene;
        auto *a = add(scene, u"a"_s);
        a->addChild(std::make_unique<TestLayer>(u"child"_s, &m_log));
        add(scene, u"hidden"_s)->setVisible(false);
        add(scene, u"off"_s)->setEnabled(false);
        add(scene, u"failed"_s)->setDisabledByErrors(true);
        add(scene, u"broken"_s)->isBroken = true;
        drawFrame(scene);
        QCOMPARE(m_log.join(u", "_s),
                 u"a initialize, a update, child initialize, child update, broken initialize, "
                 "a pre, child pre, a post, child post, broken initialize"_s);
        m_log.clear();
        scene.releaseResources();
        QCOMPARE(m_log.count(u"hidden release"_s), 1);
        drawFrame(scene);
        QVERIFY(m_log.contains(u"a initialize"_s));
    }

    void geometryIsDrawnByAllWhenOneIsOutOfDate()
    {
        Scene scene;
        auto *a = add(scene, u"a"_s);
        auto *b = add(scene, u"b"_s);
        add(scene, u"c"_s);
        a->wantsGeometry = b->wantsGeometry = true;
        drawFrame(scene);
        QVERIFY(m_log.filter(u"geometry"_s).isEmpty());
        b->isOutOfDate = true;
        drawFrame(scene);
        QCOMPARE(m_log.filter(u"geometry"_s).join(u", "_s), u"a geometry 8, b geometry 8"_s);
    }

    void aMissingLayerIsToldAndStepsOver()
    {
        Scene scene;
        scene.addLayer(nullptr);
        add(scene, u"a"_s);
        QTest::ignoreMessage(QtWarningMsg, "Scene::renderPost: null layer at index 0");
        drawFrame(scene);
        QCOMPARE(m_log.last(), u"a post"_s);
    }

    void aPlaceFollowsFromThoseOfTheParents()
    {
        TestLayer parent(u"parent"_s, &m_log);
        QMatrix4x4 shift;
        shift.translate(1, 2, 3);
        parent.setTransform(shift);
        auto child = std::make_unique<TestLayer>(u"child"_s, &m_log);
        Layer *const raw = child.get();
        child->setTransform(shift);
        parent.addChild(std::move(child));
        QCOMPARE(raw->worldTransform().map(QVector3D()), QVector3D(2, 4, 6));
        const auto removed = parent.removeChild(raw);
        QVERIFY(removed && !removed->parent() && parent.children().empty());
        QCOMPARE(raw->worldTransform().map(QVector3D()), QVector3D(1, 2, 3));
    }
};

QTEST_GUILESS_MAIN(TstScene)
#include "tst_Scene.moc"
