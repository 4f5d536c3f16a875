#include "ByteReader.h"

#include <QIODevice>

#include <cstring>

namespace mesh::io {

namespace {

constexpr qsizetype blockSize = 256 * 1024;

bool isSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

} // namespace

ByteReader::ByteReader(QIODevice &device)
    : m_device(device)
    , m_buffer(ByteReader::longestLine + blockSize, Qt::Uninitialized)
    , m_remaining(device.size() - device.pos())
{}

// Moves what is left to the front and reads another block behind it.
bool ByteReader::fill()
{
    char *const data = m_buffer.data();
    std::memmove(data, data + m_begin, std::size_t(m_end - m_begin));
    m_end -= m_begin;
    m_begin = 0;
    const qint64 got = m_device.read(data + m_end, qMin(m_buffer.size() - m_end, blockSize));
    if (got <= 0)
        return false;
    m_end += got;
    return true;
}

QByteArrayView ByteReader::peek(qsizetype n)
{
    while (m_end - m_begin < n && fill()) {
    }
    return QByteArrayView(m_buffer.constData() + m_begin, qMin(n, m_end - m_begin));
}

bool ByteReader::read(void *to, qsizetype n)
{
    char *target = static_cast<char *>(to);
    while (n > 0) {
        if (m_begin == m_end && !fill())
            return false;
        const qsizetype part = qMin(n, m_end - m_begin);
        std::memcpy(target, m_buffer.constData() + m_begin, std::size_t(part));
        target += part;
        n -= part;
        m_begin += part;
        m_remaining -= part;
    }
    return true;
}

bool ByteReader::skip(qint64 n)
{
    while (n > 0) {
        if (m_begin == m_end && !fill())
            return false;
        const auto part = qsizetype(qMin<qint64>(n, m_end - m_begin));
        n -= part;
        m_begin += part;
        m_remaining -= part;
    }
    return true;
}

template<typename FindEnd>
bool ByteReader::takeUpTo(const FindEnd &findEnd, QByteArrayView &taken)
{
    qsizetype searched = 0;
    for (;;) {
        const char *const begin = m_buffer.constData() + m_begin;
        const char *const end = m_buffer.constData() + m_end;
        const char *const found = findEnd(begin + searched, end);
        const bool isFound = found != end;
        if (!isFound && end - begin <= longestLine) {
            searched = end - begin;
            if (fill())
                continue;
        }
        const qsizetype length = isFound ? found - begin : m_end - m_begin;
        m_metTooLong = length > longestLine;
        if (m_metTooLong || (!isFound && length == 0))
            return false;
        taken = QByteArrayView(m_buffer.constData() + m_begin, length);
        m_begin += length + isFound;
        m_remaining -= length + isFound;
        return true;
    }
}

bool ByteReader::nextLine(QByteArrayView &line)
{
    const auto findLineEnd = [](const char *from, const char *end) {
        const void *const found = std::memchr(from, '\n', std::size_t(end - from));
        return found ? static_cast<const char *>(found) : end;
    };
    if (!takeUpTo(findLineEnd, line))
        return false;
    ++m_lineNumber;
    if (line.endsWith('\r'))
        line.chop(1);
    return true;
}

bool ByteReader::nextToken(QByteArrayView &token)
{
    const auto findSpace = [](const char *from, const char *end) {
        return std::find_if(from, end, isSpace);
    };
    do {
        if (!takeUpTo(findSpace, token))
            return false;
    } while (token.isEmpty());
    return true;
}

SizedInput::SizedInput(QIODevice &device)
    : m_device(&device)
{
    if (!device.isSequential())
        return;
    // Memory is only taken as far as it is written to: growing in steps would hold two copies at a
    // time.
    constexpr qsizetype step = 1 << 20;
    m_content.reserve(longestPipe + step);
    for (;;) {
        const qsizetype size = m_content.size();
        if (size > longestPipe) {
            m_content = {};
            m_device = nullptr;
            return;
        }
        m_content.resize(size + step);
        const qint64 got = device.read(m_content.data() + size, step);
        m_content.resize(size + std::max<qint64>(got, 0));
        if (got <= 0)
            break;
    }
    m_buffer.setBuffer(&m_content);
    m_buffer.open(QIODevice::ReadOnly);
    m_device = &m_buffer;
}

} // namespace mesh::io
