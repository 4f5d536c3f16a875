#pragma once

#include <corvane/bv/BoundingVolume.h>
#include <corvane/eval/IFieldEvaluator.h>

#include <QString>
#include <QVector3D>

#include <array>
#include <functional>
#include <memory>

namespace corvane::bv {

/// Face numbers of a box: +X, -X, +Y, -Y, +Z, -Z.
inline constexpr int faceCount = 6;

struct BoundsDetectionResult
{
    bool success = false;
    QString error;
    BoundingVolume bounds; ///< with the margin
    QVector3D margin;      ///< per axis
    float averageMargin = 0.0f;
    qint64 totalSamples = 0;
    qint64 detectionTimeMs = 0;
    QString evaluatorBackend;
    std::array<bool, faceCount> unbounded{}; ///< faces where geometry runs past the search range

    bool hasUnboundedAxes() const;
    /// "Geometry extends beyond search range on +X, -Y", or an empty text.
    QString unboundedDescription() const;
};

/// What one ray met: the first and the outermost point of the solid on it.
struct TraceResult
{
    bool hit = false;
    QVector3D first;
    QVector3D last;
    bool atBoundary = false; ///< the solid goes on where the ray ends
};

/// Finds a box around the surface of a field by probing it alone.
///
/// Distances need not be exact; negative is inside. An axis along which the geometry runs past the
/// search range is clamped and flagged, which is no failure. Failures are texts in the result.
class BoundsDetector
{
public:
    struct Config
    {
        float maxSearchRadius = 10000.0f; ///< half-width of the searched cube around the origin
        float surfaceThreshold = 0.01f;   ///< |d| below this counts as the surface
        int probeGrid = 8;                ///< rays per side of a face in expansion
        int refineGrid = 10;              ///< columns per side of a face in refinement
        int binarySteps = 10;             ///< bisection steps per column
        int maxIters = 10;                ///< rounds of expansion
        float marginFraction = 0.05f;     ///< margin as a share of each axis's extent
        float minMargin = 0.1f;           ///< floor of the margin
        float minStep = 0.001f;           ///< smallest ray step and growth slack
        std::function<void(int current, int total, const QString &text)> progress;
        int threads = 1; ///< parallel tasks; below 1 reads as 1
        /// Gives a task its own evaluator. Without it everything runs on the caller's thread.
        std::function<std::unique_ptr<eval::IFieldEvaluator>()> evaluatorFactory;
    };

    static BoundsDetectionResult detect(eval::IFieldEvaluator *evaluator, const Config &config);
    static BoundsDetectionResult detectAdaptive(eval::IFieldEvaluator *evaluator);
    static BoundsDetectionResult detectAdaptive(eval::IFieldEvaluator *evaluator,
                                                const Config &config);

    /// Marches along a ray, through hits and through the inside of a solid, so that it finds the
    /// far side.
    /// @param direction  unit length
    /// @param samples    raised by the number of evaluations
    static TraceResult sphereTrace(eval::IFieldEvaluator &evaluator, const QVector3D &origin,
                                   const QVector3D &direction, float maxDistance, float threshold,
                                   float minStep, qint64 &samples);
};

} // namespace corvane::bv
