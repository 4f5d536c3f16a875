#include <corvane/tasks/SceneQueries.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/CorvaneOpExecutor.h>
#include <corvane/registry/Registry.h>
#include <corvane/tasks/SceneErrors.h>
#include <corvane/tasks/SceneRecord.h>
#include <corvane/tasks/TaskJson.h>
#include <corvane/zirn/FailureText.h>

#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

ZirnTaskResult listed(const QString &message, const QString &key, const QJsonArray &rows)
{
    return ZirnTaskResult::succeeded(
        message, {{u"count"_s, QString::number(rows.size())}, {key, compact(rows)}});
}

QString counted(qsizetype count, const QString &noun)
{
    return u"%1 %2%3"_s.arg(QString::number(count), noun, count == 1 ? QString() : u"s"_s);
}

bool isOfType(const SceneRecord &record, const QString &type)
{
    return record.type.compare(type, Qt::CaseInsensitive) == 0 || record.definitionId == type;
}

// ------------------------------------------------------------------ definitions

QString familyOf(registry::NodeType type)
{
    switch (type) {
    case registry::NodeType::Primitive:
    case registry::NodeType::ScalarField:
        return u"primitive"_s;
    case registry::NodeType::CSGOperator:
        return u"operator"_s;
    case registry::NodeType::PositionTransform:
    case registry::NodeType::DistanceModifier:
    case registry::NodeType::PositionAwareModifier:
        return u"modifier"_s;
    case registry::NodeType::Unknown:
        break;
    }
    return {};
}

bool isOfCategory(const registry::Definition &definition, const QString &category)
{
    const QString wanted = category.trimmed().toLower();
    const QString family = familyOf(definition.nodeType);
    return wanted.isEmpty() || definition.category.toLower() == wanted || family == wanted ||
           family + u's' == wanted ||
           registry::nodeTypeToString(definition.nodeType).toLower() == wanted;
}

QJsonObject parameterJson(const registry::ParameterDef &parameter)
{
    QJsonObject object{{u"name"_s, parameter.name},
                       {u"type"_s, registry::sdfParameterTypeToString(parameter.type)}};
    if (parameter.defaultValue.isValid())
        object.insert(u"default"_s, jsonOf(parameter.defaultValue));
    if (!parameter.description.isEmpty())
        object.insert(u"description"_s, parameter.description);
    return object;
}

QJsonObject definitionJson(const registry::Definition &definition)
{
    QJsonArray parameters;
    for (const registry::ParameterDef &parameter : definition.parameters)
        parameters.append(parameterJson(parameter));
    return {{u"id"_s, definition.id},
            {u"name"_s, definition.name},
            {u"nodeType"_s, registry::nodeTypeToString(definition.nodeType)},
            {u"category"_s, definition.category},
            {u"description"_s, definition.description},
            {u"parameters"_s, parameters},
            {u"minChildren"_s, definition.minChildren()},
            {u"maxChildren"_s, definition.maxChildren()}};
}

} // namespace

ZirnTaskResult listItems(const ZirnTaskParams &, const SceneAccess &access)
{
    const SceneRecords records(access);
    QJsonArray rows;
    const QList<QUuid> ids = records.ids();
    for (const QUuid &id : ids)
        rows.append(records.record(id).summary());
    return listed(counted(rows.size(), u"item"_s), u"items"_s, rows);
}

ZirnTaskResult getItem(const ZirnTaskParams &arguments, const SceneAccess &access)
{
    const QString idText = arguments.getString(u"itemId"_s);
    const QString name = arguments.getString(u"name"_s);
    if (idText.isEmpty() && name.isEmpty())
        return failed(u"get item"_s, u"itemId or name is required"_s,
                      u"provide one of itemId or name"_s);
    const SceneRecords records(access);
    const QUuid id = idText.isEmpty() ? records.idByName(name) : access.resolve(idText);
    if (id.isNull())
        return failed(u"get item "_s + (idText.isEmpty() ? name : idText), u"not found"_s,
                      u"check itemId or run corvane.scene.list_items"_s);
    const SceneRecord record = records.record(id);
    return ZirnTaskResult::succeeded(u"Item '%1' (%2)"_s.arg(record.name, record.type),
                                     {{u"item"_s, compact(record.toJson())}});
}

ZirnTaskResult getParameters(const ZirnTaskParams &arguments, const SceneAccess &access)
{
    const QString text = arguments.getString(u"itemId"_s);
    if (text.isEmpty())
        return failed(u"get parameters"_s, u"itemId is required"_s,
                      u"provide the UUID of the item"_s);
    const QUuid id = access.resolve(text);
    if (id.isNull())
        return failed(u"get parameters of item "_s + text, u"not found"_s,
                      u"check itemId or run corvane.scene.list_items"_s);
    const SceneRecord record = SceneRecords(access).record(id);
    if (record.type != model::ItemTypes::Sdf)
        return failed(u"get parameters of item "_s + text,
                      u"an item of type %1 has none"_s.arg(record.type),
                      u"name an item of type sdf"_s);
    QVariantMap params;
    if (const auto known = registry::Registry::instance().getDefinition(record.definitionId))
        params = known->getDefaultParameters();
    params.insert(record.params);
    return ZirnTaskResult::succeeded(
        u"%1 of '%2'"_s.arg(counted(params.size(), u"parameter"_s), record.name),
        {{u"parameters"_s, compact(jsonOfParameters(params))}});
}

