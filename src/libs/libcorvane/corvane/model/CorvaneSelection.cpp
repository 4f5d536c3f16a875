// The selection of a document.
#include <corvane/model/Corvane.h>

namespace corvane::model {

QList<QUuid> Corvane::selectedInstances() const
{
    QList<QUuid> selected;
    const auto &all = m_items.items();
    for (auto it = all.cbegin(); it != all.cend(); ++it) {
        if (it->hasTag(ItemTags::Selected))
            selected.append(it.key());
    }
    return selected;
}

void Corvane::setSelectedInstance(const QUuid &id)
{
    clearSelectedTags();
    if (setTag(id, ItemTags::Selected, true))
        emit instanceUpdated(id);
    emit selectionChanged();
}

void Corvane::addToSelection(const QUuid &id)
{
    if (!setTag(id, ItemTags::Selected, true))
        return;
    emit instanceUpdated(id);
    emit selectionChanged();
}

void Corvane::removeFromSelection(const QUuid &id)
{
    if (!setTag(id, ItemTags::Selected, false))
        return;
    emit instanceUpdated(id);
    emit selectionChanged();
}

void Corvane::clearSelection()
{
    if (clearSelectedTags())
        emit selectionChanged();
}

void Corvane::changeSelection(const QList<QUuid> &removed, const QList<QUuid> &added)
{
    QList<QUuid> changed;
    for (const QUuid &id : removed) {
        if (setTag(id, ItemTags::Selected, false))
            changed.append(id);
    }
    for (const QUuid &id : added) {
        if (setTag(id, ItemTags::Selected, true))
            changed.append(id);
    }
    for (const QUuid &id : std::as_const(changed))
        emit instanceUpdated(id);
    if (!changed.isEmpty())
        emit selectionChanged();
}

bool Corvane::clearSelectedTags()
{
    const QList<QUuid> selected = selectedInstances();
    for (const QUuid &id : selected)
        setTag(id, ItemTags::Selected, false);
    for (const QUuid &id : selected)
        emit instanceUpdated(id);
    return !selected.isEmpty();
}

} // namespace corvane::model
