#include <corvane/item/ItemRegistry.h>

#include <corvane/item/Logging.h>
#include <corvane/item/SceneTreeEntries.h>

namespace corvane::item {

Q_LOGGING_CATEGORY(lcItem, "ondrel.item", QtWarningMsg)

namespace {

using model::SceneItem;

template<class Entry>
EntryPtr entryOf(const SceneItem &item)
{
    using Object =
        typename std::remove_reference_t<decltype(*std::declval<const Entry &>().object())>;
    return QSharedPointer<Entry>::create(QSharedPointer<Object>::create(Object(item)));
}

struct BuiltinType
{
    const QString &name;
    quint32 capabilities;
    EntryPtr (*createEntry)(const SceneItem &);
};

const BuiltinType builtinTypes[] = {
    {model::ItemTypes::Sdf, model::ItemCapabilities::sdfItem, &entryOf<SDFSceneTreeEntry>},
    {model::ItemTypes::Mesh, 0, &entryOf<MeshSceneTreeEntry>},
    {model::ItemTypes::TetVolume, 0, &entryOf<TetVolumeSceneTreeEntry>},
    {model::ItemTypes::Group, model::ItemCapabilities::groupItem, &entryOf<GroupSceneTreeEntry>},
    {model::ItemTypes::SdfDomain, model::ItemCapabilities::groupItem,
     &entryOf<SDFDomainSceneTreeEntry>},
    {model::ItemTypes::Camera, 0, &entryOf<CameraSceneTreeEntry>},
};

} // namespace

ItemRegistry &ItemRegistry::instance()
{
    static ItemRegistry registry;
    return registry;
}

ItemRegistry::ItemRegistry()
{
    for (const BuiltinType &type : builtinTypes) {
        const auto factory = [&type] {
            SceneItem item;
            item.itemType = type.name;
            item.capabilities = type.capabilities;
            return item;
        };
        registerItemType(type.name, factory, type.createEntry);
    }
}

void ItemRegistry::registerItemType(const QString &name, const std::function<SceneItem()> &factory,
                                    const std::function<EntryPtr(const SceneItem &)> &creator)
{
    if (name.isEmpty() || !factory)
        return;
    m_types.insert(name, {factory, creator ? creator : &entryOf<ItemSceneTreeEntry>});
}

SceneItem ItemRegistry::createItem(const QString &name) const
{
    const auto type = m_types.constFind(name);
    return type == m_types.cend() ? SceneItem(QUuid()) : type->factory();
}

EntryPtr ItemRegistry::createEntry(const SceneItem &item) const
{
    const auto type = m_types.constFind(item.itemType);
    const EntryPtr entry = type == m_types.cend() ? EntryPtr() : type->createEntry(item);
    return entry ? entry : entryOf<ItemSceneTreeEntry>(item);
}

} // namespace corvane::item
