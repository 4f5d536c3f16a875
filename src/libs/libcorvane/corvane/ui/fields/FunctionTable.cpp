#include <corvane/ui/fields/FunctionTable.h>

using namespace Qt::StringLiterals;

namespace corvane::ui {

std::span<const FunctionRow> functionTable()
{
    static constexpr FunctionRow rows[] = {
        {"abs"_L1, "x"_L1},           {"acos"_L1, "x"_L1},
        {"asin"_L1, "x"_L1},          {"atan"_L1, "y, x"_L1},
        {"ceil"_L1, "x"_L1},          {"clamp"_L1, "x, min, max"_L1},
        {"cos"_L1, "angle"_L1},       {"cross"_L1, "a, b"_L1},
        {"degrees"_L1, "radians"_L1}, {"distance"_L1, "a, b"_L1},
        {"dot"_L1, "a, b"_L1},        {"exp"_L1, "x"_L1},
        {"exp2"_L1, "x"_L1},          {"floor"_L1, "x"_L1},
        {"fract"_L1, "x"_L1},         {"inversesqrt"_L1, "x"_L1},
        {"length"_L1, "v"_L1},        {"log"_L1, "x"_L1},
        {"log2"_L1, "x"_L1},          {"max"_L1, "a, b"_L1},
        {"min"_L1, "a, b"_L1},        {"mix"_L1, "a, b, part"_L1},
        {"mod"_L1, "x, y"_L1},        {"normalize"_L1, "v"_L1},
        {"pow"_L1, "x, y"_L1},        {"radians"_L1, "degrees"_L1},
        {"round"_L1, "x"_L1},         {"sign"_L1, "x"_L1},
        {"sin"_L1, "angle"_L1},       {"smoothstep"_L1, "from, to, x"_L1},
        {"sqrt"_L1, "x"_L1},          {"step"_L1, "edge, x"_L1},
        {"tan"_L1, "angle"_L1},       {"trunc"_L1, "x"_L1},
        {"vec2"_L1, "x, y"_L1},       {"vec3"_L1, "x, y, z"_L1},
        {"vec4"_L1, "x, y, z, w"_L1},
    };
    return rows;
}

} // namespace corvane::ui
