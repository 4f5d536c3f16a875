#pragma once

#include <eval/Diagnostic.h>
#include <eval/internal/frontend/Ast.h>
#include <eval/internal/interpreter/Value.h>

#include <QHash>
#include <QList>
#include <QVarLengthArray>

#include <atomic>
#include <optional>

namespace eval::internal {

class StructRegistry;

/// The variables of one function call, or the slots of a program while its outputs are evaluated.
using Environment = QHash<QString, Value>;

/// User functions by name, overloads in source order. Borrows the nodes.
using FunctionTable = QHash<QString, QList<const AstNode *>>;

/// Of two definitions with the same parameter types the later one replaces the earlier.
FunctionTable makeFunctionTable(const QList<AstPtr> &functions);

/// Computes values by walking a checked tree: the reference for every faster form of evaluation.
///
/// Lives for one evaluation of one output. A fault is recorded as a diagnostic and yields float
/// zero; evaluation goes on, so that one run can report several. Variables are known by name; a
/// block opens no scope, a call sees nothing but its parameters. Both operands of && and || are
/// evaluated.
///
/// Bounded in everything: loops end silently after 99,999 rounds, calls stop at depth 256, and what
/// a hostile source could blow up beyond that (the height of the walk, the variables alive, the
/// diagnostics kept) has limits of its own that are reported as faults.
class Interpreter
{
public:
    enum class Flow { Normal = 0, Break = 1, Continue = 2, Return = 3 };

    static constexpr int loopRoundLimit = 99'999;
    static constexpr int callDepthLimit = 256;
    static constexpr int nestingLimit = 3'000;
    static constexpr qsizetype liveVariableLimit = 262'144;
    static constexpr qsizetype diagnosticLimit = 1'000;

    Interpreter(Environment *environment, const StructRegistry &structs, bool reportRuntimeFaults);

    void setFunctions(FunctionTable functions) { m_functions = std::move(functions); }
    void registerUserFunctions(const QList<AstPtr> &nodes)
    {
        m_functions = makeFunctionTable(nodes);
    }
    /// Looked at in every round and call; once it reads true the walk ends as soon as it
    /// can and the one diagnostic is "evaluation cancelled".
    void setCancelFlag(const std::atomic_bool *cancelled) { m_cancelFlag = cancelled; }

    Value evaluate(const AstNode &node);
    Flow execStmt(const AstNode &node, Value &returnSlot);
    Value evalFunctionCall(const AstNode &node);
    void recordError(const SourceSpan &span, const QString &message,
                     DiagnosticCategory category = DiagnosticCategory::Runtime);

    const QList<Diagnostic> &diagnostics() const { return m_diagnostics; }
    bool wasCancelled() const { return m_cancelled; }

private:
    /// What an assignment writes to: a variable, or a field or lanes within it.
    struct Target
    {
        bool valid = false;
        QString name;
        QVarLengthArray<int, 4> fieldPath;
        bool partial = false;           ///< only `lanes` of what the path leads to
        QVarLengthArray<int, 16> lanes; ///< absolute, in the order written
        Type type = Type::Float;        ///< of the part itself
        QString structName;
    };

    Value evaluateNode(const AstNode &node);
    Value evalIdentifier(const AstNode &node);
    Value evalUnary(const AstNode &node);
    Value evalStep(const AstNode &node);
    Value evalBinary(const AstNode &node);
    Value combine(const AstNode &node, BinaryKind kind, const Value &left, const Value &right);
    Value evalTernary(const AstNode &node);
    Value evalConstructor(const AstNode &node);
    Value constructStruct(const AstNode &node, const QList<Value> &arguments);
    Value evalMember(const AstNode &node);
    Value evalStructField(const AstNode &node);
    Value evalIndex(const AstNode &node);

    Value evalAssignment(const AstNode &node);
    Target resolveTarget(const AstNode &node);
    Target resolveIndexTarget(const AstNode &node);
    Value *leafOf(const Target &target);
    Value readTarget(const Target &target);
    Value writeTarget(const Target &target, const Value &value);
    bool checkIndex(const AstNode &node, Type type, qint64 index);

    QList<Value> evalArguments(const AstNode &node);
    const AstNode *pickOverload(const AstNode &node, const QList<Value> &arguments);
    Value callUserFunction(const AstNode &node, const AstNode &function,
                           const QList<Value> &arguments);
    void bindParameters(const AstNode &function, const QList<Value> &arguments,
                        Environment &environment);
    void copyBack(const AstNode &call, const AstNode &function, const Environment &callee);
    bool enterCall(const AstNode &node);

    Flow execBlock(const AstNode &node, Value &returnSlot);
    Flow execDeclaration(const AstNode &node);
    Flow execIf(const AstNode &node, Value &returnSlot);
    Flow execFor(const AstNode &node, Value &returnSlot);
    Flow execWhile(const AstNode &node, Value &returnSlot);
    Flow execDoWhile(const AstNode &node, Value &returnSlot);
    Flow execSwitch(const AstNode &node, Value &returnSlot);
    Flow execReturn(const AstNode &node, Value &returnSlot);
    Flow execDiscard(const AstNode &node);

    void declare(const AstNode &node, const Value &value);
    /// Asked at every round and call; true once the caller wants to stop.
    bool isCancelled(const AstNode &node);
    bool enterLevel(const AstNode &node);

    Environment *m_environment;
    const StructRegistry &m_structs;
    FunctionTable m_functions;
    QList<Diagnostic> m_diagnostics;
    const AstNode *m_function = nullptr; ///< whose body runs; null in an output's expression
    const std::atomic_bool *m_cancelFlag = nullptr;
    qsizetype m_liveVariables = 0;
    int m_callDepth = 0;
    int m_nesting = 0;
    bool m_reportRuntimeFaults;
    bool m_cancelled = false;
    bool m_nestingReported = false;
};

/// The lane that a swizzle letter names: x, r and s are 0.
int swizzleLane(QChar letter);
/// A case block of a switch: "default", or the number that its label reads as; none for a label
/// that is none.
bool isDefaultCase(const AstNode &caseBlock);
std::optional<qint32> caseNumber(const AstNode &caseBlock);

} // namespace eval::internal
