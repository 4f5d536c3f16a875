#include <corvane/registry/Registry.h>
#include <corvane/rendering/thumbnail/SDFThumbnailGenerator.h>
#include <support/VirtualDisplay.h>

#include <QGuiApplication>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using corvane::registry::Registry;
using corvane::rendering::SDFThumbnailGenerator;
using corvane::rendering::ThumbnailCache;
using corvane::rendering::ThumbnailSection;

namespace {

constexpr QSize size(48, 48);
constexpr int renderTimeoutMs = 60'000;

corvane::registry::DefinitionPtr definitionOf(const QString &id, const QString &code)
{
    auto definition = corvane::registry::Definition::fromVariantMap(
        {{u"id"_s, id}, {u"name"_s, id}, {u"shaderCode"_s, code}});
    Registry::analyzeShaderSignature(definition);
    return definition;
}

/// The share of a picture's pixels that are opaque.
double opaqueShare(const QImage &image)
{
    int opaque = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            opaque += image.pixelColor(x, y).alpha() == 255;
    return double(opaque) / (image.width() * image.height());
}

} // namespace

class TstSDFThumbnailGenerator : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_registry.loadBuiltinPrimitives(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void aBallIsDrawnOnceAndKept();
    void anOperatorShowsBothParts();
    void aChangedDefinitionIsDrawnAnew();
    void whatCannotBeDrawnIsToldOnce();
    void anUnknownDefinitionGivesNothing();
    void aSectionShowsInsideAndOutside();
    void scenesHaveThumbnails();
    void preloadingFillsTheCache();
    void endsWhileRequestsWait();

private:
    [[nodiscard]] QSharedPointer<ThumbnailCache> cacheIn(const QTemporaryDir &folder) const
    {
        return QSharedPointer<ThumbnailCache>::create(folder.path(), ThumbnailCache::Limits());
    }
    /// The picture that comes for a request; null when none does.
    QImage drawn(SDFThumbnailGenerator &generator, const QString &id,
                 const std::optional<ThumbnailSection> &section = {})
    {
        QSignalSpy ready(&generator, &SDFThumbnailGenerator::thumbnailReady);
        const QPixmap known = generator.generateThumbnail(id, size, {}, section);
        if (!known.isNull())
            return known.toImage();
        if (!ready.wait(renderTimeoutMs) || ready[0][0].toString() != id)
            return {};
        return ready[0][1].value<QPixmap>().toImage();
    }

    Registry m_registry;
};

void TstSDFThumbnailGenerator::aBallIsDrawnOnceAndKept()
{
    const QTemporaryDir folder;
    SDFThumbnailGenerator generator(&m_registry, cacheIn(folder));
    const QImage image = drawn(generator, u"sphere"_s);
    QCOMPARE(image.size(), size);
    // A disc that fills most of the picture, brighter above than below, on nothing.
    const double share = opaqueShare(image); // of a disc that is 0.86 wide: 0.58 with its edge
    QVERIFY2(share > 0.48 && share < 0.58, qPrintable(QString::number(share)));
    QCOMPARE(image.pixelColor(0, 0).alpha(), 0);
    QCOMPARE(image.pixelColor(24, 24).alpha(), 255);
    QVERIFY(image.pixelColor(20, 12).lightness() > image.pixelColor(28, 40).lightness() + 20);

    QSignalSpy ready(&generator, &SDFThumbnailGenerator::thumbnailReady);
    QCOMPARE(generator.generateThumbnail(u"sphere"_s, size).toImage(), image);
    QCOMPARE(ready.size(), 0);
    QVERIFY(generator.generateThumbnail(u"sphere"_s, size, {{u"radius"_s, 3.0}}).isNull());

    // The worker saves after it has told; its end waits for that.
    QVERIFY(ready.wait(renderTimeoutMs));
    SDFThumbnailGenerator later(&m_registry, cacheIn(folder));
    QCOMPARE(later.generateThumbnail(u"sphere"_s, size).toImage(), image);
}

void TstSDFThumbnailGenerator::anOperatorShowsBothParts()
{
    const QTemporaryDir folder;
    SDFThumbnailGenerator generator(&m_registry, cacheIn(folder));
    // With a preview scene of its own, and without.
    m_registry.registerPrimitive(definitionOf(
        u"own_join"_s, u"float op_own_join(float d1, float d2) { return min(d1, d2); }"_s));
    for (const QString &id : {u"smooth_union"_s, u"own_join"_s}) {
        const QImage image = drawn(generator, id);
        int orange = 0;
        int grey = 0;
        for (int y = 0; y < size.height(); ++y)
            for (int x = 0; x < size.width(); ++x) {
                const QColor color = image.pixelColor(x, y);
                if (color.alpha() == 255)
                    ++(color.hsvSaturation() > 100 ? orange : grey);
            }
        QVERIFY2(orange > 100 && grey > 100, qPrintable(id));
    }
    m_registry.unregisterPrimitive(u"own_join"_s);
}

