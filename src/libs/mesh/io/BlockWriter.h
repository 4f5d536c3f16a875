#pragma once

#include <QByteArrayView>
#include <QtEndian>

#include <algorithm>
#include <vector>

class QIODevice;

namespace mesh::io {

/// Bytes and text on their way to a device, in blocks. What a device takes is compared with what it
/// was given; the first failure is kept, and from then on nothing more is written.
///
/// Without a device they stay in memory, until somebody takes them from bytes().
class BlockWriter
{
public:
    /// The form of numbers in text: digits behind the point, or digits in all as C's %g has them.
    enum class Notation { Fixed, General };

    BlockWriter() = default;
    explicit BlockWriter(QIODevice &device);

    void append(QByteArrayView bytes)
    {
        if (bytes.size() > room() || bytes.size() >= directSize)
            return appendLong(bytes);
        std::copy_n(bytes.data(), bytes.size(), m_buffer.data() + m_used); // of nothing too
        m_used += bytes.size();
    }
    BlockWriter &operator<<(QByteArrayView bytes)
    {
        append(bytes);
        return *this;
    }
    BlockWriter &operator<<(qint64 number);
    void appendReal(double number, Notation notation, int precision);
    void appendReal(float number, Notation notation, int precision);

    /// Room for n bytes (up to 4096) that the caller fills before the next call.
    char *claim(qsizetype n)
    {
        char *const place = reserve(n);
        m_used += n;
        return place;
    }

    /// Writes out what is buffered. False once anything has failed.
    bool flush();
    bool hasFailed() const { return m_failed; }

    /// What is buffered.
    QByteArrayView bytes() const { return {m_buffer.data(), m_used}; }
    /// Forgets what is buffered; the memory is kept.
    void clear() { m_used = 0; }

private:
    static constexpr qsizetype directSize = 64 * 1024; ///< what is longer is not copied

    qsizetype room() const { return qsizetype(m_buffer.size()) - m_used; }
    char *reserve(qsizetype n)
    {
        if (n > room())
            makeRoom(n);
        return m_buffer.data() + m_used;
    }
    void makeRoom(qsizetype n);
    void appendLong(QByteArrayView bytes);
    template<typename Number>
    void appendNumber(Number number, Notation notation, int precision);

    QIODevice *m_device = nullptr;
    std::vector<char> m_buffer;
    qsizetype m_used = 0;
    bool m_failed = false;
};

/// Stores a number in little-endian order and answers the place behind it.
template<typename Number>
char *putLittleEndian(char *to, Number number)
{
    qToLittleEndian(number, to);
    return to + sizeof(Number);
}

} // namespace mesh::io
