#include <eval/Graph.h>
#include <eval/gpu/GpuBackend.h>
#include <eval/gpu/GpuCodegen.h>
#include <eval/gpu/GpuDevice.h>
#include <eval/gpu/GpuProgram.h>
#include <eval/internal/Cache.h>
#include <shader/CompileMark.h>
#include <shader/compileShader.h>
#include <support/Files.h>
#include <support/VulkanValidation.h>

#include <QRegularExpression>
#include <QTemporaryDir>

#include <atomic>
#include <thread>

using namespace Qt::StringLiterals;
using namespace eval::gpu;
using eval::Backend;
using eval::DiagnosticCategory;

Q_DECLARE_METATYPE(eval::gpu::GpuLane)

namespace {

/// Adds 1 to each float.
constexpr auto computeText = R"(#version 450
layout(local_size_x = 64) in;
layout(std430, binding = 0) readonly buffer Inputs { float in_data[]; };
layout(std430, binding = 1) writeonly buffer Outputs { float out_data[]; };
layout(std140, binding = 2) uniform Params { uint count; };
void main()
{
    if (gl_GlobalInvocationID.x < count)
        out_data[gl_GlobalInvocationID.x] = in_data[gl_GlobalInvocationID.x] + 1.0;
}
)"_L1;

QShader addingShader()
{
    return shader::compileShader(computeText, QShader::ComputeStage, u"adding"_s).shader;
}

eval::Result<eval::Program> compiled(const QString &source, eval::Type input = eval::Type::Vec3)
{
    eval::Graph graph;
    graph.declareInput(u"p"_s, input);
    graph.declareOutput(u"d"_s, source);
    return graph.compile(Backend::Gpu);
}

} // namespace

/// Runs without a GUI application, so what it proves holds with no display at all.
class TstGpuProgram : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void batchesOfAnySizeAreWhole_data();
    void batchesOfAnySizeAreWhole();
    void severalThreadsShareTheDevice();
    void wideOutputsNeedCompute();
    void inputsBeyondFourFloatsTakeMoreTextures();
    void whatNoShaderHasIsRefused_data();
    void whatNoShaderHasIsRefused();
    void namesOfTheSourceStayOutOfTheShader();
    void aLoopWithoutAnEndLeavesNoValue();
    void aCancelIsSeenBetweenParts();
    void creationSaysWhatIsWrong();
    void whatADriverDiedOfIsRefused();
    void dispatchSaysWhatIsWrong();
    void aLostDeviceIsToldAndReplaced();
    void afterShutdownNothingRuns();

private:
    QTemporaryDir m_home; ///< of the caches
};

void TstGpuProgram::initTestCase()
{
    QVERIFY(qputenv("XDG_DATA_HOME", QFile::encodeName(m_home.path())));
    QVERIFY2(VulkanValidation::begin(), "install vulkan-validationlayers");
    registerGpuBackend();
    QVERIFY2(gpuBackendAvailable(),
             "No Vulkan driver is installed: scripts/test.sh installs mesa-vulkan-drivers");
    QCOMPARE(GpuDevice::instance().lane(), GpuLane::Compute);
    QVERIFY(internalQRhiHandle());
}

void TstGpuProgram::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    eval::internal::Cache::instance().clear(); // the lane is no part of its keys
    GpuDevice::instance().forceLane(GpuLane::Compute);
}

void TstGpuProgram::cleanupTestCase()
{
    eval::internal::Cache::instance().clear();
    shutdownGpu();
    QCOMPARE(VulkanValidation::takeComplaints(), QStringList());
}

void TstGpuProgram::batchesOfAnySizeAreWhole_data()
{
    QTest::addColumn<GpuLane>("lane");
    QTest::addColumn<int>("count");
    for (const GpuLane lane : {GpuLane::Compute, GpuLane::Fragment}) {
        const char *const name = lane == GpuLane::Compute ? "compute" : "fragment";
        for (const int count : {1, 63, 64, 65, 1000, 20000}) // the last is wider than a texture
            QTest::addRow("%s, %d points", name, count) << lane << count;
    }
}

