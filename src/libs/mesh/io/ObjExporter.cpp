#include "ObjExporter.h"

#include "BlockWriter.h"
#include "ProgressTicker.h"

#include <QIODevice>

using namespace Qt::StringLiterals;

namespace mesh::io {

namespace {

template<typename T>
class ObjWriter
{
public:
    ObjWriter(const Mesh<T> &mesh, QIODevice &device, const ExportOptions &options)
        : m_mesh(mesh)
        , m_options(options)
        , m_precision(options.effectivePrecision())
        , m_writer(device)
        , m_us(mesh.vertexAttributes.value(u"texCoordU"_s))
        , m_vs(mesh.vertexAttributes.value(u"texCoordV"_s))
        , m_texCoordCount(qMin(m_us.size(), m_vs.size()))
        , m_hasNormals(!mesh.normals.isEmpty() && mesh.normals.size() == mesh.vertices.size())
        , m_groups(mesh.elementAttributes.value(u"group"_s))
        , m_groupNames(mesh.metadata.value(u"groups"_s).toStringList())
    {}

    Result<void> write();

private:
    static bool isWritten(const ElementData<T> &element) { return dimension(element.type) == 2; }
    void writeHeader(qint64 faceCount);
    void writeNumbers(QByteArrayView keyword, std::initializer_list<T> numbers);
    bool writePoints(const ProgressTicker &ticker);
    void writeTexCoords();
    bool writeFaces(const ProgressTicker &ticker);
    void writeGroup(qsizetype element);
    void writeFace(const NodeList &nodes);

    const Mesh<T> &m_mesh;
    const ExportOptions &m_options;
    const int m_precision;
    BlockWriter m_writer;
    const QList<T> m_us, m_vs;
    const qsizetype m_texCoordCount;
    const bool m_hasNormals;
    const QList<T> m_groups;
    const QStringList m_groupNames;
    int m_group = -1;
};

template<typename T>
void ObjWriter<T>::writeHeader(qint64 faceCount)
{
    const QByteArray name = singleLine(m_mesh.name.isEmpty() ? m_options.name : m_mesh.name);
    m_writer << "# OBJ file exported by pliskuk\n";
    if (!name.isEmpty())
        m_writer << "# Object: " << name << "\n";
    m_writer << "# Vertices: " << m_mesh.vertices.size() << "\n# Faces: " << faceCount << "\n\n";
}

template<typename T>
void ObjWriter<T>::writeNumbers(QByteArrayView keyword, std::initializer_list<T> numbers)
{
    m_writer << keyword;
    for (const T number : numbers) {
        m_writer << " ";
        m_writer.appendReal(number, BlockWriter::Notation::Fixed, m_precision);
    }
    m_writer << "\n";
}

template<typename T>
void ObjWriter<T>::writeTexCoords()
{
    if (m_texCoordCount == 0)
        return;
    m_writer << "\n# Texture coordinates\n";
    for (qsizetype i = 0; i < m_texCoordCount; ++i)
        writeNumbers("vt", {m_us.at(i), m_vs.at(i)});
}

// False when cancelled, here and below.
template<typename T>
bool ObjWriter<T>::writePoints(const ProgressTicker &ticker)
{
    for (qsizetype i = 0; i < m_mesh.vertices.size() && !m_writer.hasFailed(); ++i) {
        if (!ticker.tick(i))
            return false;
        const Vector3<T> &p = m_mesh.vertices.at(i);
        writeNumbers("v", {p.x, p.y, p.z});
    }
    writeTexCoords();
    if (m_hasNormals) {
        m_writer << "\n# Vertex normals\n";
        for (const Vector3<T> &n : m_mesh.normals)
            writeNumbers("vn", {n.x, n.y, n.z});
    }
    return true;
}

template<typename T>
void ObjWriter<T>::writeGroup(qsizetype element)
{
    constexpr T largestGroup = T(1 << 24); // whole numbers are exact up to here
    if (element >= m_groups.size() || !(m_groups.at(element) >= 0) ||
        m_groups.at(element) > largestGroup || int(m_groups.at(element)) == m_group)
        return;
    m_group = int(m_groups.at(element));
    const QByteArray name = singleLine(m_groupNames.value(m_group));
    m_writer << "\ng ";
    if (name.isEmpty())
        m_writer << "group_" << qint64(m_group) << "\n";
    else
        m_writer << name << "\n";
}

template<typename T>
void ObjWriter<T>::writeFace(const NodeList &nodes)
{
    const bool hasTexCoords =
        std::all_of(nodes.begin(), nodes.end(), [this](int n) { return n < m_texCoordCount; });
    m_writer << "f";
    for (const int node : nodes) {
        const qint64 number = qint64(node) + 1;
        m_writer << " " << number;
        if (hasTexCoords)
            m_writer << "/" << number;
        if (m_hasNormals)
            m_writer << (hasTexCoords ? "/" : "//") << number;
    }
    m_writer << "\n";
}

template<typename T>
bool ObjWriter<T>::writeFaces(const ProgressTicker &ticker)
{
    m_writer << "\n# Faces\n";
    qint64 done = m_mesh.vertices.size();
    for (qsizetype i = 0; i < m_mesh.elements.size() && !m_writer.hasFailed(); ++i) {
        if (!isWritten(m_mesh.elements.at(i)))
            continue;
        if (!ticker.tick(done++))
            return false;
        writeGroup(i);
        writeFace(m_mesh.elements.at(i).nodes);
    }
    return true;
}

template<typename T>
Result<void> ObjWriter<T>::write()
{
    const qint64 faceCount =
        std::count_if(m_mesh.elements.cbegin(), m_mesh.elements.cend(), isWritten);
    const ProgressTicker ticker(m_options, m_mesh.vertices.size() + faceCount);
    writeHeader(faceCount);
    if (!writePoints(ticker) || !writeFaces(ticker))
        return cancelledByUser();
    if (!m_writer.flush())
        return writeFailure(u"Failed to write mesh"_s);
    return {};
}

} // namespace

template<typename T>
ObjExporter<T>::ObjExporter()
    : FormatExporter<T>("OBJ"_L1)
{}

template<typename T>
Result<void> ObjExporter<T>::write(const Mesh<T> &mesh, QIODevice &device,
                                   const ExportOptions &options) const
{
    if (!device.isWritable())
        return writeFailure(u"Device is not writable"_s);
    if (const auto checked = checkNodes(mesh); !checked)
        return checked;
    return ObjWriter<T>(mesh, device, options).write();
}

template class ObjExporter<float>;

} // namespace mesh::io
