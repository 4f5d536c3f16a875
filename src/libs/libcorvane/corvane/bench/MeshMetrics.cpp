#include <corvane/bench/MeshMetrics.h>

#include <mesh/process/FeatureAnalysis.h>
#include <mesh/process/VertexMerger.h>
#include <mesh/process/predicates.h>

#include <cmath>
#include <numbers>

namespace corvane::bench {

using namespace Qt::StringLiterals;

namespace {

using SurfaceMesh = ::mesh::Mesh<float>;
using Point = ::mesh::Vector3<float>;
using Features = ::mesh::process::FeatureAnalysis<float>;

constexpr double featureAngleDegrees = 25.0;
constexpr float probeShare = 0.05f;
constexpr double degreesPerRadian = 57.29578;
constexpr float leastGradient = 1e-6f;

constexpr MetricColumn columns[] = {
    {"surface_mean"_L1, &MeshMetrics::surfaceMean},
    {"surface_p95"_L1, &MeshMetrics::surfaceP95},
    {"surface_max"_L1, &MeshMetrics::surfaceMax},
    {"feature_mean"_L1, &MeshMetrics::featureMean},
    {"feature_p95"_L1, &MeshMetrics::featureP95},
    {"feature_max"_L1, &MeshMetrics::featureMax},
    {"feature_samples"_L1, &MeshMetrics::featureSamples},
    {"normal_mean_deg"_L1, &MeshMetrics::normalMeanDeg},
    {"normal_p95_deg"_L1, &MeshMetrics::normalP95Deg},
    {"normal_max_deg"_L1, &MeshMetrics::normalMaxDeg},
    {"min_angle_mean_deg"_L1, &MeshMetrics::minAngleMeanDeg},
    {"min_angle_worst_deg"_L1, &MeshMetrics::minAngleWorstDeg},
    {"closed"_L1, &MeshMetrics::closed},
    {"manifold"_L1, &MeshMetrics::manifold},
    {"orientable"_L1, &MeshMetrics::orientable},
    {"boundary_edges"_L1, &MeshMetrics::boundaryEdges},
    {"triangle_count"_L1, &MeshMetrics::triangleCount},
    {"vertex_count"_L1, &MeshMetrics::vertexCount},
    {"export_seconds"_L1, &MeshMetrics::exportSeconds},
    {"metrics_seconds"_L1, &MeshMetrics::metricsSeconds},
    {"cell_size"_L1, &MeshMetrics::cellSize},
};
static_assert(std::size(columns) * sizeof(double) == sizeof(MeshMetrics), "a column a metric");

// ------------------------------------------------------------------ statistics

struct Spread
{
    double mean = MeshMetrics::none, p95 = MeshMetrics::none, max = MeshMetrics::none;
};

struct Sample
{
    double value = 0;
    double weight = 1;
};

Spread spreadOf(std::vector<Sample> samples)
{
    if (samples.empty())
        return {};
    std::sort(samples.begin(), samples.end(),
              [](const Sample &a, const Sample &b) { return a.value < b.value; });
    double sum = 0, weight = 0;
    for (const Sample &sample : samples) {
        sum += sample.value * sample.weight;
        weight += sample.weight;
    }
    double passed = 0;
    const auto isPast = [&](const Sample &sample) {
        passed += sample.weight;
        return passed >= 0.95 * weight;
    };
    const auto p95 = std::find_if(samples.begin(), samples.end(), isPast);
    const double largest = samples.back().value;
    return {sum / weight, p95 == samples.end() ? largest : p95->value, largest};
}

// ------------------------------------------------------------------ one measure each

class Measurement
{
public:
    Measurement(const SurfaceMesh &mesh, eval::IFieldEvaluator &field,
                const std::atomic_bool &cancelFlag)
        : m_mesh(mesh)
        , m_field(field)
        , m_cancelFlag(cancelFlag)
        , m_features(::mesh::process::analyzeFeatures(mesh, featureAngleDegrees,
                                                      [this](qint64, qint64) { return goesOn(); }))
    {}

