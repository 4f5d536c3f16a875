#include <corvane/render/CorvaneSnapshot.h>

namespace corvane::render {

namespace {

DefinitionList copyOf(const registry::Registry &registry)
{
    auto copies = std::make_shared<QList<registry::Definition>>();
    const auto definitions = registry.getAllPrimitives();
    for (const auto &definition : definitions)
        copies->append(*definition);
    return copies;
}

/// Alike in all that a picture depends on.
bool isSame(const registry::Definition &a, const registry::Definition &b)
{
    return a.shaderCode == b.shaderCode && a.blend == b.blend && a.nodeType == b.nodeType &&
           a.operationType == b.operationType && a.enabled == b.enabled &&
           a.category == b.category && a.sortOrder == b.sortOrder && a.name == b.name &&
           a.contentHash() == b.contentHash();
}

} // namespace

SnapshotTaker::SnapshotTaker(const registry::Registry &registry, QObject *parent)
    : QObject(parent)
    , m_registry(registry)
{
    using registry::Registry;
    const auto forget = [this] { m_definitions.reset(); };
    connect(&registry, &Registry::primitiveRegistered, this, forget);
    connect(&registry, &Registry::primitiveUnregistered, this, forget);
    connect(&registry, &Registry::registryReset, this, forget);
}

CorvaneSnapshot SnapshotTaker::take(const model::Corvane &document)
{
    if (!m_definitions)
        m_definitions = copyOf(m_registry);
    return {.version = nextVersion(),
            .name = document.name(),
            .units = document.units(),
            .items = document.items(),
            .roots = document.roots(),
            .drawsAllItems = document.drawsAllItems(),
            .materials = document.materials(),
            .settings = document.sceneSettings(),
            .definitions = m_definitions};
}

QSharedPointer<model::Corvane> rebuildCorvaneFromSnapshot(const CorvaneSnapshot &snapshot)
{
    auto document = model::Corvane::create();
    document->setName(snapshot.name);
    document->setUnits(snapshot.units);
    document->setSceneSettings(snapshot.settings);
    for (const model::CatalogMaterial &material : snapshot.materials)
        document->addMaterial(material);
    document->exchangeItems({}, snapshot.items.values());
    if (snapshot.drawsAllItems)
        document->drawAllItems();
    else
        document->setRoots(snapshot.roots);
    return document;
}

void syncRegistry(registry::Registry &table, const QList<registry::Definition> &definitions)
{
    QSet<QString> wanted;
    for (const registry::Definition &definition : definitions) {
        wanted.insert(definition.id);
        const auto known = table.getDefinition(definition.id);
        // A copy of its own: what a definition remembers of itself is for one thread.
        if (!known || !isSame(*known, registry::Definition(definition)))
            table.registerPrimitive(registry::DefinitionPtr::create(definition));
    }
    const auto present = table.getAllPrimitives();
    for (const auto &definition : present) {
        if (!wanted.contains(definition->id))
            table.unregisterPrimitive(definition->id);
    }
}

} // namespace corvane::render
