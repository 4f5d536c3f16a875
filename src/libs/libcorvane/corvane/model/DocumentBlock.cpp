#include <corvane/model/DocumentBlock.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/model/PlainValue.h>
#include <corvane/model/SceneKeys.h>
#include <corvane/model/WarningList.h>
#include <corvane/registry/Registry.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

/// The keys that readers know.
const QSet<QString> &blockKeys()
{
    static const QSet<QString> keys{
        u"version"_s,       u"name"_s,        u"units"_s,     u"embed_builtins"_s,
        u"varset"_s,        u"varsetOrder"_s, u"varsets"_s,   u"varsetEntryOrder"_s,
        u"settings"_s,      u"definitions"_s, u"materials"_s, u"instances"_s,
        u"items"_s,         u"roots"_s,       u"metadata"_s,  u"components"_s,
        u"formatVersion"_s, u"corvane"_s,
    };
    return keys;
}

template<class Value>
void insertUnlessEmpty(QVariantMap &map, const QString &key, const Value &value)
{
    if (!value.isEmpty())
        map.insert(key, value);
}

QVariantMap entriesMap(const VarsetEntries &entries)
{
    QVariantMap map;
    for (auto it = entries.cbegin(); it != entries.cend(); ++it)
        map.insert(map.cend(), it.key(), plainForFile(it->toVariant()));
    return map;
}

VarsetEntries readEntries(const QVariantMap &map)
{
    VarsetEntries entries;
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        entries.insert(entries.cend(), it.key(), VarsetEntry::fromVariant(*it));
    return entries;
}

void writeVariables(QVariantMap &block, const VarsetTable &variables)
{
    insertUnlessEmpty(block, u"varset"_s, entriesMap(variables.entries()));
    insertUnlessEmpty(block, u"varsetOrder"_s, QVariant(variables.order()).toList());
    QVariantMap named;
    const auto &varsets = variables.namedVarsets();
    for (auto it = varsets.cbegin(); it != varsets.cend(); ++it)
        named.insert(it.key(), entriesMap(*it));
    insertUnlessEmpty(block, u"varsets"_s, named);
    QVariantMap orders;
    const auto &entryOrder = variables.entryOrder();
    for (auto it = entryOrder.cbegin(); it != entryOrder.cend(); ++it)
        insertUnlessEmpty(orders, it.key(), QVariant(*it).toList());
    insertUnlessEmpty(block, u"varsetEntryOrder"_s, orders);
}

/// Stands in for the process-wide catalogue where it is set.
Corvane::MaterialSource &materialSource()
{
    static Corvane::MaterialSource source;
    return source;
}

std::optional<CatalogMaterial> cataloguedMaterial(const QUuid &id)
{
    if (materialSource())
        return materialSource()(id);
    const CatalogMaterial *material = MaterialLibrary::instance().material(id);
    return material ? std::optional(*material) : std::nullopt;
}

/// The document's materials, and of those that are used and not among them the catalogue's.
QMap<QUuid, CatalogMaterial> allMaterials(const Corvane &document, QSet<QUuid> used)
{
    QMap<QUuid, CatalogMaterial> materials = document.materials();
    const auto items = document.items();
    for (const SceneItem &item : items)
        used.insert(item.materialId);
    const auto aliases = DocumentBlock::materialAliases(document, used);
    for (const QUuid &id : std::as_const(used)) {
        if (id.isNull() || materials.contains(id) || aliases.contains(id))
            continue;
        if (const auto found = cataloguedMaterial(id))
            materials.insert(id, *found);
    }
    return materials;
}

QVariantMap materialsMap(const QMap<QUuid, CatalogMaterial> &materials)
{
    QHash<QString, int> holders;
    for (const CatalogMaterial &material : materials)
        ++holders[material.name];
    QVariantMap written;
    for (auto it = materials.cbegin(); it != materials.cend(); ++it) {
        const QString id = it.key().toString(QUuid::WithoutBraces);
        QVariantMap map = it->toVariantMap();
        map.insert(u"id"_s, id);
        const bool isNamed = SceneKeys::isSafe(it->name) && holders.value(it->name) == 1;
        written.insert(isNamed ? it->name : id, map);
    }
    return written;
}

/// The built-ins among the used definitions, by id.
QVariantList builtinsList(const Corvane &document, QSet<QString> used)
{
    const auto items = document.items();
    for (const SceneItem &item : items) {
        if (item.itemType == ItemTypes::Sdf)
            used.insert(Instance(item).definitionId());
    }
    QStringList ids = used.values();
    ids.sort();
    QVariantList definitions;
    for (const QString &id : std::as_const(ids)) {
        if (id.isEmpty() || document.hasCustomDefinition(id))
            continue;
        const auto builtin = registry::Registry::instance().getDefinition(id);
        if (builtin && builtin->isFromResources())
            definitions.append(plainForFile(builtin->toVariantMap()));
    }
    return definitions;
}

} // namespace

void Corvane::setMaterialSource(const MaterialSource &source)
{
    materialSource() = source;
}

QHash<QUuid, QUuid> DocumentBlock::materialAliases(const Corvane &document,
                                                   const QSet<QUuid> &materialIds)
{
    QHash<QUuid, QUuid> aliases;
    const auto &own = document.materials();
    for (const QUuid &id : materialIds) {
        const auto listed = id.isNull() || own.contains(id) ? std::nullopt : cataloguedMaterial(id);
        if (!listed || !listed->isBuiltIn)
            continue;
        const auto copy = std::find_if(own.cbegin(), own.cend(), [&listed](const auto &material) {
            return material.isBuiltIn && material.name == listed->name &&
                   material.material == listed->material;
        });
        if (copy != own.cend())
            aliases.insert(id, copy.key());
    }
    return aliases;
}

