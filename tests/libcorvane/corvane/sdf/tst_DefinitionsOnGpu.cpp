// Every definition that ships with the program gives on a device what the interpreter gives.
#include "DefinitionRunner.h"

#include <corvane/registry/Registry.h>
#include <eval/gpu/GpuBackend.h>
#include <eval/internal/Cache.h>

#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <random>

using namespace Qt::StringLiterals;
using namespace corvane::registry;
using reference::Vec3;

Q_DECLARE_METATYPE(corvane::registry::DefinitionPtr)

namespace {

constexpr int pointCount = 1000;
/// Of the size of the value, but not below a hundred thousandth of a unit.
constexpr float commonTolerance = 1e-5f;
/// Noise from the digits behind the comma of 43,758 times a sine: so much larger is an error in the
/// last place of that, and now and then it carries over.
constexpr float noiseTolerance = 1e-3f;
constexpr QLatin1StringView noisyDefinitions[] = {"noise_displacement"_L1, "domain_warp"_L1};
/// Where a definition has an edge (of a cell, a tooth, a sector), a point next to it may lie on the
/// other side.
constexpr int mostBesideAnEdge = 2;
constexpr int mostBesideACarry = 50;

QList<Vec3> somePoints()
{
    std::mt19937 generator(20240229);
    std::uniform_real_distribution<float> unit(-1, 1);
    QList<Vec3> points;
    for (int i = 0; i < pointCount; ++i) {
        const float reach = i % 8 == 7 ? 20.0f : 3.0f;
        // One at a time: the order within a list of arguments is open.
        Vec3 p;
        p.x = double(reach * unit(generator));
        p.y = double(reach * unit(generator));
        p.z = double(reach * unit(generator));
        points.append(p);
    }
    return points;
}

QList<double> defaultArguments(const Definition &definition)
{
    QList<double> result;
    for (const ParameterDef &parameter : definition.parameters) {
        if (parameter.isChildParameter())
            continue;
        const QList<double> given = numbersOf(parameter.defaultValue);
        result += parameter.type == SDFParameterType::Vec3 && given.size() == 1
                      ? QList<double>(3, given[0])
                      : given;
    }
    return result;
}

bool isClose(float found, float wanted, float tolerance)
{
    return std::abs(found - wanted) <= tolerance * std::max(1.0f, std::abs(wanted)) ||
           (std::isnan(found) && std::isnan(wanted)) || found == wanted;
}

} // namespace

class TstDefinitionsOnGpu : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanupTestCase();
    void agreesWithTheInterpreter_data();
    void agreesWithTheInterpreter();

private:
    std::unique_ptr<Registry> m_registry;
};

void TstDefinitionsOnGpu::initTestCase()
{
    eval::gpu::registerGpuBackend();
    QVERIFY2(eval::gpu::gpuBackendAvailable(),
             "No Vulkan driver is installed: scripts/test.sh installs mesa-vulkan-drivers");
    m_registry = std::make_unique<Registry>();
    m_registry->loadBuiltinPrimitives();
}

void TstDefinitionsOnGpu::cleanupTestCase()
{
    eval::internal::Cache::instance().clear();
    eval::gpu::shutdownGpu();
}

void TstDefinitionsOnGpu::agreesWithTheInterpreter_data()
{
    QTest::addColumn<DefinitionPtr>("definition");
    const auto definitions = m_registry->getAllPrimitives();
    QVERIFY(!definitions.isEmpty());
    for (const DefinitionPtr &definition : definitions)
        QTest::newRow(definition->id.toUtf8()) << definition;
}

void TstDefinitionsOnGpu::agreesWithTheInterpreter()
{
    QFETCH(const DefinitionPtr, definition);
    const QList<double> arguments = defaultArguments(*definition);
    DefinitionRunner reference(*definition, arguments);
    DefinitionRunner device(*definition, arguments, eval::Backend::Gpu);
    QCOMPARE(reference.error(), QString());
    QCOMPARE(device.error(), QString());
    static const QList<Vec3> points = somePoints();
    const QList<float> wanted = reference.batch(points);
    const QList<float> found = device.batch(points);
    QCOMPARE(reference.lastFault() + device.lastFault(), QString());
    QCOMPARE(found.size(), wanted.size());
    const qsizetype width = wanted.size() / pointCount;
    const bool isNoisy = std::ranges::count(noisyDefinitions, definition->id) > 0;
    const float tolerance = isNoisy ? noiseTolerance : commonTolerance;
    int besideAnEdge = 0;
    for (qsizetype i = 0; i < wanted.size(); ++i) {
        if (isClose(found[i], wanted[i], tolerance))
            continue;
        const Vec3 &p = points[i / width];
        QVERIFY2(++besideAnEdge <= (isNoisy ? mostBesideACarry : mostBesideAnEdge),
                 qPrintable(u"at (%1, %2, %3): %4, wanted %5"_s.arg(p.x)
                                .arg(p.y)
                                .arg(p.z)
                                .arg(double(found[i]))
                                .arg(double(wanted[i]))));
    }
}

QTEST_APPLESS_MAIN(TstDefinitionsOnGpu)
#include "tst_DefinitionsOnGpu.moc"
