#include <corvane/rendering/layers/MeshLayer.h>
#include <corvane/rendering/layers/ProxyLayer.h>
#include <corvane/rendering/layers/TetVolumeLayer.h>
#include <support/LayerRig.h>
#include <support/SurfaceScene.h>
#include <support/VirtualDisplay.h>
#include <toast/ErrorManager.h>

#include <QApplication>
#include <QOffscreenSurface>
#include <QRegularExpression>
#include <QTest>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::rendering;

namespace {

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

/// White from everywhere, so that colours come out as they are.
SurfaceLighting plainLight()
{
    SurfaceLighting lighting;
    lighting.environmentAxes.fill({1, 1, 1});
    return lighting;
}

template<class T>
T &addLayer(LayerRig &rig, SurfaceScene &scene)
{
    T &layer = rig.add<T>();
    layer.setDocument(&scene.document);
    layer.setMeshSource(&scene.source);
    layer.setLighting(plainLight());
    return layer;
}

bool isReddish(const QVector4D &pixel)
{
    return pixel.x() > 0.2f && pixel.y() < 0.5f * pixel.x();
}

QStringList reports(const Layer &layer)
{
    QStringList texts;
    const auto entries = ErrorManager::instance().errorsForSource(layer.name());
    for (const ErrorEntry &entry : entries)
        texts.append(entry.message);
    return texts;
}

} // namespace

