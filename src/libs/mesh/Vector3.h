#pragma once

#include <cmath>

namespace mesh {

/// A point or direction in space.
template<typename T>
struct Vector3
{
    T x{}, y{}, z{};

    constexpr Vector3 operator+(const Vector3 &o) const { return {x + o.x, y + o.y, z + o.z}; }
    constexpr Vector3 operator-(const Vector3 &o) const { return {x - o.x, y - o.y, z - o.z}; }
    constexpr Vector3 operator-() const { return {-x, -y, -z}; }
    constexpr Vector3 operator*(T s) const { return {x * s, y * s, z * s}; }
    constexpr Vector3 operator/(T s) const { return {x / s, y / s, z / s}; }
    constexpr Vector3 &operator+=(const Vector3 &o) { return *this = *this + o; }
    constexpr Vector3 &operator-=(const Vector3 &o) { return *this = *this - o; }
    constexpr bool operator==(const Vector3 &) const = default;

    constexpr T dot(const Vector3 &o) const { return x * o.x + y * o.y + z * o.z; }
    constexpr Vector3 cross(const Vector3 &o) const
    {
        return {y * o.z - z * o.y, z * o.x - x * o.z, x * o.y - y * o.x};
    }
    constexpr T lengthSquared() const { return dot(*this); }
    T length() const { return std::sqrt(lengthSquared()); }

    /// The unit vector of this direction; a vector of length zero is returned unchanged.
    Vector3 normalized() const
    {
        const T l = length();
        return l > T(0) ? *this / l : *this;
    }

    bool isFinite() const { return std::isfinite(x) && std::isfinite(y) && std::isfinite(z); }
};

template<typename T>
constexpr Vector3<T> operator*(T s, const Vector3<T> &v)
{
    return v * s;
}

/// Nine numbers in row order.
template<typename T>
struct Matrix3
{
    T m[9] = {T(1), T(0), T(0), T(0), T(1), T(0), T(0), T(0), T(1)};

    constexpr Vector3<T> operator*(const Vector3<T> &v) const
    {
        return {m[0] * v.x + m[1] * v.y + m[2] * v.z, m[3] * v.x + m[4] * v.y + m[5] * v.z,
                m[6] * v.x + m[7] * v.y + m[8] * v.z};
    }
};

} // namespace mesh
