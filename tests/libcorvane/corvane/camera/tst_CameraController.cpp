#include <corvane/camera/CameraController.h>
#include <corvane/camera/ViewPreset.h>

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using corvane::BoundingVolume;
using corvane::camera::Camera;
using corvane::camera::CameraController;
using corvane::camera::CameraPose;
using corvane::camera::findViewPreset;
using corvane::camera::seenFrom;

namespace {

constexpr float quarterTurn = 90.0f / CameraController::degreesPerPixel; ///< pixels

bool isNear(const QVector3D &a, const QVector3D &b, float tolerance = 1e-3f)
{
    return (a - b).length() <= tolerance * std::max(1.0f, b.length());
}

QPointF pixelOf(const CameraController &controller, const QVector3D &point, const QSize &size)
{
    const QVector3D seen = controller.camera().viewProjectionMatrix().map(point);
    return {(seen.x() + 1.0) / 2.0 * size.width(), (1.0 - seen.y()) / 2.0 * size.height()};
}

struct FitCase
{
    float fieldOfView = 45.0f;
    float aspectRatio = 1.0f;
    Camera::ProjectionType type = Camera::ProjectionType::Perspective;
};

} // namespace

Q_DECLARE_METATYPE(FitCase)

class TstCameraController : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void orbitKeepsTheDistanceAndFollowsTheHand();
    void orbitEndsAtThePolesAndTurnsThere();
    void orbitTurnsAboutThePivot();
    void aSlantedCameraKeepsItsSlant();
    void panKeepsThePointUnderTheCursor_data();
    void panKeepsThePointUnderTheCursor();
    void dollyKeepsThePointUnderTheCursor_data();
    void dollyKeepsThePointUnderTheCursor();
    void lookAroundKeepsTheEye();
    void keysMoveByTheViewingDistance();
    void fitShowsTheWholeBall_data();
    void fitShowsTheWholeBall();
    void fitOfNothingChangesNothing();
    void planesFollowTheScene();
    void anOrthographicEyeStaysOutOfTheScene();
    void onlyChangesAreTold();
    void rectanglesAreNormalized();
};

void TstCameraController::orbitKeepsTheDistanceAndFollowsTheHand()
{
    CameraController controller;
    controller.setPose({{0, 0, 6}, {1, 0, 0}, {0, 1, 0}});
    controller.setPose({{1, 0, 6}, {1, 0, 0}, {0, 1, 0}});
    controller.orbit(quarterTurn, 0);
    QVERIFY(isNear(controller.camera().position(), {-5, 0, 0}));
    controller.orbit(0, quarterTurn / 3);
    QVERIFY(isNear(controller.camera().position(), {1 - 6 * 0.866025f, 3, 0}));
    QVERIFY(isNear(controller.camera().target(), {1, 0, 0}));
    QCOMPARE(controller.camera().upVector(), QVector3D(0, 1, 0));
    controller.orbit(std::numeric_limits<float>::infinity(), 0);
    QVERIFY(isNear(controller.camera().position(), {1 - 6 * 0.866025f, 3, 0}));
}

void TstCameraController::orbitEndsAtThePolesAndTurnsThere()
{
    CameraController controller;
    controller.orbit(0, 20 * quarterTurn);
    QVERIFY(isNear(controller.camera().position(), {0, 3, 0}));
    QVERIFY(isNear(controller.camera().axes().up, {0, 0, -1}));
    controller.orbit(quarterTurn, 0); // the picture turns, the eye stays
    QVERIFY(isNear(controller.camera().position(), {0, 3, 0}));
    QVERIFY(isNear(controller.camera().axes().up, {1, 0, 0}));
    controller.orbit(0, -quarterTurn);
    QVERIFY(isNear(controller.camera().position(), {-3, 0, 0}));
    QVERIFY(isNear(controller.camera().axes().up, {0, 1, 0}));
    controller.orbit(0, -20 * quarterTurn);
    QVERIFY(isNear(controller.camera().position(), {0, -3, 0}));
}

void TstCameraController::orbitTurnsAboutThePivot()
{
    CameraController controller;
    controller.setPose({{0, 0, 6}, {0, 0, 0}, {0, 1, 0}});
    controller.setPivot(QVector3D(2, 0, 0));
    controller.orbit(quarterTurn, 0);
    QVERIFY(isNear(controller.camera().position(), {-4, 0, -2}));
    QVERIFY(isNear(controller.camera().target(), {2, 0, -2}));
    controller.setPivot(std::nullopt);
    controller.orbit(-quarterTurn, 0);
    QVERIFY(isNear(controller.camera().target(), {2, 0, -2}));
}

