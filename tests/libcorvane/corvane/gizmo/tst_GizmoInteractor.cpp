#include <corvane/gizmo/DefinitionHandles.h>
#include <corvane/gizmo/GizmoInteractor.h>
#include <corvane/gizmo/GizmoProjection.h>
#include <corvane/gizmo/GizmoStyle.h>
#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>

#include <QSignalSpy>
#include <QTest>
#include <QVector3D>

using namespace Qt::StringLiterals;
using namespace corvane::gizmo;
using corvane::camera::Camera;

namespace {

const QSize pictureSize(800, 600);
const QUuid item = QUuid::createUuid();

/// Looks at the origin from +z, 20 away.
Camera frontCamera()
{
    Camera camera;
    camera.setAspectRatio(float(pictureSize.width()) / float(pictureSize.height()));
    camera.setPose({.eye = {0, 0, 20}, .target = {0, 0, 0}, .up = {0, 1, 0}});
    return camera;
}

QPointF seenAt(const QVector3D &world, const Camera &camera)
{
    return projectWorldToScreen(world, camera.viewProjectionMatrix(), pictureSize).value();
}

GizmoSpec handlesOf(const QString &definition, const QVariantMap &values = {})
{
    GizmoSpec spec;
    const auto found = corvane::registry::Registry::instance().getDefinition(definition);
    if (found)
        appendHandlesFromDefinition(spec, *found, item, values);
    return spec;
}

} // namespace

