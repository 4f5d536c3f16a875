#include <corvane/registry/ThingsFacade.h>

#include <corvane/registry/Registry.h>

using namespace Qt::StringLiterals;

namespace corvane::registry {

namespace {

ThingDescriptor describe(const Definition &definition)
{
    ThingDescriptor thing{.id = definition.id,
                          .name = definition.name,
                          .description = definition.description,
                          .category = definition.category,
                          .kind = ThingKind::Primitive,
                          .sortOrder = definition.sortOrder,
                          .parameterNames = {}};
    for (const ParameterDef &parameter : definition.parameters) {
        if (!parameter.isChildParameter())
            thing.parameterNames.append(parameter.displayName.isEmpty() ? parameter.name
                                                                        : parameter.displayName);
    }
    return thing;
}

} // namespace

QString PrimitiveThingProvider::kind() const
{
    return ThingKind::Primitive;
}

QList<ThingDescriptor> PrimitiveThingProvider::things() const
{
    const Registry &registry = m_registry ? *m_registry : Registry::instance();
    QList<ThingDescriptor> things;
    for (int type = 1; type < nodeTypeCount; ++type) {
        const auto definitions = registry.getDefinitionsByNodeType(NodeType(type));
        for (const DefinitionPtr &definition : definitions) {
            if (definition->enabled)
                things.append(describe(*definition));
        }
    }
    return things;
}

QString ComponentThingProvider::kind() const
{
    return ThingKind::Component;
}

QList<ThingDescriptor> ComponentThingProvider::things() const
{
    QList<ThingDescriptor> things = m_source ? m_source() : QList<ThingDescriptor>();
    for (ThingDescriptor &thing : things) {
        thing.kind = ThingKind::Component;
        thing.category = u"Component"_s;
    }
    return things;
}

ThingsFacade &ThingsFacade::instance()
{
    static ThingsFacade facade;
    return facade;
}

ThingsFacade::ThingsFacade(const Registry *registry)
{
    m_providers.push_back(std::make_unique<PrimitiveThingProvider>(registry));
    auto components = std::make_unique<ComponentThingProvider>();
    m_components = components.get();
    m_providers.push_back(std::move(components));
}

QList<ThingDescriptor> ThingsFacade::things() const
{
    QList<ThingDescriptor> all;
    for (const auto &provider : m_providers)
        all += provider->things();
    return all;
}

QList<ThingDescriptor> ThingsFacade::thingsOfKind(const QString &kind) const
{
    QList<ThingDescriptor> ofKind;
    for (const auto &provider : m_providers) {
        if (provider->kind() == kind)
            ofKind += provider->things();
    }
    return ofKind;
}

} // namespace corvane::registry
