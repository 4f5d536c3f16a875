#pragma once

#include <eval/internal/Arithmetic.h>
#include <eval/internal/CodeBuilder.h>
#include <eval/internal/CompiledProgram.h>
#include <eval/internal/Interpreter.h>

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVarLengthArray>

#include <optional>
#include <vector>

namespace eval::internal {

/// Turns the checked trees of a program into register code that computes exactly what the walk over
/// them does.
///
/// Vectors, matrices and structs are taken apart into single lanes, calls are expanded where they
/// stand, names become registers: straight-line code writes each register once, and where ways of
/// control meet, the variables that were assigned on the way get registers of their own that every
/// way moves its value into. The tag that a value has in the walk is known here at every point;
/// where it is not (a name declared on one way only, or with two types) the program is given up and
/// the walk stays.
///
/// Whatever the walk reports as a fault ends the register code: only the walk needs to know texts
/// and order.
class Lowering
{
public:
    explicit Lowering(const CompiledProgram &program);

    /// Null when something in the program has no register form.
    QSharedPointer<const LoweredProgram> run();

private:
    /// Copied where it could be moved: Qt 6.4 loses an array's own buffer when another is moved
    /// onto it.
    template<class T>
    class ShortList : public QVarLengthArray<T, 4>
    {
    public:
        using QVarLengthArray<T, 4>::QVarLengthArray;
        ShortList(const ShortList &) = default;
        ShortList &operator=(const ShortList &) = default;
    };
    using Lanes = ShortList<Register>;
    using LaneNumbers = ShortList<int>;

    struct Operand
    {
        Type type = Type::Float;
        QString structName;
        Lanes lanes;
    };

    /// A struct laid out flat: the lanes of its fields one after the other.
    struct StructLayout
    {
        struct Field
        {
            Type type = Type::Float;
            QString structName;
            int first = 0;
            int count = 0;
        };
        std::vector<Field> fields;
        std::vector<LaneKind> kinds;
    };

    /// Whether a name is bound at this point of the code.
    enum class Known { No, Maybe, Yes };

    struct Variable
    {
        Operand value;
        Known known = Known::No;
        bool isForeign = false; ///< a slot of a type that has no register form
    };

    /// Where ways of control meet: the variables that may differ, and the registers that they meet
    /// in.
    struct Meeting
    {
        CodeBuilder::Label label = 0;
        std::vector<int> variables;
        std::vector<Variable>
            met; ///< parallel: type, registers, and whether every way has it bound
        bool reached = false;
    };

    /// One function body being expanded, or the outputs' expressions.
    struct Frame
    {
        const AstNode *function = nullptr;
        QHash<QString, int> indexes;
        std::vector<Variable> variables;
        Operand result;          ///< of the function so far
        Meeting *exit = nullptr; ///< null while a single return at the end is all there is
        Lanes exitLanes;         ///< what `result` meets in
    };

    struct LoopTargets
    {
        Meeting *onBreak = nullptr;
        Meeting *onContinue = nullptr; ///< of the innermost loop, also inside a switch
    };

    /// What an assignment writes to. An index that is only known at run time gives several places.
    struct Place
    {
        Register condition = noRegister; ///< that this is the place; noRegister: it always is
        LaneNumbers lanes;               ///< of the variable
    };
    struct Target
    {
        bool valid = false;
        int variable = -1;
        Type type = Type::Float;
        QString structName;
        std::vector<Place> places;
    };

    // Lowering.cpp
    void declareSlots();
    void lowerOutput(qsizetype index);
    RegisterValue registersOf(const Operand &value, int first) const;
    bool enterNode();
    Operand giveUp();
    Operand faulted();

    // LoweringValues.cpp: operands and their types
    bool isLowerable(Type type) const;
    const StructLayout *layoutOf(const QString &name);
    int laneCountOf(Type type, const QString &structName);
    Operand zero(Type type, const QString &structName);
    static LaneKind kindOf(Type type);
    LaneKind kindOf(const Operand &value, int lane);
    Register convert(Register reg, LaneKind from, LaneKind to);
    Operand retaggedTo(const Operand &value, Type type, const QString &structName);
    Register truth(const Operand &value);
    Operand boolean(Register reg) const;
    Operand selected(Register condition, const Operand &yes, const Operand &no);

    // LoweringArithmetic.cpp
    Operand binary(BinaryKind kind, const Operand &left, const Operand &right);
    Operand comparison(BinaryKind kind, const Operand &left, const Operand &right);
    Operand equality(BinaryKind kind, const Operand &left, const Operand &right);
    Register compareLanes(BinaryKind kind, Register a, LaneKind kindA, Register b, LaneKind kindB);
    Operand bitwise(BinaryKind kind, const Operand &left, const Operand &right);
    Operand scalarArithmetic(BinaryKind kind, const Operand &left, const Operand &right,
                             Type result);
    Operand lanewise(BinaryKind kind, const Operand &left, const Operand &right,
                     const ArithmeticPlan &plan);
    Operand matrixProduct(const Operand &left, const Operand &right, const ArithmeticPlan &plan);
    Operand unary(UnaryKind kind, const Operand &value);
    Operand stepped(const Operand &value, int delta);
    bool asExactFloat(Register &reg, LaneKind kind);

