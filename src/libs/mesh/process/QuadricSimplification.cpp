#include "QuadricSimplification.h"

#include "EditableSurface.h"
#include "ProcessLog.h"
#include "Quadric.h"
#include "StepProgress.h"

#include <queue>

using namespace Qt::StringLiterals;

namespace mesh::process {

namespace {

// An edge to collapse. It is stale when one of its ends has changed since: then the sum of their
// versions, which only grow, is another.
struct Candidate
{
    double cost = 0;
    float length = 0; // squared
    int a = -1, b = -1;
    quint32 versions = 0;

    // Turned round, since the queue gives the largest first. In a plane all costs are nothing:
    // there short edges go first, or one vertex would eat up all others and be slow with so many
    // neighbours. By number in the end, so that every run takes the same.
    bool operator<(const Candidate &o) const
    {
        if (cost != o.cost)
            return cost > o.cost;
        if (length != o.length)
            return length > o.length;
        return a != o.a ? a > o.a : b > o.b;
    }
};

template<typename T>
class Simplifier
{
public:
    using Position = typename EditableSurface<T>::Position;

    Simplifier(const Mesh<T> &mesh, const FeatureAnalysis<T> &features,
               const QuadricSimplificationSettings &settings)
        : m_surface(mesh, features)
        , m_features(features)
        , m_settings(settings)
        , m_quadrics(size_t(mesh.vertices.size()))
        , m_versions(size_t(mesh.vertices.size()), 0)
    {}

    /// False when cancelled.
    bool run(qsizetype targetFaceCount, StepProgress &watch);
    const EditableSurface<T> &surface() const { return m_surface; }

private:
    void addFaceQuadrics(int face);
    void addPenalty(int corner, const Position &faceNormal);
    quint32 versions(int a, int b) const { return m_versions[size_t(a)] + m_versions[size_t(b)]; }
    Position target(const typename EditableSurface<T>::Collapse &plan) const;
    void push(int a, int b);
    void pushRing(int v);
    bool apply(const Candidate &candidate);

