#pragma once

#include <corvane/item/ISceneTreeEntry.h>
#include <corvane/model/SceneItem.h>

#include <QMap>
#include <QSharedPointer>
#include <QStringList>

#include <functional>

namespace corvane::item {

using EntryPtr = QSharedPointer<ISceneTreeEntry>;

/// What the program can do with items of a type.
struct ItemTypeInfo
{
    std::function<model::SceneItem()> factory{}; ///< a new item with a new id
    std::function<EntryPtr(const model::SceneItem &)> createEntry{};
};

/// The types of items, by the word of SceneItem::itemType. Main thread.
class ItemRegistry
{
public:
    /// The process-wide one.
    static ItemRegistry &instance();
    /// Has the types of model::ItemTypes from the start.
    ItemRegistry();

    /// Adds or replaces a type. Without a creator its items have plain entries. Ignored without a
    /// name or a factory.
    void registerItemType(const QString &name, const std::function<model::SceneItem()> &factory,
                          const std::function<EntryPtr(const model::SceneItem &)> &creator = {});
    bool contains(const QString &name) const { return m_types.contains(name); }
    QStringList typeNames() const { return m_types.keys(); } ///< sorted

    /// An item with a null id for an unknown type.
    model::SceneItem createItem(const QString &name) const;
    /// An item of an unknown type has a plain entry. Never null.
    EntryPtr createEntry(const model::SceneItem &item) const;

private:
    QMap<QString, ItemTypeInfo> m_types;
};

} // namespace corvane::item
