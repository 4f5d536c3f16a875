#include <corvane/rendering/environment/EnvironmentRegistry.h>

#include <corvane/rendering/environment/BrandLightingEnvironment.h>
#include <corvane/rendering/environment/DebugOctantEnvironment.h>
#include <corvane/rendering/environment/FlatColorEnvironment.h>
#include <corvane/rendering/environment/GradientSkyEnvironment.h>
#include <corvane/rendering/environment/PhysicalSkyEnvironment.h>

#include <QReadLocker>
#include <QWriteLocker>

namespace corvane::rendering {

using shader::IEnvironment;

namespace {

template<typename T>
QSharedPointer<IEnvironment> make()
{
    return QSharedPointer<T>::create();
}

constexpr EnvironmentRegistry::Factory builtins[] = {
    &make<FlatColorEnvironment>,   &make<GradientSkyEnvironment>,   &make<PhysicalSkyEnvironment>,
    &make<DebugOctantEnvironment>, &make<BrandLightingEnvironment>,
};

struct BuiltinRegistry : EnvironmentRegistry
{
    BuiltinRegistry()
    {
        for (const Factory factory : builtins)
            registerEnvironment(factory);
    }
};

} // namespace

EnvironmentRegistry::EnvironmentRegistry() = default;

EnvironmentRegistry &EnvironmentRegistry::instance()
{
    static BuiltinRegistry registry;
    return registry;
}

QStringList EnvironmentRegistry::ids() const
{
    const QReadLocker lock(&m_lock);
    return m_ids;
}

bool EnvironmentRegistry::contains(const QString &id) const
{
    const QReadLocker lock(&m_lock);
    return m_factories.contains(id);
}

QSharedPointer<IEnvironment> EnvironmentRegistry::create(const QString &id) const
{
    Factory factory = nullptr;
    {
        const QReadLocker lock(&m_lock);
        factory = m_factories.value(id);
    }
    return factory ? factory() : nullptr;
}

bool EnvironmentRegistry::registerEnvironment(Factory factory)
{
    const auto sample = factory ? factory() : nullptr;
    if (!sample)
        return false;
    const QString id = sample->id();
    const QWriteLocker lock(&m_lock);
    if (m_factories.contains(id))
        return false;
    m_ids.append(id);
    m_factories.insert(id, factory);
    return true;
}

} // namespace corvane::rendering
