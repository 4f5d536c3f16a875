#include <corvane/ops/CorvaneUndoCommand.h>

#include <corvane/ops/CorvaneOpExecutor.h>

namespace corvane::ops {

CorvaneUndoCommand::CorvaneUndoCommand(CorvaneOpExecutor *executor, const OpEntry &entry,
                                       const QVariantMap &args, const OpChange &change,
                                       const QString &text)
    : QUndoCommand(text)
    , m_executor(executor)
    , m_entry(entry)
    , m_args(args)
    , m_category(change.category)
    , m_itemId(change.itemId)
    , m_before(change.before)
    , m_after(change.after)
    , m_keptBefore(change.keptBefore)
    , m_keptAfter(change.keptAfter)
{}

void CorvaneUndoCommand::undo()
{
    m_executor->beginRestoring();
    switch (m_category) {
    case OpCategory::ItemAdded:
        m_executor->undoItemAdd(m_after);
        break;
    case OpCategory::ItemRemoved:
        m_executor->undoItemRemove(m_before);
        break;
    case OpCategory::Modified:
        m_executor->restoreModifyState(m_entry, m_itemId, m_before);
        break;
    }
    m_executor->restoreKeptValues(m_keptBefore);
}

void CorvaneUndoCommand::redo()
{
    if (std::exchange(m_skipFirstRedo, false))
        return;
    m_executor->beginRestoring();
    switch (m_category) {
    case OpCategory::ItemAdded:
        m_executor->redoItemAdd(m_after);
        break;
    case OpCategory::ItemRemoved:
        m_executor->redoItemRemove(m_before);
        break;
    case OpCategory::Modified:
        m_executor->restoreModifyState(m_entry, m_itemId, m_after);
        break;
    }
    m_executor->restoreKeptValues(m_keptAfter);
}

} // namespace corvane::ops
