// Programs by chance: on the device what the interpreter gives.
#include "../RandomProgram.h"

#include <eval/Graph.h>
#include <eval/gpu/GpuBackend.h>
#include <eval/internal/Cache.h>

#include <QRegularExpression>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr int programCount = 30;
constexpr int pointCount = 200;
/// Of the size of the value, beyond what the field itself changes by over a small step.
constexpr float tolerance = 1e-4f;
constexpr float smallStep = 1e-5f;

std::vector<float> pointsMovedBy(float step)
{
    QRandomGenerator random(7);
    std::vector<float> points;
    for (int i = 0; i < 3 * pointCount; ++i) {
        const auto x = static_cast<float>(random.bounded(8.0) - 4.0);
        points.push_back(x + step * std::max(1.0f, std::abs(x)));
    }
    return points;
}

struct Values
{
    std::vector<float> floats;
    QString error; ///< of the compile
    bool areAllThere = false;
};

Values evaluated(const QString &source, eval::Backend backend, const std::vector<float> &points)
{
    eval::Graph graph;
    graph.setReportRuntimeFaults(false);
    graph.declareInput(u"p"_s, eval::Type::Vec3);
    graph.declareOutput(u"d"_s, source);
    auto compiled = graph.compile(backend);
    if (!compiled)
        return {{}, compiled.firstError().message, false};
    Values values{std::vector<float>(pointCount), {}, false};
    values.areAllThere = bool(compiled.value().evaluateBatch(points, values.floats, pointCount, 3));
    return values;
}

/// A program with a form on the device: no parameter gives anything back, `mod`, which is known
/// to differ, stands nowhere, and nothing is plainly divided by zero: what follows from infinities
/// is a device's own.
QString nextSource(quint32 &seed)
{
    while (true) {
        QString source = RandomProgram(++seed).field() + u"field(p)\n"_s;
        if (!source.contains(u"inout"_s))
            return source.replace(u"mod("_s, u"max("_s)
                .replace(u" % "_s, u" * "_s)
                .replace(u" / 0.0"_s, u" / 0.5"_s);
    }
}

} // namespace

class TstGpuRandomPrograms : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanupTestCase();
    void agreesWithTheInterpreter_data();
    void agreesWithTheInterpreter();
};

void TstGpuRandomPrograms::initTestCase()
{
    eval::gpu::registerGpuBackend();
    QVERIFY2(eval::gpu::gpuBackendAvailable(),
             "No Vulkan driver is installed: scripts/test.sh installs mesa-vulkan-drivers");
}

void TstGpuRandomPrograms::cleanupTestCase()
{
    eval::internal::Cache::instance().clear();
    eval::gpu::shutdownGpu();
}

void TstGpuRandomPrograms::agreesWithTheInterpreter_data()
{
    QTest::addColumn<QString>("source");
    quint32 seed = 0;
    for (int i = 0; i < programCount; ++i) {
        const QString source = nextSource(seed);
        QTest::addRow("seed %u", seed) << source;
    }
}

void TstGpuRandomPrograms::agreesWithTheInterpreter()
{
    QFETCH(QString, source);
    const Values device = evaluated(source, eval::Backend::Gpu, pointsMovedBy(0));
    QVERIFY2(device.areAllThere, qPrintable(device.error + u'\n' + source));
    QList<Values> near;
    for (const float step : {0.0f, smallStep, -smallStep})
        near.append(evaluated(source, eval::Backend::Interpreted, pointsMovedBy(step)));
    int wrong = 0;
    int compared = 0;
    for (size_t i = 0; i < pointCount; ++i) {
        const float wanted = near[0].floats[i];
        const float slack = std::abs(near[1].floats[i] - wanted) +
                            std::abs(near[2].floats[i] - wanted) +
                            tolerance * std::max(1.0f, std::abs(wanted));
        if (!std::isfinite(wanted) || !std::isfinite(slack) || std::abs(wanted) > 1e6f)
            continue; // devices need not know what is no number
        ++compared;
        wrong += std::abs(device.floats[i] - wanted) <= slack ? 0 : 1;
    }
    // Next to a jump a rounding may decide.
    QVERIFY2(wrong * 50 <= compared,
             qPrintable(u"%1 of %2 points differ:\n%3"_s.arg(wrong).arg(compared).arg(source)));
}

QTEST_APPLESS_MAIN(TstGpuRandomPrograms)
#include "tst_GpuRandomPrograms.moc"
