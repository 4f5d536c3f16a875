#include "IsotropicRemesh.h"

#include "EditableSurface.h"
#include "ProcessLog.h"
#include "StepProgress.h"
#include "SurfaceMover.h"

#include <numbers>
#include <queue>
#include <tuple>

using namespace Qt::StringLiterals;

namespace mesh::process {

namespace {

// The queue gives the longest first; the numbers make it the same one on every run.
struct LongEdge
{
    double squaredLength = 0;
    int a = -1, b = -1;

    bool operator<(const LongEdge &o) const
    {
        return std::tie(squaredLength, a, b) < std::tie(o.squaredLength, o.a, o.b);
    }
};

// The rounds of one mesh. Lengths are compared squared.
template<typename T>
class Remesher
{
public:
    using Position = typename EditableSurface<T>::Position;

    Remesher(const IsotropicRemeshSettings<T> &settings, double targetLength, qsizetype maxFaces,
             const io::Progress &progress)
        : m_settings(settings)
        , m_field(settings.blocks ? settings.blocks : pointByPoint(settings.sampler))
        , m_target(targetLength)
        , m_longest(square(4.0 / 3.0 * targetLength))
        , m_shortest(square(4.0 / 5.0 * targetLength))
        , m_maxFaces(maxFaces)
        , m_progress(progress)
    {}

    /// The features of a mesh, as far as the field knows of them; false when cancelled.
    bool analyze(const Mesh<T> &mesh);
    /// One round, from the mesh that was analysed last; false when cancelled half way.
    bool runRound(Mesh<T> &mesh);

private:
    static constexpr double square(double x) { return x * x; }
    static double squaredLength(const EditableSurface<T> &surface, int corner);
    bool splitLong(EditableSurface<T> &surface, StepProgress &watch) const;
    bool collapseShort(EditableSurface<T> &surface, StepProgress &watch) const;
    bool tryCollapse(EditableSurface<T> &surface, int corner) const;
    bool flipToSix(EditableSurface<T> &surface, StepProgress &watch) const;
    bool mayFlip(const EditableSurface<T> &surface, int corner) const;
    bool keepsFlat(const EditableSurface<T> &surface, int a, int b, int o, int p) const;
    void carryFeatures(const EditableSurface<T> &surface);
    bool smooth(Mesh<T> &mesh, StepProgress &watch) const;

