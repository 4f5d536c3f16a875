#pragma once

#include <eval/Diagnostic.h>
#include <eval/Type.h>

#include <QList>
#include <QSharedPointer>
#include <QString>
#include <QVariant>

namespace eval::internal {

// clang-format off
enum class AstKind {
    Literal = 0, Identifier, Unary, Binary, Ternary, Call, Constructor, Member, Index,
    Block, ExpressionStatement, VariableDeclaration, If, For, While, DoWhile, Return, Break,
    Continue, Discard, Switch, FunctionDefinition, StructDeclaration, StructField,
};

enum class UnaryKind {
    Negate = 0, Plus, LogicalNot, BitNot, PrefixIncrement, PrefixDecrement, PostfixIncrement,
    PostfixDecrement,
};

enum class BinaryKind {
    Add = 0, Subtract, Multiply, Divide, Remainder, Equal, NotEqual, Less, Greater, LessOrEqual,
    GreaterOrEqual, LogicalAnd, LogicalOr, LogicalXor, BitAnd, BitOr, BitXor, ShiftLeft, ShiftRight,
    Assign, AddAssign, SubtractAssign, MultiplyAssign, DivideAssign, RemainderAssign, BitAndAssign,
    BitOrAssign, BitXorAssign, ShiftLeftAssign, ShiftRightAssign,
};
// clang-format on

enum class ParamQualifier { ByValue = 0, Out = 1, InOut = 2, Const = 3 };

/// The levels of nodes that one tree has at most, statements included. The parser refuses a source
/// that goes beyond it, so that every walk (and the destructor) may recurse.
inline constexpr int maxTreeDepth = 512;

/// A parameter of a function definition, or a field of a struct declaration.
struct FunctionParam
{
    QString name;
    Type type = Type::Float; ///< the element type when isArray
    QString structName;      ///< when type is Struct
    ParamQualifier qualifier = ParamQualifier::ByValue;
    bool isArray = false;
};

struct AstNode;
struct Builtin;
using AstPtr = QSharedPointer<AstNode>;

/// One node of a parsed source. Which fields a kind uses:
///
/// | kind                | fields |
/// |---------------------|--------------------------------------------------------------------------------|
/// | Literal             | literal: float, double, int, uint, qlonglong, qulonglong or bool | |
/// Identifier          | name | | Unary               | unaryKind, left | | Binary              |
/// binaryKind, left, right                                                        | | Ternary |
/// condition, left, right                                                         | | Call | name,
/// arguments                                                                | | Constructor | type
/// (Struct with structName for a struct), name as written, arguments         | | Member | left,
/// name (a swizzle or a field)                                              | | StructField | left,
/// name, fieldIndex: a Member that the checker has resolved                 | | Index | left, right
/// | | Block               | statements; a case block of a switch has its label in name ("default"
/// or digits) | | ExpressionStatement | left | | VariableDeclaration | type, structName, name,
/// left: the initialiser or null                          | | If                  | condition,
/// left, right (null without else)                                     | | For                 |
/// left: the initial statement or null, condition, right: the step, body          | | While,
/// DoWhile      | condition, body                                                                |
/// | Return              | left or null | | Switch              | condition, statements: the case
/// blocks                                         | | FunctionDefinition  | name, params, type and
/// structName: what it returns, body: a Block              | | StructDeclaration   | name, params:
/// the fields                                                       |
///
/// The checker writes `type`, `structName` and `elementType` of every expression. Any child may be
/// null where the source was in error; a tree that reaches evaluation has none that its kind needs.
struct AstNode
{
    AstKind kind = AstKind::Literal;
    Type type = Type::Float;
    SourceSpan span;
    QVariant literal;
    bool valid = true; ///< false when a literal could not be read
    QString name;
    QString structName;
    Type elementType = Type::Float; ///< of a run-time array
    int fieldIndex = -1;
    const Builtin *builtin = nullptr; ///< that a call may mean, by its name and arguments
    int height = 1; ///< levels of nodes from here down, this one included; kept by the parser
    UnaryKind unaryKind = UnaryKind::Negate;
    BinaryKind binaryKind = BinaryKind::Add;
    AstPtr left;
    AstPtr right;
    AstPtr condition;
    AstPtr body;
    QList<AstPtr> statements;
    QList<AstPtr> arguments;
    QList<FunctionParam> params;
};

/// What a parser makes of one source: declarations, then one expression (null when none came out).
struct ParsedSource
{
    QList<AstPtr> structs;
    QList<AstPtr> functions;
    AstPtr root;
    QList<Diagnostic> diagnostics;
};

} // namespace eval::internal