void TstSDFThumbnailGenerator::aChangedDefinitionIsDrawnAnew()
{
    const QTemporaryDir folder;
    SDFThumbnailGenerator generator(&m_registry, cacheIn(folder));
    m_registry.registerPrimitive(
        definitionOf(u"own"_s, u"float sdf_own(vec3 p) { return length(p) - 1.0; }"_s));
    const QImage ball = drawn(generator, u"own"_s);
    QSignalSpy invalidated(&generator, &SDFThumbnailGenerator::thumbnailInvalidated);
    m_registry.registerPrimitive(definitionOf(
        u"own"_s,
        u"float sdf_own(vec3 p) { vec3 q = abs(p); return max(q.x, max(q.y, q.z)) - 1.0; }"_s));
    QVERIFY(!invalidated.isEmpty());
    QCOMPARE(invalidated[0][0].toString(), u"own"_s);
    const QImage cube = drawn(generator, u"own"_s);
    QVERIFY(!ball.isNull() && !cube.isNull() && ball != cube);
    m_registry.unregisterPrimitive(u"own"_s);
}

void TstSDFThumbnailGenerator::whatCannotBeDrawnIsToldOnce()
{
    const QTemporaryDir folder;
    m_registry.registerPrimitive(
        definitionOf(u"broken"_s, u"float sdf_broken(vec3 p) { return missing(p); }"_s));
    SDFThumbnailGenerator generator(&m_registry, cacheIn(folder));
    QSignalSpy failed(&generator, &SDFThumbnailGenerator::thumbnailFailed);
    QTest::ignoreMessage(
        QtWarningMsg,
        QRegularExpression(u"^SDFThumbnailGenerator: broken: narrowed shader compile failed"_s));
    for (const QString &text :
         {u"^QSpirvCompiler: Failed"_s, u"^Failed to compile shader"_s, u"^Source "_s})
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(text));
    QVERIFY(generator.generateThumbnail(u"broken"_s, size).isNull());
    QVERIFY(failed.wait(renderTimeoutMs));
    QCOMPARE(failed[0][0].toString(), u"broken"_s);
    QVERIFY(failed[0][1].toString().contains(u"missing"_s));
    QVERIFY(generator.generateThumbnail(u"broken"_s, size).isNull());
    QCOMPARE(failed.size(), 1);
    m_registry.unregisterPrimitive(u"broken"_s);
}

void TstSDFThumbnailGenerator::anUnknownDefinitionGivesNothing()
{
    const QTemporaryDir folder;
    SDFThumbnailGenerator generator(&m_registry, cacheIn(folder));
    QTest::ignoreMessage(QtWarningMsg, "SDFThumbnailGenerator: Unknown definition spere");
    QVERIFY(generator.generateThumbnail(u"spere"_s, size).isNull());
}

void TstSDFThumbnailGenerator::aSectionShowsInsideAndOutside()
{
    const QTemporaryDir folder;
    SDFThumbnailGenerator generator(&m_registry, cacheIn(folder));
    const QImage image = drawn(generator, u"torus"_s, ThumbnailSection{.axis = 1});
    const QColor outside = image.pixelColor(24, 24);
    QVERIFY(outside.red() > outside.blue());
    const QColor inside = image.pixelColor(24, 7);
    QVERIFY(inside.blue() > inside.red());
    QCOMPARE(opaqueShare(image), 1.0);
}

void TstSDFThumbnailGenerator::scenesHaveThumbnails()
{
    const QTemporaryDir folder;
    SDFThumbnailGenerator generator(&m_registry, cacheIn(folder));
    corvane::rendering::ThumbnailSubjects subjects(&m_registry);
    const auto box = subjects.make(*m_registry.getDefinition(u"box"_s), {});
    QSignalSpy ready(&generator, &SDFThumbnailGenerator::thumbnailReady);
    QVERIFY(generator.generateSceneThumbnail(box.nodes, box.rootIndex, 48).isNull());
    QVERIFY(ready.wait(renderTimeoutMs));
    QCOMPARE(ready[0][0].toString(), SDFThumbnailGenerator::sceneKey(box.nodes, 48));
    QVERIFY(!generator.generateSceneThumbnail(box.nodes, box.rootIndex, 48).isNull());
    QTest::ignoreMessage(QtWarningMsg, "SDFThumbnailGenerator: scene: there is nothing to draw");
    QVERIFY(generator.generateSceneThumbnail({}, -1, 48).isNull());
}

void TstSDFThumbnailGenerator::preloadingFillsTheCache()
{
    const QTemporaryDir folder;
    SDFThumbnailGenerator generator(&m_registry, cacheIn(folder));
    QSignalSpy finished(&generator.queue(),
                        &corvane::rendering::ThumbnailQueue::preloadBatchFinished);
    generator.preload({{.id = u"sphere"_s, .size = size},
                       {.id = u"nothing of this name"_s, .size = size},
                       {.id = u"torus"_s, .size = size}});
    QVERIFY(finished.wait(renderTimeoutMs));
    QVERIFY(!generator.generateThumbnail(u"sphere"_s, size).isNull());
    QVERIFY(!generator.generateThumbnail(u"torus"_s, size).isNull());
}

void TstSDFThumbnailGenerator::endsWhileRequestsWait()
{
    const QTemporaryDir folder;
    SDFThumbnailGenerator generator(&m_registry, cacheIn(folder));
    for (const QString &id : {u"cone"_s, u"pipe"_s, u"link"_s, u"capsule"_s, u"pyramid"_s})
        generator.generateThumbnail(id, size);
}

int main(int argc, char **argv)
{
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    QGuiApplication application(argc, argv);
    TstSDFThumbnailGenerator test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_SDFThumbnailGenerator.moc"