    EditableSurface<T> m_surface;
    const FeatureAnalysis<T> &m_features;
    const QuadricSimplificationSettings &m_settings;
    std::vector<Quadric<double>> m_quadrics; // by vertex
    std::vector<quint32> m_versions;         // by vertex
    std::priority_queue<Candidate> m_queue;
};

template<typename T>
void Simplifier<T>::addFaceQuadrics(int face)
{
    const int first = face * 3;
    const Position a = m_surface.position(m_surface.vertex(first));
    const Position cross = (m_surface.position(m_surface.vertex(first + 1)) - a)
                               .cross(m_surface.position(m_surface.vertex(first + 2)) - a);
    const double doubledArea = cross.length();
    if (!(doubledArea > 0) || !std::isfinite(doubledArea))
        return;
    const Position normal = cross / doubledArea;
    const auto plane = Quadric<double>::ofPlane(normal, a, doubledArea / 2);
    for (int corner = first; corner < first + 3; ++corner) {
        m_quadrics[size_t(m_surface.vertex(corner))] += plane;
        if (m_surface.isFeature(corner))
            addPenalty(corner, normal);
    }
}

// The plane through the edge of a corner that stands upright on the face.
template<typename T>
void Simplifier<T>::addPenalty(int corner, const Position &faceNormal)
{
    const int a = m_surface.vertex(corner), b = m_surface.vertex(m_surface.next(corner));
    const Position along = m_surface.position(b) - m_surface.position(a);
    const double squared = along.lengthSquared();
    const Position normal = along.cross(faceNormal).normalized();
    const auto plane =
        Quadric<double>::ofPlane(normal, m_surface.position(a), m_settings.featureWeight * squared);
    m_quadrics[size_t(a)] += plane;
    m_quadrics[size_t(b)] += plane;
}

template<typename T>
auto Simplifier<T>::target(const typename EditableSurface<T>::Collapse &plan) const -> Position
{
    // Of a matrix divided by its weights, so that it means the same for parts of all sizes.
    constexpr double minDeterminant = 0.00011920929;
    const Position a = m_surface.position(plan.keep), b = m_surface.position(plan.gone);
    if (plan.isPinned)
        return a;
    Quadric<double> sum = m_quadrics[size_t(plan.keep)];
    sum += m_quadrics[size_t(plan.gone)];
    const Position middle = (a + b) * 0.5;
    const double weight = sum.area;
    const auto least = sum.minimum(minDeterminant * weight * weight * weight);
    // Nearly parallel planes meet far away, where no face around would reach without turning over.
    if (weight > 0 && least && (*least - middle).lengthSquared() <= 4 * (b - a).lengthSquared())
        return m_surface.rounded(*least);
    Position best = a;
    for (const Position &other : {b, m_surface.rounded(middle)})
        if (sum.evaluate(other) < sum.evaluate(best))
            best = other;
    return best;
}

template<typename T>
void Simplifier<T>::push(int a, int b)
{
    if (a > b)
        std::swap(a, b); // the same target whichever end asks
    if (m_surface.degree(a) + m_surface.degree(b) > EditableSurface<T>::maxDegree)
        return;
    const auto plan = m_surface.planCollapse(a, b);
    if (!plan.isAllowed)
        return;
    Quadric<double> sum = m_quadrics[size_t(a)];
    sum += m_quadrics[size_t(b)];
    const double cost = sum.evaluate(target(plan));
    const double squared = (m_surface.position(a) - m_surface.position(b)).lengthSquared();
    // What is less is rounding, and would make an order of its own.
    const double noise = 1e-10 * sum.area * squared;
    if (std::isfinite(cost))
        m_queue.push({cost > noise ? cost : 0, float(squared), a, b, versions(a, b)});
}

template<typename T>
void Simplifier<T>::pushRing(int v)
{
    m_surface.forEachCorner(v, [&](int c) {
        push(v, m_surface.vertex(m_surface.next(c)));
        // On a border the last edge of the fan has only this side.
        const int before = m_surface.vertex(m_surface.prev(c));
        if (m_surface.isBorder(v) && m_surface.isBorder(before))
            push(v, before);
    });
}

template<typename T>
bool Simplifier<T>::apply(const Candidate &candidate)
{
    if (versions(candidate.a, candidate.b) != candidate.versions)
        return false;
    const auto plan = m_surface.planCollapse(candidate.a, candidate.b);
    if (!plan.isAllowed || !m_surface.keepsTopology(candidate.a, candidate.b))
        return false;
    const Position to = target(plan);
    if (!m_surface.keepsShape(plan.keep, plan.gone, to))
        return false;
    m_surface.collapse(plan.keep, plan.gone, to);
    m_quadrics[size_t(plan.keep)] += m_quadrics[size_t(plan.gone)];
    ++m_versions[size_t(plan.keep)];
    ++m_versions[size_t(plan.gone)];
    pushRing(plan.keep);
    return true;
}

template<typename T>
bool Simplifier<T>::run(qsizetype targetFaceCount, StepProgress &watch)
{
    for (int face = 0; face < m_surface.faceSlots(); ++face) {
        addFaceQuadrics(face);
        if (!watch.advance())
            return false;
    }
    for (int e = 0; e < m_features.edges.size(); ++e) {
        push(m_features.edges.lower(e), m_features.edges.upper(e));
        if (!watch.advance())
            return false;
    }
    while (m_surface.faceCount() > targetFaceCount && !m_queue.empty()) {
        const Candidate candidate = m_queue.top();
        m_queue.pop();
        apply(candidate);
        if (!watch.advance())
            return false;
    }
    return true;
}

// What the parameters ask for; nothing when they make no sense.
std::optional<qsizetype> targetOf(const QVariantMap &parameters, qsizetype faceCount)
{
    bool isNumber = true;
    const qlonglong count = parameters.value(u"targetFaceCount"_s, 0).toLongLong(&isNumber);
    if (!isNumber)
        return {};
    if (count > 0)
        return count;
    const double ratio =
        parameters.value(u"targetRatio"_s, QuadricSimplification<float>::defaultTargetRatio)
            .toDouble(&isNumber);
    if (!isNumber || !(ratio > 0))
        return {};
    return ratio >= 1 ? faceCount : qsizetype(double(faceCount) * ratio);
}

// An open edge is a feature by definition; whoever does not care for the outline takes it back.
template<typename T>
void releaseBorders(FeatureAnalysis<T> &features)
{
    for (int e = 0; e < features.edges.size(); ++e)
        if (features.edges.faces(e).size() == 1)
            features.featureEdges[e] = false;
    features.classifyVertices();
}

} // namespace

template<typename T>
QString QuadricSimplification<T>::name() const
{
    return u"Quadric Simplification"_s;
}

template<typename T>
QString QuadricSimplification<T>::flag() const
{
    return u"qemDecimate"_s;
}

template<typename T>
io::Result<void> QuadricSimplification<T>::process(Mesh<T> &mesh,
                                                   const ProcessOptions &options) const
{
    const auto target = targetOf(options.parameters, mesh.elements.size());
    if (!target)
        return io::Error{u"qemDecimate target must be a number above 0"_s, io::MalformedData};
    if (!acceptsTriangles(mesh, "QuadricSimplification") || *target >= mesh.elements.size())
        return {};
    StepProgress watch(options.progress, mesh.elements.size() * 8);
    const auto before = TopologySnapshot::of(mesh, options.progress);
    if (!goesOn(options.progress))
        return {};
    auto features = analyzeFeatures(mesh, m_settings.featureAngle, options.progress);
    if (!goesOn(options.progress))
        return {};
    addMaterialBorders(mesh, features);
    if (!m_settings.preserveBoundary)
        releaseBorders(features);
    Simplifier<T> simplifier(mesh, features, m_settings);
    if (!simplifier.run(*target, watch))
        return {};
    Mesh<T> result = simplifier.surface().toMesh(mesh);
    const auto after = TopologySnapshot::of(result, options.progress);
    if (!goesOn(options.progress))
        return {};
    if (after.isWorseThan(before)) {
        qCWarning(lcProcess) << "QuadricSimplification: topology predicate regressed"
                             << "(closed" << after.closed << ", manifold" << after.manifold
                             << ", orientable" << after.orientable << ") — restoring input mesh";
        return {};
    }
    mesh = std::move(result);
    return {};
}

template class QuadricSimplification<float>;

} // namespace mesh::process
