#include "PlyBody.h"

#include <QtEndian>

namespace mesh::io {

namespace {

template<typename Number>
double decode(const char *bytes, bool bigEndian)
{
    return double(bigEndian ? qFromBigEndian<Number>(bytes) : qFromLittleEndian<Number>(bytes));
}

double decodeAs(PlyType type, const char *bytes, bool bigEndian)
{
    switch (type) {
    case PlyType::Int8:
        return decode<qint8>(bytes, bigEndian);
    case PlyType::UInt8:
        return decode<quint8>(bytes, bigEndian);
    case PlyType::Int16:
        return decode<qint16>(bytes, bigEndian);
    case PlyType::UInt16:
        return decode<quint16>(bytes, bigEndian);
    case PlyType::Int32:
        return decode<qint32>(bytes, bigEndian);
    case PlyType::UInt32:
        return decode<quint32>(bytes, bigEndian);
    case PlyType::Float32:
        return decode<float>(bytes, bigEndian);
    case PlyType::Float64:
        return decode<double>(bytes, bigEndian);
    }
    return 0;
}

} // namespace

bool PlyBody::beginRecord()
{
    if (!isText())
        return true;
    QByteArrayView line;
    do {
        if (!m_reader.nextLine(line))
            return false;
    } while (line.trimmed().isEmpty());
    m_line = Tokens(line);
    return true;
}

bool PlyBody::binaryValue(PlyType type, double &number)
{
    char bytes[8];
    if (!m_reader.read(bytes, plyTypeSize(type)))
        return false;
    number = decodeAs(type, bytes, m_format == PlyFormat::BinaryBigEndian);
    return true;
}

bool PlyBody::value(PlyType type, double &number)
{
    return isText() ? parseReal(m_line.next(), number) : binaryValue(type, number);
}

bool PlyBody::listLength(const PlyProperty &property, qint64 &length)
{
    double number = 0;
    if (!value(*property.countType, number) || !(number >= 0) || number != std::floor(number))
        return false;
    const qint64 held = isText() ? ByteReader::longestLine : m_reader.remaining();
    if (number > double(held))
        return false;
    length = qint64(number);
    return isText() || length * plyTypeSize(property.type) <= m_reader.remaining();
}

bool PlyBody::skip(const PlyProperty &property)
{
    double ignored = 0;
    if (!property.countType)
        return value(property.type, ignored);
    qint64 length = 0;
    if (!listLength(property, length))
        return false;
    if (!isText())
        return m_reader.skip(length * plyTypeSize(property.type));
    for (qint64 i = 0; i < length; ++i)
        if (!value(property.type, ignored))
            return false;
    return true;
}

bool PlyBody::skipRecord(const PlyElement &element)
{
    return isText() // its line has been taken already
           || std::all_of(element.properties.cbegin(), element.properties.cend(),
                          [this](const PlyProperty &property) { return skip(property); });
}

bool PlyBody::canHold(const PlyElement &element) const
{
    const qint64 smallest = element.smallestRecord(m_format);
    const qint64 lastLineEnd = isText(); // may be missing
    return smallest == 0 || element.count <= (m_reader.remaining() + lastLineEnd) / smallest;
}

} // namespace mesh::io
