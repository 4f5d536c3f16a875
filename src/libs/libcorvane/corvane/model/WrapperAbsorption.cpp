#include <corvane/model/WrapperAbsorption.h>

#include <corvane/model/LogicalInstance.h>
#include <corvane/model/ParameterValue.h>
#include <corvane/model/PlainValue.h>
#include <corvane/model/TransformPart.h>
#include <corvane/model/WarningList.h>
#include <corvane/registry/Registry.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

/// Whether a node's transform can hold the value.
bool isTransform(const QString &type, const QVariantMap &params)
{
    const auto stored = params.constFind(connectedParameter(type));
    if (stored == params.cend())
        return true;
    const ParameterValue parameter = ParameterValue::fromVariant(*stored);
    if (parameter.isExpression())
        return false;
    if (!transformParts[transformPartOf(type)].isUniform)
        return readFloats<3>(parameter.literal).has_value();
    const auto factor = readFloat(parameter.literal);
    // A scale of nothing counts as none in a node.
    return factor && !qFuzzyIsNull(*factor);
}

/// Whether the instance is nothing but its type and parameters: a wrapper has no room for more.
bool isPlain(const QVariantMap &instance)
{
    static const QSet<QString> keys{u"type"_s,      u"params"_s,      u"id"_s,
                                    u"name"_s,      u"itemType"_s,    u"parentId"_s,
                                    u"sortOrder"_s, u"capabilities"_s};
    return std::all_of(instance.keyBegin(), instance.keyEnd(),
                       [](const QString &key) { return keys.contains(key); });
}

} // namespace

WrapperAbsorption::WrapperAbsorption(const QVariantMap &instances, const QStringList &roots,
                                     const registry::Registry &registry, WarningList &warnings)
    : m_instances(instances)
    , m_roots(roots)
    , m_registry(registry)
    , m_warnings(warnings)
{}

void WrapperAbsorption::absorbAll()
{
    for (QList<Absorption> found = findAbsorptions(); !found.isEmpty(); found = findAbsorptions())
        apply(found);
    writeOrders();
}

QList<WrapperAbsorption::Absorption> WrapperAbsorption::findAbsorptions()
{
    const Version1References keys(m_instances);
    QList<Absorption> found;
    QSet<QString> wrappers;
    QSet<QString> children;
    for (auto it = m_instances.cbegin(); it != m_instances.cend(); ++it) {
        const QVariantMap instance = it->toMap();
        if (connectedParameter(instance.value(u"type"_s).toString()).isEmpty())
            continue;
        const QStringList references = Version1References::childrenOf(instance);
        const QString child = references.size() == 1 ? keys.resolve(references.first()) : QString();
        if (child.isEmpty() || wrappers.contains(child) || children.contains(child) ||
            children.contains(it.key()) || !isAbsorbable(it.key(), instance, child))
            continue;
        QVariantMap values = instance.value(u"params"_s).toMap();
        values.remove(u"children"_s);
        wrappers.insert(it.key());
        children.insert(child);
        found.append({it.key(), child, instance.value(u"type"_s).toString(), values});
    }
    return found;
}

bool WrapperAbsorption::isAbsorbable(const QString &key, const QVariantMap &instance,
                                     const QString &child)
{
    const QString type = instance.value(u"type"_s).toString();
    const QVariantMap inner = m_instances.value(child).toMap();
    const auto definition = m_registry.getDefinition(inner.value(u"type"_s).toString());
    if (!definition || !definition->convenienceWrappers.contains(type))
        return false;
    if (inner.value(u"wrappers"_s).toMap().contains(type)) {
        if (!m_refused.contains(key)) {
            m_refused.insert(key);
            m_warnings.add(
                u"Instance '%1' already has '%2' wrapper, skipping absorption of '%3'"_s.arg(
                    child, type, key));
        }
        return false;
    }
    return isPlain(instance) && isTransform(type, instance.value(u"params"_s).toMap());
}

void WrapperAbsorption::apply(const QList<Absorption> &absorptions)
{
    const Version1References keys(m_instances);
    QHash<QString, QString> replacements;
    for (const Absorption &absorption : absorptions) {
        QVariantMap child = m_instances.value(absorption.child).toMap();
        QVariantMap wrappers = child.value(u"wrappers"_s).toMap();
        if (!m_orders.contains(absorption.child)) {
            const auto definition = m_registry.getDefinition(child.value(u"type"_s).toString());
            m_orders.insert(absorption.child,
                            wrapperMapOrder(wrappers.keys(), definition->convenienceWrappers));
        }
        m_orders[absorption.child].prepend(absorption.type);
        wrappers.insert(absorption.type, absorption.values);
        child.insert(u"wrappers"_s, wrappers);
        m_instances.insert(absorption.child, child);
        m_instances.remove(absorption.wrapper);
        replacements.insert(absorption.wrapper, absorption.child);
    }
    for (QVariant &stored : m_instances) {
        QVariantMap instance = stored.toMap();
        const QStringList children = Version1References::childrenOf(instance);
        const QStringList changed = redirected(children, keys, replacements);
        if (changed == children)
            continue;
        Version1References::setChildren(instance, changed);
        stored = instance;
    }
    m_roots = redirected(m_roots, keys, replacements);
}

QStringList WrapperAbsorption::redirected(const QStringList &references,
                                          const Version1References &keys,
                                          const QHash<QString, QString> &replacements) const
{
    QStringList changed = references;
    for (QString &reference : changed) {
        const auto child = replacements.constFind(keys.resolve(reference));
        if (child != replacements.cend())
            reference = reference.startsWith(u'@') ? u'@' + *child : *child;
    }
    return changed;
}

/// A stack whose map would be read in another order says its own.
void WrapperAbsorption::writeOrders()
{
    for (auto it = m_orders.cbegin(); it != m_orders.cend(); ++it) {
        QVariantMap instance = m_instances.value(it.key()).toMap();
        const auto definition = m_registry.getDefinition(instance.value(u"type"_s).toString());
        if (*it == wrapperMapOrder(*it, definition->convenienceWrappers))
            continue;
        instance.insert(u"wrapperOrder"_s, QVariant(*it).toList());
        m_instances.insert(it.key(), instance);
    }
}

} // namespace corvane::model
