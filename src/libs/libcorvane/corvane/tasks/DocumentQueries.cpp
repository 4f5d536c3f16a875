#include <corvane/tasks/DocumentQueries.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/model/NestedValue.h>
#include <corvane/tasks/SceneAccess.h>
#include <corvane/tasks/TaskJson.h>
#include <corvane/zirn/FailureText.h>

#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

QJsonObject variableJson(const QString &name, const model::VarsetEntry &entry)
{
    QJsonObject object{
        {u"name"_s, name}, {u"value"_s, jsonOf(entry.value)}, {u"type"_s, entry.effectiveType()}};
    if (!entry.expression.isEmpty())
        object.insert(u"expression"_s, entry.expression);
    // What has no value yet says nothing of its type.
    if (!entry.expression.isEmpty() && !entry.value.isValid() && entry.type.isEmpty())
        object.remove(u"type"_s);
    if (!entry.description.isEmpty())
        object.insert(u"description"_s, entry.description);
    if (!entry.unit.isEmpty())
        object.insert(u"unit"_s, entry.unit);
    if (!entry.constraints.isEmpty())
        object.insert(u"constraints"_s, jsonOf(entry.constraints.toVariantMap()));
    return object;
}

/// In the user's order, and behind that what the order does not name.
QJsonObject varsetJson(const QString &name, const model::VarsetEntries &entries,
                       const QStringList &order)
{
    QJsonArray variables;
    for (const QString &variable : order) {
        if (entries.contains(variable))
            variables.append(variableJson(variable, entries.value(variable)));
    }
    const QSet<QString> ordered(order.cbegin(), order.cend());
    for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
        if (!ordered.contains(it.key()))
            variables.append(variableJson(it.key(), *it));
    }
    return {{u"name"_s, name}, {u"variables"_s, variables}};
}

QJsonObject materialRow(const model::CatalogMaterial &material)
{
    return {{u"id"_s, material.id.toString(QUuid::WithoutBraces)},
            {u"name"_s, material.name},
            {u"category"_s, material.category},
            {u"builtIn"_s, material.isBuiltIn}};
}

QJsonObject materialJson(const model::CatalogMaterial &material)
{
    QJsonObject object = materialRow(material);
    const QVariantMap values = material.material.toVariantMap();
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        object.insert(it.key(), jsonOf(*it));
    return object;
}

/// The library's, and those that only the scene has.
QList<model::CatalogMaterial> allMaterials(const SceneAccess &access)
{
    const auto &library = model::MaterialLibrary::instance();
    QList<model::CatalogMaterial> materials = library.allMaterials();
    const auto saved = access.document->materials();
    for (const model::CatalogMaterial &material : saved) {
        if (!library.material(material.id))
            materials.append(material);
    }
    return materials;
}

} // namespace

ZirnTaskResult listVarsets(const ZirnTaskParams &, const SceneAccess &access)
{
    const model::Corvane &scene = *access.document;
    QJsonArray varsets{varsetJson(u"Default"_s, scene.varsetEntries(), scene.varsetOrder())};
    const auto named = scene.namedVarsets();
    for (auto it = named.cbegin(); it != named.cend(); ++it)
        varsets.append(varsetJson(it.key(), *it, scene.namedVarsetEntryOrder(it.key())));
    const QString defaultCount = QString::number(scene.varsetEntries().size());
    const QString namedCount = QString::number(named.size());
    return ZirnTaskResult::succeeded(
        u"%1 variable(s) in Default, %2 named varset(s)"_s.arg(defaultCount, namedCount),
        {{u"defaultCount"_s, defaultCount},
         {u"namedCount"_s, namedCount},
         {u"varsets"_s, compact(varsets)}});
}

ZirnTaskResult getSettings(const ZirnTaskParams &arguments, const SceneAccess &access)
{
    const QString path = arguments.getString(u"path"_s);
    const QVariant value = path.isEmpty() ? QVariant(access.document->sceneSettings())
                                          : access.document->sceneSetting(path);
    if (!value.isValid())
        return failed(u"get setting "_s + path, u"not found"_s,
                      u"check path or run corvane.settings.get without a path"_s);
    const QString text = textOf(value);
    return ZirnTaskResult::succeeded(path.isEmpty() ? u"Settings: "_s + text
                                                    : u"%1 = %2"_s.arg(path, text),
                                     {{u"path"_s, path}, {u"value"_s, text}});
}

ZirnTaskResult listMaterials(const ZirnTaskParams &, const SceneAccess &access)
{
    QJsonArray rows;
    const QList<model::CatalogMaterial> materials = allMaterials(access);
    for (const model::CatalogMaterial &material : materials)
        rows.append(materialRow(material));
    const QString count = QString::number(rows.size());
    return ZirnTaskResult::succeeded(count + u" material(s)"_s,
                                     {{u"count"_s, count}, {u"materials"_s, compact(rows)}});
}

ZirnTaskResult getMaterial(const ZirnTaskParams &arguments, const SceneAccess &access)
{
    const QString idText = arguments.getString(u"materialId"_s);
    const QString name = arguments.getString(u"name"_s);
    if (idText.isEmpty() && name.isEmpty())
        return failed(u"get material"_s, u"materialId or name is required"_s,
                      u"provide one of materialId or name"_s);
    const QUuid id = QUuid::fromString(idText);
    const QList<model::CatalogMaterial> materials = allMaterials(access);
    const auto found = std::find_if(
        materials.cbegin(), materials.cend(), [&](const model::CatalogMaterial &material) {
            return idText.isEmpty() ? material.name == name : material.id == id;
        });
    if (found == materials.cend())
        return failed(u"get material "_s + (idText.isEmpty() ? name : idText), u"not found"_s,
                      u"check materialId or run corvane.material.list"_s);
    const QJsonObject json = materialJson(*found);
    return ZirnTaskResult::succeeded(u"Material '%1': %2"_s.arg(found->name, compact(json)),
                                     {{u"materialId"_s, found->id.toString(QUuid::WithoutBraces)},
                                      {u"material"_s, compact(json)}});
}

} // namespace corvane::zirn
