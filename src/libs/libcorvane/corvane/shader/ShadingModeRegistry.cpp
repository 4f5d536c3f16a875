#include <corvane/shader/ShadingModeRegistry.h>

#include <corvane/shader/ShadingModes.h>

namespace corvane::shader {

ShadingModeRegistry &ShadingModeRegistry::instance()
{
    static ShadingModeRegistry registry;
    return registry;
}

ShadingModeRegistry::ShadingModeRegistry()
{
    registerMode(QSharedPointer<PBRShadingMode>::create());
    registerMode(QSharedPointer<EnvLitPBRShadingMode>::create());
    registerMode(QSharedPointer<PathTracedShadingMode>::create());
}

bool ShadingModeRegistry::registerMode(const QSharedPointer<IShadingMode> &mode)
{
    if (!mode || mode->id().isEmpty() || m_modes.contains(mode->id()))
        return false;
    m_ids.append(mode->id());
    m_modes.insert(mode->id(), mode);
    return true;
}

QSharedPointer<IShadingMode> ShadingModeRegistry::mode(const QString &id) const
{
    return m_modes.value(id);
}

QList<QSharedPointer<IShadingMode>> ShadingModeRegistry::modes() const
{
    QList<QSharedPointer<IShadingMode>> modes;
    for (const QString &id : m_ids)
        modes.append(m_modes.value(id));
    return modes;
}

} // namespace corvane::shader
