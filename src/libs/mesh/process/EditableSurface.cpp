#include "EditableSurface.h"

namespace mesh::process {

namespace {

// What a list of one or several values for each of `count` items has for one of them.
template<typename T>
QList<T> valuesOf(const QList<T> &values, qsizetype item, qsizetype count)
{
    const qsizetype perItem = values.size() % count == 0 ? values.size() / count : 0;
    return values.mid(item * perItem, perItem);
}

} // namespace

template<typename T>
EditableSurface<T>::EditableSurface(const Mesh<T> &mesh, const FeatureAnalysis<T> &features)
    : m_class(features.vertexClass.cbegin(), features.vertexClass.cend())
    , m_isBorder(size_t(mesh.vertices.size()), 0)
    , m_corner(size_t(mesh.vertices.size()), -1)
    , m_degree(size_t(mesh.vertices.size()), 0)
    , m_attributes(mesh.vertexAttributes)
    , m_mark(size_t(mesh.vertices.size()), 0)
{
    m_position.reserve(size_t(mesh.vertices.size()));
    for (const Vector3<T> &v : mesh.vertices)
        m_position.push_back({double(v.x), double(v.y), double(v.z)});
    for (std::vector<int> *list : {&m_vertex, &m_nextCorner, &m_prevCorner})
        list->reserve(size_t(mesh.elements.size()) * 3);
    m_isFeature.reserve(size_t(mesh.elements.size()) * 3);
    for (int e = 0; e < int(mesh.elements.size()); ++e) {
        const NodeList &n = mesh.elements.at(e).nodes;
        if (n[0] != n[1] && n[1] != n[2] && n[2] != n[0])
            addFace(n[0], n[1], n[2], e);
    }
    for (int edge = 0; edge < features.edges.size(); ++edge) {
        const int a = features.edges.lower(edge), b = features.edges.upper(edge);
        if (features.edges.faces(edge).size() != 2)
            m_isBorder[size_t(a)] = m_isBorder[size_t(b)] = 1;
        if (features.featureEdges.at(edge))
            markEdge(a, b);
    }
}

template<typename T>
auto EditableSurface<T>::rounded(const Position &p) const -> Position
{
    return {double(T(p.x)), double(T(p.y)), double(T(p.z))};
}

// ------------------------------------------------------------------ rings and faces

template<typename T>
void EditableSurface<T>::link(int corner, int v)
{
    m_vertex[size_t(corner)] = v;
    int &first = m_corner[size_t(v)];
    if (first < 0) {
        first = m_nextCorner[size_t(corner)] = m_prevCorner[size_t(corner)] = corner;
    } else {
        const int last = m_prevCorner[size_t(first)];
        m_nextCorner[size_t(corner)] = first;
        m_prevCorner[size_t(corner)] = last;
        m_nextCorner[size_t(last)] = m_prevCorner[size_t(first)] = corner;
    }
    ++m_degree[size_t(v)];
}

template<typename T>
void EditableSurface<T>::unlink(int corner)
{
    const auto v = size_t(m_vertex[size_t(corner)]);
    const int after = m_nextCorner[size_t(corner)], before = m_prevCorner[size_t(corner)];
    m_nextCorner[size_t(before)] = after;
    m_prevCorner[size_t(after)] = before;
    if (m_corner[v] == corner)
        m_corner[v] = after == corner ? -1 : after;
    --m_degree[v];
}

template<typename T>
int EditableSurface<T>::addFace(int a, int b, int c, int origin)
{
    const int face = faceSlots();
    for (const int v : {a, b, c}) {
        const int corner = int(m_vertex.size());
        m_vertex.push_back(v);
        m_nextCorner.push_back(corner);
        m_prevCorner.push_back(corner);
        m_isFeature.push_back(0);
        link(corner, v);
    }
    m_origin.push_back(origin);
    ++m_liveFaces;
    return face;
}

template<typename T>
void EditableSurface<T>::removeFace(int face)
{
    for (int corner = face * 3; corner < face * 3 + 3; ++corner) {
        unlink(corner);
        m_vertex[size_t(corner)] = -1;
    }
    --m_liveFaces;
}

template<typename T>
auto EditableSurface<T>::edgeCorners(int a, int b) const -> EdgeCorners
{
    if (degree(b) < degree(a))
        std::swap(a, b);
    EdgeCorners found;
    const auto take = [&found](int corner) {
        if (found.count < 2)
            found.corner[found.count] = corner;
        ++found.count;
    };
    forEachCorner(a, [&](int c) {
        if (vertex(next(c)) == b)
            take(c);
        if (vertex(prev(c)) == b)
            take(prev(c));
    });
    return found;
}

template<typename T>
void EditableSurface<T>::markEdge(int a, int b)
{
    if (degree(b) < degree(a))
        std::swap(a, b);
    forEachCorner(a, [&](int c) {
        if (vertex(next(c)) == b)
            m_isFeature[size_t(c)] = 1;
        if (vertex(prev(c)) == b)
            m_isFeature[size_t(prev(c))] = 1;
    });
}

// ------------------------------------------------------------------ collapse

template<typename T>
auto EditableSurface<T>::planCollapse(int a, int b) const -> Collapse
{
    if (vertexClass(a) < vertexClass(b))
        std::swap(a, b);
    const VertexClass kept = vertexClass(a), gone = vertexClass(b);
    Collapse plan{.keep = a, .gone = b};
    if (gone == VertexClass::Corner)
        return plan;
    plan.isPinned = kept != gone;
    plan.isAllowed = true;
    if (gone == VertexClass::Crease) {
        const EdgeCorners edge = edgeCorners(a, b);
        plan.isAllowed = edge.count > 0 && isFeature(edge.corner[0]);
    }
    return plan;
}

template<typename T>
int EditableSurface<T>::commonNeighbours(int a, int b) const
{
    if (m_lastMark > 0xFFFFFFF0u) {
        std::fill(m_mark.begin(), m_mark.end(), 0);
        m_lastMark = 0;
    }
    const quint32 seenAtA = ++m_lastMark, counted = ++m_lastMark;
    forEachCorner(a, [&](int c) {
        m_mark[size_t(vertex(next(c)))] = m_mark[size_t(vertex(prev(c)))] = seenAtA;
    });
    int count = 0;
    forEachCorner(b, [&](int c) {
        for (const int v : {vertex(next(c)), vertex(prev(c))})
            if (m_mark[size_t(v)] == seenAtA) {
                m_mark[size_t(v)] = counted;
                ++count;
            }
    });
    return count;
}

template<typename T>
bool EditableSurface<T>::keepsTopology(int a, int b) const
{
    if (degree(a) + degree(b) > maxDegree)
        return false;
    const EdgeCorners edge = edgeCorners(a, b);
    if (edge.count < 1 || edge.count > 2)
        return false;
    if (edge.count == 2 &&
        ((isBorder(a) && isBorder(b)) || vertex(edge.corner[0]) == vertex(edge.corner[1])))
        return false;
    int opposite[2] = {-1, -1};
    for (int i = 0; i < edge.count; ++i) {
        const int side = prev(edge.corner[i]);
        opposite[i] = vertex(side);
        // Both other edges of the face become one: of two creases it would make one, and of a
        // vertex that has hardly more faces a fold.
        if (degree(opposite[i]) <= (isBorder(opposite[i]) ? 1 : 3) ||
            (isFeature(side) && isFeature(next(edge.corner[i]))))
            return false;
    }
    return opposite[0] != opposite[1] && commonNeighbours(a, b) == edge.count;
}

template<typename T>
bool EditableSurface<T>::keepsShapeAt(int v, int other, const Position &target) const
{
    constexpr double leastCosine = 0.2;
    constexpr double sliver = 1e-4; // height over length
    bool keeps = true;
    forEachCorner(v, [&](int c) {
        const int p = vertex(next(c)), q = vertex(prev(c));
        if (!keeps || p == other || q == other)
            return;
        const Position &from = position(v), side = position(q) - position(p);
        const Position before = side.cross(from - position(p));
        const Position toP = target - position(p);
        const Position after = side.cross(toP);
        const double longest = std::max(
            {side.lengthSquared(), toP.lengthSquared(), (target - position(q)).lengthSquared()});
        const double areaBefore = before.length(), areaAfter = after.length();
        // What is a sliver already may stay one, but must not become a worse one.
        if (!(areaAfter > sliver * longest) && !(areaAfter >= areaBefore && areaAfter > 0))
            keeps = false;
        if (areaBefore > 0 && !(before.dot(after) > leastCosine * areaBefore * areaAfter))
            keeps = false;
    });
    return keeps;
}

template<typename T>
bool EditableSurface<T>::keepsShape(int a, int b, const Position &target) const
{
    return target.isFinite() && keepsShapeAt(a, b, target) && keepsShapeAt(b, a, target);
}

template<typename T>
void EditableSurface<T>::collapse(int keep, int gone, const Position &target)
{
    const EdgeCorners edge = edgeCorners(keep, gone);
    int creaseTo[2] = {-1, -1};
    for (int i = 0; i < std::min(edge.count, 2); ++i) {
        const int side = prev(edge.corner[i]);
        if (isFeature(side) || isFeature(next(edge.corner[i])))
            creaseTo[i] = vertex(side);
        removeFace(side / 3);
    }
    while (m_corner[size_t(gone)] >= 0)
        setVertex(m_corner[size_t(gone)], keep);
    for (const int other : creaseTo)
        if (other >= 0)
            markEdge(keep, other);
    m_position[size_t(keep)] = target;
    m_isBorder[size_t(keep)] |= m_isBorder[size_t(gone)];
}

// ------------------------------------------------------------------ split and flip

template<typename T>
int EditableSurface<T>::addVertexBetween(int a, int b)
{
    const Position middle = rounded((position(a) + position(b)) * 0.5);
    if (!middle.isFinite() || middle == position(a) || middle == position(b))
        return -1;
    const int v = vertexCount();
    for (QList<T> &values : m_attributes) {
        const qsizetype perVertex = values.size() % v == 0 ? values.size() / v : 0;
        for (qsizetype i = 0; i < perVertex; ++i)
            values.append((values.at(a * perVertex + i) + values.at(b * perVertex + i)) / 2);
    }
    m_position.push_back(middle);
    m_class.push_back(VertexClass::Smooth);
    m_isBorder.push_back(0);
    m_corner.push_back(-1);
    m_degree.push_back(0);
    m_mark.push_back(0);
    return v;
}

template<typename T>
std::vector<int> EditableSurface<T>::allEdgeCorners(int a, int b) const
{
    std::vector<int> corners;
    forEachCorner(degree(a) < degree(b) ? a : b, [&](int c) {
        for (const int start : {c, prev(c)}) {
            const int from = vertex(start), to = vertex(next(start));
            if ((from == a && to == b) || (from == b && to == a))
                corners.push_back(start);
        }
    });
    return corners;
}

template<typename T>
int EditableSurface<T>::split(int corner)
{
    const int a = vertex(corner), b = vertex(next(corner));
    const std::vector<int> corners = allEdgeCorners(a, b);
    const int middle = addVertexBetween(a, b);
    if (middle < 0)
        return -1;
    for (const int start : corners) {
        const int end = next(start), side = prev(start);
        const int added = addFace(middle, vertex(end), vertex(side), m_origin[size_t(start / 3)]);
        m_isFeature[size_t(added * 3)] = m_isFeature[size_t(start)];
        m_isFeature[size_t(added * 3 + 1)] = m_isFeature[size_t(end)];
        m_isFeature[size_t(end)] = 0;
        setVertex(end, middle);
        if (isFeature(start))
            m_class[size_t(middle)] = VertexClass::Crease;
    }
    m_isBorder[size_t(middle)] = corners.size() != 2;
    return middle;
}

template<typename T>
void EditableSurface<T>::flip(int corner)
{
    const EdgeCorners edge = edgeCorners(vertex(corner), vertex(next(corner)));
    const int c = edge.corner[0], t = edge.corner[1];
    const int o = vertex(prev(c)), p = vertex(prev(t));
    setVertex(next(c), p);
    setVertex(next(t), o);
    m_isFeature[size_t(c)] = m_isFeature[size_t(next(t))];
    m_isFeature[size_t(t)] = m_isFeature[size_t(next(c))];
    m_isFeature[size_t(next(c))] = m_isFeature[size_t(next(t))] = 0;
}

// ------------------------------------------------------------------ the result

template<typename T>
std::vector<int> EditableSurface<T>::usedVertices() const
{
    std::vector<int> used;
    for (int v = 0; v < vertexCount(); ++v)
        if (degree(v) > 0)
            used.push_back(v);
    return used;
}

template<typename T>
Mesh<T> EditableSurface<T>::toMesh(const Mesh<T> &source) const
{
    const std::vector<int> used = usedVertices();
    Mesh<T> result;
    result.name = source.name;
    result.metadata = source.metadata;
    result.nextElementId = source.nextElementId;
    result.vertices.reserve(qsizetype(used.size()));
    std::vector<int> number(m_position.size(), -1);
    for (const int v : used) {
        number[size_t(v)] = int(result.vertices.size());
        const Position &p = position(v);
        result.vertices.append({T(p.x), T(p.y), T(p.z)});
    }
    for (auto it = m_attributes.cbegin(); it != m_attributes.cend(); ++it) {
        QList<T> &values = result.vertexAttributes[it.key()];
        for (const int v : used)
            values.append(valuesOf(*it, v, vertexCount()));
    }
    result.elements.reserve(m_liveFaces);
    std::vector<char> isIdTaken(size_t(source.elements.size()), 0);
    for (int f = 0; f < faceSlots(); ++f) {
        if (!isLive(f))
            continue;
        const int origin = m_origin[size_t(f)];
        const auto at = [&](int i) { return number[size_t(m_vertex[size_t(f) * 3 + size_t(i)])]; };
        ElementData<T> element = source.elements.at(origin);
        element.nodes = {at(0), at(1), at(2)};
        if (std::exchange(isIdTaken[size_t(origin)], char(1)))
            element.id = result.nextElementId++;
        result.elements.append(element);
        for (auto it = source.elementAttributes.cbegin(); it != source.elementAttributes.cend();
             ++it)
            result.elementAttributes[it.key()].append(
                valuesOf(*it, origin, source.elements.size()));
    }
    if (!source.normals.isEmpty())
        result.recalculateNormals();
    return result;
}

template class EditableSurface<float>;

} // namespace mesh::process
