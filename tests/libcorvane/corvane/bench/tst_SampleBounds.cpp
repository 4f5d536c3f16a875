#include <corvane/bench/CompiledScene.h>
#include <corvane/bv/BoundingVolume.h>
#include <corvane/eval/FieldCompiler.h>
#include <corvane/registry/Registry.h>
#include <corvane/xport/AutoBounds.h>

#include <QDir>
#include <QRegularExpression>
#include <QTest>

#include <vector>

using namespace Qt::StringLiterals;
using namespace corvane;

/// The box that is found for each scene that ships holds all of its part.
class TstSampleBounds : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { registry::Registry::instance().loadBuiltinPrimitives(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void nothingOfThePartIsOutside_data();
    void nothingOfThePartIsOutside();
};

void TstSampleBounds::nothingOfThePartIsOutside_data()
{
    QTest::addColumn<QString>("path");
    const QDir samples(QStringLiteral(CORVANE_SAMPLES));
    const QStringList names = samples.entryList({u"*.corvane"_s}, QDir::Files);
    QVERIFY(names.size() >= 12);
    for (const QString &name : names)
        QTest::newRow(qPrintable(name)) << samples.filePath(name);
}

void TstSampleBounds::nothingOfThePartIsOutside()
{
    QFETCH(QString, path);
    QString error;
    const auto scene = bench::compileSceneFile(path, error);
    QVERIFY2(scene, qPrintable(error));
    xport::ExportRequest request;
    request.nodes = scene->nodes;
    request.rootNodeIndex = scene->rootIndex;
    request.boundsMin = scene->boundsMin;
    request.boundsMax = scene->boundsMax;
    request.cellSize = scene->cellSize;
    const std::atomic_bool cancelled = false;
    xport::applyAutoBounds(request, scene->definitions, 2, cancelled);
    const BoundingVolume box(request.boundsMin, request.boundsMax);

    auto built = corvane::eval::SdfSceneGraphBuilder::build(scene->nodes, scene->rootIndex,
                                                            scene->definitions);
    const auto field = corvane::eval::compileField(built, ::eval::Backend::Interpreted);
    corvane::eval::EvalFieldEvaluator evaluator(field.program, field.positionHandle,
                                                field.distanceHandle);
    // The box that came with the scene holds the part, and here is a third more than it.
    const BoundingVolume given(scene->boundsMin, scene->boundsMax);
    const BoundingVolume huge = given.united(box).grownBy(0.15f * given.extent());
    constexpr int side = 72;
    const QVector3D step = huge.extent() / float(side - 1);
    std::vector<float> xs(side);
    std::vector<float> values(side);
    for (int i = 0; i < side; ++i)
        xs[size_t(i)] = huge.minimum().x() + step.x() * float(i);
    int inside = 0;
    for (int row = 0; row < side * side; ++row) {
        const float y = huge.minimum().y() + step.y() * float(row % side);
        const float z = huge.minimum().z() + step.z() * float(row / side);
        evaluator.evaluateRow(xs, y, z, values);
        for (int i = 0; i < side; ++i) {
            if (!(values[size_t(i)] < 0.0f))
                continue;
            ++inside;
            const BoundingVolume both = box.united({{xs[size_t(i)], y, z}, {xs[size_t(i)], y, z}});
            QVERIFY2(both == box, qPrintable(u"%1 %2 %3 is outside"_s.arg(double(xs[size_t(i)]))
                                                 .arg(double(y))
                                                 .arg(double(z))));
        }
    }
    QVERIFY(inside > 500);
    // Not by taking everything.
    QVERIFY2(
        box.longestSide() <= 1.25f * given.longestSide(),
        qPrintable(u"%1 of %2"_s.arg(double(box.longestSide())).arg(double(given.longestSide()))));
}

QTEST_GUILESS_MAIN(TstSampleBounds)
#include "tst_SampleBounds.moc"
