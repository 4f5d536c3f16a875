#pragma once

#include <corvane/model/Material.h>

#include <QList>
#include <QMatrix4x4>
#include <QString>
#include <QUuid>

namespace corvane::model {
class Corvane;
}

namespace corvane::rendering {

/// An item of a document that is drawn as triangles.
struct SurfaceItem
{
    QUuid id{};
    QString name{};
    QMatrix4x4 transform{}; ///< from the item's own space to the world
    model::Material material{};

    bool operator==(const SurfaceItem &) const = default;
};

/// The shown items of a type, in the document's order, with the groups around them and the material
/// that they have or name. Hidden is what has the tag or lies below what has it.
QList<SurfaceItem> shownItems(const model::Corvane &scene, const QString &itemType);

/// The shown roots of proxies. Their meshes are in the world's space already.
QList<SurfaceItem> shownProxies(const model::Corvane &scene);

} // namespace corvane::rendering
