#pragma once

// What the language has for matrices. All of it in double: a determinant is a difference of
// products, and elimination adds up the rounding of all its steps.

#include <eval/internal/Builtin.h>
#include <eval/internal/Value.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace eval::internal::builtin {

/// A matrix in double, whatever it was stored in: m[column][row].
using Entries = std::array<std::array<double, 4>, 4>;

inline Entries entriesOf(const Value &matrix)
{
    Entries m{};
    const int rows = matrixRows(matrix.type);
    for (int column = 0; column < matrixColumns(matrix.type); ++column) {
        for (int row = 0; row < rows; ++row)
            m[static_cast<size_t>(column)][static_cast<size_t>(row)] =
                matrix.lane(column * rows + row);
    }
    return m;
}

inline double minor3(const Entries &m, size_t a, size_t b, size_t c, size_t p, size_t q, size_t r)
{
    return m[a][p] * (m[b][q] * m[c][r] - m[c][q] * m[b][r]) -
           m[b][p] * (m[a][q] * m[c][r] - m[c][q] * m[a][r]) +
           m[c][p] * (m[a][q] * m[b][r] - m[b][q] * m[a][r]);
}

inline double matDeterminant(const Entries &m, int size)
{
    switch (size) {
    case 2:
        return m[0][0] * m[1][1] - m[1][0] * m[0][1];
    case 3:
        return minor3(m, 0, 1, 2, 0, 1, 2);
    case 4:
        return m[0][0] * minor3(m, 1, 2, 3, 1, 2, 3) - m[1][0] * minor3(m, 0, 2, 3, 1, 2, 3) +
               m[2][0] * minor3(m, 0, 1, 3, 1, 2, 3) - m[3][0] * minor3(m, 0, 1, 2, 1, 2, 3);
    default:
        return 0.0;
    }
}

/// Gauss-Jordan elimination with partial pivoting, columns taking the part of rows: the inverse of
/// the transpose is the transpose of the inverse. False when a pivot is zero.
inline bool matInverse(Entries m, Entries &inverse, size_t size)
{
    inverse = {};
    for (size_t i = 0; i < size; ++i)
        inverse[i][i] = 1.0;
    for (size_t step = 0; step < size; ++step) {
        size_t pivot = step;
        for (size_t i = step + 1; i < size; ++i) {
            if (std::fabs(m[i][step]) > std::fabs(m[pivot][step]))
                pivot = i;
        }
        if (m[pivot][step] == 0.0)
            return false;
        std::swap(m[pivot], m[step]);
        std::swap(inverse[pivot], inverse[step]);
        const double divisor = m[step][step];
        for (size_t k = 0; k < size; ++k) {
            m[step][k] /= divisor;
            inverse[step][k] /= divisor;
        }
        for (size_t i = 0; i < size; ++i) {
            const double factor = m[i][step];
            if (i == step || factor == 0.0)
                continue;
            for (size_t k = 0; k < size; ++k) {
                m[i][k] -= factor * m[step][k];
                inverse[i][k] -= factor * inverse[step][k];
            }
        }
    }
    return true;
}

inline bool isSquare(Type type)
{
    return isMatrix(type) && matrixColumns(type) == matrixRows(type);
}

inline Value determinant(Arguments a)
{
    const bool isDouble = scalarOf(a[0].type) == Type::Double;
    Value result = Value::zero(isDouble ? Type::Double : Type::Float);
    if (isSquare(a[0].type))
        result.setLane(0, matDeterminant(entriesOf(a[0]), matrixColumns(a[0].type)));
    return result;
}

inline Value inverse(Arguments a)
{
    const int size = matrixColumns(a[0].type);
    Entries inverted;
    if (!isSquare(a[0].type) || !matInverse(entriesOf(a[0]), inverted, static_cast<size_t>(size)))
        return a[0];
    Value result = Value::zero(a[0].type);
    for (int i = 0; i < size * size; ++i)
        result.setLane(i, inverted[static_cast<size_t>(i / size)][static_cast<size_t>(i % size)]);
    return result;
}

inline Value transpose(Arguments a)
{
    if (!isMatrix(a[0].type))
        return a[0];
    const int columns = matrixColumns(a[0].type);
    const int rows = matrixRows(a[0].type);
    Value result = Value::zero(matrixOf(rows, columns, scalarOf(a[0].type) == Type::Double));
    for (int i = 0; i < columns * rows; ++i)
        result.setLane((i % rows) * columns + i / rows, a[0].lane(i));
    return result;
}

inline Value outerProduct(Arguments a)
{
    const int rows = laneCount(a[0].type);
    const int columns = laneCount(a[1].type);
    const bool isDouble =
        scalarOf(a[0].type) == Type::Double || scalarOf(a[1].type) == Type::Double;
    const Type type = matrixOf(columns, rows, isDouble);
    if (type == Type::Void)
        return Value::zero(Type::Float);
    Value result = Value::zero(type);
    for (int i = 0; i < columns * rows; ++i)
        result.setLane(i, a[0].lane(i % rows) * a[1].lane(i / rows));
    return result;
}

inline Value matrixCompMult(Arguments a)
{
    Value result = Value::zero(a[0].type);
    for (int i = 0; i < std::min(laneCount(a[0].type), laneCount(a[1].type)); ++i)
        result.setLane(i, a[0].lane(i) * a[1].lane(i));
    return result;
}

} // namespace eval::internal::builtin
