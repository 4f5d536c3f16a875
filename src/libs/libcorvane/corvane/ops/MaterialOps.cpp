#include <corvane/ops/MaterialOps.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpContext.h>
#include <corvane/ops/SceneSnapshot.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

using model::CatalogMaterial;

namespace {

const QString libraryKey = u"library"_s; ///< the material as the library has it
const QString sceneKey = u"scene"_s;     ///< the scene's copy of it
const QString itemsKey = u"items"_s;     ///< the inline materials of the items that name it
const QString activeKey = u"active"_s;   ///< it is the one that is being edited

QVariantMap withId(const CatalogMaterial &material)
{
    QVariantMap map = material.toVariantMap();
    map.insert(u"id"_s, idText(material.id));
    return map;
}

QVariantMap stateOf(const OpContext &context, const QUuid &id)
{
    QVariantMap state{{StateKeys::opDomain, OpDomain::material}, {u"materialId"_s, idText(id)}};
    if (const CatalogMaterial *known = context.materials.material(id))
        state.insert(libraryKey, withId(*known));
    if (const auto copy = context.document.material(id))
        state.insert(sceneKey, withId(*copy));
    if (context.materials.activeMaterialId() == id)
        state.insert(activeKey, true);
    return state;
}

std::optional<CatalogMaterial> findMaterial(const OpContext &context, const QUuid &id)
{
    if (const CatalogMaterial *known = context.materials.material(id))
        return *known;
    return context.document.material(id);
}

/// The values of a material among the arguments: under "data", or by themselves.
QVariantMap givenValues(const OpCall &call)
{
    QVariantMap values = call.map("data"_L1);
    for (const auto key :
         {"name"_L1, "category"_L1, "albedo"_L1, "metallic"_L1, "roughness"_L1, "emission"_L1}) {
        if (call.has(key))
            values.insert(key, call.value(key));
    }
    values.remove(u"id"_s);
    values.remove(u"isBuiltIn"_s);
    return values;
}

CatalogMaterial changed(const CatalogMaterial &material, const QVariantMap &values)
{
    QVariantMap map = withId(material);
    map.insert(values);
    return CatalogMaterial::fromVariantMap(map);
}

/// The inline materials of the items that name a catalogue material, whether they are nodes or not.
/// A compile gives the items of other nodes theirs.
QVariantMap materialsOfItems(const OpContext &context, const QUuid &id)
{
    QVariantMap materials;
    const auto items = context.document.items();
    for (const model::SceneItem &item : items) {
        if (item.materialId == id && !model::standsForNode(item, context.tree))
            materials.insert(idText(item.id), item.material.toVariantMap());
    }
    if (!context.tree)
        return materials;
    for (const model::LogicalInstance &node : context.tree->instances()) {
        if (node.hasOwnItem() && node.materialId == id)
            materials.insert(idText(node.id), node.material.toVariantMap());
    }
    return materials;
}

void setMaterialsOfItems(OpContext &context, const QVariantMap &materials)
{
    for (auto it = materials.cbegin(); it != materials.cend(); ++it) {
        const QUuid id = QUuid::fromString(it.key());
        const auto material = model::Material::fromVariantMap(it->toMap());
        if (const model::LogicalInstance *node = context.node(id)) {
            context.tree->setInstanceMaterial(id, material, node->materialId);
            continue;
        }
        model::SceneItem item = context.document.item(id);
        item.material = material;
        context.document.updateItem(item);
    }
}

OpChange added(const OpContext &context, const QUuid &id)
{
    return {.category = OpCategory::ItemAdded,
            .itemId = id,
            .createdId = id,
            .after = stateOf(context, id),
            .textArgs = {context.materials.material(id)->name}};
}

} // namespace

OpOutcome applyMaterialAdd(OpContext &context, const OpCall &call)
{
    QVariantMap values{{u"name"_s, u"New material"_s}, {u"category"_s, u"Custom"_s}};
    values.insert(givenValues(call));
    return added(context, context.materials.addMaterial(CatalogMaterial::fromVariantMap(values)));
}

