#pragma once

#include <eval/Type.h>

#include <QByteArray>
#include <QString>

namespace eval::internal {

/// A value in emitted text: what names it, and the type that it has there.
///
/// The type is the one that the interpreter's value would have, which is not always the one that
/// the checker wrote on the node. A swizzle, an index or an operator may follow the text.
struct CodeValue
{
    QByteArray text{};
    Type type = Type::Float;
    QString structName{};           ///< when type is Struct
    Type elementType = Type::Float; ///< when type is Array
    bool isVariable = false;        ///< reads something that a later side effect may change
    bool isAtom = false;            ///< a name or a literal: costs nothing to be written again
    int depth = 0;                  ///< of brackets within each other
};

} // namespace eval::internal
