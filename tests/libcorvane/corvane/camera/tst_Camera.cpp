#include <corvane/camera/Camera.h>

#include <QRegularExpression>
#include <QTest>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using corvane::camera::Camera;
using corvane::camera::CameraPose;
using corvane::camera::Ray;

namespace {

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

struct ViewCase
{
    CameraPose pose{};
    float fieldOfView = 45.0f;
    float aspectRatio = 1.0f;
    float nearPlane = 0.1f;
    float farPlane = 100.0f;
};

struct UpCase
{
    QVector3D direction;
    QVector3D up;
    QVector3D shownUp;
};

bool isFinite(const QMatrix4x4 &matrix)
{
    return std::all_of(matrix.constData(), matrix.constData() + 16,
                       [](float value) { return std::isfinite(value); });
}

bool isNear(const QVector3D &a, const QVector3D &b, float tolerance = 1e-4f)
{
    return (a - b).length() <= tolerance * std::max(1.0f, b.length());
}

} // namespace

Q_DECLARE_METATYPE(ViewCase)
Q_DECLARE_METATYPE(UpCase)

class TstCamera : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void matricesAreSoundWhateverIsGiven_data();
    void matricesAreSoundWhateverIsGiven();
    void numbersThatAreNoneChangeNothing();
    void upIsShownUp_data();
    void upIsShownUp();
    void raysAgreeWithTheMatrices_data();
    void raysAgreeWithTheMatrices();
    void screenPointsCountFromEitherSide();
    void dollyScalesTheDistanceAndTurnsBack();
    void theOtherProjectionShowsTheTargetAsLarge();
    void aspectRatioKeepsTheOrthographicHeight();
    void resetIsTheDefaultView();
};

void TstCamera::matricesAreSoundWhateverIsGiven_data()
{
    QTest::addColumn<ViewCase>("view");
    QTest::newRow("default") << ViewCase{};
    QTest::newRow("at its target") << ViewCase{.pose = {{1, 2, 3}, {1, 2, 3}, {0, 1, 0}}};
    QTest::newRow("along its up vector") << ViewCase{.pose = {{0, 5, 0}, {0, 0, 0}, {0, 1, 0}}};
    QTest::newRow("no up vector") << ViewCase{.pose = {{0, 0, 5}, {0, 0, 0}, {0, 0, 0}}};
    QTest::newRow("tiny up vector") << ViewCase{.pose = {{0, 0, 5}, {0, 0, 0}, {0, 1e-30f, 0}}};
    QTest::newRow("a hair from its target")
        << ViewCase{.pose = {{1, 1, 1}, {1, 1, 1.0000001f}, {0, 1, 0}}};
    QTest::newRow("very far") << ViewCase{.pose = {{1e30f, -1e38f, 0}, {0, 0, 0}, {0, 1, 0}}};
    QTest::newRow("very far target") << ViewCase{.pose = {{0, 0, 0}, {3e38f, 0, 0}, {0, 1, 0}}};
    QTest::newRow("no angle") << ViewCase{.fieldOfView = 0};
    QTest::newRow("half a turn") << ViewCase{.fieldOfView = 180};
    QTest::newRow("negative angle") << ViewCase{.fieldOfView = -400};
    QTest::newRow("no width") << ViewCase{.aspectRatio = 0};
    QTest::newRow("no height") << ViewCase{.aspectRatio = 1e30f};
    QTest::newRow("planes exchanged") << ViewCase{.nearPlane = 10, .farPlane = 1};
    QTest::newRow("planes equal") << ViewCase{.nearPlane = 1e30f, .farPlane = 1e30f};
    QTest::newRow("near plane behind") << ViewCase{.nearPlane = -5, .farPlane = 0};
    QTest::newRow("widest planes") << ViewCase{.nearPlane = 1e-30f, .farPlane = 1e30f};
}

