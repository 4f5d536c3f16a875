#pragma once

#include <eval/internal/codegen/CodeValue.h>

#include <QVariant>

#include <optional>

namespace eval::gpu {

/// What a variable may be, structs apart: scalars of 32 bits, vectors of them, float matrices.
bool isGlslType(Type type);
/// The keyword of such a type, "void" for Void; empty for everything else.
QByteArray glslTypeName(Type type);
/// A literal by its value, never by its spelling. Scalars only.
QByteArray glslLiteral(const QVariant &value, Type type);
QByteArray glslZero(Type type);

/// One lane of a value, which is written once; zero beyond the last lane.
QByteArray glslLane(const internal::CodeValue &value, int lane);
/// A scalar under another scalar type, by the rules of the language: reals are cut towards zero and
/// wrapped to 32 bits.
QByteArray glslCast(const QByteArray &scalar, Type from, Type to);
/// A value under another type, written once: a scalar to all lanes or the diagonal, a vector cut or
/// filled with zeros. None where that has no short form.
std::optional<QByteArray> glslRetag(const internal::CodeValue &value, Type type);

} // namespace eval::gpu
