#pragma once

#include <QMatrix4x4>
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace corvane::shader {

/// What a node is to the tree evaluator; also the number of the index table that its definition is
/// in.
enum class GpuNodeType : std::uint32_t {
    Primitive = 0,             ///< NODE_PRIMITIVE, scalar fields too
    CsgOp = 1,                 ///< NODE_CSG_OP
    PositionTransform = 2,     ///< NODE_POS_TRANSFORM
    DistanceModifier = 3,      ///< NODE_DIST_MODIFIER
    PositionAwareModifier = 4, ///< NODE_POS_AWARE_MOD
};
inline constexpr int gpuNodeTypeCount = 5;

/// How a CSG operator combines materials.
enum class MaterialMode : std::uint32_t {
    BaseWins = 0,    ///< MATERIAL_MODE_BASE_WINS
    OperandWins = 1, ///< MATERIAL_MODE_OPERAND_WINS
    Blend = 2,       ///< MATERIAL_MODE_BLEND
};

/// Number of float slots that a definition's parameters share: `params` and `params2` of a node.
inline constexpr int parameterSlotCount = 8;

/// The definition index of a node whose definition is unknown. It is in no table, so that the
/// dispatchers answer their defaults (far away, or the identity).
inline constexpr std::uint32_t noDefinitionIndex = 0xffffffffU;

/// Material of one node, as the shaders read it.
struct SDFMaterial
{
    std::array<float, 4> albedo{1.0f, 1.0f, 1.0f, 1.0f}; ///< linear red, green, blue, alpha
    float metallic = 0.0f;
    float roughness = 0.5f;
    float emission = 0.0f;
    float padding = 0.0f;

    bool operator==(const SDFMaterial &) const = default;
};

/// One node of the flattened scene: the std430 record of the storage buffer `NodeBuffer`, 256
/// bytes, little-endian. A `QList<SDFNode>` is uploaded as it stands.
///
/// Links are indices into the same list, -1 for none. Parents stand before their children.
struct SDFNode
{
    std::uint32_t nodeType = 0;        ///< a GpuNodeType
    std::uint32_t definitionIndex = 0; ///< into the type's table; selects the dispatch case
    std::uint32_t operationType = 0;   ///< CSG operation code; 0 for other types
    std::uint32_t flags = 0;           ///< reserved, 0
    std::int32_t firstChild = -1;
    std::int32_t nextSibling = -1;
    std::int32_t childCount = 0;    ///< linked children
    std::int32_t parentIndex = -1;  ///< -1 for roots
    std::array<float, 4> params{};  ///< shader parameter slots 0 to 3
    std::array<float, 4> params2{}; ///< shader parameter slots 4 to 7
    std::array<float, 16> transform{1, 0, 0, 0, 0, 1, 0, 0,
                                    0, 0, 1, 0, 0, 0, 0, 1}; ///< column-major
    std::array<float, 16> invTransform{1, 0, 0, 0, 0, 1, 0, 0,
                                       0, 0, 1, 0, 0, 0, 0, 1}; ///< its inverse
    SDFMaterial material{};
    float smoothRadius = 0.1f;   ///< the instance's `smoothness`; 0.1 when that is at or below 0
    float densityScale = 1.0f;   ///< inflation: `densityScale - 1` is added to the distance
    float shellThickness = 0.0f; ///< above 0 the distance becomes `abs(d) - shellThickness`
    float blendSharpness = 0.7f;
    std::uint32_t materialMode = 2; ///< a MaterialMode
    std::uint32_t reserved0 = 0;
    std::uint32_t reserved1 = 0;
    std::uint32_t reserved2 = 0;

    [[nodiscard]] GpuNodeType type() const { return static_cast<GpuNodeType>(nodeType); }

    /// The eight parameter slots as one row.
    [[nodiscard]] std::array<float, parameterSlotCount> parameterSlots() const
    {
        return {params[0],  params[1],  params[2],  params[3],
                params2[0], params2[1], params2[2], params2[3]};
    }
    void setParameterSlots(const std::array<float, parameterSlotCount> &values)
    {
        params = {values[0], values[1], values[2], values[3]};
        params2 = {values[4], values[5], values[6], values[7]};
    }

    /// Stores the world matrix of the enclosing groups and its inverse.
    void setTransform(const QMatrix4x4 &matrix)
    {
        const QMatrix4x4 inverse = matrix.inverted();
        std::copy_n(matrix.constData(), transform.size(), transform.begin());
        std::copy_n(inverse.constData(), invTransform.size(), invTransform.begin());
    }

    bool operator==(const SDFNode &) const = default;
};

static_assert(sizeof(SDFMaterial) == 32);
static_assert(sizeof(SDFNode) == 256);
static_assert(std::is_trivially_copyable_v<SDFNode> && std::is_standard_layout_v<SDFNode>);
static_assert(offsetof(SDFNode, nodeType) == 0);
static_assert(offsetof(SDFNode, definitionIndex) == 4);
static_assert(offsetof(SDFNode, operationType) == 8);
static_assert(offsetof(SDFNode, flags) == 12);
static_assert(offsetof(SDFNode, firstChild) == 16);
static_assert(offsetof(SDFNode, nextSibling) == 20);
static_assert(offsetof(SDFNode, childCount) == 24);
static_assert(offsetof(SDFNode, parentIndex) == 28);
static_assert(offsetof(SDFNode, params) == 32);
static_assert(offsetof(SDFNode, params2) == 48);
static_assert(offsetof(SDFNode, transform) == 64);
static_assert(offsetof(SDFNode, invTransform) == 128);
static_assert(offsetof(SDFNode, material) == 192);
static_assert(offsetof(SDFNode, smoothRadius) == 224);
static_assert(offsetof(SDFNode, densityScale) == 228);
static_assert(offsetof(SDFNode, shellThickness) == 232);
static_assert(offsetof(SDFNode, blendSharpness) == 236);
static_assert(offsetof(SDFNode, materialMode) == 240);
static_assert(offsetof(SDFNode, reserved0) == 244);
static_assert(offsetof(SDFNode, reserved2) == 252);

} // namespace corvane::shader
