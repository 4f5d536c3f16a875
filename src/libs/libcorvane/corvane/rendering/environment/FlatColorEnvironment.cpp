#include <corvane/rendering/environment/FlatColorEnvironment.h>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

FlatColorEnvironment::FlatColorEnvironment()
    : Environment({u"flat-color"_s, u"Flat colour"_s, u"One colour in all directions"_s,
                   u"color-picker"_s, u"env_flat_color.glsl"_s},
                  {SettingRow::color(u"color"_s, u"Colour"_s, {0.18f, 0.19f, 0.21f})})
{}

Environment::Parameters FlatColorEnvironment::parameters() const
{
    Parameters values{};
    putColor(values, 0, table().color(u"color"_s));
    return values;
}

} // namespace corvane::rendering