    // LoweringExpressions.cpp
    Operand expression(const AstNode &node);
    Operand expressionOf(const AstNode &node);
    Operand literal(const AstNode &node);
    Operand identifier(const AstNode &node);
    Operand ternary(const AstNode &node);
    Operand ternaryBranch(const AstNode &node, const AstNode &branch);
    Operand branchTernary(const AstNode &node, Register condition);
    void moveLanes(const Lanes &to, const Lanes &from);
    Operand constructor(const AstNode &node);
    Operand constructStruct(const AstNode &node, const std::vector<Operand> &arguments);
    Operand matrixFromMatrix(const Operand &source, Type type);
    Operand member(const AstNode &node);
    Operand structField(const AstNode &node);
    Operand index(const AstNode &node);
    std::optional<Register> indexRegister(const Operand &index, int limit);
    Operand assignment(const AstNode &node);
    Operand step(const AstNode &node);
    Target target(const AstNode &node);
    Target indexTarget(const AstNode &node);
    Operand readPlaces(const Target &target);
    Operand writePlaces(const Target &target, const Operand &value);

    // LoweringCalls.cpp
    Operand call(const AstNode &node);
    Operand userCall(const AstNode &node, const std::vector<Operand> &arguments);
    const AstNode *pickOverload(const AstNode &node, const std::vector<Operand> &arguments) const;
    Operand expand(const AstNode &function, const std::vector<Operand> &arguments, Frame &callee);
    void copyBack(const AstNode &call, const AstNode &function, Frame &callee);

    // LoweringBuiltins.cpp
    Operand builtin(const Builtin &builtin, const std::vector<Operand> &arguments);
    Operand external(const Builtin &builtin, const std::vector<Operand> &arguments);
    std::optional<Operand> laneBuiltin(const Builtin &builtin,
                                       const std::vector<Operand> &arguments);
    std::optional<Operand> vectorBuiltin(BuiltinId id, const std::vector<Operand> &arguments);
    std::optional<Operand> relationBuiltin(BinaryKind kind, const std::vector<Operand> &arguments);
    std::optional<Operand> matrixBuiltin(BuiltinId id, const std::vector<Operand> &arguments);
    std::optional<Operand> geometryBuiltin(BuiltinId id, const std::vector<Operand> &arguments);
    Operand normalized(const Operand &a);
    Operand crossOf(const Operand &a, const Operand &b);
    Operand reflected(const Operand &incident, const Operand &normal);
    Operand facedForward(const std::vector<Operand> &arguments);
    Operand dotOf(const Operand &a, const Operand &b);
    Operand lengthOf(const Operand &a);

    // LoweringStatements.cpp: each answers whether control goes on behind it
    bool statement(const AstNode &node);
    bool block(const AstNode &node);
    bool declaration(const AstNode &node);
    bool ifStatement(const AstNode &node);
    bool selectIf(const AstNode &node, Register condition);
    bool branchIf(const AstNode &node, Register condition);
    bool loop(const AstNode &node);
    bool switchStatement(const AstNode &node);
    bool returnStatement(const AstNode &node);
    bool leaveFor(Meeting *meeting);
    void leaveUnless(const AstNode &condition, Meeting &exit);
    void jumpIfCase(const AstNode &caseBlock, Register number, CodeBuilder::Label label);
    bool meetWithoutElse(Meeting &end, CodeBuilder::Label otherwise,
                         const std::vector<Variable> &afterThen,
                         const std::vector<Variable> &before);
    bool discard();
    bool runBranch(const AstNode *node);

    // LoweringMeetings.cpp
    static bool isSmall(const AstNode &node);
    QStringList assignedNames(const AstNode &node);
    void collectAssigned(const AstNode &node, QStringList &names) const;
    Meeting meetingFor(const QStringList &names);
    void arrive(Meeting &meeting);
    /// The variables as they are at the meeting, from here on.
    void settle(const Meeting &meeting);
    void enter(const Meeting &meeting);
    void mergeSelected(Register condition, const std::vector<Variable> &yes,
                       const QStringList &names);
    int variableIndex(const QString &name);
    Frame &frame() { return *m_frame; }

    const CompiledProgram &m_program;
    CodeBuilder m_code;
    FunctionTable m_functions; ///< of the output that is lowered
    Frame *m_frame = nullptr;
    Frame m_root;
    LoopTargets m_targets;
    QHash<QString, StructLayout> m_layouts;
    QHash<const AstNode *, QStringList> m_assigned;
    std::vector<const AstNode *> m_calls; ///< functions being expanded, outermost first
    std::vector<Register> m_inputRegisters;
    std::vector<Operand> m_outputs;
    qint64 m_nodesLeft;
    int m_nesting = 0;
    bool m_failed = false;
};

} // namespace eval::internal
