#pragma once

#include <eval/Program.h>
#include <eval/internal/Ast.h>
#include <eval/internal/DiagnosticList.h>
#include <eval/internal/OverloadTable.h>
#include <eval/internal/StructRegistry.h>
#include <eval/internal/TypeRules.h>

#include <QHash>
#include <QSet>
#include <QString>

namespace eval::internal {

/// What a name of the outermost scope stands for.
struct SlotInfo
{
    TypeRef type;
    Handle handle = 0;
};

using SlotTable = QHash<QString, SlotInfo>;

/// Writes the type of every expression of one parsed source into its nodes, resolves calls and
/// members, and reports what the language forbids. Permissive about arithmetic: any pair of
/// operands has a result type, since definition code has already passed the compiler of a GPU.
///
/// Call registerStructs(), registerUserFunctions() and check() in this order, once each. The slots
/// and structs given must outlive the checker. A tree may be checked again, after the slots' types
/// have changed.
class TypeChecker
{
public:
    /// @param known  structs of other sources, for the slots that have their type
    TypeChecker(const SlotTable &globals, const StructRegistry &known);

    void registerStructs(const QList<AstPtr> &declarations);
    void registerUserFunctions(const QList<AstPtr> &functions);
    /// Checks the function bodies and the expression; null is allowed. Returns the type of the
    /// expression.
    TypeRef check(const AstPtr &root);

    const DiagnosticList &diagnostics() const { return m_diagnostics; }
    const StructRegistry &structs() const { return m_structs; }
    /// The functions that can reach themselves by calls.
    const QSet<QString> &recursiveFunctions() const { return m_recursive; }

private:
    // Statements
    void checkFunction(const AstNode &function);
    void declareLocal(const QString &name, const TypeRef &type);
    void checkStmt(const AstPtr &node);
    void checkDeclaration(AstNode &node);
    void checkCondition(const AstNode &statement, QLatin1StringView message);

    // Expressions: each returns the type that it also writes
    Type checkNode(const AstPtr &node);
    Type computeType(AstNode &node);
    Type checkLiteral(const AstNode &node) const;
    Type checkIdentifier(AstNode &node);
    Type checkUnary(AstNode &node);
    Type checkBinary(AstNode &node);
    Type checkTernary(AstNode &node);
    Type checkIndex(AstNode &node);
    Type checkConstructor(AstNode &node);
    Type checkStructConstructor(const AstNode &node, const QList<TypeRef> &arguments);
    Type checkBuiltinConstructor(const AstNode &node, const QList<TypeRef> &arguments);
    Type checkMember(AstNode &node);
    Type checkField(AstNode &node);
    Type checkSwizzle(const AstNode &node);
    Type checkCall(AstNode &node);
    Type checkBuiltinCall(const AstNode &node, const QList<TypeRef> &arguments);
    QList<TypeRef> checkArguments(const AstNode &node);
    void takeCompanions(AstNode &node, const AstPtr &from) const;

    void registerStruct(const AstNode &declaration);
    StructDef readFields(const AstNode &declaration);
    const StructDef *findStruct(const QString &name) const;
    void error(const AstNode &node, const QString &message,
               DiagnosticCategory category = DiagnosticCategory::Type);

    const SlotTable &m_globals;
    const StructRegistry &m_known;
    StructRegistry m_structs;
    OverloadTable m_overloads;
    QList<AstPtr> m_functions;
    QHash<QString, TypeRef> m_locals; ///< of the function being checked: a block opens no scope
    qsizetype m_localValues = 0;      ///< declared in that function so far
    QSet<QString> m_recursive;
    DiagnosticList m_diagnostics;
};

} // namespace eval::internal
