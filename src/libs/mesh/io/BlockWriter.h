#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QtEndian>

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

    void append(QByteArrayView bytes);
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
        if (m_used + n > m_buffer.size())
            makeRoom(n);
        char *const room = m_buffer.data() + m_used;
        m_used += n;
        return room;
    }

    /// Writes out what is buffered. False once anything has failed.
    bool flush();
    bool hasFailed() const { return m_failed; }

    /// What is buffered.
    QByteArrayView bytes() const { return QByteArrayView(m_buffer).first(m_used); }
    /// Forgets what is buffered; the memory is kept.
    void clear() { m_used = 0; }

private:
    void makeRoom(qsizetype n);

    QIODevice *m_device = nullptr;
    QByteArray m_buffer;
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