    const IsotropicRemeshSettings<T> &m_settings;
    BlockSampler<T> m_field;
    double m_target, m_longest, m_shortest;
    qsizetype m_maxFaces; // past these no edge is split
    const io::Progress &m_progress;
    FeatureAnalysis<T> m_features;
};

template<typename T>
bool Remesher<T>::analyze(const Mesh<T> &mesh)
{
    m_features = analyzeFeatures(mesh, m_settings.featureAngle, m_progress);
    if (!goesOn(m_progress))
        return false;
    const T mean = meanEdgeLength(mesh, m_features.edges);
    if (m_field && !confirmFeaturesAgainstField(mesh, m_features, m_field, T(0.3) * mean,
                                                m_settings.featureAngle, m_progress))
        return false;
    addMaterialBorders(mesh, m_features);
    return true;
}

template<typename T>
double Remesher<T>::squaredLength(const EditableSurface<T> &surface, int corner)
{
    return (surface.position(surface.vertex(corner)) -
            surface.position(surface.vertex(surface.next(corner))))
        .lengthSquared();
}

// The longest first: face by face, a long edge of one face not yet looked at could go on and on
// making its neighbours thinner.
template<typename T>
bool Remesher<T>::splitLong(EditableSurface<T> &surface, StepProgress &watch) const
{
    std::priority_queue<LongEdge> queue;
    const auto push = [&](int corner) {
        const int a = surface.vertex(corner), b = surface.vertex(surface.next(corner));
        const double squared = squaredLength(surface, corner);
        if (squared > m_longest)
            queue.push({squared, std::min(a, b), std::max(a, b)});
    };
    for (int corner = 0; corner < surface.faceSlots() * 3; ++corner) {
        push(corner);
        if (!watch.advance())
            return false;
    }
    while (!queue.empty() && surface.faceCount() < m_maxFaces) {
        const LongEdge edge = queue.top();
        queue.pop();
        const auto corners = surface.edgeCorners(edge.a, edge.b);
        const int middle = corners.count > 0 ? surface.split(corners.corner[0]) : -1;
        if (middle >= 0)
            surface.forEachCorner(middle, [&](int c) {
                push(c);
                push(surface.prev(c));
            });
        if (!watch.advance())
            return false;
    }
    return true;
}

template<typename T>
bool Remesher<T>::tryCollapse(EditableSurface<T> &surface, int corner) const
{
    const int a = surface.vertex(corner), b = surface.vertex(surface.next(corner));
    if (!surface.keepsTopology(a, b))
        return false;
    const auto plan = surface.planCollapse(a, b);
    if (!plan.isAllowed)
        return false;
    const Position target =
        plan.isPinned ? surface.position(plan.keep)
                      : surface.rounded((surface.position(a) + surface.position(b)) * 0.5);
    bool staysShort = true;
    for (const int end : {a, b})
        surface.forEachCorner(end, [&](int c) {
            for (const int other :
                 {surface.vertex(surface.next(c)), surface.vertex(surface.prev(c))})
                if (other != a && other != b &&
                    (surface.position(other) - target).lengthSquared() > m_longest)
                    staysShort = false;
        });
    if (!staysShort || !surface.keepsShape(a, b, target))
        return false;
    surface.collapse(plan.keep, plan.gone, target);
    return true;
}

template<typename T>
bool Remesher<T>::collapseShort(EditableSurface<T> &surface, StepProgress &watch) const
{
    constexpr int maxPasses = 10;
    int collapsed = surface.faceCount();
    for (int pass = 0; pass < maxPasses && collapsed > surface.faceCount() / 20; ++pass) {
        collapsed = 0;
        for (int corner = 0; corner < surface.faceSlots() * 3; ++corner) {
            if (surface.isLive(corner / 3) && squaredLength(surface, corner) < m_shortest)
                collapsed += tryCollapse(surface, corner) ? 1 : 0;
            if (!watch.advance())
                return false;
        }
    }
    return true;
}

// Whether the faces on both sides of (a, b), turned to share (o, p), lie as they did.
template<typename T>
bool Remesher<T>::keepsFlat(const EditableSurface<T> &surface, int a, int b, int o, int p) const
{
    constexpr double sliver = 1e-3;
    const auto crossOf = [&](int i, int j, int k) {
        return (surface.position(j) - surface.position(i))
            .cross(surface.position(k) - surface.position(i));
    };
    const Position before[2] = {crossOf(a, b, o), crossOf(b, a, p)};
    const Position after[2] = {crossOf(a, p, o), crossOf(b, o, p)};
    const double cosine = std::cos(m_settings.featureAngle * std::numbers::pi / 180);
    const double across = (surface.position(o) - surface.position(p)).lengthSquared();
    for (const Position &is : after) {
        if (!(is.length() > sliver * across))
            return false;
        for (const Position &was : before)
            if (!(is.dot(was) >= cosine * is.length() * was.length()))
                return false;
    }
    return true;
}

template<typename T>
bool Remesher<T>::mayFlip(const EditableSurface<T> &surface, int corner) const
{
    const int a = surface.vertex(corner), b = surface.vertex(surface.next(corner));
    const auto edge = surface.edgeCorners(a, b);
    if (edge.count != 2 || std::min(edge.corner[0], edge.corner[1]) != corner ||
        surface.vertex(edge.corner[0]) == surface.vertex(edge.corner[1]))
        return false;
    const int twin = std::max(edge.corner[0], edge.corner[1]);
    const int o = surface.vertex(surface.prev(corner)), p = surface.vertex(surface.prev(twin));
    const auto deviation = [&](int v, int change) {
        const bool isBorder = surface.isBorder(v);
        return std::abs(surface.degree(v) + (isBorder ? 1 : 0) + change - (isBorder ? 4 : 6));
    };
    const int before = deviation(a, 0) + deviation(b, 0) + deviation(o, 0) + deviation(p, 0);
    const int after = deviation(a, -1) + deviation(b, -1) + deviation(o, 1) + deviation(p, 1);
    return after < before && o != p && surface.degree(a) > 3 && surface.degree(b) > 3 &&
           keepsFlat(surface, a, b, o, p) && !surface.hasEdge(o, p);
}

template<typename T>
bool Remesher<T>::flipToSix(EditableSurface<T> &surface, StepProgress &watch) const
{
    for (int corner = 0; corner < surface.faceSlots() * 3; ++corner) {
        if (surface.isLive(corner / 3) && !surface.isFeature(corner) && mayFlip(surface, corner))
            surface.flip(corner);
        if (!watch.advance())
            return false;
    }
    return true;
}

// What was sharp stays so, even where the new faces hide it: corners are corners by the number of
// their sharp edges.
template<typename T>
void Remesher<T>::carryFeatures(const EditableSurface<T> &surface)
{
    const std::vector<int> used = surface.usedVertices();
    std::vector<int> number(size_t(surface.vertexCount()), -1);
    for (size_t i = 0; i < used.size(); ++i)
        number[size_t(used[i])] = int(i);
    for (int corner = 0; corner < surface.faceSlots() * 3; ++corner) {
        if (!surface.isLive(corner / 3) || !surface.isFeature(corner))
            continue;
        const int edge =
            m_features.edges.find(number[size_t(surface.vertex(corner))],
                                  number[size_t(surface.vertex(surface.next(corner)))]);
        m_features.featureEdges[edge] = true;
    }
    m_features.classifyVertices();
}

template<typename T>
bool Remesher<T>::smooth(Mesh<T> &mesh, StepProgress &watch) const
{
    const SurfaceMoveSettings<T> moves = {.tangentialStep = T(m_settings.projectionStep),
                                          .moveLimit = T(0.75 * m_target),
                                          .probeDistance = T(0.1 * m_target),
                                          .leastGradientSquared = T(1e-12)};
    SurfaceMover<T> mover(mesh, m_features, m_field, moves);
    return mover.moveAll(watch);
}

template<typename T>
bool Remesher<T>::runRound(Mesh<T> &mesh)
{
    StepProgress watch(m_progress, 0, 1024);
    EditableSurface<T> surface(mesh, m_features);
    if (!watch.advance(0) || !splitLong(surface, watch) || !collapseShort(surface, watch) ||
        !flipToSix(surface, watch))
        return false;
    mesh = surface.toMesh(mesh);
    if (!analyze(mesh))
        return false;
    carryFeatures(surface);
    return smooth(mesh, watch);
}

// About how many triangles of a side it takes to cover a mesh: by area, and for needles by length.
template<typename T>
double expectedFaces(const Mesh<T> &mesh, const EdgeTable &edges, double side)
{
    double doubledArea = 0;
    for (const ElementData<T> &element : mesh.elements) {
        const Vector3<T> &a = mesh.vertices.at(element.nodes[0]);
        doubledArea += double((mesh.vertices.at(element.nodes[1]) - a)
                                  .cross(mesh.vertices.at(element.nodes[2]) - a)
                                  .length());
    }
    const double length = double(meanEdgeLength(mesh, edges)) * edges.size();
    return doubledArea / 2 / (std::sqrt(3.0) / 4 * side * side) + length / side;
}

} // namespace

template<typename T>
QString IsotropicRemesh<T>::name() const
{
    return u"Isotropic Remesh"_s;
}

template<typename T>
QString IsotropicRemesh<T>::flag() const
{
    return u"remesh"_s;
}

template<typename T>
io::Result<void> IsotropicRemesh<T>::process(Mesh<T> &mesh, const ProcessOptions &options) const
{
    bool isNumber = true;
    double length = options.parameters.value(u"targetEdgeLength"_s, 0.0).toDouble(&isNumber);
    if (!isNumber || !std::isfinite(length))
        return io::Error{u"remesh edge length must be a number"_s, io::MalformedData};
    if (mesh.elements.isEmpty() || !acceptsTriangles(mesh, "IsotropicRemesh"))
        return {};
    const auto before = TopologySnapshot::of(mesh, options.progress);
    const EdgeTable edges(triangleNodes(mesh), mesh.vertices.size());
    if (length <= 0)
        length = double(meanEdgeLength(mesh, edges));
    if (!(length > 0) || !std::isfinite(length) || !goesOn(options.progress))
        return {};
    const double faces = expectedFaces(mesh, edges, length);
    if (faces > double(maxFaces))
        return io::Error{
            u"remesh to an edge length of %1 needs about %2 triangles, more than %3"_s.arg(length)
                .arg(faces, 0, 'g', 3)
                .arg(maxFaces),
            io::LimitExceeded};
    Mesh<T> remeshed = mesh, finished = mesh;
    // An edge that cannot be split, too short for its numbers, would let its neighbours be split
    // for ever.
    const auto ample = qsizetype(4 * (std::isfinite(faces) ? faces : 0)) + 2 * mesh.elements.size();
    Remesher<T> remesher(m_settings, length, ample, options.progress);
    bool isRunning = remesher.analyze(mesh);
    for (int round = 0; isRunning && round < std::max(m_settings.iterations, 1); ++round) {
        isRunning = remesher.runRound(remeshed);
        if (!isRunning)
            break;
        const auto after = TopologySnapshot::of(remeshed, options.progress);
        if (!goesOn(options.progress))
            break;
        if (after.isWorseThan(before)) {
            qCWarning(lcProcess,
                      "IsotropicRemesh: topology predicate regressed — restoring input mesh");
            return {};
        }
        finished = remeshed;
    }
    if (!finished.normals.isEmpty())
        finished.recalculateNormals();
    mesh = std::move(finished);
    return {};
}

template class IsotropicRemesh<float>;

} // namespace mesh::process
