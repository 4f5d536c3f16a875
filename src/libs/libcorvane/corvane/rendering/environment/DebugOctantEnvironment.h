#pragma once

#include <corvane/rendering/environment/Environment.h>

namespace corvane::rendering {

/// A colour for each octant of directions, for telling which way a normal or a reflection points:
/// red is bright towards +x, green towards +y, blue towards +z. No lights, no settings.
class DebugOctantEnvironment : public Environment
{
public:
    DebugOctantEnvironment();
};

} // namespace corvane::rendering
