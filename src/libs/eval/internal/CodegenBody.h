#pragma once

#include <eval/internal/Ast.h>
#include <eval/internal/CodegenUnit.h>
#include <eval/internal/NativeTypes.h>

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSet>

#include <utility>

namespace eval::internal {

/// The statements of one function, or of the outputs' expressions, as C++.
///
/// Each operation becomes a constant of its own, one after the other in the order in which the
/// interpreter would compute them: C++ leaves the order within an expression open, nests no deeper
/// than its compiler allows, and would skip the right side of && and ||. Variables are declared at
/// the top, because a block opens no scope. Loops keep the interpreter's bound.
///
/// What has no C++ form marks the unit and goes on with something harmless.
///
/// For several points at a time both branches of an `if` run one after the other, each for the
/// lanes that take it: an assignment there keeps the other lanes as they are, and a return notes
/// the value of its lanes. Loops go on for the lanes that do. Lanes that are not `active` keep no
/// loop going; what they compute means nothing.
class CodegenBody
{
public:
    /// @param function  null for the outputs' expressions
    CodegenBody(CodegenUnit &unit, CodegenFunction *function);

    /// Makes a name of the source stand for a C++ variable that is declared elsewhere.
    void bindVariable(const QString &name, const Operand &variable);
    /// Empty text when there is no such variable.
    Operand variable(const QString &name) const { return m_variables.value(name); }

    Operand emitExpression(const AstNode &node);
    void emitStatement(const AstNode &node);
    void emitLine(const QByteArray &line);

    /// The variables, then everything emitted so far.
    QByteArray text() const { return m_declarations + m_lines; }
    /// All of a function between its braces.
    QByteArray functionText() const;

private:
    /// What an assignment writes to: a variable or field, or lanes of it.
    struct Target
    {
        bool isValid = false;
        Operand leaf;
        bool isPartial = false;
        QList<QByteArray> lanes; ///< numbers, or names of numbers that may lie beyond the last lane
        Type type = Type::Float; ///< of the part itself
    };

    /// A loop that each lane leaves by itself: variables for those that are in it, and for those of
    /// them that are through with this round.
    struct LaneLoop
    {
        QByteArray on, skipped;
    };

    Operand unsupported();
    Operand keep(const QByteArray &text, Type type, const QString &structName = {});
    Operand named(const Operand &value);
    QByteArray newName(char letter);
    bool mutates(const AstNode &node);
    QList<Operand> emitInOrder(const QList<const AstNode *> &nodes);
    /// Statements into a buffer of their own, one level further in.
    template<class Emit>
    QByteArray nested(Emit body);

    Operand emitIdentifier(const AstNode &node);
    Operand emitUnary(const AstNode &node);
    Operand emitBinary(const AstNode &node);
    Operand combine(BinaryKind kind, const Operand &left, const Operand &right);
    Operand emitComparison(BinaryKind kind, const Operand &left, const Operand &right);
    QByteArray equality(const Operand &left, const Operand &right);
    Operand emitBits(BinaryKind kind, const Operand &left, const Operand &right);
    Operand emitScalar(BinaryKind kind, const Operand &left, const Operand &right, Type type);
    Operand emitLanewise(BinaryKind kind, const Operand &left, const Operand &right, Type type);
    Operand emitProduct(const Operand &left, const Operand &right, Type type);
    Operand emitTernary(const AstNode &node);
    Operand emitConstructor(const AstNode &node);
    Operand emitStructConstructor(const AstNode &node, const QList<Operand> &arguments);
    Operand emitMember(const AstNode &node);
    Operand emitField(const AstNode &node);
    Operand emitIndex(const AstNode &node);
    Operand retag(const Operand &value, Type type, const QString &structName);
    QByteArray condition(const AstNode &node);
    QByteArray stillOn() const;
    QByteArray maskedBy(const QByteArray &condition);
    void assign(const QByteArray &target, const QByteArray &value);
    QByteArray guarded(const QByteArray &block, const QByteArray &mask) const;
    template<class Write>
    std::pair<QByteArray, QByteArray> emitBranches(const QByteArray &chosen, Write write);
    QByteArray dynamicIndex(const Operand &index, int count);

    Operand emitAssignment(const AstNode &node);
    Operand emitStep(const AstNode &node);
    Target resolveTarget(const AstNode &node);
    Target resolveLanes(const AstNode &node);
    Operand readTarget(const Target &target);
    Operand writeTarget(const Target &target, const Operand &value);

    Operand emitFunctionCall(const AstNode &node);
    const AstNode *pickOverload(const AstNode &node, const QList<Operand> &arguments) const;
    Operand emitUserCall(const AstNode &node, const AstNode &function,
                         const QList<Operand> &arguments);

    void emitBlock(const AstNode &node);
    void emitDeclaration(const AstNode &node);
    void emitIf(const AstNode &node);
    void emitMaskedIf(const AstNode &node, const QByteArray &chosen);
    void emitLoop(const AstNode &node);
    QByteArray loopHead();
    void emitMaskedLoop(const AstNode &node);
    void emitSwitch(const AstNode &node);
    void emitReturn(const AstNode &node);
    void emitLeave();
    void emitMaskedLeave(const QByteArray &value);
    void emitMaskedJump(AstKind kind);

    CodegenUnit &m_unit;
    CodegenFunction *m_function;
    QHash<QString, Operand> m_variables;
    QHash<const AstNode *, bool> m_mutating;
    QByteArray m_declarations;
    QByteArray m_lines;
    QByteArray m_indent = "    ";
    QList<QByteArray> m_continueLabels; ///< of the loops around, innermost last
    QList<bool> m_continueUsed;
    int m_breakDepth = 0;        ///< loops and switches around
    QByteArray m_mask;           ///< for lanes: those that are on; empty when all are
    int m_maskDepth = 0;         ///< branches around that not all lanes take
    int m_partLeaves = 0;        ///< jumps of some lanes so far
    int m_partReturns = 0;       ///< those of them that end the function
    QList<LaneLoop> m_laneLoops; ///< around, innermost last
    qsizetype m_names = 0;
    qsizetype m_variableValues = 0;
};

template<class Emit>
QByteArray CodegenBody::nested(Emit body)
{
    const QByteArray outer = std::exchange(m_lines, {});
    m_indent += "    ";
    body();
    m_indent.chop(4);
    return std::exchange(m_lines, outer);
}

/// The texts of both branches of a condition, from `write(0 or 1, mask)`. For lanes each is for
/// those that take it, whose mask stands before it.
template<class Write>
std::pair<QByteArray, QByteArray> CodegenBody::emitBranches(const QByteArray &chosen, Write write)
{
    if (!m_unit.isForLanes())
        return {write(0, QByteArray()), write(1, QByteArray())};
    QByteArray texts[2];
    const QByteArray outer = m_mask;
    ++m_maskDepth;
    for (int i = 0; i < 2; ++i) {
        m_mask = outer;
        const QByteArray mask = maskedBy(i == 0 ? chosen : "(~" + chosen + ')');
        m_mask = mask;
        texts[i] = guarded(write(i, mask), mask);
    }
    --m_maskDepth;
    m_mask = outer;
    return {texts[0], texts[1]};
}

} // namespace eval::internal
