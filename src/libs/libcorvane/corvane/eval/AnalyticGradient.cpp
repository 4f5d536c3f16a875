#include <corvane/eval/AnalyticGradient.h>

namespace corvane::eval {

namespace {

using Kind = AnalyticGradient::Kind;
using Node = AnalyticGradient::Node;

struct Sample
{
    float distance = farDistance;
    QVector3D gradient{};
};

QVector3D multiply(const std::array<float, 9> &m, const QVector3D &v)
{
    return {m[0] * v.x() + m[1] * v.y() + m[2] * v.z(), m[3] * v.x() + m[4] * v.y() + m[5] * v.z(),
            m[6] * v.x() + m[7] * v.y() + m[8] * v.z()};
}

float lengthOf(const QVector3D &v)
{
    return std::sqrt(QVector3D::dotProduct(v, v));
}

QVector3D direction(const QVector3D &v)
{
    return v / std::max(lengthOf(v), 1e-12f);
}

float signOf(float v)
{
    return v > 0.0f ? 1.0f : v < 0.0f ? -1.0f : 0.0f;
}

Sample primSphere(const QVector3D &p, float radius)
{
    return {lengthOf(p) - radius, direction(p)};
}

Sample primBoxLike(const QVector3D &p, const QVector3D &halfExtents, float radius)
{
    const QVector3D q = QVector3D(std::fabs(p.x()), std::fabs(p.y()), std::fabs(p.z())) -
                        halfExtents + QVector3D(radius, radius, radius);
    const QVector3D outside(std::max(q.x(), 0.0f), std::max(q.y(), 0.0f), std::max(q.z(), 0.0f));
    const float length = lengthOf(outside);
    const QVector3D sign(signOf(p.x()), signOf(p.y()), signOf(p.z()));
    const float inside = std::min(std::max({q.x(), q.y(), q.z()}), 0.0f);
    Sample sample{inside + length - radius, {}};
    if (length > 1e-12f)
        sample.gradient = sign * outside / length;
    else if (q.x() >= q.y() && q.x() >= q.z())
        sample.gradient = {sign.x(), 0.0f, 0.0f};
    else if (q.y() >= q.z())
        sample.gradient = {0.0f, sign.y(), 0.0f};
    else
        sample.gradient = {0.0f, 0.0f, sign.z()};
    return sample;
}

Sample primCylinder(const QVector3D &p, float radius, float halfHeight)
{
    const QVector3D radial = direction({p.x(), 0.0f, p.z()});
    const QVector3D axial(0.0f, signOf(p.y()), 0.0f);
    const float a = std::sqrt(p.x() * p.x() + p.z() * p.z()) - radius;
    const float b = std::fabs(p.y()) - halfHeight;
    if (a <= 0.0f && b <= 0.0f)
        return a >= b ? Sample{a, radial} : Sample{b, axial};
    const float outA = std::max(a, 0.0f);
    const float outB = std::max(b, 0.0f);
    const float length = std::max(std::sqrt(outA * outA + outB * outB), 1e-12f);
    return {length, (radial * outA + axial * outB) / length};
}

Sample primTorus(const QVector3D &p, float majorRadius, float minorRadius)
{
    const QVector3D radial = direction({p.x(), 0.0f, p.z()});
    const QVector3D toRing = p - radial * majorRadius;
    return {lengthOf(toRing) - minorRadius, direction(toRing)};
}

Sample primCapsule(const QVector3D &p, float radius, float halfHeight)
{
    const float along = std::min(std::max(p.y(), -halfHeight), halfHeight);
    return primSphere(p - QVector3D(0.0f, along, 0.0f), radius);
}

Sample primPlane(const QVector3D &p, const QVector3D &normal, float offset)
{
    const float length = lengthOf(normal);
    const QVector3D n = length > 1e-6f ? normal / length : QVector3D(0.0f, 1.0f, 0.0f);
    return {QVector3D::dotProduct(p, n) - offset, n};
}

Sample primitive(const Node &node, const QVector3D &p)
{
    const auto &v = node.parameters;
    switch (node.kind) {
    case Kind::box:
        return primBoxLike(p, {v[0], v[1], v[2]}, 0.0f);
    case Kind::round_box:
        return primBoxLike(p, {v[0], v[1], v[2]}, std::min({v[3], v[0], v[1], v[2]}));
    case Kind::cylinder:
        return primCylinder(p, v[0], v[1]);
    case Kind::torus:
        return primTorus(p, v[0], v[1]);
    case Kind::capsule:
        return primCapsule(p, v[0], v[1]);
    case Kind::plane:
        return primPlane(p, {v[0], v[1], v[2]}, v[3]);
    case Kind::sphere:
    case Kind::union_:
    case Kind::subtract:
    case Kind::intersect:
    case Kind::smooth_union:
    case Kind::smooth_subtract:
    case Kind::smooth_intersect:
    case Kind::translate:
    case Kind::rotate:
        break; // operators and transforms never come here
    }
    return primSphere(p, v[0]);
}

Sample negated(const Sample &s)
{
    return {-s.distance, -s.gradient};
}

Sample larger(const Sample &a, const Sample &b)
{
    return b.distance > a.distance ? b : a;
}

/// The polynomial minimum of width k. Its correction term has the derivative that cancels what the
/// blend weight contributes, so that the gradient is the blend of the two.
Sample smoothMinimum(const Sample &a, const Sample &b, float k)
{
    const float h = std::clamp(0.5f + 0.5f * (a.distance - b.distance) / k, 0.0f, 1.0f);
    return {a.distance * (1.0f - h) + b.distance * h - k * h * (1.0f - h),
            a.gradient * (1.0f - h) + b.gradient * h};
}

Sample smoothMaximum(const Sample &a, const Sample &b, float k)
{
    return negated(smoothMinimum(negated(a), negated(b), k));
}

/// @param base  what stands so far
Sample combine(const Node &node, const Sample &base, const Sample &child)
{
    const float k = node.parameters[0];
    switch (node.kind) {
    case Kind::subtract:
        return larger(base, negated(child));
    case Kind::intersect:
        return larger(base, child);
    case Kind::smooth_union:
        return smoothMinimum(base, child, k);
    case Kind::smooth_subtract:
        return smoothMaximum(base, negated(child), k);
    case Kind::smooth_intersect:
        return smoothMaximum(base, child, k);
    case Kind::union_:
    case Kind::sphere:
    case Kind::box:
    case Kind::round_box:
    case Kind::cylinder:
    case Kind::torus:
    case Kind::capsule:
    case Kind::plane:
    case Kind::translate:
    case Kind::rotate:
        break; // shapes and transforms never come here
    }
    return child.distance < base.distance ? child : base;
}

Sample evalSlot(const QList<Node> &nodes, int slot, const QVector3D &point)
{
    const Node &node = nodes.at(slot);
    const QVector3D p = node.isPlaced ? multiply(node.rotation, point) + node.translation : point;
    Sample sample;
    if (node.children.isEmpty()) {
        sample = primitive(node, p);
        sample.distance += node.inflation;
        if (node.shell > 0.0f) {
            if (sample.distance < 0.0f)
                sample = negated(sample);
            sample.distance -= node.shell;
        }
    } else {
        sample = evalSlot(nodes, node.children.first(), p);
        for (qsizetype i = 1; i < node.children.size(); ++i)
            sample = combine(node, sample, evalSlot(nodes, node.children.at(i), p));
    }
    if (node.isPlaced)
        sample.gradient = multiply(node.transposed, sample.gradient);
    return sample;
}

} // namespace

DistanceGradient AnalyticGradient::evalCompiled(float x, float y, float z) const
{
    if (!isValid())
        return {};
    const Sample sample = evalSlot(m_nodes, m_root, {x, y, z});
    return {.distance = sample.distance,
            .gradientX = sample.gradient.x(),
            .gradientY = sample.gradient.y(),
            .gradientZ = sample.gradient.z()};
}

} // namespace corvane::eval