void TstCameraController::aSlantedCameraKeepsItsSlant()
{
    CameraController controller;
    controller.setPose({{0, 0, 6}, {0, 0, 0}, {1, 1, 0}});
    controller.orbit(quarterTurn, 0);
    QVERIFY(isNear(controller.camera().axes().up, QVector3D(0, 1, 1).normalized()));
    controller.setPose({{0, 0, 6}, {0, 0, 0}, {0.003f, 1, 0}});
    controller.orbit(1, 0);
    QCOMPARE(controller.camera().upVector(), QVector3D(0, 1, 0));
}

void TstCameraController::panKeepsThePointUnderTheCursor_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("perspective") << int(Camera::ProjectionType::Perspective);
    QTest::newRow("orthographic") << int(Camera::ProjectionType::Orthographic);
}

void TstCameraController::panKeepsThePointUnderTheCursor()
{
    QFETCH(int, type);
    const QSize size(800, 500);
    CameraController controller;
    controller.setViewportSize(size);
    controller.setPose({{4, 3, 5}, {1, 0, 0}, {0, 1, 0}});
    controller.setProjectionType(Camera::ProjectionType(type));
    const QVector3D point = controller.camera().target();
    const QPointF before = pixelOf(controller, point, size);
    controller.pan(120, -70);
    const QPointF moved = pixelOf(controller, point, size) - before;
    QVERIFY(QLineF(moved, {120, -70}).length() < 0.05);
}

void TstCameraController::dollyKeepsThePointUnderTheCursor_data()
{
    panKeepsThePointUnderTheCursor_data();
}

void TstCameraController::dollyKeepsThePointUnderTheCursor()
{
    QFETCH(int, type);
    const QSize size(800, 500);
    CameraController controller;
    controller.setViewportSize(size);
    controller.setPose({{4, 3, 5}, {1, 0, 0}, {0, 1, 0}});
    controller.setProjectionType(Camera::ProjectionType(type));
    const QVector3D known(1.5f, 1, 1);
    const QPointF at = pixelOf(controller, known, size);
    const float height = controller.camera().heightAtTarget();
    controller.dollyTowards(at, std::log(4.0f), known);
    QVERIFY(QLineF(at, pixelOf(controller, known, size)).length() < 0.05);
    QVERIFY(std::abs(controller.camera().heightAtTarget() - height / 4) < 1e-4f);

    const QVector3D unknown = controller.camera().target() + 0.1f * controller.camera().axes().up;
    const QPointF above = pixelOf(controller, unknown, size);
    controller.dollyTowards(above, -1.0f);
    QVERIFY(QLineF(above, pixelOf(controller, unknown, size)).length() < 0.05);
}

void TstCameraController::lookAroundKeepsTheEye()
{
    CameraController controller;
    controller.lookAround(quarterTurn, 0);
    QVERIFY(isNear(controller.camera().position(), {0, 0, 3}));
    QVERIFY(isNear(controller.camera().target(), {3, 0, 3}));
    controller.lookAround(0, quarterTurn / 2);
    QVERIFY(isNear(controller.camera().axes().forward, QVector3D(1, -1, 0).normalized()));
}

void TstCameraController::keysMoveByTheViewingDistance()
{
    CameraController controller;
    controller.setPose({{0, 0, 10}, {0, 0, 0}, {0, 1, 0}});
    controller.move({1, 0, 0}, 1);
    QVERIFY(isNear(controller.camera().position(), {0.2f, 0, 10}));
    QVERIFY(isNear(controller.camera().target(), {0.2f, 0, 0}));
    controller.move({0, 0, 1}, 5);
    QVERIFY(isNear(controller.camera().position(), {0.2f, 0, 9}));
}

void TstCameraController::fitShowsTheWholeBall_data()
{
    QTest::addColumn<FitCase>("fit");
    QTest::newRow("square") << FitCase{};
    QTest::newRow("wide") << FitCase{45, 2};
    QTest::newRow("narrow") << FitCase{45, 0.4f};
    QTest::newRow("wide angle") << FitCase{120, 1};
    QTest::newRow("tele") << FitCase{3, 1.5f};
    QTest::newRow("orthographic") << FitCase{45, 0.5f, Camera::ProjectionType::Orthographic};
}

