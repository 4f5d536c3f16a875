#include "ObjImporter.h"

#include "ByteReader.h"
#include "NumberText.h"
#include "ObjFaceReader.h"
#include "ObjMaterials.h"
#include "ProgressTicker.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace mesh::io {

namespace {

template<typename T>
class ObjReader
{
public:
    ObjReader(QIODevice &device, const QString &folder, const ImportOptions &options)
        : m_reader(device)
        , m_options(options)
        , m_ticker(options, 0)
        , m_materials(folder)
    {}

    Result<Mesh<T>> read();

private:
    struct Statement
    {
        QByteArrayView keyword;
        Result<void> (ObjReader::*read)(Tokens tokens);
    };
    static const Statement statements[];

    Result<void> readLine(QByteArrayView line);
    Result<void> readVertex(Tokens tokens);
    Result<void> readNormal(Tokens tokens);
    Result<void> readTexCoord(Tokens tokens);
    Result<void> readFace(Tokens tokens);
    Result<void> readLibrary(Tokens tokens);
    Result<void> readMaterial(Tokens tokens);
    Result<void> readObject(Tokens tokens);
    Result<void> readGroup(Tokens tokens);

    void addElement(ElementType type, const NodeList &nodes);
    void noteAttributes(const ObjCorner &corner);
    static void noteFirst(QList<int> &list, int vertex, int value);
    Result<void> checkLimits() const;
    Result<Mesh<T>> finished();
    void takeNormals();
    void takeTexCoords();

