#include <corvane/rendering/environment/BrandLightingEnvironment.h>

#include <corvane/rendering/environment/SunDriver.h>

#include <algorithm>
#include <iterator>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

namespace {

struct StudioLight
{
    double azimuth; ///< degrees clockwise from -z as seen from above; 180 is the viewer's side
    double elevation;
    float red, green, blue;
    float intensity;
};

constexpr StudioLight studioLights[] = {
    {222.0, 42.0, 1.00f, 0.96f, 0.90f, 2.6f}, // key
    {120.0, 18.0, 0.82f, 0.90f, 1.00f, 0.9f}, // fill
    {20.0, 38.0, 0.95f, 0.97f, 1.00f, 1.8f},  // rim
};

} // namespace

BrandLightingEnvironment::BrandLightingEnvironment()
    : Environment({u"brand-lighting"_s, u"Studio"_s,
                   u"A dark studio with key, fill and rim light"_s, u"camera-photo"_s,
                   u"env_brand_lighting.glsl"_s},
                  {SettingRow::number(u"intensity"_s, u"Intensity"_s, 1.0, 0.0, 10.0, 0.05)
                       .described(u"Scales all lights"_s),
                   SettingRow::number(u"rotation"_s, u"Rotation"_s, 0.0, -180.0, 180.0, 1.0)
                       .inUnit(u"deg"_s)
                       .described(u"Turns the lights about the vertical"_s)})
{}

int BrandLightingEnvironment::fillLights(shader::Light *lights, int capacity) const
{
    const int count = std::clamp(capacity, 0, int(std::size(studioLights)));
    for (int i = 0; i < count; ++i) {
        const StudioLight &light = studioLights[i];
        const QVector3D direction =
            azElToDir(light.azimuth + table().value(u"rotation"_s).toDouble(), light.elevation);
        lights[i].direction = {direction.x(), direction.y(), direction.z(), 0.0f};
        lights[i].color = {light.red, light.green, light.blue,
                           light.intensity * table().number(u"intensity"_s)};
    }
    return count;
}

} // namespace corvane::rendering
