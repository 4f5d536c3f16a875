#include "BlockWriter.h"

#include <QIODevice>

#include <charconv>
#include <cstring>

namespace mesh::io {

namespace {

constexpr qsizetype blockSize = 256 * 1024;

// The longest: a double in fixed notation with 30 digits behind the point.
constexpr qsizetype longestNumber = 360;

template<typename Number>
QByteArrayView formatReal(char *text, Number number, BlockWriter::Notation notation, int precision)
{
    const auto format = notation == BlockWriter::Notation::Fixed ? std::chars_format::fixed
                                                                 : std::chars_format::general;
    const auto result = std::to_chars(text, text + longestNumber, number, format, precision);
    return QByteArrayView(text, result.ptr);
}

} // namespace

BlockWriter::BlockWriter(QIODevice &device)
    : m_device(device)
    , m_buffer(blockSize, Qt::Uninitialized)
{}

void BlockWriter::append(QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        if (m_used == m_buffer.size())
            flush();
        const qsizetype part = qMin(bytes.size(), m_buffer.size() - m_used);
        std::memcpy(m_buffer.data() + m_used, bytes.data(), std::size_t(part));
        m_used += part;
        bytes = bytes.sliced(part);
    }
}

BlockWriter &BlockWriter::operator<<(qint64 number)
{
    char text[24];
    append(QByteArrayView(text, std::to_chars(text, text + sizeof text, number).ptr));
    return *this;
}

void BlockWriter::appendReal(double number, Notation notation, int precision)
{
    char text[longestNumber];
    append(formatReal(text, number, notation, precision));
}

void BlockWriter::appendReal(float number, Notation notation, int precision)
{
    char text[longestNumber];
    append(formatReal(text, number, notation, precision));
}

bool BlockWriter::flush()
{
    if (!m_failed && m_used > 0)
        m_failed = m_device.write(m_buffer.constData(), m_used) != m_used;
    m_used = 0;
    return !m_failed;
}

} // namespace mesh::io
