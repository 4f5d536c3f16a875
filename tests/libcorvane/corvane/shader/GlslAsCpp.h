#pragma once

#include <corvane/shader/SDFNode.h>

#include <algorithm>
#include <cmath>
#include <vector>

/// The evaluator's own GLSL text, compiled as C++ over a few definitions: what it computes can then
/// be tested without a device. Only what the text uses of the language is here.
namespace glsl {

using uint = unsigned int;

struct vec3
{
    float x, y, z;
};

struct vec4
{
    union {
        vec3 xyz;
        struct
        {
            float x, y, z;
        };
    };
    float w;

    vec4()
        : vec4(0, 0, 0, 0)
    {}
    vec4(double first, double second, double third, double last)
        : xyz{float(first), float(second), float(third)}
        , w(float(last))
    {}
    vec4(const vec3 &v, double last)
        : vec4(v.x, v.y, v.z, last)
    {}
    vec4(const std::array<float, 4> &v)
        : vec4(v[0], v[1], v[2], v[3])
    {}
};

struct mat4
{
    std::array<float, 16> columns;
};

inline vec4 operator*(const mat4 &m, const vec4 &v)
{
    const auto row = [&](std::size_t i) {
        return m.columns[i] * v.xyz.x + m.columns[4 + i] * v.xyz.y + m.columns[8 + i] * v.xyz.z +
               m.columns[12 + i] * v.w;
    };
    return vec4(vec3{row(0), row(1), row(2)}, row(3));
}

// The literals of the text are doubles here.
inline float min(double a, double b)
{
    return float(std::min(a, b));
}
inline float max(double a, double b)
{
    return float(std::max(a, b));
}
inline int max(int a, int b)
{
    return std::max(a, b);
}
inline float abs(double a)
{
    return float(std::fabs(a));
}
inline float clamp(double x, double low, double high)
{
    return float(std::clamp(x, low, high));
}

struct Node
{
    uint nodeType, definitionIndex, operationType, materialMode;
    int firstChild, nextSibling, parentIndex;
    vec4 params, params2;
    mat4 invTransform;
    float smoothRadius, densityScale, shellThickness;

    explicit Node(const corvane::shader::SDFNode &node)
        : nodeType(node.nodeType)
        , definitionIndex(node.definitionIndex)
        , operationType(node.operationType)
        , materialMode(node.materialMode)
        , firstChild(node.firstChild)
        , nextSibling(node.nextSibling)
        , parentIndex(node.parentIndex)
        , params(node.params)
        , params2(node.params2)
        , invTransform{node.invTransform}
        , smoothRadius(node.smoothRadius)
        , densityScale(node.densityScale)
        , shellThickness(node.shellThickness)
    {}
};

inline std::vector<Node> nodes;
inline int nodeCount = 0;
inline int rootNodeIndex = 0;

inline constexpr uint NODE_PRIMITIVE = 0;
inline constexpr uint NODE_CSG_OP = 1;
inline constexpr uint NODE_POS_TRANSFORM = 2;
inline constexpr uint NODE_DIST_MODIFIER = 3;
inline constexpr uint NODE_POS_AWARE_MOD = 4;
inline constexpr uint MATERIAL_MODE_BASE_WINS = 0;
inline constexpr uint MATERIAL_MODE_OPERAND_WINS = 1;

/// A plane at height params.x: distances add up simply.
inline float evaluatePrimitiveByDefinition(uint, const vec3 &p, const vec4 &params, const vec4 &)
{
    return p.y - params.xyz.x;
}

inline vec3 applyPositionTransform(uint, const vec3 &p, const vec4 &params, const vec4 &)
{
    return {p.x, p.y - params.xyz.x, p.z};
}

inline float applyDistanceModifier(uint, float d, const vec4 &params, const vec4 &)
{
    return d - params.xyz.x;
}

inline float applyPositionAwareModifier(uint, const vec3 &p, float d, const vec4 &params,
                                        const vec4 &)
{
    return d + params.xyz.x * p.x;
}

/// Definition 0 takes the nearer material, 1 the accumulated one, 2 both.
inline float applyCsgBlend(uint csgIndex, float d1, float d2, float)
{
    if (csgIndex == 0)
        return d1 < d2 ? 0.0f : 1.0f;
    return csgIndex == 1 ? 1.0f : 0.5f;
}

float applyCsgOp(uint opType, float d1, float d2, float smoothness);

inline float applyCsgOperator(uint, uint opType, float d1, float d2, float smoothness, const vec4 &,
                              const vec4 &)
{
    return applyCsgOp(opType, d1, d2, smoothness);
}

// In the order of the shader.
// clang-format off
#include <sdf_csg_ops.glsl>
#include <sdf_field_value.glsl>
#include <sdf_tree_evaluator.glsl>
#include <sdf_scene.glsl>
// clang-format on

} // namespace glsl