void TstGpuProgram::batchesOfAnySizeAreWhole()
{
    QFETCH(GpuLane, lane);
    QFETCH(int, count);
    QVERIFY(GpuDevice::instance().forceLane(lane));
    auto program = compiled(u"vec2(p.x * 2.0, p.y + p.z)"_s);
    QVERIFY2(program, qPrintable(program.firstError().message));
    std::vector<float> points;
    const int stride = count % 2 == 0 ? 3 : 4; // with a float between two points
    for (int i = 0; i < count; ++i)
        points.insert(points.end(), {float(i), float(-i), 0.5f});
    for (int i = count; stride == 4 && i > 0; --i)
        points.insert(points.begin() + 3 * i, 99.0f);
    std::vector<float> values(size_t(count) * 2 + 2, 7.0f);
    QVERIFY(program.value().evaluateBatch(points, std::span(values).first(size_t(count) * 2), count,
                                          stride));
    for (int i = 0; i < count; ++i) {
        QCOMPARE(values[size_t(i) * 2], 2.0f * float(i));
        QCOMPARE(values[size_t(i) * 2 + 1], 0.5f - float(i));
    }
    QCOMPARE(values.back(), 7.0f);
}

void TstGpuProgram::severalThreadsShareTheDevice()
{
    const auto program = compiled(u"length(p) * 2.0"_s);
    QVERIFY(program);
    std::atomic_int right = 0;
    const auto evaluate = [&](float x) {
        eval::Program own = program.value();
        const std::vector<float> points(3 * 500, x);
        std::vector<float> values(500);
        for (int round = 0; round < 20; ++round) {
            if (own.evaluateBatch(points, values, 500, 3) &&
                std::abs(values[499] - 2.0f * std::sqrt(3.0f) * x) < 1e-3f)
                ++right;
        }
    };
    std::thread one(evaluate, 1.0f);
    std::thread two(evaluate, 2.0f);
    one.join();
    two.join();
    QCOMPARE(right.load(), 40);
}

void TstGpuProgram::wideOutputsNeedCompute()
{
    eval::Graph graph;
    const eval::Handle k = graph.declareInput(u"k"_s, eval::Type::Float);
    graph.declareOutput(u"m"_s, u"mat4(k)"_s);
    const eval::Handle last = graph.declareOutput(u"f"_s, u"k + 17.0"_s);
    auto wide = graph.compile(Backend::Gpu);
    QVERIFY(wide);
    wide.value().set(k, 3.0);
    QVERIFY(wide.value().evaluate());
    QCOMPARE(wide.value().getFloat(last), 20.0f);

    eval::internal::Cache::instance().clear();
    QVERIFY(GpuDevice::instance().forceLane(GpuLane::Fragment));
    const auto refused = graph.compile(Backend::Gpu);
    QCOMPARE(refused.firstError().category, DiagnosticCategory::BackendUnavailable);
    QCOMPARE(refused.firstError().message,
             u"Backend::Gpu (fragment lane): this program packs 17 output floats per evaluation, "
             "above the fragment lane's 16-float cap (4 RGBA32F MRT attachments). A "
             "compute-capable QRhi (Vulkan / GLES 3.1+ / D3D11.1+ / Metal) lifts the cap; on this "
             "host only the fragment lane is reachable."_s);
}

void TstGpuProgram::inputsBeyondFourFloatsTakeMoreTextures()
{
    QVERIFY(GpuDevice::instance().forceLane(GpuLane::Fragment));
    auto program = compiled(u"vec3(p[0].x, p[1].z, p[2].z)"_s, eval::Type::Mat3);
    QVERIFY2(program, qPrintable(program.firstError().message));
    std::vector<float> matrices(18);
    for (size_t i = 0; i < matrices.size(); ++i)
        matrices[i] = float(i);
    std::vector<float> values(6);
    QVERIFY(program.value().evaluateBatch(matrices, values, 2, 9));
    QCOMPARE(values, (std::vector<float>{0, 5, 8, 9, 14, 17}));
}

