#include "PlyImporter.h"

#include "PlyBody.h"
#include "ProgressTicker.h"

#include <QIODevice>

#include <array>
#include <limits>
#include <optional>

using namespace Qt::StringLiterals;

namespace mesh::io {

namespace {

// What a property of a vertex means; the values of a record are gathered by role.
enum Role {
    X,
    Y,
    Z,
    NormalX,
    NormalY,
    NormalZ,
    Red,
    Green,
    Blue,
    Alpha,
    TexU,
    TexV,
    RoleCount,
    NoRole
};

struct RoleName
{
    QByteArrayView property;
    Role role;
};

constexpr RoleName roleNames[] = {
    {"x", X},        {"y", Y},     {"z", Z},         {"nx", NormalX}, {"ny", NormalY},
    {"nz", NormalZ}, {"red", Red}, {"green", Green}, {"blue", Blue},  {"alpha", Alpha},
    {"s", TexU},     {"t", TexV},  {"u", TexU},      {"v", TexV},
};

struct AttributeRole
{
    Role role;
    QLatin1StringView attribute;
};

constexpr AttributeRole attributeRoles[] = {
    {Red, "color_r"_L1},   {Green, "color_g"_L1},  {Blue, "color_b"_L1},
    {Alpha, "color_a"_L1}, {TexU, "texCoordU"_L1}, {TexV, "texCoordV"_L1},
};

Role roleOf(const PlyProperty &property)
{
    for (const RoleName &entry : roleNames)
        if (!property.countType && property.name == entry.property)
            return entry.role;
    return NoRole;
}

template<typename T>
class PlyReader
{
public:
    PlyReader(QIODevice &device, const ImportOptions &options)
        : m_reader(device)
        , m_options(options)
    {}

    Result<Mesh<T>> read();

private:
    using Record = std::array<double, RoleCount>;
    struct VertexProperty
    {
        PlyProperty property;
        Role role = NoRole;
        double scale = 1;
    };

    Result<void> readElement(const PlyElement &element);
    Result<void> readVertices(const PlyElement &element);
    Result<void> readFaces(const PlyElement &element);
    Result<void> skipElement(const PlyElement &element);

    Result<void> checkCounts(const PlyHeader &header) const;
    QList<VertexProperty> planOf(const PlyElement &element);
    void reserveVertices(qsizetype count);
    bool readRecord(const QList<VertexProperty> &plan, Record &record);
    void store(const Record &record);
    bool has(Role role) const { return m_present[role]; }
    Error vertexError(qint64 index, bool wasRead) const;
    std::optional<Error> readCorners(const PlyProperty &list, qint64 faceIndex);
    void addFace();
    static Error faceError(qint64 index)
    {
        return malformed(u"Invalid face data at index %1"_s.arg(index));
    }
    bool tick() { return m_ticker->tick(m_ticks++); }
    static Error cancelled() { return {u"Import cancelled by user"_s, Cancelled}; }

