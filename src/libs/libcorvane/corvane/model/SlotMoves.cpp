#include <corvane/model/SlotMoves.h>

#include <corvane/model/SlotManager.h>

#include <QSet>

using namespace Qt::StringLiterals;

namespace corvane::model {

QString SlotMoves::reason() const
{
    switch (m_refusal) {
    case Refusal::None:
        break;
    case Refusal::NoInstance:
        return u"Cannot move what is no instance"_s;
    case Refusal::Compiled:
        return u"Cannot move compiled instances"_s;
    case Refusal::Itself:
        return u"Cannot move instance into itself"_s;
    case Refusal::Cycle:
        return u"Cannot move instance into its descendants (would create a cycle)"_s;
    case Refusal::NoSlots:
        return u"Cannot move instance into one that has no slots"_s;
    case Refusal::Full:
        return u"Cannot move instance into one whose slots are all filled"_s;
    }
    return {};
}

std::optional<qsizetype> SlotMoves::move(const QUuid &id, const SlotPlace &from,
                                         const SlotPlace &to)
{
    m_refusal = check(id, from, to);
    if (m_refusal != Refusal::None)
        return {};
    const qsizetype taken = take(id, from);
    SlotPlace target = to;
    const bool isSameList = from.kind == to.kind && from.ownerId == to.ownerId;
    if (isSameList && taken >= 0 && taken < to.index)
        --target.index;
    return put(id, target);
}

SlotMoves::Refusal SlotMoves::check(const QUuid &id, const SlotPlace &from,
                                    const SlotPlace &to) const
{
    const Instance moved = m_edit.item(id);
    if (!moved.isValid())
        return Refusal::NoInstance;
    if (moved.hasTag(ItemTags::Compiled))
        return Refusal::Compiled;
    if (to.kind != SlotPlace::InSlot)
        return Refusal::None;
    if (to.ownerId == id)
        return Refusal::Itself;
    if (isBelow(to.ownerId, id))
        return Refusal::Cycle;
    const Instance owner = m_edit.item(to.ownerId);
    if (owner.hasTag(ItemTags::Compiled))
        return Refusal::Compiled;
    const ChildSlots places = ChildSlots::of(owner.definitionId());
    if (!places.exist)
        return Refusal::NoSlots;
    const QStringList references = owner.childReferences();
    const auto filled =
        std::count_if(references.cbegin(), references.cend(),
                      [this](const QString &reference) { return isFilled(reference); });
    const bool staysInList = from.kind == SlotPlace::InSlot && from.ownerId == to.ownerId;
    const bool isFull = places.maximum >= 0 && filled >= places.maximum;
    return isFull && !staysInList ? Refusal::Full : Refusal::None;
}

bool SlotMoves::isFilled(const QString &reference) const
{
    return !m_edit.document().resolveReference(reference).isNull();
}

bool SlotMoves::isBelow(const QUuid &id, const QUuid &above) const
{
    QSet<QUuid> seen{above};
    QList<QUuid> open{above};
    while (!open.isEmpty()) {
        const QStringList references = m_edit.item(open.takeLast()).childReferences();
        for (const QString &reference : references) {
            const QUuid child = m_edit.document().resolveReference(reference);
            if (child == id)
                return true;
            if (child.isNull() || seen.contains(child))
                continue;
            seen.insert(child);
            open.append(child);
        }
    }
    return false;
}

/// Where it was in its list; -1 when it was in none.
qsizetype SlotMoves::take(const QUuid &id, const SlotPlace &from)
{
    if (from.kind == SlotPlace::AtTop) {
        QList<QUuid> roots = m_edit.roots();
        const qsizetype index = roots.indexOf(id);
        roots.removeAll(id);
        m_edit.setRoots(roots);
        return index;
    }
    if (from.kind != SlotPlace::InSlot)
        return -1;
    QStringList references = m_edit.item(from.ownerId).childReferences();
    const auto isOfId = [&](qsizetype index) {
        return index >= 0 && index < references.size() &&
               m_edit.document().resolveReference(references.at(index)) == id;
    };
    qsizetype index = from.index;
    if (!isOfId(index)) { // an earlier move of the same edit has shifted it
        index = 0;
        while (index < references.size() && !isOfId(index))
            ++index;
    }
    if (index >= references.size())
        return -1;
    references.removeAt(index);
    setReferences(from.ownerId, references);
    return index;
}

qsizetype SlotMoves::putAtTop(const QUuid &id, qsizetype index)
{
    QList<QUuid> roots = m_edit.roots();
    const bool isInside = index >= 0 && index <= roots.size();
    const qsizetype place = isInside ? index : roots.size();
    roots.insert(place, id);
    // Without any roots all items are drawn, this one too.
    if (!m_edit.document().drawsAllItems())
        m_edit.setRoots(roots);
    return place;
}

qsizetype SlotMoves::put(const QUuid &id, const SlotPlace &to)
{
    if (to.kind == SlotPlace::AtTop)
        return putAtTop(id, to.index);
    if (to.kind != SlotPlace::InSlot)
        return -1;
    QStringList references = m_edit.item(to.ownerId).childReferences();
    const QString reference = m_edit.referenceTo(id);
    const qsizetype index = to.index < 0 ? references.size() : to.index;
    while (references.size() < index)
        references.append(QString());
    if (index < references.size() && !isFilled(references.at(index)))
        references[index] = reference;
    else
        references.insert(index, reference);
    setReferences(to.ownerId, references);
    return index;
}

void SlotMoves::setReferences(const QUuid &ownerId, const QStringList &references)
{
    Instance owner = m_edit.item(ownerId);
    m_edit.setReferences(owner, references);
    m_edit.put(owner);
}

bool SlotMoves::commit(QUndoStack *undoStack)
{
    return m_edit.commit(undoStack, u"Move Instance"_s);
}

} // namespace corvane::model