void TstGpuProgram::whatNoShaderHasIsRefused_data()
{
    QTest::addColumn<QString>("source");
    QTest::newRow("double") << u"double f(double a) { return a; }\nfloat(f(p.x) > 0.0)"_s;
    QTest::newRow("64-bit integer") << u"float(int64_t(p.x))"_s;
    QTest::newRow("out parameter") << u"void f(out float a) { a = 1.0; }\np.x"_s;
    QTest::newRow("recursion")
        << u"float f(float a) { return a < 1.0 ? a : f(a - 1.0); }\nf(p.x)"_s;
    QTest::newRow("discard") << u"float f(float a) { discard; return a; }\nf(p.x)"_s;
    QTest::newRow("a slot in a function") << u"float f() { return p.x; }\nf()"_s;
    QTest::newRow("a name of two types")
        << u"float f() { { float a = 1.0; } int a = 2; return 1.0; }\nf()"_s;
}

void TstGpuProgram::whatNoShaderHasIsRefused()
{
    QFETCH(QString, source);
    const auto refused = compiled(source);
    QCOMPARE(refused.firstError().category, DiagnosticCategory::Type);
    QCOMPARE(refused.firstError().message,
             u"Backend::Gpu: GpuCodegen does not yet support this AST shape (runtime arrays defer "
             "to Phase 9 — Native + Interpreted are available; double precision and 64-bit ints "
             "remain out of scope)."_s);
}

void TstGpuProgram::namesOfTheSourceStayOutOfTheShader()
{
    // Words of GLSL that are none of the field language, and names that a driver keeps for itself.
    auto program = compiled(u"struct precise { float gl_Size; };\n"
                            "float texture(precise sampler, float in_data) {\n"
                            "    float main = sampler.gl_Size + in_data;\n"
                            "    return main;\n"
                            "}\n"
                            "texture(precise(p.x), 2.0)"_s);
    QVERIFY2(program, qPrintable(program.firstError().message));
    float value = 0.0f;
    QVERIFY(program.value().evaluateBatch(std::array{1.0f, 0.0f, 0.0f}, {&value, 1}, 1, 3));
    QCOMPARE(value, 3.0f);
}

void TstGpuProgram::aLoopWithoutAnEndLeavesNoValue()
{
    auto program = compiled(u"float f(float a) { while (a > 0.0) a += 1.0; return a; }\nf(p.x)"_s);
    QVERIFY(program);
    std::vector<float> values(2);
    QVERIFY(program.value().evaluateBatch(std::array{1.0f, 0.0f, 0.0f, -1.0f, 0.0f, 0.0f}, values,
                                          2, 3));
    QVERIFY(std::isnan(values[0]));
    QCOMPARE(values[1], -1.0f);
}

void TstGpuProgram::aCancelIsSeenBetweenParts()
{
    QString error;
    const auto program = GpuProgram::create(addingShader(), 1, 1, error);
    QVERIFY2(program, qPrintable(error));
    program->setPartLimit(10);
    std::vector<float> values(100, 1.0f);
    std::atomic_bool cancelled = false;
    QCOMPARE(program->dispatch(std::vector<float>(100, 1.0f), values, 100, &cancelled), QString());
    QCOMPARE(values.back(), 2.0f);
    cancelled = true;
    QCOMPARE(program->dispatch(std::vector<float>(100, 5.0f), values, 100, &cancelled), QString());
    QCOMPARE(values.back(), 2.0f);
}

void TstGpuProgram::creationSaysWhatIsWrong()
{
    QString error;
    QVERIFY(!GpuProgram::create({}, 1, 1, error));
    QCOMPARE(error, u"GpuProgram::create: QShader is invalid"_s);
    QVERIFY(!GpuProgram::create(addingShader(), -1, 0, error));
    QCOMPARE(error, u"GpuProgram::create: invalid I/O widths (in=-1 out=0)"_s);
    QVERIFY(!GpuProgram::createFragmentLane(addingShader(), 1, 17, error));
    QCOMPARE(error, u"GpuProgram::createFragmentLane: 17 output floats exceed the 16-float "
                    "fragment-lane MRT cap"_s);
}

