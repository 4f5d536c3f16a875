#pragma once

#include <eval/internal/ArithmeticLowering.h>
#include <eval/internal/Builtin.h>

#include <optional>
#include <vector>

namespace eval::internal {

/// Calls of built-in functions as operations on registers. What has no operations of its own
/// becomes one External, which runs the interpreter's function.
class BuiltinLowering
{
public:
    BuiltinLowering(CodeBuilder &code, LaneValues &values, ArithmeticLowering &arithmetic)
        : m_code(code)
        , m_values(values)
        , m_arithmetic(arithmetic)
    {}

    LaneValue lower(const Builtin &builtin, const std::vector<LaneValue> &arguments);

private:
    LaneValue external(const Builtin &builtin, const std::vector<LaneValue> &arguments);
    // None: only the interpreter's function will do.
    std::optional<LaneValue> laneBuiltin(const Builtin &builtin,
                                         const std::vector<LaneValue> &arguments);
    std::optional<LaneValue> vectorBuiltin(BuiltinId id, const std::vector<LaneValue> &arguments);
    std::optional<LaneValue> relationBuiltin(BinaryKind kind,
                                             const std::vector<LaneValue> &arguments);
    std::optional<LaneValue> matrixBuiltin(BuiltinId id, const std::vector<LaneValue> &arguments);
    std::optional<LaneValue> geometryBuiltin(BuiltinId id, const std::vector<LaneValue> &arguments);
    LaneValue normalized(const LaneValue &a);
    LaneValue crossOf(const LaneValue &a, const LaneValue &b);
    LaneValue reflected(const LaneValue &incident, const LaneValue &normal);
    LaneValue facedForward(const std::vector<LaneValue> &arguments);
    LaneValue dotOf(const LaneValue &a, const LaneValue &b);
    LaneValue lengthOf(const LaneValue &a);

    CodeBuilder &m_code;
    LaneValues &m_values;
    ArithmeticLowering &m_arithmetic;
};

} // namespace eval::internal
