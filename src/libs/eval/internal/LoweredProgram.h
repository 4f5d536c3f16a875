#pragma once

#include <eval/Type.h>
#include <eval/internal/Builtin.h>
#include <eval/internal/Opcode.h>

#include <QString>

#include <atomic>
#include <memory>
#include <span>
#include <vector>

namespace eval::internal {

class RowPlan;

/// A call of a built-in that has no operation of its own: lanes are gathered into values, and back.
struct ExternalCall
{
    const Builtin *function = nullptr;
    std::vector<Type> argumentTypes;
    std::vector<Register> arguments; ///< lanes of all arguments, one after the other
    Type resultType = Type::Float;
    std::vector<Register> results;
};

/// The value of an output (or a field of it) as registers hold it.
struct RegisterValue
{
    Type type = Type::Float;
    QString structName;
    std::vector<Register> lanes;       ///< of a value with lanes
    std::vector<RegisterValue> fields; ///< of a struct
};

/// What is known of a difference x - f(x), or of a product f(x) * g(x), from its form: a coordinate
/// folded into one period, a parabola. The two operands alone do not tell it.
struct FoldRange
{
    float low = 0.0f;
    float high = 0.0f;
};

/// Register code for all outputs of a program, in one piece: no names, no calls, every operation on
/// one 32-bit lane. Made once at compile time by lower(), never changed, shared by all threads.
///
/// The register file begins with the inputs, then the constants; both are only ever read by the
/// code.
/// `c` of a SubF or a MulF is noRegister or the number of what is known of it in `folds`: only
/// intervals look there.
class LoweredProgram
{
public:
    LoweredProgram();
    ~LoweredProgram();
    LoweredProgram(const LoweredProgram &) = delete;
    LoweredProgram &operator=(const LoweredProgram &) = delete;

    std::vector<Instruction> code; ///< ends in End; targets are instruction numbers
    std::vector<ExternalCall> externals;
    std::vector<FoldRange> folds; ///< of instructions whose c is an index here
    std::vector<Register>
        inputs; ///< first register by index of the input; noRegister: not held here
    Register firstConstant = 0;
    std::vector<quint32> constants;
    quint32 registerCount = 0;
    std::vector<RegisterValue> outputs; ///< by index of the output

    /// The code for many values of one vec3 input at once.
    struct PointPlans
    {
        qsizetype inputIndex = 0;
        std::unique_ptr<RowPlan> row;       ///< points that differ in x only
        std::unique_ptr<RowPlan> scattered; ///< any points
    };
    /// Null when there is none for this input.
    const PointPlans *pointPlansOf(qsizetype inputIndex) const;
    std::vector<PointPlans> pointPlans;
};

enum class RunResult { Finished, Faulted, Cancelled };

/// Runs register code for one set of inputs. `registers` holds registerCount words with the inputs
/// and the constants filled in. On Faulted the outputs are meaningless.
RunResult runCode(std::span<const Instruction> code, std::span<const ExternalCall> externals,
                  quint32 *registers, const std::atomic_bool *cancelled);

/// Runs one external call on a register file; `stride` is the distance between registers and `lane`
/// the offset within one.
void runExternal(const ExternalCall &call, quint32 *registers);

} // namespace eval::internal