    MeshMetrics run();

private:
    bool goesOn() const { return !m_cancelFlag.load(std::memory_order_relaxed); }
    double distanceAt(const Point &p);
    void measureSurface(MeshMetrics &metrics);
    void measureFeatures(MeshMetrics &metrics);
    void measureNormals(MeshMetrics &metrics);
    void measureAngles(MeshMetrics &metrics) const;
    void measureTopology(MeshMetrics &metrics) const;
    double featureError(int edge);
    Point probeInto(int face, int edge, const Point &middle) const;
    std::array<Point, 3> corners(qsizetype face) const;

    const SurfaceMesh &m_mesh;
    eval::IFieldEvaluator &m_field;
    const std::atomic_bool &m_cancelFlag;
    const Features m_features;
};

MeshMetrics Measurement::run()
{
    MeshMetrics metrics;
    measureTopology(metrics);
    measureAngles(metrics);
    measureSurface(metrics);
    measureFeatures(metrics);
    measureNormals(metrics);
    return metrics;
}

double Measurement::distanceAt(const Point &p)
{
    const double distance = std::abs(double(m_field.evaluate(p.x, p.y, p.z)));
    return std::isfinite(distance) ? distance : double(eval::farDistance);
}

void Measurement::measureSurface(MeshMetrics &metrics)
{
    std::vector<Sample> samples;
    samples.reserve(std::size_t(m_mesh.vertices.size()));
    for (const Point &vertex : m_mesh.vertices) {
        if (!goesOn())
            return;
        samples.push_back({distanceAt(vertex)});
    }
    const Spread spread = spreadOf(std::move(samples));
    metrics.surfaceMean = spread.mean;
    metrics.surfaceP95 = spread.p95;
    metrics.surfaceMax = spread.max;
}

void Measurement::measureFeatures(MeshMetrics &metrics)
{
    std::vector<Sample> samples;
    for (int edge = 0; edge < m_features.edges.size() && goesOn(); ++edge)
        if (m_features.featureEdges.at(edge) && m_features.edges.faces(edge).size() == 2)
            samples.push_back({featureError(edge)});
    metrics.featureSamples = double(samples.size());
    const Spread spread = spreadOf(std::move(samples));
    metrics.featureMean = spread.mean;
    metrics.featureP95 = spread.p95;
    metrics.featureMax = spread.max;
}

double Measurement::featureError(int edge)
{
    const Point middle = (m_mesh.vertices.at(m_features.edges.lower(edge)) +
                          m_mesh.vertices.at(m_features.edges.upper(edge))) *
                         0.5f;
    double worst = distanceAt(middle);
    for (const int face : m_features.edges.faces(edge))
        worst = std::max(worst, distanceAt(probeInto(face, edge, middle)));
    return worst;
}

// From the middle of an edge along a face, square to the edge. A point past the face's far side
// would say nothing of the mesh, so that a sliver is probed within itself.
Point Measurement::probeInto(int face, int edge, const Point &middle) const
{
    const int a = m_features.edges.lower(edge), b = m_features.edges.upper(edge);
    const ::mesh::NodeList &nodes = m_mesh.elements.at(face).nodes;
    int opposite = nodes[0];
    for (const int node : nodes)
        if (node != a && node != b)
            opposite = node;
    const Point along = m_mesh.vertices.at(b) - m_mesh.vertices.at(a);
    const float length = along.length();
    const Point unit = along.normalized();
    const Point to = m_mesh.vertices.at(opposite) - m_mesh.vertices.at(a);
    const Point across = to - unit * unit.dot(to);
    return middle + across.normalized() * std::min(probeShare * length, across.length() * 0.5f);
}

std::array<Point, 3> Measurement::corners(qsizetype face) const
{
    const ::mesh::NodeList &nodes = m_mesh.elements.at(face).nodes;
    return {m_mesh.vertices.at(nodes[0]), m_mesh.vertices.at(nodes[1]),
            m_mesh.vertices.at(nodes[2])};
}

double angleBetween(const Point &a, const Point &b)
{
    const float cosine = a.normalized().dot(b.normalized());
    return std::acos(std::clamp(double(cosine), -1.0, 1.0)) * degreesPerRadian;
}

void Measurement::measureNormals(MeshMetrics &metrics)
{
    std::vector<Sample> samples;
    samples.reserve(std::size_t(m_mesh.elements.size()));
    for (qsizetype face = 0; face < m_mesh.elements.size() && goesOn(); ++face) {
        const Point normal = m_features.faceNormals.at(face);
        if (normal == Point{})
            continue;
        const auto [a, b, c] = corners(face);
        const Point gradient = fdGradient(m_field, (a + b + c) / 3.0f);
        if (!gradient.isFinite() || gradient.length() < leastGradient)
            continue;
        const double area = double((b - a).cross(c - a).length());
        samples.push_back({angleBetween(normal, gradient), area});
    }
    const Spread spread = spreadOf(std::move(samples));
    metrics.normalMeanDeg = spread.mean;
    metrics.normalP95Deg = spread.p95;
    metrics.normalMaxDeg = spread.max;
}

double leastAngle(const std::array<Point, 3> &corners)
{
    double least = 180;
    for (std::size_t i = 0; i < 3; ++i) {
        const Point &at = corners[i];
        const Point one = corners[(i + 1) % 3] - at, other = corners[(i + 2) % 3] - at;
        const bool isCorner = one.length() > 0 && other.length() > 0;
        least = std::min(least, isCorner ? angleBetween(one, other) : 0.0);
    }
    return least;
}

void Measurement::measureAngles(MeshMetrics &metrics) const
{
    if (m_mesh.elements.isEmpty())
        return;
    double sum = 0, worst = 180;
    for (qsizetype face = 0; face < m_mesh.elements.size(); ++face) {
        const double angle = leastAngle(corners(face));
        sum += angle;
        worst = std::min(worst, angle);
    }
    metrics.minAngleMeanDeg = sum / double(m_mesh.elements.size());
    metrics.minAngleWorstDeg = worst;
}

void Measurement::measureTopology(MeshMetrics &metrics) const
{
    bool closed = false, manifold = false, orientable = false;
    ::mesh::process::predicates(m_mesh, closed, manifold, orientable,
                                [this](qint64, qint64) { return goesOn(); });
    metrics.closed = closed;
    metrics.manifold = manifold;
    metrics.orientable = orientable;
    int open = 0;
    for (int edge = 0; edge < m_features.edges.size(); ++edge)
        open += m_features.edges.faces(edge).size() == 1 ? 1 : 0;
    metrics.boundaryEdges = open;
    metrics.triangleCount = double(m_mesh.elements.size());
}

// The triangles of a mesh with equal positions joined.
SurfaceMesh joined(const SurfaceMesh &mesh)
{
    SurfaceMesh triangles;
    triangles.vertices = mesh.vertices;
    for (const auto &element : mesh.elements)
        if (element.type == ::mesh::ElementType::Triangle && element.nodes.size() == 3)
            triangles.elements.append(element);
    const auto done = ::mesh::process::VertexMerger<float>().process(
        triangles, {.parameters = {{u"tolerance"_s, 0.0}}});
    Q_UNUSED(done) // a tolerance of 0 is always one
    return triangles;
}

} // namespace

std::span<const MetricColumn> metricColumns()
{
    return columns;
}

QVariant metricValue(double value)
{
    return std::isnan(value) ? QVariant(QMetaType(QMetaType::Double)) : QVariant(value);
}

Point fdGradient(eval::IFieldEvaluator &field, const Point &p, float step)
{
    const auto slope = [&](float before, float after) { return (after - before) / (2.0f * step); };
    return {slope(field.evaluate(p.x - step, p.y, p.z), field.evaluate(p.x + step, p.y, p.z)),
            slope(field.evaluate(p.x, p.y - step, p.z), field.evaluate(p.x, p.y + step, p.z)),
            slope(field.evaluate(p.x, p.y, p.z - step), field.evaluate(p.x, p.y, p.z + step))};
}

MeshMetrics computeMeshMetrics(const SurfaceMesh &mesh, eval::IFieldEvaluator &field,
                               const std::atomic_bool &cancelFlag)
{
    const SurfaceMesh triangles = joined(mesh);
    MeshMetrics metrics = Measurement(triangles, field, cancelFlag).run();
    metrics.vertexCount = double(mesh.vertices.size());
    return metrics;
}

} // namespace corvane::bench
