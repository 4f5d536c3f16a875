#include "BlockWriter.h"

#include <QIODevice>

#include <charconv>
#include <cstring>

namespace mesh::io {

namespace {

constexpr qsizetype blockSize = 256 * 1024;

// The longest: a double in fixed notation with 30 digits behind the point.
constexpr qsizetype longestNumber = 360;

} // namespace

BlockWriter::BlockWriter(QIODevice &device)
    : m_device(&device)
    , m_buffer(std::size_t(blockSize))
{}

// Memory grows, a device takes what there is.
void BlockWriter::makeRoom(qsizetype n)
{
    if (m_device)
        flush();
    if (n > room())
        m_buffer.resize(qMax(std::size_t(m_used + n), 2 * m_buffer.size()));
}

void BlockWriter::appendLong(QByteArrayView bytes)
{
    if (m_device && bytes.size() >= directSize) {
        if (flush())
            m_failed = m_device->write(bytes.data(), bytes.size()) != bytes.size();
        return;
    }
    std::memcpy(claim(bytes.size()), bytes.data(), std::size_t(bytes.size()));
}

BlockWriter &BlockWriter::operator<<(qint64 number)
{
    constexpr qsizetype longest = 24;
    char *const place = reserve(longest);
    m_used += std::to_chars(place, place + longest, number).ptr - place;
    return *this;
}

template<typename Number>
void BlockWriter::appendNumber(Number number, Notation notation, int precision)
{
    const auto format =
        notation == Notation::Fixed ? std::chars_format::fixed : std::chars_format::general;
    char *const place = reserve(longestNumber);
    m_used += std::to_chars(place, place + longestNumber, number, format, precision).ptr - place;
}

void BlockWriter::appendReal(double number, Notation notation, int precision)
{
    appendNumber(number, notation, precision);
}

void BlockWriter::appendReal(float number, Notation notation, int precision)
{
    appendNumber(number, notation, precision);
}

bool BlockWriter::flush()
{
    if (m_device && !m_failed && m_used > 0)
        m_failed = m_device->write(m_buffer.data(), m_used) != m_used;
    m_used = 0;
    return !m_failed;
}

} // namespace mesh::io
