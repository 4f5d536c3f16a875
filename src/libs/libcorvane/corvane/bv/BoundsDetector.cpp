// Bounds by probing: a coarse grid and radial rays find the solid, rays from the faces of the box
// push it outwards until nothing lies beyond, columns pull each face back to the outermost inside
// point, and a hill climb catches the tips that fell between two columns.

#include "BoundsDetector.h"

#include "ProbePool.h"

#include <QElapsedTimer>
#include <QLoggingCategory>

#include <optional>

Q_LOGGING_CATEGORY(lcBounds, "ondrel.bounds", QtWarningMsg)

using namespace Qt::StringLiterals;

namespace corvane::bv {

namespace {

constexpr int maxTraceSteps = 512;
constexpr int latticeSide = 9;
constexpr int maxClimbRounds = 25;
constexpr float smallestClimbShare = 1.0f / 4096.0f;

struct Face
{
    int axis;
    bool positive;

    float sign() const { return positive ? 1.0f : -1.0f; }
    int firstPlaneAxis() const { return (axis + 1) % 3; }
    int secondPlaneAxis() const { return (axis + 2) % 3; }
};

Face faceOf(int number)
{
    return {number / 2, number % 2 == 0};
}

// The six axis directions and the twelve vertices of an icosahedron.
const std::array<QVector3D, 18> &probeDirections()
{
    constexpr float a = 0.5257311f;
    constexpr float b = 0.8506508f;
    static const std::array<QVector3D, 18> directions = {
        QVector3D{1, 0, 0}, {-1, 0, 0},  {0, 1, 0},  {0, -1, 0},  {0, 0, 1},  {0, 0, -1},
        {0, a, b},          {0, a, -b},  {0, -a, b}, {0, -a, -b}, {a, b, 0},  {a, -b, 0},
        {-a, b, 0},         {-a, -b, 0}, {b, 0, a},  {b, 0, -a},  {-b, 0, a}, {-b, 0, -a}};
    return directions;
}

float sampleAt(eval::IFieldEvaluator &evaluator, const QVector3D &point, qint64 &samples)
{
    ++samples;
    return evaluator.evaluate(point.x(), point.y(), point.z());
}

/// The outermost inside point that was found on one face.
struct FaceHit
{
    bool hit = false;
    QVector3D point;
};

/// One run of the detector.
class Detection
{
public:
    Detection(eval::IFieldEvaluator &evaluator, const BoundsDetector::Config &config)
        : m_config(config)
        , m_pool(evaluator, config)
    {}

    BoundsDetectionResult run();

private:
    struct Ray
    {
        QVector3D origin;
        QVector3D direction;
        float maxDistance = 0.0f;
        int face = -1;
    };

    void scanCoarseGrid();
    bool scanLattice(float halfWidth);
    void probeRadially();
    void expandFaces();
    void addFaceRays(int face, QList<Ray> &rays) const;
    bool growFaces(const QList<Ray> &rays, const QList<TraceResult> &traces,
                   std::array<bool, faceCount> &active);
    void refineFaces();
    std::optional<float> bisectColumn(const Face &face, QVector3D point, float inner, float outer,
                                      eval::IFieldEvaluator &evaluator, qint64 &samples) const;
    void sharpenFaces();
    void climb(int number, eval::IFieldEvaluator &evaluator, qint64 &samples);
    bool climbOnce(const Face &face, float outerLimit, float step, FaceHit &best,
                   eval::IFieldEvaluator &evaluator, qint64 &samples) const;
    QList<TraceResult> trace(const QList<Ray> &rays);
    void markLeaningFaces(const QVector3D &direction);
    QVector3D gridPoint(const Face &face, int index, int side) const;
    void report(int phase, const QString &text) const;
    void finish(BoundsDetectionResult &result) const;