class tst_GizmoInteractor : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { corvane::registry::Registry::instance().loadBuiltinPrimitives(); }

    void builtinsGiveTheirHandles_data()
    {
        QTest::addColumn<QString>("definition");
        QTest::addColumn<QVariantMap>("values");
        QTest::addColumn<QVector3D>("tip"); ///< of the last handle
        QTest::addColumn<int>("count");
        QTest::newRow("half extents: the grips stand on the faces")
            << u"box"_s << QVariantMap{{u"depth"_s, 4.0}} << QVector3D(0, 0, 4) << 3;
        QTest::newRow("a full extent: half of it to each side")
            << u"threaded_rod"_s << QVariantMap{{u"rod_length"_s, 6.0}} << QVector3D(0, 3, 0) << -1;
        QTest::newRow("a radius") << u"sphere"_s << QVariantMap{{u"radius"_s, 2.5}}
                                  << QVector3D(2.5f, 0, 0) << 1;
    }

    void builtinsGiveTheirHandles()
    {
        QFETCH(QString, definition);
        QFETCH(QVariantMap, values);
        QFETCH(QVector3D, tip);
        QFETCH(int, count);
        const GizmoSpec spec = handlesOf(definition, values);
        if (count >= 0)
            QCOMPARE(int(spec.handles.size()), count);
        bool found = false;
        for (const GizmoHandleSpec &handle : spec.handles)
            found = found || (shapeOf(handle, {}, frontCamera()).tip - tip).length() < 1e-4f;
        QVERIFY(found);
    }

    void aDraggedFaceStaysUnderTheCursor()
    {
        // Along y, of a box that stands aside and is turned by a quarter around z.
        QMatrix4x4 placement;
        placement.translate(2, 1, 0);
        placement.rotate(90, 0, 0, 1);
        placement.scale(2);
        GizmoInteractor interactor;
        QSignalSpy updates(&interactor, &GizmoInteractor::parameterDragUpdate);
        QSignalSpy ends(&interactor, &GizmoInteractor::parameterDragFinished);
        interactor.setActiveHandles(
            handlesOf(u"box"_s, {{u"width"_s, 1.0}, {u"height"_s, 1.0}, {u"depth"_s, 1.0}}),
            placement);
        const Camera camera = frontCamera();
        // The face of +y lies at x = 2 - 2.
        const QPointF grip = seenAt({0, 1, 0}, camera);
        const GizmoHitResult hit = interactor.hitTest(grip, camera, pictureSize);
        QVERIFY(hit.isHit());
        QCOMPARE(interactor.handles().handles.at(hit.handle).parameter, u"height"_s);
        QVERIFY(interactor.beginDrag(hit, grip, camera, pictureSize));
        interactor.updateDrag(seenAt({-4, 1, 0}, camera), camera, pictureSize);
        interactor.endDrag();
        QCOMPARE(updates.size(), 1);
        QCOMPARE(ends.size(), 1);
        QCOMPARE(ends.first().at(0).toUuid(), item);
        QVERIFY(std::abs(ends.first().at(2).toDouble() - 3.0) < 1e-3);
    }

    void aDragThatIsTakenBackEndsWithoutAChange()
    {
        GizmoInteractor interactor;
        QSignalSpy updates(&interactor, &GizmoInteractor::parameterDragUpdate);
        QSignalSpy ends(&interactor, &GizmoInteractor::parameterDragFinished);
        interactor.setActiveHandles(handlesOf(u"sphere"_s, {{u"radius"_s, 2.0}}), {});
        const Camera camera = frontCamera();
        const QPointF grip = seenAt({2, 0, 0}, camera);
        QVERIFY(interactor.beginDrag(interactor.hitTest(grip, camera, pictureSize), grip, camera,
                                     pictureSize));
        interactor.updateDrag(seenAt({3, 0, 0}, camera), camera, pictureSize);
        interactor.cancelDrag();
        QCOMPARE(updates.last().at(2).toDouble(), 2.0);
        QCOMPARE(ends.size(), 0);
        QVERIFY(!interactor.isDragging());
    }

    void arrowsMoveAVectorByComponents()
    {
        GizmoInteractor interactor;
        QSignalSpy ends(&interactor, &GizmoInteractor::parameterDragFinished);
        interactor.setActiveHandles(handlesOf(u"translate"_s, {{u"offset"_s, QVector3D(1, 2, 0)}}),
                                    {});
        const Camera camera = frontCamera();
        const float length = GizmoStyle::computeHandleLength(camera.position(), {1, 2, 0});
        const QPointF grip = seenAt({1 + length, 2, 0}, camera);
        QVERIFY(interactor.beginDrag(interactor.hitTest(grip, camera, pictureSize), grip, camera,
                                     pictureSize));
        interactor.updateDrag(seenAt({2 + length, 2, 0}, camera), camera, pictureSize);
        // A tenth of the way, and then to whole steps.
        interactor.updateDrag(seenAt({2.4f + length, 2, 0}, camera), camera, pictureSize,
                              {.snap = true});
        interactor.endDrag();
        QCOMPARE(ends.first().at(2).value<QVector3D>(), QVector3D(2, 2, 0));
    }

    void aRingCountsTurnsThroughTheSeam()
    {
        GizmoInteractor interactor;
        QSignalSpy ends(&interactor, &GizmoInteractor::parameterDragFinished);
        interactor.setActiveHandles(handlesOf(u"rotate"_s, {{u"angles"_s, QVector3D(0, 0, 100)}}),
                                    {});
        const Camera camera = frontCamera();
        const float radius = GizmoStyle::computeHandleLength(camera.position(), {});
        const auto onRing = [&](double degrees) {
            const double a = qDegreesToRadians(degrees);
            return seenAt({radius * float(std::cos(a)), radius * float(std::sin(a)), 0}, camera);
        };
        const GizmoHitResult hit = interactor.hitTest(onRing(37), camera, pictureSize);
        QVERIFY(interactor.beginDrag(hit, onRing(37), camera, pictureSize));
        for (int degrees = 40; degrees <= 437; degrees += 20)
            interactor.updateDrag(onRing(degrees), camera, pictureSize);
        interactor.updateDrag(onRing(77), camera, pictureSize);
        interactor.endDrag();
        // A turn of 400 degrees; the angle is in no bounded drag but has a range.
        QCOMPARE(ends.first().at(2).value<QVector3D>().z(), 180.0f);
    }

    void numbersOfADrag_data()
    {
        QTest::addColumn<int>("mapping");
        QTest::addColumn<bool>("bounded");
        QTest::addColumn<double>("delta");
        QTest::addColumn<bool>("fine");
        QTest::addColumn<double>("expected");
        using Mapping = corvane::registry::DragSpec::Mapping;
        QTest::newRow("linear") << int(Mapping::Linear) << false << 3.0 << false << 5.0;
        QTest::newRow("fine") << int(Mapping::Linear) << false << 3.0 << true << 2.3;
        QTest::newRow("bounded") << int(Mapping::Linear) << true << 30.0 << false << 10.0;
        QTest::newRow("not bounded") << int(Mapping::Linear) << false << 30.0 << false << 32.0;
        QTest::newRow("a locked sign") << int(Mapping::Linear) << false << -30.0 << false << 0.002;
        QTest::newRow("a factor") << int(Mapping::Multiplicative) << false << 2.0 << false << 4.0;
        QTest::newRow("never through nothing")
            << int(Mapping::Multiplicative) << false << -9.0 << false << 0.002;
    }

    void numbersOfADrag()
    {
        QFETCH(int, mapping);
        QFETCH(bool, bounded);
        QFETCH(double, delta);
        QFETCH(bool, fine);
        QFETCH(double, expected);
        GizmoHandleSpec handle;
        handle.minimum = 0.001;
        handle.maximum = 10.0;
        handle.drag = corvane::registry::DragSpec();
        handle.drag->mapping = corvane::registry::DragSpec::Mapping(mapping);
        handle.drag->bounded = bounded;
        QVERIFY(std::abs(draggedNumber(handle, 2.0, 2.0, delta, 1.0, {.fine = fine}) - expected) <
                1e-9);
    }

    void nothingIsHitBehindTheEyeOrFarFromALine()
    {
        GizmoInteractor interactor;
        QMatrix4x4 behind;
        behind.translate(0, 0, 40);
        interactor.setActiveHandles(handlesOf(u"sphere"_s), behind);
        const Camera camera = frontCamera();
        QVERIFY(!interactor.hitTest({400, 300}, camera, pictureSize).isHit());
        interactor.setActiveHandles(handlesOf(u"sphere"_s), {});
        QVERIFY(!interactor.hitTest({400, 320}, camera, pictureSize).isHit());
        QVERIFY(!interactor.beginDrag({}, {}, camera, pictureSize));
    }

    void aHandleAtTheEyeHasALength()
    {
        QCOMPARE(GizmoStyle::computeHandleLength({1, 2, 3}, {1, 2, 3}), 0.01f * 0.15f);
    }
};

QTEST_GUILESS_MAIN(tst_GizmoInteractor)
#include "tst_GizmoInteractor.moc"
