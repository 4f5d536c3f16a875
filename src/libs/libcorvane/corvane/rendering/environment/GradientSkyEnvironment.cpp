#include <corvane/rendering/environment/GradientSkyEnvironment.h>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

GradientSkyEnvironment::GradientSkyEnvironment()
    : Environment({u"gradient-sky"_s, u"Gradient sky"_s,
                   u"A colour at the horizon that turns into another overhead"_s,
                   u"weather-few-clouds"_s, u"env_gradient_sky.glsl"_s},
                  {SettingRow::color(u"groundColor"_s, u"Ground"_s, {0.62f, 0.66f, 0.70f}),
                   SettingRow::color(u"skyColor"_s, u"Sky"_s, {0.16f, 0.32f, 0.58f})})
{}

Environment::Parameters GradientSkyEnvironment::parameters() const
{
    Parameters values{};
    putColor(values, 0, table().color(u"groundColor"_s));
    putColor(values, 1, table().color(u"skyColor"_s));
    return values;
}

} // namespace corvane::rendering
