#include <corvane/rendering/ItemIds.h>
#include <corvane/rendering/post/PostChain.h>
#include <corvane/rendering/post/PostEffectRegistry.h>
#include <corvane/rendering/post/PostProcessLayer.h>
#include <corvane/rendering/post/SelectionMaskComputer.h>
#include <rhi/ItemIdTexel.h>
#include <support/PictureRig.h>

#include <QRegularExpression>
#include <QTest>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::rendering;

namespace {

constexpr QSize size{32, 32};
using Pixels = PictureRig::Pixels;

Pixels filled(const QSize &of, const QVector4D &color)
{
    return Pixels(of.width() * of.height(), color);
}

std::unique_ptr<PostEffect> effectOf(const QString &id)
{
    return PostEffectRegistry::instance().create(id);
}

double encodedSrgb(double v)
{
    return v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055;
}

QVector4D texelOfId(const ItemId &id)
{
    const auto bytes = rhi::packItemId(id.encoded());
    return QVector4D(bytes[0], bytes[1], bytes[2], bytes[3]) / 255.0f;
}

/// A disc of one id about the middle, nothing around it.
Pixels disc(const ItemId &id, float radius)
{
    Pixels pixels = filled(size, {});
    for (int i = 0; i < pixels.size(); ++i) {
        if (std::hypot(i % 32 - 15.5f, i / 32 - 15.5f) < radius) // NOLINT: whole rows
            pixels[i] = texelOfId(id);
    }
    return pixels;
}

/// Two effects that say in the picture that they ran: it is doubled, then one is added.
Pixels chained(PictureRig &rig, PostChain &chain, QRhiTexture *source,
               const QList<PostChain::Step> &steps)
{
    return rig.frame([&](QRhiCommandBuffer *commands) {
        QVERIFY(chain.run(rig.rhi(), commands, source, rig.target(), steps));
    });
}

} // namespace

