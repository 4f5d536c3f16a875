#pragma once

#include <QColor>
#include <QVector4D>

#include <cmath>

namespace corvane::rendering {

/// The light of a colour as screens encode it (sRGB, IEC 61966-2-1); alpha stays.
inline QVector4D linearColor(const QColor &color)
{
    const auto linear = [](float encoded) {
        return encoded <= 0.04045f ? encoded / 12.92f : std::pow((encoded + 0.055f) / 1.055f, 2.4f);
    };
    return {linear(float(color.redF())), linear(float(color.greenF())),
            linear(float(color.blueF())), float(color.alphaF())};
}

} // namespace corvane::rendering