    ByteReader m_reader;
    const ImportOptions &m_options;
    ProgressTicker m_ticker;
    qint64 m_ticks = 0;
    Mesh<T> m_mesh;
    QList<Vector3<T>> m_normals, m_texCoords;
    // The number of the normal and the texture coordinate that each vertex takes; shorter than the
    // vertices, and -1, where none is named.
    QList<int> m_normalOfVertex, m_texCoordOfVertex;
    ObjFaceReader m_faces;
    QList<ObjCorner> m_corners;
    ObjMaterials m_materials;
    int m_material = 0;
    QStringList m_groups;
    QHash<QString, int> m_groupNumbers;
    QList<T> m_groupOfElement;
    int m_group = 0;
};

template<typename T>
const typename ObjReader<T>::Statement ObjReader<T>::statements[] = {
    {"v", &ObjReader::readVertex},       {"vn", &ObjReader::readNormal},
    {"vt", &ObjReader::readTexCoord},    {"f", &ObjReader::readFace},
    {"mtllib", &ObjReader::readLibrary}, {"usemtl", &ObjReader::readMaterial},
    {"o", &ObjReader::readObject},       {"g", &ObjReader::readGroup},
};

template<typename T>
Result<void> ObjReader<T>::readLine(QByteArrayView line)
{
    Tokens tokens(line);
    const QByteArrayView keyword = tokens.next();
    for (const Statement &statement : statements)
        if (keyword == statement.keyword)
            return (this->*statement.read)(tokens);
    return {};
}

// False when a number is missing or none; such lines are skipped.
template<typename T>
bool readPoint(Tokens &tokens, Vector3<T> &p)
{
    return parseReal(tokens.next(), p.x) && parseReal(tokens.next(), p.y) &&
           parseReal(tokens.next(), p.z);
}

template<typename T>
Result<void> ObjReader<T>::readVertex(Tokens tokens)
{
    Vector3<T> p;
    if (!readPoint(tokens, p))
        return {};
    if (!p.isFinite())
        return malformed(u"Invalid coordinates (NaN/Inf) at line %1"_s.arg(m_reader.lineNumber()));
    m_mesh.vertices.append(p);
    ++m_faces.vertices.count;
    return checkLimits();
}

// A normal that is no number is common where a triangle is degenerate; dropping it would shift all
// that follow.
template<typename T>
Result<void> ObjReader<T>::readNormal(Tokens tokens)
{
    Vector3<T> n;
    if (!readPoint(tokens, n))
        return {};
    m_normals.append(n.isFinite() ? n : Vector3<T>{});
    ++m_faces.normals.count;
    return checkLimits();
}

template<typename T>
Result<void> ObjReader<T>::readTexCoord(Tokens tokens)
{
    Vector3<T> t;
    if (!parseReal(tokens.next(), t.x))
        return {};
    const QByteArrayView second = tokens.next();
    if (!second.isEmpty() && !parseReal(second, t.y))
        return {};
    m_texCoords.append(t.isFinite() ? t : Vector3<T>{});
    ++m_faces.texCoords.count;
    return checkLimits();
}

template<typename T>
Result<void> ObjReader<T>::checkLimits() const
{
    const qint64 limit = maxVertices(m_options);
    if (qMax(m_faces.vertices.count, qMax(m_faces.normals.count, m_faces.texCoords.count)) > limit)
        return limitExceeded(u"Vertex count exceeds limit of %1"_s.arg(limit));
    if (m_mesh.elements.size() > m_options.maxTriangles)
        return triangleLimitExceeded(m_options.maxTriangles);
    return {};
}

template<typename T>
void ObjReader<T>::addElement(ElementType type, const NodeList &nodes)
{
    m_mesh.addElement(type, nodes, m_material);
    if (!m_groups.isEmpty())
        m_groupOfElement.append(T(m_group));
}

template<typename T>
void ObjReader<T>::noteFirst(QList<int> &list, int vertex, int value)
{
    if (value < 0)
        return;
    if (vertex >= list.size())
        list.resize(vertex + 1, -1);
    if (list.at(vertex) < 0)
        list[vertex] = value;
}

template<typename T>
void ObjReader<T>::noteAttributes(const ObjCorner &corner)
{
    // A vertex that is not there (yet) must not make the lists as long as its number says.
    if (corner.vertex >= m_mesh.vertices.size())
        return;
    noteFirst(m_normalOfVertex, corner.vertex, corner.normal);
    noteFirst(m_texCoordOfVertex, corner.vertex, corner.texCoord);
}

template<typename T>
Result<void> ObjReader<T>::readFace(Tokens tokens)
{
    if (const auto read = m_faces.read(tokens.rest(), m_reader.lineNumber(), m_corners); !read)
        return read;
    const qsizetype count = m_corners.size();
    if (count < 3)
        return {};
    for (const ObjCorner &corner : std::as_const(m_corners))
        noteAttributes(corner);
    const auto node = [this](qsizetype i) { return m_corners.at(i).vertex; };
    if (count == 4) {
        addElement(ElementType::Quad, {node(0), node(1), node(2), node(3)});
        return checkLimits();
    }
    for (qsizetype i = 2; i < count; ++i)
        addElement(ElementType::Triangle, {node(0), node(i - 1), node(i)});
    return checkLimits();
}

template<typename T>
Result<void> ObjReader<T>::readLibrary(Tokens tokens)
{
    m_materials.readLibrary(QString::fromUtf8(tokens.rest()));
    return {};
}

template<typename T>
Result<void> ObjReader<T>::readMaterial(Tokens tokens)
{
    // Faces ahead of the first material keep number 0, which then needs a name of its own.
    if (m_materials.isEmpty() && !m_mesh.elements.isEmpty())
        m_materials.use(u"default"_s);
    m_material = m_materials.use(QString::fromUtf8(tokens.rest()));
    return {};
}

template<typename T>
Result<void> ObjReader<T>::readObject(Tokens tokens)
{
    if (m_mesh.name.isEmpty())
        m_mesh.name = QString::fromUtf8(tokens.rest());
    return {};
}

template<typename T>
Result<void> ObjReader<T>::readGroup(Tokens tokens)
{
    const auto numberOf = [this](const QString &name) {
        const auto known = m_groupNumbers.constFind(name);
        if (known != m_groupNumbers.cend())
            return *known;
        m_groups.append(name);
        return *m_groupNumbers.insert(name, int(m_groups.size()) - 1);
    };
    if (m_groups.isEmpty() && !m_mesh.elements.isEmpty()) {
        numberOf(u"default"_s); // as for materials
        m_groupOfElement.fill(T(0), m_mesh.elements.size());
    }
    m_group = numberOf(QString::fromUtf8(tokens.rest()));
    return {};
}

template<typename T>
void ObjReader<T>::takeNormals()
{
    if (m_options.recalculateNormals)
        return m_mesh.recalculateNormals();
    if (m_normalOfVertex.isEmpty())
        return;
    m_mesh.normals.fill({}, m_mesh.vertices.size());
    for (qsizetype v = 0; v < m_normalOfVertex.size(); ++v)
        if (const int number = m_normalOfVertex.at(v); number >= 0)
            m_mesh.normals[v] = m_normals.at(number);
}

template<typename T>
void ObjReader<T>::takeTexCoords()
{
    if (m_texCoordOfVertex.isEmpty())
        return;
    QList<T> us(m_mesh.vertices.size(), T(0)), vs = us;
    for (qsizetype v = 0; v < m_texCoordOfVertex.size(); ++v)
        if (const int number = m_texCoordOfVertex.at(v); number >= 0) {
            us[v] = m_texCoords.at(number).x;
            vs[v] = m_texCoords.at(number).y;
        }
    m_mesh.vertexAttributes.insert(u"texCoordU"_s, us);
    m_mesh.vertexAttributes.insert(u"texCoordV"_s, vs);
}

template<typename T>
Result<Mesh<T>> ObjReader<T>::finished()
{
    if (const auto checked = m_faces.checkRanges(); !checked)
        return checked.error();
    takeNormals();
    takeTexCoords();
    m_materials.writeTo(m_mesh.metadata);
    if (!m_groups.isEmpty()) {
        m_mesh.elementAttributes.insert(u"group"_s, m_groupOfElement);
        m_mesh.metadata.insert(u"groups"_s, m_groups);
    }
    return std::move(m_mesh);
}

template<typename T>
Result<Mesh<T>> ObjReader<T>::read()
{
    QByteArrayView line;
    while (m_reader.nextLine(line)) {
        if (!m_ticker.tick(m_ticks++))
            return Error{u"Import cancelled by user"_s, Cancelled};
        if (const auto read = readLine(line); !read)
            return read.error();
    }
    if (m_reader.metTooLong())
        return malformed(u"Line %1 is too long"_s.arg(m_reader.lineNumber() + 1));
    return finished();
}

} // namespace

template<typename T>
ObjImporter<T>::ObjImporter()
    : FormatImporter<T>("OBJ"_L1)
{}

template<typename T>
Result<Mesh<T>> ObjImporter<T>::read(QIODevice &device, const ImportOptions &options) const
{
    if (!device.isReadable())
        return malformed(u"Device is not readable"_s);
    const auto *file = qobject_cast<const QFile *>(&device);
    const QString folder = file ? QFileInfo(file->fileName()).path() : QString();
    return ObjReader<T>(device, folder, options).read();
}

template class ObjImporter<float>;

} // namespace mesh::io
