#include <corvane/bv/FieldIntervals.h>
#include <corvane/model/Instance.h>
#include <corvane/render/SDFNodePacker.h>

#include <support/NodeTree.h>

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;
namespace registry = corvane::registry;
using corvane::BoundingVolume;
using corvane::bv::FieldIntervals;
using corvane::eval::SdfSceneGraphBuilder;
using support::NodeTree;

/// Of every shape, operator, transform and modifier that ships: no point of a box is below what is
/// said of the box.
class TstFieldIntervals : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { registry::Registry::instance().loadBuiltinPrimitives(); }
    void pointsAreNotBelowTheirBox_data();
    void pointsAreNotBelowTheirBox();
};

void TstFieldIntervals::pointsAreNotBelowTheirBox_data()
{
    QTest::addColumn<QString>("id");
    const auto all = registry::Registry::instance().getAllPrimitives();
    QCOMPARE(all.size(), 79);
    for (const auto &definition : all)
        QTest::newRow(qPrintable(definition->id)) << definition->id;
}

void TstFieldIntervals::pointsAreNotBelowTheirBox()
{
    QFETCH(QString, id);
    const auto definition = registry::Registry::instance().getDefinition(id);
    const auto slots_ =
        corvane::render::SDFNodePacker::packParameters(corvane::model::Instance(), *definition);
    NodeTree tree;
    QList<int> children;
    for (int i = 0; i < std::max(definition->minChildren(), definition->isOperator ? 1 : 0); ++i)
        children.append(i == 0 ? tree.read(u"(box 1 2 0.7)"_s) : tree.read(u"(sphere 1.4)"_s));
    const int root = tree.addNode(id, QList<float>(slots_.begin(), slots_.end()), children);
    auto built = SdfSceneGraphBuilder::build(tree.nodes, root, tree.definitions());
    QVERIFY2(built.error.isEmpty(), qPrintable(built.error));
    const auto compiled = corvane::eval::compileField(built, ::eval::Backend::Interpreted);
    QVERIFY2(compiled.program, qPrintable(compiled.error));
    FieldIntervals field(compiled);
    QRandomGenerator random(11);
    const auto between = [&random](float low, float high) {
        return low + float(random.bounded(1.0)) * (high - low);
    };
    int known = 0;
    for (int i = 0; i < 150; ++i) {
        const float size = std::exp2(between(-6, 4));
        const QVector3D low(between(-8, 8), between(-8, 8), between(-8, 8));
        const QVector3D extent(between(0, size), between(0, size), between(0, size));
        const float lowest = field.lowest({low, low + extent});
        known += lowest > -1e9f ? 1 : 0;
        for (int k = 0; k < 20; ++k) {
            const QVector3D point(between(low.x(), (low + extent).x()),
                                  between(low.y(), (low + extent).y()),
                                  between(low.z(), (low + extent).z()));
            const float value = field.at(point);
            QVERIFY2(value >= lowest,
                     qPrintable(u"%1 below %2"_s.arg(double(value)).arg(double(lowest))));
        }
    }
    QVERIFY2(known >= 100, qPrintable(u"of %1 of 150 boxes something is known"_s.arg(known)));
}

QTEST_APPLESS_MAIN(TstFieldIntervals)
#include "tst_FieldIntervals.moc"
