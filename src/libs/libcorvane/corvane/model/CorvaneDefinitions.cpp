// The definitions that a document brings along.
#include <corvane/model/Corvane.h>

#include <corvane/model/Logging.h>
#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

/// What keeps a definition from being valid, as the rest of a log line.
QString whyInvalid(const registry::Definition &definition)
{
    QStringList missing;
    for (const auto &[key, value] : {std::pair{u"id"_s, definition.id},
                                     {u"name"_s, definition.name},
                                     {u"shaderCode"_s, definition.shaderCode}}) {
        if (value.isEmpty())
            missing.append(key);
    }
    if (!missing.isEmpty())
        return u"has no "_s + missing.join(u", "_s);
    QSet<QString> names;
    for (qsizetype i = 0; i < definition.parameters.size(); ++i) {
        const QString name = definition.parameters.at(i).name;
        if (name.isEmpty())
            return u"has no name for parameter %1"_s.arg(i + 1);
        if (names.contains(name))
            return u"has two parameters called "_s + name;
        names.insert(name);
    }
    return {};
}

} // namespace

void Corvane::addCustomDefinition(const DefinitionPtr &definition)
{
    if (!definition || definition->id.isEmpty())
        return;
    const auto same = [&definition](const DefinitionPtr &other) {
        return other->id == definition->id;
    };
    const auto it = std::find_if(m_customDefinitions.begin(), m_customDefinitions.end(), same);
    if (it != m_customDefinitions.end())
        *it = definition;
    else
        m_customDefinitions.append(definition);
    structureTouched();
}

void Corvane::removeCustomDefinition(const QString &id)
{
    const auto removed = m_customDefinitions.removeIf(
        [&id](const DefinitionPtr &definition) { return definition->id == id; });
    if (removed > 0)
        structureTouched();
}

void Corvane::setCustomDefinitions(const QList<DefinitionPtr> &definitions)
{
    unregisterFileScopedDefinitions();
    m_customDefinitions = definitions;
    registerFileScopedDefinitions();
    structureTouched();
}

bool Corvane::hasCustomDefinition(const QString &id) const
{
    return std::any_of(m_customDefinitions.cbegin(), m_customDefinitions.cend(),
                       [&id](const DefinitionPtr &definition) { return definition->id == id; });
}

void Corvane::registerFileScopedDefinitions()
{
    if (m_customDefinitions.isEmpty())
        return;
    QList<DefinitionPtr> accepted;
    for (const DefinitionPtr &definition : std::as_const(m_customDefinitions)) {
        if (!definition->isValid()) {
            qCWarning(lcModel) << "Corvane: Invalid file-scoped definition:" << definition->id
                               << qUtf8Printable(whyInvalid(*definition));
            continue;
        }
        const auto known = registry::Registry::instance().getDefinition(definition->id);
        if (known && known->contentHash() == definition->contentHash())
            continue;
        if (known) {
            qCInfo(lcModel) << "Corvane: File-scoped definition" << definition->id
                            << "differs from registry version (hash mismatch)";
        } else {
            qCInfo(lcModel) << "Corvane: Registered file-scoped definition:" << definition->id;
        }
        accepted.append(definition);
        m_registeredFileScopedDefinitions.insert(definition->id);
    }
    if (!accepted.isEmpty())
        registry::Registry::instance().registerFileScopedPrimitives(accepted);
}

void Corvane::unregisterFileScopedDefinitions()
{
    for (const QString &id : std::as_const(m_registeredFileScopedDefinitions)) {
        registry::Registry::instance().unregisterPrimitive(id);
        qCInfo(lcModel) << "Corvane: Unregistered file-scoped definition:" << id;
    }
    m_registeredFileScopedDefinitions.clear();
}

} // namespace corvane::model
