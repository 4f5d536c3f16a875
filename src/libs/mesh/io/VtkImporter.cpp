#include "VtkImporter.h"

#include "ByteReader.h"
#include "NumberText.h"
#include "ProgressTicker.h"

#include <QIODevice>

#include <limits>

using namespace Qt::StringLiterals;

namespace mesh::io {

namespace {

template<typename T>
class VtkReader
{
public:
    VtkReader(QIODevice &device, const ImportOptions &options)
        : m_reader(device)
        , m_options(options)
        , m_ticker(options, 0)
    {}

    Result<Mesh<T>> read();

private:
    enum class Next { Section, Done };

    void skipTitle();
    Result<Next> readSection(QByteArrayView keyword);
    Result<void> readDataset();
    Result<void> readPoints();
    Result<void> readCells();
    Result<void> readCell(qint64 index, qint64 &left);
    Result<void> readCellTypes();
    Result<Mesh<T>> finished();
    Result<void> applyTypes();

    bool nextInteger(qint64 &value);
    Result<qint64> readCount(QLatin1StringView section, qint64 limit);
    Error promisesTooMuch(QLatin1StringView section, qint64 count) const;
    bool canHold(qint64 tokens) const { return tokens <= (m_reader.remaining() + 1) / 2; }
    bool tick() { return m_ticker.tick(m_ticks++); }
    static Error cancelled() { return {u"Import cancelled by user"_s, Cancelled}; }