void TstCamera::matricesAreSoundWhateverIsGiven()
{
    QFETCH(ViewCase, view);
    Camera camera;
    camera.setPose(view.pose);
    camera.setFieldOfView(view.fieldOfView);
    camera.setAspectRatio(view.aspectRatio);
    camera.setPlanes(view.nearPlane, view.farPlane);
    for (const auto type :
         {Camera::ProjectionType::Perspective, Camera::ProjectionType::Orthographic}) {
        camera.setProjectionType(type);
        for (const QMatrix4x4 &matrix :
             {camera.viewMatrix(), camera.projectionMatrix(), camera.viewProjectionMatrix()}) {
            bool invertible = false;
            QVERIFY(isFinite(matrix.inverted(&invertible)));
            QVERIFY(invertible && isFinite(matrix));
        }
        QVERIFY(isFinite(camera.inverseViewProjectionMatrix()));
        const Ray ray = camera.rayThrough(0.3f, -0.9f);
        QVERIFY(std::abs(ray.direction.length() - 1.0f) < 1e-4f);
    }
}

void TstCamera::numbersThatAreNoneChangeNothing()
{
    Camera camera;
    camera.setPose({{1, 2, 3}, {4, 5, 6}, {0, 0, 1}});
    const QMatrix4x4 before = camera.viewProjectionMatrix();
    for (const float wrong : {notANumber, infinity, -infinity}) {
        QVERIFY(!camera.setPosition({wrong, 0, 0}));
        QVERIFY(!camera.setTarget({0, wrong, 0}));
        QVERIFY(!camera.setUpVector({0, 0, wrong}));
        QVERIFY(!camera.setFieldOfView(wrong));
        QVERIFY(!camera.setAspectRatio(wrong));
        QVERIFY(!camera.setPlanes(wrong, 10) && !camera.setPlanes(1, wrong));
        QVERIFY(!camera.setOrthographic(-1, wrong, -1, 1));
        camera.dolly(wrong);
    }
    QCOMPARE(camera.viewProjectionMatrix(), before);
}

