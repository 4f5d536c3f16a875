#pragma once

#include <mesh/io/Result.h>

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

#include <optional>

namespace mesh::io {

enum class PlyFormat { Ascii, BinaryLittleEndian, BinaryBigEndian };

enum class PlyType { Int8, UInt8, Int16, UInt16, Int32, UInt32, Float32, Float64 };

/// The type of a property's word, such as "uchar" or "uint8".
std::optional<PlyType> parsePropertyType(QByteArrayView word);
int plyTypeSize(PlyType type); ///< bytes in the binary forms
bool isIntegerType(PlyType type);

struct PlyProperty
{
    QByteArray name;
    PlyType type = PlyType::Float32;    ///< of the value, or of a list's items
    std::optional<PlyType> countType{}; ///< set for a list
};

struct PlyElement
{
    QByteArray name;
    qint64 count = 0;
    QList<PlyProperty> properties;

    /// Bytes that a record takes at least, with its line end in the text form.
    qint64 smallestRecord(PlyFormat format) const;
};

/// What a polygon file says about itself before its data.
struct PlyHeader
{
    PlyFormat format = PlyFormat::Ascii;
    QList<PlyElement> elements;
    qint64 size = 0;      ///< bytes up to the data
    qint64 lineCount = 0; ///< lines up to the data
};

/// Reads the header that `start` begins with.
Result<PlyHeader> parsePlyHeader(QByteArrayView start);

} // namespace mesh::io
