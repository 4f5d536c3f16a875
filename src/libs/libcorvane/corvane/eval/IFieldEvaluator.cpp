#include <corvane/eval/IFieldEvaluator.h>

#include <array>
#include <cstddef>
#include <vector>

namespace corvane::eval {

namespace {

struct Offset
{
    float x, y, z;
};

constexpr std::array<Offset, 4> stencil{{{1, -1, -1}, {-1, -1, 1}, {-1, 1, -1}, {1, 1, 1}}};

void addSample(const Offset &offset, float distance, DistanceGradient &sum)
{
    sum.gradientX += offset.x * distance;
    sum.gradientY += offset.y * distance;
    sum.gradientZ += offset.z * distance;
}

void divideBy(float divisor, DistanceGradient &sum)
{
    sum.gradientX /= divisor;
    sum.gradientY /= divisor;
    sum.gradientZ /= divisor;
}

} // namespace

DistanceGradient IFieldEvaluator::evaluateWithGradient(float x, float y, float z)
{
    const float h = gradientStep();
    DistanceGradient result{.distance = evaluate(x, y, z)};
    for (const Offset &offset : stencil)
        addSample(offset, evaluate(x + h * offset.x, y + h * offset.y, z + h * offset.z), result);
    divideBy(4.0f * h, result);
    return result;
}

void IFieldEvaluator::evaluateRow(std::span<const float> xs, float y, float z, std::span<float> out)
{
    for (std::size_t i = 0; i < xs.size(); ++i)
        out[i] = evaluate(xs[i], y, z);
}

void IFieldEvaluator::evaluatePoints(std::span<const float> xs, std::span<const float> ys,
                                     std::span<const float> zs, std::span<float> out)
{
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = evaluate(xs[i], ys[i], zs[i]);
}

void IFieldEvaluator::evaluateWithGradients(std::span<const float> xs, std::span<const float> ys,
                                            std::span<const float> zs,
                                            std::span<DistanceGradient> out)
{
    const std::size_t count = out.size();
    const float h = gradientStep();
    std::vector<float> distances(count);
    evaluatePoints(xs, ys, zs, distances);
    for (std::size_t i = 0; i < count; ++i)
        out[i] = {.distance = distances[i]};
    std::vector<float> x(count), y(count), z(count);
    for (const Offset &offset : stencil) {
        for (std::size_t i = 0; i < count; ++i) {
            x[i] = xs[i] + h * offset.x;
            y[i] = ys[i] + h * offset.y;
            z[i] = zs[i] + h * offset.z;
        }
        evaluatePoints(x, y, z, distances);
        for (std::size_t i = 0; i < count; ++i)
            addSample(offset, distances[i], out[i]);
    }
    for (DistanceGradient &sum : out)
        divideBy(4.0f * h, sum);
}

} // namespace corvane::eval
