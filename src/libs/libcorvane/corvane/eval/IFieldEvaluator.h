#pragma once

#include <QString>

#include <span>

namespace corvane::eval {

/// What a failed evaluator answers for every point: far outside, which every mesher reads as empty
/// space.
inline constexpr float farDistance = 1e10f;

/// A signed distance and its gradient at one point.
struct DistanceGradient
{
    float distance = farDistance;
    float gradientX = 0.0f;
    float gradientY = 0.0f;
    float gradientZ = 0.0f;

    bool operator==(const DistanceGradient &) const = default;
};

/// A signed distance field in scene units: negative inside, positive outside.
///
/// A failed evaluation answers 1e10 and keeps the first error in lastError(), so that a mesher need
/// not stop inside its loop. One instance serves one thread; several share one eval::Program.
class IFieldEvaluator
{
public:
    virtual ~IFieldEvaluator() = default;

    virtual bool isValid() const = 0;
    /// The first error since construction; empty while all went well.
    virtual QString lastError() const = 0;
    virtual float evaluate(float x, float y, float z) = 0;
    /// Distance and gradient. The base takes the gradient from four samples around the point, at
    /// the corners of a tetrahedron gradientStep() away along each axis.
    virtual DistanceGradient evaluateWithGradient(float x, float y, float z);
    virtual float gradientStep() const { return 0.001f; }
    virtual QString backendName() const = 0;

    /// The distances of a row of points that share y and z: out[i] is that of (xs[i], y, z), bit
    /// for bit what evaluate() answers. The base calls evaluate() for each.
    virtual void evaluateRow(std::span<const float> xs, float y, float z, std::span<float> out);
    /// The same for any points (xs[i], ys[i], zs[i]), as many of each as of `out`.
    virtual void evaluatePoints(std::span<const float> xs, std::span<const float> ys,
                                std::span<const float> zs, std::span<float> out);
    /// What evaluateWithGradient() answers at each of these points. The base samples as its
    /// evaluateWithGradient() does, so that whoever overrides that one overrides this one too.
    virtual void evaluateWithGradients(std::span<const float> xs, std::span<const float> ys,
                                       std::span<const float> zs, std::span<DistanceGradient> out);
};

} // namespace corvane::eval
