#pragma once

#include <QLatin1StringView>
#include <QString>
#include <QtGlobal>

#include <optional>

namespace eval {

/// A type of the field language. The numbers are a contract: they are part of the key of the
/// compile cache.
enum class Type : quint32 {
    // clang-format off
    Void = 0,
    Float, Double, Int, Uint, Int64, Uint64, Bool, String,
    Vec2, Vec3, Vec4,
    DVec2, DVec3, DVec4,
    IVec2, IVec3, IVec4,
    UVec2, UVec3, UVec4,
    I64Vec2, I64Vec3, I64Vec4,
    U64Vec2, U64Vec3, U64Vec4,
    BVec2, BVec3, BVec4,
    Mat2, Mat3, Mat4,
    Mat2x3, Mat2x4, Mat3x2, Mat3x4, Mat4x2, Mat4x3,
    DMat2, DMat3, DMat4,
    DMat2x3, DMat2x4, DMat3x2, DMat3x4, DMat4x2, DMat4x3,
    // clang-format on
    Struct = 48, ///< a user struct; its name travels beside the type
    Array = 49,  ///< a run-time array of float-packed elements; the element type travels beside it
};
inline constexpr int typeCount = 50;

/// The keyword of a type ("vec3"), or "<unknown>" for a value that has none (Struct, Array, out of
/// range).
QString typeName(Type type);
/// The type that a keyword names; none for any other word.
std::optional<Type> typeFromKeyword(QStringView keyword);

/// 1 for a scalar, 2 to 4 for a vector, 0 for everything else.
int vectorComponentCount(Type type);
/// The floats that a slot of this type takes in the flat buffers of the native and GPU back-ends.
/// Everything that is neither a float vector nor a matrix takes 1, integer and double vectors too:
/// those cannot cross a slot.
int slotFloatWidth(Type type);

bool isScalar(Type type);
bool isVector(Type type);
bool isMatrix(Type type);
/// Signed and unsigned integers of both widths, scalars and vectors.
bool isIntegerLike(Type type);
/// The scalar type of a vector's lanes or a matrix's entries; a scalar is its own.
Type scalarOf(Type type);
/// The vector of `components` lanes of a scalar type; the scalar itself for 1, Void when there is
/// none.
Type vectorOf(Type scalar, int components);
/// 0 for what is no matrix. `matCxR` has C columns and R rows, as in GLSL.
int matrixColumns(Type type);
int matrixRows(Type type);
/// Void when there is no such matrix.
Type matrixOf(int columns, int rows, bool isDouble = false);
/// Lanes of a value: vector components, columns times rows, 1 for a scalar, 0 for Void, String,
/// Struct, Array.
int laneCount(Type type);

} // namespace eval
