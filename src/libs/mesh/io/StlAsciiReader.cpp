#include "StlAsciiReader.h"

#include "ByteReader.h"
#include "NumberText.h"
#include "ProgressTicker.h"

#include <optional>

using namespace Qt::StringLiterals;

namespace mesh::io {

namespace {

// A state machine over the lines that are not blank; each state takes one line.
template<typename T>
class AsciiStl
{
public:
    AsciiStl(QIODevice &device, const ImportOptions &options, qint64 estimatedTriangles)
        : m_reader(device)
        , m_options(options)
        , m_ticker(options, estimatedTriangles)
    {
        m_mesh.vertices.reserve(qMin(estimatedTriangles, mostReserved) * 3);
        m_mesh.elements.reserve(qMin(estimatedTriangles, mostReserved));
    }

    Result<Mesh<T>> read();

private:
    static constexpr qint64 mostReserved =
        1 << 20; // an estimate only: lines may be longer than it thinks

    enum class State { Start, FacetOrEnd, Loop, Vertex, LoopEnd, FacetEnd, BetweenSolids };
    using Failure = std::optional<Error>;

    Failure takeLine(QByteArrayView line);
    Failure takeStart(Tokens tokens);
    Failure takeFacetOrEnd(Tokens tokens);
    Failure takeVertex(Tokens tokens);
    Failure takeWords(Tokens tokens, QByteArrayView first, QByteArrayView second, State next);
    Failure finishFacet();
    Error failed(const QString &text) const { return malformed(text.arg(m_reader.lineNumber())); }

    ByteReader m_reader;
    const ImportOptions &m_options;
    ProgressTicker m_ticker;
    Mesh<T> m_mesh;
    State m_state = State::Start;
    int m_corners = 0; // of the facet that is being read
};

template<typename T>
std::optional<Error> AsciiStl<T>::takeStart(Tokens tokens)
{
    const QByteArrayView word = tokens.next();
    const bool isSolid = word.size() >= 5 && isWord(word.first(5), "solid");
    if (!isSolid)
        return m_state == State::Start ? Failure(failed(u"Expected 'solid' at line %1"_s))
                                       : Failure();
    if (m_state == State::Start)
        m_mesh.name = QString::fromUtf8(word.sliced(5).toByteArray() + tokens.rest().toByteArray());
    m_state = State::FacetOrEnd;
    return {};
}

template<typename T>
std::optional<Error> AsciiStl<T>::takeFacetOrEnd(Tokens tokens)
{
    const QByteArrayView word = tokens.next();
    if (word.size() >= 8 && isWord(word.first(8), "endsolid")) {
        m_state = State::BetweenSolids;
        return {};
    }
    T ignored{};
    bool isFacet = isWord(word, "facet") && isWord(tokens.next(), "normal");
    for (int i = 0; i < 3; ++i)
        isFacet = isFacet && parseReal(tokens.next(), ignored);
    if (!isFacet)
        return failed(u"Expected 'facet' or 'endsolid' at line %1"_s);
    if (m_mesh.elements.size() >= m_options.maxTriangles)
        return triangleLimitExceeded(m_options.maxTriangles);
    if (!m_ticker.tick(m_mesh.elements.size()))
        return Error{u"Operation cancelled at triangle %1"_s.arg(m_mesh.elements.size()),
                     Cancelled};
    m_state = State::Loop;
    return {};
}

template<typename T>
std::optional<Error> AsciiStl<T>::takeWords(Tokens tokens, QByteArrayView first,
                                            QByteArrayView second, State next)
{
    const bool isExpected =
        isWord(tokens.next(), first) && (second.isEmpty() || isWord(tokens.next(), second));
    if (!isExpected) {
        const QByteArray phrase =
            first.toByteArray() + (second.isEmpty() ? "" : " ") + second.toByteArray();
        return malformed(u"Expected '%1' at line %2"_s.arg(QString::fromLatin1(phrase),
                                                           QString::number(m_reader.lineNumber())));
    }
    m_state = next;
    return {};
}

template<typename T>
std::optional<Error> AsciiStl<T>::takeVertex(Tokens tokens)
{
    if (!isWord(tokens.next(), "vertex"))
        return failed(u"Expected 'vertex' at line %1"_s);
    Vector3<T> p;
    for (T *coordinate : {&p.x, &p.y, &p.z})
        if (!parseReal(tokens.next(), *coordinate))
            return failed(u"Invalid vertex at line %1"_s);
    if (!p.isFinite())
        return failed(u"Invalid coordinates (NaN/Inf) at line %1"_s);
    m_mesh.vertices.append(p);
    if (++m_corners == 3)
        m_state = State::LoopEnd;
    return {};
}

template<typename T>
std::optional<Error> AsciiStl<T>::finishFacet()
{
    const int first = int(m_mesh.vertices.size()) - 3;
    m_mesh.addElement(ElementType::Triangle, {first, first + 1, first + 2});
    m_corners = 0;
    return {};
}

template<typename T>
std::optional<Error> AsciiStl<T>::takeLine(QByteArrayView line)
{
    const Tokens tokens(line);
    switch (m_state) {
    case State::Start:
    case State::BetweenSolids:
        return takeStart(tokens);
    case State::FacetOrEnd:
        return takeFacetOrEnd(tokens);
    case State::Loop:
        return takeWords(tokens, "outer", "loop", State::Vertex);
    case State::Vertex:
        return takeVertex(tokens);
    case State::LoopEnd:
        return takeWords(tokens, "endloop", {}, State::FacetEnd);
    case State::FacetEnd:
        if (auto failure = takeWords(tokens, "endfacet", {}, State::FacetOrEnd))
            return failure;
        return finishFacet();
    }
    return {};
}

template<typename T>
Result<Mesh<T>> AsciiStl<T>::read()
{
    QByteArrayView line;
    while (m_reader.nextLine(line)) {
        if (line.trimmed().isEmpty())
            continue;
        if (auto failure = takeLine(line))
            return *std::move(failure);
    }
    const qint64 lastLine = m_reader.lineNumber() + 1;
    if (m_reader.metTooLong())
        return malformed(u"Line %1 is too long"_s.arg(lastLine));
    if (m_state == State::Start)
        return malformed(u"Expected 'solid' at line %1"_s.arg(lastLine));
    if (m_state != State::FacetOrEnd && m_state != State::BetweenSolids)
        return Error{u"Unexpected end of file at line %1"_s.arg(m_reader.lineNumber()), ShortRead};
    return std::move(m_mesh);
}

} // namespace

template<typename T>
Result<Mesh<T>> readAsciiStl(QIODevice &device, const ImportOptions &options,
                             qint64 estimatedTriangles)
{
    return AsciiStl<T>(device, options, estimatedTriangles).read();
}

template Result<Mesh<float>> readAsciiStl(QIODevice &device, const ImportOptions &options,
                                          qint64 estimatedTriangles);

} // namespace mesh::io
