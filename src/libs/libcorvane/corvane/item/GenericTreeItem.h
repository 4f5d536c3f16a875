#pragma once

#include <corvane/item/ItemRegistry.h>

#include <QList>

namespace corvane::item {

/// A row of the GenericTree: an entry and its place. Rows are owned by the tree.
class GenericTreeItem
{
public:
    explicit GenericTreeItem(const EntryPtr &entry = {})
        : m_entry(entry)
    {}

    const EntryPtr &entry() const { return m_entry; }
    void setEntry(const EntryPtr &entry) { m_entry = entry; }
    GenericTreeItem *parent() const { return m_parent; }
    int row() const { return m_row; }
    const QList<GenericTreeItem *> &children() const { return m_children; }

    /// An index out of range is the end.
    void insertChild(GenericTreeItem *child, qsizetype index = -1);
    void takeChild(qsizetype index);
    /// Drops the children from `index` on.
    void cutChildren(qsizetype index) { m_children.resize(index); }

    /// Whether an entry may stand below this one.
    bool accepts(const ISceneTreeEntry &child) const;

private:
    void renumberFrom(qsizetype index);

    EntryPtr m_entry; ///< none for the root
    GenericTreeItem *m_parent = nullptr;
    QList<GenericTreeItem *> m_children;
    int m_row = 0;
};

} // namespace corvane::item
