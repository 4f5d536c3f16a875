#include <corvane/ops/OpCatalogue.h>

#include <corvane/model/PlainValue.h>
#include <corvane/ops/ComponentOps.h>
#include <corvane/ops/ComponentState.h>
#include <corvane/ops/DefinitionOps.h>
#include <corvane/ops/ItemOps.h>
#include <corvane/ops/MaterialOps.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/SdfOps.h>
#include <corvane/ops/SettingsOps.h>
#include <corvane/ops/VarsetOps.h>
#include <corvane/yaml/Savable.h>

#include <QHash>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

constexpr ArgKey need(QLatin1StringView name, ArgType type)
{
    return {name, type, true};
}

constexpr ArgKey may(QLatin1StringView name, ArgType type)
{
    return {name, type, false};
}

using enum ArgType;

const OpEntry catalogue[] = {
    {.kind = OpKind::ItemAdd,
     .keys = {need("itemType"_L1, Text), may("definitionId"_L1, Text), may("parentId"_L1, Id),
              may("name"_L1, Text), may("typeData"_L1, Map), may("capabilities"_L1, Number),
              may("material"_L1, Map), may("sortOrder"_L1, Number), may("itemId"_L1, Id),
              may("container"_L1, Flag), may("insertIndex"_L1, Number)},
     .missing = "missing itemType"_L1,
     .undoText = u"Add %1",
     .description = u"Add %1 \"%2\"",
     .shortDescription = u"Add %1",
     .describeKeys = "definitionId|itemType name"_L1,
     .apply = &applyItemAdd},
    {.kind = OpKind::ItemRemove,
     .keys = {need("itemId"_L1, Id)},
     .missing = "missing itemId"_L1,
     .undoText = u"Remove %1",
     .description = u"Remove item",
     .apply = &applyItemRemove},
    {.kind = OpKind::ItemRename,
     .keys = {need("itemId"_L1, Id), need("newName"_L1, Text)},
     .missing = "missing itemId or newName"_L1,
     .undoText = u"Rename to \"%1\"",
     .description = u"Rename to \"%1\"",
     .shortDescription = u"Rename item",
     .describeKeys = "newName"_L1,
     .apply = &applyItemRename,
     .restore = &restoreName},
    {.kind = OpKind::ItemSetTransform,
     .keys = {need("itemId"_L1, Id), may("translate"_L1, Value), may("rotate"_L1, Value),
              may("scale"_L1, Value)},
     .missing = "missing itemId"_L1,
     .undoText = u"Set Transform",
     .description = u"Set transform",
     .apply = &applyItemSetTransform,
     .restore = &restoreTransform},
    {.kind = OpKind::ItemSetParent,
     .keys = {need("itemId"_L1, Id), may("newParentId"_L1, Id), may("insertIndex"_L1, Number)},
     .missing = "missing itemId"_L1,
     .undoText = u"Move Item",
     .description = u"Move item",
     .apply = &applyItemSetParent,
     .restore = &restorePlace},
    {.kind = OpKind::ItemSetMaterial,
     .keys = {need("itemId"_L1, Id), may("material"_L1, Map), may("materialId"_L1, Id),
              may("albedo"_L1, List), may("metallic"_L1, Number), may("roughness"_L1, Number),
              may("emission"_L1, Number)},
     .missing = "missing itemId"_L1,
     .undoText = u"Set Material",
     .description = u"Set material",
     .apply = &applyItemSetMaterial,
     .restore = &restoreMaterial},
    {.kind = OpKind::ItemSetTags,
     .keys = {need("itemId"_L1, Id), may("add"_L1, List), may("remove"_L1, List)},
     .missing = "missing itemId"_L1,
     .undoText = u"Set Tags",
     .description = u"Set tags",
     .apply = &applyItemSetTags,
     .restore = &restoreTags},
    {.kind = OpKind::ItemSetTypeData,
     .keys = {need("itemId"_L1, Id), need("key"_L1, Name), may("value"_L1, Value)},
     .missing = "missing itemId or key"_L1,
     .undoText = u"Set %1",
     .description = u"Set %1",
     .shortDescription = u"Set type data",
     .describeKeys = "key"_L1,
     .apply = &applyItemSetTypeData,
     .restore = &restoreTypeData},
    {.kind = OpKind::ItemDuplicate,
     .keys = {need("sourceId"_L1, Id), may("newParentId"_L1, Id)},
     .missing = "missing sourceId"_L1,
     .undoText = u"Duplicate",
     .description = u"Duplicate item",
     .apply = &applyItemDuplicate},
    {.kind = OpKind::ItemSetProxy,
     .keys = {need("itemId"_L1, Id), need("proxied"_L1, Flag)},
     .missing = "missing itemId or proxied"_L1,
     .undoText = u"Set Proxy",
     .description = u"Set proxy",
     .apply = &applyItemSetProxy,
     .restore = &restoreProxy},
    {.kind = OpKind::SdfSetParameter,
     .keys = {need("itemId"_L1, Id), need("paramName"_L1, Name), need("value"_L1, Value),
              may("wrapperId"_L1, Text)},
     .missing = "missing itemId or paramName"_L1,
     .undoText = u"Set %1",
     .description = u"Set %1",
     .shortDescription = u"Set parameter",
     .describeKeys = "paramName"_L1,
     .apply = &applySdfSetParameter,
     .restore = &restoreParameter},
    {.kind = OpKind::SdfSetAllParams,
     .keys = {need("itemId"_L1, Id), need("parameters"_L1, Map)},
     .missing = "missing itemId or parameters"_L1,
     .undoText = u"Set All Parameters",
     .description = u"Set all parameters",
     .apply = &applySdfSetAllParameters,
     .restore = &restoreParameters},
    {.kind = OpKind::SdfSetDefinition,
     .keys = {need("itemId"_L1, Id), need("definitionId"_L1, Text)},
     .missing = "missing itemId or definitionId"_L1,
     .undoText = u"Change Definition to %1",
     .description = u"Change definition to %1",
     .shortDescription = u"Change definition",
     .describeKeys = "definitionId"_L1,
     .apply = &applySdfSetDefinition,
     .restore = &restoreDefinition},
    {.kind = OpKind::SdfSetModifier,
     .keys = {need("itemId"_L1, Id), need("modifier"_L1, Text), need("value"_L1, Number)},
     .missing = "missing itemId or modifier"_L1,
     .undoText = u"Set %1",
     .description = u"Set %1",
     .shortDescription = u"Set modifier",
     .describeKeys = "modifier"_L1,
     .apply = &applySdfSetModifier,
     .restore = &restoreModifier},
    {.kind = OpKind::MaterialAdd,
     .keys = {may("data"_L1, Map), may("name"_L1, Text), may("category"_L1, Text),
              may("albedo"_L1, List), may("metallic"_L1, Number), may("roughness"_L1, Number),
              may("emission"_L1, Number)},
     .undoText = u"Add Material \"%1\"",
     .description = u"Add material \"%1\"",
     .shortDescription = u"Add material",
     .describeKeys = "name"_L1,
     .apply = &applyMaterialAdd},
    {.kind = OpKind::MaterialRemove,
     .keys = {need("materialId"_L1, Id)},
     .missing = "missing materialId"_L1,
     .undoText = u"Remove Material",
     .description = u"Remove material",
     .apply = &applyMaterialRemove},
    {.kind = OpKind::MaterialUpdate,
     .keys = {need("materialId"_L1, Id), may("data"_L1, Map), may("name"_L1, Text),
              may("category"_L1, Text), may("albedo"_L1, List), may("metallic"_L1, Number),
              may("roughness"_L1, Number), may("emission"_L1, Number)},
     .missing = "missing materialId"_L1,
     .undoText = u"Update Material",
     .description = u"Update material",
     .apply = &applyMaterialUpdate,
     .restore = &restoreCatalogMaterial},
    {.kind = OpKind::MaterialDuplicate,
     .keys = {need("sourceId"_L1, Id), may("name"_L1, Text)},
     .missing = "missing sourceId"_L1,
     .undoText = u"Duplicate Material",
     .description = u"Duplicate material",
     .apply = &applyMaterialDuplicate},
    {.kind = OpKind::VarsetSetVariable,
     .keys = {need("name"_L1, Name), may("varsetName"_L1, Text), may("entry"_L1, Value),
              may("value"_L1, Value), may("type"_L1, Text)},
     .missing = "missing name"_L1,
     .undoText = u"Set Variable \"%1\"",
     .description = u"Set variable \"%1\"",
     .shortDescription = u"Set variable",
     .describeKeys = "name"_L1,
     .apply = &applyVarsetSetVariable,
     .restore = &restoreVariable},
    {.kind = OpKind::VarsetRemoveVar,
     .keys = {need("name"_L1, Text), may("varsetName"_L1, Text)},
     .missing = "missing name"_L1,
     .undoText = u"Remove Variable \"%1\"",
     .description = u"Remove variable \"%1\"",
     .shortDescription = u"Remove variable",
     .describeKeys = "name"_L1,
     .apply = &applyVarsetRemoveVariable},
    {.kind = OpKind::VarsetRenameVar,
     .keys = {need("oldName"_L1, Text), need("newName"_L1, Name), may("varsetName"_L1, Text)},
     .missing = "missing oldName or newName"_L1,
     .undoText = u"Rename \"%1\" \u2192 \"%2\"",
     .description = u"Rename \"%1\" \u2192 \"%2\"",
     .shortDescription = u"Rename variable",
     .describeKeys = "oldName newName"_L1,
     .apply = &applyVarsetRenameVariable,
     .restore = &restoreVariableName},
    {.kind = OpKind::VarsetReorder,
     .keys = {need("name"_L1, Text), may("beforeName"_L1, Text), may("varsetName"_L1, Text)},
     .missing = "missing name"_L1,
     .undoText = u"Reorder Variable",
     .description = u"Reorder variable",
     .apply = &applyVarsetReorder,
     .restore = &restoreVariableOrder},
    {.kind = OpKind::VarsetAddNamed,
     .keys = {need("varsetName"_L1, Name)},
     .missing = "missing varsetName"_L1,
     .undoText = u"Add Varset \"%1\"",
     .description = u"Add varset \"%1\"",
     .shortDescription = u"Add varset",
     .describeKeys = "varsetName"_L1,
     .apply = &applyVarsetAddNamed},
    {.kind = OpKind::VarsetRemoveNamed,
     .keys = {need("varsetName"_L1, Text)},
     .missing = "missing varsetName"_L1,
     .undoText = u"Remove Varset \"%1\"",
     .description = u"Remove varset \"%1\"",
     .shortDescription = u"Remove varset",
     .describeKeys = "varsetName"_L1,
     .apply = &applyVarsetRemoveNamed},
    {.kind = OpKind::VarsetMoveEntry,
     .keys = {need("entryName"_L1, Text), may("srcVarset"_L1, Text), may("dstVarset"_L1, Text)},
     .missing = "missing entryName"_L1,
     .undoText = u"Move \"%1\" to %2",
     .description = u"Move \"%1\" to %2",
     .shortDescription = u"Move variable",
     .describeKeys = "entryName dstVarset:varset"_L1,
     .apply = &applyVarsetMoveEntry,
     .restore = &restoreEntryPlace},
    {.kind = OpKind::SettingsSet,
     .keys = {need("path"_L1, Name), need("value"_L1, Value)},
     .missing = "missing path"_L1,
     .undoText = u"Set %1",
     .description = u"Set %1",
     .shortDescription = u"Set setting",
     .describeKeys = "path"_L1,
     .apply = &applySettingsSet,
     .flaw = &settingFlaw,
     .restore = &restoreSettings},
    {.kind = OpKind::SettingsSetBulk,
     .keys = {need("settings"_L1, FilledMap)},
     .missing = "empty settings map"_L1,
     .undoText = u"Update Settings",
     .description = u"Update settings",
     .apply = &applySettingsSetBulk,
     .flaw = &settingsFlaw,
     .restore = &restoreSettings},
    {.kind = OpKind::DefinitionAdd,
     .keys = {need("definition"_L1, FilledMap)},
     .missing = "missing definition data"_L1,
     .undoText = u"Add Definition \"%1\"",
     .description = u"Add definition",
     .apply = &applyDefinitionAdd},
    {.kind = OpKind::DefinitionRemove,
     .keys = {need("definitionId"_L1, Text)},
     .missing = "missing definitionId"_L1,
     .undoText = u"Remove Definition \"%1\"",
     .description = u"Remove definition \"%1\"",
     .shortDescription = u"Remove definition",
     .describeKeys = "definitionId"_L1,
     .apply = &applyDefinitionRemove},
    {.kind = OpKind::DefinitionUpdate,
     .keys = {need("definitionId"_L1, Text), need("definition"_L1, FilledMap)},
     .missing = "missing definitionId or definition data"_L1,
     .undoText = u"Update Definition \"%1\"",
     .description = u"Update definition \"%1\"",
     .shortDescription = u"Update definition",
     .describeKeys = "definitionId"_L1,
     .apply = &applyDefinitionUpdate,
     .restore = &restoreCustomDefinition},
    {.kind = OpKind::ComponentNest,
     .keys = {need("itemId"_L1, Id), may("name"_L1, Text), may("definitionId"_L1, Name)},
     .missing = "missing itemId"_L1,
     .description = u"Nest \"%1\"",
     .shortDescription = u"Nest into component",
     .describeKeys = "name"_L1,
     .apply = &applyComponentNest,
     .restore = &restoreComponentState},
    {.kind = OpKind::ComponentNestMulti,
     .keys = {need("itemIds"_L1, List), may("name"_L1, Text), may("definitionId"_L1, Name)},
     .missing = "missing itemIds"_L1,
     .undoText = u"Nest %1 items",
     .description = u"Nest %1 items",
     .describeKeys = "itemIds:count"_L1,
     .apply = &applyComponentNestMulti,
     .restore = &restoreComponentState},
    {.kind = OpKind::ComponentUnnest,
     .keys = {need("itemId"_L1, Id)},
     .missing = "missing itemId"_L1,
     .description = u"Unnest component",
     .apply = &applyComponentUnnest,
     .restore = &restoreComponentState},
    {.kind = OpKind::ComponentExplode,
     .keys = {need("definitionId"_L1, Text)},
     .missing = "missing definitionId"_L1,
     .undoText = u"Explode component (%1 instance%2)",
     .description = u"Explode component",
     .apply = &applyComponentExplode,
     .restore = &restoreComponentState},
    {.kind = OpKind::ComponentUpdateDefinition,
     .keys = {need("definitionId"_L1, Text), need("definition"_L1, FilledMap)},
     .missing = "missing definitionId or definition data"_L1,
     .undoText = u"Edit component \"%1\"",
     .description = u"Edit component",
     .apply = &applyComponentUpdateDefinition,
     .restore = &restoreComponentState},
    {.kind = OpKind::ComponentPublish,
     .keys = {need("definitionId"_L1, Text)},
     .missing = "missing definitionId"_L1,
     .undoText = u"Publish component \"%1\"",
     .description = u"Publish component",
     .apply = &applyComponentPublish,
     .restore = &restoreComponentState},
    {.kind = OpKind::ComponentEditEnter,
     .keys = {need("itemId"_L1, Id)},
     .missing = "missing itemId"_L1,
     .undoText = u"Edit component geometry",
     .description = u"Edit component geometry",
     .apply = &applyComponentEditEnter,
     .restore = &restoreComponentState},
    {.kind = OpKind::ComponentEditCommit,
     .keys = {need("definitionId"_L1, Text), need("branchRootId"_L1, Id)},
     .missing = "missing definitionId or branchRootId"_L1,
     .undoText = u"Commit component geometry",
     .description = u"Commit component geometry",
     .apply = &applyComponentEditCommit,
     .restore = &restoreComponentState},
};