class TstSurfaceLayers : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        ErrorManager::instance().clearAll();
        QTest::failOnWarning(QRegularExpression(u".*"_s));
    }

    // The square stands to the right, above the middle: a picture that is turned over fails.
    void itemsAreSeenWhereTheyAre_data()
    {
        QTest::addColumn<bool>("isOpenGL");
        QTest::addColumn<int>("layer");
        for (const bool isOpenGL : {false, true}) {
            for (const LayerType layer : {LayerType::Mesh, LayerType::TetVolume, LayerType::Proxy})
                QTest::addRow("%s, layer %d", isOpenGL ? "OpenGL" : "Vulkan", int(layer))
                    << isOpenGL << int(layer);
        }
    }
    void itemsAreSeenWhereTheyAre()
    {
        QFETCH(bool, isOpenGL);
        QFETCH(int, layer);
        QOffscreenSurface surface;
        surface.setFormat(rhi::preferredOffscreenSurfaceFormat());
        surface.create();
        LayerRig rig({96, 96}, isOpenGL ? rhi::createOpenGLRhi(&surface) : nullptr);
        QVERIFY(rig.isValid());
        SurfaceScene scene;
        SurfaceMesh moved = SurfaceScene::square();
        for (auto &vertex : moved.vertices)
            vertex = vertex + ::mesh::Vector3<float>{1, 0.8f, 0};
        SurfaceLayer *drawn = nullptr;
        QUuid id;
        if (layer == int(LayerType::Mesh)) {
            drawn = &addLayer<MeshLayer>(rig, scene);
            id = scene.addMesh(SurfaceScene::square(), {1, 0.8f, 0});
        } else if (layer == int(LayerType::Proxy)) {
            drawn = &addLayer<ProxyLayer>(rig, scene);
            id = scene.addProxy(moved);
        } else {
            drawn = &addLayer<TetVolumeLayer>(rig, scene);
            id = scene.addVolume(SurfaceScene::tetrahedron(), {1, 0.8f, 0});
        }
        const PictureRig::Pixels deferred = rig.draw();
        QVERIFY(isReddish(rig.at(deferred, 71, 29)));
        for (const QPoint &elsewhere : {QPoint(71, 67), QPoint(24, 29), QPoint(48, 48)})
            QCOMPARE(rig.at(deferred, elsewhere.x(), elsewhere.y()), QVector4D(0, 0, 0, 1));
        QCOMPARE(rig.itemIdAt(71, 29), drawn->encodedItemId(id));
        QCOMPARE(drawn->encodedItemId(id) >> 28, quint32(layer));
        QCOMPARE(drawn->itemIdForIndex(0), id);
        rig.lookFrom({0, 0, 5.0001f}); // anew, without the G-buffer
        const PictureRig::Pixels forward = rig.draw(false);
        for (const QPoint &place : {QPoint(71, 29), QPoint(71, 67)})
            QVERIFY((rig.at(forward, place.x(), place.y()) - rig.at(deferred, place.x(), place.y()))
                        .length() < 0.02f);
        rig.release(); // as after a loss of the device, and everything once more
        rig.lookFrom({0, 0, 5});
        QCOMPARE(rig.draw(), deferred);
        rig.release();
    }

    void whatIsInFrontHidesWhatIsBehind()
    {
        for (const float z : {0.5f, -0.5f}) {
            LayerRig rig;
            SurfaceScene scene;
            MeshLayer &meshes = addLayer<MeshLayer>(rig, scene);
            ProxyLayer &proxies = addLayer<ProxyLayer>(rig, scene);
            const QUuid mesh = scene.addMesh(SurfaceScene::square(), {0, 0, z});
            const QUuid proxy = scene.addProxy(SurfaceScene::square());
            rig.draw();
            QCOMPARE(rig.itemIdAt(48, 48),
                     z > 0 ? meshes.encodedItemId(mesh) : proxies.encodedItemId(proxy));
        }
    }

    void aFacingSurfaceReflectsALightAsTheFieldDoes()
    {
        LayerRig rig;
        SurfaceScene scene;
        MeshLayer &layer = addLayer<MeshLayer>(rig, scene);
        const QUuid id = scene.addMesh(SurfaceScene::square(), {}, {0.8f, 0.5f, 0.02f, 1});
        model::SceneItem item = scene.document.item(id);
        item.material.metallic = 0.25f;
        item.material.roughness = 0.5f;
        item.material.emission = 0.5f;
        scene.document.updateItem(item);
        SurfaceLighting lighting;
        lighting.lightCount = 1;
        lighting.lights[0] = {.direction = {0, 0, 1}, .color = {1, 1, 1}, .intensity = 2.0f};
        lighting.ambient = SurfaceLighting::Ambient::Lights;
        layer.setLighting(lighting);
        const QVector4D pixel = rig.at(rig.draw(), 48, 48);
        for (int c = 0; c < 3; ++c) { // light, eye and normal are one: GGX by hand
            const double albedo = item.material.albedo[c];
            const double f0 = 0.04 * 0.75 + albedo * 0.25, a2 = std::pow(0.5, 4);
            const double specular = 1 / (M_PI * a2) * f0 / 4;
            const double direct = 2 * ((1 - f0) * 0.75 * albedo / M_PI + specular);
            const double expected = direct + albedo * 2 * 0.08 * 0.875 + 0.5 * albedo;
            QVERIFY2(std::abs(pixel[c] - expected) < 0.02 * expected + 2e-3,
                     qPrintable(u"%1 instead of %2"_s.arg(pixel[c]).arg(expected)));
        }
        layer.setDebugView(2, 100);
        QVERIFY((rig.at(rig.draw(), 48, 48) - QVector4D(0.5f, 0.5f, 1, 1)).length() < 0.01f);
    }

    void bothSidesAreLit()
    {
        LayerRig rig;
        SurfaceScene scene;
        addLayer<MeshLayer>(rig, scene);
        SurfaceMesh turned = SurfaceScene::square();
        turned.elements[0].nodes = {3, 2, 1, 0};
        scene.addMesh(turned, {1, 0, 0});
        scene.addMesh(SurfaceScene::square(), {-1, 0, 0});
        const PictureRig::Pixels drawn = rig.draw();
        QVERIFY(isReddish(rig.at(drawn, 71, 48)));
        QVERIFY((rig.at(drawn, 71, 48) - rig.at(drawn, 24, 48)).length() < 0.01f);
    }

    void hiddenItemsAndTheirGroupsAreNotDrawn()
    {
        LayerRig rig;
        SurfaceScene scene;
        MeshLayer &layer = addLayer<MeshLayer>(rig, scene);
        const QUuid group = scene.add(model::ItemTypes::Group, {1, 0, 0});
        const QUuid id = scene.addMesh(SurfaceScene::square(), {});
        scene.document.setParent(id, group);
        QVERIFY(isReddish(rig.at(rig.draw(), 71, 48))); // where its group is
        scene.tag(group, model::ItemTags::Hidden);
        const PictureRig::Pixels drawn = rig.draw();
        QCOMPARE(rig.at(drawn, 71, 48), QVector4D(0, 0, 0, 1));
        QCOMPARE(layer.encodedItemId(id), 0u);
        QCOMPARE(layer.itemIdForIndex(0), QUuid());
    }

    void oneMeshIsUploadedOnce()
    {
        LayerRig rig;
        SurfaceScene scene;
        MeshLayer &layer = addLayer<MeshLayer>(rig, scene);
        const SurfaceMesh shared = SurfaceScene::square();
        scene.addMesh(shared, {1, 0, 0});
        scene.addMesh(shared, {-1, 0, 0});
        const QUuid other = scene.addMesh(SurfaceScene::square(), {});
        rig.draw();
        QSet<const void *> buffers;
        for (const MeshGPUData &item : layer.items())
            buffers.insert(item.vertices.get());
        QCOMPARE(buffers.size(), 2);
        const quint32 row = layer.encodedItemId(other) & ItemId::maxIndex;
        const auto former = layer.items()[row].vertices;
        layer.markAllDirty(); // the same lists
        rig.draw();
        QCOMPARE(layer.items()[row].vertices, former);
        scene.source.renderMeshes[other] = SurfaceScene::square(0.3f);
        layer.markDirty(other);
        rig.draw();
        QVERIFY(layer.items()[row].vertices != former);
    }

    void aNewerProxyReplacesTheOlder()
    {
        LayerRig rig;
        SurfaceScene scene;
        ProxyLayer &layer = addLayer<ProxyLayer>(rig, scene);
        const QUuid id = scene.addProxy(SurfaceScene::square());
        rig.draw();
        const auto first = layer.items()[0].vertices;
        scene.source.proxies[id] = {.mesh = SurfaceScene::square(0.2f), .version = 2};
        layer.markAllDirty();
        QCOMPARE(rig.at(rig.draw(), 56, 48), QVector4D(0, 0, 0, 1));
        QVERIFY(layer.items()[0].vertices != first);
        QCOMPARE(layer.items()[0].version, 2);
        scene.source.proxies.clear();
        layer.markAllDirty();
        QCOMPARE(rig.at(rig.draw(), 48, 48), QVector4D(0, 0, 0, 1));
    }

    void aFrameUploadsNoMoreThanItsBudget()
    {
        LayerRig rig;
        SurfaceScene scene;
        MeshLayer &layer = addLayer<MeshLayer>(rig, scene);
        layer.setUploadBudget(1);
        for (int i = 0; i < 3; ++i)
            scene.addMesh(SurfaceScene::square(), {float(i), 0, 0});
        for (int frame = 1; frame <= 3; ++frame) {
            rig.draw();
            QCOMPARE(int(std::count_if(layer.items().begin(), layer.items().end(),
                                       [](const auto &item) { return item.isDrawable(); })),
                     frame);
        }
    }

    void aCutShowsTheInsideOfAVolume()
    {
        LayerRig rig;
        SurfaceScene scene;
        TetVolumeLayer &layer = addLayer<TetVolumeLayer>(rig, scene);
        const QUuid id = scene.addVolume(SurfaceScene::tetrahedron(), {});
        rig.draw();
        layer.setCutPlane({0, 0, -0.3f}, {0, 0, 1}); // in front of it nothing is left
        layer.setQualityShown(true);
        const PictureRig::Pixels cut = rig.draw();
        QCOMPARE(rig.itemIdAt(48, 48), layer.encodedItemId(id));
        QCOMPARE(rig.itemIdAt(57, 48), 0u); // the section is smaller than the face was
        QVERIFY(rig.at(cut, 48, 48).y() > 0.1f);
        layer.setCutPlane({}, {});
        rig.draw();
        QCOMPARE(rig.itemIdAt(52, 52), layer.encodedItemId(id));
    }

    void hostileMeshesAreShownAsFarAsTheyGo_data()
    {
        QTest::addColumn<SurfaceMesh>("mesh");
        QTest::addColumn<QString>("report");
        const auto squareWith = [](const ::mesh::Vector3<float> &vertex, const QList<int> &nodes) {
            SurfaceMesh mesh = SurfaceScene::square();
            mesh.vertices.append(vertex);
            mesh.addElement(::mesh::ElementType::Triangle, ::mesh::NodeList(nodes));
            return mesh;
        };
        const QString unusable =
            u"\"item 0\" has 1 faces with corners that are no numbers or that it does not have. "
            "They are not shown; repair the mesh."_s;
        QTest::newRow("NaN") << squareWith({notANumber, 0, 0}, {0, 1, 4}) << unusable;
        QTest::newRow("infinite") << squareWith({0, -infinity, 0}, {0, 1, 4}) << unusable;
        QTest::newRow("node too large") << squareWith({}, {0, 1, 5}) << unusable;
        QTest::newRow("node below 0") << squareWith({}, {0, 1, -1}) << unusable;
        QTest::newRow("two nodes") << squareWith({}, {0, 1}) << unusable;
        QTest::newRow("no area") << squareWith({}, {0, 0, 0}) << QString();
        QTest::newRow("far away") << squareWith({3e38f, 3e38f, -3e38f}, {0, 4, 4}) << QString();
    }
    void hostileMeshesAreShownAsFarAsTheyGo()
    {
        QFETCH(SurfaceMesh, mesh);
        QFETCH(QString, report);
        if (!report.isEmpty())
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"They are not shown"_s));
        LayerRig rig;
        SurfaceScene scene;
        MeshLayer &layer = addLayer<MeshLayer>(rig, scene);
        scene.addMesh(mesh, {});
        QVERIFY(isReddish(rig.at(rig.draw(), 44, 44)));
        layer.markAllDirty();
        rig.draw();
        QCOMPARE(reports(layer), report.isEmpty() ? QStringList() : QStringList{report});
    }

    void emptyLayersDrawNothing()
    {
        LayerRig rig;
        SurfaceScene scene;
        MeshLayer &layer = addLayer<MeshLayer>(rig, scene);
        scene.addMesh({}, {});
        scene.add(model::ItemTypes::Mesh, {}); // without a mesh
        rig.scene().setClearColor(QColor::fromRgbF(0, 0, 1));
        const PictureRig::Pixels drawn = rig.draw();
        QCOMPARE(drawn, PictureRig::Pixels(96 * 96, QVector4D(0, 0, 1, 1)));
        layer.setMeshSource(nullptr);
        layer.setDocument(nullptr);
        QCOMPARE(rig.draw(), drawn);
        QVERIFY(layer.items().empty() && layer.boundingVolume().isEmpty());
    }
};

CORVANE_DISPLAY_MAIN(TstSurfaceLayers)
#include "tst_SurfaceLayers.moc"
