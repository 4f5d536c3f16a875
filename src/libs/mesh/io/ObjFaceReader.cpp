#include "ObjFaceReader.h"

#include "FormatImporter.h"
#include "NumberText.h"

#include <array>
#include <limits>

using namespace Qt::StringLiterals;

namespace mesh::io {

namespace {

Error outOfRange(qint64 number, qint64 line)
{
    return malformed(u"Face index %1 out of range at line %2"_s.arg(QString::number(number),
                                                                    QString::number(line)));
}

} // namespace

Result<int> ObjFaceReader::resolve(QByteArrayView number, qint64 line, ObjIndexRange &range)
{
    if (number.isEmpty())
        return -1;
    qint64 value = 0;
    if (!parseInteger(number, value))
        return malformed(u"Invalid face index at line %1"_s.arg(line));
    const qint64 fromOne = value < 0 ? value + range.count + 1 : value;
    if (fromOne < 1 || fromOne > std::numeric_limits<int>::max())
        return outOfRange(value, line);
    if (fromOne > range.highest) {
        range.highest = fromOne;
        range.highestLine = line;
    }
    return int(fromOne - 1);
}

Result<ObjCorner> ObjFaceReader::readCorner(QByteArrayView text, qint64 line)
{
    std::array<int, 3> numbers = {-1, -1, -1};
    const std::array<ObjIndexRange *, 3> ranges = {&vertices, &texCoords, &normals};
    QByteArrayView rest = text;
    for (std::size_t i = 0; i < 3 && !rest.isNull(); ++i) {
        const qsizetype slash = rest.indexOf('/');
        const auto number = resolve(slash < 0 ? rest : rest.first(slash), line, *ranges[i]);
        if (!number)
            return number.error();
        numbers[i] = number.value();
        rest = slash < 0 ? QByteArrayView() : rest.sliced(slash + 1);
    }
    if (numbers[0] < 0)
        return malformed(u"Invalid face index at line %1"_s.arg(line));
    return ObjCorner{.vertex = numbers[0], .texCoord = numbers[1], .normal = numbers[2]};
}

Result<void> ObjFaceReader::read(QByteArrayView text, qint64 line, QList<ObjCorner> &corners)
{
    corners.clear();
    Tokens tokens(text);
    for (auto token = tokens.next(); !token.isEmpty(); token = tokens.next()) {
        const auto corner = readCorner(token, line);
        if (!corner)
            return corner.error();
        corners.append(corner.value());
    }
    return {};
}

Result<void> ObjFaceReader::checkRanges() const
{
    for (const ObjIndexRange &range : {vertices, texCoords, normals})
        if (range.highest > range.count)
            return outOfRange(range.highest, range.highestLine);
    return {};
}

} // namespace mesh::io
