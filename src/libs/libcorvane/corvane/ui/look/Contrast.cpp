// Luminance grows with the lightness of HSL at a fixed hue and saturation, since each channel does.
// So on each side of the background the least lightness that is far enough is found by halving, and
// the nearer one of the two sides is taken. Twelve halvings leave less than one step of 8 bits.
#include <corvane/ui/look/Contrast.h>

#include <cmath>
#include <optional>

namespace corvane::ui {

namespace {

constexpr int halvings = 12;

double linear(double channel)
{
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

QColor withLightness(const QColor &color, double lightness)
{
    const QColor hsl = color.toHsl();
    const float hue = hsl.hslHueF() < 0.0f ? 0.0f : hsl.hslHueF(); // grey has none
    return QColor::fromHslF(hue, hsl.hslSaturationF(), float(lightness), color.alphaF()).toRgb();
}

/// The lightness nearest to that of the colour which stands out, between it and `end`.
std::optional<double> nearestLightness(const QColor &color, double end, const QColor &background,
                                       double ratio)
{
    if (contrastRatio(withLightness(color, end), background) < ratio)
        return std::nullopt;
    double near = double(color.toHsl().lightnessF());
    double far = end;
    for (int i = 0; i < halvings; ++i) {
        const double middle = (near + far) / 2.0;
        const bool standsOut = contrastRatio(withLightness(color, middle), background) >= ratio;
        (standsOut ? far : near) = middle;
    }
    return far;
}

} // namespace

double relativeLuminance(const QColor &color)
{
    return 0.2126 * linear(double(color.redF())) + 0.7152 * linear(double(color.greenF())) +
           0.0722 * linear(double(color.blueF()));
}

double contrastRatio(const QColor &a, const QColor &b)
{
    const double first = relativeLuminance(a);
    const double second = relativeLuminance(b);
    return (qMax(first, second) + 0.05) / (qMin(first, second) + 0.05);
}

QColor withContrast(const QColor &color, const QColor &background, double ratio)
{
    if (contrastRatio(color, background) >= ratio)
        return color;
    const double own = double(color.toHsl().lightnessF());
    const auto darker = nearestLightness(color, 0.0, background, ratio);
    const auto lighter = nearestLightness(color, 1.0, background, ratio);
    if (darker && (!lighter || own - *darker < *lighter - own))
        return withLightness(color, *darker);
    if (lighter)
        return withLightness(color, *lighter);
    const double white = contrastRatio(Qt::white, background);
    return white > contrastRatio(Qt::black, background) ? QColor(Qt::white) : QColor(Qt::black);
}

} // namespace corvane::ui
