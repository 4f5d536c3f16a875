#include "ObjExporter.h"

#include "BlockWriter.h"
#include "ItemWriter.h"

#include <QIODevice>

using namespace Qt::StringLiterals;

namespace mesh::io {

namespace {

template<typename T>
bool isWritten(const ElementData<T> &element)
{
    return dimension(element.type) == 2;
}

template<typename T>
class ObjWriter
{
public:
    ObjWriter(const Mesh<T> &mesh, qint64 faceCount, QIODevice &device,
              const ExportOptions &options)
        : m_mesh(mesh)
        , m_options(options)
        , m_precision(options.effectivePrecision())
        , m_writer(device)
        , m_faceCount(faceCount)
        , m_items(m_writer, options, mesh.vertices.size() + m_faceCount)
        , m_us(mesh.vertexAttributes.value(u"texCoordU"_s))
        , m_vs(mesh.vertexAttributes.value(u"texCoordV"_s))
        , m_texCoordCount(qMin(m_us.size(), m_vs.size()))
        , m_hasNormals(!mesh.normals.isEmpty() && mesh.normals.size() == mesh.vertices.size())
        , m_groups(mesh.elementAttributes.value(u"group"_s))
        , m_groupNames(mesh.metadata.value(u"groups"_s).toStringList())
    {}

    Result<void> write();

private:
    static constexpr qsizetype markInterval = 4096;

    void writeHeader();
    void writeNumbers(BlockWriter &to, QByteArrayView keyword,
                      std::initializer_list<T> numbers) const;
    bool writePoints();
    void writeTexCoords();
    bool writeFaces();
    int groupOf(qsizetype element) const;
    void markGroups();
    int groupBefore(qsizetype element) const;
    void writeGroup(BlockWriter &to, int group) const;
    void writeFace(BlockWriter &to, const NodeList &nodes) const;

