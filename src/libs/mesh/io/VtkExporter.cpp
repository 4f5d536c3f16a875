#include "VtkExporter.h"

#include "BlockWriter.h"
#include "ItemWriter.h"

#include <QIODevice>

using namespace Qt::StringLiterals;

namespace mesh::io {

namespace {

constexpr qsizetype longestTitle = 255; // with its line end 256, as the format allows

// Names are words there.
QByteArray sanitizeName(const QString &name)
{
    QByteArray word = singleLine(name);
    std::replace_if(
        word.begin(), word.end(), [](char c) { return c == ' ' || c == '\t'; }, '_');
    return word.isEmpty() ? QByteArray("attribute") : word;
}

template<typename T>
class VtkWriter
{
public:
    VtkWriter(const Mesh<T> &mesh, qint64 nodeCount, QIODevice &device,
              const ExportOptions &options)
        : m_mesh(mesh)
        , m_nodeCount(nodeCount)
        , m_options(options)
        , m_precision(options.effectivePrecision())
        , m_writer(device)
        , m_items(m_writer, options, mesh.vertices.size() + mesh.elements.size())
    {}

    Result<void> write();

private:
    void writeHeader();
    bool writePoints();
    bool writeCells();
    bool writeCellTypes();
    void writePointData();
    void writeCellData();
    void writeAttributes(const typename Mesh<T>::Attributes &attributes, qsizetype count);
    void writePoint(BlockWriter &to, T x, T y, T z) const;
    void writeNumber(BlockWriter &to, T number) const
    {
        to.appendReal(number, BlockWriter::Notation::General, m_precision);
    }

    const Mesh<T> &m_mesh;
    const qint64 m_nodeCount; ///< of all elements, together
    const ExportOptions &m_options;
    const int m_precision;
    BlockWriter m_writer;
    ItemWriter m_items;
};

template<typename T>
void VtkWriter<T>::writeHeader()
{
    QByteArray title = singleLine(m_mesh.name.isEmpty() ? m_options.name : m_mesh.name);
    if (title.isEmpty())
        title = "Mesh Export";
    m_writer << "# vtk DataFile Version 3.0\n"
             << title.left(longestTitle) << "\nASCII\nDATASET UNSTRUCTURED_GRID\n";
}

template<typename T>
void VtkWriter<T>::writePoint(BlockWriter &to, T x, T y, T z) const
{
    writeNumber(to, x);
    to << " ";
    writeNumber(to, y);
    to << " ";
    writeNumber(to, z);
    to << "\n";
}

// False when cancelled or failed, here and below.
template<typename T>
bool VtkWriter<T>::writePoints()
{
    m_writer << "\nPOINTS " << m_mesh.vertices.size() << " float\n";
    return m_items.write(m_mesh.vertices.size(),
                         [this](BlockWriter &to, qsizetype begin, qsizetype end) {
                             for (qsizetype i = begin; i < end; ++i) {
                                 const Vector3<T> &p = m_mesh.vertices.at(i);
                                 writePoint(to, p.x, p.y, p.z);
                             }
                             return end - begin;
                         });
}

template<typename T>
bool VtkWriter<T>::writeCells()
{
    const qint64 count = m_mesh.elements.size();
    m_writer << "\nCELLS " << count << " " << count + m_nodeCount << "\n";
    return m_items.write(m_mesh.elements.size(),
                         [this](BlockWriter &to, qsizetype begin, qsizetype end) {
                             for (qsizetype i = begin; i < end; ++i) {
                                 const NodeList &nodes = m_mesh.elements.at(i).nodes;
                                 to << qint64(nodes.size());
                                 for (const int node : nodes)
                                     to << " " << qint64(node);
                                 to << "\n";
                             }
                             return end - begin;
                         });
}

template<typename T>
bool VtkWriter<T>::writeCellTypes()
{
    m_writer << "\nCELL_TYPES " << m_mesh.elements.size() << "\n";
    // The elements have been counted with their nodes.
    return m_items.write(m_mesh.elements.size(),
                         [this](BlockWriter &to, qsizetype begin, qsizetype end) {
                             for (qsizetype i = begin; i < end; ++i)
                                 to << qint64(vtkCellType(m_mesh.elements.at(i).type)) << "\n";
                             return qsizetype(0);
                         });
}

template<typename T>
void VtkWriter<T>::writeAttributes(const typename Mesh<T>::Attributes &attributes, qsizetype count)
{
    for (auto it = attributes.cbegin(); it != attributes.cend(); ++it) {
        const QList<T> &values = it.value();
        if (values.size() == count) {
            m_writer << "SCALARS " << sanitizeName(it.key()) << " float 1\nLOOKUP_TABLE default\n";
            for (const T value : values) {
                writeNumber(m_writer, value);
                m_writer << "\n";
            }
        } else if (values.size() == 3 * count) {
            m_writer << "VECTORS " << sanitizeName(it.key()) << " float\n";
            for (qsizetype i = 0; i < values.size(); i += 3)
                writePoint(m_writer, values.at(i), values.at(i + 1), values.at(i + 2));
        }
    }
}

template<typename T>
void VtkWriter<T>::writePointData()
{
    const bool hasNormals =
        !m_mesh.normals.isEmpty() && m_mesh.normals.size() == m_mesh.vertices.size();
    if (m_mesh.isEmpty() || (!hasNormals && m_mesh.vertexAttributes.isEmpty()))
        return;
    m_writer << "\nPOINT_DATA " << m_mesh.vertices.size() << "\n";
    if (hasNormals) {
        m_writer << "NORMALS normals float\n";
        for (const Vector3<T> &n : m_mesh.normals)
            writePoint(m_writer, n.x, n.y, n.z);
    }
    writeAttributes(m_mesh.vertexAttributes, m_mesh.vertices.size());
}

template<typename T>
void VtkWriter<T>::writeCellData()
{
    if (m_mesh.elements.isEmpty() || m_mesh.elementAttributes.isEmpty())
        return;
    m_writer << "\nCELL_DATA " << m_mesh.elements.size() << "\n";
    writeAttributes(m_mesh.elementAttributes, m_mesh.elements.size());
}

template<typename T>
Result<void> VtkWriter<T>::write()
{
    writeHeader();
    if (!writePoints() || !writeCells() || !writeCellTypes())
        return m_writer.hasFailed() ? writeFailure(u"Failed to write mesh"_s) : cancelledByUser();
    writePointData();
    writeCellData();
    if (!m_writer.flush())
        return writeFailure(u"Failed to write mesh"_s);
    return {};
}

} // namespace

template<typename T>
VtkExporter<T>::VtkExporter()
    : FormatExporter<T>("VTK"_L1)
{}

template<typename T>
Result<void> VtkExporter<T>::write(const Mesh<T> &mesh, QIODevice &device,
                                   const ExportOptions &options) const
{
    if (!device.isWritable())
        return writeFailure(u"Device is not writable"_s);
    const auto isWritten = [](const ElementData<T> &) { return true; };
    const Result<ElementCount> count = countElements<T>(mesh, options.threads, isWritten);
    if (!count)
        return count.error();
    return VtkWriter<T>(mesh, count.value().nodes, device, options).write();
}

template class VtkExporter<float>;

} // namespace mesh::io
