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
    : m_device(&device)
    , m_buffer(blockSize, Qt::Uninitialized)
{}

// Memory grows, a device takes what there is.
void BlockWriter::makeRoom(qsizetype n)
{
    if (m_device)
        flush();
    if (m_used + n > m_buffer.size())
        m_buffer.resize(qMax(m_used + n, 2 * m_buffer.size()));
}

void BlockWriter::append(QByteArrayView bytes)
{
    // What is long gains nothing by a copy into the buffer.
    if (m_device && bytes.size() >= blockSize / 4) {
        if (flush())
            m_failed = m_device->write(bytes.data(), bytes.size()) != bytes.size();
        return;
    }
    if (m_used + bytes.size() > m_buffer.size())
        makeRoom(bytes.size());
    std::memcpy(m_buffer.data() + m_used, bytes.data(), std::size_t(bytes.size()));
    m_used += bytes.size();
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
        m_failed = m_device->write(m_buffer.constData(), m_used) != m_used;
    m_used = 0;
    return !m_failed;
}

} // namespace mesh::io
