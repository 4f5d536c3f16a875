#include <corvane/bv/FieldIntervals.h>
#include <corvane/bv/PartBounds.h>
#include <corvane/bv/SurfaceCut.h>

#include <support/NodeTree.h>

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane;
using bv::FieldIntervals;
using bv::PartBounds;
using support::NodeTree;

namespace {

struct PartCase
{
    QString scene;
    QVector3D low;
    QVector3D high;
    float slack = 0.03f; ///< how much too large, as a share of the part
};

corvane::eval::CompiledField fieldOf(const QString &scene)
{
    NodeTree tree;
    const int root = tree.read(scene);
    auto built = corvane::eval::SdfSceneGraphBuilder::build(tree.nodes, root, tree.definitions());
    return corvane::eval::compileField(built, ::eval::Backend::Interpreted);
}

PartBounds boundsOf(const QString &scene, const BoundingVolume &requested)
{
    const corvane::eval::CompiledField field = fieldOf(scene);
    corvane::eval::EvalFieldEvaluator evaluator(field.program, field.positionHandle,
                                                field.distanceHandle);
    const auto probed = bv::BoundsDetector::detectAdaptive(&evaluator);
    FieldIntervals intervals(field);
    return bv::findPartBounds(intervals, probed, {.requested = requested});
}

const BoundingVolume unitBox({-1, -1, -1}, {1, 1, 1});

} // namespace

Q_DECLARE_METATYPE(PartCase)

class TstPartBounds : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { registry::Registry::instance().loadBuiltinPrimitives(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void theBoxHoldsThePartAndLittleMore_data();
    void theBoxHoldsThePartAndLittleMore();
    void withoutAProofTheRequestedBoxCounts_data();
    void withoutAProofTheRequestedBoxCounts();
    void cutSidesAreFound_data();
    void cutSidesAreFound();
};

void TstPartBounds::theBoxHoldsThePartAndLittleMore_data()
{
    QTest::addColumn<PartCase>("part");
    const auto row = [](const char *name, const QString &scene, const QVector3D &low,
                        const QVector3D &high, float slack = 0.03f) {
        QTest::newRow(name) << PartCase{scene, low, high, slack};
    };
    row("ball", u"(sphere 1)"_s, {-1, -1, -1}, {1, 1, 1});
    row("flat box", u"(box 20 0.5 8)"_s, {-20, -0.5f, -8}, {20, 0.5f, 8});
    row("ball far away", u"(translate 600 -40 3 (sphere 2))"_s, {598, -42, 1}, {602, -38, 5});
    // No ray of a probe meets the rod, nor the second ball.
    const float tip = 32.527f; // (45 + 1) * sin 45
    row("ball with a tilted rod", u"(union (sphere 9) (rotate 0 0 45 (cylinder 1 45)))"_s,
        {-tip, -tip, -9}, {tip, tip, 9});
    row("a small ball beside a large one",
        u"(union (sphere 9) (translate 170 61 -43 (sphere 0.8)))"_s, {-9, -9, -43.8f},
        {170.8f, 61.8f, 9});
    row("a turned box", u"(rotate 0 30 0 (box 10 2 1))"_s, {-9.160f, -2, -5.866f},
        {9.160f, 2, 5.866f});
    row("what is left of a difference", u"(subtract (box 5 5 5) (translate 4 0 0 (box 5 6 6)))"_s,
        {-5, -5, -5}, {-1, 5, 5});
    row("six arms around", u"(radial_repeat 6 12 1 (sphere 1.5))"_s, {-13.5f, -1.5f, -11.892f},
        {13.5f, 1.5f, 11.892f}, 0.06f);
    row("three arms, two of them where their sectors meet the half turn",
        u"(radial_repeat 3 20 1 (rotate 0 0 90 (ellipsoid 2 15 2)))"_s, {-17.6f, -2, -30.31f},
        {35, 2, 30.31f}, 0.12f);
    row("smooth intersection with what is hard to tell",
        u"(smooth_intersect 0.5 (sphere 3) (twist 2 (box 40 40 0.5)))"_s, {-3, -3, -3}, {3, 3, 3},
        0.12f);
}

void TstPartBounds::theBoxHoldsThePartAndLittleMore()
{
    QFETCH(PartCase, part);
    const PartBounds found = boundsOf(part.scene, unitBox);
    QCOMPARE(found.kind, PartBounds::Kind::Proved);
    const float slack = std::max(part.slack * (part.high - part.low).length(), 0.4f);
    for (int axis = 0; axis < 3; ++axis) {
        const QByteArray sides = u"axis %1: %2 to %3"_s.arg(axis)
                                     .arg(double(found.box.minimum()[axis]))
                                     .arg(double(found.box.maximum()[axis]))
                                     .toUtf8();
        QVERIFY2(found.box.minimum()[axis] <= part.low[axis] + 1e-3f, sides);
        QVERIFY2(found.box.minimum()[axis] >= part.low[axis] - slack, sides);
        QVERIFY2(found.box.maximum()[axis] >= part.high[axis] - 1e-3f, sides);
        QVERIFY2(found.box.maximum()[axis] <= part.high[axis] + slack, sides);
    }
}

void TstPartBounds::withoutAProofTheRequestedBoxCounts_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<PartBounds::Kind>("kind");
    QTest::addColumn<QString>("reason");
    QTest::newRow("nothing there")
        << u"(intersect (sphere 1) (translate 5 0 0 (sphere 1)))"_s << PartBounds::Kind::Nothing
        << u"No geometry found within search radius"_s;
    QTest::newRow("no end") << u"(plane 0 1 0 0)"_s << PartBounds::Kind::Endless
                            << u"Geometry extends beyond search range on +X, -X, +Y, -Y, +Z, -Z"_s;
}