class TstPostEffects : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void exposureDoublesWithEachStep()
    {
        PictureRig rig({1, 1});
        QVERIFY(rig.isValid());
        const auto source = rig.texture({1, 1}, {{0.25f, 1.0f, 0.0f, 0.5f}});
        const auto exposure = effectOf(u"exposure"_s);
        QVERIFY(!exposure->isActive());
        QVERIFY(exposure->setParameter(u"ev"_s, 1.5));
        const QVector4D drawn = rig.drawn(*exposure, source.get()).constFirst();
        QVERIFY((drawn - QVector4D(0.70710678f, 2.8284271f, 0.0f, 0.5f)).length() < 1e-5f);
        exposure->release();
    }

    void gammaEncodesAsSrgbDoes()
    {
        PictureRig rig({5, 1});
        const Pixels light{{0, 0.001f, 0.0031308f, 0.3f},
                           {0.0032f, 0.01f, 0.18f, 1},
                           {0.5f, 0.9f, 1, 1},
                           {-1, 2, 1e9f, 1},
                           {0.04f, 0.2f, 0.7f, 0}};
        const auto source = rig.texture({5, 1}, light);
        const auto gamma = effectOf(u"gamma"_s);
        const Pixels drawn = rig.drawn(*gamma, source.get());
        for (int i = 0; i < light.size(); ++i) {
            for (int c = 0; c < 3; ++c) {
                const double expected = encodedSrgb(std::clamp(double(light[i][c]), 0.0, 1.0));
                QVERIFY(std::abs(drawn[i][c] - expected) < 1e-4);
            }
            QCOMPARE(drawn[i].w(), 1.0f);
        }
        gamma->release();
    }

    void ditherIsNoiseOfOneStepAboutTheColour_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<float>("reach"); // in steps
        QTest::newRow("triangular") << 1 << 1.0f;
        QTest::newRow("Bayer") << 2 << 0.5f;
        QTest::newRow("interleaved gradient") << 3 << 0.5f;
    }
    void ditherIsNoiseOfOneStepAboutTheColour()
    {
        QFETCH(int, mode);
        QFETCH(float, reach);
        PictureRig rig(size);
        const auto source = rig.texture(size, filled(size, {0.5f, 0.5f, 0.5f, 1}));
        const auto dither = effectOf(u"dither"_s);
        QVERIFY(dither->setParameter(u"mode"_s, mode) && dither->setParameter(u"quantBits"_s, 4.0));
        const Pixels drawn = rig.drawn(*dither, source.get());
        double sum = 0, most = 0;
        for (const QVector4D &pixel : drawn) {
            const double steps = (pixel.x() - 0.5) * 15;
            sum += steps;
            most = std::max(most, std::abs(steps));
        }
        QVERIFY2(most > 0.4 * reach && most <= reach + 1e-3, qPrintable(QString::number(most)));
        QVERIFY2(std::abs(sum / double(drawn.size())) < 0.05, qPrintable(QString::number(sum)));
        QCOMPARE(rig.drawn(*dither, source.get()), drawn);
        QVERIFY(dither->setParameter(u"frameIndex"_s, 1));
        QCOMPARE(rig.drawn(*dither, source.get()) == drawn, mode == 2);
        QVERIFY(dither->setParameter(u"mode"_s, 0));
        QVERIFY(!dither->isActive());
        dither->release();
    }

    void fxaaMixesAcrossEdgesAndLeavesTheRest()
    {
        PictureRig rig(size);
        Pixels stairs = filled(size, {0, 0, 0, 1});
        for (int i = 0; i < stairs.size(); ++i) {
            if (i / 32 > 10 + i % 32 / 8) // NOLINT: whole steps
                stairs[i] = {1, 1, 1, 1};
        }
        const auto source = rig.texture(size, stairs);
        const auto fxaa = effectOf(u"fxaa"_s);
        const Pixels drawn = rig.drawn(*fxaa, source.get());
        const auto at = [&drawn](int x, int y) { return drawn[y * 32 + x].x(); };
        QCOMPARE(at(4, 2), 0.0f);
        QCOMPARE(at(4, 28), 1.0f);
        QVERIFY(at(4, 10) > 0.2f && at(4, 10) < 0.8f);
        QVERIFY(at(4, 11) > 0.2f && at(4, 11) < 0.8f);
        fxaa->release();
    }

    void bloomGlowsAroundWhatIsBrighterThanTheThreshold()
    {
        PictureRig rig(size);
        constexpr float nan = std::numeric_limits<float>::quiet_NaN();
        Pixels lamp = filled(size, {0.5f, 0.5f, 0.5f, 1});
        lamp[16 * 32 + 16] = {40, 0, 0, 1};
        lamp[2] = {nan, nan, nan, nan};
        const auto source = rig.texture(size, lamp);
        const auto bloom = effectOf(u"bloom"_s);
        QVERIFY(bloom->setParameter(u"intensity"_s, 0.5));
        const Pixels drawn = rig.drawn(*bloom, source.get());
        const auto glowAt = [&drawn](int x) { return drawn[16 * 32 + x].x() - 0.5f; };
        QVERIFY(glowAt(19) > 0.02f);
        QVERIFY(glowAt(19) > glowAt(24) && glowAt(24) > glowAt(31));
        QVERIFY(std::abs(glowAt(12) - glowAt(20)) < 0.3f * glowAt(20));
        for (int i = 0; i < drawn.size(); ++i) {
            QVERIFY(qIsFinite(drawn[i].x()));
            QVERIFY(i == 2 || std::abs(drawn[i].y() - 0.5f) < 1e-3f ||
                    i == 16 * 32 + 16); // the lamp is red
        }
        QVERIFY(bloom->setParameter(u"intensity"_s, 0.0));
        QVERIFY(!bloom->isActive());
        QVERIFY(!bloom->setParameter(u"radius"_s, 1.0));
        bloom->release();
    }

    void eachStepReadsTheOneBefore()
    {
        PictureRig rig({2, 2});
        const auto source = rig.texture({4, 4}, filled({4, 4}, {0.25f, 0.25f, 0.25f, 1}));
        const auto exposure = effectOf(u"exposure"_s);
        const auto reinhard = effectOf(u"reinhard"_s);
        const auto gamma = effectOf(u"gamma"_s);
        exposure->setParameter(u"ev"_s, 2);
        PostChain chain;
        const QList<PostChain::Step> steps{{.effect = exposure.get()},
                                           {.effect = reinhard.get()},
                                           {.effect = gamma.get(), .isOutput = true}};
        const float all = chained(rig, chain, source.get(), steps).constFirst().x();
        QVERIFY(std::abs(all - encodedSrgb(0.5)) < 1e-3);
        exposure->setParameter(u"ev"_s, 0); // no effect, and left out
        const float two = chained(rig, chain, source.get(), steps).constFirst().x();
        QVERIFY(std::abs(two - encodedSrgb(0.2)) < 1e-3);
        QCOMPARE(chained(rig, chain, source.get(), {}).constFirst(),
                 QVector4D(0.25f, 0.25f, 0.25f, 1));
        chain.release();
        for (PostEffect *const effect : {exposure.get(), reinhard.get(), gamma.get()})
            effect->release();
    }

    void aLargerSceneIsMadeSmallerInLinearLight()
    {
        PictureRig rig({2, 2});
        Pixels checkers;
        for (int i = 0; i < 16; ++i)
            checkers.append((i + i / 4) % 2 == 0 ? QVector4D(1, 1, 1, 1) : QVector4D(0, 0, 0, 1));
        const auto source = rig.texture({4, 4}, checkers);
        const auto none = effectOf(u"none"_s);
        const auto gamma = effectOf(u"gamma"_s);
        PostChain chain;
        const Pixels drawn =
            chained(rig, chain, source.get(),
                    {{.effect = none.get()}, {.effect = gamma.get(), .isOutput = true}});
        for (const QVector4D &pixel : drawn)
            QVERIFY(std::abs(pixel.x() - encodedSrgb(0.5)) < 1e-3);
        chain.release();
        none->release();
        gamma->release();
    }

    void selectedAndHoveredItemsAreOutlined_data()
    {
        QTest::addColumn<int>("layer");
        QTest::addColumn<int>("index");
        QTest::addColumn<bool>("isHover");
        const auto row = [](const char *name, LayerType layer, int index, bool isHover = false) {
            QTest::newRow(name) << int(layer) << index << isHover;
        };
        row("node 0", LayerType::Sdf, 0);
        row("node 255", LayerType::Sdf, 255);
        row("node 256", LayerType::Sdf, 256);
        row("node 40000", LayerType::Sdf, 40000);
        row("mesh 31", LayerType::Mesh, 31);
        row("volume 8192", LayerType::TetVolume, 8192);
        row("proxy 65535", LayerType::Proxy, 65535);
        row("hovered node", LayerType::Sdf, 70000, true);
    }
    void selectedAndHoveredItemsAreOutlined()
    {
        QFETCH(int, layer);
        QFETCH(int, index);
        QFETCH(bool, isHover);
        const ItemId id{.layer = LayerType(layer), .index = quint32(index)};
        const ItemId other{.layer = id.layer, .index = id.index ^ 1};
        PictureRig rig(size);
        const auto scene = rig.texture(size, filled(size, {0, 0, 0, 1}));
        const auto material = rig.texture(size, filled(size, {}));
        SelectionHighlightEffect selection;
        HoverHighlightEffect hover;
        HighlightEffect &effect = isHover ? static_cast<HighlightEffect &>(hover) : selection;
        effect.setTintColor(QColor::fromRgbF(0, 1, 0, 0.5f));
        effect.setOutlineColor(QColor::fromRgbF(1, 0, 0, 1));
        QVERIFY(!effect.isActive());
        if (isHover)
            QVERIFY(hover.setHoveredId(id.encoded()) && !hover.setHoveredId(id.encoded()));
        else if (id.layer == LayerType::Sdf) {
            QBitArray nodes(index + 2);
            nodes.setBit(index);
            QVERIFY(selection.setSelectedNodes(nodes) && !selection.setSelectedNodes(nodes));
        } else {
            QVERIFY(selection.setSelectedItemIds({id.encoded()}));
        }
        const auto drawnOver = [&](const ItemId &shown) {
            const auto ids = rig.texture(size, disc(shown, 10));
            effect.setGBuffer(ids.get(), material.get());
            const Pixels drawn = rig.drawn(effect, scene.get());
            effect.release();
            return drawn;
        };
        const Pixels drawn = drawnOver(id);
        const auto at = [&drawn](int x) { return drawn[16 * 32 + x]; };
        QVERIFY(at(16).y() > 0.3f && at(16).x() < 0.01f); // tinted
        QVERIFY(at(25).x() > 0.9f || at(26).x() > 0.9f);  // outlined
        QCOMPARE(at(30), QVector4D(0, 0, 0, 1));
        QCOMPARE(at(20).x(), 0.0f);
        QCOMPARE(drawnOver(other), filled(size, {0, 0, 0, 1}));
    }

    void aSelectedNodeShowsInAllBelowIt()
    {
        const QUuid part = QUuid::createUuid(), leaf = QUuid::createUuid();
        QList<shader::SDFNode> nodes(6);
        const int parents[] = {-1, 0, 1, 1, 0, 7}; // the last is not sound
        for (int i = 0; i < 6; ++i)
            nodes[i].parentIndex = parents[i];
        const auto itemOf = [&](uint i) { return i == 1 ? part : i == 4 ? leaf : QUuid(); };
        const auto mask = [&](const QSet<QUuid> &selected) {
            QString bits;
            const QBitArray all =
                SelectionMaskComputer::computeSubtreeMask(nodes, itemOf, selected);
            for (int i = 0; i < all.size(); ++i)
                bits += all.testBit(i) ? u'1' : u'0';
            return bits;
        };
        QCOMPARE(mask({part}), u"011100"_s);
        QCOMPARE(mask({leaf}), u"000010"_s);
        QCOMPARE(mask({part, leaf}), u"011110"_s);
        QCOMPARE(mask({}), u"000000"_s);
        QCOMPARE(mask({QUuid::createUuid()}), u"000000"_s);
    }

    void theLayerRunsWhatIsChosen()
    {
        PostProcessLayer layer;
        QCOMPARE(layer.activeEffects(),
                 QStringList({u"bloom"_s, u"agx"_s, u"gamma"_s, u"dither"_s}));
        QVERIFY(layer.setToneMapping(u"hable"_s));
        QVERIFY(layer.setParameter(u"exposure/ev"_s, 1.0));
        layer.setAntialiasEffects({u"fxaa"_s, u"taa"_s});
        QVERIFY(layer.setEffectEnabled(u"bloom"_s, false));
        QCOMPARE(layer.activeEffects(),
                 QStringList({u"exposure"_s, u"hable"_s, u"fxaa"_s, u"gamma"_s, u"dither"_s}));
        QVERIFY(!layer.setToneMapping(u"Hable"_s));
        QCOMPARE(layer.toneMapping(), QString());
        layer.setAntialiasEffects({});
        QCOMPARE(layer.activeEffects(), QStringList({u"exposure"_s, u"gamma"_s, u"dither"_s}));
        for (const QString &path : {u"exposure"_s, u"/ev"_s, u"exposure/"_s, u"glow/ev"_s})
            QVERIFY(!layer.setParameter(path, 1.0));
        QVERIFY(!layer.setEffectEnabled(u"agx"_s, true));
    }

    void theLayerFinishesThePictureOfAnySize_data()
    {
        QTest::addColumn<QSize>("scene");
        QTest::newRow("one pixel") << QSize(1, 1);
        QTest::newRow("as large") << size;
        QTest::newRow("larger") << size * 2;
        QTest::newRow("a line") << QSize(16384, 1);
    }
    void theLayerFinishesThePictureOfAnySize()
    {
        QFETCH(QSize, scene);
        PictureRig rig(size);
        PostProcessLayer layer;
        layer.setToneMapping(u"none"_s);
        RhiContext context;
        context.rhi = rig.rhi();
        QString error;
        QVERIFY2(context.ensureOffscreen(rig.rhi(), scene, 1, &error), qPrintable(error));
        const auto draw = [&]() {
            return rig.frame([&](QRhiCommandBuffer *commands) {
                context.commandBuffer = commands;
                commands->beginPass(context.offscreen.renderTarget(),
                                    QColor::fromRgbF(0.5f, 0.5f, 0.5f), {1.0f, 0});
                commands->endPass();
                context.renderTarget = rig.target();
                layer.renderPost(context);
            });
        };
        const Pixels drawn = draw();
        for (const QVector4D &pixel : drawn)
            QVERIFY(std::abs(pixel.x() - encodedSrgb(0.5)) < 0.5 / 255 + 2e-3);
        layer.releaseResources(); // as after a loss of the device
        QCOMPARE(draw(), drawn);
        layer.releaseResources();
        context.offscreen.release();
    }

    void aThousandSizesTakeNoMoreMemoryThanOne()
    {
        PictureRig rig(size);
        PostProcessLayer layer;
        RhiContext context;
        context.rhi = rig.rhi();
        const auto drawAt = [&](const QSize &scene) {
            QString error;
            context.ensureOffscreen(rig.rhi(), scene, 1, &error);
            rig.frame([&](QRhiCommandBuffer *commands) {
                context.commandBuffer = commands;
                context.renderTarget = rig.target();
                layer.renderPost(context);
            });
        };
        const auto usedBytes = [&rig]() {
            return rig.rhi()->graphicsMemoryAllocationStatistics().usedBytes;
        };
        for (int i = 0; i < 8; ++i)
            drawAt({64, 64});
        const quint64 before = usedBytes();
        for (int i = 0; i < 1000; ++i)
            drawAt({16 + i % 37, 16 + i % 41});
        for (int i = 0; i < 8; ++i)
            drawAt({64, 64});
        QCOMPARE(usedBytes(), before);
        layer.releaseResources();
        context.offscreen.release();
    }
};

QTEST_GUILESS_MAIN(TstPostEffects)
#include "tst_PostEffects.moc"
