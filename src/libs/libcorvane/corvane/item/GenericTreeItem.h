#pragma once

#include <corvane/item/ItemRegistry.h>
#include <corvane/model/RowUpdate.h>

#include <QList>

namespace corvane::item {

class GenericTreeItem;

} // namespace corvane::item

template<>
struct corvane::model::RowFields<corvane::item::GenericTreeItem>;

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
    void clearChildren() { m_children.clear(); }

    /// Whether an entry may stand below this one.
    bool accepts(const ISceneTreeEntry &child) const;

private:
    friend struct model::RowFields<GenericTreeItem>;

    void renumberFrom(qsizetype index);

    EntryPtr m_entry; ///< none for the root
    GenericTreeItem *m_parent = nullptr;
    QList<GenericTreeItem *> m_children;
    int m_row = 0;
};

} // namespace corvane::item

template<>
struct corvane::model::RowFields<corvane::item::GenericTreeItem>
{
    using Row = item::GenericTreeItem;
    static Row *&parent(Row &row) { return row.m_parent; }
    static QList<Row *> &children(Row &row) { return row.m_children; }
    static int &row(Row &row) { return row.m_row; }
};
