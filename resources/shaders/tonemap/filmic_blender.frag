#version 450
#extension GL_GOOGLE_include_directive : enable
#include "tonemap.glsl"

// Filmic, Sobotka 2016: log2 over 16.5 stops about 0.18, the base contrast, a display of gamma 2.2. The contrast is
// published as a table of 4096 rows and as a form to fit it with (a line between two power curves that end at black
// and white); these are that form's constants, fitted to rows of the table, 8e-4 from it at most. The desaturation
// of bright colours, a table of three dimensions, is not part of this.
const float MIDDLE_GREY = 0.18;
const float MIN_EV = -10.0;
const float STOPS = 16.5;
const vec2 PIVOT = vec2(10.0 / 16.5, 0.5);
const float SLOPE = 2.199417;
const float SHOULDER_DISTANCE = 0.0256030;
const float TOE_POWER = 2.355347;
const float SHOULDER_POWER = 2.830543;

// The height at which a curve that leaves a point with the slope, bent by the power, meets `reach`.
float curveScale(vec2 reach, float power)
{
    float rise = SLOPE * reach.x;
    return pow(pow(rise, -power) * (pow(rise / reach.y, power) - 1.0), -1.0 / power);
}

float bent(float x, float scale, float power)
{
    float rise = SLOPE * x / scale;
    return scale * rise / pow(1.0 + pow(rise, power), 1.0 / power);
}

float contrasted(float x)
{
    vec2 shoulder = PIVOT + SHOULDER_DISTANCE * vec2(1.0, SLOPE) / sqrt(SLOPE * SLOPE + 1.0);
    if (x < PIVOT.x) {
        return PIVOT.y - bent(PIVOT.x - x, curveScale(PIVOT, TOE_POWER), TOE_POWER);
    }
    if (x <= shoulder.x) {
        return PIVOT.y + SLOPE * (x - PIVOT.x);
    }
    return shoulder.y + bent(x - shoulder.x, curveScale(1.0 - shoulder, SHOULDER_POWER), SHOULDER_POWER);
}

vec3 toneMapped(vec3 light)
{
    vec3 stops = log2(max(light, 1e-10) / MIDDLE_GREY);
    vec3 x = clamp((stops - MIN_EV) / STOPS, 0.0, 1.0);
    return pow(clamp(vec3(contrasted(x.r), contrasted(x.g), contrasted(x.b)), 0.0, 1.0), vec3(2.2));
}