void TstCameraController::fitShowsTheWholeBall()
{
    QFETCH(FitCase, fit);
    CameraController controller;
    controller.setProjectionType(fit.type);
    controller.setPose({{3, 9, 4}, {0, 0, 0}, {0, 1, 0}});
    const QVector3D forward = controller.camera().axes().forward;
    const BoundingVolume box({8, -1, 0}, {12, 1, 4});
    controller.fitTo(box, fit.fieldOfView, fit.aspectRatio);
    const Camera &camera = controller.camera();
    QVERIFY(isNear(camera.axes().forward, forward));
    QVERIFY(isNear(camera.target(), box.center()));
    float widest = 0.0f;
    for (int corner = 0; corner < 8; ++corner) {
        const QVector3D point(corner & 1 ? 12 : 8, corner & 2 ? 1 : -1, corner & 4 ? 4 : 0);
        const QVector3D seen = camera.viewProjectionMatrix().map(point);
        widest = std::max({widest, std::abs(seen.x()), std::abs(seen.y())});
        QVERIFY(std::abs(seen.z()) < 1.0f);
    }
    QVERIFY2(widest < 1.0f && widest > 0.5f, qPrintable(QString::number(widest)));
    if (fit.fieldOfView == 45 && fit.aspectRatio >= 1) {
        QVERIFY(std::abs(camera.distanceToTarget() - 3 * 1.2f / std::tan(M_PI / 8)) < 1e-3);
        QVERIFY(std::abs(camera.nearPlane() - (camera.distanceToTarget() - 6)) < 1e-3f);
        QVERIFY(std::abs(camera.farPlane() - (camera.distanceToTarget() + 12)) < 1e-3f);
    }
}

void TstCameraController::fitOfNothingChangesNothing()
{
    CameraController controller;
    QSignalSpy changes(&controller, &CameraController::cameraChanged);
    const Camera before = controller.camera();
    controller.fitTo({});
    controller.fitTo({{1, 2, 3}, {1, 2, 3}});
    controller.fitTo({{0, 0, 0}, {std::numeric_limits<float>::infinity(), 1, 1}});
    controller.fitTo({{0, 0, 0}, {1, 1, 1}}, 45, std::numeric_limits<float>::quiet_NaN());
    QCOMPARE(controller.camera(), before);
    QCOMPARE(changes.size(), 0);
}

void TstCameraController::planesFollowTheScene()
{
    CameraController controller;
    controller.setSceneBounds({{-5, -5, -5}, {5, 5, 5}});
    for (const float distance : {2000.0f, 100.0f, 6.0f, 0.5f}) {
        controller.setPose({{0, 0, distance}, {0, 0, 0}, {0, 1, 0}});
        const Camera &camera = controller.camera();
        QVERIFY(camera.farPlane() > distance + 5 && camera.farPlane() < distance + 20);
        QVERIFY(camera.nearPlane() < std::max(distance - 5, 0.01f) &&
                camera.nearPlane() >= 0.9e-4f * camera.farPlane());
    }
}

void TstCameraController::anOrthographicEyeStaysOutOfTheScene()
{
    CameraController controller;
    controller.setProjectionType(Camera::ProjectionType::Orthographic);
    controller.setSceneBounds({{-5, -5, -5}, {5, 5, 5}});
    const float height = controller.camera().heightAtTarget();
    controller.setPose({{0, 0, 1}, {0, 0, 0}, {0, 1, 0}});
    const QVector3D nearest = controller.camera().viewProjectionMatrix().map(QVector3D(0, 0, 5));
    QVERIFY(nearest.z() > -1.0f);
    QCOMPARE(controller.camera().heightAtTarget(), height);
}

void TstCameraController::onlyChangesAreTold()
{
    CameraController controller;
    QSignalSpy changes(&controller, &CameraController::cameraChanged);
    controller.setSceneBounds({{-1, -1, -1}, {1, 1, 1}});
    QCOMPARE(changes.size(), 1);
    controller.orbit(0, 0);
    controller.pan(0, 0);
    controller.setViewportSize({0, 10});
    controller.setTarget(controller.camera().target());
    QCOMPARE(changes.size(), 1);
    controller.orbit(3, 4);
    QCOMPARE(changes.size(), 2);
    controller.setViewportSize({640, 480});
    QCOMPARE(changes.size(), 3);
    controller.setOrthographicSize(6, 4);
    QCOMPARE(controller.camera().orthographicExtents().top, 2.0f);
    controller.reset();
    QCOMPARE(changes.size(), 5);
    QCOMPARE(controller.camera().pose(), CameraPose());
}

void TstCameraController::rectanglesAreNormalized()
{
    CameraController controller;
    controller.setViewportSize({200, 100});
    QCOMPARE(controller.normalizedRect({{150, 100}, QPointF(100, 25)}), QRectF(0, -1, 0.5, 1.5));
}

QTEST_GUILESS_MAIN(TstCameraController)
#include "tst_CameraController.moc"
