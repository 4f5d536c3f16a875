#include <corvane/component/ComponentRegistry.h>

#include <QSet>

namespace corvane::component {

namespace {

QStringList referencesOf(const QVariantMap &structure)
{
    ComponentDefinition definition;
    definition.structure = structure;
    return definition.referencedComponentIds();
}

bool refuse(QString *error, const QString &message)
{
    if (error)
        *error = message;
    return false;
}

} // namespace

ComponentRegistry::ComponentRegistry(QObject *parent)
    : QObject(parent)
{}

const ComponentDefinition *ComponentRegistry::find(const QString &id) const
{
    const auto it = m_definitions.constFind(id);
    return it == m_definitions.cend() ? nullptr : &*it;
}

bool ComponentRegistry::registerDefinition(const ComponentDefinition &definition, QString *error)
{
    if (!definition.isValid())
        return refuse(error,
                      tr("Component definition is incomplete (missing id, root or structure)."));
    if (contains(definition.id))
        return refuse(error, tr("A component with this id is already registered."));
    if (wouldCreateCycle(definition.id, definition.structure))
        return refuse(
            error,
            tr("A component cannot contain itself (directly or through another component)."));
    put(definition);
    emit definitionRegistered(definition.id);
    return true;
}

bool ComponentRegistry::applyDefinition(const ComponentDefinition &definition, QString *error)
{
    if (!definition.isValid())
        return refuse(error,
                      tr("Component definition is incomplete (missing id, root or structure)."));
    if (!contains(definition.id))
        return refuse(error, tr("No component with this id is registered."));
    if (wouldCreateCycle(definition.id, definition.structure))
        return refuse(
            error,
            tr("A component cannot contain itself (directly or through another component)."));
    put(definition);
    emit definitionChanged(definition.id);
    return true;
}

bool ComponentRegistry::restoreDefinition(const ComponentDefinition &definition)
{
    if (!definition.isValid())
        return false;
    const bool isKnown = contains(definition.id);
    put(definition);
    if (isKnown)
        emit definitionChanged(definition.id);
    else
        emit definitionRegistered(definition.id);
    return true;
}

bool ComponentRegistry::removeDefinition(const QString &id)
{
    if (!contains(id))
        return false;
    take(id);
    emit definitionRemoved(id);
    return true;
}

void ComponentRegistry::clear()
{
    const QStringList ids = m_definitions.keys();
    for (const QString &id : ids)
        removeDefinition(id);
}

bool ComponentRegistry::wouldCreateCycle(const QString &id, const QVariantMap &structure) const
{
    QStringList open = referencesOf(structure);
    if (open.contains(id))
        return true;
    // Unless another component places this one, nothing leads back to it, however long the chain
    // below.
    if (m_referrers.value(id) == 0)
        return false;
    QSet<QString> seen(open.cbegin(), open.cend());
    while (!open.isEmpty()) {
        const QString next = open.takeLast();
        if (next == id)
            return true;
        const QStringList below = m_references.value(next);
        for (const QString &reference : below) {
            if (seen.contains(reference))
                continue;
            seen.insert(reference);
            open.append(reference);
        }
    }
    return false;
}

void ComponentRegistry::put(const ComponentDefinition &definition)
{
    take(definition.id);
    m_definitions.insert(definition.id, definition);
    const QStringList references = definition.referencedComponentIds();
    for (const QString &reference : references)
        ++m_referrers[reference];
    m_references.insert(definition.id, references);
}

void ComponentRegistry::take(const QString &id)
{
    m_definitions.remove(id);
    const QStringList references = m_references.take(id);
    for (const QString &reference : references) {
        if (--m_referrers[reference] == 0)
            m_referrers.remove(reference);
    }
}

} // namespace corvane::component