QVariantMap DocumentBlock::write(const Corvane &document, const Used &used)
{
    QVariantMap block = plainForFile(document.m_otherKeys).toMap();
    insertUnlessEmpty(block, u"name"_s, document.name());
    block.insert(u"units"_s, document.units());
    if (document.embedBuiltins())
        block.insert(u"embed_builtins"_s, true);
    writeVariables(block, document.variables());
    insertUnlessEmpty(block, u"settings"_s, plainForFile(document.sceneSettings()).toMap());
    QVariantList definitions;
    if (document.embedBuiltins())
        definitions = builtinsList(document, used.definitionIds);
    const auto customDefinitions = document.customDefinitions();
    for (const auto &definition : customDefinitions)
        definitions.append(plainForFile(definition->toVariantMap()));
    insertUnlessEmpty(block, u"definitions"_s, definitions);
    insertUnlessEmpty(block, u"materials"_s,
                      materialsMap(allMaterials(document, used.materialIds)));
    insertUnlessEmpty(block, u"metadata"_s, plainForFile(document.metadata()).toMap());
    return block;
}

void DocumentBlock::apply(const QVariantMap &block, Corvane &document, QStringList *warnings)
{
    if (block.contains(u"units"_s))
        document.setUnits(block.value(u"units"_s).toString());
    if (block.contains(u"embed_builtins"_s))
        document.setEmbedBuiltins(block.value(u"embed_builtins"_s).toBool());
    if (block.contains(u"metadata"_s))
        document.setMetadata(block.value(u"metadata"_s).toMap());
    document.m_otherKeys.insert(otherKeys(block));
    if (block.contains(u"name"_s))
        document.setName(block.value(u"name"_s).toString());
    const QList<CatalogMaterial> materials = readMaterials(block);
    for (const CatalogMaterial &material : materials)
        document.addMaterial(material);
    if (block.contains(u"varset"_s) || block.contains(u"varsets"_s)) {
        document.m_variables = readVariables(block);
        document.m_varset = document.m_variables.flattened();
        emit document.varsetChanged();
    }
    if (block.contains(u"settings"_s)) {
        document.m_settings = block.value(u"settings"_s).toMap();
        emit document.sceneSettingsChanged();
    }
    applyDefinitions(block, document, warnings);
    emit document.sceneChanged();
}

void DocumentBlock::applyDefinitions(const QVariantMap &block, Corvane &document,
                                     QStringList *warnings)
{
    WarningList found;
    const auto definitions = readDefinitions(block, found);
    const QSignalBlocker quiet(document);
    for (const auto &definition : definitions)
        document.addCustomDefinition(definition);
    if (warnings)
        *warnings += found.lines();
}

VarsetTable DocumentBlock::readVariables(const QVariantMap &block)
{
    VarsetTable variables;
    variables.setEntries(readEntries(block.value(u"varset"_s).toMap()),
                         block.value(u"varsetOrder"_s).toStringList());
    const QVariantMap varsets = block.value(u"varsets"_s).toMap();
    const QVariantMap orders = block.value(u"varsetEntryOrder"_s).toMap();
    for (auto it = varsets.cbegin(); it != varsets.cend(); ++it) {
        variables.setNamed(it.key(), readEntries(it->toMap()),
                           orders.value(it.key()).toStringList());
    }
    return variables;
}

QList<CatalogMaterial> DocumentBlock::readMaterials(const QVariantMap &block)
{
    QList<CatalogMaterial> materials;
    QSet<QUuid> taken;
    const QVariantMap maps = block.value(u"materials"_s).toMap();
    for (auto it = maps.cbegin(); it != maps.cend(); ++it) {
        const QVariantMap map = it->toMap();
        auto material = CatalogMaterial::fromVariantMap(SceneKeys::withName(it.key(), map));
        material.id = SceneKeys::statedId(it.key(), map);
        if (material.id.isNull() || taken.contains(material.id))
            material.id = SceneKeys::idOf(u"material "_s + it.key());
        taken.insert(material.id);
        materials.append(material);
    }
    return materials;
}

QList<registry::DefinitionPtr> DocumentBlock::readDefinitions(const QVariantMap &block,
                                                              WarningList &warnings)
{
    QList<registry::DefinitionPtr> definitions;
    QSet<QString> taken;
    const QVariantList maps = block.value(u"definitions"_s).toList();
    for (const QVariant &map : maps) {
        const auto definition = registry::Definition::fromVariantMap(map.toMap());
        if (!definition || definition->id.isEmpty()) {
            warnings.add(u"A definition without an id was dropped"_s);
        } else if (taken.contains(definition->id)) {
            warnings.add(
                u"Definition '%1' occurs twice; the later one was dropped"_s.arg(definition->id));
        } else {
            taken.insert(definition->id);
            definitions.append(definition);
        }
    }
    return definitions;
}

QVariantMap DocumentBlock::otherKeys(QVariantMap block)
{
    block.removeIf([](QVariantMap::iterator it) { return blockKeys().contains(it.key()); });
    return block;
}

} // namespace corvane::model
