#include <eval/Type.h>

#include <QHash>

#include <array>

using namespace Qt::StringLiterals;

namespace eval {

namespace {

enum class Shape { None, Scalar, Vector, Matrix };

struct TypeFacts
{
    QLatin1StringView keyword;
    Shape shape = Shape::None;
    Type scalar = Type::Void;
    int columns = 0; ///< lanes of a scalar or vector; columns of a matrix
    int rows = 1;
};

using enum Shape;

/// Indexed by the number of the type.
constexpr auto facts = std::to_array<TypeFacts>({
    {"void"_L1, None, Type::Void, 0, 1},
    {"float"_L1, Scalar, Type::Float, 1, 1},
    {"double"_L1, Scalar, Type::Double, 1, 1},
    {"int"_L1, Scalar, Type::Int, 1, 1},
    {"uint"_L1, Scalar, Type::Uint, 1, 1},
    {"int64_t"_L1, Scalar, Type::Int64, 1, 1},
    {"uint64_t"_L1, Scalar, Type::Uint64, 1, 1},
    {"bool"_L1, Scalar, Type::Bool, 1, 1},
    {"string"_L1, None, Type::String, 0, 1},
    {"vec2"_L1, Vector, Type::Float, 2, 1},
    {"vec3"_L1, Vector, Type::Float, 3, 1},
    {"vec4"_L1, Vector, Type::Float, 4, 1},
    {"dvec2"_L1, Vector, Type::Double, 2, 1},
    {"dvec3"_L1, Vector, Type::Double, 3, 1},
    {"dvec4"_L1, Vector, Type::Double, 4, 1},
    {"ivec2"_L1, Vector, Type::Int, 2, 1},
    {"ivec3"_L1, Vector, Type::Int, 3, 1},
    {"ivec4"_L1, Vector, Type::Int, 4, 1},
    {"uvec2"_L1, Vector, Type::Uint, 2, 1},
    {"uvec3"_L1, Vector, Type::Uint, 3, 1},
    {"uvec4"_L1, Vector, Type::Uint, 4, 1},
    {"i64vec2"_L1, Vector, Type::Int64, 2, 1},
    {"i64vec3"_L1, Vector, Type::Int64, 3, 1},
    {"i64vec4"_L1, Vector, Type::Int64, 4, 1},
    {"u64vec2"_L1, Vector, Type::Uint64, 2, 1},
    {"u64vec3"_L1, Vector, Type::Uint64, 3, 1},
    {"u64vec4"_L1, Vector, Type::Uint64, 4, 1},
    {"bvec2"_L1, Vector, Type::Bool, 2, 1},
    {"bvec3"_L1, Vector, Type::Bool, 3, 1},
    {"bvec4"_L1, Vector, Type::Bool, 4, 1},
    {"mat2"_L1, Matrix, Type::Float, 2, 2},
    {"mat3"_L1, Matrix, Type::Float, 3, 3},
    {"mat4"_L1, Matrix, Type::Float, 4, 4},
    {"mat2x3"_L1, Matrix, Type::Float, 2, 3},
    {"mat2x4"_L1, Matrix, Type::Float, 2, 4},
    {"mat3x2"_L1, Matrix, Type::Float, 3, 2},
    {"mat3x4"_L1, Matrix, Type::Float, 3, 4},
    {"mat4x2"_L1, Matrix, Type::Float, 4, 2},
    {"mat4x3"_L1, Matrix, Type::Float, 4, 3},
    {"dmat2"_L1, Matrix, Type::Double, 2, 2},
    {"dmat3"_L1, Matrix, Type::Double, 3, 3},
    {"dmat4"_L1, Matrix, Type::Double, 4, 4},
    {"dmat2x3"_L1, Matrix, Type::Double, 2, 3},
    {"dmat2x4"_L1, Matrix, Type::Double, 2, 4},
    {"dmat3x2"_L1, Matrix, Type::Double, 3, 2},
    {"dmat3x4"_L1, Matrix, Type::Double, 3, 4},
    {"dmat4x2"_L1, Matrix, Type::Double, 4, 2},
    {"dmat4x3"_L1, Matrix, Type::Double, 4, 3},
    {QLatin1StringView(), None, Type::Struct, 0, 1},
    {QLatin1StringView(), None, Type::Array, 0, 1},
});
static_assert(facts.size() == typeCount);

const TypeFacts &factsOf(Type type)
{
    static constexpr TypeFacts unknown{};
    const auto index = static_cast<quint32>(type);
    return index < facts.size() ? facts[index] : unknown;
}

template<class Matches>
Type findType(Matches matches)
{
    for (size_t i = 0; i < facts.size(); ++i) {
        if (matches(facts[i]))
            return static_cast<Type>(i);
    }
    return Type::Void;
}

QHash<QStringView, Type> buildKeywords()
{
    // The views point into strings that live as long as the table.
    static const QList<QString> names = [] {
        QList<QString> list;
        for (const TypeFacts &entry : facts)
            list.append(QString(entry.keyword));
        return list;
    }();
    QHash<QStringView, Type> keywords;
    for (qsizetype i = 0; i < names.size(); ++i) {
        if (!names[i].isEmpty())
            keywords.insert(names[i], static_cast<Type>(i));
    }
    return keywords;
}

} // namespace

QString typeName(Type type)
{
    const QLatin1StringView keyword = factsOf(type).keyword;
    return keyword.isEmpty() ? u"<unknown>"_s : QString(keyword);
}

std::optional<Type> typeFromKeyword(QStringView keyword)
{
    static const QHash<QStringView, Type> keywords = buildKeywords();
    const auto found = keywords.constFind(keyword);
    return found == keywords.constEnd() ? std::nullopt : std::optional(*found);
}

int vectorComponentCount(Type type)
{
    const TypeFacts &entry = factsOf(type);
    return entry.shape == Matrix ? 0 : entry.columns;
}

int slotFloatWidth(Type type)
{
    const TypeFacts &entry = factsOf(type);
    const bool packed =
        entry.shape == Matrix || (entry.shape == Vector && entry.scalar == Type::Float);
    return packed ? entry.columns * entry.rows : 1;
}

bool isScalar(Type type)
{
    return factsOf(type).shape == Scalar;
}

bool isVector(Type type)
{
    return factsOf(type).shape == Vector;
}

bool isMatrix(Type type)
{
    return factsOf(type).shape == Matrix;
}

bool isIntegerLike(Type type)
{
    const TypeFacts &entry = factsOf(type);
    const bool isInteger = entry.scalar >= Type::Int && entry.scalar <= Type::Uint64;
    return isInteger && (entry.shape == Scalar || entry.shape == Vector);
}

Type scalarOf(Type type)
{
    return factsOf(type).scalar;
}

Type vectorOf(Type scalar, int components)
{
    if (!isScalar(scalar))
        return Type::Void;
    return findType([=](const TypeFacts &entry) {
        return (entry.shape == Scalar || entry.shape == Vector) && entry.scalar == scalar &&
               entry.columns == components;
    });
}

int matrixColumns(Type type)
{
    return isMatrix(type) ? factsOf(type).columns : 0;
}

int matrixRows(Type type)
{
    return isMatrix(type) ? factsOf(type).rows : 0;
}

Type matrixOf(int columns, int rows, bool isDouble)
{
    const Type scalar = isDouble ? Type::Double : Type::Float;
    return findType([=](const TypeFacts &entry) {
        return entry.shape == Matrix && entry.scalar == scalar && entry.columns == columns &&
               entry.rows == rows;
    });
}

int laneCount(Type type)
{
    const TypeFacts &entry = factsOf(type);
    return entry.shape == None ? 0 : entry.columns * entry.rows;
}

} // namespace eval
