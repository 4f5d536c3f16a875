// The tasks that edit items and nodes of the field.
#include <corvane/tasks/EditArguments.h>
#include <corvane/tasks/SceneBuildTreeTask.h>
#include <corvane/tasks/SceneQueries.h>
#include <corvane/tasks/TaskParams.h>
#include <corvane/tasks/TaskRow.h>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

using enum ArgumentKind;
using enum TaskKind;
using namespace ops;

constexpr auto sceneScope = "corvane.scene.mutate"_L1;
constexpr auto itemTags = "corvane scene mutate"_L1;
constexpr auto sdfTags = "corvane sdf mutate"_L1;
constexpr ParamRow item = need("itemId"_L1, Id, u"UUID of the item");
constexpr ParamRow red = may("albedo"_L1, List, u"colour as [r,g,b] or [r,g,b,a], 0 to 1");
constexpr ParamRow metallic = may("metallic"_L1, Number, u"metalness, 0 to 1");
constexpr ParamRow roughness = may("roughness"_L1, Number, u"roughness, 0 to 1");

const TaskRow rows[] = {
    {.name = "corvane.item.add"_L1,
     .kind = Mutation,
     .description = u"Add a new item to the scene (SDF primitive, mesh, group, etc.)",
     .params = {need("itemType"_L1, Text, u"item type: sdf, mesh, tet_volume, group or sdf_domain"),
                may("name"_L1, Text, u"name; made unique when another item has it"),
                may("parentId"_L1, ParentId, u"UUID of the parent; empty for the top"),
                may("definitionId"_L1, DefinitionId,
                    u"id of the SDF definition; required for an item of type sdf"),
                may("typeData"_L1, Map,
                    u"data of the type; for sdf {\"parameters\": {...}} sets parameters")},
     .outputs = "itemId"_L1,
     .scope = sceneScope,
     .tags = itemTags,
     .example = uR"({"task": "corvane.item.add", "args": {"itemType": "sdf", "name": "MySphere", )"
                uR"("definitionId": "sphere"}})",
     .op = {.kind = OpKind::ItemAdd,
            .attempt = "add item"_L1,
            .success = u"Added {itemType} item '{name}'",
            .createdOutput = "itemId"_L1,
            .prepare = &prepareItemAdd,
            .followUp = &parametersOfNewItem}},
    {.name = "corvane.item.remove"_L1,
     .kind = Mutation,
     .description = u"Remove an item from the scene by ID",
     .params = {need("itemId"_L1, Id, u"UUID of the item to remove")},
     .scope = sceneScope,
     .tags = itemTags,
     .example = uR"({"task": "corvane.item.remove", "args": {"itemId": "abc-123"}})",
     .op = {.kind = OpKind::ItemRemove,
            .attempt = "remove item"_L1,
            .attemptOn = u"remove item %1",
            .target = TargetKind::Item,
            .targetKey = "itemId"_L1,
            .success = u"Removed item {itemId}"}},
    {.name = "corvane.item.rename"_L1,
     .kind = Mutation,
     .description = u"Rename an item in the scene",
     .params = {need("itemId"_L1, Id, u"UUID of the item to rename"),
                need("newName"_L1, Text, u"new name of the item")},
     .scope = sceneScope,
     .tags = itemTags,
     .example = uR"({"task": "corvane.item.rename", "args": {"itemId": "abc-123", )"
                uR"("newName": "Ball"}})",
     .isIdempotent = true,
     .op = {.kind = OpKind::ItemRename,
            .attempt = "rename item"_L1,
            .attemptOn = u"rename item %1",
            .target = TargetKind::Item,
            .targetKey = "itemId"_L1,
            .success = u"Renamed item {itemId} to '{name}'"}},
    {.name = "corvane.item.duplicate"_L1,
     .kind = Mutation,
     .description = u"Duplicate an existing item in the scene",
     .params = {need("sourceId"_L1, Id, u"UUID of the item to duplicate"),
                may("newParentId"_L1, ParentId,
                    u"UUID of the copy's parent; that of the source unless given")},
     .outputs = "newItemId"_L1,
     .scope = sceneScope,
     .tags = itemTags,
     .example = uR"({"task": "corvane.item.duplicate", "args": {"sourceId": "abc-123"}})",
     .op = {.kind = OpKind::ItemDuplicate,
            .attempt = "duplicate item"_L1,
            .attemptOn = u"duplicate item %1",
            .target = TargetKind::Item,
            .targetKey = "sourceId"_L1,
            .success = u"Duplicated item {sourceId} \u2192 {newItemId}",
            .createdOutput = "newItemId"_L1}},
    {.name = "corvane.item.set_transform"_L1,
     .kind = Mutation,
     .description = u"Set the transform (translate, rotate, scale) of an item",
     .params = {item, may("tx"_L1, Number, u"translation along x"),
                may("ty"_L1, Number, u"translation along y"),
                may("tz"_L1, Number, u"translation along z"),
                may("rx"_L1, Number, u"rotation about x, degrees"),
                may("ry"_L1, Number, u"rotation about y, degrees"),
                may("rz"_L1, Number, u"rotation about z, degrees"),
                may("sx"_L1, Number, u"scale along x; of an SDF item the scale of all axes"),
                may("sy"_L1, Number, u"scale along y"), may("sz"_L1, Number, u"scale along z")},
     .scope = sceneScope,
     .tags = itemTags,
     .example = uR"({"task": "corvane.item.set_transform", "args": {"itemId": "abc-123", )"
                uR"("tx": 1.0}})",
     .isIdempotent = true,
     .op = {.kind = OpKind::ItemSetTransform,
            .attempt = "set transform"_L1,
            .attemptOn = u"set transform on item %1",
            .target = TargetKind::Item,
            .targetKey = "itemId"_L1,
            .success = u"Updated transform on item {itemId}",
            .prepare = &prepareTransform}},
    {.name = "corvane.item.set_parent"_L1,
     .kind = Mutation,
     .description = u"Move an item under a new parent in the scene hierarchy",
     .params = {need("itemId"_L1, Id, u"UUID of the item to move"),
                need("newParentId"_L1, ParentId,
                     u"UUID of the new parent, or an empty string for the root"),
                may("insertIndex"_L1, Number, u"place among the new siblings; -1 is the end",
                    u"-1")},
     .scope = sceneScope,
     .tags = itemTags,
     .example = uR"({"task": "corvane.item.set_parent", "args": {"itemId": "abc-123", )"
                uR"("newParentId": ""}})",
     .isIdempotent = true,
     .op = {.kind = OpKind::ItemSetParent,
            .attempt = "set parent"_L1,
            .attemptOn = u"set parent of item %1",
            .target = TargetKind::Item,
            .targetKey = "itemId"_L1,
            .success = u"Moved item {itemId} under parent {parent}"}},
    {.name = "corvane.item.set_material"_L1,
     .kind = Mutation,
     .description = u"Assign a material to an item by material ID or inline properties",
     .params = {item,
                may("materialId"_L1, ArgumentKind::Text,
                    u"UUID of a material of the library; empty for none"),
                red, metallic, roughness},
     .scope = sceneScope,
     .tags = itemTags,
     .example = uR"({"task": "corvane.item.set_material", "args": {"itemId": "abc-123", )"
                uR"("albedo": [0.8, 0.2, 0.1]}})",
     .isIdempotent = true,
     .op = {.kind = OpKind::ItemSetMaterial,
            .attempt = "set material"_L1,
            .attemptOn = u"set material on item %1",
            .target = TargetKind::Item,
            .targetKey = "itemId"_L1,
            .success = u"Updated material on item {itemId}",
            .prepare = &prepareItemMaterial}},
    {.name = "corvane.item.set_proxy"_L1,
     .kind = Mutation,
     .description = u"Toggle proxy rendering for an item",
     .params = {item, need("proxied"_L1, Flag, u"state: true draws the item as a mesh")},
     .scope = sceneScope,
     .tags = itemTags,
     .example = uR"({"task": "corvane.item.set_proxy", "args": {"itemId": "abc-123", )"
                uR"("proxied": true}})",
     .isIdempotent = true,
     .op = {.kind = OpKind::ItemSetProxy,
            .attempt = "set proxy"_L1,
            .attemptOn = u"set proxy on item %1",
            .target = TargetKind::Item,
            .targetKey = "itemId"_L1,
            .success = u"Proxy {state} on item {itemId}"}},
    {.name = "corvane.sdf.set_parameter"_L1,
     .kind = Mutation,
     .description = u"Set a single SDF parameter on an instance",
     .params = {item, need("paramName"_L1, Text, u"name of the parameter"),
                need("value"_L1, Value,
                     u"new value: a number, a list for a vector, or \"=\" and an expression")},
     .scope = sceneScope,
     .tags = sdfTags,
     .example = uR"({"task": "corvane.sdf.set_parameter", "args": {"itemId": "abc-123", )"
                uR"("paramName": "radius", "value": 2.0}})",
     .op = {.kind = OpKind::SdfSetParameter,
            .attempt = "set parameter"_L1,
            .attemptOn = u"set parameter on item %1",
            .target = TargetKind::Item,
            .targetKey = "itemId"_L1,
            .success = u"Set {paramName} = {value} on item {itemId}",
            .prepare = &prepareParameter}},
    {.name = "corvane.sdf.set_all_parameters"_L1,
     .kind = Mutation,
     .description = u"Set all SDF parameters on an instance at once",
     .params = {item, need("parameters"_L1, Map, u"values by parameter name")},
     .scope = sceneScope,
     .tags = sdfTags,
     .example = uR"({"task": "corvane.sdf.set_all_parameters", "args": {"itemId": "abc-123", )"
                uR"("parameters": {"radius": 2.0}}})",
     .op = {.kind = OpKind::SdfSetAllParams,
            .attempt = "set all parameters"_L1,
            .attemptOn = u"set all parameters on item %1",
            .target = TargetKind::Item,
            .targetKey = "itemId"_L1,
            .success = u"Set {count} parameters on item {itemId}",
            .prepare = &prepareParameters}},
    {.name = "corvane.sdf.set_definition"_L1,
     .kind = Mutation,
     .description = u"Change the SDF definition type of an instance",
     .params = {item, need("definitionId"_L1, DefinitionId, u"id of the new definition")},
     .scope = sceneScope,
     .tags = sdfTags,
     .example = uR"({"task": "corvane.sdf.set_definition", "args": {"itemId": "abc-123", )"
                uR"("definitionId": "sphere"}})",
     .op = {.kind = OpKind::SdfSetDefinition,
            .attempt = "set definition"_L1,
            .attemptOn = u"set definition on item %1",
            .target = TargetKind::Item,
            .targetKey = "itemId"_L1,
            .success = u"Changed definition on item {itemId} to '{definitionId}'"}},
    {.name = "corvane.sdf.set_modifier"_L1,
     .kind = Mutation,
     .description = u"Set a modifier value on an SDF item (density scale, shell thickness, blend "
                    u"sharpness, material mode)",
     .params = {item,
                need("modifier"_L1, Text,
                     u"modifier: densityScale, shellThickness, blendSharpness or materialMode"),
                need("value"_L1, Number, u"new value")},
     .scope = sceneScope,
     .tags = sdfTags,
     .example = uR"({"task": "corvane.sdf.set_modifier", "args": {"itemId": "abc-123", )"
                uR"("modifier": "shellThickness", "value": 0.1}})",
     .op = {.kind = OpKind::SdfSetModifier,
            .attempt = "set modifier"_L1,
            .attemptOn = u"set modifier on item %1",
            .target = TargetKind::Item,
            .targetKey = "itemId"_L1,
            .success = u"Set {modifier} = {value} on item {itemId}",
            .prepare = &prepareModifier}},
    {.name = "corvane.scene.build_tree"_L1,
     .kind = Mutation,
     .description = u"Build an SDF scene tree from a JSON description. Instances are named objects "
                    u"with definition, params, and children (by name). All instances are created "
                    u"atomically as one undoable operation.",
     .params = {need("tree"_L1, Map,
                     u"JSON object with instances (name to definition, params, children) and "
                     u"roots (names)")},
     .outputs = "rootIds count batchId"_L1,
     .scope = sceneScope,
     .tags = "corvane"_L1,
     .example =
         uR"({"task":"corvane.scene.build_tree","args":{"tree":{"instances":{"ring":{"definition":)"
         uR"("radial_repeat","params":{"count":8,"radius":3.0,"axis":1},"children":["ball"]},"ball")"
         uR"(:{"definition":"sphere","params":{"radius":0.5}}},"roots":["ring"]}}})",
     .make = &SceneBuildTreeTask::make},
    {.name = "corvane.undo_batch"_L1,
     .kind = Mutation,
     .description = u"Undo all operations in an ZIRN batch by batch ID",
     .params = {need("batchId"_L1, Text, u"batch ID from corvane.list_batches")},
     .scope = sceneScope,
     .tags = "corvane"_L1,
     .example = uR"({"task": "corvane.undo_batch", "args": {"batchId": "abc-123"}})",
     .mutate = &undoBatch},
};

} // namespace

std::span<const TaskRow> editTaskRows()
{
    return rows;
}

} // namespace corvane::zirn
