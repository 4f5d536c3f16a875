#pragma once

#include <corvane/ops/OpChange.h>

#include <QUndoCommand>

namespace corvane::ops {

class CorvaneOpExecutor;
struct OpEntry;

/// One step of the undo stack: an op that was applied, with the state before it and after it.
class CorvaneUndoCommand : public QUndoCommand
{
public:
    /// For an op that has been applied already: the redo() that comes with QUndoStack::push() is
    /// passed over.
    CorvaneUndoCommand(CorvaneOpExecutor *executor, const OpEntry &entry, const QVariantMap &args,
                       const OpChange &change, const QString &text);

    void undo() override;
    void redo() override;

    const QVariantMap &args() const { return m_args; }
    OpCategory category() const { return m_category; }
    QUuid itemId() const { return m_itemId; }
    const QVariantMap &before() const { return m_before; }
    const QVariantMap &after() const { return m_after; }

private:
    CorvaneOpExecutor *m_executor; ///< owns the stack that owns this
    const OpEntry &m_entry;
    QVariantMap m_args;
    OpCategory m_category;
    QUuid m_itemId;
    QVariantMap m_before;
    QVariantMap m_after;
    QVariantMap m_keptBefore; ///< values on which failing expressions stay
    QVariantMap m_keptAfter;
    bool m_skipFirstRedo = true;
};

} // namespace corvane::ops
