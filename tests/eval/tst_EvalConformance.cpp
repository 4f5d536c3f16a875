#include <eval/Graph.h>
#include <eval/gpu/GpuBackend.h>
#include <eval/gpu/GpuDevice.h>
#include <eval/internal/Cache.h>
#include <eval/internal/CompiledProgram.h>
#include <eval/internal/GraphCompiler.h>

#include "AstText.h"
#include "ConformanceCase.h"

#include <QDir>
#include <QMatrix4x4>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QVector2D>
#include <QVector3D>
#include <QVector4D>

#include <cmath>

using namespace Qt::StringLiterals;
using namespace eval::internal;
using eval::Backend;
using eval::Handle;

Q_DECLARE_METATYPE(ConformanceCase)

namespace {

// The tree walked as it is, the fast form of it, and what back-ends there are beside.
const QString walkName = u"walk"_s;
const QString loweredName = u"lowered"_s;
const QString nativeName = u"native"_s;
const QString gpuName = u"gpu"_s;
const QString fragmentName = u"gpu fragment"_s;

bool isGpu(const QString &backend)
{
    return backend == gpuName || backend == fragmentName;
}

QStringList backendsAtHand()
{
    QStringList names{walkName, loweredName};
    if (!QStandardPaths::findExecutable(u"g++"_s).isEmpty() ||
        !QStandardPaths::findExecutable(u"clang++"_s).isEmpty())
        names.append(nativeName);
    if (eval::gpu::gpuBackendAvailable())
        names.append({gpuName, fragmentName});
    return names;
}

Backend backendNamed(const QString &name)
{
    return name == nativeName ? Backend::Native : isGpu(name) ? Backend::Gpu : Backend::Interpreted;
}

/// The word for a back-end in the cases, which know no lanes.
QString wordFor(const QString &backend)
{
    return isGpu(backend) ? gpuName : backend;
}

/// The lane belongs to the device, not to the program: what the other lane left in the cache goes.
void chooseLane(const QString &backend)
{
    if (!isGpu(backend))
        return;
    Cache::instance().clear();
    QVERIFY(eval::gpu::GpuDevice::instance().forceLane(
        backend == gpuName ? eval::gpu::GpuLane::Compute : eval::gpu::GpuLane::Fragment));
}

/// Inputs have the handles from 1, the output "result" the one after them.
CompiledResult compileCase(const ConformanceCase &test, const QString &backend)
{
    CompileRequest request;
    request.backend = backendNamed(backend);
    Handle handle = 0;
    for (const ConformanceCase::Input &input : test.inputs) {
        SlotBinding binding;
        binding.name = input.name;
        binding.type = input.isArray ? eval::Type::Array : input.type;
        binding.elementType = input.isArray ? input.type : eval::Type::Float;
        binding.handle = ++handle;
        request.inputs.append(binding);
    }
    SlotBinding output;
    output.name = u"result"_s;
    output.handle = ++handle;
    request.outputs.append(output);
    request.sources.append(test.source);
    return GraphCompiler(request).compile();
}

eval::Program programOn(const QString &backend,
                        const QSharedPointer<const CompiledProgram> &compiled)
{
    if (backend != walkName)
        return eval::Program(compiled);
    const auto plain = QSharedPointer<CompiledProgram>::create(*compiled);
    plain->lowered.reset();
    return eval::Program(plain);
}

QVariant variantOf(const ConformanceCase::Input &input)
{
    if (input.components.size() == 1)
        return input.components.first();
    QVariantList list;
    for (const double component : input.components)
        list.append(component);
    return list;
}

QList<double> componentsOf(const QVariant &value)
{
    QList<double> components;
    if (value.typeId() == QMetaType::QMatrix4x4) {
        const auto matrix = value.value<QMatrix4x4>();
        for (int i = 0; i < 16; ++i)
            components.append(matrix.constData()[i]);
    } else if (value.typeId() == QMetaType::QVector2D) {
        const auto vector = value.value<QVector2D>();
        components = {vector.x(), vector.y()};
    } else if (value.typeId() == QMetaType::QVector3D) {
        const auto vector = value.value<QVector3D>();
        components = {vector.x(), vector.y(), vector.z()};
    } else if (value.typeId() == QMetaType::QVector4D) {
        const auto vector = value.value<QVector4D>();
        components = {vector.x(), vector.y(), vector.z(), vector.w()};
    } else if (value.typeId() == QMetaType::QVariantList) {
        const QVariantList list = value.toList();
        for (const QVariant &item : list)
            components.append(componentsOf(item));
    } else {
        components.append(value.toDouble());
    }
    return components;
}

constexpr double hostTolerance = 1e-6;

/// Of the size of the value. The functions of a device are good to a few units in the last place.
double toleranceOn(const QString &backend)
{
    return isGpu(backend) ? 2e-6 : hostTolerance;
}

/// Devices need not know what is no number: on lavapipe 0 / 0 is 0.
bool isClose(double found, double wanted, double tolerance)
{
    if (std::isnan(wanted) && tolerance > hostTolerance && found == 0.0)
        return true;
    if (std::isnan(wanted) || std::isinf(wanted))
        return std::isnan(wanted) ? std::isnan(found) : found == wanted;
    return std::abs(found - wanted) <= tolerance * std::max(1.0, std::abs(wanted));
}

bool areClose(const QList<double> &found, const QList<double> &wanted, double tolerance)
{
    return std::equal(found.begin(), found.end(), wanted.begin(), wanted.end(),
                      [tolerance](double a, double b) { return isClose(a, b, tolerance); });
}

} // namespace