void TstPartBounds::withoutAProofTheRequestedBoxCounts()
{
    QFETCH(QString, scene);
    const PartBounds found = boundsOf(scene, unitBox);
    QTEST(found.kind, "kind");
    QTEST(found.reason, "reason");
    QCOMPARE(found.box, unitBox);
}

void TstPartBounds::cutSidesAreFound_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<QString>("warning");
    const QString none;
    QTest::newRow("clear") << u"(sphere 0.9)"_s << none;
    QTest::newRow("exactly as large as its box") << u"(box 1 1 1)"_s << none;
    QTest::newRow("outside") << u"(translate 4 0 0 (sphere 1))"_s << none;
    QTest::newRow("one side") << u"(translate 0.8 0 0 (box 0.7 0.2 0.2))"_s
                              << u"Warning: export box: the surface is cut off at maxX (the part "
                                 "goes on to at least x = 1.499, the box ends at 1). Set "
                                 "bounds.maxX to 1.599 or use autoBounds: true."_s;
    QTest::newRow("a slim bar on two sides")
        << u"(translate 0.7 0 0.6 (box 0.03 2 0.03))"_s
        << u"Warning: export box: the surface is cut off at maxY (the part goes on to at least "
           "y = 1.999, the box ends at 1), minY (the part goes on to at least y = -1.999, the box "
           "ends at "
           "-1). Set bounds.maxY to 2.099, bounds.minY to -2.099 or use autoBounds: true."_s;
    QTest::newRow("no end") << u"(intersect (plane 1 0 0 0) (box 20000 0.5 0.5))"_s
                            << u"Warning: export box: the surface is cut off at minX (no end of "
                               "the part is in sight, the box ends at -1). Intersect the part with "
                               "one that has an end, or use sealed: true to close it at the box."_s;
}

void TstPartBounds::cutSidesAreFound()
{
    QFETCH(QString, scene);
    const corvane::eval::CompiledField compiled = fieldOf(scene);
    FieldIntervals field(compiled);
    const auto cut = bv::findSurfaceCut(field, unitBox, 0.001f, 200'000);
    const auto warning = bv::surfaceCutWarning(cut, unitBox, 0.1f);
    QTEST(warning ? warning->toString() : QString(), "warning");
}

QTEST_GUILESS_MAIN(TstPartBounds)
#include "tst_PartBounds.moc"
