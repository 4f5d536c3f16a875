#pragma once

#include <QLatin1StringView>
#include <QString>
#include <QVariantMap>

namespace corvane::ops {

/// One edit of a scene: what to do, and with what. The kinds and their arguments are the rows of
/// opCatalogue().
struct CorvaneOp
{
    QString kind{}; ///< one of OpKind
    QVariantMap args{};

    bool operator==(const CorvaneOp &) const = default;
};

/// What an op does to the thing that it names; tells an undo step which way to go back.
enum class OpCategory {
    ItemAdded = 0,
    ItemRemoved = 1,
    Modified = 2,
};

/// The words of CorvaneOp::kind.
namespace OpKind {
inline constexpr QLatin1StringView ItemAdd("item.add");
inline constexpr QLatin1StringView ItemRemove("item.remove");
inline constexpr QLatin1StringView ItemRename("item.rename");
inline constexpr QLatin1StringView ItemSetTransform("item.set_transform");
inline constexpr QLatin1StringView ItemSetParent("item.set_parent");
inline constexpr QLatin1StringView ItemSetMaterial("item.set_material");
inline constexpr QLatin1StringView ItemSetTags("item.set_tags");
inline constexpr QLatin1StringView ItemSetTypeData("item.set_type_data");
inline constexpr QLatin1StringView ItemDuplicate("item.duplicate");
inline constexpr QLatin1StringView ItemSetProxy("item.set_proxy");
inline constexpr QLatin1StringView SdfSetParameter("sdf.set_parameter");
inline constexpr QLatin1StringView SdfSetAllParams("sdf.set_all_parameters");
inline constexpr QLatin1StringView SdfSetDefinition("sdf.set_definition");
inline constexpr QLatin1StringView SdfSetModifier("sdf.set_modifier");
inline constexpr QLatin1StringView MaterialAdd("material.add");
inline constexpr QLatin1StringView MaterialRemove("material.remove");
inline constexpr QLatin1StringView MaterialUpdate("material.update");
inline constexpr QLatin1StringView MaterialDuplicate("material.duplicate");
inline constexpr QLatin1StringView VarsetSetVariable("varset.set_variable");
inline constexpr QLatin1StringView VarsetRemoveVar("varset.remove_variable");
inline constexpr QLatin1StringView VarsetRenameVar("varset.rename_variable");
inline constexpr QLatin1StringView VarsetReorder("varset.reorder");
inline constexpr QLatin1StringView VarsetAddNamed("varset.add_named");
inline constexpr QLatin1StringView VarsetRemoveNamed("varset.remove_named");
inline constexpr QLatin1StringView VarsetMoveEntry("varset.move_entry");
inline constexpr QLatin1StringView SettingsSet("settings.set");
inline constexpr QLatin1StringView SettingsSetBulk("settings.set_bulk");
inline constexpr QLatin1StringView DefinitionAdd("definition.add");
inline constexpr QLatin1StringView DefinitionRemove("definition.remove");
inline constexpr QLatin1StringView DefinitionUpdate("definition.update");
inline constexpr QLatin1StringView ComponentNest("component.nest");
inline constexpr QLatin1StringView ComponentNestMulti("component.nest_multi");
inline constexpr QLatin1StringView ComponentUnnest("component.unnest");
inline constexpr QLatin1StringView ComponentExplode("component.explode");
inline constexpr QLatin1StringView ComponentUpdateDefinition("component.update_definition");
inline constexpr QLatin1StringView ComponentPublish("component.publish");
inline constexpr QLatin1StringView ComponentEditEnter("component.edit_enter");
inline constexpr QLatin1StringView ComponentEditCommit("component.edit_commit");
} // namespace OpKind

} // namespace corvane::ops
