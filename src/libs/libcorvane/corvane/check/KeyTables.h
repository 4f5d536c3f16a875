#pragma once

#include <QStringList>

/// The keys that the readers of scene files know, a list for each sort of map. A key that is in no
/// list is kept for the next save and means nothing.
namespace corvane::check::keys {

enum Map {
    Version1, ///< the block of a file, which may be its top level
    Version2,
    Item, ///< of version 1
    Node, ///< of version 2
    Component,
    Promotion,
    PromotionTarget,
    Material,
    CatalogMaterial,
    Variable,
    Constraints,
    Definition,
    Parameter,
    Drag,
    Gizmo,
    GizmoGroup,
};

const QStringList &of(Map map);
const QStringList &ofBlock(int version);

/// Words for lengths that a scene may give as its units. They go with the numbers; nothing is
/// converted.
const QStringList &unitWords();

} // namespace corvane::check::keys
