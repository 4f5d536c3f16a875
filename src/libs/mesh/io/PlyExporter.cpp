#include "PlyExporter.h"

#include "BlockWriter.h"
#include "ItemWriter.h"

#include <QIODevice>

#include <array>

using namespace Qt::StringLiterals;

namespace mesh::io {

namespace {

template<typename T>
bool isWritten(const ElementData<T> &element)
{
    return dimension(element.type) == 2;
}

// What both forms write, with the tables looked up once.
template<typename T>
class PlyWriter
{
public:
    PlyWriter(const Mesh<T> &mesh, qint64 faceCount, QIODevice &device,
              const ExportOptions &options)
        : m_mesh(mesh)
        , m_options(options)
        , m_binary(options.effectiveBinary())
        , m_precision(options.effectivePrecision())
        , m_writer(device)
        , m_faceCount(faceCount)
        , m_items(m_writer, options, mesh.vertices.size() + m_faceCount)
        , m_hasNormals(!mesh.normals.isEmpty() && mesh.normals.size() == mesh.vertices.size())
    {
        constexpr std::array names = {"color_r"_L1, "color_g"_L1, "color_b"_L1, "color_a"_L1};
        for (std::size_t i = 0; i < names.size(); ++i)
            m_colors[i] = mesh.vertexAttributes.value(names[i]);
        const auto isFull = [&](const QList<T> &c) { return c.size() == mesh.vertices.size(); };
        m_hasColors =
            !mesh.isEmpty() && isFull(m_colors[0]) && isFull(m_colors[1]) && isFull(m_colors[2]);
        m_hasAlpha = isFull(m_colors[3]);
    }

    Result<void> write();

private:
    static constexpr int mostCorners = 255; // the count of a face is one byte

    void writeHeader();
    void writeMaterials();
    bool writeVertices();
    void writeBinaryVertex(BlockWriter &to, qsizetype index) const;
    void writeTextVertex(BlockWriter &to, qsizetype index) const;
    void writeTextPoint(BlockWriter &to, const Vector3<T> &p) const;
    std::array<quint8, 4> colorOf(qsizetype index) const;
    Result<void> checkFaces() const;
    bool writeFaces();
    void writeBinaryFace(BlockWriter &to, const NodeList &nodes) const;
    void writeTextFace(BlockWriter &to, const NodeList &nodes) const;