    ByteReader m_reader;
    const ImportOptions &m_options;
    ProgressTicker m_ticker;
    qint64 m_ticks = 0;
    Mesh<T> m_mesh;
    QList<int> m_types; // cell types as the file has them
    bool m_isGrid = false;
    bool m_hasPoints = false;
    bool m_hasCells = false;
    bool m_hasTypes = false;
};

Error notAGrid()
{
    return malformed(u"Only VTK legacy UNSTRUCTURED_GRID is supported"_s);
}

Error sectionTwice(QLatin1StringView section)
{
    return malformed(u"VTK file has more than one %1 section"_s.arg(section));
}

// The title is free text: words in it are no sections.
template<typename T>
void VtkReader<T>::skipTitle()
{
    QByteArrayView line;
    if (m_reader.peek(1) == "#" && m_reader.nextLine(line))
        m_reader.nextLine(line);
}

template<typename T>
bool VtkReader<T>::nextInteger(qint64 &value)
{
    QByteArrayView token;
    return m_reader.nextToken(token) && parseInteger(token, value);
}

template<typename T>
Result<qint64> VtkReader<T>::readCount(QLatin1StringView section, qint64 limit)
{
    qint64 count = 0;
    if (!nextInteger(count) || count < 0)
        return malformed(u"Invalid %1 count"_s.arg(section));
    if (count > limit)
        return limitExceeded(u"%1 count %2 exceeds limit of %3"_s.arg(
            section, QString::number(count), QString::number(limit)));
    return count;
}

template<typename T>
Error VtkReader<T>::promisesTooMuch(QLatin1StringView section, qint64 count) const
{
    return {u"%1 count %2 is more than the file holds"_s.arg(section, QString::number(count)),
            ShortRead};
}

template<typename T>
Result<void> VtkReader<T>::readDataset()
{
    QByteArrayView token;
    m_isGrid = m_reader.nextToken(token) && token == "UNSTRUCTURED_GRID";
    return m_isGrid ? Result<void>() : notAGrid();
}

template<typename T>
Result<void> VtkReader<T>::readPoints()
{
    if (std::exchange(m_hasPoints, true))
        return sectionTwice("POINTS"_L1);
    const auto count = readCount("POINTS"_L1, maxVertices(m_options));
    if (!count)
        return count.error();
    QByteArrayView token;
    m_reader.nextToken(token); // the number type: text reads the same for all
    if (!canHold(3 * count.value()))
        return promisesTooMuch("POINTS"_L1, count.value());
    m_mesh.vertices.reserve(count.value());
    for (qint64 i = 0; i < count.value(); ++i) {
        if (!tick())
            return cancelled();
        Vector3<T> p;
        for (T *coordinate : {&p.x, &p.y, &p.z})
            if (!m_reader.nextToken(token) || !parseReal(token, *coordinate))
                return malformed(u"Invalid coordinates at point %1"_s.arg(i));
        if (!p.isFinite())
            return malformed(u"Invalid coordinates (NaN/Inf) at point %1"_s.arg(i));
        m_mesh.vertices.append(p);
    }
    return {};
}

// `left` counts the numbers of the section that are not read yet.
template<typename T>
Result<void> VtkReader<T>::readCell(qint64 index, qint64 &left)
{
    const Error invalid = malformed(u"Invalid cell data at index %1"_s.arg(index));
    qint64 nodeTotal = 0;
    if (!nextInteger(nodeTotal) || nodeTotal < 0 || nodeTotal > left - 1)
        return invalid;
    left -= 1 + nodeTotal;
    NodeList nodes;
    for (qint64 i = 0; i < nodeTotal; ++i) {
        qint64 node = 0;
        if (!nextInteger(node) || node < 0 || node > std::numeric_limits<int>::max())
            return invalid;
        nodes.append(int(node));
    }
    m_mesh.addElement(ElementType::Point, nodes); // its type comes with CELL_TYPES
    return {};
}

template<typename T>
Result<void> VtkReader<T>::readCells()
{
    if (std::exchange(m_hasCells, true))
        return sectionTwice("CELLS"_L1);
    const auto count = readCount("CELLS"_L1, m_options.maxTriangles);
    if (!count)
        return count.error();
    qint64 left = 0;
    if (!nextInteger(left) || left < count.value())
        return malformed(u"Invalid CELLS size"_s);
    if (!canHold(left))
        return promisesTooMuch("CELLS"_L1, count.value());
    m_mesh.elements.reserve(count.value());
    for (qint64 i = 0; i < count.value(); ++i) {
        if (!tick())
            return cancelled();
        if (const auto read = readCell(i, left); !read)
            return read;
    }
    return {};
}

template<typename T>
Result<void> VtkReader<T>::readCellTypes()
{
    if (std::exchange(m_hasTypes, true))
        return sectionTwice("CELL_TYPES"_L1);
    const auto count = readCount("CELL_TYPES"_L1, m_options.maxTriangles);
    if (!count)
        return count.error();
    if (!canHold(count.value()))
        return promisesTooMuch("CELL_TYPES"_L1, count.value());
    m_types.reserve(count.value());
    for (qint64 i = 0; i < count.value(); ++i) {
        qint64 type = 0;
        if (!nextInteger(type))
            return malformed(u"Invalid cell type at index %1"_s.arg(i));
        m_types.append(int(std::clamp(type, qint64(-1), qint64(255))));
    }
    return {};
}

// Data sections end what is read: their names and numbers are no sections.
template<typename T>
Result<typename VtkReader<T>::Next> VtkReader<T>::readSection(QByteArrayView keyword)
{
    struct Section
    {
        QByteArrayView keyword;
        Result<void> (VtkReader::*read)();
    };
    static constexpr Section sections[] = {
        {"DATASET", &VtkReader::readDataset},
        {"POINTS", &VtkReader::readPoints},
        {"CELLS", &VtkReader::readCells},
        {"CELL_TYPES", &VtkReader::readCellTypes},
    };
    if (keyword == "POINT_DATA" || keyword == "CELL_DATA")
        return Next::Done;
    if (keyword == "BINARY" && !m_isGrid)
        return malformed(u"Binary VTK files are not supported"_s);
    for (const Section &section : sections)
        if (keyword == section.keyword) {
            if (const auto read = (this->*section.read)(); !read)
                return read.error();
            break;
        }
    return Next::Section;
}

template<typename T>
Result<void> VtkReader<T>::applyTypes()
{
    QList<ElementData<T>> &elements = m_mesh.elements;
    if (m_types.size() != elements.size())
        return malformed(u"VTK file has %1 cells, but %2 cell types"_s.arg(
            QString::number(elements.size()), QString::number(m_types.size())));
    qsizetype kept = 0;
    for (qsizetype i = 0; i < elements.size(); ++i) {
        const auto type = elementTypeOfVtkCell(m_types.at(i));
        if (!type)
            continue;
        if (elements.at(i).nodes.size() != nodeCount(*type))
            return malformed(u"Cell %1 has %2 nodes, its type needs %3"_s.arg(
                QString::number(i), QString::number(elements.at(i).nodes.size()),
                QString::number(nodeCount(*type))));
        if (kept != i)
            elements[kept] = std::move(elements[i]);
        elements[kept].type = *type;
        elements[kept].id = int(kept);
        ++kept;
    }
    elements.resize(kept);
    m_mesh.nextElementId = int(kept);
    return {};
}

template<typename T>
Result<Mesh<T>> VtkReader<T>::finished()
{
    if (!m_isGrid)
        return notAGrid();
    if (m_mesh.vertices.isEmpty())
        return malformed(u"VTK file has no POINTS"_s);
    if (const auto applied = applyTypes(); !applied)
        return applied.error();
    for (qsizetype i = 0; i < m_mesh.elements.size(); ++i)
        for (const int node : m_mesh.elements.at(i).nodes)
            if (node >= m_mesh.vertices.size())
                return malformed(u"Invalid cell data at index %1"_s.arg(i));
    m_mesh.name = u"VTK Import"_s;
    if (m_options.recalculateNormals)
        m_mesh.recalculateNormals();
    return std::move(m_mesh);
}

template<typename T>
Result<Mesh<T>> VtkReader<T>::read()
{
    skipTitle();
    QByteArrayView token;
    while (m_reader.nextToken(token)) {
        const auto next = readSection(token);
        if (!next)
            return next.error();
        if (next.value() == Next::Done)
            break;
    }
    if (m_reader.metTooLong())
        return m_isGrid ? malformed(u"VTK file has a word that is too long"_s) : notAGrid();
    return finished();
}

} // namespace

template<typename T>
VtkImporter<T>::VtkImporter()
    : FormatImporter<T>("VTK"_L1)
{}

template<typename T>
Result<Mesh<T>> VtkImporter<T>::read(QIODevice &device, const ImportOptions &options) const
{
    if (!device.isReadable())
        return malformed(u"Device is not readable"_s);
    SizedInput input(device);
    if (!input.device())
        return pipeTooLong();
    return VtkReader<T>(*input.device(), options).read();
}

template class VtkImporter<float>;

} // namespace mesh::io
