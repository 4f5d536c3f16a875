#include "FeatureAnalysis.h"

#include "ProcessLog.h"
#include "StepProgress.h"

#include <numbers>

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
bool FeatureAnalysis<T>::isFeatureEdge(int a, int b) const
{
    const int edge = edges.find(a, b);
    return edge >= 0 && featureEdges.at(edge);
}

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

// The unit gradient on the surface nearest to a point; zero where the field does not say.
template<typename T>
Vector3<T> gradientNear(const FieldSampler<T> &sampler, Vector3<T> point)
{
    constexpr T least = T(1e-12);
    const SdfSample<T> off = sampler(point);
    if (!isUsable(off) || off.gradient.length() < least)
        return {};
    const SdfSample<T> on =
        sampler(point - off.gradient * (off.distance / off.gradient.lengthSquared()));
    return isUsable(on) && on.gradient.length() >= least ? on.gradient.normalized() : Vector3<T>{};
}

template<typename T>
bool isSharpInField(const Mesh<T> &mesh, const FeatureAnalysis<T> &features, int edge,
                    const FieldSampler<T> &sampler, T probeDistance, T cosine)
{
    const auto faces = features.edges.faces(edge);
    const int a = features.edges.lower(edge), b = features.edges.upper(edge);
    const Vector3<T> middle = (mesh.vertices.at(a) + mesh.vertices.at(b)) * T(0.5);
    Vector3<T> gradients[2];
    for (size_t side = 0; side < 2; ++side) {
        const Vector3<T> step = directionInto(mesh, faces[side], a, b) * probeDistance;
        gradients[side] = gradientNear(sampler, middle + step);
        if (gradients[side] == Vector3<T>{})
            return true;
    }
    return gradients[0].dot(gradients[1]) < cosine;
}

} // namespace

template<typename T>
bool confirmFeaturesAgainstField(const Mesh<T> &mesh, FeatureAnalysis<T> &features,
                                 const FieldSampler<T> &sampler, T probeDistance,
                                 double angleDegrees, const io::Progress &progress)
{
    constexpr double slack = 0.9;
    const T cosine = T(cosineOf(slack * angleDegrees));
    QList<bool> confirmed = features.featureEdges;
    StepProgress watch(progress, features.edges.size(), 256);
    for (int e = 0; e < features.edges.size(); ++e) {
        if (!features.featureEdges.at(e) || features.edges.faces(e).size() != 2)
            continue;
        confirmed[e] = isSharpInField(mesh, features, e, sampler, probeDistance, cosine);
        if (!watch.advance())
            return false;
    }
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
template void addMaterialBorders(const Mesh<float> &, FeatureAnalysis<float> &);
template float meanEdgeLength(const Mesh<float> &, const EdgeTable &);
template bool moveFlipsFace(const Mesh<float> &, const FeatureAnalysis<float> &, int,
                            const Vector3<float> &);

} // namespace mesh::process
