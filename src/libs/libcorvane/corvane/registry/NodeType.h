#pragma once

#include <QString>
#include <QStringView>

namespace corvane::registry {

/// What kind of node of the field a definition makes. Its function's signature says so.
enum class NodeType {
    Unknown = 0,
    Primitive = 1,             ///< float sdf_x(vec3 p, ...)
    CSGOperator = 2,           ///< float op_x(float d1, float d2, ...)
    PositionTransform = 3,     ///< vec3 op_x(vec3 p, ...)
    DistanceModifier = 4,      ///< float mod_x(float d, ...)
    PositionAwareModifier = 5, ///< float pam_x(vec3 p, float d, ...)
    ScalarField = 6,           ///< float field_x(vec3 p, ...)
};
inline constexpr int nodeTypeCount = 7;

/// "CSG Operator"; "Invalid" for a number that is no NodeType.
[[nodiscard]] QString nodeTypeToString(NodeType type);

/// The type that a word of a definition file means ("csg", "Position Transform"), in any case and
/// trimmed; Unknown for any other word.
[[nodiscard]] NodeType nodeTypeFromString(QStringView word);

} // namespace corvane::registry
