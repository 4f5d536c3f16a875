#pragma once

#include <corvane/model/DocumentEdit.h>

#include <QString>
#include <QUuid>

#include <optional>

namespace corvane::model {

/// Where an instance stands in the expression of a field.
struct SlotPlace
{
    enum Kind {
        InSlot,   ///< a slot of `ownerId`
        AtTop,    ///< among the roots
        Detached, ///< nowhere: an orphan
    };

    Kind kind = Detached;
    QUuid ownerId{};
    qsizetype index = -1; ///< the slot, or the place among the roots; -1 for the end
};

/// Moves instances between slots: each checked, all made as one.
class SlotMoves
{
public:
    enum class Refusal {
        None,
        NoInstance,
        Compiled, ///< from a user's tree, which decides where it stands
        Itself,
        Cycle,
        NoSlots,
        Full,
    };

    explicit SlotMoves(Corvane &document)
        : m_edit(document)
    {}

    /// Plans a move of the instance from one of its places. Returns its index in the list where it
    /// will stand; none, with the reason, when it can't stand there.
    std::optional<qsizetype> move(const QUuid &id, const SlotPlace &from, const SlotPlace &to);
    Refusal refusal() const { return m_refusal; }
    QString reason() const;
    /// Makes the moves that were planned. False when these change nothing.
    bool commit(QUndoStack *undoStack);

private:
    Refusal check(const QUuid &id, const SlotPlace &from, const SlotPlace &to) const;
    bool isBelow(const QUuid &id, const QUuid &above) const;
    bool isFilled(const QString &reference) const;
    qsizetype take(const QUuid &id, const SlotPlace &from);
    qsizetype put(const QUuid &id, const SlotPlace &to);
    qsizetype putAtTop(const QUuid &id, qsizetype index);
    void setReferences(const QUuid &ownerId, const QStringList &references);

    DocumentEdit m_edit;
    Refusal m_refusal = Refusal::None;
};

} // namespace corvane::model
