#include "FeatureAnalysis.h"

#include "ProcessLog.h"
#include "StepProgress.h"

#include <algorithm>
#include <numbers>
#include <vector>

namespace mesh::process {

Q_LOGGING_CATEGORY(lcProcess, "ondrel.mesh.process", QtWarningMsg)

namespace {

using Wide = Vector3<double>;

template<typename T>
Wide wide(const Vector3<T> &v)
{
    return {double(v.x), double(v.y), double(v.z)};
}

template<typename T>
Vector3<T> narrow(const Wide &v)
{
    return {T(v.x), T(v.y), T(v.z)};
}

double cosineOf(double degrees)
{
    return std::cos(degrees * std::numbers::pi / 180);
}

template<typename T>
Wide crossOf(const Mesh<T> &mesh, const NodeList &nodes)
{
    const Wide a = wide(mesh.vertices.at(nodes[0]));
    return (wide(mesh.vertices.at(nodes[1])) - a).cross(wide(mesh.vertices.at(nodes[2])) - a);
}

template<typename T>
bool isTriangle(const ElementData<T> &element)
{
    return element.type == ElementType::Triangle && element.nodes.size() == 3;
}

template<typename T>
void computeNormals(const Mesh<T> &mesh, FeatureAnalysis<T> &features)
{
    QList<Wide> sums(mesh.vertices.size());
    features.faceNormals.reserve(mesh.elements.size());
    for (const ElementData<T> &element : mesh.elements) {
        const Wide cross = isTriangle(element) ? crossOf(mesh, element.nodes) : Wide{};
        const double area = cross.length();
        const bool isFace = area > FeatureAnalysis<T>::degenerateDoubledArea && std::isfinite(area);
        features.faceNormals.append(isFace ? narrow<T>(cross / area) : Vector3<T>{});
        if (std::isfinite(area) && isTriangle(element))
            for (const int node : element.nodes)
                sums[node] += cross;
    }
    features.vertexNormals.reserve(sums.size());
    for (const Wide &sum : std::as_const(sums))
        features.vertexNormals.append(narrow<T>(sum.normalized()));
}

AdjacencyList facesOfVertices(const QList<int> &triangles, qsizetype vertexCount)
{
    QList<int> counts(vertexCount, 0);
    for (const int node : triangles)
        if (node >= 0)
            ++counts[node];
    AdjacencyList faces(counts);
    for (qsizetype i = 0; i < triangles.size(); ++i)
        if (triangles.at(i) >= 0)
            faces.append(triangles.at(i), int(i / 3));
    return faces;
}

AdjacencyList neighboursOfVertices(const EdgeTable &edges, qsizetype vertexCount)
{
    QList<int> counts(vertexCount, 0);
    for (int e = 0; e < edges.size(); ++e) {
        ++counts[edges.lower(e)];
        ++counts[edges.upper(e)];
    }
    AdjacencyList neighbours(counts);
    // In the order of edges each list comes out ascending: smaller neighbours have edges before.
    for (int e = 0; e < edges.size(); ++e) {
        neighbours.append(edges.lower(e), edges.upper(e));
        neighbours.append(edges.upper(e), edges.lower(e));
    }
    return neighbours;
}

} // namespace

template<typename T>
void FeatureAnalysis<T>::classifyVertices()
{
    vertexClass.fill(VertexClass::Smooth, vertexNormals.size());
    creaseNeighbours.fill({-1, -1}, vertexNormals.size());
    QList<int> counts(vertexNormals.size(), 0);
    const auto enter = [&](int vertex, int other) {
        const int count = counts[vertex]++;
        if (count < 2)
            creaseNeighbours[vertex][size_t(count)] = other;
        vertexClass[vertex] = count == 1 ? VertexClass::Crease : VertexClass::Corner;
    };
    for (int e = 0; e < edges.size(); ++e)
        if (featureEdges.at(e)) {
            enter(edges.lower(e), edges.upper(e));
            enter(edges.upper(e), edges.lower(e));
        }
    for (qsizetype v = 0; v < counts.size(); ++v)
        if (vertexClass.at(v) == VertexClass::Corner)
            creaseNeighbours[v] = {-1, -1};
}

template<typename T>
bool isTriangleMesh(const Mesh<T> &mesh)
{
    return std::all_of(mesh.elements.cbegin(), mesh.elements.cend(), isTriangle<T>);
}

template<typename T>
QList<int> triangleNodes(const Mesh<T> &mesh)
{
    QList<int> nodes;
    nodes.reserve(mesh.elements.size() * 3);
    for (const ElementData<T> &element : mesh.elements)
        for (int i = 0; i < 3; ++i)
            nodes.append(isTriangle(element) ? element.nodes[i] : -1);
    return nodes;
}

template<typename T>
FeatureAnalysis<T> analyzeFeatures(const Mesh<T> &mesh, double angleDegrees,
                                   const io::Progress &progress)
{
    FeatureAnalysis<T> features;
    const auto goesOn = [&] { return !progress || progress(0, 0); };
    computeNormals(mesh, features);
    if (!goesOn())
        return features;
    const QList<int> triangles = triangleNodes(mesh);
    features.edges = EdgeTable(triangles, mesh.vertices.size());
    if (!goesOn())
        return features;
    features.vertexFaces = facesOfVertices(triangles, mesh.vertices.size());
    features.neighbours = neighboursOfVertices(features.edges, mesh.vertices.size());
    const double cosine = cosineOf(angleDegrees);
    features.featureEdges.reserve(features.edges.size());
    for (int e = 0; e < features.edges.size(); ++e) {
        const auto faces = features.edges.faces(e);
        features.featureEdges.append(
            faces.size() != 2 ||
            features.faceNormals.at(faces[0]).dot(features.faceNormals.at(faces[1])) < T(cosine));
    }
    features.classifyVertices();
    return features;
}

// ------------------------------------------------------------------ what the field says

namespace {

// The direction that leads from an edge into a face around it, along the face and across the edge.
template<typename T>
Vector3<T> directionInto(const Mesh<T> &mesh, int face, int a, int b)
{
    const NodeList &nodes = mesh.elements.at(face).nodes;
    int opposite = nodes[0];
    for (const int node : nodes)
        if (node != a && node != b)
            opposite = node;
    const Vector3<T> along = (mesh.vertices.at(b) - mesh.vertices.at(a)).normalized();
    const Vector3<T> to = mesh.vertices.at(opposite) - mesh.vertices.at(a);
    return (to - along * along.dot(to)).normalized();
}

template<typename T>
std::vector<SdfSample<T>> samplesAt(const BlockSampler<T> &sampler,
                                    const std::vector<Vector3<T>> &points)
{
    std::vector<SdfSample<T>> samples(points.size());
    if (!points.empty())
        sampler(points, samples);
    return samples;
}

// The unit gradients on the surface nearest to some points; zero where the field does not say.
template<typename T>
std::vector<Vector3<T>> gradientsNear(const BlockSampler<T> &sampler,
                                      const std::vector<Vector3<T>> &points)
{
    constexpr T least = T(1e-12);
    const auto hasDirection = [](const SdfSample<T> &sample) {
        return isUsable(sample) && !(sample.gradient.length() < least);
    };
    const std::vector<SdfSample<T>> off = samplesAt(sampler, points);
    std::vector<Vector3<T>> feet;
    std::vector<size_t> origins;
    for (size_t i = 0; i < points.size(); ++i)
        if (hasDirection(off[i])) {
            feet.push_back(points[i] -
                           off[i].gradient * (off[i].distance / off[i].gradient.lengthSquared()));
            origins.push_back(i);
        }
    const std::vector<SdfSample<T>> on = samplesAt(sampler, feet);
    std::vector<Vector3<T>> gradients(points.size());
    for (size_t i = 0; i < on.size(); ++i)
        if (hasDirection(on[i]))
            gradients[origins[i]] = on[i].gradient.normalized();
    return gradients;
}

// One point beside the middle of an edge on each of its two faces.
template<typename T>
void appendProbes(const Mesh<T> &mesh, const FeatureAnalysis<T> &features, int edge, T distance,
                  std::vector<Vector3<T>> &points)
{
    const int a = features.edges.lower(edge), b = features.edges.upper(edge);
    const Vector3<T> middle = (mesh.vertices.at(a) + mesh.vertices.at(b)) * T(0.5);
    for (const int face : features.edges.faces(edge))
        points.push_back(middle + directionInto(mesh, face, a, b) * distance);
}

} // namespace

template<typename T>
BlockSampler<T> pointByPoint(FieldSampler<T> sampler)
{
    if (!sampler)
        return {};
    return [sampler = std::move(sampler)](std::span<const Vector3<T>> points,
                                          std::span<SdfSample<T>> samples) {
        std::ranges::transform(points, samples.begin(), sampler);
    };
}

template<typename T>
bool confirmFeaturesAgainstField(const Mesh<T> &mesh, FeatureAnalysis<T> &features,
                                 const FieldSampler<T> &sampler, T probeDistance,
                                 double angleDegrees, const io::Progress &progress)
{
    return confirmFeaturesAgainstField(mesh, features, pointByPoint(sampler), probeDistance,
                                       angleDegrees, progress);
}

template<typename T>
bool confirmFeaturesAgainstField(const Mesh<T> &mesh, FeatureAnalysis<T> &features,
                                 const BlockSampler<T> &sampler, T probeDistance,
                                 double angleDegrees, const io::Progress &progress)
{
    constexpr double slack = 0.9;
    constexpr size_t blockSize = 256;
    const T cosine = T(cosineOf(slack * angleDegrees));
    QList<bool> confirmed = features.featureEdges;
    std::vector<int> edges;
    std::vector<Vector3<T>> points;
    const auto decide = [&] {
        const std::vector<Vector3<T>> gradients = gradientsNear(sampler, points);
        for (size_t i = 0; i < edges.size(); ++i) {
            const Vector3<T> &one = gradients[2 * i], &other = gradients[2 * i + 1];
            confirmed[edges[i]] =
                one == Vector3<T>{} || other == Vector3<T>{} || one.dot(other) < cosine;
        }
        edges.clear();
        points.clear();
    };
    StepProgress watch(progress, features.edges.size(), blockSize);
    for (int e = 0; e < features.edges.size(); ++e) {
        if (!features.featureEdges.at(e) || features.edges.faces(e).size() != 2)
            continue;
        edges.push_back(e);
        appendProbes(mesh, features, e, probeDistance, points);
        if (edges.size() == blockSize)
            decide();
        if (!watch.advance())
            return false;
    }
    decide();
    features.featureEdges = confirmed;
    features.classifyVertices();
    return true;
}

template<typename T>
void addMaterialBorders(const Mesh<T> &mesh, FeatureAnalysis<T> &features)
{
    bool changed = false;
    for (int e = 0; e < features.edges.size(); ++e) {
        const auto faces = features.edges.faces(e);
        if (faces.size() == 2 && !features.featureEdges.at(e) &&
            mesh.elements.at(faces[0]).materialId != mesh.elements.at(faces[1]).materialId)
            changed = features.featureEdges[e] = true;
    }
    if (changed)
        features.classifyVertices();
}

template<typename T>
T meanEdgeLength(const Mesh<T> &mesh, const EdgeTable &edges)
{
    double sum = 0;
    for (int e = 0; e < edges.size(); ++e)
        sum += wide(mesh.vertices.at(edges.upper(e)) - mesh.vertices.at(edges.lower(e))).length();
    return edges.size() > 0 ? T(sum / edges.size()) : T(0);
}

template<typename T>
bool moveFlipsFace(const Mesh<T> &mesh, const FeatureAnalysis<T> &features, int vertex,
                   const Vector3<T> &newPosition)
{
    for (const int face : features.vertexFaces[vertex]) {
        const NodeList &nodes = mesh.elements.at(face).nodes;
        Wide corners[3];
        for (int i = 0; i < 3; ++i)
            corners[i] = wide(nodes[i] == vertex ? newPosition : mesh.vertices.at(nodes[i]));
        const Wide before = crossOf(mesh, nodes);
        const Wide after = (corners[1] - corners[0]).cross(corners[2] - corners[0]);
        // A face without area has no side to turn.
        if (before.lengthSquared() > 0 && !(before.dot(after) > 0))
            return true;
    }
    return false;
}

template struct FeatureAnalysis<float>;
template bool isTriangleMesh(const Mesh<float> &);
template QList<int> triangleNodes(const Mesh<float> &);
template FeatureAnalysis<float> analyzeFeatures(const Mesh<float> &, double, const io::Progress &);
template bool confirmFeaturesAgainstField(const Mesh<float> &, FeatureAnalysis<float> &,
                                          const FieldSampler<float> &, float, double,
                                          const io::Progress &);
template bool confirmFeaturesAgainstField(const Mesh<float> &, FeatureAnalysis<float> &,
                                          const BlockSampler<float> &, float, double,
                                          const io::Progress &);
template BlockSampler<float> pointByPoint(FieldSampler<float>);
template void addMaterialBorders(const Mesh<float> &, FeatureAnalysis<float> &);
template float meanEdgeLength(const Mesh<float> &, const EdgeTable &);
template bool moveFlipsFace(const Mesh<float> &, const FeatureAnalysis<float> &, int,
                            const Vector3<float> &);

} // namespace mesh::process
