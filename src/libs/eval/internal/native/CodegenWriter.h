#pragma once

#include <eval/internal/codegen/CodeWriter.h>
#include <eval/internal/native/CodegenUnit.h>

#include <utility>

namespace eval::internal {

/// The lines of one C++ function: each operation becomes a constant of its own, one after the other
/// in the order in which the interpreter would compute them. C++ leaves the order within an
/// expression open, nests no deeper than its compiler allows, and would skip the right side of &&
/// and ||.
///
/// For several points at a time there is the mask: the lanes that are on.
class CodegenWriter : public CodeWriter
{
public:
    CodegenWriter(CodegenUnit &unit, CodeFunction *function)
        : CodeWriter(unit, function)
        , m_isForLanes(unit.isForLanes())
    {}
    bool isForLanes() const { return m_isForLanes; }

    const QByteArray &mask() const { return m_mask; } ///< empty when all lanes are on
    void setMask(const QByteArray &mask) { m_mask = mask; }
    /// Of the lanes that are on, those for which a condition holds.
    QByteArray maskedBy(const QByteArray &condition);
    /// For the lanes that are on; the others keep what they have.
    void assign(const QByteArray &target, const QByteArray &value) override;
    /// The texts of both branches of a condition, from `write(0 or 1, mask)`. For lanes each is for
    /// those that take it, whose mask stands before it.
    template<class Write>
    std::pair<QByteArray, QByteArray> emitBranches(const QByteArray &chosen, Write write);
    bool isInBranch() const { return m_branchDepth > 0; }
    /// Code that not all lanes take, until leaveBranch().
    void enterBranch() { ++m_branchDepth; }
    void leaveBranch() { --m_branchDepth; }

    /// All of a function between its braces.
    QByteArray functionText();

    CodeValue made(const QByteArray &text, Type type, const QList<CodeValue> &operands,
                   const QString &structName = {}) override;
    bool isLaneType(Type type) const override;
    QByteArray literalText(const QVariant &value, Type type) const override;
    QByteArray defaultText(Type type, const QString &structName) override;
    QByteArray laneText(const CodeValue &value, int lane) const override;
    QByteArray castText(const QByteArray &scalar, Type from, Type to) const override;
    std::optional<QByteArray> retagText(const CodeValue &value, Type type) const override;
    QByteArray composeText(Type type, const QList<QByteArray> &lanes) const override;
    QByteArray structText(const QByteArray &type, const QList<QByteArray> &fields) const override;
    QByteArray choiceText(const QByteArray &condition, const QByteArray &yes,
                          const QByteArray &no) const override;
    QList<QByteArray> hiddenArguments() const override;

private:
    QByteArray guarded(const QByteArray &block, const QByteArray &mask) const;

    bool m_isForLanes;
    QByteArray m_mask;
    int m_branchDepth = 0; ///< branches around that not all lanes take
};

template<class Write>
std::pair<QByteArray, QByteArray> CodegenWriter::emitBranches(const QByteArray &chosen, Write write)
{
    if (!m_isForLanes)
        return {write(0, QByteArray()), write(1, QByteArray())};
    QByteArray texts[2];
    const QByteArray outer = m_mask;
    enterBranch();
    for (int i = 0; i < 2; ++i) {
        m_mask = outer;
        const QByteArray mask = maskedBy(i == 0 ? chosen : "(~" + chosen + ')');
        m_mask = mask;
        texts[i] = guarded(write(i, mask), mask);
    }
    leaveBranch();
    m_mask = outer;
    return {texts[0], texts[1]};
}

} // namespace eval::internal
