#include <corvane/camera/Camera.h>
#include <corvane/camera/ViewPreset.h>

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using corvane::camera::Camera;
using corvane::camera::CameraPose;
using corvane::camera::interpolated;
using corvane::camera::seenFrom;

namespace {

bool isNear(const QVector3D &a, const QVector3D &b)
{
    return (a - b).length() <= 1e-3f * std::max(1.0f, b.length());
}

QVector3D shownUp(const CameraPose &pose)
{
    Camera camera;
    camera.setPose(pose);
    return camera.axes().up;
}

struct WayCase
{
    CameraPose from{};
    CameraPose to{};
    QVector3D halfWayEye{};
};

} // namespace

Q_DECLARE_METATYPE(WayCase)

class TstCameraPose : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void theWayIsAnEvenTurn_data();
    void theWayIsAnEvenTurn();
    void presetsLookFromTheirSide_data();
    void presetsLookFromTheirSide();
    void anyDirectionWillDo();
};

void TstCameraPose::theWayIsAnEvenTurn_data()
{
    QTest::addColumn<WayCase>("way");
    const float root = 0.70710678f;
    QTest::newRow("front to right") << WayCase{{{0, 0, 4}}, {{4, 0, 0}}, {4 * root, 0, 4 * root}};
    QTest::newRow("front to top") << WayCase{
        {{0, 0, 4}}, {{0, 4, 0}, {}, {0, 0, -1}}, {0, 4 * root, 4 * root}};
    QTest::newRow("near to far") << WayCase{{{0, 0, 1}}, {{0, 0, 16}}, {0, 0, 4}};
    QTest::newRow("along") << WayCase{{{0, 0, 4}}, {{6, 0, 4}, {6, 0, 0}}, {3, 0, 4}};
    QTest::newRow("from the target out") << WayCase{{{0, 0, 0}}, {{0, 0, 4}}, {0, 0, 2}};
}

void TstCameraPose::theWayIsAnEvenTurn()
{
    QFETCH(WayCase, way);
    QCOMPARE(interpolated(way.from, way.to, 0.0f), way.from);
    QCOMPARE(interpolated(way.from, way.to, qQNaN()), way.from);
    QCOMPARE(interpolated(way.from, way.to, 1.5f), way.to);
    const CameraPose half = interpolated(way.from, way.to, 0.5f);
    QVERIFY(isNear(half.eye, way.halfWayEye));
    const CameraPose end = interpolated(way.from, way.to, 0.99999f);
    QVERIFY(isNear(end.eye, way.to.eye) && isNear(shownUp(end), shownUp(way.to)));
    using corvane::camera::eased;
    QVERIFY(eased(-1) == 0 && eased(0.5f) == 0.5f && eased(2) == 1 && eased(0.1f) < 0.1f);
}

void TstCameraPose::presetsLookFromTheirSide_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QVector3D>("eye");
    QTest::addColumn<QVector3D>("up");
    QTest::newRow("front") << u"front"_s << QVector3D(1, 0, 5) << QVector3D(0, 1, 0);
    QTest::newRow("back") << u"back"_s << QVector3D(1, 0, -5) << QVector3D(0, 1, 0);
    QTest::newRow("right") << u"right"_s << QVector3D(6, 0, 0) << QVector3D(0, 1, 0);
    QTest::newRow("left") << u"left"_s << QVector3D(-4, 0, 0) << QVector3D(0, 1, 0);
    QTest::newRow("top") << u"top"_s << QVector3D(1, 5, 0) << QVector3D(0, 0, -1);
    QTest::newRow("bottom") << u"bottom"_s << QVector3D(1, -5, 0) << QVector3D(0, 0, 1);
}

void TstCameraPose::presetsLookFromTheirSide()
{
    QFETCH(QString, id);
    QFETCH(QVector3D, eye);
    QFETCH(QVector3D, up);
    const auto *preset = corvane::camera::findViewPreset(QLatin1String(id.toLatin1()));
    QVERIFY(preset);
    const CameraPose pose = seenFrom({{4, 4, 0}, {1, 0, 0}, {1, 0, 0}}, preset->towardsEye);
    QVERIFY(isNear(pose.eye, eye) && isNear(pose.up, up));
    const auto *opposite = corvane::camera::findViewPreset(preset->opposite);
    QVERIFY(opposite && opposite->opposite == preset->id);
    QCOMPARE(opposite->towardsEye, -preset->towardsEye);
}

void TstCameraPose::anyDirectionWillDo()
{
    const CameraPose before{{0, 0, 3}, {0, 0, 0}, {0, 1, 0}};
    QCOMPARE(seenFrom(before, {0, 0, 0}), before);
    QVERIFY(isNear(seenFrom(before, {20, 0, 20}).eye, {2.1213f, 0, 2.1213f}));
    QVERIFY(!corvane::camera::findViewPreset("above"_L1));
}

QTEST_GUILESS_MAIN(TstCameraPose)
#include "tst_CameraPose.moc"
