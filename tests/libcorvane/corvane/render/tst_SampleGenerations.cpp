// Each sample is there in both generations of the file: the same solid, whichever is opened.
#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/eval/FieldCompiler.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/DocumentBlock.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/registry/Registry.h>
#include <corvane/render/SDFLayer.h>
#include <corvane/xport/ExportSettings.h>

#include <QDir>
#include <QFile>
#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;
using namespace corvane;
using model::Corvane;

namespace {

/// How a file gets to its field.
enum class Road {
    Document, ///< as a command without a window loads it
    Tree,     ///< as an editor does: the tree, and the block that goes with it
};

const QDir samples(QStringLiteral(CORVANE_SAMPLES));

QString textOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QSharedPointer<Corvane> loadByTree(const QString &path)
{
    const model::LogicalParseResult parsed = model::CorvaneDSLParser::parseLogical(textOf(path));
    if (!parsed.logicalScene || !parsed.warnings.isEmpty())
        return {};
    auto document = QSharedPointer<Corvane>::create();
    model::DocumentBlock::apply(parsed.documentBlock, *document);
    document->registerFileScopedDefinitions();
    model::LogicalSceneCompiler compiler;
    compiler.setSource(parsed.logicalScene.data());
    compiler.setTarget(document.data());
    compiler.fullCompile();
    return document;
}

/// The points of a grid over the bounds that a file is exported in.
QList<QVector3D> samplePoints(Corvane &document)
{
    constexpr int steps = 11;
    expr::ExpressionManager expressions(&document);
    expressions.evaluateAll();
    const auto request = xport::ExportSettings::of(document, expressions).request;
    const QVector3D step = (request.boundsMax - request.boundsMin) / steps;
    QList<QVector3D> points;
    for (int i = 0; i <= steps; ++i) {
        for (int j = 0; j <= steps; ++j) {
            for (int k = 0; k <= steps; ++k)
                points.append(request.boundsMin + step * QVector3D(i, j, k));
        }
    }
    return points;
}

/// None, and logged, when the scene gives no field.
QList<float> distancesAt(Corvane &document, const QList<QVector3D> &points)
{
    expr::ExpressionManager expressions(&document);
    expressions.evaluateAll();
    render::SDFLayer layer;
    layer.setScene(&document);
    const auto nodes = layer.nodesAsOneField();
    corvane::shader::ShaderIndexManager indices;
    indices.rebuildIndices(&registry::Registry::instance());
    const auto definitions = corvane::eval::DefinitionTable::collect(
        nodes.nodes, registry::Registry::instance(), indices);
    auto built =
        corvane::eval::SdfSceneGraphBuilder::build(nodes.nodes, nodes.rootIndex, definitions);
    const auto field = corvane::eval::compileField(built, ::eval::Backend::Interpreted);
    if (!field.program) {
        qWarning().noquote() << layer.buildError() << built.error << field.error;
        return {};
    }
    corvane::eval::EvalFieldEvaluator evaluator(field.program, field.positionHandle,
                                                field.distanceHandle);
    QList<float> distances;
    for (const QVector3D &point : points)
        distances.append(evaluator.evaluate(point.x(), point.y(), point.z()));
    return distances;
}

} // namespace

class TstSampleGenerations : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { registry::Registry::instance().loadBuiltinPrimitives(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void bothGenerationsHaveEverySample();
    void bothGenerationsGiveOneField_data();
    void bothGenerationsGiveOneField();
};

void TstSampleGenerations::bothGenerationsHaveEverySample()
{
    const QStringList first = samples.entryList({u"*.corvane"_s}, QDir::Files, QDir::Name);
    const QDir second(samples.filePath(u"v2"_s));
    QCOMPARE(second.entryList({u"*.corvane"_s}, QDir::Files, QDir::Name), first);
    QVERIFY(first.size() >= 18);
}

void TstSampleGenerations::bothGenerationsGiveOneField_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<Road>("road");
    const QStringList names = samples.entryList({u"*.corvane"_s}, QDir::Files, QDir::Name);
    for (const QString &name : names) {
        QTest::addRow("%s as a document", qPrintable(name)) << name << Road::Document;
        QTest::addRow("%s as a tree", qPrintable(name)) << name << Road::Tree;
    }
}

void TstSampleGenerations::bothGenerationsGiveOneField()
{
    QFETCH(const QString, name);
    QFETCH(const Road, road);
    const auto first = Corvane::loadFromFile(samples.filePath(name));
    QVERIFY(first);
    const QList<QVector3D> points = samplePoints(*first);
    const QList<float> expected = distancesAt(*first, points);
    first->unregisterFileScopedDefinitions();

    const QString path = samples.filePath(u"v2/"_s + name);
    const auto second = road == Road::Document ? Corvane::loadFromFile(path) : loadByTree(path);
    QVERIFY(second);
    const QList<float> distances = distancesAt(*second, points);
    second->unregisterFileScopedDefinitions();

    QCOMPARE(expected.size(), points.size());
    QCOMPARE(distances.size(), points.size());
    bool isSolidSeen = false;
    for (qsizetype i = 0; i < points.size(); ++i) {
        isSolidSeen = isSolidSeen || expected.at(i) < 0.0f;
        // Wrappers that change nothing may still round.
        const float tolerance = 1e-4f * (1.0f + std::abs(expected.at(i)));
        const QVector3D point = points.at(i);
        QVERIFY2(std::abs(distances.at(i) - expected.at(i)) <= tolerance,
                 qPrintable(u"%1 instead of %2 at %3, %4, %5"_s.arg(
                     QString::number(distances.at(i)), QString::number(expected.at(i)),
                     QString::number(point.x()), QString::number(point.y()),
                     QString::number(point.z()))));
    }
    QVERIFY(isSolidSeen);
}

QTEST_GUILESS_MAIN(TstSampleGenerations)
#include "tst_SampleGenerations.moc"
