// Two stacks of wrappers made one.
//
// A stack holds each wrapper once, and the wrappers "translate", "rotate" and "scale" take their
// values from the node's transform. Where both stacks move, turn or scale, the two similarities are
// composed: x -> t + s R x, with R = Rx Ry Rz as the definition "rotate" turns.
#include <corvane/model/TransformPart.h>
#include <corvane/ops/ComponentMaterializer.h>

#include <QSet>

#include <cmath>
#include <numbers>

using namespace Qt::StringLiterals;

namespace corvane::ops {

using model::LogicalInstance;
using model::transformParts;
using model::WrapperValues;

namespace {

using Vector = std::array<double, 3>;
using Matrix = std::array<Vector, 3>; ///< rows

struct Similarity
{
    Vector translate{};
    Matrix rotate{};
    double scale = 1.0;
};

/// 0 to 2 for a transform's wrapper, -1 for any other.
int transformRank(const QString &wrapperId)
{
    const std::size_t part = model::transformPartOf(wrapperId);
    return part < transformParts.size() ? int(part) : -1;
}

double effectiveScale(const LogicalInstance &node)
{
    return qFuzzyIsNull(node.scale.x()) ? 1.0 : double(node.scale.x());
}

/// Whether a wrapper of the node's stack leaves every point where it is.
bool isIdentity(const LogicalInstance &node, const QString &wrapperId)
{
    switch (transformRank(wrapperId)) {
    case 0:
        return node.translate.isNull();
    case 1:
        return node.rotate.isNull();
    case 2:
        return effectiveScale(node) == 1.0;
    default:
        return false;
    }
}

QStringList effectiveIds(const LogicalInstance &node)
{
    QStringList ids;
    for (const WrapperValues &wrapper : node.wrappers) {
        if (!isIdentity(node, wrapper.definitionId))
            ids.append(wrapper.definitionId);
    }
    return ids;
}

Matrix product(const Matrix &a, const Matrix &b)
{
    Matrix result{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            for (std::size_t i = 0; i < 3; ++i)
                result[row][column] += a[row][i] * b[i][column];
        }
    }
    return result;
}

Matrix rotationOf(const QVector3D &degrees)
{
    const auto radians = [&degrees](int axis) {
        return double(degrees[axis]) * std::numbers::pi / 180.0;
    };
    const double cx = std::cos(radians(0)), sx = std::sin(radians(0));
    const double cy = std::cos(radians(1)), sy = std::sin(radians(1));
    const double cz = std::cos(radians(2)), sz = std::sin(radians(2));
    const Matrix x{{{1, 0, 0}, {0, cx, -sx}, {0, sx, cx}}};
    const Matrix y{{{cy, 0, sy}, {0, 1, 0}, {-sy, 0, cy}}};
    const Matrix z{{{cz, -sz, 0}, {sz, cz, 0}, {0, 0, 1}}};
    return product(x, product(y, z));
}

QVector3D anglesOf(const Matrix &m)
{
    const double sinY = std::clamp(m[0][2], -1.0, 1.0);
    // Turned by a right angle about y, turning about x and about z is the same.
    const bool isLocked = std::abs(sinY) > 1.0 - 1e-9;
    const double x = isLocked ? std::atan2(m[2][1], m[1][1]) : std::atan2(-m[1][2], m[2][2]);
    const double z = isLocked ? 0.0 : std::atan2(-m[0][1], m[0][0]);
    const double degrees = 180.0 / std::numbers::pi;
    return {float(x * degrees), float(std::asin(sinY) * degrees), float(z * degrees)};
}

Similarity similarityOf(const LogicalInstance &node)
{
    const QStringList ids = effectiveIds(node);
    Similarity similarity;
    similarity.rotate = rotationOf(ids.contains(transformParts[1].key) ? node.rotate : QVector3D());
    if (ids.contains(transformParts[0].key))
        similarity.translate = {node.translate.x(), node.translate.y(), node.translate.z()};
    if (ids.contains(transformParts[2].key))
        similarity.scale = effectiveScale(node);
    return similarity;
}

Similarity composed(const Similarity &outer, const Similarity &inner)
{
    Similarity result = outer;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t i = 0; i < 3; ++i)
            result.translate[row] += outer.scale * outer.rotate[row][i] * inner.translate[i];
    }
    result.scale *= inner.scale;
    return result;
}

