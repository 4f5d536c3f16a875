#pragma once

#include <eval/Type.h>

#include <QByteArray>
#include <QString>
#include <QVariant>

namespace eval::internal {

/// A value in emitted C++: the text that names it, and the type that it has there.
///
/// The type is the one that the interpreter's value would have, which is not always the one that
/// the checker wrote on the node.
struct Operand
{
    QByteArray text;
    Type type = Type::Float;
    QString structName;             ///< when type is Struct
    Type elementType = Type::Float; ///< when type is Array
    bool isVariable = false;        ///< reads something that a later side effect may change
};

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
QByteArray nativeLane(const Operand &value, int lane);
/// The same, with a scalar standing for all lanes.
QByteArray nativeBroadcastLane(const Operand &value, int lane);
/// A scalar under another scalar type, by the language's rules.
QByteArray nativeCast(const QByteArray &scalar, Type from, Type to);
/// A value of a lane type from the texts of its lanes.
QByteArray nativeCompose(Type type, const QList<QByteArray> &lanes);
/// A value under another lane type: lane by lane, a single scalar to all lanes or the diagonal.
QByteArray nativeRetag(const Operand &value, Type type);

} // namespace eval::internal
