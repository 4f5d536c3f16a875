#include <eval/gpu/GpuBackend.h>

#include <eval/gpu/GpuCodegen.h>
#include <eval/gpu/GpuDevice.h>
#include <eval/gpu/GpuProgram.h>
#include <eval/internal/BackendCode.h>
#include <shader/compileShader.h>

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

using namespace Qt::StringLiterals;

namespace eval::gpu {

using namespace internal;

namespace {

/// Where loops may run for long, few points go to the device at a time: it cannot be interrupted,
/// and drivers give up on what takes seconds.
constexpr qsizetype slowPartLimit = 4096;

class GpuCode : public BackendCode
{
public:
    GpuCode(std::unique_ptr<GpuProgram> program, QList<OutputForm> outputs, bool isField)
        : m_program(std::move(program))
        , m_outputs(std::move(outputs))
        , m_isField(isField)
    {}

    QString run(const BackendBuffers &buffers) const override
    {
        return m_program->dispatch(buffers.input, buffers.output, buffers.count, buffers.cancelled);
    }

    bool isUsable() const override { return m_program->isUsable(); }

    bool runRow(std::span<const float> xs, float y, float z, std::span<float> out,
                const std::atomic_bool *cancelled) const override
    {
        return runAt(
            out,
            [&](size_t i) {
                return std::array{xs[i], y, z};
            },
            cancelled);
    }

    bool runPoints(std::span<const float> xs, std::span<const float> ys, std::span<const float> zs,
                   std::span<float> out, const std::atomic_bool *cancelled) const override
    {
        return runAt(
            out,
            [&](size_t i) {
                return std::array{xs[i], ys[i], zs[i]};
            },
            cancelled);
    }

    qsizetype batchLimit() const override { return std::numeric_limits<qsizetype>::max(); }

    OutputForm outputForm(const CompiledProgram &, qsizetype output) const override
    {
        return m_outputs[output];
    }

private:
    /// One dispatch for a run of points, of a program that is a field. What fails is left to be
    /// evaluated, and told, point by point.
    template<class PointAt>
    bool runAt(std::span<float> out, PointAt pointAt, const std::atomic_bool *cancelled) const
    {
        if (!m_isField)
            return false;
        std::vector<float> points;
        points.reserve(out.size() * 3);
        for (size_t i = 0; i < out.size(); ++i) {
            const std::array<float, 3> point = pointAt(i);
            points.insert(points.end(), point.begin(), point.end());
        }
        return m_program->dispatch(points, out, qsizetype(out.size()), cancelled).isEmpty();
    }

    std::unique_ptr<GpuProgram> m_program;
    QList<OutputForm> m_outputs;
    bool m_isField; ///< from one vec3 to one float
};

using Generated = Result<QSharedPointer<const BackendCode>>;

Generated failed(DiagnosticCategory category, const QString &message)
{
    return Generated::failure({{category, message, {}, {}}});
}

bool isField(const CompiledProgram &program)
{
    return program.inputs.size() == 1 && program.inputs[0].type == Type::Vec3 &&
           program.outputs.size() == 1 && program.outputs[0].type == Type::Float;
}

GpuUnit unitFor(const CompiledProgram &program, GpuLane lane)
{
    const GpuCodegen codegen(program);
    return lane == GpuLane::Fragment ? codegen.emitFragmentShader() : codegen.emitComputeShader();
}

bool hasOnlyShaderTypes(const CompiledProgram &program)
{
    const auto isFine = [&program](const AstPtr &node) {
        return !GpuCodegen::isUnsupported(node, &program.structs);
    };
    return std::ranges::all_of(program.code, [&](const OutputCode &code) {
        return isFine(code.root) && std::ranges::all_of(code.functions, isFine);
    });
}

class GpuCodeGenerator : public CodeGenerator
{
public:
    bool isAvailable() const override { return gpuBackendAvailable(); }

    bool supports(const CompiledProgram &program) const override
    {
        return hasOnlyShaderTypes(program) && GpuCodegen(program).emitComputeShader().isSupported;
    }

    Generated generate(const CompiledProgram &program) const override
    {
        const GpuLane lane = GpuDevice::instance().lane();
        const bool isFragment = lane == GpuLane::Fragment;
        if (isFragment && program.outputFloatCount > GpuCodegen::fragmentOutputLimit)
            return failed(
                DiagnosticCategory::BackendUnavailable,
                u"Backend::Gpu (fragment lane): this program packs %1 output floats per "
                "evaluation, above the fragment lane's 16-float cap (4 RGBA32F MRT "
                "attachments). A compute-capable QRhi (Vulkan / GLES 3.1+ / D3D11.1+ / "
                "Metal) lifts the cap; on this host only the fragment lane is reachable."_s.arg(
                    program.outputFloatCount));
        const GpuUnit unit = unitFor(program, lane);
        const QString name = isFragment ? u"fragment"_s : u"compute"_s;
        const auto shaderFailed = [&name](const QString &reason) {
            return failed(DiagnosticCategory::ShaderCompile,
                          u"Backend::Gpu (%1 lane): shader compile failed: %2"_s.arg(name, reason));
        };
        if (!unit.refusal.isEmpty())
            return shaderFailed(unit.refusal);
        // A program has no other device to run on.
        const shader::CompileResult baked =
            shader::compileFor(shader::runningTargets(), unit.source,
                               isFragment ? QShader::FragmentStage : QShader::ComputeStage,
                               isFragment ? u"eval_gpu_kernel_frag"_s : u"eval_gpu_kernel"_s);
        if (!baked.shader.isValid())
            return shaderFailed(baked.errorMessage);
        return build(program, unit, baked.shader, name);
    }

private:
    static Generated build(const CompiledProgram &program, const GpuUnit &unit,
                           const QShader &shader, const QString &name)
    {
        const auto make =
            name == "fragment"_L1 ? &GpuProgram::createFragmentLane : &GpuProgram::create;
        QString error;
        // A program without outputs has nothing to be read, but buffers have a size.
        auto gpuProgram =
            make(shader, program.inputFloatCount, std::max(1, program.outputFloatCount), error);
        if (!gpuProgram)
            return failed(DiagnosticCategory::PipelineBuild,
                          u"Backend::Gpu (%1 lane): pipeline build failed: %2"_s.arg(name, error));
        if (unit.countsRounds)
            gpuProgram->setPartLimit(slowPartLimit);
        return Generated(QSharedPointer<const BackendCode>(QSharedPointer<GpuCode>::create(
            std::move(gpuProgram), unit.outputs, isField(program))));
    }
};

} // namespace

void registerGpuBackend()
{
    setCodeGenerator(Backend::Gpu, QSharedPointer<GpuCodeGenerator>::create());
}

bool gpuBackendAvailable()
{
    return GpuDevice::instance().isAvailable();
}

QRhi *internalQRhiHandle()
{
    return GpuDevice::instance().rhi();
}

void shutdownGpu()
{
    GpuDevice::instance().shutdown();
}

} // namespace eval::gpu
