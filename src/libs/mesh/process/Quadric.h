#pragma once

#include <mesh/Vector3.h>

#include <optional>

namespace mesh::process {

/// The sum of squared distances to a set of weighted planes, as a function of the point.
template<typename T>
struct Quadric
{
    T xx{}, xy{}, xz{}, yy{}, yz{}, zz{}; ///< the symmetric matrix A
    Vector3<T> b{};
    T c{};
    T area{}; ///< sum of the weights

    /// The plane through `point` with a unit normal.
    static Quadric ofPlane(const Vector3<T> &normal, const Vector3<T> &point, T weight)
    {
        const T d = -normal.dot(point);
        return {weight * normal.x * normal.x,
                weight * normal.x * normal.y,
                weight * normal.x * normal.z,
                weight * normal.y * normal.y,
                weight * normal.y * normal.z,
                weight * normal.z * normal.z,
                normal * (weight * d),
                weight * d * d,
                weight};
    }

    Quadric &operator+=(const Quadric &o)
    {
        xx += o.xx, xy += o.xy, xz += o.xz;
        yy += o.yy, yz += o.yz, zz += o.zz;
        b += o.b;
        c += o.c;
        area += o.area;
        return *this;
    }

    /// p A p + 2 b p + c
    T evaluate(const Vector3<T> &p) const
    {
        return p.x * (xx * p.x + 2 * (xy * p.y + xz * p.z)) + p.y * (yy * p.y + 2 * yz * p.z) +
               p.z * zz * p.z + 2 * b.dot(p) + c;
    }

    /// Where the sum is least: the solution of A x = -b. Nothing where planes leave a direction
    /// free: for a determinant smaller than `minDeterminant`.
    std::optional<Vector3<T>> minimum(T minDeterminant) const
    {
        const Vector3<T> r0{xx, xy, xz}, r1{xy, yy, yz}, r2{xz, yz, zz};
        const Vector3<T> c12 = r1.cross(r2);
        const T determinant = r0.dot(c12);
        if (!(std::abs(determinant) >= minDeterminant))
            return {};
        const Vector3<T> sum = c12 * b.x + r2.cross(r0) * b.y + r0.cross(r1) * b.z;
        return sum * (T(-1) / determinant);
    }
};

} // namespace mesh::process