/// Takes every case of tests/data/eval through every back-end at hand.
class TstEvalConformance : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { eval::gpu::registerGpuBackend(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void holds_data();
    void holds();
    void cleanupTestCase();
};

void TstEvalConformance::holds_data()
{
    QTest::addColumn<ConformanceCase>("test");
    QTest::addColumn<QString>("backend");
    const QDir folder(QStringLiteral(CORVANE_TEST_DATA "/eval"));
    const QStringList files = folder.entryList({u"*.glsl"_s}, QDir::Files, QDir::Name);
    QVERIFY(!files.isEmpty());
    const QStringList backends = backendsAtHand();
    for (const QString &file : files) {
        const QList<ConformanceCase> cases = readConformanceFile(folder.filePath(file));
        QVERIFY2(!cases.isEmpty(), qPrintable(file));
        for (const ConformanceCase &test : cases) {
            for (const QString &backend : backends)
                QTest::addRow("%s [%s]", qPrintable(test.name), qPrintable(backend))
                    << test << backend;
        }
    }
}

void TstEvalConformance::holds()
{
    QFETCH(const ConformanceCase, test);
    QFETCH(const QString, backend);
    QCOMPARE(test.mistakes, QStringList());

    chooseLane(backend);
    const CompiledResult compiled = compileCase(test, backend);
    if (test.lacking.contains(wordFor(backend))) {
        QVERIFY(!compiled);
        QVERIFY2(compiled.firstError().message.contains(
                     QRegularExpression(u"does not (yet )?support"_s)),
                 qPrintable(compiled.firstError().message));
        return;
    }
    QCOMPARE(asttext::texts(compiled.diagnostics()), test.errors);
    QCOMPARE(bool(compiled), test.errors.isEmpty());
    if (!compiled)
        return;

    eval::Program program = programOn(backend, compiled.value());
    std::vector<std::vector<float>> arrays;
    for (qsizetype i = 0; i < test.inputs.size(); ++i) {
        const ConformanceCase::Input &input = test.inputs[i];
        const auto handle = static_cast<Handle>(i + 1);
        if (input.isArray) {
            arrays.emplace_back(input.components.begin(), input.components.end());
            program.bindArray(handle, arrays.back());
        } else {
            program.set(handle, variantOf(input));
        }
    }
    const auto evaluated = program.evaluate();
    if (backend == nativeName || isGpu(backend)) {
        // Compiled code goes on by the rules of floating point where the others report a fault.
        QVERIFY(evaluated);
        if (!test.faults.isEmpty())
            return;
    }
    QCOMPARE(asttext::texts(evaluated.diagnostics()), test.faults);

    const auto result = static_cast<Handle>(test.inputs.size() + 1);
    if (!test.type.isEmpty())
        QCOMPARE(eval::typeName(program.slotType(result)), test.type);
    if (test.expected.isEmpty())
        return;
    const QList<double> found = componentsOf(program.get(result));
    QVERIFY2(areClose(found, test.expectedOn(wordFor(backend)), toleranceOn(backend)),
             qPrintable(u"found %1"_s.arg(QDebug::toString(found))));
}

void TstEvalConformance::cleanupTestCase()
{
    Cache::instance().clear();
    eval::gpu::shutdownGpu();
}

QTEST_APPLESS_MAIN(TstEvalConformance)
#include "tst_EvalConformance.moc"
