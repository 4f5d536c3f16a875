#version 450
#extension GL_GOOGLE_include_directive : enable
#include "tonemap.glsl"

// Hill's fit of the ACES reference rendering and display transform, with the colour spaces before and after.
const mat3 TO_ACES = mat3(0.59719, 0.07600, 0.02840, 0.35458, 0.90834, 0.13383, 0.04823, 0.01566, 0.83777);
const mat3 FROM_ACES = mat3(1.60475, -0.10208, -0.00327, -0.53108, 1.10813, -0.07276, -0.07367, -0.00605, 1.07602);

vec3 toneMapped(vec3 light)
{
    vec3 v = TO_ACES * light;
    vec3 fitted = (v * (v + 0.0245786) - 0.000090537) / (v * (0.983729 * v + 0.4329510) + 0.238081);
    return FROM_ACES * fitted;
}
