#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QByteArrayView>

class QIODevice;

namespace mesh::io {

/// The bytes of a device in order, read in blocks. Lines and tokens have a longest length, so that
/// no input can make the buffer grow.
class ByteReader
{
public:
    static constexpr qsizetype longestLine = 1 << 20;

    explicit ByteReader(QIODevice &device);

    /// Bytes that are left, as the size of the device tells. Only for a device that is not
    /// sequential.
    qint64 remaining() const { return m_remaining; }

    /// The next n bytes (up to longestLine) without taking them; shorter at the end of the device.
    QByteArrayView peek(qsizetype n);

    /// Takes exactly n bytes; false when there are fewer.
    bool read(void *to, qsizetype n);
    bool skip(qint64 n);

    /// Takes a line, without its "\n" or "\r\n". False at the end, or for a line that is too long.
    /// The view is good until the next call.
    bool nextLine(QByteArrayView &line);

    /// Takes what stands up to the next white space, as nextLine() does.
    bool nextToken(QByteArrayView &token);

    qint64 lineNumber() const { return m_lineNumber; } ///< of the line taken last, from 1
    bool metTooLong() const { return m_metTooLong; }

private:
    bool fill();
    template<typename FindEnd>
    bool takeUpTo(const FindEnd &findEnd, QByteArrayView &taken);

    QIODevice &m_device;
    QByteArray m_buffer;
    qsizetype m_begin = 0; // of what is not taken yet
    qsizetype m_end = 0;
    qint64 m_remaining = 0;
    qint64 m_lineNumber = 0;
    bool m_metTooLong = false;
};

/// A device that can tell its size: the device itself, or for a sequential one (a pipe) its whole
/// content.
class SizedInput
{
public:
    static constexpr qint64 longestPipe = 256 << 20;

    explicit SizedInput(QIODevice &device);

    /// Null when a sequential device carries more than longestPipe.
    QIODevice *device() { return m_device; }

private:
    QByteArray m_content;
    QBuffer m_buffer;
    QIODevice *m_device;
};

} // namespace mesh::io
