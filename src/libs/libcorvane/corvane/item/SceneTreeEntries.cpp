#include <corvane/item/SceneTreeEntries.h>

#include <corvane/item/ItemRegistry.h>
#include <corvane/model/SlotManager.h>

namespace corvane::item {

bool SDFSceneTreeEntry::canHaveChildren() const
{
    return model::SlotManager::hasChildSlots(object()->definitionId());
}

QString SDFSceneTreeEntry::iconName() const
{
    return object()->definitionId();
}

QStringList SDFDomainSceneTreeEntry::acceptedChildTypes() const
{
    return {model::ItemTypes::Sdf};
}

QStringList GroupSceneTreeEntry::acceptedChildTypes() const
{
    return ItemRegistry::instance().typeNames();
}

QStringList MeshSceneTreeEntry::acceptedChildTypes() const
{
    return {model::ItemTypes::Mesh};
}

} // namespace corvane::item
