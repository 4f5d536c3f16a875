#include <corvane/eval/IFieldEvaluator.h>

#include <array>
#include <cstddef>

namespace corvane::eval {

DistanceGradient IFieldEvaluator::evaluateWithGradient(float x, float y, float z)
{
    struct Offset
    {
        float x, y, z;
    };
    static constexpr std::array<Offset, 4> stencil{
        {{1, -1, -1}, {-1, -1, 1}, {-1, 1, -1}, {1, 1, 1}}};

    const float h = gradientStep();
    DistanceGradient result{.distance = evaluate(x, y, z)};
    for (const Offset &offset : stencil) {
        const float d = evaluate(x + h * offset.x, y + h * offset.y, z + h * offset.z);
        result.gradientX += offset.x * d;
        result.gradientY += offset.y * d;
        result.gradientZ += offset.z * d;
    }
    result.gradientX /= 4.0f * h;
    result.gradientY /= 4.0f * h;
    result.gradientZ /= 4.0f * h;
    return result;
}

void IFieldEvaluator::evaluateRow(std::span<const float> xs, float y, float z, std::span<float> out)
{
    for (std::size_t i = 0; i < xs.size(); ++i)
        out[i] = evaluate(xs[i], y, z);
}

} // namespace corvane::eval
