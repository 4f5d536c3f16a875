#pragma once

#include <corvane/registry/ParameterDef.h>

namespace corvane::shader {

/// How many float slots a parameter of this type takes in a node, and components in a call; 0 for
/// children, which are nodes of their own.
[[nodiscard]] constexpr int parameterFloatCount(registry::SDFParameterType type)
{
    using registry::SDFParameterType;
    switch (type) {
    case SDFParameterType::SDFChild:
    case SDFParameterType::SDFChildren:
        return 0;
    case SDFParameterType::Vec2:
        return 2;
    case SDFParameterType::Vec3:
        return 3;
    case SDFParameterType::Vec4:
    case SDFParameterType::Color:
        return 4;
    case SDFParameterType::Float:
    case SDFParameterType::Int:
    case SDFParameterType::Bool:
    case SDFParameterType::String:
        return 1;
    }
    return 1;
}

} // namespace corvane::shader