OpOutcome applyMaterialRemove(OpContext &context, const OpCall &call)
{
    const QUuid id = call.id("materialId"_L1);
    const auto material = findMaterial(context, id);
    if (!material)
        return call.refuse(u"material not found:"_s, call.text("materialId"_L1));
    OpChange change{.category = OpCategory::ItemRemoved,
                    .itemId = id,
                    .before = stateOf(context, id),
                    .textArgs = {material->name}};
    if (context.materials.material(id) && !context.materials.removeMaterial(id))
        return call.refuse(u"failed (built-in?)"_s);
    context.document.removeMaterial(id);
    return change;
}

OpOutcome applyMaterialUpdate(OpContext &context, const OpCall &call)
{
    const QUuid id = call.id("materialId"_L1);
    const QVariantMap values = givenValues(call);
    if (values.isEmpty())
        return call.refuse(u"missing data"_s);
    const auto material = findMaterial(context, id);
    if (!material)
        return call.refuse(u"material not found:"_s, call.text("materialId"_L1));
    if (material->isBuiltIn)
        return call.refuse(u"failed (built-in?)"_s);
    OpChange change{.itemId = id,
                    .before = stateOf(context, id),
                    .textArgs = {material->name},
                    .scope = u"material/"_s + idText(id)};
    if (context.materials.material(id) &&
        !context.materials.updateMaterial(changed(*material, values)))
        return call.refuse(u"failed (built-in?)"_s);
    // The library may have made the name another one.
    const auto updated = findMaterial(context, id);
    if (context.document.material(id))
        context.document.updateMaterial(context.materials.material(id) ? *updated
                                                                       : changed(*updated, values));
    change.after = stateOf(context, id);
    const QVariantMap before = materialsOfItems(context, id);
    if (before.isEmpty())
        return change;
    QVariantMap after = before;
    for (QVariant &inlineMaterial : after)
        inlineMaterial = findMaterial(context, id)->material.toVariantMap();
    setMaterialsOfItems(context, after);
    change.before.insert(itemsKey, before);
    change.after.insert(itemsKey, after);
    return change;
}

OpOutcome applyMaterialDuplicate(OpContext &context, const OpCall &call)
{
    const auto source = findMaterial(context, call.id("sourceId"_L1));
    if (!source)
        return call.refuse(u"material not found:"_s, call.text("sourceId"_L1));
    CatalogMaterial copy = *source;
    copy.id = QUuid::createUuid();
    const QString name = call.text("name"_L1);
    copy.name = name.isEmpty() ? model::MaterialLibrary::copyName(source->name) : name;
    return added(context, context.materials.addMaterial(copy));
}

void restoreCatalogMaterial(OpContext &context, const QUuid &, const QVariantMap &state)
{
    if (state.contains(libraryKey))
        context.materials.restoreMaterial(
            CatalogMaterial::fromVariantMap(state.value(libraryKey).toMap()));
    if (state.contains(sceneKey))
        context.document.updateMaterial(
            CatalogMaterial::fromVariantMap(state.value(sceneKey).toMap()));
    setMaterialsOfItems(context, state.value(itemsKey).toMap());
}

void insertMaterialSnapshot(OpContext &context, const QVariantMap &snapshot)
{
    if (snapshot.contains(libraryKey))
        context.materials.restoreMaterial(
            CatalogMaterial::fromVariantMap(snapshot.value(libraryKey).toMap()));
    if (snapshot.contains(sceneKey))
        context.document.addMaterial(
            CatalogMaterial::fromVariantMap(snapshot.value(sceneKey).toMap()));
    if (snapshot.contains(activeKey))
        context.materials.setActiveMaterialId(OpCall::toId(snapshot.value(u"materialId"_s)));
}

void removeMaterialSnapshot(OpContext &context, const QVariantMap &snapshot)
{
    const QUuid id = OpCall::toId(snapshot.value(u"materialId"_s));
    context.materials.removeMaterial(id);
    if (snapshot.contains(sceneKey))
        context.document.removeMaterial(id);
}

} // namespace corvane::ops
