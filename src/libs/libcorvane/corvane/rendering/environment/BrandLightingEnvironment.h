#pragma once

#include <corvane/rendering/environment/Environment.h>

namespace corvane::rendering {

/// A calm studio: a dark, even background and three lights. The key light comes from the front, to
/// the left and above; the fill light, a third as strong and cooler, from the other side; the rim
/// light from behind sets the part off from the background.
///
/// `intensity` scales all three, `rotation` turns them about the vertical, in degrees.
class BrandLightingEnvironment : public Environment
{
public:
    BrandLightingEnvironment();
    int fillLights(shader::Light *lights, int capacity) const override;
};

} // namespace corvane::rendering