/// Whether the transforms among the wrappers are the first of them, in the order of a similarity.
bool beginsWithSimilarity(const QStringList &ids)
{
    int last = -1;
    bool isBehind = false;
    for (const QString &id : ids) {
        const int rank = transformRank(id);
        if (rank >= 0 && (isBehind || rank < last))
            return false;
        isBehind = isBehind || rank < 0;
        last = std::max(last, rank);
    }
    return true;
}

bool isSimilarity(const QStringList &ids)
{
    return beginsWithSimilarity(ids) &&
           std::all_of(ids.cbegin(), ids.cend(),
                       [](const QString &id) { return transformRank(id) >= 0; });
}

WrapperValues entryOf(const LogicalInstance &node, const QString &id)
{
    const WrapperValues *known = node.wrapper(id);
    return known ? *known : WrapperValues{id, {}};
}

/// Both turn, or the angles of one can stay as they are.
QVector3D composedAngles(const LogicalInstance &outer, const LogicalInstance &inner)
{
    const auto turns = [](const LogicalInstance &node) {
        return effectiveIds(node).contains(transformParts[1].key);
    };
    if (!turns(outer))
        return turns(inner) ? inner.rotate : QVector3D();
    if (!turns(inner))
        return outer.rotate;
    return anglesOf(product(rotationOf(outer.rotate), rotationOf(inner.rotate)));
}

void compose(const LogicalInstance &outer, LogicalInstance &inner)
{
    const Similarity similarity = composed(similarityOf(outer), similarityOf(inner));
    const Vector &t = similarity.translate;
    inner.rotate = composedAngles(outer, inner);
    inner.translate = {float(t[0]), float(t[1]), float(t[2])};
    inner.scale = QVector3D(1.0f, 1.0f, 1.0f) * float(similarity.scale);
    QList<WrapperValues> stack;
    for (const model::TransformPart &part : transformParts)
        stack.append(entryOf(inner, part.key));
    for (const WrapperValues &wrapper : std::as_const(inner.wrappers)) {
        if (transformRank(wrapper.definitionId) < 0)
            stack.append(wrapper);
    }
    inner.wrappers = stack;
}

void takeTransform(const LogicalInstance &from, const QString &wrapperId, LogicalInstance &to)
{
    switch (transformRank(wrapperId)) {
    case 0:
        to.translate = from.translate;
        break;
    case 1:
        to.rotate = from.rotate;
        break;
    case 2:
        to.scale = from.scale;
        break;
    default:
        break;
    }
}

/// The outer wrappers, then the inner ones; those that do nothing come last, for the editor.
void concatenate(const LogicalInstance &outer, LogicalInstance &inner)
{
    const QStringList outerIds = effectiveIds(outer);
    const QStringList innerIds = effectiveIds(inner);
    QList<WrapperValues> stack;
    for (const QString &id : outerIds)
        stack.append(*outer.wrapper(id));
    for (const QString &id : innerIds)
        stack.append(*std::as_const(inner).wrapper(id));
    for (const WrapperValues &wrapper : std::as_const(inner.wrappers)) {
        if (!outerIds.contains(wrapper.definitionId) && !innerIds.contains(wrapper.definitionId))
            stack.append(wrapper);
    }
    for (const QString &id : outerIds)
        takeTransform(outer, id, inner);
    inner.wrappers = stack;
}

} // namespace

bool mergeWrappers(const LogicalInstance &outer, LogicalInstance &inner)
{
    const QStringList outerIds = effectiveIds(outer);
    const QStringList innerIds = effectiveIds(inner);
    if (outerIds.isEmpty())
        return true;
    if (isSimilarity(outerIds) && beginsWithSimilarity(innerIds)) {
        compose(outer, inner);
        return true;
    }
    const QSet<QString> taken(innerIds.cbegin(), innerIds.cend());
    if (std::any_of(outerIds.cbegin(), outerIds.cend(),
                    [&taken](const QString &id) { return taken.contains(id); }))
        return false;
    concatenate(outer, inner);
    return true;
}

} // namespace corvane::ops