void TstCamera::upIsShownUp_data()
{
    QTest::addColumn<UpCase>("view");
    QTest::newRow("front") << UpCase{{0, 0, -1}, {0, 1, 0}, {0, 1, 0}};
    QTest::newRow("inclined") << UpCase{{0, -1, -1}, {0, 5, 0}, {0, 0.70711f, -0.70711f}};
    QTest::newRow("straight down") << UpCase{{0, -1, 0}, {0, 1, 0}, {0, 0, -1}};
    QTest::newRow("straight up") << UpCase{{0, 1, 0}, {0, 1, 0}, {0, 0, 1}};
    QTest::newRow("along an up of x") << UpCase{{1, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    QTest::newRow("up of z") << UpCase{{0, 1, 0}, {0, 0, 1}, {0, 0, 1}};
}

void TstCamera::upIsShownUp()
{
    QFETCH(UpCase, view);
    Camera camera;
    QVERIFY(camera.setPose({-7.0f * view.direction, {0, 0, 0}, view.up}));
    QVERIFY(isNear(camera.axes().up, view.shownUp));
    QVERIFY(isNear(camera.axes().forward, view.direction.normalized()));
    // What is up in the scene is above the middle of the picture.
    QVERIFY(camera.viewProjectionMatrix().map(view.shownUp).y() > 0.1f);
    QVERIFY(std::abs(camera.viewProjectionMatrix().map(QVector3D()).y()) < 1e-5f);
}

void TstCamera::raysAgreeWithTheMatrices_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("perspective") << int(Camera::ProjectionType::Perspective);
    QTest::newRow("orthographic") << int(Camera::ProjectionType::Orthographic);
}

void TstCamera::raysAgreeWithTheMatrices()
{
    QFETCH(int, type);
    Camera camera;
    camera.setPose({{3, 4, 5}, {-1, 0, 1}, {0.2f, 1, 0}});
    camera.setAspectRatio(1.75f);
    camera.setProjectionType(Camera::ProjectionType(type));
    for (const QPointF at : {QPointF(-0.8, 0.3), QPointF(0, 0), QPointF(0.95, -0.95)}) {
        const Ray ray = camera.rayThrough(float(at.x()), float(at.y()));
        const QVector3D seen = camera.viewProjectionMatrix().map(ray.at(6.0f));
        QVERIFY(isNear(seen, {float(at.x()), float(at.y()), seen.z()}));
        QVERIFY(seen.z() > -1.0f && seen.z() < 1.0f);
        QVERIFY(isNear(camera.inverseViewProjectionMatrix().map(seen), ray.at(6.0f), 1e-3f));
    }
}

void TstCamera::screenPointsCountFromEitherSide()
{
    const Camera camera;
    const QSize size(200, 100);
    const Ray nearTop = camera.screenToRay({50, 10}, size);
    QVERIFY(nearTop.direction.x() < 0 && nearTop.direction.y() > 0);
    QCOMPARE(camera.screenToRay({50, 90}, size, true).direction, nearTop.direction);
    QVERIFY(isNear(camera.screenToRay({100, 50}, size).direction, {0, 0, -1}));
    const Ray hostile = camera.screenToRay({qQNaN(), 1e300}, {0, -5});
    QVERIFY(std::abs(hostile.direction.length() - 1.0f) < 1e-4f);
}

void TstCamera::dollyScalesTheDistanceAndTurnsBack()
{
    Camera camera;
    camera.setPose({{0, 0, 8}, {0, 0, -2}, {0, 1, 0}});
    camera.dolly(std::log(2.0f));
    QVERIFY(isNear(camera.position(), {0, 0, 3}));
    camera.dolly(-std::log(2.0f));
    QVERIFY(isNear(camera.position(), {0, 0, 8}));
    camera.setOrthographic(-4, 4, -2, 2);
    camera.dolly(std::log(2.0f));
    QVERIFY(qFuzzyCompare(camera.orthographicExtents().height(), 2.0f));
    QVERIFY(isNear(camera.position(), {0, 0, 8}));
    camera.setProjectionType(Camera::ProjectionType::Perspective);
    for (int i = 0; i < 20; ++i)
        camera.dolly(1000.0f);
    QVERIFY(camera.distanceToTarget() > 0.0f);
    QVERIFY(isNear(camera.axes().forward, {0, 0, -1}));
}

void TstCamera::theOtherProjectionShowsTheTargetAsLarge()
{
    Camera camera;
    camera.setAspectRatio(1.5f);
    camera.setPose({{6, 0, 8}, {0, 0, 0}, {0, 1, 0}});
    const QVector3D mark = camera.axes().up; // square on the line of sight, at the target
    const QVector3D seen = camera.viewProjectionMatrix().map(mark);
    camera.setProjectionType(Camera::ProjectionType::Orthographic);
    QVERIFY(std::abs(camera.viewProjectionMatrix().map(mark).y() - seen.y()) < 1e-4f);
    camera.dolly(-1.0f);
    camera.dolly(1.0f);
    camera.setProjectionType(Camera::ProjectionType::Perspective);
    QVERIFY(isNear(camera.viewProjectionMatrix().map(mark), seen));
    QVERIFY(isNear(camera.position(), {6, 0, 8}));
}

void TstCamera::aspectRatioKeepsTheOrthographicHeight()
{
    Camera camera;
    camera.setOrthographic(3, -3, 2, -2);
    QCOMPARE(camera.orthographicExtents(), (corvane::camera::OrthographicExtents{-3, 3, -2, 2}));
    camera.setAspectRatio(2.5f);
    QCOMPARE(camera.orthographicExtents(), (corvane::camera::OrthographicExtents{-5, 5, -2, 2}));
}

void TstCamera::resetIsTheDefaultView()
{
    Camera camera;
    camera.setAspectRatio(2.0f);
    camera.setPose({{9, 9, 9}, {1, 1, 1}, {1, 0, 0}});
    camera.setOrthographic(-1, 1, -1, 1);
    camera.reset();
    QCOMPARE(camera.pose(), CameraPose({{0, 0, 3}, {0, 0, 0}, {0, 1, 0}}));
    QCOMPARE(camera.projectionType(), Camera::ProjectionType::Perspective);
    QCOMPARE(camera.aspectRatio(), 2.0f);
    QMatrix4x4 expected;
    expected.perspective(45.0f, 2.0f, 0.1f, 100.0f);
    expected.lookAt({0, 0, 3}, {0, 0, 0}, {0, 1, 0});
    QVERIFY(qFuzzyCompare(camera.viewProjectionMatrix(), expected));
}

QTEST_GUILESS_MAIN(TstCamera)
#include "tst_Camera.moc"
