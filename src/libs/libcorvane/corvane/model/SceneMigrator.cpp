#include <corvane/model/SceneMigrator.h>

#include <corvane/model/SDFNodeProvenance.h>
#include <corvane/model/SceneItem.h>
#include <corvane/model/TransformPart.h>
#include <corvane/model/Version1Parts.h>
#include <corvane/model/WarningList.h>
#include <corvane/model/WrapperAbsorption.h>
#include <corvane/registry/Registry.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

void renameKey(QVariantMap &map, const QString &older, const QString &key)
{
    const auto it = map.find(older);
    if (it == map.end())
        return;
    const QVariant value = *it;
    map.erase(it);
    if (!map.contains(key))
        map.insert(key, value);
}

/// A "transform" with named parts, as the oldest files have it, becomes wrappers.
void splitTransform(QVariantMap &instance)
{
    if (instance.value(u"transform"_s).typeId() != QMetaType::QVariantMap)
        return;
    const QVariantMap transform = instance.take(u"transform"_s).toMap();
    QVariantMap wrappers = instance.value(u"wrappers"_s).toMap();
    for (const TransformPart &part : transformParts) {
        if (transform.contains(part.key))
            wrappers.insert(part.key, QVariantMap{{part.parameter, transform.value(part.key)}});
    }
    if (!wrappers.isEmpty())
        instance.insert(u"wrappers"_s, wrappers);
}

/// What an item has of the compile that made it is not its node's: a wrapper is nothing but that,
/// and a core is called as the node was.
QVariantMap withoutCompile(QVariantMap instance)
{
    QStringList tags = instance.value(u"tags"_s).toStringList();
    if (tags.removeAll(ItemTags::Compiled) == 0)
        return instance;
    const auto from = SDFNodeProvenance::fromVariantMap(instance.take(u"__provenance"_s).toMap());
    if (from.role != SDFNodeProvenance::Role::Core)
        tags.removeAll(ItemTags::Selected);
    else if (!from.sourceItemName.isEmpty())
        instance.insert(u"name"_s, from.sourceItemName);
    instance.remove(u"tags"_s);
    if (!tags.isEmpty())
        instance.insert(u"tags"_s, tags);
    return instance;
}

QVariantMap asNodes(const QVariantMap &instances)
{
    QVariantMap nodes;
    for (auto it = instances.cbegin(); it != instances.cend(); ++it)
        nodes.insert(nodes.cend(), it.key(),
                     withoutCompile(SceneMigrator::withCurrentKeys(it->toMap())));
    return nodes;
}

/// Makes a tree of the instances and absorbs what are wrappers. False when there are too many.
bool migrateInstances(QVariantMap &block, const registry::Registry &registry, WarningList &warnings)
{
    const QVariantMap instances = asNodes(block.value(u"instances"_s).toMap());
    const bool hasRoots = block.value(u"roots"_s).isValid();
    QStringList roots = block.value(u"roots"_s).toStringList();
    Version1Unfolder unfolder(instances, warnings);
    if (!unfolder.unfold(roots))
        return false;
    QVariantMap migrated = unfolder.instances();
    if (registry.count() == 0) {
        warnings.add(u"Registry not loaded, skipping wrapper absorption"_s);
    } else {
        WrapperAbsorption absorption(migrated, roots, registry, warnings);
        absorption.absorbAll();
        migrated = absorption.instances();
        roots = absorption.roots();
    }
    block.insert(u"instances"_s, migrated);
    if (hasRoots)
        block.insert(u"roots"_s, QVariant(roots).toList());
    return true;
}

} // namespace

int SceneMigrator::detectVersion(const QVariantMap &file)
{
    bool isNumber = false;
    const int version = file.value(u"formatVersion"_s).toInt(&isNumber);
    return isNumber ? version : 1;
}

QVariantMap SceneMigrator::withCurrentKeys(QVariantMap instance)
{
    renameKey(instance, u"definition"_s, u"type"_s);
    renameKey(instance, u"parameters"_s, u"params"_s);
    splitTransform(instance);
    return instance;
}

QVariantMap SceneMigrator::migrateV1toV2(const QVariantMap &file, QStringList &warnings,
                                         const registry::Registry &registry, QString *error)
{
    QVariantMap migrated = file;
    const QVariantMap inner = file.value(u"corvane"_s).toMap();
    QVariantMap block = inner.isEmpty() ? file : inner;
    WarningList found;
    const bool hasInstances = !block.value(u"instances"_s).toMap().isEmpty();
    if (hasInstances && !migrateInstances(block, registry, found)) {
        if (error)
            *error = u"The scene has more than %1 places of shared parts"_s.arg(
                Version1Unfolder::maxCopies);
        return file;
    }
    block.insert(u"version"_s, 2);
    if (inner.isEmpty())
        migrated = block;
    else
        migrated.insert(u"corvane"_s, block);
    migrated.insert(u"formatVersion"_s, 2);
    warnings += found.lines();
    return migrated;
}

QVariantMap SceneMigrator::migrateV1toV2(const QVariantMap &file, QStringList &warnings,
                                         QString *error)
{
    return migrateV1toV2(file, warnings, registry::Registry::instance(), error);
}

} // namespace corvane::model