    const BoundsDetector::Config &m_config;
    ProbePool m_pool;
    BoundingVolume m_box;
    std::array<bool, faceCount> m_unbounded{};
    std::array<FaceHit, faceCount> m_hits{};
};

void Detection::report(int phase, const QString &text) const
{
    if (m_config.progress)
        m_config.progress(phase, 4, text);
}

// ------------------------------------------------------------------ finding the solid

void Detection::scanCoarseGrid()
{
    report(0, u"Coarse grid scan"_s);
    for (const float share : {1.0f, 0.25f, 0.0625f}) {
        if (scanLattice(m_config.maxSearchRadius * share))
            return;
    }
}

bool Detection::scanLattice(float halfWidth)
{
    constexpr int count = latticeSide * latticeSide * latticeSide;
    const auto pointOf = [halfWidth](int number) {
        const auto coordinate = [halfWidth](int i) {
            return -halfWidth + float(i) * (2.0f * halfWidth / float(latticeSide - 1));
        };
        return QVector3D(coordinate(number % latticeSide),
                         coordinate(number / latticeSide % latticeSide),
                         coordinate(number / (latticeSide * latticeSide)));
    };
    QList<bool> inside(count, false);
    bool *slots_ = inside.data();
    m_pool.run(count, [&](int number, eval::IFieldEvaluator &evaluator, qint64 &samples) {
        slots_[number] = sampleAt(evaluator, pointOf(number), samples) < 0.0f;
    });
    for (int number = 0; number < count; ++number) {
        if (inside.at(number))
            m_box.expand(pointOf(number));
    }
    return !m_box.isEmpty();
}

QList<TraceResult> Detection::trace(const QList<Ray> &rays)
{
    QList<TraceResult> traces(rays.size());
    TraceResult *slots_ = traces.data();
    m_pool.run(
        int(rays.size()), [&](int number, eval::IFieldEvaluator &evaluator, qint64 &samples) {
            const Ray &ray = rays.at(number);
            slots_[number] =
                BoundsDetector::sphereTrace(evaluator, ray.origin, ray.direction, ray.maxDistance,
                                            m_config.surfaceThreshold, m_config.minStep, samples);
        });
    return traces;
}

void Detection::markLeaningFaces(const QVector3D &direction)
{
    for (int axis = 0; axis < 3; ++axis) {
        if (direction[axis] > 0.5f)
            m_unbounded[size_t(axis * 2)] = true;
        else if (direction[axis] < -0.5f)
            m_unbounded[size_t(axis * 2 + 1)] = true;
    }
}

void Detection::probeRadially()
{
    report(1, u"Radial probing"_s);
    QList<QVector3D> seeds{QVector3D()};
    if (!m_box.isEmpty())
        seeds.append(m_box.center());
    QList<Ray> rays;
    for (const QVector3D &seed : std::as_const(seeds)) {
        const float distance = m_config.maxSearchRadius - seed.length();
        if (distance <= 0.0f)
            continue;
        for (const QVector3D &direction : probeDirections())
            rays.append({seed, direction, distance});
    }
    const QList<TraceResult> traces = trace(rays);
    for (qsizetype i = 0; i < rays.size(); ++i) {
        if (!traces.at(i).hit)
            continue;
        m_box.expand(traces.at(i).first);
        m_box.expand(traces.at(i).last);
        if (traces.at(i).atBoundary)
            markLeaningFaces(rays.at(i).direction);
    }
}

// ------------------------------------------------------------------ pushing the faces outwards

QVector3D Detection::gridPoint(const Face &face, int index, int side) const
{
    const QVector3D extent = m_box.extent();
    QVector3D point;
    point[face.axis] = m_box.face(face.axis, face.positive);
    const int u = face.firstPlaneAxis();
    const int v = face.secondPlaneAxis();
    point[u] = m_box.minimum()[u] + (float(index % side) + 0.5f) * extent[u] / float(side);
    point[v] = m_box.minimum()[v] + (float(index / side) + 0.5f) * extent[v] / float(side);
    return point;
}

void Detection::addFaceRays(int number, QList<Ray> &rays) const
{
    const Face face = faceOf(number);
    QVector3D normal;
    normal[face.axis] = face.sign();
    const float distance =
        m_config.maxSearchRadius - std::abs(m_box.face(face.axis, face.positive));
    for (int i = 0; i < m_config.probeGrid * m_config.probeGrid; ++i)
        rays.append({gridPoint(face, i, m_config.probeGrid), normal, distance, number});
}

void Detection::expandFaces()
{
    std::array<bool, faceCount> active;
    active.fill(true);
    for (int round = 0; round < m_config.maxIters; ++round) {
        report(2, u"Adaptive expansion"_s);
        QList<Ray> rays;
        for (int number = 0; number < faceCount; ++number) {
            const Face face = faceOf(number);
            if (!active[size_t(number)])
                continue;
            if (m_config.maxSearchRadius - std::abs(m_box.face(face.axis, face.positive)) <=
                m_config.minStep) {
                active[size_t(number)] = false;
                m_unbounded[size_t(number)] = true;
                continue;
            }
            addFaceRays(number, rays);
        }
        if (rays.isEmpty() || !growFaces(rays, trace(rays), active))
            return;
    }
}

bool Detection::growFaces(const QList<Ray> &rays, const QList<TraceResult> &traces,
                          std::array<bool, faceCount> &active)
{
    std::array<float, faceCount> growth{};
    for (qsizetype i = 0; i < rays.size(); ++i) {
        const Ray &ray = rays.at(i);
        if (!traces.at(i).hit)
            continue;
        const float beyond = QVector3D::dotProduct(traces.at(i).last - ray.origin, ray.direction);
        growth[size_t(ray.face)] = std::max(growth[size_t(ray.face)], beyond);
        if (traces.at(i).atBoundary)
            m_unbounded[size_t(ray.face)] = true;
    }
    bool anyActive = false;
    for (int number = 0; number < faceCount; ++number) {
        active[size_t(number)] = active[size_t(number)] && growth[size_t(number)] > 0.0f;
        if (!active[size_t(number)])
            continue;
        const Face face = faceOf(number);
        const float moved = m_box.face(face.axis, face.positive) +
                            face.sign() * (growth[size_t(number)] + m_config.minStep);
        m_box.setFace(face.axis, face.positive,
                      std::clamp(moved, -m_config.maxSearchRadius, m_config.maxSearchRadius));
        anyActive = true;
    }
    return anyActive;
}

// ------------------------------------------------------------------ pulling them back

/// The outermost inside coordinate between `inner` and `outer`; none when even the inner end is
/// outside.
std::optional<float> Detection::bisectColumn(const Face &face, QVector3D point, float inner,
                                             float outer, eval::IFieldEvaluator &evaluator,
                                             qint64 &samples) const
{
    for (int step = 0; step < m_config.binarySteps; ++step) {
        point[face.axis] = (inner + outer) * 0.5f;
        (sampleAt(evaluator, point, samples) < 0.0f ? inner : outer) = point[face.axis];
    }
    point[face.axis] = inner;
    if (sampleAt(evaluator, point, samples) < 0.0f)
        return inner;
    return std::nullopt;
}

void Detection::refineFaces()
{
    report(3, u"Binary refinement"_s);
    const int columns = m_config.refineGrid * m_config.refineGrid;
    const BoundingVolume before = m_box;
    QList<std::optional<float>> found(faceCount * columns);
    std::optional<float> *slots_ = found.data();
    m_pool.run(faceCount * columns, [&](int number, eval::IFieldEvaluator &evaluator,
                                        qint64 &samples) {
        const Face face = faceOf(number / columns);
        const QVector3D point = gridPoint(face, number % columns, m_config.refineGrid);
        slots_[number] = bisectColumn(face, point, before.center()[face.axis],
                                      before.face(face.axis, face.positive), evaluator, samples);
    });
    for (int number = 0; number < faceCount * columns; ++number) {
        const Face face = faceOf(number / columns);
        FaceHit &best = m_hits[size_t(number / columns)];
        const std::optional<float> coordinate = found.at(number);
        if (!coordinate ||
            (best.hit && (*coordinate - best.point[face.axis]) * face.sign() <= 0.0f))
            continue;
        best.hit = true;
        best.point = gridPoint(face, number % columns, m_config.refineGrid);
        best.point[face.axis] = *coordinate;
    }
    int moved = 0;
    for (int number = 0; number < faceCount; ++number) {
        const Face face = faceOf(number);
        if (!m_hits[size_t(number)].hit)
            continue;
        m_box.setFace(face.axis, face.positive, m_hits[size_t(number)].point[face.axis]);
        ++moved;
    }
    qCInfo(lcBounds).noquote() << u"Phase 3 (refine): faces-with-hits=%1 of %2"_s.arg(moved).arg(
        faceCount);
}

bool Detection::climbOnce(const Face &face, float outerLimit, float step, FaceHit &best,
                          eval::IFieldEvaluator &evaluator, qint64 &samples) const
{
    const QVector3D start = best.point;
    bool improved = false;
    for (int neighbour = 0; neighbour < 4; ++neighbour) {
        QVector3D point = start;
        point[neighbour < 2 ? face.firstPlaneAxis() : face.secondPlaneAxis()] +=
            neighbour % 2 == 0 ? step : -step;
        const auto coordinate =
            bisectColumn(face, point, best.point[face.axis], outerLimit, evaluator, samples);
        if (!coordinate || (*coordinate - best.point[face.axis]) * face.sign() <= 0.0f)
            continue;
        point[face.axis] = *coordinate;
        best.point = point;
        improved = true;
    }
    return improved;
}

void Detection::climb(int number, eval::IFieldEvaluator &evaluator, qint64 &samples)
{
    const Face face = faceOf(number);
    const QVector3D extent = m_box.extent();
    const float plane = std::max(extent[face.firstPlaneAxis()], extent[face.secondPlaneAxis()]);
    const float smallest = std::max(plane * smallestClimbShare, m_config.minStep);
    float step = plane / float(m_config.refineGrid);
    FaceHit &best = m_hits[size_t(number)];
    // One in-plane extent beyond the face: a face may have settled while the box was still a
    // sliver.
    const float outerLimit = std::clamp(best.point[face.axis] + face.sign() * plane,
                                        -m_config.maxSearchRadius, m_config.maxSearchRadius);
    for (int round = 0; round < maxClimbRounds; ++round) {
        if (climbOnce(face, outerLimit, step, best, evaluator, samples))
            continue;
        if (step <= smallest)
            return;
        step = std::max(step * 0.5f, smallest);
    }
}

void Detection::sharpenFaces()
{
    const qint64 before = m_pool.samples();
    m_pool.run(faceCount, [&](int number, eval::IFieldEvaluator &evaluator, qint64 &samples) {
        if (m_hits[size_t(number)].hit)
            climb(number, evaluator, samples);
    });
    for (int number = 0; number < faceCount; ++number) {
        const Face face = faceOf(number);
        if (m_hits[size_t(number)].hit)
            m_box.setFace(face.axis, face.positive, m_hits[size_t(number)].point[face.axis]);
    }
    qCInfo(lcBounds).noquote() << u"Phase 3.5 (sharpen): samples=%1"_s.arg(m_pool.samples() -
                                                                           before);
}

// ------------------------------------------------------------------ the run

void Detection::finish(BoundsDetectionResult &result) const
{
    const QVector3D extent = m_box.extent();
    for (int axis = 0; axis < 3; ++axis)
        result.margin[axis] = std::max(m_config.marginFraction * extent[axis], m_config.minMargin);
    result.averageMargin = (result.margin.x() + result.margin.y() + result.margin.z()) / 3.0f;
    result.bounds = m_box.grownBy(result.margin);
    result.unbounded = m_unbounded;
    result.success = true;
}

BoundsDetectionResult Detection::run()
{
    BoundsDetectionResult result;
    scanCoarseGrid();
    probeRadially();
    if (m_box.isEmpty()) {
        result.error = u"No geometry found within search radius"_s;
        qCInfo(lcBounds)
            << "no hits: the scene is empty, lies outside the radius, or the field reports"
               " positive everywhere";
    } else {
        expandFaces();
        refineFaces();
        sharpenFaces();
        finish(result);
    }
    result.totalSamples = m_pool.samples();
    return result;
}

void logBegin(const eval::IFieldEvaluator &evaluator, const BoundsDetector::Config &config)
{
    qCInfo(lcBounds).noquote()
        << u"=== detect() begin: backend=%1 maxRadius=%2 threads=%3 (factory=%4) "
           "probeGrid=%5 refineGrid=%6 binarySteps=%7 maxIters=%8 surfaceThreshold=%9"_s.arg(
               evaluator.backendName(), QString::number(config.maxSearchRadius),
               QString::number(config.threads), config.evaluatorFactory ? u"yes"_s : u"no"_s,
               QString::number(config.probeGrid), QString::number(config.refineGrid),
               QString::number(config.binarySteps), QString::number(config.maxIters),
               QString::number(config.surfaceThreshold));
}

} // namespace

bool BoundsDetectionResult::hasUnboundedAxes() const
{
    return std::find(unbounded.begin(), unbounded.end(), true) != unbounded.end();
}

QString BoundsDetectionResult::unboundedDescription() const
{
    static const std::array<QString, faceCount> names = {u"+X"_s, u"-X"_s, u"+Y"_s,
                                                         u"-Y"_s, u"+Z"_s, u"-Z"_s};
    QStringList flagged;
    for (size_t i = 0; i < names.size(); ++i) {
        if (unbounded[i])
            flagged.append(names[i]);
    }
    if (flagged.isEmpty())
        return {};
    return u"Geometry extends beyond search range on "_s + flagged.join(u", "_s);
}

BoundsDetectionResult BoundsDetector::detect(eval::IFieldEvaluator *evaluator, const Config &config)
{
    BoundsDetectionResult result;
    if (!evaluator || !evaluator->isValid()) {
        result.error = evaluator ? evaluator->lastError() : u"Null evaluator"_s;
        return result;
    }
    logBegin(*evaluator, config);
    QElapsedTimer timer;
    timer.start();
    result = Detection(*evaluator, config).run();
    result.evaluatorBackend = evaluator->backendName();
    result.detectionTimeMs = timer.elapsed();
    return result;
}

BoundsDetectionResult BoundsDetector::detectAdaptive(eval::IFieldEvaluator *evaluator)
{
    return detect(evaluator, Config());
}

BoundsDetectionResult BoundsDetector::detectAdaptive(eval::IFieldEvaluator *evaluator,
                                                     const Config &config)
{
    return detect(evaluator, config);
}

TraceResult BoundsDetector::sphereTrace(eval::IFieldEvaluator &evaluator, const QVector3D &origin,
                                        const QVector3D &direction, float maxDistance,
                                        float threshold, float minStep, qint64 &samples)
{
    TraceResult result;
    float t = 0.0f;
    for (int step = 0; step < maxTraceSteps && t < maxDistance; ++step) {
        const QVector3D point = origin + direction * t;
        const float d = sampleAt(evaluator, point, samples);
        const bool hit = d < 0.0f || std::abs(d) < threshold;
        if (hit) {
            if (!result.hit)
                result.first = point;
            result.last = point;
            result.hit = true;
        }
        // A field that answers nonsense at a point must not stall the march.
        const float advance = hit ? std::abs(d) : d;
        t += advance > minStep ? advance : minStep;
    }
    if (result.hit) {
        const QVector3D past = origin + direction * (1.1f * maxDistance);
        result.atBoundary = sampleAt(evaluator, past, samples) <= threshold;
    } else if (t >= maxDistance) {
        const QVector3D end = origin + direction * maxDistance;
        if (sampleAt(evaluator, end, samples) < threshold) {
            result.hit = true;
            result.atBoundary = true;
            result.first = end;
            result.last = end;
        }
    }
    return result;
}

} // namespace corvane::bv
