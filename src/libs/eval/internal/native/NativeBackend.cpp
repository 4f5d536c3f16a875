// The entries of a loaded object behind the interface of a back-end.

#include <eval/internal/native/NativeBackend.h>

#include <eval/internal/CompiledProgram.h>
#include <eval/internal/native/Codegen.h>
#include <eval/internal/native/NativeCompiler.h>

#include <QVarLengthArray>

#include <algorithm>
#include <limits>

namespace eval::internal {

namespace {

class NativeCode : public BackendCode
{
public:
    NativeCode(const CompiledProgram &program, const JitResult &jit, QList<OutputForm> outputs)
        : m_entry(jit.entry)
        , m_row(jit.row)
        , m_points(jit.points)
        , m_watch(jit.watch)
        , m_outputs(std::move(outputs))
        , m_inputWidth(static_cast<size_t>(program.inputFloatCount))
        , m_outputWidth(static_cast<size_t>(program.outputFloatCount))
    {
        for (const SlotBinding &input : program.inputs) {
            if (input.arrayIndex >= 0)
                m_elementWidths.append(slotFloatWidth(input.elementType));
        }
    }

    QString run(const BackendBuffers &buffers) const override
    {
        const Watch watch(m_watch, buffers.cancelled);
        if (!m_elementWidths.isEmpty())
            return runWithArrays(buffers);
        for (size_t i = 0; i < static_cast<size_t>(buffers.count); ++i)
            m_entry(buffers.input.data() + i * m_inputWidth,
                    buffers.output.data() + i * m_outputWidth, nullptr, nullptr);
        return {};
    }

    bool runRow(std::span<const float> xs, float y, float z, std::span<float> out,
                const std::atomic_bool *cancelled) const override
    {
        if (!m_row)
            return false;
        const Watch watch(m_watch, cancelled);
        m_row(xs.data(), y, z, out.data(), static_cast<long>(std::min(xs.size(), out.size())));
        return true;
    }

    bool runPoints(std::span<const float> xs, std::span<const float> ys, std::span<const float> zs,
                   std::span<float> out, const std::atomic_bool *cancelled) const override
    {
        if (!m_row)
            return false;
        const Watch watch(m_watch, cancelled);
        if (m_points) {
            m_points(xs.data(), ys.data(), zs.data(), out.data(), static_cast<long>(out.size()));
            return true;
        }
        for (size_t i = 0; i < out.size(); ++i) {
            const float point[] = {xs[i], ys[i], zs[i]};
            m_entry(point, out.data() + i, nullptr, nullptr);
        }
        return true;
    }

    OutputForm outputForm(const CompiledProgram &, qsizetype output) const override
    {
        return {m_outputs[output].type, m_outputs[output].isBits};
    }

private:
    /// Lets loops see a flag for as long as it is sure to live.
    class Watch
    {
    public:
        Watch(NativeWatch watch, const std::atomic_bool *flag)
            : m_watch(flag ? watch : nullptr)
        {
            static_assert(sizeof(std::atomic_bool) == 1 && std::atomic_bool::is_always_lock_free);
            if (m_watch)
                m_watch(reinterpret_cast<const unsigned char *>(flag));
        }
        ~Watch()
        {
            if (m_watch)
                m_watch(nullptr);
        }
        Q_DISABLE_COPY_MOVE(Watch)

    private:
        NativeWatch m_watch;
    };

    QString runWithArrays(const BackendBuffers &buffers) const
    {
        // An array that nobody bound reads as one zero beyond its end.
        static constexpr float none[16] = {};
        QVarLengthArray<const float *, 8> arrays;
        QVarLengthArray<int, 8> lengths;
        for (qsizetype i = 0; i < m_elementWidths.size(); ++i) {
            const std::span<const float> array = buffers.arrays[static_cast<size_t>(i)];
            const size_t length = array.size() / static_cast<size_t>(m_elementWidths[i]);
            arrays.append(length == 0 ? none : array.data());
            lengths.append(
                static_cast<int>(std::min<size_t>(length, std::numeric_limits<int>::max())));
        }
        for (size_t i = 0; i < static_cast<size_t>(buffers.count); ++i)
            m_entry(buffers.input.data() + i * m_inputWidth,
                    buffers.output.data() + i * m_outputWidth, arrays.data(), lengths.data());
        return {};
    }

    NativeEntry m_entry;
    NativeRowEntry m_row;
    NativePointsEntry m_points;
    NativeWatch m_watch;
    QList<OutputForm> m_outputs;
    QList<int> m_elementWidths; ///< of the array inputs, in floats
    size_t m_inputWidth;
    size_t m_outputWidth;
};

using Generated = Result<QSharedPointer<const BackendCode>>;

Generated failed(const QString &cause)
{
    return Generated::failure({{DiagnosticCategory::Internal, cause, {}, {}}});
}

} // namespace

bool NativeBackend::supports(const CompiledProgram &program) const
{
    return !Codegen::isUnsupported(program);
}

Generated NativeBackend::generate(const CompiledProgram &program) const
{
    const NativeUnit unit = Codegen(program).emitUnit();
    if (!unit.refusal.isEmpty())
        return failed(unit.refusal);
    const JitResult jit = jitCompileAndLoad(unit.text);
    if (!jit.error.isEmpty())
        return failed(jit.error);
    return Generated(QSharedPointer<const BackendCode>(
        QSharedPointer<NativeCode>::create(program, jit, unit.outputs)));
}

} // namespace eval::internal