    ByteReader m_reader;
    const ImportOptions &m_options;
    std::optional<PlyBody> m_body;
    std::optional<ProgressTicker> m_ticker;
    qint64 m_ticks = 0;
    Mesh<T> m_mesh;
    std::array<bool, RoleCount> m_present{};
    std::array<QList<T>, RoleCount> m_values; // of the roles in attributeRoles
    QList<int> m_corners;
    int m_highestIndex = -1;
    qint64 m_highestFace = 0;
};

// ------------------------------------------------------------------ vertices

template<typename T>
QList<typename PlyReader<T>::VertexProperty> PlyReader<T>::planOf(const PlyElement &element)
{
    constexpr double byteScale = 1.0 / 255.0;
    QList<VertexProperty> plan;
    for (const PlyProperty &property : element.properties) {
        const Role role = roleOf(property);
        const bool isByteColor = role >= Red && role <= Alpha && isIntegerType(property.type);
        plan.append({property, role, isByteColor ? byteScale : 1.0});
        if (role != NoRole)
            m_present[role] = true;
    }
    return plan;
}

template<typename T>
void PlyReader<T>::reserveVertices(qsizetype count)
{
    m_mesh.vertices.reserve(count);
    if (has(NormalX) && has(NormalY) && has(NormalZ))
        m_mesh.normals.reserve(count);
    for (const AttributeRole &entry : attributeRoles)
        if (has(entry.role))
            m_values[entry.role].reserve(count);
}

template<typename T>
bool PlyReader<T>::readRecord(const QList<VertexProperty> &plan, Record &record)
{
    if (!m_body->beginRecord())
        return false;
    for (const VertexProperty &part : plan) {
        double value = 0;
        if (part.property.countType ? !m_body->skip(part.property)
                                    : !m_body->value(part.property.type, value))
            return false;
        if (part.role != NoRole)
            record[part.role] = value * part.scale;
    }
    return true;
}

template<typename T>
void PlyReader<T>::store(const Record &record)
{
    const auto number = [&](Role role) { return T(record[role]); };
    m_mesh.vertices.append({number(X), number(Y), number(Z)});
    if (has(NormalX) && has(NormalY) && has(NormalZ)) {
        const Vector3<T> n{number(NormalX), number(NormalY), number(NormalZ)};
        m_mesh.normals.append(n.isFinite() ? n : Vector3<T>{});
    }
    for (const AttributeRole &entry : attributeRoles)
        if (has(entry.role))
            m_values[entry.role].append(std::isfinite(number(entry.role)) ? number(entry.role)
                                                                          : T(0));
}

template<typename T>
Error PlyReader<T>::vertexError(qint64 index, bool wasRead) const
{
    if (m_body->isText())
        return malformed(u"Invalid vertex data at line %1"_s.arg(m_body->lineNumber()));
    if (wasRead)
        return malformed(u"Invalid coordinates (NaN/Inf) at vertex %1"_s.arg(index));
    return {u"Unexpected end of file at vertex %1"_s.arg(index), ShortRead};
}

template<typename T>
Result<void> PlyReader<T>::readVertices(const PlyElement &element)
{
    const QList<VertexProperty> plan = planOf(element);
    if (!has(X) || !has(Y) || !has(Z))
        return malformed(u"PLY file missing vertex position properties"_s);
    reserveVertices(element.count);
    Record record{};
    for (qint64 i = 0; i < element.count; ++i) {
        if (!tick())
            return cancelled();
        const bool wasRead = readRecord(plan, record);
        const auto isFinite = [&](Role role) { return std::isfinite(T(record[role])); };
        if (!wasRead || !isFinite(X) || !isFinite(Y) || !isFinite(Z))
            return vertexError(i, wasRead);
        store(record);
    }
    for (const AttributeRole &entry : attributeRoles)
        if (has(entry.role))
            m_mesh.vertexAttributes.insert(entry.attribute, std::move(m_values[entry.role]));
    return {};
}

// ------------------------------------------------------------------ faces

template<typename T>
std::optional<Error> PlyReader<T>::readCorners(const PlyProperty &list, qint64 faceIndex)
{
    constexpr double indexLimit = std::numeric_limits<int>::max();
    qint64 length = 0;
    if (!m_body->listLength(list, length))
        return faceError(faceIndex);
    m_corners.clear();
    for (qint64 i = 0; i < length; ++i) {
        double number = 0;
        if (!m_body->value(list.type, number) || !(number >= 0 && number < indexLimit) ||
            number != std::floor(number))
            return faceError(faceIndex);
        m_corners.append(int(number));
        if (m_corners.last() > m_highestIndex) {
            m_highestIndex = m_corners.last();
            m_highestFace = faceIndex;
        }
    }
    return {};
}

template<typename T>
void PlyReader<T>::addFace()
{
    const qsizetype count = m_corners.size();
    if (count == 4) {
        m_mesh.addElement(ElementType::Quad, NodeList(m_corners));
        return;
    }
    for (qsizetype i = 2; i < count; ++i)
        m_mesh.addElement(ElementType::Triangle,
                          {m_corners.at(0), m_corners.at(i - 1), m_corners.at(i)});
}

template<typename T>
Result<void> PlyReader<T>::readFaces(const PlyElement &element)
{
    m_mesh.elements.reserve(element.count);
    for (qint64 i = 0; i < element.count; ++i) {
        if (!tick())
            return cancelled();
        if (!m_body->beginRecord())
            return faceError(i);
        m_corners.clear();
        for (const PlyProperty &property : element.properties) {
            const bool isCorners = property.countType && (property.name == "vertex_indices" ||
                                                          property.name == "vertex_index");
            if (isCorners) {
                if (const auto failure = readCorners(property, i))
                    return *failure;
            } else if (!m_body->skip(property)) {
                return faceError(i);
            }
        }
        addFace();
        if (m_mesh.elements.size() > m_options.maxTriangles)
            return triangleLimitExceeded(m_options.maxTriangles);
    }
    return {};
}

// ------------------------------------------------------------------ the whole

template<typename T>
Result<void> PlyReader<T>::skipElement(const PlyElement &element)
{
    if (element.properties.isEmpty())
        return {};
    for (qint64 i = 0; i < element.count; ++i) {
        if (!tick())
            return cancelled();
        if (!m_body->beginRecord() || !m_body->skipRecord(element))
            return malformed(u"Invalid data of element '%1' at index %2"_s.arg(
                QString::fromUtf8(element.name), QString::number(i)));
    }
    return {};
}

template<typename T>
Result<void> PlyReader<T>::readElement(const PlyElement &element)
{
    if (!m_body->canHold(element))
        return Error{u"PLY element '%1' promises %2 records, more than the file holds"_s.arg(
                         QString::fromUtf8(element.name), QString::number(element.count)),
                     ShortRead};
    if (element.name == "vertex")
        return readVertices(element);
    if (element.name == "face" && !element.properties.isEmpty())
        return readFaces(element);
    return skipElement(element);
}

template<typename T>
Result<void> PlyReader<T>::checkCounts(const PlyHeader &header) const
{
    bool hasVertices = false;
    for (const PlyElement &element : header.elements) {
        const bool isVertex = element.name == "vertex";
        hasVertices = hasVertices || isVertex;
        const qint64 limit = isVertex ? maxVertices(m_options) : m_options.maxTriangles;
        if ((isVertex || element.name == "face") && element.count > limit)
            return limitExceeded((isVertex ? u"Vertex count %1 exceeds limit of %2"_s
                                           : u"Triangle count %1 exceeds limit of %2"_s)
                                     .arg(QString::number(element.count), QString::number(limit)));
    }
    if (!hasVertices)
        return malformed(u"PLY file missing vertex position properties"_s);
    return {};
}

template<typename T>
Result<Mesh<T>> PlyReader<T>::read()
{
    const auto header = parsePlyHeader(m_reader.peek(ByteReader::longestLine));
    if (!header)
        return header.error();
    if (const auto checked = checkCounts(header.value()); !checked)
        return checked.error();
    m_reader.skip(header.value().size);
    m_body.emplace(m_reader, header.value());
    qint64 total = 0;
    for (const PlyElement &element : header.value().elements)
        if (element.name == "vertex" || element.name == "face")
            total += element.count;
    m_ticker.emplace(m_options, total);
    for (const PlyElement &element : header.value().elements)
        if (const auto read = readElement(element); !read)
            return read.error();
    // Faces may stand ahead of the vertices, so their indices are checked at the end.
    if (m_highestIndex >= m_mesh.vertices.size())
        return faceError(m_highestFace);
    if (m_options.recalculateNormals)
        m_mesh.recalculateNormals();
    return std::move(m_mesh);
}

} // namespace

template<typename T>
PlyImporter<T>::PlyImporter()
    : FormatImporter<T>("PLY"_L1)
{}

template<typename T>
Result<Mesh<T>> PlyImporter<T>::read(QIODevice &device, const ImportOptions &options) const
{
    if (!device.isReadable())
        return malformed(u"Device is not readable"_s);
    SizedInput input(device);
    if (!input.device())
        return pipeTooLong();
    return PlyReader<T>(*input.device(), options).read();
}

template class PlyImporter<float>;

} // namespace mesh::io
