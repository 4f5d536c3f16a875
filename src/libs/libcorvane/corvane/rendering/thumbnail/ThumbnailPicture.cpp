#include <corvane/rendering/thumbnail/ThumbnailPicture.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace corvane::rendering {

namespace {

constexpr int channels = 4;

/// IEC 61966-2-1.
float lightOf(int value)
{
    const float v = float(value) / 255.0f;
    return v <= 0.04045f ? v / 12.92f : std::pow((v + 0.055f) / 1.055f, 2.4f);
}

uchar valueOf(float light)
{
    const float v =
        light <= 0.0031308f ? light * 12.92f : 1.055f * std::pow(light, 1.0f / 2.4f) - 0.055f;
    return uchar(std::lround(std::clamp(v, 0.0f, 1.0f) * 255.0f));
}

const std::array<float, 256> &lightTable()
{
    static const auto table = [] {
        std::array<float, 256> values{};
        for (int i = 0; i < 256; ++i)
            values[i] = lightOf(i);
        return values;
    }();
    return table;
}

void averageSquare(const QImage &samples, int side, int x, int y, uchar *target)
{
    std::array<float, 3> light{};
    int alpha = 0;
    for (int row = 0; row < side; ++row) {
        const uchar *pixel = samples.constScanLine(y * side + row) + x * side * channels;
        for (int column = 0; column < side; ++column, pixel += channels) {
            for (int c = 0; c < 3; ++c)
                light[c] += lightTable()[pixel[c]] * float(pixel[3]);
            alpha += pixel[3];
        }
    }
    for (int c = 0; c < 3; ++c)
        target[c] = alpha > 0 ? valueOf(light[c] / float(alpha)) : uchar(0);
    target[3] = uchar((alpha + side * side / 2) / (side * side));
}

} // namespace

QImage averaged(const QImage &samples, int side)
{
    QImage picture(samples.size() / side, QImage::Format_RGBA8888);
    for (int y = 0; y < picture.height(); ++y) {
        uchar *target = picture.scanLine(y);
        for (int x = 0; x < picture.width(); ++x, target += channels)
            averageSquare(samples, side, x, y, target);
    }
    return picture;
}

} // namespace corvane::rendering
