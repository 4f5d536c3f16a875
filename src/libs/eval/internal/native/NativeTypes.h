#pragma once

#include <eval/internal/codegen/CodeValue.h>

#include <QVariant>

namespace eval::internal {

/// Scalars, float vectors and matrices, and the bool vectors that comparisons give.
bool isNativeLaneType(Type type);
/// The same without bool vectors: what a variable, parameter or field may be; structs apart.
bool isNativeVariableType(Type type);

/// The C++ name of a lane type. "Float", "Int" and "Bool" are those of one point or of several, by
/// the text around them.
QByteArray nativeTypeName(Type type);
/// A literal by its value, never by its spelling.
QByteArray nativeLiteral(const QVariant &value, Type type);
QByteArray nativeInteger(qint64 value);
QByteArray nativeZero(Type type);

/// One lane of a value as a scalar of scalarOf(type). Zero beyond the last lane.
QByteArray nativeLane(const CodeValue &value, int lane);
/// The same, with a scalar standing for all lanes.
QByteArray nativeBroadcastLane(const CodeValue &value, int lane);
/// A scalar under another scalar type, by the language's rules.
QByteArray nativeCast(const QByteArray &scalar, Type from, Type to);
/// A value of a lane type from the texts of its lanes.
QByteArray nativeCompose(Type type, const QList<QByteArray> &lanes);
/// A value under another lane type: lane by lane, a single scalar to all lanes or the diagonal.
QByteArray nativeRetag(const CodeValue &value, Type type);

} // namespace eval::internal
