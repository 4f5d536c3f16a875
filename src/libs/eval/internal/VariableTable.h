#pragma once

#include <eval/internal/Interpreter.h>
#include <eval/internal/LaneValues.h>

#include <QHash>
#include <QString>
#include <QStringList>

#include <vector>

namespace eval::internal {

/// Whether a name is bound at this point of the code.
enum class Known { No, Maybe, Yes };

struct LoweredVariable
{
    LaneValue value;
    Known known = Known::No;
    bool isForeign = false; ///< a slot of a type that has no register form
};

/// Where ways of control join: the variables that may differ between them, and the registers that
/// each way moves its value into (a phi of each variable, in the words of SSA form).
struct Join
{
    CodeBuilder::Label label = 0;
    std::vector<int> variables;
    std::vector<LoweredVariable>
        joined; ///< parallel: type, registers, and whether every way has it bound
    bool isReached = false;
};

/// One function body being expanded, or the outputs' expressions.
struct LoweringFrame
{
    const AstNode *function = nullptr;
    QHash<QString, int> indexes;
    std::vector<LoweredVariable> variables;
    LaneValue result;     ///< of the function so far
    Join *exit = nullptr; ///< null while a single return at the end is all there is
    Lanes exitLanes;      ///< what `result` is moved into at the exit
};

/// The variables as they are at the point where code is being made, and what becomes of them where
/// ways of control part and join.
class VariableTable
{
public:
    VariableTable(CodeBuilder &code, LaneValues &values)
        : m_code(code)
        , m_values(values)
    {}

    LoweringFrame &frame() { return *m_frame; }
    /// Makes another frame the current one; answers the one before.
    LoweringFrame *exchangeFrame(LoweringFrame *frame) { return std::exchange(m_frame, frame); }
    /// The functions that calls may mean, of the output that is lowered.
    const FunctionTable &functions() const { return m_functions; }
    void setFunctions(const FunctionTable &functions) { m_functions = functions; }

    LoweredVariable &at(int index) { return frame().variables[static_cast<size_t>(index)]; }
    /// The variable of a name, which is made on its first mention.
    int indexOf(const QString &name);
    /// Null for a name that was never mentioned.
    const LoweredVariable *find(const QString &name);

    /// The variables that running a piece of code may change.
    QStringList assignedNames(const AstNode &node);
    QStringList assignedNames(const AstNode *first, const AstNode *second);

    Join joinFor(const QStringList &names);
    /// One way ends here: its values go where the join expects them.
    void arrive(Join &join);
    /// The variables as they are at the join, from here on.
    void settle(const Join &join);
    /// The same, with the label of the join here.
    void enter(const Join &join);
    /// Takes the variables as they are now for the way on which the condition does not hold.
    void mergeSelected(Register condition, const std::vector<LoweredVariable> &yes,
                       const QStringList &names);

private:
    void collectAssigned(const AstNode &node, QStringList &names) const;

    CodeBuilder &m_code;
    LaneValues &m_values;
    LoweringFrame m_root;
    LoweringFrame *m_frame = &m_root;
    FunctionTable m_functions;
    QHash<const AstNode *, QStringList> m_assigned;
};

/// Whether a piece of code is short and without jumps, calls and checks, so that both branches of a
/// condition may be run and one result chosen.
bool isSmall(const AstNode &node);

} // namespace eval::internal