void TstGpuProgram::whatADriverDiedOfIsRefused()
{
    QRhiDriverInfo driver;
    GpuDevice::instance().run([&] { driver = internalQRhiHandle()->driverInfo(); });
    const QString key = shader::CompileMark::driverKey(
        addingShader(),
        u"%1 %2 %3"_s.arg(QString::fromUtf8(driver.deviceName), QString::number(driver.vendorId),
                          QString::number(driver.deviceId)));
    const QString mark = shader::CompileMark::defaultFolder() + u"/driver-"_s + key;
    QString error;
    const auto before = GpuProgram::create(addingShader(), 1, 1, error);
    QVERIFY2(before, qPrintable(error));
    QVERIFY(!QFile::exists(mark));
    QVERIFY(support::put(mark, "corvane compile mark, version \n"));
    QVERIFY(!GpuProgram::create(addingShader(), 1, 1, error));
    const QString refusal = u"The graphics driver was at work on \"the field of the scene\""_s;
    QVERIFY2(error.startsWith(u"GpuProgram::create: "_s + refusal), qPrintable(error));
    std::vector<float> values(1);
    const QString failed = before->dispatch(values, values, 1); // compiles the rest of it
    QVERIFY2(failed.startsWith(u"GpuProgram::dispatch: "_s + refusal), qPrintable(failed));
    QCOMPARE(shader::forgetRefusals(), 1);
    QCOMPARE(before->dispatch(values, values, 1), QString());
    QVERIFY(!QFile::exists(mark));
}

void TstGpuProgram::dispatchSaysWhatIsWrong()
{
    QString error;
    const auto program = GpuProgram::create(addingShader(), 1, 1, error);
    QVERIFY2(program, qPrintable(error));
    std::vector<float> floats(3);
    QCOMPARE(program->dispatch(floats, floats, 0),
             u"GpuProgram::dispatch: count must be > 0 (got 0)"_s);
    QCOMPARE(program->dispatch(std::span(floats).first(2), floats, 3),
             u"GpuProgram::dispatch: input span too small (got 2, need 3)"_s);
    QCOMPARE(program->dispatch(floats, std::span(floats).first(2), 3),
             u"GpuProgram::dispatch: output span too small (got 2, need 3)"_s);
}

void TstGpuProgram::aLostDeviceIsToldAndReplaced()
{
    auto before = compiled(u"p.x + 1.0"_s);
    QVERIFY(before);
    eval::Program lost = before.value();
    GpuDevice::instance().loseAtNextFrame();
    const auto result = lost.evaluate();
    QCOMPARE(result.firstError().category, DiagnosticCategory::PipelineBuild);
    QCOMPARE(result.firstError().message,
             u"GpuProgram::dispatch: QRhi device-lost (compute lane)"_s);
    QVERIFY(!lost.evaluate()); // it is not tried again

    auto after = compiled(u"p.x + 2.0"_s);
    QVERIFY2(after, qPrintable(after.firstError().message));
    QVERIFY(after.value().evaluate());
    QCOMPARE(after.value().getFloat(after.value().handleOf(u"d"_s)), 2.0f);
    QVERIFY(!lost.evaluate());
}

void TstGpuProgram::afterShutdownNothingRuns()
{
    auto program = compiled(u"p.x"_s);
    QVERIFY(program);
    shutdownGpu();
    QVERIFY(gpuBackendAvailable()); // its answer holds
    QVERIFY(!internalQRhiHandle());
    QCOMPARE(program.value().evaluate().firstError().message,
             u"GpuProgram::dispatch: QRhi singleton gone — was shutdownGpu() called?"_s);
    QCOMPARE(compiled(u"p.y"_s).firstError().message,
             u"Backend::Gpu (compute lane): pipeline build failed: GpuProgram::create: no QRhi "
             "singleton available"_s);
}

QTEST_APPLESS_MAIN(TstGpuProgram)
#include "tst_GpuProgram.moc"
