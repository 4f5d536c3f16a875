#include <corvane/rendering/layers/SurfaceItem.h>

#include <corvane/model/Corvane.h>
#include <corvane/render/GroupTransforms.h>

namespace corvane::rendering {

namespace {

constexpr int deepest = 100; ///< parents that go round in a circle end there

bool isShown(const model::Corvane &scene, const model::SceneItem &item)
{
    model::SceneItem at = item;
    for (int step = 0; step < deepest; ++step) {
        if (at.hasTag(model::ItemTags::Hidden))
            return false;
        if (at.parentId.isNull() || !scene.hasItem(at.parentId))
            return true;
        at = scene.item(at.parentId);
    }
    return true;
}

model::Material materialOf(const model::Corvane &scene, const model::SceneItem &item)
{
    const auto catalogued =
        item.materialId.isNull() ? std::nullopt : scene.material(item.materialId);
    return catalogued ? catalogued->material : item.material;
}

SurfaceItem surfaceItem(const model::Corvane &scene, const model::SceneItem &item,
                        const QMatrix4x4 &transform)
{
    return {.id = item.id,
            .name = item.name,
            .transform = transform,
            .material = materialOf(scene, item)};
}

} // namespace

QList<SurfaceItem> shownItems(const model::Corvane &scene, const QString &itemType)
{
    QList<SurfaceItem> shown;
    render::GroupTransforms groups(scene);
    const QList<model::SceneItem> items = scene.itemsOfType(itemType);
    for (const model::SceneItem &item : items) {
        if (isShown(scene, item))
            shown.append(
                surfaceItem(scene, item, groups.below(item.parentId) * item.modelMatrix()));
    }
    return shown;
}

QList<SurfaceItem> shownProxies(const model::Corvane &scene)
{
    QList<SurfaceItem> shown;
    const QMap<QUuid, model::SceneItem> items = scene.items();
    for (const model::SceneItem &item : items) {
        if (item.hasTag(model::ItemTags::Proxied) && isShown(scene, item))
            shown.append(surfaceItem(scene, item, {}));
    }
    return shown;
}

} // namespace corvane::rendering
