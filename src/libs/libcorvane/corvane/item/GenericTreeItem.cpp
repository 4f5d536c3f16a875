#include <corvane/item/GenericTreeItem.h>

namespace corvane::item {

void GenericTreeItem::insertChild(GenericTreeItem *child, qsizetype index)
{
    const bool isInside = index >= 0 && index < m_children.size();
    const qsizetype place = isInside ? index : m_children.size();
    child->m_parent = this;
    m_children.insert(place, child);
    renumberFrom(place);
}

void GenericTreeItem::takeChild(qsizetype index)
{
    m_children.at(index)->m_parent = nullptr;
    m_children.removeAt(index);
    renumberFrom(index);
}

void GenericTreeItem::renumberFrom(qsizetype index)
{
    for (qsizetype i = index; i < m_children.size(); ++i)
        m_children.at(i)->m_row = int(i);
}

bool GenericTreeItem::accepts(const ISceneTreeEntry &child) const
{
    if (!m_entry)
        return true;
    if (!m_entry->canHaveChildren())
        return false;
    const QStringList types = m_entry->acceptedChildTypes();
    return types.isEmpty() ? child.typeName() == m_entry->typeName()
                           : types.contains(child.typeName());
}

} // namespace corvane::item
