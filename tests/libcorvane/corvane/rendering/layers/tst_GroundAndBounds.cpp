#include <corvane/rendering/layers/ExportBoundsLayer.h>
#include <corvane/rendering/layers/GroundPlane.h>
#include <corvane/rendering/layers/MeshLayer.h>
#include <support/LayerRig.h>
#include <support/SurfaceScene.h>
#include <support/VirtualDisplay.h>

#include <QApplication>
#include <QOffscreenSurface>
#include <QRegularExpression>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;
using namespace corvane::rendering;

namespace {

const QVector4D background{0, 0, 0.5f, 1};

void addDevices()
{
    QTest::addColumn<bool>("isOpenGL");
    QTest::newRow("Vulkan") << false;
    QTest::newRow("OpenGL") << true;
}

int countOther(const PictureRig::Pixels &pixels)
{
    return int(std::count_if(pixels.begin(), pixels.end(), [](const QVector4D &pixel) {
        return (pixel - background).length() > 0.005f;
    }));
}

} // namespace

class TstGroundAndBounds : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QOffscreenSurface> m_surface;
    std::unique_ptr<LayerRig> makeRig(bool isOpenGL = false)
    {
        m_surface = std::make_unique<QOffscreenSurface>();
        m_surface->setFormat(rhi::preferredOffscreenSurfaceFormat());
        m_surface->create();
        auto rig = std::make_unique<LayerRig>(
            QSize(96, 96), isOpenGL ? rhi::createOpenGLRhi(m_surface.get()) : nullptr);
        rig->scene().setClearColor(QColor::fromRgbF(0, 0, 0.5f));
        return rig;
    }

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void theGroundLiesBelowTheHorizon_data() { addDevices(); }
    void theGroundLiesBelowTheHorizon()
    {
        QFETCH(bool, isOpenGL);
        const auto rig = makeRig(isOpenGL);
        QVERIFY(rig->isValid());
        rig->add<GroundPlane>();
        rig->lookFrom({0, 1, 5}, {0, 1, 0}); // level: the horizon is in the middle
        const PictureRig::Pixels above = rig->draw();
        QCOMPARE(countOther(above.mid(0, 46 * 96)), 0);
        QVERIFY(countOther(above.mid(70 * 96)) > 20 * 96);
        rig->lookFrom({0, -1, 5}, {0, -1, 0}); // from below it is the upper half
        const PictureRig::Pixels below = rig->draw();
        QVERIFY(countOther(below.mid(0, 26 * 96)) > 20 * 96);
        QCOMPARE(countOther(below.mid(50 * 96)), 0);
        rig->release();
    }

    void inThePlaneNoGroundIsSeen()
    {
        const auto rig = makeRig();
        rig->add<GroundPlane>();
        rig->lookFrom({0, 0, 5});
        QCOMPARE(countOther(rig->draw()), 0);
    }

    // What is selected stands to the right, above the middle: a step that turns the picture over
    // leaves its outline elsewhere.
    void pictureAndOutlineAreFinishedAlikeOnBothDevices()
    {
        const auto finished = [this](bool isOpenGL) {
            const auto rig = makeRig(isOpenGL);
            SurfaceScene scene;
            rig->add<GroundPlane>();
            MeshLayer &meshes = rig->add<MeshLayer>();
            meshes.setDocument(&scene.document);
            meshes.setMeshSource(&scene.source);
            const QUuid id = scene.addMesh(SurfaceScene::square(), {1, 0.8f, 0});
            PostProcessLayer &post = rig->add<PostProcessLayer>();
            post.setEffectEnabled(u"dither"_s, false);
            post.setAntialiasEffects({u"fxaa"_s});
            rig->lookFrom({0, 0.5f, 5}, {0, 0.5f, 0});
            rig->draw(); // from now on the item has an id
            post.selection().setSelectedItemIds({meshes.encodedItemId(id)});
            const PictureRig::Pixels pixels = rig->draw();
            rig->release();
            return pixels;
        };
        const PictureRig::Pixels vulkan = finished(false);
        const PictureRig::Pixels openGL = finished(true);
        int different = 0;
        for (int i = 0; i < vulkan.size(); ++i)
            different += (vulkan[i] - openGL[i]).length() > 0.05f;
        QVERIFY2(different < 96 * 2, qPrintable(QString::number(different)));
        const auto isOutline = [&vulkan](int x, int y) {
            return vulkan[y * 96 + x].z() > 0.8f && vulkan[y * 96 + x].x() < 0.6f;
        };
        QVERIFY(isOutline(59, 41) || isOutline(60, 41));   // left side of the square
        QVERIFY(!isOutline(60, 62) && !isOutline(35, 41)); // and none where it would be turned over
    }

    void aParallelProjectionShowsTheGroundToo()
    {
        const auto rig = makeRig();
        rig->add<GroundPlane>();
        rig->lookFrom({0, 5, 0.01f}); // from above, where the plane fills the picture
        rig->context().projection.setToIdentity();
        rig->context().projection.ortho(-2, 2, -2, 2, 0.1f, 100);
        const PictureRig::Pixels drawn = rig->draw();
        QCOMPARE(countOther(drawn), 96 * 96);
        // Major lines through the middle, and a square of checkers on both sides of one.
        QVERIFY(rig->at(drawn, 48, 20).x() > rig->at(drawn, 40, 20).x());
        rig->lookFrom({0, 0, 5});
        QCOMPARE(countOther(rig->draw()), 0);
    }

    void theGridIsAsFineAtEveryScale_data()
    {
        QTest::addColumn<float>("scale");
        for (const float scale : {0.01f, 1.0f, 100.0f, 1000.0f})
            QTest::addRow("%g", double(scale)) << scale;
    }
    void theGridIsAsFineAtEveryScale()
    {
        QFETCH(float, scale);
        const auto drawnAt = [this](float s) {
            const auto rig = makeRig();
            rig->add<GroundPlane>();
            rig->lookFrom(QVector3D(2, 3, 4) * s);
            rig->context().projection.setToIdentity();
            rig->context().projection.perspective(45, 1, 0.01f * s, 1000 * s);
            return rig->draw();
        };
        const PictureRig::Pixels one = drawnAt(1), other = drawnAt(scale);
        double difference = 0;
        for (int i = 0; i < one.size(); ++i)
            difference += double((one[i] - other[i]).length()) / double(one.size());
        QVERIFY2(difference < 0.005, qPrintable(QString::number(difference)));
        QVERIFY(countOther(one) > 90 * 96);
    }

    void theGroundIsBehindTheScene()
    {
        const auto rig = makeRig();
        SurfaceScene scene;
        rig->add<GroundPlane>();
        MeshLayer &meshes = rig->add<MeshLayer>();
        meshes.setDocument(&scene.document);
        meshes.setMeshSource(&scene.source);
        rig->lookFrom({0, 3, 5});
        const PictureRig::Pixels ground = rig->draw();
        scene.addMesh(SurfaceScene::square(), {0, 0, 0}); // half of it below the plane
        const PictureRig::Pixels both = rig->draw();
        for (const int y : {42, 54})
            QVERIFY(rig->at(both, 48, y).x() > 2 * rig->at(ground, 48, y).x());
        QCOMPARE(rig->at(both, 20, 60), rig->at(ground, 20, 60));
    }

    void theBoxIsDrawnAlongItsEdges_data() { addDevices(); }
    void theBoxIsDrawnAlongItsEdges()
    {
        QFETCH(bool, isOpenGL);
        const auto rig = makeRig(isOpenGL);
        ExportBoundsLayer &bounds = rig->add<ExportBoundsLayer>();
        bounds.setBounds({-1, 0, -1}, {1, 1.5f, 1});
        QCOMPARE(countOther(rig->draw()), 0); // not visible at first
        bounds.setBoundsVisible(true);
        const PictureRig::Pixels drawn = rig->draw();
        // The front face is 4 away: half a unit is 14.5 pixels there.
        const auto isLine = [&](int x, int y) {
            for (int d = -1; d <= 1; ++d) {
                if (rig->at(drawn, x + d, y).x() > 0.3f || rig->at(drawn, x, y + d).x() > 0.3f)
                    return true;
            }
            return false;
        };
        QVERIFY(isLine(77, 30) && isLine(19, 30)); // sides
        QVERIFY(isLine(40, 4) && isLine(40, 48));  // top and bottom of the front
        QVERIFY(!isLine(40, 60) && !isLine(48, 40));
        rig->release();
        QCOMPARE(rig->draw(), drawn);
        rig->release();
    }

    void whatIsNoBoxIsNotDrawn_data()
    {
        QTest::addColumn<QVector3D>("min");
        QTest::addColumn<QVector3D>("max");
        constexpr float nan = std::numeric_limits<float>::quiet_NaN();
        constexpr float inf = std::numeric_limits<float>::infinity();
        QTest::newRow("inside out") << QVector3D(1, 0, 0) << QVector3D(-1, 1, 1);
        QTest::newRow("flat") << QVector3D(0, 0, 0) << QVector3D(1, 0, 1);
        QTest::newRow("no number") << QVector3D(0, nan, 0) << QVector3D(1, 1, 1);
        QTest::newRow("infinite") << QVector3D(-inf, 0, 0) << QVector3D(1, 1, 1);
    }
    void whatIsNoBoxIsNotDrawn()
    {
        QFETCH(QVector3D, min);
        QFETCH(QVector3D, max);
        const auto rig = makeRig();
        ExportBoundsLayer &bounds = rig->add<ExportBoundsLayer>();
        bounds.setBoundsVisible(true);
        bounds.setBounds(min, max);
        QCOMPARE(countOther(rig->draw()), 0);
        QVERIFY(bounds.boundingVolume().isEmpty());
    }

    void aBoxAroundTheCameraIsDrawnToo()
    {
        const auto rig = makeRig();
        ExportBoundsLayer &bounds = rig->add<ExportBoundsLayer>();
        bounds.setBoundsVisible(true);
        bounds.setBounds({-4, -4, -8}, {4, 4, 8}); // edges go by the camera
        const PictureRig::Pixels drawn = rig->draw();
        const int lines = countOther(drawn);
        QVERIFY2(lines > 50 && lines < 96 * 96 / 4, qPrintable(QString::number(lines)));
    }
};

CORVANE_DISPLAY_MAIN(TstGroundAndBounds)
#include "tst_GroundAndBounds.moc"
