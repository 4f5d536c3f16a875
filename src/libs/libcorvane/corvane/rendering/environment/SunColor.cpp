#include <corvane/rendering/environment/SunColor.h>

#include <algorithm>
#include <cmath>

namespace corvane::rendering {

QColor sunColorAt(double elevation)
{
    constexpr double warmBelow = 15.0;
    const double warmth = std::clamp((warmBelow - elevation) / warmBelow, 0.0, 1.0);
    const auto mixed = [warmth](int warm) { return int(std::lround(255 + (warm - 255) * warmth)); };
    return QColor(255, mixed(168), mixed(110));
}

} // namespace corvane::rendering