bool isGiven(const ArgKey &key, const QVariant &value)
{
    if (key.type == FilledMap)
        return !value.toMap().isEmpty();
    if (key.type == Id && value.typeId() == QMetaType::QUuid)
        return !value.toUuid().isNull();
    const bool isText = key.type == Id || key.type == Text || key.type == Name;
    return value.isValid() && (!isText || !value.toString().isEmpty());
}

bool isFlag(const QVariant &value)
{
    const QString text = value.toString();
    return value.typeId() == QMetaType::Bool || text == "true"_L1 || text == "false"_L1 ||
           text == "0"_L1 || text == "1"_L1;
}

/// What is wrong with a value that is given; empty when nothing is. That a required id is none is
/// for the op to say, which knows what was not found.
QString flawOf(const ArgKey &key, const QVariant &value)
{
    const int type = value.typeId();
    switch (key.type) {
    case Id:
        return key.isRequired || !OpCall::toId(value).isNull() ? QString() : u"is no id"_s;
    case Number:
        return model::readFloat(value) ? QString() : u"is no finite number"_s;
    case Flag:
        return isFlag(value) ? QString() : u"is neither true nor false"_s;
    case List: {
        const bool isList = value.canConvert<QVariantList>() || type == QMetaType::QString ||
                            model::readFloats<3>(value) || model::readFloats<4>(value);
        return isList ? QString() : u"is no list"_s;
    }
    case Map:
    case FilledMap:
        return type == QMetaType::QVariantMap ? yaml::whyUnsavable(value) : u"is no map"_s;
    case Name:
        return yaml::whyUnsavableName(value.toString());
    case Text:
    case Value:
        break;
    }
    return yaml::whyUnsavable(value);
}

} // namespace

std::span<const ArgKey> OpEntry::arguments() const
{
    const auto end = std::find_if(keys.begin(), keys.end(),
                                  [](const ArgKey &key) { return key.name.isEmpty(); });
    return {keys.begin(), end};
}

std::span<const OpEntry> opCatalogue()
{
    return catalogue;
}

const OpEntry *findOp(const QString &kind)
{
    static const QHash<QString, const OpEntry *> byKind = [] {
        QHash<QString, const OpEntry *> index;
        for (const OpEntry &entry : catalogue)
            index.insert(entry.kind, &entry);
        return index;
    }();
    return byKind.value(kind);
}

QString checkArguments(const OpEntry &entry, const QVariantMap &args)
{
    for (const ArgKey &key : entry.arguments()) {
        const QVariant value = args.value(key.name);
        if (isGiven(key, value)) {
            const QString flaw = flawOf(key, value);
            if (!flaw.isEmpty())
                return key.name + u' ' + flaw;
        } else if (key.isRequired) {
            const bool isNamed = entry.missing.contains(key.name);
            return isNamed ? QString(entry.missing) : u"missing "_s + key.name;
        }
    }
    return entry.flaw ? entry.flaw(args) : QString();
}

} // namespace corvane::ops
