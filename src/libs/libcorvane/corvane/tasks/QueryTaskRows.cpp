// The tasks that read a scene's items.
#include <corvane/tasks/DocumentQueries.h>
#include <corvane/tasks/SceneQueries.h>
#include <corvane/tasks/TaskParams.h>
#include <corvane/tasks/TaskRow.h>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

using enum ArgumentKind;

constexpr auto scope = "corvane.scene.read"_L1;
constexpr auto tags = "corvane scene query"_L1;

const TaskRow rows[] = {
    {.name = "corvane.scene.list_items"_L1,
     .description = u"List all items in the scene with id, name, type, and parentId",
     .outputs = "count items"_L1,
     .scope = scope,
     .tags = tags,
     .example = uR"({"task": "corvane.scene.list_items", "args": {}})",
     .isReadOnly = true,
     .isIdempotent = true,
     .query = &listItems},
    {.name = "corvane.scene.get_item"_L1,
     .description = u"Get full details of a single item by ID or name",
     .params = {may("itemId"_L1, Text, u"UUID of the item"),
                may("name"_L1, Text, u"name of the item, where itemId is not given")},
     .outputs = "item"_L1,
     .scope = scope,
     .tags = tags,
     .example = uR"({"task": "corvane.scene.get_item", "args": {"name": "MySphere"}})",
     .isReadOnly = true,
     .isIdempotent = true,
     .query = &getItem},
    {.name = "corvane.scene.get_parameters"_L1,
     .description = u"Get SDF parameters for an instance",
     .params = {need("itemId"_L1, Id, u"UUID of the item")},
     .outputs = "parameters"_L1,
     .scope = scope,
     .tags = tags,
     .example = uR"({"task": "corvane.scene.get_parameters", "args": {"itemId": "abc-123"}})",
     .isReadOnly = true,
     .isIdempotent = true,
     .query = &getParameters},
    {.name = "corvane.scene.get_selection"_L1,
     .description = u"Get the currently selected items",
     .outputs = "count selectedIds"_L1,
     .scope = scope,
     .tags = tags,
     .example = uR"({"task": "corvane.scene.get_selection", "args": {}})",
     .isReadOnly = true,
     .isIdempotent = true,
     .query = &getSelection},
    {.name = "corvane.scene.get_children"_L1,
     .description = u"Get children of an item (or root items if parentId is empty)",
     .params = {may("parentId"_L1, ParentId, u"UUID of the parent; empty for the root items")},
     .outputs = "count children"_L1,
     .scope = scope,
     .tags = tags,
     .example = uR"({"task": "corvane.scene.get_children", "args": {}})",
     .isReadOnly = true,
     .isIdempotent = true,
     .query = &getChildren},
    {.name = "corvane.scene.search_items"_L1,
     .description = u"Search items by name pattern, type, or tag",
     .params = {may("namePattern"_L1, Text, u"part of the name, in any case"),
                may("type"_L1, Text, u"item type, such as sdf, or definition id"),
                may("tag"_L1, Text, u"tag, such as hidden")},
     .outputs = "count items"_L1,
     .scope = scope,
     .tags = tags,
     .example = uR"({"task": "corvane.scene.search_items", "args": {"namePattern": "sphere"}})",
     .isReadOnly = true,
     .isIdempotent = true,
     .query = &searchItems},
    {.name = "corvane.scene.list_definitions"_L1,
     .description = u"List available SDF definitions (primitives, operators, modifiers)",
     .params = {may("category"_L1, Text,
                    u"category, or one of primitives, operators, modifiers; empty for all")},
     .outputs = "count definitions"_L1,
     .scope = scope,
     .tags = tags,
     .example = uR"({"task": "corvane.scene.list_definitions", "args": {}})",
     .isReadOnly = true,
     .isIdempotent = true,
     .query = &listDefinitions},
    {.name = "corvane.scene.list_errors"_L1,
     .description =
         u"List all unresolved parameter/varset expressions in the scene, each with its full node "
         u"path. Call this after authoring or editing a scene (especially when a mutation reports "
         u"number_of_new_errors > 0) to see exactly which expressions the editor is flagging as "
         u"broken.",
     .outputs = "error_count errors"_L1,
     .scope = scope,
     .tags = tags,
     .example = uR"({"task": "corvane.scene.list_errors", "args": {}})",
     .isReadOnly = true,
     .isIdempotent = true,
     .query = &listErrors},
    {.name = "corvane.list_batches"_L1,
     .description = u"List ZIRN batch markers on the undo stack",
     .outputs = "count batches"_L1,
     .scope = scope,
     .tags = tags,
     .example = uR"({"task": "corvane.list_batches", "args": {}})",
     .isReadOnly = true,
     .isIdempotent = true,
     .query = &listBatches},
};

} // namespace

std::span<const TaskRow> queryTaskRows()
{
    return rows;
}

} // namespace corvane::zirn
