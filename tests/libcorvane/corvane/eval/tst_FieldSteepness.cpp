#include <corvane/eval/FieldSteepness.h>

#include <support/NodeTree.h>

#include <QTest>

using namespace Qt::StringLiterals;
using corvane::eval::FieldSteepness;

class TstFieldSteepness : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void boundIsThatOfTheTree_data();
    void boundIsThatOfTheTree();
    void placementCounts();
    void steepDefinitionsAreNamed();
};

void TstFieldSteepness::initTestCase()
{
    corvane::registry::Registry::instance().loadBuiltinPrimitives();
    for (const QString &slope : {u"0.5"_s, u"2.0"_s, u"3.0"_s, u"6.0"_s}) {
        const QString name = u"steep"_s + slope.left(1);
        support::addShape(
            u"test_steep_"_s + slope,
            u"float sdf_%1(vec3 p) { return %2 * (length(p) - 1.0); }"_s.arg(name, slope));
    }
    support::addShape(u"test_jump"_s, u"float sdf_test_jump(vec3 p) {"
                                      " return length(p) - 1.0 + floor(p.x / 5.0); }"_s);
    support::addShape(u"test_nothing"_s,
                      u"float sdf_test_nothing(vec3 p) { return p.x / (p.y - p.y); }"_s);
}

void TstFieldSteepness::boundIsThatOfTheTree_data()
{
    QTest::addColumn<QString>("tree");
    QTest::addColumn<float>("bound");

    QTest::newRow("distance") << u"(sphere 1)"_s << 1.0f;
    QTest::newRow("three times a distance") << u"(test_steep_3.0)"_s << 3.0f;
    QTest::newRow("half a distance") << u"(test_steep_0.5)"_s << 1.0f;
    QTest::newRow("a jump is no slope") << u"(test_jump)"_s << 1.0f;
    QTest::newRow("no numbers anywhere") << u"(test_nothing)"_s << 1.0f;
    QTest::newRow("steepest child") << u"(union 0 (sphere 1) (test_steep_2.0))"_s << 2.0f;
    QTest::newRow("chamfer") << u"(chamfer_union 0.1 (sphere 1) (box 1 1 1))"_s << 1.414f;
    QTest::newRow("rotation") << u"(rotate 30 40 50 (test_steep_2.0))"_s << 2.0f;
    QTest::newRow("made smaller") << u"(scale 0.25 (sphere 1))"_s << 4.0f;
    QTest::newRow("made larger, of something steep") << u"(scale 2 (test_steep_6.0))"_s << 3.0f;
    QTest::newRow("modifier") << u"(round 0.2 (test_steep_2.0))"_s << 2.0f;
    QTest::newRow("extrusion") << u"(extrude 1 (sphere 1))"_s << 1.0f;
    QTest::newRow("no child") << u"(translate 1 2 3)"_s << 1.0f;
}

void TstFieldSteepness::boundIsThatOfTheTree()
{
    QFETCH(const QString, tree);
    QFETCH(const float, bound);
    support::NodeTree scene;
    const int root = scene.read(tree);
    FieldSteepness steepness;
    const float found = steepness.ofScene(scene.nodes, root, scene.definitions());
    QVERIFY2(std::abs(found - bound) < 0.02f * bound, QByteArray::number(found));
    QCOMPARE(steepness.ofScene(scene.nodes, root, scene.definitions()), found);
}

void TstFieldSteepness::placementCounts()
{
    support::NodeTree scene;
    const int root = scene.read(u"(sphere 1)"_s);
    QMatrix4x4 half;
    half.scale(1.0f, 0.5f, 2.0f);
    scene.nodes[root].setTransform(half);
    const float found = FieldSteepness().ofScene(scene.nodes, root, scene.definitions());
    QVERIFY2(std::abs(found - 2.0f) < 0.02f, QByteArray::number(found));
}

void TstFieldSteepness::steepDefinitionsAreNamed()
{
    support::NodeTree scene;
    const int root = scene.read(
        u"(union 0 (test_steep_3.0) (test_steep_6.0) (sphere 1) (scale 0.5 (box 1 1 1)))"_s);
    FieldSteepness steepness;
    (void)steepness.ofScene(scene.nodes, root, scene.definitions());
    const auto steep = steepness.steepDefinitions();
    QCOMPARE(steep.size(), 3);
    QCOMPARE(steep.at(0).definitionId, u"test_steep_6.0"_s);
    QVERIFY(std::abs(steep.at(0).bound - 6.0f) < 0.1f);
    QCOMPARE(steep.at(1).definitionId, u"test_steep_3.0"_s);
    QCOMPARE(steep.at(2).definitionId, u"scale"_s);
    steepness.clear();
    QVERIFY(steepness.steepDefinitions().isEmpty());
}

QTEST_GUILESS_MAIN(TstFieldSteepness)
#include "tst_FieldSteepness.moc"