ZirnTaskResult getSelection(const ZirnTaskParams &, const SceneAccess &access)
{
    QList<QUuid> selected = access.tree ? access.tree->selectedInstances() : QList<QUuid>();
    const QList<QUuid> items = access.document->selectedInstances();
    for (const QUuid &id : items) {
        if (!model::standsForNode(access.document->item(id), access.tree))
            selected.append(id);
    }
    QStringList texts;
    for (const QUuid &id : std::as_const(selected))
        texts.append(id.toString(QUuid::WithoutBraces));
    return ZirnTaskResult::succeeded(
        counted(texts.size(), u"selected item"_s),
        {{u"count"_s, QString::number(texts.size())}, {u"selectedIds"_s, texts.join(u',')}});
}

ZirnTaskResult getChildren(const ZirnTaskParams &arguments, const SceneAccess &access)
{
    const QString text = arguments.getString(u"parentId"_s);
    const QUuid parent = access.resolve(text);
    if (!text.isEmpty() && parent.isNull())
        return failed(u"get children of item "_s + text, u"not found"_s,
                      u"check parentId or run corvane.scene.list_items"_s);
    const SceneRecords records(access);
    QJsonArray rows;
    const QList<QUuid> children = records.childrenOf(parent);
    for (const QUuid &id : children)
        rows.append(records.record(id).childSummary());
    return listed(counted(rows.size(), text.isEmpty() ? u"root item"_s : u"child item"_s),
                  u"children"_s, rows);
}

ZirnTaskResult searchItems(const ZirnTaskParams &arguments, const SceneAccess &access)
{
    const QString pattern = arguments.getString(u"namePattern"_s);
    const QString type = arguments.getString(u"type"_s);
    const QString tag = arguments.getString(u"tag"_s);
    if (pattern.isEmpty() && type.isEmpty() && tag.isEmpty())
        return failed(u"search items"_s, u"at least one of namePattern, type, or tag is required"_s,
                      u"provide a search criterion"_s);
    const SceneRecords records(access);
    QJsonArray rows;
    const QList<QUuid> ids = records.ids();
    for (const QUuid &id : ids) {
        const SceneRecord record = records.record(id);
        const bool fits = record.name.contains(pattern, Qt::CaseInsensitive) &&
                          (type.isEmpty() || isOfType(record, type)) &&
                          (tag.isEmpty() || record.tags.contains(tag));
        if (fits)
            rows.append(record.summary());
    }
    return listed(counted(rows.size(), u"matching item"_s), u"items"_s, rows);
}

ZirnTaskResult listDefinitions(const ZirnTaskParams &arguments, const SceneAccess &)
{
    const QString category = arguments.getString(u"category"_s);
    QJsonArray rows;
    const auto definitions = registry::Registry::instance().getAllPrimitives();
    for (const registry::DefinitionPtr &definition : definitions) {
        if (definition->enabled && isOfCategory(*definition, category))
            rows.append(definitionJson(*definition));
    }
    return listed(counted(rows.size(), u"definition"_s), u"definitions"_s, rows);
}

ZirnTaskResult listErrors(const ZirnTaskParams &, const SceneAccess &access)
{
    const QList<SceneExprError> errors = scanSceneErrors(*access.document, access.tree);
    QJsonArray rows;
    for (const SceneExprError &error : errors)
        rows.append(QJsonObject{{u"path"_s, error.path},
                                {u"location"_s, error.location},
                                {u"expression"_s, error.expression},
                                {u"error"_s, error.error},
                                {u"itemId"_s, error.itemId}});
    const QString count = QString::number(errors.size());
    const QString message = errors.isEmpty()
                                ? u"No unresolved expressions \u2014 the scene is clean."_s
                                : u"%1 unresolved expression(s) in the scene. Each entry has path, "
                                  u"location, expression and error."_s.arg(count);
    return ZirnTaskResult::succeeded(message,
                                     {{u"error_count"_s, count}, {u"errors"_s, compact(rows)}});
}

ZirnTaskResult listBatches(const ZirnTaskParams &, const SceneAccess &access)
{
    if (!access.executor)
        return failed(u"list batches"_s, u"no executor available"_s, u"ensure a scene is loaded"_s);
    QJsonArray rows;
    const QList<ops::BatchMarker> batches = access.executor->batches();
    for (const ops::BatchMarker &batch : batches)
        rows.append(QJsonObject{{u"batchId"_s, batch.batchId},
                                {u"description"_s, batch.label},
                                {u"startIndex"_s, batch.startIndex},
                                {u"endIndex"_s, batch.endIndex}});
    const QString noun = rows.size() == 1 ? u"batch"_s : u"batches"_s;
    return listed(u"%1 %2"_s.arg(QString::number(rows.size()), noun), u"batches"_s, rows);
}

ZirnTaskResult undoBatch(const ZirnTaskParams &arguments, const SceneAccess &access)
{
    const QString batchId = arguments.getString(u"batchId"_s);
    if (batchId.isEmpty())
        return failed(u"undo batch"_s, u"batchId is required"_s,
                      u"provide the batch ID from corvane.list_batches"_s);
    if (!access.executor->undoBatch(batchId))
        return failed(u"undo batch "_s + batchId, u"batch not found or already undone"_s,
                      u"check batchId or run corvane.list_batches"_s);
    return ZirnTaskResult::succeeded(u"Undid batch "_s + batchId);
}

} // namespace corvane::zirn
