#pragma once

#include <mesh/io/Result.h>

#include <QByteArrayView>
#include <QList>

namespace mesh::io {

/// A list that face corners index, and what must be known of it to check them. Positive numbers may
/// run ahead of the file: whether they are in range is only known at its end.
struct ObjIndexRange
{
    qint64 count = 0;       ///< entries read so far
    qint64 highest = 0;     ///< the largest number that a corner has named
    qint64 highestLine = 0; ///< and where
};

/// The numbers of one face corner, from 0; -1 for one that is not given.
struct ObjCorner
{
    int vertex = -1;
    int texCoord = -1;
    int normal = -1;
};

/// Reads the corners of "f" lines.
class ObjFaceReader
{
public:
    ObjIndexRange vertices, texCoords, normals;

    /// Reads what follows "f", such as "1//4 2//4 -1//4".
    Result<void> read(QByteArrayView text, qint64 line, QList<ObjCorner> &corners);

    /// Whether all corners so far name what there is.
    Result<void> checkRanges() const;

private:
    static Result<int> resolve(QByteArrayView number, qint64 line, ObjIndexRange &range);
    Result<ObjCorner> readCorner(QByteArrayView text, qint64 line);
};

} // namespace mesh::io
