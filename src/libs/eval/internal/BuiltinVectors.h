#pragma once

// Geometry on vectors, relations per lane, and the tests on bool vectors.

#include <eval/internal/Builtin.h>
#include <eval/internal/LaneMath.h>
#include <eval/internal/Value.h>

#include <algorithm>
#include <array>
#include <functional>

namespace eval::internal::builtin {

template<class T>
using Lanes = std::array<T, 16>;

template<class T>
Lanes<T> lanesOf(const Value &value)
{
    Lanes<T> lanes{};
    for (int i = 0; i < laneCount(value.type); ++i)
        lanes[static_cast<size_t>(i)] = static_cast<T>(value.lane(i));
    return lanes;
}

template<class T>
Value valueOf(const Lanes<T> &lanes, int count)
{
    Value value = Value::zero(
        vectorOf(std::is_same_v<T, double> ? Type::Double : Type::Float, std::clamp(count, 1, 4)));
    for (int i = 0; i < laneCount(value.type); ++i)
        value.setLane(i, static_cast<double>(lanes[static_cast<size_t>(i)]));
    return value;
}

inline bool anyDouble(Arguments arguments)
{
    return std::ranges::any_of(
        arguments, [](const Value &value) { return scalarOf(value.type) == Type::Double; });
}

inline int sizeOf(Arguments arguments)
{
    return std::max(1, laneCount(arguments[0].type));
}

template<class T>
Value dotOf(Arguments a)
{
    return valueOf<T>({lane::dot(lanesOf<T>(a[0]).data(), lanesOf<T>(a[1]).data(), sizeOf(a))}, 1);
}

template<class T>
Value lengthOf(Arguments a)
{
    return valueOf<T>({lane::length(lanesOf<T>(a[0]).data(), sizeOf(a))}, 1);
}

template<class T>
Value distanceOf(Arguments a)
{
    Lanes<T> difference = lanesOf<T>(a[0]);
    const Lanes<T> other = lanesOf<T>(a[1]);
    for (size_t i = 0; i < difference.size(); ++i)
        difference[i] = difference[i] - other[i];
    return valueOf<T>({lane::length(difference.data(), sizeOf(a))}, 1);
}

template<class T>
Value normalized(Arguments a)
{
    Lanes<T> v = lanesOf<T>(a[0]);
    const T length = lane::length(v.data(), sizeOf(a));
    if (length != T(0)) {
        for (T &component : v)
            component = component / length;
    }
    return valueOf(v, sizeOf(a));
}

template<class T>
Value crossOf(Arguments arguments)
{
    const Lanes<T> a = lanesOf<T>(arguments[0]);
    const Lanes<T> b = lanesOf<T>(arguments[1]);
    return valueOf<T>(
        {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]}, 3);
}

template<class T>
Value reflected(Arguments a)
{
    Lanes<T> incident = lanesOf<T>(a[0]);
    const Lanes<T> normal = lanesOf<T>(a[1]);
    const T twice = T(2) * lane::dot(normal.data(), incident.data(), sizeOf(a));
    for (size_t i = 0; i < incident.size(); ++i)
        incident[i] = incident[i] - twice * normal[i];
    return valueOf(incident, sizeOf(a));
}

template<class T>
Value refracted(Arguments a)
{
    Lanes<T> incident = lanesOf<T>(a[0]);
    const Lanes<T> normal = lanesOf<T>(a[1]);
    const T eta = static_cast<T>(a[2].lane(0));
    const T cosine = lane::dot(normal.data(), incident.data(), sizeOf(a));
    const T k = T(1) - eta * eta * (T(1) - cosine * cosine);
    if (k < T(0))
        return valueOf<T>({}, sizeOf(a));
    const T along = eta * cosine + std::sqrt(k);
    for (size_t i = 0; i < incident.size(); ++i)
        incident[i] = eta * incident[i] - along * normal[i];
    return valueOf(incident, sizeOf(a));
}

template<class T>
Value facedForward(Arguments a)
{
    Lanes<T> normal = lanesOf<T>(a[0]);
    const T side = lane::dot(lanesOf<T>(a[2]).data(), lanesOf<T>(a[1]).data(), sizeOf(a));
    if (!(side < T(0))) {
        for (T &component : normal)
            component = -component;
    }
    return valueOf(normal, sizeOf(a));
}

/// In float unless an argument is double, as the host language computes.
template<Value (*inFloat)(Arguments), Value (*inDouble)(Arguments)>
Value byPrecision(Arguments arguments)
{
    return anyDouble(arguments) ? inDouble(arguments) : inFloat(arguments);
}

template<class Relation>
Value relation(Arguments a)
{
    Value result = Value::zero(vectorOf(Type::Bool, std::clamp(sizeOf(a), 1, 4)));
    for (int i = 0; i < laneCount(result.type); ++i)
        result.setLane(i, Relation()(a[0].lane(i), a[1].lane(isScalar(a[1].type) ? 0 : i)));
    return result;
}

template<bool (*test)(double)>
Value tested(Arguments a)
{
    Value result = Value::zero(vectorOf(Type::Bool, std::clamp(sizeOf(a), 1, 4)));
    for (int i = 0; i < laneCount(result.type); ++i)
        result.setLane(i, test(a[0].lane(i)));
    return result;
}

inline bool isNan(double x)
{
    return std::isnan(x);
}
inline bool isInf(double x)
{
    return std::isinf(x);
}

inline Value anyOf(Arguments a)
{
    bool result = false;
    for (int i = 0; i < sizeOf(a); ++i)
        result = result || a[0].lane(i) != 0.0;
    return Value::ofBool(result);
}

inline Value allOf(Arguments a)
{
    bool result = true;
    for (int i = 0; i < sizeOf(a); ++i)
        result = result && a[0].lane(i) != 0.0;
    return Value::ofBool(result);
}

inline Value notOf(Arguments a)
{
    Value result = a[0];
    for (int i = 0; i < sizeOf(a); ++i)
        result.setLane(i, a[0].lane(i) == 0.0);
    return result;
}

inline constexpr auto length = &byPrecision<&lengthOf<float>, &lengthOf<double>>;
inline constexpr auto distance = &byPrecision<&distanceOf<float>, &distanceOf<double>>;
inline constexpr auto dot = &byPrecision<&dotOf<float>, &dotOf<double>>;
inline constexpr auto cross = &byPrecision<&crossOf<float>, &crossOf<double>>;
inline constexpr auto normalize = &byPrecision<&normalized<float>, &normalized<double>>;
inline constexpr auto reflect = &byPrecision<&reflected<float>, &reflected<double>>;
inline constexpr auto refract = &byPrecision<&refracted<float>, &refracted<double>>;
inline constexpr auto faceforward = &byPrecision<&facedForward<float>, &facedForward<double>>;

} // namespace eval::internal::builtin
