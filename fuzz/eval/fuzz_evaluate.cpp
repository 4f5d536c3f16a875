// Whatever compiles gives the same value and the same faults by a walk over the tree, in its fast
// form, and in a row of points. Work is bounded by a watchdog that cancels; a cancelled evaluation
// is not compared.

#include <eval/internal/Cache.h>
#include <eval/internal/GraphCompiler.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <thread>

using namespace eval;
using namespace eval::internal;

namespace {

constexpr Handle pointHandle = 1;
constexpr Handle resultHandle = 2;
constexpr std::array<float, 3> point{0.25F, -1.5F, 2.0F};

/// Cancels an evaluation that has run for two to three ticks.
class Watchdog
{
public:
    Watchdog()
    {
        std::thread([this] {
            for (;;) {
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
                if (++m_ticks >= 3)
                    m_cancelled = true;
            }
        }).detach();
    }
    const std::atomic_bool *start()
    {
        m_ticks = 0;
        m_cancelled = false;
        return &m_cancelled;
    }
    bool hasCancelled() const { return m_cancelled; }

private:
    std::atomic_int m_ticks = 0;
    std::atomic_bool m_cancelled = false;
};

Watchdog &watchdog()
{
    static auto *const instance = new Watchdog;
    return *instance;
}

struct Outcome
{
    bool isComplete = false;
    QList<Diagnostic> faults;
    float value = 0.0F;
};

Outcome evaluate(const QSharedPointer<const CompiledProgram> &program)
{
    ThreadCopy copy(program);
    copy.setFloats(pointHandle, point);
    copy.setCancelFlag(watchdog().start());
    Outcome outcome;
    outcome.faults = copy.evaluate().diagnostics();
    outcome.value = copy.getFloat(resultHandle);
    outcome.isComplete = !watchdog().hasCancelled();
    return outcome;
}

bool isSame(float a, float b)
{
    return std::memcmp(&a, &b, sizeof(float)) == 0 || (std::isnan(a) && std::isnan(b));
}

void compareRow(const QSharedPointer<const CompiledProgram> &program, const Outcome &wanted)
{
    ThreadCopy copy(program);
    copy.setCancelFlag(watchdog().start());
    const std::array<float, 3> xs{point[0], 7.0F, point[0]};
    std::array<float, 3> values{};
    constexpr float failed = 1e10F;
    copy.evaluateRow(pointHandle, xs, point[1], point[2], resultHandle, values, failed);
    if (watchdog().hasCancelled())
        return;
    const float value = wanted.faults.isEmpty() ? wanted.value : failed;
    if (!isSame(values[0], value) || !isSame(values[2], value))
        std::abort();
}

CompileRequest requestFor(const QString &source)
{
    CompileRequest request;
    SlotBinding input;
    input.name = QStringLiteral("p");
    input.type = Type::Vec3;
    input.handle = pointHandle;
    SlotBinding output;
    output.name = QStringLiteral("d");
    output.handle = resultHandle;
    request.inputs.append(input);
    request.outputs.append(output);
    request.sources.append(source);
    return request;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QString source = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    Cache::instance().clear();
    const CompiledResult compiled = GraphCompiler(requestFor(source)).compile();
    if (!compiled)
        return 0;
    const auto plain = QSharedPointer<CompiledProgram>::create(*compiled.value());
    plain->lowered.reset();
    const Outcome walked = evaluate(plain);
    if (!compiled.value()->lowered || !walked.isComplete)
        return 0;
    const Outcome fast = evaluate(compiled.value());
    if (!fast.isComplete)
        return 0;
    if (fast.faults != walked.faults || !isSame(fast.value, walked.value))
        std::abort();
    if (compiled.value()->outputs.first().type == Type::Float)
        compareRow(compiled.value(), walked);
    return 0;
}