    const Mesh<T> &m_mesh;
    const ExportOptions &m_options;
    const int m_precision;
    BlockWriter m_writer;
    const qint64 m_faceCount;
    ItemWriter m_items;
    const QList<T> m_us, m_vs;
    const qsizetype m_texCoordCount;
    const bool m_hasNormals;
    const QList<T> m_groups;
    const QStringList m_groupNames;
    QList<int> m_groupMarks; ///< the group before each element whose number is a multiple
};

template<typename T>
void ObjWriter<T>::writeHeader()
{
    const QByteArray name = singleLine(m_mesh.name.isEmpty() ? m_options.name : m_mesh.name);
    m_writer << "# OBJ file exported by pliskuk\n";
    if (!name.isEmpty())
        m_writer << "# Object: " << name << "\n";
    m_writer << "# Vertices: " << m_mesh.vertices.size() << "\n# Faces: " << m_faceCount << "\n\n";
}

template<typename T>
void ObjWriter<T>::writeNumbers(BlockWriter &to, QByteArrayView keyword,
                                std::initializer_list<T> numbers) const
{
    to << keyword;
    for (const T number : numbers) {
        to << " ";
        to.appendReal(number, BlockWriter::Notation::Fixed, m_precision);
    }
    to << "\n";
}

template<typename T>
void ObjWriter<T>::writeTexCoords()
{
    if (m_texCoordCount == 0)
        return;
    m_writer << "\n# Texture coordinates\n";
    for (qsizetype i = 0; i < m_texCoordCount; ++i)
        writeNumbers(m_writer, "vt", {m_us.at(i), m_vs.at(i)});
}

// False when cancelled or failed, here and below.
template<typename T>
bool ObjWriter<T>::writePoints()
{
    const auto format = [this](BlockWriter &to, qsizetype begin, qsizetype end) {
        for (qsizetype i = begin; i < end; ++i) {
            const Vector3<T> &p = m_mesh.vertices.at(i);
            writeNumbers(to, "v", {p.x, p.y, p.z});
        }
        return end - begin;
    };
    if (!m_items.write(m_mesh.vertices.size(), format))
        return false;
    writeTexCoords();
    if (m_hasNormals) {
        m_writer << "\n# Vertex normals\n";
        for (const Vector3<T> &n : m_mesh.normals)
            writeNumbers(m_writer, "vn", {n.x, n.y, n.z});
    }
    return true;
}

/// The group of an element; -1 where it names none.
template<typename T>
int ObjWriter<T>::groupOf(qsizetype element) const
{
    constexpr T largestGroup = T(1 << 24); // whole numbers are exact up to here
    if (element >= m_groups.size() || !(m_groups.at(element) >= 0) ||
        m_groups.at(element) > largestGroup)
        return -1;
    return int(m_groups.at(element));
}

/// What groupBefore() begins from, so that no search goes far back.
template<typename T>
void ObjWriter<T>::markGroups()
{
    int group = -1;
    for (qsizetype i = 0; i < qMin(m_mesh.elements.size(), m_groups.size()); ++i) {
        if (i % markInterval == 0)
            m_groupMarks.append(group);
        if (isWritten(m_mesh.elements.at(i)) && groupOf(i) >= 0)
            group = groupOf(i);
    }
    m_groupMarks.append(group);
}

/// The group that the faces before an element end in.
template<typename T>
int ObjWriter<T>::groupBefore(qsizetype element) const
{
    const qsizetype mark = qMin(element / markInterval, m_groupMarks.size() - 1);
    int group = m_groupMarks.at(mark);
    for (qsizetype i = mark * markInterval; i < qMin(element, m_groups.size()); ++i) {
        if (isWritten(m_mesh.elements.at(i)) && groupOf(i) >= 0)
            group = groupOf(i);
    }
    return group;
}

template<typename T>
void ObjWriter<T>::writeGroup(BlockWriter &to, int group) const
{
    const QByteArray name = singleLine(m_groupNames.value(group));
    to << "\ng ";
    if (name.isEmpty())
        to << "group_" << qint64(group) << "\n";
    else
        to << name << "\n";
}

template<typename T>
void ObjWriter<T>::writeFace(BlockWriter &to, const NodeList &nodes) const
{
    const bool hasTexCoords =
        std::all_of(nodes.begin(), nodes.end(), [this](int n) { return n < m_texCoordCount; });
    to << "f";
    for (const int node : nodes) {
        const qint64 number = qint64(node) + 1;
        to << " " << number;
        if (hasTexCoords)
            to << "/" << number;
        if (m_hasNormals)
            to << (hasTexCoords ? "/" : "//") << number;
    }
    to << "\n";
}

template<typename T>
bool ObjWriter<T>::writeFaces()
{
    m_writer << "\n# Faces\n";
    markGroups();
    return m_items.write(m_mesh.elements.size(),
                         [this](BlockWriter &to, qsizetype begin, qsizetype end) {
                             qsizetype count = 0;
                             int current = groupBefore(begin);
                             for (qsizetype i = begin; i < end; ++i) {
                                 if (!isWritten(m_mesh.elements.at(i)))
                                     continue;
                                 const int group = groupOf(i);
                                 if (group >= 0 && group != current)
                                     writeGroup(to, group);
                                 current = group >= 0 ? group : current;
                                 writeFace(to, m_mesh.elements.at(i).nodes);
                                 ++count;
                             }
                             return count;
                         });
}

template<typename T>
Result<void> ObjWriter<T>::write()
{
    writeHeader();
    if (!writePoints() || !writeFaces())
        return m_writer.hasFailed() ? writeFailure(u"Failed to write mesh"_s) : cancelledByUser();
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
    const Result<ElementCount> count = countElements<T>(mesh, options.threads, isWritten<T>);
    if (!count)
        return count.error();
    return ObjWriter<T>(mesh, count.value().elements, device, options).write();
}

template class ObjExporter<float>;

} // namespace mesh::io
