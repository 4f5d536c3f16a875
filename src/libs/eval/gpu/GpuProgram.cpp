#include <eval/gpu/GpuProgram.h>

#include <eval/gpu/ComputeLane.h>
#include <eval/gpu/FragmentLane.h>
#include <eval/gpu/GpuCodegen.h>
#include <eval/gpu/GpuDevice.h>

#include <shader/CompileMark.h>

#include <QMutexLocker>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace eval::gpu {

using shader::CompileMark;
using shader::Compiler;

namespace {

/// Whether `count` points of `width` floats each are there; without a product that may overflow.
bool fits(size_t size, qsizetype count, int width)
{
    return width == 0 || static_cast<qsizetype>(size) / width >= count;
}

/// Tells devices apart, and drivers where they say so in their name.
QString textOf(const QRhiDriverInfo &driver)
{
    return u"%1 %2 %3"_s.arg(QString::fromUtf8(driver.deviceName), QString::number(driver.vendorId),
                             QString::number(driver.deviceId));
}

const QString markedName = u"the field of the scene"_s;

} // namespace

GpuProgram::GpuProgram(GpuLane lane, std::unique_ptr<LaneResources> resources, int inFloats,
                       int outFloats)
    : m_lane(lane)
    , m_inFloats(inFloats)
    , m_outFloats(outFloats)
    , m_resources(std::move(resources))
{}

GpuProgram::~GpuProgram()
{
    GpuDevice &device = GpuDevice::instance();
    device.run([this, &device] {
        device.remove(this);
        release();
    });
}

bool GpuProgram::isUsable() const
{
    return !m_isReleased && !GpuDevice::instance().isLost();
}

void GpuProgram::release()
{
    m_isReleased = true;
    m_resources.reset();
}

std::unique_ptr<GpuProgram> GpuProgram::create(const QShader &shader, int inFloats, int outFloats,
                                               QString &error)
{
    std::unique_ptr<GpuProgram> program(
        new GpuProgram(GpuLane::Compute, std::make_unique<ComputeLane>(), inFloats, outFloats));
    return make(std::move(program), shader, u"GpuProgram::create"_s, error);
}

std::unique_ptr<GpuProgram> GpuProgram::createFragmentLane(const QShader &shader, int inFloats,
                                                           int outFloats, QString &error)
{
    if (outFloats > GpuCodegen::fragmentOutputLimit) {
        error = u"GpuProgram::createFragmentLane: %1 output floats exceed the 16-float "
                "fragment-lane MRT cap"_s.arg(outFloats);
        return nullptr;
    }
    std::unique_ptr<GpuProgram> program(
        new GpuProgram(GpuLane::Fragment, std::make_unique<FragmentLane>(), inFloats, outFloats));
    return make(std::move(program), shader, u"GpuProgram::createFragmentLane"_s, error);
}

std::unique_ptr<GpuProgram> GpuProgram::make(std::unique_ptr<GpuProgram> program,
                                             const QShader &shader, const QString &name,
                                             QString &error)
{
    GpuDevice &device = GpuDevice::instance();
    QString reason;
    if (!shader.isValid()) {
        reason = u"QShader is invalid"_s;
    } else if (program->m_inFloats < 0 || program->m_outFloats < 1) {
        reason = u"invalid I/O widths (in=%1 out=%2)"_s.arg(program->m_inFloats)
                     .arg(program->m_outFloats);
    } else {
        reason = u"no QRhi singleton available"_s;
        device.run([&] {
            device.replaceLost();
            if (!device.rhi())
                return;
            program->m_driverKey =
                CompileMark::driverKey(shader, textOf(device.rhi()->driverInfo()));
            const CompileMark mark(Compiler::Driver, program->m_driverKey, markedName);
            reason = mark.refusal();
            if (!reason.isEmpty())
                return;
            device.add(program.get());
            reason = program->m_resources->build(device.rhi(), shader, program->m_inFloats,
                                                 program->m_outFloats);
        });
    }
    if (reason.isEmpty())
        return program;
    error = name + u": "_s + reason;
    return nullptr;
}

QString GpuProgram::dispatch(std::span<const float> input, std::span<float> output, qsizetype count,
                             const std::atomic_bool *cancelled)
{
    const QMutexLocker lock(&m_mutex);
    const auto failed = [](const QString &reason) {
        return reason.isEmpty() ? reason : u"GpuProgram::dispatch: "_s + reason;
    };
    if (count <= 0)
        return failed(u"count must be > 0 (got %1)"_s.arg(count));
    if (!fits(input.size(), count, m_inFloats))
        return failed(u"input span too small (got %1, need %2)"_s.arg(input.size())
                          .arg(double(count) * m_inFloats, 0, 'f', 0));
    if (!fits(output.size(), count, m_outFloats))
        return failed(u"output span too small (got %1, need %2)"_s.arg(output.size())
                          .arg(double(count) * m_outFloats, 0, 'f', 0));
    return failed(runParts(input, output, count, cancelled));
}

QString GpuProgram::runParts(std::span<const float> input, std::span<float> output, qsizetype count,
                             const std::atomic_bool *cancelled)
{
    GpuDevice &device = GpuDevice::instance();
    QString error;
    for (qsizetype done = 0, part = 0; done < count && error.isEmpty(); done += part) {
        if (cancelled && cancelled->load(std::memory_order_relaxed))
            return {};
        // Each part by itself: programs of other threads have their turn in between.
        error = u"QRhi singleton gone — was shutdownGpu() called?"_s;
        device.run([&] {
            if (!device.rhi() || !m_resources)
                return;
            error = m_resources->refusal(count);
            if (!error.isEmpty())
                return;
            std::optional<CompileMark> mark;
            if (!m_hasRun)
                mark.emplace(Compiler::Driver, m_driverKey, markedName);
            if (mark && !mark->refusal().isEmpty()) {
                error = mark->refusal();
                return;
            }
            const qsizetype limit = m_resources->partLimit();
            part = std::min({count - done, limit, m_partLimit > 0 ? m_partLimit : limit});
            error = m_resources->run(
                device, input.subspan(size_t(done * m_inFloats), size_t(part * m_inFloats)),
                output.subspan(size_t(done * m_outFloats), size_t(part * m_outFloats)),
                static_cast<int>(part));
            m_hasRun = true;
        });
    }
    return error;
}

} // namespace eval::gpu