    const Mesh<T> &m_mesh;
    const ExportOptions &m_options;
    const bool m_binary;
    const int m_precision;
    BlockWriter m_writer;
    const qint64 m_faceCount;
    ItemWriter m_items;
    const bool m_hasNormals;
    std::array<QList<T>, 4> m_colors;
    bool m_hasColors = false;
    bool m_hasAlpha = false;
};

template<typename T>
void PlyWriter<T>::writeMaterials()
{
    const QVariantList materials = m_mesh.metadata.value(u"materials"_s).toList();
    if (materials.isEmpty())
        return;
    m_writer << "comment material properties (name, albedo, metallic, roughness, emission)\n";
    for (const QVariant &entry : materials) {
        const QVariantMap material = entry.toMap();
        m_writer << "comment material " << singleLine(material.value(u"name"_s).toString());
        for (const QString &key : {u"albedoR"_s, u"albedoG"_s, u"albedoB"_s, u"metallic"_s,
                                   u"roughness"_s, u"emission"_s}) {
            m_writer << " ";
            m_writer.appendReal(material.value(key).toDouble(), BlockWriter::Notation::General,
                                m_precision);
        }
        m_writer << "\n";
    }
}

template<typename T>
void PlyWriter<T>::writeHeader()
{
    const QByteArray name = singleLine(m_mesh.name.isEmpty() ? m_options.name : m_mesh.name);
    m_writer << "ply\n"
             << (m_binary ? "format binary_little_endian 1.0\n" : "format ascii 1.0\n")
             << "comment Exported by pliskuk\n";
    if (!name.isEmpty())
        m_writer << "comment Object: " << name << "\n";
    writeMaterials();
    m_writer << "element vertex " << m_mesh.vertices.size() << "\n"
             << "property float x\nproperty float y\nproperty float z\n";
    if (m_hasNormals)
        m_writer << "property float nx\nproperty float ny\nproperty float nz\n";
    if (m_hasColors)
        m_writer << "property uchar red\nproperty uchar green\nproperty uchar blue\n"
                 << "property uchar alpha\n";
    m_writer << "element face " << m_faceCount << "\n"
             << "property list uchar int vertex_indices\nend_header\n";
}

template<typename T>
std::array<quint8, 4> PlyWriter<T>::colorOf(qsizetype index) const
{
    std::array<quint8, 4> color = {0, 0, 0, 255};
    for (std::size_t i = 0; i < (m_hasAlpha ? 4u : 3u); ++i) {
        const T value = m_colors[i].at(index);
        color[i] = value > 0 ? quint8(std::lround(std::min(value, T(1)) * 255)) : 0; // NaN is black
    }
    return color;
}

template<typename T>
void PlyWriter<T>::writeBinaryVertex(BlockWriter &to, qsizetype index) const
{
    const auto putPoint = [](char *at, const Vector3<T> &p) {
        return putLittleEndian(putLittleEndian(putLittleEndian(at, float(p.x)), float(p.y)),
                               float(p.z));
    };
    constexpr qsizetype pointSize = 3 * sizeof(float);
    char *at = to.claim(pointSize * (m_hasNormals ? 2 : 1) + (m_hasColors ? 4 : 0));
    at = putPoint(at, m_mesh.vertices.at(index));
    if (m_hasNormals)
        at = putPoint(at, m_mesh.normals.at(index));
    if (m_hasColors)
        for (const quint8 channel : colorOf(index))
            *at++ = char(channel);
}

template<typename T>
void PlyWriter<T>::writeTextPoint(BlockWriter &to, const Vector3<T> &p) const
{
    const char *separator = "";
    for (const T coordinate : {p.x, p.y, p.z}) {
        to << std::exchange(separator, " ");
        to.appendReal(coordinate, BlockWriter::Notation::General, m_precision);
    }
}

template<typename T>
void PlyWriter<T>::writeTextVertex(BlockWriter &to, qsizetype index) const
{
    writeTextPoint(to, m_mesh.vertices.at(index));
    if (m_hasNormals) {
        to << " ";
        writeTextPoint(to, m_mesh.normals.at(index));
    }
    if (m_hasColors)
        for (const quint8 channel : colorOf(index))
            to << " " << qint64(channel);
    to << "\n";
}

// False when cancelled or failed, here and below.
template<typename T>
bool PlyWriter<T>::writeVertices()
{
    return m_items.write(m_mesh.vertices.size(),
                         [this](BlockWriter &to, qsizetype begin, qsizetype end) {
                             for (qsizetype i = begin; i < end; ++i) {
                                 if (m_binary)
                                     writeBinaryVertex(to, i);
                                 else
                                     writeTextVertex(to, i);
                             }
                             return end - begin;
                         });
}

template<typename T>
void PlyWriter<T>::writeBinaryFace(BlockWriter &to, const NodeList &nodes) const
{
    char *at = to.claim(1 + qsizetype(sizeof(qint32)) * nodes.size());
    *at++ = char(nodes.size());
    for (const int node : nodes)
        at = putLittleEndian(at, qint32(node));
}

template<typename T>
void PlyWriter<T>::writeTextFace(BlockWriter &to, const NodeList &nodes) const
{
    to << qint64(nodes.size());
    for (const int node : nodes)
        to << " " << qint64(node);
    to << "\n";
}

template<typename T>
Result<void> PlyWriter<T>::checkFaces() const
{
    const auto isTooLarge = [](const ElementData<T> &element) {
        return isWritten(element) && element.nodes.size() > mostCorners;
    };
    const auto large = std::find_if(m_mesh.elements.cbegin(), m_mesh.elements.cend(), isTooLarge);
    if (large == m_mesh.elements.cend())
        return {};
    return Error{u"Face of %1 corners is too large for PLY"_s.arg(large->nodes.size()),
                 MalformedData};
}

template<typename T>
bool PlyWriter<T>::writeFaces()
{
    return m_items.write(m_mesh.elements.size(),
                         [this](BlockWriter &to, qsizetype begin, qsizetype end) {
                             qsizetype count = 0;
                             for (qsizetype i = begin; i < end; ++i) {
                                 const ElementData<T> &element = m_mesh.elements.at(i);
                                 if (!isWritten(element))
                                     continue;
                                 if (m_binary)
                                     writeBinaryFace(to, element.nodes);
                                 else
                                     writeTextFace(to, element.nodes);
                                 ++count;
                             }
                             return count;
                         });
}

template<typename T>
Result<void> PlyWriter<T>::write()
{
    if (const auto checked = checkFaces(); !checked)
        return checked;
    writeHeader();
    if (!m_writer.flush())
        return writeFailure(u"Failed to write header"_s);
    if (!writeVertices() || !writeFaces())
        return m_writer.hasFailed() ? writeFailure(u"Failed to write mesh"_s) : cancelledByUser();
    if (!m_writer.flush())
        return writeFailure(u"Failed to write mesh"_s);
    return {};
}

} // namespace

template<typename T>
PlyExporter<T>::PlyExporter()
    : FormatExporter<T>("PLY"_L1)
{}

template<typename T>
Result<void> PlyExporter<T>::write(const Mesh<T> &mesh, QIODevice &device,
                                   const ExportOptions &options) const
{
    if (!device.isWritable())
        return writeFailure(u"Device is not writable"_s);
    const Result<ElementCount> count = countElements<T>(mesh, options.threads, isWritten<T>);
    if (!count)
        return count.error();
    return PlyWriter<T>(mesh, count.value().elements, device, options).write();
}

template class PlyExporter<float>;

} // namespace mesh::io
