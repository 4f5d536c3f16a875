#include "PlyHeader.h"

#include "FormatImporter.h"
#include "NumberText.h"

using namespace Qt::StringLiterals;

namespace mesh::io {

namespace {

struct TypeFacts
{
    PlyType type;
    QByteArrayView word, sizedWord;
    int size;
};

constexpr TypeFacts typeFacts[] = {
    {PlyType::Int8, "char", "int8", 1},        {PlyType::UInt8, "uchar", "uint8", 1},
    {PlyType::Int16, "short", "int16", 2},     {PlyType::UInt16, "ushort", "uint16", 2},
    {PlyType::Int32, "int", "int32", 4},       {PlyType::UInt32, "uint", "uint32", 4},
    {PlyType::Float32, "float", "float32", 4}, {PlyType::Float64, "double", "float64", 8},
};
static_assert(std::size(typeFacts) == std::size_t(PlyType::Float64) + 1);

Error badLine(QByteArrayView line)
{
    constexpr qsizetype mostShown = 80;
    return malformed(u"Invalid PLY header line: %1"_s.arg(
        QString::fromUtf8(line.first(qMin(line.size(), mostShown)))));
}

// Where the data begins; -1 without an end of the header, which stands on a line of its own.
qsizetype findBody(QByteArrayView start)
{
    constexpr QByteArrayView mark("end_header");
    for (qsizetype at = start.indexOf(mark); at >= 0; at = start.indexOf(mark, at + 1)) {
        const QByteArrayView behind = start.sliced(at + mark.size());
        const bool beginsLine = at == 0 || start[at - 1] == '\n' || start[at - 1] == '\r';
        if (beginsLine && behind.startsWith('\n'))
            return at + mark.size() + 1;
        if (beginsLine && behind.startsWith("\r\n"))
            return at + mark.size() + 2;
    }
    return -1;
}

class HeaderParser
{
public:
    Result<void> takeLine(QByteArrayView line);
    Result<void> finish() const;
    PlyHeader header;

private:
    Result<void> takeFormat(QByteArrayView word);
    Result<void> takeElement(Tokens tokens, QByteArrayView line);
    Result<void> takeProperty(Tokens tokens, QByteArrayView line);

    bool m_hasMagic = false;
    bool m_hasFormat = false;
};

Result<void> HeaderParser::takeFormat(QByteArrayView word)
{
    m_hasFormat = true;
    if (word == "ascii")
        header.format = PlyFormat::Ascii;
    else if (word == "binary_little_endian")
        header.format = PlyFormat::BinaryLittleEndian;
    else if (word == "binary_big_endian")
        header.format = PlyFormat::BinaryBigEndian;
    else
        return malformed(u"Unsupported PLY format: %1"_s.arg(QString::fromUtf8(word)));
    return {};
}

Result<void> HeaderParser::takeElement(Tokens tokens, QByteArrayView line)
{
    PlyElement element;
    element.name = tokens.next().toByteArray();
    if (element.name.isEmpty() || !parseInteger(tokens.next(), element.count) || element.count < 0)
        return badLine(line);
    for (const PlyElement &other : std::as_const(header.elements))
        if (other.name == element.name)
            return badLine(line);
    header.elements.append(element);
    return {};
}

Result<void> HeaderParser::takeProperty(Tokens tokens, QByteArrayView line)
{
    PlyProperty property;
    QByteArrayView word = tokens.next();
    if (word == "list") {
        property.countType = parsePropertyType(tokens.next());
        if (!property.countType || !isIntegerType(*property.countType))
            return badLine(line);
        word = tokens.next();
    }
    const auto type = parsePropertyType(word);
    property.name = tokens.next().toByteArray();
    if (!type || property.name.isEmpty() || header.elements.isEmpty())
        return badLine(line);
    property.type = *type;
    header.elements.last().properties.append(property);
    return {};
}

Result<void> HeaderParser::takeLine(QByteArrayView line)
{
    Tokens tokens(line);
    const QByteArrayView word = tokens.next();
    if (!m_hasMagic) {
        m_hasMagic = word == "ply";
        return m_hasMagic ? Result<void>() : malformed(u"Not a PLY file"_s);
    }
    if (word == "format")
        return takeFormat(tokens.next());
    if (word == "element")
        return takeElement(tokens, line);
    if (word == "property")
        return takeProperty(tokens, line);
    return {};
}

Result<void> HeaderParser::finish() const
{
    if (!m_hasMagic)
        return malformed(u"Not a PLY file"_s);
    if (!m_hasFormat)
        return malformed(u"PLY file has no format line"_s);
    return {};
}

} // namespace

std::optional<PlyType> parsePropertyType(QByteArrayView word)
{
    for (const TypeFacts &facts : typeFacts)
        if (word == facts.word || word == facts.sizedWord)
            return facts.type;
    return std::nullopt;
}

int plyTypeSize(PlyType type)
{
    return typeFacts[std::size_t(type)].size;
}

bool isIntegerType(PlyType type)
{
    return type != PlyType::Float32 && type != PlyType::Float64;
}

qint64 PlyElement::smallestRecord(PlyFormat format) const
{
    if (format == PlyFormat::Ascii)
        return 2 * properties.size();
    qint64 size = 0;
    for (const PlyProperty &property : properties)
        size += plyTypeSize(property.countType.value_or(property.type));
    return size;
}

Result<PlyHeader> parsePlyHeader(QByteArrayView start)
{
    const qsizetype body = findBody(start);
    if (body < 0)
        return malformed(u"Missing end_header"_s);
    HeaderParser parser;
    parser.header.size = body;
    for (QByteArrayView rest = start.first(body); !rest.isEmpty();) {
        const auto isLineEnd = [](char c) { return c == '\n' || c == '\r'; };
        const auto end = std::find_if(rest.begin(), rest.end(), isLineEnd);
        const QByteArrayView line = rest.first(end - rest.begin());
        parser.header.lineCount += end != rest.end() && *end == '\n';
        rest = rest.sliced(line.size() + (end != rest.end()));
        if (line.trimmed().isEmpty())
            continue;
        if (const auto taken = parser.takeLine(line); !taken)
            return taken.error();
    }
    if (const auto finished = parser.finish(); !finished)
        return finished.error();
    return std::move(parser.header);
}

} // namespace mesh::io
