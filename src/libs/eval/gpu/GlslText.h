#pragma once

#include <eval/Type.h>

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <optional>

namespace eval::gpu {

/// A value in emitted GLSL: the text that names it and the type that it has there, which is the one
/// that the interpreter's value would have. The text is a name, a literal, a call or in brackets,
/// so that a swizzle, an index or an operator may follow it.
struct GlslValue
{
    QByteArray text;
    Type type = Type::Float;
    QString structName;      ///< when type is Struct
    bool isAtom = false;     ///< a name or a literal: costs nothing to be written again
    bool isVariable = false; ///< reads something that a later assignment may change
    int depth = 0;           ///< of brackets within each other
};

/// What a variable may be, structs apart: scalars of 32 bits, vectors of them, float matrices.
bool isGlslType(Type type);
/// The keyword of such a type, "void" for Void; empty for everything else.
QByteArray glslTypeName(Type type);
/// A literal by its value, never by its spelling. Scalars only.
QByteArray glslLiteral(const QVariant &value, Type type);
QByteArray glslZero(Type type);

/// One lane of a value, which is written once; zero beyond the last lane.
QByteArray glslLane(const GlslValue &value, int lane);
/// A scalar under another scalar type, by the rules of the language: reals are cut towards zero and
/// wrapped to 32 bits.
QByteArray glslCast(const QByteArray &scalar, Type from, Type to);
/// A value under another type, written once: a scalar to all lanes or the diagonal, a vector cut or
/// filled with zeros. None where that has no short form.
std::optional<QByteArray> glslRetag(const GlslValue &value, Type type);
/// "function(a, b)".
QByteArray glslCall(const QByteArray &function, const QList<QByteArray> &arguments);

} // namespace eval::gpu
