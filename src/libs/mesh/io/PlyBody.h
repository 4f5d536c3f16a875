#pragma once

#include "ByteReader.h"
#include "NumberText.h"
#include "PlyHeader.h"

namespace mesh::io {

/// The data of a polygon file, value after value, whatever its form.
class PlyBody
{
public:
    /// `reader` stands behind the header.
    PlyBody(ByteReader &reader, const PlyHeader &header)
        : m_reader(reader)
        , m_format(header.format)
        , m_headerLines(header.lineCount)
    {}

    /// Begins the next record: in the text form a line that is not blank. False at the end of the
    /// data.
    bool beginRecord();

    /// The record's next value. False when there is none, or no number.
    bool value(PlyType type, double &number);

    /// The length of a list; false for one that is negative or cannot be held by the rest of the
    /// data.
    bool listLength(const PlyProperty &property, qint64 &length);

    /// Reads past the values of a property, or a whole record that has begun.
    bool skip(const PlyProperty &property);
    bool skipRecord(const PlyElement &element);

    /// Whether the rest of the data can hold all records of the element.
    bool canHold(const PlyElement &element) const;

    bool isText() const { return m_format == PlyFormat::Ascii; }
    qint64 lineNumber() const { return m_headerLines + m_reader.lineNumber(); } ///< text form

private:
    bool binaryValue(PlyType type, double &number);

    ByteReader &m_reader;
    PlyFormat m_format;
    qint64 m_headerLines;
    Tokens m_line{QByteArrayView()};
};

} // namespace mesh::io
